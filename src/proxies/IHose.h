// CIHose: proxy of the server's hoses. Rows as in docs/protocol.md.
#pragma once
#include "rpc/method.h"

#define KV_IHOSE_TABLE(X) \
    X(Get,              13, Object, NOTE_NONE, long*, CStr*, long*, long*, long*, long*) \
    X(Set,              14, SetCls, NOTE_FLAGSKIP, long, long, CStr, long, long, long, long) \
    X(GetHosesCount,    15, Class, NOTE_NONE, long*, long, long, long) \
    X(GetHoseByOrdinal, 16, Class, NOTE_NONE, long, long*, long, long, long) \
    X(GetTotals,        17, Object, NOTE_NONE, CCur*, CCur*, CCur*, CCur*) \
    X(SaveETotals,      18, Object, NOTE_ONEWAY, CCur, CCur) \
    X(SetETotals,       19, Object, NOTE_ONEWAY, CCur, CCur) \
    X(GetPrice,         20, Object, NOTE_NONE, short, CCur*) \
    X(SetPrice,         21, Object, NOTE_ONEWAY, short, CCur)

class CIHose : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_HOSE, "IHose")
    KV_IHOSE_TABLE(KV_METHOD)
    KV_METHOD_INFOS(KV_IHOSE_TABLE)
};
