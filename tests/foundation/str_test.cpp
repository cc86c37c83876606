#include "foundation/str.h"
#include "foundation/date.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <tuple>
#include <utility>
#include <string>

namespace {

std::string Narrow(const CStr& s) { return std::string(static_cast<char*>(s)); }

}  // namespace

TEST(CStrStorage, UnsetEmptyAndNarrowCopy)
{
    CStr unset;
    EXPECT_FALSE(unset.IsSet());
    EXPECT_STREQ(static_cast<char*>(unset), "<null>");

    CStr empty("");
    EXPECT_TRUE(empty.IsSet() && empty.Length() == 0);
    EXPECT_STREQ(static_cast<char*>(empty), "");
    // The empty text is shared, not the string's own copy.
    EXPECT_EQ(static_cast<char*>(empty), static_cast<char*>(CStr("")));

    CStr s("abc");
    char* first = static_cast<char*>(s);
    EXPECT_STREQ(first, "abc");
    s = "xyz";
    EXPECT_EQ(static_cast<char*>(s), first);  // same length: the copy is reused
    s = "longer text";
    EXPECT_STREQ(static_cast<char*>(s), "longer text");

    // A copy takes the wide text only; assigning unset or null unsets.
    CStr copy(s);
    EXPECT_EQ(Narrow(copy), "longer text");
    copy = unset;
    EXPECT_FALSE(copy.IsSet());
    s = static_cast<const char*>(nullptr);
    EXPECT_FALSE(s.IsSet());
    s = L"w";
    s = static_cast<const wchar_t*>(nullptr);
    EXPECT_FALSE(s.IsSet());
    EXPECT_FALSE(CStr(static_cast<const char*>(nullptr), 3).IsSet());
}

TEST(CStrStorage, CapacityGrowthAndInstanceCount)
{
    EXPECT_EQ(std::make_tuple(CStr(std::string(30, 'a').c_str()).Capacity(), CStr(std::string(31, 'a').c_str()).Capacity(),
                              CStr("").Capacity()),
              std::make_tuple(32, 64, 32));

    // Capacity never shrinks; keep carries the text across a growth.
    CStr s(std::string(40, 'x').c_str());
    s = "a";
    EXPECT_EQ(s.Capacity(), 64);
    s.SetBuffer(100, true);
    EXPECT_TRUE(s.Capacity() == 128 && Narrow(s) == "a");
    s.SetBuffer(200, false);
    EXPECT_EQ(s.Length(), 0);
    s = "b";
    s.SetBuffer(10, false);  // room already there: nothing changes
    EXPECT_EQ(Narrow(s), "b");

    CStr resource(7L);
    EXPECT_TRUE(resource.IsSet() && resource.Length() == 0 && resource.Capacity() == 288);

    int before = CStr::InstanceCount();
    {
        CStr a, b("x"), c(b);
        EXPECT_EQ(CStr::InstanceCount(), before + 3);
    }
    EXPECT_EQ(CStr::InstanceCount(), before);

    // Texts beyond the 16-bit length are cut rather than wrapped negative.
    CStr huge(std::string(40000, 'h').c_str());
    EXPECT_EQ(huge.Length(), 32767);
    huge += "more";
    huge += L'z';
    EXPECT_EQ(huge.Length(), 32767);
}

TEST(CStrStorage, AppendAndWideConstruction)
{
    CStr s;
    s += "";
    EXPECT_FALSE(s.IsSet());  // empty narrow append leaves unset alone
    s += CStr();
    EXPECT_TRUE(s.IsSet() && s.Length() == 0);
    s += "ab";
    s += L'c';
    s += CStr(L"de");
    EXPECT_EQ(Narrow(s), "abcde");
    s += s;
    EXPECT_EQ(Narrow(s), "abcdeabcde");
    CStr t;
    t += static_cast<wchar_t>(0x100E9);  // low 16 bits only
    EXPECT_EQ(t.Char(1), 0xE9);
    t += static_cast<wchar_t>(0xFFFF);
    EXPECT_EQ(t.Char(2), -1);

    CStr conv("hello world", 5);
    EXPECT_EQ(Narrow(conv), "hello");
    CStr padded("hi", 4);  // the length is what was asked for
    EXPECT_TRUE(padded.Length() == 4 && padded.Char(3) == 0);

    CStr part;
    part.Assign(L"abcdef", 3);
    EXPECT_EQ(Narrow(part), "abc");
    part.Assign(part.WStr() + 1, 2);  // from its own buffer
    EXPECT_EQ(Narrow(part), "bc");
}

TEST(CStrParse, IntegersDecimalsAndHex)
{
    struct Case {
        const char* text;
        long asLong;
        double asDouble;
    };
    const Case cases[] = {
        {"-1,000", -1000, -1000}, {"12.5", 12, 12.5},     {"abc", 0, 0},       {" - 5", -5, -5},
        {"1 234", 1234, 1234},    {"-+7", 7, 7},          {"9/2", 9, 9},       {"3.25", 3, 3.25},
        {"-0.5", 0, -0.5},        {"5-3", -53, 5},        {"1.2.3", 1, 1.2},   {"--4", -4, -0.0},
        {"-+2.5", 2, 2.5},        {"1,234.5x9", 1234, 1234.5}, {"", 0, 0},
        {"2147483648", static_cast<long>(INT32_MIN), 2147483648.0},  // 32 bits everywhere
        {"4294967297", 1, 4294967297.0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(static_cast<long>(CStr(c.text)), c.asLong) << c.text;
        EXPECT_DOUBLE_EQ(static_cast<double>(CStr(c.text)), c.asDouble) << c.text;
    }
    EXPECT_TRUE(static_cast<long>(CStr()) == 0 && static_cast<double>(CStr()) == 0.0);
    EXPECT_EQ(static_cast<long long>(CStr("-9,223,372,036,854,775,807")), -9223372036854775807LL);
    EXPECT_EQ(static_cast<long long>(CStr("18446744073709551617")), 1);

    const std::pair<const char*, unsigned long> hex[] = {
        {"0x00ff", 255}, {"FFG1", 255}, {"  1f", 31}, {"X1F", 31}, {"0x0", 0}, {"123456789", 0x23456789}, {"", 0}};
    for (const auto& [text, value] : hex) EXPECT_EQ(CStr(text).FromHex(), value) << text;
}

TEST(CStrCompare, CompareAndAt)
{
    CStr unset;
    EXPECT_EQ(std::make_tuple(unset.Compare(""), unset.Compare(static_cast<const char*>(nullptr)),
                              CStr("abc").Compare(static_cast<const char*>(nullptr))),
              std::make_tuple(0, -1, -1));
    const std::tuple<const char*, const char*, int, int> pairs[] = {
        // text, other, Compare(char*), Compare(CStr)
        {"abc", "abc", 0, 0}, {"abc", "ABC", 1, 0}, {"abc", "ABD", 1, -1}, {"ab", "abc", -1, -1},
        {"abcd", "ABC", 1, 1}, {"\xE9", "\xE9", 0, 0}, {"", "a", -1, -1},
    };
    for (const auto& [text, other, exact, folded] : pairs) {
        EXPECT_EQ(CStr(text).Compare(other), exact) << text << " " << other;
        EXPECT_EQ(CStr(text).Compare(CStr(other)), folded) << text << " " << other;
    }
    EXPECT_EQ(CStr(L"\u00e9").Compare("\xE9"), 1);  // wide 233 against signed -23
    EXPECT_EQ(unset.Compare(CStr("")), 0);

    CStr s("abcbc");
    for (const auto& [what, from, at] :
         {std::tuple{"bc", 1, 2}, {"bc", 3, 4}, {"x", 1, 0}, {"abcbc", 1, 1}, {"abcbcx", 1, 0}, {"", 7, 7}})
        EXPECT_EQ(s.At(CStr(what), from), at) << what << " " << from;
    EXPECT_EQ(std::make_tuple(s.At(CStr(), 3), unset.At(CStr("a"), 1)), std::make_tuple(3, 0));
    EXPECT_EQ(s.At(CStr("a"), -5), 1);  // nothing before position 1 is searched
}

TEST(CStrEdit, MidTrimAndIndex)
{
    for (const auto& [from, n, part] : {std::tuple<short, short, const char*>{2, 100, "ello"}, {0, 2, "he"}, {3, -2, ""},
                                        {9, 2, ""}})
        EXPECT_EQ(Narrow(CStr("hello").Mid(from, n)), part) << from << " " << n;
    EXPECT_FALSE(CStr().Mid(1, 2).IsSet());

    EXPECT_EQ(std::make_tuple(Narrow(CStr("  a b  ").LTrim()), Narrow(CStr("  a b  ").RTrim()),
                              Narrow(CStr("    ").LTrim()), Narrow(CStr("\ta").LTrim())),
              std::make_tuple("a b  ", "  a b", "", "\ta"));
    EXPECT_FALSE(CStr().RTrim().IsSet());

    CStr s("abc");
    s[2] = L'X';
    EXPECT_EQ(Narrow(s), "aXc");
    wchar_t& err = s[0];
    EXPECT_TRUE(&s[4] == &err && &CStr()[1] == &err && &s[3] != &err);
    EXPECT_EQ(&s[65537], &err);  // not position 1 by truncation
}

TEST(CStrEdit, ReplicatePadAndHex)
{
    CStr r;
    r.Replicate(3, L'*');
    EXPECT_EQ(Narrow(r), "***");
    r.Replicate(-4, L'*');
    EXPECT_EQ(r.Length(), 0);

    EXPECT_EQ(std::make_tuple(Narrow(CStr("42").LeftPad(5, L'0')), Narrow(CStr("42").Pad(5, L'.')),
                              Narrow(CStr("12345").LeftPad(3, L'0'))),
              std::make_tuple("00042", "42...", "12345"));
    // Growth loses the old text: only pad characters remain.
    CStr grown("abc");
    ASSERT_EQ(grown.Capacity(), 32);
    grown.LeftPad(40, L' ');
    EXPECT_EQ(Narrow(grown), std::string(40, ' '));
    EXPECT_EQ(Narrow(CStr("abc").Pad(31, L'-')), std::string(31, '-'));
    EXPECT_EQ(Narrow(CStr("abc").Pad(30, L'-')), "abc" + std::string(27, '-'));
    EXPECT_EQ(Narrow(CStr().LeftPad(2, L'z')), "zz");

    EXPECT_EQ(Narrow(CStr("A\xE9z").ToASCIIHex()), "41E97A");
    CStr grows("0123456789ABCDEFGHIJ");  // 40 characters need a bigger buffer
    EXPECT_EQ(Narrow(grows.ToASCIIHex()), "303132333435363738394142434445464748494A");
    EXPECT_FALSE(CStr().ToASCIIHex().IsSet());
}

TEST(CStrAccents, WideTablesNarrowUntouched)
{
    CStr wide(L"a\u00e7\u00e3o");
    EXPECT_EQ(std::wstring(wide.Upper().WStr()), L"A\u00c7\u00c3O");
    EXPECT_EQ(std::wstring(wide.Lower().WStr()), L"a\u00e7\u00e3o");
    EXPECT_EQ(std::wstring(wide.RemoveAccents().WStr()), L"acao");

    CStr narrow("a\xE7\xE3o");
    EXPECT_EQ(narrow.Char(2), -25);  // sign-extended
    narrow.Upper();
    EXPECT_EQ(Narrow(narrow), "A\xE7\xE3O");  // Latin-1 bytes come back unchanged

    CStr edges(L"\u00c0\u00fc\u00c4\u00e4\u00fd\u00cb\u00d5\u00f1");
    EXPECT_EQ(std::wstring(CStr(edges).Lower().WStr()), L"\u00e0\u00fc\u00c4\u00e4\u00fd\u00cb\u00f5\u00f1");
    EXPECT_EQ(std::wstring(CStr(edges).Upper().WStr()), L"\u00c0\u00dc\u00c4\u00e4\u00fd\u00cb\u00d5\u00d1");
    EXPECT_EQ(std::wstring(CStr(edges).RemoveAccents().WStr()), L"Au\u00c4\u00e4\u00fd\u00cbOn");
}

TEST(CStrFormat, NarrowAndWideBounds)
{
    CStr s;
    EXPECT_EQ(Narrow(s.Format("%d-%s-%.2f", 7, "x", 1.5)), "7-x-1.50");
    std::string big(4095, 'q');
    EXPECT_EQ(Narrow(s.Format("%s", big.c_str())), big);
    std::string bigger(5000, 'q');
    EXPECT_EQ(Narrow(s.Format("%s", bigger.c_str())), big);

    EXPECT_EQ(std::wstring(s.Format(L"%ls=%d", L"\u00e7", 5).WStr()), L"\u00e7=5");
    EXPECT_EQ(s.Char(1), 0xE7);
    std::wstring wbig(5000, L'w');
    EXPECT_EQ(std::wstring(s.Format(L"%ls", wbig.c_str()).WStr()), wbig.substr(0, 4095));
}

// Arbitrary text through every parser and editor: nothing may crash, and the
// cheap invariants hold.
TEST(CStrRandom, ParsersAndEditorsSurviveArbitraryInput)
{
    std::mt19937 rng(12345);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    const char kAlphabet[] = " ,+-.0123456789xXaAfFgG\t\x80\xE9\xFF";
    for (int iter = 0; iter < 5000; ++iter) {
        std::string bytes(static_cast<size_t>(pick(0, 60)), ' ');
        for (char& c : bytes) c = pick(0, 1) ? kAlphabet[pick(0, sizeof kAlphabet - 2)] : static_cast<char>(pick(1, 255));
        CStr s(bytes.c_str());
        ASSERT_EQ(s.Length(), static_cast<short>(bytes.size()));
        ASSERT_EQ(Narrow(s), bytes);
        (void)static_cast<long>(s);
        (void)static_cast<long long>(s);
        (void)static_cast<double>(s);
        (void)s.FromHex();
        (void)Tag2Int64(s);

        CStr m(s);
        m.Mid(static_cast<short>(pick(-100, 100)), static_cast<short>(pick(-100, 100)));
        ASSERT_GE(m.Length(), 0);
        ASSERT_LE(m.Length(), s.Length());
        ASSERT_LT(m.Length() + 1, m.Capacity());
        (void)s[static_cast<short>(pick(-100, 100))];

        int width = pick(0, 50) == 0 ? pick(30000, 70000) : pick(-10, 200);
        CStr p(s);
        p.LeftPad(width, L'0');
        ASSERT_EQ(p.Length(), std::min(32767, std::max<int>(width, s.Length())));
        CStr q(s);
        q.Pad(width, L'0');
        ASSERT_EQ(q.Length(), p.Length());
        ASSERT_LT(q.Length() + 1, q.Capacity());
        CStr h(s);
        ASSERT_EQ(h.ToASCIIHex().Length(), 2 * s.Length());

        std::wstring wide(static_cast<size_t>(pick(0, 20)), L' ');
        for (wchar_t& c : wide) c = static_cast<wchar_t>(pick(1, 0x10FFFF));
        CStr w(wide.c_str());
        int start = pick(-5, 30);
        int pos = w.At(CStr(L"\u00e9"), start);
        if (pos != 0) {
            ASSERT_GE(pos, std::max(start, 1));
            ASSERT_EQ(w.Char(static_cast<short>(pos)), 0xE9);
        }
        w.Upper().Lower().RemoveAccents().LTrim().RTrim();
        ASSERT_LE(w.Length(), static_cast<short>(wide.size()));
        int order = w.Compare(s);
        ASSERT_TRUE(order >= -1 && order <= 1);

        int n32 = static_cast<int>(rng());
        ASSERT_EQ(static_cast<long>(CStr(std::to_string(n32).c_str())), n32);
        long long n64 = static_cast<long long>((static_cast<uint64_t>(rng()) << 32) | rng());
        ASSERT_EQ(static_cast<long long>(CStr(std::to_string(n64).c_str())), n64);
    }
}
