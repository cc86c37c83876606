// Peers that trickle, flood, stall mid-message or are interrupted by signals: every wait
// ends within its time-out, every request goes out as it was built.
#include <signal.h>
#include <sys/time.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "rpc_fixture.h"

using namespace kvtest;
using Clock = std::chrono::steady_clock;

namespace {

// A real interval timer delivering SIGALRM to this thread only (other threads block it).
// A guard thread stops it after `lifeMs`, so a wait that ignores signals still ends.
class CSignalStorm {
public:
    CSignalStorm(int periodUs, bool restart, int lifeMs = 4000) {
        struct sigaction sa {};
        sa.sa_handler = [](int) { ++_count; };
        sa.sa_flags = restart ? SA_RESTART : 0;
        sigemptyset(&sa.sa_mask);
        sigaction(SIGALRM, &sa, &_old);
        sigset_t alrm;
        sigemptyset(&alrm);
        sigaddset(&alrm, SIGALRM);
        pthread_sigmask(SIG_BLOCK, &alrm, nullptr);
        _guard = std::thread([this, lifeMs] {
            std::unique_lock<std::mutex> lock(_mutex);
            _cv.wait_for(lock, std::chrono::milliseconds(lifeMs), [this] { return _done; });
            Arm(0);
        });
        pthread_sigmask(SIG_UNBLOCK, &alrm, nullptr);
        Arm(periodUs);
    }
    ~CSignalStorm() {
        {
            std::lock_guard<std::mutex> lock(_mutex);
            _done = true;
        }
        _cv.notify_all();
        _guard.join();
        sigaction(SIGALRM, &_old, nullptr);
    }
    static int Count() { return _count; }

private:
    static void Arm(int us) {
        itimerval t{{0, us}, {0, us}};
        setitimer(ITIMER_REAL, &t, nullptr);
    }
    static inline std::atomic<int> _count{0};
    struct sigaction _old {};
    std::mutex _mutex;
    std::condition_variable _cv;
    bool _done = false;
    std::thread _guard;
};

// An outgoing connection (its waits are receives) and the accepted far end (its waits are
// polls), each with a raw descriptor on the other side.
struct Loopback {
    TempDir dir;
    RecordingClient process{dir / "trace", 0, 0, 1000, kClientId};
    CServerSocket listener{nullptr, 0};
    CSocket* client = nullptr;
    CSocket* accepted = nullptr;
    int clientPeer = -1;   // the accepted descriptor, seen from the client
    Loopback() {
        EXPECT_TRUE(listener.Open());
        client = new CSocket(&process, CStr("127.0.0.1"), listener.BoundPort());
        EXPECT_TRUE(client->Open());
        for (int i = 0; i < 100 && clientPeer < 0; ++i, usleep(1000)) clientPeer = listener.Accept();
        int fds[2] = {-1, -1};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
        accepted = new CSocket(&process, fds[0]);
        acceptedPeer = fds[1];
    }
    ~Loopback() {
        delete client;
        delete accepted;
        close(clientPeer);
        close(acceptedPeer);
    }
    int acceptedPeer = -1;
};

double Timed(const std::function<void()>& f) {
    auto start = Clock::now();
    f();
    return SecondsSince(start);
}

// A socket whose next header read stops after `cut` bytes, as a stalled peer's would.
class CCutSocket : public CSocket {
public:
    using CSocket::CSocket;
    long Read(void* buf, long n, bool wait) override {
        long k = cut > 0 && n == kMsgHeaderSize ? cut : n;
        cut = 0;
        return CSocket::Read(buf, k, wait);
    }
    long cut = 0;
};

// A process that unbinds the proxy when a SHUTDOWN logs it off, as the session does.
class CLogoffProcess : public RecordingClient {
public:
    using RecordingClient::RecordingClient;
    long ServerLogoff() override {
        if (proxy) proxy->SetSocket(nullptr);
        return RecordingClient::ServerLogoff();
    }
    long Reconnect() override { return NO_SESSION_RESULT; }
    CInterface* proxy = nullptr;
};

}  // namespace

TEST(HostilePeer, EveryWaitEndsWithinItsTimeOutUnderAPeriodicSignal) {
    for (bool restart : {false, true})
        for (int periodUs : {1000, 50000}) {
            SCOPED_TRACE(testing::Message() << "SA_RESTART " << restart << ", every " << periodUs << " us");
            Loopback f;
            const int before = CSignalStorm::Count();
            CSignalStorm storm(periodUs, restart);
            // A signal fails the wait; it never starts it again.
            EXPECT_LT(Timed([&] { EXPECT_EQ(f.client->WaitForSocketEvent(1000), CSocket::WAIT_FAILED); }), 1.0);
            EXPECT_LT(Timed([&] { EXPECT_EQ(f.accepted->WaitForSocketEvent(1000), CSocket::WAIT_FAILED); }), 1.0);
            FillSendBuffer(*f.accepted);
            EXPECT_LT(Timed([&] { EXPECT_EQ(f.accepted->CanWrite(1000), -1); }), 1.0);
            EXPECT_LT(Timed([&] { EXPECT_EQ(f.client->ClientPing(kClientId), CONNECTION_BROKEN); }), 3.0);
            // A call on a silent peer: three tries, each ended by the signal.
            CITest proxy(&f.process, f.client, kClientId);
            EXPECT_LT(Timed([&] { EXPECT_EQ(proxy.Authorise(7), CONNECTION_BROKEN); }), 3.0);
            EXPECT_GT(CSignalStorm::Count(), before);
        }
}

TEST(HostilePeer, ManagementMessagesDoNotStretchTheCallTimeout) {
    Loopback f;
    f.process.SetCallTimeout(400);
    std::atomic<bool> stop{false};
    std::thread pinger([&] {
        TIMsgHeader ping = Management(MFTN_PING, 1, 2);
        for (int i = 0; i < 40 && !stop; ++i, usleep(150000)) WriteAll(f.clientPeer, &ping, sizeof ping);
    });
    CITest proxy(&f.process, f.client, kClientId);
    // Each try waits 400 ms in all, pings or not; three tries.
    const double took = Timed([&] { EXPECT_EQ(proxy.Authorise(7), TIMEOUT_RESULT); });
    stop = true;
    pinger.join();
    EXPECT_GT(took, 1.1);
    EXPECT_LT(took, 2.0);
}

TEST(HostilePeer, TrickledMessageIsReadWhileBytesKeepComing) {
    Loopback f;
    TIMsgHeader h = Header(13, 0, 7, 0, IF_PUMP, 60);
    std::string wire(reinterpret_cast<char*>(&h), sizeof h);
    for (int i = 0; i < 60; ++i) wire += static_cast<char>(i);
    std::thread trickle([&] {
        for (char c : wire) {
            WriteAll(f.clientPeer, &c, 1);
            usleep(5000);
        }
    });
    ASSERT_EQ(f.client->WaitForSocketEvent(1000), CSocket::WAIT_DATA);
    TIMsg msg;
    EXPECT_EQ(f.client->ReadMsg(&msg), 0);
    trickle.join();
    EXPECT_EQ(std::string(reinterpret_cast<char*>(&msg), wire.size()), wire);
}

TEST(HostilePeer, DrainLeavesTheRequestAloneAndSurvivesALogoff) {
    TempDir dir;
    CLogoffProcess p(dir / "trace", 0, 0, 1000, kClientId);
    int fds[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
    CCutSocket s(&p, fds[0]);
    CITest proxy(&p, &s, kClientId);
    const std::string stray(10, '\x55');

    // Ten stray bytes read as a header that never completes: the request still goes out
    // exactly as built, and its reply is taken.
    ASSERT_TRUE(WriteAll(fds[1], stray.data(), stray.size()));
    s.cut = 10;
    std::thread peer([&] {
        TIMsg req;
        if (!ReadHeader(fds[1], &req.h) || !ReadAll(fds[1], req.data, req.h.length)) return;
        EXPECT_TRUE(req.h.kind == 1 && req.h.function == 29 && req.h.type == 4 && req.h.object == 7 &&
                    req.h.source == static_cast<uint32_t>(kClientId) && req.h.sequence == 1 && Data(req) == Bytes(TAG_END));
        TIMsg reply = ReplyTo(req);
        WriteAll(fds[1], &reply, reply.WireSize());
    });
    EXPECT_EQ(proxy.Authorise(7), 0);
    peer.join();
    EXPECT_NE(LogText(p).find("Error on hdr read, expecting 24, read 10."), std::string::npos);

    // The same, with a SHUTDOWN behind the stray bytes: the management check logs the
    // process off and the proxy loses its socket in the middle of the drain.
    TIMsgHeader shutdownMsg = Management(MFTN_SHUTDOWN, 0, 0);
    ASSERT_TRUE(WriteAll(fds[1], stray.data(), stray.size()));
    ASSERT_TRUE(WriteAll(fds[1], &shutdownMsg, sizeof shutdownMsg));
    p.proxy = &proxy;
    s.cut = 10;
    EXPECT_EQ(proxy.Authorise(7), NO_SESSION_RESULT);
    EXPECT_EQ(p.logoffs, 1);
    EXPECT_TRUE(Silent(fds[1], 50));   // nothing was sent
    close(fds[1]);
}

TEST(HostilePeer, DrainReadsAllThatWaitsButNoFlood) {
    Loopback f;
    CITest proxy(&f.process, f.client, kClientId);
    TIMsgHeader stale = Header(29, 0, 0, kClientId, 4);
    stale.sequence = 999;
    stale.object = 7;
    auto answer = [&] {
        TIMsg req;
        if (!ReadHeader(f.clientPeer, &req.h) || !ReadAll(f.clientPeer, req.data, req.h.length)) return;
        TIMsg reply = ReplyTo(req);
        WriteAll(f.clientPeer, &reply, reply.WireSize());
    };
    // 300 late replies waiting: all are dropped before the request goes out.
    for (int i = 0; i < 300; ++i) ASSERT_TRUE(WriteAll(f.clientPeer, &stale, sizeof stale));
    usleep(20000);
    std::thread peer(answer);
    EXPECT_EQ(proxy.Authorise(7), 0);
    peer.join();

    // A peer that never stops sending: the request goes out all the same, and the call
    // ends on the first late reply it meets, long before the flood does.
    std::atomic<bool> stop{false};
    std::thread flood([&] {
        std::string burst;
        for (int i = 0; i < 2000; ++i) burst.append(reinterpret_cast<char*>(&stale), sizeof stale);
        const auto start = Clock::now();
        while (!stop && SecondsSince(start) < 3) WriteAll(f.clientPeer, burst.data(), burst.size());
    });
    usleep(50000);
    const double took = Timed([&] { EXPECT_EQ(proxy.Authorise(7), BAD_SEQUENCE_RESULT); });
    stop = true;
    f.client->Close();   // the flood's last write fails rather than waits
    flood.join();
    EXPECT_LT(took, 1.5);
}
