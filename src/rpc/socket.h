// CSocket: one TCP connection carrying TIMsg messages: non-blocking open, whole-message
// writes (direct or queued), header-then-body reads, and the management messages
// (CONNECT, PING, PONG, EVENTS, SHUTDOWN ...) that keep a connection alive.
// CServerSocket: a listening socket. CSocketLog: a listening socket feeding log watchers.
#pragma once
#include <cstdint>
#include "foundation/date.h"
#include "foundation/list.h"
#include "foundation/log.h"
#include "foundation/parent.h"
#include "foundation/str.h"
#include "foundation/timer.h"
#include "rpc/message.h"

class CProcess;

class CSocketMsg : public CElement<CSocketMsg, CSocketMsg> {
public:
    explicit CSocketMsg(const TIMsg* m);
    ~CSocketMsg() override = default;
    TIMsg _msg;
    CDate _queued;         // when queued; a message older than the call timeout is dropped unsent
};

class CSocket : public CElement<CSocket, CSocket> {
public:
    enum WaitEvents {
        WAIT_FAILED = 0, WAIT_OBJECT_EVENT = 1, WAIT_TIMEOUT = 2, WAIT_DATA = 3,
        WAIT_NOT_SYNCHRONOUS = 4, WAIT_EXCEPTION = 8,
    };
    enum PingState { PING_IDLE = 0, PING_SENT = 1, PING_ANSWERED = 2 };

    // Outgoing connection (type 1 stream/TCP, else datagram/UDP).
    CSocket(CProcess* process, const CStr& host, unsigned short port, void* user1 = nullptr,
            void* user2 = nullptr, unsigned int userWord = 0, bool queued = false, int type = 1);
    // Accepted connection.
    CSocket(CProcess* process, int descriptor, void* user = nullptr, bool queued = false, int type = 1);
    ~CSocket() override;
    CSocket(const CSocket&) = delete;
    CSocket& operator=(const CSocket&) = delete;

    virtual bool Open();
    virtual int CanWrite(long ms);                           // 1 writable, 0 timeout, -1 error/closed
    virtual long Read(void* buf, long n, bool wait);
    virtual long Write(const void* buf, long n, bool = false);
    virtual int WaitForSocketEvent(long ms, CSocket** which = nullptr, bool = false, bool = false);
    virtual int Flush();
    virtual long BytesInRxBuff();

    void Close();
    bool IsOpen() const { return _fd >= 0; }
    // Bytes received from the system but not yet taken by a read.
    long Buffered() const { return _rxEnd - _rxBegin; }
    // False when nothing is buffered and the last receive left nothing behind in the
    // system: a further read now would find nothing, short of new bytes arriving.
    bool MayHaveMore() const { return Buffered() > 0 || !_rxDrained; }
    int Descriptor() const { return _fd; }
    bool Synchronous() const { return _synchronous != 0; }
    void SetSynchronous(bool on) { _synchronous = on ? 1 : 0; }
    bool SetNonBlocking();
    bool SetSocketOptions();
    void SaveError(int line, const char* file);
    int LastError() const { return _lastError; }

    int ReadMsg(TIMsg* msg);                                 // 0, -14, -15, -16
    int Send(TIMsg* msg);                                    // 0, -13, -14, -17
    int WriteFlush();
    int ManagementFtn(uint8_t code, long a, long b);
    // False for calls and replies; true for a management message, which has been handled.
    bool IsSocketManagementFtn(TIMsg* msg, TPort port);
    static bool IsSocketDisconnectedFtn(const TIMsg* msg);
    int CheckForManagementFtn();
    // What was waiting when the first message of a series was read: a reader that takes
    // that much and no more is never held by a peer that keeps sending.
    class CWaiting {
    public:
        explicit CWaiting(CSocket& s) : _s(s), _start(s._rxTaken) {}
        bool More();     // after each message read: true while some of it is left

    private:
        CSocket& _s;
        uint32_t _start;
        long _limit = -1;
    };
    int Ping(long a, long b);
    int ClientPing(unsigned long clientId);
    int ServerPing(unsigned long id);
    char* ClientDesc(char* buf) const;                       // buf of at least 64 bytes
    void AddObjectEvent(int event, void* data);

    // Use count: raised around each socket operation, so housekeeping can see a busy socket.
    void Use() { if (_useCount < 100) ++_useCount; }
    void Unuse() { if (_useCount > 0) --_useCount; }
    unsigned UseCount() const { return _useCount; }

    const CStr& Host() const { return _host; }
    unsigned short Port() const { return _port; }
    void SetPort(unsigned short p) { _port = p; }
    long ClientID() const { return _clientId; }
    void SetClientID(long id) { _clientId = id; }
    void SetClientName(const CStr& n) { _clientName = n; }
    int PingStateValue() const { return _pingState; }
    const CTimer& PingTimer() const { return _pingTimer; }
    const CTimer& ReceiveTimer() const { return _rxTimer; }
    int QueuedCount() const { return _queue.Items(); }
    // A served socket may be marked to close once the current call is answered.
    bool _closeAfterCall = false;
    CParent _parent;

protected:
    bool NewDescriptor();
    long TakeBuffered(char* to, long n);
    long Receive();
    int WriteWhole(const void* buf, long n);                 // 0, -13, -14, -17

    int _fd;
    int _lastError;
    int _synchronous;
    CStr _host;
    unsigned short _port;
    void* _user1;
    void* _user2;
    unsigned int _userWord;
    bool _queued;
    CKVList<CSocketMsg, CSocketMsg> _queue;
    int _type;
    unsigned _useCount;
    int _pingState;
    CTimer _pingTimer;
    CTimer _rxTimer;
    CStr _clientName;
    long _clientId;

private:
    // One receive takes whatever the system holds, up to this room, so a header and its
    // body, or several small messages, cost one system call. Every read goes through it.
    static constexpr int kRxRoom = 4096;
    char _rx[kRxRoom];
    int _rxBegin = 0;
    int _rxEnd = 0;
    bool _rxDrained = false;
    uint32_t _rxTaken = 0;   // bytes taken by reads, wrapping
    // An outgoing connection is left blocking once connected, and every read and write
    // that must not wait says so itself: a wait for data is then the receive itself, with
    // the time-out as the receive time-out, and costs no poll().
    bool _waitInReceive = false;
    long _receiveTimeoutMs = 0;
    int WaitByReceiving(long ms);
};

class CServerSocket : public CSocket {
public:
    CServerSocket(CProcess* process, unsigned short port, bool queued = false, int type = 1, void* user = nullptr);
    bool Open() override;                                    // bind, listen(128), non-blocking
    int CanWrite(long) override { return 0; }
    long Read(void*, long, bool) override { return -1; }
    long Write(const void*, long, bool = false) override { return -1; }
    int WaitForSocketEvent(long ms, CSocket** which = nullptr, bool = false, bool = false) override;
    int Flush() override { return -1; }
    long BytesInRxBuff() override;
    int Accept();                                            // a new descriptor, or -1
    unsigned short BoundPort() const;                        // the port actually bound (port 0 picks one)
};

class CSocketLog : public CServerSocket {
public:
    CSocketLog(CProcess* process, unsigned short port);
    ~CSocketLog() override;
    bool OpenLogPort(unsigned short port);
    void CheckForLogClients();
    void SocketOutput(const char* text);
    int PortNo() const { return BoundPort(); }
    int ClientCount() const { return _clients.Items(); }

private:
    CKVList<CSocket, CSocket> _clients;
    bool _inOutput = false;
};

// A log whose lines also go to the TCP watchers of its own log port.
class CWatchedLog : public CLog {
public:
    CWatchedLog(CProcess* process, unsigned short port, const char* name, const char* title,
                short stampMode, long maxSize, short archives, bool header, bool keepOpen);
    void SocketOutput(const char* text) override { _port.SocketOutput(text); }
    void CheckForLogClients() override { _port.CheckForLogClients(); }
    int PortNo() override { return _port.PortNo(); }
    CSocketLog& LogPort() { return _port; }

private:
    CSocketLog _port;
};
