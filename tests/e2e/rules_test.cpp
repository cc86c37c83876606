// The rules a POS relies on, seen through the library: what happens to a session's
// reservations and locks when it ends, who may cancel an authorisation, the short payment
// form, the card rules, and many clients selling at once.
#include <atomic>
#include <mutex>
#include <set>
#include <thread>

#include "e2e_fixture.h"

using namespace e2e;

namespace {

constexpr long kPump3 = 103, kPump4 = 104;

// A completed sale at pump 7 (it authorises itself); its delivery ID.
long SaleAtPump7(Site& site, CKVCLProcess* s)
{
    EXPECT_EQ("ok lift pump 7 Delivering", site.sim.Command("lift 7 1"));
    usleep(100000);
    EXPECT_EQ("ok hang pump 7 Idle", site.sim.Command("hang 7"));
    return PumpStatus(s, 107).delivery;
}

void Drain(CKVCLProcess* s)
{
    ProcessEventsMT(s);
    while (DiscardNextEventMT(s) == 0) {
    }
}

}  // namespace

// Ending by logoff or by a drop with no reconnect releases; a drop followed by a reconnect
// under the same session keeps everything.
TEST(ClientLogoff, AnEndedSessionReleasesItsReservationsAndLocks)
{
    CSimSettings settings = Fast();
    settings.graceMs = 400;
    Site site(settings);
    Session other(site.sim, 82, 3);
    ASSERT_EQ(0, other.result);
    const long delivery = SaleAtPump7(site, other);
    enum TEnd { LOGOFF, DROP, DROP_AND_RECONNECT };
    for (TEnd end : {LOGOFF, DROP, DROP_AND_RECONNECT}) {
        SCOPED_TRACE(end);
        Session pos(site.sim, 81, 3);
        ASSERT_EQ(0, pos.result);
        ASSERT_EQ(0, PrepayReserveMT(pos, kPump3));
        ASSERT_EQ(0, LockDeliveryMT(pos, delivery));
        Drain(other);
        if (end == LOGOFF) {
            EXPECT_EQ(0, ClientLogoffMT(&pos.s));
        } else {
            ASSERT_EQ("ok dropped client 81", site.sim.Command("drop 81"));
            if (end == DROP_AND_RECONNECT) {
                usleep(100000);
                long when = 0;
                EXPECT_EQ(0, GetDateTimeMT(pos, &when));   // sent again after a reconnect
            }
        }
        usleep(1000000);   // well past the grace period
        const Status st = PumpStatus(other, kPump3);
        const long lock = Delivery(other, delivery).lock;
        if (end == DROP_AND_RECONNECT) {
            EXPECT_EQ(std::make_tuple(st.state, st.reserveClient, lock), std::make_tuple(short{PS_RESERVED}, 81L, 81L));
            EXPECT_EQ(SR_LOCKED, LockDeliveryMT(other, delivery));
            EXPECT_EQ(0, PrepayCancelMT(pos, kPump3));
            EXPECT_EQ(0, UnlockDeliveryMT(pos, delivery));
            continue;
        }
        EXPECT_EQ(std::make_tuple(st.state, st.reserveClient, lock), std::make_tuple(short{PS_IDLE}, 0L, 0L));
        // The others were told: the pump is idle again and the delivery unlocked.
        short state = 0;
        long pump = 0, lockOwner = -1;
        bool pumpEvent = false, deliveryEvent = false;
        WaitUntil([&] {
            ProcessEventsMT(other);
            short type = 0;
            while (GetNextEventTypeMT(other, &type) == 0 && type != 0) {
                if (type == 1 && GetNextPumpEventMT(other, &pump, nullptr, &state, nullptr, nullptr, nullptr, nullptr,
                                                    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                    nullptr) == 0)
                    pumpEvent |= pump == kPump3 && state == PS_IDLE;
                else if (type == 2 && GetNextDeliveryEventMT(other, &pump, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                             nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                             nullptr, nullptr, nullptr, nullptr, nullptr, &lockOwner,
                                                             nullptr) == 0)
                    deliveryEvent |= pump == delivery && lockOwner == 0;
                else
                    DiscardNextEventMT(other);
            }
            return pumpEvent && deliveryEvent;
        }, 3000);
        EXPECT_TRUE(pumpEvent && deliveryEvent);
        EXPECT_EQ(0, LockDeliveryMT(other, delivery));
        EXPECT_EQ(0, UnlockDeliveryMT(other, delivery));
    }
}

// A prepaid authorisation is its POS's to cancel; a supervisor's all-stop takes the
// authorisation away but leaves the reservation, and so the prepaid money, with its POS.
TEST(CancelAuthorise, OnlyTheReservingPosCancelsAndAllStopKeepsTheReservation)
{
    Site site(Fast());
    Session pos(site.sim, 83, 3), other(site.sim, 84, 3);
    ASSERT_EQ(std::make_tuple(pos.result, other.result), std::make_tuple(0L, 0L));
    ASSERT_EQ(0, PrepayReserveMT(pos, kPump3));
    ASSERT_EQ(0, PrepayAuthoriseMT(pos, kPump3, PRESET_MONEY, 20.0, 0, 0));
    EXPECT_EQ(SR_RESERVED_OTHER, CancelAuthoriseMT(other, kPump3));
    EXPECT_EQ(SR_RESERVED_OTHER, TerminateDeliveryMT(other, kPump3));
    EXPECT_EQ(PS_AUTHORISED, PumpStatus(other, kPump3).state);

    EXPECT_EQ(0, AllStopMT(other));
    Status st = PumpStatus(other, kPump3);
    EXPECT_EQ(std::make_tuple(st.state, st.reserveClient), std::make_tuple(short{PS_RESERVED}, 83L));
    EXPECT_EQ(0, PrepayAuthoriseMT(pos, kPump3, PRESET_MONEY, 20.0, 0, 0));
    EXPECT_EQ(0, CancelAuthoriseMT(pos, kPump3));
    EXPECT_EQ(0, PrepayCancelMT(pos, kPump3));
    EXPECT_EQ(PS_IDLE, PumpStatus(other, kPump3).state);
}

// The short payment form fills the client field with -1: it authorises the calling client's
// payment reservation, with the preset, level and hose it takes.
TEST(ExtAuthoriseVFP, AuthorisesTheCallingClientsPaymentReservation)
{
    Site site(Fast());
    ASSERT_EQ(0, ClientLogonEx(85, 3, "127.0.0.1", site.sim.CallPort(), site.sim.EventsPort(), 3000, nullptr,
                               nullptr, 0));
    EXPECT_EQ(SR_NOT_RESERVED, ExtAuthoriseVFP(kPump4, "ref", "text", PRESET_MONEY, 12.5, 2, 1));
    ASSERT_EQ(0, PaymentReserve(kPump4, 85, "terminal"));
    EXPECT_EQ(0, ExtAuthoriseVFP(kPump4, "ref", "text", PRESET_MONEY, 12.5, 2, 1));
    ASSERT_EQ("ok lift pump 4 Delivering", site.sim.Command("lift 4 1"));
    Session pos(site.sim, 86, 3);
    ASSERT_TRUE(WaitUntil([&] { return PumpStatus(pos, kPump4).state == PS_FINISHED; }, 10000));
    EXPECT_EQ(0, ClientLogoff());
    const Record r = Delivery(pos, PumpStatus(pos, kPump4).delivery);
    EXPECT_EQ(std::make_tuple(r.type, r.presetType, r.money, r.level), std::make_tuple(long{DT_PAYMENT},
                                                                                      short{PRESET_MONEY}, 12.5, short{2}));
}

// Cards of a blocked or expired account, or beyond the credit left, are refused with their
// own codes; a card client's price level applies, and its credit limits the sale.
TEST(TagAuthorise, CardRulesRefuseAndLimitAndSetThePriceLevel)
{
    Site site(Fast());
    Session pos(site.sim, 87, 3);
    ASSERT_EQ(0, pos.result);
    struct Case {
        long long card;
        short preset;
        double value;
        long expect;
    } cases[] = {
        {7009990001LL, PRESET_NONE, 0, SR_CARD_BLOCKED},
        {7002000001LL, PRESET_MONEY, 600, SR_CARD_LIMIT},     // 500 of credit
        {7001000001LL, PRESET_MONEY, 1500.01, SR_CARD_LIMIT},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.expect, TagAuthoriseMT(pos, kPump4, c.card, c.preset, c.value, 0, 0)) << c.card;
    EXPECT_EQ(SR_CARD_BLOCKED, PaymentReserveMT(pos, kPump3, 87, "") == 0
                                   ? PaymentAuthoriseMT(pos, kPump3, 1, "", -1, 7009990001LL, 87, -1, 0, -1, 0, 0,
                                                        0, 0, PRESET_MONEY, 10, 0, 0, 0, "", "", "", "")
                                   : -1);
    EXPECT_EQ(0, PaymentCancelMT(pos, kPump3, 87, ""));

    // Fleet One: level 2, and no preset becomes its credit as a money limit.
    ASSERT_EQ(0, TagAuthoriseMT(pos, kPump4, 7001000001LL, PRESET_NONE, 0, 0, 0));
    const Status st = PumpStatus(pos, kPump4);
    EXPECT_EQ(std::make_tuple(st.state, st.level), std::make_tuple(short{PS_AUTHORISED}, short{2}));
    EXPECT_EQ(0, CancelAuthoriseMT(pos, kPump4));

    // After the expiry date.
    EXPECT_EQ(0, SetDateTimeMT(pos, 2100000000L));
    EXPECT_EQ(SR_CARD_EXPIRED, TagAuthoriseMT(pos, kPump4, 7002000001LL, PRESET_MONEY, 10, 0, 0));
}

// Many POS clients at once: 32 sessions compete for 8 pumps' prepay reservations and each
// sells and clears one delivery of its own, all receiving events throughout.
TEST(ClientLogonEx, ThirtyTwoPosClientsSellConcurrently)
{
    Site site(Fast());
    constexpr int kClients = 32;
    std::vector<long> sold(kClients, 0), results(kClients, -1);
    std::atomic<int> done{0};
    std::mutex line;   // the control line is one connection
    auto control = [&](const std::string& command) {
        std::lock_guard<std::mutex> hold(line);
        site.sim.Command(command);
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < kClients; ++i)
        threads.emplace_back([&, i] {
            Session pos(site.sim, 100 + i, 3);
            results[i] = pos.result;
            const int number = 1 + i % 8;
            const long pump = 100 + number;
            for (int tries = 0; tries < 500 && pos.result == 0 && !sold[i]; ++tries) {
                Drain(pos);
                if (PrepayReserveMT(pos, pump) != 0) {
                    usleep(20000);
                    continue;
                }
                results[i] = PrepayAuthoriseMT(pos, pump, PRESET_VOLUME, 0.5, 0, 1);
                control("lift " + std::to_string(number) + " 1");
                WaitUntil([&] { return Drain(pos), PumpStatus(pos, pump).state == PS_FINISHED; }, 5000);
                control("hang " + std::to_string(number));
                sold[i] = PumpStatus(pos, pump).delivery;
                if (results[i] == 0)
                    results[i] = LockAndClearDeliveryMT(pos, sold[i], CLEAR_CASH);
            }
            // Everyone stays logged on, taking events, until the last sale.
            ++done;
            WaitUntil([&] { return Drain(pos), done == kClients; }, 60000);
            if (results[i] == 0)
                results[i] = TestConnectionMT(pos);
        });
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(std::vector<long>(kClients, 0), results);
    std::vector<long> ids(sold);
    std::sort(ids.begin(), ids.end());
    EXPECT_GT(ids.front(), 0);
    EXPECT_EQ(ids.end(), std::adjacent_find(ids.begin(), ids.end()));
}

// Field faults a POS must handle: a pump that stops responding or reports a driver error
// (a running sale ends with what flowed), a card reader out of order, a tank alarm that
// gives no fuel, and an authorisation that no customer takes.
TEST(GetPumpStatus, FaultsAndTimeOutsShowAndRefuse)
{
    CSimSettings settings = Fast();
    settings.authTimeoutMs = 4000;   // simulated: 0.1 s here
    Site site(settings);
    Session pos(site.sim, 88, 3);
    ASSERT_EQ(0, pos.result);
    struct Case {
        const char *fault, *clear;
        long pump;
        short state;
    } cases[] = {
        {"offline 2", "online 2", 102, PS_OFFLINE},
        {"error 5 7", "error 5 0", 105, PS_ERROR},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        ASSERT_EQ(0, AuthoriseMT(pos, c.pump));
        ASSERT_EQ(0, site.sim.Command("lift " + std::to_string(c.pump - 100)).rfind("ok lift", 0));
        usleep(50000);
        ASSERT_EQ(0, site.sim.Command(c.fault).rfind("ok", 0));
        const Status st = PumpStatus(pos, c.pump);
        EXPECT_EQ(c.state, st.state);
        EXPECT_GT(st.volume, 0);   // the sale ended with what flowed
        EXPECT_EQ(DS_COMPLETED, Delivery(pos, st.delivery).state);
        EXPECT_EQ(SR_OFFLINE, AuthoriseMT(pos, c.pump));
        ASSERT_EQ(0, site.sim.Command(c.clear).rfind("ok", 0));
        site.sim.Command("hang " + std::to_string(c.pump - 100));
        EXPECT_EQ(0, AuthoriseMT(pos, c.pump));
        EXPECT_EQ(0, CancelAuthoriseMT(pos, c.pump));
    }
    EXPECT_EQ("ok reader pump 4 Idle", site.sim.Command("reader 4 fault"));
    EXPECT_EQ(SR_READER_FAULT, TagAuthoriseMT(pos, kPump4, 7001000001LL, PRESET_MONEY, 10, 0, 0));
    EXPECT_EQ("ok reader pump 4 Idle", site.sim.Command("reader 4 ok"));
    EXPECT_EQ(0, TagAuthoriseMT(pos, kPump4, 7001000001LL, PRESET_MONEY, 10, 0, 0));

    // Tank 1 in alarm feeds pump 1's hose 1 nothing.
    ASSERT_EQ("ok alarm", site.sim.Command("alarm 1 1 1 Water"));
    ASSERT_EQ(0, AuthoriseMT(pos, 101));
    site.sim.Command("lift 1 1");
    EXPECT_TRUE(WaitUntil([&] { return PumpStatus(pos, 101).error == PE_TANK_BLOCKED; }, 2000));
    site.sim.Command("hang 1");

    // The authorisation at pump 4 above was never taken: it expires with its pump event.
    EXPECT_TRUE(WaitUntil([&] { return PumpStatus(pos, kPump4).state == PS_IDLE; }, 2000));
    EXPECT_EQ(PE_AUTH_TIMEOUT, PumpStatus(pos, kPump4).error);
}

// A delivery's correction goes through its lock, and leaves the state, lock and clearing to
// their own calls; a card read event carries the read's ID and then its record as read.
TEST(SetDeliveryProperties, RespectsTheLockAndCardReadsKeepOneFieldOrder)
{
    Site site(Fast());
    Session a(site.sim, 89, 3), b(site.sim, 90, 3);
    ASSERT_EQ(std::make_tuple(a.result, b.result), std::make_tuple(0L, 0L));
    const long id = SaleAtPump7(site, a);
    const Record r = Delivery(a, id);
    ASSERT_EQ(0, LockDeliveryMT(a, id));
    auto set = [&](CKVCLProcess* s, double money) {
        return SetDeliveryPropertiesMT(s, id, r.pump, r.hose, r.presetType, r.presetValue, r.level, r.volume, money,
                                       r.price, r.finished, DS_CLEARED, r.type, 0, r.attendant);
    };
    EXPECT_EQ(SR_LOCKED, set(b, 1.0));
    EXPECT_EQ(0, set(a, 1.0));
    const Record after = Delivery(b, id);
    EXPECT_EQ(std::make_tuple(after.money, after.state, after.lock), std::make_tuple(1.0, long{DS_COMPLETED}, 89L));

    Drain(b);
    ASSERT_EQ("ok card read 1201", site.sim.Command("tag 2 7001001234"));
    ASSERT_TRUE(b.WaitFor(22));
    long read = 0, number = 0, pump = 0, cardClient = 0, when = 0;
    short reader = 0;
    long long tag = 0;
    char name[16] = "               ";
    EXPECT_EQ(0, GetNextCardReadEventMT(b, &read, &number, name, &pump, &reader, &cardClient, &tag, &when));
    EXPECT_EQ(std::make_tuple(read, pump, reader, cardClient, tag), std::make_tuple(1201L, 102L, short{1}, 701L,
                                                                                   7001001234LL));
}

// Events missed while the connection was down are not replayed, but a reconnected POS is
// sent what it needs to resynchronise: every pump's state and the deliveries not cleared.
TEST(TestConnection, AReconnectedPosIsSentPumpStatesAndUnclearedDeliveries)
{
    Site site(Fast());
    Session pos(site.sim, 91, 3);
    ASSERT_EQ(0, pos.result);
    ASSERT_EQ("ok dropped client 91", site.sim.Command("drop 91"));
    ASSERT_EQ("ok lift pump 7 Delivering", site.sim.Command("lift 7 1"));
    usleep(100000);
    ASSERT_EQ("ok hang pump 7 Idle", site.sim.Command("hang 7"));
    Drain(pos);
    const long delivery = PumpStatus(pos, 107).delivery;   // sent again after the reconnect
    std::set<long> pumps, deliveries;
    WaitUntil([&] {
        ProcessEventsMT(pos);
        short type = 0;
        long id = 0;
        while (GetNextEventTypeMT(pos, &type) == 0 && type != 0) {
            if (type == 1 && GetNextPumpEventMT(pos, &id, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr) == 0)
                pumps.insert(id);
            else if (type == 2 && GetNextDeliveryEventMT(pos, &id, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                         nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                         nullptr, nullptr, nullptr, nullptr, nullptr) == 0)
                deliveries.insert(id);
            else
                DiscardNextEventMT(pos);
        }
        return pumps.size() == 8 && deliveries.count(delivery);
    }, 3000);
    EXPECT_EQ(std::make_tuple(pumps.size(), deliveries), std::make_tuple(size_t{8}, std::set<long>{delivery}));
}

// Prepaid money not taken comes back as the delivery's refund, for a volume preset too, and
// a prepay in which nothing flowed still leaves a delivery to settle.
TEST(PrepayAuthorise, RefundsWhatWasNotTakenEvenWhenNothingFlowed)
{
    Site site(Fast());
    Session pos(site.sim, 92, 3);
    ASSERT_EQ(0, pos.result);
    struct Case {
        long pump;
        short preset;
        double value;
        bool flows;
    } cases[] = {{103, PRESET_VOLUME, 20, true}, {101, PRESET_MONEY, 20, false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pump);
        const std::string number = std::to_string(c.pump - 100);
        if (!c.flows) {   // tank 1 (pump 1's hose 1) in alarm gives nothing
            ASSERT_EQ("ok alarm", site.sim.Command("alarm 1 1 1 Water"));
        }
        ASSERT_EQ(0, PrepayReserveMT(pos, c.pump));
        ASSERT_EQ(0, PrepayAuthoriseMT(pos, c.pump, c.preset, c.value, 0, 1));
        site.sim.Command("lift " + number + " 1");
        if (c.flows)
            WaitUntil([&] { return PumpStatus(pos, c.pump).volume >= 2; }, 5000);
        else
            WaitUntil([&] { return PumpStatus(pos, c.pump).state != PS_DELIVERING; }, 2000);
        site.sim.Command("hang " + number);
        const Record r = Delivery(pos, PumpStatus(pos, c.pump).delivery);
        EXPECT_EQ(std::make_tuple(r.type, r.state, r.volume > 0), std::make_tuple(long{DT_PREPAY}, long{DS_COMPLETED},
                                                                                  c.flows));
        EXPECT_GT(r.authorised, r.money);
        EXPECT_DOUBLE_EQ(r.authorised - r.money, r.refund);
        EXPECT_EQ(0, LockAndClearDeliveryMT(pos, PumpStatus(pos, c.pump).delivery, CLEAR_CASH));
    }
}

// Smaller rules: an external start respects another client's reservation, a lock shows in a
// pump event (the pump record carries the lock owner), and an attendant's logon tells the
// database clients the attendant's number, never the PIN.
TEST(ExternalStartDelivery, RespectsReservationsLocksShowAndPinsStayPrivate)
{
    Site site(Fast());
    Session pos(site.sim, 93, 3), db(site.sim, 94, 7);
    ASSERT_EQ(std::make_tuple(pos.result, db.result), std::make_tuple(0L, 0L));
    ASSERT_EQ(0, PrepayReserveMT(pos, kPump3));
    EXPECT_EQ(SR_RESERVED_OTHER, ExternalStartDeliveryMT(db, kPump3, 1, 55));
    EXPECT_EQ(std::make_tuple(short{PS_RESERVED}, 93L), std::make_tuple(PumpStatus(db, kPump3).state,
                                                                      PumpStatus(db, kPump3).reserveClient));
    EXPECT_EQ(0, PrepayCancelMT(pos, kPump3));

    const long delivery = SaleAtPump7(site, pos);
    Drain(db);
    ASSERT_EQ(0, LockDeliveryMT(pos, delivery));
    EXPECT_TRUE(db.WaitFor(1));
    long pump = 0, attendant = 0, value = 0;
    EXPECT_EQ(0, GetNextPumpEventMT(db, &pump, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(107, pump);

    ASSERT_EQ(0, AttendantLogonMT(pos, 602, 2345));
    ASSERT_TRUE(db.WaitFor(11));
    EXPECT_EQ(0, GetNextDBAttendantLogonEventMT(db, &attendant, &value));
    EXPECT_EQ(std::make_pair(attendant, value), std::make_pair(602L, 2L));
}

// With --legacy-events the older pump event and the hose totals go in their short forms, and
// the library reads their missing tails as -1.
TEST(LegacyEvents, ShortFormsReachThePosWithTheirTailsMissing)
{
    for (const bool legacy : {false, true}) {
        CSimSettings settings = Fast();
        settings.legacyEvents = legacy;
        Site site(settings);
        Session pos(site.sim, 92, 7);   // calls, events and database calls
        ASSERT_EQ(0, pos.result);
        ASSERT_EQ(0, SetClientTypeMT(pos, EV_PUMP | EV_OLD_PUMP));
        Drain(pos);
        SaleAtPump7(site, pos);
        long lockOwner = 0, pumpId = 0;
        ASSERT_TRUE(pos.WaitFor(1));
        EXPECT_EQ(0, GetNextPumpEventEx2MT(pos, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           nullptr, nullptr, nullptr, nullptr, nullptr, &lockOwner, nullptr, nullptr,
                                           nullptr));
        ASSERT_TRUE(pos.WaitFor(9));
        EXPECT_EQ(0, GetNextDBHoseETotalsEventExMT(pos, nullptr, nullptr, nullptr, nullptr, nullptr, &pumpId, nullptr,
                                                   nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                   nullptr));
        EXPECT_EQ(legacy ? std::make_tuple(-1L, -1L) : std::make_tuple(0L, 107L), std::make_tuple(lockOwner, pumpId))
            << legacy;
    }
}
