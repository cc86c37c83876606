// CISaleItem: proxy of the server's sale items. Rows as in docs/protocol.md.
#pragma once
#include "rpc/method.h"

#define KV_ISALEITEM_TABLE(X) \
    X(Get,                  13, Object, NOTE_NONE, long*, long*, long*, long*, short*, CCur*, CCur*, CDate*, CDate*, long*, long*, short*, short*, CStr*, CStr*, CStr*, CStr*, short*) \
    X(Set,                  14, SetCls, NOTE_FLAGSKIP, long, long, long, long, long, short, CCur, CCur, CDate, CDate, long, long, short, short, CStr, CStr, CStr, CStr, short) \
    X(GetSummary,           15, Object, NOTE_NONE, long*, long*, CStr*, long long*, long*, CStr*, CStr*, long*, long*, CStr*, long*, long*, CStr*, long long*, long*, long*, CStr*, long long*, short*, CCur*, CCur*, CDate*, CDate*, long*, long*, short*, short*, CStr*, CStr*, CStr*, CStr*, short*) \
    X(Lock,                 16, Object, NOTE_NONE, long) \
    X(Unlock,               17, Object, NOTE_NONE, long) \
    X(Clear,                18, Object, NOTE_NONE, long) \
    X(LockAndClear,         19, Object, NOTE_NONE, long) \
    X(AckDBLog,             20, Object, NOTE_NONE) \
    X(AckVolLog,            21, Object, NOTE_NONE) \
    X(GetSaleItemsCount,    22, Class, NOTE_QUIET, long*, long, long, long, long, long, long, long long, long, long, long long, long, long, short, short, CDate, CDate) \
    X(GetSaleItemByOrdinal, 23, Class, NOTE_QUIET, long, long*, long, long, long, long, long, long, long long, long, long, long long, long, long, short, short, CDate, CDate)

class CISaleItem : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_SALEITEM, "ISaleItem")
    KV_ISALEITEM_TABLE(KV_METHOD)
    KV_METHOD_INFOS(KV_ISALEITEM_TABLE)
};
