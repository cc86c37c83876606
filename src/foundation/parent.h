// CParent: the back-pointer through which every object reaches its process's
// logs, INI file and time-outs. The process type lives in the transport layer,
// which also defines these accessors.
#pragma once

class CProcess;
class CLog;
class CINIFile;

class CParent {
public:
    explicit CParent(CProcess* p = nullptr) : _process(p) {}
    CProcess* Parent() const { return _process; }
    void SetParent(CProcess* p) { _process = p; }
    CLog* Trace() const;
    CINIFile* Ini() const;
    CLog* Alarms() const;
    long CallTimeout() const;
    long WriteTimeout() const { return CallTimeout() / 10; }

private:
    CProcess* _process;
};
