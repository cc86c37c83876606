// CSocket framing, management messages, pings, the outgoing queue, opening and the log port.
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "net_fixture.h"

using namespace kvtest;
using Clock = std::chrono::steady_clock;

namespace {

struct Fixture {
    TempDir dir;
    RecordingClient process{dir / "trace", 0, 0};
    SocketPair pair{&process};
    CSocket& s() { return *pair.socket; }
    std::string Log() const { return LogText(process); }
};

}  // namespace

TEST(CSocketFraming, WholeMessagesAndEndOfStream) {
    Fixture f;
    TIMsg msg;
    EXPECT_EQ(f.s().ReadMsg(&msg), NO_MESSAGE_RESULT);

    // A header alone is a complete message.
    TIMsgHeader h = Header(9, 0, 7, 0, IF_PUMP);
    ASSERT_TRUE(WriteAll(f.pair.peer, &h, sizeof h));
    ASSERT_EQ(f.s().ReadMsg(&msg), 0);
    EXPECT_EQ(msg.h.function, 9);
    EXPECT_EQ(msg.h.type, IF_PUMP);
    EXPECT_EQ(msg.h.length, 0);

    // Header and body, two messages back to back.
    unsigned char body[300];
    for (int i = 0; i < 300; ++i) body[i] = static_cast<unsigned char>(i);
    h = Header(13, 0, 7, 0, IF_TANK, sizeof body);
    std::string wire(reinterpret_cast<char*>(&h), sizeof h);
    wire.append(reinterpret_cast<char*>(body), sizeof body);
    wire += wire;
    ASSERT_TRUE(WriteAll(f.pair.peer, wire.data(), wire.size()));
    for (int n = 0; n < 2; ++n) {
        ASSERT_EQ(f.s().ReadMsg(&msg), 0);
        EXPECT_EQ(msg.h.length, 300);
        EXPECT_EQ(std::memcmp(msg.data, body, sizeof body), 0);
    }
    EXPECT_EQ(f.s().ReadMsg(&msg), NO_MESSAGE_RESULT);

    f.pair.ClosePeer();
    EXPECT_EQ(f.s().ReadMsg(&msg), CONNECTION_BROKEN);
}

// Bytes that stop part-way through a header or a body, also after a whole message that
// came in the same segment: ReadMsg gives up after about a second, with its log line.
TEST(CSocketFraming, StallGivesShortReadAfterAboutASecond) {
    TIMsgHeader whole = Header(13, 0, 7, 0, IF_PUMP, 2), body = Header(13, 0, 7, 0, IF_PUMP, 100);
    const std::string first = std::string(reinterpret_cast<char*>(&whole), sizeof whole) + "ab";
    const struct {
        std::string wire;
        bool afterMessage;
        const char* log;   // the expected count printed is the header size, not the body length
    } cases[] = {{std::string(10, '\1'), false, "Error on hdr read, expecting 24, read 10."},
                 {std::string(reinterpret_cast<char*>(&body), sizeof body) + std::string(10, '\0'), false,
                  "Error on body read, expecting 24, read 10."},
                 {first + std::string(10, '\1'), true, "Error on hdr read, expecting 24, read 10."}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.log);
        Fixture f;
        ASSERT_TRUE(WriteAll(f.pair.peer, c.wire.data(), c.wire.size()));
        TIMsg msg;
        if (c.afterMessage) {
            ASSERT_EQ(f.s().ReadMsg(&msg), 0);
        }
        auto start = Clock::now();
        EXPECT_EQ(f.s().ReadMsg(&msg), SHORT_READ_RESULT);
        double took = SecondsSince(start);
        EXPECT_GT(took, 0.8);
        EXPECT_LT(took, 3.0);
        EXPECT_NE(f.Log().find(c.log), std::string::npos);
        EXPECT_EQ(f.s().Buffered(), 0);
    }
}

TEST(CSocketFraming, OversizedLengthNeverOverrunsAndBreaksTheConnection) {
    Fixture f;
    struct {
        TIMsg msg;
        unsigned char guard[4096];
    } target;
    std::memset(&target, 0x5A, sizeof target);

    TIMsgHeader h = Header(13, 0, 7, 0, IF_PUMP);
    h.length = 3000;
    std::string wire(reinterpret_cast<char*>(&h), sizeof h);
    wire.append(3000, '\xAB');
    ASSERT_TRUE(WriteAll(f.pair.peer, wire.data(), wire.size()));

    EXPECT_EQ(f.s().ReadMsg(&target.msg), CONNECTION_BROKEN);
    // Shut down but still open: whoever uses it next meets the break and reconnects.
    EXPECT_TRUE(f.s().IsOpen());
    EXPECT_EQ(f.s().ReadMsg(&target.msg), CONNECTION_BROKEN);
    EXPECT_EQ(f.s().Write("x", 1), -1);
    for (unsigned char b : target.msg.data) ASSERT_EQ(b, 0x5A);
    for (unsigned char b : target.guard) ASSERT_EQ(b, 0x5A);
    EXPECT_NE(f.Log().find("Bad message length 3000"), std::string::npos);
}

TEST(CSocketManagement, PingPongEventsAndProcessCodes) {
    Fixture f;
    TIMsgHeader in[] = {Management(MFTN_PING, 5, 9), Management(MFTN_PONG, 0, 7), Management(MFTN_CONNECT, 42, 0),
                        Management(MFTN_INVALID, 1, 0), Management(MFTN_DISCONNECT, 42, 0),
                        Management(MFTN_CLOSE, 3, 0), Management(9, 4, 0), Management(MFTN_EVENTS, 42, 0)};
    ASSERT_TRUE(WriteAll(f.pair.peer, in, sizeof in));
    EXPECT_EQ(f.s().CheckForManagementFtn(), 0);

    // PING (5, 9) is answered with PONG (9, 5); nothing else goes back.
    TIMsgHeader out;
    ASSERT_TRUE(ReadHeader(f.pair.peer, &out));
    EXPECT_EQ(out.function, 1);
    EXPECT_EQ(out.flag, MFTN_PONG);
    EXPECT_EQ(out.source, 9u);
    EXPECT_EQ(out.destination, 5u);
    EXPECT_EQ(out.length, 0);
    EXPECT_TRUE(Silent(f.pair.peer, 50));

    EXPECT_EQ(f.s().PingStateValue(), CSocket::PING_ANSWERED);

    // Codes 0, 1, 2, 7 and above 7 go to the process with the port and the first argument.
    ASSERT_EQ(f.process.portEvents.size(), 5u);
    int codes[] = {MFTN_CONNECT, MFTN_INVALID, MFTN_DISCONNECT, MFTN_CLOSE, 9};
    long args[] = {42, 1, 42, 3, 4};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(f.process.portEvents[i].socket, &f.s());
        EXPECT_EQ(f.process.portEvents[i].port, CALL_PORT);
        EXPECT_EQ(f.process.portEvents[i].code, codes[i]);
        EXPECT_EQ(f.process.portEvents[i].arg, args[i]);
    }

    // EVENTS makes the process look at its events socket, except when it came on that socket.
    ASSERT_EQ(f.process.eventChecks.size(), 1u);
    EXPECT_EQ(f.process.eventChecks[0], 100);
    TIMsg ev;
    std::memset(&ev, 0, sizeof ev);
    ev.h = Management(MFTN_EVENTS, 42, 0);
    EXPECT_TRUE(f.s().IsSocketManagementFtn(&ev, EVENTS_PORT));
    EXPECT_EQ(f.process.eventChecks.size(), 1u);

    // A call is not a management message; only DISCONNECT counts as one.
    TIMsg call;
    std::memset(&call, 0, sizeof call);
    call.h = Header(5, 0, 7, 0, IF_PUMP);
    EXPECT_FALSE(f.s().IsSocketManagementFtn(&call, CALL_PORT));
    EXPECT_FALSE(CSocket::IsSocketDisconnectedFtn(&call));
    ev.h = Management(MFTN_DISCONNECT, 42, 0);
    EXPECT_TRUE(CSocket::IsSocketDisconnectedFtn(&ev));
}

TEST(CSocketManagement, ShutdownStopsTheProcessOnlyWhenItFollowsTheServer) {
    Fixture follow;
    TIMsgHeader sd = Management(MFTN_SHUTDOWN, 0, 0);
    ASSERT_TRUE(WriteAll(follow.pair.peer, &sd, sizeof sd));
    EXPECT_EQ(follow.s().CheckForManagementFtn(), NO_SESSION_RESULT);
    EXPECT_FALSE(follow.process.Running());
    EXPECT_EQ(follow.process.logoffs, 1);
    EXPECT_NE(follow.Log().find("Shutdown in CSocket::IsSocketManagementFtn"), std::string::npos);
    EXPECT_NE(follow.Log().find("Shutting down parent"), std::string::npos);

    Fixture stay;
    stay.process.SetShutdownWithServer(false);
    ASSERT_TRUE(WriteAll(stay.pair.peer, &sd, sizeof sd));
    EXPECT_EQ(stay.s().CheckForManagementFtn(), 0);
    EXPECT_TRUE(stay.process.Running());
    EXPECT_EQ(stay.process.logoffs, 0);
    EXPECT_NE(stay.Log().find("Shutdown in CSocket::IsSocketManagementFtn"), std::string::npos);
    EXPECT_EQ(stay.Log().find("Shutting down parent"), std::string::npos);
}

TEST(CSocketPing, ClientPingNeedsTheMatchingPongWithinThreeMessages) {
    for (int wrongOnes : {2, 3}) {
        Fixture f;
        // Stale input is flushed before the PING goes out.
        TIMsgHeader stale = Management(MFTN_PONG, 0, 7);
        ASSERT_TRUE(WriteAll(f.pair.peer, &stale, sizeof stale));
        std::thread peer([&] {
            TIMsgHeader ping;
            if (!ReadHeader(f.pair.peer, &ping) || ping.flag != MFTN_PING || ping.source != 7 || ping.destination != 0)
                return;
            TIMsgHeader others[] = {Management(MFTN_PONG, 7, 0), Management(MFTN_PONG, 0, 8), Header(5, 0, 0, 7, IF_PUMP)};
            for (int i = 0; i < wrongOnes; ++i) WriteAll(f.pair.peer, &others[i], sizeof others[i]);
            TIMsgHeader right = Management(MFTN_PONG, 0, 7);
            WriteAll(f.pair.peer, &right, sizeof right);
        });
        int r = f.s().ClientPing(7);
        peer.join();
        if (wrongOnes == 2) {
            EXPECT_EQ(r, 0);
            EXPECT_EQ(f.s().PingStateValue(), CSocket::PING_ANSWERED);
        } else {
            EXPECT_EQ(r, CONNECTION_BROKEN);
            EXPECT_EQ(f.s().PingStateValue(), CSocket::PING_SENT);
        }
    }
}

TEST(CSocketPing, ServerPingAndASilentPeer) {
    Fixture f;
    std::thread peer([&] {
        TIMsgHeader ping;
        if (!ReadHeader(f.pair.peer, &ping) || ping.source != 0 || ping.destination != 12) return;
        TIMsgHeader wrong = Management(MFTN_PONG, 0, 12), right = Management(MFTN_PONG, 12, 0);
        WriteAll(f.pair.peer, &wrong, sizeof wrong);
        usleep(120000);
        WriteAll(f.pair.peer, &right, sizeof right);
    });
    EXPECT_EQ(f.s().ServerPing(12), 0);
    peer.join();

    // Nobody answers: 51 passes of 50 ms, then a broken connection.
    auto start = Clock::now();
    EXPECT_EQ(f.s().ServerPing(12), CONNECTION_BROKEN);
    EXPECT_GT(SecondsSince(start), 2.0);
}

TEST(CSocketQueue, QueuedMessagesWaitThenAgeOutUnsent) {
    TempDir dir;
    RecordingClient process(dir / "trace", 0, 0, 1500);
    int fds[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
    CSocket s(&process, fds[0], nullptr, true);
    long filler = FillSendBuffer(s);
    ASSERT_GT(filler, 0);

    TIMsg msg;
    std::memset(&msg, 0, sizeof msg);
    msg.h = Header(13, 0, 7, 0, IF_PUMP, 4);
    EXPECT_EQ(s.Send(&msg), 0);
    EXPECT_EQ(s.Send(&msg), 0);
    EXPECT_EQ(s.QueuedCount(), 2);
    EXPECT_EQ(s.WriteFlush(), NO_MESSAGE_RESULT);   // still young: kept
    EXPECT_EQ(s.QueuedCount(), 2);

    usleep(2100000);
    EXPECT_EQ(s.WriteFlush(), 0);
    EXPECT_EQ(s.QueuedCount(), 0);

    // The peer receives the filler and nothing else.
    std::vector<char> buf(static_cast<size_t>(filler));
    EXPECT_TRUE(ReadAll(fds[1], buf.data(), buf.size()));
    EXPECT_TRUE(Silent(fds[1], 100));
    close(fds[1]);
}

TEST(CSocketQueue, DirectSendTimesOutOnAFullBufferAndBreaksOnAClosedPeer) {
    TempDir dir;
    RecordingClient process(dir / "trace", 0, 0, 200);   // write timeout 20 ms
    SocketPair pair(&process);
    FillSendBuffer(*pair.socket);
    TIMsg msg;
    std::memset(&msg, 0, sizeof msg);
    msg.h = Header(13, 0, 7, 0, IF_PUMP);
    EXPECT_EQ(pair.socket->Send(&msg), TIMEOUT_RESULT);
    EXPECT_EQ(pair.socket->ManagementFtn(MFTN_PING, 1, 2), TIMEOUT_RESULT);

    // A peer that has gone: no SIGPIPE, just a broken connection.
    pair.ClosePeer();
    EXPECT_EQ(pair.socket->Send(&msg), CONNECTION_BROKEN);
    EXPECT_NE(LogText(process).find("errno = "), std::string::npos);
}

TEST(CSocketOpen, ConnectsRefusesAndWaits) {
    TempDir dir;
    RecordingClient process(dir / "trace", 0, 0);
    CServerSocket listener(&process, 0);
    ASSERT_TRUE(listener.Open());
    unsigned short port = listener.BoundPort();
    ASSERT_NE(port, 0);

    CSocket s(&process, CStr("127.0.0.1"), port);
    EXPECT_EQ(s.WaitForSocketEvent(0), CSocket::WAIT_FAILED);   // closed
    ASSERT_TRUE(s.Open());
    EXPECT_TRUE(s.Synchronous());
    std::string log = LogText(process);
    char line[64];
    std::snprintf(line, sizeof line, "Opening port %d on 127.0.0.1", port);
    EXPECT_NE(log.find(line), std::string::npos);
    EXPECT_NE(log.find("Socket SO_RCVBUF = "), std::string::npos);
    EXPECT_NE(log.find("Socket SO_SNDBUF = "), std::string::npos);

    int accepted = -1;
    for (int i = 0; i < 100 && accepted < 0; ++i) {
        accepted = listener.Accept();
        if (accepted < 0) usleep(10000);
    }
    ASSERT_GE(accepted, 0);
    // The wait lasts its time-out, while a read that must not wait returns at once.
    auto start = Clock::now();
    EXPECT_EQ(s.WaitForSocketEvent(20), CSocket::WAIT_TIMEOUT);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(15));
    char none[4];
    EXPECT_EQ(s.Read(none, sizeof none, false), 0);
    TIMsgHeader h = Management(MFTN_PONG, 0, 0);
    ASSERT_TRUE(WriteAll(accepted, &h, sizeof h));
    CSocket* which = nullptr;
    EXPECT_EQ(s.WaitForSocketEvent(1000, &which), CSocket::WAIT_DATA);
    EXPECT_EQ(which, &s);
    s.SetSynchronous(false);
    EXPECT_EQ(s.WaitForSocketEvent(0), CSocket::WAIT_NOT_SYNCHRONOUS);
    s.SetSynchronous(true);
    TIMsg msg;
    EXPECT_EQ(s.ReadMsg(&msg), 0);
    // A peer that closes ends the wait; the read after it reports the broken connection.
    close(accepted);
    start = Clock::now();
    EXPECT_EQ(s.WaitForSocketEvent(5000), CSocket::WAIT_DATA);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(2));
    EXPECT_EQ(s.ReadMsg(&msg), CONNECTION_BROKEN);

    // Nothing listens any more on that port.
    listener.Close();
    CSocket refused(&process, CStr("127.0.0.1"), port);
    EXPECT_FALSE(refused.Open());
    EXPECT_FALSE(refused.IsOpen());
    EXPECT_EQ(refused.LastError(), ECONNREFUSED);
    CSocket noHost(&process, CStr(""), port);
    EXPECT_FALSE(noHost.Open());
}

TEST(CSocketLog, WatchersGetEveryLineAndAreDroppedWhenGone) {
    TempDir dir;
    RecordingClient process(dir / "trace", 0, 0);
    CWatchedLog log(&process, 0, (dir / "watched").c_str(), "title", 0, 100000, 2, false, false);
    ASSERT_GT(log.PortNo(), 0);

    CSocket watcher(nullptr, CStr("127.0.0.1"), static_cast<unsigned short>(log.PortNo()));
    ASSERT_TRUE(watcher.Open());
    for (int i = 0; i < 100 && log.LogPort().ClientCount() == 0; ++i) {
        log.CheckForLogClients();
        if (log.LogPort().ClientCount() == 0) usleep(10000);
    }
    ASSERT_EQ(log.LogPort().ClientCount(), 1);
    EXPECT_NE(LogText(process).find("Logging client accepted."), std::string::npos);

    log.Log("hello %d", 42);
    char got[64] = {};
    ASSERT_EQ(watcher.Read(got, 9, true), 9);
    EXPECT_STREQ(got, "hello 42\n");
    EXPECT_NE(ReadFile(dir / "watched.L00").find("hello 42"), std::string::npos);

    watcher.Close();
    for (int i = 0; i < 50 && log.LogPort().ClientCount() > 0; ++i) {
        log.Log("after close");
        usleep(10000);
    }
    EXPECT_EQ(log.LogPort().ClientCount(), 0);
}
