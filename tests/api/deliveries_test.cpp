// The delivery family against a fake server: the values each form fills in, the S34
// fallback, and the client number of each session's locks.
#include "api/family_fixture.h"

namespace kvtest {
namespace {

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
    CKVCLProcess* other = nullptr;
    ASSERT_EQ(server.Logon(&other, 8, 1), 0);
    EXPECT_EQ(LockDelivery(9), 0);
    EXPECT_EQ(LockDeliveryMT(other, 9), 0);
    ClientLogoffMT(&other);
    const auto locks = server.CallsTo(IF_DELIVERY, 15);
    ASSERT_EQ(locks.size(), 2u);
    EXPECT_EQ(std::make_tuple(locks[0].Int(0), locks[1].Int(0)), std::make_tuple(int64_t(kClient), int64_t(8)));
}

}  // namespace
}  // namespace kvtest
