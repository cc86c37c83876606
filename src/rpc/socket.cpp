// Framed TCP socket: whole-message writes, header-then-body reads, management messages.
#include "rpc/socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstring>

#include "rpc/process.h"
#include "rpc/tracelog.h"

namespace {

const char kFile[] = "Socket";
constexpr int kConnectWaitMs = 3000;
constexpr int kReadPauseMs = 50;
// A read gives up once its pauses add up to 20 of 50 ms, however often bytes trickle in.
constexpr long kReadStallMs = 20 * kReadPauseMs;
constexpr int kClientPingTries = 3;
constexpr int kClientPingWaitMs = 3000;
constexpr int kServerPingPasses = 51;

int PollMs(long ms) {
    if (ms < 0) return 0;
    return ms > INT_MAX ? INT_MAX : static_cast<int>(ms);
}

// poll() rather than select(): no FD_SETSIZE limit on the descriptor number. A signal
// ends the wait as a failure (-1, EINTR): a wait restarted with its whole time-out would
// never end while a periodic signal keeps coming.
int PollOne(int fd, short events, long ms, short* revents) {
    pollfd p{fd, events, 0};
    int r = poll(&p, 1, PollMs(ms));
    *revents = p.revents;
    return r;
}

long NowMs() {
    using namespace std::chrono;
    return static_cast<long>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

void BuildManagement(TIMsgHeader* h, uint8_t code, long a, long b) {
    std::memset(h, 0, sizeof *h);
    h->kind = 1;
    h->flag = code;
    h->function = 1;
    h->source = static_cast<uint32_t>(a);
    h->destination = static_cast<uint32_t>(b);
}

bool IsPong(const TIMsg& m, uint32_t a, uint32_t b) {
    return m.h.function == 1 && m.h.flag == MFTN_PONG && m.h.source == a && m.h.destination == b;
}

// Raises the use count for the duration of one socket operation.
class CInUse {
public:
    explicit CInUse(CSocket* s) : _s(s) { _s->Use(); }
    ~CInUse() { _s->Unuse(); }
    CInUse(const CInUse&) = delete;
    CInUse& operator=(const CInUse&) = delete;

private:
    CSocket* _s;
};

}  // namespace

CSocketMsg::CSocketMsg(const TIMsg* m) {
    int len = m->h.length > kMsgDataSize ? kMsgDataSize : m->h.length;
    std::memset(&_msg, 0, sizeof _msg);
    std::memcpy(&_msg, m, kMsgHeaderSize + len);
    _msg.h.length = static_cast<uint16_t>(len);
    _queued.Now();
}

// ---------------------------------------------------------------- CSocket

CSocket::CSocket(CProcess* process, const CStr& host, unsigned short port, void* user1, void* user2,
                 unsigned int userWord, bool queued, int type)
    : _parent(process), _fd(-1), _lastError(0), _synchronous(0), _host(host), _port(port),
      _user1(user1), _user2(user2), _userWord(userWord), _queued(queued), _type(type), _useCount(0),
      _pingState(PING_IDLE), _clientId(-1) {}

// An accepted connection is ready for use: non-blocking, and synchronous so that calls
// made over it can wait for their replies.
CSocket::CSocket(CProcess* process, int descriptor, void* user, bool queued, int type)
    : _parent(process), _fd(descriptor), _lastError(0), _synchronous(1), _port(0), _user1(user),
      _user2(nullptr), _userWord(0), _queued(queued), _type(type), _useCount(0), _pingState(PING_IDLE),
      _clientId(-1) {
    if (_fd >= 0) SetNonBlocking();
}

CSocket::~CSocket() { Close(); }

void CSocket::Close() {
    if (_fd >= 0) ::close(_fd);
    _fd = -1;
    _pingState = PING_IDLE;
    _rxBegin = _rxEnd = 0;   // what was received over the old connection is gone with it
    _rxDrained = false;
    _waitInReceive = false;
    _receiveTimeoutMs = 0;
}

void CSocket::SaveError(int line, const char* file) {
    _lastError = errno;
    if (CLog* t = _parent.Trace()) t->Error(line, file, "errno = %s [%d]", strerror(_lastError), _lastError);
}

bool CSocket::SetNonBlocking() {
    int flags = fcntl(_fd, F_GETFL, 0);
    if (flags < 0 || fcntl(_fd, F_SETFL, flags | O_NONBLOCK) < 0) {
        SaveError(__LINE__, kFile);
        return false;
    }
    return true;
}

bool CSocket::SetSocketOptions() {
    // Linger on with time 0: a close resets the connection at once. The log line has always
    // said "off"; it is kept as it is.
    linger l{1, 0};
    if (setsockopt(_fd, SOL_SOCKET, SO_LINGER, &l, sizeof l) < 0) {
        SaveError(__LINE__, kFile);
        return false;
    }
    KV_TRACE(_parent, 2, "Socket SO_LINGER = off");
    int size = 0;
    socklen_t len = sizeof size;
    if (getsockopt(_fd, SOL_SOCKET, SO_RCVBUF, &size, &len) < 0) {
        SaveError(__LINE__, kFile);
        return false;
    }
    KV_TRACE(_parent, "Socket SO_RCVBUF = %d", size);
    len = sizeof size;
    if (getsockopt(_fd, SOL_SOCKET, SO_SNDBUF, &size, &len) < 0) {
        SaveError(__LINE__, kFile);
        return false;
    }
    KV_TRACE(_parent, "Socket SO_SNDBUF = %d", size);
    return true;
}

// IPv4; stream over TCP for type 1, datagram over UDP otherwise.
bool CSocket::NewDescriptor() {
    bool stream = _type == 1;
    _fd = socket(AF_INET, stream ? SOCK_STREAM : SOCK_DGRAM, stream ? IPPROTO_TCP : IPPROTO_UDP);
    if (_fd >= 0) return true;
    SaveError(__LINE__, kFile);
    _fd = -1;
    return false;
}

bool CSocket::Open() {
    Close();
    _lastError = 0;
    _synchronous = 1;
    if (_host.Length() == 0) return false;
    KV_TRACE(_parent, "Opening port %d on %s", _port, static_cast<char*>(_host));

    if (!NewDescriptor()) return false;
    bool stream = _type == 1;
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = stream ? SOCK_STREAM : SOCK_DGRAM;
    hints.ai_protocol = stream ? IPPROTO_TCP : IPPROTO_UDP;
    char service[16];
    std::snprintf(service, sizeof service, "%d", _port);
    addrinfo* found = nullptr;
    int g = getaddrinfo(static_cast<char*>(_host), service, &hints, &found);
    if (g != 0 || !found) {
        if (CLog* t = _parent.Trace())
            t->Error(__LINE__, kFile, "getaddrinfo %s: %s", static_cast<char*>(_host), gai_strerror(g));
        if (found) freeaddrinfo(found);
        Close();
        return false;
    }
    if (!SetNonBlocking()) {
        freeaddrinfo(found);
        Close();
        return false;
    }
    int c = connect(_fd, found->ai_addr, found->ai_addrlen);
    int e = errno;
    freeaddrinfo(found);
    if (c < 0) {
        if (e != EINPROGRESS) {
            errno = e;
            SaveError(__LINE__, kFile);
            Close();
            return false;
        }
        if (CanWrite(kConnectWaitMs) != 1) {
            if (_lastError == 0) {
                errno = ETIMEDOUT;
                SaveError(__LINE__, kFile);
            }
            Close();
            return false;
        }
        // Writability alone also signals a refused connection: ask for the outcome.
        int soError = 0;
        socklen_t len = sizeof soError;
        if (getsockopt(_fd, SOL_SOCKET, SO_ERROR, &soError, &len) < 0 || soError != 0) {
            if (soError != 0) errno = soError;
            SaveError(__LINE__, kFile);
            Close();
            return false;
        }
    }
    if (!SetSocketOptions()) {
        Close();
        return false;
    }
    // Connected: from here on the calls that must not block ask for it one by one.
    int flags = stream ? fcntl(_fd, F_GETFL, 0) : -1;
    _waitInReceive = flags >= 0 && fcntl(_fd, F_SETFL, flags & ~O_NONBLOCK) == 0;
    return true;
}

int CSocket::CanWrite(long ms) {
    if (_fd < 0) return -1;
    short rev = 0;
    int r = PollOne(_fd, POLLOUT, ms, &rev);
    if (r == 0) return 0;
    if (r > 0 && (rev & POLLOUT)) return 1;
    if (r > 0) errno = (rev & POLLHUP) ? EPIPE : ECONNRESET;
    SaveError(__LINE__, kFile);
    return -1;
}

long CSocket::TakeBuffered(char* to, long n) {
    long k = Buffered() < n ? Buffered() : n;
    std::memcpy(to, _rx + _rxBegin, static_cast<size_t>(k));
    _rxBegin += static_cast<int>(k);
    _rxTaken += static_cast<uint32_t>(k);
    if (_rxBegin == _rxEnd) _rxBegin = _rxEnd = 0;
    return k;
}

// One receive into the empty buffer, without waiting.
long CSocket::Receive() {
    ssize_t r = recv(_fd, _rx, sizeof _rx, MSG_DONTWAIT);
    if (r > 0) {
        _rxEnd = static_cast<int>(r);
        _rxDrained = r < static_cast<ssize_t>(sizeof _rx);
    } else if (r < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        _rxDrained = true;
    }
    return r;
}

// Bytes already buffered are taken first; the system is asked only for what is missing,
// and then for as much as the buffer holds.
long CSocket::Read(void* buf, long n, bool wait) {
    if (_fd < 0) return -1;
    if (n <= 0) return 0;
    CInUse use(this);
    char* p = static_cast<char*>(buf);
    long got = TakeBuffered(p, n);
    if (got == n) return n;
    long stallEnd = 0;   // set at the first pause
    for (;;) {
        // The buffer is empty here: a read that is still short has taken all of it.
        long r = Receive();
        if (r > 0) {
            got += TakeBuffered(p + got, n - got);
            if (got == n) return n;
            continue;
        }
        if (r == 0) {
            errno = ENOTCONN;   // the peer closed the connection
            SaveError(__LINE__, kFile);
            return -1;
        }
        int e = errno;
        if (e == ENOTSOCK || e == EBADF || e == ENOTCONN || e == EINTR) return -1;
        if (e != EAGAIN && e != EWOULDBLOCK) return -2;
        if (!wait && got == 0) return 0;
        long now = NowMs();
        if (stallEnd == 0) stallEnd = now + kReadStallMs;
        if (now >= stallEnd) return got;
        // A pause of at most 50 ms that ends early when more bytes arrive.
        short rev = 0;
        PollOne(_fd, POLLIN, stallEnd - now < kReadPauseMs ? stallEnd - now : kReadPauseMs, &rev);
    }
}

long CSocket::Write(const void* buf, long n, bool) {
    if (_fd < 0) return -1;
    CInUse use(this);
    // MSG_NOSIGNAL: a peer that has gone away yields EPIPE, never SIGPIPE.
    ssize_t r = send(_fd, buf, static_cast<size_t>(n), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (r >= 0) return r;
    switch (errno) {
    case EAGAIN:
#if EWOULDBLOCK != EAGAIN
    case EWOULDBLOCK:
#endif
        return 0;
    case EINTR: case EBADF: case EMSGSIZE: case ENOTSOCK: case ENOTCONN: case ENOBUFS: case EPIPE:
        SaveError(__LINE__, kFile);
        return -1;
    default:
        return -2;
    }
}

long CSocket::BytesInRxBuff() {
    if (_fd < 0) return -1;
    int n = 0;
    if (ioctl(_fd, FIONREAD, &n) < 0) {
        SaveError(__LINE__, kFile);
        return -1;
    }
    return n + Buffered();
}

int CSocket::Flush() {
    long n = BytesInRxBuff();
    if (n < 0) return -1;
    n -= Buffered();
    _rxBegin = _rxEnd = 0;
    char sink[512];
    while (n > 0) {
        ssize_t r = recv(_fd, sink, n < static_cast<long>(sizeof sink) ? static_cast<size_t>(n) : sizeof sink,
                         MSG_DONTWAIT);
        if (r == 0) break;
        if (r < 0) {
            if (errno == EAGAIN || errno == EWOULDBLOCK) break;
            SaveError(__LINE__, kFile);
            return -1;
        }
        n -= r;
    }
    return 0;
}

int CSocket::WaitForSocketEvent(long ms, CSocket** which, bool, bool) {
    if (_fd < 0) return WAIT_FAILED;
    if (!_synchronous) return WAIT_NOT_SYNCHRONOUS;
    if (Buffered() > 0) {   // received already: the system would not report it again
        if (which) *which = this;
        return WAIT_DATA;
    }
    if (_waitInReceive && ms > 0) {
        int w = WaitByReceiving(ms);
        if (w >= 0) {
            if (w == WAIT_DATA && which) *which = this;
            return w;
        }
    }
    short rev = 0;
    int r = PollOne(_fd, POLLIN | POLLPRI, ms, &rev);
    if (r < 0) {
        SaveError(__LINE__, kFile);
        return WAIT_FAILED;
    }
    if (r == 0) return WAIT_TIMEOUT;
    // As with select(), a pending error or hang-up counts as readable: the read reports it.
    if (rev & (POLLIN | POLLHUP | POLLERR)) {
        if (which) *which = this;
        return WAIT_DATA;
    }
    if (rev & POLLPRI) {
        Close();
        return WAIT_EXCEPTION;
    }
    return WAIT_FAILED;
}

// The wait of a blocking connection: one receive into the empty buffer that returns when
// bytes arrive, the peer closes (the read that follows reports it) or the time-out passes.
// A signal fails the wait, as it fails poll(). -1 leaves the wait to poll(): no time-out
// to be had.
int CSocket::WaitByReceiving(long ms) {
    if (ms != _receiveTimeoutMs) {
        timeval tv{static_cast<time_t>(ms / 1000), static_cast<suseconds_t>(ms % 1000 * 1000)};
        if (setsockopt(_fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv) < 0) return -1;
        _receiveTimeoutMs = ms;
    }
    CInUse use(this);
    _rxBegin = 0;
    ssize_t r = recv(_fd, _rx, sizeof _rx, 0);
    if (r > 0) {
        _rxEnd = static_cast<int>(r);
        _rxDrained = r < static_cast<ssize_t>(sizeof _rx);
        return WAIT_DATA;
    }
    if (r == 0) return WAIT_DATA;
    if (errno == EAGAIN || errno == EWOULDBLOCK) return WAIT_TIMEOUT;
    if (errno == EINTR) {
        SaveError(__LINE__, kFile);
        return WAIT_FAILED;
    }
    return WAIT_DATA;   // as poll() would report an error: the read that follows meets it
}

int CSocket::ReadMsg(TIMsg* msg) {
    long r = Read(msg, kMsgHeaderSize, false);
    if (r == 0) return NO_MESSAGE_RESULT;
    if (r < 0) return CONNECTION_BROKEN;
    if (r != kMsgHeaderSize) {
        KV_TRACE(_parent, "Error on hdr read, expecting %d, read %d.", kMsgHeaderSize, static_cast<int>(r));
        return SHORT_READ_RESULT;
    }
    int len = msg->h.length;
    if (len > kMsgDataSize) {
        // No body can be that long, so nothing after this header can be framed again: the
        // connection is shut down and reported as broken. The descriptor stays, so the
        // socket still counts as open and its users meet -14 and reconnect.
        KV_TRACE(_parent, "Bad message length %d, connection shut down.", len);
        _rxBegin = _rxEnd = 0;
        shutdown(_fd, SHUT_RDWR);
        return CONNECTION_BROKEN;
    }
    if (len > 0) {
        r = Read(msg->data, len, true);
        if (r < 0) return CONNECTION_BROKEN;
        if (r != len) {
            // The expected count printed is the header size; the log has always read so.
            KV_TRACE(_parent, "Error on body read, expecting %d, read %d.", kMsgHeaderSize, static_cast<int>(r));
            return SHORT_READ_RESULT;
        }
    }
    _rxTimer.Start();
    return 0;
}

int CSocket::Send(TIMsg* msg) {
    if (msg->h.length > kMsgDataSize) return SHORT_WRITE_RESULT;
    CInUse use(this);
    long size = msg->WireSize();
    if (!_queued) return WriteWhole(msg, size);
    int r = WriteFlush();
    if (r == NO_MESSAGE_RESULT) {
        _queue.Append(new CSocketMsg(msg));
        return 0;
    }
    if (r != 0) return r;
    long n = Write(msg, size);
    if (n == size) return 0;
    if (n < 0) return CONNECTION_BROKEN;
    if (n > 0) return SHORT_WRITE_RESULT;
    _queue.Append(new CSocketMsg(msg));
    return 0;
}

int CSocket::WriteFlush() {
    long timeout = _parent.CallTimeout();
    if (timeout < 0) timeout = 0;
    while (CSocketMsg* head = _queue.First()) {
        long size = head->_msg.WireSize();
        long n = Write(&head->_msg, size);
        if (n < 0) return CONNECTION_BROKEN;
        if (n > 0 && n < size) {
            _queue.Delete();   // its tail can no longer follow its head on the wire
            return SHORT_WRITE_RESULT;
        }
        if (n == 0 && head->_queued.MilliSecondsElapsed() <= static_cast<uint64_t>(timeout))
            return NO_MESSAGE_RESULT;
        _queue.Delete();   // written, or too old to be worth sending
    }
    return 0;
}

// One write of the whole buffer. Only when the system has no room for it at all does the
// socket wait, at most the write timeout, for room, and write once more.
int CSocket::WriteWhole(const void* buf, long n) {
    long written = Write(buf, n);
    if (written == 0) {
        int w = CanWrite(_parent.WriteTimeout());
        if (w < 0) return CONNECTION_BROKEN;
        if (w == 0) return TIMEOUT_RESULT;
        written = Write(buf, n);
    }
    if (written < 0) return CONNECTION_BROKEN;
    if (written < n) return SHORT_WRITE_RESULT;
    return 0;
}

int CSocket::ManagementFtn(uint8_t code, long a, long b) {
    TIMsgHeader h;
    BuildManagement(&h, code, a, b);
    return WriteWhole(&h, kMsgHeaderSize);
}

bool CSocket::IsSocketDisconnectedFtn(const TIMsg* msg) {
    return msg->h.function == 1 && msg->h.flag == MFTN_DISCONNECT;
}

bool CSocket::IsSocketManagementFtn(TIMsg* msg, TPort port) {
    if (msg->h.function != 1) return false;
    long a = static_cast<int32_t>(msg->h.source);
    long b = static_cast<int32_t>(msg->h.destination);
    CProcess* process = _parent.Parent();
    switch (msg->h.flag) {
    case MFTN_PING:
        ManagementFtn(MFTN_PONG, b, a);
        break;
    case MFTN_PONG:
        _pingState = PING_ANSWERED;
        _pingTimer.Start();
        break;
    case MFTN_EVENTS:
        if (port != EVENTS_PORT && process) process->CheckEventsSocket(100);
        break;
    case MFTN_SHUTDOWN:
        KV_TRACE(_parent, "Shutdown in CSocket::IsSocketManagementFtn");
        if (process && process->ShutdownWithServer()) {
            KV_TRACE(_parent, "Shutting down parent");
            process->SetRunning(false);
        }
        break;
    default:
        // The codes the process handles count as handled when it says so.
        return process && process->PortManagement(this, port, msg->h.flag, a) != 0;
    }
    return true;
}

bool CSocket::CWaiting::More() {
    uint32_t taken = _s._rxTaken - _start;
    if (_limit < 0) {
        long b = _s.BytesInRxBuff();
        _limit = taken + (b > 0 ? b : 0);
    }
    return taken < static_cast<unsigned long>(_limit);
}

int CSocket::CheckForManagementFtn() {
    TIMsg msg;
    CWaiting waiting(*this);
    do {
        int r = ReadMsg(&msg);
        if (r == NO_MESSAGE_RESULT) return 0;
        if (r != 0) return r;
        IsSocketManagementFtn(&msg, CALL_PORT);
        CProcess* process = _parent.Parent();
        if (process && !process->Running()) {
            process->ServerLogoff();
            return NO_SESSION_RESULT;
        }
    } while (waiting.More());
    return 0;
}

int CSocket::Ping(long a, long b) {
    Flush();
    int r = ManagementFtn(MFTN_PING, a, b);
    if (r == 0) {
        _pingState = PING_SENT;
        _pingTimer.Start();
    }
    return r;
}

int CSocket::ClientPing(unsigned long clientId) {
    int r = Ping(static_cast<long>(clientId), 0);
    if (r != 0) return r;
    TIMsg msg;
    for (int i = 0; i < kClientPingTries; ++i) {
        if (WaitForSocketEvent(kClientPingWaitMs) != WAIT_DATA) return CONNECTION_BROKEN;
        r = ReadMsg(&msg);
        if (r != 0 && r != NO_MESSAGE_RESULT) return r;
        if (r == 0 && IsPong(msg, 0, static_cast<uint32_t>(clientId))) {
            _pingState = PING_ANSWERED;
            _pingTimer.Start();
            return 0;
        }
    }
    return CONNECTION_BROKEN;
}

int CSocket::ServerPing(unsigned long id) {
    int r = Ping(0, static_cast<long>(id));
    if (r != 0) return r;
    TIMsg msg;
    for (int i = 0; i < kServerPingPasses; ++i) {
        r = ReadMsg(&msg);
        if (r == NO_MESSAGE_RESULT) {
            short rev = 0;
            PollOne(_fd, POLLIN, kReadPauseMs, &rev);
            continue;
        }
        if (r != 0) return r;
        if (IsPong(msg, static_cast<uint32_t>(id), 0)) {
            _pingState = PING_ANSWERED;
            _pingTimer.Start();
            return 0;
        }
    }
    return CONNECTION_BROKEN;
}

char* CSocket::ClientDesc(char* buf) const {
    constexpr size_t kSize = 64;
    if (_clientId < 1)
        std::snprintf(buf, kSize, "< Server >");
    else if (_clientId >= 200 && _clientId <= 216)
        std::snprintf(buf, kSize, "< Driver >");
    else if (_clientName.Length() > 0)
        std::snprintf(buf, kSize, "< Client %d [%s] >", static_cast<int>(_clientId), static_cast<char*>(_clientName));
    else
        std::snprintf(buf, kSize, "< Client %d >", static_cast<int>(_clientId));
    return buf;
}

void CSocket::AddObjectEvent(int event, void* data) {
    if (CProcess* process = _parent.Parent()) process->AddObjectEvent(event, data);
}

// ---------------------------------------------------------------- CServerSocket

CServerSocket::CServerSocket(CProcess* process, unsigned short port, bool queued, int type, void* user)
    : CSocket(process, CStr(""), port, user, nullptr, 0, queued, type) {}

bool CServerSocket::Open() {
    Close();
    _lastError = 0;
    _synchronous = 1;
    if (!NewDescriptor()) return false;
    bool stream = _type == 1;
    int one = 1;
    if (setsockopt(_fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one) < 0) {
        SaveError(__LINE__, kFile);
        Close();
        return false;
    }
    // Every interface, loopback included.
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_ANY);
    addr.sin_port = htons(_port);
    if (bind(_fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) < 0 || (stream && listen(_fd, 128) < 0)) {
        SaveError(__LINE__, kFile);
        Close();
        return false;
    }
    if (!SetNonBlocking() || !SetSocketOptions()) {
        Close();
        return false;
    }
    return true;
}

int CServerSocket::WaitForSocketEvent(long ms, CSocket** which, bool a, bool b) {
    return CSocket::WaitForSocketEvent(ms, which, a, b);
}

long CServerSocket::BytesInRxBuff() { return _type == 2 ? CSocket::BytesInRxBuff() : 0; }

int CServerSocket::Accept() {
    if (_fd < 0) return -1;
    int fd;
    do {
        fd = accept(_fd, nullptr, nullptr);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != ECONNABORTED) SaveError(__LINE__, kFile);
    return fd;
}

unsigned short CServerSocket::BoundPort() const {
    if (_fd < 0) return _port;
    sockaddr_in addr{};
    socklen_t len = sizeof addr;
    if (getsockname(_fd, reinterpret_cast<sockaddr*>(&addr), &len) < 0) return _port;
    return ntohs(addr.sin_port);
}

// ---------------------------------------------------------------- CSocketLog

CSocketLog::CSocketLog(CProcess* process, unsigned short port) : CServerSocket(process, port) {}

CSocketLog::~CSocketLog() = default;

bool CSocketLog::OpenLogPort(unsigned short port) {
    _port = port;
    return Open();
}

void CSocketLog::CheckForLogClients() {
    if (!IsOpen()) return;
    for (int fd = Accept(); fd >= 0; fd = Accept()) {
        // Watchers have no process: a failing write must not log, which would
        // come straight back here through the log being written.
        CSocket* watcher = new CSocket(nullptr, fd);
        sockaddr_in addr{};
        socklen_t len = sizeof addr;
        char name[32] = "";
        if (getpeername(fd, reinterpret_cast<sockaddr*>(&addr), &len) == 0) {
            const unsigned char* b = reinterpret_cast<const unsigned char*>(&addr.sin_addr.s_addr);
            std::snprintf(name, sizeof name, "%d.%d.%d.%d", b[0], b[1], b[2], b[3]);
        }
        watcher->SetClientName(name);
        _clients.Append(watcher);
        KV_TRACE(_parent, "Logging client accepted.");
    }
}

void CSocketLog::SocketOutput(const char* text) {
    if (_inOutput || !text) return;
    _inOutput = true;
    long n = static_cast<long>(std::strlen(text));
    CSocket* c = _clients.First();
    while (c) {
        if (c->Write(text, n) < 0)
            c = _clients.Delete();
        else
            c = _clients.Next();
    }
    _inOutput = false;
}

CWatchedLog::CWatchedLog(CProcess* process, unsigned short port, const char* name, const char* title,
                         short stampMode, long maxSize, short archives, bool header, bool keepOpen)
    : CLog(name, title, stampMode, maxSize, archives, header, keepOpen), _port(process, port) {
    if (_port.OpenLogPort(port)) SetToClients(true);
}
