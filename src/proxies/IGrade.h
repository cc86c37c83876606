// CIGrade: proxy of the server's grades. Rows as in docs/protocol.md.
#pragma once
#include "rpc/method.h"

#define KV_IGRADE_TABLE(X) \
    X(Get,      13, Object, NOTE_NONE, long*, CStr*, CStr*, long*, CCur*, CCur*) \
    X(Set,      14, SetCls, NOTE_FLAGSKIP, long, long, CStr, CStr, long, CCur, CCur) \
    X(GetPrice, 15, Object, NOTE_NONE, short, CCur*) \
    X(SetPrice, 16, Object, NOTE_NONE, short, CCur)

class CIGrade : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_GRADE, "IGrade")
    KV_IGRADE_TABLE(KV_METHOD)
    KV_METHOD_INFOS(KV_IGRADE_TABLE)
};
