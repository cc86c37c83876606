// Hoses, grades, tanks and ports: configuration, prices, totals and readings.
#include "proxies/IGrade.h"
#include "proxies/IHose.h"
#include "proxies/IPort.h"
#include "proxies/ITank.h"
#include "sim/serve_util.h"
#include "sim/served.h"

namespace sim {

KV_SIM_PROCESS_CALL(CHosesIf, CSimHose, KV_IHOSE_TABLE, "IHose")
KV_SIM_PROCESS_CALL(CGradesIf, CSimGrade, KV_IGRADE_TABLE, "IGrade")
KV_SIM_PROCESS_CALL(CTanksIf, CSimTank, KV_ITANK_TABLE, "ITank")
KV_SIM_PROCESS_CALL(CPortsIf, CSimPort, KV_IPORT_TABLE, "IPort")

// ---------------------------------------------------------------- hoses

CSimHose* CHosesIf::Match(long ordinal, long pumpId, long gradeId, long tankId, long* count)
{
    long n = 0;
    CSimHose* found = nullptr;
    for (CSimHose* h = _objects.First(); h; h = _objects.Next())
        if (sim::Match(pumpId, h->pumpId) && sim::Match(gradeId, h->gradeId) && sim::Match(tankId, h->tankId))
            if (++n == ordinal)
                found = h;
    Put(count, n);
    return found;
}

long CHosesIf::GetHosesCount(long* count, long pumpId, long gradeId, long tankId)
{
    Match(0, pumpId, gradeId, tankId, count);
    return SR_OK;
}

long CHosesIf::GetHoseByOrdinal(long ordinal, long* id, long pumpId, long gradeId, long tankId)
{
    CSimHose* h = Match(ordinal, pumpId, gradeId, tankId, nullptr);
    if (!h)
        return SR_NOT_FOUND;
    Put(id, h->ID());
    return SR_OK;
}

long CHosesIf::GetTotals(CSimHose* h, CCur* volume, CCur* money, CCur* prevVolume, CCur* prevMoney)
{
    if (!h)
        return kNoObject;
    Put(volume, h->volumeTotal);
    Put(money, h->moneyTotal);
    Put(prevVolume, h->prevVolumeTotal);
    Put(prevMoney, h->prevMoneyTotal);
    return SR_OK;
}

long CHosesIf::SaveETotals(CSimHose* h, const CCur& volume, const CCur& money)
{
    if (!h)
        return kNoObject;
    if (!Within(volume.Value(), kMaxTotal) || !Within(money.Value(), kMaxTotal))
        return SR_BAD_VALUE;
    _fc.SaveTotals(*h, volume.Value(), money.Value());
    return SR_OK;
}

long CHosesIf::SetETotals(CSimHose* h, const CCur& volume, const CCur& money)
{
    if (!h)
        return kNoObject;
    if (!Within(volume.Value(), kMaxTotal) || !Within(money.Value(), kMaxTotal))
        return SR_BAD_VALUE;
    h->volumeTotal = volume.Value();
    h->moneyTotal = money.Value();
    return SR_OK;
}

long CHosesIf::GetPrice(CSimHose* h, short level, CCur* price)
{
    if (!h)
        return kNoObject;
    if (level != 1 && level != 2)
        return SR_NOT_FOUND;
    Put(price, _fc.HosePrice(*h, level));
    return SR_OK;
}

long CHosesIf::SetPrice(CSimHose* h, short level, const CCur& price)
{
    if (!h)
        return kNoObject;
    if (level != 1 && level != 2)
        return SR_NOT_FOUND;
    if (!Within(price.Value(), kMaxPrice))
        return SR_BAD_VALUE;
    h->shownPrice[level - 1] = price.Value();
    return SR_OK;
}

// ---------------------------------------------------------------- grades

long CGradesIf::Set(long id, long number, const CStr& name, const CStr& shortName, long productId,
                    const CCur& price1, const CCur& price2)
{
    CSimGrade* g = _fc.Grade(id);
    const long r = GradeRecord::Set(g, number, name, shortName, productId, price1, price2);
    for (short level : {1, 2})
        if (r == SR_OK && g->price[level - 1] != (level == 1 ? price1 : price2).Value())
            _fc.SetGradePrice(*g, level, (level == 1 ? price1 : price2).Value());
    return r;
}

long CGradesIf::GetPrice(CSimGrade* g, short level, CCur* price)
{
    if (!g)
        return kNoObject;
    if (level != 1 && level != 2)
        return SR_NOT_FOUND;
    Put(price, g->price[level - 1]);
    return SR_OK;
}

long CGradesIf::SetPrice(CSimGrade* g, short level, const CCur& price)
{
    if (!g)
        return kNoObject;
    if (level != 1 && level != 2)
        return SR_NOT_FOUND;
    if (!Within(price.Value(), kMaxPrice))
        return SR_BAD_VALUE;
    _fc.SetGradePrice(*g, level, price.Value());
    return SR_OK;
}

// ---------------------------------------------------------------- tanks

long CTanksIf::GetStatus(CSimTank* t, CCur* level, CCur* waterLevel, CCur* temperature, CCur* gross, CCur* water,
                         CCur* ullage, CCur* net, short* gaugeState, short* alarms, short* responding)
{
    if (!t)
        return kNoObject;
    CTankReading r = _fc.Reading(*t);
    Put(level, r.level);
    Put(waterLevel, r.waterLevel);
    Put(temperature, r.temperature);
    Put(gross, r.gross);
    Put(water, r.water);
    Put(ullage, r.ullage);
    Put(net, r.net);
    Put(gaugeState, t->gaugeState);
    Put(alarms, t->alarms);
    Put(responding, t->responding);
    return SR_OK;
}

long CTanksIf::Read(CSimTank* t)
{
    if (!t)
        return kNoObject;
    t->reported = false;
    _fc.Emit(TSimEvent::DBTankStatus, t->ID());
    return SR_OK;
}

long CTanksIf::LogStatus(CSimTank* t, const CCur& level, const CCur& waterLevel, const CCur& temperature,
                         const CCur& gross, const CCur& water, const CCur& ullage, const CCur& net, short gaugeState,
                         short alarms)
{
    if (!t)
        return kNoObject;
    for (const CCur* v : {&level, &waterLevel, &temperature, &water, &ullage, &net})
        if (v->Value() < -kMaxAmount || v->Value() > kMaxAmount)
            return SR_BAD_VALUE;
    if (!Within(gross.Value(), kMaxAmount))
        return SR_BAD_VALUE;
    t->reported = true;
    t->reportedLevel = level.Value();
    t->reportedNet = net.Value();
    t->reportedUllage = ullage.Value();
    t->waterLevel = waterLevel.Value();
    t->temperature = temperature.Value();
    t->volume = gross.Value();
    t->waterVolume = water.Value();
    t->gaugeState = gaugeState;
    t->alarms = alarms;
    _fc.Emit(TSimEvent::DBTankStatus, t->ID());
    return SR_OK;
}

long CTanksIf::LogAlarm(CSimTank* t, short code, short raised, const CStr& text)
{
    if (!t)
        return kNoObject;
    if (code >= 0 && code < 16) {
        const short bit = static_cast<short>(1 << code);
        t->alarms = static_cast<short>(raised ? (t->alarms | bit) : (t->alarms & ~bit));
    }
    _fc.RaiseLogEvent(LE_TANK, t->ID(), code, t->Name(), text, raised ? 2 : 1);
    return SR_OK;
}

long CTanksIf::SetGaugeCapacity(CSimTank* t, const CCur& capacity)
{
    if (!t)
        return kNoObject;
    if (!Within(capacity.Value(), kMaxAmount))
        return SR_BAD_VALUE;
    t->gaugeCapacity = capacity.Value();
    return SR_OK;
}

long CTanksIf::SetResponding(CSimTank* t, short responding)
{
    if (t)
        t->responding = responding ? 1 : 0;
    return t ? SR_OK : kNoObject;
}

long CTanksIf::GetStrappingTableSize(CSimTank* t, long* size)
{
    if (!t)
        return kNoObject;
    Put(size, static_cast<long>(t->strapping.size()));
    return SR_OK;
}

long CTanksIf::GetStrappingPoint(CSimTank* t, long index, CCur* level, CCur* volume)
{
    if (!t)
        return kNoObject;
    if (index < 0 || static_cast<size_t>(index) >= t->strapping.size())
        return SR_NOT_FOUND;
    Put(level, t->strapping[static_cast<size_t>(index)].first);
    Put(volume, t->strapping[static_cast<size_t>(index)].second);
    return SR_OK;
}

// Points stay in rising level order: a point that would break it is refused.
long CTanksIf::SetStrappingPoint(CSimTank* t, long index, const CCur& level, const CCur& volume)
{
    if (!t)
        return kNoObject;
    auto& s = t->strapping;
    const size_t size = s.size();
    if (index < 0 || static_cast<size_t>(index) > size || (static_cast<size_t>(index) == size && size >= 1000))
        return SR_NOT_FOUND;
    if (!Within(level.Value(), kMaxAmount) || !Within(volume.Value(), kMaxAmount))
        return SR_BAD_VALUE;
    const size_t i = static_cast<size_t>(index);
    if ((i > 0 && s[i - 1].first >= level.Value()) || (i + 1 < size && s[i + 1].first <= level.Value()))
        return SR_BAD_VALUE;
    if (i == size)
        s.emplace_back(level.Value(), volume.Value());
    else
        s[i] = {level.Value(), volume.Value()};
    return SR_OK;
}

long CTanksIf::ClearStrappingTable(CSimTank* t)
{
    if (!t)
        return kNoObject;
    t->strapping.clear();
    return SR_OK;
}

// ---------------------------------------------------------------- ports

long CPortsIf::LogStatus(CSimPort* p, short state, short lastError, long good, long bad)
{
    if (!p)
        return kNoObject;
    p->linkState = state;
    p->lastError = lastError;
    p->good = good;
    p->bad = bad;
    return SR_OK;
}

long CPortsIf::GetStatus(CSimPort* p, short* state, short* lastError, long* good, long* bad)
{
    if (!p)
        return kNoObject;
    Put(state, p->enabled ? p->linkState : 0);
    Put(lastError, p->lastError);
    Put(good, p->good);
    Put(bad, p->bad);
    return SR_OK;
}

long CPortsIf::Reset(CSimPort* p)
{
    if (!p)
        return kNoObject;
    p->linkState = 1;
    p->lastError = 0;
    p->good = 0;
    p->bad = 0;
    return SR_OK;
}

long CPortsIf::ZBPanIDEvent(CSimPort* p, long long panId)
{
    if (!p)
        return kNoObject;
    p->panId = panId;
    _fc.Emit(TSimEvent::ZBPanID, p->ID(), 0, 0, CStr(""), {panId});
    return SR_OK;
}

long CPortsIf::ZB2GStatusEvent(CSimPort* p, long long a1, short a2, short a3, long long a4, short a5, short a6,
                               short a7, short a8)
{
    if (!p)
        return kNoObject;
    _fc.Emit(TSimEvent::ZB2GStatus, p->ID(), 0, 0, CStr(""), {a1, a2, a3, a4, a5, a6, a7, a8});
    return SR_OK;
}

// Only a ZigBee coordinator port (type 3) has a configuration; the refusal travels with the
// reply flag set, so the caller unpacks nothing.
long CPortsIf::GetZBConfig(CSimPort* p, long long* panId, long* channels, long long* keyHigh, long long* keyLow)
{
    if (!p)
        return kNoObject;
    if (p->type != 3) {
        Msg()->h.flag = 1;
        return SR_NOT_FOUND;
    }
    Put(panId, p->panId);
    Put(channels, p->channels);
    Put(keyHigh, p->keyHigh);
    Put(keyLow, p->keyLow);
    return SR_OK;
}

long CPortsIf::ZBKeyEvent(CSimPort* p, long long keyHigh, long long keyLow)
{
    if (!p)
        return kNoObject;
    p->keyHigh = keyHigh;
    p->keyLow = keyLow;
    return SR_OK;
}

long CPortsIf::ZBChannelsEvent(CSimPort* p, long channels)
{
    if (!p)
        return kNoObject;
    p->channels = channels;
    return SR_OK;
}

long CPortsIf::WatchDogPing(CSimPort* p, long a1, long a2, short a3)
{
    if (!p)
        return kNoObject;
    if (CLog* log = Trace())
        log->Log(3, "Port %ld driver watchdog %ld %ld %d", p->GetNumber(), a1, a2, a3);
    return SR_OK;
}

long CPortsIf::KVOdoStatusEvent(CSimPort* p, long long a1, short a2, short a3, long long a4, short a5, short a6,
                                short a7, short a8, long long a9, long a10, short a11, long long a12, long a13,
                                short a14, long long a15, long long a16, long long a17, long long a18, short a19,
                                const CStr& a20)
{
    if (!p)
        return kNoObject;
    ++p->odoSequence;
    _fc.Emit(TSimEvent::Odo, p->ID(), 0, 0, a20,
             {a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12, a13, a14, a15, a16, a17, a18, a19});
    return SR_OK;
}

}  // namespace sim
