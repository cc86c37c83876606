// The client interface: logon, sessions and reconnection, event registration, and the
// calls addressed to the site as a whole (clock, INI values, all-pump commands, cards,
// price signs, TCP/IP settings).
#include <cstdio>

#include "foundation/ini.h"
#include "proxies/IClient.h"
#include "sim/serve_util.h"
#include "sim/served.h"
#include "sim/server.h"

namespace sim {

namespace {

struct CClientsIfRows {
    KV_SERVER_DISPATCH(Dispatch, KV_ICLIENT_TABLE)
};

// INI names and values from the network must not break the file's lines or sections.
bool SafeText(const CStr& s, bool name)
{
    if (s.Length() > 255 || (name && s.Length() == 0))
        return false;
    for (short i = 1; i <= s.Length(); ++i) {
        const wchar_t c = s.Char(i) & 0xFF;   // what the file gets: the low byte
        if (c == '\r' || c == '\n' || c == 0 || (name && (c == '[' || c == ']' || c == '=')))
            return false;
    }
    return true;
}

}  // namespace

CClientsIf::CClientsIf(CSimServer& server) : CServerInterface<CSimClient>(&server, nullptr, 0), _server(server) {}

long CClientsIf::ProcessCall(short function, CSimClient* client, CSocket*)
{
    if (client)
        ++client->calls;
    long result = 0;
    if (CClientsIfRows::Dispatch(function, *this, *this, client, result))
        return result;
    Throw(BAD_FUNCTION_RESULT, __LINE__, "ProcessCall", "IClient");
}

// ---------------------------------------------------------------- sessions

long CClientsIf::Logon(long clientId, const CStr& name)
{
    if (_server.busy > 0) {
        --_server.busy;
        return SERVER_BUSY_RESULT;
    }
    if (clientId <= 0)
        return SR_BAD_VALUE;
    CSimClient* c = _objects.FindByID(clientId);
    if (!c && GetCount() >= _server.maxClients)
        return SR_CLIENT_LIMIT;
    if (!c) {
        c = new CSimClient(clientId, clientId, name);
        _objects.Add(c);
    }
    // A logon starts a new session, whatever the number held before: the old one's
    // reservations and locks go with it.
    _server.Forecourt().ReleaseClient(clientId);
    c->SetName(name);
    c->sessionId = _server.NewSessionID();
    c->mask = kDefaultEventMask;
    c->events = c->db = false;
    c->calls = 0;
    if (CLog* log = Trace())
        log->Log("Client %ld logged on as \"%s\", session %llu", clientId, static_cast<char*>(c->Name()),
                 c->sessionId);
    CStr text;
    text.Format("Client %ld logged on", clientId);
    _server.Forecourt().Emit(TSimEvent::Server, -1, SE_CLIENT_LOGON, clientId, text);
    return SR_OK;
}

long CClientsIf::Logoff(CSimClient* c)
{
    if (!c)
        return kNoObject;
    _server.EndSession(c->ID(), "logged off", false);
    return SR_OK;
}

long CClientsIf::Status(CSimClient* c, short* connected, short* clients)
{
    if (!c)
        return kNoObject;
    Put(connected, _server.CallSocketOf(c->ID()) && _server.EventsSocketOf(c->ID()) ? 1 : 0);
    Put(clients, GetCount());
    return SR_OK;
}

long CClientsIf::RegisterInterface(CSimClient* c, short iface)
{
    if (!c)
        return kNoObject;
    if (iface == IF_EVENTS)
        c->events = true;
    else if (iface == IF_DB)
        c->db = true;
    else
        return SR_NOT_FOUND;
    return SR_OK;
}

// The old sockets of a broken connection may still look open here; they are closed now and
// the client, told 60, tries again on its new sockets.
long CClientsIf::Reconnect(CSimClient* c, long long sessionId)
{
    if (!c)
        return kNoObject;
    if (static_cast<unsigned long long>(sessionId) != c->sessionId)
        return NO_SESSION_RESULT;
    CSocket* served = _server.ServedSocket();
    if (served && served->ClientID() == c->ID())
        return SR_OK;   // asked on the session's own live connection: nothing to resume
    CSocket* oldCall = _server.CallSocketOf(c->ID());
    CSocket* oldEvents = _server.EventsSocketOf(c->ID());
    if (oldCall || oldEvents) {
        if (CLog* log = Trace())
            log->Log("Client %ld reconnects while its old sockets are open: closing them", c->ID());
        _server.DropClient(c->ID());
        return SOCKETS_INUSE_RESULT;
    }
    if (CLog* log = Trace())
        log->Log("Client %ld reconnected, session %llu", c->ID(), c->sessionId);
    return SR_OK;
}

long CClientsIf::GetSessionID(CSimClient* c, long long* sessionId)
{
    if (!c)
        return kNoObject;
    Put(sessionId, static_cast<long long>(c->sessionId));
    return SR_OK;
}

long CClientsIf::SetClientType(CSimClient* c, long mask)
{
    if (!c)
        return kNoObject;
    c->mask = mask;
    return SR_OK;
}

long CClientsIf::GetVersion(CStr* version)
{
    Put(version, _server.version);
    return SR_OK;
}

// ---------------------------------------------------------------- events on request

long CClientsIf::FireClientEvent(CSimClient* c, long eventId, const CStr& text)
{
    if (!c)
        return kNoObject;
    _server.Forecourt().Emit(TSimEvent::Client, c->ID(), eventId, 0, text);
    return SR_OK;
}

// The present state, to the asking client alone.
long CClientsIf::FireEvents(CSimClient* c)
{
    if (!c)
        return kNoObject;
    _server.Resync(*c);
    return SR_OK;
}

long CClientsIf::DBTrigger(long a, long b)
{
    _server.Forecourt().Emit(TSimEvent::DBTrigger, -1, a, b);
    return SR_OK;
}

long CClientsIf::LogEvent(long code, const CDate& when, const CStr& text)
{
    CSimLogEvent& e = _server.Forecourt().RaiseLogEvent(LE_CLIENT, -1, code, CStr("Client"), text, 1);
    if (!when.IsEmpty())
        e.raised = when;
    return SR_OK;
}

// ---------------------------------------------------------------- the site

long CClientsIf::ReloadComplete(CSimClient* c, long nextId)
{
    if (!c)
        return kNoObject;
    CForecourt& fc = _server.Forecourt();
    if (nextId > fc.nextDeliveryId)
        fc.nextDeliveryId = nextId;
    return SR_OK;
}

long CClientsIf::DriverStarted(CSimClient* c)
{
    if (!c)
        return kNoObject;
    CStr text;
    text.Format("Driver of client %ld started", c->ID());
    _server.Forecourt().Emit(TSimEvent::Server, -1, SE_DRIVER_STARTED, c->ID(), text);
    return SR_OK;
}

long CClientsIf::AllStop(CSimClient* c) { return c ? _server.Forecourt().AllStop(false) : kNoObject; }
long CClientsIf::AllStopIfIdle(CSimClient* c) { return c ? _server.Forecourt().AllStop(true) : kNoObject; }
long CClientsIf::AllAuthorise(CSimClient* c) { return c ? _server.Forecourt().AllAuthorise() : kNoObject; }

long CClientsIf::AllReAuthorise(CSimClient* c)
{
    return c ? _server.Forecourt().AllReAuthorise() : kNoObject;
}

long CClientsIf::ReadAllTanks(CSimClient* c)
{
    if (!c)
        return kNoObject;
    CForecourt& fc = _server.Forecourt();
    std::vector<long> ids;
    for (CSimTank* t = fc.Tanks().List().First(); t; t = fc.Tanks().List().Next())
        ids.push_back(t->ID());
    for (long id : ids)
        fc.Tanks().Read(fc.Tank(id));
    return SR_OK;
}

// One character per pump, in pump order: the state digit, the hose in use, the number of
// unpaid deliveries (9 at most).
long CClientsIf::GetAllPumpStatuses(CSimClient* c, CStr* states, CStr* hoses, CStr* unpaid)
{
    if (!c)
        return kNoObject;
    CForecourt& fc = _server.Forecourt();
    std::string s, h, u;
    std::vector<CSimPump*> pumps;
    for (CSimPump* p = fc.Pumps().List().First(); p; p = fc.Pumps().List().Next())
        pumps.push_back(p);
    for (CSimPump* p : pumps) {
        CPumpView v = fc.View(*p);
        s += static_cast<char>('0' + v.state);
        h += static_cast<char>('0' + (v.hose > 9 ? 9 : v.hose));
        u += static_cast<char>('0' + (v.unpaid > 9 ? 9 : v.unpaid));
    }
    Put(states, s.c_str());
    Put(hoses, h.c_str());
    Put(unpaid, u.c_str());
    return SR_OK;
}

long CClientsIf::SetDateTime(CSimClient* c, const CDate& when)
{
    if (!c)
        return kNoObject;
    if (when.IsEmpty())
        return SR_BAD_VALUE;
    _server.Forecourt().SetClock(when);
    _server.Forecourt().Emit(TSimEvent::Server, -1, SE_CLOCK_SET, c->ID(), CStr("Clock set"));
    return SR_OK;
}

long CClientsIf::GetDateTime(CSimClient* c, CDate* when)
{
    if (!c)
        return kNoObject;
    Put(when, _server.Forecourt().Now());
    return SR_OK;
}

long CClientsIf::GetIniValue(CSimClient* c, const CStr& section, const CStr& key, CStr* value)
{
    return GetIniValueEx(c, CStr(""), section, key, value);
}

long CClientsIf::SetIniValue(CSimClient* c, const CStr& section, const CStr& key, const CStr& value)
{
    return SetIniValueEx(c, CStr(""), section, key, value);
}

long CClientsIf::GetIniValueEx(CSimClient* c, const CStr& file, const CStr& section, const CStr& key, CStr* value)
{
    if (!c)
        return kNoObject;
    const std::string path = _server.IniPath(file);
    if (path.empty() || !SafeText(section, true) || !SafeText(key, true))
        return SR_BAD_VALUE;
    CINIFile ini(path.c_str(), static_cast<char*>(section), false);
    const bool has = ini.HasKey(static_cast<char*>(key));
    ini.Close();
    if (!has)
        return SR_NOT_FOUND;
    CStr v;
    ini.GetStr(static_cast<char*>(key), v);
    Put(value, v);
    return SR_OK;
}

long CClientsIf::SetIniValueEx(CSimClient* c, const CStr& file, const CStr& section, const CStr& key,
                               const CStr& value)
{
    if (!c)
        return kNoObject;
    const std::string path = _server.IniPath(file);
    if (path.empty() || !SafeText(section, true) || !SafeText(key, true) || !SafeText(value, false))
        return SR_BAD_VALUE;
    if (FILE* f = std::fopen(path.c_str(), "a"))   // a new file of the working directory
        std::fclose(f);
    CINIFile ini(path.c_str(), static_cast<char*>(section), true);
    ini.PutValue(static_cast<char*>(key), value);
    ini.Close();
    return SR_OK;
}

long CClientsIf::GetTCPIPConfig(CSimClient* c, CStr* address, CStr* netmask, CStr* gateway, CStr* dns, short* dhcp,
                                CStr* host)
{
    if (!c)
        return kNoObject;
    Put(address, _server.tcpip[0]);
    Put(netmask, _server.tcpip[1]);
    Put(gateway, _server.tcpip[2]);
    Put(dns, _server.tcpip[3]);
    Put(dhcp, _server.dhcp);
    Put(host, _server.tcpip[4]);
    return SR_OK;
}

long CClientsIf::SetTCPIPConfig(CSimClient* c, const CStr& address, const CStr& netmask, const CStr& gateway,
                                const CStr& dns, short dhcp, const CStr& host)
{
    if (!c)
        return kNoObject;
    const CStr* values[] = {&address, &netmask, &gateway, &dns, &host};
    for (const CStr* v : values)
        if (v->Length() > 64 || !SafeText(*v, false))
            return SR_BAD_VALUE;
    for (int i = 0; i < 5; ++i)
        _server.tcpip[i] = *values[i];
    _server.dhcp = dhcp ? 1 : 0;
    return SR_OK;
}

long CClientsIf::WDReset(CSimClient* c)
{
    if (!c)
        return kNoObject;
    ++_server.watchdogResets;
    if (CLog* log = Trace())
        log->Log("Watchdog reset by client %ld", c->ID());
    return SR_OK;
}

// ---------------------------------------------------------------- cards and price signs

long CClientsIf::GetCardType(CSimClient* c, const CStr& card, short* type, long* cardClientId, CStr* name,
                             long* flags)
{
    if (!c)
        return kNoObject;
    CSimCardClient* cc = _server.Forecourt().FindCardClient(card);
    if (!cc)
        return SR_NOT_FOUND;
    Put(type, cc->cardType);
    Put(cardClientId, cc->ID());
    Put(name, cc->Name());
    Put(flags, cc->flags);
    return SR_OK;
}

// Status 0 valid, 1 blocked, 2 expired.
long CClientsIf::FindCard(CSimClient* c, const CStr& card, short* type, short* status, long* cardClientId, CStr* name,
                          long* account)
{
    if (!c)
        return kNoObject;
    CSimCardClient* cc = _server.Forecourt().FindCardClient(card);
    if (!cc)
        return SR_NOT_FOUND;
    short s = 0;
    if (cc->status != 0)
        s = 1;
    else if (!cc->expiry.IsEmpty() && cc->expiry.Ticks() < _server.Forecourt().Now().Ticks())
        s = 2;
    Put(type, cc->cardType);
    Put(status, s);
    Put(cardClientId, cc->ID());
    Put(name, cc->Name());
    Put(account, cc->account);
    return SR_OK;
}

long CClientsIf::SetPriceSignElement(CSimClient* c, short element, short sign, long gradeId, short level,
                                     const CCur& price, short digits, short decimals, short enabled)
{
    if (!c)
        return kNoObject;
    if (element < 1 || element > 64 || (level != 1 && level != 2) || digits < 1 || digits > 8 || decimals < 0 ||
        decimals > digits)
        return SR_BAD_VALUE;
    _server.priceSigns[element] = CPriceSignElement{sign, gradeId, level, price.Value(), digits, decimals, enabled};
    return SR_OK;
}

long CClientsIf::GetPriceSignElement(CSimClient* c, short element, short* sign, long* gradeId, short* level,
                                     CCur* price, short* digits, short* decimals, short* enabled)
{
    if (!c)
        return kNoObject;
    auto it = _server.priceSigns.find(element);
    if (it == _server.priceSigns.end())
        return SR_NOT_FOUND;
    const CPriceSignElement& e = it->second;
    Put(sign, e.sign);
    Put(gradeId, e.gradeId);
    Put(level, e.level);
    Put(price, e.price);
    Put(digits, e.digits);
    Put(decimals, e.decimals);
    Put(enabled, e.enabled);
    return SR_OK;
}

}  // namespace sim
