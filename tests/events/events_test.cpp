// The events side end to end: a scripted server calls out over a client's events socket
// to its events and database interfaces with records of the client's own types; the client
// reads the calls in ProcessEvents and the application takes the records with the
// GetNext...Event functions.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <future>
#include <memory>
#include <regex>
#include <string>
#include <tuple>
#include <utility>

#include "client/records.h"
#include "common/fake_server.h"
#include "kvclient.h"
#include "rpc/interface.h"

namespace kvtest {
namespace {
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
    uint32_t object = 0xFFFFFFFFu;   // the class

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
    } else if constexpr (R::template kIdentifier<N>) {
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

// A session of client 7 of type 7 (calls, events and database events) on a fake server.
struct CIEvents : FakeServerTest {
    static constexpr long kClient = 7;
    Session c{server, kClient, 7};
    void SetUp() override { ASSERT_TRUE(c.s); }
};
using GetNextEvent = CIEvents;

// Record, its type code, how it arrives (interface and newest call), a pop function and the
// record field that each of its outputs carries, as docs/events.md lists them.
#define KV_POP_ROWS(X)                                                                             \
    X(CServerEvent, 3, IF_EVENTS, 15, GetNextServerEventMT, Upto<2>)                               \
    X(CClientEvent, 4, IF_EVENTS, 16, GetNextClientEventMT, Upto<3>)                               \
    X(CDBLogEvent, 5, IF_DB, 16, GetNextDBLogEventMT, Upto<4>)                                     \
    X(CLogDelivery, 6, IF_DB, 13, GetNextDBLogDeliveryEventMT, Upto<12>)                           \
    X(CClearDelivery, 7, IF_DB, 15, GetNextDBClearDeliveryEventMT, Upto<5>)                        \
    X(CStackDelivery, 8, IF_DB, 14, GetNextDBStackDeliveryEventMT, Upto<1>)                        \
    X(CHoseETotals, 9, IF_DB, 17, GetNextDBHoseETotalsEventMT, Upto<5>)                            \
    X(CHoseETotals, 9, IF_DB, 17, GetNextDBHoseETotalsEventExMT, Upto<15>)                         \
    X(CDBTrigger, 10, IF_DB, 18, GetNextDBTriggerEventMT, Upto<2>)                                 \
    X(CAttendantLogonEvent, 11, IF_DB, 19, GetNextDBAttendantLogonEventMT, Upto<2>)                \
    X(CAttendantLogoffEvent, 12, IF_DB, 20, GetNextDBAttendantLogoffEventMT, Upto<1>)              \
    X(CDBTankStatus, 13, IF_DB, 21, GetNextDBTankStatusEventMT, Upto<8>)                           \
    X(CDBTankStatus, 13, IF_DB, 21, GetNextDBTankStatusEventExMT, Upto<17>)                        \
    X(CDBTankStatus, 13, IF_DB, 21, GetNextDBTankStatusEventEx2MT, Upto<19>)                       \
    X(CZeroDeliveryEvent, 17, IF_EVENTS, 21, GetNextZeroDeliveryEventMT, Upto<4>)                  \
    X(CZeroDeliveryEvent, 17, IF_EVENTS, 21, GetNextZeroDeliveryEventExMT, Upto<7>)                \
    X(CZBPanIDEvent, 19, IF_EVENTS, 23, GetNextZBPanIDEventMT, Upto<2>)                            \
    X(CCardReadEvent, 22, IF_EVENTS, 26, GetNextCardReadEventMT, Upto<8>)                          \
    X(CZB2GStatusEvent, 23, IF_EVENTS, 28, GetNextZB2GStatusEventMT, Upto<9>)                      \
    X(CLogEventEvent, 24, IF_EVENTS, 29, GetNextLogEventEventMT, Upto<18>)                         \
    X(CSaleItemEvent, 25, IF_EVENTS, 30, GetNextSaleItemEventMT, Upto<33>)                         \
    X(CKVOdoEvent, 26, IF_EVENTS, 31, GetNextKVOdoEventMT, Upto<24>)                               \
    X(CKVTermPromptEvent, 27, IF_EVENTS, 32, GetNextKVTermPromptEventMT, Upto<4>)                  \
    X(CPumpEvent, 1, IF_EVENTS, 27, GetNextPumpEventMT, Cat<Upto<8>, Range<11, 17>>)               \
    X(CPumpEvent, 1, IF_EVENTS, 27, GetNextPumpEventExMT, Cat<Upto<8>, Range<11, 32>>)             \
    X(CPumpEvent, 1, IF_EVENTS, 27, GetNextPumpEventEx2MT, Upto<41>)                               \
    X(CPumpEvent, 1, IF_EVENTS, 27, GetNextPumpEventEx3MT, Upto<43>)                               \
    X(CDeliveryEvent, 2, IF_EVENTS, 17, GetNextDeliveryEventMT, Cat<Upto<7>, Range<16, 27>>)       \
    X(CDeliveryEvent, 2, IF_EVENTS, 17, GetNextDeliveryEventExMT, Cat<Upto<11>, Range<16, 27>>)    \
    X(CDeliveryEvent, 2, IF_EVENTS, 17, GetNextDeliveryEventEx2MT, Upto<27>)                       \
    X(CDeliveryEvent, 2, IF_EVENTS, 17, GetNextDeliveryEventEx3MT, Upto<43>)                       \
    X(CDeliveryEvent, 2, IF_EVENTS, 17, GetNextDeliveryEventEx4MT, Upto<44>)

}  // namespace

TEST_F(CIEvents, EveryCallQueuesItsRecordAndEveryPopReturnsItsFields)
{
    // Each record twice: every output wanted, then every other output null.
#define KV_CHECK_ROW(R, Code, Iface, Id, Pop, ...)                                     \
    {                                                                                  \
        SCOPED_TRACE(#Pop);                                                            \
        std::unique_ptr<R> want(SampleRecord<R>());                                    \
        for (unsigned long long nulls : {0ULL, 0xAAAAAAAAAAAULL}) {                    \
            ASSERT_EQ((Push{Iface, Id}.Send(server, kClient, want.get())), 0);         \
            ASSERT_TRUE(ProcessUntil(c.s, 1));                                         \
            EXPECT_EQ(HeadType(c.s), Code);                                            \
            ExpectPop(Pop, c.s, __VA_ARGS__(), want.get(), OK_RESULT, nulls);          \
            EXPECT_EQ(EventCount(c.s), 0);                                             \
        }                                                                              \
    }
    KV_POP_ROWS(KV_CHECK_ROW)
#undef KV_CHECK_ROW
}

TEST_F(GetNextEvent, OutputsHoldTheirDefaultsWheneverNothingIsTaken)
{
    Session callsOnly(server, kClient + 1, 1);
    ASSERT_TRUE(callsOnly.s);
    std::unique_ptr<CServerEvent> server3(SampleRecord<CServerEvent>());
    std::unique_ptr<CStackDelivery> stack8(SampleRecord<CStackDelivery>());
#define KV_CHECK_DEFAULTS(R, Code, Iface, Id, Pop, ...)                                           \
    {                                                                                             \
        SCOPED_TRACE(#Pop);                                                                       \
        ExpectPop<R>(Pop, nullptr, __VA_ARGS__(), nullptr, NO_SESSION_RESULT);                    \
        ExpectPop<R>(Pop, callsOnly.s, __VA_ARGS__(), nullptr, WRONG_CLIENT_TYPE_RESULT);         \
        ExpectPop<R>(Pop, c.s, __VA_ARGS__(), nullptr, NOT_FOUND_RESULT);                         \
        /* a head of another type stays where it is */                                          \
        if (Code == 8)                                                                            \
            ASSERT_EQ((Push{IF_EVENTS, 15}.Send(server, kClient, server3.get())), 0);             \
        else                                                                                      \
            ASSERT_EQ((Push{IF_DB, 14}.Send(server, kClient, stack8.get())), 0);                  \
        ASSERT_TRUE(ProcessUntil(c.s, 1));                                                        \
        ExpectPop<R>(Pop, c.s, __VA_ARGS__(), nullptr, NOT_FOUND_RESULT);                         \
        EXPECT_EQ(EventCount(c.s), 1);                                                                 \
        EXPECT_EQ(DiscardNextEventMT(c.s), 0);                                                    \
    }
    KV_POP_ROWS(KV_CHECK_DEFAULTS)
#undef KV_CHECK_DEFAULTS

    // The locking form without a session writes its defaults too.
    long id = 5;
    char text[] = "  ";
    EXPECT_EQ(GetNextServerEvent(&id, text), NO_SESSION_RESULT);
    EXPECT_EQ(id, -1);
    EXPECT_STREQ(text, "  ");
}

TEST_F(GetNextEvent, IdentifiersStartAtMinusOneCountsStatesAndCodesAtZero)
{
    long ids[6], state = 5, type = 5, lockOwner = 5, attendant = 5;
    EXPECT_EQ(GetNextDeliveryEventMT(c.s, &ids[0], &ids[1], &ids[2], &ids[3], &ids[4], &ids[5], nullptr, nullptr,
                                     nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &state, &type,
                                     &lockOwner, &attendant), 2);
    EXPECT_EQ(std::make_tuple(ids[0], ids[5], state, type, lockOwner, attendant),
              std::make_tuple(-1L, -1L, 0L, 0L, -1L, -1L));
    long pumpNumber = 5, deliveryId = 5, logId = 5, code = 5;
    short reserveType = 5;
    EXPECT_EQ(GetNextPumpEventMT(c.s, nullptr, &pumpNumber, nullptr, nullptr, &deliveryId, nullptr, &reserveType,
                                 nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(GetNextDBLogEventMT(c.s, &logId, &code, nullptr, nullptr), 2);
    EXPECT_EQ(std::make_tuple(pumpNumber, deliveryId, reserveType, logId, code), std::make_tuple(-1L, -1L, short{0}, -1L, 0L));
}

TEST_F(CIEvents, OlderCallsGiveTheRecordOfTheNewerOnes)
{
    const CCur minusOne = CCur::FromRaw(-10000);

    // Call 13 with all 43 fields, then with the mandatory 32: the 11 later fields read -1
    // (strings empty).
    std::unique_ptr<CPumpEvent> full(SampleRecord<CPumpEvent>());
    std::unique_ptr<CPumpEvent> older(
        SampleRecord<CPumpEvent, 32>(-1LL, -1L, -1L, CStr(""), -1LL, -1L, -1L, CStr(""), -1LL, minusOne, minusOne));
    ASSERT_EQ((Push{IF_EVENTS, 13}.Send(server, kClient, full.get())), 0);
    ASSERT_EQ((Push{IF_EVENTS, 13}.Send(server, kClient, full.get(), 32)), 0);
    ASSERT_TRUE(ProcessUntil(c.s, 2));
    ExpectPop(GetNextPumpEventEx3MT, c.s, Upto<43>(), full.get());
    ExpectPop(GetNextPumpEventEx3MT, c.s, Upto<43>(), older.get());

    // Any count between 32 and 43 is malformed: refused, nothing queued, the next call read.
    std::unique_ptr<CServerEvent> next(SampleRecord<CServerEvent>());
    ASSERT_EQ((Push{IF_EVENTS, 13}.Send(server, kClient, full.get(), 35)), 0);
    ASSERT_EQ((Push{IF_EVENTS, 15}.Send(server, kClient, next.get())), 0);
    ASSERT_TRUE(ProcessUntil(c.s, 1));
    EXPECT_EQ(HeadType(c.s), 3);
    EXPECT_EQ(DiscardNextEventMT(c.s), 0);

    // Call 14 carries the delivery's first 27 fields: no date, amounts 0, keys -1.
    std::unique_ptr<CDeliveryEvent> delivery(SampleRecord<CDeliveryEvent>());
    std::unique_ptr<CDeliveryEvent> filled(SampleRecord<CDeliveryEvent, 27>(
        CDate(), CCur(), CCur(), CCur(), CCur(), CCur(), CCur(), -1LL, -1L, -1L, CStr(""), -1LL, -1L, -1L, CStr(""),
        -1LL, CCur()));
    ASSERT_EQ((Push{IF_EVENTS, 14}.Send(server, kClient, delivery.get(), 27)), 0);
    ASSERT_TRUE(ProcessUntil(c.s, 1));
    EXPECT_EQ(HeadType(c.s), 2);
    ExpectPop(GetNextDeliveryEventEx4MT, c.s, Upto<44>(), filled.get());

    // Database call 17 with the hose ID and the four totals only.
    std::unique_ptr<CHoseETotals> totals(SampleRecord<CHoseETotals>());
    std::unique_ptr<CHoseETotals> shortTotals(
        SampleRecord<CHoseETotals, 5>(-1L, -1L, -1L, -1L, CStr(""), -1L, -1L, CStr(""), -1L, CStr("")));
    ASSERT_EQ((Push{IF_DB, 17}.Send(server, kClient, totals.get(), 5)), 0);
    ASSERT_TRUE(ProcessUntil(c.s, 1));
    ExpectPop(GetNextDBHoseETotalsEventExMT, c.s, Upto<15>(), shortTotals.get());
}

TEST_F(CIEvents, UnknownCallsAreRefusedAndLogged)
{
    std::unique_ptr<CServerEvent> event(SampleRecord<CServerEvent>());

    // One-way: nothing comes back; the refusal is logged and nothing queued.
    ASSERT_EQ((Push{IF_EVENTS, 18}.Send(server, kClient)), 0);
    ASSERT_EQ((Push{IF_DB, 22}.Send(server, kClient)), 0);
    ASSERT_EQ((Push{IF_EVENTS, 15}.Send(server, kClient, event.get())), 0);
    ASSERT_TRUE(ProcessUntil(c.s, 1));
    EXPECT_EQ(HeadType(c.s), 3);
    EXPECT_EQ(DiscardNextEventMT(c.s), 0);
    const std::string log = dir.ClientLog(kClient);
    EXPECT_TRUE(std::regex_search(log, std::regex("Throw -4, Line [0-9]+, File IEvents, Ftn ProcessCall"))) << log;
    EXPECT_TRUE(std::regex_search(log, std::regex("Throw -4, Line [0-9]+, File IDB, Ftn ProcessCall"))) << log;

    // Two-way: the server gets the result of each request, and a refused one queues nothing.
    auto twoWay = [&](Push push, const CServerEvent* record) {
        push.oneWay = false;
        std::future<long> reply = push.Start(server, kClient, record, record ? CServerEvent::kFields : 0);
        auto start = std::chrono::steady_clock::now();
        while (reply.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready && SecondsSince(start) < 3)
            ProcessEventsMT(c.s);
        return reply.get();
    };
    EXPECT_EQ(twoWay(Push{IF_EVENTS, 18}, nullptr), BAD_FUNCTION_RESULT);
    EXPECT_EQ(EventCount(c.s), 0);
    EXPECT_EQ(twoWay(Push{IF_EVENTS, 15, false, 5}, event.get()), NO_OBJECT_RESULT);   // holds no objects
    EXPECT_EQ(EventCount(c.s), 0);
    EXPECT_EQ(twoWay(Push{IF_EVENTS, 15}, event.get()), OK_RESULT);
    EXPECT_EQ(EventCount(c.s), 1);
    ExpectPop(GetNextServerEventMT, c.s, Upto<2>(), event.get());
}

}  // namespace kvtest
