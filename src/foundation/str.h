// CStr: the library's one string type. Wide characters behind a signed 16-bit
// length, 1-based positions, an unset string (no buffer) distinct from an empty one,
// and a narrow copy built on demand for char* consumers.
#pragma once
#include <cwchar>

class CStr {
public:
    CStr();
    CStr(const char* s);
    CStr(const wchar_t* s);
    CStr(const CStr& s);
    CStr(const char* s, int len);   // converts len characters with mbstowcs
    explicit CStr(long id);         // LoadString(id, nullptr)
    ~CStr();

    CStr& operator=(const char* s);
    CStr& operator=(const wchar_t* s);
    CStr& operator=(const CStr& s);
    CStr& Assign(const wchar_t* s, short len);
    int LoadString(long id, void* module);

    void ReleaseBuffer();
    void SetBuffer(short len, bool keep);

    CStr& Format(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
    CStr& Format(const wchar_t* fmt, ...);

    CStr& operator+=(wchar_t c);
    CStr& operator+=(const char* s);
    CStr& operator+=(const CStr& s);

    // Narrow copy: "<null>" when unset, "" when empty, else the low byte of each character.
    operator char*() const;
    explicit operator long() const;
    explicit operator long long() const;
    explicit operator double() const;
    unsigned long FromHex() const;
    CStr& ToASCIIHex();

    wchar_t& operator[](short i);
    // An int index would otherwise be ambiguous with the built-in char* subscript
    // (on i386); indexes beyond 16 bits are out of range like any other.
    wchar_t& operator[](int i);
    int Compare(const char* s) const;   // case-sensitive, -1/0/1; null s gives -1
    int Compare(const CStr& s) const;   // through toupper
    int At(const CStr& sub, int start) const;
    CStr& Mid(short start, short count);
    CStr& LTrim();
    CStr& RTrim();
    CStr& Upper();
    CStr& Lower();
    CStr& RemoveAccents();
    CStr& Replicate(short n, wchar_t c);
    CStr& LeftPad(int width, wchar_t c);
    CStr& Pad(int width, wchar_t c);
    void Dump() const {}
    static int InstanceCount() { return _count; }

    // Accessors used by the wire encoding and the tests.
    bool IsSet() const { return _buff != nullptr; }
    short Length() const { return _buff ? static_cast<short>(_buff[0]) : 0; }
    int Capacity() const { return _buffSize; }
    wchar_t Char(short i) const { return (_buff && i >= 1 && i <= Length()) ? _buff[i] : 0; }
    const wchar_t* WStr() const { return _buff ? _buff + 1 : L""; }

private:
    void SetLength(short len) { _buff[0] = len; _buff[len + 1] = 0; }

    int _buffSize;
    wchar_t* _buff;
    mutable int _asciiSize;
    mutable char* _ascii;
    static int _count;
};
