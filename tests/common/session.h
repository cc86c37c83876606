// A library session against any server on loopback ports (a fake one or kvsim), its event
// queue, and the polling wait that loopback delivery needs (quick, not instant).
#pragma once
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <string>
#include <tuple>

#include "foundation/str.h"
#include "kvclient.h"
#include "rpc/net_fixture.h"

namespace kvtest {

// Polls cond every step milliseconds until it holds or ms run out.
template <class F>
bool WaitUntil(F cond, int ms = 3000, int step = 2) {
    const auto start = std::chrono::steady_clock::now();
    while (!cond()) {
        if (SecondsSince(start) * 1000 > ms) return false;
        usleep(step * 1000);
    }
    return true;
}

// A call's result with what it wrote into v, read once the call has returned:
//     EXPECT_EQ(Got(GetPumpsCountMT(s, &n), n), std::make_tuple(0, 8));
template <class T>
std::tuple<long, T> Got(long result, const T& v) {
    return {result, v};
}
template <size_t N>
std::tuple<long, std::string> Got(long result, const char (&text)[N]) {
    return {result, std::string(text, strnlen(text, N))};
}
inline std::tuple<long, std::string> Got(long result, const CStr& text) {
    return {result, static_cast<char*>(text)};
}

inline long EventCount(CKVCLProcess* s) {
    long n = -1;
    EXPECT_EQ(GetEventsCountMT(s, &n), 0);
    return n;
}

inline short HeadType(CKVCLProcess* s) {
    short t = -1;
    EXPECT_EQ(GetNextEventTypeMT(s, &t), 0);
    return t;
}

// ClientLogonExMT of client `id` with client type `type`; logged off when it goes.
struct Session {
    CKVCLProcess* s = nullptr;
    long result;
    template <class Server>
    Session(const Server& server, long id, short type, long timeout = 3000)
        : result(ClientLogonExMT(&s, id, type, "127.0.0.1", server.CallPort(), server.EventsPort(), timeout, nullptr,
                                 nullptr, 0)) {}
    ~Session() { ClientLogoffMT(&s); }   // 8 when there is none
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    operator CKVCLProcess*() const { return s; }

    // Reads the events connection until an event of the type is at the head of the queue;
    // those in front of it are discarded.
    bool WaitFor(short type, int ms = 5000) {
        return WaitUntil([&] {
            short head = 0;
            while (GetNextEventTypeMT(s, &head) == 0 && head != 0 && head != type) DiscardNextEventMT(s);
            return head == type || (ProcessEventsMT(s), false);
        }, ms);
    }
};

}  // namespace kvtest
