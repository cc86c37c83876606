// Sensors: configuration and the two status values.
#include "api/frame.h"
#include "proxies/ISensor.h"

using namespace kvapi;

KV_LOOKUP_PAIRS(Sensors, Sensor, Sensor)

KV_PAIR(GetSensorProperties, FAMILY_CALLS,
        (long id, long* number, char* f2, long* f3, short* f4, short* f5, short* f6, long* f7, long* f8),
        (id, number, f2, f3, f4, f5, f6, f7, f8),
        p.Sensor()->Get(id, number, OutStr(r, f2), f3, f4, f5, f6, f7, f8))
KV_PAIR(SetSensorProperties, FAMILY_CALLS,
        (long id, long number, const char* f2, long f3, short f4, short f5, short f6, long f7, long f8),
        (id, number, f2, f3, f4, f5, f6, f7, f8),
        p.Sensor()->Set(id, number, GetStr(f2), f3, f4, f5, f6, f7, f8))
KV_PAIR(GetSensorStatus, FAMILY_CALLS, (long id, short* a1, short* a2), (id, a1, a2),
        p.Sensor()->GetStatus(id, a1, a2))
