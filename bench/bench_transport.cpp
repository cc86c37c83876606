// Costs of the transport: packing and unpacking a typical argument list, a whole call round
// trip over loopback TCP to a serving process, and the same bytes as a raw blocking TCP
// ping-pong, so that the framework's overhead reads as a ratio. Heap allocations are counted
// by the replacement operator new below and reported per call.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <benchmark/benchmark.h>

#include "rpc/method.h"
#include "rpc/process.h"
#include "rpc/serverif.h"
#include "rpc/socket.h"

// ---- allocation counting: every thread, and the calling thread alone ----

namespace {
std::atomic<long> gAllocations{0};
thread_local long tAllocations = 0;

__attribute__((noinline)) void* Take(std::size_t n)
{
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    ++tAllocations;
    if (void* p = std::malloc(n ? n : 1))
        return p;
    throw std::bad_alloc();
}
__attribute__((noinline)) void GiveBack(void* p) { std::free(p); }
}  // namespace

void* operator new(std::size_t n) { return Take(n); }
void* operator new[](std::size_t n) { return Take(n); }
void operator delete(void* p) noexcept { GiveBack(p); }
void operator delete(void* p, std::size_t) noexcept { GiveBack(p); }
void operator delete[](void* p) noexcept { GiveBack(p); }
void operator delete[](void* p, std::size_t) noexcept { GiveBack(p); }

namespace {

constexpr long kClientId = 7;

class CTempDir {
public:
    CTempDir()
    {
        char pattern[] = "/tmp/kvbenchXXXXXX";
        if (const char* p = mkdtemp(pattern))
            _path = p;
    }
    ~CTempDir()
    {
        std::error_code ec;
        std::filesystem::remove_all(_path, ec);
    }
    std::string operator/(const char* name) const { return _path + "/" + name; }

private:
    std::string _path;
};

class CPumpProxy : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_PUMP, "IPump")
};

// ---- pack + unpack of a status-shaped call: 13 references, two strings, four CCur ----

struct CStatus {
    short state = 3, nozzle = 1;
    long delivery = 123456;
    CCur volume = CCur::FromRaw(452300), money = CCur::FromRaw(1234500), price = CCur::FromRaw(27290);
    CStr grade{"Unleaded 95"}, attendant{"Shift A"};
    long error = 0;
    CDate stamp = CDate::FromTicks(133000000000000000ULL);
    short mode = 2;
    CCur limit = CCur::FromRaw(1000000);
    long flags = 0x11;

    auto Refs()
    {
        return std::make_tuple(&state, &nozzle, &delivery, &volume, &money, &price, &grade, &attendant, &error, &stamp,
                               &mode, &limit, &flags);
    }
};

void BM_PackUnpackStatus(benchmark::State& st)
{
    CPumpProxy proxy(nullptr, nullptr, kClientId);
    CStatus out, back;
    auto refs = out.Refs();
    auto into = back.Refs();
    const long before = tAllocations;
    for (auto _ : st) {
        proxy.InitPack(17, 3, false);
        std::apply([&](auto... p) { (proxy.Pack(p), ...); }, refs);
        proxy.EndPack();
        // The reply carries the references again under the same tags: turn the request round
        // as a server would, and read it back as the reply.
        TIMsgHeader& h = proxy.Msg()->h;
        std::swap(h.source, h.destination);
        proxy.InitUnpack();
        std::apply([&](auto... p) { (proxy.Unpack(p), ...); }, into);
        proxy.EndUnpack();
        benchmark::DoNotOptimize(back.limit);
    }
    const long allocations = tAllocations - before;
    st.counters["bytes"] = proxy.Msg()->WireSize();
    st.counters["allocs/op"] = static_cast<double>(allocations) / static_cast<double>(st.iterations());
}
BENCHMARK(BM_PackUnpackStatus);

// ---- a whole call: CClientInterface::Call against a CServerProcess ----

class CBenchClient : public CClientProcess {
public:
    CBenchClient(const std::string& log, unsigned short callPort, unsigned short eventsPort)
        : CClientProcess(log.c_str(), "bench client", "127.0.0.1", callPort, eventsPort, 1000, kClientId) {}
    long PortManagement(CSocket*, TPort, uint8_t, long) override { return 0; }
};

class CCountServed : public CServerInterface<CIObject> {
public:
    explicit CCountServed(CProcess* p) : CServerInterface<CIObject>(p, nullptr, 0)
    {
        for (long i = 1; i <= 8; ++i)
            Objects().Add(new CPhyObject(i, i, CStr("pump"), p));
    }
    KV_INTERFACE(IF_PUMP, "IPump")
    long ProcessCall(short, CIObject*, CSocket*) override { Throw(BAD_FUNCTION_RESULT, __LINE__, "ProcessCall"); }
};

// A server process with its loop on a thread of its own, and one connected client.
struct CCallRig {
    CTempDir dir;
    CServerProcess server{(dir / "server").c_str(), "bench server", 0, 0, 1000};
    std::atomic<bool> stop{false};
    std::thread loop;
    std::unique_ptr<CBenchClient> client;

    CCallRig()
    {
        server.AddInterface(new CCountServed(&server));
        if (!server.Open())
            return;
        loop = std::thread([this] {
            while (!stop)
                server.RunOnce(10);
        });
        client = std::make_unique<CBenchClient>(dir / "client", server.BoundCallPort(), server.BoundEventsPort());
        if (client->OpenSockets())
            client->ConnectSockets();
    }
    ~CCallRig()
    {
        client.reset();
        stop = true;
        if (loop.joinable())
            loop.join();
    }
};

void BM_CallCount(benchmark::State& st)
{
    CCallRig rig;
    if (!rig.client || !rig.client->CallSocket()->IsOpen()) {
        st.SkipWithError("no connection to the server");
        return;
    }
    CPumpProxy proxy(rig.client.get(), rig.client->CallSocket(), kClientId);
    long count = 0;
    if (proxy.Count(&count) != 0 || count != 8) {   // also lets the server pair the sockets
        st.SkipWithError("Count failed");
        return;
    }
    const long all = gAllocations.load();
    const long mine = tAllocations;
    long failures = 0;
    for (auto _ : st)
        failures += proxy.Count(&count) != 0;
    // Taken before the counters below, whose insertion allocates.
    const long allDone = gAllocations.load() - all;
    const long mineDone = tAllocations - mine;
    const double n = static_cast<double>(st.iterations());
    st.counters["calls/s"] = benchmark::Counter(n, benchmark::Counter::kIsRate);
    st.counters["allocs/call"] = static_cast<double>(allDone) / n;
    st.counters["client allocs/call"] = static_cast<double>(mineDone) / n;
    st.counters["bytes each way"] = proxy.Msg()->WireSize();
    if (failures)
        st.SkipWithError("a call failed");
}
// CPU time is that of the whole process: client, server thread and the kernel work of both.
BENCHMARK(BM_CallCount)->UseRealTime()->MeasureProcessCPUTime();

// ---- the same bytes, raw: blocking loopback TCP, one send and one full read each way ----

bool ReadFull(int fd, char* p, size_t n)
{
    while (n > 0) {
        const ssize_t r = recv(fd, p, n, 0);
        if (r <= 0)
            return false;
        p += r;
        n -= static_cast<size_t>(r);
    }
    return true;
}

void BM_RawTcpPingPong(benchmark::State& st)
{
    const size_t size = static_cast<size_t>(st.range(0));
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    if (bind(listener, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || listen(listener, 1) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&addr), &len) != 0) {
        close(listener);
        st.SkipWithError("no listener");
        return;
    }
    std::thread echo([listener, size] {
        const int fd = accept(listener, nullptr, nullptr);
        char buf[kMsgHeaderSize + kMsgDataSize];
        while (fd >= 0 && ReadFull(fd, buf, size) && send(fd, buf, size, MSG_NOSIGNAL) == static_cast<ssize_t>(size)) {
        }
        if (fd >= 0)
            close(fd);
    });
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
        st.SkipWithError("no connection");
    } else {
        char buf[kMsgHeaderSize + kMsgDataSize] = {1};
        for (auto _ : st) {
            if (send(fd, buf, size, MSG_NOSIGNAL) != static_cast<ssize_t>(size) || !ReadFull(fd, buf, size)) {
                st.SkipWithError("ping-pong broken");
                break;
            }
        }
        st.counters["round trips/s"] = benchmark::Counter(static_cast<double>(st.iterations()), benchmark::Counter::kIsRate);
    }
    close(fd);
    echo.join();
    close(listener);
}
// 24 + 6 bytes: the size of a Count request and of its reply.
BENCHMARK(BM_RawTcpPingPong)->Arg(kMsgHeaderSize + 6)->UseRealTime()->MeasureProcessCPUTime();

// Prints the table as usual and, at the end, the call's cost over the raw ping-pong.
class CRatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        // With repetitions the median stands for the benchmark, else its one run.
        for (const Run& r : runs) {
            if (r.error_occurred)
                continue;
            const bool median = r.run_type == Run::RT_Aggregate && r.aggregate_name == "median";
            if (median || (r.run_type == Run::RT_Iteration && !_median.count(r.run_name.function_name)))
                _ns[r.run_name.function_name] = {r.GetAdjustedRealTime(), r.GetAdjustedCPUTime()};
            if (median)
                _median.insert(r.run_name.function_name);
        }
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        auto call = _ns.find("BM_CallCount");
        auto raw = _ns.find("BM_RawTcpPingPong");
        if (call == _ns.end() || raw == _ns.end() || raw->second.real <= 0 || raw->second.cpu <= 0)
            return;
        const Times& c = call->second;
        const Times& r = raw->second;
        std::printf("Round trip, real time: Call %.0f ns, raw TCP %.0f ns, ratio %.2f\n", c.real, r.real, c.real / r.real);
        std::printf("Round trip, process CPU time: Call %.0f ns, raw TCP %.0f ns, ratio %.2f\n", c.cpu, r.cpu, c.cpu / r.cpu);
    }

private:
    struct Times {
        double real, cpu;
    };
    std::map<std::string, Times> _ns;
    std::set<std::string> _median;
};

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    CRatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
