// The library lock: after ClientLogonEx, threads calling exported functions at once each get
// the reply to their own request. Run under ThreadSanitizer by `make test-tsan`; the server
// is a child process so that nothing but the library is shared between threads.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "common/fake_server.h"

using namespace kvtest;

namespace {

// A loopback port that nothing listens on: connections to it are refused at once.
unsigned short UnusedPort()
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof a;
    bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
    getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
    close(fd);
    return ntohs(a.sin_port);
}

}  // namespace

TEST(ClientLogonExLock, ConcurrentCallsEachGetTheirOwnReply) {
    CClientDir dir;
    CForkedFakeServer server(dir, [](CFakeServer& f) {
        f.On(IF_CLIENT, 29, [](const FakeCall& c, FakeReply& r) { r.Str(0, c.Str(0) + "/" + c.Str(1)); });
        f.On(IF_CLIENT, 42, [](const FakeCall& c, FakeReply& r) {
            r.Short(0, static_cast<short>(c.Int(0))).Cur(3, c.Int(0) * 10000 + 1);
        });
    });
    ASSERT_NE(server.CallPort(), 0);
    ASSERT_EQ(ClientLogonEx(51, 3, "127.0.0.1", server.CallPort(), server.EventsPort(), 5000, nullptr, nullptr, 0), 0);

    constexpr int kThreads = 4;
    constexpr int kRounds = 150;
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &wrong] {
            for (int i = 0; i < kRounds; ++i) {
                const std::string section = "T" + std::to_string(t);
                const std::string key = std::to_string(i);
                char value[24] = "                       ";
                if (GetIniValue(section.c_str(), key.c_str(), value) != 0 || section + "/" + key != value) ++wrong;

                const short element = static_cast<short>(t * 1000 + i);
                short a2 = 0, a4 = 0, a6 = 0, a7 = 0, a8 = 0;
                long a3 = 0;
                double price = 0;
                if (GetPriceSignElement(element, &a2, &a3, &a4, &price, &a6, &a7, &a8) != 0 || a2 != element ||
                    std::llround(price * 10000) != element * 10000L + 1)
                    ++wrong;

                long mask = 0, count = -1;
                if (AllStop() != 0 || GetClientType(&mask) != 0 || mask != 3143 || GetEventsCount(&count) != 0 ||
                    count != 0)
                    ++wrong;
            }
        });
    }
    for (std::thread& th : threads) th.join();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(ClientLogoff(), 0);
    DllMain(nullptr, 2, nullptr);
}

// First logons on several threads at once create one lock between them. Were each to make
// its own, a thread would wait on a lock that the others no longer release (and
// ThreadSanitizer sees the unguarded pointer).
TEST(ClientLogonExLock, FirstLogonsOnManyThreadsMakeOneLock) {
    CClientDir dir;
    const unsigned short nobody = UnusedPort();   // the logons fail fast, -19, under the lock
    constexpr int kThreads = 6;
    for (int round = 0; round < 4; ++round) {
        DllMain(nullptr, 2, nullptr);
        std::atomic<int> ready{0};
        std::vector<long> results(kThreads, 0);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t)
            threads.emplace_back([&, t] {
                CKVCLProcess* s = nullptr;
                for (++ready; ready < kThreads;) {}
                results[t] = ClientLogonExMT(&s, 60 + t, 3, "127.0.0.1", nobody, nobody, 500, nullptr, nullptr, 0);
                long count = 0;
                if (GetPumpsCount(&count) != 8) results[t] = 1;   // locks and unlocks again
            });
        for (std::thread& th : threads) th.join();
        ASSERT_EQ(std::vector<long>(kThreads, -19), results) << "round " << round;
    }
    DllMain(nullptr, 2, nullptr);
}
