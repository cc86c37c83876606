// The pump family against a fake server: requests on the wire and outputs at the boundary.
#include <cstring>
#include <functional>

#include "api/family_fixture.h"

namespace kvtest {
namespace {

using PumpApi = FamilyTest;

TEST_F(PumpApi, RequestsCarryTheirArgumentsInOrder) {
    const struct {
        std::function<long()> call;
        uint8_t function;
        std::vector<uint8_t> data;
        bool oneWay;
    } rows[] = {
        {[] { return LoadPreset(5, 2, 1.23456, 3, 4); }, 27, Wire().S(2).C(12346).S(3).S(4).End(), false},
        {[] { return LoadPreset(5, 2, -1.23456, 3, 4); }, 27, Wire().S(2).C(-12346).S(3).S(4).End(), false},
        {[] { return TagAuthorise(5, 1LL << 40, 3, 0.0, 1, 2); }, 43, Wire().X(1LL << 40).S(3).C(0).S(1).S(2).End(), false},
        {[] { return PrepayReserve(5); }, 21, Wire().L(kClient).End(), false},
        {[] { return PreauthAuthorise(5, 1, 20.0, 0, 2); }, 26, Wire().L(kClient).S(1).C(200000).S(0).S(2).End(), false},
        // One-way, so 0 at once; the third short is not sent.
        {[] { return KVTermPrompt(5, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, "Hi"); }, 62,
         Wire().L(kClient).S(1).S(2).S(4).S(5).S(6).S(7).S(8).S(9).S(10).S(11).S(12).Str("Hi").End(), true},
        // Every number the short form does not take is -1; the strings go swapped.
        {[] { return ExtAuthoriseVFP(5, "A", "B", 3, 12.5, 4, 6); }, 59,
         Wire().L(-1).Str("").L(-1).X(-1).L(-1).X(-1).S(0).X(-1).S(0).S(0).S(6).C(0).S(3).C(125000).S(4).C(0).C(0)
             .Str("B").Str("A").Str("").Str("").End(), false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.call(), 0) << int(row.function);
        const FakeCall c = Last(IF_PUMP, row.function);
        EXPECT_EQ(std::make_tuple(c.Object(), c.h.flag != 0, c.data), std::make_tuple(5, row.oneWay, row.data));
    }
}

TEST_F(PumpApi, FrameCodesAndTheIdGuardComeBeforeAnyTraffic) {
    CKVCLProcess* events = nullptr;
    ASSERT_EQ(server.Logon(&events, 9, 2), 0);
    EXPECT_EQ(LoadPresetMT(events, 5, 1, 1.0, 0, 0), -22);
    ClientLogoffMT(&events);
    pGCLProcess->SetConnected(false);
    EXPECT_EQ(GetDensity(5, nullptr), -14);
    pGCLProcess->SetConnected(true);
    EXPECT_EQ(std::make_tuple(Authorise(-1), PrepayReserve(-1), Zeroed(GetPumpStatusMT).Set<0>(-1)()),
              std::make_tuple(-7L, -7L, -7L));
    EXPECT_TRUE(server.CallsTo(IF_PUMP).empty());
    EXPECT_EQ(TerminateDelivery(-1), 0);
    EXPECT_EQ(Last(IF_PUMP, 33).Object(), -1);
    ClientLogoff();
    long n = 0;
    EXPECT_EQ(std::make_tuple(GetPumpsCount(&n), ExtAuthoriseVFP(5, "A", "B", 1, 1.0, 1, 1), GetPumpsCountMT(nullptr, &n)),
              std::make_tuple(8L, 8L, 8L));
}

TEST_F(PumpApi, StatusOutputsFollowTheBoundaryRules) {
    server.On(IF_PUMP, 17, [](const FakeCall&, FakeReply& r) { r.Str(6, "Authorised and fuelling").Str(7, "E").Cur(9, 12345); });
    char text[32] = {}, empty[4] = {0, 'x', 'y', 0};
    std::memset(text, ' ', 20);
    double volume = 7, money = 7;
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
    // A failed read writes 0.0 into the doubles and leaves strings and dates alone.
    server.QueueResults(IF_PUMP, 17, {2});
    EXPECT_EQ(status.Set<11>(&money)(), 2);
    EXPECT_EQ(std::make_tuple(volume, money), std::make_tuple(0.0, 0.0));
    EXPECT_EQ(std::string(text), "Authorised and fuell");
    long date = 77;
    server.QueueResults(IF_PUMP, 18, {2});
    EXPECT_EQ(Zeroed(GetPumpDeliveryPropertiesMT).Set<0>(5).Set<17>(&date)(), 2);
    EXPECT_EQ(date, 77);
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
    const FakeCall c = Last(IF_PUMP, 35);   // f3, f5, f17 and f26 are not wanted
    EXPECT_EQ(std::vector<uint8_t>({c.Arg(3).tag, c.Arg(5).tag, c.Arg(17).tag, c.Arg(26).tag}), std::vector<uint8_t>(4, TAG_NULL));
}

}  // namespace
}  // namespace kvtest
