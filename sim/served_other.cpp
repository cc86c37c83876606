// Attendants, card clients, card reads, ZigBee devices, sensors, products, sale items and
// log events.
#include <cstdlib>

#include "proxies/IAttendant.h"
#include "proxies/ICardClient.h"
#include "proxies/ICardRead.h"
#include "proxies/ILogEvent.h"
#include "proxies/IProduct.h"
#include "proxies/ISaleItem.h"
#include "proxies/ISensor.h"
#include "proxies/IZigBee.h"
#include "sim/serve_util.h"
#include "sim/served.h"

namespace sim {

KV_SIM_PROCESS_CALL(CAttendantsIf, CSimAttendant, KV_IATTENDANT_TABLE, "IAttendant")
KV_SIM_PROCESS_CALL(CZigBeesIf, CSimZigBee, KV_IZIGBEE_TABLE, "IZigBee")
KV_SIM_PROCESS_CALL(CCardClientsIf, CSimCardClient, KV_ICARDCLIENT_TABLE, "ICardClient")
KV_SIM_PROCESS_CALL(CCardReadsIf, CSimCardRead, KV_ICARDREAD_TABLE, "ICardRead")
KV_SIM_PROCESS_CALL(CLogEventsIf, CSimLogEvent, KV_ILOGEVENT_TABLE, "ILogEvent")
KV_SIM_PROCESS_CALL(CSensorsIf, CSimSensor, KV_ISENSOR_TABLE, "ISensor")
KV_SIM_PROCESS_CALL(CProductsIf, CSimProduct, KV_IPRODUCT_TABLE, "IProduct")
KV_SIM_PROCESS_CALL(CSaleItemsIf, CSimSaleItem, KV_ISALEITEM_TABLE, "ISaleItem")

// ---------------------------------------------------------------- attendants

// The logon value is the attendant's PIN; an attendant without a PIN takes any value.
long CAttendantsIf::Logon(CSimAttendant* a, long key)
{
    if (!a)
        return kNoObject;
    if (!a->enabled)
        return SR_STATE;
    if (a->pin.Length() && std::atol(static_cast<char*>(a->pin)) != key)
        return SR_REFUSED;
    a->loggedOn = true;
    a->authorisations = 0;
    _fc.Emit(TSimEvent::DBAttendantLogon, a->ID(), a->GetNumber());   // never the PIN
    return SR_OK;
}

long CAttendantsIf::Logoff(CSimAttendant* a)
{
    if (!a)
        return kNoObject;
    if (!a->loggedOn)
        return SR_STATE;
    a->loggedOn = false;
    _fc.Emit(TSimEvent::DBAttendantLogoff, a->ID());
    return SR_OK;
}

long CAttendantsIf::GetState(CSimAttendant* a, short* loggedOn, short* authorisations)
{
    if (!a)
        return kNoObject;
    Put(loggedOn, a->loggedOn ? 1 : 0);
    Put(authorisations, a->authorisations);
    return SR_OK;
}

// ---------------------------------------------------------------- ZigBee devices

// ---------------------------------------------------------------- card clients

// ---------------------------------------------------------------- card reads

// ---------------------------------------------------------------- sensors

// A sensor going into alarm is logged as a log event; clearing it is logged too.
long CSensorsIf::SetStatus(CSimSensor* s, short status, short alarm)
{
    if (!s)
        return kNoObject;
    const bool changed = alarm != s->alarm;
    s->status = status;
    s->alarm = alarm;
    if (changed)
        _fc.RaiseLogEvent(LE_SENSOR, s->ID(), alarm, s->Name(), CStr(alarm ? "Sensor alarm" : "Sensor normal"),
                          alarm ? 2 : 1);
    return SR_OK;
}

long CSensorsIf::GetStatus(CSimSensor* s, short* status, short* alarm)
{
    if (!s)
        return kNoObject;
    Put(status, s->responding ? s->status : -1);
    Put(alarm, s->alarm);
    return SR_OK;
}

long CSensorsIf::SetResponding(CSimSensor* s, short responding)
{
    if (!s)
        return kNoObject;
    s->responding = responding ? 1 : 0;
    return SR_OK;
}

long CSensorsIf::LogRawStatus(CSimSensor* s, short code, short previous, short channel)
{
    return s ? LogRaw(*this, "Sensor", s->GetNumber(), code, previous, channel) : kNoObject;
}

// ---------------------------------------------------------------- products

CSimProduct* CProductsIf::Match(long ordinal, long type, const CStr& name, const CStr& code, const CStr& t5,
                                const CStr& t6, long v7, long v12, long* count)
{
    long n = 0;
    CSimProduct* found = nullptr;
    for (CSimProduct* p = _objects.First(); p; p = _objects.Next())
        if (sim::Match(type, p->type) && MatchText(name, p->Name()) && MatchText(code, p->code) &&
            MatchText(t5, p->text5) && MatchText(t6, p->text6) && sim::Match(v7, p->value7) &&
            sim::Match(v12, p->value12) && ++n == ordinal)
            found = p;
    Put(count, n);
    return found;
}

long CProductsIf::GetProductsCount(long* count, long type, const CStr& name, const CStr& code, const CStr& t5,
                                   const CStr& t6, long v7, long v12)
{
    Match(0, type, name, code, t5, t6, v7, v12, count);
    return SR_OK;
}

long CProductsIf::GetProductByOrdinal(long ordinal, long* id, long type, const CStr& name, const CStr& code,
                                      const CStr& t5, const CStr& t6, long v7, long v12)
{
    CSimProduct* p = Match(ordinal, type, name, code, t5, t6, v7, v12, nullptr);
    if (!p)
        return SR_NOT_FOUND;
    Put(id, p->ID());
    return SR_OK;
}

// ---------------------------------------------------------------- sale items

// Set fills in an item made by New: the amount is the caller's, the creation date the
// first Set's unless one is given.
template <class... V>
long CSaleItemsIf::Set(long id, const V&... v)
{
    CSimSaleItem* s = _fc.SaleItem(id);
    const CDate created = s ? s->created : CDate();
    const long r = SaleItemRecord::Set(s, v...);
    if (r != SR_OK)
        return r;
    if (s->created.IsEmpty())
        s->created = created.IsEmpty() ? _fc.Now() : created;
    _fc.Emit(TSimEvent::SaleItem, s->ID());
    return SR_OK;
}

long CSaleItemsIf::GetSummary(CSimSaleItem* s, long* number, long* productId, CStr* productName, long long* barcode,
                              long* pumpId, CStr* pumpName, CStr* productCode, long* clientNumber, long* lockOwner,
                              CStr* t1, long* clearedBy, long* deliveryId, CStr* t2, long long* cardNumber,
                              long* cardClientId, long* paymentRef, CStr* t3, long long* extTransaction,
                              short* quantity, CCur* price, CCur* amount, CDate* created, CDate* cleared,
                              long* lockOwner2, long* clearedBy2, short* state, short* type, CStr* s1, CStr* s2,
                              CStr* s3, CStr* s4, short* flags)
{
    if (!s)
        return kNoObject;
    CSimProduct* product = _fc.Product(s->productId);
    CSimPump* pump = _fc.Pump(s->pumpId);
    Put(productName, product ? product->Name() : CStr(""));
    Put(productCode, product ? product->code : CStr(""));
    Put(barcode, product ? static_cast<long long>(product->value7) : -1LL);
    Put(pumpName, pump ? pump->Name() : CStr(""));
    Put(t1, s->text[0]);
    Put(t2, s->text[1]);
    Put(t3, s->text[2]);
    Put(deliveryId, -1L);
    Put(cardNumber, -1LL);
    Put(cardClientId, -1L);
    Put(paymentRef, -1L);
    Put(extTransaction, -1LL);
    Put(lockOwner, s->lockOwner);
    Put(clearedBy, s->clearedBy);
    return Get(s, number, productId, pumpId, clientNumber, quantity, price, amount, created, cleared, lockOwner2,
               clearedBy2, state, type, s1, s2, s3, s4, flags);
}

long CSaleItemsIf::Lock(CSimSaleItem* s, long client)
{
    if (!s)
        return kNoObject;
    if (s->state == SI_CLEARED)
        return SR_CLEARED;
    if (s->lockOwner != 0 && s->lockOwner != client)
        return SR_LOCKED;
    s->lockOwner = client;
    _fc.Emit(TSimEvent::SaleItem, s->ID(), client);
    return SR_OK;
}

long CSaleItemsIf::Unlock(CSimSaleItem* s, long client)
{
    if (!s)
        return kNoObject;
    if (s->lockOwner != 0 && s->lockOwner != client)
        return SR_LOCKED;
    s->lockOwner = 0;
    _fc.Emit(TSimEvent::SaleItem, s->ID(), client);
    return SR_OK;
}

long CSaleItemsIf::Clear(CSimSaleItem* s, long client)
{
    if (!s)
        return kNoObject;
    if (s->state == SI_CLEARED)
        return SR_CLEARED;
    if (s->lockOwner != 0 && s->lockOwner != client)
        return SR_LOCKED;
    s->state = SI_CLEARED;
    s->clearedBy = client;
    s->cleared = _fc.Now();
    _fc.Emit(TSimEvent::SaleItem, s->ID(), client);
    return SR_OK;
}

long CSaleItemsIf::LockAndClear(CSimSaleItem* s, long client)
{
    const long r = Lock(s, client);
    return r == SR_OK ? Clear(s, client) : r;
}

long CSaleItemsIf::AckDBLog(CSimSaleItem* s)
{
    if (!s)
        return kNoObject;
    s->dbLogged = true;
    return SR_OK;
}

long CSaleItemsIf::AckVolLog(CSimSaleItem* s)
{
    if (!s)
        return kNoObject;
    s->volLogged = true;
    return SR_OK;
}

CSimSaleItem* CSaleItemsIf::Match(long ordinal, long productId, long pumpId, long client, long lockOwner,
                                  long clearedBy, long state, short type, short logged, const CDate& from,
                                  const CDate& to, long* count)
{
    long n = 0;
    CSimSaleItem* found = nullptr;
    for (CSimSaleItem* s = _objects.First(); s; s = _objects.Next())
        if (sim::Match(productId, s->productId) && sim::Match(pumpId, s->pumpId) &&
            sim::Match(client, s->clientNumber) && sim::Match(lockOwner, s->lockOwner) &&
            sim::Match(clearedBy, s->clearedBy) && sim::Match(state, s->state) && sim::Match(type, s->type) &&
            sim::Match(logged, s->dbLogged ? 1 : 0) && InRange(s->created, from, to) && ++n == ordinal)
            found = s;
    Put(count, n);
    return found;
}

long CSaleItemsIf::GetSaleItemsCount(long* count, long productId, long pumpId, long client, long lockOwner,
                                     long clearedBy, long state, long long, long, long, long long, long, long,
                                     short type, short logged, const CDate& from, const CDate& to)
{
    Match(0, productId, pumpId, client, lockOwner, clearedBy, state, type, logged, from, to, count);
    return SR_OK;
}

long CSaleItemsIf::GetSaleItemByOrdinal(long ordinal, long* id, long productId, long pumpId, long client,
                                        long lockOwner, long clearedBy, long state, long long, long, long, long long,
                                        long, long, short type, short logged, const CDate& from, const CDate& to)
{
    CSimSaleItem* s = Match(ordinal, productId, pumpId, client, lockOwner, clearedBy, state, type, logged, from, to,
                            nullptr);
    if (!s)
        return SR_NOT_FOUND;
    Put(id, s->ID());
    return SR_OK;
}

// ---------------------------------------------------------------- log events

long CLogEventsIf::ClearEvent(CSimLogEvent* e, long client)
{
    if (!e)
        return kNoObject;
    if (e->state == LS_CLEARED)
        return SR_CLEARED;
    e->state = LS_CLEARED;
    e->clearedBy = client;
    e->cleared = _fc.Now();
    _fc.Emit(TSimEvent::LogEvent, e->ID(), client);
    return SR_OK;
}

long CLogEventsIf::AckEvent(CSimLogEvent* e, long client)
{
    if (!e)
        return kNoObject;
    if (e->state != LS_ACTIVE)
        return SR_STATE;
    e->state = LS_ACKNOWLEDGED;
    e->ackedBy = client;
    _fc.Emit(TSimEvent::LogEvent, e->ID(), client);
    return SR_OK;
}

// Filter: type, device, level (at least), state, code, and the client that acknowledged or
// cleared it; -1 matches everything; the dates bound the time it was raised.
CSimLogEvent* CLogEventsIf::Match(long ordinal, short type, long deviceId, short level, short state, long code,
                                  long client, const CDate& from, const CDate& to, long* count)
{
    long n = 0;
    CSimLogEvent* found = nullptr;
    for (CSimLogEvent* e = _objects.First(); e; e = _objects.Next())
        if (sim::Match(type, e->type) && sim::Match(deviceId, e->deviceId) && (level == -1 || e->level >= level) &&
            sim::Match(state, e->state) && sim::Match(code, e->code) &&
            (client == -1 || e->ackedBy == client || e->clearedBy == client) && InRange(e->raised, from, to) &&
            ++n == ordinal)
            found = e;
    Put(count, n);
    return found;
}

long CLogEventsIf::GetEventsCount(long* count, short type, long deviceId, short level, short state, long code,
                                  long client, const CDate& from, const CDate& to)
{
    Match(0, type, deviceId, level, state, code, client, from, to, count);
    return SR_OK;
}

long CLogEventsIf::GetEventByOrdinal(long ordinal, long* id, short type, long deviceId, short level, short state,
                                     long code, long client, const CDate& from, const CDate& to)
{
    CSimLogEvent* e = Match(ordinal, type, deviceId, level, state, code, client, from, to, nullptr);
    if (!e)
        return SR_NOT_FOUND;
    Put(id, e->ID());
    return SR_OK;
}

}  // namespace sim
