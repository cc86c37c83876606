// CINIFile: reads and edits one sections-and-keys text file in place. No parsed copy
// is kept; every look-up re-opens the file and reads from the section header.
#pragma once
#include <cstdio>
#include "foundation/str.h"

class CINIFile {
public:
    CINIFile(const char* fileName, const char* section, bool writable);
    ~CINIFile();
    CINIFile(const CINIFile&) = delete;
    CINIFile& operator=(const CINIFile&) = delete;

    void ChangeFileName(const char* name);
    void SetSection(const char* section) { _section = section; }
    const CStr& Section() const { return _section; }
    const CStr& FileName() const { return _fileName; }

    bool FindSection(const char* name);
    bool FindKey(const char* key);
    bool HasKey(const char* key);
    int GetStr(const char* key, CStr& value);
    int GetNextStr(const char* key, CStr& value);
    int GetSection(const char* name, CStr& text);
    int GetSectionName(int n, CStr& name);
    int GetNextSectionName(CStr& name);
    int PutValue(const char* key, const CStr& value);
    int PutNextValue(const char* key, const CStr& value);
    void Close();

    // "Y", "YES", "S", "SIM", "1", "TRUE" (any case) are true.
    static bool IsTrue(const CStr& value);

private:
    bool Open();
    bool ReadLine();                 // one piece of at most 1023 bytes into _line

    FILE* _fp;
    char _line[1024];
    char* _value;
    fpos_t _linePos;
    CStr _fileName;
    CStr _section;
    fpos_t _sectionPos;
    CStr _foundSection;
    bool _writable;
    fpos_t _enumPos;
    int _enumIndex;
};
