// kvcli: the technician's command line. Asks the forecourt controller what is going on and
// drives pumps, through the public header and the shared library only.
#include <CLI/CLI.hpp>
#include <signal.h>
#include <unistd.h>

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "kvclient.h"

namespace {

// ---- Result codes ------------------------------------------------------------------------------

struct ResultName {
    long code;
    const char* name;
    const char* meaning;
};
const ResultName kResults[] = {
#include "results.inc"
};

std::string Describe(long r)
{
    for (const auto& n : kResults)
        if (n.code == r)
            return std::string(n.meaning) + " (result " + std::to_string(r) + ", " + n.name + ")";
    return "result " + std::to_string(r);
}

// A failed call: the message names what was asked and what the result means.
struct Failure {
    long result;
    std::string what;
};

void Check(long r, const std::string& what)
{
    if (r != 0)
        throw Failure{r, what};
}

// ---- Output -------------------------------------------------------------------------------------

// One value of a record: text, a number (printed as is in JSON) or absent.
struct Cell {
    std::string text;
    bool number = false;
    bool null = false;
};
Cell Text(std::string s) { return {std::move(s), false, false}; }
Cell Num(long long v) { return {std::to_string(v), true, false}; }
Cell Fixed(double v, int decimals)
{
    char b[64];
    std::snprintf(b, sizeof b, "%.*f", decimals, v);
    return {b, true, false};
}
Cell Null() { return {"", false, true}; }
Cell Date(long seconds)
{
    if (seconds <= 0)
        return Null();
    char b[32];
    const time_t t = seconds;
    std::strftime(b, sizeof b, "%Y-%m-%d %H:%M:%S", std::localtime(&t));
    return Text(b);
}

using Record = std::vector<std::pair<std::string, Cell>>;

std::string Json(const std::string& s)
{
    std::string o = "\"";
    for (unsigned char c : s) {
        if (c == '"' || c == '\\') {
            o += '\\';
            o += static_cast<char>(c);
        } else if (c < 0x20) {
            char b[8];
            std::snprintf(b, sizeof b, "\\u%04x", c);
            o += b;
        } else {
            o += static_cast<char>(c);
        }
    }
    return o + "\"";
}

std::string Json(const Record& r)
{
    std::string o = "{";
    for (const auto& [k, v] : r) {
        if (o.size() > 1)
            o += ", ";
        o += Json(k) + ": " + (v.null ? "null" : v.number ? v.text : Json(v.text));
    }
    return o + "}";
}

bool g_json = false;

// A list of records: an aligned table (numbers right-aligned, absent values "-") or a JSON array.
void PrintTable(const std::vector<Record>& rows, const std::vector<std::string>& header = {})
{
    if (g_json) {
        std::printf("[");
        for (size_t i = 0; i < rows.size(); ++i)
            std::printf("%s\n  %s", i ? "," : "", Json(rows[i]).c_str());
        std::printf("%s]\n", rows.empty() ? "" : "\n");
        return;
    }
    std::vector<std::string> heads = header;
    if (heads.empty() && !rows.empty())
        for (const auto& kv : rows[0])
            heads.push_back(kv.first);
    std::vector<size_t> width(heads.size());
    std::vector<bool> right(heads.size(), false);
    for (size_t c = 0; c < heads.size(); ++c)
        width[c] = heads[c].size();
    for (const auto& r : rows)
        for (size_t c = 0; c < r.size() && c < heads.size(); ++c) {
            width[c] = std::max(width[c], r[c].second.null ? 1 : r[c].second.text.size());
            right[c] = right[c] || r[c].second.number;
        }
    auto line = [&](const std::function<std::string(size_t)>& cell) {
        std::string o;
        for (size_t c = 0; c < heads.size(); ++c) {
            std::string s = cell(c);
            std::string pad(width[c] - s.size(), ' ');
            o += (c ? "  " : "") + (right[c] ? pad + s : (c + 1 < heads.size() ? s + pad : s));
        }
        std::printf("%s\n", o.c_str());
    };
    std::vector<std::string> upper = heads;
    for (auto& h : upper)
        for (auto& ch : h)
            ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    line([&](size_t c) { return upper[c]; });
    for (const auto& r : rows)
        line([&](size_t c) { return r[c].second.null ? std::string("-") : r[c].second.text; });
}

// One record: "key  value" lines or one JSON object.
void PrintRecord(const Record& r)
{
    if (g_json) {
        std::printf("%s\n", Json(r).c_str());
        return;
    }
    size_t w = 0;
    for (const auto& kv : r)
        w = std::max(w, kv.first.size());
    for (const auto& [k, v] : r)
        std::printf("%-*s  %s\n", static_cast<int>(w), k.c_str(), v.null ? "-" : v.text.c_str());
}

void Done(const std::string& message)
{
    if (g_json)
        std::printf("%s\n", Json(Record{{"result", Num(0)}, {"message", Text(message)}}).c_str());
    else
        std::printf("%s\n", message.c_str());
}

// ---- Reading the forecourt -----------------------------------------------------------------------

// String outputs fill what the buffer holds: a blank-filled buffer, trimmed afterwards.
struct Buf {
    char b[128];
    Buf()
    {
        std::memset(b, ' ', sizeof b - 1);
        b[sizeof b - 1] = 0;
    }
    operator char*() { return b; }
    std::string str() const
    {
        std::string s(b, strnlen(b, sizeof b));
        s.erase(s.find_last_not_of(' ') + 1);
        return s;
    }
};

// The names kvsim and the server give pump states and reservation kinds; the library itself
// has no texts for them.
std::string PumpState(short state, const std::string& text)
{
    if (!text.empty())
        return text;
    const char* s = PumpStateString(state);
    if (s && *s)
        return s;
    static const char* const kStates[] = {"", "Idle", "Calling", "Authorised", "Delivering",
                                          "Finished", "Stopped", "Disabled", "Reserved"};
    return state > 0 && state < 9 ? kStates[state] : "state " + std::to_string(state);
}

std::string Reservation(short kind, long client)
{
    static const char* const kKinds[] = {"", "prepay", "preauth", "payment"};
    if (kind <= 0)
        return "";
    std::string k = kind < 4 ? kKinds[kind] : "kind " + std::to_string(kind);
    return k + " by client " + std::to_string(client);
}

struct PumpStatus {
    short state = 0, hose = 0, kind = 0, level = 0, error = 0;
    long delivery = 0, client = 0, attendant = 0;
    double volume = 0, money = 0, price = 0;
    std::string text, errorText;
};

// A refused pump command; a reservation names its kind and holder.
void CheckPump(long r, long id, const std::string& what)
{
    if (r == 11 || r == 12) {
        PumpStatus s;
        Buf text, err;
        if (GetPumpStatus(id, &s.state, &s.hose, &s.delivery, &s.client, &s.kind, &s.attendant, text, err, &s.level,
                          &s.volume, &s.money, &s.price, &s.error) == 0 && s.kind > 0)
            throw Failure{r, what + " (reserved: " + Reservation(s.kind, s.client) + ")"};
    }
    Check(r, what);
}

long PumpId(long number)
{
    long id = -1;
    long r = GetPumpByNumber(number, &id);
    if (r == 2 || r == -7)
        throw Failure{r, "pump " + std::to_string(number)};
    Check(r, "looking up pump " + std::to_string(number));
    return id;
}


PumpStatus ReadStatus(long id)
{
    PumpStatus s;
    Buf text, err;
    Check(GetPumpStatus(id, &s.state, &s.hose, &s.delivery, &s.client, &s.kind, &s.attendant, text, err,
                        &s.level, &s.volume, &s.money, &s.price, &s.error),
          "reading the status of pump ID " + std::to_string(id));
    s.text = text.str();
    s.errorText = err.str();
    return s;
}

Record PumpRow(long id)
{
    long number = 0;
    Buf name;
    Check(GetPumpProperties(id, &number, name, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
          "reading pump ID " + std::to_string(id));
    const PumpStatus s = ReadStatus(id);
    const std::string res = Reservation(s.kind, s.client);
    return {{"number", Num(number)},
            {"id", Num(id)},
            {"name", Text(name.str())},
            {"state", Text(PumpState(s.state, s.text))},
            {"hose", s.hose ? Num(s.hose) : Null()},
            {"volume", Fixed(s.volume, 2)},
            {"money", Fixed(s.money, 2)},
            {"price", Fixed(s.price, 3)},
            {"reservation", res.empty() ? Null() : Text(res)}};
}

// Every object of a family, through its count and ordinal look-up.
std::vector<long> Ids(long (*count)(long*), long (*byOrdinal)(long, long*), const char* what)
{
    long n = 0;
    Check(count(&n), std::string("counting ") + what);
    std::vector<long> ids;
    for (long i = 1; i <= n; ++i) {
        long id = -1;
        Check(byOrdinal(i, &id), std::string("listing ") + what);
        ids.push_back(id);
    }
    return ids;
}

std::map<long, long> PumpNumbers()
{
    std::map<long, long> m;
    for (long id : Ids(GetPumpsCount, GetPumpByOrdinal, "pumps")) {
        long number = 0;
        if (GetPumpProperties(id, &number, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                              nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr) == 0)
            m[id] = number;
    }
    return m;
}

Record DeliveryRow(long id, const std::map<long, long>& pumps)
{
    long pump = -1, finished = 0, state = 0, type = 0, lock = 0, attendant = 0;
    short hose = 0, presetKind = 0, level = 0;
    double preset = 0, volume = 0, money = 0, price = 0;
    Check(GetDeliveryProperties(id, &pump, &hose, &presetKind, &preset, &level, &volume, &money, &price, &finished,
                                &state, &type, &lock, &attendant),
          "reading delivery " + std::to_string(id));
    static const char* const kStates[] = {"", "running", "completed", "stacked", "cleared"};
    const auto p = pumps.find(pump);
    return {{"id", Num(id)},
            {"pump", p != pumps.end() ? Num(p->second) : Null()},
            {"hose", Num(hose)},
            {"state", Text(state > 0 && state < 5 ? kStates[state] : std::to_string(state))},
            {"type", Num(type)},
            {"volume", Fixed(volume, 2)},
            {"money", Fixed(money, 2)},
            {"price", Fixed(price, 3)},
            {"finished", Date(finished)},
            {"locked_by", lock ? Num(lock) : Null()}};
}

// ---- Session -----------------------------------------------------------------------------------

struct Connection {
    std::string host = "127.0.0.1";
    int callPort = 0, eventsPort = 0;
    long client = 0;  // 0: 90 for commands, 91 for watch, so a watch survives the commands beside it
    long timeout = 3000;
};

// With ports given, logs on to them; else the library reads KVClient.ini as it always does.
void Logon(const Connection& c, short type)
{
    long r = c.callPort || c.eventsPort
                 ? ClientLogonEx(c.client, type, c.host.c_str(), static_cast<unsigned short>(c.callPort),
                                 static_cast<unsigned short>(c.eventsPort), c.timeout, nullptr, nullptr, 0)
                 : ClientLogon(c.client, type, nullptr, nullptr, 0);
    if (r != 0)
        throw Failure{r, c.callPort ? "logging on to " + c.host + ":" + std::to_string(c.callPort)
                                    : "logging on with the settings of KVClient.ini"};
}

volatile sig_atomic_t g_interrupted = 0;
void OnInterrupt(int) { g_interrupted = 1; }

// ---- watch ------------------------------------------------------------------------------------

void Emit(const Record& r, const std::string& human)
{
    if (g_json)
        std::printf("%s\n", Json(r).c_str());
    else
        std::printf("%s\n", human.c_str());
    std::fflush(stdout);
}

std::string Fmt(const char* f, ...) __attribute__((format(printf, 1, 2)));
std::string Fmt(const char* f, ...)
{
    char b[512];
    va_list a;
    va_start(a, f);
    std::vsnprintf(b, sizeof b, f, a);
    va_end(a);
    return b;
}

// Takes the head of the queue and prints it; false when the queue is empty.
bool TakeEvent()
{
    short type = 0;
    if (GetNextEventType(&type) != 0 || type == 0)
        return false;
    switch (type) {
    case 1: {
        long id = -1, number = 0, delivery = 0, client = 0, attendant = 0;
        short state = 0, hose = 0, kind = 0, level = 0, error = 0;
        double volume = 0, money = 0, price = 0;
        Buf text, err;
        GetNextPumpEvent(&id, &number, &state, &hose, &delivery, &client, &kind, &attendant, text, err, &level, &volume,
                         &money, &price, &error);
        const std::string st = PumpState(state, text.str());
        Emit({{"event", Text("pump")}, {"id", Num(id)}, {"number", Num(number)}, {"state", Text(st)},
              {"hose", Num(hose)}, {"delivery", Num(delivery)}, {"volume", Fixed(volume, 2)},
              {"money", Fixed(money, 2)}},
             Fmt("pump     %2ld  %-11s hose %d  %8.2f l  %8.2f", number, st.c_str(), hose, volume, money));
        return true;
    }
    case 2: {
        long id = -1, pump = -1, pumpNumber = 0, state = 0, type2 = 0, lock = 0, finished = 0;
        short hose = 0;
        double volume = 0, money = 0;
        GetNextDeliveryEvent(&id, &pump, &pumpNumber, nullptr, nullptr, nullptr, nullptr, &hose, nullptr, nullptr,
                             nullptr, &volume, &money, nullptr, &finished, &state, &type2, &lock, nullptr);
        static const char* const kStates[] = {"", "running", "completed", "stacked", "cleared"};
        const std::string st = state > 0 && state < 5 ? kStates[state] : std::to_string(state);
        Emit({{"event", Text("delivery")}, {"id", Num(id)}, {"pump", Num(pumpNumber)}, {"hose", Num(hose)},
              {"state", Text(st)}, {"volume", Fixed(volume, 2)}, {"money", Fixed(money, 2)},
              {"locked_by", lock ? Num(lock) : Null()}},
             Fmt("delivery %ld  pump %ld hose %d  %-9s %8.2f l  %8.2f%s", id, pumpNumber, hose, st.c_str(), volume,
                 money, lock ? Fmt("  locked by client %ld", lock).c_str() : ""));
        return true;
    }
    case 3:
    case 4: {
        long client = 0, id = -1;
        Buf text;
        if (type == 3)
            GetNextServerEvent(&id, text);
        else
            GetNextClientEvent(&client, &id, text);
        const char* kind = type == 3 ? "server" : "client";
        Record r{{"event", Text(kind)}, {"id", Num(id)}, {"text", Text(text.str())}};
        if (type == 4)
            r.insert(r.begin() + 1, {"client", Num(client)});
        Emit(r, Fmt("%-8s %ld  %s", kind, id, text.str().c_str()));
        return true;
    }
    case 13: {
        long id = -1, grade = -1, number = 0;
        double level = 0, water = 0, temp = 0, gross = 0, waterVol = 0, ullage = 0, net = 0;
        Buf gradeName, name;
        GetNextDBTankStatusEventEx(&id, &level, &water, &temp, &gross, &waterVol, &ullage, &net, &grade, gradeName,
                                   &number, name, nullptr, nullptr, nullptr, nullptr, nullptr);
        Emit({{"event", Text("tank")}, {"id", Num(id)}, {"number", Num(number)}, {"volume", Fixed(gross, 2)},
              {"level", Fixed(level, 1)}, {"ullage", Fixed(ullage, 2)}},
             Fmt("tank     %2ld  %-16s %10.2f l  level %.1f", number, name.str().c_str(), gross, level));
        return true;
    }
    case 22: {
        long id = -1, pump = -1, client = -1, pumpNumber = 0, when = 0;
        short reader = 0;
        long long tag = 0;
        Buf card;
        GetNextCardReadEvent(&id, &pump, card, &client, &reader, &pumpNumber, &tag, &when);
        Emit({{"event", Text("card")}, {"id", Num(id)}, {"pump", Num(pumpNumber)}, {"card", Text(card.str())},
              {"card_client", Num(client)}, {"tag", Num(tag)}},
             Fmt("card     %ld  pump %ld  %s  tag %lld", id, pumpNumber, card.str().c_str(), tag));
        return true;
    }
    case 17: {
        long pump = -1, pumpNumber = 0, hose = -1, delivery = -1;
        GetNextZeroDeliveryEvent(&pump, &pumpNumber, &hose, &delivery);
        Emit({{"event", Text("zero-delivery")}, {"pump", Num(pumpNumber)}, {"delivery", Num(delivery)}},
             Fmt("delivery %ld  pump %ld  nothing delivered", delivery, pumpNumber));
        return true;
    }
    default: {
        static const std::map<short, const char*> kNames = {
            {5, "log"}, {6, "delivery-logged"}, {7, "delivery-cleared"}, {8, "delivery-stacked"},
            {9, "hose-totals"}, {10, "trigger"}, {11, "attendant-logon"}, {12, "attendant-logoff"},
            {19, "zigbee-pan"}, {23, "zigbee-status"}, {24, "log-event"}, {25, "sale-item"},
            {26, "odometer"}, {27, "terminal-prompt"}};
        const auto n = kNames.find(type);
        const std::string name = n != kNames.end() ? n->second : "type " + std::to_string(type);
        DiscardNextEvent();
        Emit({{"event", Text(name)}, {"type", Num(type)}}, Fmt("%-8s (type %d)", name.c_str(), type));
    }
        return true;
    }
}

// Follows the events until Ctrl-C (or SIGTERM), then logs off.
int Watch(double seconds)
{
    struct sigaction sa {};
    sa.sa_handler = OnInterrupt;
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
    const time_t end = seconds > 0 ? time(nullptr) + static_cast<time_t>(std::ceil(seconds)) : 0;
    if (!g_json)
        std::printf("watching the forecourt; Ctrl-C ends\n");
    std::fflush(stdout);
    while (!g_interrupted && (!end || time(nullptr) < end)) {
        long r = ProcessEvents();
        if (r != 0)
            r = TestConnection();  // reconnects under the same session when it can
        if (r != 0)
            throw Failure{r, "reading events"};
        while (!g_interrupted && TakeEvent()) {
        }
        usleep(50000);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app{"kvcli: ask the forecourt controller what is going on, and drive its pumps.\n"
                 "Without --call-port and --events-port the connection is read from KVClient.ini."};
    app.set_help_all_flag("--help-all", "Help of every command");
    app.require_subcommand(1);
    app.fallthrough();
    Connection conn;
    app.add_option("--host", conn.host, "Server host name or address")->capture_default_str();
    app.add_option("--call-port", conn.callPort, "Call port")->check(CLI::Range(1, 65535));
    app.add_option("--events-port", conn.eventsPort, "Events port")->check(CLI::Range(1, 65535));
    app.add_option("--client", conn.client, "Client number to log on as (default 90, watch 91)");
    app.add_option("--timeout", conn.timeout, "Call time-out in ms")->capture_default_str();
    app.add_flag("--json", g_json, "JSON output (JSON lines for watch)");

    std::function<int()> run;
    auto command = [&](const char* name, const char* help, std::function<int()> f) {
        CLI::App* c = app.add_subcommand(name, help);
        c->callback([&run, f] { run = f; });
        return c;
    };

    command("pumps", "Every pump: number, ID, state, hose, volume, money, reservation", [] {
        std::vector<Record> rows;
        for (long id : Ids(GetPumpsCount, GetPumpByOrdinal, "pumps"))
            rows.push_back(PumpRow(id));
        PrintTable(rows);
        return 0;
    });

    long pump = 0;
    command("status", "Everything about one pump", [&] {
        const long id = PumpId(pump);
        Record r = PumpRow(id);
        const PumpStatus s = ReadStatus(id);
        r.push_back({"delivery", s.delivery > 0 ? Num(s.delivery) : Null()});
        r.push_back({"price_level", Num(s.level)});
        r.push_back({"attendant", s.attendant > 0 ? Num(s.attendant) : Null()});
        r.push_back({"error", s.error ? Text(std::to_string(s.error) + " " + s.errorText) : Null()});
        PrintRecord(r);
        return 0;
    })->add_option("PUMP", pump, "Pump number")->required();

    std::optional<double> money, volume;
    CLI::App* auth = command("authorise", "Authorise a pump, optionally with a money or volume preset", [&] {
        const long id = PumpId(pump);
        if (money)
            CheckPump(LoadPreset(id, 1, *money, 0, 0), id, "presetting pump " + std::to_string(pump));
        else if (volume)
            CheckPump(LoadPreset(id, 2, *volume, 0, 0), id, "presetting pump " + std::to_string(pump));
        else
            CheckPump(Authorise(id), id, "authorising pump " + std::to_string(pump));
        Done("pump " + std::to_string(pump) + " authorised" +
             (money ? Fmt(" for %.2f", *money) : volume ? Fmt(" for %.2f l", *volume) : ""));
        return 0;
    });
    auth->add_option("PUMP", pump, "Pump number")->required();
    CLI::Option* mo = auth->add_option("--money", money, "Money preset")->check(CLI::PositiveNumber);
    auth->add_option("--volume", volume, "Volume preset")->check(CLI::PositiveNumber)->excludes(mo);

    bool terminate = false;
    CLI::App* stop = command("stop", "Stop a pump for the moment (see resume); --terminate ends the delivery", [&] {
        const long id = PumpId(pump);
        if (terminate)
            CheckPump(TerminateDelivery(id), id, "ending the delivery of pump " + std::to_string(pump));
        else
            CheckPump(TempStop(id), id, "stopping pump " + std::to_string(pump));
        Done("pump " + std::to_string(pump) + (terminate ? " delivery ended" : " stopped"));
        return 0;
    });
    stop->add_option("PUMP", pump, "Pump number")->required();
    stop->add_flag("--terminate", terminate, "End the current delivery instead");

    command("resume", "Let a stopped pump go on", [&] {
        CheckPump(ReAuthorise(PumpId(pump)), PumpId(pump), "resuming pump " + std::to_string(pump));
        Done("pump " + std::to_string(pump) + " resumed");
        return 0;
    })->add_option("PUMP", pump, "Pump number")->required();

    std::optional<long> onPump;
    bool notLogged = false;
    CLI::App* dels = command("deliveries", "Deliveries not cleared (or not yet logged to a database)", [&] {
        const auto pumps = PumpNumbers();
        const auto ids = notLogged ? Ids(GetDeliveriesCountNotLogged, GetDeliveryIDByOrdinalNotLogged, "deliveries")
                                   : Ids(GetDeliveriesCount, GetDeliveryByOrdinal, "deliveries");
        if (onPump)
            PumpId(*onPump);  // an unknown pump is an error, not an empty list
        std::vector<Record> rows;
        for (long id : ids) {
            Record r = DeliveryRow(id, pumps);
            if (!onPump || r[1].second.text == std::to_string(*onPump))
                rows.push_back(std::move(r));
        }
        PrintTable(rows, {"id", "pump", "hose", "state", "type", "volume", "money", "price", "finished", "locked_by"});
        return 0;
    });
    dels->add_option("--pump", onPump, "Only this pump's (pump number)");
    dels->add_flag("--not-logged", notLogged, "Deliveries not acknowledged as logged to a database");

    long delivery = 0;
    command("lock", "Lock a delivery for this client", [&] {
        Check(LockDelivery(delivery), "locking delivery " + std::to_string(delivery));
        Done("delivery " + std::to_string(delivery) + " locked by client " + std::to_string(conn.client));
        return 0;
    })->add_option("ID", delivery, "Delivery ID")->required();

    short clearType = 1;
    CLI::App* clear = command("clear", "Clear (settle) a delivery", [&] {
        Check(ClearDelivery(delivery, clearType), "clearing delivery " + std::to_string(delivery));
        Done("delivery " + std::to_string(delivery) + " cleared");
        return 0;
    });
    clear->add_option("ID", delivery, "Delivery ID")->required();
    clear->add_option("--type", clearType, "Clear type: 0 other, 1 cash, 2 card, 3 account, 4 drive-off, 5 pump test")
        ->capture_default_str();

    auto grades = [] {
        std::vector<Record> rows;
        for (long id : Ids(GetGradesCount, GetGradeByOrdinal, "grades")) {
            long number = 0;
            double p1 = 0, p2 = 0;
            Buf name, shortName;
            Check(GetGradeProperties(id, &number, name, shortName, nullptr, &p1, &p2),
                  "reading grade ID " + std::to_string(id));
            rows.push_back({{"number", Num(number)}, {"id", Num(id)}, {"name", Text(name.str())},
                            {"short", Text(shortName.str())}, {"price1", Fixed(p1, 3)}, {"price2", Fixed(p2, 3)}});
        }
        PrintTable(rows);
        return 0;
    };
    command("grades", "Grades with their prices at levels 1 and 2", grades);
    command("prices", "Same as grades", grades);

    command("tanks", "Tanks with their last reading", [] {
        std::vector<Record> rows;
        for (long id : Ids(GetTanksCount, GetTankByOrdinal, "tanks")) {
            long number = 0, grade = -1;
            double capacity = 0, level = 0, water = 0, temp = 0, gross = 0, ullage = 0;
            Buf name, gradeName;
            Check(GetTankProperties(id, &number, name, &grade, &capacity, nullptr, nullptr, nullptr),
                  "reading tank ID " + std::to_string(id));
            Check(GetTankStatus(id, &level, &water, &temp, &gross, nullptr, &ullage, nullptr, nullptr, nullptr,
                                nullptr),
                  "reading the status of tank ID " + std::to_string(id));
            GetGradeProperties(grade, nullptr, gradeName, nullptr, nullptr, nullptr, nullptr);
            rows.push_back({{"number", Num(number)}, {"id", Num(id)}, {"name", Text(name.str())},
                            {"grade", Text(gradeName.str())}, {"capacity", Fixed(capacity, 0)},
                            {"volume", Fixed(gross, 2)}, {"ullage", Fixed(ullage, 2)}, {"level", Fixed(level, 1)},
                            {"water", Fixed(water, 1)}, {"temperature", Fixed(temp, 1)}});
        }
        PrintTable(rows);
        return 0;
    });

    long grade = 0;
    short level = 1;
    double price = 0;
    CLI::App* sp = command("set-price", "Set a grade's unit price at price level 1 or 2", [&] {
        long id = -1;
        const long r = GetGradeByNumber(grade, &id);
        if (r != 0)
            throw Failure{r, "grade " + std::to_string(grade)};
        Check(SetGradePrice(id, level, price), "setting the price of grade " + std::to_string(grade));
        Done(Fmt("grade %ld price level %d set to %.3f", grade, level, price));
        return 0;
    });
    sp->add_option("GRADE", grade, "Grade number")->required();
    sp->add_option("LEVEL", level, "Price level")->required()->check(CLI::Range(1, 2));
    sp->add_option("PRICE", price, "Unit price")->required()->check(CLI::NonNegativeNumber);

    command("clients", "Clients logged on to the server", [&] {
        long count = 0;
        Check(GetClientsCount(&count), "counting the clients");
        PrintRecord({{"clients", Num(count)}, {"this_client", Num(conn.client)}});
        return 0;
    });

    command("version", "Versions of the library and of the server", [] {
        Buf lib, server;
        DllVersion(lib);
        Check(ServerVersion(server), "reading the server's version");
        PrintRecord({{"library", Text(lib.str())}, {"server", Text(server.str())}});
        return 0;
    });

    double watchSeconds = 0;
    CLI::App* w = command("watch", "Follow pump, delivery, tank, card and server events until Ctrl-C",
                          [&] { return Watch(watchSeconds); });
    w->add_option("--seconds", watchSeconds, "Stop after this many seconds (default: until interrupted)");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int code = app.exit(e);
        return code == 0 ? 0 : 2;
    }

    int status = 0;
    try {
        if (conn.client == 0)
            conn.client = w->parsed() ? 91 : 90;
        Logon(conn, w->parsed() ? 7 : 1);  // calls; watch adds events and database events
        try {
            status = run();
        } catch (...) {
            ClientLogoff();
            throw;
        }
        ClientLogoff();
    } catch (const Failure& f) {
        std::fflush(stdout);
        std::fprintf(stderr, "kvcli: %s: %s\n", f.what.c_str(), Describe(f.result).c_str());
        return 1;
    }
    return status;
}
