// The object families beyond pumps and deliveries: what each exported call sends, the frame
// codes ahead of any traffic, and how outputs come back.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <vector>

#include "client/session.h"
#include "common/fake_server.h"

using namespace kvtest;

namespace {

constexpr long kClient = 7;
constexpr long kWhen = 1700000000;
constexpr int64_t kWhenTicks = kWhen * 10000000LL + 116444736000000000LL;

// One value as the server should receive it (strings in s).
struct Want {
    uint8_t tag;
    int64_t i = 0;
    const char* s = nullptr;
};
const Want kNull{TAG_NULL}, kCur0{TAG_PCUR}, kNoDate{TAG_DATE, -1};
Want L(long v) { return {TAG_LONG, v}; }
Want PL(long v) { return {TAG_PLONG, v}; }
Want Sh(short v) { return {TAG_SHORT, v}; }
Want S(const char* s) { return {TAG_STR, 0, s}; }

long g_long;   // a caller's variable; 3 before each row
short g_short;
long long g_ll;
double g_double;

struct Row {
    const char* name;
    std::function<long(CKVCLProcess*)> mt;
    std::function<long()> plain;
    uint16_t type;
    uint8_t function;
    int32_t object;
    std::vector<Want> sent;
};
#define KV_UNPAREN(...) __VA_ARGS__
#define ROW(Name, Args, Type, Fn, Obj, ...)                                                                        \
    Row{#Name, [](CKVCLProcess* s) { return Name##MT(s, KV_UNPAREN Args); }, [] { return Name(KV_UNPAREN Args); }, \
        Type, Fn, Obj, {__VA_ARGS__}}

const std::vector<Row> kRows = {
    ROW(GetHoseByOrdinalFiltered, (2, &g_long, 1, -1, 3), IF_HOSE, 16, -1, L(2), PL(3), L(1), L(-1), L(3)),
    ROW(SetGradePrice, (4, 2, 1.459), IF_GRADE, 16, 4, Sh(2), {TAG_CUR, 14590}),
    ROW(GetProductsCountFiltered, (&g_long, 1, "a", nullptr, "c", "d", 6, 7), IF_PRODUCT, 15, -1, PL(3), L(1),
        S("a"), S(""), S("c"), S("d"), L(6), L(7)),
    ROW(LockSaleItem, (9), IF_SALEITEM, 16, 9, L(kClient)),
    ROW(GetTankStrappingPoint, (-1, 2, &g_double, nullptr), IF_TANK, 22, -1, L(2), kCur0, kCur0),
    ROW(GetSensorStatus, (3, &g_short, nullptr), IF_SENSOR, 16, 3, {TAG_PSHORT, 3}, kNull),
    ROW(GetPortZBConfig, (2, &g_ll, nullptr, nullptr, nullptr), IF_PORT, 42, 2, {TAG_PLONGLONG, 3}, kNull, kNull,
        kNull),
    ROW(AttendantLogon, (-1, 5), IF_ATTENDANT, 15, -1, L(5)),
    ROW(AttendantLogoff, (-1), IF_ATTENDANT, 16, -1),
    ROW(DeleteCardClient, (4), IF_CARDCLIENT, 4, 4),
    ROW(SetCardReadProperties, (8, 80, "a", 3, 4, 5, 1LL << 40, kWhen), IF_CARDREAD, 14, -1, L(8), L(80), S("a"),
        L(3), Sh(4), L(5), {TAG_LONGLONG, 1LL << 40}, {TAG_DATE, kWhenTicks}),
    ROW(GetZigBeeByName, ("z", &g_long), IF_ZIGBEE, 7, -1, S("z"), PL(3)),
    ROW(AckLogEvent, (11), IF_LOGEVENT, 16, 11, L(kClient)),
    ROW(GetLogEventsCountFiltered, (&g_long, 1, 2, 3, 4, 5, 6, 0, kWhen), IF_LOGEVENT, 17, -1, PL(3), Sh(1), L(2),
        Sh(3), Sh(4), L(5), L(6), kNoDate, {TAG_DATE, kWhenTicks}),
};

class Families : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(server.Logon(&s, kClient, 1), 0); }
    void TearDown() override { ClientLogoffMT(&s); }

    CClientDir dir;
    CFakeServer server{dir};
    CKVCLProcess* s = nullptr;
};

}  // namespace

TEST_F(Families, EachFamilySendsItsCall)
{
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        g_long = 3;
        g_short = 3;
        g_ll = 3;
        server.Clear();
        EXPECT_EQ(row.mt(s), 0);
        std::vector<FakeCall> calls = server.CallsTo(row.type);
        ASSERT_EQ(calls.size(), 1u);
        const FakeCall& c = calls[0];
        EXPECT_EQ(c.h.function, row.function);
        EXPECT_EQ(c.Object(), row.object);
        EXPECT_EQ(c.h.flag, 0);   // every one waits for its reply, Delete too
        ASSERT_EQ(c.args.size(), row.sent.size());
        for (size_t k = 0; k < row.sent.size(); ++k) {
            EXPECT_EQ(c.Arg(k).tag, row.sent[k].tag) << k;
            if (row.sent[k].s)
                EXPECT_EQ(c.Str(k), row.sent[k].s) << k;
            else
                EXPECT_EQ(c.Int(k), row.sent[k].i) << k;
        }
    }
}

TEST_F(Families, FrameCodesAndIdGuardComeBeforeAnyTraffic)
{
    CKVCLProcess* events = nullptr;
    ASSERT_EQ(server.Logon(&events, kClient + 1, 2), 0);
    server.Clear();
    EXPECT_EQ(SetTankPropertiesMT(s, -1, 1, "T", 2, 1.0, 1.0, 3, 4), -7);
    EXPECT_EQ(AckLogEventMT(s, -1), -7);
    s->SetConnected(false);
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.mt(nullptr), 8);
        EXPECT_EQ(row.plain(), 8);   // no library session
        EXPECT_EQ(row.mt(s), -14);
        EXPECT_EQ(row.mt(events), -22);
    }
    s->SetConnected(true);
    EXPECT_EQ(server.CallCount(), 0u);
    ClientLogoffMT(&events);
}

TEST_F(Families, OutputsComeBackConverted)
{
    server.On(IF_HOSE, 13, [](const FakeCall&, FakeReply& r) { r.Long(0, 21).Str(1, "NORTH-1"); });
    char narrow[] = "    ", wide[] = "          ";
    long number = 0;
    EXPECT_EQ(GetHosePropertiesMT(s, 2, &number, narrow, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(GetHosePropertiesMT(s, 2, nullptr, wide, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(number, 21);
    EXPECT_EQ(std::memcmp(narrow, "NORT", 5), 0);   // cut to the width, the old terminator kept
    EXPECT_EQ(std::memcmp(wide, "NORTH-1\0\0\0", 11), 0);

    server.On(IF_HOSE, 17, [](const FakeCall&, FakeReply& r) { r.Cur(3, -123456789); });
    double previousMoney = 0;
    EXPECT_EQ(GetHoseTotalsMT(s, 2, nullptr, nullptr, nullptr, &previousMoney), 0);
    EXPECT_DOUBLE_EQ(previousMoney, -12345.6789);

    server.On(IF_CARDREAD, 13, [](const FakeCall&, FakeReply& r) { r.Date(6, kWhenTicks); });
    long when = 0;
    EXPECT_EQ(GetCardReadPropertiesMT(s, 3, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &when), 0);
    EXPECT_EQ(when, kWhen);

    // A failure writes 0.0 to doubles and leaves strings and dates alone.
    server.QueueResults(IF_GRADE, 15, {2});
    server.QueueResults(IF_CARDREAD, 13, {-7});
    double price = 9.9;
    EXPECT_EQ(GetGradePriceMT(s, 4, 1, &price), 2);
    EXPECT_EQ(price, 0.0);
    EXPECT_EQ(GetCardReadPropertiesMT(s, 3, nullptr, wide, nullptr, nullptr, nullptr, nullptr, &when), -7);
    EXPECT_EQ(when, kWhen);
    EXPECT_EQ(std::memcmp(wide, "NORTH-1", 8), 0);
}
