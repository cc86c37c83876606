#include "foundation/timer.h"

#include <ctime>

CTimer::CTimer(long intervalMs, short number, short kind, unsigned long owner, CTimerTarget* target)
    : _start(Ticks()), _interval(intervalMs), _number(number), _kind(kind), _owner(owner), _target(target)
{
}

// Processor time, not wall time: every interval of the framework is measured this way.
long CTimer::Ticks()
{
    return static_cast<long>(clock() / 1000);
}
