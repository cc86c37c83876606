// Grades: configuration and the unit prices of the two price levels.
#include "api/frame.h"
#include "proxies/IGrade.h"

using namespace kvapi;

KV_LOOKUP_PAIRS(Grades, Grade, Grade)

KV_PAIR(GetGradeProperties, FAMILY_CALLS,
        (long id, long* number, char* name, char* shortName, long* productId, double* price1, double* price2),
        (id, number, name, shortName, productId, price1, price2),
        p.Grade()->Get(id, number, OutStr(r, name), OutStr(r, shortName), productId, OutCur(price1),
                       OutCur(price2)))
KV_PAIR(SetGradeProperties, FAMILY_CALLS,
        (long id, long number, const char* name, const char* shortName, long productId, double price1,
         double price2),
        (id, number, name, shortName, productId, price1, price2),
        p.Grade()->Set(id, number, GetStr(name), GetStr(shortName), productId, Cur(price1), Cur(price2)))
KV_PAIR(GetGradePrice, FAMILY_CALLS, (long id, short level, double* price), (id, level, price),
        p.Grade()->GetPrice(id, level, OutCur(price)))
KV_PAIR(SetGradePrice, FAMILY_CALLS, (long id, short level, double price), (id, level, price),
        p.Grade()->SetPrice(id, level, Cur(price)))
