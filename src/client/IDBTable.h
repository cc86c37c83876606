// The database calls that the server makes on a client's events connection (interface 1),
// for clients that keep their own records. All are sent one-way. Rows as in
// docs/protocol.md; the serving class expands this table with KV_SERVER_DISPATCH.
#pragma once

#define KV_IDB_TABLE(X) \
    X(LogDelivery,        13, Class, NOTE_ONEWAY, long, long, short, short, CCur, short, CCur, CCur, CCur, long, long, CDate) \
    X(StackDelivery,      14, Class, NOTE_ONEWAY, long) \
    X(ClearDelivery,      15, Class, NOTE_ONEWAY, long, short, long, CDate, long) \
    X(LogEvent,           16, Class, NOTE_ONEWAY, long, long, CDate, CStr) \
    X(ProcessHoseETotals, 17, Class, NOTE_ONEWAY, long, CCur, CCur, CCur, CCur, long, long, long, long, CStr, long, long, CStr, long, CStr) \
    X(DBTrigger,          18, Class, NOTE_ONEWAY, long, long) \
    X(AttendantLogon,     19, Class, NOTE_ONEWAY, long, long) \
    X(AttendantLogoff,    20, Class, NOTE_ONEWAY, long) \
    X(LogTankStatus,      21, Class, NOTE_ONEWAY, long, CCur, CCur, CCur, CCur, CCur, CCur, CCur, long, CStr, long, CStr, short, CCur, CCur, long, short, short, long)
