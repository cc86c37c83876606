// The events side end to end: a scripted server calls the client's events and database
// interfaces over the events connection, the client reads the calls in ProcessEvents and
// the application takes the records with the GetNext...Event functions.
#include <gtest/gtest.h>

#include <memory>
#include <regex>

#include "events_rig.h"

using namespace kvtest;

namespace {

// A session of client 7 of type 7 (calls, events and database events) on a fake server.
struct CIEvents : ::testing::Test {
    static constexpr long kClient = 7;
    CClientDir dir;
    CFakeServer server{dir};
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
            EXPECT_EQ(EventCount(c.s), 0);                                                  \
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
    EXPECT_EQ(DateOut(CDate()), kEmptyDateOut);
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
