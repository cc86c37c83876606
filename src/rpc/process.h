// CProcess: owns a program's connections, timers, logs and watchdog, and runs its main loop.
// CClientProcess: the client form (call socket + events socket to one server).
// CServerProcess: the server form (listening call and events ports, many clients).
#pragma once
#include <poll.h>

#include <cstdint>
#include <set>
#include <vector>
#include "foundation/ini.h"
#include "foundation/list.h"
#include "foundation/log.h"
#include "foundation/str.h"
#include "foundation/timer.h"
#include "rpc/interface.h"
#include "rpc/message.h"
#include "rpc/socket.h"

class CWatchDog {
public:
    explicit CWatchDog(CProcess* process);
    void TurnOn(short on);
    void TurnOff() {}
    void Kick() {}
    void Ping(long warnMs, long timeoutMs, short on);
    void Check(long port, bool = false);
    void SetLeds(bool) {}
    bool PowerGood() const { return true; }
    char* GetVersion(char* buf, int size) const;
    void Close();

private:
    CParent _parent;
    long _warnMs;
    long _timeoutMs;
    short _on;
    CTimer _timer;
};

class CProcess {
public:
    // Settings from section "Server" of the INI file.
    CProcess(const char* logName, const char* banner, const char* iniName, long clientId);
    // Settings as given.
    CProcess(const char* logName, const char* banner, const char* server, unsigned short callPort,
             unsigned short eventsPort, long callTimeout, long clientId);
    virtual ~CProcess();
    CProcess(const CProcess&) = delete;
    CProcess& operator=(const CProcess&) = delete;

    // Virtual operations, in slot order.
    virtual void MainLoopInner() = 0;
    virtual long PortManagement(CSocket* socket, TPort port, uint8_t code, long arg) = 0;
    virtual void ObjectEvent(int event) { (void)event; }
    virtual void CheckEventsSocket(long ms) { (void)ms; }
    virtual void ErrorObjectEvent() {}
    virtual void CloseEventsSocket(CSocket*) {}
    virtual void CloseCallsSocket(CSocket*) {}
    virtual long Reconnect() { return 0; }
    virtual long Disconnect() { return 0; }
    virtual long ServerLogoff() { return 0; }

    void InitLog();                                          // section "Log" of the INI file
    void MainLoop() { MainLoopInner(); }
    long GetMsg(CSocket* socket, TPort port);                // serve one incoming call
    // The serving half of GetMsg, for a message already read from the socket.
    long ServeMsg(TIMsg* msg, CSocket* socket, TPort port);
    long ProcessMsg(TIMsg* msg, CSocket* socket);            // find the serving interface, run it
    void AddInterface(CInterface* i) { _interfaces.Append(i); }
    CKVList<CInterface, CInterface>& Interfaces() { return _interfaces; }

    CTimer* StartTimer(long ms, short number, short kind, unsigned long owner, CTimerTarget* target = nullptr);
    bool StopTimer(short number, short kind, unsigned long owner);
    int CheckTimers();                                       // fires at most 25 per pass
    void DumpTimers(const char* title);
    int TimerCount() const { return _timers.Items(); }

    char* ClientDesc(char* buf) const;
    long CallingClientID() const;
    virtual void AddObjectEvent(int event, void* data) { (void)event; (void)data; }

    bool Running() const { return _running != 0; }
    void SetRunning(bool on) { _running = on ? 1 : 0; }
    bool Exited() const { return _exited != 0; }
    long ClientID() const { return _clientId; }
    CLog* Trace() const { return _trace; }
    CLog* Alarms() const { return _alarms; }
    CINIFile* Ini() const { return _ini; }
    CWatchDog& WatchDog() { return _watchDog; }
    const CStr& Host() const { return _host; }
    unsigned short CallPort() const { return _callPort; }
    unsigned short EventsPort() const { return _eventsPort; }
    long CallTimeout() const { return _callTimeout; }
    void SetCallTimeout(long ms) { _callTimeout = ms; }
    bool ShutdownWithServer() const { return _shutdownWithServer != 0; }
    void SetShutdownWithServer(bool on) { _shutdownWithServer = on ? 1 : 0; }
    bool LogBrokenConnection() const { return _logBroken != 0; }
    void SetLogBrokenConnection(bool on) { _logBroken = on ? 1 : 0; }
    CSocket* ServedSocket() const { return _served; }

protected:
    uint8_t _running;
    uint8_t _exited;
    CKVList<CInterface, CInterface> _interfaces;
    CKVList<CTimer, CTimer> _timers;
    long _clientId;
    CLog* _trace;
    CLog* _alarms;
    CWatchDog _watchDog;
    CINIFile* _ini;
    CStr _host;
    unsigned short _callPort;
    unsigned short _eventsPort;
    long _callTimeout;
    uint8_t _shutdownWithServer;
    uint8_t _logBroken;
    CSocket* _served;

private:
    void OpenLogs(const char* logName, const char* banner);
    void SetHost(const CStr& name);
    CTimer* FindTimer(short number, short kind, unsigned long owner) const;
};

class CClientProcess : public CProcess {
public:
    CClientProcess(const char* logName, const char* banner, const char* iniName, long clientId,
                   void* event = nullptr, void* window = nullptr, unsigned int message = 0, bool events = true);
    CClientProcess(const char* logName, const char* banner, const char* server, unsigned short callPort,
                   unsigned short eventsPort, long callTimeout, long clientId, void* event = nullptr,
                   void* window = nullptr, unsigned int message = 0, bool events = true);
    ~CClientProcess() override;   // DISCONNECT on events, EVENTS on call, DISCONNECT on call

    void MainLoopInner() override;
    virtual bool ReconnectGood() { return true; }

    bool OpenSockets();
    bool SocketsOpen() const;
    void ConnectSockets();
    bool ReconnectToServer();
    long ProcessEvents();                                    // serve what waits on the events socket
    CSocket* CallSocket() const { return _callSocket; }
    CSocket* EventsSocket() const { return _eventsSocket; }
    bool UsesEvents() const { return _events; }

protected:
    CSocket* _callSocket;
    CSocket* _eventsSocket;
    bool _events;

private:
    void CreateSockets(void* event, void* window, unsigned int message);
};

// A real, reusable server loop: accepts clients on a call port and an events port, pairs each
// client's two sockets by the client ID of its CONNECT, serves incoming calls through
// ProcessMsg and can call out over a client's events socket.
class CServerProcess : public CProcess {
public:
    CServerProcess(const char* logName, const char* banner, unsigned short callPort,
                   unsigned short eventsPort, long callTimeout);
    ~CServerProcess() override;

    bool Open();                                             // listen on both ports (0 picks free ports)
    unsigned short BoundCallPort() const;
    unsigned short BoundEventsPort() const;
    void MainLoopInner() override;                           // until Stop()
    int RunOnce(long waitMs);                                // one pass: accept, read, serve, timers
    void Stop() { SetRunning(false); }
    long PortManagement(CSocket* socket, TPort port, uint8_t code, long arg) override;
    virtual void KickWatchDog() {}
    void CheckEventsSocket(long ms) override;
    void CloseEventsSocket(CSocket* s) override;
    void CloseCallsSocket(CSocket* s) override;

    // Hooks for the program built on it: a client's pair of sockets is complete / broken.
    virtual void ClientConnected(long clientId) { (void)clientId; }
    virtual void ClientDisconnected(long clientId) { (void)clientId; }
    // The open events socket of a client, or null. Ask again before each use: a socket
    // that closes is destroyed at the end of the pass that noticed it.
    CSocket* EventsSocketOf(long clientId) const;
    CSocket* CallSocketOf(long clientId) const;
    int ClientCount() const;                                 // distinct client IDs with an open socket
    int SocketCount() const { return _callSockets.Items() + _eventsSockets.Items(); }
    void DropClient(long clientId);
    void Shutdown();                                         // SHUTDOWN to every client socket

protected:
    CServerSocket* _callListener;
    CServerSocket* _eventsListener;
    // Accepted sockets by the port they came in on. A closed socket stays listed until
    // the end of the pass, so nothing in the middle of a pass can lose its socket.
    CKVList<CSocket, CSocket> _callSockets;
    CKVList<CSocket, CSocket> _eventsSockets;

private:
    CKVList<CSocket, CSocket>& ListOf(TPort port) { return port == EVENTS_PORT ? _eventsSockets : _callSockets; }
    static CSocket* OpenSocketOf(const CKVList<CSocket, CSocket>& list, long clientId);
    void AcceptAll(CServerSocket* listener, TPort port);
    int ServeSocket(CSocket* s, TPort port);
    void NameSocket(CSocket* s, TPort port, long clientId);
    void DropBroken(CSocket* s, TPort port, const char* why);
    void Sweep();

    std::set<long> _paired;                                  // IDs announced by ClientConnected
    int _depth;                                              // > 0 inside a pass: deletions wait

    // The poll set of a pass, kept between passes for its room.
    struct PollEntry {
        CSocket* socket;
        TPort port;
        bool listener;
    };
    std::vector<pollfd> _pollFds;
    std::vector<PollEntry> _pollEntries;
};
