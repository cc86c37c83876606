// What an application sees: the exported GetPumpsCount, called through the shared library
// after one ClientLogonEx, against a server on loopback with a thread of its own; next to
// it, a blocking TCP ping-pong of the very bytes that call puts on the wire, captured from
// a real call. The library's calls per second over the raw round trips per second is the
// figure this program is for; heap allocations are counted per call.
//
// The client side is the shared library kvclient, reached through its exported C
// functions only. The server is built from the static kvcore in this program; the shared
// library keeps its internals to itself, so the two copies never meet.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <thread>
#include <utility>

#include "bench_alloc.h"
#include "bench_util.h"
#include "kvclient.h"
#include "rpc/process.h"
#include "rpc/serverif.h"

namespace {

constexpr long kClientId = 7;
constexpr short kClientType = 7;   // calls, events and database events
constexpr long kCallTimeout = 1000;
constexpr long kPumps = 8;
constexpr long long kSessionId = 0x0123456789ABCDEFLL;

// The bytes of the first Count request served and of its reply.
struct CCapture {
    std::atomic<bool> done{false};
    TIMsg request{}, reply{};
};

// The client interface as far as a logon and a logoff need it: the session ID (37), the
// version text (23), and an empty reply to everything else.
class CLogonServed : public CInterface {
public:
    explicit CLogonServed(CProcess* p) : CInterface(p, nullptr, 0) {}
    uint16_t ObjectType() const override { return IF_CLIENT; }
    uint16_t InterfaceVersion() const override { return 0; }
    long ProcessMsg(TIMsg* m, CSocket*) override
    {
        std::swap(m->h.source, m->h.destination);
        m->h.result = 0;
        m->h.length = 0;
        SetMsg(m);
        if (m->h.function == 37) {
            long long id = kSessionId;
            Pack(&id);
        } else if (m->h.function == 23) {
            CStr version("KVServer Version 2,5,6,0");
            Pack(&version);
        }
        EndPack();
        SetMsg(Buffer());
        return OK_RESULT;
    }
};

// Eight pumps; the generic Count (5) is answered by CServerInterface itself.
class CPumpsServed : public CServerInterface<CIObject> {
public:
    CPumpsServed(CProcess* p, CCapture& capture) : CServerInterface<CIObject>(p, nullptr, 0), _capture(capture)
    {
        for (long i = 1; i <= kPumps; ++i)
            Objects().Add(new CPhyObject(i, i, CStr("pump"), p));
    }
    KV_INTERFACE(IF_PUMP, "IPump")
    long ProcessCall(short, CIObject*, CSocket*) override { Throw(BAD_FUNCTION_RESULT, __LINE__, "ProcessCall"); }
    long ProcessMsg(TIMsg* m, CSocket* s) override
    {
        const bool capture = !_capture.done.load(std::memory_order_acquire);
        if (capture)
            std::memcpy(&_capture.request, m, m->WireSize());
        const long r = CServerInterface<CIObject>::ProcessMsg(m, s);
        if (capture) {
            std::memcpy(&_capture.reply, m, m->WireSize());
            _capture.done.store(true, std::memory_order_release);
        }
        return r;
    }

private:
    CCapture& _capture;
};

// The server on its own thread and the library's global session logged on to it; one
// GetPumpsCount has been made, so the capture holds its bytes.
struct CApiRig {
    kvbench::CWorkDir dir;
    CServerProcess server{"benchserver", "bench server", 0, 0, kCallTimeout};
    CCapture capture;
    std::atomic<bool> stop{false};
    std::thread loop;
    long logon = -1;

    CApiRig()
    {
        server.AddInterface(new CLogonServed(&server));
        server.AddInterface(new CPumpsServed(&server, capture));
        if (!dir.Ok() || !server.Open())
            return;
        Loop();
        logon = ClientLogonEx(kClientId, kClientType, "127.0.0.1", server.BoundCallPort(), server.BoundEventsPort(),
                              kCallTimeout, nullptr, nullptr, 0);
        long n = 0;
        if (logon == 0 && (GetPumpsCount(&n) != 0 || n != kPumps))
            logon = -1;
    }
    ~CApiRig()
    {
        ClientLogoff();
        stop = true;
        if (loop.joinable())
            loop.join();
    }
    void Loop()
    {
        stop = false;
        loop = std::thread([this] {
            while (!stop.load(std::memory_order_relaxed))
                server.RunOnce(10);
        });
    }
    // Takes the session's call connection away from the server loop and answers every
    // request there as the raw ping-pong's answering side does: one blocking recv, the
    // captured reply with the request's sequence, one send. With that the two benchmarks
    // differ only in their client.
    bool Lean()
    {
        stop = true;
        loop.join();
        CSocket* s = server.CallSocketOf(kClientId);
        leanFd = s ? s->Descriptor() : -1;
        const timeval slice{0, 100000};   // how often the answering thread looks at stop
        if (leanFd < 0 || fcntl(leanFd, F_SETFL, fcntl(leanFd, F_GETFL) & ~O_NONBLOCK) != 0 ||
            setsockopt(leanFd, SOL_SOCKET, SO_RCVTIMEO, &slice, sizeof slice) != 0) {
            Loop();
            return false;
        }
        stop = false;
        lean = std::thread([this] {
            TIMsg in{}, out = capture.reply;
            while (!stop.load(std::memory_order_relaxed)) {
                const ssize_t r = recv(leanFd, &in, sizeof in, 0);
                if (r < 0 && (errno == EAGAIN || errno == EINTR))
                    continue;
                if (r < static_cast<ssize_t>(kMsgHeaderSize) || r != in.WireSize())
                    break;   // the client sends each request whole, in one send
                out.h.sequence = in.h.sequence;
                if (send(leanFd, &out, out.WireSize(), MSG_NOSIGNAL) != out.WireSize())
                    break;
            }
        });
        return true;
    }
    void EndLean()
    {
        stop = true;
        lean.join();
        const timeval none{0, 0};
        setsockopt(leanFd, SOL_SOCKET, SO_RCVTIMEO, &none, sizeof none);
        fcntl(leanFd, F_SETFL, fcntl(leanFd, F_GETFL) | O_NONBLOCK);
        Loop();
    }
    std::thread lean;
    int leanFd = -1;
    bool Ok() const { return logon == 0 && capture.done.load(std::memory_order_acquire); }
};

std::unique_ptr<CApiRig> gRig;

CApiRig& Rig()
{
    if (!gRig)
        gRig = std::make_unique<CApiRig>();
    return *gRig;
}

// Argument 0: the server loop (CServerProcess) answers; 1: the lean answering side.
void BM_ApiGetPumpsCount(benchmark::State& st)
{
    if (!Rig().Ok()) {
        st.SkipWithError("no session");
        return;
    }
    const bool lean = st.range(0) == 1;
    if (lean && !Rig().Lean()) {
        st.SkipWithError("no call connection to take over");
        return;
    }
    long n = 0;
    const long all = kvbench::gAllocations.load();
    const long mine = kvbench::tAllocations;
    long failures = 0;
    for (auto _ : st)
        failures += GetPumpsCount(&n) != 0;
    // Taken before the counters below, whose insertion allocates.
    const long allDone = kvbench::gAllocations.load() - all;
    const long mineDone = kvbench::tAllocations - mine;
    if (lean)
        Rig().EndLean();
    const double calls = static_cast<double>(st.iterations());
    st.counters["calls/s"] = benchmark::Counter(calls, benchmark::Counter::kIsRate);
    st.counters["allocs/call"] = static_cast<double>(allDone) / calls;
    st.counters["client allocs/call"] = static_cast<double>(mineDone) / calls;
    st.counters["request bytes"] = Rig().capture.request.WireSize();
    st.counters["reply bytes"] = Rig().capture.reply.WireSize();
    if (failures || n != kPumps)
        st.SkipWithError("a call failed");
}
// CPU time is that of the whole process: client, server thread and the kernel work of both.
BENCHMARK(BM_ApiGetPumpsCount)->ArgName("lean")->Arg(0)->Arg(1)->UseRealTime()->MeasureProcessCPUTime();

void BM_RawGetPumpsCountPingPong(benchmark::State& st)
{
    if (!Rig().Ok()) {
        st.SkipWithError("no captured call");
        return;
    }
    const TIMsg& request = Rig().capture.request;
    const TIMsg& reply = Rig().capture.reply;
    kvbench::CRawPingPong raw(&request, request.WireSize(), &reply, reply.WireSize());
    kvbench::RoundTrips(st, raw);
    if (raw.Ok() && !raw.ReplyIntact())
        st.SkipWithError("reply bytes changed");
}
BENCHMARK(BM_RawGetPumpsCountPingPong)->UseRealTime()->MeasureProcessCPUTime();

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    kvbench::CRatioReporter reporter({{"BM_ApiGetPumpsCount/lean:0", "BM_RawGetPumpsCountPingPong"},
                                      {"BM_ApiGetPumpsCount/lean:1", "BM_RawGetPumpsCountPingPong"}});
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    gRig.reset();
    return 0;
}
