// The delivery interface: records, locks and clearing, the log acknowledgements and the
// lists they drive.
#include "proxies/IDelivery.h"
#include "rpc/process.h"
#include "sim/serve_util.h"
#include "sim/served.h"

namespace sim {

#define KV_IDELIVERY_SERVED(X) KV_IDELIVERY_TABLE(KV_SIM_SERVE_CASE)
KV_SIM_PROCESS_CALL(CDeliveriesIf, CSimDelivery, KV_IDELIVERY_SERVED, "IDelivery")

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

// A correction of a finished delivery's record, by the lock owner when it is locked; its
// state, lock and clearing have calls of their own. A running delivery belongs to its pump.
template <class... V>
long CDeliveriesIf::Set(long id, const V&... v)
{
    CSimDelivery* d = _fc.Delivery(id);
    if (!d)
        return kNoObject;
    if (d->state == DS_RUNNING)
        return SR_RUNNING;
    if (d->lockOwner != 0 && d->lockOwner != Process()->CallingClientID())
        return SR_LOCKED;
    const long r = DeliveryRecord::Set(d, v...);
    if (r == SR_OK)
        _fc.Emit(TSimEvent::Delivery, d->ID(), Process()->CallingClientID());
    return r;
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
