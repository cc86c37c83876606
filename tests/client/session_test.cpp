// CKVCLProcess against a scripted server: the logon handshake, busy retries, the version
// check, reconnection under the session ID, result mapping, the event queue, and an
// exported call path that allocates nothing once a session is up.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <set>

#include "client/session.h"
#include "common/alloc_count.h"
#include "common/fake_server.h"
#include "proxies/IClient.h"
#include "proxies/IPump.h"

using namespace kvtest;

namespace {

using Bytes = std::vector<uint8_t>;

// A request of the client interface as the client proxy builds it, header and data.
Bytes Request(uint8_t function, long client, uint16_t sequence, uint32_t object, const Bytes& data) {
    FakeCall c;
    c.h = Header(function, 0, static_cast<uint32_t>(client), 0, IF_CLIENT, static_cast<uint16_t>(data.size()));
    c.h.sequence = sequence;
    c.h.object = object;
    c.data = data;
    return c.Bytes();
}

// What the server handled on the call port, as "13" for a call and "EVENTS" for the
// management message; CONNECTs on the events port are collected apart.
std::vector<std::string> CallPortTrace(const std::vector<FakeEntry>& entries, std::vector<long>* connects) {
    std::vector<std::string> out;
    for (const FakeEntry& e : entries) {
        if (!e.management)
            out.push_back(std::to_string(e.call.h.function));
        else if (e.port == CALL_PORT)
            out.push_back(e.code == MFTN_EVENTS ? "EVENTS" : "MFTN" + std::to_string(e.code));
        else if (e.code == MFTN_CONNECT && connects)
            connects->push_back(e.arg);
    }
    return out;
}

size_t Count(const std::string& text, const std::string& what) {
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
}

using CKVCLProcessLogon = FakeServerTest;
using CKVCLProcessReconnect = FakeServerTest;
using CKVCLProcessCheckResult = FakeServerTest;
using CKVCLProcessEvents = FakeServerTest;
using ApiFrameCallPath = FakeServerTest;
using CKVCLProcessHostileServer = FakeServerTest;

// Raw bytes written by the server on one of the client's sockets.
void ServerWrites(CFakeServer& server, long client, TPort port, const std::string& bytes) {
    server.RunOnServer([&](CFakeServer& f) {
        CSocket* sock = port == CALL_PORT ? f.CallSocketOf(client) : f.EventsSocketOf(client);
        ASSERT_NE(sock, nullptr);
        EXPECT_EQ(sock->Write(bytes.data(), static_cast<long>(bytes.size())), static_cast<long>(bytes.size()));
    });
}

// Waits until n bytes sent by the server wait on the session's call socket.
bool Arrived(CKVCLProcess* s, long n) {
    return WaitUntil([&] { return s->CallSocket()->BytesInRxBuff() >= n; });
}

std::string Raw(const TIMsgHeader& h, const Bytes& data = {}) {
    std::string out(reinterpret_cast<const char*>(&h), sizeof h);
    return out + std::string(data.begin(), data.end());
}

// A one-way events call of the server to client `client`.
std::string EventsCall(long client, uint8_t function, const Bytes& data) {
    TIMsgHeader h = Header(function, 1, 0, static_cast<uint32_t>(client), IF_EVENTS, static_cast<uint16_t>(data.size()));
    h.object = 0xFFFFFFFF;
    return Raw(h, data);
}

class TestEvent : public CEvent {
public:
    explicit TestEvent(short type) : _type(type) {}
    short Type() const override { return _type; }

private:
    short _type;
};

}  // namespace

TEST_F(CKVCLProcessLogon, HandshakeOfEachClientTypeByteByByte) {
    struct Case {
        short type;
        std::vector<std::string> trace;
    };
    const Case cases[] = {{1, {"13", "37", "40", "23"}}, {3, {"13", "EVENTS", "37", "16", "40", "23"}},
                          {5, {"13", "37", "40", "23"}}, {7, {"13", "EVENTS", "37", "16", "16", "40", "23"}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.type);
        const long id = 10 + c.type;
        server.Clear();
        CKVCLProcess* s = nullptr;
        ASSERT_EQ(server.Logon(&s, id, c.type), 0);
        ASSERT_NE(s, nullptr);
        EXPECT_EQ(std::make_tuple(s->GoodConnection(), s->SessionID(), s->ClientEventType(), s->Pump() != nullptr),
                  std::make_tuple(true, CFakeServer::kSessionID, 3143L, (c.type & 1) != 0));

        std::vector<long> connects;
        EXPECT_EQ(CallPortTrace(server.Entries(), &connects), c.trace);
        EXPECT_EQ(connects, (c.type & 2) ? std::vector<long>{id} : std::vector<long>{});

        // Every request of the handshake, header and values, in order and numbered 1, 2, ...
        const auto calls = server.CallsTo(IF_CLIENT);
        std::vector<Bytes> expected;
        uint16_t seq = 0;
        expected.push_back(Request(13, id, ++seq, 0xFFFFFFFF, Wire().L(id).Str("POS Client").End()));
        expected.push_back(Request(37, id, ++seq, id, Wire().PX(-1).End()));
        if (c.type & 2) expected.push_back(Request(16, id, ++seq, id, Wire().S(2).End()));
        if ((c.type & 6) == 6) expected.push_back(Request(16, id, ++seq, id, Wire().S(1).End()));
        expected.push_back(Request(40, id, ++seq, id, Wire().L(0x0C47).End()));
        expected.push_back(Request(23, id, ++seq, 0xFFFFFFFF, Wire().Str("", TAG_PSTR).End()));
        ASSERT_EQ(calls.size(), expected.size());
        for (size_t i = 0; i < calls.size(); ++i) EXPECT_EQ(calls[i].Bytes(), expected[i]) << "request " << i;

        const std::string log = dir.ClientLog(id);
        char line[128];
        std::snprintf(line, sizeof line, "Client %ld logging on with type %02X", id, c.type);
        EXPECT_NE(log.find(line), std::string::npos);
        EXPECT_NE(log.find("Logon() successful Session ID 81985529216486895 ClientType 00000C47"), std::string::npos);
        EXPECT_NE(log.find("CheckVersions [2,5,6,0] <> [2,5,6,0]"), std::string::npos);

        server.Clear();
        EXPECT_EQ(Got(ClientLogoffMT(&s), s), std::make_tuple(0, nullptr));
        const auto logoffs = server.CallsTo(IF_CLIENT, 14);
        ASSERT_EQ(logoffs.size(), 1u);
        EXPECT_EQ(logoffs[0].Object(), id);
        std::snprintf(line, sizeof line, "ClientLogoff %ld logged off, 0.", id);
        EXPECT_NE(dir.ClientLog(id).find(line), std::string::npos);
        EXPECT_TRUE(server.WaitForNoClients());
    }
    // Nothing to log off: 8, and no line.
    CKVCLProcess* none = nullptr;
    EXPECT_EQ(ClientLogoffMT(&none), 8);
}

TEST_F(CKVCLProcessLogon, BusyServerIsAskedAgainAndOtherFailuresEndTheLogon) {
    server.QueueResults(IF_CLIENT, 13, std::vector<long>(9, 54));
    CKVCLProcess* s = nullptr;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(server.Logon(&s, 4, 1), 0);
    EXPECT_GE(SecondsSince(start), 9.0);
    EXPECT_EQ(server.CallsTo(IF_CLIENT, 13).size(), 10u);
    const std::string log = dir.ClientLog(4);
    EXPECT_EQ(Count(log, "Logon result 54, try "), 9u);
    for (int i = 0; i < 9; ++i) EXPECT_NE(log.find("Logon result 54, try " + std::to_string(i) + "."), std::string::npos);

    // Any other refusal ends the logon at once, and no session remains.
    server.QueueResults(IF_CLIENT, 13, {-7});
    EXPECT_EQ(Got(server.Logon(&s, 4, 1), s), std::make_tuple(-7, nullptr));
    EXPECT_NE(dir.ClientLog(4).find("Logon result -7, try 0."), std::string::npos);

    // Failures after the logon call log off (on the server too once the session ID is
    // known) and end the logon with the server's result.
    server.QueueResults(IF_CLIENT, 37, {-5});
    EXPECT_EQ(server.Logon(&s, 4, 1), -5);
    server.QueueResults(IF_CLIENT, 16, {-3});
    server.Clear();
    EXPECT_EQ(server.Logon(&s, 4, 7), -3);
    EXPECT_TRUE(s == nullptr && server.CallsTo(IF_CLIENT, 14).size() == 1u);
    const std::string failures = dir.ClientLog(4);
    EXPECT_NE(failures.find("Logon() GetSessionID Logoff"), std::string::npos);
    EXPECT_NE(failures.find("Logon() RegisterInterface EVENTS_OBJECT Logoff"), std::string::npos);

    // A server that cannot be reached: -19.
    EXPECT_EQ(Got(ClientLogonExMT(&s, 4, 1, "127.0.0.1", 1, 1, 500, nullptr, nullptr, 0), s), std::make_tuple(-19, nullptr));
}

TEST_F(CKVCLProcessLogon, ServerOlderThanTheLibraryIsRefused) {
    const std::pair<const char*, long> cases[] = {
        {"KVServer Version 2,5,5,9", 56}, {"KVServer Version 2,5,6,0", 0}, {"KVServer Version 2,6,0,0", 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        server.On(IF_CLIENT, 23, [&c](const FakeCall&, FakeReply& r) { r.Str(0, c.first); });
        CKVCLProcess* s = nullptr;
        EXPECT_EQ(server.Logon(&s, 5, 1), c.second);
        EXPECT_EQ(s != nullptr, c.second == 0);
        if (s) ClientLogoffMT(&s);
    }
    const std::string log = dir.ClientLog(5);
    EXPECT_NE(log.find("CheckVersions [2,5,5,9] <> [2,5,6,0]"), std::string::npos);
    EXPECT_NE(log.find("CheckVersions [2,6,0,0] <> [2,5,6,0]"), std::string::npos);
}

TEST_F(CKVCLProcessReconnect, ResumesTheSessionAndSendsTheCallAgain) {
    CKVCLProcess* s = nullptr;
    ASSERT_EQ(server.Logon(&s, 21, 3), 0);
    std::atomic<int> allStops{0};
    server.On(IF_CLIENT, 19, [&](const FakeCall&, FakeReply& r) { r.drop = ++allStops == 1; });
    server.Clear();

    EXPECT_EQ(AllStopMT(s), 0);
    std::vector<long> connects;
    EXPECT_EQ(CallPortTrace(server.Entries(), &connects), (std::vector<std::string>{"19", "36", "EVENTS", "40", "19"}));
    EXPECT_EQ(connects, std::vector<long>{21});
    const auto stops = server.CallsTo(IF_CLIENT, 19);
    ASSERT_EQ(stops.size(), 2u);
    EXPECT_EQ(stops[0].Bytes(), stops[1].Bytes());
    const auto resumes = server.CallsTo(IF_CLIENT, 36);
    ASSERT_EQ(resumes.size(), 1u);   // numbered 1: a new client proxy
    EXPECT_EQ(std::make_tuple(resumes[0].Object(), int(resumes[0].h.sequence), resumes[0].data),
              std::make_tuple(21, 1, Wire().X(static_cast<int64_t>(CFakeServer::kSessionID)).End()));
    EXPECT_TRUE(s->GoodConnection());
    EXPECT_NE(dir.ClientLog(21).find("Client 21 Reconnected successfully, tries 1 Session ID 81985529216486895"),
              std::string::npos);

    // The object proxies were bound to the new call socket.
    long pumps = 0;
    server.On(IF_PUMP, 5, [](const FakeCall&, FakeReply& r) { r.Long(0, 12); });
    EXPECT_EQ(Got(s->Pump()->Count(&pumps), pumps), std::make_tuple(0, 12));

    // The events socket alone drops: TestConnection reads it, fails, and reconnects.
    server.Clear();
    server.RunOnServer([](CFakeServer& f) { f.EventsSocketOf(21)->Close(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(TestConnectionMT(s), 0);
    EXPECT_EQ(server.CallsTo(IF_CLIENT, 36).size(), 1u);
    EXPECT_NE(dir.ClientLog(21).find("CONNECTION_BROKEN occurred, actual error -14, logged off."), std::string::npos);
    EXPECT_EQ(TestConnectionMT(s), 0);

    // Refused: 60 is retried, anything else logs off; the caller gets 8 and the session
    // is left without connection, session ID or proxies.
    server.QueueResults(IF_CLIENT, 36, {60, -7});
    allStops = 0;
    server.Clear();
    EXPECT_EQ(AllStopMT(s), 8);
    EXPECT_EQ(std::make_pair(server.CallsTo(IF_CLIENT, 36).size(), server.CallsTo(IF_CLIENT, 14).size()),
              std::make_pair(size_t{2}, size_t{1}));
    const std::string log = dir.ClientLog(21);
    EXPECT_NE(log.find("Reconnect() SOCKETS_INUSE_RESULT"), std::string::npos);
    EXPECT_NE(log.find("Reconnect() error -7"), std::string::npos);
    EXPECT_TRUE(!s->GoodConnection() && s->SessionID() == CKVCLProcess::kNoSession && !s->Client() && !s->Pump());
    EXPECT_EQ(AllStopMT(s), -14);
    EXPECT_EQ(s->Reconnect(), 8);
    EXPECT_EQ(ClientLogoffMT(&s), 8);
}

TEST_F(CKVCLProcessCheckResult, MapsConnectionAndInternalFailures) {
    CKVCLProcess* s = nullptr;
    ASSERT_EQ(server.Logon(&s, 22, 1), 0);

    // Through a call: the server's result as the caller sees it, with the log lines.
    server.QueueResults(IF_CLIENT, 19, {-10, -13, -7, 54});
    for (long want : {-23, -14, -7, 54}) EXPECT_EQ(AllStopMT(s), want);
    const std::string log = dir.ClientLog(22);
    EXPECT_NE(log.find("INTERNAL_SERVER_ERROR occurred, actual error -10, logged off."), std::string::npos);
    EXPECT_NE(log.find("CONNECTION_BROKEN occurred, actual error -13, logged off."), std::string::npos);
    EXPECT_NE(log.find("CheckResult error -7"), std::string::npos);
    // One line each for the three failures, none for 54.
    EXPECT_EQ(Count(log, " occurred, actual error ") + Count(log, "CheckResult error"), 3u);
    EXPECT_TRUE(s->GoodConnection());   // mapping changes nothing

    // The whole table.
    const std::set<long> internal = {-23, -18, -12, -11, -10, -9, -8, -6, -5, -4, -3, -2, -1};
    const std::set<long> broken = {-24, -19, -17, -15, -14, -13};
    for (long r = -40; r <= 70; ++r) {
        const long want = internal.count(r) ? -23 : broken.count(r) ? -14 : r;
        EXPECT_EQ(s->CheckResult(r), want) << r;
    }
    ClientLogoffMT(&s);
}

TEST_F(CKVCLProcessEvents, QueueIsFirstInFirstOutAndEventTypeMaskIsBounded) {
    CKVCLProcess* s = nullptr;
    ASSERT_EQ(server.Logon(&s, 23, 2), 0);

    // The count and the type at the head, as the exported functions report them.
    auto queue = [s] { return std::make_pair(EventCount(s), HeadType(s)); };
    EXPECT_EQ(queue(), std::make_pair(0L, short{0}));
    EXPECT_EQ(DiscardNextEventMT(s), 2);
    s->QueueEvent(new TestEvent(3));
    s->QueueEvent(new TestEvent(1));
    s->QueueEvent(new TestEvent(24));
    EXPECT_EQ(queue(), std::make_pair(3L, short{3}));
    EXPECT_EQ(GetEventsCountMT(s, nullptr) | GetNextEventTypeMT(s, nullptr), 0);
    std::unique_ptr<CEvent> head(s->GetEvent());
    ASSERT_TRUE(head && head->Type() == 3);
    EXPECT_EQ(DiscardNextEventMT(s), 0);
    EXPECT_EQ(s->PeekEvent()->Type(), 24);
    s->QueueEvent(new TestEvent(5));
    EXPECT_EQ(queue(), std::make_pair(2L, short{24}));
    EXPECT_EQ(ProcessEventsMT(s), 0);
    // Records left behind go with the session.
    s->QueueEvent(new TestEvent(6));

    // The event type mask: stored when 1 .. 0x0FFFFFFF, sent in every case.
    server.Clear();
    for (const auto& [mask, kept] : {std::pair{0x10000000L, 3143L}, {0x0FFFFFFFL, 0x0FFFFFFFL}, {0L, 0x0FFFFFFFL}}) {
        EXPECT_EQ(s->SetClientEventType(23, mask), 0);
        const auto sent = server.CallsTo(IF_CLIENT, 40);
        ASSERT_FALSE(sent.empty());
        EXPECT_EQ(std::make_pair(sent.back().Int(0), s->ClientEventType()), std::make_pair(int64_t{mask}, kept));
    }
    const std::string log = dir.ClientLog(23);
    EXPECT_NE(log.find("SetClientEventType 0FFFFFFF"), std::string::npos);
    EXPECT_EQ(log.find("SetClientEventType 10000000"), std::string::npos);

    s->PortManagement(nullptr, CALL_PORT, 7, 3);
    EXPECT_NE(dir.ClientLog(23).find("Socket event 7, client 23, socket 3"), std::string::npos);
    ClientLogoffMT(&s);
}

// Holders and converted values live on the stack. (Functions that take strings convert
// them into CStr and are left out.)
TEST_F(ApiFrameCallPath, CallsWithoutStringsAllocateNothing) {
    server.On(IF_CLIENT, 34, [](const FakeCall&, FakeReply& r) { r.Date(0, 133444736000000000ULL); });
    CKVCLProcess* s = nullptr;
    ASSERT_EQ(server.Logon(&s, 61, 3), 0);
    auto calls = [s] {
        short a = 0, b = 0, c = 0, d = 0, e = 0;
        long l = 0, mask = 0, count = 0, when = 0;
        double value = 0;
        long r = AllStopMT(s) | SetNextDeliveryIDMT(s, 4) | GetClientTypeMT(s, &mask) | SetDateTimeMT(s, 1700000000) |
                 GetDateTimeMT(s, &when) | SetPriceSignElementMT(s, 1, 2, 3, 4, 1.5, 6, 7, 8) |
                 GetPriceSignElementMT(s, 1, &a, &l, &b, &value, &c, &d, &e) | ClientStatusMT(s, &a, &b) |
                 GetEventsCountMT(s, &count) | ProcessEventsMT(s) | WDResetMT(s);
        EXPECT_EQ(r, 0);
        EXPECT_EQ(when, 1700000000);
    };
    calls();   // warm-up
    const long before = tAllocations;
    for (int i = 0; i < 20; ++i) calls();
    EXPECT_EQ(tAllocations - before, 0);
    ClientLogoffMT(&s);
}

TEST_F(CKVCLProcessHostileServer, StrayBytesNeverReplaceTheRequest) {
    Session s(server, 7, 3);
    ASSERT_EQ(s.result, 0);
    long n = 0;
    ASSERT_EQ(GetPumpsCountMT(s, &n), 0);
    ServerWrites(server, 7, CALL_PORT, std::string(10, '\x55'));   // and then nothing
    ASSERT_TRUE(Arrived(s, 10));
    EXPECT_EQ(GetPumpsCountMT(s, &n), 0);
    // The request went out as built, at the first try.
    const auto counts = server.CallsTo(IF_PUMP, 5);
    ASSERT_EQ(counts.size(), 2u);
    FakeCall expected = counts[0];
    expected.h.sequence = 2;
    EXPECT_EQ(counts[1].Bytes(), expected.Bytes());
    EXPECT_TRUE(server.CallsTo(IF_CLIENT, 36).empty());
}

TEST_F(CKVCLProcessHostileServer, ManagementCodesTheSessionIgnoresAreTakenForTheReply) {
    Session s(server, 7, 3);
    ASSERT_EQ(s.result, 0);
    const std::pair<uint8_t, long> cases[] = {
        {MFTN_PING, 0}, {MFTN_CONNECT, -23}, {MFTN_DISCONNECT, -23}, {MFTN_CLOSE, -23}, {9, -23}};
    for (const auto& c : cases) {
        SCOPED_TRACE(int(c.first));
        // The message arrives just before the reply.
        server.On(IF_PUMP, 5, [&](const FakeCall&, FakeReply& r) {
            server.CallSocketOf(7)->ManagementFtn(c.first, 0, 0);
            r.Long(0, 4);
        });
        long n = 0;
        EXPECT_EQ(Got(GetPumpsCountMT(s, &n), n), std::make_tuple(c.second, c.second ? 0L : 4L));
        // The real reply comes late and is dropped before the next request.
        ASSERT_TRUE(c.second == 0 || Arrived(s, 1));
        server.On(IF_PUMP, 5, [](const FakeCall&, FakeReply& r) { r.Long(0, 5); });
        EXPECT_EQ(Got(GetPumpsCountMT(s, &n), n), std::make_tuple(0, 5L));
    }
}

TEST_F(CKVCLProcessHostileServer, AnUnframeableLengthIsRecoveredFrom) {
    TIMsgHeader huge = Header(5, 0, 0, 8, IF_PUMP);
    huge.length = 4000;
    for (bool test : {false, true}) {
        SCOPED_TRACE(test ? "TestConnection" : "ProcessEvents, then a call");
        Session s(server, 8, 3);
        ASSERT_EQ(s.result, 0);
        ServerWrites(server, 8, CALL_PORT, Raw(huge));
        ASSERT_TRUE(Arrived(s, sizeof huge));
        long n = 0;
        if (test) {
            EXPECT_EQ(TestConnectionMT(s), 0);   // reconnected
        } else {
            EXPECT_EQ(ProcessEventsMT(s), -14);
        }
        EXPECT_EQ(GetPumpsCountMT(s, &n), 0);
        EXPECT_EQ(TestConnectionMT(s), 0);
    }
}

TEST_F(CKVCLProcessHostileServer, ProcessEventsServesAllThatWaitsPastARefusedCall) {
    Session s(server, 9, 2);
    ASSERT_EQ(s.result, 0);
    std::string burst = EventsCall(9, 18, Wire().End());   // no such events call
    for (int i = 0; i < 300; ++i) burst += EventsCall(9, 15, Wire().L(i).Str("e").End());
    ServerWrites(server, 9, EVENTS_PORT, burst);
    ASSERT_TRUE(WaitUntil([&] { return s.s->EventsSocket()->BytesInRxBuff() == static_cast<long>(burst.size()); }));
    EXPECT_EQ(ProcessEventsMT(s), 0);
    EXPECT_EQ(EventCount(s), 300);
    EXPECT_NE(dir.ClientLog(9).find("Call 18 on Interface 2 for Object -1 failed with result -4"), std::string::npos);
}

// A SHUTDOWN, then a reconnect to the server that came back: the session goes on serving
// management messages without losing calls or being logged off.
TEST_F(CKVCLProcessHostileServer, ASessionResumedAfterAShutdownKeepsWorking) {
    for (bool test : {false, true}) {
        SCOPED_TRACE(test ? "on the events socket, resumed by TestConnection" : "under a call, resumed by it");
        const long id = test ? 11 : 10;
        Session s(server, id, 3);
        ASSERT_EQ(s.result, 0);
        server.Clear();
        long n = 0;
        if (test) {
            server.RunOnServer([&](CFakeServer& f) {
                f.EventsSocketOf(id)->ManagementFtn(MFTN_SHUTDOWN, 0, 0);
                f.EventsSocketOf(id)->Close();
            });
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            EXPECT_EQ(TestConnectionMT(s), 0);
            EXPECT_EQ(TestConnectionMT(s), 0);
        } else {
            std::atomic<int> counts{0};
            server.On(IF_PUMP, 5, [&](const FakeCall&, FakeReply& r) {
                if (++counts == 1) server.CallSocketOf(id)->ManagementFtn(MFTN_SHUTDOWN, 0, 0);
                r.Long(0, 3);
            });
            EXPECT_EQ(Got(GetPumpsCountMT(s, &n), n), std::make_tuple(0, 3L));
        }
        ASSERT_EQ(server.CallsTo(IF_CLIENT, 36).size(), 1u);

        // A PING just before a reply, then one waiting for the management check.
        server.On(IF_PUMP, 5, [&](const FakeCall&, FakeReply& r) {
            server.CallSocketOf(id)->ManagementFtn(MFTN_PING, 0, 0);
            r.Long(0, 5);
        });
        EXPECT_EQ(Got(GetPumpsCountMT(s, &n), n), std::make_tuple(0, 5L));
        EXPECT_EQ(server.CallsTo(IF_CLIENT, 36).size(), 1u);   // no reconnect since
        server.RunOnServer([&](CFakeServer& f) { f.CallSocketOf(id)->ManagementFtn(MFTN_PING, 0, 0); });
        ASSERT_TRUE(Arrived(s, sizeof(TIMsgHeader)));
        EXPECT_EQ(CheckForManagementFtnMT(&s.s), 0);
        ASSERT_NE(s.s, nullptr);
        EXPECT_EQ(TestConnectionMT(s), 0);
        EXPECT_TRUE(s.s->GoodConnection());
    }
}
