// The one frame of every exported pair. A family's source is a table of KV_PAIR rows:
//
//     KV_PAIR(GetPumpsCount, FAMILY_CALLS, (long* count), (count),
//             p.Pump()->Count(count))
//
// defines `long GetPumpsCountMT(CKVCLProcess* session, long* count)` (admission checks,
// the call, CheckResult) and `long GetPumpsCount(long* count)` (the library lock around
// the MT form on the global session; 8 without one). Inside the call expression `p` is the
// session and `r` the call's result; the conversion helpers below take `r` so that outputs
// are written after the call with the rules of the boundary.
#pragma once
#include <pthread.h>

#include <cstring>
#include "kvclient.h"
#include "client/session.h"
#include "foundation/date.h"
#include "foundation/str.h"
#include "rpc/message.h"

extern CKVCLProcess* pGCLProcess;
extern CStr* pLogPath;        // set by SetLogPath, kept across sessions
void InitialiseCS();
void DestroyCS();
pthread_mutex_t* EnterCS();
void LeaveCS(pthread_mutex_t* m);

namespace kvapi {

struct CSLock {
    CSLock() : _m(EnterCS()) {}
    ~CSLock() { LeaveCS(_m); }
    CSLock(const CSLock&) = delete;
    CSLock& operator=(const CSLock&) = delete;
private:
    pthread_mutex_t* _m;
};

// Admission checks, in this order: no session 8, (the call socket's management check,)
// not connected -14, client type -22.
enum TNeed : unsigned {
    NEED_CONNECTION = 1,   // GoodConnection() or -14
    NEED_CALLS = 2,        // client-type bit 0 or -22
    NEED_EVENTS = 4,       // client-type bit 1 or -22
    MAP_RESULT = 8,        // the call's result goes through CheckResult
    CHECK_MANAGEMENT = 16, // first 8 / -14 / a non-zero result of CheckForManagementFtn, unmapped
};
constexpr unsigned FAMILY_CALLS = NEED_CONNECTION | NEED_CALLS | MAP_RESULT;  // object and client calls
constexpr unsigned FAMILY_STATUS = NEED_CONNECTION | MAP_RESULT;             // ClientStatus, FireClientEvent
constexpr unsigned FAMILY_QUEUE = NEED_EVENTS;                               // event queue, no call
constexpr unsigned FAMILY_UNCHECKED = MAP_RESULT;                            // SetTCPIPConfig, WDReset (null session: 8)
constexpr unsigned FAMILY_PROCESS = CHECK_MANAGEMENT | NEED_CONNECTION | NEED_EVENTS | MAP_RESULT;  // ProcessEvents
constexpr unsigned FAMILY_TEST = NEED_CONNECTION;   // TestConnection: its management check is its own

inline long Admit(CKVCLProcess* p, unsigned need)
{
    if (!p)
        return NO_SESSION_RESULT;
    p->ReapRetired();   // no proxy call is on the stack here
    if (need & CHECK_MANAGEMENT) {
        if (!p->GoodConnection())
            return CONNECTION_BROKEN;
        if (long r = p->CheckForManagementFtn())
            return r;
    }
    if ((need & NEED_CONNECTION) && !p->GoodConnection())
        return CONNECTION_BROKEN;
    if ((need & NEED_CALLS) && !(p->ClientType() & 1))
        return WRONG_CLIENT_TYPE_RESULT;
    if ((need & NEED_EVENTS) && !(p->ClientType() & 2))
        return WRONG_CLIENT_TYPE_RESULT;
    return OK_RESULT;
}

inline long Finish(CKVCLProcess& p, long r, unsigned need)
{
    return (need & MAP_RESULT) ? p.CheckResult(r) : r;
}

// Strings out: nothing unless the result is 0 and out is non-null; then at most
// strlen(out) characters, NUL-padded, with no terminator of its own when the value fills it.
void CopyBSTR(long result, char* out, const CStr& value);
void CopyBSTR(long result, char* out, const char* value);
// Strings in: the zero-terminated text (null: unset, sent as an empty string).
inline CStr GetStr(const char* in) { return CStr(in); }

inline CCur Cur(double x) { return CCur::FromDouble(x); }
inline CDate Date(long t) { return CDate(t); }
// The long date of a CDate: the low 32 bits of the unsigned seconds, so the empty date
// reads -921101622 on every architecture.
inline long DateOut(const CDate& d) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(d.ToDATE()))); }

// Output holders: the proxy always gets a holder of its own; the caller's pointer is
// written when the holder dies, at the end of the call's full expression.
class OutCur {   // written whatever the result (0.0 after a failure)
public:
    explicit OutCur(double* out) : _out(out) {}
    ~OutCur() { if (_out) *_out = _v.ToDouble(); }
    operator CCur*() { return &_v; }
private:
    double* _out;
    CCur _v;
};
class OutDate {  // written only on success
public:
    OutDate(const long& r, long* out) : _r(r), _out(out) {}
    ~OutDate() { if (_out && _r == 0) *_out = DateOut(_v); }
    operator CDate*() { return &_v; }
private:
    const long& _r;
    long* _out;
    CDate _v;
};
// The pump's delivery data write their date whatever the result, like their amounts: the
// empty date (-921101622) after a failure.
class OutDateAny {
public:
    explicit OutDateAny(long* out) : _out(out) {}
    ~OutDateAny() { if (_out) *_out = DateOut(_v); }
    operator CDate*() { return &_v; }
private:
    long* _out;
    CDate _v;
};
// CopyBSTR with the call's raw result. Functions that copy on the mapped result use it as
// well: CheckResult maps 0 to 0 and nothing else to 0, and copying logs nothing, so the
// two orders cannot be told apart. The holder goes out as an empty string and reads as one
// when the server leaves it alone (tag 18); it takes a buffer only when a value arrives.
class OutStr {
public:
    OutStr(const long& r, char* out) : _r(r), _out(out) {}
    ~OutStr() { CopyBSTR(_r, _out, _v); }
    operator CStr*() { return &_v; }
private:
    const long& _r;
    char* _out;
    CStr _v;
};

}  // namespace kvapi

#define KV_SESSION_PARAMS(...) (CKVCLProcess* kvSession __VA_OPT__(, ) __VA_ARGS__)
#define KV_SESSION_ARGS(...) (pGCLProcess __VA_OPT__(, ) __VA_ARGS__)

// The body of a session form: admission, the call, the result mapping.
#define KV_FRAME_BODY(Session, Family, ...)                                             \
    {                                                                                   \
        if (long kvAdmit = ::kvapi::Admit(Session, Family))                             \
            return kvAdmit;                                                             \
        [[maybe_unused]] CKVCLProcess& p = *(Session);                                  \
        long r = 0;                                                                     \
        r = (__VA_ARGS__);                                                              \
        return ::kvapi::Finish(p, r, Family);                                           \
    }

// One exported pair. Params and Args are parenthesised lists; the rest is the call expression.
#define KV_PAIR(Name, Family, Params, Args, ...)                                        \
    extern "C" KV_API long Name##MT KV_SESSION_PARAMS Params                            \
    KV_FRAME_BODY(kvSession, Family, __VA_ARGS__)                                       \
    extern "C" KV_API long Name Params                                                  \
    {                                                                                   \
        ::kvapi::CSLock kvLock;                                                         \
        return pGCLProcess ? Name##MT KV_SESSION_ARGS Args : long(NO_SESSION_RESULT);   \
    }

// A short form without a session form: the frame on the library session, under the lock.
#define KV_SINGLE(Name, Family, Params, ...)                                            \
    extern "C" KV_API long Name Params                                                  \
    {                                                                                   \
        ::kvapi::CSLock kvLock;                                                         \
        CKVCLProcess* kvSession = pGCLProcess;                                          \
        KV_FRAME_BODY(kvSession, Family, __VA_ARGS__)                                   \
    }

// The rows that every configuration family shares: its count, the ID by ordinal, number
// and name (common methods with header object -1), creating an object (New sends the name,
// the ID, then the number), Delete, which waits for the reply, and renumbering and renaming
// one object without rewriting its record. Like every common method they send an ID of -1
// as it is.
#define KV_LOOKUP_PAIRS(Plural, Singular, Proxy)                                              \
    KV_PAIR(Get##Plural##Count, ::kvapi::FAMILY_CALLS, (long* count), (count),                \
            p.Proxy()->Count(count))                                                          \
    KV_PAIR(Get##Singular##ByOrdinal, ::kvapi::FAMILY_CALLS, (long ordinal, long* id),        \
            (ordinal, id), p.Proxy()->GetIDByOrdinal(ordinal, id))                            \
    KV_PAIR(Get##Singular##ByNumber, ::kvapi::FAMILY_CALLS, (long number, long* id),          \
            (number, id), p.Proxy()->GetIDByNumber(number, id))                               \
    KV_PAIR(Get##Singular##ByName, ::kvapi::FAMILY_CALLS, (const char* name, long* id),       \
            (name, id), p.Proxy()->GetIDByName(::kvapi::GetStr(name), id))                    \
    KV_PAIR(New##Singular, ::kvapi::FAMILY_CALLS, (long id, long number, const char* name),   \
            (id, number, name), p.Proxy()->New(number, id, ::kvapi::GetStr(name)))            \
    KV_PAIR(Delete##Singular, ::kvapi::FAMILY_CALLS, (long id), (id),                         \
            p.Proxy()->Delete(id, false))                                                     \
    KV_PAIR(Set##Singular##Number, ::kvapi::FAMILY_CALLS, (long id, long number), (id, number),\
            p.Proxy()->SetNumber(id, number))                                                 \
    KV_PAIR(Set##Singular##Name, ::kvapi::FAMILY_CALLS, (long id, const char* name),          \
            (id, name), p.Proxy()->SetName(id, ::kvapi::GetStr(name)))

#define KV_UNPAREN(...) __VA_ARGS__

// The filtered count and look-up of a family whose filter ends in two dates: the plain forms
// send two empty dates (no limit), the Ex forms the caller's from and to. Params and Args
// are the parenthesised filter values.
#define KV_FILTERED_PAIRS(Plural, Singular, Proxy, Count, ByOrdinal, Params, Args)                         \
    KV_PAIR(Get##Plural##CountFiltered, ::kvapi::FAMILY_CALLS, (long* count, KV_UNPAREN Params),             \
            (count, KV_UNPAREN Args), p.Proxy()->Count(count, KV_UNPAREN Args, CDate(), CDate()))           \
    KV_PAIR(Get##Plural##CountFilteredEx, ::kvapi::FAMILY_CALLS,                                             \
            (long* count, KV_UNPAREN Params, long from, long to), (count, KV_UNPAREN Args, from, to),      \
            p.Proxy()->Count(count, KV_UNPAREN Args, ::kvapi::Date(from), ::kvapi::Date(to)))              \
    KV_PAIR(Get##Singular##IDByOrdinalFiltered, ::kvapi::FAMILY_CALLS,                                       \
            (long ordinal, long* id, KV_UNPAREN Params), (ordinal, id, KV_UNPAREN Args),                    \
            p.Proxy()->ByOrdinal(ordinal, id, KV_UNPAREN Args, CDate(), CDate()))                           \
    KV_PAIR(Get##Singular##IDByOrdinalFilteredEx, ::kvapi::FAMILY_CALLS,                                     \
            (long ordinal, long* id, KV_UNPAREN Params, long from, long to),                                \
            (ordinal, id, KV_UNPAREN Args, from, to),                                                       \
            p.Proxy()->ByOrdinal(ordinal, id, KV_UNPAREN Args, ::kvapi::Date(from), ::kvapi::Date(to)))
