// The receive buffer of CSocket: bytes the system hands over together are framed one
// message at a time, and waits, Flush, the stall rule, a call's drain and wait, and the
// server's poll all see what is buffered. Also a direct send that must wait for room.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <thread>

#include "net_fixture.h"
#include "rpc/interface.h"
#include "rpc/method.h"

using namespace kvtest;

namespace {

struct Fixture {
    TempDir dir;
    RecordingClient process{dir / "trace", 0, 0, 5000};   // write timeout 500 ms
    SocketPair pair{&process};
    CSocket& s() { return *pair.socket; }
};

std::string Wire(TIMsgHeader h, const std::string& body = "") {
    h.length = static_cast<uint16_t>(body.size());
    return std::string(reinterpret_cast<const char*>(&h), sizeof h) + body;
}

std::string Wire(const TIMsg& m) { return std::string(reinterpret_cast<const char*>(&m), m.WireSize()); }

// Sends the bytes from another thread after a pause, so they arrive as a later segment.
std::thread Later(int fd, std::string bytes, int ms = 100) {
    return std::thread([fd, bytes, ms] {
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
        WriteAll(fd, bytes.data(), bytes.size());
    });
}

class CPumpProxy : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_PUMP, "IPump")
};

// The reply a server gives to a Count request: the count under the pointer tag.
TIMsg CountReply(const TIMsg& request, long count) {
    TIMsg r = request;
    std::swap(r.h.source, r.h.destination);
    r.h.result = 0;
    r.h.length = 6;
    r.data[0] = TAG_PLONG;
    const int32_t v = static_cast<int32_t>(count);
    std::memcpy(r.data + 1, &v, 4);
    r.data[5] = TAG_END;
    return r;
}

bool ReadMessage(int fd, TIMsg* m) {
    return ReadHeader(fd, &m->h) && (m->h.length == 0 || ReadAll(fd, m->data, m->h.length));
}

bool IsPong(const TIMsg& m, uint32_t a, uint32_t b) {
    return m.h.function == 1 && m.h.flag == MFTN_PONG && m.h.source == a && m.h.destination == b;
}

}  // namespace

TEST(CSocketBuffer, MessagesSharingASegmentOrSplitAcrossSegments) {
    Fixture f;
    // Two whole messages and the first 10 bytes of a third header, in one write.
    const std::string a = Wire(Header(13, 0, 7, 0, IF_PUMP), "abcde");
    const std::string b = Wire(Header(14, 0, 7, 0, IF_TANK));
    const std::string c = Wire(Header(15, 0, 7, 0, IF_HOSE), "xyz");
    const std::string first = a + b + c.substr(0, 10);
    ASSERT_TRUE(WriteAll(f.pair.peer, first.data(), first.size()));

    TIMsg msg;
    ASSERT_EQ(f.s().ReadMsg(&msg), 0);
    EXPECT_EQ(msg.h.function, 13);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(msg.data), msg.h.length), "abcde");
    // Everything has left the system already: only the buffer can say more is waiting.
    EXPECT_EQ(f.s().Buffered(), static_cast<long>(b.size() + 10));
    EXPECT_EQ(f.s().BytesInRxBuff(), f.s().Buffered());
    EXPECT_EQ(f.s().WaitForSocketEvent(0), CSocket::WAIT_DATA);
    ASSERT_EQ(f.s().ReadMsg(&msg), 0);
    EXPECT_EQ(msg.h.function, 14);
    EXPECT_EQ(msg.h.length, 0);

    // The buffered part of a header is data to wait for; the rest of the message arrives
    // later, in two more pieces, and completes it.
    EXPECT_EQ(f.s().WaitForSocketEvent(0), CSocket::WAIT_DATA);
    std::thread rest = Later(f.pair.peer, c.substr(10, 15));
    std::thread last = Later(f.pair.peer, c.substr(25), 250);
    ASSERT_EQ(f.s().ReadMsg(&msg), 0);
    rest.join();
    last.join();
    EXPECT_EQ(msg.h.function, 15);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(msg.data), msg.h.length), "xyz");
    EXPECT_EQ(f.s().Buffered(), 0);
    EXPECT_FALSE(f.s().MayHaveMore());
    EXPECT_EQ(f.s().ReadMsg(&msg), NO_MESSAGE_RESULT);
    EXPECT_EQ(f.s().WaitForSocketEvent(0), CSocket::WAIT_TIMEOUT);
}

TEST(CSocketBuffer, FlushDiscardsBufferedAndWaitingBytesAndCloseForgetsThem) {
    Fixture f;
    const std::string two = Wire(Header(13, 0, 7, 0, IF_PUMP)) + Wire(Header(14, 0, 7, 0, IF_PUMP), "12345");
    ASSERT_TRUE(WriteAll(f.pair.peer, two.data(), two.size()));
    TIMsg msg;
    ASSERT_EQ(f.s().ReadMsg(&msg), 0);
    const std::string third = Wire(Header(15, 0, 7, 0, IF_PUMP));
    ASSERT_TRUE(WriteAll(f.pair.peer, third.data(), third.size()));
    EXPECT_EQ(f.s().BytesInRxBuff(), static_cast<long>(two.size() - 24 + third.size()));

    EXPECT_EQ(f.s().Flush(), 0);
    EXPECT_EQ(f.s().BytesInRxBuff(), 0);
    EXPECT_EQ(f.s().ReadMsg(&msg), NO_MESSAGE_RESULT);
    const std::string fourth = Wire(Header(16, 0, 7, 0, IF_PUMP));
    ASSERT_TRUE(WriteAll(f.pair.peer, (fourth + fourth).data(), 2 * fourth.size()));
    ASSERT_EQ(f.s().ReadMsg(&msg), 0);
    EXPECT_EQ(msg.h.function, 16);

    // A closed socket has nothing buffered, and a read reports it closed.
    ASSERT_GT(f.s().Buffered(), 0);
    f.s().Close();
    EXPECT_EQ(f.s().Buffered(), 0);
    EXPECT_EQ(f.s().ReadMsg(&msg), CONNECTION_BROKEN);
    EXPECT_EQ(f.s().WaitForSocketEvent(0), CSocket::WAIT_FAILED);
}

// Before its request a call drops a stale reply and answers a PING that came in one
// segment; while it waits, a PING and the reply come in one segment too: the PING is
// answered and the reply, left in the buffer, is still found.
TEST(CSocketBuffer, CallDrainsAndWaitsThroughBufferedMessages) {
    Fixture f;
    CPumpProxy proxy(&f.process, f.pair.socket, 7);
    TIMsg stale;
    std::memset(&stale, 0, sizeof stale);
    stale.h = Header(5, 0, 7, 0, IF_PUMP);
    stale.h.object = 0xFFFFFFFFu;   // an abandoned Count, sequence 0
    const TIMsg staleReply = CountReply(stale, 99);
    const std::string before = Wire(staleReply) + Wire(Management(MFTN_PING, 5, 9));
    ASSERT_TRUE(WriteAll(f.pair.peer, before.data(), before.size()));

    std::vector<TIMsg> seen;
    std::thread server([&] {
        TIMsg m;
        for (int i = 0; i < 2 && ReadMessage(f.pair.peer, &m); ++i) seen.push_back(m);
        if (seen.size() != 2) return;
        const std::string answer = Wire(Management(MFTN_PING, 6, 8)) + Wire(CountReply(seen[1], 8));
        WriteAll(f.pair.peer, answer.data(), answer.size());
        if (ReadMessage(f.pair.peer, &m)) seen.push_back(m);
    });
    long n = 0;
    EXPECT_EQ(proxy.Count(&n), 0);
    server.join();
    EXPECT_EQ(n, 8);
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_TRUE(IsPong(seen[0], 9, 5));
    EXPECT_EQ(seen[1].h.function, 5);
    EXPECT_EQ(seen[1].h.sequence, 1);
    EXPECT_TRUE(IsPong(seen[2], 8, 6));
    EXPECT_EQ(f.s().Buffered(), 0);
}

// A direct send that finds no room waits for it, within the write timeout, and then
// writes the whole message once.
TEST(CSocketBuffer, SendWaitsForRoomThenWritesTheWholeMessage) {
    Fixture f;
    const long filler = FillSendBuffer(f.s());
    ASSERT_GT(filler, 0);
    std::string got;
    std::thread reader([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        std::vector<char> buf(static_cast<size_t>(filler) + 30);
        if (ReadAll(f.pair.peer, buf.data(), buf.size())) got.assign(buf.end() - 30, buf.end());
    });
    TIMsg msg;
    std::memset(&msg, 0, sizeof msg);
    msg.h = Header(13, 0, 7, 0, IF_PUMP, 6);
    std::memcpy(msg.data, "\x07\x01\x02\x03\x04\x13", 6);
    EXPECT_EQ(f.s().Send(&msg), 0);
    reader.join();
    EXPECT_EQ(got, Wire(msg));
}

TEST(CServerProcessBuffer, MessagesLeftInTheBufferAreServedOnLaterPasses) {
    TempDir dir;
    CServerProcess server((dir / "server").c_str(), "server", 0, 0, 1000);
    ASSERT_TRUE(server.Open());
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = htons(server.BoundCallPort());
    ASSERT_EQ(connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);

    // More PINGs in one segment than a pass serves from one socket: the rest stay in the
    // socket's buffer, where poll() cannot see them.
    constexpr int kPings = 20;
    std::string pings;
    for (int i = 0; i < kPings; ++i) pings += Wire(Management(MFTN_PING, static_cast<uint32_t>(i), 77));
    ASSERT_TRUE(WriteAll(fd, pings.data(), pings.size()));
    int pongs = 0;
    bool inOrder = true;
    EXPECT_TRUE(PumpUntil(server, [&] {
        TIMsgHeader h;
        while (!Silent(fd, 0) && ReadHeader(fd, &h)) {
            inOrder = inOrder && h.flag == MFTN_PONG && h.source == 77 && h.destination == static_cast<uint32_t>(pongs);
            ++pongs;
        }
        return pongs == kPings;
    }));
    EXPECT_EQ(pongs, kPings);
    EXPECT_TRUE(inOrder);
    close(fd);
}
