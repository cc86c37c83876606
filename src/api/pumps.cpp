// The pump family: look-ups, commands, status, delivery data and configuration, each one
// call of the pump proxy (or of the common methods for the look-ups).
#include "api/frame.h"
#include "proxies/IPump.h"

using namespace kvapi;

// ---- look-ups ----

KV_LOOKUP_PAIRS(Pumps, Pump, Pump)
KV_PAIR(GetPumpHosesCount, FAMILY_CALLS, (long id, long* count), (id, count),
        p.Pump()->GetHosesCount(id, count))
KV_PAIR(GetPumpHoseByNumber, FAMILY_CALLS, (long id, long number, long* hoseId), (id, number, hoseId),
        p.Pump()->GetHoseByNumber(id, number, hoseId))

// ---- commands ----

KV_PAIR(Authorise, FAMILY_CALLS, (long id), (id), p.Pump()->Authorise(id))
KV_PAIR(CancelAuthorise, FAMILY_CALLS, (long id), (id), p.Pump()->CancelAuthorise(id))
KV_PAIR(TempStop, FAMILY_CALLS, (long id), (id), p.Pump()->TempStop(id))
KV_PAIR(ReAuthorise, FAMILY_CALLS, (long id), (id), p.Pump()->ReAuthorise(id))
KV_PAIR(TerminateDelivery, FAMILY_CALLS, (long id), (id), p.Pump()->TerminateDelivery(id))
KV_PAIR(StackCurrentDelivery, FAMILY_CALLS, (long id), (id), p.Pump()->StackCurrentDelivery(id))
KV_PAIR(DisablePump, FAMILY_CALLS, (long id), (id), p.Pump()->DisablePump(id))
KV_PAIR(EnablePump, FAMILY_CALLS, (long id), (id), p.Pump()->EnablePump(id))
KV_PAIR(AttendantAuthorise, FAMILY_CALLS, (long id, long attendantId), (id, attendantId),
        p.Pump()->AttendantAuthorise(id, attendantId))
KV_PAIR(SetPumpDefaultPriceLevel, FAMILY_CALLS, (long id, short level), (id, level),
        p.Pump()->SetDefaultPriceLevel(id, level))
KV_PAIR(GetPumpDefaultPriceLevel, FAMILY_CALLS, (long id, short* level), (id, level),
        p.Pump()->GetDefaultPriceLevel(id, level))
KV_PAIR(FlashLEDS, FAMILY_CALLS, (long id, short a1, short a2), (id, a1, a2),
        p.Pump()->FlashLEDS(id, a1, a2))
KV_PAIR(ScheduleBeep, FAMILY_CALLS,
        (long id, short a1, short a2, short a3, short a4, short a5, short a6, short a7, short a8,
         short a9, short a10),
        (id, a1, a2, a3, a4, a5, a6, a7, a8, a9, a10),
        p.Pump()->ScheduleBeep(id, a1, a2, a3, a4, a5, a6, a7, a8, a9, a10))
KV_PAIR(LoadPreset, FAMILY_CALLS, (long id, short type, double value, short a3, short a4),
        (id, type, value, a3, a4),
        p.Pump()->LoadPreset(id, type, Cur(value), a3, a4))
KV_PAIR(LoadPresetWithPrice, FAMILY_CALLS,
        (long id, short type, double value, short a3, short a4, double price),
        (id, type, value, a3, a4, price),
        p.Pump()->LoadPresetWithPrice(id, type, Cur(value), a3, a4, Cur(price)))
KV_PAIR(TagAuthorise, FAMILY_CALLS, (long id, long long tag, short a2, double value, short a4, short a5),
        (id, tag, a2, value, a4, a5),
        p.Pump()->TagAuthorise(id, tag, a2, Cur(value), a4, a5))

// Reservations name the reserving client: the session's own client number goes first.
KV_PAIR(PrepayReserve, FAMILY_CALLS, (long id), (id), p.Pump()->PrepayReserve(id, p.ClientID()))
KV_PAIR(PrepayCancel, FAMILY_CALLS, (long id), (id), p.Pump()->PrepayCancel(id, p.ClientID()))
KV_PAIR(PrepayAuthorise, FAMILY_CALLS, (long id, short type, double value, short a3, short a4),
        (id, type, value, a3, a4),
        p.Pump()->PrepayAuthorise(id, p.ClientID(), type, Cur(value), a3, a4))
KV_PAIR(PreauthReserve, FAMILY_CALLS, (long id), (id), p.Pump()->PreauthReserve(id, p.ClientID()))
KV_PAIR(PreauthCancel, FAMILY_CALLS, (long id), (id), p.Pump()->PreauthCancel(id, p.ClientID()))
KV_PAIR(PreauthAuthorise, FAMILY_CALLS, (long id, short type, double value, short a3, short a4),
        (id, type, value, a3, a4),
        p.Pump()->PreauthAuthorise(id, p.ClientID(), type, Cur(value), a3, a4))

KV_PAIR(PaymentReserve, FAMILY_CALLS, (long id, long a1, const char* a2), (id, a1, a2),
        p.Pump()->PaymentReserve(id, a1, GetStr(a2)))
KV_PAIR(PaymentCancel, FAMILY_CALLS, (long id, long a1, const char* a2), (id, a1, a2),
        p.Pump()->PaymentCancel(id, a1, GetStr(a2)))
KV_PAIR(PaymentAuthorise, FAMILY_CALLS,
        (long id, long a1, const char* a2, long a3, long long a4, long a5, long long a6, short a7,
         long long a8, short a9, short a10, short a11, double a12, short a13, double a14, short a15,
         double a16, double a17, const char* a18, const char* a19, const char* a20, const char* a21),
        (id, a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12, a13, a14, a15, a16, a17, a18, a19,
         a20, a21),
        p.Pump()->PaymentAuthorise(id, a1, GetStr(a2), a3, a4, a5, a6, a7, a8, a9, a10, a11, Cur(a12),
                                   a13, Cur(a14), a15, Cur(a16), Cur(a17), GetStr(a18), GetStr(a19),
                                   GetStr(a20), GetStr(a21)))

KV_PAIR(ExternalStartDelivery, FAMILY_CALLS, (long id, long a1, long a2), (id, a1, a2),
        p.Pump()->ExternalStartDelivery(id, a1, a2))
KV_PAIR(ExternalEndDelivery, FAMILY_CALLS,
        (long id, long a1, double a2, double a3, short a4, double a5, double a6, double a7,
         long long a8, long long a9, long a10, long a11),
        (id, a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11),
        p.Pump()->ExternalEndDelivery(id, a1, Cur(a2), Cur(a3), a4, Cur(a5), Cur(a6), Cur(a7), a8, a9,
                                      a10, a11))

// One-way: returns 0 as soon as the prompt is sent. The proxy drops a3.
KV_PAIR(KVTermPrompt, FAMILY_CALLS,
        (long id, short a1, short a2, short a3, short a4, short a5, short a6, short a7, short a8,
         short a9, short a10, short a11, short a12, const char* a13),
        (id, a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12, a13),
        p.Pump()->KVTermPrompt(id, p.ClientID(), a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12,
                               GetStr(a13)))

KV_PAIR(GetDensity, FAMILY_CALLS, (long id, double* density), (id, density),
        p.Pump()->GetDensity(id, OutCur(density)))

// ---- status ----

KV_PAIR(GetPumpStatus, FAMILY_CALLS,
        (long id, short* f1, short* f2, long* f3, long* f4, short* f5, long* f6, char* f7, char* f8,
         short* f9, double* f10, double* f11, double* f12, short* f13),
        (id, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13),
        p.Pump()->GetStatus(id, f1, f2, f3, f4, f5, f6, OutStr(r, f7), OutStr(r, f8), f9, OutCur(f10),
                            OutCur(f11), OutCur(f12), f13))

// The 27 values of the extended status that both forms return; the last two, fixed-point,
// are returned by Ex2 only.
#define KV_STATUS_EX_PARAMS                                                                     \
    long id, long* f1, char* f2, long* f3, short* f4, short* f5, long* f6, long* f7, long* f8,  \
        long* f9, long* f10, long* f11, char* f12, char* f13, short* f14, double* f15,          \
        double* f16, double* f17, short* f18, long long* f19, long* f20, long* f21, char* f22,  \
        long long* f23, long* f24, long* f25, char* f26, long long* f27
#define KV_STATUS_EX_ARGS                                                                       \
    id, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13, f14, f15, f16, f17, f18, f19,   \
        f20, f21, f22, f23, f24, f25, f26, f27
#define KV_STATUS_EX_OUTS                                                                       \
    id, f1, OutStr(r, f2), f3, f4, f5, f6, f7, f8, f9, f10, f11, OutStr(r, f12), OutStr(r, f13), \
        f14, OutCur(f15), OutCur(f16), OutCur(f17), f18, f19, f20, f21, OutStr(r, f22), f23,    \
        f24, f25, OutStr(r, f26), f27

KV_PAIR(GetPumpStatusEx, FAMILY_CALLS, (KV_STATUS_EX_PARAMS), (KV_STATUS_EX_ARGS),
        p.Pump()->GetStatusEx(KV_STATUS_EX_OUTS, nullptr, nullptr))
KV_PAIR(GetPumpStatusEx2, FAMILY_CALLS, (KV_STATUS_EX_PARAMS, double* f28, double* f29),
        (KV_STATUS_EX_ARGS, f28, f29),
        p.Pump()->GetStatusEx(KV_STATUS_EX_OUTS, OutCur(f28), OutCur(f29)))

// ---- delivery data ----

// The leading short and the 17 values of GetDeliveryProperties (18), which
// GetDeliveryPropertiesEx (35) repeats before its eleven more.
#define KV_PUMP_DELIVERY_PARAMS                                                                 \
    long id, short index, long* f1, short* f2, short* f3, long* f4, short* f5, long* f6,        \
        char* f7, char* f8, short* f9, double* f10, double* f11, double* f12, long* f13,        \
        long* f14, long* f15, long* f16, long* f17
#define KV_PUMP_DELIVERY_ARGS                                                                   \
    id, index, f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13, f14, f15, f16, f17
#define KV_PUMP_DELIVERY_OUTS                                                                   \
    id, index, f1, f2, f3, f4, f5, f6, OutStr(r, f7), OutStr(r, f8), f9, OutCur(f10),           \
        OutCur(f11), OutCur(f12), f13, f14, f15, OutDateAny(f16), f17
// The six fixed-point values that follow the 17 (f18 to f23).
#define KV_PUMP_DELIVERY_CURS                                                                   \
    OutCur(f18), OutCur(f19), OutCur(f20), OutCur(f21), OutCur(f22), OutCur(f23)

KV_PAIR(GetPumpDeliveryProperties, FAMILY_CALLS, (KV_PUMP_DELIVERY_PARAMS), (KV_PUMP_DELIVERY_ARGS),
        p.Pump()->GetDeliveryProperties(KV_PUMP_DELIVERY_OUTS))
KV_PAIR(GetPumpDeliveryPropertiesEx, FAMILY_CALLS,
        (KV_PUMP_DELIVERY_PARAMS, double* f21, double* f22, double* f23, long long* f24),
        (KV_PUMP_DELIVERY_ARGS, f21, f22, f23, f24),
        p.Pump()->GetDeliveryPropertiesEx(KV_PUMP_DELIVERY_OUTS, nullptr, nullptr, nullptr, OutCur(f21),
                                          OutCur(f22), OutCur(f23), f24, nullptr, nullptr, nullptr))
KV_PAIR(GetPumpDeliveryPropertiesEx2, FAMILY_CALLS,
        (KV_PUMP_DELIVERY_PARAMS, double* f18, double* f19, double* f20, double* f21, double* f22,
         double* f23, long long* f24, long* f25),
        (KV_PUMP_DELIVERY_ARGS, f18, f19, f20, f21, f22, f23, f24, f25),
        p.Pump()->GetDeliveryPropertiesEx(KV_PUMP_DELIVERY_OUTS, KV_PUMP_DELIVERY_CURS, f24, f25, nullptr,
                                          nullptr))
KV_PAIR(GetPumpDeliveryPropertiesEx3, FAMILY_CALLS,
        (KV_PUMP_DELIVERY_PARAMS, double* f18, double* f19, double* f20, double* f21, double* f22,
         double* f23, long long* f24, long* f25, long* f26),
        (KV_PUMP_DELIVERY_ARGS, f18, f19, f20, f21, f22, f23, f24, f25, f26),
        p.Pump()->GetDeliveryPropertiesEx(KV_PUMP_DELIVERY_OUTS, KV_PUMP_DELIVERY_CURS, f24, f25, f26,
                                          nullptr))
KV_PAIR(GetPumpDeliveryPropertiesEx4, FAMILY_CALLS,
        (KV_PUMP_DELIVERY_PARAMS, double* f18, double* f19, double* f20, double* f21, double* f22,
         double* f23, long long* f24, long* f25, long* f26, double* f27),
        (KV_PUMP_DELIVERY_ARGS, f18, f19, f20, f21, f22, f23, f24, f25, f26, f27),
        p.Pump()->GetDeliveryPropertiesEx(KV_PUMP_DELIVERY_OUTS, KV_PUMP_DELIVERY_CURS, f24, f25, f26,
                                          OutCur(f27)))

// ---- configuration ----

#define KV_PUMP_CONFIG_OUT_PARAMS                                                               \
    long id, long* number, char* name, short* f3, short* f4, short* f5, short* f6, short* f7,   \
        short* f8, short* f9, short* f10, short* f11, long* f12, long* f13, short* f14,         \
        short* f15, short* f16, short* f17
#define KV_PUMP_CONFIG_IN_PARAMS                                                                \
    long id, long number, const char* name, short f3, short f4, short f5, short f6, short f7,   \
        short f8, short f9, short f10, short f11, long f12, long f13, short f14, short f15,     \
        short f16, short f17
#define KV_PUMP_CONFIG_ARGS                                                                     \
    id, number, name, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13, f14, f15, f16, f17
#define KV_PUMP_CONFIG_GET id, number, OutStr(r, name), KV_PUMP_CONFIG_TAIL
#define KV_PUMP_CONFIG_SET id, number, GetStr(name), KV_PUMP_CONFIG_TAIL
#define KV_PUMP_CONFIG_TAIL f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13, f14, f15, f16, f17

KV_PAIR(GetPumpProperties, FAMILY_CALLS, (KV_PUMP_CONFIG_OUT_PARAMS), (KV_PUMP_CONFIG_ARGS),
        p.Pump()->Get(KV_PUMP_CONFIG_GET))
KV_PAIR(GetPumpPropertiesEx, FAMILY_CALLS,
        (KV_PUMP_CONFIG_OUT_PARAMS, long* f18, long* f19, short* f20, short* f21),
        (KV_PUMP_CONFIG_ARGS, f18, f19, f20, f21),
        p.Pump()->GetEx(KV_PUMP_CONFIG_GET, f18, f19, f20, f21))
KV_PAIR(SetPumpProperties, FAMILY_CALLS, (KV_PUMP_CONFIG_IN_PARAMS), (KV_PUMP_CONFIG_ARGS),
        p.Pump()->Set(KV_PUMP_CONFIG_SET))
KV_PAIR(SetPumpPropertiesEx, FAMILY_CALLS,
        (KV_PUMP_CONFIG_IN_PARAMS, long f18, long f19, short f20, short f21),
        (KV_PUMP_CONFIG_ARGS, f18, f19, f20, f21),
        p.Pump()->SetEx(KV_PUMP_CONFIG_SET, f18, f19, f20, f21))

// ---- short forms without a session argument ----

// PaymentAuthorise with the fields this form does not take fixed: -1 for the numbers,
// 0 for the flags and amounts, empty strings; the two strings go in swapped order.
extern "C" KV_API long ExtAuthoriseVFP(long id, const char* a1, const char* a2, short a3, double amount,
                                       short a5, short a6)
{
    CSLock lock;
    return PaymentAuthoriseMT(pGCLProcess, id, -1, nullptr, -1, -1, -1, -1, 0, -1, 0, 0, a6, 0.0, a3,
                              amount, a5, 0.0, 0.0, a2, a1, nullptr, nullptr);
}

// GetDeliveryPropertiesEx in the frame of GetPumpDeliveryPropertiesEx3, with this form's
// outputs in their places; every other reference goes as tag 18, the second string too.
KV_SINGLE(GetPumpDeliveryPropertiesVFP, FAMILY_CALLS,
          (long id, short index, long* f1, short* f2, long* f4, long* f6, char* f7, double* f10,
           double* f11, double* f12, long* f13, long* f16, long* f25),
          p.Pump()->GetDeliveryPropertiesEx(id, index, f1, f2, nullptr, f4, nullptr, f6, OutStr(r, f7), nullptr,
                                            nullptr, OutCur(f10), OutCur(f11), OutCur(f12), f13, nullptr, nullptr,
                                            OutDateAny(f16), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                            nullptr, nullptr, f25, nullptr, nullptr))
