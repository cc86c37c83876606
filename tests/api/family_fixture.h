// Shared by the tests of the object families: the library session (client 7, calls only)
// on a fake server, expected requests, MT calls with every argument zero or null but those
// a test sets, and a reply hook that marks every requested value.
#pragma once
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "api/frame.h"
#include "common/fake_server.h"

namespace kvtest {

// One exported pair and the request it must send: interface, function, header object and
// data area (one-way requests carry the flag). Pointer arguments point at g_long, g_short,
// g_ll or g_double, which hold 3 when the pair is called.
inline long g_long;
inline short g_short;
inline long long g_ll;
inline double g_double;
struct Request {
    const char* name;
    std::function<long(CKVCLProcess*)> mt;
    std::function<long()> plain;
    uint16_t type;
    uint8_t function;
    int32_t object;
    std::vector<uint8_t> data;
    bool oneWay = false;
};
#define KV_UNPAREN(...) __VA_ARGS__
#define KV_REQUEST(Name, Args, Type, Fn, Obj, ...)                                                                \
    Request{#Name, [](CKVCLProcess* s) { return Name##MT(s, KV_UNPAREN Args); }, [] { return Name(KV_UNPAREN Args); }, \
            Type, Fn, Obj, __VA_ARGS__}
#define KV_REQUEST_PLAIN(Name, Args, Type, Fn, Obj, ...) \
    Request{#Name, nullptr, [] { return Name(KV_UNPAREN Args); }, Type, Fn, Obj, __VA_ARGS__}

// An MT call on the library session whose arguments are all zero or null except those set
// by position (0 is the object ID).
template <class... A> struct MTCall {
    long (*fn)(CKVCLProcess*, A...);
    std::tuple<A...> args{};
    template <size_t I, class V> MTCall& Set(V v) { return std::get<I>(args) = v, *this; }
    long operator()() const { return std::apply([&](A... a) { return fn(pGCLProcess, a...); }, args); }
};
template <class... A> MTCall<A...> Zeroed(long (*fn)(CKVCLProcess*, A...)) { return MTCall<A...>{fn}; }

// Reference n of a request comes back as 100 + n (fixed point: raw 100 + n; dates: second
// 1000000 + n; strings: "v<n>"). Null references stay null.
inline void MarkAll(const FakeCall& c, FakeReply& r) {
    int n = 0;
    for (const FakeArg& a : c.args) {
        if (!a.IsRef()) continue;
        if (a.tag == TAG_PSTR) r.Str(n, "v" + std::to_string(n));
        else if (a.tag == TAG_PDATE) r.Date(n, CDate(1000000L + n).Ticks());
        else if (a.tag != TAG_NULL) r.Set(n, a.tag, 100 + n);
        ++n;
    }
}

class FamilyTest : public ::testing::Test {
protected:
    static constexpr long kClient = 7;
    void SetUp() override {
        ASSERT_EQ(ClientLogonEx(kClient, 1, "127.0.0.1", server.CallPort(), server.EventsPort(), 2000, nullptr,
                                nullptr, 0), 0);
        server.Clear();
    }
    void TearDown() override { ClientLogoff(); }

    // The last request of a function, once it has come.
    FakeCall Last(uint16_t type, uint8_t function) const {
        const auto calls = server.WaitForCalls(type, function, 1) ? server.CallsTo(type, function) : std::vector<FakeCall>{};
        EXPECT_FALSE(calls.empty()) << "no call " << int(function) << " on interface " << type;
        return calls.empty() ? FakeCall{} : calls.back();
    }
    // The tags of the arguments of a request from `from` on, `n` of them.
    static std::vector<uint8_t> Tags(const FakeCall& c, size_t from, size_t n) {
        std::vector<uint8_t> t;
        for (size_t k = from; k < from + n; ++k) t.push_back(c.Arg(k).tag);
        return t;
    }

    CClientDir dir;
    CFakeServer server{dir};
};

}  // namespace kvtest
