// The pump state machine, deliveries in simulated time, and the forecourt-wide operations.
#include "sim/forecourt.h"

#include <cmath>

#include "rpc/process.h"
#include "sim/served.h"

namespace sim {

namespace {

template <class T>
T* FindIn(CObjectList<T, T>& list, long id)
{
    return id == -1 ? nullptr : list.FindByID(id);
}

// Every element of a list, robust against the list's cursor moving inside the body.
template <class T, class F>
void ForEach(CObjectList<T, T>& list, F&& f)
{
    std::vector<T*> all;
    for (T* x = list.First(); x; x = list.Next())
        all.push_back(x);
    for (T* x : all)
        f(*x);
}

// a / b rounded half away from zero, b > 0.
int64_t DivRound(int64_t a, int64_t b)
{
    return a >= 0 ? (a + b / 2) / b : -((-a + b / 2) / b);
}

}  // namespace

CForecourt::CForecourt(CProcess* process, CSimSink* sink) : _process(process), _sink(sink)
{
    _pumps = new CPumpsIf(*this, process);
    _hoses = new CHosesIf(*this, process);
    _grades = new CGradesIf(*this, process);
    _tanks = new CTanksIf(*this, process);
    _ports = new CPortsIf(*this, process);
    _deliveries = new CDeliveriesIf(*this, process);
    _attendants = new CAttendantsIf(*this, process);
    _zigbees = new CZigBeesIf(*this, process);
    _cardClients = new CCardClientsIf(*this, process);
    _cardReads = new CCardReadsIf(*this, process);
    _logEvents = new CLogEventsIf(*this, process);
    _sensors = new CSensorsIf(*this, process);
    _products = new CProductsIf(*this, process);
    _saleItems = new CSaleItemsIf(*this, process);
    for (CInterface* i : std::initializer_list<CInterface*>{_pumps, _hoses, _grades, _tanks, _ports, _deliveries,
                                                           _attendants, _zigbees, _cardClients, _cardReads,
                                                           _logEvents, _sensors, _products, _saleItems})
        process->AddInterface(i);
}

// ---------------------------------------------------------------- look-ups

CSimPump* CForecourt::Pump(long id) { return FindIn(_pumps->List(), id); }
CSimHose* CForecourt::Hose(long id) { return FindIn(_hoses->List(), id); }
CSimGrade* CForecourt::Grade(long id) { return FindIn(_grades->List(), id); }
CSimTank* CForecourt::Tank(long id) { return FindIn(_tanks->List(), id); }
CSimDelivery* CForecourt::Delivery(long id) { return FindIn(_deliveries->List(), id); }
CSimAttendant* CForecourt::Attendant(long id) { return FindIn(_attendants->List(), id); }
CSimProduct* CForecourt::Product(long id) { return FindIn(_products->List(), id); }
CSimCardClient* CForecourt::CardClient(long id) { return FindIn(_cardClients->List(), id); }
CSimPort* CForecourt::Port(long id) { return FindIn(_ports->List(), id); }
CSimLogEvent* CForecourt::LogEvent(long id) { return FindIn(_logEvents->List(), id); }
CSimSaleItem* CForecourt::SaleItem(long id) { return FindIn(_saleItems->List(), id); }

CSimPump* CForecourt::PumpByNumber(long number) { return _pumps->List().FindByNumber(number); }

CSimHose* CForecourt::HoseOf(const CSimPump& p, short hoseNumber)
{
    CObjectList<CSimHose, CSimHose>& list = _hoses->List();
    for (CSimHose* h = list.First(); h; h = list.Next())
        if (h->pumpId == p.ID() && h->pumpHoseNumber == hoseNumber)
            return h;
    return nullptr;
}

int CForecourt::HoseCount(const CSimPump& p)
{
    int n = 0;
    CObjectList<CSimHose, CSimHose>& list = _hoses->List();
    for (CSimHose* h = list.First(); h; h = list.Next())
        if (h->pumpId == p.ID())
            ++n;
    return n;
}

// ---------------------------------------------------------------- events and time

void CForecourt::Emit(TSimEvent kind, long id, long a, long b, const CStr& text, std::vector<int64_t> values)
{
    if (!_sink)
        return;
    CSimEvent e{kind, id, a, b, text, std::move(values)};
    _sink->Emit(e);
}

short CForecourt::StateOf(const CSimPump& p) const
{
    if (p.offline)
        return PS_OFFLINE;
    if (p.fault)
        return PS_ERROR;
    if (p.disabled)
        return PS_DISABLED;
    if (p.runningId)
        return p.stopped ? PS_STOPPED : PS_DELIVERING;
    if (p.finished)
        return PS_FINISHED;
    if (p.nozzle)
        return PS_CALLING;
    if (p.auth.active)
        return PS_AUTHORISED;
    if (p.reserveType != RES_NONE)
        return PS_RESERVED;
    return PS_IDLE;
}

const char* CForecourt::StateText(short state)
{
    switch (state) {
    case PS_IDLE: return "Idle";
    case PS_CALLING: return "Calling";
    case PS_AUTHORISED: return "Authorised";
    case PS_DELIVERING: return "Delivering";
    case PS_FINISHED: return "Finished";
    case PS_STOPPED: return "Stopped";
    case PS_DISABLED: return "Disabled";
    case PS_RESERVED: return "Reserved";
    case PS_OFFLINE: return "Not responding";
    case PS_ERROR: return "Error";
    default: return "Unknown";
    }
}

// One pump event per visible change: the state, and the reservation, which a client
// waiting to authorise its prepay must see even when the state stays the same.
void CForecourt::Notify(CSimPump& p)
{
    const short state = StateOf(p);
    if (state != p.state) {
        p.prevState = p.state;
        p.state = state;
    }
    Emit(TSimEvent::Pump, p.ID(), state, p.prevState);
}

CDate CForecourt::Now() const
{
    CDate d;
    d.Now();
    d.SetTicks(d.Ticks() + static_cast<uint64_t>(_clockOffset));
    return d;
}

void CForecourt::SetClock(const CDate& d)
{
    CDate now;
    now.Now();
    _clockOffset = static_cast<int64_t>(d.Ticks() - now.Ticks());
}

// ---------------------------------------------------------------- prices and tanks

Raw CForecourt::Money(Raw volume, Raw price)
{
    // volume and price carry four decimals each; the result is money to the cent, in raw units.
    return DivRound(volume * price, 1000000) * 100;
}

short CForecourt::LevelOf(const CSimPump& p, short requested) const
{
    if (requested == 1 || requested == 2)
        return requested;
    return p.cfg.defaultLevel == 2 ? 2 : 1;
}

Raw CForecourt::HosePrice(const CSimHose& h, short level)
{
    const int i = level == 2 ? 1 : 0;
    if (h.shownPrice[i] > 0)
        return h.shownPrice[i];
    CSimGrade* g = Grade(h.gradeId);
    return g ? g->price[i] : 0;
}

void CForecourt::SetGradePrice(CSimGrade& g, short level, Raw price)
{
    const int i = level == 2 ? 1 : 0;
    g.price[i] = price;
    // The new price reaches the grade's hoses: a driver's older report no longer stands.
    ForEach(_hoses->List(), [&](CSimHose& h) {
        if (h.gradeId == g.ID())
            h.shownPrice[i] = 0;
    });
    CStr text;
    text.Format("%s level %d %s", static_cast<char*>(g.Name()), static_cast<int>(level),
                CCur::FromRaw(price).Format());
    Emit(TSimEvent::Server, -1, SE_PRICE_CHANGE, g.ID(), text);
}

CTankReading CForecourt::Reading(const CSimTank& t) const
{
    CTankReading r{};
    if (t.reported) {
        r.level = t.reportedLevel;
        r.net = t.reportedNet;
        r.ullage = t.reportedUllage;
    }
    r.gross = t.volume;
    r.water = t.waterVolume;
    r.waterLevel = t.waterLevel;
    r.temperature = t.temperature;
    if (!t.reported) {
        r.net = t.volume;   // the simulated product is at its reference temperature
        r.ullage = t.capacity > t.volume ? t.capacity - t.volume : 0;
        const auto& s = t.strapping;
        if (s.size() >= 2) {
            // Level from volume through the strapping table, linear between its points.
            r.level = s.back().first;
            for (size_t i = 1; i < s.size(); ++i)
                if (t.volume <= s[i].second) {
                    const double dv = static_cast<double>(s[i].second - s[i - 1].second);
                    const double v = static_cast<double>(t.volume - s[i - 1].second);
                    const double dl = static_cast<double>(s[i].first - s[i - 1].first);
                    r.level = s[i - 1].first + (dv > 0 ? std::llround(dl * v / dv) : 0);
                    if (t.volume < s[0].second)
                        r.level = s[0].first;
                    break;
                }
        } else if (t.capacity > 0) {
            r.level = std::llround(static_cast<double>(t.height) * static_cast<double>(t.volume) /
                                   static_cast<double>(t.capacity));
        }
    }
    return r;
}

void CForecourt::DrawFromTank(long tankId, Raw volume)
{
    if (CSimTank* t = Tank(tankId)) {
        t->volume -= volume;
        if (t->volume < 0)
            t->volume = 0;
        t->reported = false;
    }
}

void CForecourt::SaveTotals(CSimHose& h, Raw volume, Raw money)
{
    h.prevVolumeTotal = h.volumeTotal;
    h.prevMoneyTotal = h.moneyTotal;
    h.volumeTotal = volume;
    h.moneyTotal = money;
    Emit(TSimEvent::DBHoseTotals, h.ID());
}

// ---------------------------------------------------------------- pumps

bool CForecourt::StackFull(const CSimPump& p)
{
    if (p.cfg.stackSize <= 0)
        return false;
    int unpaid = 0;
    for (CSimDelivery* d : Unpaid(p))
        if (d->state != DS_RUNNING)
            ++unpaid;
    return unpaid >= p.cfg.stackSize;
}

std::vector<CSimDelivery*> CForecourt::Unpaid(const CSimPump& p)
{
    std::vector<CSimDelivery*> out;
    CObjectList<CSimDelivery, CSimDelivery>& list = _deliveries->List();
    for (CSimDelivery* d = list.Tail(); d; d = static_cast<CSimDelivery*>(d->Prev()))
        if (d->pumpId == p.ID() && d->state != DS_CLEARED)
            out.push_back(d);
    return out;
}

long CForecourt::Authorise(CSimPump& p, const CAuth& auth, bool reserved)
{
    if (p.offline || p.fault)
        return SR_OFFLINE;
    if (p.disabled)
        return SR_DISABLED;
    if (p.runningId || p.finished)
        return SR_STATE;
    if (p.reserveType != RES_NONE && !reserved)
        return SR_RESERVED_OTHER;
    if (auth.hose < 0 || auth.hose > HoseCount(p) || auth.level < 0 || auth.level > 2)
        return SR_BAD_VALUE;
    if (auth.presetType < PRESET_NONE || auth.presetType > PRESET_VOLUME ||
        (auth.presetType != PRESET_NONE && (auth.presetValue <= 0 || auth.presetValue > kMaxAmount)) ||
        !Within(auth.price, kMaxPrice))
        return SR_BAD_VALUE;
    if (StackFull(p))
        return SR_STACK_FULL;
    p.auth = auth;
    p.auth.active = true;
    p.authMs = 0;
    p.errorCode = 0;
    p.errorText = "";
    if (p.nozzle) {
        CSimHose* h = HoseOf(p, p.nozzle);
        if (h && (auth.hose == 0 || auth.hose == p.nozzle))
            return StartDelivery(p, *h);
    }
    Notify(p);
    return SR_OK;
}

long CForecourt::CancelAuthorise(CSimPump& p, long client)
{
    if (p.runningId || !p.auth.active)
        return SR_STATE;
    if (p.reserveType != RES_NONE && client != 0 && client != p.reserveClient)
        return SR_RESERVED_OTHER;
    p.auth = CAuth();
    Notify(p);
    return SR_OK;
}

long CForecourt::TempStop(CSimPump& p)
{
    if (!p.runningId || p.stopped)
        return SR_STATE;
    p.stopped = true;
    Notify(p);
    return SR_OK;
}

long CForecourt::ReAuthorise(CSimPump& p)
{
    if (!p.runningId || !p.stopped)
        return SR_STATE;
    p.stopped = false;
    Notify(p);
    return SR_OK;
}

long CForecourt::Terminate(CSimPump& p, long client)
{
    if (p.runningId) {
        if (CSimDelivery* d = Delivery(p.runningId)) {
            Complete(p, *d);
            return SR_OK;
        }
    }
    return CancelAuthorise(p, client);
}

long CForecourt::Reserve(CSimPump& p, short type, long client)
{
    if (p.disabled)
        return SR_DISABLED;
    if (p.reserveType != RES_NONE)
        return p.reserveType == type && p.reserveClient == client ? SR_OK : SR_RESERVED_OTHER;
    if ((type == RES_PREPAY && !p.cfg.prepayAllowed) || (type == RES_PREAUTH && !p.cfg.preauthAllowed))
        return SR_STATE;
    if (p.runningId || p.finished || p.auth.active)
        return SR_STATE;
    p.reserveType = type;
    p.reserveClient = client;
    Notify(p);
    return SR_OK;
}

long CForecourt::CancelReserve(CSimPump& p, short type, long client)
{
    if (p.reserveType == RES_NONE)
        return SR_NOT_RESERVED;
    if (p.reserveType != type || p.reserveClient != client)
        return SR_RESERVED_OTHER;
    if (p.runningId)
        return SR_STATE;
    p.reserveType = RES_NONE;
    p.reserveClient = 0;
    p.auth = CAuth();
    Notify(p);
    return SR_OK;
}

long CForecourt::Disable(CSimPump& p, bool off)
{
    if (off == p.disabled)
        return SR_OK;
    if (off && p.runningId)
        return SR_STATE;
    p.disabled = off;
    if (off)
        p.auth = CAuth();
    Notify(p);
    return SR_OK;
}

long CForecourt::StackCurrent(CSimPump& p)
{
    for (CSimDelivery* d : Unpaid(p))
        if (d->state == DS_COMPLETED) {
            d->state = DS_STACKED;
            Emit(TSimEvent::Delivery, d->ID());
            Emit(TSimEvent::DBStack, d->ID());
            return SR_OK;
        }
    return SR_NOT_FOUND;
}

long CForecourt::SetOffline(CSimPump& p, bool offline)
{
    p.offline = offline;
    return SetFault(p, p.fault);
}

long CForecourt::SetFault(CSimPump& p, short code)
{
    p.fault = code;
    if (code) {
        p.errorCode = code;
        p.errorText.Format("Driver error %d", code);
        RaiseLogEvent(LE_DRIVER, p.ID(), code, p.Name(), p.errorText, 2);
    }
    if (p.offline || p.fault) {
        if (CSimDelivery* d = Delivery(p.runningId))
            Complete(p, *d);
        p.auth.active = false;
    }
    Notify(p);
    return SR_OK;
}

void CForecourt::ReleaseClient(long client)
{
    ForEach(_pumps->List(), [&](CSimPump& p) {
        if (p.reserveClient == client && !p.runningId && !p.auth.active) {
            p.reserveType = RES_NONE;
            p.reserveClient = 0;
            Notify(p);
        }
    });
    ForEach(_deliveries->List(), [&](CSimDelivery& d) {
        if (d.lockOwner == client && d.state != DS_CLEARED)
            Unlock(d, client);
    });
    ForEach(_saleItems->List(), [&](CSimSaleItem& s) {
        if (s.lockOwner == client)
            _saleItems->Unlock(&s, client);
    });
}

long CForecourt::AllStop(bool onlyIdle)
{
    ForEach(_pumps->List(), [&](CSimPump& p) {
        if (p.runningId && !onlyIdle)
            TempStop(p);
        else if (!p.runningId && p.auth.active)
            CancelAuthorise(p);
    });
    Emit(TSimEvent::Server, -1, SE_ALL_STOP, onlyIdle ? 1 : 0, onlyIdle ? "All stop if idle" : "All stop");
    return SR_OK;
}

long CForecourt::AllAuthorise()
{
    ForEach(_pumps->List(), [&](CSimPump& p) {
        if (!p.auth.active && !p.runningId && !p.finished && p.reserveType == RES_NONE)
            Authorise(p, CAuth(), false);
    });
    Emit(TSimEvent::Server, -1, SE_ALL_AUTHORISE, 0, "All authorise");
    return SR_OK;
}

long CForecourt::AllReAuthorise()
{
    ForEach(_pumps->List(), [&](CSimPump& p) {
        if (p.stopped)
            ReAuthorise(p);
    });
    return SR_OK;
}

// ---------------------------------------------------------------- nozzle and flow

long CForecourt::Lift(CSimPump& p, short hoseNumber)
{
    if (p.nozzle)
        return SR_STATE;
    CSimHose* h = HoseOf(p, hoseNumber);
    if (!h)
        return SR_NOT_FOUND;
    p.nozzle = hoseNumber;
    if (!p.disabled) {
        if (!p.auth.active && p.cfg.autoAuthorise && p.reserveType == RES_NONE && !StackFull(p)) {
            p.auth = CAuth();
            p.auth.active = true;
        }
        if (p.auth.active && (p.auth.hose == 0 || p.auth.hose == hoseNumber))
            return StartDelivery(p, *h);
    }
    Notify(p);
    return SR_OK;
}

long CForecourt::Hang(CSimPump& p)
{
    if (!p.nozzle)
        return SR_STATE;
    p.nozzle = 0;
    p.finished = false;
    if (p.runningId) {
        if (CSimDelivery* d = Delivery(p.runningId)) {
            Complete(p, *d);
            return SR_OK;
        }
        p.runningId = 0;
    }
    Notify(p);
    return SR_OK;
}

// A new delivery from the pump's hose under an authorisation, added to the list.
CSimDelivery& CForecourt::NewDelivery(CSimPump& p, CSimHose& h, const CAuth& a, short level, Raw price)
{
    const long id = NewID(nextDeliveryId);
    CStr name;
    name.Format("Delivery %ld", id);
    auto* d = new CSimDelivery(id, id, name);
    d->pumpId = p.ID();
    d->hoseId = h.ID();
    d->hoseNumber = static_cast<short>(h.pumpHoseNumber);
    d->gradeId = h.gradeId;
    d->tankId = h.tankId;
    d->presetType = a.presetType;
    d->presetValue = a.presetValue;
    d->priceLevel = LevelOf(p, level);
    d->price = price > 0 ? price : HosePrice(h, d->priceLevel);
    d->started = Now();
    d->type = a.type;
    d->attendantId = a.attendantId;
    d->tag = a.tag;
    d->cardNumber = a.cardNumber;
    d->extTransaction = a.extTransaction;
    d->cardClientId = a.cardClientId;
    d->paymentRef = a.paymentRef;
    d->paymentText = a.paymentText;
    d->reserveClient = p.reserveClient;
    d->volBefore = h.volumeTotal;
    d->moneyBefore = h.moneyTotal;
    _deliveries->List().Add(d);
    p.lastDeliveryId = id;
    return *d;
}

long CForecourt::StartDelivery(CSimPump& p, CSimHose& h)
{
    // The pump's previous completed delivery waits on the stack while this one runs.
    for (CSimDelivery* old : Unpaid(p))
        if (old->state == DS_COMPLETED) {
            old->state = DS_STACKED;
            Emit(TSimEvent::Delivery, old->ID());
            Emit(TSimEvent::DBStack, old->ID());
        }
    const CAuth& a = p.auth;
    p.runningAuth = a;
    CSimDelivery& d = NewDelivery(p, h, a, a.level, a.price);
    if (a.presetType == PRESET_MONEY)
        d.authorised = a.presetValue;
    else if (a.presetType == PRESET_VOLUME)
        d.authorised = Money(a.presetValue, d.price);
    p.runningId = d.ID();
    p.auth.active = false;
    p.stopped = false;
    p.finished = false;
    p.flowRemainder = 0;
    p.sinceProgress = 0;
    if (CSimAttendant* att = Attendant(a.attendantId))
        ++att->authorisations;
    Emit(TSimEvent::Delivery, d.ID());
    Notify(p);
    return SR_OK;
}

void CForecourt::Advance(long ms)
{
    if (ms <= 0)
        return;
    ForEach(_pumps->List(), [&](CSimPump& p) {
        // An authorisation nobody takes expires; a reservation stays with its client.
        if (p.auth.active && !p.runningId && authTimeoutMs > 0 && (p.authMs += ms) >= authTimeoutMs) {
            p.auth = CAuth();
            p.errorCode = PE_AUTH_TIMEOUT;
            p.errorText = "Authorisation timed out";
            Notify(p);
        }
        if (!p.runningId || p.stopped || p.external)
            return;
        CSimDelivery* d = Delivery(p.runningId);
        if (!d) {   // deleted under the pump's feet
            p.runningId = 0;
            Notify(p);
            return;
        }
        Flow(p, *d, ms);
    });
}

void CForecourt::Flow(CSimPump& p, CSimDelivery& d, long ms)
{
    const long mls = p.cfg.flow > 0 ? p.cfg.flow : flowMls;
    // One millilitre is ten raw units (four decimals of a litre).
    const int64_t units = static_cast<int64_t>(mls) * 10 * ms + p.flowRemainder;
    Raw add = units / 1000;
    p.flowRemainder = units % 1000;

    bool stop = false;
    Raw limit = -1;   // the volume at which the preset is met
    if (d.presetType == PRESET_VOLUME)
        limit = d.presetValue;
    else if (d.presetType == PRESET_MONEY && d.price > 0)
        // The least volume whose money rounds to the preset (money is kept to the cent).
        limit = (d.presetValue * 10000 - 500000 + d.price - 1) / d.price;
    if (limit < 0 || limit > kMaxAmount)
        limit = kMaxAmount;   // no delivery runs on without end
    if (d.volume + add >= limit) {
        add = limit - d.volume;
        if (add < 0)
            add = 0;
        stop = true;
    }
    if (CSimTank* t = Tank(d.tankId)) {
        // A tank in alarm, or down to its low level, gives no more fuel.
        const Raw usable = t->alarms ? 0 : std::max<Raw>(0, t->volume - t->lowLevel);
        if (add >= usable) {
            add = usable;
            stop = true;
            p.errorCode = t->volume <= add ? PE_TANK_EMPTY : PE_TANK_BLOCKED;
            p.errorText = p.errorCode == PE_TANK_EMPTY ? "Tank empty" : "Tank alarm or low level";
        }
    }
    d.volume += add;
    d.money = Money(d.volume, d.price);
    d.netVolume = d.volume;
    DrawFromTank(d.tankId, add);
    if (stop) {
        Complete(p, d);
        return;
    }
    p.sinceProgress += ms;
    if (p.sinceProgress >= progressMs) {
        p.sinceProgress = 0;
        Emit(TSimEvent::Progress, p.ID());
    }
}

void CForecourt::Complete(CSimPump& p, CSimDelivery& d)
{
    p.runningId = 0;
    p.stopped = false;
    p.external = false;
    p.finished = p.nozzle != 0;
    p.reserveType = RES_NONE;   // a reservation ends with the delivery it authorised
    p.reserveClient = 0;
    // Prepaid money not taken is refunded; a prepay is kept even when nothing flowed, so
    // that the POS settles it.
    if (d.type == DT_PREPAY && d.authorised > d.money)
        d.refund = d.authorised - d.money;
    if (d.volume == 0 && d.type != DT_PREPAY) {
        // Nothing flowed: no delivery is kept, the clients hear of a zero delivery.
        const long id = d.ID();
        const long hoseId = d.hoseId;
        const long type = d.type;
        const Raw authorised = d.authorised;
        CObjectList<CSimDelivery, CSimDelivery>& list = _deliveries->List();
        for (CSimDelivery* x = list.First(); x; x = list.Next())
            if (x == &d) {
                list.Delete();
                break;
            }
        if (p.lastDeliveryId == id)
            p.lastDeliveryId = 0;
        Emit(TSimEvent::Zero, p.ID(), hoseId, type, CStr(""), {authorised, id});
        Notify(p);
        return;
    }
    Finish(p, d, nullptr);
}

// A delivery that has ended: its record, the hose's totals (the given pair, else the old ones
// plus the delivery), and the events of both.
void CForecourt::Finish(CSimPump& p, CSimDelivery& d, const Raw* totals)
{
    d.finished = Now();
    d.state = DS_COMPLETED;
    if (CSimHose* h = Hose(d.hoseId)) {
        d.volBefore = h->volumeTotal;
        d.moneyBefore = h->moneyTotal;
        SaveTotals(*h, totals ? totals[0] : h->volumeTotal + d.volume, totals ? totals[1] : h->moneyTotal + d.money);
        d.volAfter = h->volumeTotal;
        d.moneyAfter = h->moneyTotal;
    }
    if (CSimCardClient* c = CardClient(d.cardClientId))
        c->balance += d.money;
    Emit(TSimEvent::Delivery, d.ID());
    Emit(TSimEvent::DBLogDelivery, d.ID());
    if (Tank(d.tankId))
        Emit(TSimEvent::DBTankStatus, d.tankId);
    Notify(p);
}

long CForecourt::RecordDelivery(CSimPump& p, short hoseNumber, const CAuth& auth, Raw volume, Raw money, Raw price,
                                short level, Raw volumeTotal, Raw moneyTotal, bool totalsGiven)
{
    CSimHose* h = HoseOf(p, hoseNumber);
    if (!h)
        return SR_NOT_FOUND;
    if (!Within(volume, kMaxAmount) || !Within(money, kMaxAmount) || !Within(price, kMaxPrice) ||
        (totalsGiven && (!Within(volumeTotal, kMaxTotal) || !Within(moneyTotal, kMaxTotal))))
        return SR_BAD_VALUE;
    CSimDelivery& d = NewDelivery(p, *h, auth, level, price);
    d.volume = volume;
    d.money = money;
    d.netVolume = volume;
    DrawFromTank(h->tankId, volume);
    const Raw totals[2] = {volumeTotal, moneyTotal};
    Finish(p, d, totalsGiven ? totals : nullptr);
    return SR_OK;
}

// An externally controlled delivery: recorded as running, without simulated flow, until
// ExternalEndDelivery reports its figures.
long CForecourt::ExternalStart(CSimPump& p, short hoseNumber, long reference, long client)
{
    if (p.disabled)
        return SR_DISABLED;
    if (p.reserveType != RES_NONE && p.reserveClient != client)
        return SR_RESERVED_OTHER;
    if (p.runningId)
        return SR_STATE;
    CSimHose* h = HoseOf(p, hoseNumber);
    if (!h)
        return SR_NOT_FOUND;
    CAuth a;
    a.active = true;
    a.type = DT_EXTERNAL;
    a.paymentRef = reference;
    p.auth = a;
    p.external = true;   // nothing flows here: the external controller reports the figures
    return StartDelivery(p, *h);
}

// ---------------------------------------------------------------- deliveries

long CForecourt::Lock(CSimDelivery& d, long client)
{
    if (d.state == DS_CLEARED)
        return SR_CLEARED;
    if (d.lockOwner != 0 && d.lockOwner != client)
        return SR_LOCKED;
    if (d.lockOwner == client)
        return SR_OK;
    d.lockOwner = client;
    Emit(TSimEvent::Delivery, d.ID(), client);
    if (CSimPump* p = Pump(d.pumpId))   // the pump record shows the lock owner
        Notify(*p);
    return SR_OK;
}

long CForecourt::Unlock(CSimDelivery& d, long client)
{
    if (d.lockOwner == 0)
        return SR_OK;
    if (d.lockOwner != client)
        return SR_LOCKED;
    d.lockOwner = 0;
    Emit(TSimEvent::Delivery, d.ID(), client);
    if (CSimPump* p = Pump(d.pumpId))
        Notify(*p);
    return SR_OK;
}

long CForecourt::Clear(CSimDelivery& d, long client, short type, bool lockFirst)
{
    if (d.state == DS_CLEARED)
        return SR_CLEARED;
    if (d.lockOwner != 0 && d.lockOwner != client)
        return SR_LOCKED;
    if (d.state == DS_RUNNING)
        return SR_RUNNING;
    if (lockFirst)
        d.lockOwner = client;
    d.state = DS_CLEARED;
    d.clearedBy = client;
    d.clearType = type;
    if (type == CLEAR_PUMPTEST)
        if (CSimTank* t = Tank(d.tankId)) {
            t->volume += d.volume;
            t->reported = false;
        }
    Emit(TSimEvent::Delivery, d.ID(), client);
    Emit(TSimEvent::DBClear, d.ID(), client);
    if (CSimPump* p = Pump(d.pumpId))
        Notify(*p);
    return SR_OK;
}

// ---------------------------------------------------------------- views

CPumpView CForecourt::View(CSimPump& p)
{
    CPumpView v;
    v.id = p.ID();
    v.number = p.GetNumber();
    v.state = StateOf(p);
    v.prevState = p.prevState;
    v.hose = p.nozzle;
    v.name = p.Name();
    v.stateText = StateText(v.state);
    v.errorText = p.errorText;
    v.errorCode = p.errorCode;
    v.reserveClient = p.reserveClient;
    v.reserveType = p.reserveType;
    v.hoses = static_cast<short>(HoseCount(p));
    v.enabled = p.disabled ? 0 : 1;
    v.nozzleUp = p.nozzle ? 1 : 0;
    v.autoAuthorise = p.cfg.autoAuthorise;
    v.defaultLevel = p.cfg.defaultLevel;
    v.stopped = p.stopped ? 1 : 0;
    v.authorised = p.auth.active ? 1 : 0;
    v.stackSize = p.cfg.stackSize;
    v.allowedHose = p.auth.hose;
    v.level = LevelOf(p, p.auth.level);
    v.volume = p.shownVolume;
    v.money = p.shownMoney;
    v.price = p.shownPrice;
    std::vector<CSimDelivery*> unpaid = Unpaid(p);
    for (CSimDelivery* d : unpaid)
        if (d->state != DS_RUNNING)
            ++v.unpaid;
    // The authorisation in force, or the one the running delivery was started with.
    const CAuth& a = p.runningId ? p.runningAuth : p.auth;
    if (p.runningId || a.active) {
        v.presetType = a.presetType;
        v.presetValue = a.presetValue;
        v.deliveryType = static_cast<short>(a.type);
        v.attendantId = a.attendantId;
        v.tag = a.tag;
        v.cardClientId = a.cardClientId;
        v.paymentRef = a.paymentRef;
        v.paymentText = a.paymentText;
        v.cardNumber = a.cardNumber;
        v.extTransaction = a.extTransaction;
        if (a.presetType == PRESET_MONEY)
            v.authorisedAmount = a.presetValue;
    }
    CSimHose* h = p.nozzle ? HoseOf(p, p.nozzle) : nullptr;
    if (CSimDelivery* d = Delivery(p.runningId ? p.runningId : p.lastDeliveryId)) {
        if (d->state != DS_CLEARED)
            v.deliveryId = d->ID();
        v.volume = d->volume;
        v.money = d->money;
        v.price = d->price;
        v.level = d->priceLevel;
        v.lockOwner = d->lockOwner;
        v.deliveryState = d->state;
        if (p.runningId) {
            v.authorisedAmount = d->authorised;
            h = Hose(d->hoseId);
        }
    }
    // A sale still to be paid is what a POS looks for on an idle pump: name it and its delivery.
    if (v.unpaid && !v.deliveryId)
        for (CSimDelivery* d : unpaid)
            if (d->state != DS_RUNNING) {
                v.deliveryId = d->ID();
                break;
            }
    if (v.unpaid && v.state == PS_IDLE)
        v.stateText = "Idle, unpaid";
    if (h) {
        v.hoseId = h->ID();
        v.gradeId = h->gradeId;
        v.tankId = h->tankId;
        if (!p.runningId)
            v.price = HosePrice(*h, v.level);
    }
    if (CSimAttendant* att = Attendant(v.attendantId))
        v.attendantName = att->Name();
    return v;
}

CDeliveryNames CForecourt::Names(const CSimDelivery& d)
{
    CDeliveryNames n;
    if (CSimPump* p = Pump(d.pumpId)) {
        n.pumpNumber = p->GetNumber();
        n.pumpName = p->Name();
    }
    if (CSimGrade* g = Grade(d.gradeId)) {
        n.gradeNumber = g->GetNumber();
        n.gradeName = g->Name();
        n.gradeShort = g->shortName;
    }
    if (CSimTank* t = Tank(d.tankId)) {
        n.tankNumber = t->GetNumber();
        n.tankName = t->Name();
    }
    if (CSimHose* h = Hose(d.hoseId)) {
        n.hoseSiteNumber = h->GetNumber();
        n.hoseName = h->Name();
    }
    if (CSimAttendant* a = Attendant(d.attendantId))
        n.attendantName = a->Name();
    if (CSimCardClient* c = CardClient(d.cardClientId))
        n.cardClientName = c->Name();
    return n;
}

// ---------------------------------------------------------------- log events, cards

CSimLogEvent& CForecourt::RaiseLogEvent(short type, long deviceId, long code, const CStr& device, const CStr& text,
                                        short level)
{
    const long id = NewID(nextLogEventId);
    CStr name;
    name.Format("Event %ld", id);
    auto* e = new CSimLogEvent(id, id, name);
    e->type = type;
    e->deviceId = deviceId;
    e->code = code;
    e->device = device;
    e->text = text;
    e->level = level;
    e->raised = Now();
    _logEvents->List().Add(e);
    Emit(TSimEvent::LogEvent, id);
    Emit(TSimEvent::DBLogEvent, id);
    return *e;
}

CSimCardRead& CForecourt::AddCardRead(long pumpId, short reader, long long tag, const CStr& text)
{
    const long id = NewID(nextCardReadId);
    auto* r = new CSimCardRead(id, id, text);
    r->pumpId = pumpId;
    r->reader = reader;
    r->tag = tag;
    r->when = Now();
    if (CSimCardClient* c = FindCardClient(text))
        r->cardClientId = c->ID();
    _cardReads->List().Add(r);
    Emit(TSimEvent::CardRead, id);
    return *r;
}

// The card client whose prefix is the longest that starts the card number.
CSimCardClient* CForecourt::FindCardClient(const CStr& card)
{
    CSimCardClient* best = nullptr;
    int bestLength = 0;
    CObjectList<CSimCardClient, CSimCardClient>& list = _cardClients->List();
    for (CSimCardClient* c = list.First(); c; c = list.Next()) {
        const int n = c->prefix.Length();
        if (n == 0 || n > card.Length() || n <= bestLength)
            continue;
        bool match = true;
        for (short i = 1; i <= n && match; ++i)
            match = c->prefix.Char(i) == card.Char(i);
        if (match) {
            best = c;
            bestLength = n;
        }
    }
    return best;
}

long CForecourt::CardAuth(CAuth& a, const CStr& card)
{
    CSimCardClient* c = card.Length() ? FindCardClient(card) : CardClient(a.cardClientId);
    if (!c)
        return card.Length() ? SR_REFUSED : SR_OK;
    if (c->status != 0)
        return SR_CARD_BLOCKED;
    if (!c->expiry.IsEmpty() && c->expiry.Ticks() < Now().Ticks())
        return SR_CARD_EXPIRED;
    a.cardClientId = c->ID();
    if (a.level == 0 && (c->priceLevel == 1 || c->priceLevel == 2))
        a.level = c->priceLevel;
    if (c->creditLimit > 0 && a.presetType != PRESET_VOLUME) {
        const Raw left = c->creditLimit - c->balance;
        if (left <= 0 || (a.presetType == PRESET_MONEY && a.presetValue > left))
            return SR_CARD_LIMIT;
        if (a.presetType == PRESET_NONE) {   // the pump stops at what is left of the credit
            a.presetType = PRESET_MONEY;
            a.presetValue = left;
        }
    }
    return SR_OK;
}

// A tag authorises when it is an attendant's tag or a card of a known card client.
bool CForecourt::KnownTag(long long tag)
{
    CStr text;
    text.Format("%lld", tag);
    CObjectList<CSimAttendant, CSimAttendant>& list = _attendants->List();
    for (CSimAttendant* a = list.First(); a; a = list.Next())
        if (a->tag.Length() && a->tag.Compare(text) == 0)
            return true;
    return FindCardClient(text) != nullptr;
}

}  // namespace sim
