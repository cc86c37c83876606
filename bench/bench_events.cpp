// Events per second from the server's push to the application's pop: a server process calls
// the client's events interface with N one-way pump events (call 27, all 43 fields), and the
// application runs ProcessEvents and GetNextPumpEventEx3 until it has taken all N. Read it
// beside bench_transport's raw TCP ping-pong on the same machine.
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "bench_util.h"
#include "client/records.h"
#include "client/session.h"
#include "kvclient.h"
#include "rpc/interface.h"
#include "rpc/process.h"

namespace {

constexpr long kClientId = 7;

// The server's end of a client's events interface.
class CEventsOut : public CClientInterface {
public:
    CEventsOut(CProcess* server, CSocket* socket, long clientId) : CClientInterface(server, socket, 0) { SetDestID(clientId); }
    uint16_t ObjectType() const override { return IF_EVENTS; }
    uint16_t InterfaceVersion() const override { return 0; }
};

template <class T>
T Value(int n)
{
    if constexpr (std::is_same_v<T, CStr>)
        return CStr("Unleaded 95");
    else if constexpr (std::is_same_v<T, CCur>)
        return CCur::FromRaw(123450LL * n);
    else
        return static_cast<T>(n);
}

std::unique_ptr<CPumpEvent> SampleEvent()
{
    return [&]<std::size_t... K>(std::index_sequence<K...>) {
        return std::make_unique<CPumpEvent>(Value<CPumpEvent::FieldType<K + 1>>(K + 1)...);
    }(std::make_index_sequence<CPumpEvent::kFields>());
}

// A server process and a session of client type 2 (events only) connected to it. The
// server's loop runs on a thread of its own only until it has paired the client's sockets;
// after that the benchmark's thread does both ends, so the figure is the whole cost of an
// event, the server's packing and sending included, without thread hand-offs.
struct CEventsRig {
    kvbench::CWorkDir dir;
    CServerProcess server{"benchserver", "bench server", 0, 0, 1000};
    std::unique_ptr<CPumpEvent> event = SampleEvent();
    std::unique_ptr<CKVCLProcess> session;
    bool paired = false;
    int wireSize = 0;   // of the last event sent

    CEventsRig()
    {
        if (!dir.Ok() || !server.Open())
            return;
        std::thread loop([this] {
            for (int i = 0; i < 3000 && !server.EventsSocketOf(kClientId); ++i)
                server.RunOnce(1);
            paired = server.EventsSocketOf(kClientId) != nullptr;
        });
        session = std::make_unique<CKVCLProcess>(kClientId, CLIENT_EVENTS, "127.0.0.1", server.BoundCallPort(),
                                                 server.BoundEventsPort(), 1000, nullptr, nullptr, 0);
        if (session->OpenSockets()) {
            session->ConnectSockets();
            session->SetConnected(true);
        }
        loop.join();
    }

    // n one-way pump events, all 43 fields each; false when one could not be sent.
    bool Push(long n)
    {
        CSocket* s = server.EventsSocketOf(kClientId);
        if (!s)
            return false;
        CEventsOut out(&server, s, kClientId);
        try {
            for (long i = 0; i < n; ++i) {
                out.InitPack(27, 0xFFFFFFFFu, true);
                [&]<std::size_t... K>(std::index_sequence<K...>) {
                    (out.Pack(event->Field<K + 1>()), ...);
                }(std::make_index_sequence<CPumpEvent::kFields>());
                out.EndPack();
                wireSize = out.Msg()->WireSize();
                out.Call();
            }
        } catch (TResult) {
            return false;
        }
        return true;
    }
};

// The application's side: every output of the newest pump pop.
struct CPumpOutputs {
    long l[44] = {};
    short s[44] = {};
    long long x[44] = {};
    double d[44] = {};
    char str[5][16] = {};

    long Pop(CKVCLProcess* p)
    {
        for (auto& b : str) {
            std::memset(b, ' ', sizeof b - 1);
            b[sizeof b - 1] = '\0';
        }
        return GetNextPumpEventEx3MT(p, &l[1], &l[2], &s[3], &s[4], &l[5], &l[6], &l[7], &l[8], &l[9], &l[10], str[0],
                                     str[1], &s[13], &d[14], &d[15], &d[16], &s[17], str[2], &l[19], &s[20], &s[21],
                                     &s[22], &s[23], &s[24], &l[25], &s[26], &s[27], &s[28], &s[29], &s[30], &s[31],
                                     &s[32], &x[33], &l[34], &l[35], str[3], &x[37], &l[38], &l[39], str[4], &x[41],
                                     &d[42], &d[43]);
    }
};

void BM_PushToPop(benchmark::State& st)
{
    const long batch = st.range(0);
    CEventsRig rig;
    if (!rig.session || !rig.session->GoodConnection() || !rig.paired) {
        st.SkipWithError("no connection to the server");
        return;
    }
    CPumpOutputs out;
    long popped = 0, passes = 0;
    for (auto _ : st) {
        if (!rig.Push(batch)) {
            st.SkipWithError("push failed");
            break;
        }
        long taken = 0;
        for (int spins = 0; taken < batch && spins < 100000; ++spins) {
            if (ProcessEventsMT(rig.session.get()) != 0)
                break;
            ++passes;
            while (out.Pop(rig.session.get()) == 0)
                ++taken;
        }
        popped += taken;
        if (taken != batch) {
            st.SkipWithError("events lost");
            break;
        }
    }
    benchmark::DoNotOptimize(out.d[43]);
    st.counters["events/s"] = benchmark::Counter(static_cast<double>(popped), benchmark::Counter::kIsRate);
    st.counters["passes/batch"] = static_cast<double>(passes) / static_cast<double>(st.iterations());
    st.counters["bytes/event"] = rig.wireSize;
}
BENCHMARK(BM_PushToPop)->Arg(1)->Arg(100)->Arg(256)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
