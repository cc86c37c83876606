// CIAttendant: proxy of the server's attendants. Rows as in docs/protocol.md.
#pragma once
#include "rpc/method.h"

#define KV_IATTENDANT_TABLE(X) \
    X(Get,      13, Object, NOTE_NONE, long*, CStr*, CStr*, CStr*, CStr*, CStr*, short*, short*, short*, short*, short*) \
    X(Set,      14, SetCls, NOTE_FLAGSKIP, long, long, CStr, CStr, CStr, CStr, CStr, short, short, short, short, short) \
    X(Logon,    15, Object, NOTE_NOGUARD, long) \
    X(Logoff,   16, Object, NOTE_NOGUARD) \
    X(GetState, 17, Object, NOTE_NONE, short*, short*)

class CIAttendant : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_ATTENDANT, "IAttendant")
    KV_IATTENDANT_TABLE(KV_METHOD)
    KV_METHOD_INFOS(KV_IATTENDANT_TABLE)
};
