// The exported API against a running kvsim process: calls per second of a count and of a pump
// status, and pump events per second from FireEvents to the application's pop. The simulator
// runs as its own process, so `taskset` on this program pins both.
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bench_util.h"
#include "kvclient.h"

extern char** environ;

namespace {

constexpr long kClientId = 9;
constexpr short kClientType = 3;  // calls and events

// kvsim on free ports, its logs in the benchmark's working directory; the client's Log/ is
// there too.
class CSim {
public:
    CSim()
    {
        int out[2];
        if (!_dir.Ok() || mkdir("sim", 0755) != 0 || pipe(out) != 0)
            return;
        posix_spawn_file_actions_t fa;
        posix_spawn_file_actions_init(&fa);
        posix_spawn_file_actions_adddup2(&fa, out[1], 1);
        posix_spawn_file_actions_addclose(&fa, out[0]);
        const char* argv[] = {KV_SIM_PATH, "--no-stdin", "--workdir", "sim", nullptr};
        if (posix_spawn(&_pid, KV_SIM_PATH, &fa, nullptr, const_cast<char**>(argv), environ) != 0)
            _pid = -1;
        posix_spawn_file_actions_destroy(&fa);
        close(out[1]);
        _out = fdopen(out[0], "r");
        char line[512];
        while (_pid > 0 && _out && fgets(line, sizeof line, _out)) {
            unsigned call = 0, events = 0;
            if (std::sscanf(line, "KVSIM READY call=%u events=%u", &call, &events) == 2) {
                _call = static_cast<unsigned short>(call);
                _events = static_cast<unsigned short>(events);
                break;
            }
        }
    }
    ~CSim()
    {
        if (_pid > 0) {
            kill(_pid, SIGTERM);
            waitpid(_pid, nullptr, 0);
        }
        if (_out)
            fclose(_out);
    }
    bool Ready() const { return _call != 0; }
    unsigned short CallPort() const { return _call; }
    unsigned short EventsPort() const { return _events; }

private:
    kvbench::CWorkDir _dir;
    pid_t _pid = -1;
    FILE* _out = nullptr;
    unsigned short _call = 0, _events = 0;
};

CSim* gSim = nullptr;

bool LogOn(benchmark::State& st)
{
    if (!gSim || !gSim->Ready()) {
        st.SkipWithError("kvsim did not start");
        return false;
    }
    const long r = ClientLogonEx(kClientId, kClientType, "127.0.0.1", gSim->CallPort(), gSim->EventsPort(), 3000,
                                 nullptr, nullptr, 0);
    if (r != 0) {
        st.SkipWithError(("ClientLogonEx returned " + std::to_string(r)).c_str());
        return false;
    }
    return true;
}

void Rate(benchmark::State& st, const char* name, double perIteration)
{
    st.counters[name] = benchmark::Counter(perIteration * static_cast<double>(st.iterations()), benchmark::Counter::kIsRate);
}

void BM_KvsimGetPumpsCount(benchmark::State& st)
{
    if (!LogOn(st))
        return;
    long n = 0;
    for (auto _ : st) {
        if (GetPumpsCount(&n) != 0) {
            st.SkipWithError("GetPumpsCount failed");
            break;
        }
    }
    Rate(st, "calls/s", 1);
    ClientLogoff();
}
BENCHMARK(BM_KvsimGetPumpsCount)->UseRealTime()->MeasureProcessCPUTime();

void BM_KvsimGetPumpStatus(benchmark::State& st)
{
    if (!LogOn(st))
        return;
    long pump = 0;
    GetPumpByNumber(1, &pump);
    short s1, s2, s5, s9, s13;
    long l3, l4, l6;
    char c7[64] = "", c8[64] = "";
    double d10, d11, d12;
    for (auto _ : st) {
        std::memset(c7, ' ', 40);
        std::memset(c8, ' ', 40);
        if (GetPumpStatus(pump, &s1, &s2, &l3, &l4, &s5, &l6, c7, c8, &s9, &d10, &d11, &d12, &s13) != 0) {
            st.SkipWithError("GetPumpStatus failed");
            break;
        }
    }
    Rate(st, "calls/s", 1);
    ClientLogoff();
}
BENCHMARK(BM_KvsimGetPumpStatus)->UseRealTime()->MeasureProcessCPUTime();

// FireEvents makes kvsim push one pump event per pump; each is read, queued and taken.
void BM_KvsimPumpEvents(benchmark::State& st)
{
    if (!LogOn(st))
        return;
    long pumps = 0;
    GetPumpsCount(&pumps);
    for (auto _ : st) {
        if (FireEvents() != 0) {
            st.SkipWithError("FireEvents failed");
            break;
        }
        long got = 0;
        for (int pass = 0; got < pumps && pass < 10000; ++pass) {
            if (ProcessEvents() != 0)
                break;
            while (got < pumps && DiscardNextEvent() == 0)
                ++got;
        }
        if (got < pumps) {
            st.SkipWithError("the pump events did not all arrive");
            break;
        }
    }
    Rate(st, "events/s", static_cast<double>(pumps));
    ClientLogoff();
}
BENCHMARK(BM_KvsimPumpEvents)->UseRealTime()->MeasureProcessCPUTime();

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    CSim sim;
    gSim = &sim;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    gSim = nullptr;
    return 0;
}
