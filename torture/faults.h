// System-call faults, one at a time: the wrapped calls of an armed thread are counted, and
// the call whose number is the plan's fails the plan's way. Linked with -Wl,--wrap.
#pragma once
#include <cstdint>

namespace torture {

enum SysCall { SC_SOCKET, SC_CONNECT, SC_SEND, SC_RECV, SC_POLL, SC_SETSOCKOPT, SC_FOPEN, SC_FWRITE, SC_MALLOC,
               SC_COUNT };

// Only the calls of armed threads count; the proxy and the driver stay out of it.
void Arm(bool on);
// Fail call number `at` (1-based, 0: count only), in the way numbered `way` among the
// ways that call can fail.
void Plan(long at, unsigned way);
long Counted();
// The failed call and its way ("recv ECONNRESET"), or null when none failed yet.
const char* Injected();

}  // namespace torture
