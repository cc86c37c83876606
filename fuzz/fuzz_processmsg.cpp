// Untrusted requests on the serving side. The input, after one control byte, is a TIMsg as it
// lies in memory (header fields as they come, a length field that may claim anything). It goes
// to CProcess::ServeMsg over a socket pair (management messages, the reply written back) or to
// CProcess::ProcessMsg, which finds the serving interface: two CServerInterface<CIObject> with
// three CPhyObjects each (the generic functions 2..12, and a table with every argument type
// behind ProcessCall), their object lists in two sort orders.
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "fuzz_input.h"
#include "fuzz_rig.h"
#include "rpc/socket.h"

using namespace kvfuzz;

namespace {

enum : uint8_t {
    FLAG_SERVE = 1,    // through ServeMsg and a socket, else ProcessMsg alone
    FLAG_EVENTS = 2,   // arrived on the events port
};

CLogDir* gDir;
CFuzzServerProcess* gProcess;
CFuzzServed* gServed[2];

void Drain(int fd)
{
    uint8_t sink[4096];
    while (recv(fd, sink, sizeof sink, MSG_DONTWAIT) > 0) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    gDir = new CLogDir;
    gProcess = new CFuzzServerProcess(*gDir);
    gServed[0] = new CFuzzServed(gProcess, kFuzzType, 0);
    gServed[1] = new CFuzzServed(gProcess, IF_PUMP, 3);
    for (CFuzzServed* s : gServed)
        gProcess->AddInterface(s);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CInput in(data, size);
    const uint8_t flags = in.Byte();
    TIMsg msg;
    std::memset(&msg, 0, sizeof msg);
    const uint8_t* bytes = nullptr;
    const int n = in.Take(bytes, sizeof msg);
    std::memcpy(&msg, bytes, n);
    for (CFuzzServed* s : gServed)
        s->Reset();
    gProcess->SetRunning(true);

    if (!(flags & FLAG_SERVE)) {
        gProcess->ProcessMsg(&msg, nullptr);
        return 0;
    }
    int fds[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, fds) != 0)
        return 0;
    {
        CSocket socket(gProcess, fds[0]);
        gProcess->ServeMsg(&msg, &socket, (flags & FLAG_EVENTS) ? EVENTS_PORT : CALL_PORT);
        Drain(fds[1]);
    }
    close(fds[1]);
    return 0;
}
