// Products: configuration and the filtered look-ups.
#include "api/frame.h"
#include "proxies/IProduct.h"

using namespace kvapi;

KV_LOOKUP_PAIRS(Products, Product, Product)

KV_PAIR(GetProductProperties, FAMILY_CALLS,
        (long id, long* number, char* f2, char* f3, short* f4, char* f5, char* f6, long* f7, double* f8,
         double* f9, double* f10, double* f11, long* f12),
        (id, number, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12),
        p.Product()->Get(id, number, OutStr(r, f2), OutStr(r, f3), f4, OutStr(r, f5), OutStr(r, f6), f7,
                         OutCur(f8), OutCur(f9), OutCur(f10), OutCur(f11), f12))
KV_PAIR(SetProductProperties, FAMILY_CALLS,
        (long id, long number, const char* f2, const char* f3, short f4, const char* f5, const char* f6,
         long f7, double f8, double f9, double f10, double f11, long f12),
        (id, number, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12),
        p.Product()->Set(id, number, GetStr(f2), GetStr(f3), f4, GetStr(f5), GetStr(f6), f7, Cur(f8),
                         Cur(f9), Cur(f10), Cur(f11), f12))
KV_PAIR(GetProductsCountFiltered, FAMILY_CALLS,
        (long* count, long filter1, const char* filter2, const char* filter3, const char* filter4,
         const char* filter5, long filter6, long filter7),
        (count, filter1, filter2, filter3, filter4, filter5, filter6, filter7),
        p.Product()->GetProductsCount(count, filter1, GetStr(filter2), GetStr(filter3), GetStr(filter4),
                                      GetStr(filter5), filter6, filter7))
KV_PAIR(GetProductIDByOrdinalFiltered, FAMILY_CALLS,
        (long ordinal, long* id, long filter1, const char* filter2, const char* filter3, const char* filter4,
         const char* filter5, long filter6, long filter7),
        (ordinal, id, filter1, filter2, filter3, filter4, filter5, filter6, filter7),
        p.Product()->GetProductByOrdinal(ordinal, id, filter1, GetStr(filter2), GetStr(filter3),
                                         GetStr(filter4), GetStr(filter5), filter6, filter7))
