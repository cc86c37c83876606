// Card reads: look-ups and the record (f7 a date).
#include "api/frame.h"
#include "proxies/ICardRead.h"

using namespace kvapi;

KV_LOOKUP_PAIRS(CardReads, CardRead, CardRead)

KV_PAIR(GetCardReadProperties, FAMILY_CALLS,
        (long id, long* number, char* f2, long* f3, short* f4, long* f5, long long* f6, long* f7),
        (id, number, f2, f3, f4, f5, f6, f7),
        p.CardRead()->Get(id, number, OutStr(r, f2), f3, f4, f5, f6, OutDate(r, f7)))
KV_PAIR(SetCardReadProperties, FAMILY_CALLS,
        (long id, long number, const char* f2, long f3, short f4, long f5, long long f6, long f7),
        (id, number, f2, f3, f4, f5, f6, f7),
        p.CardRead()->Set(id, number, GetStr(f2), f3, f4, f5, f6, Date(f7)))
