// CIProduct: proxy of the server's products. Rows as in docs/protocol.md.
#pragma once
#include "rpc/method.h"

#define KV_IPRODUCT_TABLE(X) \
    X(Get,                 13, Object, NOTE_NONE, long*, CStr*, CStr*, short*, CStr*, CStr*, long*, CCur*, CCur*, CCur*, CCur*, long*) \
    X(Set,                 14, SetCls, NOTE_FLAGSKIP, long, long, CStr, CStr, short, CStr, CStr, long, CCur, CCur, CCur, CCur, long) \
    X(GetProductsCount,    15, Class, NOTE_NONE, long*, long, CStr, CStr, CStr, CStr, long, long) \
    X(GetProductByOrdinal, 16, Class, NOTE_NONE, long, long*, long, CStr, CStr, CStr, CStr, long, long)

class CIProduct : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_PRODUCT, "IProduct")
    KV_IPRODUCT_TABLE(KV_METHOD)
    KV_METHOD_INFOS(KV_IPRODUCT_TABLE)
};
