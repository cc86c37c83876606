// Ports: configuration, link status, reset, and the ZigBee coordinator's settings.
#include "api/frame.h"
#include "proxies/IPort.h"

using namespace kvapi;

KV_LOOKUP_PAIRS(Ports, Port, Port)

KV_PAIR(GetPortProperties, FAMILY_CALLS,
        (long id, long* number, char* name, char* device, char* settings, short* type, short* protocol,
         short* enabled),
        (id, number, name, device, settings, type, protocol, enabled),
        p.Port()->Get(id, number, OutStr(r, name), OutStr(r, device), OutStr(r, settings), type, protocol,
                      enabled))
KV_PAIR(SetPortProperties, FAMILY_CALLS,
        (long id, long number, const char* name, const char* device, const char* settings, short type,
         short protocol, short enabled),
        (id, number, name, device, settings, type, protocol, enabled),
        p.Port()->Set(id, number, GetStr(name), GetStr(device), GetStr(settings), type, protocol, enabled))
KV_PAIR(GetPortStatus, FAMILY_CALLS,
        (long id, short* state, short* lastError, long* goodMessages, long* badMessages),
        (id, state, lastError, goodMessages, badMessages),
        p.Port()->GetStatus(id, state, lastError, goodMessages, badMessages))
KV_PAIR(ResetPort, FAMILY_CALLS, (long id), (id),
        p.Port()->Reset(id))
// A port without a coordinator answers with the reply flag and result 2, returned as it is.
KV_PAIR(GetPortZBConfig, FAMILY_CALLS,
        (long id, long long* panId, long* channels, long long* keyHigh, long long* keyLow),
        (id, panId, channels, keyHigh, keyLow),
        p.Port()->GetZBConfig(id, panId, channels, keyHigh, keyLow))
