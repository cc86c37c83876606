// CIDelivery: proxy of the server's deliveries. Rows as in docs/protocol.md.
// AllCount and GetAllIDByOrdinal (5, 8: every delivery object) and this class's own Count
// and GetIDByOrdinal (21, 22: the current deliveries, hiding the generic ones) are
// different server operations. GetIDByOrdinalFiletered is the call's name, spelled so.
#pragma once
#include "rpc/method.h"

#define KV_IDELIVERY_TABLE(X) \
    X(AllCount,                    5, Class, NOTE_NONE, long*) \
    X(GetAllIDByOrdinal,           8, Class, NOTE_NONE, long, long*) \
    X(Get,                        13, Object, NOTE_NONE, long*, short*, short*, CCur*, short*, CCur*, CCur*, CCur*, CDate*, long*, long*, long*, long*) \
    X(Set,                        14, SetCls, NOTE_FLAGSKIP, long, long, short, short, CCur, short, CCur, CCur, CCur, CDate, long, long, long, long) \
    X(Lock,                       15, Object, NOTE_NONE, long) \
    X(Unlock,                     16, Object, NOTE_NONE, long) \
    X(Clear,                      17, Object, NOTE_NONE, long, short) \
    X(LockAndClear,               18, Object, NOTE_NONE, long, short) \
    X(GetEx,                      19, Object, NOTE_NONE, long*, short*, short*, CCur*, short*, CCur*, CCur*, CCur*, CDate*, long*, long*, long*, long*, CDate*, CCur*, CCur*, CCur*, CCur*, CCur*, CCur*, long long*, long*, long*, CCur*) \
    X(SetEx,                      20, SetCls, NOTE_FLAGSKIP, long, long, short, short, CCur, short, CCur, CCur, CCur, CDate, long, long, long, long, CDate, CCur, CCur, CCur, CCur, CCur, CCur, long long, long, long, CCur) \
    X(Count,                      21, Class, NOTE_NONE, long*) \
    X(GetIDByOrdinal,             22, Class, NOTE_NONE, long, long*) \
    X(AckDBLog,                   23, Object, NOTE_NONE) \
    X(CountNotLogged,             24, Class, NOTE_NONE, long*) \
    X(GetIDByOrdinalNotLogged,    25, Class, NOTE_NONE, long, long*) \
    X(AckVolLog,                  26, Object, NOTE_NONE) \
    X(CountNotVolLogged,          27, Class, NOTE_NONE, long*) \
    X(GetIDByOrdinalNotVolLogged, 28, Class, NOTE_NONE, long, long*) \
    X(GetSummary,                 29, Object, NOTE_NONE, long*, long*, long*, long*, long*, CStr*, long*, long*, CStr*, long*, long*, CStr*, CStr*, CStr*, short*, short*, CCur*, short*, CCur*, CCur*, CCur*, CDate*, long*, long*, long*, long*, CDate*, CCur*, CCur*, CCur*, CCur*, CCur*, CCur*, long long*, long*, long*, CStr*, long long*, CStr*, long*, long*, CStr*, long long*, CStr*, CCur*) \
    X(GetDuration,                30, Object, NOTE_NONE, long*) \
    X(GetExt,                     31, Object, NOTE_NONE, CStr*, CCur*, CCur*, CStr*, CStr*, CStr*, short*) \
    X(SetExt,                     32, Object, NOTE_NONE, CStr, CCur, CCur, CStr, CStr, CStr, short) \
    X(CountFiltered,              33, Class, NOTE_QUIET, long*, long, long, long, long, long, long, long, long, long, long, long, short, short, short, short, long long, long, long, long long, long, long, long long, CDate, CDate) \
    X(GetIDByOrdinalFiletered,    34, Class, NOTE_QUIET, long, long*, long, long, long, long, long, long, long, long, long, long, long, short, short, short, short, long long, long, long, long long, long, long, long long, CDate, CDate)

class CIDelivery : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_DELIVERY, "IDelivery")
    KV_IDELIVERY_TABLE(KV_METHOD)
    KV_METHOD_INFOS(KV_IDELIVERY_TABLE)
};
