// CICardClient: proxy of the server's card clients. Rows as in docs/protocol.md.
#pragma once
#include "rpc/method.h"

#define KV_ICARDCLIENT_TABLE(X) \
    X(Get, 13, Object, NOTE_NONE, long*, CStr*, CStr*, short*, short*, CStr*, CStr*, CStr*, CStr*, short*, short*, short*, CCur*, short*, CDate*, long*, CStr*, CCur*, long*) \
    X(Set, 14, SetCls, NOTE_FLAGSKIP, long, long, CStr, CStr, short, short, CStr, CStr, CStr, CStr, short, short, short, CCur, short, CDate, long, CStr, CCur, long)

class CICardClient : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_CARDCLIENT, "ICardClient")
    KV_ICARDCLIENT_TABLE(KV_METHOD)
    KV_METHOD_INFOS(KV_ICARDCLIENT_TABLE)
};
