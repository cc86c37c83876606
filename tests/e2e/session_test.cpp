// Sessions of the library against kvsim: busy logons, event delivery by client type and
// mask, and the reconnection after kvsim drops a client's sockets.
#include "e2e_fixture.h"

using namespace e2e;

TEST(ClientLogonEx, WaitsOutABusyServerAndChecksItsVersion)
{
    Site site;
    ASSERT_EQ("ok busy 2", site.control("busy 2"));
    const auto start = std::chrono::steady_clock::now();
    Session pos(site.sim, 61, 7);
    ASSERT_EQ(0, pos.result);
    EXPECT_GE(kvtest::SecondsSince(start), 2.0);   // two refusals, a second apart
    EXPECT_NE(std::string::npos, site.dir.ClientLog(61).find("Logon result 54, try 1."));
    char version[40];
    std::memset(version, ' ', sizeof version - 1);
    version[sizeof version - 1] = 0;
    EXPECT_EQ(0, ServerVersionMT(pos, version));
    EXPECT_EQ(0, std::strncmp(version, kDefaultVersion, std::strlen(kDefaultVersion)));
    long clients = 0;
    EXPECT_EQ(0, GetClientsCountMT(pos, &clients));
    EXPECT_EQ(1, clients);
}

TEST(ClientLogonEx, EventsFollowTheClientTypeAndMask)
{
    Site site;
    Session calls(site.sim, 62, 1), events(site.sim, 63, 3), all(site.sim, 64, 7);
    ASSERT_EQ(0, calls.result);
    ASSERT_EQ(0, events.result);
    ASSERT_EQ(0, all.result);
    long count = 0;
    EXPECT_EQ(WRONG_CLIENT_TYPE_RESULT, GetEventsCountMT(calls, &count));

    // Client events reach everyone whose mask has bit 6, the sender too.
    EXPECT_EQ(0, FireClientEventMT(calls, 5, "shift change"));
    ASSERT_TRUE(events.WaitFor(4));
    ASSERT_TRUE(all.WaitFor(4));
    long from = 0, id = 0;
    char text[20];
    std::memset(text, ' ', sizeof text - 1);
    text[sizeof text - 1] = 0;
    EXPECT_EQ(0, GetNextClientEventMT(events, &from, &id, text));
    EXPECT_EQ(62, from);
    EXPECT_EQ(5, id);
    EXPECT_EQ(0, std::strncmp(text, "shift change", 12));

    // A mask without bit 6 keeps them away; the database interface only comes with type 7.
    EXPECT_EQ(0, SetClientTypeMT(events, EV_PUMP));
    EXPECT_EQ(0, FireClientEventMT(all, 6, "again"));
    ASSERT_TRUE(all.WaitFor(4));
    EXPECT_FALSE(events.WaitFor(4, 300));
    EXPECT_EQ(0, ReadAllTanksMT(calls));
    EXPECT_TRUE(all.WaitFor(13));          // tank status
    EXPECT_FALSE(events.WaitFor(13, 300));
}

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
    ASSERT_EQ("ok dropped client 65", site.control("drop 65"));
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
