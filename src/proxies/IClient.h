// CIClient: calls addressed to the session itself or to the whole installation (logon,
// clock, INI values, all-pump commands, cards). Object rows take the session's client
// number first, where other proxies take an object ID; Logon, GetVersion, LogEvent and
// DBTrigger address the interface (-1). This GetVersion (23, the server's version text)
// hides the generic one (2). The transport never retries 13, 14, 16, 36 and 37 after a
// reconnect. Rows as in docs/protocol.md.
#pragma once
#include "rpc/method.h"

#define KV_ICLIENT_TABLE(X) \
    X(Logon,               13, Class, NOTE_NONE, long, CStr) \
    X(Logoff,              14, Object, NOTE_NONE) \
    X(Status,              15, Object, NOTE_NONE, short*, short*) \
    X(RegisterInterface,   16, Object, NOTE_NONE, short) \
    X(ReloadComplete,      17, Object, NOTE_ONEWAY, long) \
    X(DriverStarted,       18, Object, NOTE_NONE) \
    X(AllStop,             19, Object, NOTE_NONE) \
    X(AllAuthorise,        20, Object, NOTE_NONE) \
    X(AllReAuthorise,      21, Object, NOTE_NONE) \
    X(DBTrigger,           22, Class, NOTE_NONE, long, long) \
    X(GetVersion,          23, Class, NOTE_NONE, CStr*) \
    X(FireClientEvent,     24, Object, NOTE_NONE, long, CStr) \
    X(LogEvent,            25, Class, NOTE_NONE, long, CDate, CStr) \
    X(AllStopIfIdle,       27, Object, NOTE_NONE) \
    X(GetAllPumpStatuses,  28, Object, NOTE_NONE, CStr*, CStr*, CStr*) \
    X(GetIniValue,         29, Object, NOTE_NONE, CStr, CStr, CStr*) \
    X(SetIniValue,         30, Object, NOTE_NONE, CStr, CStr, CStr) \
    X(ReadAllTanks,        32, Object, NOTE_NONE) \
    X(SetDateTime,         33, Object, NOTE_NONE, CDate) \
    X(GetDateTime,         34, Object, NOTE_NONE, CDate*) \
    X(GetCardType,         35, Object, NOTE_NONE, CStr, short*, long*, CStr*, long*) \
    X(Reconnect,           36, Object, NOTE_NONE, long long) \
    X(GetSessionID,        37, Object, NOTE_NONE, long long*) \
    X(FireEvents,          38, Object, NOTE_NONE) \
    X(FindCard,            39, Object, NOTE_NONE, CStr, short*, short*, long*, CStr*, long*) \
    X(SetClientType,       40, Object, NOTE_NONE, long) \
    X(SetPriceSignElement, 41, Object, NOTE_NONE, short, short, long, short, CCur, short, short, short) \
    X(GetPriceSignElement, 42, Object, NOTE_NONE, short, short*, long*, short*, CCur*, short*, short*, short*) \
    X(GetIniValueEx,       43, Object, NOTE_NONE, CStr, CStr, CStr, CStr*) \
    X(SetIniValueEx,       44, Object, NOTE_NONE, CStr, CStr, CStr, CStr) \
    X(GetTCPIPConfig,      45, Object, NOTE_NONE, CStr*, CStr*, CStr*, CStr*, short*, CStr*) \
    X(SetTCPIPConfig,      46, Object, NOTE_NONE, CStr, CStr, CStr, CStr, short, CStr) \
    X(WDReset,             47, Object, NOTE_NONE)

class CIClient : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_CLIENT, "IClient")
    KV_ICLIENT_TABLE(KV_METHOD)
    KV_METHOD_INFOS(KV_ICLIENT_TABLE)
};
