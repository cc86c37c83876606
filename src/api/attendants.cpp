// Attendants: configuration, logon and logoff (sent even for ID -1), and state.
#include "api/frame.h"
#include "proxies/IAttendant.h"

using namespace kvapi;

KV_LOOKUP_PAIRS(Attendants, Attendant, Attendant)

KV_PAIR(GetAttendantProperties, FAMILY_CALLS,
        (long id, long* number, char* f2, char* f3, char* f4, char* f5, char* f6, short* f7, short* f8,
         short* f9, short* f10, short* f11),
        (id, number, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11),
        p.Attendant()->Get(id, number, OutStr(r, f2), OutStr(r, f3), OutStr(r, f4), OutStr(r, f5),
                           OutStr(r, f6), f7, f8, f9, f10, f11))
KV_PAIR(SetAttendantProperties, FAMILY_CALLS,
        (long id, long number, const char* f2, const char* f3, const char* f4, const char* f5, const char* f6,
         short f7, short f8, short f9, short f10, short f11),
        (id, number, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11),
        p.Attendant()->Set(id, number, GetStr(f2), GetStr(f3), GetStr(f4), GetStr(f5), GetStr(f6), f7, f8,
                           f9, f10, f11))
KV_PAIR(AttendantLogon, FAMILY_CALLS, (long id, long a1), (id, a1),
        p.Attendant()->Logon(id, a1))
KV_PAIR(AttendantLogoff, FAMILY_CALLS, (long id), (id),
        p.Attendant()->Logoff(id))
KV_PAIR(GetAttendantState, FAMILY_CALLS, (long id, short* a1, short* a2), (id, a1, a2),
        p.Attendant()->GetState(id, a1, a2))
