// Card clients: look-ups and the record (f15 a date).
#include "api/frame.h"
#include "proxies/ICardClient.h"

using namespace kvapi;

KV_LOOKUP_PAIRS(CardClients, CardClient, CardClient)

KV_PAIR(GetCardClientProperties, FAMILY_CALLS,
        (long id, long* number, char* f2, char* f3, short* f4, short* f5, char* f6, char* f7, char* f8,
         char* f9, short* f10, short* f11, short* f12, double* f13, short* f14, long* f15, long* f16,
         char* f17, double* f18, long* f19),
        (id, number, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13, f14, f15, f16, f17, f18, f19),
        p.CardClient()->Get(id, number, OutStr(r, f2), OutStr(r, f3), f4, f5, OutStr(r, f6), OutStr(r, f7),
                            OutStr(r, f8), OutStr(r, f9), f10, f11, f12, OutCur(f13), f14, OutDate(r, f15),
                            f16, OutStr(r, f17), OutCur(f18), f19))
KV_PAIR(SetCardClientProperties, FAMILY_CALLS,
        (long id, long number, const char* f2, const char* f3, short f4, short f5, const char* f6,
         const char* f7, const char* f8, const char* f9, short f10, short f11, short f12, double f13,
         short f14, long f15, long f16, const char* f17, double f18, long f19),
        (id, number, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13, f14, f15, f16, f17, f18, f19),
        p.CardClient()->Set(id, number, GetStr(f2), GetStr(f3), f4, f5, GetStr(f6), GetStr(f7), GetStr(f8),
                            GetStr(f9), f10, f11, f12, Cur(f13), f14, Date(f15), f16, GetStr(f17), Cur(f18),
                            f19))
