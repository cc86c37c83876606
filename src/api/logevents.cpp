// Log events: the record (f8, f9 dates), the filtered look-ups, and clearing and
// acknowledging, which send this client's number.
#include "api/frame.h"
#include "proxies/ILogEvent.h"

using namespace kvapi;

KV_LOOKUP_PAIRS(LogEvents, LogEvent, LogEvent)

KV_PAIR(GetLogEventProperties, FAMILY_CALLS,
        (long id, short* f1, long* f2, long* f3, char* f4, short* f5, short* f6, char* f7, long* f8, long* f9,
         long* f10, long* f11, double* f12, double* f13, double* f14, double* f15, double* f16, double* f17),
        (id, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13, f14, f15, f16, f17),
        p.LogEvent()->Get(id, f1, f2, f3, OutStr(r, f4), f5, f6, OutStr(r, f7), OutDate(r, f8), OutDate(r, f9),
                          f10, f11, OutCur(f12), OutCur(f13), OutCur(f14), OutCur(f15), OutCur(f16),
                          OutCur(f17)))
KV_PAIR(SetLogEventProperties, FAMILY_CALLS,
        (long id, short f1, long f2, long f3, const char* f4, short f5, short f6, const char* f7, long f8,
         long f9, long f10, long f11, double f12, double f13, double f14, double f15, double f16, double f17),
        (id, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13, f14, f15, f16, f17),
        p.LogEvent()->Set(id, f1, f2, f3, GetStr(f4), f5, f6, GetStr(f7), Date(f8), Date(f9), f10, f11,
                          Cur(f12), Cur(f13), Cur(f14), Cur(f15), Cur(f16), Cur(f17)))
KV_FILTERED_PAIRS(LogEvents, LogEvent, LogEvent, GetEventsCount, GetEventByOrdinal,
                  (short filter1, long filter2, short filter3, short filter4, long filter5, long filter6),
                  (filter1, filter2, filter3, filter4, filter5, filter6))
KV_PAIR(ClearLogEvent, FAMILY_CALLS, (long id), (id),
        p.LogEvent()->ClearEvent(id, p.ClientID()))
KV_PAIR(AckLogEvent, FAMILY_CALLS, (long id), (id),
        p.LogEvent()->AckEvent(id, p.ClientID()))
