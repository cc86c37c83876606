// ZigBee devices: look-ups and the record.
#include "api/frame.h"
#include "proxies/IZigBee.h"

using namespace kvapi;

KV_LOOKUP_PAIRS(ZigBees, ZigBee, ZigBee)

KV_PAIR(GetZigBeeProperties, FAMILY_CALLS,
        (long id, long* number, char* f2, short* f3, char* f4, char* f5, long* f6),
        (id, number, f2, f3, f4, f5, f6),
        p.ZigBee()->Get(id, number, OutStr(r, f2), f3, OutStr(r, f4), OutStr(r, f5), f6))
KV_PAIR(SetZigBeeProperties, FAMILY_CALLS,
        (long id, long number, const char* f2, short f3, const char* f4, const char* f5, long f6),
        (id, number, f2, f3, f4, f5, f6),
        p.ZigBee()->Set(id, number, GetStr(f2), f3, GetStr(f4), GetStr(f5), f6))
