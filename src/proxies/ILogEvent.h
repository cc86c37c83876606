// CILogEvent: proxy of the server's logged events. Rows as in docs/protocol.md.
#pragma once
#include "rpc/method.h"

#define KV_ILOGEVENT_TABLE(X) \
    X(Get,               13, Object, NOTE_NONE, short*, long*, long*, CStr*, short*, short*, CStr*, CDate*, CDate*, long*, long*, CCur*, CCur*, CCur*, CCur*, CCur*, CCur*) \
    X(Set,               14, SetCls, NOTE_FLAGSKIP, long, short, long, long, CStr, short, short, CStr, CDate, CDate, long, long, CCur, CCur, CCur, CCur, CCur, CCur) \
    X(ClearEvent,        15, Object, NOTE_FLAGSKIP, long) \
    X(AckEvent,          16, Object, NOTE_FLAGSKIP, long) \
    X(GetEventsCount,    17, Class, NOTE_NONE, long*, short, long, short, short, long, long, CDate, CDate) \
    X(GetEventByOrdinal, 18, Class, NOTE_NONE, long, long*, short, long, short, short, long, long, CDate, CDate)

class CILogEvent : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_LOGEVENT, "ILogEvent")
    KV_ILOGEVENT_TABLE(KV_METHOD)
    KV_METHOD_INFOS(KV_ILOGEVENT_TABLE)
};
