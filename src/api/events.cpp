// The functions that take the head record of the event queue. Each row names the function,
// its record, its outputs (the header's signature, fN for field N) and the record field of
// each output in output order; an output may be narrower than its field (a long field read
// through a short* keeps its low 16 bits).
#include <cstddef>
#include <memory>
#include <type_traits>
#include "api/frame.h"
#include "client/records.h"

namespace kvapi {

// The output type of a field: long for dates, double for fixed point, char for strings.
template <class F> struct TOut { using type = F; };
template <> struct TOut<CCur> { using type = double; };
template <> struct TOut<CDate> { using type = long; };
template <> struct TOut<CStr> { using type = char; };

// Output p carries field N of the record.
template <std::size_t N, class P>
struct TFieldOut {
    P* p;

    // Before any check: -1 where the field names an object, 0 in the other numbers, 0.0 for
    // fixed point, the long form of the empty date; a string buffer is left alone.
    template <class R>
    void Default() const
    {
        using F = typename R::template FieldType<N>;
        static_assert(std::is_same_v<P, typename TOut<F>::type> || (std::is_same_v<F, long> && std::is_same_v<P, short>),
                      "output type does not fit its field");
        if (!p)
            return;
        if constexpr (std::is_same_v<F, CCur>)
            *p = 0.0;
        else if constexpr (std::is_same_v<F, CDate>)
            *p = DateOut(CDate());
        else if constexpr (R::template kIdentifier<N>)
            *p = static_cast<P>(-1);
        else if constexpr (!std::is_same_v<F, CStr>)
            *p = 0;
    }

    template <class R>
    void Copy(const R& record) const
    {
        using F = typename R::template FieldType<N>;
        const F& v = record.template Field<N>();
        if (!p)
            return;
        if constexpr (std::is_same_v<F, CCur>)
            *p = v.ToDouble();
        else if constexpr (std::is_same_v<F, CDate>)
            *p = DateOut(v);
        else if constexpr (std::is_same_v<F, CStr>)
            CopyBSTR(OK_RESULT, p, v);
        else
            *p = static_cast<P>(v);
    }
};

template <std::size_t N, class P>
TFieldOut<N, P> Field(P* p) { return {p}; }

// Defaults first, whatever follows; then no session 8, no events interface -22, and 2
// unless the head record is of type R; else the head leaves the queue, its fields go out
// and it is destroyed.
template <class R, class... O>
long Pop(CKVCLProcess* p, const O&... out)
{
    (out.template Default<R>(), ...);
    if (long r = Admit(p, FAMILY_QUEUE))
        return r;
    const CEvent* head = p->PeekEvent();
    if (!head || head->Type() != R::kCode)
        return NOT_FOUND_RESULT;
    std::unique_ptr<CEvent> taken(p->GetEvent());
    if (!taken)
        return NOT_FOUND_RESULT;
    (out.Copy(static_cast<const R&>(*taken)), ...);
    return OK_RESULT;
}

}  // namespace kvapi

// KV_FIELD_LIST(1, 2, 7) is ::kvapi::Field<1>(f1), ::kvapi::Field<2>(f2), ::kvapi::Field<7>(f7).
#define KV_FIELD(n) ::kvapi::Field<n>(f##n)
#define KV_PARENS ()
#define KV_EXPAND(...) KV_EXPAND3(KV_EXPAND3(KV_EXPAND3(KV_EXPAND3(__VA_ARGS__))))
#define KV_EXPAND3(...) KV_EXPAND2(KV_EXPAND2(KV_EXPAND2(KV_EXPAND2(__VA_ARGS__))))
#define KV_EXPAND2(...) KV_EXPAND1(KV_EXPAND1(KV_EXPAND1(KV_EXPAND1(__VA_ARGS__))))
#define KV_EXPAND1(...) __VA_ARGS__
#define KV_FIELD_LIST(...) __VA_OPT__(KV_EXPAND(KV_FIELD_NEXT(__VA_ARGS__)))
#define KV_FIELD_NEXT(n, ...) KV_FIELD(n) __VA_OPT__(, KV_FIELD_AGAIN KV_PARENS(__VA_ARGS__))
#define KV_FIELD_AGAIN() KV_FIELD_NEXT

// One exported pair. Unlike the call functions, the locking form runs the session form even
// without a session, so that its outputs get their defaults before the 8.
#define KV_POP(Name, Record, Params, ...)                                                 \
    extern "C" KV_API long Name##MT KV_SESSION_PARAMS Params                              \
    {                                                                                     \
        return ::kvapi::Pop<Record>(kvSession, KV_FIELD_LIST(__VA_ARGS__));               \
    }                                                                                     \
    extern "C" KV_API long Name Params                                                    \
    {                                                                                     \
        ::kvapi::CSLock kvLock;                                                           \
        return ::kvapi::Pop<Record>(pGCLProcess, KV_FIELD_LIST(__VA_ARGS__));             \
    }

// ---- the rows; fields as listed in docs/events.md ----

KV_POP(GetNextServerEvent, CServerEvent,
    (long* f1, char* f2),
    1, 2)

KV_POP(GetNextClientEvent, CClientEvent,
    (long* f1, long* f2, char* f3),
    1, 2, 3)

KV_POP(GetNextDBLogEvent, CDBLogEvent,
    (long* f1, long* f2, long* f3, char* f4),
    1, 2, 3, 4)

KV_POP(GetNextDBLogDeliveryEvent, CLogDelivery,
    (long* f1, long* f2, short* f3, short* f4, double* f5, short* f6, double* f7, double* f8,
    double* f9, long* f10, long* f11, long* f12),
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12)

KV_POP(GetNextDBClearDeliveryEvent, CClearDelivery,
    (long* f1, short* f2, long* f3, long* f4, long* f5),
    1, 2, 3, 4, 5)

KV_POP(GetNextDBStackDeliveryEvent, CStackDelivery,
    (long* f1),
    1)

KV_POP(GetNextDBHoseETotalsEvent, CHoseETotals,
    (long* f1, double* f2, double* f3, double* f4, double* f5),
    1, 2, 3, 4, 5)

KV_POP(GetNextDBHoseETotalsEventEx, CHoseETotals,
    (long* f1, double* f2, double* f3, double* f4, double* f5, long* f6, long* f7, long* f8,
    long* f9, char* f10, long* f11, long* f12, char* f13, long* f14, char* f15),
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15)

KV_POP(GetNextDBTriggerEvent, CDBTrigger,
    (long* f1, long* f2),
    1, 2)

KV_POP(GetNextDBAttendantLogonEvent, CAttendantLogonEvent,
    (long* f1, long* f2),
    1, 2)

KV_POP(GetNextDBAttendantLogoffEvent, CAttendantLogoffEvent,
    (long* f1),
    1)

KV_POP(GetNextDBTankStatusEvent, CDBTankStatus,
    (long* f1, double* f2, double* f3, double* f4, double* f5, double* f6, double* f7, double* f8),
    1, 2, 3, 4, 5, 6, 7, 8)

KV_POP(GetNextDBTankStatusEventEx, CDBTankStatus,
    (long* f1, double* f2, double* f3, double* f4, double* f5, double* f6, double* f7, double* f8,
    long* f9, char* f10, long* f11, char* f12, short* f13, double* f14, double* f15, long* f16,
    short* f17),
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17)

KV_POP(GetNextDBTankStatusEventEx2, CDBTankStatus,
    (long* f1, double* f2, double* f3, double* f4, double* f5, double* f6, double* f7, double* f8,
    long* f9, char* f10, long* f11, char* f12, short* f13, double* f14, double* f15, long* f16,
    short* f17, short* f18, long* f19),
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19)

KV_POP(GetNextZeroDeliveryEvent, CZeroDeliveryEvent,
    (long* f1, long* f2, long* f3, long* f4),
    1, 2, 3, 4)

KV_POP(GetNextZeroDeliveryEventEx, CZeroDeliveryEvent,
    (long* f1, long* f2, long* f3, long* f4, short* f5, short* f6, double* f7),
    1, 2, 3, 4, 5, 6, 7)

KV_POP(GetNextZBPanIDEvent, CZBPanIDEvent,
    (long* f1, long long* f2),
    1, 2)

KV_POP(GetNextCardReadEvent, CCardReadEvent,
    (long* f1, long* f2, char* f3, long* f4, short* f5, long* f6, long long* f7, long* f8),
    1, 2, 3, 4, 5, 6, 7, 8)

KV_POP(GetNextZB2GStatusEvent, CZB2GStatusEvent,
    (long* f1, long long* f2, short* f3, short* f4, long long* f5, short* f6, short* f7, short* f8,
    short* f9),
    1, 2, 3, 4, 5, 6, 7, 8, 9)

KV_POP(GetNextLogEventEvent, CLogEventEvent,
    (long* f1, short* f2, long* f3, long* f4, char* f5, short* f6, short* f7, char* f8, long* f9,
    long* f10, long* f11, long* f12, double* f13, double* f14, double* f15, double* f16,
    double* f17, double* f18),
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18)

KV_POP(GetNextSaleItemEvent, CSaleItemEvent,
    (long* f1, long* f2, long* f3, char* f4, long long* f5, long* f6, char* f7, char* f8, long* f9,
    long* f10, char* f11, long* f12, long* f13, char* f14, long long* f15, long* f16, long* f17,
    char* f18, long long* f19, short* f20, double* f21, double* f22, long* f23, long* f24,
    long* f25, long* f26, short* f27, short* f28, char* f29, char* f30, char* f31, char* f32,
    short* f33),
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26,
    27, 28, 29, 30, 31, 32, 33)

KV_POP(GetNextKVOdoEvent, CKVOdoEvent,
    (long* f1, long long* f2, short* f3, short* f4, long long* f5, short* f6, short* f7, short* f8,
    short* f9, long* f10, char* f11, long long* f12, long long* f13, long* f14, short* f15,
    long long* f16, long* f17, short* f18, long long* f19, long long* f20, long long* f21,
    long long* f22, short* f23, char* f24),
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24)

KV_POP(GetNextKVTermPromptEvent, CKVTermPromptEvent,
    (long* f1, short* f2, short* f3, char* f4),
    1, 2, 3, 4)

KV_POP(GetNextPumpEvent, CPumpEvent,
    (long* f1, long* f2, short* f3, short* f4, long* f5, long* f6, short* f7, long* f8, char* f11,
    char* f12, short* f13, double* f14, double* f15, double* f16, short* f17),
    1, 2, 3, 4, 5, 6, 7, 8, 11, 12, 13, 14, 15, 16, 17)

KV_POP(GetNextPumpEventEx, CPumpEvent,
    (long* f1, long* f2, short* f3, short* f4, long* f5, long* f6, short* f7, long* f8, char* f11,
    char* f12, short* f13, double* f14, double* f15, double* f16, short* f17, char* f18, long* f19,
    short* f20, short* f21, short* f22, short* f23, short* f24, long* f25, short* f26, short* f27,
    short* f28, short* f29, short* f30, short* f31, short* f32),
    1, 2, 3, 4, 5, 6, 7, 8, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28,
    29, 30, 31, 32)

KV_POP(GetNextPumpEventEx2, CPumpEvent,
    (long* f1, long* f2, short* f3, short* f4, long* f5, long* f6, long* f7, long* f8, long* f9,
    long* f10, char* f11, char* f12, short* f13, double* f14, double* f15, double* f16, short* f17,
    char* f18, long* f19, short* f20, short* f21, short* f22, short* f23, short* f24, long* f25,
    short* f26, short* f27, short* f28, short* f29, short* f30, short* f31, short* f32,
    long long* f33, long* f34, long* f35, char* f36, long long* f37, long* f38, long* f39,
    char* f40, long long* f41),
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26,
    27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41)

KV_POP(GetNextPumpEventEx3, CPumpEvent,
    (long* f1, long* f2, short* f3, short* f4, long* f5, long* f6, long* f7, long* f8, long* f9,
    long* f10, char* f11, char* f12, short* f13, double* f14, double* f15, double* f16, short* f17,
    char* f18, long* f19, short* f20, short* f21, short* f22, short* f23, short* f24, long* f25,
    short* f26, short* f27, short* f28, short* f29, short* f30, short* f31, short* f32,
    long long* f33, long* f34, long* f35, char* f36, long long* f37, long* f38, long* f39,
    char* f40, long long* f41, double* f42, double* f43),
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26,
    27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43)

KV_POP(GetNextDeliveryEvent, CDeliveryEvent,
    (long* f1, long* f2, long* f3, long* f4, long* f5, long* f6, char* f7, short* f16, short* f17,
    double* f18, short* f19, double* f20, double* f21, double* f22, long* f23, long* f24,
    long* f25, long* f26, long* f27),
    1, 2, 3, 4, 5, 6, 7, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27)

KV_POP(GetNextDeliveryEventEx, CDeliveryEvent,
    (long* f1, long* f2, long* f3, long* f4, long* f5, long* f6, char* f7, long* f8, long* f9,
    char* f10, long* f11, short* f16, short* f17, double* f18, short* f19, double* f20,
    double* f21, double* f22, long* f23, long* f24, long* f25, long* f26, long* f27),
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27)

KV_POP(GetNextDeliveryEventEx2, CDeliveryEvent,
    (long* f1, long* f2, long* f3, long* f4, long* f5, long* f6, char* f7, long* f8, long* f9,
    char* f10, long* f11, long* f12, char* f13, char* f14, char* f15, short* f16, short* f17,
    double* f18, short* f19, double* f20, double* f21, double* f22, long* f23, long* f24,
    long* f25, long* f26, long* f27),
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26,
    27)

KV_POP(GetNextDeliveryEventEx3, CDeliveryEvent,
    (long* f1, long* f2, long* f3, long* f4, long* f5, long* f6, char* f7, long* f8, long* f9,
    char* f10, long* f11, long* f12, char* f13, char* f14, char* f15, short* f16, short* f17,
    double* f18, short* f19, double* f20, double* f21, double* f22, long* f23, long* f24,
    long* f25, long* f26, long* f27, long* f28, double* f29, double* f30, double* f31, double* f32,
    double* f33, double* f34, long long* f35, long* f36, long* f37, char* f38, long long* f39,
    long* f40, long* f41, char* f42, long long* f43),
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26,
    27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43)

KV_POP(GetNextDeliveryEventEx4, CDeliveryEvent,
    (long* f1, long* f2, long* f3, long* f4, long* f5, long* f6, char* f7, long* f8, long* f9,
    char* f10, long* f11, long* f12, char* f13, char* f14, char* f15, short* f16, short* f17,
    double* f18, short* f19, double* f20, double* f21, double* f22, long* f23, long* f24,
    long* f25, long* f26, long* f27, long* f28, double* f29, double* f30, double* f31, double* f32,
    double* f33, double* f34, long long* f35, long* f36, long* f37, char* f38, long long* f39,
    long* f40, long* f41, char* f42, long long* f43, double* f44),
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26,
    27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44)
