// Small helpers shared by the served interfaces: storing into by-reference arguments that
// the caller may not want, and the ProcessCall body over a table.
#pragma once
#include <type_traits>
#include "foundation/date.h"
#include "foundation/str.h"
#include "foundation/log.h"
#include "rpc/interface.h"
#include "rpc/method.h"
#include "sim/objects.h"

namespace sim {

// The answer for a request whose object is not there (an object row sent with ID -1).
constexpr long kNoObject = NO_OBJECT_RESULT;

template <class P, class V>
    requires(!std::is_same_v<P, CCur> && !std::is_same_v<P, CStr> && !std::is_same_v<P, CDate>)
inline void Put(P* p, const V& v)
{
    if (p)
        *p = static_cast<P>(v);
}
inline void Put(CCur* p, Raw v)
{
    if (p)
        *p = CCur::FromRaw(v);
}
inline void Put(CStr* p, const CStr& v)
{
    if (p)
        *p = v;
}
inline void Put(CStr* p, const char* v)
{
    if (p)
        *p = v;
}
inline void Put(CDate* p, const CDate& v)
{
    if (p)
        *p = v;
}

// A filter field: -1 matches everything.
inline bool Match(long filter, long value) { return filter == -1 || filter == value; }
inline bool MatchText(const CStr& filter, const CStr& value) { return filter.Length() == 0 || filter.Compare(value) == 0; }
// A date range whose ends may be empty (no limit).
inline bool InRange(const CDate& d, const CDate& from, const CDate& to)
{
    if (!from.IsEmpty() && (d.IsEmpty() || d.Ticks() < from.Ticks()))
        return false;
    if (!to.IsEmpty() && (d.IsEmpty() || d.Ticks() > to.Ticks()))
        return false;
    return true;
}

// A device's raw protocol status, logged.
inline long LogRaw(CInterface& i, const char* device, long number, short code, short previous, short channel)
{
    if (CLog* log = i.Trace())
        log->Log("%s %ld raw status %d (was %d) channel %d", device, number, code, previous, channel);
    return 0;
}

}  // namespace sim

// Rows whose ids the common Count and GetIDByOrdinal answer before any table is looked at
// (the delivery list's 5 and 8 count every object, as those do) get no served case: serve
// such a table through a row macro that passes KV_SIM_SERVE_CASE instead of its own.
#define KV_SIM_COMMON_AllCount ~, 1
#define KV_SIM_COMMON_GetAllIDByOrdinal ~, 1
#define KV_SIM_SECOND(a, b, ...) b
#define KV_SIM_SECOND_OF(...) KV_SIM_SECOND(__VA_ARGS__)
#define KV_SIM_CAT(a, b) KV_SIM_CAT_(a, b)
#define KV_SIM_CAT_(a, b) a##b
#define KV_SIM_CASE_0(...) KV_SERVE_CASE(__VA_ARGS__)
#define KV_SIM_CASE_1(...)
#define KV_SIM_SERVE_CASE(Name, ...) \
    KV_SIM_CAT(KV_SIM_CASE_, KV_SIM_SECOND_OF(KV_SIM_COMMON_##Name, 0, ~))(Name, __VA_ARGS__)

// The constructor and ProcessCall of a served interface: the table's rows, else -4. Both
// live in one file so that the interface's templates are made there alone.
#define KV_SIM_PROCESS_CALL(Class, Object, TABLE, Module)                                   \
    Class::Class(CForecourt& fc, CProcess* process) : CSimIface(fc, process) {}            \
    namespace {                                                                             \
    struct Class##Rows {                                                                    \
        KV_SERVER_DISPATCH(Dispatch, TABLE)                                                 \
    };                                                                                      \
    }                                                                                       \
    long Class::ProcessCall(short function, Object* object, CSocket*)                       \
    {                                                                                       \
        long result = 0;                                                                    \
        if (Class##Rows::Dispatch(function, *this, *this, object, result))                  \
            return result;                                                                  \
        Throw(BAD_FUNCTION_RESULT, __LINE__, "ProcessCall", Module);                        \
    }
