// CFakeServer: a scripted KVServer on ephemeral loopback ports, served by a thread of its
// own (CForkedFakeServer: by a child process, sharing no memory with the test). It decodes
// every request generically and replies with each by-reference value echoed, unless a hook
// (On) or a queued result (QueueResults) says otherwise; a hook may also drop the client.
// GetSessionID answers kSessionID, GetVersion kVersion. Calls and management messages are
// recorded in the order handled.
#pragma once
#include <gtest/gtest.h>

#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "kvclient.h"
#include "rpc/interface.h"
#include "rpc/message.h"
#include "rpc/net_fixture.h"
#include "rpc/process.h"
#include "common/session.h"
#include "common/wire.h"

namespace kvtest {

// A fresh temporary directory made the current one (the session logs go to Log/ under
// it), restored when the test ends.
class CClientDir {
public:
    CClientDir() {
        char buf[4096];
        _old = getcwd(buf, sizeof buf) ? buf : "/tmp";
        EXPECT_EQ(chdir(_dir.Path().c_str()), 0);
        mkdir("Log", 0755);
    }
    ~CClientDir() { EXPECT_EQ(chdir(_old.c_str()), 0); }
    CClientDir(const CClientDir&) = delete;
    CClientDir& operator=(const CClientDir&) = delete;
    const std::string& Path() const { return _dir.Path(); }
    std::string operator/(const std::string& name) const { return _dir / name; }
    // The trace log of client n.
    std::string ClientLog(long n) const {
        char name[64];
        std::snprintf(name, sizeof name, "Log/KVClient%03ld.L00", n);
        return ReadFile(_dir / name);
    }

private:
    TempDir _dir;
    std::string _old;
};

// A request as the server received it.
struct FakeCall {
    TIMsgHeader h{};
    std::vector<uint8_t> data;   // the data area, h.length bytes
    std::vector<FakeArg> args;   // decoded, up to the end tag
    bool malformed = false;      // the data did not decode cleanly

    std::vector<uint8_t> Bytes() const {
        std::vector<uint8_t> b(reinterpret_cast<const uint8_t*>(&h), reinterpret_cast<const uint8_t*>(&h) + sizeof h);
        b.insert(b.end(), data.begin(), data.end());
        return b;
    }
    int32_t Object() const { return static_cast<int32_t>(h.object); }
    const FakeArg& Arg(size_t n) const {
        static const FakeArg none;
        return n < args.size() ? args[n] : none;
    }
    int64_t Int(size_t n) const { return Arg(n).i; }
    std::string Str(size_t n) const { return Arg(n).Narrow(); }
};

// The answer to one request. Values are set by the index of the by-reference argument
// among the request's by-reference arguments (0 = the first one).
struct FakeReply {
    long result = 0;
    bool drop = false;           // no reply: the client's sockets are closed
    std::map<int, FakeArg> outs;

    FakeReply& Set(int n, uint8_t tag, int64_t i) { FakeArg a; a.tag = tag; a.i = i; outs[n] = a; return *this; }
    FakeReply& Short(int n, short v) { return Set(n, TAG_PSHORT, v); }
    FakeReply& Long(int n, long v) { return Set(n, TAG_PLONG, static_cast<int32_t>(v)); }
    FakeReply& LongLong(int n, long long v) { return Set(n, TAG_PLONGLONG, v); }
    FakeReply& Cur(int n, int64_t raw) { return Set(n, TAG_PCUR, raw); }
    FakeReply& Date(int n, uint64_t ticks) { return Set(n, TAG_PDATE, static_cast<int64_t>(ticks)); }
    FakeReply& Str(int n, const std::string& v) {
        FakeArg a;
        a.tag = TAG_PSTR;
        a.s.assign(v.begin(), v.end());
        outs[n] = a;
        return *this;
    }
};

using FakeHook = std::function<void(const FakeCall&, FakeReply&)>;

// One thing the server handled: a call, or a management message.
struct FakeEntry {
    bool management = false;
    TPort port = CALL_PORT;
    uint8_t code = 0;            // management code (MFTN_*)
    long arg = 0;                // its first argument (the client ID); -1 when unknown (EVENTS)
    FakeCall call;
};

inline bool EncodeArg(const FakeArg& a, TIMsg& m) {
    std::vector<uint8_t> b;
    AppendArg(a, b);
    if (m.h.length + b.size() > kMsgDataSize) return false;
    std::memcpy(m.data + m.h.length, b.data(), b.size());
    m.h.length = static_cast<uint16_t>(m.h.length + b.size());
    return true;
}

class CFakeServer : public CServerProcess {
public:
    static constexpr uint64_t kSessionID = 0x0123456789ABCDEFULL;
    static constexpr const char* kVersion = "KVServer Version 2,5,6,0";

    // Serves from a thread of its own unless `threaded` is false (the owner then runs
    // Serve() itself).
    explicit CFakeServer(const CClientDir& dir, bool threaded = true, long callTimeout = 2000)
        : CServerProcess((dir / "fakeserver").c_str(), "fake KVServer", 0, 0, callTimeout) {
        EXPECT_TRUE(Open());
        static const uint16_t kTypes[] = {IF_CLIENT, IF_PUMP, IF_HOSE, IF_GRADE, IF_TANK, IF_PORT, IF_DELIVERY,
                                          IF_ATTENDANT, IF_ZIGBEE, IF_CARDCLIENT, IF_CARDREAD, IF_LOGEVENT,
                                          IF_SENSOR, IF_PRODUCT, IF_SALEITEM};
        for (uint16_t t : kTypes) AddInterface(new CFakeInterface(this, t));
        On(IF_CLIENT, 37, [](const FakeCall&, FakeReply& r) { r.LongLong(0, static_cast<long long>(kSessionID)); });
        On(IF_CLIENT, 23, [](const FakeCall&, FakeReply& r) { r.Str(0, kVersion); });
        if (threaded) _thread = std::thread([this] { Serve([this] { return _stop.load(); }); });
    }
    ~CFakeServer() override {
        _stop = true;
        if (_thread.joinable()) _thread.join();
    }

    unsigned short CallPort() const { return BoundCallPort(); }
    unsigned short EventsPort() const { return BoundEventsPort(); }

    // ---- scripting (any thread) ----
    void On(uint16_t type, uint8_t function, FakeHook hook) {
        std::lock_guard<std::mutex> lock(_mutex);
        _hooks[Key(type, function)] = std::move(hook);
    }
    void QueueResults(uint16_t type, uint8_t function, const std::vector<long>& results) {
        std::lock_guard<std::mutex> lock(_mutex);
        auto& q = _queued[Key(type, function)];
        q.insert(q.end(), results.begin(), results.end());
    }

    // ---- what was received (any thread) ----
    std::vector<FakeEntry> Entries() const {
        std::lock_guard<std::mutex> lock(_mutex);
        return _entries;
    }
    std::vector<FakeCall> CallsTo(uint16_t type, int function = -1) const {
        std::vector<FakeCall> out;
        for (const FakeEntry& e : Entries())
            if (!e.management && e.call.h.type == type && (function < 0 || e.call.h.function == function))
                out.push_back(e.call);
        return out;
    }
    size_t CallCount() const {
        size_t n = 0;
        for (const FakeEntry& e : Entries()) n += e.management ? 0 : 1;
        return n;
    }
    void Clear() {
        std::lock_guard<std::mutex> lock(_mutex);
        _entries.clear();
    }
    // Waits until `n` calls of a function have arrived.
    bool WaitForCalls(uint16_t type, uint8_t function, size_t n, int ms = 3000) const {
        return WaitUntil([&] { return CallsTo(type, function).size() >= n; }, ms, 5);
    }

    // Runs `job` on the serving thread between two passes and waits for it: the way to
    // act on the server's sockets (drop a client, call out on its events socket).
    void RunOnServer(std::function<void(CFakeServer&)> job) {
        std::unique_lock<std::mutex> lock(_mutex);
        _jobs.push_back(std::move(job));
        const size_t target = ++_jobsQueued;
        _jobDone.wait(lock, [&] { return _jobsDone >= target; });
    }

    // Waits until every client has gone (its sockets closed and swept): what a logged-off
    // client sent on its way out has then been handled.
    bool WaitForNoClients(int ms = 3000) {
        return WaitUntil([&] {
            int sockets = 0;
            RunOnServer([&](CFakeServer& f) { sockets = f.SocketCount(); });
            return sockets == 0;
        }, ms, 5);
    }

    // A logon of client `id` with client type `type` on this server (ClientLogonExMT).
    long Logon(CKVCLProcess** session, long id, short type) const {
        return ClientLogonExMT(session, id, type, "127.0.0.1", CallPort(), EventsPort(), CallTimeout(), nullptr,
                               nullptr, 0);
    }

    // The serving loop, until `stop` says so.
    void Serve(const std::function<bool()>& stop) {
        while (!stop()) {
            RunOnce(10);
            RunJobs();
        }
    }

    // ---- the CServerProcess hooks ----
    long PortManagement(CSocket* socket, TPort port, uint8_t code, long arg) override {
        Record(true, port, code, arg, nullptr);
        return CServerProcess::PortManagement(socket, port, code, arg);
    }
    void CheckEventsSocket(long ms) override {
        Record(true, CALL_PORT, MFTN_EVENTS, -1, nullptr);
        CServerProcess::CheckEventsSocket(ms);
    }

private:
    class CFakeInterface : public CInterface {
    public:
        CFakeInterface(CFakeServer* server, uint16_t type) : CInterface(server, nullptr, 0), _server(server), _type(type) {}
        uint16_t ObjectType() const override { return _type; }
        uint16_t InterfaceVersion() const override { return 0; }
        long ProcessMsg(TIMsg* msg, CSocket*) override { return _server->Answer(*msg); }

    private:
        CFakeServer* _server;
        uint16_t _type;
    };

    static uint32_t Key(uint16_t type, uint8_t function) { return static_cast<uint32_t>(type) << 8 | function; }

    void Record(bool management, TPort port, uint8_t code, long arg, const FakeCall* call) {
        FakeEntry e;
        e.management = management;
        e.port = port;
        e.code = code;
        e.arg = arg;
        if (call) e.call = *call;
        std::lock_guard<std::mutex> lock(_mutex);
        _entries.push_back(e);
    }

    long Answer(TIMsg& m) {
        FakeCall call;
        call.h = m.h;
        const size_t n = m.h.length <= kMsgDataSize ? m.h.length : kMsgDataSize;
        call.data.assign(m.data, m.data + n);
        call.malformed = !DecodeArgs(m.data, n, call.args);
        Record(false, CALL_PORT, 0, 0, &call);

        FakeReply reply;
        FakeHook hook;
        {
            std::lock_guard<std::mutex> lock(_mutex);
            auto q = _queued.find(Key(m.h.type, m.h.function));
            if (q != _queued.end() && !q->second.empty()) {
                reply.result = q->second.front();
                q->second.pop_front();
            } else if (auto h = _hooks.find(Key(m.h.type, m.h.function)); h != _hooks.end()) {
                hook = h->second;
            }
        }
        if (call.malformed) reply.result = UNPACK_OVERRUN_RESULT;
        else if (hook) hook(call, reply);
        if (reply.drop) return CONNECTION_BROKEN;   // ServeMsg sends nothing and drops the client

        std::swap(m.h.source, m.h.destination);
        m.h.result = static_cast<int16_t>(reply.result);
        m.h.length = 0;
        int ref = 0;
        for (const FakeArg& a : call.args) {
            if (!a.IsRef()) continue;
            auto o = reply.outs.find(ref++);
            EncodeArg(a.tag != TAG_NULL && o != reply.outs.end() ? o->second : a, m);
        }
        FakeArg end;
        end.tag = TAG_END;
        EncodeArg(end, m);
        return 0;
    }

    void RunJobs() {
        std::unique_lock<std::mutex> lock(_mutex);
        while (!_jobs.empty()) {
            auto job = std::move(_jobs.front());
            _jobs.pop_front();
            lock.unlock();
            job(*this);
            lock.lock();
            ++_jobsDone;
        }
        _jobDone.notify_all();
    }

    mutable std::mutex _mutex;
    std::map<uint32_t, FakeHook> _hooks;
    std::map<uint32_t, std::deque<long>> _queued;
    std::vector<FakeEntry> _entries;
    std::deque<std::function<void(CFakeServer&)>> _jobs;
    size_t _jobsQueued = 0;
    size_t _jobsDone = 0;
    std::condition_variable _jobDone;
    std::atomic<bool> _stop{false};
    std::thread _thread;
};

// A test with a fake server of its own in a fresh working directory.
class FakeServerTest : public ::testing::Test {
protected:
    CClientDir dir;
    CFakeServer server{dir};
};

// A CFakeServer in a child process: nothing of it shares memory with the test. `setup`
// scripts it in the child before it serves. What it received stays in the child; check
// results on the client's side.
class CForkedFakeServer {
public:
    CForkedFakeServer(const CClientDir& dir, const std::function<void(CFakeServer&)>& setup) {
        int ports[2], control[2];
        if (pipe(ports) != 0 || pipe(control) != 0) return;
        _pid = fork();
        if (_pid == 0) {
            close(ports[0]);
            close(control[1]);
            {
                CFakeServer server(dir, false);
                setup(server);
                unsigned short p[2] = {server.CallPort(), server.EventsPort()};
                if (write(ports[1], p, sizeof p) != sizeof p) _exit(1);
                close(ports[1]);
                // Serve until the parent closes its end of the control pipe.
                server.Serve([&] {
                    pollfd pf{control[0], POLLIN, 0};
                    return poll(&pf, 1, 0) > 0;
                });
            }
            _exit(0);
        }
        close(ports[1]);
        close(control[0]);
        _control = control[1];
        unsigned short p[2] = {0, 0};
        if (read(ports[0], p, sizeof p) == sizeof p) {
            _callPort = p[0];
            _eventsPort = p[1];
        }
        close(ports[0]);
    }
    ~CForkedFakeServer() {
        if (_control >= 0) close(_control);
        if (_pid > 0) waitpid(_pid, nullptr, 0);
    }
    CForkedFakeServer(const CForkedFakeServer&) = delete;
    CForkedFakeServer& operator=(const CForkedFakeServer&) = delete;
    unsigned short CallPort() const { return _callPort; }
    unsigned short EventsPort() const { return _eventsPort; }

private:
    pid_t _pid = -1;
    int _control = -1;
    unsigned short _callPort = 0;
    unsigned short _eventsPort = 0;
};

}  // namespace kvtest
