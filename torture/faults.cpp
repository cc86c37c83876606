// The wrapped system calls. Each failure is one a real system gives for that call: an
// errno, or a transfer that comes back short.
#include "torture/faults.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {
int __real_socket(int, int, int);
int __real_connect(int, const sockaddr*, socklen_t);
ssize_t __real_send(int, const void*, size_t, int);
ssize_t __real_recv(int, void*, size_t, int);
int __real_poll(pollfd*, nfds_t, int);
int __real_setsockopt(int, int, int, const void*, socklen_t);
FILE* __real_fopen(const char*, const char*);
size_t __real_fwrite(const void*, size_t, size_t, FILE*);
int __real_fputs(const char*, FILE*);
void* __real_malloc(size_t);
}

namespace torture {
namespace {

constexpr int kShort = -1;   // the transfer moves fewer bytes than asked

struct Ways {
    const char* name;
    int errors[5];
    unsigned count;
};

const Ways kWays[SC_COUNT] = {
    {"socket", {EMFILE, ENFILE, ENOBUFS}, 3},
    {"connect", {ECONNREFUSED, EINTR, ENETUNREACH}, 3},
    {"send", {EPIPE, ECONNRESET, EAGAIN, EINTR, kShort}, 5},
    {"recv", {ECONNRESET, EAGAIN, EINTR, kShort}, 4},
    {"poll", {EINTR, ENOMEM}, 2},
    {"setsockopt", {ENOMEM, ENOBUFS}, 2},
    {"fopen", {EACCES, EMFILE, ENOMEM}, 3},
    {"fwrite", {ENOSPC, EIO}, 2},
    {"malloc", {ENOMEM}, 1},
};

thread_local bool t_armed = false;
std::atomic<long> g_count{0};
long g_at = 0;
unsigned g_way = 0;
char g_injected[64];
std::atomic<bool> g_done{false};

// 0 when the call goes through, else the errno (or kShort) it must fail with.
int Hit(SysCall c) {
    if (!t_armed) return 0;
    if (++g_count != g_at) return 0;
    const Ways& w = kWays[c];
    int e = w.errors[g_way % w.count];
    std::snprintf(g_injected, sizeof g_injected, "%s %s", w.name, e == kShort ? "short" : strerrorname_np(e));
    g_done = true;
    return e;
}

}  // namespace

void Arm(bool on) { t_armed = on; }
void Plan(long at, unsigned way) {
    g_count = 0;
    g_at = at;
    g_way = way;
    g_done = false;
}
long Counted() { return g_count; }
const char* Injected() { return g_done ? g_injected : nullptr; }

}  // namespace torture

using torture::Hit;

#define KV_FAIL(call, result)            \
    if (int e = Hit(call); e > 0) {      \
        errno = e;                       \
        return result;                   \
    }

extern "C" {

int __wrap_socket(int d, int t, int p) {
    KV_FAIL(torture::SC_SOCKET, -1);
    return __real_socket(d, t, p);
}

int __wrap_connect(int fd, const sockaddr* a, socklen_t n) {
    KV_FAIL(torture::SC_CONNECT, -1);
    return __real_connect(fd, a, n);
}

ssize_t __wrap_send(int fd, const void* b, size_t n, int f) {
    int e = Hit(torture::SC_SEND);
    if (e == torture::kShort && n > 1) return __real_send(fd, b, n / 2, f);
    if (e > 0) {
        errno = e;
        return -1;
    }
    return __real_send(fd, b, n, f);
}

ssize_t __wrap_recv(int fd, void* b, size_t n, int f) {
    int e = Hit(torture::SC_RECV);
    if (e == torture::kShort && n > 1) return __real_recv(fd, b, 1, f);
    if (e > 0) {
        errno = e;
        return -1;
    }
    return __real_recv(fd, b, n, f);
}

int __wrap_poll(pollfd* p, nfds_t n, int ms) {
    KV_FAIL(torture::SC_POLL, -1);
    return __real_poll(p, n, ms);
}

int __wrap_setsockopt(int fd, int l, int o, const void* v, socklen_t n) {
    KV_FAIL(torture::SC_SETSOCKOPT, -1);
    return __real_setsockopt(fd, l, o, v, n);
}

FILE* __wrap_fopen(const char* name, const char* mode) {
    KV_FAIL(torture::SC_FOPEN, nullptr);
    return __real_fopen(name, mode);
}

size_t __wrap_fwrite(const void* b, size_t size, size_t n, FILE* f) {
    KV_FAIL(torture::SC_FWRITE, 0);
    return __real_fwrite(b, size, n, f);
}

int __wrap_fputs(const char* s, FILE* f) {
    KV_FAIL(torture::SC_FWRITE, EOF);
    return __real_fputs(s, f);
}

void* __wrap_malloc(size_t n) {
    KV_FAIL(torture::SC_MALLOC, nullptr);
    return __real_malloc(n);
}

}  // extern "C"
