// CICardRead: proxy of the server's card reads. Rows as in docs/protocol.md.
#pragma once
#include "rpc/method.h"

#define KV_ICARDREAD_TABLE(X) \
    X(Get, 13, Object, NOTE_NONE, long*, CStr*, long*, short*, long*, long long*, CDate*) \
    X(Set, 14, SetCls, NOTE_FLAGSKIP, long, long, CStr, long, short, long, long long, CDate)

class CICardRead : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_CARDREAD, "ICardRead")
    KV_ICARDREAD_TABLE(KV_METHOD)
    KV_METHOD_INFOS(KV_ICARDREAD_TABLE)
};
