// CTimer: a timer element of a process, and the framework's millisecond clock.
#pragma once
#include "foundation/list.h"

class CTimerTarget {
public:
    virtual ~CTimerTarget() = default;
    virtual void TimerEvent(short number) = 0;
};

class CTimer : public CElement<CTimer, CTimer> {
public:
    CTimer(long intervalMs = 0, short number = 0, short kind = 0, unsigned long owner = 0,
           CTimerTarget* target = nullptr);
    ~CTimer() override = default;

    // Processor time of the process in milliseconds: clock() / 1000. Deliberately not wall time.
    static long Ticks();

    void Start() { _start = Ticks(); }
    long Elapsed() const { return Ticks() - _start; }
    bool Expired() const { return _start + _interval <= Ticks(); }

    long _start;
    long _interval;
    short _number;
    short _kind;
    unsigned long _owner;
    CTimerTarget* _target;
};
