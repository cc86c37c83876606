#include "foundation/str.h"

#include <cctype>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>

int CStr::_count = 0;

namespace {

// The length element is read as 16 bits, so no string can hold more than this.
constexpr int kMaxLen = 32767;
constexpr int kFormatSize = 4096;

char kNullText[] = "<null>";
char kEmptyText[] = "";

short ClampLen(long long len)
{
    if (len < 0) return 0;
    if (len > kMaxLen) return kMaxLen;
    return static_cast<short>(len);
}

// Narrow bytes enter as signed chars: 0xE9 becomes -23.
wchar_t Widen(char c) { return static_cast<wchar_t>(static_cast<signed char>(c)); }

// The C library's toupper is only defined for -128..255 (glibc's table range);
// anything else passes through as it does there.
int UpperOf(wchar_t c)
{
    return (c >= -128 && c <= 255) ? std::toupper(static_cast<int>(c)) : static_cast<int>(c);
}

// Accent rows: upper codes, lower codes, base letter (upper case).
struct AccentRow {
    wchar_t upper[4];
    wchar_t lower[4];
    int count;
    wchar_t base;
};

constexpr AccentRow kAccents[] = {
    {{192, 193, 194, 195}, {224, 225, 226, 227}, 4, L'A'},
    {{199}, {231}, 1, L'C'},
    {{200, 201, 202}, {232, 233, 234}, 3, L'E'},
    {{204, 205, 206}, {236, 237, 238}, 3, L'I'},
    {{209}, {241}, 1, L'N'},
    {{210, 211, 212, 213}, {242, 243, 244, 245}, 4, L'O'},
    {{217, 218, 219, 220}, {249, 250, 251, 252}, 4, L'U'},
};

enum class AccentMap { kUpper, kLower, kBase };

wchar_t MapAccent(wchar_t c, AccentMap how)
{
    if (c < 192 || c > 252) return c;
    for (const AccentRow& row : kAccents) {
        for (int i = 0; i < row.count; ++i) {
            if (c == row.upper[i]) {
                if (how == AccentMap::kLower) return row.lower[i];
                if (how == AccentMap::kBase) return row.base;
                return c;
            }
            if (c == row.lower[i]) {
                if (how == AccentMap::kUpper) return row.upper[i];
                if (how == AccentMap::kBase) return row.base + (L'a' - L'A');
                return c;
            }
        }
    }
    return c;
}

}  // namespace

CStr::CStr() : _buffSize(0), _buff(nullptr), _asciiSize(0), _ascii(nullptr) { ++_count; }

CStr::CStr(const char* s) : CStr() { *this = s; }

CStr::CStr(const wchar_t* s) : CStr() { *this = s; }

CStr::CStr(const CStr& s) : CStr() { *this = s; }

CStr::CStr(const char* s, int len) : CStr()
{
    if (!s) return;
    short n = ClampLen(len);
    SetBuffer(n, false);
    // The length is what the caller said, whatever the conversion managed; the
    // buffer is zero-filled, so unconverted places read as NUL.
    std::mbstowcs(_buff + 1, s, static_cast<size_t>(n));
    SetLength(n);
}

CStr::CStr(long id) : CStr() { LoadString(id, nullptr); }

CStr::~CStr()
{
    --_count;
    ReleaseBuffer();
}

int CStr::LoadString(long, void*)
{
    // No string resources on this platform: an empty string with the usual room.
    SetBuffer(256, false);
    SetLength(0);
    return 0;
}

void CStr::ReleaseBuffer()
{
    delete[] _buff;
    _buff = nullptr;
    _buffSize = 0;
    delete[] _ascii;
    _ascii = nullptr;
    _asciiSize = 0;
}

void CStr::SetBuffer(short len, bool keep)
{
    if (len < 0) len = 0;
    if (len + 1 < _buffSize) return;
    int size = ((len + 1) / 32 + 1) * 32;
    wchar_t* fresh = new wchar_t[size]();
    if (keep && _buff) {
        short old = Length();
        std::wmemcpy(fresh, _buff, static_cast<size_t>(old) + 2);
    }
    // Without keep (or without an old buffer) the zero fill is length 0 plus terminator.
    delete[] _buff;
    _buff = fresh;
    _buffSize = size;
}

CStr& CStr::operator=(const char* s)
{
    if (!s) {
        ReleaseBuffer();
        return *this;
    }
    short n = ClampLen(static_cast<long long>(std::strlen(s)));
    SetBuffer(n, false);
    for (int i = 0; i < n; ++i) _buff[i + 1] = Widen(s[i]);
    SetLength(n);
    return *this;
}

CStr& CStr::operator=(const wchar_t* s)
{
    if (!s) {
        ReleaseBuffer();
        return *this;
    }
    return Assign(s, ClampLen(static_cast<long long>(std::wcslen(s))));
}

CStr& CStr::Assign(const wchar_t* s, short len)
{
    if (!s) {
        ReleaseBuffer();
        return *this;
    }
    if (len < 0) len = 0;
    SetBuffer(len, false);
    // s may point into this very buffer (a string assigned part of itself).
    std::wmemmove(_buff + 1, s, static_cast<size_t>(len));
    SetLength(len);
    return *this;
}

CStr& CStr::operator=(const CStr& s)
{
    if (this == &s) return *this;
    if (!s._buff) {
        ReleaseBuffer();
        return *this;
    }
    short n = s.Length();
    SetBuffer(n, false);
    std::wmemcpy(_buff, s._buff, static_cast<size_t>(n) + 2);
    return *this;
}

CStr& CStr::Format(const char* fmt, ...)
{
    char text[kFormatSize];
    va_list ap;
    va_start(ap, fmt);
    // Bounded: a longer result is cut at 4095 bytes; shorter ones are untouched.
    int n = std::vsnprintf(text, sizeof text, fmt, ap);
    va_end(ap);
    if (n < 0) text[0] = 0;
    return *this = text;
}

CStr& CStr::Format(const wchar_t* fmt, ...)
{
    wchar_t text[kFormatSize];
    text[0] = 0;
    va_list ap;
    va_start(ap, fmt);
    std::vswprintf(text, kFormatSize, fmt, ap);
    va_end(ap);
    // vswprintf reports a cut result as an error; keep what it wrote, terminated.
    text[kFormatSize - 1] = 0;
    return *this = text;
}

CStr& CStr::operator+=(wchar_t c)
{
    short len = Length();
    if (len >= kMaxLen) return *this;
    SetBuffer(static_cast<short>(len + 1), true);
    _buff[len + 1] = static_cast<wchar_t>(static_cast<short>(c));
    SetLength(static_cast<short>(len + 1));
    return *this;
}

CStr& CStr::operator+=(const char* s)
{
    if (!s || !*s) return *this;
    short len = Length();
    short total = ClampLen(static_cast<long long>(len) + static_cast<long long>(std::strlen(s)));
    SetBuffer(total, true);
    for (int i = len; i < total; ++i) _buff[i + 1] = Widen(s[i - len]);
    SetLength(total);
    return *this;
}

CStr& CStr::operator+=(const CStr& s)
{
    short len = Length();
    short add = s.Length();
    short total = ClampLen(static_cast<long long>(len) + add);
    SetBuffer(total, true);
    // For s == *this the source is the (possibly new) buffer itself; the
    // copied range lies before the destination, so nothing is overwritten early.
    for (int i = len; i < total; ++i) _buff[i + 1] = s._buff[i - len + 1];
    SetLength(total);
    return *this;
}

CStr::operator char*() const
{
    if (!_buff) return kNullText;
    short len = Length();
    if (len < 1) return kEmptyText;
    if (_asciiSize <= len) {
        delete[] _ascii;
        _ascii = new char[len + 1];
        _asciiSize = len + 1;
    }
    for (int i = 0; i < len; ++i) _ascii[i] = static_cast<char>(_buff[i + 1]);
    _ascii[len] = 0;
    return _ascii;
}

namespace {

// Shared integer walk; wraps in the unsigned type of the target width.
template <typename U>
U ParseInteger(const wchar_t* p, short len)
{
    U value = 0;
    bool negative = false;
    for (int i = 0; i < len; ++i) {
        wchar_t c = p[i];
        if (c < 32 || c > 57) break;
        if (c == L' ' || c == L',') continue;
        if (c == L'+') {
            negative = false;
        } else if (c == L'-') {
            negative = true;
        } else if (c >= L'0') {
            value = static_cast<U>(value * 10u + static_cast<U>(c - L'0'));
        } else {
            break;
        }
    }
    return negative ? static_cast<U>(0u - value) : value;
}

}  // namespace

// The product's long is 32 bits: parse in 32 bits everywhere so both
// architectures agree on every text.
CStr::operator long() const
{
    return static_cast<int32_t>(ParseInteger<uint32_t>(WStr(), Length()));
}

CStr::operator long long() const
{
    return static_cast<long long>(ParseInteger<uint64_t>(WStr(), Length()));
}

CStr::operator double() const
{
    const wchar_t* p = WStr();
    short len = Length();
    long double value = 0;
    long double divisor = 10;
    bool negative = false;
    bool point = false;
    for (int i = 0; i < len; ++i) {
        wchar_t c = p[i];
        if (c < 32 || c > 57) break;
        if (c == L' ' || c == L',') continue;
        if (c == L'+') {
            if (value > 0) break;
            negative = false;
        } else if (c == L'-') {
            if (value > 0) break;
            if (negative) return static_cast<double>(-value);
            negative = true;
        } else if (c == L'.') {
            if (point) break;
            point = true;
        } else if (c >= L'0') {
            int digit = c - L'0';
            if (point) {
                value += digit / divisor;
                divisor *= 10;
            } else {
                value = value * 10 + digit;
            }
        } else {
            break;
        }
    }
    return static_cast<double>(negative ? -value : value);
}

unsigned long CStr::FromHex() const
{
    const wchar_t* p = WStr();
    short len = Length();
    short i = 0;
    while (i < len && (p[i] == L'0' || p[i] == L' ' || p[i] == L'X' || p[i] == L'x')) ++i;
    uint32_t value = 0;
    for (; i < len; ++i) {
        wchar_t c = p[i];
        uint32_t digit;
        if (c >= L'0' && c <= L'9') digit = static_cast<uint32_t>(c - L'0');
        else if (c >= L'A' && c <= L'F') digit = static_cast<uint32_t>(c - L'A' + 10);
        else if (c >= L'a' && c <= L'f') digit = static_cast<uint32_t>(c - L'a' + 10);
        else break;
        value = value * 16 + digit;
    }
    return value;
}

CStr& CStr::ToASCIIHex()
{
    if (!_buff) return *this;
    static const char kHex[] = "0123456789ABCDEF";
    // The doubled length must still fit 16 bits: longer strings lose their tail.
    short len = Length();
    if (len > kMaxLen / 2) len = kMaxLen / 2;
    SetBuffer(static_cast<short>(len * 2), true);
    // From the back, so every source character is read before it is overwritten.
    for (int i = len; i >= 1; --i) {
        unsigned byte = static_cast<unsigned>(_buff[i]) & 0xFF;
        _buff[2 * i] = kHex[byte & 0x0F];
        _buff[2 * i - 1] = kHex[byte >> 4];
    }
    SetLength(static_cast<short>(len * 2));
    return *this;
}

wchar_t& CStr::operator[](short i)
{
    static wchar_t err = 0;
    if (!_buff || i < 1 || i > Length()) return err;
    return _buff[i];
}

wchar_t& CStr::operator[](int i)
{
    return (*this)[static_cast<short>(i >= -32768 && i <= 32767 ? i : 0)];
}

int CStr::Compare(const char* s) const
{
    if (!s) return -1;
    short len = Length();
    int i = 1;
    for (; i <= len && s[i - 1] != 0; ++i) {
        wchar_t mine = _buff[i];
        wchar_t theirs = Widen(s[i - 1]);
        if (mine < theirs) return -1;
        if (mine > theirs) return 1;
    }
    if (s[i - 1] != 0) return -1;
    if (i <= len) return 1;
    return 0;
}

int CStr::Compare(const CStr& s) const
{
    short len = Length();
    short other = s.Length();
    int i = 1;
    for (; i <= len && i <= other; ++i) {
        int mine = UpperOf(_buff[i]);
        int theirs = UpperOf(s._buff[i]);
        if (mine < theirs) return -1;
        if (mine > theirs) return 1;
    }
    if (i <= other) return -1;
    if (i <= len) return 1;
    return 0;
}

int CStr::At(const CStr& sub, int start) const
{
    if (!_buff) return 0;
    short subLen = sub.Length();
    if (subLen < 1) return start;
    short len = Length();
    // Positions before the first character hold the length element (or nothing).
    long long p = start < 1 ? 1 : start;
    for (; p + subLen <= len + 1; ++p) {
        if (std::wmemcmp(_buff + p, sub._buff + 1, static_cast<size_t>(subLen)) == 0)
            return static_cast<int>(p);
    }
    return 0;
}

CStr& CStr::Mid(short start, short count)
{
    if (!_buff) return *this;
    short len = Length();
    int from = start < 1 ? 1 : start;
    int n = count;
    if (from + n - 1 > len) n = len + 1 - from;
    if (n < 0) n = 0;
    if (n > 0) std::wmemmove(_buff + 1, _buff + from, static_cast<size_t>(n));
    SetLength(static_cast<short>(n));
    return *this;
}

CStr& CStr::LTrim()
{
    if (!_buff) return *this;
    short len = Length();
    short skip = 0;
    while (skip < len && _buff[skip + 1] == L' ') ++skip;
    if (skip > 0) {
        std::wmemmove(_buff + 1, _buff + 1 + skip, static_cast<size_t>(len - skip));
        SetLength(static_cast<short>(len - skip));
    }
    return *this;
}

CStr& CStr::RTrim()
{
    if (!_buff) return *this;
    short len = Length();
    while (len > 0 && _buff[len] == L' ') --len;
    SetLength(len);
    return *this;
}

CStr& CStr::Upper()
{
    short len = Length();
    for (int i = 1; i <= len; ++i) {
        wchar_t c = _buff[i];
        _buff[i] = (c >= L'a' && c <= L'z') ? c - (L'a' - L'A') : MapAccent(c, AccentMap::kUpper);
    }
    return *this;
}

CStr& CStr::Lower()
{
    short len = Length();
    for (int i = 1; i <= len; ++i) {
        wchar_t c = _buff[i];
        _buff[i] = (c >= L'A' && c <= L'Z') ? c + (L'a' - L'A') : MapAccent(c, AccentMap::kLower);
    }
    return *this;
}

CStr& CStr::RemoveAccents()
{
    short len = Length();
    for (int i = 1; i <= len; ++i) _buff[i] = MapAccent(_buff[i], AccentMap::kBase);
    return *this;
}

CStr& CStr::Replicate(short n, wchar_t c)
{
    // A negative count would index before the buffer: it gives an empty string.
    if (n < 0) n = 0;
    SetBuffer(n, false);
    for (int i = 1; i <= n; ++i) _buff[i] = c;
    SetLength(n);
    return *this;
}

CStr& CStr::LeftPad(int width, wchar_t c)
{
    if (width <= Length()) return *this;
    short w = ClampLen(width);
    // Reserving without keep: when this has to grow, the old text is lost and
    // the result is all pad characters. Callers rely on exactly that.
    SetBuffer(w, false);
    short len = Length();
    short shift = static_cast<short>(w - len);
    std::wmemmove(_buff + 1 + shift, _buff + 1, static_cast<size_t>(len));
    for (int i = 1; i <= shift; ++i) _buff[i] = c;
    SetLength(w);
    return *this;
}

CStr& CStr::Pad(int width, wchar_t c)
{
    if (width <= Length()) return *this;
    short w = ClampLen(width);
    SetBuffer(w, false);  // same loss on growth as LeftPad
    for (int i = Length() + 1; i <= w; ++i) _buff[i] = c;
    SetLength(w);
    return *this;
}
