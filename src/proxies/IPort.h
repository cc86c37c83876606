// CIPort: proxy of the server's device ports and their ZigBee and odometer reports. Rows as in docs/protocol.md.
#pragma once
#include "rpc/method.h"

#define KV_IPORT_TABLE(X) \
    X(Get,              13, Object, NOTE_NONE, long*, CStr*, CStr*, CStr*, short*, short*, short*) \
    X(Set,              14, SetCls, NOTE_FLAGSKIP, long, long, CStr, CStr, CStr, short, short, short) \
    X(LogStatus,        15, Object, NOTE_ONEWAY, short, short, long, long) \
    X(GetStatus,        16, Object, NOTE_NONE, short*, short*, long*, long*) \
    X(Reset,            17, Object, NOTE_NONE) \
    X(ZBPanIDEvent,     40, Object, NOTE_ONEWAY, long long) \
    X(ZB2GStatusEvent,  41, Object, NOTE_ONEWAY, long long, short, short, long long, short, short, short, short) \
    X(GetZBConfig,      42, Object, NOTE_FLAGSKIP, long long*, long*, long long*, long long*) \
    X(ZBKeyEvent,       43, Object, NOTE_ONEWAY, long long, long long) \
    X(ZBChannelsEvent,  44, Object, NOTE_ONEWAY, long) \
    X(WatchDogPing,     45, Object, NOTE_ONEWAY, long, long, short) \
    X(KVOdoStatusEvent, 46, Object, NOTE_ONEWAY, long long, short, short, long long, short, short, short, short, long long, long, short, long long, long, short, long long, long long, long long, long long, short, CStr)

class CIPort : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_PORT, "IPort")
    KV_IPORT_TABLE(KV_METHOD)
    KV_METHOD_INFOS(KV_IPORT_TABLE)
};
