// kvsim's process: start-up, the main loop pass, sessions and the auto customers.
#include "sim/server.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "foundation/ini.h"
#include "sim/outgoing.h"
#include "sim/served.h"

namespace sim {

namespace {

unsigned long long Mix(unsigned long long x)
{
    // splitmix64: a bijection, so distinct counters give distinct session IDs.
    x += 0x9E3779B97F4A7C15ULL;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ULL;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBULL;
    return x ^ (x >> 31);
}

unsigned short PortOf(long port) { return port > 0 && port < 65536 ? static_cast<unsigned short>(port) : 0; }

}  // namespace

CSimServer::CSimServer(const CSimSettings& settings, const std::string& logName)
    : CServerProcess(logName.c_str(), "kvsim forecourt simulator", PortOf(settings.callPort),
                     PortOf(settings.eventsPort), settings.callTimeout > 0 ? settings.callTimeout : 3000),
      _settings(settings), _random(settings.seed)
{
    _forecourt = std::make_unique<CForecourt>(this, this);
    _clients = new CClientsIf(*this);
    AddInterface(_clients);
    busy = settings.busy > 0 ? settings.busy : 0;
    maxClients = settings.maxClients > 0 ? settings.maxClients : 64;
    graceMs = settings.graceMs >= 0 ? settings.graceMs : 30000;
    version = settings.version.empty() ? kDefaultVersion : settings.version.c_str();
    _sessionSeed = Mix(static_cast<unsigned long long>(time(nullptr)) ^
                       (static_cast<unsigned long long>(getpid()) << 32));
    _last = std::chrono::steady_clock::now();
}

CSimServer::~CSimServer()
{
    _out.clear();
    _control.Close();
}

bool CSimServer::Load(std::string* error)
{
    namespace fs = std::filesystem;
    std::error_code ec;
    _workIni = (fs::path(_settings.workDir) / fs::path(_settings.ini).filename()).string();
    fs::copy_file(_settings.ini, _workIni, fs::copy_options::overwrite_existing, ec);
    if (ec) {
        *error = "cannot copy " + _settings.ini + " to " + _workIni + ": " + ec.message();
        return false;
    }
    if (!_forecourt->Load(_workIni.c_str(), error))
        return false;
    if (_settings.flowMls > 0)
        _forecourt->flowMls = _settings.flowMls;
    if (_settings.authTimeoutMs >= 0)
        _forecourt->authTimeoutMs = _settings.authTimeoutMs;

    CINIFile ini(_workIni.c_str(), "TCPIP", false);
    const char* keys[] = {"Address", "Netmask", "Gateway", "DNS", "HostName"};
    for (int i = 0; i < 5; ++i)
        ini.GetStr(keys[i], tcpip[i]);
    CStr v;
    ini.GetStr("DHCP", v);
    dhcp = static_cast<short>(v.Length() ? static_cast<long>(v) : 0);
    // One price sign element per grade, at price level 1.
    short element = 0;
    CObjectList<CSimGrade, CSimGrade>& grades = _forecourt->Grades().List();
    for (CSimGrade* g = grades.First(); g; g = grades.Next()) {
        CPriceSignElement e;
        e.gradeId = g->ID();
        e.price = g->price[0];
        priceSigns[++element] = e;
    }
    return true;
}

bool CSimServer::Start(std::string* error)
{
    if (!Load(error))
        return false;
    if (!Open()) {
        *error = "cannot listen on the call and events ports";
        return false;
    }
    if (_settings.controlPort >= 0 &&
        !_control.Listen(static_cast<unsigned short>(_settings.controlPort), error))
        return false;
    _trace->Log("kvsim ready: call port %d, events port %d, control port %d", BoundCallPort(), BoundEventsPort(),
                _control.Port());
    _last = std::chrono::steady_clock::now();
    return true;
}

std::string CSimServer::ReadyLine() const
{
    return "KVSIM READY call=" + std::to_string(BoundCallPort()) + " events=" + std::to_string(BoundEventsPort()) +
           " control=" + std::to_string(_control.Port()) + " pid=" + std::to_string(getpid());
}

void CSimServer::Step(long waitMs)
{
    RunOnce(waitMs);
    const auto now = std::chrono::steady_clock::now();
    _carry += std::chrono::duration<double, std::milli>(now - _last).count() * _settings.speed;
    _last = now;
    const long ms = static_cast<long>(_carry);
    if (ms > 0) {
        _carry -= static_cast<double>(ms);
        _forecourt->Advance(ms);
        if (_settings.autoCustomers)
            AutoCustomers(ms);
    }
    _control.Poll([this](const std::string& line) { return Command(line); });
    EndOrphans();
    std::vector<long> behind, drop;
    for (auto& [id, q] : _pending)
        if (!q.empty())
            behind.push_back(id);
    for (long id : behind)
        if (!Flush(id))
            drop.push_back(id);
    for (long id : drop)
        DropUndelivered(id);
}

namespace {
long long WallMs()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}
}  // namespace

// A session whose sockets are all gone waits graceMs for a reconnect, then ends.
void CSimServer::EndOrphans()
{
    const long long now = WallMs();
    std::vector<long> gone;
    for (CSimClient* c = _clients->List().First(); c; c = _clients->List().Next()) {
        if (c->seenMs == 0 || CallSocketOf(c->ID()) || EventsSocketOf(c->ID()))
            c->seenMs = now;
        else if (now - c->seenMs > graceMs)
            gone.push_back(c->ID());
    }
    for (long id : gone)
        EndSession(id, "did not reconnect");
}

void CSimServer::EndSession(long clientId, const char* why, bool closeSockets)
{
    CObjectList<CSimClient, CSimClient>& list = _clients->List();
    for (CSimClient* x = list.First(); x; x = list.Next())
        if (x->ID() == clientId) {
            list.Delete();
            break;
        }
    _trace->Log("Client %ld session ended: %s", clientId, why);
    _forecourt->ReleaseClient(clientId);
    CStr text;
    text.Format("Client %ld logged off", clientId);
    _forecourt->Emit(TSimEvent::Server, -1, SE_CLIENT_LOGOFF, clientId, text);
    if (closeSockets)
        DropClient(clientId);
}

unsigned long long CSimServer::NewSessionID()
{
    unsigned long long id;
    do
        id = Mix(_sessionSeed + ++_sessionCount);
    while (id == ~0ULL || id == 0);
    return id;
}

// Only plain names inside the working directory: a client never reaches another file.
std::string CSimServer::IniPath(const CStr& file) const
{
    namespace fs = std::filesystem;
    const std::string name = static_cast<char*>(file);
    if (name.empty() || CStr("KVServer.ini").Compare(file) == 0 ||
        CStr(fs::path(_workIni).filename().c_str()).Compare(file) == 0)
        return _workIni;
    if (name.size() > 64 || name[0] == '.')
        return "";
    for (char ch : name)
        if (!(isalnum(static_cast<unsigned char>(ch)) || ch == '.' || ch == '_' || ch == '-'))
            return "";
    return (fs::path(_settings.workDir) / name).string();
}

void CSimServer::ClientConnected(long clientId)
{
    if (CSimClient* c = Client(clientId)) {
        _trace->Log("Client %ld (%s) connected, session %llu", clientId, static_cast<char*>(c->Name()),
                    c->sessionId);
        if (c->events)   // registered before: this is a reconnect
            Resync(*c);
    }
}

void CSimServer::ClientDisconnected(long clientId)
{
    _out.erase(clientId);
    _pending.erase(clientId);
    _trace->Log("Client %ld sockets closed%s", clientId, Client(clientId) ? "; its session waits for a reconnect" : "");
}

// Simulated customers: they arrive at free pumps, lift a nozzle, fill up to what they want
// (or to the preset) and leave; nobody authorises them but the POS, or the pump itself.
void CSimServer::AutoCustomers(long ms)
{
    CForecourt& fc = *_forecourt;
    std::vector<CSimPump*> pumps;
    for (CSimPump* p = fc.Pumps().List().First(); p; p = fc.Pumps().List().Next())
        pumps.push_back(p);
    for (CSimPump* p : pumps) {
        CCustomer& c = _customers[p->ID()];
        c.ms += ms;
        const short state = fc.StateOf(*p);
        switch (c.stage) {
        case 0: {
            if (state != PS_IDLE && state != PS_AUTHORISED)
                break;
            // About one arrival per pump every 20 seconds.
            std::uniform_int_distribution<long> arrive(0, 20000);
            if (arrive(_random) >= ms)
                break;
            const int hoses = fc.HoseCount(*p);
            if (hoses == 0)
                break;
            std::uniform_int_distribution<int> pick(1, hoses);
            std::uniform_int_distribution<long> litres(5, 60);
            c = CCustomer{1, 0, static_cast<Raw>(litres(_random)) * 10000};
            fc.Lift(*p, static_cast<short>(pick(_random)));
            break;
        }
        case 1:
            if (state == PS_DELIVERING || state == PS_STOPPED) {
                c.stage = 2;
            } else if (c.ms > 15000 || !p->nozzle) {
                fc.Hang(*p);
                c = CCustomer{3, 0, 0};
            }
            break;
        case 2: {
            CSimDelivery* d = fc.Delivery(p->runningId);
            if (!d || d->volume >= c.target || state == PS_FINISHED) {
                fc.Hang(*p);
                c = CCustomer{3, 0, 0};
            }
            break;
        }
        default:
            if (c.ms > 3000)
                c = CCustomer{};
            break;
        }
    }
}

}  // namespace sim
