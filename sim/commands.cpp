// The control commands: what a script, a test or an operator at the terminal makes happen
// at the forecourt. Each reply starts with "ok" or "error".
#include <cmath>
#include <cstdlib>
#include <sstream>

#include "sim/served.h"
#include "sim/server.h"

namespace sim {

namespace {

const char kHelp[] =
    "ok commands:\n"
    "  lift <pump> [hose]         lift a nozzle (pump number, hose number on the pump; default 1)\n"
    "  hang <pump>                hang the nozzle up\n"
    "  flow <l/s> | flow <pump> <l/s>   flow rate of every pump, or of one\n"
    "  speed <factor>             simulated seconds per wall second\n"
    "  busy <n>                   answer 54 to the next n logons\n"
    "  drop <client>              close a client's sockets (its session stays)\n"
    "  logoff <client>            end a client's session\n"
    "  tag <pump> <tag>           a tag read at the pump\n"
    "  offline <pump> | online <pump>   the pump stops responding / responds again\n"
    "  error <pump> <code>        a driver error at the pump (0 clears it)\n"
    "  reader <pump> fault|ok     the pump's card reader fails / works again\n"
    "  prompt <pump> <key> <field> <text>   an answer at the pump's terminal\n"
    "  price <grade> <level> <price>        set a grade's price\n"
    "  tank <tank> <litres>       set a tank's volume\n"
    "  alarm <tank> <code> <0|1> <text>     raise or clear a tank alarm\n"
    "  event <id> <text>          a server event to every client\n"
    "  auto on|off                simulated customers\n"
    "  status | clients | deliveries\n"
    "  quit\n";

std::string Fmt(Raw v, int decimals)
{
    char buf[48];
    std::snprintf(buf, sizeof buf, "%.*f", decimals, static_cast<double>(v) / 10000.0);
    return buf;
}

bool Number(const std::string& s, long* out)
{
    if (s.empty())
        return false;
    char* end = nullptr;
    const long v = std::strtol(s.c_str(), &end, 10);
    if (*end)
        return false;
    *out = v;
    return true;
}

bool Decimal(const std::string& s, double* out)
{
    if (s.empty())
        return false;
    char* end = nullptr;
    const double v = std::strtod(s.c_str(), &end);
    if (*end || !std::isfinite(v) || std::fabs(v) > 1e9)
        return false;
    *out = v;
    return true;
}

std::string Rest(std::istringstream& in)
{
    std::string rest;
    std::getline(in, rest);
    const size_t start = rest.find_first_not_of(' ');
    return start == std::string::npos ? "" : rest.substr(start);
}

std::string Result(long r, const std::string& what)
{
    if (r == SR_OK)
        return "ok " + what + "\n";
    return "error " + what + ": result " + std::to_string(r) + "\n";
}

}  // namespace

std::string CSimServer::Command(const std::string& line)
{
    std::istringstream in(line);
    std::string cmd, a, b, c;
    in >> cmd;
    if (cmd.empty() || cmd[0] == '#')
        return "";
    CForecourt& fc = *_forecourt;
    auto pumpArg = [&](const std::string& s) -> CSimPump* {
        long n = 0;
        return Number(s, &n) ? fc.PumpByNumber(n) : nullptr;
    };

    if (cmd == "help")
        return kHelp;
    if (cmd == "quit") {
        _quit = true;
        return "ok bye\n";
    }
    if (cmd == "lift" || cmd == "hang") {
        in >> a >> b;
        CSimPump* p = pumpArg(a);
        if (!p)
            return "error no pump " + a + "\n";
        long hose = 1;
        if (!b.empty() && !Number(b, &hose))
            return "error bad hose " + b + "\n";
        const long r = cmd == "lift" ? fc.Lift(*p, static_cast<short>(hose)) : fc.Hang(*p);
        return Result(r, cmd + " pump " + a + " " + CForecourt::StateText(fc.StateOf(*p)));
    }
    if (cmd == "flow") {
        in >> a >> b;
        double ls = 0;
        if (b.empty()) {
            if (!Decimal(a, &ls) || ls <= 0 || ls > 100)
                return "error flow in litres per second, 0 to 100\n";
            fc.flowMls = std::lround(ls * 1000);
            return "ok flow " + a + "\n";
        }
        CSimPump* p = pumpArg(a);
        if (!p || !Decimal(b, &ls) || ls < 0 || ls > 100)
            return "error flow <pump> <litres per second>\n";
        p->cfg.flow = std::lround(ls * 1000);
        return "ok flow pump " + a + " " + b + "\n";
    }
    if (cmd == "speed") {
        in >> a;
        double f = 0;
        if (!Decimal(a, &f) || f <= 0 || f > 1000)
            return "error speed factor above 0, up to 1000\n";
        _settings.speed = f;
        return "ok speed " + a + "\n";
    }
    if (cmd == "busy") {
        in >> a;
        long n = 0;
        if (!Number(a, &n) || n < 0)
            return "error busy <count>\n";
        busy = n;
        return "ok busy " + a + "\n";
    }
    if (cmd == "drop" || cmd == "logoff") {
        in >> a;
        long n = 0;
        if (!Number(a, &n))
            return "error " + cmd + " <client>\n";
        CSimClient* client = Client(n);
        if (cmd == "drop") {
            if (!CallSocketOf(n) && !EventsSocketOf(n))
                return "error client " + a + " has no open sockets\n";
            DropClient(n);
            return "ok dropped client " + a + "\n";
        }
        if (!client)
            return "error no session of client " + a + "\n";
        EndSession(n, "logged off by the operator");
        return "ok logged off client " + a + "\n";
    }
    if (cmd == "offline" || cmd == "online" || cmd == "error" || cmd == "reader") {
        in >> a >> b;
        CSimPump* p = pumpArg(a);
        long code = 0;
        if (!p || (cmd == "error" && !Number(b, &code)) || (cmd == "reader" && b != "fault" && b != "ok"))
            return "error " + cmd + " <pump>" + (cmd == "error" ? " <code>" : cmd == "reader" ? " fault|ok" : "") + "\n";
        if (cmd == "reader") {
            p->readerFault = b == "fault";
            fc.RaiseLogEvent(LE_DRIVER, p->ID(), 0, p->Name(), CStr(p->readerFault ? "Card reader fault" : "Card reader ok"),
                             p->readerFault ? 2 : 1);
        } else if (cmd == "error") {
            fc.SetFault(*p, static_cast<short>(code));
        } else {
            fc.SetOffline(*p, cmd == "offline");
        }
        return "ok " + cmd + " pump " + a + " " + CForecourt::StateText(fc.StateOf(*p)) + "\n";
    }
    if (cmd == "tag") {
        in >> a >> b;
        CSimPump* p = pumpArg(a);
        long long tag = 0;
        if (!p || b.empty() || (tag = std::strtoll(b.c_str(), nullptr, 10)) <= 0)
            return "error tag <pump> <tag number>\n";
        if (p->readerFault)
            return "error the card reader of pump " + a + " is out of order\n";
        CSimCardRead& r = fc.AddCardRead(p->ID(), 1, tag, CStr(b.c_str()));
        return "ok card read " + std::to_string(r.ID()) + "\n";
    }
    if (cmd == "prompt") {
        in >> a >> b >> c;
        CSimPump* p = pumpArg(a);
        long key = 0, field = 0;
        if (!p || !Number(b, &key) || !Number(c, &field))
            return "error prompt <pump> <key> <field> <text>\n";
        fc.Emit(TSimEvent::TermPrompt, p->ID(), key, field, CStr(Rest(in).c_str()));
        return "ok prompt\n";
    }
    if (cmd == "price") {
        in >> a >> b >> c;
        long grade = 0, level = 0;
        double price = 0;
        CSimGrade* g = Number(a, &grade) ? fc.Grades().List().FindByNumber(grade) : nullptr;
        if (!g || !Number(b, &level) || (level != 1 && level != 2) || !Decimal(c, &price) || price < 0 || price > 10000)
            return "error price <grade> <1|2> <price>\n";
        fc.SetGradePrice(*g, static_cast<short>(level), CCur::FromDouble(price).Value());
        return "ok price grade " + a + " level " + b + " " + c + "\n";
    }
    if (cmd == "tank") {
        in >> a >> b;
        long n = 0;
        double litres = 0;
        CSimTank* t = Number(a, &n) ? fc.Tanks().List().FindByNumber(n) : nullptr;
        if (!t || !Decimal(b, &litres) || litres < 0 || CCur::FromDouble(litres).Value() > t->capacity)
            return "error tank <tank> <litres up to its capacity>\n";
        t->volume = CCur::FromDouble(litres).Value();
        t->reported = false;
        fc.Emit(TSimEvent::DBTankStatus, t->ID());
        return "ok tank " + a + " " + Fmt(t->volume, 2) + "\n";
    }
    if (cmd == "alarm") {
        in >> a >> b >> c;
        long n = 0, code = 0, raised = 0;
        CSimTank* t = Number(a, &n) ? fc.Tanks().List().FindByNumber(n) : nullptr;
        if (!t || !Number(b, &code) || !Number(c, &raised))
            return "error alarm <tank> <code> <0|1> <text>\n";
        fc.Tanks().LogAlarm(t, static_cast<short>(code), static_cast<short>(raised ? 1 : 0), CStr(Rest(in).c_str()));
        return "ok alarm\n";
    }
    if (cmd == "event") {
        in >> a;
        long id = 0;
        if (!Number(a, &id))
            return "error event <id> <text>\n";
        fc.Emit(TSimEvent::Server, -1, id, 0, CStr(Rest(in).c_str()));
        return "ok event " + a + "\n";
    }
    if (cmd == "auto") {
        in >> a;
        if (a != "on" && a != "off")
            return "error auto on|off\n";
        _settings.autoCustomers = a == "on";
        if (!_settings.autoCustomers)
            _customers.clear();
        return "ok auto " + a + "\n";
    }
    if (cmd == "status") {
        std::string out = "ok " + std::to_string(fc.Pumps().GetCount()) + " pumps\n";
        for (CSimPump* p = fc.Pumps().List().First(); p; p = fc.Pumps().List().Next()) {
            CPumpView v = fc.View(*p);
            out += "pump " + std::to_string(v.number) + " " + static_cast<char*>(v.stateText) + " hose " +
                   std::to_string(v.hose) + " delivery " + std::to_string(v.deliveryId) + " volume " +
                   Fmt(v.volume, 2) + " money " + Fmt(v.money, 2) + " reserved " + std::to_string(v.reserveType) +
                   "/" + std::to_string(v.reserveClient) + " unpaid " + std::to_string(v.unpaid) + "\n";
        }
        for (CSimTank* t = fc.Tanks().List().First(); t; t = fc.Tanks().List().Next())
            out += "tank " + std::to_string(t->GetNumber()) + " " + Fmt(t->volume, 2) + " of " +
                   Fmt(t->capacity, 0) + "\n";
        return out;
    }
    if (cmd == "clients") {
        std::string out = "ok " + std::to_string(_clients->GetCount()) + " sessions\n";
        for (CSimClient* s = _clients->List().First(); s; s = _clients->List().Next()) {
            char line[200];
            std::snprintf(line, sizeof line, "client %ld \"%s\" session %llu mask %08lX events %d db %d connected %d\n",
                          s->ID(), static_cast<char*>(s->Name()), s->sessionId, static_cast<unsigned long>(s->mask),
                          s->events ? 1 : 0, s->db ? 1 : 0,
                          CallSocketOf(s->ID()) && EventsSocketOf(s->ID()) ? 1 : 0);
            out += line;
        }
        return out;
    }
    if (cmd == "deliveries") {
        CObjectList<CSimDelivery, CSimDelivery>& list = fc.Deliveries().List();
        std::string out = "ok " + std::to_string(list.Items()) + " deliveries\n";
        for (CSimDelivery* d = list.First(); d; d = list.Next()) {
            CSimPump* p = fc.Pump(d->pumpId);
            out += "delivery " + std::to_string(d->ID()) + " pump " + std::to_string(p ? p->GetNumber() : -1) +
                   " state " + std::to_string(d->state) + " volume " + Fmt(d->volume, 2) + " money " +
                   Fmt(d->money, 2) + " lock " + std::to_string(d->lockOwner) + "\n";
        }
        return out;
    }
    return "error unknown command " + cmd + " (try help)\n";
}

}  // namespace sim
