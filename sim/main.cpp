// kvsim: a forecourt simulator that serves the client library's protocol. See
// docs/simulator.md for the options, the INI keys and the control commands.
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "foundation/ini.h"
#include "sim/served.h"
#include "sim/server.h"
#if KV_SIM_HTTP
#include "sim/http.h"
#endif

namespace {

volatile sig_atomic_t g_stop = 0;

void OnSignal(int) { g_stop = 1; }

const char kUsage[] =
    "usage: kvsim [options]\n"
    "  --ini FILE            forecourt configuration (default sim/forecourt.ini)\n"
    "  --call-port N         call port; 0 picks a free one (default: the INI's, else 0)\n"
    "  --events-port N       events port; 0 picks a free one\n"
    "  --control-port N      control port on 127.0.0.1; 0 picks a free one\n"
    "  --max-clients N       clients logged on at once (default 64)\n"
    "  --auth-timeout MS     simulated ms an authorisation waits for its customer; 0 for ever (default 120000)\n"
    "  --grace MS            how long a session without connections waits for a reconnect (default 30000)\n"
    "  --busy N              answer 54 (busy) to the first N logons\n"
    "  --version TEXT        version string the server reports\n"
    "  --call-timeout MS     how long a write to a client may wait (default 3000)\n"
    "  --flow L              litres per second of every pump (default: the INI's Flow)\n"
    "  --speed F             simulated seconds per wall second (default 1)\n"
    "  --auto                simulated customers arrive at the pumps\n"
    "  --legacy-events       send older pump events (mask 8) and hose totals in their short forms\n"
    "  --seed N              seed of the simulated customers\n"
    "  --workdir DIR         logs and the working copy of the INI (default: a new temporary one)\n"
    "  --keep                keep the temporary working directory at exit\n"
    "  --no-stdin            take no commands from standard input\n"
    "  --http N              serve the web console on port N; 0 picks a free one\n"
    "  --http-bind ADDR      address of the web console (default 127.0.0.1)\n"
    "  --help                this text\n"
    "Once listening, kvsim prints: KVSIM READY call=<port> events=<port> control=<port> pid=<pid>\n"
    "(and http=<port> with --http).\n";

bool ArgLong(const char* text, long* out)
{
    char* end = nullptr;
    const long v = std::strtol(text, &end, 10);
    if (!*text || *end)
        return false;
    *out = v;
    return true;
}

// [Server] values of the INI for what the command line left open.
void FromIni(sim::CSimSettings& s)
{
    CINIFile ini(s.ini.c_str(), "Server", false);
    auto number = [&](const char* key, long& field) {
        CStr v;
        if (field < 0 && ini.GetStr(key, v) > 0)
            field = std::strtol(static_cast<char*>(v), nullptr, 10);
    };
    number("CallPort", s.callPort);
    number("EventsPort", s.eventsPort);
    number("ControlPort", s.controlPort);
    number("MaxClients", s.maxClients);
    number("Busy", s.busy);
    number("CallTimeout", s.callTimeout);
    number("SessionGrace", s.graceMs);
    CStr v;
    if (s.version.empty() && ini.GetStr("Version", v) > 0)
        s.version = static_cast<char*>(v);
    if (s.controlPort < 0)
        s.controlPort = 0;
}

std::string DefaultIni()
{
    if (std::filesystem::exists("sim/forecourt.ini"))
        return "sim/forecourt.ini";
#ifdef KV_SIM_INSTALLED_INI
    // An installed kvsim: the forecourt in the data directory of its own prefix.
    std::error_code ec;
    const auto exe = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (!ec && std::filesystem::exists(exe.parent_path() / KV_SIM_INSTALLED_INI))
        return (exe.parent_path() / KV_SIM_INSTALLED_INI).string();
#endif
    return KV_SIM_DEFAULT_INI;
}

}  // namespace

int main(int argc, char** argv)
{
    sim::CSimSettings s;
    bool keep = false, useStdin = true, temporary = false;
    long httpPort = -1;
    std::string httpBind = "127.0.0.1";
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        const char* v = i + 1 < argc ? argv[i + 1] : nullptr;
        auto need = [&](long* out) {
            if (!v || !ArgLong(v, out)) {
                std::fprintf(stderr, "kvsim: %s needs a number\n", a.c_str());
                std::exit(2);
            }
            ++i;
        };
        double d = 0;
        if (a == "--help" || a == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        } else if (a == "--ini" && v) {
            s.ini = v, ++i;
        } else if (a == "--workdir" && v) {
            s.workDir = v, ++i;
        } else if (a == "--version" && v) {
            s.version = v, ++i;
        } else if (a == "--call-port") {
            need(&s.callPort);
        } else if (a == "--events-port") {
            need(&s.eventsPort);
        } else if (a == "--control-port") {
            need(&s.controlPort);
        } else if (a == "--max-clients") {
            need(&s.maxClients);
        } else if (a == "--auth-timeout") {
            need(&s.authTimeoutMs);
        } else if (a == "--grace") {
            need(&s.graceMs);
        } else if (a == "--busy") {
            need(&s.busy);
        } else if (a == "--call-timeout") {
            need(&s.callTimeout);
        } else if (a == "--seed") {
            long seed = 0;
            need(&seed);
            s.seed = static_cast<unsigned>(seed);
        } else if ((a == "--flow" || a == "--speed") && v && (d = std::strtod(v, nullptr)) > 0 && d <= 1000) {
            if (a == "--flow")
                s.flowMls = static_cast<long>(d * 1000 + 0.5);
            else
                s.speed = d;
            ++i;
        } else if (a == "--auto") {
            s.autoCustomers = true;
        } else if (a == "--legacy-events") {
            s.legacyEvents = true;
        } else if (a == "--keep") {
            keep = true;
        } else if (a == "--no-stdin") {
            useStdin = false;
        } else if (a == "--http") {
            need(&httpPort);
            if (httpPort < 0) {
                std::fprintf(stderr, "kvsim: --http needs a port, 0 for a free one\n");
                return 2;
            }
        } else if (a == "--http-bind" && v) {
            httpBind = v, ++i;
        } else {
            std::fprintf(stderr, "kvsim: bad option %s\n%s", a.c_str(), kUsage);
            return 2;
        }
    }
    if (s.ini.empty())
        s.ini = DefaultIni();
    if (!std::filesystem::exists(s.ini)) {
        std::fprintf(stderr, "kvsim: no forecourt file %s\n", s.ini.c_str());
        return 2;
    }
#if !KV_SIM_HTTP
    if (httpPort >= 0) {
        std::fprintf(stderr, "kvsim: this build has no web console (built without cpp-httplib)\n");
        return 2;
    }
#endif
    for (long port : {s.callPort, s.eventsPort, s.controlPort, httpPort})
        if (port > 65535) {
            std::fprintf(stderr, "kvsim: port %ld out of range\n", port);
            return 2;
        }
    FromIni(s);
    if (s.workDir.empty()) {
        char pattern[] = "/tmp/kvsimXXXXXX";
        if (!mkdtemp(pattern)) {
            std::perror("kvsim: mkdtemp");
            return 1;
        }
        s.workDir = pattern;
        temporary = true;
    } else {
        std::error_code ec;
        std::filesystem::create_directories(s.workDir, ec);
    }

    signal(SIGINT, OnSignal);
    signal(SIGTERM, OnSignal);
    signal(SIGPIPE, SIG_IGN);
    int rc = 0;
    {
        sim::CSimServer server(s, s.workDir + "/kvsim");
        std::string error;
        if (!server.Start(&error)) {
            std::fprintf(stderr, "kvsim: %s\n", error.c_str());
            rc = 1;
        } else {
            server.Control().UseStdin(useStdin);
            std::string ready = server.ReadyLine();
#if KV_SIM_HTTP
            std::unique_ptr<sim::CConsole> console;
            if (httpPort >= 0) {
                console = std::make_unique<sim::CConsole>(server);
                if (!console->Start(httpBind, httpPort, &error)) {
                    std::fprintf(stderr, "kvsim: %s\n", error.c_str());
                    rc = 1;
                    g_stop = 1;
                } else {
                    ready += " http=" + std::to_string(console->Port());
                    std::printf("kvsim: console at http://%s:%d/\n", httpBind.c_str(), console->Port());
                }
            }
#endif
            if (rc == 0) {
                std::printf("kvsim: forecourt %s, %ld pumps, work directory %s\n", s.ini.c_str(),
                            server.Forecourt().Pumps().GetCount(), s.workDir.c_str());
                std::printf("%s\n", ready.c_str());
            }
            std::fflush(stdout);
            while (!g_stop && !server.Quit()) {
                server.Step(10);
#if KV_SIM_HTTP
                if (console)
                    console->Tick();
#endif
            }
#if KV_SIM_HTTP
            if (console)
                console->Stop();
#endif
            server.Shutdown();
            std::printf("kvsim: stopped\n");
        }
    }
    if (temporary && !keep) {
        std::error_code ec;
        std::filesystem::remove_all(s.workDir, ec);
    }
    return rc;
}
