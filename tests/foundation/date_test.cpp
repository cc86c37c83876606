#include "foundation/date.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <utility>

#include "foundation/str.h"

namespace {

CCur Cur(double x) { return CCur::FromDouble(x); }

std::wstring WideField(const CCur& c)
{
    wchar_t buf[21];
    return c.FormatW(buf);
}

}  // namespace

TEST(CDate, ConstructionAndConversion)
{
    EXPECT_TRUE(CDate(0L).IsEmpty());
    EXPECT_TRUE(CDate(-5L).IsEmpty());
    EXPECT_TRUE(CDate().IsEmpty());
    EXPECT_EQ(CDate(1L).Ticks(), 116444736010000000ULL);
    for (long t : {1L, 59L, 1000000000L, 2147483647L}) EXPECT_EQ(CDate(t).ToDATE(), static_cast<time_t>(t));

    // The empty date converts to a meaningless number; its low 32 bits are fixed.
    EXPECT_EQ(static_cast<int32_t>(static_cast<uint32_t>(CDate().ToDATE())), -921101622);
    EXPECT_EQ(static_cast<uint32_t>(CDate().ToDATE()), 0xC9191ACAu);

    struct tm parts = {};
    parts.tm_year = 100, parts.tm_mon = 5, parts.tm_mday = 15, parts.tm_hour = 12, parts.tm_isdst = -1;
    struct tm copy = parts;
    CDate fromTm(&parts);
    EXPECT_EQ(fromTm.ToDATE(), mktime(&copy));
    struct tm* back = fromTm.ToTM();
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(std::make_pair(back->tm_mday, back->tm_hour), std::make_pair(15, 12));
}

TEST(CDate, ClockAndFormat)
{
    CDate a;
    a.Now();
    time_t now = time(nullptr);
    EXPECT_LE(static_cast<time_t>(a.ToDATE()), now);
    EXPECT_GE(static_cast<time_t>(a.ToDATE()), now - 1);
    uint64_t ms = a.MilliSecondsElapsed();
    EXPECT_EQ(ms % 1000, 0u);  // whole seconds apart
    EXPECT_LE(ms, 1000u);
    CDate b = a.SystemTime();
    EXPECT_EQ(b, a);
    EXPECT_GE(static_cast<time_t>(b.ToDATE()), now);
    CDate past(static_cast<long>(now) - 5);
    EXPECT_GE(past.SecondsElapsed(), 5u);
    EXPECT_LE(past.SecondsElapsed(), 6u);
    EXPECT_EQ(past.ToJulianDate(), 0.0);

    // Pictures are ignored: always the locale's "%c", in one shared buffer.
    CDate d(1000000000L);
    char expected[160];
    time_t t = 1000000000;
    ASSERT_GT(strftime(expected, sizeof expected, "%c", localtime(&t)), 0u);
    char* text = d.Format("dd'/'MM'/'yyyy", "HH':'mm':'ss");
    EXPECT_STREQ(text, expected);
    EXPECT_EQ(d.Format(), text);
    (void)CDate().Format();  // no year to show on 64-bit: must not crash
}

TEST(CCurConvert, DoubleRoundsHalfAwayFromZeroInExtendedPrecision)
{
    // Same results on both architectures: 2.00005 and 12.34565 are stored a little
    // below the half, 1.23455 and 0.00005 a little above.
    const std::pair<double, int64_t> cases[] = {
        {1.23455, 12346}, {-1.23455, -12346}, {2.00005, 20000}, {12.34565, 123456}, {-0.00005, -1},
        {0.00005, 1},     {1.03125, 10313},   {-1.03125, -10313}, {2.5, 25000},    {1.5, 15000},
    };
    for (const auto& [x, raw] : cases) EXPECT_EQ(Cur(x).Value(), raw) << x;
    EXPECT_EQ(Cur(-0.0).Value(), 0);
    EXPECT_EQ(DoubleToCur(922337203685477.0).Value(), 9223372036854770000LL);
    // No integer exists for these: the x87 indefinite value.
    for (double x : {std::numeric_limits<double>::quiet_NaN(), 1e300, -1e300, std::numeric_limits<double>::infinity()})
        EXPECT_EQ(Cur(x).Value(), INT64_MIN) << x;

    EXPECT_EQ(std::make_pair(CurToDouble(CCur::FromRaw(12346)), CCur::FromRaw(-5).ToDouble()), std::make_pair(1.2346, -0.0005));
}

TEST(CCurRounding, RoundTruncateAdjustAndFormat)
{
    EXPECT_EQ(std::make_tuple(CCur::FromRaw(123450).RoundDecimals(2).Value(), CCur::FromRaw(123449).RoundDecimals(2).Value(),
                              CCur::FromRaw(123499).TruncateDecimals(2).Value()),
              std::make_tuple(123500, 123400, 123400));
    // Negatives: add half, truncate toward zero.
    for (const auto& [x, raw] : {std::pair{-1.5, -10000}, {-1.4, 0}, {-1.6, -10000}})
        EXPECT_EQ(Cur(x).RoundDecimals(0).Value(), raw) << x;
    // Clamping: below -4 acts as -4, above 4 as a divisor of 1.
    EXPECT_EQ(CCur::FromRaw(1234567890).RoundDecimals(-9).Value(), 1200000000);
    EXPECT_EQ(CCur::FromRaw(12345).TruncateDecimals(7).Value(), 12345);
    EXPECT_EQ(CCur::FromRaw(INT64_MAX).RoundDecimals(0).Value(), (INT64_MIN + 4999) / 10000 * 10000);  // wraps

    EXPECT_EQ(Cur(12345.678).SetFormat(6, 2, true).Value(), 23456800);
    EXPECT_EQ(Cur(12345.678).SetFormat(6, 2, false).Value(), 23456700);
    EXPECT_EQ(Cur(123456789.5).SetFormat(0, 0, false).Value(), 234567890000LL);  // width 8
    EXPECT_EQ(Cur(9.99).SetFormat(1, 1, true).Value(), 0);

    CCur c = CCur::FromRaw(123);
    EXPECT_EQ(c.AdjustDecimals(2).Value(), 12300);
    EXPECT_EQ(c.RemoveDecimals(2), 123);
    EXPECT_EQ(c.AdjustDecimals(6).Value(), 1);
    EXPECT_EQ(c.RemoveDecimals(12), 100000000);
    EXPECT_EQ(c.AdjustDecimals(13).Value(), 100000000);
    EXPECT_EQ(c.RemoveDecimals(-5), 100000000);
    EXPECT_EQ(c.AdjustDecimals(-4).Value(), 10000000000000000LL);
}

TEST(CCurWire, AsciiAndBcd)
{
    char buf[32];
    EXPECT_STREQ(Cur(12.345).ToASCII(buf, 8, 2, false), "00001235");
    EXPECT_STREQ(Cur(12.345).ToASCII(buf, 8, 2, true), "53210000");
    EXPECT_EQ(std::strlen(Cur(1).ToASCII(buf, 30, 0, false)), 20u);
    EXPECT_STREQ(Cur(-2).ToASCII(buf, 2, 0, false), "0/");  // negatives are not meant for it

    EXPECT_EQ(CCur().FromASCII("0012A5", 6, 2, false).Value(), 120500);  // 'A' counts as 0
    EXPECT_EQ(CCur().FromASCII("5A2100", 6, 2, true).Value(), 120500);
    EXPECT_EQ(CCur().FromASCII("123", 3, 0, false).Value(), 1230000);

    unsigned char bcd[16] = {};
    Cur(123456).ToBCD(reinterpret_cast<char*>(bcd), 6, 0, false);
    EXPECT_EQ(std::make_tuple(bcd[0], bcd[1], bcd[2]), std::make_tuple(0x12, 0x34, 0x56));
    EXPECT_EQ(CCur().FromBCD(bcd, 6, 0, false).Value(), 1234560000);
    Cur(123456).ToBCD(reinterpret_cast<char*>(bcd), 6, 0, true);
    EXPECT_EQ(bcd[0], 0x56);
    EXPECT_EQ(CCur().FromBCD(bcd, 6, 0, true).Value(), 1234560000);
    Cur(12345).ToBCD(reinterpret_cast<char*>(bcd), 5, 0, false);
    EXPECT_EQ(bcd[0], 0x01);
    const unsigned char bad[] = {0x1F, 0xA2};
    EXPECT_EQ(CCur().FromBCD(bad, 4, 0, false).Value(), 1002 * 10000);
}

TEST(CCurFormat, FixedTwentyCharacterField)
{
    for (const auto& [value, field] : {std::pair{CCur(), L"              0.0000"}, {Cur(1234.5), L"           1234.5000"},
                                       {Cur(-0.5), L"             -0.5000"}, {CCur::FromRaw(-1), L"             -0.0001"},
                                       {CCur::FromRaw(INT64_MAX), L"922337203685477.5807"},
                                       {CCur::FromRaw(INT64_MIN), L"-22337203685477.5808"}})
        EXPECT_EQ(WideField(value), field) << value.Value();
    EXPECT_STREQ(Cur(-42.1).Format(), "            -42.1000");
    EXPECT_EQ(CCur().Format(), Cur(1).Format());  // one shared buffer
}

TEST(CalendarDays, GregorianAndJulian)
{
    long feb28 = MDY2GD(2, 28, 2000), feb29 = MDY2GD(2, 29, 2000), mar1 = MDY2GD(3, 1, 2000);
    EXPECT_EQ(feb29, feb28 + 1);
    EXPECT_EQ(mar1, feb29 + 1);
    EXPECT_EQ(MDY2GD(3, 1, 1900), MDY2GD(2, 28, 1900) + 1);  // not a leap year
    EXPECT_EQ(MDY2GD(13, 1, 2000), 0);
    int m, d, y;
    for (int day = 1; day <= 3 * 366; ++day) {
        long gd = feb28 - 400 + day;
        GD2MDY(gd, &m, &d, &y);
        ASSERT_EQ(MDY2GD(m, d, y), gd);
    }
    GD2MDY(feb29, &m, &d, &y);
    EXPECT_EQ(std::make_tuple(m, d, y), std::make_tuple(2, 29, 2000));

    EXPECT_DOUBLE_EQ(CAL2JD(1, 1, 2000, 0, 0, 0, 0), 2451544.5);
    EXPECT_DOUBLE_EQ(CAL2JD(1, 1, 2000, 6, 0, 0, 0), 2451544.75);
    int h, mi, s, ms;
    JD2CAL(2451544.75, &m, &d, &y, &h, &mi, &s, &ms);
    EXPECT_EQ(std::to_string(y) + "-" + std::to_string(m) + "-" + std::to_string(d), "2000-1-1");
    EXPECT_EQ(h * 10000000 + mi * 100000 + s * 1000 + ms, 6 * 10000000);
    JD2CAL(CAL2JD(7, 14, 2023, 13, 45, 12, 345), &m, &d, &y, &h, &mi, &s, &ms);
    EXPECT_EQ(m * 100 + d, 714);
    EXPECT_EQ(y, 2023);
    EXPECT_EQ(h * 10000000 + mi * 100000 + s * 1000 + ms, 134512345);
    JD2CAL(2451544.75, &m, &d, &y, nullptr, nullptr, nullptr, nullptr);
    JD2CAL(std::nan(""), &m, &d, &y, &h, &mi, &s, &ms);
    EXPECT_EQ(h + mi + s + ms, 0);
}

TEST(DisplayFormat, TablesHosesAndTags)
{
    const int decimals[] = {3, 2, 1, 0, 3, 2, 1, 0, 3, 2, 1, 0, -1, -2, -3, -1, -2, -3, -1, -2, -3};
    const int widths[] = {4, 4, 4, 4, 5, 5, 5, 5, 6, 6, 6, 6, 4, 4, 4, 5, 5, 5, 6, 6, 6};
    for (int f = 1; f <= 21; ++f) {
        EXPECT_EQ(FormatToDecimals(f), decimals[f - 1]) << f;
        EXPECT_EQ(FormatToWidth(f), widths[f - 1]) << f;
    }
    EXPECT_EQ(FormatToDecimals(0), 0);
    EXPECT_EQ(FormatToWidth(22), 0);
    for (const auto& [f, raw] : {std::pair{2, 500LL}, {15, 50000000LL}, {4, 50000LL}, {1, 50LL}})
        EXPECT_EQ(FormatToTolerance(f).Value(), raw) << f;

    EXPECT_EQ(std::make_tuple(THose2Num(0x0C), THose2Num(0x80), THose2Num(0)), std::make_tuple(3, 8, -1));
    EXPECT_EQ(std::make_tuple(Num2THose(1), Num2THose(8), Num2THose(9), Num2THose(0)), std::make_tuple(1, 0x80, 0, 0));

    EXPECT_EQ(Tag2Int64(CStr("1aF")), 0x1AF);
    EXPECT_EQ(Tag2Int64(CStr("G")), 'G' - 48);  // no character is refused
    EXPECT_EQ(Tag2Int64(CStr("1 ")), 16 + (' ' - 48));
    EXPECT_EQ(Tag2Int64(CStr()), 0);
    EXPECT_EQ(Tag2Int64(CStr("FFFFFFFFFFFFFFFF")), -1);
}

// Arbitrary bytes through the wire readers, and value round trips through the writers.
TEST(CCurRandom, WireFormsSurviveArbitraryInput)
{
    std::mt19937_64 rng(12345);
    unsigned char bytes[64];
    for (int iter = 0; iter < 5000; ++iter) {
        for (unsigned char& b : bytes) b = static_cast<unsigned char>(rng());
        short len = static_cast<short>(static_cast<int>(rng() % 80) - 10);
        short d = static_cast<short>(static_cast<int>(rng() % 30) - 10);
        bool rev = rng() & 1;
        CCur a;
        a.FromASCII(reinterpret_cast<const char*>(bytes), std::min<short>(len, 64), d, rev);
        a.FromBCD(bytes, std::min<short>(len, 127), d, rev);
        CCur::FromDouble(std::bit_cast<double>(rng()));
        (void)a.Format();

        // Non-negative values of up to 18 digits come back through both wire forms.
        int64_t v = static_cast<int64_t>(rng() % 1000000000000000000ULL);
        char text[32];
        CCur::FromRaw(v).ToASCII(text, 18, 4, rev);
        ASSERT_EQ(CCur().FromASCII(text, 18, 4, rev).Value(), v);
        char packed[16];
        CCur::FromRaw(v).ToBCD(packed, 18, 4, rev);
        ASSERT_EQ(CCur().FromBCD(reinterpret_cast<unsigned char*>(packed), 18, 4, rev).Value(), v);
        int64_t k = (v % 1000000000000000LL) * ((rng() & 1) ? -1 : 1);
        ASSERT_EQ(CCur::FromDouble(CCur::FromRaw(k).ToDouble()).Value(), k);

        CCur r = CCur::FromRaw(static_cast<int64_t>(rng()));
        r.SetFormat(static_cast<int>(rng() % 12) - 2, d, rng() & 1);
        r.RoundDecimals(d);
        r.AdjustDecimals(d);
        (void)r.RemoveDecimals(d);
    }
}
