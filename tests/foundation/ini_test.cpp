#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <string>
#include <tuple>

#include "foundation/ini.h"
#include "rpc/net_fixture.h"

namespace {

using kvtest::ReadFile;

void WriteFile(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

std::string Get(CINIFile& ini, const char* key)
{
    CStr v;
    int n = ini.GetStr(key, v);
    EXPECT_EQ(n, v.Length());
    return static_cast<char*>(v);
}

}  // namespace

TEST(CINIFile, MissingFileIsCreatedOnlyWhenWritable)
{
    kvtest::TempDir dir;
    const std::string path = dir / "absent.ini";
    CINIFile ro(path.c_str(), "Server", false);
    CStr v("old");
    EXPECT_EQ(ro.GetStr("name", v), 0);
    EXPECT_TRUE(v.IsSet() && v.Length() == 0);
    EXPECT_EQ(std::make_pair(ro.PutValue("name", CStr("x")), ro.GetSectionName(1, v)), std::make_pair(0, 0));
    EXPECT_FALSE(std::filesystem::exists(path));

    CINIFile rw(path.c_str(), "Server", true);
    EXPECT_EQ(rw.GetStr("name", v), 0);
    ASSERT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(std::filesystem::file_size(path), 0u);
}

TEST(CINIFile, LookupRules)
{
    kvtest::TempDir dir;
    const std::string path = dir / "kv.ini";
    WriteFile(path,
              "[Server]\r\n"
              "name = host1\r\n"
              "\r\n"
              "Port =  5150  \r\n"
              "CallPort=1001\r\n"
              "Quoted=\"a b \"\r\n"
              "One=\"\r\n"
              "Odd Key\r\n"
              "  [Log]extra\n"
              "FileName=a\n"
              "File=b\n"
              "Level=3");
    CINIFile ini(path.c_str(), "server", false);
    // Odd has no '=' behind the key; FileName belongs to the next section.
    for (const auto& [key, value] : {std::pair{"Port", "5150"}, {"callport", "1001"}, {"Quoted", "a b "}, {"One", "\""},
                                     {"Odd", ""}, {"FileName", ""}})
        EXPECT_EQ(Get(ini, key), value) << key;
    EXPECT_TRUE(ini.HasKey("CALLPORT"));

    ini.SetSection("LOG");                  // '[Log]extra' is the Log section
    EXPECT_EQ(Get(ini, "FileName"), "a");
    EXPECT_FALSE(ini.HasKey("File"));       // the first line starting with the key decides
    EXPECT_EQ(Get(ini, "Level"), "3");      // last line without a line end
    EXPECT_EQ(Get(ini, "level"), "3");      // again, through the section cache

    CStr v;
    ASSERT_TRUE(ini.FindSection("Server"));
    EXPECT_EQ(ini.GetNextStr("Port", v), 4);
    EXPECT_EQ(ini.GetNextStr("CallPort", v), 4);
    EXPECT_EQ(ini.GetNextStr("Port", v), 0);  // keys are read in file order
    EXPECT_FALSE(ini.FindSection(""));

    const std::string section =
        "name = host1\r\n\r\nPort =  5150  \r\nCallPort=1001\r\nQuoted=\"a b \"\r\nOne=\"\r\nOdd Key\r\n";
    EXPECT_EQ(ini.GetSection("Server", v), static_cast<int>(section.size()));
    EXPECT_EQ(static_cast<char*>(v), section);

    for (const char* yes : {"y", "Yes", "S", "sim", "1", "TRUE"})
        EXPECT_TRUE(CINIFile::IsTrue(CStr(yes))) << yes;
    for (const char* no : {"", "N", "0", "yes ", "T", "11"})
        EXPECT_FALSE(CINIFile::IsTrue(CStr(no))) << no;
}

TEST(CINIFile, PutValueEditsInPlace)
{
    kvtest::TempDir dir;
    const std::string path = dir / "edit.ini";
    WriteFile(path, "[A]\r\nx=1\r\n\r\n[B]\r\ny=2\r\n");
    CINIFile ini(path.c_str(), "A", true);

    EXPECT_EQ(ini.PutValue("new", CStr("v")), 1);
    EXPECT_EQ(ReadFile(path), "[A]\r\nx=1\r\n\r\nnew=v\r\n\r\n[B]\r\ny=2\r\n");

    EXPECT_EQ(ini.PutValue("x", CStr(std::string(200, 'L').c_str())), 200);
    EXPECT_EQ(ini.PutValue("x", CStr("s")), 1);
    EXPECT_EQ(ReadFile(path), "[A]\r\nx=s\r\n\r\nnew=v\r\n\r\n[B]\r\ny=2\r\n");

    ini.SetSection("C");
    ini.PutValue("z", CStr("3"));
    ini.PutValue("w", CStr(""));
    ini.PutValue("u", CStr());
    EXPECT_EQ(ReadFile(path), "[A]\r\nx=s\r\n\r\nnew=v\r\n\r\n[B]\r\ny=2\r\n\r\n[C]\r\nz=3\r\nw=\r\nu=\r\n");

    ini.SetSection("B");
    ini.PutValue("q", CStr("\"quoted\""));
    ini.PutValue("q1", CStr("\""));
    EXPECT_EQ(std::make_pair(Get(ini, "q"), Get(ini, "q1")), std::make_pair(std::string("quoted"), std::string("\"")));

    // A value longer than one read piece is replaced as a whole line.
    ini.SetSection("A");
    const std::string longValue(3000, 'v');
    ini.PutValue("new", CStr(longValue.c_str()));
    EXPECT_EQ(Get(ini, "new"), longValue.substr(0, 1023 - 4));
    ini.PutValue("new", CStr("short"));
    EXPECT_EQ(ReadFile(path), "[A]\r\nx=s\r\n\r\nnew=short\r\n\r\n[B]\r\ny=2\r\n\r\nq=\"quoted\"\r\n\r\nq1=\"\r\n\r\n"
                              "[C]\r\nz=3\r\nw=\r\nu=\r\n");
    EXPECT_EQ(Get(ini, "new"), "short");

    // A new key whose name prefixes an existing one lands in front of it; a last line
    // without a line end is closed before the new key.
    for (const auto& [before, section, key, after] :
         {std::tuple{"[Log]\r\nFileName=a\r\n", "Log", "File", "[Log]\r\nFile=b\r\n\r\nFileName=a\r\n"},
          {"[S]", "S", "k", "[S]\r\nk=b\r\n"}}) {
        WriteFile(path, before);
        ini.SetSection(section);
        ini.PutValue(key, CStr("b"));
        EXPECT_EQ(std::make_pair(ReadFile(path), Get(ini, key)), std::make_pair(std::string(after), std::string("b")));
    }
}

TEST(CINIFile, SequentialWritingAndSectionEnumeration)
{
    kvtest::TempDir dir;
    const std::string path = dir / "seq.ini";
    CINIFile ini(path.c_str(), "S1", true);
    EXPECT_EQ(ini.PutNextValue("a", CStr("1")), 1);
    ini.PutNextValue("b", CStr("22"));
    ini.SetSection("S2");
    ini.PutNextValue("c", CStr("3"));
    EXPECT_EQ(Get(ini, "c"), "3");  // the section cache points behind the written header
    ini.Close();
    EXPECT_EQ(ReadFile(path), "\r\n[S1]\r\na=1\r\nb=22\r\n\r\n[S2]\r\nc=3\r\n");
    ini.SetSection("s1");
    EXPECT_EQ(Get(ini, "B"), "22");

    WriteFile(path, "[One]\n  [Two] tail\n[Three\n");
    CStr name("x");
    EXPECT_EQ(ini.GetSectionName(1, name), 1);
    EXPECT_STREQ(static_cast<char*>(name), "One");
    // Overwrite the first header: counting on from the remembered position still sees Two.
    {
        std::fstream f(path, std::ios::in | std::ios::out | std::ios::binary);
        f << "xxxx\n";
    }
    auto section = [&](int found) { return std::make_pair(found, std::string(static_cast<char*>(name))); };
    EXPECT_EQ(section(ini.GetSectionName(2, name)), std::make_pair(1, std::string("Two")));
    EXPECT_EQ(section(ini.GetNextSectionName(name)), std::make_pair(1, std::string("Three")));
    EXPECT_EQ(section(ini.GetNextSectionName(name)), std::make_pair(0, std::string("")));
    EXPECT_EQ(ini.GetNextSectionName(name), 0);
    EXPECT_EQ(section(ini.GetSectionName(1, name)), std::make_pair(1, std::string("Two")));   // from the start again
}

// Random edits: never a crash or an overrun, and plain values always read back exactly.
TEST(CINIFile, RandomEditsRoundTrip)
{
    kvtest::TempDir dir;
    const std::string path = dir / "random.ini";
    std::mt19937 rng(20240611);
    auto pick = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
    // No 'k' and no '[': plain text never looks like one of the keys or a header.
    const std::string plain = "abcdefghijlmnopqrstuvwxyzABCDEFGHIJLMNOPQRSTUVWXYZ0123456789_.-";
    auto text = [&](int len, bool junk) {
        std::string s;
        while (len-- > 0) {
            char c = junk ? static_cast<char>(1 + pick(255)) : plain[pick(static_cast<int>(plain.size()))];
            s += (c == 'k' || c == 'K' || c == '[') ? '"' : c;
        }
        return s;
    };

    CINIFile ini(path.c_str(), "", true);
    std::map<std::string, std::string> expected;  // "section/key" -> value
    for (int round = 0; round < 400; ++round) {
        const std::string section = "S" + std::to_string(pick(5)), key = "k" + std::to_string(10 + pick(20));
        const int kind = pick(5);
        std::string value = kind == 0 ? text(1 + pick(60), true)
                          : kind == 1 ? text(1100 + pick(2000), false)  // longer than one read piece
                          : kind == 2 ? "\"" + text(pick(20), false) + "\""
                                      : text(pick(80), false);
        ini.SetSection(section.c_str());
        EXPECT_EQ(ini.PutValue(key.c_str(), CStr(value.c_str())), static_cast<int>(value.size()));
        const std::string back = Get(ini, key.c_str());
        if (kind == 0) {
            expected.erase(section + "/" + key);
            continue;
        }
        value = value.substr(0, 1023 - 4);
        if (kind == 2)
            value = value.substr(1, value.size() - 2);
        EXPECT_EQ(back, value) << "round " << round;
        expected[section + "/" + key] = value;
    }
    for (const auto& [where, want] : expected) {
        ini.SetSection(where.substr(0, 2).c_str());
        EXPECT_EQ(Get(ini, where.substr(3).c_str()), want) << where;
    }
    std::set<std::string> sections;
    CStr name;
    for (int n = 1; ini.GetSectionName(n, name); ++n)
        sections.insert(static_cast<char*>(name));
    EXPECT_EQ(sections, (std::set<std::string>{"S0", "S1", "S2", "S3", "S4"}));

    // Raw garbage with NUL bytes and lines of any length: every operation stays in bounds.
    for (int round = 0; round < 30; ++round) {
        std::string raw;
        for (int len = pick(6000); len > 0; --len)
            raw += pick(8) == 0 ? "\n[S1]\r\nk="[pick(9)] : static_cast<char>(pick(256));
        WriteFile(path, raw);
        ini.SetSection("S1");
        Get(ini, "k");
        ini.GetSection("S1", name);
        for (int guard = ini.GetSectionName(1, name); ini.GetNextSectionName(name) && guard < 10000; ++guard) {
        }
        ini.PutValue("k", CStr(text(pick(1500), true).c_str()));
        ini.SetSection(pick(2) ? "S1" : "New");
        ini.PutNextValue("k", CStr(text(pick(50), false).c_str()));
        ini.PutNextValue("k2", CStr());
        ini.Close();
        ini.PutValue("k3", CStr("v"));
        EXPECT_EQ(Get(ini, "k3"), "v");
    }
}
