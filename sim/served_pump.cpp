// The pump interface: configuration, status, authorisation in all its forms, and the
// reports a pump driver makes.
#include "proxies/IPump.h"
#include "sim/serve_util.h"
#include "sim/served.h"

namespace sim {

KV_SIM_PROCESS_CALL(CPumpsIf, CSimPump, KV_IPUMP_TABLE, "IPump")

namespace {

bool ValidLevel(short level) { return level >= 0 && level <= 2; }

CAuth Preset(long type, short presetType, const CCur& value, short level, short hose)
{
    CAuth a;
    a.type = type;
    a.presetType = presetType;
    a.presetValue = value.Value();
    a.level = level;
    a.hose = hose;
    return a;
}

}  // namespace

long CPumpsIf::GetHosesCount(CSimPump* p, long* count)
{
    if (!p)
        return kNoObject;
    Put(count, _fc.HoseCount(*p));
    return SR_OK;
}

long CPumpsIf::GetHoseByNumber(CSimPump* p, long number, long* hoseId)
{
    if (!p)
        return kNoObject;
    CSimHose* h = number > 0 && number < 0x8000 ? _fc.HoseOf(*p, static_cast<short>(number)) : nullptr;
    if (!h)
        return SR_NOT_FOUND;
    Put(hoseId, h->ID());
    return SR_OK;
}

long CPumpsIf::GetStatus(CSimPump* p, short* state, short* hose, long* deliveryId, long* reserveClient,
                         short* reserveType, long* attendantId, CStr* stateText, CStr* errorText, short* level,
                         CCur* volume, CCur* money, CCur* price, short* errorCode)
{
    long reserve = 0;
    const long r = GetStatusEx(p, nullptr, nullptr, nullptr, state, hose, deliveryId, reserveClient, &reserve,
                               attendantId, nullptr, nullptr, stateText, errorText, level, volume, money, price,
                               errorCode, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr);
    Put(reserveType, reserve);
    return r;
}

long CPumpsIf::GetStatusEx(CSimPump* p, long* number, CStr* name, long* tankId, short* state, short* hose,
                           long* deliveryId, long* reserveClient, long* reserveType, long* attendantId, long* hoseId,
                           long* gradeId, CStr* stateText, CStr* errorText, short* level, CCur* volume, CCur* money,
                           CCur* price, short* errorCode, long long* tag, long* cardClientId, long* paymentRef,
                           CStr* paymentText, long long* cardNumber, long* lockOwner, long* deliveryState,
                           CStr* attendantName, long long* extTransaction, CCur* presetValue, CCur* authorised)
{
    if (!p)
        return kNoObject;
    CPumpView v = _fc.View(*p);
    Put(number, v.number);
    Put(name, v.name);
    Put(tankId, v.tankId);
    Put(state, v.state);
    Put(hose, v.hose);
    Put(deliveryId, v.deliveryId);
    Put(reserveClient, v.reserveClient);
    Put(reserveType, v.reserveType);
    Put(attendantId, v.attendantId);
    Put(hoseId, v.hoseId);
    Put(gradeId, v.gradeId);
    Put(stateText, v.stateText);
    Put(errorText, v.errorText);
    Put(level, v.level);
    Put(volume, v.volume);
    Put(money, v.money);
    Put(price, v.price);
    Put(errorCode, v.errorCode);
    Put(tag, v.tag);
    Put(cardClientId, v.cardClientId);
    Put(paymentRef, v.paymentRef);
    Put(paymentText, v.paymentText);
    Put(cardNumber, v.cardNumber);
    Put(lockOwner, v.lockOwner);
    Put(deliveryState, v.deliveryState);
    Put(attendantName, v.attendantName);
    Put(extTransaction, v.extTransaction);
    Put(presetValue, v.presetValue);
    Put(authorised, v.authorisedAmount);
    return SR_OK;
}

long CPumpsIf::GetDeliveryProperties(CSimPump* p, short index, long* id, short* hose, short* state, long* gradeId,
                                     short* type, long* lockOwner, CStr* gradeName, CStr* hoseName, short* level,
                                     CCur* volume, CCur* money, CCur* price, long* reserveClient, long* attendantId,
                                     long* tankId, CDate* when, long* presetType)
{
    return GetDeliveryPropertiesEx(p, index, id, hose, state, gradeId, type, lockOwner, gradeName, hoseName, level,
                                   volume, money, price, reserveClient, attendantId, tankId, when, presetType,
                                   nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                   nullptr);
}

long CPumpsIf::GetDeliveryPropertiesEx(CSimPump* p, short index, long* id, short* hose, short* state,
                                       long* gradeId, short* type, long* lockOwner, CStr* gradeName, CStr* hoseName,
                                       short* level, CCur* volume, CCur* money, CCur* price, long* reserveClient,
                                       long* attendantId, long* tankId, CDate* when, long* presetType,
                                       CCur* volBefore, CCur* volAfter, CCur* moneyBefore, CCur* moneyAfter,
                                       CCur* authorised, CCur* refund, long long* tag, long* clearedBy,
                                       long* cardClientId, CCur* presetValue)
{
    if (!p)
        return kNoObject;
    std::vector<CSimDelivery*> unpaid = _fc.Unpaid(*p);
    if (index < 0 || static_cast<size_t>(index) >= unpaid.size())
        return SR_NOT_FOUND;
    const CSimDelivery& d = *unpaid[static_cast<size_t>(index)];
    CDeliveryNames n = _fc.Names(d);
    Put(id, d.ID());
    Put(hose, d.hoseNumber);
    Put(state, d.state);
    Put(gradeId, d.gradeId);
    Put(type, d.type);
    Put(lockOwner, d.lockOwner);
    Put(gradeName, n.gradeName);
    Put(hoseName, n.hoseName);
    Put(level, d.priceLevel);
    Put(volume, d.volume);
    Put(money, d.money);
    Put(price, d.price);
    Put(reserveClient, d.reserveClient);
    Put(attendantId, d.attendantId);
    Put(tankId, d.tankId);
    Put(when, d.finished.IsEmpty() ? d.started : d.finished);
    Put(presetType, d.presetType);
    Put(volBefore, d.volBefore);
    Put(volAfter, d.volAfter);
    Put(moneyBefore, d.moneyBefore);
    Put(moneyAfter, d.moneyAfter);
    Put(authorised, d.authorised);
    Put(refund, d.refund);
    Put(tag, d.tag);
    Put(clearedBy, d.clearedBy);
    Put(cardClientId, d.cardClientId);
    Put(presetValue, d.presetValue);
    return SR_OK;
}

long CPumpsIf::UpdateState(CSimPump* p, short state, short hose, const CCur& volume, const CCur& money,
                           const CCur& price)
{
    if (!p)
        return kNoObject;
    if (state < PS_IDLE || state > PS_ERROR || hose < 0 || hose > _fc.HoseCount(*p))
        return SR_BAD_VALUE;
    p->shownVolume = volume.Value();
    p->shownMoney = money.Value();
    p->shownPrice = price.Value();
    // The driver knows the nozzle and the end of its own delivery; the states the server owns
    // stay its own. Finished needs a lifted nozzle, so no report can strand the pump there.
    if (!p->runningId) {
        p->nozzle = state == PS_IDLE ? 0 : hose;
        p->finished = state == PS_FINISHED && p->nozzle;
    }
    _fc.Notify(*p);
    return SR_OK;
}

long CPumpsIf::LogDelivery(CSimPump* p, short hose, short presetType, const CCur& presetValue, short level,
                           const CCur& volume, const CCur& money, const CCur& price, const CCur& volumeTotal,
                           const CCur& moneyTotal)
{
    if (!p)
        return kNoObject;
    CAuth a = Preset(DT_DRIVER, presetType, presetValue, level, hose);
    return _fc.RecordDelivery(*p, hose, a, volume.Value(), money.Value(), price.Value(), level, volumeTotal.Value(),
                              moneyTotal.Value(), true);
}

long CPumpsIf::PrepayReserve(CSimPump* p, long client)
{
    return p ? _fc.Reserve(*p, RES_PREPAY, client) : kNoObject;
}

long CPumpsIf::PrepayCancel(CSimPump* p, long client)
{
    return p ? _fc.CancelReserve(*p, RES_PREPAY, client) : kNoObject;
}

long CPumpsIf::PreauthReserve(CSimPump* p, long client)
{
    return p ? _fc.Reserve(*p, RES_PREAUTH, client) : kNoObject;
}

long CPumpsIf::PreauthCancel(CSimPump* p, long client)
{
    return p ? _fc.CancelReserve(*p, RES_PREAUTH, client) : kNoObject;
}

namespace {

// The authorisation of a reservation: only its holder may give it, and only with a limit.
long ReservedAuthorise(CForecourt& fc, CSimPump* p, short reserve, long client, const CAuth& a)
{
    if (!p)
        return kNoObject;
    if (p->reserveType == RES_NONE)
        return SR_NOT_RESERVED;
    if (p->reserveType != reserve || p->reserveClient != client)
        return SR_RESERVED_OTHER;
    if (a.presetType == PRESET_NONE)
        return SR_BAD_VALUE;
    return fc.Authorise(*p, a, true);
}

}  // namespace

long CPumpsIf::PrepayAuthorise(CSimPump* p, long client, short type, const CCur& value, short level, short hose)
{
    return ReservedAuthorise(_fc, p, RES_PREPAY, client, Preset(DT_PREPAY, type, value, level, hose));
}

long CPumpsIf::PreauthAuthorise(CSimPump* p, long client, short type, const CCur& value, short level, short hose)
{
    return ReservedAuthorise(_fc, p, RES_PREAUTH, client, Preset(DT_PREAUTH, type, value, level, hose));
}

long CPumpsIf::LoadPreset(CSimPump* p, short type, const CCur& value, short level, short hose)
{
    if (!p)
        return kNoObject;
    if (!ValidLevel(level))
        return SR_BAD_VALUE;
    return _fc.Authorise(*p, Preset(DT_POSTPAY, type, value, level, hose), false);
}

long CPumpsIf::LoadPresetWithPrice(CSimPump* p, short type, const CCur& value, short level, short hose,
                                   const CCur& price)
{
    if (!p)
        return kNoObject;
    if (!Within(price.Value(), kMaxPrice))
        return SR_BAD_VALUE;
    CAuth a = Preset(DT_POSTPAY, type, value, level, hose);
    a.price = price.Value();
    return _fc.Authorise(*p, a, false);
}

long CPumpsIf::AttendantAuthorise(CSimPump* p, long attendantId)
{
    if (!p)
        return kNoObject;
    CSimAttendant* att = _fc.Attendant(attendantId);
    if (!att)
        return SR_NOT_FOUND;
    if (!att->loggedOn)
        return SR_REFUSED;
    CAuth a;
    a.type = DT_ATTENDANT;
    a.attendantId = attendantId;
    return _fc.Authorise(*p, a, false);
}

long CPumpsIf::TagAuthorise(CSimPump* p, long long tag, short type, const CCur& value, short level, short hose)
{
    if (!p)
        return kNoObject;
    if (!p->cfg.tagAllowed)
        return SR_STATE;
    if (p->readerFault)
        return SR_READER_FAULT;
    if (!_fc.KnownTag(tag))
        return SR_REFUSED;
    CAuth a = Preset(DT_TAG, type, value, level, hose);
    a.tag = tag;
    CStr card;
    card.Format("%lld", tag);
    const long r = _fc.FindCardClient(card) ? _fc.CardAuth(a, card) : SR_OK;
    return r == SR_OK ? _fc.Authorise(*p, a, false) : r;
}

long CPumpsIf::Authorise(CSimPump* p)
{
    return p ? _fc.Authorise(*p, CAuth(), false) : kNoObject;
}

long CPumpsIf::CancelAuthorise(CSimPump* p) { return p ? _fc.CancelAuthorise(*p, Caller()) : kNoObject; }
long CPumpsIf::TempStop(CSimPump* p) { return p ? _fc.TempStop(*p) : kNoObject; }
long CPumpsIf::ReAuthorise(CSimPump* p) { return p ? _fc.ReAuthorise(*p) : kNoObject; }
long CPumpsIf::TerminateDelivery(CSimPump* p) { return p ? _fc.Terminate(*p, Caller()) : kNoObject; }
long CPumpsIf::StackCurrentDelivery(CSimPump* p) { return p ? _fc.StackCurrent(*p) : kNoObject; }
long CPumpsIf::DisablePump(CSimPump* p) { return p ? _fc.Disable(*p, true) : kNoObject; }
long CPumpsIf::EnablePump(CSimPump* p) { return p ? _fc.Disable(*p, false) : kNoObject; }

long CPumpsIf::LogDriverError(CSimPump* p, long code, const CStr& text)
{
    if (!p)
        return kNoObject;
    p->errorCode = static_cast<short>(code);
    p->errorText = text;
    _fc.RaiseLogEvent(LE_DRIVER, p->ID(), code, p->Name(), text, 2);
    _fc.Notify(*p);
    return SR_OK;
}

long CPumpsIf::TagReadEvent(CSimPump* p, long long tag, short reader, const CStr& text)
{
    if (!p)
        return kNoObject;
    CStr shown(text);
    if (shown.Length() == 0)
        shown.Format("%lld", tag);
    _fc.AddCardRead(p->ID(), reader, tag, shown);
    return SR_OK;
}

long CPumpsIf::KVTermPromptEvent(CSimPump* p, short key, short field, const CStr& text)
{
    if (!p)
        return kNoObject;
    _fc.Emit(TSimEvent::TermPrompt, p->ID(), key, field, text);
    return SR_OK;
}

long CPumpsIf::LogRawStatus(CSimPump* p, short code, short previous, short channel)
{
    return p ? LogRaw(*this, "Pump", p->GetNumber(), code, previous, channel) : kNoObject;
}

long CPumpsIf::SetDefaultPriceLevel(CSimPump* p, short level)
{
    if (!p)
        return kNoObject;
    if (level != 1 && level != 2)
        return SR_NOT_FOUND;
    p->cfg.defaultLevel = level;
    return SR_OK;
}

long CPumpsIf::GetDefaultPriceLevel(CSimPump* p, short* level)
{
    if (!p)
        return kNoObject;
    Put(level, p->cfg.defaultLevel);
    return SR_OK;
}

long CPumpsIf::GetDensity(CSimPump* p, CCur* density)
{
    if (!p)
        return kNoObject;
    CSimHose* h = _fc.HoseOf(*p, p->nozzle ? p->nozzle : 1);
    CSimGrade* g = h ? _fc.Grade(h->gradeId) : nullptr;
    CSimProduct* pr = g ? _fc.Product(g->productId) : nullptr;
    if (!pr)
        return SR_NOT_FOUND;
    Put(density, pr->density);
    return SR_OK;
}

long CPumpsIf::ScheduleBeep(CSimPump* p, short a1, short a2, short a3, short a4, short a5, short a6, short a7,
                            short a8, short a9, short a10)
{
    if (!p)
        return kNoObject;
    if (CLog* log = Trace())
        log->Log("Pump %ld beeps %d %d %d %d %d %d %d %d %d %d", p->GetNumber(), a1, a2, a3, a4, a5, a6, a7, a8, a9,
                 a10);
    return SR_OK;
}

long CPumpsIf::FlashLEDS(CSimPump* p, short a1, short a2)
{
    if (!p)
        return kNoObject;
    if (CLog* log = Trace())
        log->Log("Pump %ld flashes its lamps %d %d", p->GetNumber(), a1, a2);
    return SR_OK;
}

long CPumpsIf::PaymentReserve(CSimPump* p, long client, const CStr& text)
{
    if (!p)
        return kNoObject;
    const long r = _fc.Reserve(*p, RES_PAYMENT, client);
    if (r == SR_OK)
        p->auth.paymentText = text;
    return r;
}

long CPumpsIf::PaymentCancel(CSimPump* p, long client, const CStr&)
{
    return p ? _fc.CancelReserve(*p, RES_PAYMENT, client) : kNoObject;
}

long CPumpsIf::PaymentAuthorise(CSimPump* p, long reference, const CStr& text, long cardClientId,
                                long long cardNumber, long client, long long extTransaction, short, long long,
                                short, short, short hose, const CCur&, short type, const CCur& value, short level,
                                const CCur& price, const CCur&, const CStr&, const CStr&, const CStr&, const CStr&)
{
    CAuth a = Preset(DT_PAYMENT, type, value, level, hose);
    a.paymentRef = reference;
    a.paymentText = text;
    a.cardClientId = cardClientId;
    a.cardNumber = cardNumber;
    a.extTransaction = extTransaction;
    a.price = price.Value();
    CStr card;
    if (cardNumber > 0)
        card.Format("%lld", cardNumber);
    const long r = _fc.CardAuth(a, card);
    // -1 in the client field (the short VFP form) means the calling client.
    return r == SR_OK ? ReservedAuthorise(_fc, p, RES_PAYMENT, client == -1 ? Caller() : client, a) : r;
}

long CPumpsIf::ExternalStartDelivery(CSimPump* p, long hose, long reference)
{
    if (!p)
        return kNoObject;
    if (hose < 1 || hose > 8)
        return SR_BAD_VALUE;
    return _fc.ExternalStart(*p, static_cast<short>(hose), reference, Caller());
}

// The hose totals a running external delivery ends with are the simulator's own: they advance
// by the reported volume and money like any other delivery's.
long CPumpsIf::ExternalEndDelivery(CSimPump* p, long hose, const CCur& volume, const CCur& money, short level,
                                   const CCur& price, const CCur& volumeTotal, const CCur& moneyTotal,
                                   long long extTransaction, long long cardNumber, long cardClientId, long paymentRef)
{
    if (!p)
        return kNoObject;
    if (hose < 1 || hose > 8)
        return SR_BAD_VALUE;
    // The running external delivery takes the reported figures; without one, a delivery is recorded.
    if (!Within(volume.Value(), kMaxAmount) || !Within(money.Value(), kMaxAmount) || !Within(price.Value(), kMaxPrice))
        return SR_BAD_VALUE;
    CSimDelivery* d = p->external ? _fc.Delivery(p->runningId) : nullptr;
    if (d && d->hoseNumber == hose) {
        d->volume = volume.Value();
        d->money = money.Value();
        d->price = price.Value();
        d->netVolume = d->volume;
        d->priceLevel = _fc.LevelOf(*p, level);
        d->extTransaction = extTransaction;
        d->cardNumber = cardNumber;
        d->cardClientId = cardClientId;
        d->paymentRef = paymentRef;
        _fc.DrawFromTank(d->tankId, d->volume);
        return _fc.Terminate(*p);
    }
    CAuth a;
    a.type = DT_EXTERNAL;
    a.extTransaction = extTransaction;
    a.cardNumber = cardNumber;
    a.cardClientId = cardClientId;
    a.paymentRef = paymentRef;
    return _fc.RecordDelivery(*p, static_cast<short>(hose), a, volume.Value(), money.Value(), price.Value(), level,
                              volumeTotal.Value(), moneyTotal.Value(), volumeTotal.Value() > 0);
}

long CPumpsIf::KVTermPrompt(CSimPump* p, long client, short a1, short a2, short, short, short, short, short, short,
                            short, short, short, const CStr& text)
{
    if (!p)
        return kNoObject;
    p->lastPrompt = text;
    if (CLog* log = Trace())
        log->Log("Pump %ld terminal prompt from client %ld (%d, %d): %s", p->GetNumber(), client, a1, a2,
                 static_cast<char*>(text));
    return SR_OK;
}

}  // namespace sim
