#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "foundation/log.h"
#include "rpc/net_fixture.h"

namespace {

using kvtest::ReadFile;

std::vector<std::string> Lines(const std::string& path)
{
    std::vector<std::string> lines;
    std::istringstream in(ReadFile(path));
    for (std::string l; std::getline(in, l);)
        lines.push_back(l);
    return lines;
}

bool Exists(const std::string& path) { return std::filesystem::exists(path); }

bool Ends(const std::string& s, const std::string& tail)
{
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

bool Matches(const std::string& s, const char* re) { return std::regex_match(s, std::regex(re)); }

CDate SecondsAgo(int s) { return CDate::FromTicks(CDate().Now().Ticks() - s * CDate::kTicksPerSecond); }

}  // namespace

TEST(CLog, RotationKeepsTheNewestArchives)
{
    kvtest::TempDir dir;
    const std::string base = dir / "trace";
    CLog log(base.c_str(), "T", 0, 100, 2, false, true);
    for (char c : {'A', 'B', 'C'})
        log.Log("%s", std::string(150, c).c_str());
    EXPECT_TRUE(Exists(base + ".L00"));
    EXPECT_EQ(ReadFile(base + ".L01"), std::string(150, 'C') + "\n");
    EXPECT_EQ(ReadFile(base + ".L02"), std::string(150, 'B') + "\n");
    EXPECT_FALSE(Exists(base + ".L03"));

    // Reopened per line: rotated right after the line that passed the size.
    const std::string other = dir / "closed";
    CLog closed(other.c_str(), "", 0, 40, 3, false, false);
    for (int i = 0; i < 5; ++i)
        closed.Log("%040d", i);
    EXPECT_FALSE(Exists(other + ".L00"));
    EXPECT_EQ(ReadFile(other + ".L03"), std::string(39, '0') + "2\n");
    EXPECT_FALSE(Exists(other + ".L04"));
}

TEST(CLog, StampsTimeLinesAndLevels)
{
    kvtest::TempDir dir;
    const std::string base = dir / "trace";
    CLog log(base.c_str(), "Trace", 1, 1 << 20, 2, true, false);
    log.Log("one");
    log.SetLastTime(SecondsAgo(61));
    log.Log("two %d", 2);
    log.Log("three");
    log.SetLastTime(SecondsAgo(30));
    log.Log("four");
    log.Log(3, "hidden");
    log.Log(1, "level one");
    log.SetLevel(3);
    log.Log(3, "level three");
    log.Log(4, "level four");
    log.Error(42, "pump.cpp", "bad %s", "state");

    const std::vector<std::string> l = Lines(base + ".L00");
    ASSERT_EQ(l.size(), 9u);
    EXPECT_TRUE(Ends(l[0], " ***START <Trace>")) << l[0];
    const char* const stamped[] = {" *[0-9]+ms one", "[^ ].* \\*\\*\\*\\*TIME <Trace>", " *[0-9]+ms two 2",
                                   " *[0-9]+ms three", " *[0-9]+ms four", " *[0-9]+ms level one",
                                   " *[0-9]+ms level three", "[^ ].* \\*\\*\\*ERROR line 42 in <pump.cpp> bad state"};
    for (size_t i = 0; i < std::size(stamped); ++i)
        EXPECT_TRUE(Matches(l[i + 1], stamped[i])) << l[i + 1];

    // No title: no TIME line. Then the other stamp modes.
    const std::string plain = dir / "plain";
    CLog untitled(plain.c_str(), "", 1, 1 << 20, 2, true, false);
    untitled.SetLastTime(CDate());
    untitled.Log("x");
    for (short mode : {2, 3, 0}) {
        CLog other(plain.c_str(), "", mode, 1 << 20, 2, false, false);
        other.Log("m%d", mode);
    }
    const std::vector<std::string> p = Lines(plain + ".L00");
    ASSERT_EQ(p.size(), 7u);  // each closed log adds a STOP line
    EXPECT_TRUE(Matches(p[0], " *[0-9]+ms x")) << p[0];
    EXPECT_TRUE(Matches(p[1], "[^ ].* m2")) << p[1];
    EXPECT_TRUE(Matches(p[3], "[^ ].* +[0-9]+ms m3")) << p[3];
    EXPECT_EQ(p[5], "m0");
}

TEST(CLog, AlarmRecordsUseBothTagTables)
{
    kvtest::TempDir dir;
    const std::string base = dir / "KVAlarms";
    CLog alarms(base.c_str(), "", 0, 524288, 3, true, false);
    alarms.LogAlarm(1, 3, 12, -34, "pump %d", 7);
    alarms.LogAlarm(5, 0, 0xABC, 1, "id");
    alarms.LogAlarm(1, 20, 0, 0, "odd type");
    alarms.LogAlarm(15, 15, 0, 0, "x");
    alarms.LogAlarm(-1, 14, 0, 0, "y");
    alarms.LogAlarm(10, 13, 0, 0, "z");
    std::vector<std::string> l = Lines(base + ".L00");
    ASSERT_EQ(l.size(), 6u);  // no title: no START line
    for (std::string& line : l)
        line.erase(0, line.find(',') + 1);  // the date has no comma in the default locale
    EXPECT_EQ(l, (std::vector<std::string>{"PUMP,STOP,    12,   -34,\"pump 7\"", "KVID,INIT,000ABC,     1,\"id\"",
                                          "PUMP,*UNK,     0,     0,\"odd type\"", "*UNK,*UNK,     0,     0,\"x\"",
                                          "*UNK,RSET,     0,     0,\"y\"", "POS ,MEM ,     0,     0,\"z\""}));
}

TEST(CLog, MessageDumps)
{
    kvtest::TempDir dir;
    const std::string base = dir / "msg";
    CLog log(base.c_str(), "", 0, 1 << 20, 2, false, false);
    const unsigned char ok[] = {'O', 'K', 13, 10}, digits[] = {'1', 'A'}, runs[] = {0, 'a', 'b', 0xFF, '"'};
    log.LogMsg("IN", "Call", ok, 4, 3, 2);
    log.LogMsg("OUT", nullptr, digits, 2, -1, 1);
    log.LogMsg("IN", "P", nullptr, 0, -1, 2);
    log.LogMsg("IN", "", ok, 2, 12, 0);
    log.LogMsg("X", nullptr, runs, 5, -1, 2);
    // The largest message dumps whole; anything longer is cut, never overrun.
    std::vector<unsigned char> big(24 + 2048, 0x80), huge(20000, 1);
    log.LogMsg("IN", nullptr, big.data(), static_cast<int>(big.size()), -1, 2);
    log.LogMsg("IN", nullptr, huge.data(), static_cast<int>(huge.size()), -1, 0);
    log.Log("%s", std::string(20000, 'L').c_str());

    const std::vector<std::string> l = Lines(base + ".L00");
    ASSERT_EQ(l.size(), 8u);
    EXPECT_EQ(std::vector(l.begin(), l.begin() + 5),
              (std::vector<std::string>{"Call Len 004 IN 03 \"OK\"[0D 0A]", "Len 002 OUT \"1\"[41]", "P Len 000 IN ",
                                        " Len 002 IN 12 [4F 4B]", "Len 005 X [00]\"ab\"[FF]\"\"\""}));
    EXPECT_EQ(l[5].size(), std::string("Len 2072 IN []").size() + 2072 * 3 - 1);
    EXPECT_LT(l[6].size(), 9000u);
    EXPECT_EQ(l[7], std::string(l[7].size(), 'L'));
    EXPECT_GT(l[7].size(), 4000u);
}

TEST(CLog, CloseEndsOutputAndMovingDropsOrKeepsTheFile)
{
    kvtest::TempDir dir;
    const std::string base = dir / "trace";
    {
        CLog log(base.c_str(), "T", 0, 1 << 20, 2, true, false);
        log.Close();
        log.Log("after");
        log.Error(1, "f", "after");
        log.LogAlarm(0, 0, 0, 0, "after");
    }
    std::vector<std::string> l = Lines(base + ".L00");
    ASSERT_EQ(l.size(), 2u);  // START, STOP; nothing after Close(), no second STOP
    EXPECT_TRUE(Ends(l[1], " ****STOP <T>"));

    const std::string oldDir = dir / "old", newDir = dir / "new";
    std::filesystem::create_directory(oldDir);
    std::filesystem::create_directory(newDir);
    CLog log((oldDir + "/KVClient001").c_str(), "KV", 1, 2098000, 20, true, false);
    ASSERT_TRUE(Exists(oldDir + "/KVClient001.L00"));
    log.SetPathSizeArchives(CStr(newDir.c_str()), 1450000, 10);
    EXPECT_FALSE(Exists(oldDir + "/KVClient001.L00"));
    EXPECT_STREQ(static_cast<char*>(log.BaseName()), (newDir + "/KVClient001").c_str());
    EXPECT_TRUE(log.MaxSize() == 1450000 && log.Archives() == 10);
    const std::string moved = newDir + "/KVClient001.L00";
    l = Lines(moved);
    ASSERT_EQ(l.size(), 1u);
    EXPECT_TRUE(Ends(l[0], " ***START <KV>"));

    // The same directory, also when it differs only in case: the file is kept and gets STOP.
    log.SetPathSizeArchives(CStr(newDir.c_str()), 1450000, 10);
    log.SetPathSizeArchives(CStr((dir / "NEW").c_str()), 1450000, 10);
    l = Lines(moved);
    ASSERT_EQ(l.size(), 4u);
    EXPECT_TRUE(Ends(l[1], " ****STOP <KV>") && Ends(l[2], " ***START <KV>") && Ends(l[3], " ****STOP <KV>"));

    log.ChangeFileName((newDir + "/Other").c_str());
    EXPECT_TRUE(Ends(ReadFile(newDir + "/Other.L00"), " ***START <KV>\n"));
}

TEST(CLog, ClientOutputAndThreads)
{
    struct Capturing : CLog {
        using CLog::CLog;
        void SocketOutput(const char* text) override { sent += text; }
        std::string sent;
    };
    kvtest::TempDir dir;
    Capturing remote((dir / "missing/dir/log").c_str(), "", 0, 1 << 20, 2, false, false);
    remote.SetToClients(true);
    remote.Log("to clients");  // the file cannot be opened: clients still get the line
    EXPECT_EQ(remote.sent, "to clients\n");

    const std::string base = dir / "mt";
    {
        CLog log(base.c_str(), "", 0, 1 << 30, 2, false, false);
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&log, t] {
                for (int i = 0; i < 100; ++i)
                    log.Log("thread %d %s", t, std::string(100, static_cast<char>('a' + t)).c_str());
            });
        for (auto& th : threads)
            th.join();
    }
    const std::vector<std::string> l = Lines(base + ".L00");
    ASSERT_EQ(l.size(), 401u);  // + STOP
    for (size_t i = 0; i < 400; ++i)
        ASSERT_TRUE(Matches(l[i], "thread 0 a{100}|thread 1 b{100}|thread 2 c{100}|thread 3 d{100}")) << l[i];
}

TEST(CTimer, TicksCountProcessorTime)
{
    const long t0 = CTimer::Ticks();
    usleep(300 * 1000);  // sleeping takes no processor time
    EXPECT_LT(CTimer::Ticks() - t0, 150);
    volatile unsigned long spin = 0;
    while (CTimer::Ticks() - t0 < 20)
        spin = spin + 1;
    const long viaClock = static_cast<long>(clock() / 1000);
    EXPECT_LE(CTimer::Ticks() - viaClock, 1);

    CTimer timer(50);
    EXPECT_FALSE(timer.Expired());
    timer._start -= 60;
    EXPECT_TRUE(timer.Expired());
}
