// The serving side of a call allocates nothing once the connection is set up: the server's
// passes keep their poll set between passes.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "rpc_fixture.h"

// Counted per thread by the replacement operator new of this test program.
extern thread_local long tAllocations;

TEST(CServerProcess, WarmPassesAllocateNothing)
{
    kvtest::TempDir dir;
    CServerProcess server((dir / "server").c_str(), "server", 0, 0, 1000);
    ASSERT_TRUE(server.Open());
    auto* served = new CTestServer(&server);
    served->Objects().Add(new CPhyObject(7, 1, CStr("seven"), &server));
    server.AddInterface(served);

    std::atomic<bool> measure{false}, stop{false};
    std::atomic<long> passes{0}, allocations{-1};
    std::thread loop([&] {
        long base = -1;
        while (!stop) {
            if (measure && base < 0)
                base = tAllocations;
            server.RunOnce(10);
            if (base >= 0)
                ++passes;
        }
        allocations = base < 0 ? -1 : tAllocations - base;
    });

    kvtest::RecordingClient client(dir / "client", server.BoundCallPort(), server.BoundEventsPort(), 1000, kClientId);
    ASSERT_TRUE(client.OpenSockets());
    client.ConnectSockets();
    CITest proxy(&client, client.CallSocket(), kClientId);
    long count = 0;
    ASSERT_EQ(0, proxy.Count(&count));   // accepted, paired, poll set grown
    measure = true;
    for (int i = 0; i < 50; ++i)
        ASSERT_EQ(0, proxy.Count(&count));
    stop = true;
    loop.join();
    EXPECT_EQ(1, count);
    EXPECT_GT(passes, 0);   // passes that served calls ran while measured (a pass serves 16 at most)
    EXPECT_EQ(0, allocations);
}
