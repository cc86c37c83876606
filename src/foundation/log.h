// CLog: one rotating text log (trace lines, error lines, message dumps, alarm records),
// each log with its own mutex. Files are "<base>.L00" with archives .L01, .L02 ...
#pragma once
#include <cstdio>
#include <cstdarg>
#include <pthread.h>
#include "foundation/date.h"
#include "foundation/str.h"
#include "foundation/timer.h"

typedef int TLogEventDeviceType;   // alarm source index (0..14)
typedef int TLogEventType;         // alarm type index (0..14)

class CLog {
public:
    CLog(const char* name, const char* title, short stampMode, long maxSize, short archives,
         bool header, bool keepOpen);
    virtual ~CLog();
    CLog(const CLog&) = delete;
    CLog& operator=(const CLog&) = delete;

    // Hooks for a log that also serves TCP log watchers.
    virtual void SocketOutput(const char* text) { (void)text; }
    virtual void CheckForLogClients() {}
    virtual int PortNo() { return 0; }

    void ToFile(bool on);
    void ChangeFileName(const char* name);
    void SetPathSizeArchives(const CStr& path, long maxSize, short archives);
    void Log(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
    void Log(unsigned char level, const char* fmt, ...) __attribute__((format(printf, 3, 4)));
    void VaLog(const char* fmt, va_list args);
    void Error(long line, const char* file, const char* fmt, ...) __attribute__((format(printf, 4, 5)));
    void LogAlarm(TLogEventDeviceType source, TLogEventType type, int a, int b, const char* fmt, ...)
        __attribute__((format(printf, 6, 7)));
    void LogMsg(const char* direction, const char* prefix, const unsigned char* data, int len, int n, int mode);
    void PrintHeader();
    void Close();
    void Output(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
    void Write(const char* text);
    void ArchiveLogFile();

    // Settings the process applies from its INI file.
    void SetLevel(unsigned char level) { _level = level; }
    unsigned char Level() const { return _level; }
    void SetToScreen(bool on) { _toScreen = on; }
    void SetStackTrace(bool on) { _stackTrace = on; }
    void SetToClients(bool on) { _toClients = on; }
    void SetHeader(const char* header) { _header = header; }
    bool ToFileOn() const { return _toFile; }
    const CStr& FileName() const { return _fileName; }
    const CStr& BaseName() const { return _baseName; }
    const CStr& Path() const { return _path; }
    long MaxSize() const { return _maxSize; }
    short Archives() const { return _archives; }
    // Test hook: pretend the last dated line was written at this time.
    void SetLastTime(const CDate& d) { _lastTime = d; }

    static const char* const AlarmSrcs[16];
    static const char* const AlarmTypes[16];

protected:
    CStr _baseName;
    CStr _fileName;
    CStr _path;
    CStr _title;
    CStr _header;
    FILE* _fp;
    int _enabled;
    CDate _lastTime;
    short _stampMode;
    CTimer _timer;
    long _maxSize;
    short _archives;
    bool _toScreen;
    bool _toFile;
    bool _keepOpen;
    bool _stackTrace;
    unsigned char _level;
    pthread_mutex_t* _mutex;
    bool _toClients;
};
