// Tagged values of a message's data area: decoded from received bytes (bounds-checked) and
// written for requests and replies, by the fake server and by the tests' expectations.
#pragma once
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "rpc/message.h"

namespace kvtest {

struct FakeArg {
    uint8_t tag = TAG_NULL;
    int64_t i = 0;           // char, bool, short, long, long long, CCur raw value, CDate ticks
    double d = 0;
    std::u16string s;        // string units; block bytes
    bool IsRef() const { return tag == TAG_NULL || tag == TAG_PLONGLONG || (tag < TAG_BLOCK && (tag & 1)); }
    std::string Narrow() const { return std::string(s.begin(), s.end()); }
};

// Bytes of a tag's value: 0 none, 1 to 8 fixed, -1 counted (strings and blocks), -2 unknown.
inline int TagWidth(uint8_t tag) {
    if (tag == TAG_NULL || tag == TAG_END) return 0;
    if (tag >= TAG_STR && tag <= TAG_BLOCK) return -1;
    if (tag <= TAG_PBOOL) return 1;
    if (tag <= TAG_PSHORT) return 2;
    if (tag <= TAG_PLONG) return 4;
    return tag <= TAG_PDATE || tag == TAG_LONGLONG || tag == TAG_PLONGLONG ? 8 : -2;
}

// The values up to the end tag; false when the data ends early or holds an unknown tag.
inline bool DecodeArgs(const uint8_t* data, size_t n, std::vector<FakeArg>& out) {
    size_t pos = 0;
    while (pos < n) {
        FakeArg a;
        a.tag = data[pos++];
        if (a.tag == TAG_END) return true;
        const int width = TagWidth(a.tag);
        if (width == -2) return false;
        if (width == -1) {
            if (pos + 2 > n) return false;
            const size_t count = data[pos] | data[pos + 1] << 8, unit = a.tag == TAG_BLOCK ? 1 : 2;
            pos += 2;
            if (pos + unit * count > n) return false;
            for (size_t k = 0; k < count; ++k, pos += unit)
                a.s.push_back(static_cast<char16_t>(unit == 2 ? data[pos] | data[pos + 1] << 8 : data[pos]));
        } else {
            if (pos + width > n) return false;
            uint64_t v = 0;
            std::memcpy(&v, data + pos, width);   // little-endian, like the hosts
            pos += width;
            if (a.tag == TAG_DOUBLE || a.tag == TAG_PDOUBLE) std::memcpy(&a.d, &v, 8);
            else if (width < 8) a.i = a.tag <= TAG_PCHAR ? int8_t(v) : a.tag <= TAG_PBOOL ? int64_t(v)
                                    : width == 2 ? int16_t(v) : int32_t(v);
            else a.i = static_cast<int64_t>(v);
        }
        out.push_back(a);
    }
    return false;   // no end tag
}

inline void AppendArg(const FakeArg& a, std::vector<uint8_t>& out) {
    out.push_back(a.tag);
    const int width = TagWidth(a.tag);
    if (width == -1) {
        const size_t unit = a.tag == TAG_BLOCK ? 1 : 2;
        out.insert(out.end(), {static_cast<uint8_t>(a.s.size()), static_cast<uint8_t>(a.s.size() >> 8)});
        for (char16_t c : a.s) {
            out.push_back(static_cast<uint8_t>(c));
            if (unit == 2) out.push_back(static_cast<uint8_t>(c >> 8));
        }
        return;
    }
    int64_t v = a.i;
    if (a.tag == TAG_DOUBLE || a.tag == TAG_PDOUBLE) std::memcpy(&v, &a.d, 8);
    for (int k = 0; k < width; ++k) out.push_back(static_cast<uint8_t>(static_cast<uint64_t>(v) >> (8 * k)));
}

// An expected data area, value by value; P... are the by-reference forms.
class Wire {
public:
    Wire& S(int16_t v) { return Put(TAG_SHORT, v); }
    Wire& L(int32_t v) { return Put(TAG_LONG, v); }
    Wire& X(int64_t v) { return Put(TAG_LONGLONG, v); }
    Wire& C(int64_t raw) { return Put(TAG_CUR, raw); }
    Wire& D(uint64_t ticks) { return Put(TAG_DATE, static_cast<int64_t>(ticks)); }
    Wire& PS(int16_t v) { return Put(TAG_PSHORT, v); }
    Wire& PL(int32_t v) { return Put(TAG_PLONG, v); }
    Wire& PX(int64_t v) { return Put(TAG_PLONGLONG, v); }
    Wire& PC(int64_t raw) { return Put(TAG_PCUR, raw); }
    Wire& Null(int n = 1) { while (n-- > 0) Put(TAG_NULL, 0); return *this; }
    Wire& Str(const std::string& s, uint8_t tag = TAG_STR) {
        FakeArg a;
        a.tag = tag;
        a.s.assign(s.begin(), s.end());
        AppendArg(a, _b);
        return *this;
    }
    std::vector<uint8_t> End() const {
        std::vector<uint8_t> b = _b;
        b.push_back(TAG_END);
        return b;
    }

private:
    Wire& Put(uint8_t tag, int64_t v) {
        FakeArg a;
        a.tag = tag;
        a.i = v;
        AppendArg(a, _b);
        return *this;
    }
    std::vector<uint8_t> _b;
};

}  // namespace kvtest
