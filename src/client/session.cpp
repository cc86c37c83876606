// The client session: logon handshake, proxies, reconnection under the session ID,
// logoff, result mapping and the event queue.
#include "client/session.h"

#include <unistd.h>

#include <array>
#include <cstdio>

#include "client/IDB.h"
#include "client/IEvents.h"
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

namespace {

constexpr long kLogoffWaitUs = 250000;
constexpr long kBusyWaitUs = 1000000;
constexpr int kLogonTries = 10;
constexpr int kReconnectTries = 5;
constexpr int32_t kEventTypeLimit = 0x0FFFFFFF;
constexpr unsigned short kEventsObject = 2;
constexpr unsigned short kDBObject = 1;

std::array<char, 32> LogName(long clientId)
{
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "Log/KVClient%03d", static_cast<int>(clientId));
    return name;
}

}  // namespace

// ---------------------------------------------------------------- CEventQueue

CEvent* CEventQueue::TakeHead()
{
    CElement<CEvent, CEvent>* head = _head;
    if (!head)
        return nullptr;
    CElement<CEvent, CEvent>* after = head->Next();
    if (after)
        after->SetPrev(nullptr);
    head->SetNext(nullptr);
    _head = after;
    if (_tail == head)
        _tail = nullptr;
    --_items;
    First();
    return head->Me();
}

// ---------------------------------------------------------------- construction

CKVCLProcess::CKVCLProcess(long clientId, long type, void* event, void* window, unsigned int message)
    : CClientProcess(LogName(clientId).data(), kBanner, kIniName, clientId, event, window, message,
                     (type & CLIENT_EVENTS) != 0)
{
    Init(type);
}

CKVCLProcess::CKVCLProcess(long clientId, long type, const char* server, unsigned short callPort,
                           unsigned short eventsPort, long callTimeout, void* event, void* window,
                           unsigned int message)
    : CClientProcess(LogName(clientId).data(), kBanner, server, callPort, eventsPort, callTimeout, clientId,
                     event, window, message, (type & CLIENT_EVENTS) != 0)
{
    Init(type);
}

void CKVCLProcess::Init(long type)
{
    _eventsInterface = nullptr;
    _dbInterface = nullptr;
    _client = nullptr;
    _pump = nullptr;
    _hose = nullptr;
    _grade = nullptr;
    _tank = nullptr;
    _port = nullptr;
    _delivery = nullptr;
    _attendant = nullptr;
    _cardRead = nullptr;
    _cardClient = nullptr;
    _zigBee = nullptr;
    _logEvent = nullptr;
    _sensor = nullptr;
    _product = nullptr;
    _saleItem = nullptr;
    _clientType = type;
    _connected = false;
    _sessionId = kNoSession;
    _clientEventType = kDefaultEventType;
    CreateServingInterfaces();
}

// The interfaces that serve the server's calls on the events socket: CIEvents for
// client-type bit 1, CIDB for bit 2, each bound to this process and added to its list of
// served interfaces (which owns them).
void CKVCLProcess::CreateServingInterfaces()
{
    if (_clientType & CLIENT_EVENTS) {
        _eventsInterface = new CIEvents(this);
        AddInterface(_eventsInterface);
    }
    if (_clientType & CLIENT_DB) {
        _dbInterface = new CIDB(this);
        AddInterface(_dbInterface);
    }
}

CKVCLProcess::~CKVCLProcess()
{
    Logoff();
    ReapAll();
}

// ---------------------------------------------------------------- proxies

void CKVCLProcess::CreateProxies()
{
    CSocket* s = _callSocket;
    _port = new CIPort(this, s, _clientId);
    _zigBee = new CIZigBee(this, s, _clientId);
    _grade = new CIGrade(this, s, _clientId);
    _tank = new CITank(this, s, _clientId);
    _attendant = new CIAttendant(this, s, _clientId);
    _product = new CIProduct(this, s, _clientId);
    _cardClient = new CICardClient(this, s, _clientId);
    _pump = new CIPump(this, s, _clientId);
    _hose = new CIHose(this, s, _clientId);
    _sensor = new CISensor(this, s, _clientId);
    _delivery = new CIDelivery(this, s, _clientId);
    _logEvent = new CILogEvent(this, s, _clientId);
    _saleItem = new CISaleItem(this, s, _clientId);
    _cardRead = new CICardRead(this, s, _clientId);
}

// A proxy may be retired from inside one of its own calls (a failed call reconnects, and
// a failed reconnect logs off), so it is only unlinked here and destroyed later. Proxies
// of a session that logged off lose their socket too: a call still under way ends there.
template <class P>
void CKVCLProcess::Retire(P*& proxy, bool unbind)
{
    if (!proxy)
        return;
    if (unbind)
        proxy->SetSocket(nullptr);
    _retired.Append(proxy);
    proxy = nullptr;
}

void CKVCLProcess::RetireProxies()
{
    Retire(_pump, true);
    Retire(_hose, true);
    Retire(_grade, true);
    Retire(_tank, true);
    Retire(_port, true);
    Retire(_delivery, true);
    Retire(_attendant, true);
    Retire(_cardRead, true);
    Retire(_cardClient, true);
    Retire(_zigBee, true);
    Retire(_logEvent, true);
    Retire(_sensor, true);
    Retire(_product, true);
    Retire(_saleItem, true);
    Retire(_client, true);
}

void CKVCLProcess::ReapAll()
{
    while (_retired.First())
        _retired.Delete();
}

void CKVCLProcess::BindProxies(CSocket* socket)
{
    CInterface* proxies[] = {_pump, _hose, _grade, _tank, _port, _delivery, _attendant,
                             _cardRead, _cardClient, _zigBee, _logEvent, _sensor, _product, _saleItem};
    for (CInterface* p : proxies)
        if (p)
            p->SetSocket(socket);
}

// ---------------------------------------------------------------- logon and logoff

long CKVCLProcess::Logon()
{
    Logoff();
    ReapAll();
    if (!SocketsOpen() && !OpenSockets())
        return NOT_OPEN_RESULT;
    _client = new CIClient(this, _callSocket, _clientId);

    long r = OK_RESULT;
    for (int tries = 0; tries < kLogonTries; ++tries) {
        r = _client->Logon(_clientId, CStr(kClientName));
        if (r == OK_RESULT)
            break;
        _trace->Log("Logon result %d, try %d.", static_cast<int>(r), tries);
        if (r != SERVER_BUSY_RESULT)
            break;
        usleep(kBusyWaitUs);
    }
    if (r != OK_RESULT) {
        Logoff();
        return r;
    }

    ConnectSockets();
    if (_clientType & CLIENT_CALLS)
        CreateProxies();

    // A failure from here on is logged, logs off and ends the logon with its result.
    auto failed = [this](long result, const char* step) {
        _trace->Log("Logon() %s Logoff", step);
        Logoff();
        return result;
    };
    long long sessionId = static_cast<long long>(_sessionId);
    r = _client->GetSessionID(_clientId, &sessionId);
    if (r != OK_RESULT)
        return failed(r, "GetSessionID");
    _sessionId = static_cast<uint64_t>(sessionId);

    if (_clientType & CLIENT_EVENTS) {
        r = _client->RegisterInterface(_clientId, static_cast<short>(kEventsObject));
        if (r != OK_RESULT)
            return failed(r, "RegisterInterface EVENTS_OBJECT");
        if (_clientType & CLIENT_DB) {
            r = _client->RegisterInterface(_clientId, static_cast<short>(kDBObject));
            if (r != OK_RESULT)
                return failed(r, "RegisterInterface DB_OBJECT");
        }
    }

    _connected = true;
    _trace->Log("Logon() successful Session ID %llu ClientType %08X", static_cast<unsigned long long>(_sessionId),
                static_cast<unsigned>(_clientEventType));
    SetClientEventType(_clientId, _clientEventType);
    return OK_RESULT;
}

// The server's version is the tail of its version text; lexically older than ours fails.
long CKVCLProcess::CheckVersions()
{
    if (!_client)
        return NO_SESSION_RESULT;
    CStr version;
    long r = _client->GetVersion(&version);
    if (r != OK_RESULT)
        return r;
    version.Mid(static_cast<short>(version.Length() - 6), 7);
    version.LTrim();
    version.RTrim();
    _trace->Log("CheckVersions [%s] <> [%s]", static_cast<char*>(version), kVersion);
    return version.Compare(CStr(kVersion)) < 0 ? SERVER_TOO_OLD_RESULT : OK_RESULT;
}

long CKVCLProcess::Logoff()
{
    long r = NO_SESSION_RESULT;
    if (_client && _sessionId != kNoSession)
        r = _client->Logoff(_clientId);
    usleep(kLogoffWaitUs);
    Disconnect();
    return r;
}

long CKVCLProcess::Disconnect()
{
    RetireProxies();
    _connected = false;
    _sessionId = kNoSession;
    return OK_RESULT;
}

// Resumes the session on fresh sockets. The old sockets are closed first: a connection
// that broke under a call is still open on this side, and the server pairs a client's
// sockets by the CONNECT of new ones.
long CKVCLProcess::Reconnect()
{
    if (_sessionId == kNoSession)
        return NO_SESSION_RESULT;
    _connected = false;
    BindProxies(nullptr);

    int tries = 1;
    for (; tries <= kReconnectTries; ++tries) {
        _callSocket->Close();
        _eventsSocket->Close();
        if (!OpenSockets())
            continue;
        Retire(_client, false);   // a call of it may be waiting to be sent again
        _client = new CIClient(this, _callSocket, _clientId);
        long r = _client->Reconnect(_clientId, static_cast<long long>(_sessionId));
        if (r == OK_RESULT)
            break;
        if (r == SOCKETS_INUSE_RESULT) {
            _trace->Log("Reconnect() SOCKETS_INUSE_RESULT");
            continue;
        }
        _trace->Log("Reconnect() error %d", static_cast<int>(r));
        Logoff();
        return NO_SESSION_RESULT;
    }
    if (tries > kReconnectTries) {
        Logoff();
        return NO_SESSION_RESULT;
    }

    // The server that took the session back is up again: a SHUTDOWN from before no longer
    // stands, or the next management message would log the session off.
    SetRunning(true);
    _connected = true;
    ConnectSockets();
    BindProxies(_callSocket);
    _trace->Log("Client %d Reconnected successfully, tries %d Session ID %llu", static_cast<int>(_clientId), tries,
                static_cast<unsigned long long>(_sessionId));
    SetClientEventType(_clientId, _clientEventType);
    return OK_RESULT;
}

// The mask is a signed 32-bit value, as it travels: one above 0x0FFFFFFF is not stored, a
// negative one is. It is sent as given in every case.
long CKVCLProcess::SetClientEventType(long clientId, long mask)
{
    const int32_t bits = static_cast<int32_t>(mask);
    if (bits != 0 && bits <= kEventTypeLimit && bits != _clientEventType) {
        _clientEventType = bits;
        _trace->Log("SetClientEventType %08X", static_cast<unsigned>(bits));
    }
    if (!_client)
        return NO_SESSION_RESULT;
    return _client->SetClientType(clientId, mask);
}

// ---------------------------------------------------------------- connection checks

long CKVCLProcess::PingConnection() { return _callSocket->ClientPing(static_cast<unsigned long>(_clientId)); }

long CKVCLProcess::CheckForManagementFtn() { return _callSocket->CheckForManagementFtn(); }

// A broken call connection found by the management check is what this function is there
// to repair: it goes on to the ping and the reconnect instead of ending there.
long CKVCLProcess::TestConnection()
{
    const long m = CheckForManagementFtn();
    if (m != OK_RESULT && !IsConnectionResult(m))
        return m;
    if ((_clientType & CLIENT_EVENTS) && CheckResult(ProcessEvents()) != OK_RESULT)
        return Reconnect();
    if (CheckResult(PingConnection()) == OK_RESULT)
        return OK_RESULT;
    return Reconnect();
}

long CKVCLProcess::PortManagement(CSocket*, TPort, uint8_t code, long arg)
{
    _trace->Log("Socket event %d, client %d, socket %d", code, static_cast<int>(_clientId), static_cast<int>(arg));
    return 0;
}

// Connection failures become -14 and internal errors -23, each with its log line; other
// failures pass unchanged. Nothing else changes: the session stays as it is.
long CKVCLProcess::CheckResult(long r)
{
    switch (r) {
    case OK_RESULT:
        return OK_RESULT;
    case INTERNAL_SERVER_ERROR: case NOT_SYNCHRONOUS_RESULT: case RESERVED_12_RESULT:
    case TYPE_MISMATCH_RESULT: case UNPACK_OVERRUN_RESULT: case PACK_OVERFLOW_RESULT:
    case BAD_SEQUENCE_RESULT: case BAD_DESTINATION_RESULT: case BAD_SOURCE_RESULT:
    case BAD_FUNCTION_RESULT: case BAD_INTERFACE_RESULT: case BAD_VERSION_RESULT: case BAD_KIND_RESULT:
        _trace->Log("INTERNAL_SERVER_ERROR occurred, actual error %d, logged off.", static_cast<int>(r));
        return INTERNAL_SERVER_ERROR;
    case RESERVED_24_RESULT: case NOT_OPEN_RESULT: case SHORT_WRITE_RESULT:
    case SHORT_READ_RESULT: case CONNECTION_BROKEN: case TIMEOUT_RESULT:
        _trace->Log("CONNECTION_BROKEN occurred, actual error %d, logged off.", static_cast<int>(r));
        return CONNECTION_BROKEN;
    default:
        if (r > 0)
            return r;
        _trace->Log("CheckResult error %d", static_cast<int>(r));
        return r;
    }
}

// ---------------------------------------------------------------- the event queue

long CKVCLProcess::GetEventsCount(long* count) const
{
    if (count)
        *count = _queue.Items();
    return OK_RESULT;
}

long CKVCLProcess::GetNextEventType(short* type) const
{
    if (type) {
        const CEvent* head = _queue.Head();
        *type = head ? head->Type() : 0;
    }
    return OK_RESULT;
}

CEvent* CKVCLProcess::GetEvent() { return _queue.TakeHead(); }

void CKVCLProcess::QueueEvent(CEvent* e) { _queue.Append(e); }

long CKVCLProcess::DiscardNextEvent()
{
    CEvent* e = GetEvent();
    if (!e)
        return NOT_FOUND_RESULT;
    delete e;
    return OK_RESULT;
}
