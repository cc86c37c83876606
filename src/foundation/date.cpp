#include "foundation/date.h"

#include <cmath>
#include <sys/time.h>

#include "foundation/str.h"

namespace {

// 10 to the power 4 - d for d = -4 .. 4 (index d + 4).
constexpr int64_t kScale[9] = {100000000, 10000000, 1000000, 100000, 10000, 1000, 100, 10, 1};

// Divisor for d decimals: below -4 counts as -4, above 4 as a divisor of 1.
int64_t Divisor(int d)
{
    if (d < -4) return kScale[0];
    if (d > 4) return kScale[8];
    return kScale[d + 4];
}

int64_t Pow10(int n)
{
    int64_t p = 1;
    while (n-- > 0) p *= 10;
    return p;
}

// 64-bit arithmetic that wraps the way the hardware does instead of overflowing.
int64_t WrapAdd(int64_t a, int64_t b)
{
    return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}

int64_t WrapMul(int64_t a, int64_t b)
{
    return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}

// The display and wire forms round by adding half the divisor and truncating.
int64_t RoundedUnits(int64_t value, int d)
{
    int64_t div = Divisor(d);
    return WrapAdd(value, div / 2) / div;
}

uint64_t NowTicks()
{
    return static_cast<uint64_t>(time(nullptr)) * CDate::kTicksPerSecond + CDate::kEpochOffset;
}

}  // namespace

// ---- CDate ----

CDate::CDate(long t) : _ticks(kEmpty)
{
    if (t >= 1) _ticks = static_cast<uint64_t>(t) * kTicksPerSecond + kEpochOffset;
}

CDate::CDate(struct tm* t) : _ticks(kEmpty)
{
    if (!t) return;
    time_t s = mktime(t);
    if (s >= 1) _ticks = static_cast<uint64_t>(s) * kTicksPerSecond + kEpochOffset;
}

time_t CDate::ToDATE() const
{
    return static_cast<time_t>((_ticks - kEpochOffset) / kTicksPerSecond);
}

struct tm* CDate::ToTM() const
{
    time_t t = ToDATE();
    return localtime(&t);  // null when the year does not fit (the empty date on 64-bit)
}

char* CDate::Format(const char*, const char*) const
{
    static char DateStrA[160];
    struct tm* tm = ToTM();
    if (!tm || strftime(DateStrA, sizeof DateStrA, "%c", tm) == 0) DateStrA[0] = 0;
    return DateStrA;
}

CDate CDate::Now()
{
    _ticks = NowTicks();
    return *this;
}

uint64_t CDate::MilliSecondsElapsed() const { return (NowTicks() - _ticks) / 10000; }

uint64_t CDate::SecondsElapsed() const { return (NowTicks() - _ticks) / kTicksPerSecond; }

CDate CDate::Set() const
{
    struct timeval tv = {};
    tv.tv_sec = ToDATE();
    tv.tv_usec = 0;
    (void)settimeofday(&tv, nullptr);  // a process without the right fails quietly
    return *this;
}

// ---- CCur ----

CCur CCur::FromDouble(double x)
{
    // The single-precision constants and the long double temporaries are the
    // x87 computation of the product, so both architectures round identically.
    long double lx = x;
    long double y = lx < 0 ? std::ceil(lx * 10000.0f - 0.5f) : std::floor(lx * 10000.0f + 0.5f);
    // A NaN or a value beyond 64 bits has no integer; the product's x87 store gives
    // the "integer indefinite" pattern there, so that is what they become.
    constexpr long double kLimit = 9223372036854775808.0L;  // 2^63
    if (!(y >= -kLimit && y < kLimit)) return FromRaw(INT64_MIN);
    return FromRaw(static_cast<int64_t>(y));
}

double CCur::ToDouble() const
{
    return static_cast<double>(static_cast<long double>(_value) / 10000.0L);
}

CCur CCur::RoundDecimals(int d)
{
    int64_t div = Divisor(d);
    _value = RoundedUnits(_value, d) * div;
    return *this;
}

CCur CCur::TruncateDecimals(int d)
{
    int64_t div = Divisor(d);
    _value = (_value / div) * div;
    return *this;
}

CCur CCur::AdjustDecimals(int d)
{
    if (d >= -4 && d <= 4) _value = WrapMul(_value, Divisor(d));
    else if (d >= 5 && d <= 12) _value /= Pow10(d - 4);
    return *this;
}

int64_t CCur::RemoveDecimals(int d)
{
    if (d >= -4 && d <= 4) _value /= Divisor(d);
    else if (d >= 5 && d <= 12) _value = WrapMul(_value, Pow10(d - 4));
    return _value;
}

CCur CCur::SetFormat(int width, int d, bool round)
{
    int64_t div = Divisor(d);
    if (round) _value = WrapAdd(_value, div / 2);
    int64_t q = _value / div;
    q %= Pow10(width >= 1 && width <= 8 ? width : 8);  // wraps like the display does
    _value = q * div;
    return *this;
}

char* CCur::ToASCII(char* buf, short width, short d, bool reversed) const
{
    if (width > 20) width = 20;
    if (width < 0) width = 0;
    int64_t n = RoundedUnits(_value, d);
    for (int i = 0; i < width; ++i) {
        char c = static_cast<char>('0' + n % 10);  // below '0' for negative values
        n /= 10;
        buf[reversed ? i : width - 1 - i] = c;
    }
    buf[width] = 0;
    return buf;
}

CCur CCur::FromASCII(const char* buf, short len, short d, bool reversed)
{
    int64_t n = 0;
    for (int i = 0; buf && i < len; ++i) {
        char c = buf[reversed ? len - 1 - i : i];
        n = WrapAdd(WrapMul(n, 10), (c >= '1' && c <= '9') ? c - '0' : 0);
    }
    _value = n;
    return AdjustDecimals(d);
}

char* CCur::ToBCD(char* buf, short digits, short d, bool reversed) const
{
    int bytes = ((digits > 20 ? 20 : digits) - 1) / 2 + 1;
    int64_t n = RoundedUnits(_value, d);
    for (int i = 0; i < bytes; ++i) {
        int low = static_cast<int>(n % 10);
        n /= 10;
        int high = static_cast<int>(n % 10);
        n /= 10;
        buf[reversed ? i : bytes - 1 - i] = static_cast<char>(((high & 0x0F) << 4) | (low & 0x0F));
    }
    return buf;
}

CCur CCur::FromBCD(const unsigned char* buf, short digits, short d, bool reversed)
{
    int bytes = (digits - 1) / 2 + 1;
    int64_t n = 0;
    for (int i = 0; buf && i < bytes; ++i) {
        unsigned char b = buf[reversed ? bytes - 1 - i : i];
        int high = b >> 4;
        int low = b & 0x0F;
        if (high > 9) high = 0;
        if (low > 9) low = 0;
        n = WrapAdd(WrapMul(n, 100), high * 10 + low);
    }
    _value = n;
    return AdjustDecimals(d);
}

wchar_t* CCur::FormatW(wchar_t* buf, bool, int, bool) const
{
    constexpr int kField = 20;
    constexpr int kPoint = 15;
    for (int i = 0; i < kField; ++i) buf[i] = L' ';
    buf[kField] = 0;
    bool negative = _value < 0;
    uint64_t magnitude = negative ? 0 - static_cast<uint64_t>(_value) : static_cast<uint64_t>(_value);
    uint64_t units = magnitude / 10000;
    uint64_t frac = magnitude % 10000;
    for (int i = kField - 1; i > kPoint; --i) {
        buf[i] = static_cast<wchar_t>(L'0' + frac % 10);
        frac /= 10;
    }
    buf[kPoint] = L'.';
    int pos = kPoint - 1;
    do {
        buf[pos--] = static_cast<wchar_t>(L'0' + units % 10);
        units /= 10;
    } while (units > 0 && pos >= 0);
    // Fifteen integer digits leave no room for the sign: it replaces the top digit
    // so that a negative amount never reads as a positive one.
    if (negative) buf[pos >= 0 ? pos : 0] = L'-';
    return buf;
}

char* CCur::Format(bool, int, bool) const
{
    static char ReturnBuff[40];
    wchar_t wide[21];
    FormatW(wide);
    int i = 0;
    for (; i < 39 && wide[i] != 0; ++i) ReturnBuff[i] = static_cast<char>(wide[i]);
    ReturnBuff[i] = 0;
    return ReturnBuff;
}

// ---- Free functions ----

long MDY2GD(int month, int day, int year)
{
    // k per month; years count from March so the leap day ends the counted year.
    static const int kMonthOffset[12] = {0, -31, 306, 275, 245, 214, 184, 153, 122, 92, 61, 31};
    if (month < 1 || month > 12) return 0;
    long long y = month <= 2 ? static_cast<long long>(year) - 1 : year;
    long long c = y / 100;
    return static_cast<long>(day - kMonthOffset[month - 1] + (c * 146097) / 4 + ((y % 100) * 1461) / 4);
}

void GD2MDY(long gd, int* month, int* day, int* year)
{
    long long a = WrapAdd(WrapMul(gd, 4), 1223);
    long long b = (a % 146097) / 4 * 4 + 3;
    long long e = (b % 1461) / 4 * 5 + 2;
    long long m = e / 153;
    if (month) *month = static_cast<int>(m <= 9 ? m + 3 : m - 9);
    if (day) *day = static_cast<int>((e % 153) / 5 + 1);
    if (year) *year = static_cast<int>(b / 1461 + (a / 146097) * 100 + (m + 1) / 11);
}

double CAL2JD(int month, int day, int year, int hour, int minute, int second, int ms)
{
    return MDY2GD(month, day, year) + hour / 24.0 + minute / 1440.0 + second / 86400.0 +
           ms / 86400000.0 + 1721424.5;
}

void JD2CAL(double jd, int* month, int* day, int* year, int* hour, int* minute, int* second, int* ms)
{
    double x = jd - 1721424.5;
    // A day number must fit the 32-bit long of the product; anything else (NaN
    // included) has no calendar date and reads as day 0 at midnight.
    if (!(x > -2147483648.0 && x < 2147483648.0)) x = 0;
    long gd = static_cast<long>(x);
    GD2MDY(gd, month, day, year);
    long long t = static_cast<long long>((x - gd) * 86400000 + 0.5);
    if (hour) *hour = static_cast<int>(t / 3600000 % 24);
    if (minute) *minute = static_cast<int>(t / 60000 % 60);
    if (second) *second = static_cast<int>(t / 1000 % 60);
    if (ms) *ms = static_cast<int>(t % 1000);
}

namespace {

struct DisplayFormat {
    int decimals;
    int width;
};

// Display formats 1 .. 21.
constexpr DisplayFormat kFormats[21] = {
    {3, 4},  {2, 4},  {1, 4},  {0, 4},  {3, 5},  {2, 5},  {1, 5},  {0, 5},  {3, 6},  {2, 6},  {1, 6},
    {0, 6},  {-1, 4}, {-2, 4}, {-3, 4}, {-1, 5}, {-2, 5}, {-3, 5}, {-1, 6}, {-2, 6}, {-3, 6},
};

}  // namespace

int FormatToDecimals(TDisplayFormat f) { return (f >= 1 && f <= 21) ? kFormats[f - 1].decimals : 0; }

int FormatToWidth(TDisplayFormat f) { return (f >= 1 && f <= 21) ? kFormats[f - 1].width : 0; }

CCur FormatToTolerance(TDisplayFormat f)
{
    // Five units of the last displayed digit.
    return CCur::FromRaw(5 * Divisor(FormatToDecimals(f)));
}

int THose2Num(THose mask)
{
    for (int bit = 0; bit < 8; ++bit)
        if (mask & (1u << bit)) return bit + 1;
    return -1;
}

THose Num2THose(int n) { return (n >= 1 && n <= 8) ? static_cast<THose>(1u << (n - 1)) : 0; }

long long Tag2Int64(const CStr& tag)
{
    // No character is refused: anything outside the hex letters counts its code - 48.
    uint64_t value = 0;
    for (int i = 1; i <= tag.Length(); ++i) {
        wchar_t c = tag.Char(i);
        int64_t digit;
        if (c >= L'A' && c <= L'F') digit = c - L'A' + 10;
        else if (c >= L'a' && c <= L'f') digit = c - L'a' + 10;
        else digit = static_cast<int64_t>(c) - 48;
        value = value * 16 + static_cast<uint64_t>(digit);
    }
    return static_cast<long long>(value);
}
