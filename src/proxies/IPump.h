// CIPump: proxy of the server's pumps. Rows as in docs/protocol.md.
#pragma once
#include "rpc/method.h"

#define KV_IPUMP_CALLS(X) \
    X(Get,                     13, Object, NOTE_NONE, long*, CStr*, short*, short*, short*, short*, short*, short*, short*, short*, short*, long*, long*, short*, short*, short*, short*) \
    X(Set,                     14, SetCls, NOTE_FLAGSKIP, long, long, CStr, short, short, short, short, short, short, short, short, short, long, long, short, short, short, short) \
    X(GetHosesCount,           15, Object, NOTE_NONE, long*) \
    X(GetHoseByNumber,         16, Object, NOTE_NONE, long, long*) \
    X(GetStatus,               17, Object, NOTE_NONE, short*, short*, long*, long*, short*, long*, CStr*, CStr*, short*, CCur*, CCur*, CCur*, short*) \
    X(GetDeliveryProperties,   18, Object, NOTE_NONE, short, long*, short*, short*, long*, short*, long*, CStr*, CStr*, short*, CCur*, CCur*, CCur*, long*, long*, long*, CDate*, long*) \
    X(UpdateState,             19, Object, NOTE_ONEWAY, short, short, CCur, CCur, CCur) \
    X(LogDelivery,             20, Object, NOTE_ONEWAY, short, short, CCur, short, CCur, CCur, CCur, CCur, CCur) \
    X(PrepayReserve,           21, Object, NOTE_NONE, long) \
    X(PrepayCancel,            22, Object, NOTE_NONE, long) \
    X(PrepayAuthorise,         23, Object, NOTE_NONE, long, short, CCur, short, short) \
    X(PreauthReserve,          24, Object, NOTE_NONE, long) \
    X(PreauthCancel,           25, Object, NOTE_NONE, long) \
    X(PreauthAuthorise,        26, Object, NOTE_NONE, long, short, CCur, short, short) \
    X(LoadPreset,              27, Object, NOTE_NONE, short, CCur, short, short) \
    X(AttendantAuthorise,      28, Object, NOTE_NONE, long) \
    X(Authorise,               29, Object, NOTE_NONE) \
    X(CancelAuthorise,         30, Object, NOTE_NONE) \
    X(TempStop,                31, Object, NOTE_NONE) \
    X(ReAuthorise,             32, Object, NOTE_NONE) \
    X(TerminateDelivery,       33, Object, NOTE_NOGUARD) \
    X(StackCurrentDelivery,    34, Object, NOTE_NONE) \
    X(GetDeliveryPropertiesEx, 35, Object, NOTE_NONE, short, long*, short*, short*, long*, short*, long*, CStr*, CStr*, short*, CCur*, CCur*, CCur*, long*, long*, long*, CDate*, long*, CCur*, CCur*, CCur*, CCur*, CCur*, CCur*, long long*, long*, long*, CCur*) \
    X(GetEx,                   36, Object, NOTE_NONE, long*, CStr*, short*, short*, short*, short*, short*, short*, short*, short*, short*, long*, long*, short*, short*, short*, short*, long*, long*, short*, short*) \
    X(SetEx,                   37, SetCls, NOTE_FLAGSKIP, long, long, CStr, short, short, short, short, short, short, short, short, short, long, long, short, short, short, short, long, long, short, short) \
    X(LogDriverError,          38, Object, NOTE_ONEWAY, long, CStr) \
    X(TagReadEvent,            39, Object, NOTE_ONEWAY, long long, short, CStr) \
    X(KVTermPromptEvent,       40, Object, NOTE_ONEWAY, short, short, CStr) \
    X(LogRawStatus,            41, Object, NOTE_NOGUARD | NOTE_QUIET, short, short, short) \
    X(TagAuthorise,            43, Object, NOTE_NONE, long long, short, CCur, short, short) \
    X(LoadPresetWithPrice,     44, Object, NOTE_NONE, short, CCur, short, short, CCur) \
    X(SetDefaultPriceLevel,    45, Object, NOTE_NONE, short) \
    X(GetDefaultPriceLevel,    46, Object, NOTE_NONE, short*) \
    X(GetDensity,              47, Object, NOTE_NONE, CCur*) \
    X(DisablePump,             49, Object, NOTE_NONE) \
    X(EnablePump,              50, Object, NOTE_NONE) \
    X(GetStatusEx,             54, Object, NOTE_NONE, long*, CStr*, long*, short*, short*, long*, long*, long*, long*, long*, long*, CStr*, CStr*, short*, CCur*, CCur*, CCur*, short*, long long*, long*, long*, CStr*, long long*, long*, long*, CStr*, long long*, CCur*, CCur*) \
    X(ScheduleBeep,            55, Object, NOTE_NONE, short, short, short, short, short, short, short, short, short, short) \
    X(FlashLEDS,               56, Object, NOTE_NONE, short, short) \
    X(PaymentReserve,          57, Object, NOTE_NONE, long, CStr) \
    X(PaymentCancel,           58, Object, NOTE_NONE, long, CStr) \
    X(PaymentAuthorise,        59, Object, NOTE_NONE, long, CStr, long, long long, long, long long, short, long long, short, short, short, CCur, short, CCur, short, CCur, CCur, CStr, CStr, CStr, CStr) \
    X(ExternalStartDelivery,   60, Object, NOTE_NONE, long, long) \
    X(ExternalEndDelivery,     61, Object, NOTE_NONE, long, CCur, CCur, short, CCur, CCur, CCur, long long, long long, long, long)

// KVTermPrompt travels with eleven shorts; the method that callers see takes twelve and
// never sends the third.
#define KV_IPUMP_TERMPROMPT_ROW(X) \
    X(KVTermPrompt,            62, Object, NOTE_ONEWAY, long, short, short, short, short, short, short, short, short, short, short, short, CStr)

#define KV_IPUMP_TABLE(X) KV_IPUMP_CALLS(X) KV_IPUMP_TERMPROMPT_ROW(X)

class CIPump : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_PUMP, "IPump")
    KV_IPUMP_CALLS(KV_METHOD)
    KV_IPUMP_TERMPROMPT_ROW(KV_INFO)
    KV_METHOD_INFOS(KV_IPUMP_TABLE)

    long KVTermPrompt(long id, long client, short s1, short s2, short /*s3*/, short s4, short s5, short s6,
                      short s7, short s8, short s9, short s10, short s11, short s12, const CStr& text)
    {
        return KVTermPromptSig::Run(*this, KVTermPromptInfo, id, client, s1, s2, s4, s5, s6, s7, s8, s9, s10, s11, s12, text);
    }
};
