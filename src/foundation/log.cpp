#include "foundation/log.h"

#include <cstring>
#include <string>

const char* const CLog::AlarmSrcs[16] = {
    "SRVC", "PUMP", "TANK", "HOSE", "GRAD", "KVID", "ATTD", "CARD",
    "PORT", "PROC", "POS ", "ATG ", "SENS", "PRSG", "USER", "*UNK",
};

const char* const CLog::AlarmTypes[16] = {
    "INIT", "TERM", "STRT", "STOP", "SPST", "ADD ", "DEL ", "EDIT",
    "PRIC", "OFPR", "OFLN", "EREV", "KVER", "MEM ", "RSET", "*UNK",
};

namespace {

// Large enough for the hex dump of the biggest message (24-byte header + 2048 bytes).
constexpr size_t kLineSize = 8192;

// A bounded line: appends never overflow, and one byte stays free for the closing line feed.
class CLine {
public:
    CLine() { _buf[0] = 0; }
    void VAppend(const char* fmt, va_list args)
    {
        const size_t room = sizeof _buf - 1 - _len;
        int n = vsnprintf(_buf + _len, room, fmt, args);
        if (n > 0)
            _len += static_cast<size_t>(n) < room ? static_cast<size_t>(n) : room - 1;
    }
    void Append(const char* fmt, ...) __attribute__((format(printf, 2, 3)))
    {
        va_list args;
        va_start(args, fmt);
        VAppend(fmt, args);
        va_end(args);
    }
    void EndLine()
    {
        _buf[_len++] = '\n';
        _buf[_len] = 0;
    }
    const char* Text() const { return _buf; }

private:
    char _buf[kLineSize];
    size_t _len = 0;
};

class CLock {
public:
    explicit CLock(pthread_mutex_t* m) : _m(m) { pthread_mutex_lock(_m); }
    ~CLock() { pthread_mutex_unlock(_m); }
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;

private:
    pthread_mutex_t* _m;
};

// The current time as the log shows it. CDate::Format shares one static buffer: copy at once.
std::string NowText()
{
    return CDate().Now().Format("dd'/'MM'/'yyyy", "HH':'mm':'ss");
}

std::string ArchiveName(const CStr& base, int i)
{
    char suffix[16];
    snprintf(suffix, sizeof suffix, ".L%02d", i);
    return std::string(base.Length() > 0 ? static_cast<char*>(base) : "") + suffix;
}

const char* Tag(const char* const (&table)[16], int i)
{
    return i >= 0 && i < 16 ? table[i] : "*UNK";
}

bool IsSet(const CStr& s)
{
    return s.Length() > 0;
}

}  // namespace

CLog::CLog(const char* name, const char* title, short stampMode, long maxSize, short archives, bool header,
           bool keepOpen)
    : _baseName(name ? name : ""), _fileName(""), _path(""), _title(title ? title : ""), _header(""),
      _fp(nullptr), _enabled(1), _stampMode(stampMode), _maxSize(maxSize), _archives(archives),
      _toScreen(false), _toFile(false), _keepOpen(keepOpen), _stackTrace(false), _level(1),
      _mutex(new pthread_mutex_t), _toClients(false)
{
    pthread_mutex_init(_mutex, nullptr);
    ToFile(true);
    if (header) {
        PrintHeader();
        ArchiveLogFile();
    } else {
        _lastTime.Now();
    }
}

CLog::~CLog()
{
    Close();
    pthread_mutex_destroy(_mutex);
    delete _mutex;
}

void CLog::ToFile(bool on)
{
    _toFile = on;
    if (!on) {
        if (_fp) {
            fclose(_fp);
            _fp = nullptr;
        }
    } else if (!_fp) {
        _fileName = ArchiveName(_baseName, 0).c_str();
        if (_keepOpen)
            _fp = fopen(static_cast<char*>(_fileName), "a");
    }
}

void CLog::ChangeFileName(const char* name)
{
    ToFile(false);
    _baseName = name ? name : "";
    ToFile(true);
    PrintHeader();
    ArchiveLogFile();
}

void CLog::SetPathSizeArchives(const CStr& path, long maxSize, short archives)
{
    _archives = archives;
    _maxSize = maxSize;
    if (path.Compare(_path) == 0) {
        if (!_fp)
            _fp = fopen(static_cast<char*>(_fileName), "a+");
        if (_fp) {
            fprintf(_fp, "%s ****STOP <%s>\n", NowText().c_str(), static_cast<char*>(_title));
            fclose(_fp);
            _fp = nullptr;
        }
    } else {
        // What was written before the move (normally just the START line) is dropped.
        if (_fp) {
            fclose(_fp);
            _fp = nullptr;
        }
        remove(static_cast<char*>(_fileName));
    }

    _path = path;
    std::string base = IsSet(_baseName) ? static_cast<char*>(_baseName) : "";
    const size_t slash = base.rfind('/');
    if (slash != std::string::npos)
        base.erase(0, slash + 1);
    base = std::string(IsSet(_path) ? static_cast<char*>(_path) : "") + "/" + base;
    _baseName = base.c_str();
    _fileName = ArchiveName(_baseName, 0).c_str();

    if (_toFile) {
        PrintHeader();
        ArchiveLogFile();
    }
}

void CLog::Log(const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    VaLog(fmt, args);
    va_end(args);
}

void CLog::Log(unsigned char level, const char* fmt, ...)
{
    if (level > _level)
        return;
    va_list args;
    va_start(args, fmt);
    VaLog(fmt, args);
    va_end(args);
}

void CLog::VaLog(const char* fmt, va_list args)
{
    if (!_enabled || (!_toScreen && !_toFile && !_toClients))
        return;
    // The whole line is built under the lock: the tick and time fields are shared by all callers.
    CLock lock(_mutex);
    CLine line;
    const long now = CTimer::Ticks();
    const int elapsed = static_cast<int>(now - _timer._start);
    switch (_stampMode) {
    case 1:
        if (_lastTime.SecondsElapsed() >= 60 && IsSet(_title)) {
            line.Append("%s ****TIME <%s>\n%6dms ", NowText().c_str(), static_cast<char*>(_title), elapsed);
            _lastTime.Now();
        } else {
            line.Append("%6dms ", elapsed);
        }
        break;
    case 2:
        line.Append("%s ", NowText().c_str());
        _lastTime.Now();
        break;
    case 3:
        line.Append("%s %6dms ", NowText().c_str(), elapsed);
        _lastTime.Now();
        break;
    default:
        break;
    }
    _timer._start = now;
    line.VAppend(fmt, args);
    line.EndLine();
    Write(line.Text());
    ArchiveLogFile();
}

void CLog::Error(long lineNo, const char* file, const char* fmt, ...)
{
    CLock lock(_mutex);
    CLine line;
    line.Append("%s ***ERROR line %d in <%s> ", NowText().c_str(), static_cast<int>(lineNo), file ? file : "");
    va_list args;
    va_start(args, fmt);
    line.VAppend(fmt, args);
    va_end(args);
    line.EndLine();
    Write(line.Text());
    ArchiveLogFile();
    _lastTime.Now();
}

void CLog::LogAlarm(TLogEventDeviceType source, TLogEventType type, int a, int b, const char* fmt, ...)
{
    char text[1024];
    va_list args;
    va_start(args, fmt);
    vsnprintf(text, sizeof text, fmt, args);
    va_end(args);

    CLock lock(_mutex);
    const std::string date = NowText();
    if (source == 5)
        Output("%s,%s,%s,%06X,%6d,\"%s\"\n", date.c_str(), AlarmSrcs[5], Tag(AlarmTypes, type),
               static_cast<unsigned>(a), b, text);
    else
        Output("%s,%s,%s,%6d,%6d,\"%s\"\n", date.c_str(), Tag(AlarmSrcs, source), Tag(AlarmTypes, type), a, b,
               text);
    ArchiveLogFile();
}

void CLog::LogMsg(const char* direction, const char* prefix, const unsigned char* data, int len, int n, int mode)
{
    auto printable = [mode](unsigned char c) {
        if (mode == 1)
            return c >= '0' && c <= '9';
        if (mode == 2)
            return c >= 32 && c <= 125;
        return false;
    };
    static const char kHex[] = "0123456789ABCDEF";
    std::string text;
    const int count = data ? len : 0;
    for (int i = 0; i < count;) {
        if (printable(data[i])) {
            text += '"';
            while (i < count && printable(data[i]))
                text += static_cast<char>(data[i++]);
            text += '"';
        } else {
            text += '[';
            for (bool first = true; i < count && !printable(data[i]); first = false, ++i) {
                if (!first)
                    text += ' ';
                text += kHex[data[i] >> 4];
                text += kHex[data[i] & 15];
            }
            text += ']';
        }
    }
    const char* pre = prefix ? prefix : "";
    const char* gap = prefix ? " " : "";
    const char* dir = direction ? direction : "";
    if (n >= 0)
        Log("%s%sLen %03d %s %02d %s", pre, gap, len, dir, n, text.c_str());
    else
        Log("%s%sLen %03d %s %s", pre, gap, len, dir, text.c_str());
}

void CLog::PrintHeader()
{
    if (IsSet(_header)) {
        Output("%s\n", static_cast<char*>(_header));
    } else if (IsSet(_title)) {
        Output("%s ***START <%s>\n", NowText().c_str(), static_cast<char*>(_title));
        _lastTime.Now();
    }
}

void CLog::Close()
{
    if (_toFile) {
        if (!_fp)
            _fp = fopen(static_cast<char*>(_fileName), "a");
        if (_fp) {
            fprintf(_fp, "%s ****STOP <%s>\n", NowText().c_str(), static_cast<char*>(_title));
            fclose(_fp);
            _fp = nullptr;
        }
    }
    _toScreen = _toFile = _toClients = false;
}

void CLog::Output(const char* fmt, ...)
{
    CLine line;
    va_list args;
    va_start(args, fmt);
    line.VAppend(fmt, args);
    va_end(args);
    Write(line.Text());
}

void CLog::Write(const char* text)
{
    if (_toFile) {
        if (!_fp)
            _fp = fopen(static_cast<char*>(_fileName), "a");
        if (!_fp) {
            if (_toClients)
                SocketOutput(text);
            return;
        }
        fputs(text, _fp);
        if (!_keepOpen) {
            fclose(_fp);
            _fp = nullptr;
        }
    }
    if (_toClients)
        SocketOutput(text);
}

void CLog::ArchiveLogFile()
{
    if (!_toFile)
        return;
    if (_fp)
        fflush(_fp);
    else if (!(_fp = fopen(static_cast<char*>(_fileName), "a")))
        return;
    fseek(_fp, 0, SEEK_END);
    const long size = ftell(_fp);
    if (IsSet(_path) || !_keepOpen) {
        fclose(_fp);
        _fp = nullptr;
    }
    if (size <= _maxSize)
        return;

    if (_fp) {
        fclose(_fp);
        _fp = nullptr;
    }
    // .L00 becomes .L01, each archive moves up one, the oldest falls off the end.
    for (int i = _archives; i >= 1; --i) {
        const std::string to = ArchiveName(_baseName, i);
        remove(to.c_str());
        rename(ArchiveName(_baseName, i - 1).c_str(), to.c_str());
    }
    _fileName = ArchiveName(_baseName, 0).c_str();
    if (!IsSet(_path) && _keepOpen)
        _fp = fopen(static_cast<char*>(_fileName), "a");
}
