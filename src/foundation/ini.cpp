#include "foundation/ini.h"

#include <cstring>
#include <string>
#include <strings.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

// A CStr holds at most this many characters.
constexpr int kMaxStr = 32767;

char* SkipBlanks(char* p)
{
    while (*p == ' ')
        ++p;
    return p;
}

// Narrow text of a string; an unset one is written as nothing, not as "<null>".
const char* Text(const CStr& s)
{
    return s.Length() > 0 ? static_cast<char*>(s) : "";
}

// A value standing between double-quote marks is returned without them.
void TakeValue(char* v, CStr& out)
{
    size_t n = strlen(v);
    if (n >= 2 && v[0] == '"' && v[n - 1] == '"') {
        v[n - 1] = 0;
        ++v;
    }
    out = v;
}

}  // namespace

CINIFile::CINIFile(const char* fileName, const char* section, bool writable)
    : _fp(nullptr), _value(_line), _fileName(fileName), _section(section), _foundSection(""),
      _writable(writable), _enumIndex(0)
{
    _line[0] = 0;
    memset(&_linePos, 0, sizeof _linePos);
    memset(&_sectionPos, 0, sizeof _sectionPos);
    memset(&_enumPos, 0, sizeof _enumPos);
}

CINIFile::~CINIFile()
{
    Close();
}

void CINIFile::Close()
{
    if (_fp) {
        fclose(_fp);
        _fp = nullptr;
    }
}

void CINIFile::ChangeFileName(const char* name)
{
    Close();
    _fileName = name;
    // Remembered positions belong to the previous file.
    _foundSection = "";
    _enumIndex = 0;
}

bool CINIFile::Open()
{
    Close();
    if (_fileName.Length() < 1)
        return false;
    const char* name = static_cast<char*>(_fileName);
    _fp = fopen(name, _writable ? "r+b" : "rb");
    if (!_fp && _writable) {
        if (FILE* created = fopen(name, "a+"))
            fclose(created);
        _fp = fopen(name, "r+b");
    }
    return _fp != nullptr;
}

bool CINIFile::ReadLine()
{
    _line[0] = 0;
    return _fp && fgets(_line, sizeof _line, _fp) != nullptr;
}

bool CINIFile::FindSection(const char* name)
{
    if (!name || !*name || !Open()) {
        _foundSection = "";
        return false;
    }
    if (CStr(name).Compare(_foundSection) == 0) {
        fsetpos(_fp, &_sectionPos);
        return true;
    }
    fgetpos(_fp, &_linePos);
    std::string header = std::string("[") + name + "]";
    while (ReadLine()) {
        if (strncasecmp(SkipBlanks(_line), header.c_str(), header.size()) == 0) {
            _foundSection = name;
            fgetpos(_fp, &_sectionPos);
            return true;
        }
    }
    _foundSection = "";
    return false;
}

bool CINIFile::FindKey(const char* key)
{
    if (!key || !*key || !_fp)
        return false;
    const size_t keyLen = strlen(key);
    for (;;) {
        fgetpos(_fp, &_linePos);
        if (!ReadLine())
            return false;
        char* p = SkipBlanks(_line);
        if (*p == '\r' || *p == '\n')
            continue;
        if (*p == '[')
            return false;
        if (strncasecmp(p, key, keyLen) != 0)
            continue;
        // The first line that starts with the key decides, even when it is a longer key.
        p = SkipBlanks(p + keyLen);
        if (*p != '=')
            return false;
        _value = SkipBlanks(p + 1);
        size_t n = strlen(_value);
        while (n > 0 && (_value[n - 1] == '\r' || _value[n - 1] == '\n' || _value[n - 1] == ' '))
            _value[--n] = 0;
        return true;
    }
}

bool CINIFile::HasKey(const char* key)
{
    return FindSection(Text(_section)) && FindKey(key);
}

int CINIFile::GetStr(const char* key, CStr& value)
{
    value = "";
    if (!FindSection(Text(_section))) {
        Close();
        return 0;
    }
    if (FindKey(key))
        TakeValue(_value, value);
    if (!_writable)
        Close();
    return value.Length();
}

int CINIFile::GetNextStr(const char* key, CStr& value)
{
    value = "";
    if (FindKey(key))
        TakeValue(_value, value);
    return value.Length();
}

int CINIFile::GetSection(const char* name, CStr& text)
{
    text = "";
    if (!FindSection(name)) {
        Close();
        return 0;
    }
    while (ReadLine()) {
        if (*SkipBlanks(_line) == '[')
            break;
        if (text.Length() + static_cast<long>(strlen(_line)) > kMaxStr)
            break;
        text += _line;
    }
    Close();
    return text.Length();
}

int CINIFile::GetSectionName(int n, CStr& name)
{
    _foundSection = "";
    name = "";
    if (!Open())
        return 0;
    int count = 0;
    if (_enumIndex > 0 && _enumIndex < n) {
        fsetpos(_fp, &_enumPos);
        count = _enumIndex;
    }
    while (ReadLine()) {
        char* p = SkipBlanks(_line);
        if (*p != '[' || ++count != n)
            continue;
        char* end = ++p;
        while (*end && *end != ']' && *end != '\r' && *end != '\n')
            ++end;
        *end = 0;
        name = p;
        _enumIndex = n;
        fgetpos(_fp, &_enumPos);
        Close();
        return 1;
    }
    memset(&_enumPos, 0, sizeof _enumPos);
    _enumIndex = -1;
    Close();
    return 0;
}

int CINIFile::GetNextSectionName(CStr& name)
{
    if (_enumIndex < 0)
        return 0;
    return GetSectionName(_enumIndex + 1, name);
}

int CINIFile::PutValue(const char* key, const CStr& value)
{
    const char* section = Text(_section);
    if (!key || !*key || !*section)
        return 0;
    const char* text = Text(value);

    if (!FindSection(section)) {
        if (!_fp)
            return 0;
        fseek(_fp, 0, SEEK_END);
        fprintf(_fp, "\r\n[%s]\r\n%s=%s\r\n", section, key, text);
        Close();
        return value.Length();
    }

    const bool found = FindKey(key);
    const off_t reached = ftello(_fp);
    fsetpos(_fp, &_linePos);
    if (!found && ftello(_fp) == reached) {
        // Nothing was read after the last key line: the section runs to the end of the file.
        fseek(_fp, 0, SEEK_END);
        if (ftello(_fp) > 0) {
            fseek(_fp, -1, SEEK_END);
            const bool lineEnded = fgetc(_fp) == '\n';
            fseek(_fp, 0, SEEK_END);
            if (!lineEnded)
                fputs("\r\n", _fp);
        }
        fprintf(_fp, "%s=%s\r\n", key, text);
    } else {
        if (found) {
            // The old key line is replaced as a whole, however many pieces it was read in.
            int c;
            while ((c = fgetc(_fp)) != EOF && c != '\n') {
            }
        }
        std::string rest;
        char buf[4096];
        size_t n;
        while ((n = fread(buf, 1, sizeof buf, _fp)) > 0)
            rest.append(buf, n);
        fsetpos(_fp, &_linePos);
        // A new key ends its section, so an empty line separates it from the next header.
        fprintf(_fp, "%s=%s\r\n%s", key, text, found ? "" : "\r\n");
        fwrite(rest.data(), 1, rest.size(), _fp);
        fflush(_fp);
        const off_t end = ftello(_fp);
        if (end >= 0) {
            int rc = ftruncate(fileno(_fp), end);
            (void)rc;
        }
    }
    _foundSection = "";
    Close();
    return value.Length();
}

int CINIFile::PutNextValue(const char* key, const CStr& value)
{
    if (!key)
        return 0;
    if (!_fp) {
        if (!Open())
            return 0;
        _foundSection = "";
    }
    // Switching a stream from reading to writing needs a positioning call.
    fseek(_fp, 0, SEEK_CUR);
    if (_section.Compare(_foundSection) != 0) {
        fprintf(_fp, "\r\n[%s]\r\n", Text(_section));
        fgetpos(_fp, &_sectionPos);
        _foundSection = _section;
    }
    fprintf(_fp, "%s=%s\r\n", key, Text(value));
    return value.Length();
}

bool CINIFile::IsTrue(const CStr& value)
{
    static const char* const kYes[] = {"Y", "YES", "S", "SIM", "1", "TRUE"};
    CStr v(value);
    v.Upper();
    for (const char* y : kYes)
        if (v.Compare(y) == 0)
            return true;
    return false;
}
