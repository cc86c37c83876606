// The exported frame of the library, session, client-management and event-queue families:
// admission checks, conversions at the boundary, string copying and the logon functions.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cmath>
#include <cstring>
#include <fstream>

#include "api/frame.h"
#include "common/fake_server.h"

using namespace kvtest;

namespace {

// Argument storage for the rows below.
char g_text[64];
long g_long;
short g_short;
double g_double;

enum Kind { CALLS, STATUS, UNCHECKED, QUEUE, QUEUE_TAKE, PROCESS, TEST };

struct Row {
    const char* name;
    Kind kind;
    long (*mt)(CKVCLProcess*);
    long (*plain)();
};

#define ROW(kind, Name, ...)                                                        \
    Row {                                                                           \
        #Name, kind, [](CKVCLProcess* s) { return Name##MT(s __VA_OPT__(, ) __VA_ARGS__); }, \
            [] { return Name(__VA_ARGS__); }                                        \
    }

const Row kRows[] = {
    ROW(CALLS, AllStop), ROW(CALLS, AllAuthorise), ROW(CALLS, AllReAuthorise), ROW(CALLS, AllStopIfIdle),
    ROW(CALLS, ReadAllTanks), ROW(CALLS, SetNextDeliveryID, 5), ROW(CALLS, GetClientsCount, &g_long),
    ROW(CALLS, GetClientType, &g_long), ROW(CALLS, SetClientType, 3143), ROW(CALLS, GetDateTime, &g_long),
    ROW(CALLS, SetDateTime, 1700000000), ROW(CALLS, GetIniValue, "s", "k", g_text),
    ROW(CALLS, SetIniValue, "s", "k", "v"), ROW(CALLS, GetIniValueEx, "f", "s", "k", g_text),
    ROW(CALLS, SetIniValueEx, "f", "s", "k", "v"), ROW(CALLS, GetAllPumpStatuses, g_text, g_text, g_text),
    ROW(CALLS, GetTCPIPConfig, g_text, g_text, g_text, g_text, &g_short, g_text),
    ROW(UNCHECKED, SetTCPIPConfig, "a", "b", "c", "d", 1, "e"), ROW(UNCHECKED, WDReset),
    ROW(CALLS, FindCard, "card", &g_short, &g_short, &g_long, g_text, &g_long),
    ROW(CALLS, GetCardType, "card", &g_short, &g_long, g_text, &g_long),
    ROW(CALLS, SetPriceSignElement, 1, 2, 3, 4, 1.5, 6, 7, 8),
    ROW(CALLS, GetPriceSignElement, 1, &g_short, &g_long, &g_short, &g_double, &g_short, &g_short, &g_short),
    ROW(STATUS, FireClientEvent, 4, "text"), ROW(STATUS, ClientStatus, &g_short, &g_short),
    ROW(CALLS, ServerVersion, g_text), ROW(CALLS, FireEvents), ROW(TEST, TestConnection), ROW(PROCESS, ProcessEvents),
    ROW(QUEUE, GetEventsCount, &g_long), ROW(QUEUE, GetNextEventType, &g_short), ROW(QUEUE_TAKE, DiscardNextEvent),
};

// The results of a row on a session that lost its connection, and on a session whose
// client type lacks what the row needs (type 2 for calls, type 1 for the queue).
long Disconnected(Kind k) { return k == UNCHECKED || k == QUEUE ? 0 : k == QUEUE_TAKE ? 2 : -14; }
long WrongType(Kind k) { return k == CALLS || k == QUEUE || k == QUEUE_TAKE || k == PROCESS ? -22 : 0; }
bool NeedsEvents(Kind k) { return k == QUEUE || k == QUEUE_TAKE || k == PROCESS || k == TEST; }

std::string Buffer(const char* text, size_t size) { return std::string(text, size); }

using ApiFrame = FakeServerTest;
using ApiConversions = FakeServerTest;
using ApiClientType = FakeServerTest;
using ApiLog = FakeServerTest;

}  // namespace

TEST_F(ApiFrame, EveryFamilyChecksSessionConnectionAndClientType) {
    ASSERT_EQ(pGCLProcess, nullptr);
    for (const Row& r : kRows) {
        EXPECT_EQ(r.mt(nullptr), 8) << r.name;
        std::memset(g_text, ' ', 10);
        g_text[10] = 0;
        EXPECT_EQ(r.plain(), 8) << r.name;
    }
    EXPECT_EQ(std::make_tuple(CheckForManagementFtn(), CheckForManagementFtnMT(nullptr), LogMT(nullptr, "x"), ClientLogoff()),
              std::make_tuple(8, 8, 8, 8));

    Session lost(server, 41, 3), events(server, 42, 2), calls(server, 43, 1);
    ASSERT_EQ(std::make_tuple(lost.result, events.result, calls.result), std::make_tuple(0L, 0L, 0L));
    lost.s->SetConnected(false);
    server.Clear();
    for (const Row& r : kRows) {
        std::memset(g_text, ' ', 10);
        g_text[10] = 0;
        EXPECT_EQ(r.mt(lost.s), Disconnected(r.kind)) << r.name;
        EXPECT_EQ(r.mt(NeedsEvents(r.kind) ? calls.s : events.s), WrongType(r.kind)) << r.name;
    }
    // Only SetTCPIPConfig and WDReset reached the server for the session that lost its
    // connection; the events-only session had its status, client events, SetTCPIPConfig
    // and WDReset sent.
    std::map<long, std::vector<int>> sent;
    for (const FakeCall& c : server.CallsTo(IF_CLIENT)) sent[c.Object()].push_back(c.h.function);
    EXPECT_EQ(std::make_pair(sent[41], sent[42]), std::make_pair(std::vector<int>{46, 47}, std::vector<int>{46, 47, 24, 15}));
    EXPECT_EQ(CheckForManagementFtnMT(&lost.s), -14);
    EXPECT_EQ(std::make_pair(LogMT(lost.s, "x"), CheckForManagementFtnMT(&calls.s)), std::make_pair(-14L, 0L));
    lost.s->SetConnected(true);

    // Logged off, a session has no client proxy to send with: no session, quietly.
    lost.s->Logoff();
    server.Clear();
    EXPECT_EQ(std::make_pair(WDResetMT(lost.s), SetTCPIPConfigMT(lost.s, "a", "b", "c", "d", 1, "e")),
              std::make_pair(8L, 8L));
    EXPECT_EQ(dir.ClientLog(41).find("CONNECTION_BROKEN"), std::string::npos);
    EXPECT_EQ(server.CallCount(), 0u);

    // And through: the client number as the object, the generic count on the class.
    server.Clear();
    server.On(IF_CLIENT, 15, [](const FakeCall&, FakeReply& r) { r.Short(0, 1).Short(1, 2); });
    server.On(IF_CLIENT, 5, [](const FakeCall&, FakeReply& r) { r.Long(0, 3); });
    short a = 0, b = 0;
    long clients = 0;
    EXPECT_EQ(FireEventsMT(calls.s), 0);
    EXPECT_EQ(ClientStatusMT(calls.s, &a, &b), 0);
    EXPECT_EQ(GetClientsCountMT(calls.s, &clients), 0);
    EXPECT_EQ(std::make_tuple(a, b, clients), std::make_tuple(short{1}, short{2}, 3L));
    EXPECT_EQ(FireClientEventMT(events.s, 9, "hello"), 0);
    const auto done = server.CallsTo(IF_CLIENT);
    ASSERT_EQ(done.size(), 4u);
    EXPECT_EQ(std::make_tuple(int(done[0].h.function), done[0].Object(), done[2].Object(), done[3].Int(0), done[3].Str(1)),
              std::make_tuple(38, 43, -1, int64_t(9), std::string("hello")));
}

TEST_F(ApiConversions, DoublesDatesAndStringsCrossTheBoundary) {
    Session c(server, 44, 1);
    ASSERT_EQ(c.result, 0);
    CKVCLProcess* s = c;

    // Doubles in: x 10000, rounded half away from zero on the exact binary value.
    const std::pair<double, int64_t> in[] = {{1.23455, 12346}, {-1.23455, -12346}, {2.00005, 20000}, {-0.00005, -1}};
    for (const auto& [v, raw] : in) {
        EXPECT_EQ(SetPriceSignElementMT(s, 1, 2, 3, 4, v, 6, 7, 8), 0);
        const FakeCall sent = server.CallsTo(IF_CLIENT, 41).back();
        EXPECT_EQ(std::make_pair(sent.Arg(4).tag, sent.Int(4)), std::make_pair(uint8_t(TAG_CUR), raw)) << v;
    }

    // Doubles out: written whatever the result.
    server.On(IF_CLIENT, 42, [](const FakeCall&, FakeReply& r) { r.Short(0, 9).Long(1, 70000).Cur(3, 12345); });
    short a2 = 0, a4 = 0, a6 = 0, a7 = 0, a8 = 0;
    long a3 = 0;
    double value = 99.0;
    EXPECT_EQ(GetPriceSignElementMT(s, 1, &a2, &a3, &a4, &value, &a6, &a7, &a8), 0);
    EXPECT_EQ(std::make_tuple(a2, a3, value), std::make_tuple(short{9}, 70000L, 1.2345));
    server.QueueResults(IF_CLIENT, 42, {-7});
    value = 99.0;
    EXPECT_EQ(GetPriceSignElementMT(s, 1, &a2, &a3, &a4, &value, &a6, &a7, &a8), -7);
    EXPECT_EQ(value, 0.0);

    // Dates: seconds since 1970 both ways; 0 sends no date; a failed getter writes nothing.
    const uint64_t ticks1700 = 1700000000ULL * 10000000ULL + 116444736000000000ULL;
    EXPECT_EQ(SetDateTimeMT(s, 1700000000), 0);
    EXPECT_EQ(SetDateTimeMT(s, 0), 0);
    const auto dates = server.CallsTo(IF_CLIENT, 33);
    ASSERT_EQ(dates.size(), 2u);
    EXPECT_EQ(std::make_tuple(uint64_t(dates[0].Int(0)), uint64_t(dates[1].Int(0))), std::make_tuple(ticks1700, ~0ULL));
    uint64_t answer = ticks1700;
    server.On(IF_CLIENT, 34, [&](const FakeCall&, FakeReply& r) { r.Date(0, answer); });
    long when = 5;
    EXPECT_EQ(Got(GetDateTimeMT(s, &when), when), std::make_tuple(0, 1700000000));
    answer = ~0ULL;
    EXPECT_EQ(Got(GetDateTimeMT(s, &when), when), std::make_tuple(0, -921101622));
    server.QueueResults(IF_CLIENT, 34, {-23});
    when = 5;
    EXPECT_EQ(Got(GetDateTimeMT(s, &when), when), std::make_tuple(-23, 5));

    // Strings: in as sent; out cut to what the caller's buffer held, only on success.
    server.On(IF_CLIENT, 29, [](const FakeCall& c, FakeReply& r) { r.Str(0, c.Str(0) + "=" + c.Str(1)); });
    char buf[16] = "               ";
    EXPECT_EQ(GetIniValueMT(s, "Server", "Port", buf), 0);
    EXPECT_EQ(Buffer(buf, 16), Buffer("Server=Port\0\0\0\0\0", 16));
    server.QueueResults(IF_CLIENT, 29, {2});
    std::memcpy(buf, "     ", 6);
    EXPECT_EQ(GetIniValueMT(s, "A", "B", buf), 2);
    EXPECT_STREQ(buf, "     ");
    // Requested as an empty string; a server that leaves it alone (tag 18) gives an empty one.
    server.On(IF_CLIENT, 29, [](const FakeCall& c, FakeReply& r) {
        if (c.Arg(2).tag == TAG_PSTR && c.Arg(2).s.empty()) r.Set(0, TAG_NULL, 0);
    });
    EXPECT_EQ(GetIniValueMT(s, "A", "B", buf), 0);
    EXPECT_EQ(Buffer(buf, 6), Buffer("\0\0\0\0\0", 6));

    server.On(IF_CLIENT, 45, [](const FakeCall&, FakeReply& r) {
        r.Str(0, "10.0.0.2").Str(1, "255.0.0.0").Str(2, "10.0.0.1").Str(3, "kv").Short(4, 1).Str(5, "dns");
    });
    char ip[12] = "          ", mask[12] = "          ", gw[12] = "          ", host[12] = "          ",
         dns[12] = "          ";
    short dhcp = 0;
    EXPECT_EQ(GetTCPIPConfigMT(s, ip, mask, gw, host, &dhcp, dns), 0);
    EXPECT_EQ(std::make_tuple(std::string(ip), Buffer(mask, 10), std::string(host), dhcp, std::string(dns)),
              std::make_tuple("10.0.0.2", "255.0.0.0" + std::string(1, '\0'), "kv", short{1}, "dns"));

    server.On(IF_CLIENT, 39, [](const FakeCall& c, FakeReply& r) { r.Short(0, 3).Str(3, "card " + c.Str(0)); });
    short f2 = 0, f3 = 0;
    long f4 = 0, f6 = 0;
    char name[16] = "              ";
    EXPECT_EQ(FindCardMT(s, "1234", &f2, &f3, &f4, name, &f6), 0);
    EXPECT_EQ(std::make_pair(f2, std::string(name)), std::make_pair(short{3}, std::string("card 1234")));
}

TEST(ApiStrings, DllVersionAndFixedTextsNeedNoSession) {
    char buf[40];
    std::memset(buf, 'x', sizeof buf);
    std::memset(buf, ' ', 30);
    buf[30] = 0;
    EXPECT_EQ(DllVersion(buf), 0);
    EXPECT_EQ(Buffer(buf, 32), Buffer("Client Version 2,5,6,0\0\0\0\0\0\0\0\0\0x", 32));
    EXPECT_EQ(DllVersion(nullptr), 0);
    std::memset(buf, ' ', 10);
    buf[10] = 0;
    EXPECT_EQ(Got(DllVersionMT(nullptr, buf), buf), std::make_tuple(0, "Client Ver"));
    for (const char* text : {ResultString(-14), PumpStateString(3), DeliveryStateString(1), ReserveTypeString(2),
                             DeliveryTypeString(1), ResultStringMT(nullptr, -14), PumpStateStringMT(nullptr, 3),
                             DeliveryStateStringMT(nullptr, 1), ReserveTypeStringMT(nullptr, 2),
                             DeliveryTypeStringMT(nullptr, 1)})
        EXPECT_STREQ(text, "");
    EXPECT_EQ(Log("x"), 0);
    EXPECT_EQ(DllMain(nullptr, 7, nullptr), 1);
}

TEST_F(ApiClientType, EventMaskSurvivesClientLogonButNotClientLogonEx) {
    std::ofstream(dir / "KVClient.ini") << "[Server]\nname=127.0.0.1\nCallPort=" << server.CallPort()
                                        << "\nEventsPort=" << server.EventsPort() << "\nCallTimeout=2000\n";
    ASSERT_EQ(ClientLogon(31, 1, nullptr, nullptr, 0), 0);
    long mask = 0;
    EXPECT_EQ(Got(GetClientType(&mask), mask), std::make_tuple(0, 3143));
    EXPECT_EQ(SetClientType(5), 0);
    EXPECT_EQ(SetClientType(0x10000000), 0);   // sent, not kept
    EXPECT_EQ(Got(GetClientType(&mask), mask), std::make_tuple(0, 5));
    EXPECT_EQ(server.CallsTo(IF_CLIENT, 40).back().Int(0), 0x10000000);
    // The mask is signed: a negative one is not above the limit, and is kept.
    EXPECT_EQ(SetClientType(-1), 0);
    EXPECT_EQ(Got(GetClientType(&mask), mask), std::make_tuple(0, -1));
    EXPECT_EQ(SetClientType(5), 0);

    // A second ClientLogon replaces the session and carries the mask over to the server.
    server.Clear();
    ASSERT_EQ(ClientLogon(31, 1, nullptr, nullptr, 0), 0);
    EXPECT_EQ(Got(GetClientType(&mask), mask), std::make_tuple(0, 5));
    ASSERT_EQ(server.CallsTo(IF_CLIENT, 40).size(), 1u);
    EXPECT_EQ(server.CallsTo(IF_CLIENT, 40)[0].Int(0), 5);
    EXPECT_EQ(server.CallsTo(IF_CLIENT, 14).size(), 1u);   // the old session logged off

    ASSERT_EQ(ClientLogonEx(31, 1, "127.0.0.1", server.CallPort(), server.EventsPort(), 2000, nullptr, nullptr, 0), 0);
    EXPECT_EQ(Got(GetClientType(&mask), mask), std::make_tuple(0, 3143));
    char version[30] = "                             ";
    EXPECT_EQ(Got(ServerVersion(version), version), std::make_tuple(0, "KVServer Version 2,5,6,0"));
    EXPECT_EQ(ClientLogoff(), 0);
    EXPECT_EQ(pGCLProcess, nullptr);
    EXPECT_EQ(ClientLogoff(), 8);
    DllMain(nullptr, 2, nullptr);
}

TEST_F(ApiLog, LogAndLogPathWithAndWithoutSession) {
    const std::string path = dir / "logs";
    ASSERT_EQ(mkdir(path.c_str(), 0755), 0);
    EXPECT_EQ(SetLogPath(path.c_str()), 0);
    ASSERT_NE(pLogPath, nullptr);
    ASSERT_EQ(ClientLogonEx(32, 1, "127.0.0.1", server.CallPort(), server.EventsPort(), 2000, nullptr, nullptr, 0), 0);
    EXPECT_EQ(Log("written by the application"), 0);
    EXPECT_NE(ReadFile(path + "/KVClient032.L00").find("written by the application"), std::string::npos);

    // With a session the path moves the log at once, and is kept for later sessions.
    const std::string other = dir / "other";
    ASSERT_EQ(mkdir(other.c_str(), 0755), 0);
    EXPECT_EQ(SetLogPath(other.c_str()), 0);
    EXPECT_EQ(Log("moved"), 0);
    EXPECT_NE(ReadFile(other + "/KVClient032.L00").find("moved"), std::string::npos);
    EXPECT_TRUE(pGCLProcess->Trace()->MaxSize() == 1450000 && pGCLProcess->Trace()->Archives() == 10);
    EXPECT_EQ(ClientLogoff(), 0);
    EXPECT_EQ(SetLogPathMT(nullptr, path.c_str()), 8);
    EXPECT_STREQ(static_cast<char*>(*pLogPath), path.c_str());
    delete pLogPath;
    pLogPath = nullptr;
    DllMain(nullptr, 2, nullptr);
}
