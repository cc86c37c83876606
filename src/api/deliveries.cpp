// The delivery family: counts and look-ups, locking and clearing, acknowledgements, and the
// base, extended, summary and extension records of a delivery, each one call of the
// delivery proxy.
#include <utility>
#include "api/frame.h"
#include "proxies/IDelivery.h"

using namespace kvapi;

namespace {

// GetSummary with S1 to S33 as given, then S34 with its fallback and S35; nothing after.
// The caller's S34 travels as it is; S38 and S43 come into holders that start at -1, and a
// negative S34 gives way to S38, and that to S43: the caller gets the first of the three
// that is not negative.
template <class... S1To33>
long SummaryWithFallback(CIDelivery& d, long long* s34, long* s35, long id, S1To33&&... s)
{
    static_assert(sizeof...(S1To33) == 33);
    long long s38 = -1;
    long long s43 = -1;
    const long r = d.GetSummary(id, std::forward<S1To33>(s)..., s34, s35, nullptr, nullptr, &s38, nullptr,
                                nullptr, nullptr, nullptr, &s43, nullptr, nullptr);
    if (s34 && *s34 < 0) {
        *s34 = s38;
        if (*s34 < 0)
            *s34 = s43;
    }
    return r;
}

// A fixed-point field that a form takes in whole units.
CCur Units(long n) { return CCur::FromRaw(static_cast<int64_t>(n) * 10000); }

}  // namespace

// ---- counts and look-ups: four lists, each its own pair of server operations ----

KV_PAIR(GetDeliveriesCount, FAMILY_CALLS, (long* count), (count),
        p.Delivery()->Count(count))
KV_PAIR(GetDeliveryByOrdinal, FAMILY_CALLS, (long ordinal, long* id), (ordinal, id),
        p.Delivery()->GetIDByOrdinal(ordinal, id))
KV_PAIR(GetAllDeliveriesCount, FAMILY_CALLS, (long* count), (count),
        p.Delivery()->AllCount(count))
KV_PAIR(GetAllDeliveryByOrdinal, FAMILY_CALLS, (long ordinal, long* id), (ordinal, id),
        p.Delivery()->GetAllIDByOrdinal(ordinal, id))
KV_PAIR(GetDeliveriesCountNotLogged, FAMILY_CALLS, (long* count), (count),
        p.Delivery()->CountNotLogged(count))
KV_PAIR(GetDeliveryIDByOrdinalNotLogged, FAMILY_CALLS, (long ordinal, long* id), (ordinal, id),
        p.Delivery()->GetIDByOrdinalNotLogged(ordinal, id))
KV_PAIR(GetDeliveriesCountNotVolLogged, FAMILY_CALLS, (long* count), (count),
        p.Delivery()->CountNotVolLogged(count))
KV_PAIR(GetDeliveryIDByOrdinalNotVolLogged, FAMILY_CALLS, (long ordinal, long* id), (ordinal, id),
        p.Delivery()->GetIDByOrdinalNotVolLogged(ordinal, id))

// The 22 filter values, sent by value in this order, then the two dates.
KV_FILTERED_PAIRS(Deliveries, Delivery, Delivery, CountFiltered, GetIDByOrdinalFiletered,
                  (long filter1, long filter2, long filter3, long filter4, long filter5, long filter6,
                   long filter7, long filter8, long filter9, long filter10, long filter11, short filter12,
                   short filter13, short filter14, short filter15, long long filter16, long filter17,
                   long filter18, long long filter19, long filter20, long filter21, long long filter22),
                  (filter1, filter2, filter3, filter4, filter5, filter6, filter7, filter8, filter9, filter10,
                   filter11, filter12, filter13, filter14, filter15, filter16, filter17, filter18, filter19,
                   filter20, filter21, filter22))

// ---- locking, clearing, acknowledgements: the lock holder is this session's client ----

KV_PAIR(LockDelivery, FAMILY_CALLS, (long id), (id), p.Delivery()->Lock(id, p.ClientID()))
KV_PAIR(UnlockDelivery, FAMILY_CALLS, (long id), (id), p.Delivery()->Unlock(id, p.ClientID()))
KV_PAIR(ClearDelivery, FAMILY_CALLS, (long id, short type), (id, type),
        p.Delivery()->Clear(id, p.ClientID(), type))
KV_PAIR(LockAndClearDelivery, FAMILY_CALLS, (long id, short type), (id, type),
        p.Delivery()->LockAndClear(id, p.ClientID(), type))
KV_PAIR(AckDeliveryDBLog, FAMILY_CALLS, (long id), (id), p.Delivery()->AckDBLog(id))
KV_PAIR(AckDeliveryVolLog, FAMILY_CALLS, (long id), (id), p.Delivery()->AckVolLog(id))
KV_PAIR(GetDuration, FAMILY_CALLS, (long id, long* duration), (id, duration),
        p.Delivery()->GetDuration(id, duration))

// ---- extension record ----

KV_PAIR(GetDeliveryExt, FAMILY_CALLS,
        (long id, char* f1, double* f2, double* f3, char* f4, char* f5, char* f6, short* f7),
        (id, f1, f2, f3, f4, f5, f6, f7),
        p.Delivery()->GetExt(id, OutStr(r, f1), OutCur(f2), OutCur(f3), OutStr(r, f4), OutStr(r, f5),
                             OutStr(r, f6), f7))
KV_PAIR(SetDeliveryExt, FAMILY_CALLS,
        (long id, const char* f1, double f2, double f3, const char* f4, const char* f5, const char* f6,
         short f7),
        (id, f1, f2, f3, f4, f5, f6, f7),
        p.Delivery()->SetExt(id, GetStr(f1), Cur(f2), Cur(f3), GetStr(f4), GetStr(f5), GetStr(f6), f7))

// ---- base and extended records ----

// Base fields 1 to 13 (field 9 a date); the same fields are S1 and S15 to S26 of the summary.
#define KV_BASE_OUT_PARAMS                                                                      \
    long id, long* f1, short* f2, short* f3, double* f4, short* f5, double* f6, double* f7,     \
        double* f8, long* f9, long* f10, long* f11, long* f12, long* f13
#define KV_BASE_IN_PARAMS                                                                       \
    long id, long f1, short f2, short f3, double f4, short f5, double f6, double f7, double f8, \
        long f9, long f10, long f11, long f12, long f13
#define KV_BASE_ARGS id, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13
// Fields 2 to 13, out and in.
#define KV_BASE_OUT_TAIL                                                                        \
    f2, f3, OutCur(f4), f5, OutCur(f6), OutCur(f7), OutCur(f8), OutDate(r, f9), f10, f11, f12, f13
#define KV_BASE_IN_TAIL f2, f3, Cur(f4), f5, Cur(f6), Cur(f7), Cur(f8), Date(f9), f10, f11, f12, f13
// Summary fields 2 to 14, which the property forms do not want.
#define KV_NO_S2_TO_S14                                                                         \
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,   \
        nullptr, nullptr, nullptr
// Extended fields 14 to 23, as the Ex3 and Ex4 forms return them.
#define KV_EXT_OUT_PARAMS                                                                       \
    KV_BASE_OUT_PARAMS, long* f14, double* f15, double* f16, double* f17, double* f18,          \
        double* f19, double* f20, long long* f21, long* f22, long* f23
#define KV_EXT_ARGS KV_BASE_ARGS, f14, f15, f16, f17, f18, f19, f20, f21, f22, f23
#define KV_EXT_OUT_CURS OutCur(f15), OutCur(f16), OutCur(f17), OutCur(f18), OutCur(f19), OutCur(f20)
#define KV_EXT_IN_CURS Cur(f15), Cur(f16), Cur(f17), Cur(f18), Cur(f19), Cur(f20)

KV_PAIR(GetDeliveryProperties, FAMILY_CALLS, (KV_BASE_OUT_PARAMS), (KV_BASE_ARGS),
        p.Delivery()->Get(id, f1, KV_BASE_OUT_TAIL))
KV_PAIR(GetDeliveryPropertiesEx, FAMILY_CALLS,
        (KV_BASE_OUT_PARAMS, long* f14, double* f18, double* f19, double* f20, long long* f21),
        (KV_BASE_ARGS, f14, f18, f19, f20, f21),
        SummaryWithFallback(*p.Delivery(), f21, nullptr, id, f1, KV_NO_S2_TO_S14, KV_BASE_OUT_TAIL,
                            OutDate(r, f14), nullptr, nullptr, nullptr, OutCur(f18), OutCur(f19),
                            OutCur(f20)))
KV_PAIR(GetDeliveryPropertiesEx2, FAMILY_CALLS,
        (KV_BASE_OUT_PARAMS, long* f14, double* f15, double* f16, double* f17, double* f18, double* f19,
         double* f20, long long* f21, long* f22),
        (KV_BASE_ARGS, f14, f15, f16, f17, f18, f19, f20, f21, f22),
        SummaryWithFallback(*p.Delivery(), f21, f22, id, f1, KV_NO_S2_TO_S14, KV_BASE_OUT_TAIL,
                            OutDate(r, f14), KV_EXT_OUT_CURS))
// Field 24 is not wanted by Ex3: it goes as a null reference.
KV_PAIR(GetDeliveryPropertiesEx3, FAMILY_CALLS, (KV_EXT_OUT_PARAMS), (KV_EXT_ARGS),
        p.Delivery()->GetEx(id, f1, KV_BASE_OUT_TAIL, OutDate(r, f14), KV_EXT_OUT_CURS, f21, f22, f23,
                            nullptr))
KV_PAIR(GetDeliveryPropertiesEx4, FAMILY_CALLS, (KV_EXT_OUT_PARAMS, double* f24), (KV_EXT_ARGS, f24),
        p.Delivery()->GetEx(id, f1, KV_BASE_OUT_TAIL, OutDate(r, f14), KV_EXT_OUT_CURS, f21, f22, f23,
                            OutCur(f24)))

KV_PAIR(SetDeliveryProperties, FAMILY_CALLS, (KV_BASE_IN_PARAMS), (KV_BASE_ARGS),
        p.Delivery()->Set(id, f1, KV_BASE_IN_TAIL))
// The shorter SetEx forms fill what they do not take: the amounts with 0, the 64-bit key
// with -1 (no key); Ex2 and Ex3 take the key as a long, Ex3 the last amount in whole units.
KV_PAIR(SetDeliveryPropertiesEx, FAMILY_CALLS,
        (KV_BASE_IN_PARAMS, long f14, double f18, double f19, double f20, long f22, long f23),
        (KV_BASE_ARGS, f14, f18, f19, f20, f22, f23),
        p.Delivery()->SetEx(id, f1, KV_BASE_IN_TAIL, Date(f14), CCur(), CCur(), CCur(), Cur(f18), Cur(f19),
                            Cur(f20), -1LL, f22, f23, CCur()))
KV_PAIR(SetDeliveryPropertiesEx2, FAMILY_CALLS,
        (KV_BASE_IN_PARAMS, long f14, double f15, double f16, double f17, double f18, double f19,
         double f20, long f21, long f22, long f23),
        (KV_BASE_ARGS, f14, f15, f16, f17, f18, f19, f20, f21, f22, f23),
        p.Delivery()->SetEx(id, f1, KV_BASE_IN_TAIL, Date(f14), KV_EXT_IN_CURS, static_cast<long long>(f21),
                            f22, f23, CCur()))
KV_PAIR(SetDeliveryPropertiesEx3, FAMILY_CALLS,
        (KV_BASE_IN_PARAMS, long f14, double f15, double f16, double f17, double f18, double f19,
         double f20, long f21, long f22, long f23, long f24),
        (KV_BASE_ARGS, f14, f15, f16, f17, f18, f19, f20, f21, f22, f23, f24),
        p.Delivery()->SetEx(id, f1, KV_BASE_IN_TAIL, Date(f14), KV_EXT_IN_CURS, static_cast<long long>(f21),
                            f22, f23, Units(f24)))
KV_PAIR(SetDeliveryPropertiesEx4, FAMILY_CALLS,
        (KV_BASE_IN_PARAMS, long f14, double f15, double f16, double f17, double f18, double f19,
         double f20, long long f21, long f22, long f23, double f24),
        (KV_EXT_ARGS, f24),
        p.Delivery()->SetEx(id, f1, KV_BASE_IN_TAIL, Date(f14), KV_EXT_IN_CURS, f21, f22, f23, Cur(f24)))

// ---- summary record ----

// S1 to S27 (S22 and S27 dates), which every summary form returns.
#define KV_SUMMARY_PARAMS                                                                       \
    long id, long* s1, long* s2, long* s3, long* s4, long* s5, char* s6, long* s7, long* s8,    \
        char* s9, long* s10, long* s11, char* s12, char* s13, char* s14, short* s15,            \
        short* s16, double* s17, short* s18, double* s19, double* s20, double* s21, long* s22,  \
        long* s23, long* s24, long* s25, long* s26, long* s27
#define KV_SUMMARY_ARGS                                                                         \
    id, s1, s2, s3, s4, s5, s6, s7, s8, s9, s10, s11, s12, s13, s14, s15, s16, s17, s18, s19,   \
        s20, s21, s22, s23, s24, s25, s26, s27
#define KV_SUMMARY_OUTS                                                                         \
    id, s1, s2, s3, s4, s5, OutStr(r, s6), s7, s8, OutStr(r, s9), s10, s11, OutStr(r, s12),     \
        OutStr(r, s13), OutStr(r, s14), s15, s16, OutCur(s17), s18, OutCur(s19), OutCur(s20),   \
        OutCur(s21), OutDate(r, s22), s23, s24, s25, s26, OutDate(r, s27)
// S28 to S35, S36 to S38 and S40 to S43, the fields of the Ex forms.
#define KV_SUMMARY_EX_PARAMS                                                                    \
    KV_SUMMARY_PARAMS, double* s28, double* s29, double* s30, double* s31, double* s32,         \
        double* s33, long long* s34, long* s35
#define KV_SUMMARY_EX_ARGS KV_SUMMARY_ARGS, s28, s29, s30, s31, s32, s33, s34, s35
#define KV_SUMMARY_CURS OutCur(s28), OutCur(s29), OutCur(s30), OutCur(s31), OutCur(s32), OutCur(s33)
#define KV_SUMMARY_EX2_PARAMS                                                                   \
    KV_SUMMARY_EX_PARAMS, long* s36, char* s37, long long* s38, long* s40, long* s41,           \
        char* s42, long long* s43
#define KV_SUMMARY_EX2_ARGS KV_SUMMARY_EX_ARGS, s36, s37, s38, s40, s41, s42, s43

KV_PAIR(GetDeliverySummary, FAMILY_CALLS,
        (KV_SUMMARY_PARAMS, double* s31, double* s32, double* s33, long long* s34),
        (KV_SUMMARY_ARGS, s31, s32, s33, s34),
        SummaryWithFallback(*p.Delivery(), s34, nullptr, KV_SUMMARY_OUTS, nullptr, nullptr, nullptr,
                            OutCur(s31), OutCur(s32), OutCur(s33)))
KV_PAIR(GetDeliverySummaryEx, FAMILY_CALLS, (KV_SUMMARY_EX_PARAMS), (KV_SUMMARY_EX_ARGS),
        SummaryWithFallback(*p.Delivery(), s34, s35, KV_SUMMARY_OUTS, KV_SUMMARY_CURS))
// From Ex2 on, S38 and S43 are the caller's own; S39 and S44 are not wanted before Ex4.
KV_PAIR(GetDeliverySummaryEx2, FAMILY_CALLS, (KV_SUMMARY_EX2_PARAMS), (KV_SUMMARY_EX2_ARGS),
        p.Delivery()->GetSummary(KV_SUMMARY_OUTS, KV_SUMMARY_CURS, s34, s35, s36, OutStr(r, s37), s38,
                                 nullptr, s40, s41, OutStr(r, s42), s43, nullptr, nullptr))
KV_PAIR(GetDeliverySummaryEx3, FAMILY_CALLS, (KV_SUMMARY_EX2_PARAMS, double* s45),
        (KV_SUMMARY_EX2_ARGS, s45),
        p.Delivery()->GetSummary(KV_SUMMARY_OUTS, KV_SUMMARY_CURS, s34, s35, s36, OutStr(r, s37), s38,
                                 nullptr, s40, s41, OutStr(r, s42), s43, nullptr, OutCur(s45)))
KV_PAIR(GetDeliverySummaryEx4, FAMILY_CALLS,
        (KV_SUMMARY_EX_PARAMS, long* s36, char* s37, long long* s38, char* s39, long* s40, long* s41,
         char* s42, long long* s43, char* s44, double* s45),
        (KV_SUMMARY_EX_ARGS, s36, s37, s38, s39, s40, s41, s42, s43, s44, s45),
        p.Delivery()->GetSummary(KV_SUMMARY_OUTS, KV_SUMMARY_CURS, s34, s35, s36, OutStr(r, s37), s38,
                                 OutStr(r, s39), s40, s41, OutStr(r, s42), s43, OutStr(r, s44),
                                 OutCur(s45)))

// ---- short form without a session argument ----

// GetDeliverySummaryEx3 with this form's outputs in their places and nothing else wanted.
extern "C" KV_API long GetDeliverySummaryVFP(long id, long* s1, char* s6, short* s15, short* s16,
                                             double* s17, short* s18, double* s19, double* s20,
                                             double* s21, long* s22, long* s23, long* s24, long* s25,
                                             long* s26, long* s35)
{
    CSLock lock;
    return GetDeliverySummaryEx3MT(pGCLProcess, id, s1, nullptr, nullptr, nullptr, nullptr, s6, nullptr,
                                   nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, s15, s16,
                                   s17, s18, s19, s20, s21, s22, s23, s24, s25, s26, nullptr, nullptr,
                                   nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, s35, nullptr,
                                   nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
}
