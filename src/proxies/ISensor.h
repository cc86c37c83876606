// CISensor: proxy of the server's sensors. Rows as in docs/protocol.md.
#pragma once
#include "rpc/method.h"

#define KV_ISENSOR_TABLE(X) \
    X(Get,           13, Object, NOTE_NONE, long*, CStr*, long*, short*, short*, short*, long*, long*) \
    X(Set,           14, SetCls, NOTE_FLAGSKIP, long, long, CStr, long, short, short, short, long, long) \
    X(SetStatus,     15, Object, NOTE_ONEWAY, short, short) \
    X(GetStatus,     16, Object, NOTE_NONE, short*, short*) \
    X(SetResponding, 17, Object, NOTE_ONEWAY, short) \
    X(LogRawStatus,  18, Object, NOTE_NOGUARD | NOTE_QUIET, short, short, short)

class CISensor : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_SENSOR, "ISensor")
    KV_ISENSOR_TABLE(KV_METHOD)
    KV_METHOD_INFOS(KV_ISENSOR_TABLE)
};
