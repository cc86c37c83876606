// CSimServer: kvsim's process. A CServerProcess serving the forecourt interfaces and the
// client interface, fanning the forecourt's events out to the clients that registered for
// them, advancing simulated time by wall time and taking control commands.
#pragma once
#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>
#include "rpc/process.h"
#include "rpc/serverif.h"
#include "sim/control.h"
#include "sim/forecourt.h"
#include "sim/objects.h"

namespace sim {

class CSimServer;
class COutgoing;

// The library compares the last seven characters with its own version.
constexpr const char* kDefaultVersion = "KVServer Simulator Version 2,5,6,0";

struct CSimSettings {
    std::string ini;                 // the forecourt's INI file
    std::string workDir;             // logs and the working copy of the INI file
    long callPort = -1;              // -1: the INI's (absent there: 0, a free port)
    long eventsPort = -1;
    long controlPort = -1;           // -1: the INI's; absent there: no control port
    long maxClients = -1;
    long busy = -1;                  // Logon calls to answer with 54 before serving
    long callTimeout = -1;
    long graceMs = -1;               // a session without sockets ends after this long (wall ms)
    long authTimeoutMs = -1;         // -1: the INI's AuthTimeout
    long flowMls = -1;               // flow in ml/s
    double speed = 1.0;              // simulated seconds per wall second
    bool autoCustomers = false;
    bool legacyEvents = false;       // send the short forms of pump events (13) and hose totals (DB 17)
    unsigned seed = 1;
    std::string version;
};

// A price sign element as SetPriceSignElement stores it.
struct CPriceSignElement {
    short sign = 1;
    long gradeId = -1;
    short level = 1;
    Raw price = 0;
    short digits = 4, decimals = 3, enabled = 1;
};

// The client interface (3): logon and sessions, and the calls addressed to the whole site.
class CClientsIf : public CServerInterface<CSimClient> {
public:
    explicit CClientsIf(CSimServer& server);
    uint16_t ObjectType() const override { return IF_CLIENT; }
    uint16_t InterfaceVersion() const override { return 0; }
    long ProcessCall(short function, CSimClient* client, CSocket* socket) override;
    CObjectList<CSimClient, CSimClient>& List() { return _objects; }

    long Logon(long clientId, const CStr& name);
    long Logoff(CSimClient* c);
    long Status(CSimClient* c, short* connected, short* clients);
    long RegisterInterface(CSimClient* c, short iface);
    long ReloadComplete(CSimClient* c, long nextId);
    long DriverStarted(CSimClient* c);
    long AllStop(CSimClient* c);
    long AllAuthorise(CSimClient* c);
    long AllReAuthorise(CSimClient* c);
    long DBTrigger(long a, long b);
    long GetVersion(CStr* version);
    long FireClientEvent(CSimClient* c, long eventId, const CStr& text);
    long LogEvent(long code, const CDate& when, const CStr& text);
    long AllStopIfIdle(CSimClient* c);
    long GetAllPumpStatuses(CSimClient* c, CStr* states, CStr* hoses, CStr* unpaid);
    long GetIniValue(CSimClient* c, const CStr& section, const CStr& key, CStr* value);
    long SetIniValue(CSimClient* c, const CStr& section, const CStr& key, const CStr& value);
    long ReadAllTanks(CSimClient* c);
    long SetDateTime(CSimClient* c, const CDate& when);
    long GetDateTime(CSimClient* c, CDate* when);
    long GetCardType(CSimClient* c, const CStr& card, short* type, long* cardClientId, CStr* name, long* flags);
    long Reconnect(CSimClient* c, long long sessionId);
    long GetSessionID(CSimClient* c, long long* sessionId);
    long FireEvents(CSimClient* c);
    long FindCard(CSimClient* c, const CStr& card, short* type, short* status, long* cardClientId, CStr* name,
                  long* account);
    long SetClientType(CSimClient* c, long mask);
    long SetPriceSignElement(CSimClient* c, short element, short sign, long gradeId, short level, const CCur& price,
                             short digits, short decimals, short enabled);
    long GetPriceSignElement(CSimClient* c, short element, short* sign, long* gradeId, short* level, CCur* price,
                             short* digits, short* decimals, short* enabled);
    long GetIniValueEx(CSimClient* c, const CStr& file, const CStr& section, const CStr& key, CStr* value);
    long SetIniValueEx(CSimClient* c, const CStr& file, const CStr& section, const CStr& key, const CStr& value);
    long GetTCPIPConfig(CSimClient* c, CStr* address, CStr* netmask, CStr* gateway, CStr* dns, short* dhcp,
                        CStr* host);
    long SetTCPIPConfig(CSimClient* c, const CStr& address, const CStr& netmask, const CStr& gateway,
                        const CStr& dns, short dhcp, const CStr& host);
    long WDReset(CSimClient* c);

private:
    CSimServer& _server;
};

// Told of every event after it went out, with the clients it went to (the web console).
class CEmitWatcher {
public:
    virtual ~CEmitWatcher() = default;
    virtual void Sent(const CSimEvent& e, const std::vector<long>& to) = 0;
};

class CSimServer : public CServerProcess, public CSimSink {
public:
    CSimServer(const CSimSettings& settings, const std::string& logName);
    ~CSimServer() override;

    // Copies the INI file into the working directory and loads the forecourt from the copy.
    bool Load(std::string* error);
    // Load, then open the call, events and control ports.
    bool Start(std::string* error);
    // One pass: serve what waits (up to waitMs), advance the simulation, take control commands.
    void Step(long waitMs);
    bool Quit() const { return _quit; }
    void RequestQuit() { _quit = true; }
    // One control command; the reply text (one or more lines, first word "ok" or "error").
    std::string Command(const std::string& line);
    // The line announcing the ports, printed once listening.
    std::string ReadyLine() const;

    CForecourt& Forecourt() { return *_forecourt; }
    CClientsIf& Clients() { return *_clients; }
    CSimClient* Client(long number) { return _clients->List().FindByID(number); }
    CControl& Control() { return _control; }
    const CSimSettings& Settings() const { return _settings; }

    // CSimSink: fans an event out to every client whose registration and mask take it.
    void Emit(const CSimEvent& e) override;
    CEmitWatcher* watcher = nullptr;
    // Sends one event to one client; false when its socket failed.
    bool SendTo(CSimClient& c, const CSimEvent& e);
    // What a client needs to resynchronise (after a reconnect, or on FireEvents): every
    // pump's state and the deliveries not cleared, its mask permitting.
    void Resync(CSimClient& c);
    // Events a client's connection cannot take now wait in its queue, up to this many; past
    // that the client is dropped.
    static constexpr size_t kMaxPending = 4096;
    // A client whose events connection takes no more: both its sockets go, its session stays.
    void DropUndelivered(long clientId);

    void ClientConnected(long clientId) override;
    void ClientDisconnected(long clientId) override;
    long Reconnect() override { return CONNECTION_BROKEN; }   // no retries for events we send

    // Site-wide values behind the client interface.
    long busy = 0;
    long maxClients = 16;
    CStr version;
    CStr tcpip[5];                   // address, netmask, gateway, DNS, host name
    short dhcp = 0;
    std::map<short, CPriceSignElement> priceSigns;
    long watchdogResets = 0;
    long graceMs = 30000;
    // Ends a session: its reservations and locks are released and the clients told; its
    // sockets are closed unless it asked itself (it closes them after the reply).
    void EndSession(long clientId, const char* why, bool closeSockets = true);
    unsigned long long NewSessionID();
    std::string IniPath(const CStr& file) const;   // "" when the name is not allowed
    const std::string& WorkIni() const { return _workIni; }

private:
    friend class CClientsIf;
    bool Wants(const CSimClient& c, const CSimEvent& e) const;
    // Sends what waits for the client while its connection takes it; false once it is full past the bound.
    bool Flush(long clientId);
    bool Queue(CSimClient& c, const CSimEvent& e);
    std::map<long, std::deque<CSimEvent>> _pending;
    long Deliver(CSimClient& c, const CSimEvent& e);
    void AutoCustomers(long ms);
    void EndOrphans();

    CSimSettings _settings;
    std::string _workIni;
    std::unique_ptr<CForecourt> _forecourt;
    CClientsIf* _clients;             // owned by the process's interface list
    CControl _control;
    bool _quit = false;
    std::chrono::steady_clock::time_point _last;
    double _carry = 0;                // simulated ms not yet applied
    unsigned long long _sessionSeed;
    unsigned long long _sessionCount = 0;
    std::map<long, std::unique_ptr<COutgoing>> _out;
    std::mt19937 _random;
    struct CCustomer {
        int stage = 0;                // 0 none, 1 waiting for authorisation, 2 filling, 3 leaving
        long ms = 0;
        Raw target = 0;
    };
    std::map<long, CCustomer> _customers;
};

}  // namespace sim
