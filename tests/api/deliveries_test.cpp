// The delivery family against a fake server: the operation each function reaches, the
// values it fills in, and the S34 fallback.
#include <functional>

#include "api/family_fixture.h"

namespace kvtest {
namespace {

using DeliveryApi = FamilyTest;

uint64_t Day(long seconds) { return CDate(seconds).Ticks(); }

TEST_F(DeliveryApi, EachFunctionReachesItsOwnOperation) {
    long n = 0;
    const struct {
        std::function<long()> call;
        uint8_t function;
        int32_t object;
        std::vector<uint8_t> data;
    } rows[] = {
        {[&] { return GetDeliveryByOrdinal(3, &n); }, 22, -1, Wire().L(3).PL(0).End()},
        {[&] { return GetAllDeliveriesCount(&n); }, 5, -1, Wire().PL(0).End()},
        {[&] { return GetDeliveriesCountNotLogged(&n); }, 24, -1, Wire().PL(0).End()},
        {[&] { return GetDeliveryIDByOrdinalNotVolLogged(3, &n); }, 28, -1, Wire().L(3).PL(0).End()},
        {[] { return ClearDelivery(9, 2); }, 17, 9, Wire().L(kClient).S(2).End()},
        {[] { return AckDeliveryVolLog(9); }, 26, 9, Wire().End()},
        // Without dates the filter goes with two empty ones: no limit.
        {[&] { return GetDeliveriesCountFiltered(&n, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19,
                                                 20, 21, 22); },
         33, -1, Wire().PL(0).L(1).L(2).L(3).L(4).L(5).L(6).L(7).L(8).L(9).L(10).L(11).S(12).S(13).S(14).S(15).X(16)
                     .L(17).L(18).X(19).L(20).L(21).X(22).D(~0ULL).D(~0ULL).End()},
        // The short SetEx form: the amounts it does not take go as 0, the 64-bit key as -1.
        {[] { return SetDeliveryPropertiesEx(9, 1, 2, 3, 4.0, 5, 6.0, 7.0, 8.0, 0, 10, 11, 12, 13, 2000000, 1.8, 1.9,
                                             2.0, 22, 23); },
         20, -1, Wire().L(9).L(1).S(2).S(3).C(40000).S(5).C(60000).C(70000).C(80000).D(~0ULL).L(10).L(11).L(12)
                     .L(13).D(Day(2000000)).C(0).C(0).C(0).C(18000).C(19000).C(20000).X(-1).L(22).L(23).C(0).End()},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.call(), 0) << int(row.function);
        const FakeCall c = Last(IF_DELIVERY, row.function);
        EXPECT_EQ(std::make_tuple(c.Object(), c.data), std::make_tuple(row.object, row.data));
    }
    // The Ex forms of the filter send their dates, 0 or less as none.
    ASSERT_EQ(Zeroed(GetDeliveryIDByOrdinalFilteredExMT).Set<24>(1000000)(), 0);
    const FakeCall ex = Last(IF_DELIVERY, 34);
    EXPECT_EQ(std::make_tuple(uint64_t(ex.Int(24)), uint64_t(ex.Int(25))), std::make_tuple(Day(1000000), ~0ULL));
}

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

TEST_F(DeliveryApi, FrameCodesGuardLocksAndFailures) {
    long n = 0;
    CKVCLProcess* other = nullptr;
    ASSERT_EQ(server.Logon(&other, 8, 2), 0);
    EXPECT_EQ(GetDeliveriesCountMT(other, &n), -22);
    ClientLogoffMT(&other);
    pGCLProcess->SetConnected(false);
    EXPECT_EQ(LockDelivery(9), -14);
    pGCLProcess->SetConnected(true);
    EXPECT_EQ(std::make_tuple(LockDelivery(-1), AckDeliveryDBLog(-1)), std::make_tuple(-7L, -7L));
    EXPECT_TRUE(server.CallsTo(IF_DELIVERY).empty());

    // Each session locks with its own client number.
    ASSERT_EQ(server.Logon(&other, 8, 1), 0);
    EXPECT_EQ(LockDelivery(9), 0);
    EXPECT_EQ(LockDeliveryMT(other, 9), 0);
    ClientLogoffMT(&other);
    const auto locks = server.CallsTo(IF_DELIVERY, 15);
    ASSERT_EQ(locks.size(), 2u);
    EXPECT_EQ(std::make_tuple(locks[0].Int(0), locks[1].Int(0)), std::make_tuple(int64_t(kClient), int64_t(8)));

    // A failed read: doubles 0.0, strings as they were.
    server.QueueResults(IF_DELIVERY, 31, {-7});
    char text[4] = "abc";
    double a = 5, b = 5;
    EXPECT_EQ(GetDeliveryExt(9, text, &a, &b, nullptr, nullptr, nullptr, nullptr), -7);
    EXPECT_EQ(std::make_tuple(std::string(text), a, b), std::make_tuple(std::string("abc"), 0.0, 0.0));

    ClientLogoff();
    EXPECT_EQ(std::make_tuple(LockDelivery(9), GetDeliveriesCountMT(nullptr, &n)), std::make_tuple(8L, 8L));
}

}  // namespace
}  // namespace kvtest
