// Costs of the transport: packing and unpacking a typical argument list, a whole call round
// trip over loopback TCP to a serving process, and the same bytes as a raw blocking TCP
// ping-pong, so that the framework's overhead reads as a ratio. Heap allocations are counted
// by the replacement operator new below and reported per call.
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <tuple>

#include "bench_alloc.h"
#include "bench_util.h"
#include "rpc/method.h"
#include "rpc/process.h"
#include "rpc/serverif.h"
#include "rpc/socket.h"

namespace {

using kvbench::gAllocations;
using kvbench::tAllocations;

constexpr long kClientId = 7;

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
    kvbench::CWorkDir dir;
    CServerProcess server{"server", "bench server", 0, 0, 1000};
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
        client = std::make_unique<CBenchClient>("client", server.BoundCallPort(), server.BoundEventsPort());
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

void BM_RawTcpPingPong(benchmark::State& st)
{
    const size_t size = static_cast<size_t>(st.range(0));
    char bytes[kMsgHeaderSize + kMsgDataSize] = {1};
    kvbench::CRawPingPong raw(bytes, size, bytes, size);
    kvbench::RoundTrips(st, raw);
}
// 24 + 6 bytes: the size of a Count request and of its reply.
BENCHMARK(BM_RawTcpPingPong)->Arg(kMsgHeaderSize + 6)->UseRealTime()->MeasureProcessCPUTime();

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    kvbench::CRatioReporter reporter({{"BM_CallCount", "BM_RawTcpPingPong/30"}});
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
