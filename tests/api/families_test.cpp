// The object families through the exported pairs against a fake server: the request each
// pair sends, the frame codes and the ID guard that come before any traffic, which outputs
// each pump and delivery form requests and where they land, the S34 fallback, and the client
// number of each session's locks.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "api/frame.h"
#include "common/fake_server.h"

namespace kvtest {

// One exported pair and the request it must send: interface, function, header object and
// data area (one-way requests carry the flag). Pointer arguments point at g_long, g_short,
// g_ll or g_double, which hold 3 when the pair is called.
inline long g_long;
inline short g_short;
inline long long g_ll;
inline double g_double;
struct Request {
    const char* name;
    std::function<long(CKVCLProcess*)> mt;
    std::function<long()> plain;
    uint16_t type;
    uint8_t function;
    int32_t object;
    std::vector<uint8_t> data;
    bool oneWay = false;
};
#define KV_REQUEST(Name, Args, Type, Fn, Obj, ...)                                                                \
    Request{#Name, [](CKVCLProcess* s) { return Name##MT(s, KV_UNPAREN Args); }, [] { return Name(KV_UNPAREN Args); }, \
            Type, Fn, Obj, __VA_ARGS__}
#define KV_REQUEST_PLAIN(Name, Args, Type, Fn, Obj, ...) \
    Request{#Name, nullptr, [] { return Name(KV_UNPAREN Args); }, Type, Fn, Obj, __VA_ARGS__}

// An MT call on the library session whose arguments are all zero or null except those set
// by position (0 is the object ID).
template <class... A> struct MTCall {
    long (*fn)(CKVCLProcess*, A...);
    std::tuple<A...> args{};
    template <size_t I, class V> MTCall& Set(V v) { return std::get<I>(args) = v, *this; }
    long operator()() const { return std::apply([&](A... a) { return fn(pGCLProcess, a...); }, args); }
};
template <class... A> MTCall<A...> Zeroed(long (*fn)(CKVCLProcess*, A...)) { return MTCall<A...>{fn}; }

// Reference n of a request comes back as 100 + n (fixed point: raw 100 + n; dates: second
// 1000000 + n; strings: "v<n>"). Null references stay null.
inline void MarkAll(const FakeCall& c, FakeReply& r) {
    int n = 0;
    for (const FakeArg& a : c.args) {
        if (!a.IsRef()) continue;
        if (a.tag == TAG_PSTR) r.Str(n, "v" + std::to_string(n));
        else if (a.tag == TAG_PDATE) r.Date(n, CDate(1000000L + n).Ticks());
        else if (a.tag != TAG_NULL) r.Set(n, a.tag, 100 + n);
        ++n;
    }
}

class FamilyTest : public FakeServerTest {
protected:
    static constexpr long kClient = 7;
    void SetUp() override {
        ASSERT_EQ(ClientLogonEx(kClient, 1, "127.0.0.1", server.CallPort(), server.EventsPort(), 2000, nullptr,
                                nullptr, 0), 0);
        server.Clear();
    }
    void TearDown() override { ClientLogoff(); }

    // The last request of a function, once it has come.
    FakeCall Last(uint16_t type, uint8_t function) const {
        const auto calls = server.WaitForCalls(type, function, 1) ? server.CallsTo(type, function) : std::vector<FakeCall>{};
        EXPECT_FALSE(calls.empty()) << "no call " << int(function) << " on interface " << type;
        return calls.empty() ? FakeCall{} : calls.back();
    }
    // The tags of the arguments of a request from `from` on, `n` of them.
    static std::vector<uint8_t> Tags(const FakeCall& c, size_t from, size_t n) {
        std::vector<uint8_t> t;
        for (size_t k = from; k < from + n; ++k) t.push_back(c.Arg(k).tag);
        return t;
    }
};

namespace {

constexpr long kClient = 7;
constexpr long kWhen = 1700000000;
constexpr int64_t kWhenTicks = kWhen * 10000000LL + 116444736000000000LL;

uint64_t Day(long seconds) { return CDate(seconds).Ticks(); }

const std::vector<Request>& Rows()
{
    static const std::vector<Request> rows = {
        KV_REQUEST(LoadPreset, (5, 2, 1.23456, 3, 4), IF_PUMP, 27, 5, Wire().S(2).C(12346).S(3).S(4).End()),
        KV_REQUEST(TagAuthorise, (5, 1LL << 40, 3, 0.0, 1, 2), IF_PUMP, 43, 5,
                   Wire().X(1LL << 40).S(3).C(0).S(1).S(2).End()),
        KV_REQUEST(PrepayReserve, (5), IF_PUMP, 21, 5, Wire().L(kClient).End()),
        KV_REQUEST(PreauthAuthorise, (5, 1, 20.0, 0, 2), IF_PUMP, 26, 5,
                   Wire().L(kClient).S(1).C(200000).S(0).S(2).End()),
        // One-way, so 0 at once; the third short is not sent.
        KV_REQUEST(KVTermPrompt, (5, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, "Hi"), IF_PUMP, 62, 5,
                   Wire().L(kClient).S(1).S(2).S(4).S(5).S(6).S(7).S(8).S(9).S(10).S(11).S(12).Str("Hi").End(), true),
        // Every number the short form (no MT pair) does not take is -1; the strings go swapped.
        KV_REQUEST_PLAIN(ExtAuthoriseVFP, (5, "A", "B", 3, 12.5, 4, 6), IF_PUMP, 59, 5,
                   Wire().L(-1).Str("").L(-1).X(-1).L(-1).X(-1).S(0).X(-1).S(0).S(0).S(6).C(0).S(3).C(125000).S(4)
                       .C(0).C(0).Str("B").Str("A").Str("").Str("").End()),
        // Four lists of deliveries, each with its own pair of operations.
        KV_REQUEST(GetDeliveriesCount, (&g_long), IF_DELIVERY, 21, -1, Wire().PL(3).End()),
        KV_REQUEST(GetDeliveryByOrdinal, (2, &g_long), IF_DELIVERY, 22, -1, Wire().L(2).PL(3).End()),
        KV_REQUEST(GetAllDeliveriesCount, (&g_long), IF_DELIVERY, 5, -1, Wire().PL(3).End()),
        KV_REQUEST(GetAllDeliveryByOrdinal, (2, &g_long), IF_DELIVERY, 8, -1, Wire().L(2).PL(3).End()),
        KV_REQUEST(GetDeliveriesCountNotLogged, (&g_long), IF_DELIVERY, 24, -1, Wire().PL(3).End()),
        KV_REQUEST(GetDeliveryIDByOrdinalNotVolLogged, (2, &g_long), IF_DELIVERY, 28, -1, Wire().L(2).PL(3).End()),
        KV_REQUEST(ClearDelivery, (9, 2), IF_DELIVERY, 17, 9, Wire().L(kClient).S(2).End()),
        KV_REQUEST(AckDeliveryVolLog, (9), IF_DELIVERY, 26, 9, Wire().End()),
        // Without dates the filter goes with two empty ones: no limit.
        KV_REQUEST(GetDeliveriesCountFiltered,
                   (&g_long, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22),
                   IF_DELIVERY, 33, -1,
                   Wire().PL(3).L(1).L(2).L(3).L(4).L(5).L(6).L(7).L(8).L(9).L(10).L(11).S(12).S(13).S(14).S(15).X(16)
                       .L(17).L(18).X(19).L(20).L(21).X(22).D(~0ULL).D(~0ULL).End()),
        // The short SetEx form: the amounts it does not take go as 0, the 64-bit key as -1.
        KV_REQUEST(SetDeliveryPropertiesEx,
                   (9, 1, 2, 3, 4.0, 5, 6.0, 7.0, 8.0, 0, 10, 11, 12, 13, 2000000, 1.8, 1.9, 2.0, 22, 23), IF_DELIVERY,
                   20, -1,
                   Wire().L(9).L(1).S(2).S(3).C(40000).S(5).C(60000).C(70000).C(80000).D(~0ULL).L(10).L(11).L(12)
                       .L(13).D(Day(2000000)).C(0).C(0).C(0).C(18000).C(19000).C(20000).X(-1).L(22).L(23).C(0).End()),
        KV_REQUEST(GetHoseIDByOrdinalFiltered, (2, &g_long, 1, -1, 3), IF_HOSE, 16, -1,
                   Wire().L(2).PL(3).L(1).L(-1).L(3).End()),
        KV_REQUEST(SetGradePrice, (4, 2, 1.459), IF_GRADE, 16, 4, Wire().S(2).C(14590).End()),
        KV_REQUEST(GetProductsCountFiltered, (&g_long, 1, "a", nullptr, "c", "d", 6, 7), IF_PRODUCT, 15, -1,
                   Wire().PL(3).L(1).Str("a").Str("").Str("c").Str("d").L(6).L(7).End()),
        KV_REQUEST(LockSaleItem, (9), IF_SALEITEM, 16, 9, Wire().L(kClient).End()),
        KV_REQUEST(GetTankStrappingPoint, (-1, 2, &g_double, nullptr), IF_TANK, 22, -1,
                   Wire().L(2).PC(0).PC(0).End()),
        KV_REQUEST(GetSensorStatus, (3, &g_short, nullptr), IF_SENSOR, 16, 3, Wire().PS(3).Null().End()),
        KV_REQUEST(GetPortZBConfig, (2, &g_ll, nullptr, nullptr, nullptr), IF_PORT, 42, 2,
                   Wire().PX(3).Null(3).End()),
        KV_REQUEST(AttendantLogon, (-1, 5), IF_ATTENDANT, 15, -1, Wire().L(5).End()),
        KV_REQUEST(AttendantLogoff, (-1), IF_ATTENDANT, 16, -1, Wire().End()),
        KV_REQUEST(DeleteCardClient, (4), IF_CARDCLIENT, 4, 4, Wire().End()),   // waits for its reply
        KV_REQUEST(SetCardReadProperties, (8, 80, "a", 3, 4, 5, 1LL << 40, kWhen), IF_CARDREAD, 14, -1,
                   Wire().L(8).L(80).Str("a").L(3).S(4).L(5).X(1LL << 40).D(kWhenTicks).End()),
        KV_REQUEST(GetZigBeeByName, ("z", &g_long), IF_ZIGBEE, 7, -1, Wire().Str("z").PL(3).End()),
        KV_REQUEST(AckLogEvent, (11), IF_LOGEVENT, 16, 11, Wire().L(kClient).End()),
        KV_REQUEST(GetLogEventsCountFilteredEx, (&g_long, 1, 2, 3, 4, 5, 6, 0, kWhen), IF_LOGEVENT, 17, -1,
                   Wire().PL(3).S(1).L(2).S(3).S(4).L(5).L(6).D(~0ULL).D(kWhenTicks).End()),
        KV_REQUEST(GetSaleItemIDByOrdinalFiltered, (2, &g_long, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14),
                   IF_SALEITEM, 23, -1,
                   Wire().L(2).PL(3).L(1).L(2).L(3).L(4).L(5).L(6).X(7).L(8).L(9).X(10).L(11).L(12).S(13).S(14)
                       .D(~0ULL).D(~0ULL).End()),
        // New sends the name, the ID, then the number.
        KV_REQUEST(NewPump, (5, 12, "P5"), IF_PUMP, 3, -1, Wire().Str("P5").L(5).L(12).End()),
        KV_REQUEST(SetTankName, (4, "T"), IF_TANK, 12, 4, Wire().Str("T").End()),
        KV_REQUEST(SetGradeNumber, (4, 9), IF_GRADE, 10, 4, Wire().L(9).End()),
    };
    return rows;
}

TEST_F(FamilyTest, EachPairSendsItsRequest)
{
    for (const Request& row : Rows()) {
        SCOPED_TRACE(row.name);
        g_long = g_short = g_ll = 3;
        g_double = 3;
        server.Clear();
        EXPECT_EQ(row.plain(), 0);
        const FakeCall c = Last(row.type, row.function);
        EXPECT_EQ(std::make_tuple(c.Object(), c.h.flag != 0, c.data), std::make_tuple(row.object, row.oneWay, row.data));
        EXPECT_EQ(server.CallCount(), 1u);
    }
    // The Ex forms of the filter send their dates, 0 or less as none.
    ASSERT_EQ(Zeroed(GetDeliveryIDByOrdinalFilteredExMT).Set<24>(1000000)(), 0);
    const FakeCall ex = Last(IF_DELIVERY, 34);
    EXPECT_EQ(std::make_tuple(uint64_t(ex.Int(24)), uint64_t(ex.Int(25))), std::make_tuple(Day(1000000), ~0ULL));
}

TEST_F(FamilyTest, FrameCodesAndTheIdGuardComeBeforeAnyTraffic)
{
    Session events(server, kClient + 2, 2);
    ASSERT_EQ(events.result, 0);
    server.Clear();
    EXPECT_EQ(std::make_tuple(Authorise(-1), PrepayReserve(-1), Zeroed(GetPumpStatusMT).Set<0>(-1)(), LockDelivery(-1),
                              AckDeliveryDBLog(-1), SetTankProperties(-1, 1, "T", 2, 1.0, 1.0, 3, 4), AckLogEvent(-1)),
              std::make_tuple(-7L, -7L, -7L, -7L, -7L, -7L, -7L));
    pGCLProcess->SetConnected(false);
    for (const Request& row : Rows()) {
        SCOPED_TRACE(row.name);
        if (!row.mt)
            continue;
        EXPECT_EQ(row.mt(nullptr), 8);
        EXPECT_EQ(row.mt(pGCLProcess), -14);
        EXPECT_EQ(row.mt(events), -22);
    }
    pGCLProcess->SetConnected(true);
    EXPECT_EQ(server.CallCount(), 0u);
    EXPECT_EQ(TerminateDelivery(-1), 0);   // no ID guard: the server answers for -1
    EXPECT_EQ(Last(IF_PUMP, 33).Object(), -1);
    ClientLogoff();
    for (const Request& row : Rows())
        EXPECT_EQ(row.plain(), 8) << row.name;   // no library session
}

using PumpApi = FamilyTest;

TEST_F(PumpApi, StatusOutputsFollowTheBoundaryRules) {
    server.On(IF_PUMP, 17, [](const FakeCall&, FakeReply& r) { r.Str(6, "Authorised and fuelling").Str(7, "E").Cur(9, 12345); });
    char text[32] = {}, empty[4] = {0, 'x', 'y', 0};
    std::memset(text, ' ', 20);
    double volume = 7;
    short state = 0;
    auto status = Zeroed(GetPumpStatusMT).Set<0>(5).Set<1>(&state).Set<7>(text).Set<8>(empty).Set<10>(&volume);
    ASSERT_EQ(status(), 0);
    EXPECT_EQ(std::string(text), "Authorised and fuell");   // 20 characters and the buffer's own terminator
    EXPECT_EQ(std::string(empty, 3), std::string("\0xy", 3));
    EXPECT_DOUBLE_EQ(volume, 1.2345);
    // Null short and long pointers are not requested; doubles and strings always are.
    EXPECT_EQ(Tags(Last(IF_PUMP, 17), 0, 13),
              (std::vector<uint8_t>{TAG_PSHORT, TAG_NULL, TAG_NULL, TAG_NULL, TAG_NULL, TAG_NULL, TAG_PSTR, TAG_PSTR,
                                    TAG_NULL, TAG_PCUR, TAG_PCUR, TAG_PCUR, TAG_NULL}));
}

TEST_F(PumpApi, EachFormRequestsOnlyWhatItExposes) {
    server.On(IF_PUMP, 54, MarkAll);
    server.On(IF_PUMP, 35, MarkAll);
    double f28 = 0;
    ASSERT_EQ(Zeroed(GetPumpStatusExMT).Set<0>(5)(), 0);
    EXPECT_EQ(Tags(Last(IF_PUMP, 54), 27, 2), std::vector<uint8_t>(2, TAG_NULL));
    ASSERT_EQ(Zeroed(GetPumpStatusEx2MT).Set<0>(5).Set<28>(&f28)(), 0);
    EXPECT_DOUBLE_EQ(f28, 0.0127);

    // Ex asks for neither the first three trailing amounts nor the two longs nor the last.
    double f21 = 0;
    long long f24 = 0;
    ASSERT_EQ(Zeroed(GetPumpDeliveryPropertiesExMT).Set<0>(5).Set<19>(&f21).Set<22>(&f24)(), 0);
    EXPECT_EQ(Tags(Last(IF_PUMP, 35), 18, 10), (std::vector<uint8_t>{TAG_NULL, TAG_NULL, TAG_NULL, TAG_PCUR, TAG_PCUR,
                                                                     TAG_PCUR, TAG_PLONGLONG, TAG_NULL, TAG_NULL, TAG_NULL}));
    EXPECT_DOUBLE_EQ(f21, 0.012);
    EXPECT_EQ(f24, 123);

    // The short form lands its outputs on f1, f2, f4, f6, f7, f10 to f13, f16 and f25.
    long f1 = 0, f4 = 0, f6 = 0, f13 = 0, f16 = 0, f25 = 0;
    short f2 = 0;
    char f7[4] = "   ";
    double f10 = 0, f12 = 0;
    ASSERT_EQ(GetPumpDeliveryPropertiesVFP(5, 2, &f1, &f2, &f4, &f6, f7, &f10, nullptr, &f12, &f13, &f16, &f25), 0);
    EXPECT_EQ(std::vector<long>({f1, f2, f4, f6, f13, f16, f25}), std::vector<long>({100, 101, 103, 105, 112, 1000015, 124}));
    EXPECT_STREQ(f7, "v6");
    EXPECT_DOUBLE_EQ(f10, 0.0109);
    EXPECT_DOUBLE_EQ(f12, 0.0111);
    // Every reference it does not expose goes as tag 18, the second string and the amounts too.
    const FakeCall c = Last(IF_PUMP, 35);
    const std::set<int> exposed = {1, 2, 4, 6, 7, 10, 11, 12, 13, 16, 25};
    for (int k = 1; k <= 27; ++k)
        EXPECT_EQ(c.Arg(k).tag == TAG_NULL, !exposed.count(k)) << k;
}

TEST_F(PumpApi, DeliveryDataWriteTheirDateWhateverTheResult) {
    long f16 = 5;
    const std::function<long()> forms[] = {
        Zeroed(GetPumpDeliveryPropertiesMT).Set<0>(5).Set<17>(&f16), Zeroed(GetPumpDeliveryPropertiesExMT).Set<0>(5).Set<17>(&f16),
        Zeroed(GetPumpDeliveryPropertiesEx2MT).Set<0>(5).Set<17>(&f16), Zeroed(GetPumpDeliveryPropertiesEx3MT).Set<0>(5).Set<17>(&f16),
        Zeroed(GetPumpDeliveryPropertiesEx4MT).Set<0>(5).Set<17>(&f16),
        [&] { return GetPumpDeliveryPropertiesVFP(5, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &f16, nullptr); }};
    for (const auto& form : forms) {
        server.QueueResults(IF_PUMP, 18, {2});
        server.QueueResults(IF_PUMP, 35, {2});
        f16 = 5;
        EXPECT_EQ(Got(form(), f16), std::make_tuple(2, -921101622));
    }
}

using DeliveryApi = FamilyTest;

TEST_F(DeliveryApi, S34FallsBackOnS38ThenS43) {
    struct Case { long long s34, s38, s43, expected; };
    for (const Case k : {Case{-1, 500, 7, 500}, Case{12, 500, 7, 12}, Case{-1, -1, 7, 7}, Case{-1, -1, -1, -1}}) {
        server.On(IF_DELIVERY, 29, [k](const FakeCall&, FakeReply& r) {
            r.LongLong(33, k.s34).LongLong(37, k.s38).LongLong(42, k.s43);
        });
        long long f21 = 0, s34 = 0;
        ASSERT_EQ(Zeroed(GetDeliveryPropertiesExMT).Set<0>(9).Set<18>(&f21)(), 0);
        ASSERT_EQ(Zeroed(GetDeliverySummaryMT).Set<0>(9).Set<31>(&s34)(), 0);
        EXPECT_EQ(std::make_tuple(f21, s34), std::make_tuple(k.expected, k.expected)) << k.s34 << " " << k.s38;
    }
    const FakeCall c = Last(IF_DELIVERY, 29);   // S38 and S43 asked for into holders at -1
    EXPECT_EQ(std::make_tuple(c.Arg(37).tag, c.Int(37), c.Int(42)), std::make_tuple(uint8_t(TAG_PLONGLONG), -1L, -1L));

    // Ex2 and later return S38 themselves and leave S34 as it came.
    server.On(IF_DELIVERY, 29, [](const FakeCall&, FakeReply& r) { r.LongLong(33, -1).LongLong(37, 500); });
    long long s34 = 0, s38 = 0;
    ASSERT_EQ(Zeroed(GetDeliverySummaryEx2MT).Set<0>(9).Set<34>(&s34).Set<38>(&s38)(), 0);
    EXPECT_EQ(std::make_tuple(s34, s38), std::make_tuple(-1LL, 500LL));
}

TEST_F(DeliveryApi, PropertyFormsTakeTheirFieldsFromTheRightRecord) {
    server.On(IF_DELIVERY, 29, MarkAll);
    server.On(IF_DELIVERY, 19, MarkAll);
    long f1 = 0, f9 = 0, f14 = 0;
    short f2 = 0;
    double f4 = 0, f18 = 0, f24 = 0;
    long long f21 = 0;
    ASSERT_EQ(Zeroed(GetDeliveryPropertiesExMT).Set<0>(9).Set<1>(&f1).Set<2>(&f2).Set<4>(&f4).Set<9>(&f9)
                  .Set<14>(&f14).Set<15>(&f18).Set<18>(&f21)(), 0);
    EXPECT_EQ(std::vector<long long>({f1, f2, f9, f14, f21}), std::vector<long long>({100, 114, 1000021, 1000026, 133}));
    EXPECT_DOUBLE_EQ(f4, 0.0116);
    EXPECT_DOUBLE_EQ(f18, 0.0130);
    const FakeCall summary = Last(IF_DELIVERY, 29);   // S2 to S14 and S28 to S30 not wanted
    EXPECT_EQ(Tags(summary, 1, 13), std::vector<uint8_t>(13, TAG_NULL));
    EXPECT_EQ(Tags(summary, 27, 3), std::vector<uint8_t>(3, TAG_NULL));

    // Ex3 does not ask for field 24; Ex4 does.
    ASSERT_EQ(Zeroed(GetDeliveryPropertiesEx3MT).Set<0>(9)(), 0);
    EXPECT_EQ(Last(IF_DELIVERY, 19).Arg(23).tag, TAG_NULL);
    ASSERT_EQ(Zeroed(GetDeliveryPropertiesEx4MT).Set<0>(9).Set<24>(&f24)(), 0);
    EXPECT_DOUBLE_EQ(f24, 0.0123);

    // The short summary form lands its outputs on S1, S6, S15 to S26 and S35.
    long s1 = 0, s22 = 0, s26 = 0, s35 = 0;
    short s15 = 0;
    char s6[4] = "   ";
    double s17 = 0;
    ASSERT_EQ(GetDeliverySummaryVFP(9, &s1, s6, &s15, nullptr, &s17, nullptr, nullptr, nullptr, nullptr, &s22,
                                    nullptr, nullptr, nullptr, &s26, &s35), 0);
    EXPECT_EQ(std::vector<long>({s1, s15, s22, s26, s35}), std::vector<long>({100, 114, 1000021, 125, 134}));
    EXPECT_STREQ(s6, "v5");
    EXPECT_DOUBLE_EQ(s17, 0.0116);
}

TEST_F(DeliveryApi, EachSessionLocksWithItsOwnClientNumber) {
    Session other(server, 8, 1);
    ASSERT_EQ(other.result, 0);
    EXPECT_EQ(LockDelivery(9), 0);
    EXPECT_EQ(LockDeliveryMT(other, 9), 0);
    const auto locks = server.CallsTo(IF_DELIVERY, 15);
    ASSERT_EQ(locks.size(), 2u);
    EXPECT_EQ(std::make_tuple(locks[0].Int(0), locks[1].Int(0)), std::make_tuple(int64_t(kClient), int64_t(8)));
}

}  // namespace
}  // namespace kvtest
