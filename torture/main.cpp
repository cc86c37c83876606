// kvtorture: the library against kvsim under injected faults. Every scenario runs in a
// child process of its own, so a crash, a sanitizer report, a leak or a hang is counted and
// the run goes on. Usage: kvtorture --kvsim PATH [--slice] [--seconds N] [--seed N]
#include <arpa/inet.h>
#include <netinet/in.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "kvclient.h"
#include "torture/faults.h"
#include "torture/proxy.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
extern "C" const char* __asan_default_options() { return "exitcode=86:detect_leaks=1"; }
extern "C" const char* __ubsan_default_options() { return "exitcode=86:print_stacktrace=1"; }
#endif

namespace {

using namespace torture;
using Clock = std::chrono::steady_clock;

constexpr long kCallTimeout = 1000;
// One wait of a call: the whole time-out, then a reply that stalls through every pause.
constexpr long kWait = kCallTimeout + 1100;
// A call: three tries, two reconnects (each up to five tries and a logoff), and a ping of
// three 3-second waits for TestConnection.
constexpr long kCallBound = 3 * kWait + 2 * (6 * kWait + 250) + 9000;
constexpr long kLogonBound = 10 * kWait;

long Ms(Clock::time_point since) {
    return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - since).count());
}

struct Counts {
    long faults, crashes, hangs, leaks, malformed, bad, stuck, calls, sales;
    Counts& operator+=(const Counts& o) {
        long* to = &faults;
        const long* from = &o.faults;
        for (size_t i = 0; i < sizeof(Counts) / sizeof(long); ++i) to[i] += from[i];
        return *this;
    }
};

// What one child saw; lives in memory shared with the parent.
struct Report : Counts {
    char fault[64];   // the injected system-call fault
    char note[160];   // the first thing that went wrong
};

void Note(Report& r, const char* fmt, const char* a, long b) {
    if (!r.note[0]) std::snprintf(r.note, sizeof r.note, fmt, a, b);
}

// A result the library may give: the frame's codes (-16 passes the mapping unchanged) and
// those kvsim answers with. A logon or logoff returns its step's code unmapped, so any
// transport code; the calls that start with the management check return its read results
// unmapped.
bool KnownResult(const char* name, long r) {
    static const long known[] = {0, 8, -7, -14, -16, -19, -22, -23, 56, 1, 2, 3, 54, 55, 60};
    for (long k : known)
        if (r == k) return true;
    if (std::strncmp(name, "ClientLog", 9) == 0) return (r >= -19 && r <= -1 && r != -12) || r == -24;
    for (const char* checks : {"ProcessEvents", "TestConnection", "CheckForManagementFtn"})
        if (std::strcmp(name, checks) == 0 && r == -15) return true;
    return r >= 10 && r <= 19;
}

// Runs one exported call, checking its result and how long it took.
struct Checked {
    Report& rep;
    long Call(const char* name, long bound, const std::function<long()>& f) {
        const auto start = Clock::now();
        const long r = f();
        const long took = Ms(start);
        ++rep.calls;
        if (!KnownResult(name, r)) {
            ++rep.bad;
            Note(rep, "%s returned %ld", name, r);
        }
        if (took > bound) {
            ++rep.hangs;
            Note(rep, "%s took %ld ms", name, took);
        }
        return r;
    }
};

// ---------------------------------------------------------------- kvsim and its control line

struct Sim {
    pid_t pid = -1;
    unsigned short call = 0, events = 0, control = 0;
};

std::string Command(unsigned short port, const std::string& line, int lines = 1) {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    a.sin_port = htons(port);
    std::string out;
    if (connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0) {
        timeval tv{5, 0};
        setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
        std::string l = line + "\n";
        send(fd, l.data(), l.size(), MSG_NOSIGNAL);
        char buf[4096];
        for (ssize_t n; (n = recv(fd, buf, sizeof buf, 0)) > 0;) {
            out.append(buf, static_cast<size_t>(n));
            if (lines < 0 && out.find('\n') != std::string::npos) lines = 1 + std::atoi(out.c_str() + 3);
            if (std::count(out.begin(), out.end(), '\n') >= std::max(lines, 1)) break;
        }
    }
    close(fd);
    return out;
}

bool StartSim(const std::string& path, const std::filesystem::path& dir, Sim* sim) {
    const std::string out = (dir / "kvsim.out").string();
    std::filesystem::create_directories(dir / "kvsim");
    sim->pid = fork();
    if (sim->pid == 0) {
        FILE* f = std::freopen(out.c_str(), "w", stdout);
        (void)f;
        execl(path.c_str(), path.c_str(), "--no-stdin", "--max-clients", "64", "--speed", "10", "--workdir",
              (dir / "kvsim").c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    for (int i = 0; i < 200; ++i) {
        std::ifstream in(out);
        std::string word;
        while (in >> word) {
            if (word.rfind("call=", 0) == 0) sim->call = static_cast<unsigned short>(std::atoi(word.c_str() + 5));
            if (word.rfind("events=", 0) == 0) sim->events = static_cast<unsigned short>(std::atoi(word.c_str() + 7));
            if (word.rfind("control=", 0) == 0)
                sim->control = static_cast<unsigned short>(std::atoi(word.c_str() + 8));
        }
        if (sim->control) return true;
        usleep(50000);
    }
    return false;
}

// ---------------------------------------------------------------- children

struct Totals : Counts {
    Totals() : Counts{} {}
    long runs = 0, doubleClears = 0, unclearedLeft = 0, recordsWrong = 0;
};

// Children at work, each with its report in memory shared with the parent.
struct Brood {
    std::vector<pid_t> pids;
    Report* reps;
};

Brood Spawn(int n, const std::function<void(int, Report&)>& fn) {
    Brood b{{}, static_cast<Report*>(mmap(nullptr, sizeof(Report) * n, PROT_READ | PROT_WRITE,
                                          MAP_SHARED | MAP_ANONYMOUS, -1, 0))};
    std::memset(b.reps, 0, sizeof(Report) * n);
    for (int i = 0; i < n; ++i) {
        std::fflush(stdout);
        pid_t p = fork();
        if (p == 0) {
            fn(i, b.reps[i]);
#if defined(__SANITIZE_ADDRESS__)
            if (__lsan_do_recoverable_leak_check()) {
                b.reps[i].leaks = 1;
                Note(b.reps[i], "%sleak report above%ld", "", 0);
            }
#endif
            std::fflush(stdout);
            _exit(0);
        }
        b.pids.push_back(p);
    }
    return b;
}

// Waits for the children, for `limitMs` at most; one still running then is killed as hung.
void Collect(Brood& b, long limitMs, Totals& t) {
    const auto start = Clock::now();
    for (size_t i = 0; i < b.pids.size(); ++i) {
        int status = 0;
        while (waitpid(b.pids[i], &status, WNOHANG) == 0) {
            if (Ms(start) > limitMs) {
                kill(b.pids[i], SIGKILL);
                waitpid(b.pids[i], &status, 0);
                ++t.hangs;
                std::printf("torture: child %zu killed after %ld ms\n", i, Ms(start));
                status = 0;
                break;
            }
            usleep(20000);
        }
        const Report& r = b.reps[i];
        if (WIFSIGNALED(status) || (WIFEXITED(status) && WEXITSTATUS(status) != 0)) {
            ++t.crashes;
            std::printf("torture: child %zu ended with %s %d (%s)\n", i, WIFSIGNALED(status) ? "signal" : "status",
                        WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status), r.note);
        }
        t += r;
        ++t.runs;
        if (r.bad || r.hangs || r.stuck || r.leaks || r.malformed)
            std::printf("torture: child %zu%s%s: %s\n", i, r.fault[0] ? ", " : "", r.fault, r.note);
    }
    munmap(b.reps, sizeof(Report) * b.pids.size());
}

// Runs fn in n children at once; each has `seconds` (plus the call bound) to finish.
void Children(int n, long seconds, Totals& t, const std::function<void(int, Report&)>& fn,
              const std::function<void()>& whileWaiting = {}) {
    Brood b = Spawn(n, fn);
    if (whileWaiting) whileWaiting();
    Collect(b, seconds * 1000 + kCallBound + kLogonBound, t);
}

// After the faults: the session answers, or a new logon does. Logs it off.
void Recover(Checked& c, CKVCLProcess*& s, long id, unsigned short call, unsigned short events) {
    long n = 0;
    if (s && c.Call("TestConnection", kCallBound, [&] { return TestConnectionMT(s); }) == 0 &&
        c.Call("GetPumpsCount", kCallBound, [&] { return GetPumpsCountMT(s, &n); }) == 0 && n > 0) {
        ClientLogoffMT(&s);
        return;
    }
    ClientLogoffMT(&s);
    long r = c.Call("ClientLogonEx", kLogonBound, [&] {
        return ClientLogonExMT(&s, id, 7, "127.0.0.1", call, events, kCallTimeout, nullptr, nullptr, 0);
    });
    if (r != 0 || GetPumpsCountMT(s, &n) != 0 || n <= 0) {
        ++c.rep.stuck;
        Note(c.rep, "%s after the faults: %ld", "no working logon", r);
    }
    ClientLogoffMT(&s);
}

// ---------------------------------------------------------------- system-call faults

// Runs body with a child's own clean, checking line to kvsim.
void OverProxy(const Sim& sim, Report& rep, const std::function<void(Proxy&, Checked&)>& body) {
    Proxy proxy(sim.call, sim.events, 1);
    if (!proxy.Bind()) return Note(rep, "%s %ld", "no proxy", 0);
    proxy.Start();
    Checked c{rep};
    body(proxy, c);
    proxy.Stop();
    rep.malformed = proxy.malformed;
    if (rep.malformed) Note(rep, "malformed request: %s%ld", proxy.FirstMalformed().c_str(), 0);
}

// Logon, calls of every shape, events, a reconnect, logoff; with every call of the library
// on this thread counted, and the planned one failing.
void ScriptedSession(const Sim& sim, long at, unsigned way, Proxy& proxy, Checked& c) {
    Report& rep = c.rep;
    const long id = 40;
    CKVCLProcess* s = nullptr;
    long n = 0, pump = -1;
    short st = 0;
    char text[31];
    Plan(at, way);
    Arm(true);
    c.Call("ClientLogonEx", kLogonBound, [&] {
        return ClientLogonExMT(&s, id, 7, "127.0.0.1", proxy.CallPort(), proxy.EventsPort(), kCallTimeout, nullptr,
                               nullptr, 0);
    });
    c.Call("GetPumpsCount", kCallBound, [&] { return GetPumpsCountMT(s, &n); });
    c.Call("GetPumpByNumber", kCallBound, [&] { return GetPumpByNumberMT(s, 1, &pump); });
    c.Call("GetPumpStatus", kCallBound, [&] {
        short hose, rt, level, err;
        long del, rc, att;
        double v, m, p;
        return GetPumpStatusMT(s, pump, &st, &hose, &del, &rc, &rt, &att, nullptr, nullptr, &level, &v, &m, &p, &err);
    });
    std::memset(text, ' ', 30);
    text[30] = 0;
    c.Call("ServerVersion", kCallBound, [&] { return ServerVersionMT(s, text); });
    Arm(false);
    Command(sim.control, "event 1 torture");
    usleep(50000);
    Arm(true);
    c.Call("ProcessEvents", kCallBound, [&] { return ProcessEventsMT(s); });
    c.Call("GetEventsCount", kCallBound, [&] { return GetEventsCountMT(s, &n); });
    c.Call("GetNextEventType", kCallBound, [&] { return GetNextEventTypeMT(s, &st); });
    c.Call("DiscardNextEvent", kCallBound, [&] { return DiscardNextEventMT(s); });
    Arm(false);
    Command(sim.control, "drop " + std::to_string(id));
    usleep(50000);
    Arm(true);
    c.Call("TestConnection", kCallBound, [&] { return TestConnectionMT(s); });
    c.Call("GetPumpsCount", kCallBound, [&] { return GetPumpsCountMT(s, &n); });
    c.Call("CheckForManagementFtn", kCallBound, [&] { return CheckForManagementFtnMT(&s); });
    c.Call("ClientLogoff", kCallBound, [&] { return ClientLogoffMT(&s); });
    Arm(false);
    if (const char* what = Injected()) {
        rep.faults = 1;
        std::snprintf(rep.fault, sizeof rep.fault, "%s at call %ld", what, at);
    }
    if (at == 0) rep.sales = Counted();   // the count run hands its count back here
    Recover(c, s, id, proxy.CallPort(), proxy.EventsPort());
}

void Add(Totals& t, const Totals& o) {
    t += o;
    t.runs += o.runs;
}

// Counts the scripted session's calls, then runs it once per call with that call failing
// (every stride-th call, in `ways` passes that cycle through each call's ways of failing).
void Syscalls(const Sim& sim, Totals& t, long stride, unsigned ways) {
    Totals count;
    Children(1, 60, count, [&](int, Report& r) {
        OverProxy(sim, r, [&](Proxy& p, Checked& c) { ScriptedSession(sim, 0, 0, p, c); });
    });
    const long total = count.sales;
    count.sales = 0;
    Add(t, count);
    std::printf("torture: the scripted session makes %ld wrapped calls\n", total);
    for (unsigned w = 0; w < ways; ++w)
        for (long at = 1 + w % stride; at <= total; at += stride) {
            Totals one;
            Children(1, 60, one, [&](int, Report& r) {
                OverProxy(sim, r, [&](Proxy& p, Checked& c) { ScriptedSession(sim, at, static_cast<unsigned>(at) + w, p, c); });
            });
            Add(t, one);
        }
}

// ---------------------------------------------------------------- signal storm

void OnSignal(int) {}

// For `ms` calls to kvsim, then for `ms` calls to a peer that reads and never answers, while
// this thread gets a signal every `periodUs`. A call may fail (an interrupted wait is a
// failed one), but must end within one try, one reconnect whose call goes unanswered and
// one logoff; after a failure the POS logs on again, under the signals too.
void Storm(long periodUs, long ms, Proxy& proxy, Checked& c) {
    Report& rep = c.rep;
    struct sigaction sa {};
    sa.sa_handler = OnSignal;   // no SA_RESTART: system calls see EINTR
    sigaction(SIGUSR1, &sa, nullptr);
    const long id = 41;
    CKVCLProcess* s = nullptr;
    auto logon = [&] {
        ClientLogoffMT(&s);
        return c.Call("ClientLogonEx", kLogonBound, [&] {
            return ClientLogonExMT(&s, id, 7, "127.0.0.1", proxy.CallPort(), proxy.EventsPort(), kCallTimeout,
                                   nullptr, nullptr, 0);
        });
    };
    if (logon() != 0) return Note(rep, "%s %ld", "logon before the storm failed", 0);
    std::atomic<bool> stop{false};
    const pthread_t target = pthread_self();
    std::thread storm([&] {
        while (!stop) {
            pthread_kill(target, SIGUSR1);
            ++rep.faults;
            usleep(static_cast<useconds_t>(periodUs));
        }
    });
    for (bool silent : {false, true}) {
        proxy.SetSilent(silent);
        for (const auto start = Clock::now(); Ms(start) < ms;) {
            long n = 0;
            if (c.Call("GetPumpsCount", 3 * kCallTimeout + 250 + 1000, [&] { return GetPumpsCountMT(s, &n); }) != 0)
                logon();
            else
                ++rep.sales;   // calls that succeeded under the signals
        }
    }
    proxy.SetSilent(false);
    stop = true;
    storm.join();
    Recover(c, s, id, proxy.CallPort(), proxy.EventsPort());
}

// ---------------------------------------------------------------- sales under faults

constexpr int kObservers = 2;

struct Shared {
    std::atomic<int> cleared[1 << 16];   // successful clears per delivery ID
    // Database records seen by the observers, per delivery ID: log delivery and clear.
    std::atomic<int> logged[kObservers][1 << 16];
    std::atomic<int> clearRecords[kObservers][1 << 16];
    std::atomic<bool> broken[kObservers];   // lost its connection at some point
    std::atomic<bool> stop;
};

// A back-office client on a clean line for the whole of the sales: counts the database
// records of each delivery that reach its queue.
void Observer(const Sim& sim, int i, Shared* shared, Report& rep) {
    CKVCLProcess* s = nullptr;
    if (ClientLogonExMT(&s, 90 + i, 7, "127.0.0.1", sim.call, sim.events, kCallTimeout, nullptr, nullptr, 0) != 0) {
        shared->broken[i] = true;
        return Note(rep, "%s %ld", "observer logon failed", 0);
    }
    while (!shared->stop) {
        if (ProcessEventsMT(s) != 0) shared->broken[i] = true;
        for (short type = 0; GetNextEventTypeMT(s, &type) == 0 && type != 0;) {
            long id = 0, l[4];
            short h[3];
            double d[4];
            if (type == 6 && GetNextDBLogDeliveryEventMT(s, &id, l, h, h + 1, d, h + 2, d + 1, d + 2, d + 3, l + 1,
                                                         l + 2, l + 3) == 0)
                ++shared->logged[i][id & 0xFFFF];
            else if (type == 7 && GetNextDBClearDeliveryEventMT(s, &id, h, l, l + 1, l + 2) == 0)
                ++shared->clearRecords[i][id & 0xFFFF];
            else if (type != 6 && type != 7)
                DiscardNextEventMT(s);
        }
        usleep(10000);
    }
    ClientLogoffMT(&s);
}

// One POS: whole sales on pump `pump` (one customer at a time per pump: the pumps'
// owners are the sessions whose index has that pump), clears, and events, until the deadline.
void Pos(const Sim& sim, unsigned short callPort, unsigned short eventsPort, int index, int sessions, long seconds,
         uint32_t seed, Shared* shared, Report& rep) {
    Checked c{rep};
    const long id = 100 + index;
    const long pumpNo = 1 + index % 8;
    const bool seller = index < 8 || sessions <= 8;
    std::mt19937 rng(seed + index);
    CKVCLProcess* s = nullptr;
    const auto start = Clock::now();
    auto logon = [&] {
        ClientLogoffMT(&s);
        return c.Call("ClientLogonEx", kLogonBound, [&] {
            return ClientLogonExMT(&s, id, 7, "127.0.0.1", callPort, eventsPort, kCallTimeout, nullptr, nullptr, 0);
        });
    };
    // A connection result sends the POS through TestConnection, then a new logon.
    auto call = [&](const char* name, const std::function<long()>& f) {
        long r = c.Call(name, kCallBound, f);
        if (r == -14 || r == 8) {
            if (c.Call("TestConnection", kCallBound, [&] { return TestConnectionMT(s); }) != 0) logon();
        }
        return r;
    };
    logon();
    long pump = -1, lastDelivery = 0;
    while (Ms(start) < seconds * 1000) {
        if (!s && logon() != 0) {
            usleep(100000);
            continue;
        }
        call("ProcessEvents", [&] { return ProcessEventsMT(s); });
        for (int i = 0; i < 50; ++i) {
            short t = 0;
            if (GetNextEventTypeMT(s, &t) != 0 || t == 0) break;
            DiscardNextEventMT(s);
        }
        if (pump < 0 && call("GetPumpByNumber", [&] { return GetPumpByNumberMT(s, pumpNo, &pump); }) != 0) {
            pump = -1;
            continue;
        }
        short state = 0, hose, rt, level, err;
        long delivery = 0, rc, att;
        double v, m, p;
        auto status = [&] {
            return call("GetPumpStatus", [&] {
                return GetPumpStatusMT(s, pump, &state, &hose, &delivery, &rc, &rt, &att, nullptr, nullptr, &level, &v,
                                       &m, &p, &err);
            });
        };
        if (!seller) {
            // Races the seller of this pump for its last delivery: at most one clear wins.
            if (status() == 0 && delivery > 0 && delivery != lastDelivery && state == 1) {
                lastDelivery = delivery;
                if (call("ClearDelivery", [&] { return ClearDeliveryMT(s, delivery, 1); }) == 0)
                    ++shared->cleared[delivery & 0xFFFF];
            }
            usleep(100000 + rng() % 200000);
            continue;
        }
        if (call("Authorise", [&] { return AuthoriseMT(s, pump); }) != 0) {
            Command(sim.control, "hang " + std::to_string(pumpNo));
            usleep(100000);
            continue;
        }
        Command(sim.control, "lift " + std::to_string(pumpNo) + " 1");
        usleep(200000 + rng() % 400000);
        Command(sim.control, "hang " + std::to_string(pumpNo));
        for (int i = 0; i < 3; ++i)   // the sale's delivery, asked again while faults hit
            if (status() == 0) break;
        if (delivery > 0 && state == 1) {
            ++rep.sales;
            if (call("ClearDelivery", [&] { return ClearDeliveryMT(s, delivery, 1); }) == 0)
                ++shared->cleared[delivery & 0xFFFF];
        }
    }
    Recover(c, s, id, callPort, eventsPort);
}

// kvsim's deliveries: ID and state of each.
std::vector<std::pair<long, long>> Deliveries(const Sim& sim) {
    const std::string list = Command(sim.control, "deliveries", -1);
    std::vector<std::pair<long, long>> out;
    for (size_t at = 0; (at = list.find("delivery ", at)) != std::string::npos; at += 9) {
        long id = 0, pump = 0, state = 0;
        if (std::sscanf(list.c_str() + at, "delivery %ld pump %ld state %ld", &id, &pump, &state) == 3)
            out.emplace_back(id, state);
    }
    return out;
}

// Clears, over a clean line, what the sales left, and checks that each delivery was cleared
// exactly once.
void Audit(const Sim& sim, Shared* shared, Brood& observers, Totals& t) {
    Children(1, 60, t, [&](int, Report& rep) {
        CKVCLProcess* s = nullptr;
        if (ClientLogonExMT(&s, 99, 1, "127.0.0.1", sim.call, sim.events, kCallTimeout, nullptr, nullptr, 0) != 0)
            return Note(rep, "%s %ld", "audit logon failed", 0);
        for (auto [id, state] : Deliveries(sim))
            if ((state == 2 || state == 3) && ClearDeliveryMT(s, id, 1) == 0) ++shared->cleared[id & 0xFFFF];
        ClientLogoffMT(&s);
    });
    usleep(500000);   // the last records on their way to the observers
    shared->stop = true;
    Collect(observers, kCallBound, t);
    long checked = 0;
    for (auto [id, state] : Deliveries(sim)) {
        checked += state == 4;
        for (int o = 0; o < kObservers; ++o)
            if (!shared->broken[o] && state == 4 &&
                (shared->logged[o][id & 0xFFFF] != 1 || shared->clearRecords[o][id & 0xFFFF] != 1)) {
                ++t.recordsWrong;
                std::printf("torture: observer %d got %d log and %d clear records of delivery %ld\n", o,
                            shared->logged[o][id & 0xFFFF].load(), shared->clearRecords[o][id & 0xFFFF].load(), id);
            }
        if (shared->cleared[id & 0xFFFF] > 1) {
            ++t.doubleClears;
            std::printf("torture: delivery %ld cleared %d times\n", id, shared->cleared[id & 0xFFFF].load());
        }
        if (state != 4 && state != 1) {
            ++t.unclearedLeft;
            std::printf("torture: delivery %ld left in state %ld\n", id, state);
        }
    }
    std::printf("torture: database records of %ld cleared deliveries checked in %d observers' queues\n", checked,
                kObservers);
}

void Sales(const Sim& sim, Totals& t, int sessions, long seconds, int percent, uint32_t seed, Shared* shared) {
    Proxy proxy(sim.call, sim.events, seed);
    if (!proxy.Bind()) {
        ++t.crashes;
        return;
    }
    const long faultSeconds = seconds;
    Children(
        sessions, seconds, t,
        [&](int i, Report& r) {
            Pos(sim, proxy.CallPort(), proxy.EventsPort(), i, sessions, seconds, seed, shared, r);
        },
        [&] {
            proxy.SetFaultPercent(percent);
            proxy.Start();
            usleep(static_cast<useconds_t>(faultSeconds * 1000000 - 2000000));
            proxy.SetFaultPercent(0);   // the last seconds on a clean line: every session must recover
        });
    proxy.Stop();
    for (long f : proxy.faults) t.faults += f;
    t.malformed += proxy.malformed;
    if (proxy.malformed) std::printf("torture: malformed request: %s\n", proxy.FirstMalformed().c_str());
    for (int k = 0; k < F_KINDS; ++k) std::printf("%s%s %ld", k ? ", " : "torture: proxy faults: ", kFaultNames[k],
                                                  proxy.faults[k].load());
    std::printf(" (%ld messages)\n", proxy.messages.load());
}

}  // namespace

int main(int argc, char** argv) {
    std::string kvsim;
    long seconds = 600, seed = 1;
    bool slice = false;
    std::string only;   // syscalls, signals or sales: that part alone
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--kvsim" && i + 1 < argc) kvsim = argv[++i];
        else if (a == "--seconds" && i + 1 < argc) seconds = std::atol(argv[++i]);
        else if (a == "--seed" && i + 1 < argc) seed = std::atol(argv[++i]);
        else if (a == "--slice") slice = true;
        else if (a == "--only" && i + 1 < argc) only = argv[++i];
        else {
            std::fprintf(stderr, "usage: kvtorture --kvsim PATH [--slice] [--seconds N] [--seed N] [--only syscalls|signals|sales]\n");
            return 2;
        }
    }
    signal(SIGPIPE, SIG_IGN);
    kvsim = std::filesystem::absolute(kvsim).string();   // the run works in a directory of its own
    char tmpl[] = "/tmp/kvtortureXXXXXX";
    const std::filesystem::path dir = mkdtemp(tmpl);
    std::filesystem::current_path(dir);
    Sim sim;
    if (!StartSim(kvsim, dir, &sim)) {
        std::fprintf(stderr, "torture: kvsim did not start\n");
        return 2;
    }
    const auto start = Clock::now();
    Totals t;
    auto part = [&](const char* name) { return only.empty() || only == name; };
    if (part("syscalls")) Syscalls(sim, t, slice ? 9 : 1, 1);
    const long syscallFaults = t.faults;
    std::printf("torture: system-call faults: %ld runs, %ld faults (%ld s)\n", t.runs, t.faults, Ms(start) / 1000);
    for (long period : {1000L, 50000L}) {
        if (!part("signals")) break;
        Totals storm;
        const long ms = slice ? 3000 : 20000;
        Children(1, 2 * ms / 1000 + 30, storm, [&](int, Report& r) {
            OverProxy(sim, r, [&](Proxy& p, Checked& c) { Storm(period, ms, p, c); });
        });
        std::printf("torture: signal every %ld ms: %ld signals, %ld calls, %ld of them answered\n", period / 1000,
                    storm.faults, storm.calls, storm.sales);
        storm.sales = 0;
        Add(t, storm);
    }
    auto* shared = static_cast<Shared*>(
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const long salesSeconds = !part("sales") ? 0 : slice ? 20 : std::max(30L, seconds - Ms(start) / 1000);
    const int sessions = slice ? 8 : 32;
    const long round = std::min(salesSeconds, 120L);
    long sales = 0, calls = 0;
    Brood observers;
    if (salesSeconds > 0) {
        observers = Spawn(kObservers, [&](int i, Report& r) { Observer(sim, i, shared, r); });
        usleep(1000000);
    }
    for (long done = 0, r = 0; done < salesSeconds; done += round, ++r) {
        Totals load;
        Sales(sim, load, sessions, round, 5, static_cast<uint32_t>(seed + r), shared);
        Add(t, load);
        sales += load.sales;
        calls += load.calls;
    }
    if (salesSeconds > 0) Audit(sim, shared, observers, t);
    const bool simAlive = kill(sim.pid, 0) == 0 && Command(sim.control, "status").rfind("ok", 0) == 0;
    std::printf("torture: %ld s; %ld system-call faults; %d POS sessions, %ld sales, %ld calls; %ld unexpected results, "
                "%ld stuck sessions, %ld deliveries cleared twice, %ld left uncleared, %ld with database records "
                "lost or doubled; kvsim %s\n",
                Ms(start) / 1000, syscallFaults, sessions, sales, calls, t.bad, t.stuck, t.doubleClears,
                t.unclearedLeft, t.recordsWrong, simAlive ? "alive" : "GONE");
    if (!simAlive) ++t.crashes;
    kill(sim.pid, SIGTERM);
    waitpid(sim.pid, nullptr, 0);
    std::filesystem::current_path("/");
    std::filesystem::remove_all(dir);
    std::printf("torture: %ld faults injected, %ld crashes, %ld hangs, %ld leaks, %ld malformed requests\n", t.faults,
                t.crashes, t.hangs + t.stuck, t.leaks, t.malformed);
    const bool ok = !t.crashes && !t.hangs && !t.stuck && !t.leaks && !t.malformed && !t.bad && !t.doubleClears &&
                    !t.unclearedLeft && !t.recordsWrong;
    return ok ? 0 : 1;
}
