// CProcess settings, incoming-call serving, timers and watchdog; CClientProcess sockets,
// main loop, reconnection and shutdown sequence.
#include <algorithm>
#include <atomic>
#include <thread>

#include "net_fixture.h"

using namespace kvtest;
using Clock = std::chrono::steady_clock;

namespace {

std::string HostName() {
    char buf[256] = "";
    gethostname(buf, sizeof buf - 1);
    return buf;
}

void WriteText(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
}

class CountingTarget : public CTimerTarget {
public:
    void TimerEvent(short number) override { fired.push_back(number); }
    std::vector<short> fired;
};

class IniClient : public CClientProcess {
public:
    IniClient(const std::string& logName, const std::string& ini, bool events)
        : CClientProcess(logName.c_str(), "banner", ini.c_str(), 3, nullptr, nullptr, 0, events) {}
    long PortManagement(CSocket*, TPort, uint8_t, long) override { return 0; }
};

void ExpectManagement(int fd, uint8_t code, uint32_t source) {
    TIMsgHeader h;
    ASSERT_TRUE(ReadHeader(fd, &h));
    EXPECT_EQ(h.function, 1);
    EXPECT_EQ(h.flag, code);
    EXPECT_EQ(h.source, source);
}

// Accepts one connection on a listener, waiting up to a second.
int AcceptOne(CServerSocket& listener) {
    for (int i = 0; i < 100; ++i) {
        int fd = listener.Accept();
        if (fd >= 0) return fd;
        usleep(10000);
    }
    return -1;
}

}  // namespace

TEST(CProcessIni, ServerAndLogSettings) {
    TempDir dir;
    std::filesystem::create_directory(dir / "logs");
    CServerSocket listener(nullptr, 0);
    ASSERT_TRUE(listener.Open());
    WriteText(dir / "client.ini",
              "[Server]\r\nname=<local>\r\nCallPort=" + std::to_string(listener.BoundPort()) +
                  "\r\nEventsPort=99999\r\nCallTimeout=2500\r\n\r\n[Log]\r\nPath =  " + (dir / "logs") +
                  "  \r\nLevel=4\r\nScreen=yes\r\n");
    {
        IniClient p(dir / "trace", dir / "client.ini", false);
        // "<LOCAL>" means this machine by its own name, and the client gets through to it.
        EXPECT_STREQ(static_cast<char*>(p.Host()), HostName().c_str());
        EXPECT_EQ(p.CallPort(), listener.BoundPort());
        EXPECT_EQ(p.EventsPort(), 0);   // out of range
        EXPECT_EQ(p.CallTimeout(), 2500);
        EXPECT_EQ(p.Trace()->Level(), 4);
        EXPECT_TRUE(p.Trace()->ToFileOn());   // no File key
        EXPECT_STREQ(static_cast<char*>(p.Trace()->Path()), (dir / "logs").c_str());
        EXPECT_EQ(p.Trace()->MaxSize(), 1450000);
        EXPECT_EQ(p.Trace()->Archives(), 10);
        EXPECT_TRUE(p.OpenSockets());
        EXPECT_TRUE(p.CallSocket()->IsOpen());
        EXPECT_FALSE(p.EventsSocket()->IsOpen());
        // The log moved: the old file is gone, the new one has what followed.
        EXPECT_FALSE(std::filesystem::exists(dir / "trace.L00"));
        EXPECT_NE(ReadFile(dir / "logs/trace.L00").find("Opening port"), std::string::npos);
    }
    // The directory test leaves nothing behind.
    EXPECT_FALSE(std::filesystem::exists(dir / "logs\\Test.txt"));

    WriteText(dir / "other.ini", "[Server]\r\nname=kvhost\r\n[Log]\r\nLevel=9\r\nFile=no\r\n");
    IniClient q(dir / "trace2", dir / "other.ini", true);
    EXPECT_STREQ(static_cast<char*>(q.Host()), "KVHOST");
    EXPECT_EQ(q.CallPort(), 0);
    EXPECT_EQ(q.CallTimeout(), 0);
    EXPECT_EQ(q.Trace()->Level(), 1);
    EXPECT_FALSE(q.Trace()->ToFileOn());
    EXPECT_EQ(q.Trace()->Path().Length(), 0);
    EXPECT_EQ(q.Alarms()->BaseName().Compare((dir / "KVAlarms").c_str()), 0);
}

TEST(CProcessGetMsg, ServesRepliesAndManagement) {
    TempDir dir;
    RecordingClient p(dir / "trace", 0, 0);
    p.Trace()->SetLevel(4);
    SocketPair pair(&p);

    // A call for an interface nobody serves: -3 goes back to the caller.
    TIMsgHeader call = Header(5, 0, 7, 0, 99);
    call.sequence = 31;
    call.object = 0xFFFFFFFF;
    ASSERT_TRUE(WriteAll(pair.peer, &call, sizeof call));
    EXPECT_EQ(p.GetMsg(pair.socket, CALL_PORT), 0);   // the reply went out
    TIMsgHeader reply;
    ASSERT_TRUE(ReadHeader(pair.peer, &reply));
    EXPECT_EQ(reply.result, BAD_INTERFACE_RESULT);
    EXPECT_EQ(reply.source, 0u);
    EXPECT_EQ(reply.destination, 7u);
    EXPECT_EQ(reply.sequence, 31);
    EXPECT_EQ(reply.function, 5);
    std::string log = LogText(p);
    EXPECT_NE(log.find("Call 5 on Interface 99 for Object -1 "), std::string::npos);
    EXPECT_NE(log.find("Throw -3, Line "), std::string::npos);
    EXPECT_NE(log.find("Call result 0 "), std::string::npos);

    // One-way: no reply. Function 0: logged, no reply. DISCONNECT: -24. PING: answered.
    TIMsgHeader oneWay = Header(5, 1, 7, 0, 99), zero = Header(0, 0, 7, 0, 99);
    ASSERT_TRUE(WriteAll(pair.peer, &oneWay, sizeof oneWay));
    EXPECT_EQ(p.GetMsg(pair.socket, CALL_PORT), BAD_INTERFACE_RESULT);
    EXPECT_NE(LogText(p).find("Call 5 on Interface 99 for Object 0 failed with result -3"), std::string::npos);
    ASSERT_TRUE(WriteAll(pair.peer, &zero, sizeof zero));
    EXPECT_EQ(p.GetMsg(pair.socket, CALL_PORT), 0);
    EXPECT_NE(LogText(p).find("invalid ftn ID"), std::string::npos);
    EXPECT_TRUE(Silent(pair.peer, 50));

    TIMsgHeader disc = Management(MFTN_DISCONNECT, 7, 0), ping = Management(MFTN_PING, 1, 2);
    ASSERT_TRUE(WriteAll(pair.peer, &disc, sizeof disc));
    EXPECT_EQ(p.GetMsg(pair.socket, EVENTS_PORT), RESERVED_24_RESULT);
    ASSERT_EQ(p.portEvents.size(), 1u);
    EXPECT_EQ(p.portEvents[0].port, EVENTS_PORT);
    ASSERT_TRUE(WriteAll(pair.peer, &ping, sizeof ping));
    EXPECT_EQ(p.GetMsg(pair.socket, CALL_PORT), 0);
    ASSERT_TRUE(ReadHeader(pair.peer, &reply));
    EXPECT_EQ(reply.flag, MFTN_PONG);

    EXPECT_EQ(p.GetMsg(pair.socket, CALL_PORT), NO_MESSAGE_RESULT);
    char desc[64];
    EXPECT_STREQ(p.ClientDesc(desc), "< Server >");   // nothing is being served now
    EXPECT_EQ(p.CallingClientID(), 0);
}

TEST(CProcessTimers, FireAtMost25PerPassAndMatchOnAllThreeKeys) {
    TempDir dir;
    RecordingClient p(dir / "trace", 0, 0);
    CountingTarget target;
    for (short i = 0; i < 30; ++i) p.StartTimer(0, i, 1, 100, &target);
    p.StartTimer(0, 0, 1, 100, &target);   // same identity: restarted, not added
    p.StartTimer(1000000, 5, 2, 100, &target);
    p.StartTimer(1000000, 5, 1, 101, &target);
    EXPECT_EQ(p.TimerCount(), 32);
    p.DumpTimers("Timers");
    EXPECT_NE(LogText(p).find("Timers count 32"), std::string::npos);

    EXPECT_EQ(p.CheckTimers(), 25);
    EXPECT_EQ(p.CheckTimers(), 5);
    EXPECT_EQ(p.CheckTimers(), 0);
    ASSERT_EQ(target.fired.size(), 30u);
    std::vector<short> sorted = target.fired;
    std::sort(sorted.begin(), sorted.end());
    for (short i = 0; i < 30; ++i) EXPECT_EQ(sorted[static_cast<size_t>(i)], i);

    EXPECT_FALSE(p.StopTimer(5, 2, 101));
    EXPECT_FALSE(p.StopTimer(5, 3, 100));
    EXPECT_TRUE(p.StopTimer(5, 2, 100));
    EXPECT_TRUE(p.StopTimer(5, 1, 101));
    EXPECT_EQ(p.TimerCount(), 0);
}

TEST(CClientProcessSockets, ConnectAndDestroySendTheManagementSequence) {
    TempDir dir;
    CServerSocket calls(nullptr, 0), events(nullptr, 0);
    ASSERT_TRUE(calls.Open());
    ASSERT_TRUE(events.Open());
    auto* client = new RecordingClient(dir / "trace", calls.BoundPort(), events.BoundPort(), 1000, 21);
    ASSERT_TRUE(client->OpenSockets());
    EXPECT_TRUE(client->SocketsOpen());
    int callFd = AcceptOne(calls), eventsFd = AcceptOne(events);
    ASSERT_GE(callFd, 0);
    ASSERT_GE(eventsFd, 0);

    client->ConnectSockets();
    ExpectManagement(eventsFd, MFTN_CONNECT, 21);
    ExpectManagement(callFd, MFTN_EVENTS, 21);

    // What waits on the events socket is served without blocking.
    TIMsgHeader pings[] = {Management(MFTN_PING, 1, 2), Management(MFTN_PING, 3, 4)};
    ASSERT_TRUE(WriteAll(eventsFd, pings, sizeof pings));
    usleep(20000);
    EXPECT_EQ(client->ProcessEvents(), 0);
    ExpectManagement(eventsFd, MFTN_PONG, 2);
    ExpectManagement(eventsFd, MFTN_PONG, 4);

    delete client;
    ExpectManagement(eventsFd, MFTN_DISCONNECT, 21);
    ExpectManagement(callFd, MFTN_EVENTS, 21);
    ExpectManagement(callFd, MFTN_DISCONNECT, 21);
    close(callFd);
    close(eventsFd);
}

TEST(CClientProcessSockets, ProcessEventsReportsABrokenEventsSocket) {
    TempDir dir;
    CServerSocket calls(nullptr, 0), events(nullptr, 0);
    ASSERT_TRUE(calls.Open());
    ASSERT_TRUE(events.Open());
    RecordingClient client(dir / "trace", calls.BoundPort(), events.BoundPort());
    ASSERT_TRUE(client.OpenSockets());
    int eventsFd = AcceptOne(events);
    ASSERT_GE(eventsFd, 0);
    EXPECT_EQ(client.ProcessEvents(), 0);
    close(eventsFd);
    usleep(20000);
    EXPECT_EQ(client.ProcessEvents(), CONNECTION_BROKEN);
    EXPECT_FALSE(client.EventsSocket()->IsOpen());
    EXPECT_EQ(client.ProcessEvents(), CONNECTION_BROKEN);
}

TEST(CClientProcessLoop, UnreachableServerEndsTheLoop) {
    TempDir dir;
    unsigned short port;
    {
        CServerSocket probe(nullptr, 0);
        ASSERT_TRUE(probe.Open());
        port = probe.BoundPort();
    }
    RecordingClient client(dir / "trace", port, port);
    auto start = Clock::now();
    client.MainLoop();
    double took = SecondsSince(start);
    EXPECT_TRUE(client.Exited());
    EXPECT_GT(took, 0.9);   // two pauses of 500 ms
    EXPECT_LT(took, 8.0);
    std::string log = LogText(client);
    EXPECT_NE(log.find("ReconnectToServer::Attempting to re-connect to server, try 1 "), std::string::npos);
    EXPECT_NE(log.find("ReconnectToServer::Attempting to re-connect to server, try 2 "), std::string::npos);
    EXPECT_EQ(log.find("re-connected"), std::string::npos);
    EXPECT_NE(log.find("Exited mainloop."), std::string::npos);
}

namespace {

// A server that counts what its clients announce.
class CountingServer : public CServerProcess {
public:
    using CServerProcess::CServerProcess;
    long PortManagement(CSocket* socket, TPort port, uint8_t code, long arg) override {
        if (code == MFTN_CONNECT) ++(port == CALL_PORT ? callConnects : eventsConnects);
        return CServerProcess::PortManagement(socket, port, code, arg);
    }
    void ClientConnected(long) override { ++pairings; }
    std::atomic<int> callConnects{0}, eventsConnects{0}, pairings{0};
};

}  // namespace

TEST(CClientProcessLoop, ReconnectsAfterTheServerDropsTheEventsSocket) {
    TempDir dir;
    CountingServer server((dir / "server").c_str(), "server", 0, 0, 1000);
    ASSERT_TRUE(server.Open());
    std::atomic<bool> stop{false}, drop{false};
    std::thread serverThread([&] {
        while (!stop) {
            server.RunOnce(10);
            if (drop.exchange(false)) server.DropClient(7);
        }
    });

    RecordingClient client(dir / "trace", server.BoundCallPort(), server.BoundEventsPort());
    ASSERT_TRUE(client.OpenSockets());
    client.ConnectSockets();
    auto start = Clock::now();
    bool dropped = false;
    client.stopWhen = [&] {
        if (!dropped && server.pairings == 1) {
            dropped = true;
            drop = true;
        }
        return server.pairings >= 2 || SecondsSince(start) > 10;
    };
    client.MainLoop();
    stop = true;
    serverThread.join();

    EXPECT_EQ(server.pairings, 2);
    EXPECT_EQ(server.eventsConnects, 2);   // CONNECT on the events socket again
    EXPECT_EQ(server.callConnects, 1);     // and, after the reconnect, on the call socket
    EXPECT_TRUE(client.SocketsOpen());
    EXPECT_TRUE(client.Exited());
    std::string log = LogText(client);
    EXPECT_NE(log.find("ReconnectToServer::client re-connected to server"), std::string::npos);
    EXPECT_EQ(log.find("ReconnectToServer::client event socket closed"), std::string::npos);
    EXPECT_NE(log.find("ReconnectToServer::client call socket closed."), std::string::npos);
}
