// The library against kvsim: whole sales through the exported functions (a prepay with its
// refund, a preset with every event and database record it makes, two POS clients racing
// for one delivery), one successful call of every exported family, the reconnection after
// kvsim drops a session's sockets, a logon while kvsim answers busy, and which events reach
// which client by client type and mask.
#include <map>
#include <thread>

#include "e2e_fixture.h"

using namespace e2e;

namespace {

double Cents(double v) { return std::round(v * 100) / 100; }

}  // namespace

TEST(PrepayAuthorise, WholePrepaySaleEndsWithItsRefund)
{
    Site site(Fast());
    Session pos(site.sim, 71, 7), other(site.sim, 72, 3);
    ASSERT_EQ(std::make_tuple(pos.result, other.result), std::make_tuple(0L, 0L));
    long pump = -1;
    ASSERT_EQ(0, GetPumpByNumberMT(pos, 3, &pump));

    EXPECT_EQ(0, PrepayReserveMT(pos, pump));
    EXPECT_EQ(SR_RESERVED_OTHER, PrepayReserveMT(other, pump));
    EXPECT_EQ(SR_RESERVED_OTHER, PrepayAuthoriseMT(other, pump, PRESET_MONEY, 10.0, 0, 0));
    EXPECT_EQ(SR_RESERVED_OTHER, AuthoriseMT(other, pump));
    EXPECT_EQ(0, PrepayAuthoriseMT(pos, pump, PRESET_MONEY, 30.0, 0, 2));
    Status st = PumpStatus(other, pump);
    EXPECT_EQ(std::make_tuple(st.state, st.reserveClient, st.reserveType),
              std::make_tuple(short{PS_AUTHORISED}, 71L, short{RES_PREPAY}));

    // The customer takes Super 98 from hose 2, and stops short of the prepaid amount.
    ASSERT_EQ("ok lift pump 3 Delivering", site.sim.Command("lift 3 2"));
    WaitUntil([&] { return PumpStatus(pos, pump).volume >= 5; }, 10000);
    ASSERT_EQ("ok hang pump 3 Idle", site.sim.Command("hang 3"));
    st = PumpStatus(pos, pump);
    EXPECT_EQ(std::make_tuple(st.state, st.reserveType), std::make_tuple(short{PS_IDLE}, short{RES_NONE}));

    Record r = Delivery(pos, st.delivery);
    EXPECT_EQ(std::make_tuple(r.pump, r.hose, r.type, r.state, r.reserveClient, r.price),
              std::make_tuple(pump, short{2}, long{DT_PREPAY}, long{DS_COMPLETED}, 71L, 1.619));
    EXPECT_GE(r.volume, 5.0);
    EXPECT_DOUBLE_EQ(Cents(r.volume * 1.619), r.money);
    EXPECT_DOUBLE_EQ(30.0, r.authorised);
    EXPECT_NEAR(30.0 - r.money, r.refund, 1e-9);
    EXPECT_NEAR(r.volume, r.volAfter - r.volBefore, 1e-9);
    EXPECT_GE(r.finished, r.started);

    // The prepay's client settles it; the refund is its to pay out.
    EXPECT_EQ(0, LockAndClearDeliveryMT(pos, st.delivery, CLEAR_CASH));
    long current = -1, all = -1, id = -1;
    EXPECT_EQ(Got(GetDeliveriesCountMT(other, &current), current), std::make_tuple(0L, 0L));
    // The list of every delivery object keeps the cleared one.
    EXPECT_EQ(Got(GetAllDeliveriesCountMT(other, &all), all), std::make_tuple(0L, 1L));
    EXPECT_EQ(Got(GetAllDeliveryByOrdinalMT(other, 1, &id), id), std::make_tuple(0L, st.delivery));
}

TEST(LoadPreset, WholePresetSaleWithItsEventsAndDatabaseRecords)
{
    Site site(Fast());
    Session pos(site.sim, 75, 7);
    ASSERT_EQ(0, pos.result);
    long pump = -1;
    ASSERT_EQ(0, GetPumpByNumberMT(pos, 1, &pump));

    EXPECT_EQ(0, LoadPresetMT(pos, pump, PRESET_MONEY, 20.0, 0, 0));
    ASSERT_EQ("ok lift pump 1 Delivering", site.sim.Command("lift 1 1"));
    ASSERT_TRUE(WaitUntil([&] { return PumpStatus(pos, pump).state == PS_FINISHED; }, 10000));
    ASSERT_EQ("ok hang pump 1 Idle", site.sim.Command("hang 1"));

    // The pump events: authorised, delivering with its progress, finished, idle.
    std::vector<short> states;
    double last = -1;
    bool rising = true;
    long delivery = -1;
    int progress = 0;
    std::map<short, int> others;   // the other events by type
    WaitUntil([&] {
        ProcessEventsMT(pos);
        short type = 0;
        while (GetNextEventTypeMT(pos, &type) == 0 && type != 0) {
            if (type == 1) {
                long id = 0;
                short state = 0;
                double volume = 0;
                EXPECT_EQ(0, GetNextPumpEventMT(pos, &id, nullptr, &state, nullptr, nullptr, nullptr, nullptr,
                                                nullptr, nullptr, nullptr, nullptr, &volume, nullptr, nullptr,
                                                nullptr));
                if (state == PS_DELIVERING) {
                    rising = rising && volume >= last;
                    last = volume;
                    ++progress;
                }
                if (states.empty() || states.back() != state)
                    states.push_back(state);
            } else if (type == 6) {
                long id = 0;
                double money = 0;
                EXPECT_EQ(0, GetNextDBLogDeliveryEventMT(pos, &id, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                         nullptr, &money, nullptr, nullptr, nullptr, nullptr));
                EXPECT_DOUBLE_EQ(20.0, money);
                delivery = id;
                ++others[6];
            } else {
                ++others[type];
                DiscardNextEventMT(pos);
            }
        }
        return !states.empty() && states.back() == PS_IDLE && others[6] && others[9] && others[13];
    }, 5000);
    EXPECT_EQ((std::vector<short>{PS_AUTHORISED, PS_DELIVERING, PS_FINISHED, PS_IDLE}), states);
    EXPECT_TRUE(rising);
    EXPECT_GE(progress, 3);   // the state change and progress while delivering
    // Logged to the database once, with the hose totals and the tank's status.
    EXPECT_EQ(std::make_tuple(others[6], others[9], others[13]), std::make_tuple(1, 1, 1));

    Record r = Delivery(pos, delivery);
    EXPECT_EQ(std::make_tuple(r.money, r.volume, r.presetType, r.presetValue),
              std::make_tuple(20.0, 13.7046, short{PRESET_MONEY}, 20.0));

    // Locked and cleared: the clear is logged to the database with its type and client.
    EXPECT_EQ(0, LockDeliveryMT(pos, delivery));
    EXPECT_EQ(0, ClearDeliveryMT(pos, delivery, CLEAR_CARD));
    ASSERT_TRUE(pos.WaitFor(7));
    long id = 0, client = 0;
    short clearType = 0;
    EXPECT_EQ(0, GetNextDBClearDeliveryEventMT(pos, &id, &clearType, &client, nullptr, nullptr));
    EXPECT_EQ(std::make_tuple(id, clearType, client), std::make_tuple(delivery, short{CLEAR_CARD}, 75L));
    EXPECT_EQ(0, AckDeliveryDBLogMT(pos, delivery));
    long notLogged = -1;
    EXPECT_EQ(Got(GetDeliveriesCountNotLoggedMT(pos, &notLogged), notLogged), std::make_tuple(0L, 0L));
}

TEST(LockDelivery, TwoPosClientsRaceForOneDelivery)
{
    Site site(Fast());
    Session a(site.sim, 73, 3), b(site.sim, 74, 3);
    ASSERT_EQ(std::make_tuple(a.result, b.result), std::make_tuple(0L, 0L));
    ASSERT_EQ("ok lift pump 7 Delivering", site.sim.Command("lift 7 1"));   // pump 7 authorises itself
    usleep(100000);
    ASSERT_EQ("ok hang pump 7 Idle", site.sim.Command("hang 7"));
    long id = -1;
    ASSERT_EQ(0, GetDeliveryByOrdinalMT(a, 1, &id));

    // Both ask at the same moment: exactly one lock is granted.
    for (int round = 0; round < 20; ++round) {
        long ra = -1, rb = -1;
        std::thread ta([&] { ra = LockDeliveryMT(a, id); });
        std::thread tb([&] { rb = LockDeliveryMT(b, id); });
        ta.join();
        tb.join();
        ASSERT_TRUE((ra == 0 && rb == SR_LOCKED) || (ra == SR_LOCKED && rb == 0)) << ra << " " << rb;
        CKVCLProcess* winner = ra == 0 ? a.s : b.s;
        CKVCLProcess* loser = ra == 0 ? b.s : a.s;
        EXPECT_EQ(SR_LOCKED, ClearDeliveryMT(loser, id, CLEAR_CASH));
        EXPECT_EQ(SR_LOCKED, UnlockDeliveryMT(loser, id));
        EXPECT_EQ(0, UnlockDeliveryMT(winner, id));
    }
    EXPECT_EQ(0, LockAndClearDeliveryMT(b, id, CLEAR_CASH));
    EXPECT_EQ(SR_CLEARED, LockDeliveryMT(a, id));
    const Record r = Delivery(a, id);
    EXPECT_EQ(std::make_tuple(r.lock, r.clearedBy), std::make_tuple(74L, 74L));
}

TEST(ExportedFamilies, EachAnswersAgainstTheSimulator)
{
    Site site;
    Session s(site.sim, 76, 7);
    ASSERT_EQ(0, s.result);
    ASSERT_EQ("ok card read 1201", site.sim.Command("tag 2 7001001234"));
    ASSERT_EQ("ok alarm", site.sim.Command("alarm 1 2 1 High level"));
    char text[24];
    auto blank = [&] { return std::strcpy(text, "                       "); };   // 23 blanks
    long n = -1, l = -1;
    short a1 = -1, a2 = -1;
    double d = 0;
    long long x = 0;
    auto ok = [](auto v) { return std::make_tuple(0L, v); };

    EXPECT_EQ(Got(GetHosesCountMT(s, &n), n), ok(23L));                                      // hoses
    EXPECT_EQ(Got(GetHosePropertiesMT(s, 201, nullptr, blank(), nullptr, nullptr, nullptr, nullptr), text),
              ok(std::string("P1H1")));
    EXPECT_EQ(Got(GetGradePriceMT(s, 303, 2, &d), d), ok(1.349));                            // grades
    EXPECT_EQ(Got(GetProductsCountFilteredMT(s, &n, 1, "", "", "", "", -1, -1), n), ok(2L));  // products
    EXPECT_EQ(Got(GetTankStatusMT(s, 403, nullptr, nullptr, nullptr, &d, nullptr, nullptr, nullptr, nullptr, nullptr,
                                  nullptr), d), ok(31000.0));                                // tanks
    EXPECT_EQ(Got(GetSensorStatusMT(s, 1001, &a1, &a2), a2), ok(short{0}));                  // sensors
    EXPECT_EQ(Got(GetPortZBConfigMT(s, 503, &x, &l, nullptr, nullptr), x), ok(0x1A2BLL));     // ports
    EXPECT_EQ(0, AttendantLogonMT(s, 602, 2345));                                            // attendants
    EXPECT_EQ(Got(GetAttendantStateMT(s, 602, &a1, &a2), a1), ok(short{1}));
    EXPECT_EQ(Got(GetCardClientPropertiesMT(s, 702, nullptr, blank(), nullptr, nullptr, nullptr, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, nullptr), text),
              ok(std::string("Local Taxis")));                                               // card clients
    EXPECT_EQ(Got(GetCardReadsCountMT(s, &n), n), ok(1L));                                   // card reads
    EXPECT_EQ(0, GetCardReadPropertiesMT(s, 1201, nullptr, nullptr, &l, nullptr, nullptr, &x, nullptr));
    EXPECT_EQ(std::make_tuple(l, x), std::make_tuple(102L, 7001001234LL));
    EXPECT_EQ(Got(GetZigBeePropertiesMT(s, 1102, nullptr, nullptr, nullptr, blank(), nullptr, nullptr), text),
              ok(std::string("0013A200400A0102")));                                          // ZigBee
    EXPECT_EQ(Got(GetLogEventsCountMT(s, &n), n), ok(1L));                                   // log events
    EXPECT_EQ(0, AckLogEventMT(s, 1301));
    EXPECT_EQ(0, LockSaleItemMT(s, 901));                                                    // sale items
    EXPECT_EQ(0, GetSaleItemPropertiesMT(s, 901, nullptr, nullptr, nullptr, nullptr, &a1, &d, nullptr, nullptr,
                                         nullptr, &l, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                         nullptr));
    EXPECT_EQ(std::make_tuple(a1, d, l), std::make_tuple(short{1}, 8.5, 76L));
    EXPECT_EQ(Got(GetPumpsCountMT(s, &n), n), ok(8L));                                       // pumps
    EXPECT_EQ(Got(GetDeliveriesCountMT(s, &n), n), ok(0L));                                  // deliveries
    EXPECT_EQ(Got(GetTCPIPConfigMT(s, blank(), nullptr, nullptr, nullptr, &a1, nullptr), text),
              ok(std::string("192.168.10.2")));                                              // client management
    EXPECT_EQ(0, GetEventsCountMT(s, &n));                                                   // events
    EXPECT_TRUE(s.WaitFor(11));   // the attendant logon reached the database interface
}

TEST(TestConnection, ReconnectsUnderTheSameSessionAndKeepsTheQueue)
{
    Site site;
    Session pos(site.sim, 65, 7);
    ASSERT_EQ(0, pos.result);
    EXPECT_EQ(0, FireClientEventMT(pos, 9, "kept"));
    ASSERT_TRUE(pos.WaitFor(4));
    const long queued = kvtest::EventCount(pos);

    // kvsim closes both sockets; the next call fails, reconnects and is sent again.
    ASSERT_EQ("ok dropped client 65", site.sim.Command("drop 65"));
    usleep(100000);
    long when = 0;
    EXPECT_EQ(0, GetDateTimeMT(pos, &when));
    EXPECT_LE(std::labs(when - static_cast<long>(time(nullptr))), 5);
    EXPECT_NE(std::string::npos, site.dir.ClientLog(65).find("Reconnected successfully"));
    EXPECT_EQ(std::make_pair(kvtest::EventCount(pos), kvtest::HeadType(pos)), std::make_pair(queued, short{4}));

    // Events flow again on the new connection, and the session is still one.
    EXPECT_EQ(0, FireClientEventMT(pos, 10, "after"));
    EXPECT_EQ(0, DiscardNextEventMT(pos));
    ASSERT_TRUE(pos.WaitFor(4));
    long clients = 0;
    EXPECT_EQ(Got(GetClientsCountMT(pos, &clients), clients), std::make_tuple(0, 1));
    EXPECT_EQ(0, TestConnectionMT(pos));
}

TEST(ClientLogonEx, WaitsOutABusySimulatorAndChecksItsVersion)
{
    Site site;
    ASSERT_EQ("ok busy 2", site.sim.Command("busy 2"));
    const auto start = std::chrono::steady_clock::now();
    Session pos(site.sim, 61, 7);
    ASSERT_EQ(0, pos.result);
    EXPECT_GE(kvtest::SecondsSince(start), 2.0);   // two refusals, a second apart
    EXPECT_NE(std::string::npos, site.dir.ClientLog(61).find("Logon result 54, try 1."));
    char version[40];
    std::memset(version, ' ', sizeof version - 1);
    version[sizeof version - 1] = 0;
    EXPECT_EQ(0, ServerVersionMT(pos, version));
    EXPECT_EQ(0, std::strncmp(version, kDefaultVersion, std::strlen(kDefaultVersion)));
    long clients = 0;
    EXPECT_EQ(Got(GetClientsCountMT(pos, &clients), clients), std::make_tuple(0, 1));
}

TEST(ClientLogonEx, EventsFollowTheClientTypeAndMask)
{
    Site site;
    Session calls(site.sim, 62, 1), events(site.sim, 63, 3), all(site.sim, 64, 7);
    ASSERT_EQ(std::make_tuple(calls.result, events.result, all.result), std::make_tuple(0L, 0L, 0L));
    long count = 0;
    EXPECT_EQ(WRONG_CLIENT_TYPE_RESULT, GetEventsCountMT(calls, &count));

    // Client events reach everyone whose mask has bit 6, the sender too.
    EXPECT_EQ(0, FireClientEventMT(calls, 5, "shift change"));
    ASSERT_TRUE(events.WaitFor(4));
    ASSERT_TRUE(all.WaitFor(4));
    long from = 0, id = 0;
    char text[20];
    std::memset(text, ' ', sizeof text - 1);
    text[sizeof text - 1] = 0;
    EXPECT_EQ(0, GetNextClientEventMT(events, &from, &id, text));
    EXPECT_EQ(std::make_pair(from, id), std::make_pair(62L, 5L));
    EXPECT_EQ(0, std::strncmp(text, "shift change", 12));

    // A mask without bit 6 keeps them away; the database interface only comes with type 7.
    EXPECT_EQ(0, SetClientTypeMT(events, EV_PUMP));
    EXPECT_EQ(0, FireClientEventMT(all, 6, "again"));
    ASSERT_TRUE(all.WaitFor(4));
    EXPECT_FALSE(events.WaitFor(4, 300));
    EXPECT_EQ(0, ReadAllTanksMT(calls));
    EXPECT_TRUE(all.WaitFor(13));          // tank status
    EXPECT_FALSE(events.WaitFor(13, 300));
}
