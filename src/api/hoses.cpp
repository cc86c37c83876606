// Hoses: configuration, the look-ups filtered by pump, grade and tank, totals and prices.
#include "api/frame.h"
#include "proxies/IHose.h"

using namespace kvapi;

KV_LOOKUP_PAIRS(Hoses, Hose, Hose)

KV_PAIR(GetHoseProperties, FAMILY_CALLS,
        (long id, long* number, char* name, long* pumpId, long* pumpHoseNumber, long* gradeId, long* tankId),
        (id, number, name, pumpId, pumpHoseNumber, gradeId, tankId),
        p.Hose()->Get(id, number, OutStr(r, name), pumpId, pumpHoseNumber, gradeId, tankId))
KV_PAIR(SetHoseProperties, FAMILY_CALLS,
        (long id, long number, const char* name, long pumpId, long pumpHoseNumber, long gradeId, long tankId),
        (id, number, name, pumpId, pumpHoseNumber, gradeId, tankId),
        p.Hose()->Set(id, number, GetStr(name), pumpId, pumpHoseNumber, gradeId, tankId))
KV_PAIR(GetHosesCountFiltered, FAMILY_CALLS, (long* count, long pumpId, long gradeId, long tankId),
        (count, pumpId, gradeId, tankId),
        p.Hose()->GetHosesCount(count, pumpId, gradeId, tankId))
KV_PAIR(GetHoseIDByOrdinalFiltered, FAMILY_CALLS, (long ordinal, long* id, long pumpId, long gradeId, long tankId),
        (ordinal, id, pumpId, gradeId, tankId),
        p.Hose()->GetHoseByOrdinal(ordinal, id, pumpId, gradeId, tankId))
KV_PAIR(GetHoseTotals, FAMILY_CALLS,
        (long id, double* volume, double* money, double* previousVolume, double* previousMoney),
        (id, volume, money, previousVolume, previousMoney),
        p.Hose()->GetTotals(id, OutCur(volume), OutCur(money), OutCur(previousVolume), OutCur(previousMoney)))
KV_PAIR(GetHosePrice, FAMILY_CALLS, (long id, short level, double* price), (id, level, price),
        p.Hose()->GetPrice(id, level, OutCur(price)))
