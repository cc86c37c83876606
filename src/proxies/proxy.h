// What every proxy class shares: its interface type and source module (named in the
// catch line), interface version 0, and the constructor of CClientInterface. A proxy holds
// no state of the objects it reaches; its methods come from its table (rpc/method.h).
#pragma once
#include "rpc/method.h"

#define KV_PROXY(Type, Module)                                       \
public:                                                              \
    static constexpr uint16_t kType = Type;                          \
    static constexpr const char* kModule = Module;                   \
    using CClientInterface::CClientInterface;                        \
    uint16_t ObjectType() const override { return kType; }           \
    uint16_t InterfaceVersion() const override { return 0; }
