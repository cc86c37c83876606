#include "sim/state_json.h"

#include <cstdio>
#include <ctime>

#include "sim/served.h"
#include "sim/server.h"

namespace sim {

namespace {

std::string Text(const CStr& s)
{
    return s.IsSet() ? static_cast<char*>(s) : "";
}

// Raw values (x 10000) as plain decimals; integers keep their four decimals exact.
void Dec(std::string& out, int64_t raw)
{
    char buf[32];
    const char* sign = raw < 0 ? "-" : "";
    const uint64_t mag = raw < 0 ? 0 - static_cast<uint64_t>(raw) : static_cast<uint64_t>(raw);
    std::snprintf(buf, sizeof buf, "%s%llu.%04llu", sign, static_cast<unsigned long long>(mag / 10000),
                  static_cast<unsigned long long>(mag % 10000));
    out += buf;
}

// A small writer: fields are appended with a comma before all but the first of an object.
struct CJson {
    std::string s;
    bool first = true;
    void Key(const char* k)
    {
        if (!first)
            s += ',';
        first = false;
        s += '"';
        s += k;
        s += "\":";
    }
    CJson& Open(const char* k, char brace)
    {
        if (k)
            Key(k);
        else if (!first)
            s += ',';
        s += brace;
        first = true;
        return *this;
    }
    CJson& Close(char brace)
    {
        s += brace;
        first = false;
        return *this;
    }
    CJson& Num(const char* k, long long v) { return Key(k), s += std::to_string(v), *this; }
    CJson& Dec(const char* k, int64_t raw) { return Key(k), sim::Dec(s, raw), *this; }
    CJson& Bool(const char* k, bool v) { return Key(k), s += v ? "true" : "false", *this; }
    CJson& Str(const char* k, const std::string& v) { return Key(k), s += JsonString(v), *this; }
};

const char* CallOf(TSimEvent k)
{
    switch (k) {
    case TSimEvent::Pump:
    case TSimEvent::Progress: return "PumpEvent";
    case TSimEvent::Delivery: return "DeliveryEvent";
    case TSimEvent::Zero: return "ZeroDeliveryEvent";
    case TSimEvent::Server: return "ServerEvent";
    case TSimEvent::Client: return "ClientEvent";
    case TSimEvent::CardRead: return "CardReadEvent";
    case TSimEvent::TermPrompt: return "KVTermPromptEvent";
    case TSimEvent::LogEvent: return "LogEventEvent";
    case TSimEvent::SaleItem: return "SaleItemEvent";
    case TSimEvent::ZBPanID: return "ZBPanIDEvent";
    case TSimEvent::ZB2GStatus: return "ZB2GStatusEvent";
    case TSimEvent::Odo: return "KVOdoEvent";
    case TSimEvent::DBLogDelivery: return "LogDelivery";
    case TSimEvent::DBStack: return "StackDelivery";
    case TSimEvent::DBClear: return "ClearDelivery";
    case TSimEvent::DBLogEvent: return "LogEvent";
    case TSimEvent::DBHoseTotals: return "HoseETotals";
    case TSimEvent::DBTrigger: return "DBTrigger";
    case TSimEvent::DBAttendantLogon: return "AttendantLogon";
    case TSimEvent::DBAttendantLogoff: return "AttendantLogoff";
    case TSimEvent::DBTankStatus: return "LogTankStatus";
    }
    return "?";
}

std::string Clock()
{
    timespec ts{};
    clock_gettime(CLOCK_REALTIME, &ts);
    tm t{};
    localtime_r(&ts.tv_sec, &t);
    char buf[32];
    std::snprintf(buf, sizeof buf, "%02d:%02d:%02d.%03ld", t.tm_hour, t.tm_min, t.tm_sec, ts.tv_nsec / 1000000);
    return buf;
}

}  // namespace

std::string JsonString(const std::string& text)
{
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c == '\n') {
            out += "\\n";
        } else if (c < 0x20 || c == 0x7f) {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\u%04x", c);
            out += buf;
        } else if (c >= 0x80) {
            // CStr text is Latin-1 here: spell it as UTF-8 so every byte stays valid JSON.
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + '"';
}

CSnapshot TakeSnapshot(CSimServer& server)
{
    CForecourt& fc = server.Forecourt();
    CSnapshot s;
    s.time = Clock();
    s.speed = server.Settings().speed;
    s.autoCustomers = server.Settings().autoCustomers;
    s.flowMls = fc.flowMls;

    std::vector<CSimPump*> pumps;
    for (CSimPump* p = fc.Pumps().List().First(); p; p = fc.Pumps().List().Next())
        pumps.push_back(p);
    std::vector<CSimHose*> hoses;
    for (CSimHose* h = fc.Hoses().List().First(); h; h = fc.Hoses().List().Next())
        hoses.push_back(h);
    for (CSimPump* p : pumps) {
        const CPumpView v = fc.View(*p);
        CSnapPump sp;
        sp.number = v.number;
        sp.id = v.id;
        sp.name = Text(v.name);
        sp.state = v.state;
        sp.stateText = Text(v.stateText);
        sp.errorCode = v.errorCode;
        sp.errorText = Text(v.errorText);
        sp.hose = v.hose;
        sp.level = v.level;
        sp.volume = v.volume;
        sp.money = v.money;
        sp.price = v.price;
        sp.presetType = v.presetType;
        sp.presetValue = v.presetValue;
        sp.authorisedAmount = v.authorisedAmount;
        sp.reserveType = static_cast<short>(v.reserveType);
        sp.reserveClient = v.reserveClient;
        sp.allowedHose = v.allowedHose;
        sp.authorised = v.authorised != 0;
        sp.stopped = v.stopped != 0;
        sp.disabled = p->disabled;
        sp.offline = p->offline;
        sp.readerFault = p->readerFault;
        sp.autoAuthorise = v.autoAuthorise != 0;
        sp.nozzleUp = v.nozzleUp != 0;
        sp.unpaid = v.unpaid;
        sp.stackSize = v.stackSize;
        sp.deliveryType = v.deliveryType;
        sp.deliveryId = v.deliveryId;
        sp.lockOwner = v.lockOwner;
        sp.deliveryState = v.deliveryState;
        sp.flowMls = p->cfg.flow > 0 ? p->cfg.flow : fc.flowMls;
        if (CSimGrade* g = fc.Grade(v.gradeId)) {
            sp.grade = g->GetNumber();
            sp.gradeName = Text(g->Name());
        }
        if (CSimTank* t = fc.Tank(v.tankId))
            sp.tank = t->GetNumber();
        for (CSimHose* h : hoses)
            if (h->pumpId == p->ID()) {
                CSnapHose sh{h->pumpHoseNumber, h->ID(), -1, -1};
                if (CSimGrade* g = fc.Grade(h->gradeId))
                    sh.grade = g->GetNumber();
                if (CSimTank* t = fc.Tank(h->tankId))
                    sh.tank = t->GetNumber();
                sp.hoses.push_back(sh);
            }
        for (CSimDelivery* d : fc.Unpaid(*p))
            sp.deliveries.push_back(CSnapDelivery{d->ID(), d->state, d->type, d->lockOwner, d->reserveClient,
                                                  d->hoseNumber, d->presetType, d->priceLevel, d->presetValue,
                                                  d->volume, d->money, d->price});
        s.pumps.push_back(std::move(sp));
    }
    for (CSimTank* t = fc.Tanks().List().First(); t; t = fc.Tanks().List().Next()) {
        const CTankReading r = fc.Reading(*t);
        CSnapTank st{t->GetNumber(), t->ID(), -1, Text(t->Name()), t->capacity, r.gross, r.ullage, r.level,
                     r.water, r.temperature, t->alarms};
        s.tanks.push_back(st);
    }
    for (CSnapTank& st : s.tanks)
        if (CSimTank* t = fc.Tank(st.id))
            if (CSimGrade* g = fc.Grade(t->gradeId))
                st.grade = g->GetNumber();
    for (CSimGrade* g = fc.Grades().List().First(); g; g = fc.Grades().List().Next())
        s.grades.push_back(CSnapGrade{g->GetNumber(), g->ID(), Text(g->Name()), Text(g->shortName), g->price[0],
                                      g->price[1]});
    CObjectList<CSimClient, CSimClient>& clients = server.Clients().List();
    for (CSimClient* c = clients.First(); c; c = clients.Next())
        s.clients.push_back(CSnapClient{c->ID(), Text(c->Name()), c->sessionId, c->mask, c->events, c->db, false, false});
    for (CSnapClient& c : s.clients) {
        c.callOpen = server.CallSocketOf(c.number) != nullptr;
        c.eventsOpen = server.EventsSocketOf(c.number) != nullptr;
    }
    return s;
}

std::string StateJson(const CSnapshot& s)
{
    CJson j;
    j.Open(nullptr, '{');
    j.Num("generation", static_cast<long long>(s.generation)).Str("time", s.time);
    j.Key("speed");
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g", s.speed);
    j.s += buf;
    j.Bool("auto", s.autoCustomers).Dec("flow", s.flowMls * 10);
    j.Open("pumps", '[');
    for (const CSnapPump& p : s.pumps) {
        j.Open(nullptr, '{');
        j.Num("number", p.number).Num("id", p.id).Str("name", p.name).Num("state", p.state);
        j.Str("stateText", p.stateText).Num("hose", p.hose).Num("grade", p.grade).Str("gradeName", p.gradeName);
        j.Num("tank", p.tank).Num("level", p.level).Dec("volume", p.volume).Dec("money", p.money);
        j.Dec("price", p.price).Bool("nozzleUp", p.nozzleUp).Bool("authorised", p.authorised);
        j.Num("allowedHose", p.allowedHose).Num("authType", p.deliveryType).Num("presetType", p.presetType);
        j.Dec("presetValue", p.presetValue).Dec("authorisedAmount", p.authorisedAmount);
        j.Num("reserveType", p.reserveType).Num("reserveClient", p.reserveClient).Bool("stopped", p.stopped);
        j.Bool("offline", p.offline).Bool("readerFault", p.readerFault);
        j.Bool("disabled", p.disabled).Bool("autoAuthorise", p.autoAuthorise).Num("errorCode", p.errorCode);
        j.Str("errorText", p.errorText).Num("deliveryId", p.deliveryId).Num("lockOwner", p.lockOwner);
        j.Num("deliveryState", p.deliveryState).Num("unpaid", p.unpaid).Num("stackSize", p.stackSize);
        j.Dec("flow", p.flowMls * 10);
        j.Open("hoses", '[');
        for (const CSnapHose& h : p.hoses)
            j.Open(nullptr, '{').Num("number", h.number).Num("id", h.id).Num("grade", h.grade).Num("tank", h.tank)
                .Close('}');
        j.Close(']');
        j.Open("deliveries", '[');
        for (const CSnapDelivery& d : p.deliveries) {
            j.Open(nullptr, '{').Num("id", d.id).Num("state", d.state).Num("type", d.type).Num("hose", d.hose);
            j.Num("level", d.level).Dec("volume", d.volume).Dec("money", d.money).Dec("price", d.price);
            j.Num("presetType", d.presetType).Dec("presetValue", d.presetValue).Num("lockOwner", d.lockOwner);
            j.Num("reserveClient", d.reserveClient).Close('}');
        }
        j.Close(']').Close('}');
    }
    j.Close(']');
    j.Open("tanks", '[');
    for (const CSnapTank& t : s.tanks)
        j.Open(nullptr, '{').Num("number", t.number).Num("id", t.id).Str("name", t.name).Num("grade", t.grade)
            .Dec("capacity", t.capacity).Dec("volume", t.volume).Dec("ullage", t.ullage).Dec("level", t.level)
            .Dec("water", t.water).Dec("temperature", t.temperature).Num("alarms", t.alarms).Close('}');
    j.Close(']');
    j.Open("grades", '[');
    for (const CSnapGrade& g : s.grades)
        j.Open(nullptr, '{').Num("number", g.number).Num("id", g.id).Str("name", g.name).Str("shortName", g.shortName)
            .Dec("price1", g.price1).Dec("price2", g.price2).Close('}');
    j.Close(']');
    j.Open("clients", '[');
    for (const CSnapClient& c : s.clients)
        j.Open(nullptr, '{').Num("number", c.number).Str("name", c.name).Str("session", std::to_string(c.session))
            .Num("mask", c.mask).Bool("events", c.events).Bool("db", c.db).Bool("callOpen", c.callOpen)
            .Bool("eventsOpen", c.eventsOpen).Close('}');
    j.Close(']');
    return j.Close('}').s;
}

std::string EventJson(CSimServer& server, const CSimEvent& e, const std::vector<long>& to, uint64_t seq)
{
    CForecourt& fc = server.Forecourt();
    CJson j;
    j.Open(nullptr, '{').Num("seq", static_cast<long long>(seq)).Str("time", Clock()).Str("call", CallOf(e.kind));
    j.Open("to", '[');
    for (size_t i = 0; i < to.size(); ++i)
        j.s += (i ? "," : "") + std::to_string(to[i]);
    j.Close(']');
    switch (e.kind) {
    case TSimEvent::Pump:
    case TSimEvent::Progress:
        if (CSimPump* p = fc.Pump(e.id)) {
            const CPumpView v = fc.View(*p);
            j.Num("pump", v.number).Num("state", v.state).Str("stateText", Text(v.stateText)).Num("hose", v.hose);
            j.Dec("volume", v.volume).Dec("money", v.money).Num("delivery", v.deliveryId);
            j.Bool("progress", e.kind == TSimEvent::Progress);
        }
        break;
    case TSimEvent::Delivery:
    case TSimEvent::DBLogDelivery:
    case TSimEvent::DBStack:
    case TSimEvent::DBClear:
        if (CSimDelivery* d = fc.Delivery(e.id)) {
            CSimPump* p = fc.Pump(d->pumpId);
            j.Num("delivery", d->ID()).Num("pump", p ? p->GetNumber() : -1).Num("state", d->state);
            j.Dec("volume", d->volume).Dec("money", d->money).Num("lockOwner", d->lockOwner);
        }
        break;
    case TSimEvent::Zero:
        if (CSimPump* p = fc.Pump(e.id))
            j.Num("pump", p->GetNumber());
        break;
    case TSimEvent::DBTankStatus:
        if (CSimTank* t = fc.Tank(e.id))
            j.Num("tank", t->GetNumber()).Dec("volume", t->volume);
        break;
    case TSimEvent::LogEvent:
    case TSimEvent::DBLogEvent:
        if (CSimLogEvent* l = fc.LogEvent(e.id))
            j.Num("logEvent", l->ID()).Num("code", l->code).Num("state", l->state).Str("text", Text(l->text));
        break;
    default:
        j.Num("id", e.id).Num("a", e.a).Num("b", e.b).Str("text", Text(e.text));
        break;
    }
    return j.Close('}').s;
}

}  // namespace sim
