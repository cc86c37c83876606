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

long CAttendantsIf::Get(CSimAttendant* a, long* number, CStr* name, CStr* shortName, CStr* pin, CStr* tag,
                        CStr* role, short* level, short* enabled, short* v9, short* v10, short* v11)
{
    if (!a)
        return kNoObject;
    Put(number, a->GetNumber());
    Put(name, a->Name());
    Put(shortName, a->shortName);
    Put(pin, a->pin);
    Put(tag, a->tag);
    Put(role, a->role);
    Put(level, a->level);
    Put(enabled, a->enabled);
    Put(v9, a->value9);
    Put(v10, a->value10);
    Put(v11, a->value11);
    return SR_OK;
}

long CAttendantsIf::Set(long id, long number, const CStr& name, const CStr& shortName, const CStr& pin,
                        const CStr& tag, const CStr& role, short level, short enabled, short v9, short v10, short v11)
{
    CSimAttendant* a = _fc.Attendant(id);
    if (!a)
        return kNoObject;
    a->SetNumber(number);
    a->SetName(name);
    a->shortName = shortName;
    a->pin = pin;
    a->tag = tag;
    a->role = role;
    a->level = level;
    a->enabled = enabled;
    a->value9 = v9;
    a->value10 = v10;
    a->value11 = v11;
    return SR_OK;
}

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
    _fc.Emit(TSimEvent::DBAttendantLogon, a->ID(), key);
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

long CZigBeesIf::Get(CSimZigBee* z, long* number, CStr* name, short* type, CStr* address, CStr* firmware,
                     long* portId)
{
    if (!z)
        return kNoObject;
    Put(number, z->GetNumber());
    Put(name, z->Name());
    Put(type, z->type);
    Put(address, z->address);
    Put(firmware, z->firmware);
    Put(portId, z->portId);
    return SR_OK;
}

long CZigBeesIf::Set(long id, long number, const CStr& name, short type, const CStr& address, const CStr& firmware,
                     long portId)
{
    CSimZigBee* z = FindObjByID(id);
    if (!z)
        return kNoObject;
    z->SetNumber(number);
    z->SetName(name);
    z->type = type;
    z->address = address;
    z->firmware = firmware;
    z->portId = portId;
    return SR_OK;
}

// ---------------------------------------------------------------- card clients

long CCardClientsIf::Get(CSimCardClient* c, long* number, CStr* name, CStr* prefix, short* cardType, short* status,
                         CStr* t6, CStr* t7, CStr* t8, CStr* t9, short* discount, short* odometer, short* needPin,
                         CCur* creditLimit, short* priceLevel, CDate* expiry, long* account, CStr* contact,
                         CCur* balance, long* flags)
{
    if (!c)
        return kNoObject;
    Put(number, c->GetNumber());
    Put(name, c->Name());
    Put(prefix, c->prefix);
    Put(cardType, c->cardType);
    Put(status, c->status);
    Put(t6, c->text6);
    Put(t7, c->text7);
    Put(t8, c->text8);
    Put(t9, c->text9);
    Put(discount, c->discount);
    Put(odometer, c->odometer);
    Put(needPin, c->needPin);
    Put(creditLimit, c->creditLimit);
    Put(priceLevel, c->priceLevel);
    Put(expiry, c->expiry);
    Put(account, c->account);
    Put(contact, c->contact);
    Put(balance, c->balance);
    Put(flags, c->flags);
    return SR_OK;
}

long CCardClientsIf::Set(long id, long number, const CStr& name, const CStr& prefix, short cardType, short status,
                         const CStr& t6, const CStr& t7, const CStr& t8, const CStr& t9, short discount,
                         short odometer, short needPin, const CCur& creditLimit, short priceLevel,
                         const CDate& expiry, long account, const CStr& contact, const CCur& balance, long flags)
{
    CSimCardClient* c = _fc.CardClient(id);
    if (!c)
        return kNoObject;
    c->SetNumber(number);
    c->SetName(name);
    c->prefix = prefix;
    c->cardType = cardType;
    c->status = status;
    c->text6 = t6;
    c->text7 = t7;
    c->text8 = t8;
    c->text9 = t9;
    c->discount = discount;
    c->odometer = odometer;
    c->needPin = needPin;
    c->creditLimit = creditLimit.Value();
    c->priceLevel = priceLevel;
    c->expiry = expiry;
    c->account = account;
    c->contact = contact;
    c->balance = balance.Value();
    c->flags = flags;
    return SR_OK;
}

// ---------------------------------------------------------------- card reads

long CCardReadsIf::Get(CSimCardRead* r, long* number, CStr* name, long* pumpId, short* reader, long* cardClientId,
                       long long* tag, CDate* when)
{
    if (!r)
        return kNoObject;
    Put(number, r->GetNumber());
    Put(name, r->Name());
    Put(pumpId, r->pumpId);
    Put(reader, r->reader);
    Put(cardClientId, r->cardClientId);
    Put(tag, r->tag);
    Put(when, r->when);
    return SR_OK;
}

long CCardReadsIf::Set(long id, long number, const CStr& name, long pumpId, short reader, long cardClientId,
                       long long tag, const CDate& when)
{
    CSimCardRead* r = FindObjByID(id);
    if (!r)
        return kNoObject;
    r->SetNumber(number);
    r->SetName(name);
    r->pumpId = pumpId;
    r->reader = reader;
    r->cardClientId = cardClientId;
    r->tag = tag;
    r->when = when;
    return SR_OK;
}

// ---------------------------------------------------------------- sensors

long CSensorsIf::Get(CSimSensor* s, long* number, CStr* name, long* portId, short* type, short* address,
                     short* enabled, long* v7, long* v8)
{
    if (!s)
        return kNoObject;
    Put(number, s->GetNumber());
    Put(name, s->Name());
    Put(portId, s->portId);
    Put(type, s->type);
    Put(address, s->address);
    Put(enabled, s->enabled);
    Put(v7, s->value7);
    Put(v8, s->value8);
    return SR_OK;
}

long CSensorsIf::Set(long id, long number, const CStr& name, long portId, short type, short address, short enabled,
                     long v7, long v8)
{
    CSimSensor* s = FindObjByID(id);
    if (!s)
        return kNoObject;
    s->SetNumber(number);
    s->SetName(name);
    s->portId = portId;
    s->type = type;
    s->address = address;
    s->enabled = enabled;
    s->value7 = v7;
    s->value8 = v8;
    return SR_OK;
}

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

long CProductsIf::Get(CSimProduct* p, long* number, CStr* name, CStr* code, short* type, CStr* t5, CStr* t6,
                      long* v7, CCur* density, CCur* v9, CCur* v10, CCur* v11, long* v12)
{
    if (!p)
        return kNoObject;
    Put(number, p->GetNumber());
    Put(name, p->Name());
    Put(code, p->code);
    Put(type, p->type);
    Put(t5, p->text5);
    Put(t6, p->text6);
    Put(v7, p->value7);
    Put(density, p->density);
    Put(v9, p->value9);
    Put(v10, p->value10);
    Put(v11, p->value11);
    Put(v12, p->value12);
    return SR_OK;
}

long CProductsIf::Set(long id, long number, const CStr& name, const CStr& code, short type, const CStr& t5,
                      const CStr& t6, long v7, const CCur& density, const CCur& v9, const CCur& v10, const CCur& v11,
                      long v12)
{
    CSimProduct* p = _fc.Product(id);
    if (!p)
        return kNoObject;
    p->SetNumber(number);
    p->SetName(name);
    p->code = code;
    p->type = type;
    p->text5 = t5;
    p->text6 = t6;
    p->value7 = v7;
    p->density = density.Value();
    p->value9 = v9.Value();
    p->value10 = v10.Value();
    p->value11 = v11.Value();
    p->value12 = v12;
    return SR_OK;
}

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

long CSaleItemsIf::Get(CSimSaleItem* s, long* number, long* productId, long* pumpId, long* clientNumber,
                       short* quantity, CCur* price, CCur* amount, CDate* created, CDate* cleared, long* lockOwner,
                       long* clearedBy, short* state, short* type, CStr* t1, CStr* t2, CStr* t3, CStr* t4,
                       short* flags)
{
    if (!s)
        return kNoObject;
    Put(number, s->GetNumber());
    Put(productId, s->productId);
    Put(pumpId, s->pumpId);
    Put(clientNumber, s->clientNumber);
    Put(quantity, s->quantity);
    Put(price, s->price);
    Put(amount, s->amount);
    Put(created, s->created);
    Put(cleared, s->cleared);
    Put(lockOwner, s->lockOwner);
    Put(clearedBy, s->clearedBy);
    Put(state, s->state);
    Put(type, s->type);
    Put(t1, s->text[0]);
    Put(t2, s->text[1]);
    Put(t3, s->text[2]);
    Put(t4, s->text[3]);
    Put(flags, s->flags);
    return SR_OK;
}

// Set fills in an item made by New: the amount is the caller's, the creation date the
// first Set's unless one is given.
long CSaleItemsIf::Set(long id, long number, long productId, long pumpId, long clientNumber, short quantity,
                       const CCur& price, const CCur& amount, const CDate& created, const CDate& cleared,
                       long lockOwner, long clearedBy, short state, short type, const CStr& t1, const CStr& t2,
                       const CStr& t3, const CStr& t4, short flags)
{
    CSimSaleItem* s = _fc.SaleItem(id);
    if (!s)
        return kNoObject;
    if (state != SI_OPEN && state != SI_CLEARED)
        return SR_BAD_VALUE;
    s->SetNumber(number);
    s->productId = productId;
    s->pumpId = pumpId;
    s->clientNumber = clientNumber;
    s->quantity = quantity;
    s->price = price.Value();
    s->amount = amount.Value();
    s->created = created.IsEmpty() && s->created.IsEmpty() ? _fc.Now() : (created.IsEmpty() ? s->created : created);
    s->cleared = cleared;
    s->lockOwner = lockOwner;
    s->clearedBy = clearedBy;
    s->state = state;
    s->type = type;
    s->text[0] = t1;
    s->text[1] = t2;
    s->text[2] = t3;
    s->text[3] = t4;
    s->flags = flags;
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

long CLogEventsIf::Get(CSimLogEvent* e, short* type, long* deviceId, long* code, CStr* device, short* level,
                       short* state, CStr* text, CDate* raised, CDate* cleared, long* clearedBy, long* ackedBy,
                       CCur* v1, CCur* v2, CCur* v3, CCur* v4, CCur* v5, CCur* v6)
{
    if (!e)
        return kNoObject;
    Put(type, e->type);
    Put(deviceId, e->deviceId);
    Put(code, e->code);
    Put(device, e->device);
    Put(level, e->level);
    Put(state, e->state);
    Put(text, e->text);
    Put(raised, e->raised);
    Put(cleared, e->cleared);
    Put(clearedBy, e->clearedBy);
    Put(ackedBy, e->ackedBy);
    CCur* v[6] = {v1, v2, v3, v4, v5, v6};
    for (int i = 0; i < 6; ++i)
        Put(v[i], e->values[i]);
    return SR_OK;
}

long CLogEventsIf::Set(long id, short type, long deviceId, long code, const CStr& device, short level, short state,
                       const CStr& text, const CDate& raised, const CDate& cleared, long clearedBy, long ackedBy,
                       const CCur& v1, const CCur& v2, const CCur& v3, const CCur& v4, const CCur& v5,
                       const CCur& v6)
{
    CSimLogEvent* e = _fc.LogEvent(id);
    if (!e)
        return kNoObject;
    if (state < LS_ACTIVE || state > LS_CLEARED)
        return SR_BAD_VALUE;
    e->type = type;
    e->deviceId = deviceId;
    e->code = code;
    e->device = device;
    e->level = level;
    e->state = state;
    e->text = text;
    e->raised = raised;
    e->cleared = cleared;
    e->clearedBy = clearedBy;
    e->ackedBy = ackedBy;
    const CCur* v[6] = {&v1, &v2, &v3, &v4, &v5, &v6};
    for (int i = 0; i < 6; ++i)
        e->values[i] = v[i]->Value();
    return SR_OK;
}

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
