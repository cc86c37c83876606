// Every object family through the exported pairs: the request each one sends, and the frame
// codes and the ID guard that come before any traffic.
#include <vector>

#include "api/family_fixture.h"

namespace kvtest {
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
        KV_REQUEST(GetHoseByOrdinalFiltered, (2, &g_long, 1, -1, 3), IF_HOSE, 16, -1,
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
        KV_REQUEST(GetLogEventsCountFiltered, (&g_long, 1, 2, 3, 4, 5, 6, 0, kWhen), IF_LOGEVENT, 17, -1,
                   Wire().PL(3).S(1).L(2).S(3).S(4).L(5).L(6).D(~0ULL).D(kWhenTicks).End()),
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
    CKVCLProcess* events = nullptr;
    ASSERT_EQ(server.Logon(&events, kClient + 2, 2), 0);
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
    ClientLogoffMT(&events);
    ClientLogoff();
    for (const Request& row : Rows())
        EXPECT_EQ(row.plain(), 8) << row.name;   // no library session
}

}  // namespace
}  // namespace kvtest
