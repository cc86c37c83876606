// Shared by the tests of the object families: the library session (client 7, calls only)
// on a fake server, expected request bodies, MT calls with every argument zero or null but
// those a test sets, and a reply hook that marks every requested value.
#pragma once
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "api/frame.h"
#include "common/fake_server.h"

namespace kvtest {

// The data area of a request, value by value (the hosts are little-endian like the wire).
class Wire {
public:
    Wire& S(int16_t v) { return Put(TAG_SHORT, v); }
    Wire& L(int32_t v) { return Put(TAG_LONG, v); }
    Wire& X(int64_t v) { return Put(TAG_LONGLONG, v); }
    Wire& C(int64_t raw) { return Put(TAG_CUR, raw); }
    Wire& D(uint64_t ticks) { return Put(TAG_DATE, ticks); }
    Wire& PL(int32_t v) { return Put(TAG_PLONG, v); }
    Wire& Str(const std::string& s) {
        Put(TAG_STR, static_cast<uint16_t>(s.size()));
        for (char c : s) _b.insert(_b.end(), {static_cast<uint8_t>(c), 0});
        return *this;
    }
    std::vector<uint8_t> End() const {
        std::vector<uint8_t> b = _b;
        b.push_back(TAG_END);
        return b;
    }

private:
    template <class T> Wire& Put(uint8_t tag, T v) {
        _b.push_back(tag);
        _b.insert(_b.end(), reinterpret_cast<uint8_t*>(&v), reinterpret_cast<uint8_t*>(&v) + sizeof v);
        return *this;
    }
    std::vector<uint8_t> _b;
};

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
