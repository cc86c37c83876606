// CServerProcess: accepting, pairing, serving, dropping broken clients, shutdown.
#include <atomic>
#include <set>
#include <thread>

#include "net_fixture.h"
#include "rpc/serverif.h"

using namespace kvtest;

namespace {

class HookServer : public CServerProcess {
public:
    using CServerProcess::CServerProcess;
    void ClientConnected(long id) override { connected.push_back(id); }
    void ClientDisconnected(long id) override { disconnected.push_back(id); }
    std::vector<long> connected, disconnected;
};

struct ServerFixture {
    TempDir dir;
    HookServer server{(dir / "server").c_str(), "server", 0, 0, 1000};
    ServerFixture() { EXPECT_TRUE(server.Open()); }
    std::unique_ptr<RecordingClient> Client(long id) {
        auto c = std::make_unique<RecordingClient>(dir / ("client" + std::to_string(id)), server.BoundCallPort(),
                                                   server.BoundEventsPort(), 1000, id);
        EXPECT_TRUE(c->OpenSockets());
        c->ConnectSockets();
        return c;
    }
    bool Paired(long id) { return server.CallSocketOf(id) && server.EventsSocketOf(id); }
};

}  // namespace

TEST(CServerProcess, PairsClientsAndDropsOneThatSendsGarbage) {
    ServerFixture f;
    EXPECT_NE(f.server.BoundCallPort(), f.server.BoundEventsPort());
    auto a = f.Client(11);
    auto b = f.Client(12);
    ASSERT_TRUE(PumpUntil(f.server, [&] { return f.Paired(11) && f.Paired(12); }));
    EXPECT_EQ(f.server.ClientCount(), 2);
    EXPECT_EQ(f.server.SocketCount(), 4);
    EXPECT_NE(f.server.CallSocketOf(11), f.server.CallSocketOf(12));
    EXPECT_EQ(std::set<long>(f.server.connected.begin(), f.server.connected.end()), (std::set<long>{11, 12}));

    // Client 11 sends bytes that frame as nothing sensible.
    unsigned char junk[24];
    std::memset(junk, 0xFF, sizeof junk);
    ASSERT_EQ(a->CallSocket()->Write(junk, sizeof junk), 24);
    ASSERT_TRUE(PumpUntil(f.server, [&] { return f.server.ClientCount() == 1; }));
    EXPECT_EQ(f.server.CallSocketOf(11), nullptr);
    EXPECT_EQ(f.server.EventsSocketOf(11), nullptr);
    EXPECT_EQ(f.server.SocketCount(), 2);
    EXPECT_EQ(f.server.disconnected, std::vector<long>{11});
    EXPECT_NE(LogText(f.server).find("Dropping < Client 11 > on the call port"), std::string::npos);

    // Client 11 sees both its connections end; client 12 is still served.
    EXPECT_EQ(a->EventsSocket()->WaitForSocketEvent(1000), CSocket::WAIT_DATA);
    TIMsg msg;
    EXPECT_EQ(a->EventsSocket()->ReadMsg(&msg), CONNECTION_BROKEN);
    ASSERT_EQ(b->CallSocket()->ManagementFtn(MFTN_PING, 12, 0), 0);
    f.server.RunOnce(200);
    ASSERT_EQ(b->CallSocket()->WaitForSocketEvent(1000), CSocket::WAIT_DATA);
    ASSERT_EQ(b->CallSocket()->ReadMsg(&msg), 0);
    EXPECT_EQ(msg.h.flag, MFTN_PONG);
    EXPECT_EQ(msg.h.source, 0u);
    EXPECT_EQ(msg.h.destination, 12u);

    // A call arriving on 12's call socket is answered on that socket.
    std::memset(&msg, 0, sizeof msg);
    msg.h = Header(5, 0, 12, 0, 77);
    msg.h.sequence = 3;
    ASSERT_EQ(b->CallSocket()->Send(&msg), 0);
    f.server.RunOnce(200);
    ASSERT_EQ(b->CallSocket()->WaitForSocketEvent(1000), CSocket::WAIT_DATA);
    ASSERT_EQ(b->CallSocket()->ReadMsg(&msg), 0);
    EXPECT_EQ(msg.h.result, BAD_INTERFACE_RESULT);
    EXPECT_EQ(msg.h.destination, 12u);
    EXPECT_EQ(msg.h.sequence, 3);
}

TEST(CServerProcess, HostileInputNeverHoldsTheServer) {
    ServerFixture f;
    auto good = f.Client(5);
    ASSERT_TRUE(PumpUntil(f.server, [&] { return f.Paired(5); }));

    // An unnamed connection announcing an impossible length, one that stalls inside a
    // header, and one that just closes.
    CSocket huge(nullptr, CStr("127.0.0.1"), f.server.BoundCallPort());
    CSocket stall(nullptr, CStr("127.0.0.1"), f.server.BoundEventsPort());
    CSocket quitter(nullptr, CStr("127.0.0.1"), f.server.BoundCallPort());
    ASSERT_TRUE(huge.Open() && stall.Open() && quitter.Open());
    TIMsgHeader h = Header(5, 0, 9, 0, 4);
    h.length = 60000;
    ASSERT_EQ(huge.Write(&h, sizeof h), 24);
    ASSERT_EQ(stall.Write(&h, 7), 7);
    quitter.Close();
    f.server.RunOnce(100);   // accepts all three
    EXPECT_EQ(f.server.SocketCount(), 5);
    ASSERT_TRUE(PumpUntil(f.server, [&] { return f.server.SocketCount() == 2; }, 6000));
    EXPECT_TRUE(f.Paired(5));
    EXPECT_TRUE(f.server.disconnected.empty());
    std::string log = LogText(f.server);
    EXPECT_NE(log.find("Bad message length 60000, connection shut down."), std::string::npos);
    EXPECT_NE(log.find("Error on hdr read, expecting 24, read 7."), std::string::npos);

    // A DISCONNECT closes just that socket; the pair is broken.
    ASSERT_EQ(good->EventsSocket()->ManagementFtn(MFTN_DISCONNECT, 5, 0), 0);
    ASSERT_TRUE(PumpUntil(f.server, [&] { return f.server.SocketCount() == 1; }));
    EXPECT_NE(f.server.CallSocketOf(5), nullptr);
    EXPECT_EQ(f.server.disconnected, std::vector<long>{5});
    EXPECT_NE(LogText(f.server).find("events socket closed (DISCONNECT_MFTN)"), std::string::npos);
}

TEST(CServerProcess, ReconnectReplacesOldSocketsAndShutdownReachesEveryone) {
    ServerFixture f;
    auto a = f.Client(31);
    ASSERT_TRUE(PumpUntil(f.server, [&] { return f.Paired(31); }));
    CSocket* oldCall = f.server.CallSocketOf(31);

    // Fresh sockets announce the same ID before the old ones are seen to close.
    RecordingClient again(f.dir / "again", f.server.BoundCallPort(), f.server.BoundEventsPort(), 1000, 31);
    ASSERT_TRUE(again.OpenSockets());
    ASSERT_EQ(again.CallSocket()->ManagementFtn(MFTN_CONNECT, 31, 0), 0);
    ASSERT_TRUE(PumpUntil(f.server, [&] { return f.server.CallSocketOf(31) && f.server.CallSocketOf(31) != oldCall; }));
    again.ConnectSockets();
    ASSERT_TRUE(PumpUntil(f.server, [&] { return f.server.SocketCount() == 2 && f.Paired(31); }));
    EXPECT_EQ(f.server.connected, (std::vector<long>{31, 31}));
    EXPECT_EQ(f.server.disconnected, std::vector<long>{31});

    auto b = f.Client(32);
    ASSERT_TRUE(PumpUntil(f.server, [&] { return f.Paired(32); }));
    f.server.Shutdown();
    for (RecordingClient* c : {&again, b.get()}) {
        ASSERT_EQ(c->CallSocket()->WaitForSocketEvent(1000), CSocket::WAIT_DATA);
        EXPECT_EQ(c->CallSocket()->CheckForManagementFtn(), NO_SESSION_RESULT);
        EXPECT_EQ(c->logoffs, 1);
        EXPECT_FALSE(c->Running());
    }
}

namespace {

// Interface type 4 on both sides: the generic functions only.
class CountProxy : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    uint16_t ObjectType() const override { return IF_PUMP; }
    uint16_t InterfaceVersion() const override { return 0; }
};

class CountServed : public CServerInterface<CIObject> {
public:
    CountServed(CProcess* p, long ownId, int objects) : CServerInterface<CIObject>(p, nullptr, ownId) {
        const char* names[] = {"a", "b", "c"};
        for (int i = 0; i < objects; ++i) Objects().Add(new CPhyObject(i + 1, 10 * (i + 1), CStr(names[i % 3]), p));
    }
    uint16_t ObjectType() const override { return IF_PUMP; }
    uint16_t InterfaceVersion() const override { return 0; }
    long ProcessCall(short, CIObject*, CSocket*) override { Throw(BAD_FUNCTION_RESULT, __LINE__, "ProcessCall"); }
};

}  // namespace

TEST(CServerProcessCalls, ClientCallsAreServedAndAnsweredOnTheCallSocket) {
    ServerFixture f;
    f.server.AddInterface(new CountServed(&f.server, 0, 3));
    std::atomic<bool> stop{false};
    std::thread serverThread([&] {
        while (!stop) f.server.RunOnce(10);
    });

    auto client = f.Client(7);
    CountProxy proxy(client.get(), client->CallSocket(), 7);
    long n = 0, id = 0;
    EXPECT_EQ(proxy.Count(&n), 0);
    EXPECT_EQ(n, 3);
    EXPECT_EQ(proxy.New(40, 4, CStr("d")), 0);
    EXPECT_EQ(proxy.New(40, 4, CStr("d")), EXISTS_RESULT);
    EXPECT_EQ(proxy.Count(&n), 0);
    EXPECT_EQ(n, 4);
    EXPECT_EQ(proxy.GetIDByName(CStr("b"), &id), 0);
    EXPECT_EQ(id, 2);
    EXPECT_EQ(proxy.GetNumber(99, &n), NO_OBJECT_RESULT);
    stop = true;
    serverThread.join();
}

TEST(CServerProcessCalls, TheServerCallsAClientOverItsEventsSocket) {
    ServerFixture f;
    auto client = f.Client(8);
    client->AddInterface(new CountServed(client.get(), 8, 2));
    ASSERT_TRUE(PumpUntil(f.server, [&] { return f.Paired(8); }));

    std::atomic<bool> done{false};
    client->stopWhen = [&] { return done.load(); };
    std::thread clientThread([&] { client->MainLoop(); });

    CountProxy out(&f.server, f.server.EventsSocketOf(8), 0);
    out.SetDestID(8);
    long n = 0;
    EXPECT_EQ(out.Count(&n), 0);
    EXPECT_EQ(n, 2);
    done = true;
    clientThread.join();
}
