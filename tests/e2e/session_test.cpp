// A session of the library against kvsim: the reconnection after kvsim drops its sockets.
#include "e2e_fixture.h"

using namespace e2e;

TEST(TestConnection, ReconnectsUnderTheSameSessionAndKeepsTheQueue)
{
    Site site;
    Session pos(site.sim, 65, 7);
    ASSERT_EQ(0, pos.result);
    EXPECT_EQ(0, FireClientEventMT(pos, 9, "kept"));
    ASSERT_TRUE(pos.WaitFor(4));
    long queued = 0;
    EXPECT_EQ(0, GetEventsCountMT(pos, &queued));

    // kvsim closes both sockets; the next call fails, reconnects and is sent again.
    ASSERT_EQ("ok dropped client 65", site.sim.Command("drop 65"));
    usleep(100000);
    long when = 0;
    EXPECT_EQ(0, GetDateTimeMT(pos, &when));
    EXPECT_LE(std::labs(when - static_cast<long>(time(nullptr))), 5);
    EXPECT_NE(std::string::npos, site.dir.ClientLog(65).find("Reconnected successfully"));
    long after = 0;
    EXPECT_EQ(0, GetEventsCountMT(pos, &after));
    EXPECT_EQ(queued, after);
    short head = 0;
    EXPECT_EQ(0, GetNextEventTypeMT(pos, &head));
    EXPECT_EQ(4, head);

    // Events flow again on the new connection, and the session is still one.
    EXPECT_EQ(0, FireClientEventMT(pos, 10, "after"));
    EXPECT_EQ(0, DiscardNextEventMT(pos));
    ASSERT_TRUE(pos.WaitFor(4));
    long clients = 0;
    EXPECT_EQ(0, GetClientsCountMT(pos, &clients));
    EXPECT_EQ(1, clients);
    EXPECT_EQ(0, TestConnectionMT(pos));
}
