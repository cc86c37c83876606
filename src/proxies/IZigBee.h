// CIZigBee: proxy of the server's ZigBee devices. Rows as in docs/protocol.md.
#pragma once
#include "rpc/method.h"

#define KV_IZIGBEE_TABLE(X) \
    X(Get, 13, Object, NOTE_NONE, long*, CStr*, short*, CStr*, CStr*, long*) \
    X(Set, 14, SetCls, NOTE_FLAGSKIP, long, long, CStr, short, CStr, CStr, long)

class CIZigBee : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_ZIGBEE, "IZigBee")
    KV_IZIGBEE_TABLE(KV_METHOD)
    KV_METHOD_INFOS(KV_IZIGBEE_TABLE)
};
