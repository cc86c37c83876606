// The exported call path allocates nothing on the caller's heap once a session is up:
// holders and converted values live on the stack. (Functions that take strings convert
// them into CStr and are left out.)
#include <gtest/gtest.h>

#include "common/alloc_count.h"
#include "common/fake_server.h"

using namespace kvtest;
using ApiFrameCallPath = FakeServerTest;

TEST_F(ApiFrameCallPath, CallsWithoutStringsAllocateNothing) {
    server.On(IF_CLIENT, 34, [](const FakeCall&, FakeReply& r) { r.Date(0, 133444736000000000ULL); });
    CKVCLProcess* s = nullptr;
    ASSERT_EQ(server.Logon(&s, 61, 3), 0);
    auto calls = [s] {
        short a = 0, b = 0, c = 0, d = 0, e = 0;
        long l = 0, mask = 0, count = 0, when = 0;
        double value = 0;
        long r = AllStopMT(s) | SetNextDeliveryIDMT(s, 4) | GetClientTypeMT(s, &mask) | SetDateTimeMT(s, 1700000000) |
                 GetDateTimeMT(s, &when) | SetPriceSignElementMT(s, 1, 2, 3, 4, 1.5, 6, 7, 8) |
                 GetPriceSignElementMT(s, 1, &a, &l, &b, &value, &c, &d, &e) | ClientStatusMT(s, &a, &b) |
                 GetEventsCountMT(s, &count) | ProcessEventsMT(s) | WDResetMT(s);
        EXPECT_EQ(r, 0);
        EXPECT_EQ(when, 1700000000);
    };
    calls();   // warm-up
    const long before = tAllocations;
    for (int i = 0; i < 20; ++i) calls();
    EXPECT_EQ(tAllocations - before, 0);
    ClientLogoffMT(&s);
}
