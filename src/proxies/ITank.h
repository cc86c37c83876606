// CITank: proxy of the server's tanks. Rows as in docs/protocol.md.
#pragma once
#include "rpc/method.h"

#define KV_ITANK_TABLE(X) \
    X(Get,                   13, Object, NOTE_NONE, long*, CStr*, long*, CCur*, CCur*, long*, long*) \
    X(Set,                   14, SetCls, NOTE_FLAGSKIP, long, long, CStr, long, CCur, CCur, long, long) \
    X(GetStatus,             15, Object, NOTE_NONE, CCur*, CCur*, CCur*, CCur*, CCur*, CCur*, CCur*, short*, short*, short*) \
    X(Read,                  16, Object, NOTE_NONE) \
    X(LogStatus,             17, Object, NOTE_ONEWAY, CCur, CCur, CCur, CCur, CCur, CCur, CCur, short, short) \
    X(LogAlarm,              18, Object, NOTE_ONEWAY, short, short, CStr) \
    X(SetGaugeCapacity,      19, Object, NOTE_ONEWAY | NOTE_NOGUARD, CCur) \
    X(SetResponding,         20, Object, NOTE_ONEWAY | NOTE_NOGUARD, short) \
    X(GetStrappingTableSize, 21, Object, NOTE_NOGUARD, long*) \
    X(GetStrappingPoint,     22, Object, NOTE_NOGUARD, long, CCur*, CCur*) \
    X(SetStrappingPoint,     23, Object, NOTE_NOGUARD, long, CCur, CCur) \
    X(ClearStrappingTable,   24, Object, NOTE_NOGUARD)

class CITank : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_TANK, "ITank")
    KV_ITANK_TABLE(KV_METHOD)
    KV_METHOD_INFOS(KV_ITANK_TABLE)
};
