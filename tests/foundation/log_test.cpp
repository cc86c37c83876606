#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>
#include <unistd.h>

#include "foundation/log.h"

namespace {

class TempDir {
public:
    TempDir()
    {
        std::string tmpl = (std::filesystem::temp_directory_path() / "kvlog.XXXXXX").string();
        _path = mkdtemp(tmpl.data());
    }
    ~TempDir() { std::filesystem::remove_all(_path); }
    std::string File(const std::string& name) const { return _path + "/" + name; }
    const std::string& Path() const { return _path; }

private:
    std::string _path;
};

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

std::vector<std::string> Lines(const std::string& path)
{
    std::vector<std::string> lines;
    std::istringstream in(ReadFile(path));
    for (std::string l; std::getline(in, l);)
        lines.push_back(l);
    return lines;
}

bool Exists(const std::string& path) { return std::filesystem::exists(path); }

bool EndsWith(const std::string& s, const std::string& tail)
{
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

// Alarm records start with the date, which holds no comma in the default locale.
std::string AfterDate(const std::string& line) { return line.substr(line.find(',') + 1); }

class CapturingLog : public CLog {
public:
    using CLog::CLog;
    void SocketOutput(const char* text) override { _sent += text; }
    std::string _sent;
};

}  // namespace

TEST(CLog, RotationKeepsTheNewestArchives)
{
    TempDir dir;
    const std::string base = dir.File("trace");
    {
        CLog log(base.c_str(), "T", 0, 100, 2, false, true);
        for (char c : {'A', 'B', 'C'})
            log.Log("%s", std::string(150, c).c_str());
        EXPECT_TRUE(Exists(base + ".L00"));
        EXPECT_EQ(ReadFile(base + ".L01"), std::string(150, 'C') + "\n");
        EXPECT_EQ(ReadFile(base + ".L02"), std::string(150, 'B') + "\n");
        EXPECT_FALSE(Exists(base + ".L03"));
        log.Log("short");
        EXPECT_EQ(ReadFile(base + ".L00"), "short\n");
    }
    EXPECT_EQ(Lines(base + ".L00").size(), 2u);  // + STOP

    // Not kept open: the file is reopened per line and rotated the same way.
    const std::string other = dir.File("closed");
    CLog log(other.c_str(), "", 0, 40, 3, false, false);
    for (int i = 0; i < 5; ++i)
        log.Log("%040d", i);
    EXPECT_FALSE(Exists(other + ".L00"));
    EXPECT_EQ(ReadFile(other + ".L01"), std::string(39, '0') + "4\n");
    EXPECT_EQ(ReadFile(other + ".L03"), std::string(39, '0') + "2\n");
    EXPECT_FALSE(Exists(other + ".L04"));
}

TEST(CLog, StampsTimeLinesAndLevels)
{
    TempDir dir;
    const std::string base = dir.File("trace");
    CLog log(base.c_str(), "Trace", 1, 1 << 20, 2, true, false);
    const std::string file = base + ".L00";
    log.Log("one");
    log.SetLastTime(CDate::FromTicks(CDate().Now().Ticks() - 61 * CDate::kTicksPerSecond));
    log.Log("two %d", 2);
    log.Log("three");
    log.SetLastTime(CDate::FromTicks(CDate().Now().Ticks() - 30 * CDate::kTicksPerSecond));
    log.Log("four");
    log.Log(3, "hidden");
    log.Log(1, "level one");
    log.SetLevel(3);
    log.Log(3, "level three");
    log.Log(4, "level four");
    log.Error(42, "pump.cpp", "bad %s", "state");

    const std::vector<std::string> lines = Lines(file);
    ASSERT_EQ(lines.size(), 9u);
    EXPECT_TRUE(EndsWith(lines[0], " ***START <Trace>")) << lines[0];
    const std::regex stamped(" *[0-9]+ms (.*)");
    std::smatch m;
    ASSERT_TRUE(std::regex_match(lines[1], m, stamped)) << lines[1];
    EXPECT_EQ(m[1], "one");
    EXPECT_TRUE(EndsWith(lines[2], " ****TIME <Trace>")) << lines[2];
    EXPECT_NE(lines[2][0], ' ');
    ASSERT_TRUE(std::regex_match(lines[3], m, stamped));
    EXPECT_EQ(m[1], "two 2");
    EXPECT_TRUE(std::regex_match(lines[4], std::regex(" *[0-9]+ms three")));
    EXPECT_TRUE(std::regex_match(lines[5], std::regex(" *[0-9]+ms four")));
    EXPECT_TRUE(std::regex_match(lines[6], std::regex(" *[0-9]+ms level one")));
    EXPECT_TRUE(std::regex_match(lines[7], std::regex(" *[0-9]+ms level three")));
    EXPECT_TRUE(std::regex_match(lines[8], std::regex(".+ \\*\\*\\*ERROR line 42 in <pump.cpp> bad state")))
        << lines[8];

    // Without a title there is no TIME line; the other stamp modes.
    const std::string plain = dir.File("plain");
    CLog untitled(plain.c_str(), "", 1, 1 << 20, 2, true, false);
    untitled.SetLastTime(CDate());
    untitled.Log("x");
    CLog dated(plain.c_str(), "", 2, 1 << 20, 2, false, false);
    dated.Log("y");
    CLog both(plain.c_str(), "", 3, 1 << 20, 2, false, false);
    both.Log("z");
    CLog bare(plain.c_str(), "", 0, 1 << 20, 2, false, false);
    bare.Log("w");
    const std::vector<std::string> p = Lines(plain + ".L00");
    ASSERT_EQ(p.size(), 4u);
    EXPECT_TRUE(std::regex_match(p[0], std::regex(" *[0-9]+ms x")));
    EXPECT_TRUE(std::regex_match(p[1], std::regex("[^ ].* y"))) << p[1];
    EXPECT_TRUE(std::regex_match(p[2], std::regex("[^ ].* +[0-9]+ms z"))) << p[2];
    EXPECT_EQ(p[3], "w");
}

TEST(CLog, AlarmRecordsUseBothTagTables)
{
    TempDir dir;
    const std::string base = dir.File("KVAlarms");
    CLog alarms(base.c_str(), "", 0, 524288, 3, true, false);
    alarms.LogAlarm(1, 3, 12, -34, "pump %d", 7);
    alarms.LogAlarm(5, 0, 0xABC, 1, "id");
    alarms.LogAlarm(1, 20, 0, 0, "odd type");
    alarms.LogAlarm(15, 15, 0, 0, "x");
    alarms.LogAlarm(-1, 14, 0, 0, "y");
    alarms.LogAlarm(10, 13, 0, 0, "z");
    const std::vector<std::string> lines = Lines(base + ".L00");
    ASSERT_EQ(lines.size(), 6u);  // no title: no START line
    EXPECT_EQ(AfterDate(lines[0]), "PUMP,STOP,    12,   -34,\"pump 7\"");
    EXPECT_EQ(AfterDate(lines[1]), "KVID,INIT,000ABC,     1,\"id\"");
    EXPECT_EQ(AfterDate(lines[2]), "PUMP,*UNK,     0,     0,\"odd type\"");
    EXPECT_EQ(AfterDate(lines[3]), "*UNK,*UNK,     0,     0,\"x\"");
    EXPECT_EQ(AfterDate(lines[4]), "*UNK,RSET,     0,     0,\"y\"");
    EXPECT_EQ(AfterDate(lines[5]), "POS ,MEM ,     0,     0,\"z\"");
}

TEST(CLog, MessageDumps)
{
    TempDir dir;
    const std::string base = dir.File("msg");
    CLog log(base.c_str(), "", 0, 1 << 20, 2, false, false);
    const unsigned char ok[] = {'O', 'K', 13, 10};
    const unsigned char mixed[] = {'1', 'A'};
    const unsigned char runs[] = {0, 'a', 'b', 0xFF, '7', '"'};
    log.LogMsg("IN", "Call", ok, 4, 3, 2);
    log.LogMsg("OUT", nullptr, mixed, 2, -1, 1);
    log.LogMsg("IN", "P", nullptr, 0, -1, 2);
    log.LogMsg("IN", "", ok, 2, 12, 0);
    log.LogMsg("X", nullptr, runs, 6, -1, 2);

    // The largest message dumps whole; anything larger is cut, never overrun.
    std::vector<unsigned char> big(24 + 2048, 0x80);
    log.LogMsg("IN", nullptr, big.data(), static_cast<int>(big.size()), -1, 2);
    std::vector<unsigned char> huge(20000, 1);
    log.LogMsg("IN", nullptr, huge.data(), static_cast<int>(huge.size()), -1, 0);
    log.Log("%s", std::string(20000, 'L').c_str());

    const std::vector<std::string> lines = Lines(base + ".L00");
    ASSERT_EQ(lines.size(), 8u);
    EXPECT_EQ(lines[0], "Call Len 004 IN 03 \"OK\"[0D 0A]");
    EXPECT_EQ(lines[1], "Len 002 OUT \"1\"[41]");
    EXPECT_EQ(lines[2], "P Len 000 IN ");
    EXPECT_EQ(lines[3], " Len 002 IN 12 [4F 4B]");
    EXPECT_EQ(lines[4], "Len 006 X [00]\"ab\"[FF]\"7\"\"");  // a quote mark is printable
    EXPECT_EQ(lines[5].size(), std::string("Len 2072 IN []").size() + 2072 * 3 - 1);
    EXPECT_TRUE(EndsWith(lines[5], "80 80]"));
    EXPECT_LT(lines[6].size(), 9000u);
    EXPECT_EQ(lines[7], std::string(lines[7].size(), 'L'));
    EXPECT_GT(lines[7].size(), 4000u);
}

TEST(CLog, CloseEndsOutputAndMovesKeepOrDropTheFile)
{
    TempDir dir;
    const std::string base = dir.File("trace");
    {
        CLog log(base.c_str(), "T", 0, 1 << 20, 2, true, false);
        log.Log("before");
        log.Close();
        const std::string text = ReadFile(base + ".L00");
        log.Log("after");
        log.Error(1, "f", "after");
        log.LogAlarm(0, 0, 0, 0, "after");
        EXPECT_EQ(ReadFile(base + ".L00"), text);
        const std::vector<std::string> lines = Lines(base + ".L00");
        ASSERT_EQ(lines.size(), 3u);
        EXPECT_TRUE(EndsWith(lines[2], " ****STOP <T>"));
    }
    EXPECT_EQ(Lines(base + ".L00").size(), 3u);  // the destructor adds no second STOP

    const std::string oldDir = dir.File("old"), newDir = dir.File("new");
    std::filesystem::create_directory(oldDir);
    std::filesystem::create_directory(newDir);
    CLog log((oldDir + "/KVClient001").c_str(), "KV", 1, 2098000, 20, true, false);
    ASSERT_TRUE(Exists(oldDir + "/KVClient001.L00"));
    log.SetPathSizeArchives(CStr(newDir.c_str()), 1450000, 10);
    EXPECT_FALSE(Exists(oldDir + "/KVClient001.L00"));
    EXPECT_STREQ(static_cast<char*>(log.BaseName()), (newDir + "/KVClient001").c_str());
    EXPECT_EQ(log.MaxSize(), 1450000);
    EXPECT_EQ(log.Archives(), 10);
    std::vector<std::string> lines = Lines(newDir + "/KVClient001.L00");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(EndsWith(lines[0], " ***START <KV>"));

    // The same directory again: the file is kept and gets STOP, then START.
    log.SetPathSizeArchives(CStr(newDir.c_str()), 1450000, 10);
    lines = Lines(newDir + "/KVClient001.L00");
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_TRUE(EndsWith(lines[1], " ****STOP <KV>"));
    EXPECT_TRUE(EndsWith(lines[2], " ***START <KV>"));

    // Same path ignoring case: STOP in the current file, which is not deleted.
    log.SetPathSizeArchives(CStr(dir.File("NEW").c_str()), 1450000, 10);
    lines = Lines(newDir + "/KVClient001.L00");
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_TRUE(EndsWith(lines[3], " ****STOP <KV>"));

    log.ChangeFileName((newDir + "/Other").c_str());
    lines = Lines(newDir + "/Other.L00");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(EndsWith(lines[0], " ***START <KV>"));
}

TEST(CLog, ClientOutputAndThreads)
{
    TempDir dir;
    // An unwritable file still lets lines reach the log clients.
    CapturingLog remote(dir.File("missing/dir/log").c_str(), "", 0, 1 << 20, 2, false, false);
    remote.SetToClients(true);
    remote.Log("to clients");
    remote.Output("%s-%d\n", "raw", 5);
    EXPECT_EQ(remote._sent, "to clients\nraw-5\n");

    // Lines from several threads never interleave.
    const std::string base = dir.File("mt");
    {
        CLog log(base.c_str(), "", 0, 1 << 30, 2, false, false);
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&log, t] {
                for (int i = 0; i < 100; ++i)
                    log.Log("thread %d line %03d %s", t, i, std::string(100, static_cast<char>('a' + t)).c_str());
            });
        for (auto& th : threads)
            th.join();
    }
    const std::vector<std::string> lines = Lines(base + ".L00");
    ASSERT_EQ(lines.size(), 401u);
    EXPECT_TRUE(EndsWith(lines[400], " ****STOP <>"));
    const std::regex whole("thread ([0-3]) line [0-9]{3} ([a-d])\\2{99}");
    for (size_t i = 0; i < 400; ++i) {
        const std::string& l = lines[i];
        std::smatch m;
        ASSERT_TRUE(std::regex_match(l, m, whole)) << l;
        EXPECT_EQ(m[2].str()[0], 'a' + (m[1].str()[0] - '0'));
    }
}

TEST(CTimer, TicksCountProcessorTime)
{
    const long t0 = CTimer::Ticks();
    usleep(300 * 1000);  // sleeping uses no processor time
    EXPECT_LT(CTimer::Ticks() - t0, 150);

    const long t1 = CTimer::Ticks();
    volatile unsigned long spin = 0;
    while (CTimer::Ticks() - t1 < 20)
        spin = spin + 1;
    const long viaClock = static_cast<long>(clock() / 1000);
    EXPECT_LE(CTimer::Ticks(), viaClock + 1);
    EXPECT_GE(CTimer::Ticks(), viaClock);

    CTimer timer(50);
    EXPECT_FALSE(timer.Expired());
    timer._start -= 60;
    EXPECT_TRUE(timer.Expired());
    EXPECT_GE(timer.Elapsed(), 60);
}
