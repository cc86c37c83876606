// The forecourt model driven directly: the pump state machine, delivery amounts, preset
// stops, reservations, locks and the delivery lists.
#include "sim_fixture.h"

using namespace simtest;

TEST(CForecourtPump, StateMachineFromLiftOrFromAuthorisation)
{
    Model m;
    CSimPump& p = m.Pump(1);
    const long id = p.ID();

    // Lift first: calling, then the authorisation starts the delivery at once.
    EXPECT_EQ(SR_OK, m.fc.Lift(p, 1));
    EXPECT_EQ(SR_STATE, m.fc.Lift(p, 2));   // one nozzle at a time
    EXPECT_EQ(SR_OK, m.Pumps().Authorise(&p));
    m.fc.Advance(1000);
    EXPECT_EQ(SR_OK, m.Pumps().TempStop(&p));
    m.fc.Advance(5000);   // nothing flows while stopped
    EXPECT_EQ(SR_STATE, m.Pumps().TempStop(&p));
    EXPECT_EQ(SR_OK, m.Pumps().ReAuthorise(&p));
    m.fc.Advance(1000);
    EXPECT_EQ(SR_OK, m.fc.Hang(p));
    EXPECT_EQ((std::vector<long>{PS_CALLING, PS_DELIVERING, PS_STOPPED, PS_DELIVERING, PS_IDLE}), m.sink.States(id));
    // Two seconds at 0.6 l/s.
    EXPECT_EQ(std::make_tuple(RawOf(1.2), long{DS_COMPLETED}), std::make_tuple(m.Last(p).volume, m.Last(p).state));

    // Authorise first: the lift of a hose the authorisation excludes only calls.
    m.sink.Clear();
    EXPECT_EQ(SR_OK, m.Pumps().LoadPreset(&p, PRESET_NONE, Money(0), 0, 2));
    EXPECT_EQ(SR_OK, m.fc.Lift(p, 1));
    EXPECT_EQ(SR_OK, m.fc.Hang(p));
    EXPECT_EQ(SR_OK, m.fc.Lift(p, 2));
    EXPECT_EQ(SR_STATE, m.Pumps().CancelAuthorise(&p));   // running
    EXPECT_EQ(SR_OK, m.Pumps().TerminateDelivery(&p));
    EXPECT_EQ((std::vector<long>{PS_AUTHORISED, PS_CALLING, PS_AUTHORISED, PS_DELIVERING, PS_FINISHED}),
              m.sink.States(id));
    EXPECT_EQ(1, m.sink.Count(TSimEvent::Zero));   // terminated before anything flowed
    EXPECT_EQ(SR_OK, m.fc.Hang(p));
    EXPECT_EQ(PS_IDLE, m.fc.StateOf(p));

    // Disabled pumps refuse authorisation, and cannot be disabled mid-delivery.
    EXPECT_EQ(SR_OK, m.Pumps().DisablePump(&p));
    EXPECT_EQ(SR_DISABLED, m.Pumps().Authorise(&p));
    EXPECT_EQ(SR_OK, m.fc.Lift(p, 1));
    EXPECT_EQ(PS_DISABLED, m.fc.StateOf(p));
    EXPECT_EQ(SR_OK, m.Pumps().EnablePump(&p));
    EXPECT_EQ(PS_CALLING, m.fc.StateOf(p));
    EXPECT_EQ(SR_OK, m.Pumps().Authorise(&p));
    EXPECT_EQ(SR_STATE, m.Pumps().DisablePump(&p));
    EXPECT_EQ(kNoObject, m.Pumps().TerminateDelivery(nullptr));

    // A pump set to authorise itself delivers on the lift alone.
    CSimPump& self = m.Pump(7);
    EXPECT_EQ(SR_OK, m.fc.Lift(self, 2));
    EXPECT_EQ(PS_DELIVERING, m.fc.StateOf(self));

    // A driver's reports move the nozzle and the end of a delivery, each with a pump event; a
    // hung nozzle never stays finished, and a running delivery keeps its state.
    CSimPump& drv = m.Pump(3);
    EXPECT_EQ(SR_OK, m.Pumps().LoadPreset(&drv, PRESET_VOLUME, Money(0.6), 0, 0));
    EXPECT_EQ(SR_OK, m.fc.Lift(drv, 1));
    m.fc.Advance(2000);
    const struct { short state, hose, want; long result; } reports[] = {
        {PS_IDLE, 0, PS_IDLE, SR_OK},         {PS_CALLING, 2, PS_CALLING, SR_OK},
        {PS_FINISHED, 2, PS_FINISHED, SR_OK}, {PS_FINISHED, 0, PS_IDLE, SR_OK},
        {PS_CALLING, 5, PS_IDLE, SR_BAD_VALUE}, {11, 1, PS_IDLE, SR_BAD_VALUE},
    };
    for (const auto& r : reports) {
        const long before = m.sink.Count(TSimEvent::Pump);
        EXPECT_EQ(r.result, m.Pumps().UpdateState(&drv, r.state, r.hose, Money(1), Money(2), Money(3))) << r.state;
        EXPECT_EQ(r.want, m.fc.StateOf(drv)) << r.state << " " << r.hose;
        EXPECT_EQ(before + (r.result == SR_OK), m.sink.Count(TSimEvent::Pump));
    }
    EXPECT_EQ(SR_OK, m.Pumps().Authorise(&drv));
    EXPECT_EQ(SR_OK, m.fc.Lift(drv, 1));
    EXPECT_EQ(SR_OK, m.Pumps().UpdateState(&drv, PS_IDLE, 0, Money(0), Money(0), Money(0)));
    EXPECT_EQ(std::make_tuple(PS_DELIVERING, short{1}), std::make_tuple(m.fc.StateOf(drv), drv.nozzle));
}

TEST(CForecourtPump, AmountsFollowThePriceLevelAndPresetsStopExactly)
{
    Model m;
    // 6 l of Unleaded 95 at level 1 (1.459): 8.754 rounds to 8.75.
    CSimDelivery& d = m.Sale(1, 10000);
    EXPECT_EQ(std::make_tuple(RawOf(6), RawOf(1.459), RawOf(8.75), 1),
              std::make_tuple(d.volume, d.price, d.money, d.priceLevel));
    // Pump 5 sells at level 2 by default; a preset may ask for level 1 instead.
    EXPECT_EQ(RawOf(1.419), m.Sale(5, 1000).price);
    CSimPump& p5 = m.Pump(5);
    EXPECT_EQ(SR_OK, m.Pumps().LoadPreset(&p5, PRESET_VOLUME, Money(1), 1, 0));
    EXPECT_EQ(SR_OK, m.fc.Lift(p5, 1));
    m.fc.Advance(60000);
    EXPECT_EQ(std::make_tuple(RawOf(1.459), RawOf(1)), std::make_tuple(m.Last(p5).price, m.Last(p5).volume));

    // A money preset stops at the least volume whose money rounds to it.
    CSimPump& p = m.Pump(2);
    EXPECT_EQ(SR_OK, m.Pumps().LoadPreset(&p, PRESET_MONEY, Money(20), 0, 0));
    EXPECT_EQ(SR_OK, m.fc.Lift(p, 1));
    m.fc.Advance(22000);
    EXPECT_EQ(PS_DELIVERING, m.fc.StateOf(p));
    m.fc.Advance(60000);
    CSimDelivery& preset = m.Last(p);
    EXPECT_EQ(PS_FINISHED, m.fc.StateOf(p));
    EXPECT_EQ(std::make_tuple(RawOf(20), Raw{137046}, RawOf(20), PRESET_MONEY),   // 13.7046 l
              std::make_tuple(preset.money, preset.volume, preset.authorised, preset.presetType));
    EXPECT_EQ(RawOf(19.99), CForecourt::Money(preset.volume - 1, preset.price));

    // The tank lost both sales of its grade, the hose's totals moved on.
    CSimTank* tank = m.fc.Tank(preset.tankId);
    EXPECT_EQ(RawOf(28500 - 6 - 0.6 - 1) - preset.volume, tank->volume);
    CSimHose* hose = m.fc.Hose(preset.hoseId);
    EXPECT_EQ(std::make_tuple(preset.volume, preset.volBefore, preset.moneyAfter),
              std::make_tuple(hose->volumeTotal - hose->prevVolumeTotal, hose->prevVolumeTotal, hose->moneyTotal));
    EXPECT_EQ(std::make_tuple(4, 4, 4), std::make_tuple(m.sink.Count(TSimEvent::DBLogDelivery),
                                                        m.sink.Count(TSimEvent::DBHoseTotals),
                                                        m.sink.Count(TSimEvent::DBTankStatus)));

    // A price change reaches the grade's hoses; bad presets are refused.
    EXPECT_EQ(SR_OK, m.fc.Grades().SetPrice(m.fc.Grade(preset.gradeId), 1, Money(1.5)));
    CCur price;
    EXPECT_EQ(SR_OK, m.fc.Hoses().GetPrice(hose, 1, &price));
    EXPECT_EQ(RawOf(1.5), price.Value());
    EXPECT_EQ(SR_NOT_FOUND, m.fc.Hoses().GetPrice(hose, 3, &price));
    CSimPump& p3 = m.Pump(3);
    EXPECT_EQ(SR_BAD_VALUE, m.Pumps().LoadPreset(&p3, PRESET_MONEY, Money(0), 0, 0));
    EXPECT_EQ(SR_BAD_VALUE, m.Pumps().LoadPreset(&p3, 7, Money(5), 0, 0));
    EXPECT_EQ(SR_BAD_VALUE, m.Pumps().LoadPreset(&p3, PRESET_VOLUME, Money(5), 3, 0));
    EXPECT_EQ(SR_BAD_VALUE, m.Pumps().LoadPreset(&p3, PRESET_VOLUME, Money(5), 0, 5));   // 4 hoses
}

TEST(CForecourtPump, PrepayBelongsToTheReservingClient)
{
    Model m;
    CSimPump& p = m.Pump(3);
    EXPECT_EQ(SR_OK, m.Pumps().PrepayReserve(&p, 11));
    EXPECT_EQ(SR_OK, m.Pumps().PrepayReserve(&p, 11));
    EXPECT_EQ(SR_RESERVED_OTHER, m.Pumps().PrepayReserve(&p, 12));
    EXPECT_EQ(SR_RESERVED_OTHER, m.Pumps().PreauthReserve(&p, 11));
    EXPECT_EQ(SR_RESERVED_OTHER, m.Pumps().Authorise(&p));
    EXPECT_EQ(SR_RESERVED_OTHER, m.Pumps().PrepayAuthorise(&p, 12, PRESET_MONEY, Money(10), 0, 0));
    EXPECT_EQ(SR_BAD_VALUE, m.Pumps().PrepayAuthorise(&p, 11, PRESET_NONE, Money(0), 0, 0));
    EXPECT_EQ(SR_RESERVED_OTHER, m.Pumps().PrepayCancel(&p, 12));
    EXPECT_EQ(PS_RESERVED, m.fc.StateOf(p));

    EXPECT_EQ(SR_OK, m.Pumps().PrepayAuthorise(&p, 11, PRESET_MONEY, Money(10), 0, 0));
    EXPECT_EQ(SR_OK, m.fc.Lift(p, 1));
    m.fc.Advance(3000);
    EXPECT_EQ(SR_OK, m.fc.Hang(p));   // the customer stopped early: a refund is due
    CSimDelivery& d = m.Last(p);
    EXPECT_EQ(std::make_tuple(long{DT_PREPAY}, 11L, RawOf(10), RawOf(10) - d.money),
              std::make_tuple(d.type, d.reserveClient, d.authorised, d.refund));
    EXPECT_EQ(RES_NONE, p.reserveType);   // the reservation ends with its delivery
    EXPECT_EQ(SR_NOT_RESERVED, m.Pumps().PrepayCancel(&p, 11));

    // A reservation can be given up before anything flows.
    EXPECT_EQ(SR_OK, m.Pumps().PreauthReserve(&p, 12));
    EXPECT_EQ(SR_OK, m.Pumps().PreauthAuthorise(&p, 12, PRESET_VOLUME, Money(5), 0, 0));
    EXPECT_EQ(SR_OK, m.Pumps().PreauthCancel(&p, 12));
    EXPECT_EQ(PS_IDLE, m.fc.StateOf(p));
}

TEST(CForecourtPump, AttendantTagAndStackRules)
{
    Model m;
    CSimPump& p = m.Pump(4);
    CSimAttendant* alice = m.fc.Attendant(601);
    ASSERT_NE(nullptr, alice);
    EXPECT_EQ(SR_REFUSED, m.Pumps().AttendantAuthorise(&p, 601));   // not logged on
    EXPECT_EQ(SR_REFUSED, m.fc.Attendants().Logon(alice, 9999));     // wrong PIN
    EXPECT_EQ(SR_OK, m.fc.Attendants().Logon(alice, 1234));
    EXPECT_EQ(SR_NOT_FOUND, m.Pumps().AttendantAuthorise(&p, 699));
    EXPECT_EQ(SR_OK, m.Pumps().AttendantAuthorise(&p, 601));
    EXPECT_EQ(SR_OK, m.fc.Lift(p, 1));
    m.fc.Advance(1000);
    EXPECT_EQ(SR_OK, m.fc.Hang(p));
    EXPECT_EQ(std::make_tuple(long{DT_ATTENDANT}, 601L), std::make_tuple(m.Last(p).type, m.Last(p).attendantId));
    short on = 0, count = 0;
    EXPECT_EQ(SR_OK, m.fc.Attendants().GetState(alice, &on, &count));
    EXPECT_EQ(std::make_tuple(1, 1), std::make_tuple(on, count));
    EXPECT_EQ(1, m.sink.Count(TSimEvent::DBAttendantLogon));

    // Tags: an attendant's tag or a card client's card authorises, others do not.
    EXPECT_EQ(SR_REFUSED, m.Pumps().TagAuthorise(&p, 123456, PRESET_NONE, Money(0), 0, 0));
    EXPECT_EQ(SR_OK, m.Pumps().TagAuthorise(&p, 7001005550001LL, PRESET_NONE, Money(0), 0, 0));
    EXPECT_EQ(SR_OK, m.fc.Lift(p, 1));
    m.fc.Advance(500);
    EXPECT_EQ(SR_OK, m.fc.Hang(p));
    EXPECT_EQ(7001005550001LL, m.Last(p).tag);

    // Stack size 2: a third sale waits until one is paid; the previous sale is stacked
    // when the next starts, or on request.
    EXPECT_EQ(SR_STACK_FULL, m.Pumps().Authorise(&p));
    std::vector<CSimDelivery*> unpaid = m.fc.Unpaid(p);
    ASSERT_EQ(2u, unpaid.size());
    EXPECT_EQ(std::make_tuple(long{DS_COMPLETED}, long{DS_STACKED}), std::make_tuple(unpaid[0]->state, unpaid[1]->state));
    EXPECT_EQ(SR_OK, m.fc.Clear(*unpaid[1], 11, CLEAR_CASH, false));
    EXPECT_EQ(SR_OK, m.Pumps().StackCurrentDelivery(&p));
    EXPECT_EQ(SR_NOT_FOUND, m.Pumps().StackCurrentDelivery(&p));
    EXPECT_EQ(2, m.sink.Count(TSimEvent::DBStack));
    EXPECT_EQ(SR_OK, m.Pumps().Authorise(&p));

    long id = 0;
    short hose = 0, state = 0;
    EXPECT_EQ(SR_OK, m.Pumps().GetDeliveryProperties(&p, 0, &id, &hose, &state, nullptr, nullptr, nullptr, nullptr,
                                                      nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                      nullptr, nullptr, nullptr));
    EXPECT_EQ(std::make_tuple(unpaid[0]->ID(), short{DS_STACKED}), std::make_tuple(id, state));
    EXPECT_EQ(SR_NOT_FOUND, m.Pumps().GetDeliveryProperties(&p, 1, &id, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                             nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                             nullptr, nullptr, nullptr, nullptr, nullptr));

    // An idle pump shows its unpaid sale, also behind a newer sale that was paid.
    EXPECT_EQ(SR_OK, m.fc.Lift(p, 1));
    m.fc.Advance(500);
    EXPECT_EQ(SR_OK, m.fc.Hang(p));
    EXPECT_EQ(SR_OK, m.fc.Clear(m.Last(p), 11, CLEAR_CASH, false));
    for (const long shown : {unpaid[0]->ID(), 0L}) {
        const CPumpView v = m.fc.View(p);
        EXPECT_EQ(std::make_tuple(PS_IDLE, shown, short{shown != 0}, 0),
                  std::make_tuple(v.state, v.deliveryId, v.unpaid, v.stateText.Compare(shown ? "Idle, unpaid" : "Idle")));
        if (shown) {
            EXPECT_EQ(SR_OK, m.fc.Clear(*unpaid[0], 11, CLEAR_CASH, false));
        }
    }
}

TEST(CForecourtDelivery, LocksBelongToOneClient)
{
    Model m;
    CSimDelivery& d = m.Sale(1, 2000);
    m.sink.Clear();
    EXPECT_EQ(SR_OK, m.Deliveries().Lock(&d, 11));
    EXPECT_EQ(SR_OK, m.Deliveries().Lock(&d, 11));
    EXPECT_EQ(SR_LOCKED, m.Deliveries().Lock(&d, 12));
    EXPECT_EQ(SR_LOCKED, m.Deliveries().Clear(&d, 12, CLEAR_CASH));
    EXPECT_EQ(SR_LOCKED, m.Deliveries().LockAndClear(&d, 12, CLEAR_CASH));
    EXPECT_EQ(SR_LOCKED, m.Deliveries().Unlock(&d, 12));
    EXPECT_EQ(SR_OK, m.Deliveries().Unlock(&d, 11));
    EXPECT_EQ(SR_OK, m.Deliveries().LockAndClear(&d, 12, CLEAR_CARD));
    EXPECT_EQ(std::make_tuple(long{DS_CLEARED}, 12L), std::make_tuple(d.state, d.clearedBy));
    EXPECT_EQ(SR_CLEARED, m.Deliveries().Clear(&d, 12, CLEAR_CARD));
    EXPECT_EQ(SR_CLEARED, m.Deliveries().Lock(&d, 11));
    EXPECT_EQ(1, m.sink.Count(TSimEvent::DBClear));
    EXPECT_EQ(3, m.sink.Count(TSimEvent::Delivery));   // lock, unlock and clear; nothing refused

    // A running delivery cannot be cleared; a pump test returns its fuel to the tank.
    CSimPump& p = m.Pump(2);
    EXPECT_EQ(SR_OK, m.Pumps().Authorise(&p));
    EXPECT_EQ(SR_OK, m.fc.Lift(p, 2));
    m.fc.Advance(5000);
    CSimDelivery& running = m.Last(p);
    EXPECT_EQ(SR_RUNNING, m.Deliveries().Clear(&running, 11, CLEAR_CASH));
    EXPECT_EQ(SR_RUNNING, m.Deliveries().AckDBLog(&running));
    EXPECT_EQ(SR_OK, m.fc.Hang(p));
    CSimTank* tank = m.fc.Tank(running.tankId);
    const Raw before = tank->volume;
    EXPECT_EQ(SR_OK, m.Deliveries().Clear(&running, 11, CLEAR_PUMPTEST));
    EXPECT_EQ(before + running.volume, tank->volume);
}

TEST(CForecourtDelivery, ListsFollowClearingAndAcknowledgements)
{
    Model m;
    CSimDelivery& a = m.Sale(1, 1000);
    CSimDelivery& b = m.Sale(2, 1000);
    CSimDelivery& c = m.Sale(1, 1000);
    CSimPump& p3 = m.Pump(3);
    EXPECT_EQ(SR_OK, m.Pumps().Authorise(&p3));
    EXPECT_EQ(SR_OK, m.fc.Lift(p3, 1));
    m.fc.Advance(100);   // a fourth, still running

    CDeliveriesIf& del = m.Deliveries();
    auto count = [&](long (CDeliveriesIf::*f)(long*)) {
        long n = -1;
        EXPECT_EQ(SR_OK, (del.*f)(&n));
        return n;
    };
    EXPECT_EQ(std::make_tuple(4, 4, 3),   // the running one is not loggable yet
              std::make_tuple(long{del.GetCount()}, count(&CDeliveriesIf::Count),
                              count(&CDeliveriesIf::CountNotLogged)));
    EXPECT_EQ(SR_OK, del.Clear(&b, 11, CLEAR_CASH));
    EXPECT_EQ(SR_OK, del.AckDBLog(&a));
    EXPECT_EQ(SR_OK, del.AckVolLog(&c));
    EXPECT_EQ(std::make_tuple(3, 2, 2), std::make_tuple(count(&CDeliveriesIf::Count), count(&CDeliveriesIf::CountNotLogged),
                                                        count(&CDeliveriesIf::CountNotVolLogged)));
    long id = 0;
    EXPECT_EQ(Got(del.GetIDByOrdinal(2, &id), id), std::make_tuple(SR_OK, c.ID()));
    EXPECT_EQ(Got(del.GetIDByOrdinalNotLogged(1, &id), id), std::make_tuple(SR_OK, b.ID()));
    EXPECT_EQ(Got(del.GetIDByOrdinalNotVolLogged(2, &id), id), std::make_tuple(SR_OK, b.ID()));
    EXPECT_EQ(std::make_tuple(del.GetIDByOrdinal(4, &id), del.GetIDByOrdinal(0, &id)),
              std::make_tuple(SR_NOT_FOUND, SR_NOT_FOUND));

    // The filter by pump, logged flag, state and clearing client, and finish date.
    auto filtered = [&](long pump, long state, long clearedBy, short logged, const CDate& to) {
        long n = -1;
        const long any = -1;
        EXPECT_EQ(SR_OK, del.CountFiltered(&n, pump, any, any, any, state, any, any, any, any, clearedBy, any, -1, -1,
                                           -1, logged, -1, any, any, -1, any, any, -1, CDate(), to));
        return n;
    };
    EXPECT_EQ(std::make_tuple(filtered(a.pumpId, -1, -1, -1, CDate()), filtered(a.pumpId, -1, -1, 0, CDate()),
                              filtered(-1, DS_CLEARED, 11, -1, CDate()), filtered(-1, -1, -1, -1, CDate(86400L))),
              std::make_tuple(2, 1, 1, 0));
    EXPECT_EQ(SR_OK, del.GetIDByOrdinalFiletered(1, &id, a.pumpId, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0,
                                                 -1, -1, -1, -1, -1, -1, -1, CDate(), CDate()));
    EXPECT_EQ(c.ID(), id);

    // Only cleared deliveries may be deleted.
    EXPECT_TRUE(b.CanDelete() && !a.CanDelete());
}
