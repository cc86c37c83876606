// CDate: 100-ns ticks since 1601-01-01 (all bits set = no date).
// CCur: signed 64-bit fixed point with four implied decimals.
// Plus the calendar, display-format and hose-mask helpers of the same family.
#pragma once
#include <cstdint>
#include <ctime>

class CStr;

class CDate {
public:
    static constexpr uint64_t kEmpty = ~0ULL;
    static constexpr uint64_t kEpochOffset = 116444736000000000ULL;  // 1601 -> 1970
    static constexpr uint64_t kTicksPerSecond = 10000000ULL;

    CDate() : _ticks(kEmpty) {}
    explicit CDate(long t);          // seconds since 1970; t < 1 gives no date
    explicit CDate(struct tm* t);    // local time through mktime
    static CDate FromTicks(uint64_t ticks) { CDate d; d._ticks = ticks; return d; }

    uint64_t Ticks() const { return _ticks; }
    void SetTicks(uint64_t t) { _ticks = t; }
    bool IsEmpty() const { return _ticks == kEmpty; }
    bool operator==(const CDate&) const = default;

    time_t ToDATE() const;           // unsigned division, as stored
    struct tm* ToTM() const;
    // Both pictures are ignored: always the locale's "%c" into a shared static buffer.
    char* Format(const char* dateFormat = nullptr, const char* timeFormat = nullptr) const;
    CDate Now();
    CDate SystemTime() { return Now(); }
    uint64_t MilliSecondsElapsed() const;
    uint64_t SecondsElapsed() const;
    CDate Set() const;               // sets the system clock
    double ToJulianDate() const { return 0.0; }
    void SetJulianDate(double) {}

private:
    uint64_t _ticks;
};

class CCur {
public:
    CCur() : _value(0) {}
    static CCur FromRaw(int64_t v) { CCur c; c._value = v; return c; }
    // The one double -> fixed point conversion: x * 10000 rounded half away from
    // zero in extended precision, so both architectures agree bit for bit.
    static CCur FromDouble(double x);
    double ToDouble() const;

    int64_t Value() const { return _value; }
    void SetValue(int64_t v) { _value = v; }
    bool operator==(const CCur&) const = default;

    CCur RoundDecimals(int d);
    CCur TruncateDecimals(int d);
    CCur AdjustDecimals(int d);
    int64_t RemoveDecimals(int d);
    CCur SetFormat(int width, int d, bool round);
    char* ToASCII(char* buf, short width, short d, bool reversed) const;
    CCur FromASCII(const char* buf, short len, short d, bool reversed);
    char* ToBCD(char* buf, short digits, short d, bool reversed) const;
    CCur FromBCD(const unsigned char* buf, short digits, short d, bool reversed);
    wchar_t* FormatW(wchar_t* buf, bool = false, int = 0, bool = false) const;
    char* Format(bool = false, int = 0, bool = false) const;  // shared static buffer

private:
    int64_t _value;
};

// Exported-boundary conversions: every caller uses these two.
inline CCur DoubleToCur(double x) { return CCur::FromDouble(x); }
inline double CurToDouble(const CCur& c) { return c.ToDouble(); }

typedef int TDisplayFormat;
typedef unsigned char THose;

long MDY2GD(int month, int day, int year);
void GD2MDY(long gd, int* month, int* day, int* year);
double CAL2JD(int month, int day, int year, int hour, int minute, int second, int ms);
void JD2CAL(double jd, int* month, int* day, int* year, int* hour, int* minute, int* second, int* ms);
int FormatToDecimals(TDisplayFormat f);
int FormatToWidth(TDisplayFormat f);
CCur FormatToTolerance(TDisplayFormat f);
int THose2Num(THose mask);
THose Num2THose(int n);
long long Tag2Int64(const CStr& tag);
