// The server's side of the events tests: a scripted server that calls out over a client's
// events socket with records of the client's own types, and the client's side that reads
// them (ProcessEvents) and takes them (the GetNext...Event functions).
#pragma once
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <future>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

#include "client/records.h"
#include "common/fake_server.h"
#include "kvclient.h"
#include "rpc/interface.h"

namespace kvtest {

constexpr uint32_t kClassObject = 0xFFFFFFFFu;
constexpr long kEmptyDateOut = -921101622;   // the long form of "no date"

// Field numbers: Upto<3> is 1, 2, 3; Range<11, 13> is 11, 12, 13; Cat joins two lists.
template <int... N> using Fields = std::integer_sequence<int, N...>;
template <int From, int... K> Fields<(From + K)...> RangeOf(std::integer_sequence<int, K...>);
template <int From, int To> using Range = decltype(RangeOf<From>(std::make_integer_sequence<int, To - From + 1>()));
template <int N> using Upto = Range<1, N>;
template <int... A, int... B> Fields<A..., B...> CatOf(Fields<A...>, Fields<B...>);
template <class A, class B> using Cat = decltype(CatOf(A(), B()));

// A distinct value for field n of every type: a wrong field number shows as a wrong value.
template <class T>
T Sample(int n)
{
    if constexpr (std::is_same_v<T, CStr>)
        return CStr(("s" + std::to_string(n) + "-abcdefghij").c_str());
    else if constexpr (std::is_same_v<T, CCur>)
        return CCur::FromRaw(123457LL * n + 3);
    else if constexpr (std::is_same_v<T, CDate>)
        return CDate(1600000000L + 3600L * n);
    else if constexpr (std::is_same_v<T, long long>)
        return 5000000000LL + n;
    else if constexpr (std::is_same_v<T, long>)
        return 70000L + n;   // wider than 16 bits
    else
        return static_cast<T>(300 + n);
}

// Record R with its first `Sent` fields sampled and the rest as given.
template <class R, std::size_t Sent = R::kFields, class... Tail>
R* SampleRecord(const Tail&... tail)
{
    static_assert(Sent + sizeof...(Tail) == R::kFields);
    return [&]<std::size_t... K>(std::index_sequence<K...>) {
        return new R(Sample<typename R::template FieldType<K + 1>>(K + 1)..., tail...);
    }(std::make_index_sequence<Sent>());
}

// The server's end of a client's events interface (type 2) or database interface (type 1).
class CEventsCaller : public CClientInterface {
public:
    CEventsCaller(CProcess* server, CSocket* socket, uint16_t type, long clientId)
        : CClientInterface(server, socket, 0), _type(type)
    {
        SetDestID(clientId);
    }
    uint16_t ObjectType() const override { return _type; }
    uint16_t InterfaceVersion() const override { return 0; }

private:
    uint16_t _type;
};

// One outgoing call of the server: function `function` of interface `type` with the first
// `sent` fields of `record` as its arguments. One-way calls return at once; a two-way call
// waits for the client's reply and gives its result.
struct Push {
    uint16_t type;
    uint8_t function;
    bool oneWay = true;
    uint32_t object = kClassObject;

    template <class R>
    long Send(CFakeServer& server, long clientId, const R* record, std::size_t sent = R::kFields) const
    {
        long r = 0;
        server.RunOnServer([&](CFakeServer& f) { r = SendFrom(f, clientId, record, sent); });
        return r;
    }
    long Send(CFakeServer& server, long clientId) const { return Send<CStackDelivery>(server, clientId, nullptr, 0); }

    // A two-way call: the client must read it while the server waits for the reply.
    template <class R>
    std::future<long> Start(CFakeServer& server, long clientId, const R* record, std::size_t sent = R::kFields) const
    {
        return std::async(std::launch::async, [=, this, &server] { return Send(server, clientId, record, sent); });
    }

private:
    template <class R>
    long SendFrom(CFakeServer& f, long clientId, const R* record, std::size_t sent) const
    {
        CSocket* s = f.EventsSocketOf(clientId);
        if (!s)
            return NOT_OPEN_RESULT;
        CEventsCaller out(&f, s, type, clientId);
        try {
            out.InitPack(function, object, oneWay);
            if (record)
                [&]<std::size_t... K>(std::index_sequence<K...>) {
                    ((K < sent ? out.Pack(record->template Field<K + 1>()) : void()), ...);
                }(std::make_index_sequence<R::kFields>());
            out.EndPack();
            out.Call();
            if (oneWay)
                return OK_RESULT;
            out.InitUnpack();
            out.EndUnpack();
            return OK_RESULT;
        } catch (TResult r) {
            return r;
        }
    }
};

// Runs ProcessEvents until the queue holds `n` records (loopback delivery is quick, not
// instant).
inline bool ProcessUntil(CKVCLProcess* s, long n, int ms = 3000)
{
    long count = -1;
    WaitUntil([&] { return ProcessEventsMT(s), GetEventsCountMT(s, &count), count >= n; }, ms, 1);
    return count == n;
}

// ---- the outputs of a pop function ----

// Output N of type P, filled with a marker before the call. A string output holds a
// pre-filled buffer: 5 blanks for odd fields (the value is cut), 30 for even ones (the
// value is padded with NULs).
template <int N, class P>
struct Holder {
    static constexpr P kMarker = static_cast<P>(0x5A5A5A5A);
    P v = kMarker;
    P* Ptr(bool null) { return null ? nullptr : &v; }
};
template <int N>
struct Holder<N, char> {
    static constexpr int kWidth = N % 2 ? 5 : 30;
    char v[48];
    Holder() { Prefill(v); }
    static void Prefill(char* b)
    {
        std::memset(b, 'Z', 48);
        std::memset(b, ' ', kWidth);
        b[kWidth] = '\0';
    }
    char* Ptr(bool null) { return null ? nullptr : v; }
};

inline long DateOut(const CDate& d)
{
    return static_cast<int32_t>(static_cast<uint32_t>((d.Ticks() - 116444736000000000ULL) / 10000000ULL));
}

// Output N after a successful pop: field N of `want` in the output's type.
template <int N, class P, class R>
void ExpectField(const Holder<N, P>& h, const R& want)
{
    using F = typename R::template FieldType<N>;
    const F& v = want.template Field<N>();
    if constexpr (std::is_same_v<F, CStr>) {
        char expected[48];
        Holder<N, char>::Prefill(expected);
        std::strncpy(expected, static_cast<char*>(v), Holder<N, char>::kWidth);
        EXPECT_EQ(std::memcmp(h.v, expected, sizeof expected), 0) << "field " << N << " got [" << std::string(h.v, 8) << "]";
    } else if constexpr (std::is_same_v<F, CCur>) {
        EXPECT_DOUBLE_EQ(h.v, static_cast<double>(v.Value()) / 10000) << "field " << N;
    } else if constexpr (std::is_same_v<F, CDate>) {
        EXPECT_EQ(h.v, DateOut(v)) << "field " << N;
    } else {
        EXPECT_EQ(h.v, static_cast<P>(v)) << "field " << N;
    }
}

// Output N after a failed pop: the default of its field's type.
template <int N, class P, class R>
void ExpectDefault(const Holder<N, P>& h)
{
    using F = typename R::template FieldType<N>;
    if constexpr (std::is_same_v<F, CStr>) {
        char untouched[48];
        Holder<N, char>::Prefill(untouched);
        EXPECT_EQ(std::memcmp(h.v, untouched, sizeof untouched), 0) << "field " << N;
    } else if constexpr (std::is_same_v<F, CCur>) {
        EXPECT_EQ(h.v, 0.0) << "field " << N;
    } else if constexpr (std::is_same_v<F, CDate>) {
        EXPECT_EQ(h.v, kEmptyDateOut) << "field " << N;
    } else if constexpr (std::is_same_v<F, long>) {
        EXPECT_EQ(h.v, static_cast<P>(-1)) << "field " << N;
    } else {
        EXPECT_EQ(h.v, P(0)) << "field " << N;
    }
}

// Calls `pop` with output k carrying field N_k of R; outputs whose bit is set in `nulls`
// are passed as null and must stay untouched. want null: the pop must fail with `result`
// and leave the defaults; else it must succeed with want's fields.
template <class R, int... N, class... P>
void ExpectPop(long (*pop)(CKVCLProcess*, P*...), CKVCLProcess* s, Fields<N...>, const R* want,
               long result = OK_RESULT, unsigned long long nulls = 0)
{
    static_assert(sizeof...(N) == sizeof...(P), "one field number per output");
    std::tuple<Holder<N, P>...> out;
    [&]<std::size_t... K>(std::index_sequence<K...>) {
        EXPECT_EQ(pop(s, std::get<K>(out).Ptr((nulls >> K) & 1)...), result);
        auto check = [&]<int M, class Q>(const Holder<M, Q>& h, bool null) {
            const Holder<M, Q> fresh;
            if (null)
                EXPECT_EQ(std::memcmp(&h, &fresh, sizeof h), 0) << "null output " << M << " written";
            else if (want)
                ExpectField(h, *want);
            else
                ExpectDefault<M, Q, R>(h);
        };
        (check(std::get<K>(out), (nulls >> K) & 1), ...);
    }(std::index_sequence_for<P...>());
}

}  // namespace kvtest
