// Every interface of the protocol with its rows: the proxies that the client calls, the
// common methods that every interface answers, and the two interfaces that the server
// calls on the client. The protocol document is checked against this list, and a
// simulated server can serve from it.
#pragma once
#include <cstddef>
#include <iterator>
#include "client/IDBTable.h"
#include "client/IEventsTable.h"
#include "proxies/IAttendant.h"
#include "proxies/ICardClient.h"
#include "proxies/ICardRead.h"
#include "proxies/IClient.h"
#include "proxies/IDelivery.h"
#include "proxies/IGrade.h"
#include "proxies/IHose.h"
#include "proxies/ILogEvent.h"
#include "proxies/IPort.h"
#include "proxies/IProduct.h"
#include "proxies/IPump.h"
#include "proxies/ISaleItem.h"
#include "proxies/ISensor.h"
#include "proxies/ITank.h"
#include "proxies/IZigBee.h"

struct KvEventsRows {
    static constexpr uint16_t kType = IF_EVENTS;
    static constexpr const char* kModule = "IEvents";
    KV_IEVENTS_TABLE(KV_INFO)
    KV_METHOD_INFOS(KV_IEVENTS_TABLE)
};

struct KvDBRows {
    static constexpr uint16_t kType = IF_DB;
    static constexpr const char* kModule = "IDB";
    KV_IDB_TABLE(KV_INFO)
    KV_METHOD_INFOS(KV_IDB_TABLE)
};

struct KvInterfaceRows {
    uint16_t type;            // 0 for the common methods
    const char* className;
    const char* module;
    const MethodInfo* const* methods;
    std::size_t count;
};

#define KV_ROWS(C, Name) {C::kType, Name, C::kModule, C::kMethods, std::size(C::kMethods)}

inline constexpr KvInterfaceRows kInterfaceRows[] = {
    KV_ROWS(KvCommon, "CClientInterface"),
    KV_ROWS(KvDBRows, "CIDB"),
    KV_ROWS(KvEventsRows, "CIEvents"),
    KV_ROWS(CIClient, "CIClient"),
    KV_ROWS(CIPump, "CIPump"),
    KV_ROWS(CIHose, "CIHose"),
    KV_ROWS(CIGrade, "CIGrade"),
    KV_ROWS(CITank, "CITank"),
    KV_ROWS(CIPort, "CIPort"),
    KV_ROWS(CIDelivery, "CIDelivery"),
    KV_ROWS(CIAttendant, "CIAttendant"),
    KV_ROWS(CIZigBee, "CIZigBee"),
    KV_ROWS(CICardClient, "CICardClient"),
    KV_ROWS(CICardRead, "CICardRead"),
    KV_ROWS(CILogEvent, "CILogEvent"),
    KV_ROWS(CISensor, "CISensor"),
    KV_ROWS(CIProduct, "CIProduct"),
    KV_ROWS(CISaleItem, "CISaleItem"),
};

#undef KV_ROWS
