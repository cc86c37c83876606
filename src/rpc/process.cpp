// The process: settings, logs, timers, watchdog, serving incoming calls; and the client
// process with its call and events sockets, its main loop and its reconnection.
#include "rpc/process.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "rpc/tracelog.h"

namespace {

constexpr int kMaxTimersPerPass = 25;
constexpr int kEventsWaitMs = 50;
constexpr long kReconnectPauseUs = 500000;
constexpr int kLogPathTries = 100;
constexpr int kLogPathGoodTries = 10;
constexpr long kLogPathPauseUs = 100000;

unsigned short PortValue(const CStr& text) {
    long v = static_cast<long>(text);
    return (v > 0 && v <= 65535) ? static_cast<unsigned short>(v) : 0;
}

template <class T>
void EmptyList(CKVList<T, T>& list) {
    list.First();
    while (list.Current()) list.Delete();
}

}  // namespace

// ---------------------------------------------------------------- CParent

CLog* CParent::Trace() const { return _process ? _process->Trace() : nullptr; }
CINIFile* CParent::Ini() const { return _process ? _process->Ini() : nullptr; }
CLog* CParent::Alarms() const { return _process ? _process->Alarms() : nullptr; }
long CParent::CallTimeout() const { return _process ? _process->CallTimeout() : 0; }

// ---------------------------------------------------------------- CWatchDog

CWatchDog::CWatchDog(CProcess* process) : _parent(process), _warnMs(-1), _timeoutMs(-1), _on(0) {}

void CWatchDog::TurnOn(short on) {
    if (on == _on) return;
    _on = on;
    KV_TRACE(_parent, "WD turned on!! %d", on);
}

void CWatchDog::Ping(long warnMs, long timeoutMs, short on) {
    _warnMs = warnMs;
    _timeoutMs = timeoutMs;
    _timer.Start();
    TurnOn(on);
}

void CWatchDog::Check(long port, bool) {
    if (!_on || _timeoutMs < 0) return;
    long elapsed = _timer.Elapsed();
    if (elapsed <= 2 * _warnMs) return;
    if (elapsed < _timeoutMs)
        KV_TRACE(_parent, "Port [%03d] Watch dog timing out!! %dms", static_cast<int>(port), static_cast<int>(elapsed));
    else
        KV_TRACE(_parent, "Watch dog timed out!! reseting. %dms", static_cast<int>(elapsed));
}

char* CWatchDog::GetVersion(char* buf, int size) const {
    if (buf && size > 0) std::snprintf(buf, static_cast<size_t>(size), "%s", "no watchdog hardware");
    return buf;
}

void CWatchDog::Close() { KV_TRACE(_parent, "Watchdog closed"); }

// ---------------------------------------------------------------- CProcess

CProcess::CProcess(const char* logName, const char* banner, const char* iniName, long clientId)
    : _running(1), _exited(0), _clientId(clientId), _trace(nullptr), _alarms(nullptr), _watchDog(this),
      _ini(nullptr), _callPort(0), _eventsPort(0), _callTimeout(0), _shutdownWithServer(1), _logBroken(0),
      _served(nullptr) {
    OpenLogs(logName, banner);
    _ini = new CINIFile(iniName ? iniName : "", "Server", false);
    CStr value;
    _ini->GetStr("name", value);
    value.Upper();
    SetHost(value);
    _ini->GetStr("CallPort", value);
    _callPort = PortValue(value);
    _ini->GetStr("EventsPort", value);
    _eventsPort = PortValue(value);
    _ini->GetStr("CallTimeout", value);
    _callTimeout = static_cast<long>(value);
    InitLog();
}

CProcess::CProcess(const char* logName, const char* banner, const char* server, unsigned short callPort,
                   unsigned short eventsPort, long callTimeout, long clientId)
    : _running(1), _exited(0), _clientId(clientId), _trace(nullptr), _alarms(nullptr), _watchDog(this),
      _ini(nullptr), _callPort(callPort), _eventsPort(eventsPort), _callTimeout(callTimeout),
      _shutdownWithServer(1), _logBroken(0), _served(nullptr) {
    OpenLogs(logName, banner);
    SetHost(CStr(server ? server : ""));
}

CProcess::~CProcess() {
    // Interfaces and timers may still log on their way out.
    EmptyList(_interfaces);
    EmptyList(_timers);
    _watchDog.Close();
    delete _ini;
    delete _alarms;
    delete _trace;
}

void CProcess::OpenLogs(const char* logName, const char* banner) {
    const char* name = (logName && *logName) ? logName : "Process";
    _trace = new CLog(name, banner, 1, 2098000, 20, true, false);
    // The alarms log sits beside the trace log.
    CStr alarms;
    if (const char* slash = std::strrchr(name, '/')) alarms = CStr(name, static_cast<int>(slash - name + 1));
    else alarms = "";
    alarms += "KVAlarms";
    _alarms = new CLog(static_cast<char*>(alarms), banner, 0, 524288, 3, true, false);
}

void CProcess::SetHost(const CStr& name) {
    if (name.Length() == 0 || CStr(name).Upper().Compare("<LOCAL>") == 0) {
        char buf[256] = "";
        if (gethostname(buf, sizeof buf - 1) != 0) buf[0] = '\0';
        buf[sizeof buf - 1] = '\0';
        _host = buf;
    } else {
        _host = name;
    }
    _trace->Log("Host = %s", static_cast<char*>(_host));
}

void CProcess::InitLog() {
    if (!_ini || !_trace) return;
    CStr section = _ini->Section();
    _ini->SetSection("Log");

    CStr path;
    _ini->GetStr("Path", path);
    path.LTrim();
    path.RTrim();
    if (path.Length() > 0) {
        // The test file goes behind the path, separator included, as it always has.
        CStr test = path;
        test += "\\Test.txt";
        int tries = 1;
        for (; tries <= kLogPathTries; ++tries) {
            if (FILE* f = std::fopen(static_cast<char*>(test), "w+")) {
                std::fclose(f);
                std::remove(static_cast<char*>(test));
                break;
            }
            usleep(kLogPathPauseUs);
        }
        if (tries <= kLogPathGoodTries) _trace->SetPathSizeArchives(path, 1450000, 10);
    }

    CStr value;
    _ini->GetStr("Level", value);
    long level = static_cast<long>(value);
    _trace->SetLevel(static_cast<unsigned char>(level >= 1 && level <= 5 ? level : 1));
    _ini->GetStr("Screen", value);
    _trace->SetToScreen(CINIFile::IsTrue(value));
    bool toFile = true;
    if (_ini->HasKey("File")) {
        _ini->GetStr("File", value);
        toFile = CINIFile::IsTrue(value);
    }
    _trace->ToFile(toFile);
    _ini->GetStr("StackTrace", value);
    _trace->SetStackTrace(CINIFile::IsTrue(value));

    _ini->Close();
    _ini->SetSection(section);
}

long CProcess::GetMsg(CSocket* socket, TPort port) {
    TIMsg msg;   // local: serving never touches a buffer that a call in progress uses
    socket->Use();
    int r = socket->ReadMsg(&msg);
    socket->Unuse();
    if (r != 0) return r;
    return ServeMsg(&msg, socket, port);
}

long CProcess::ServeMsg(TIMsg* msg, CSocket* socket, TPort port) {
    int function = msg->h.function;
    int type = msg->h.type;
    int object = static_cast<int32_t>(msg->h.object);
    _trace->Log(4, "Call %d on Interface %d for Object %d ", function, type, object);
    if (function == 0) {
        _trace->Log("invalid ftn ID");
        return 0;
    }
    if (function == 1) {   // management: never a call, whatever the check makes of it
        socket->IsSocketManagementFtn(msg, port);
        return CSocket::IsSocketDisconnectedFtn(msg) ? RESERVED_24_RESULT : 0;
    }

    bool oneWay = msg->h.flag != 0;
    long r = ProcessMsg(msg, socket);
    if (!oneWay) {
        if (r == RESERVED_24_RESULT) {
            msg->h.result = 0;
            socket->Send(msg);
        } else if (r != CONNECTION_BROKEN) {
            r = socket->Send(msg);
        }
    }
    if (socket->_closeAfterCall) {
        socket->_closeAfterCall = false;
        socket->Close();
    }
    if (r < 0 && r != RESERVED_24_RESULT)
        _trace->Log("Call %d on Interface %d for Object %d failed with result %d", function, type, object,
                    static_cast<int>(r));
    _trace->Log(4, "Call result %d ", static_cast<int>(r));
    return r;
}

long CProcess::ProcessMsg(TIMsg* msg, CSocket* socket) {
    CSocket* outer = _served;
    _served = socket;
    long r;
    try {
        CInterface* handler = nullptr;
        // A plain pointer walk: serving must not move the list's cursor.
        for (CElement<CInterface, CInterface>* e = _interfaces.Head(); e && !handler; e = e->Next()) {
            CInterface* i = static_cast<CInterface*>(e);
            if (i->ObjectType() == msg->h.type) handler = i;
        }
        if (!handler) {
            _trace->Log("Throw %d, Line %d, File %s, Ftn %s", BAD_INTERFACE_RESULT, __LINE__, "Process",
                        "CProcess::ProcessMsg");
            throw BAD_INTERFACE_RESULT;
        }
        r = handler->ProcessMsg(msg, socket);
    } catch (TResult& code) {
        r = code;
        AnswerRefused(msg, msg->h, code);
    }
    _served = outer;
    return r;
}

CTimer* CProcess::FindTimer(short number, short kind, unsigned long owner) const {
    for (CElement<CTimer, CTimer>* e = _timers.Head(); e; e = e->Next()) {
        CTimer* t = static_cast<CTimer*>(e);
        if (t->_number == number && t->_kind == kind && t->_owner == owner) return t;
    }
    return nullptr;
}

// A timer is one-shot: it leaves the list when it fires. Starting a timer that is already
// running (same number, kind and owner) restarts it with the new interval and receiver.
CTimer* CProcess::StartTimer(long ms, short number, short kind, unsigned long owner, CTimerTarget* target) {
    CTimer* t = FindTimer(number, kind, owner);
    if (t) {
        t->_interval = ms;
        t->_target = target;
    } else {
        t = _timers.Append(new CTimer(ms, number, kind, owner, target));
    }
    t->Start();
    return t;
}

bool CProcess::StopTimer(short number, short kind, unsigned long owner) {
    for (CTimer* t = _timers.First(); t; t = _timers.Next()) {
        if (t->_number == number && t->_kind == kind && t->_owner == owner) {
            _timers.Delete();
            return true;
        }
    }
    return false;
}

int CProcess::CheckTimers() {
    int fired = 0;
    // One timer at a time, each taken off the list before it fires: a receiver may start,
    // stop or destroy other timers.
    while (fired < kMaxTimersPerPass) {
        CTimer* due = _timers.First();
        while (due && !due->Expired()) due = _timers.Next();
        if (!due) break;
        CTimerTarget* target = due->_target;
        short number = due->_number;
        _timers.Delete();
        ++fired;
        if (target) target->TimerEvent(number);
        _watchDog.Kick();
    }
    return fired;
}

void CProcess::DumpTimers(const char* title) { _trace->Log("%s count %d", title ? title : "", TimerCount()); }

char* CProcess::ClientDesc(char* buf) const {
    if (_served) return _served->ClientDesc(buf);
    std::snprintf(buf, 64, "< Server >");
    return buf;
}

long CProcess::CallingClientID() const { return _served ? _served->ClientID() : 0; }

// ---------------------------------------------------------------- CClientProcess

CClientProcess::CClientProcess(const char* logName, const char* banner, const char* iniName, long clientId,
                               void* event, void* window, unsigned int message, bool events)
    : CProcess(logName, banner, iniName, clientId), _callSocket(nullptr), _eventsSocket(nullptr),
      _events(events) {
    CreateSockets(event, window, message);
}

CClientProcess::CClientProcess(const char* logName, const char* banner, const char* server,
                               unsigned short callPort, unsigned short eventsPort, long callTimeout,
                               long clientId, void* event, void* window, unsigned int message, bool events)
    : CProcess(logName, banner, server, callPort, eventsPort, callTimeout, clientId), _callSocket(nullptr),
      _eventsSocket(nullptr), _events(events) {
    CreateSockets(event, window, message);
}

void CClientProcess::CreateSockets(void* event, void* window, unsigned int message) {
    _callSocket = new CSocket(this, _host, _callPort);
    _eventsSocket = new CSocket(this, _host, _eventsPort, event, window, message);
}

CClientProcess::~CClientProcess() {
    if (_eventsSocket->IsOpen()) _eventsSocket->ManagementFtn(MFTN_DISCONNECT, _clientId, 0);
    if (_callSocket->IsOpen()) _callSocket->ManagementFtn(MFTN_EVENTS, _clientId, 0);
    if (_callSocket->IsOpen()) _callSocket->ManagementFtn(MFTN_DISCONNECT, _clientId, 0);
    _served = nullptr;
    delete _eventsSocket;
    delete _callSocket;
}

// Without the events flag the events socket is never opened: only the call socket counts.
bool CClientProcess::OpenSockets() {
    if (!_callSocket->IsOpen()) _callSocket->Open();
    if (_events && !_eventsSocket->IsOpen()) _eventsSocket->Open();
    return SocketsOpen();
}

bool CClientProcess::SocketsOpen() const {
    return _callSocket->IsOpen() && (!_events || _eventsSocket->IsOpen());
}

void CClientProcess::ConnectSockets() {
    if (!_eventsSocket->IsOpen()) return;
    _eventsSocket->ManagementFtn(MFTN_CONNECT, _clientId, 0);
    if (_callSocket->IsOpen()) _callSocket->ManagementFtn(MFTN_EVENTS, _clientId, 0);
}

bool CClientProcess::ReconnectToServer() {
    if (_callSocket->IsOpen()) {
        _callSocket->Close();
        _trace->Log("ReconnectToServer::client call socket closed.");
    }
    if (_eventsSocket->IsOpen()) {
        _trace->Log("ReconnectToServer::client event socket closed");
        _eventsSocket->Close();
    }
    usleep(kReconnectPauseUs);
    _trace->Log("ReconnectToServer::Attempting to re-connect to server, try %d ", 1);
    bool ok = _callSocket->Open();
    if (ok) {
        _callSocket->ManagementFtn(MFTN_CONNECT, _clientId, 0);
        ok = !_events || _eventsSocket->Open();
    }
    if (!ok) {
        usleep(kReconnectPauseUs);
        _trace->Log("ReconnectToServer::Attempting to re-connect to server, try %d ", 2);
        if (!_callSocket->Open()) return false;
        _callSocket->ManagementFtn(MFTN_CONNECT, _clientId, 0);
        if (_events && !_eventsSocket->Open()) return false;
    }
    if (_events) {
        _eventsSocket->ManagementFtn(MFTN_CONNECT, _clientId, 0);
        _callSocket->ManagementFtn(MFTN_EVENTS, _clientId, 0);
    }
    _trace->Log("ReconnectToServer::client re-connected to server");
    return true;
}

void CClientProcess::MainLoopInner() {
    _running = 1;
    _exited = 0;
    if (!_events) {
        _trace->Log("CClientProcess::MainLoop() - waiting on socket with no events");
        return;
    }
    while (_running) {
        if (!_eventsSocket->IsOpen() && !ReconnectToServer()) break;
        int outcome = _eventsSocket->WaitForSocketEvent(kEventsWaitMs);
        _watchDog.Kick();
        if (!_running) break;
        switch (outcome) {
        case CSocket::WAIT_FAILED:
            _trace->Log("Bugger!! the craps hit the fan");
            break;
        case CSocket::WAIT_OBJECT_EVENT:
            ErrorObjectEvent();
            break;
        case CSocket::WAIT_TIMEOUT: case 5: case 6: case 7:
            ObjectEvent(outcome);
            break;
        case CSocket::WAIT_DATA: {
            long r;
            bool reported = false;
            do {
                _watchDog.Kick();
                r = GetMsg(_eventsSocket, EVENTS_PORT);
                if (!_running) return;
                if (r == CONNECTION_BROKEN) {
                    _eventsSocket->Close();
                    ObjectEvent(outcome);
                    reported = true;
                } else if (r == SHORT_READ_RESULT) {
                    _trace->Log("events socket read error");
                    ObjectEvent(outcome);
                    reported = true;
                }
            } while (r == 0);
            if (!reported) ObjectEvent(outcome);
            break;
        }
        case CSocket::WAIT_NOT_SYNCHRONOUS:
            _trace->Log("CClientProcess::MainLoop() - waiting on socket with no events");
            return;
        case CSocket::WAIT_EXCEPTION:
            _trace->Log(2, "Events socket closed.");
            break;
        default:
            _trace->Log("Unknown event %d.", outcome);
            break;
        }
        CheckTimers();
        _trace->CheckForLogClients();
    }
    _trace->Log("Exited mainloop.");
    _exited = 1;
}

// Serves what was waiting when the first message was read. A call that is refused or
// fails has been answered and logged; only a lost connection ends the serving early.
long CClientProcess::ProcessEvents() {
    if (!_eventsSocket->IsOpen()) return CONNECTION_BROKEN;
    CSocket::CWaiting waiting(*_eventsSocket);
    do {
        int outcome = _eventsSocket->WaitForSocketEvent(0);
        if (outcome == CSocket::WAIT_TIMEOUT || outcome == CSocket::WAIT_NOT_SYNCHRONOUS) return 0;
        if (outcome != CSocket::WAIT_DATA) return CONNECTION_BROKEN;
        long r = GetMsg(_eventsSocket, EVENTS_PORT);
        if (r == NO_MESSAGE_RESULT) return 0;
        if (r == CONNECTION_BROKEN) {
            _eventsSocket->Close();
            return r;
        }
        if (IsConnectionResult(r)) return r;
    } while (waiting.More());
    return 0;
}
