// The calls that the server makes on a client's events connection (interface 2): one row
// per event, its arguments the fields of the event record that the client queues. All are
// sent one-way. Rows as in docs/protocol.md; the serving class expands this table with
// KV_SERVER_DISPATCH.
#pragma once

#define KV_IEVENTS_TABLE(X) \
    X(OldPumpEvent,      13, Class, NOTE_ONEWAY, long, long, short, short, long, long, long, long, long, long, CStr, CStr, short, CCur, CCur, CCur, short, CStr, long, short, short, short, short, short, long, short, short, short, short, short, short, short, long long, long, long, CStr, long long, long, long, CStr, long long, CCur, CCur) \
    X(OldDeliveryEvent,  14, Class, NOTE_ONEWAY, long, long, long, long, long, long, CStr, long, long, CStr, long, long, CStr, CStr, CStr, short, short, CCur, short, CCur, CCur, CCur, CDate, long, long, long, long) \
    X(ServerEvent,       15, Class, NOTE_ONEWAY, long, CStr) \
    X(ClientEvent,       16, Class, NOTE_ONEWAY, long, long, CStr) \
    X(DeliveryEvent,     17, Class, NOTE_ONEWAY, long, long, long, long, long, long, CStr, long, long, CStr, long, long, CStr, CStr, CStr, short, short, CCur, short, CCur, CCur, CCur, CDate, long, long, long, long, CDate, CCur, CCur, CCur, CCur, CCur, CCur, long long, long, long, CStr, long long, long, long, CStr, long long, CCur) \
    X(ZeroDeliveryEvent, 21, Class, NOTE_ONEWAY, long, long, long, long, short, short, CCur) \
    X(ZBPanIDEvent,      23, Class, NOTE_ONEWAY, long, long long) \
    X(CardReadEvent,     26, Class, NOTE_ONEWAY, long, long, CStr, long, short, long, long long, CDate) \
    X(PumpEvent,         27, Class, NOTE_ONEWAY, long, long, short, short, long, long, long, long, long, long, CStr, CStr, short, CCur, CCur, CCur, short, CStr, long, short, short, short, short, short, long, short, short, short, short, short, short, short, long long, long, long, CStr, long long, long, long, CStr, long long, CCur, CCur) \
    X(ZB2GStatusEvent,   28, Class, NOTE_ONEWAY, long, long long, short, short, long long, short, short, short, short) \
    X(LogEventEvent,     29, Class, NOTE_ONEWAY, long, short, long, long, CStr, short, short, CStr, CDate, CDate, long, long, CCur, CCur, CCur, CCur, CCur, CCur) \
    X(SaleItemEvent,     30, Class, NOTE_ONEWAY, long, long, long, CStr, long long, long, CStr, CStr, long, long, CStr, long, long, CStr, long long, long, long, CStr, long long, short, CCur, CCur, CDate, CDate, long, long, short, short, CStr, CStr, CStr, CStr, short) \
    X(KVOdoEvent,        31, Class, NOTE_ONEWAY, long, long long, short, short, long long, short, short, short, short, long, CStr, long long, long long, long, short, long long, long, short, long long, long long, long long, long long, short, CStr) \
    X(KVTermPromptEvent, 32, Class, NOTE_ONEWAY, long, short, short, CStr)
