// Events going out: which client takes which event, and the one-way calls that carry them
// on the client's events connection. The calls are the rows of the events and database
// tables, sent through proxies built from those tables.
#include <poll.h>

#include "sim/outgoing.h"
#include "sim/served.h"
#include "sim/server.h"

namespace sim {

namespace {

CCur Cur(Raw v) { return CCur::FromRaw(v); }

bool IsDB(TSimEvent k) { return k >= TSimEvent::DBLogDelivery; }

long MaskBit(TSimEvent k)
{
    switch (k) {
    case TSimEvent::Pump:
    case TSimEvent::Progress: return EV_PUMP;
    case TSimEvent::Delivery: return EV_DELIVERY;
    case TSimEvent::Zero: return EV_ZERO;
    case TSimEvent::Server: return EV_SERVER;
    case TSimEvent::Client: return EV_CLIENT;
    case TSimEvent::CardRead: return EV_CARD;
    case TSimEvent::TermPrompt: return EV_TERMINAL;
    case TSimEvent::LogEvent: return EV_LOGEVENT;
    case TSimEvent::SaleItem: return EV_SALEITEM;
    case TSimEvent::ZBPanID:
    case TSimEvent::ZB2GStatus:
    case TSimEvent::Odo: return EV_ZIGBEE;
    default: return 0;
    }
}

// An event that carries the object's ID and then its record as Get returns it.
template <class Rec, class O, class Send>
long WithRecord(O& o, Send&& send)
{
    return std::apply([&](const auto&... v) { return send(o.ID(), v...); }, Rec::Values(o));
}

int64_t Value(const CSimEvent& e, size_t i) { return i < e.values.size() ? e.values[i] : 0; }
short Short(const CSimEvent& e, size_t i) { return static_cast<short>(Value(e, i)); }
long Long(const CSimEvent& e, size_t i) { return static_cast<long>(Value(e, i)); }

}  // namespace

bool CSimServer::Wants(const CSimClient& c, const CSimEvent& e) const
{
    if (IsDB(e.kind))
        return c.db;
    return c.events && (c.mask & MaskBit(e.kind)) != 0;
}

void CSimServer::Emit(const CSimEvent& e)
{
    std::vector<long> drop, to;
    CObjectList<CSimClient, CSimClient>& list = _clients->List();
    std::vector<CSimClient*> all;
    for (CSimClient* c = list.First(); c; c = list.Next())
        all.push_back(c);
    for (CSimClient* c : all)
        if (Wants(*c, e) && EventsSocketOf(c->ID()))
            (Queue(*c, e) ? to : drop).push_back(c->ID());
    if (watcher)
        watcher->Sent(e, to);
    for (long id : drop)
        DropUndelivered(id);
}

// A client without an events connection gets nothing now: it resynchronises when it is back.
bool CSimServer::Queue(CSimClient& c, const CSimEvent& e)
{
    if (!EventsSocketOf(c.ID()))
        return true;
    _pending[c.ID()].push_back(e);
    return Flush(c.ID());
}

bool CSimServer::Flush(long clientId)
{
    std::deque<CSimEvent>& q = _pending[clientId];
    CSimClient* c = Client(clientId);
    CSocket* s = EventsSocketOf(clientId);
    while (c && s && !q.empty()) {
        pollfd p{s->Descriptor(), POLLOUT, 0};
        if (poll(&p, 1, 0) != 1 || !(p.revents & POLLOUT))
            break;
        if (!SendTo(*c, q.front()))
            return false;
        q.pop_front();
    }
    if (q.size() == 1)
        _trace->Log("Client %ld falls behind: its events wait in its queue", clientId);
    return q.size() <= kMaxPending;
}

void CSimServer::Resync(CSimClient& c)
{
    CForecourt& fc = *_forecourt;
    std::vector<CSimEvent> events;
    for (CSimPump* p = fc.Pumps().List().First(); p; p = fc.Pumps().List().Next())
        events.push_back(CSimEvent{TSimEvent::Pump, p->ID(), 0, 0, CStr(""), {}});
    for (CSimDelivery* d = fc.Deliveries().List().First(); d; d = fc.Deliveries().List().Next())
        if (d->state != DS_CLEARED)
            events.push_back(CSimEvent{TSimEvent::Delivery, d->ID(), 0, 0, CStr(""), {}});
    for (const CSimEvent& e : events)
        if (Wants(c, e) && !Queue(c, e)) {
            DropUndelivered(c.ID());
            return;
        }
}

void CSimServer::DropUndelivered(long clientId)
{
    _trace->Log("Client %ld dropped: events not delivered", clientId);
    DropClient(clientId);
}

bool CSimServer::SendTo(CSimClient& c, const CSimEvent& e)
{
    CSocket* s = EventsSocketOf(c.ID());
    if (!s)
        return true;   // not connected now: the event is not kept for it
    std::unique_ptr<COutgoing>& out = _out[c.ID()];
    if (!out)
        out = std::make_unique<COutgoing>(this, c.ID());
    out->events.SetSocket(s);
    out->db.SetSocket(s);
    return Deliver(c, e) >= 0;
}

long CSimServer::Deliver(CSimClient& c, const CSimEvent& e)
{
    CForecourt& fc = *_forecourt;
    CEventsOut& ev = _out[c.ID()]->events;
    CDBOut& db = _out[c.ID()]->db;
    switch (e.kind) {
    case TSimEvent::Pump:
    case TSimEvent::Progress: {
        CSimPump* p = fc.Pump(e.id);
        if (!p)
            return 0;
        CPumpView v = fc.View(*p);
        auto send = [&](auto&& call) {
            return call(v.id, v.number, v.state, v.hose, v.deliveryId, v.reserveClient, v.reserveType, v.attendantId,
                        v.hoseId, v.gradeId, v.stateText, v.errorText, v.level, Cur(v.volume), Cur(v.money),
                        Cur(v.price), v.errorCode, v.name, v.tankId, v.presetType, v.hoses, v.unpaid, v.enabled,
                        v.nozzleUp, v.prevState, v.autoAuthorise, v.defaultLevel, v.stopped, v.authorised,
                        v.deliveryType, v.stackSize, v.allowedHose, v.tag, v.cardClientId, v.paymentRef,
                        v.paymentText, v.cardNumber, v.lockOwner, v.deliveryState, v.attendantName,
                        v.extTransaction, Cur(v.presetValue), Cur(v.authorisedAmount));
        };
        if ((c.mask & EV_OLD_PUMP) && _settings.legacyEvents)
            return send([&](auto&&... a) { return ev.ShortPumpEvent(a...); });
        if (c.mask & EV_OLD_PUMP)
            return send([&](auto&&... a) { return ev.OldPumpEvent(a...); });
        return send([&](auto&&... a) { return ev.PumpEvent(a...); });
    }
    case TSimEvent::Delivery: {
        CSimDelivery* d = fc.Delivery(e.id);
        if (!d)
            return 0;
        long pumpId, pumpNumber, hoseId, gradeId, tankId, gradeNumber, tankNumber, deliveryId, hoseSite, state, type,
            lockOwner, attendantId, reserveClient, clearedBy, cardClientId, paymentRef;
        CStr pumpName, gradeName, hoseName, gradeShort, tankName, attendantName, cardClientName, paymentText,
            extText;
        short hose, presetType, level;
        CCur presetValue, volume, money, price, volBefore, volAfter, moneyBefore, moneyAfter, authorised, refund,
            netVolume;
        CDate finished, started;
        long long tag, cardNumber, extTransaction;
        fc.Deliveries().GetSummary(d, &pumpId, &pumpNumber, &hoseId, &gradeId, &tankId, &pumpName, &gradeNumber,
                                   &tankNumber, &gradeName, &deliveryId, &hoseSite, &hoseName, &gradeShort,
                                   &tankName, &hose, &presetType, &presetValue, &level, &volume, &money, &price,
                                   &finished, &state, &type, &lockOwner, &attendantId, &started, &volBefore,
                                   &volAfter, &moneyBefore, &moneyAfter, &authorised, &refund, &tag, &reserveClient,
                                   &clearedBy, &attendantName, &cardNumber, &cardClientName, &cardClientId,
                                   &paymentRef, &paymentText, &extTransaction, &extText, &netVolume);
        if (c.mask & EV_OLD_DELIVERY)
            return ev.OldDeliveryEvent(deliveryId, pumpId, pumpNumber, hoseId, gradeId, tankId, pumpName, gradeNumber,
                                       tankNumber, gradeName, hoseSite, e.a, hoseName, gradeShort, tankName, hose,
                                       presetType, presetValue, level, volume, money, price, finished, state, type,
                                       lockOwner, attendantId);
        return ev.DeliveryEvent(deliveryId, pumpId, pumpNumber, hoseId, gradeId, tankId, pumpName, gradeNumber,
                                tankNumber, gradeName, hoseSite, e.a, hoseName, gradeShort, tankName, hose, presetType,
                                presetValue, level, volume, money, price, finished, state, type, lockOwner,
                                attendantId, started, volBefore, volAfter, moneyBefore, moneyAfter, authorised, refund,
                                tag, reserveClient, clearedBy, attendantName, cardNumber, cardClientId, paymentRef,
                                paymentText, extTransaction, netVolume);
    }
    case TSimEvent::Zero: {
        CSimPump* p = fc.Pump(e.id);
        CSimHose* h = fc.Hose(e.a);
        return ev.ZeroDeliveryEvent(e.id, p ? p->GetNumber() : -1L, e.a, Long(e, 1),
                                    static_cast<short>(h ? h->pumpHoseNumber : 0), static_cast<short>(e.b),
                                    Cur(Value(e, 0)));
    }
    case TSimEvent::Server:
        return ev.ServerEvent(e.a, e.text);
    case TSimEvent::Client:
        return ev.ClientEvent(e.id, e.a, e.text);
    case TSimEvent::CardRead: {
        CSimCardRead* r = _forecourt->CardReads().FindObjByID(e.id);
        return r ? WithRecord<CardReadRecord>(*r, [&](auto&&... v) { return ev.CardReadEvent(v...); }) : 0;
    }
    case TSimEvent::TermPrompt:
        return ev.KVTermPromptEvent(e.id, static_cast<short>(e.a), static_cast<short>(e.b), e.text);
    case TSimEvent::LogEvent: {
        CSimLogEvent* l = fc.LogEvent(e.id);
        return l ? WithRecord<LogEventRecord>(*l, [&](auto&&... v) { return ev.LogEventEvent(v...); }) : 0;
    }
    case TSimEvent::SaleItem: {
        CSimSaleItem* s = fc.SaleItem(e.id);
        if (!s)
            return 0;
        long number, productId, pumpId, clientNumber, lockOwner, clearedBy, deliveryId, cardClientId, paymentRef,
            lockOwner2, clearedBy2;
        long long barcode, cardNumber, extTransaction;
        CStr productName, pumpName, productCode, t1, t2, t3, s1, s2, s3, s4;
        short quantity, state, type, flags;
        CCur price, amount;
        CDate created, cleared;
        fc.SaleItems().GetSummary(s, &number, &productId, &productName, &barcode, &pumpId, &pumpName, &productCode,
                                  &clientNumber, &lockOwner, &t1, &clearedBy, &deliveryId, &t2, &cardNumber,
                                  &cardClientId, &paymentRef, &t3, &extTransaction, &quantity, &price, &amount,
                                  &created, &cleared, &lockOwner2, &clearedBy2, &state, &type, &s1, &s2, &s3, &s4,
                                  &flags);
        return ev.SaleItemEvent(s->ID(), number, productId, productName, barcode, pumpId, pumpName, productCode,
                                clientNumber, lockOwner, t1, clearedBy, deliveryId, t2, cardNumber, cardClientId,
                                paymentRef, t3, extTransaction, quantity, price, amount, created, cleared, lockOwner2,
                                clearedBy2, state, type, s1, s2, s3, s4, flags);
    }
    case TSimEvent::ZBPanID:
        return ev.ZBPanIDEvent(e.id, static_cast<long long>(Value(e, 0)));
    case TSimEvent::ZB2GStatus:
        return ev.ZB2GStatusEvent(e.id, static_cast<long long>(Value(e, 0)), Short(e, 1), Short(e, 2),
                                  static_cast<long long>(Value(e, 3)), Short(e, 4), Short(e, 5), Short(e, 6),
                                  Short(e, 7));
    case TSimEvent::Odo: {
        CSimPort* port = fc.Port(e.id);
        if (!port)
            return 0;
        auto x = [&](size_t i) { return static_cast<long long>(Value(e, i)); };
        return ev.KVOdoEvent(e.id, x(0), Short(e, 1), Short(e, 2), x(3), Short(e, 4), Short(e, 5), Short(e, 6),
                             Short(e, 7), port->GetNumber(), port->Name(), port->odoSequence, x(8), Long(e, 9),
                             Short(e, 10), x(11), Long(e, 12), Short(e, 13), x(14), x(15), x(16), x(17), Short(e, 18),
                             e.text);
    }
    case TSimEvent::DBLogDelivery: {
        CSimDelivery* d = fc.Delivery(e.id);
        if (!d)
            return 0;
        return db.LogDelivery(d->ID(), d->pumpId, d->hoseNumber, d->presetType, Cur(d->presetValue), d->priceLevel,
                              Cur(d->volume), Cur(d->money), Cur(d->price), d->gradeId, d->type, d->finished);
    }
    case TSimEvent::DBStack:
        return db.StackDelivery(e.id);
    case TSimEvent::DBClear: {
        CSimDelivery* d = fc.Delivery(e.id);
        if (!d)
            return 0;
        return db.ClearDelivery(d->ID(), d->clearType, d->clearedBy, fc.Now(), d->pumpId);
    }
    case TSimEvent::DBLogEvent: {
        CSimLogEvent* l = fc.LogEvent(e.id);
        if (!l)
            return 0;
        return db.LogEvent(l->ID(), l->code, l->raised, l->text);
    }
    case TSimEvent::DBHoseTotals: {
        CSimHose* h = fc.Hose(e.id);
        if (!h)
            return 0;
        CSimPump* p = fc.Pump(h->pumpId);
        CSimGrade* g = fc.Grade(h->gradeId);
        CSimTank* t = fc.Tank(h->tankId);
        auto send = [&](auto&& call) {
            return call(h->ID(), Cur(h->volumeTotal), Cur(h->moneyTotal), Cur(h->prevVolumeTotal),
                        Cur(h->prevMoneyTotal), h->pumpId, p ? p->GetNumber() : -1L, h->pumpHoseNumber, h->gradeId,
                        g ? g->Name() : CStr(""), g ? g->GetNumber() : -1L, h->tankId, t ? t->Name() : CStr(""),
                        t ? t->GetNumber() : -1L, h->Name());
        };
        if (_settings.legacyEvents)
            return send([&](auto&&... a) { return db.ShortHoseETotals(a...); });
        return send([&](auto&&... a) { return db.ProcessHoseETotals(a...); });
    }
    case TSimEvent::DBTrigger:
        return db.DBTrigger(e.a, e.b);
    case TSimEvent::DBAttendantLogon:
        return db.AttendantLogon(e.id, e.a);
    case TSimEvent::DBAttendantLogoff:
        return db.AttendantLogoff(e.id);
    case TSimEvent::DBTankStatus: {
        CSimTank* t = fc.Tank(e.id);
        if (!t)
            return 0;
        CTankReading r = fc.Reading(*t);
        CSimGrade* g = fc.Grade(t->gradeId);
        return db.LogTankStatus(t->ID(), Cur(r.level), Cur(r.waterLevel), Cur(r.temperature), Cur(r.gross),
                                Cur(r.water), Cur(r.ullage), Cur(r.net), t->gradeId, g ? g->Name() : CStr(""),
                                t->GetNumber(), t->Name(), t->gaugeState, Cur(t->capacity), Cur(t->gaugeCapacity),
                                t->gaugeNumber, t->alarms, t->responding, t->portId);
    }
    }
    return 0;
}

}  // namespace sim
