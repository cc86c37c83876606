// The server process: listens on a call port and an events port, pairs each client's two
// sockets by the client ID they announce, serves calls, and calls out on events sockets.
// Single-threaded: one poll() over every socket per pass.
#include <poll.h>

#include <cerrno>
#include <climits>
#include <utility>
#include <vector>

#include "rpc/process.h"

namespace {

constexpr int kMaxAcceptsPerPass = 64;
// Messages served from one socket per pass, so one busy client cannot starve the rest.
constexpr int kMaxMessagesPerPass = 16;

const char* PortName(TPort port) { return port == EVENTS_PORT ? "events" : "call"; }

}  // namespace

CServerProcess::CServerProcess(const char* logName, const char* banner, unsigned short callPort,
                               unsigned short eventsPort, long callTimeout)
    : CProcess(logName, banner, "", callPort, eventsPort, callTimeout, 0), _callListener(nullptr),
      _eventsListener(nullptr), _depth(0) {}

CServerProcess::~CServerProcess() {
    _served = nullptr;
    delete _callListener;
    delete _eventsListener;
}

bool CServerProcess::Open() {
    delete _callListener;
    delete _eventsListener;
    _callListener = new CServerSocket(this, _callPort);
    _eventsListener = new CServerSocket(this, _eventsPort);
    if (!_callListener->Open() || !_eventsListener->Open()) {
        _trace->Log("Server cannot listen on call port %d, events port %d", _callPort, _eventsPort);
        return false;
    }
    _trace->Log("Server listening on call port %d, events port %d", BoundCallPort(), BoundEventsPort());
    return true;
}

unsigned short CServerProcess::BoundCallPort() const { return _callListener ? _callListener->BoundPort() : 0; }

unsigned short CServerProcess::BoundEventsPort() const {
    return _eventsListener ? _eventsListener->BoundPort() : 0;
}

void CServerProcess::MainLoopInner() {
    _running = 1;
    _exited = 0;
    while (_running) RunOnce(50);
    _trace->Log("Exited mainloop.");
    _exited = 1;
}

int CServerProcess::RunOnce(long waitMs) {
    if (!_callListener || !_callListener->IsOpen() || !_eventsListener->IsOpen()) return -1;
    ++_depth;
    // The poll set is rebuilt every pass in the vectors of the last pass, which keep their
    // room, so that serving a call allocates nothing. A nested pass finds them taken and
    // builds its own.
    std::vector<pollfd> fds = std::move(_pollFds);
    std::vector<PollEntry> entries = std::move(_pollEntries);
    fds.clear();
    entries.clear();
    bool buffered = false;   // a socket holds bytes received already, which poll() cannot see
    auto add = [&](CSocket* s, TPort port, bool listener) {
        if (!s->IsOpen()) return;
        fds.push_back(pollfd{s->Descriptor(), static_cast<short>(POLLIN | POLLPRI), 0});
        entries.push_back(PollEntry{s, port, listener});
        buffered = buffered || s->Buffered() > 0;
    };
    add(_callListener, CALL_PORT, true);
    add(_eventsListener, EVENTS_PORT, true);
    for (CElement<CSocket, CSocket>* e = _callSockets.Head(); e; e = e->Next())
        add(static_cast<CSocket*>(e), CALL_PORT, false);
    for (CElement<CSocket, CSocket>* e = _eventsSockets.Head(); e; e = e->Next())
        add(static_cast<CSocket*>(e), EVENTS_PORT, false);

    int timeout = buffered || waitMs < 0 ? 0 : (waitMs > INT_MAX ? INT_MAX : static_cast<int>(waitMs));
    int ready;
    do {
        ready = poll(fds.data(), fds.size(), timeout);
    } while (ready < 0 && errno == EINTR);

    int handled = 0;
    for (size_t i = 0; (ready > 0 || buffered) && i < fds.size(); ++i) {
        const PollEntry& e = entries[i];
        if (!fds[i].revents && (e.listener || e.socket->Buffered() == 0)) continue;
        if (e.listener) {
            AcceptAll(static_cast<CServerSocket*>(e.socket), e.port);
            ++handled;
        } else if (e.socket->IsOpen()) {   // a socket dropped earlier in this pass is skipped
            if (fds[i].revents & POLLPRI && !(fds[i].revents & POLLIN)) {
                DropBroken(e.socket, e.port, "exceptional condition");
                continue;
            }
            handled += ServeSocket(e.socket, e.port);
        }
    }
    --_depth;
    _pollFds = std::move(fds);
    _pollEntries = std::move(entries);
    Sweep();
    CheckTimers();
    _watchDog.Kick();
    KickWatchDog();
    _trace->CheckForLogClients();
    return handled;
}

void CServerProcess::AcceptAll(CServerSocket* listener, TPort port) {
    for (int i = 0; i < kMaxAcceptsPerPass; ++i) {
        int fd = listener->Accept();
        if (fd < 0) return;
        ListOf(port).Append(new CSocket(this, fd));
        _trace->Log(2, "Accepted a connection on the %s port", PortName(port));
    }
}

// Reads and serves what is waiting on one socket. Returns the number of messages handled.
int CServerProcess::ServeSocket(CSocket* s, TPort port) {
    int handled = 0;
    // After the first message, read on only while the last receive may have left bytes
    // behind; anything arriving later shows in the next poll().
    for (int i = 0; i < kMaxMessagesPerPass && s->IsOpen() && (i == 0 || s->MayHaveMore()); ++i) {
        TIMsg msg;
        s->Use();
        int r = s->ReadMsg(&msg);
        s->Unuse();
        if (r == NO_MESSAGE_RESULT) break;
        if (r != 0) {
            DropBroken(s, port, r == SHORT_READ_RESULT ? "incomplete message" : "connection broken");
            break;
        }
        if (msg.h.kind != 1) {
            DropBroken(s, port, "garbage received");
            break;
        }
        ++handled;
        if (port == EVENTS_PORT) {
            // Clients only answer on their events socket; a reply arriving outside a call
            // of ours is late and is dropped.
            if (msg.h.function == 1)
                s->IsSocketManagementFtn(&msg, EVENTS_PORT);
            else
                _trace->Log(3, "Late reply dropped: function %d on interface %d", msg.h.function, msg.h.type);
            continue;
        }
        // EVENTS carries the client ID too: it names a call socket that sent no CONNECT.
        if (msg.h.function == 1 && msg.h.flag == MFTN_EVENTS) NameSocket(s, CALL_PORT, static_cast<int32_t>(msg.h.source));
        long result = ServeMsg(&msg, s, CALL_PORT);
        if (result == TIMEOUT_RESULT || result == CONNECTION_BROKEN || result == SHORT_WRITE_RESULT) {
            DropBroken(s, port, "reply not delivered");
            break;
        }
    }
    return handled;
}

long CServerProcess::PortManagement(CSocket* socket, TPort port, uint8_t code, long arg) {
    switch (code) {
    case MFTN_CONNECT:
        NameSocket(socket, port, arg);
        return 1;
    case MFTN_DISCONNECT:
        if (port == EVENTS_PORT)
            CloseEventsSocket(socket);
        else
            CloseCallsSocket(socket);
        return 1;
    default: {
        char desc[64];
        _trace->Log("Socket event %d on the %s port from %s ignored", code, PortName(port), socket->ClientDesc(desc));
        return 0;
    }
    }
}

void CServerProcess::CloseEventsSocket(CSocket* s) {
    char desc[64];
    _trace->Log("events socket closed (DISCONNECT_MFTN) %s", s->ClientDesc(desc));
    s->Close();
}

void CServerProcess::CloseCallsSocket(CSocket* s) {
    char desc[64];
    _trace->Log("call socket closed (DISCONNECT_MFTN) %s", s->ClientDesc(desc));
    s->Close();
}

// EVENTS from a client: serve whatever already waits on the events sockets. No waiting
// here, whatever the caller allows: the other clients' sockets are not being watched.
void CServerProcess::CheckEventsSocket(long) {
    ++_depth;
    for (CElement<CSocket, CSocket>* e = _eventsSockets.Head(); e; e = e->Next()) {
        CSocket* s = static_cast<CSocket*>(e);
        if (s->IsOpen() && s->WaitForSocketEvent(0) == CSocket::WAIT_DATA) ServeSocket(s, EVENTS_PORT);
    }
    --_depth;
}

CSocket* CServerProcess::OpenSocketOf(const CKVList<CSocket, CSocket>& list, long clientId) {
    for (CElement<CSocket, CSocket>* e = list.Head(); e; e = e->Next()) {
        CSocket* s = static_cast<CSocket*>(e);
        if (s->IsOpen() && s->ClientID() == clientId) return s;
    }
    return nullptr;
}

CSocket* CServerProcess::EventsSocketOf(long clientId) const { return OpenSocketOf(_eventsSockets, clientId); }

CSocket* CServerProcess::CallSocketOf(long clientId) const { return OpenSocketOf(_callSockets, clientId); }

int CServerProcess::ClientCount() const {
    std::set<long> ids;
    for (const CKVList<CSocket, CSocket>* list : {&_callSockets, &_eventsSockets})
        for (CElement<CSocket, CSocket>* e = list->Head(); e; e = e->Next()) {
            CSocket* s = static_cast<CSocket*>(e);
            if (s->IsOpen() && s->ClientID() != -1) ids.insert(s->ClientID());
        }
    return static_cast<int>(ids.size());
}

// A second socket of the same kind for a client ID means the client has reconnected
// before its old sockets were seen to close: the old pair goes, the new one takes over.
void CServerProcess::NameSocket(CSocket* s, TPort port, long clientId) {
    if (clientId == -1 || s->ClientID() == clientId) return;
    if (CSocket* old = OpenSocketOf(ListOf(port), clientId)) {
        char desc[64];
        _trace->Log("Client %d: new %s socket replaces %s", static_cast<int>(clientId), PortName(port),
                    old->ClientDesc(desc));
        for (CKVList<CSocket, CSocket>* list : {&_callSockets, &_eventsSockets})
            for (CElement<CSocket, CSocket>* e = list->Head(); e; e = e->Next()) {
                CSocket* o = static_cast<CSocket*>(e);
                if (o != s && o->ClientID() == clientId) o->Close();
            }
        if (_paired.erase(clientId)) ClientDisconnected(clientId);
    }
    s->SetClientID(clientId);
    if (CallSocketOf(clientId) && EventsSocketOf(clientId) && _paired.insert(clientId).second) {
        _trace->Log(2, "Client %d connected", static_cast<int>(clientId));
        ClientConnected(clientId);
    }
}

void CServerProcess::DropBroken(CSocket* s, TPort port, const char* why) {
    char desc[64];
    _trace->Log("Dropping %s on the %s port: %s", s->ClientDesc(desc), PortName(port), why);
    if (s->ClientID() != -1)
        DropClient(s->ClientID());
    else
        s->Close();
}

void CServerProcess::DropClient(long clientId) {
    if (clientId == -1) return;
    for (const CKVList<CSocket, CSocket>* list : {&_callSockets, &_eventsSockets})
        for (CElement<CSocket, CSocket>* e = list->Head(); e; e = e->Next()) {
            CSocket* s = static_cast<CSocket*>(e);
            if (s->ClientID() == clientId) s->Close();
        }
    if (_depth == 0) Sweep();
}

void CServerProcess::Sweep() {
    for (CKVList<CSocket, CSocket>* list : {&_callSockets, &_eventsSockets}) {
        CSocket* s = list->First();
        while (s) {
            if (s->IsOpen()) {
                s = list->Next();
                continue;
            }
            if (_served == s) _served = nullptr;
            s = list->Delete();
        }
    }
    std::vector<long> gone;
    for (long id : _paired)
        if (!CallSocketOf(id) || !EventsSocketOf(id)) gone.push_back(id);
    ++_depth;   // the hooks may drop clients; their sockets go in the next sweep
    for (long id : gone) {
        _paired.erase(id);
        _trace->Log(2, "Client %d disconnected", static_cast<int>(id));
        ClientDisconnected(id);
    }
    --_depth;
}

void CServerProcess::Shutdown() {
    for (CKVList<CSocket, CSocket>* list : {&_callSockets, &_eventsSockets})
        for (CElement<CSocket, CSocket>* e = list->Head(); e; e = e->Next()) {
            CSocket* s = static_cast<CSocket*>(e);
            if (s->IsOpen()) s->ManagementFtn(MFTN_SHUTDOWN, 0, 0);
        }
}
