#include <gtest/gtest.h>
#include <atomic>
#include <cstdlib>
#include <new>
#include <thread>
#include "rpc_fixture.h"

// Heap allocations made by each thread, to hold the call path to none. The replacements
// take and give back through one pair of functions the compiler does not see into.
thread_local long tAllocations = 0;

namespace {
__attribute__((noinline)) void* Take(std::size_t n)
{
    ++tAllocations;
    if (void* p = std::malloc(n ? n : 1))
        return p;
    throw std::bad_alloc();
}
__attribute__((noinline)) void GiveBack(void* p) { std::free(p); }
}  // namespace

void* operator new(std::size_t n) { return Take(n); }
void* operator new[](std::size_t n) { return Take(n); }
void operator delete(void* p) noexcept { GiveBack(p); }
void operator delete(void* p, std::size_t) noexcept { GiveBack(p); }
void operator delete[](void* p) noexcept { GiveBack(p); }
void operator delete[](void* p, std::size_t) noexcept { GiveBack(p); }

namespace {

struct Rig : CRig {
    Rig() { server.Objects().Add(new CPhyObject(7, 1, CStr("seven"), &proc)); }
};

}  // namespace

TEST(MethodTable, InfoComesFromTheRow)
{
    EXPECT_STREQ("s* l* S* C* D* x*", CITest::GetStatusInfo.wire);
    EXPECT_STREQ("l l S s", CITest::SetInfo.wire);
    EXPECT_STREQ("c b d c* b* d*", CITest::MixedInfo.wire);
    EXPECT_STREQ("", CITest::AuthoriseInfo.wire);
    EXPECT_EQ(THdr::SetCls, CITest::SetInfo.hdr);
    EXPECT_EQ(NOTE_FLAGSKIP, CITest::SetInfo.notes);
    EXPECT_EQ(4, CITest::SetInfo.iface);
    EXPECT_STREQ("ITest", CITest::SetInfo.module);
    ASSERT_EQ(7u, std::size(CITest::kMethods));
    EXPECT_EQ(&CITest::SetInfo, CITest::kMethods[3]);
    EXPECT_STREQ("New", KvCommon::NewInfo.name);
    EXPECT_STREQ("S l l", KvCommon::NewInfo.wire);
    EXPECT_STREQ("Process", KvCommon::NewInfo.module);
    EXPECT_EQ(11u, std::size(KvCommon::kMethods));
}

TEST(MethodCall, ArgumentsTravelAndReferencesComeBack)
{
    Rig r;
    short a = 1;
    long b = 0;
    CStr s("ask");
    CCur c = CCur::FromRaw(21);
    CDate d;
    long long x = 0;
    EXPECT_EQ(0, r.client.GetStatus(7, &a, &b, &s, &c, &d, &x));
    EXPECT_TRUE(a == 2 && b == -123456 && c.Value() == 42 && d.Ticks() == 42 && x == -(1LL << 40));
    EXPECT_STREQ("reply", static_cast<char*>(s));
    EXPECT_EQ(0, r.client.GetStatus(7, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(Bytes(18, 18, 18, 18, 18, 18, 19), Data(r.Last()));
    EXPECT_EQ("GetStatus(7)[ask]GetStatus(7)[null]", r.server.calls);

    char pc = 0;
    bool pb = true;
    double pd = 0;
    EXPECT_EQ(0, r.client.Mixed(7, 'q', true, 1.25, &pc, &pb, &pd));
    EXPECT_TRUE(pc == 'q' && !pb && pd == 2.5);
    long count = 0;
    EXPECT_EQ(0, r.client.CountFiltered(&count, 3, 4LL, CDate::FromTicks(5)));
    EXPECT_EQ(12, count);
    EXPECT_EQ(0, r.client.Set(7, 2, CStr("nm"), short{3}));
    EXPECT_EQ(0xFFFFFFFFu, r.Last().h.object);
    EXPECT_EQ(Bytes(6, 7, 0, 0, 0, 6, 2, 0, 0, 0, 14, 2, 0, 'n', 0, 'm', 0, 4, 3, 0, 19), Data(r.Last()));
}

TEST(MethodCall, GuardResultsAndLogLines)
{
    Rig r;
    const uint16_t seq = r.client.Sequence();
    EXPECT_EQ(-7, r.client.Authorise(-1));
    EXPECT_EQ(-7, r.client.Set(-1, 2, CStr("n"), short{0}));
    EXPECT_TRUE(r.link.sent.empty());
    EXPECT_EQ(seq, r.client.Sequence());
    EXPECT_EQ(0, r.client.Logon(-1, 3));   // no guard: goes out with header object -1
    EXPECT_EQ(0xFFFFFFFFu, r.Last().h.object);
    EXPECT_EQ(-7, r.client.Authorise(99));   // the server knows no object 99
    r.server.result = 5;
    EXPECT_EQ(5, r.client.Authorise(7));
    EXPECT_FALSE(r.proc.log.Has("Throw") || r.proc.log.Has("Catch"));

    r.server.result = -3;
    EXPECT_EQ(-3, r.client.CountFiltered(nullptr, 0, 0LL, CDate()));   // quiet
    EXPECT_TRUE(r.proc.log.Has("Throw -3, Line "));
    EXPECT_FALSE(r.proc.log.Has("Catch"));
    EXPECT_EQ(-3, r.client.Authorise(7));
    EXPECT_TRUE(r.proc.log.Has("Catch -3, Line ") && r.proc.log.Has("File ITest, Ftn Authorise"));

    r.server.result = 0;
    r.link.peer = [&r](TIMsg& m) {   // a value tag where a pointer tag belongs
        TIMsg reply = ReplyTo(m);
        reply.data[0] = TAG_SHORT, reply.data[1] = 1, reply.data[2] = 0, reply.data[3] = TAG_END, reply.h.length = 4;
        r.link.Push(reply);
    };
    short a = 0;
    EXPECT_EQ(-11, r.client.GetStatus(7, &a, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_TRUE(r.proc.log.Has("Catch -11") && r.proc.log.Has("Ftn GetStatus"));
}

TEST(MethodCall, FlagSkipOneWayAndDraining)
{
    Rig r;
    auto junkReply = [&r](uint8_t flag, int16_t result) {
        r.link.peer = [&r, flag, result](TIMsg& m) {
            TIMsg reply = ReplyTo(m, result);
            reply.h.flag = flag;
            reply.data[0] = TAG_LONG, reply.h.length = 5;
            r.link.Push(reply);
        };
    };
    junkReply(1, 0);
    EXPECT_EQ(0, r.client.Set(7, 1, CStr(""), short{0}));   // body never read
    junkReply(1, 6);
    EXPECT_EQ(6, r.client.Set(7, 1, CStr(""), short{0}));
    junkReply(0, 0);
    EXPECT_EQ(-11, r.client.Set(7, 1, CStr(""), short{0}));
    junkReply(1, 0);
    EXPECT_EQ(-11, r.client.Authorise(7));   // not a flag-skip row: the body is read

    r.server.Serve(r.link);
    EXPECT_EQ(0, r.client.Report(7, short{1}, CCur::FromRaw(5)));
    EXPECT_EQ(1, r.Last().h.flag);
    EXPECT_TRUE(r.link.in.empty());
    EXPECT_EQ(0, r.client.Delete(7, true));
    EXPECT_EQ(1, r.Last().h.flag);
    EXPECT_EQ(0, r.server.GetCount());   // deleted, and nothing answered

    // A late reply waiting on the socket is dropped before the next request goes out.
    TIMsg stale = ReplyTo(r.Last());
    stale.h.sequence = 1;
    r.link.Push(stale);
    EXPECT_EQ(-7, r.client.Authorise(7));   // object 7 is gone: the real answer, not the stale one
    r.link.peer = [&r](TIMsg& m) { TIMsg old = ReplyTo(m); --old.h.sequence; r.link.Push(old); };
    EXPECT_EQ(-8, r.client.Authorise(8));
}

TEST(MethodCall, ManagementMessagesWhileWaiting)
{
    Rig r;
    TIMsg mgmt{};
    mgmt.h.kind = 1, mgmt.h.function = 1, mgmt.h.flag = MFTN_PING, mgmt.h.source = 3, mgmt.h.destination = 4;
    r.link.peer = [&](TIMsg& m) {
        r.link.Push(mgmt);
        ProcessAndPush(r.server, r.link, m);
    };
    EXPECT_EQ(0, r.client.Authorise(7));
    const TIMsg& pong = r.link.sent[r.link.sent.size() - 1];
    EXPECT_TRUE(pong.h.function == 1 && pong.h.flag == MFTN_PONG && pong.h.source == 4 && pong.h.destination == 3);

    mgmt.h.flag = MFTN_SHUTDOWN;
    r.link.peer = [&](TIMsg&) { r.link.Push(mgmt); };
    r.proc.SetLogBrokenConnection(true);
    r.proc.onReconnect = [] { return long{CONNECTION_BROKEN}; };
    EXPECT_EQ(-14, r.client.Authorise(7));
    EXPECT_TRUE(r.proc.log.Has("CInterface::Get() CONNECTION_BROKEN"));
}

TEST(MethodCall, RetriesTheSameRequestAfterAReconnect)
{
    Rig r;
    int seen = 0;
    r.link.peer = [&](TIMsg& m) {   // the first request is lost; a PING is read over it
        if (seen++) {
            ProcessAndPush(r.server, r.link, m);
            return;
        }
        TIMsg ping{};
        ping.h.kind = 1, ping.h.function = 1, ping.h.flag = MFTN_PING;
        r.link.Push(ping);
    };
    EXPECT_EQ(0, r.client.Authorise(7));
    ASSERT_EQ(3u, r.link.sent.size());   // request, PONG, request
    EXPECT_EQ(0, std::memcmp(&r.link.sent[0], &r.link.sent[2], r.link.sent[0].WireSize()));
    EXPECT_EQ(1, r.proc.reconnects);

    r.link.failWrites = 100;
    EXPECT_EQ(-14, r.client.Authorise(7));
    EXPECT_EQ(3, r.proc.reconnects);   // two more: three tries in all

    CTestClient<IF_CLIENT> clientIf(&r.proc, &r.link, kClientId);
    EXPECT_EQ(-14, clientIf.Set(7, 1, CStr(""), short{0}));   // function 14 of the client interface
    EXPECT_EQ(3, r.proc.reconnects);

    r.proc.onReconnect = [] { return long{SOCKETS_INUSE_RESULT}; };
    EXPECT_EQ(60, r.client.Authorise(7));
    EXPECT_EQ(4, r.proc.reconnects);

    CFakeLink fresh(&r.proc);
    r.server.Serve(fresh);
    r.proc.onReconnect = [&] { r.client.SetSocket(&fresh); return 0L; };
    EXPECT_EQ(0, r.client.Authorise(7));
    EXPECT_EQ(1u, fresh.sent.size());

    CITest unbound(&r.proc, nullptr, kClientId);
    EXPECT_EQ(-19, unbound.Authorise(7));
    EXPECT_EQ(5, r.proc.reconnects);
}

TEST(MethodCallLoopback, TableCallsOverRealSocketsAllocateNothing)
{
    kvtest::TempDir dir;
    CServerProcess server((dir / "server").c_str(), "server", 0, 0, 1000);
    ASSERT_TRUE(server.Open());
    auto* served = new CTestServer(&server);
    served->Objects().Add(new CPhyObject(7, 1, CStr("seven"), &server));
    server.AddInterface(served);
    std::atomic<bool> stop{false};
    std::thread loop([&] {
        while (!stop)
            server.RunOnce(10);
    });
    kvtest::RecordingClient client(dir / "client", server.BoundCallPort(), server.BoundEventsPort(), 1000, kClientId);
    ASSERT_TRUE(client.OpenSockets());
    client.ConnectSockets();
    CITest proxy(&client, client.CallSocket(), kClientId);

    short a = 1;
    long version = 0;
    CStr s("askask");   // room for the answer: the string need not grow
    const long before = tAllocations;
    EXPECT_EQ(0, proxy.GetStatus(7, &a, nullptr, &s, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, proxy.Report(7, short{1}, CCur()));
    EXPECT_EQ(0, proxy.GetVersion(&version));
    EXPECT_EQ(before, tAllocations);
    EXPECT_EQ(0, proxy.Set(7, 2, CStr("nm"), short{3}));
    EXPECT_EQ(-7, proxy.Authorise(8));
    stop = true;
    loop.join();
    EXPECT_TRUE(a == 2 && version == 4);
    EXPECT_STREQ("reply", static_cast<char*>(s));
    EXPECT_EQ("GetStatus(7)[askask]Report(7)Set(7,2,nm,3)", served->calls);
}
