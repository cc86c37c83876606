// The pump family against a fake server: which outputs each form requests, and where they land.
#include <cstring>

#include "api/family_fixture.h"

namespace kvtest {
namespace {

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
    const FakeCall c = Last(IF_PUMP, 35);   // f3, f5, f17 and f26 are not wanted
    EXPECT_EQ(std::vector<uint8_t>({c.Arg(3).tag, c.Arg(5).tag, c.Arg(17).tag, c.Arg(26).tag}), std::vector<uint8_t>(4, TAG_NULL));
}

}  // namespace
}  // namespace kvtest
