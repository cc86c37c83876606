// Sale items: the record, the summary, the filtered look-ups, and locking, clearing and
// acknowledging as for deliveries (lock, unlock and clear send this client's number).
#include "api/frame.h"
#include "proxies/ISaleItem.h"

using namespace kvapi;

KV_LOOKUP_PAIRS(SaleItems, SaleItem, SaleItem)

KV_PAIR(GetSaleItemProperties, FAMILY_CALLS,
        (long id, long* number, long* f2, long* f3, long* f4, short* f5, double* f6, double* f7, long* f8,
         long* f9, long* f10, long* f11, short* f12, short* f13, char* f14, char* f15, char* f16, char* f17,
         short* f18),
        (id, number, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13, f14, f15, f16, f17, f18),
        p.SaleItem()->Get(id, number, f2, f3, f4, f5, OutCur(f6), OutCur(f7), OutDate(r, f8), OutDate(r, f9),
                          f10, f11, f12, f13, OutStr(r, f14), OutStr(r, f15), OutStr(r, f16), OutStr(r, f17),
                          f18))
KV_PAIR(SetSaleItemProperties, FAMILY_CALLS,
        (long id, long number, long f2, long f3, long f4, short f5, double f6, double f7, long f8, long f9,
         long f10, long f11, short f12, short f13, const char* f14, const char* f15, const char* f16,
         const char* f17, short f18),
        (id, number, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13, f14, f15, f16, f17, f18),
        p.SaleItem()->Set(id, number, f2, f3, f4, f5, Cur(f6), Cur(f7), Date(f8), Date(f9), f10, f11, f12, f13,
                          GetStr(f14), GetStr(f15), GetStr(f16), GetStr(f17), f18))
KV_FILTERED_PAIRS(SaleItems, SaleItem, SaleItem, GetSaleItemsCount, GetSaleItemByOrdinal,
                  (long filter1, long filter2, long filter3, long filter4, long filter5, long filter6,
                   long long filter7, long filter8, long filter9, long long filter10, long filter11,
                   long filter12, short filter13, short filter14),
                  (filter1, filter2, filter3, filter4, filter5, filter6, filter7, filter8, filter9, filter10,
                   filter11, filter12, filter13, filter14))
KV_PAIR(GetSaleItemSummary, FAMILY_CALLS,
        (long id, long* f1, long* f2, char* f3, long long* f4, long* f5, char* f6, char* f7, long* f8, long* f9,
         char* f10, long* f11, long* f12, char* f13, long long* f14, long* f15, long* f16, char* f17,
         long long* f18, short* f19, double* f20, double* f21, long* f22, long* f23, long* f24, long* f25,
         short* f26, short* f27, char* f28, char* f29, char* f30, char* f31, short* f32),
        (id, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13, f14, f15, f16, f17, f18, f19, f20, f21,
         f22, f23, f24, f25, f26, f27, f28, f29, f30, f31, f32),
        p.SaleItem()->GetSummary(id, f1, f2, OutStr(r, f3), f4, f5, OutStr(r, f6), OutStr(r, f7), f8, f9,
                                 OutStr(r, f10), f11, f12, OutStr(r, f13), f14, f15, f16, OutStr(r, f17), f18,
                                 f19, OutCur(f20), OutCur(f21), OutDate(r, f22), OutDate(r, f23), f24, f25,
                                 f26, f27, OutStr(r, f28), OutStr(r, f29), OutStr(r, f30), OutStr(r, f31), f32))
KV_PAIR(LockSaleItem, FAMILY_CALLS, (long id), (id),
        p.SaleItem()->Lock(id, p.ClientID()))
KV_PAIR(UnlockSaleItem, FAMILY_CALLS, (long id), (id),
        p.SaleItem()->Unlock(id, p.ClientID()))
KV_PAIR(ClearSaleItem, FAMILY_CALLS, (long id), (id),
        p.SaleItem()->Clear(id, p.ClientID()))
KV_PAIR(LockAndClearSaleItem, FAMILY_CALLS, (long id), (id),
        p.SaleItem()->LockAndClear(id, p.ClientID()))
KV_PAIR(AckSaleItemDBLog, FAMILY_CALLS, (long id), (id),
        p.SaleItem()->AckDBLog(id))
KV_PAIR(AckSaleItemVolLog, FAMILY_CALLS, (long id), (id),
        p.SaleItem()->AckVolLog(id))
