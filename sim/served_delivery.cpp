// The delivery interface: records, locks and clearing, the log acknowledgements and the
// lists they drive.
#include "proxies/IDelivery.h"
#include "sim/serve_util.h"
#include "sim/served.h"

namespace sim {

KV_SIM_PROCESS_CALL(CDeliveriesIf, CSimDelivery, KV_IDELIVERY_TABLE, "IDelivery")

namespace {

bool InList(const CSimDelivery& d, CDeliveriesIf::TList list)
{
    switch (list) {
    case CDeliveriesIf::CURRENT: return d.state != DS_CLEARED;
    case CDeliveriesIf::NOT_LOGGED: return d.state != DS_RUNNING && !d.dbLogged;
    case CDeliveriesIf::NOT_VOL_LOGGED: return d.state != DS_RUNNING && !d.volLogged;
    }
    return false;
}

long Found(CSimDelivery* d, long* id)
{
    if (!d)
        return SR_NOT_FOUND;
    Put(id, d->ID());
    return SR_OK;
}

}  // namespace

CSimDelivery* CDeliveriesIf::Nth(TList list, long ordinal, long* count)
{
    long n = 0;
    CSimDelivery* found = nullptr;
    for (CSimDelivery* d = _objects.First(); d; d = _objects.Next())
        if (InList(*d, list) && ++n == ordinal)
            found = d;
    Put(count, n);
    return found;
}

long CDeliveriesIf::AllCount(long* count)
{
    Put(count, GetCount());
    return SR_OK;
}

long CDeliveriesIf::GetAllIDByOrdinal(long ordinal, long* id) { return Found(FindObjByOrdinal(ordinal), id); }

long CDeliveriesIf::Count(long* count)
{
    Nth(CURRENT, 0, count);
    return SR_OK;
}

long CDeliveriesIf::GetIDByOrdinal(long ordinal, long* id) { return Found(Nth(CURRENT, ordinal, nullptr), id); }

long CDeliveriesIf::CountNotLogged(long* count)
{
    Nth(NOT_LOGGED, 0, count);
    return SR_OK;
}

long CDeliveriesIf::GetIDByOrdinalNotLogged(long ordinal, long* id)
{
    return Found(Nth(NOT_LOGGED, ordinal, nullptr), id);
}

long CDeliveriesIf::CountNotVolLogged(long* count)
{
    Nth(NOT_VOL_LOGGED, 0, count);
    return SR_OK;
}

long CDeliveriesIf::GetIDByOrdinalNotVolLogged(long ordinal, long* id)
{
    return Found(Nth(NOT_VOL_LOGGED, ordinal, nullptr), id);
}

long CDeliveriesIf::AckDBLog(CSimDelivery* d)
{
    if (!d)
        return kNoObject;
    if (d->state == DS_RUNNING)
        return SR_RUNNING;
    d->dbLogged = true;
    return SR_OK;
}

long CDeliveriesIf::AckVolLog(CSimDelivery* d)
{
    if (!d)
        return kNoObject;
    if (d->state == DS_RUNNING)
        return SR_RUNNING;
    d->volLogged = true;
    return SR_OK;
}

long CDeliveriesIf::Lock(CSimDelivery* d, long client) { return d ? _fc.Lock(*d, client) : kNoObject; }
long CDeliveriesIf::Unlock(CSimDelivery* d, long client) { return d ? _fc.Unlock(*d, client) : kNoObject; }

long CDeliveriesIf::Clear(CSimDelivery* d, long client, short type)
{
    return d ? _fc.Clear(*d, client, type, false) : kNoObject;
}

long CDeliveriesIf::LockAndClear(CSimDelivery* d, long client, short type)
{
    return d ? _fc.Clear(*d, client, type, true) : kNoObject;
}

long CDeliveriesIf::Get(CSimDelivery* d, long* pumpId, short* hose, short* presetType, CCur* presetValue,
                        short* level, CCur* volume, CCur* money, CCur* price, CDate* finished, long* state,
                        long* type, long* lockOwner, long* attendantId)
{
    return GetEx(d, pumpId, hose, presetType, presetValue, level, volume, money, price, finished, state, type,
                 lockOwner, attendantId, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                 nullptr, nullptr, nullptr);
}

long CDeliveriesIf::GetEx(CSimDelivery* d, long* pumpId, short* hose, short* presetType, CCur* presetValue,
                          short* level, CCur* volume, CCur* money, CCur* price, CDate* finished, long* state,
                          long* type, long* lockOwner, long* attendantId, CDate* started, CCur* volBefore,
                          CCur* volAfter, CCur* moneyBefore, CCur* moneyAfter, CCur* authorised, CCur* refund,
                          long long* tag, long* reserveClient, long* clearedBy, CCur* netVolume)
{
    if (!d)
        return kNoObject;
    Put(pumpId, d->pumpId);
    Put(hose, d->hoseNumber);
    Put(presetType, d->presetType);
    Put(presetValue, d->presetValue);
    Put(level, d->priceLevel);
    Put(volume, d->volume);
    Put(money, d->money);
    Put(price, d->price);
    Put(finished, d->finished);
    Put(state, d->state);
    Put(type, d->type);
    Put(lockOwner, d->lockOwner);
    Put(attendantId, d->attendantId);
    Put(started, d->started);
    Put(volBefore, d->volBefore);
    Put(volAfter, d->volAfter);
    Put(moneyBefore, d->moneyBefore);
    Put(moneyAfter, d->moneyAfter);
    Put(authorised, d->authorised);
    Put(refund, d->refund);
    Put(tag, d->tag);
    Put(reserveClient, d->reserveClient);
    Put(clearedBy, d->clearedBy);
    Put(netVolume, d->netVolume);
    return SR_OK;
}

long CDeliveriesIf::Set(long id, long pumpId, short hose, short presetType, const CCur& presetValue, short level,
                        const CCur& volume, const CCur& money, const CCur& price, const CDate& finished, long state,
                        long type, long lockOwner, long attendantId)
{
    CSimDelivery* d = _fc.Delivery(id);
    if (!d)
        return kNoObject;
    return SetEx(id, pumpId, hose, presetType, presetValue, level, volume, money, price, finished, state, type,
                 lockOwner, attendantId, d->started, CCur::FromRaw(d->volBefore), CCur::FromRaw(d->volAfter),
                 CCur::FromRaw(d->moneyBefore), CCur::FromRaw(d->moneyAfter), CCur::FromRaw(d->authorised),
                 CCur::FromRaw(d->refund), d->tag, d->reserveClient, d->clearedBy, CCur::FromRaw(d->netVolume));
}

// A correction of a finished delivery's record; a running delivery belongs to its pump.
long CDeliveriesIf::SetEx(long id, long pumpId, short hose, short presetType, const CCur& presetValue, short level,
                          const CCur& volume, const CCur& money, const CCur& price, const CDate& finished, long state,
                          long type, long lockOwner, long attendantId, const CDate& started, const CCur& volBefore,
                          const CCur& volAfter, const CCur& moneyBefore, const CCur& moneyAfter,
                          const CCur& authorised, const CCur& refund, long long tag, long reserveClient,
                          long clearedBy, const CCur& netVolume)
{
    CSimDelivery* d = _fc.Delivery(id);
    if (!d)
        return kNoObject;
    if (d->state == DS_RUNNING)
        return SR_RUNNING;
    if (state < DS_COMPLETED || state > DS_CLEARED || lockOwner < 0 || !Within(volume.Value(), kMaxAmount) ||
        !Within(money.Value(), kMaxAmount) || !Within(price.Value(), kMaxPrice) || !Within(netVolume.Value(), kMaxAmount))
        return SR_BAD_VALUE;
    d->pumpId = pumpId;
    d->hoseNumber = hose;
    d->presetType = presetType;
    d->presetValue = presetValue.Value();
    d->priceLevel = level;
    d->volume = volume.Value();
    d->money = money.Value();
    d->price = price.Value();
    d->finished = finished;
    d->state = state;
    d->type = type;
    d->lockOwner = lockOwner;
    d->attendantId = attendantId;
    d->started = started;
    d->volBefore = volBefore.Value();
    d->volAfter = volAfter.Value();
    d->moneyBefore = moneyBefore.Value();
    d->moneyAfter = moneyAfter.Value();
    d->authorised = authorised.Value();
    d->refund = refund.Value();
    d->tag = tag;
    d->reserveClient = reserveClient;
    d->clearedBy = clearedBy;
    d->netVolume = netVolume.Value();
    _fc.Emit(TSimEvent::Delivery, d->ID());
    return SR_OK;
}

long CDeliveriesIf::GetSummary(CSimDelivery* d, long* pumpId, long* pumpNumber, long* hoseId, long* gradeId,
                               long* tankId, CStr* pumpName, long* gradeNumber, long* tankNumber, CStr* gradeName,
                               long* deliveryId, long* hoseSiteNumber, CStr* hoseName, CStr* gradeShort,
                               CStr* tankName, short* hose, short* presetType, CCur* presetValue, short* level,
                               CCur* volume, CCur* money, CCur* price, CDate* finished, long* state, long* type,
                               long* lockOwner, long* attendantId, CDate* started, CCur* volBefore, CCur* volAfter,
                               CCur* moneyBefore, CCur* moneyAfter, CCur* authorised, CCur* refund, long long* tag,
                               long* reserveClient, long* clearedBy, CStr* attendantName, long long* cardNumber,
                               CStr* cardClientName, long* cardClientId, long* paymentRef, CStr* paymentText,
                               long long* extTransaction, CStr* extText, CCur* netVolume)
{
    if (!d)
        return kNoObject;
    CDeliveryNames n = _fc.Names(*d);
    Put(pumpNumber, n.pumpNumber);
    Put(hoseId, d->hoseId);
    Put(gradeId, d->gradeId);
    Put(tankId, d->tankId);
    Put(pumpName, n.pumpName);
    Put(gradeNumber, n.gradeNumber);
    Put(tankNumber, n.tankNumber);
    Put(gradeName, n.gradeName);
    Put(deliveryId, d->ID());
    Put(hoseSiteNumber, n.hoseSiteNumber);
    Put(hoseName, n.hoseName);
    Put(gradeShort, n.gradeShort);
    Put(tankName, n.tankName);
    Put(attendantName, n.attendantName);
    Put(cardNumber, d->cardNumber);
    Put(cardClientName, n.cardClientName);
    Put(cardClientId, d->cardClientId);
    Put(paymentRef, d->paymentRef);
    Put(paymentText, d->paymentText);
    Put(extTransaction, d->extTransaction);
    Put(extText, d->extText);
    return GetEx(d, pumpId, hose, presetType, presetValue, level, volume, money, price, finished, state, type,
                 lockOwner, attendantId, started, volBefore, volAfter, moneyBefore, moneyAfter, authorised, refund,
                 tag, reserveClient, clearedBy, netVolume);
}

long CDeliveriesIf::GetDuration(CSimDelivery* d, long* seconds)
{
    if (!d)
        return kNoObject;
    const CDate end = d->finished.IsEmpty() ? _fc.Now() : d->finished;
    const uint64_t ticks = end.Ticks() > d->started.Ticks() ? end.Ticks() - d->started.Ticks() : 0;
    Put(seconds, static_cast<long>(ticks / CDate::kTicksPerSecond));
    return SR_OK;
}

long CDeliveriesIf::GetExt(CSimDelivery* d, CStr* e1, CCur* e2, CCur* e3, CStr* e4, CStr* e5, CStr* e6, short* e7)
{
    if (!d)
        return kNoObject;
    Put(e1, d->ext1);
    Put(e2, d->ext2);
    Put(e3, d->ext3);
    Put(e4, d->ext4);
    Put(e5, d->ext5);
    Put(e6, d->ext6);
    Put(e7, d->ext7);
    return SR_OK;
}

long CDeliveriesIf::SetExt(CSimDelivery* d, const CStr& e1, const CCur& e2, const CCur& e3, const CStr& e4,
                           const CStr& e5, const CStr& e6, short e7)
{
    if (!d)
        return kNoObject;
    d->ext1 = e1;
    d->ext2 = e2.Value();
    d->ext3 = e3.Value();
    d->ext4 = e4;
    d->ext5 = e5;
    d->ext6 = e6;
    d->ext7 = e7;
    return SR_OK;
}

namespace {

// The 22 filter values and the date range; -1 (or an empty date) matches everything.
struct CDeliveryFilter {
    long f[11];
    short s[4];
    long long tag;
    long cardClient, paymentRef;
    long long cardNumber;
    long volLogged, maxId;
    long long extTransaction;
    CDate from, to;

    bool Matches(const CSimDelivery& d) const
    {
        auto logged = [](long want, bool is) { return want == -1 || want == (is ? 1 : 0); };
        return Match(f[0], d.pumpId) && Match(f[1], d.hoseId) && Match(f[2], d.gradeId) && Match(f[3], d.tankId) &&
               Match(f[4], d.state) && Match(f[5], d.type) && Match(f[6], d.lockOwner) &&
               Match(f[7], d.attendantId) && Match(f[8], d.reserveClient) && Match(f[9], d.clearedBy) &&
               (f[10] == -1 || d.ID() >= f[10]) && Match(s[0], d.hoseNumber) && Match(s[1], d.priceLevel) &&
               Match(s[2], d.presetType) && logged(s[3], d.dbLogged) && (tag == -1 || tag == d.tag) &&
               Match(cardClient, d.cardClientId) && Match(paymentRef, d.paymentRef) &&
               (cardNumber == -1 || cardNumber == d.cardNumber) && logged(volLogged, d.volLogged) &&
               (maxId == -1 || d.ID() <= maxId) && (extTransaction == -1 || extTransaction == d.extTransaction) &&
               ((from.IsEmpty() && to.IsEmpty()) || InRange(d.finished, from, to));
    }
};

CSimDelivery* Filtered(CObjectList<CSimDelivery, CSimDelivery>& list, const CDeliveryFilter& f, long ordinal,
                       long* count)
{
    long n = 0;
    CSimDelivery* found = nullptr;
    for (CSimDelivery* d = list.First(); d; d = list.Next())
        if (f.Matches(*d) && ++n == ordinal)
            found = d;
    Put(count, n);
    return found;
}

}  // namespace

long CDeliveriesIf::CountFiltered(long* count, long f1, long f2, long f3, long f4, long f5, long f6, long f7, long f8,
                                  long f9, long f10, long f11, short f12, short f13, short f14, short f15,
                                  long long f16, long f17, long f18, long long f19, long f20, long f21, long long f22,
                                  const CDate& from, const CDate& to)
{
    CDeliveryFilter f{{f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11}, {f12, f13, f14, f15}, f16, f17, f18, f19, f20,
                      f21, f22, from, to};
    Filtered(_objects, f, 0, count);
    return SR_OK;
}

long CDeliveriesIf::GetIDByOrdinalFiletered(long ordinal, long* id, long f1, long f2, long f3, long f4, long f5,
                                            long f6, long f7, long f8, long f9, long f10, long f11, short f12,
                                            short f13, short f14, short f15, long long f16, long f17, long f18,
                                            long long f19, long f20, long f21, long long f22, const CDate& from,
                                            const CDate& to)
{
    CDeliveryFilter f{{f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11}, {f12, f13, f14, f15}, f16, f17, f18, f19, f20,
                      f21, f22, from, to};
    return Found(Filtered(_objects, f, ordinal, nullptr), id);
}

}  // namespace sim
