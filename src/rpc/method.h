// One mechanism for every remote method: a method is a row of a table (name, function id,
// header-object rule, notes, argument types), and templates derived from the types pack
// the arguments, run the call and unpack the by-reference arguments back (calling side),
// or unpack a request, run a handler and pack the reply (serving side).
//
// Calling side, inside a class derived from CClientInterface that defines
// `static constexpr uint16_t kType` and `static constexpr const char* kModule`
// (KV_INTERFACE declares both with the ObjectType/InterfaceVersion overrides):
//
//     #define KV_IPUMP_TABLE(X)
//         X(Authorise, 29, Object, NOTE_NONE)
//         X(Set, 14, SetCls, NOTE_FLAGSKIP, long, long, CStr, short)     (lines joined by \)
//     class CIPump : public CClientInterface {
//     public:
//         using CClientInterface::CClientInterface;
//         KV_INTERFACE(IF_PUMP, "IPump")
//         KV_IPUMP_TABLE(KV_METHOD)
//         KV_METHOD_INFOS(KV_IPUMP_TABLE)
//     };
//     pump.Authorise(id);  pump.Set(id, number, name, mode);
//
// Serving side: KV_SERVER_DISPATCH(Fn, TABLE) defines
// `bool Fn(function, self, handler, object, long& result)` whose switch calls
// `handler.Name(object, args...)` (Object rows) or `handler.Name(args...)`.
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>
#include "foundation/date.h"
#include "foundation/str.h"
#include "rpc/interface.h"
#include "rpc/message.h"

enum TNote : unsigned {
    NOTE_NONE = 0,
    NOTE_ONEWAY = 1,     // no reply awaited, nothing unpacked
    NOTE_NOGUARD = 2,    // an object ID of -1 is sent instead of refused
    NOTE_QUIET = 4,      // failures return without the catch line
    NOTE_FLAGSKIP = 8,   // reply flag byte set: return its result, unpack nothing
};

// Where the header object comes from.
//   Object: the method's first argument, placed in the header and not sent; -1 is refused
//           with -7 before anything is packed (unless NOTE_NOGUARD).
//   Class:  header object -1, every argument sent, no guard.
//   SetCls: header object -1, every argument sent; the first is the object ID and is
//           guarded like an Object row.
enum class THdr : uint8_t { Object, Class, SetCls };

struct MethodInfo {
    uint16_t iface;       // interface type; 0 for the common methods of every interface
    uint8_t id;           // function id
    THdr hdr;
    unsigned notes;       // TNote bits
    const char* name;
    const char* module;   // source module named in the catch line
    const char* wire;     // sent argument letters, e.g. "l* S* s* C*"; "" for none
};

namespace kv {

// ---- wire letters of the table types ----

template <class T> struct Letter;
template <> struct Letter<char> { static constexpr char value = 'c'; };
template <> struct Letter<bool> { static constexpr char value = 'b'; };
template <> struct Letter<short> { static constexpr char value = 's'; };
template <> struct Letter<long> { static constexpr char value = 'l'; };
template <> struct Letter<long long> { static constexpr char value = 'x'; };
template <> struct Letter<double> { static constexpr char value = 'd'; };
template <> struct Letter<CCur> { static constexpr char value = 'C'; };
template <> struct Letter<CDate> { static constexpr char value = 'D'; };
template <> struct Letter<CStr> { static constexpr char value = 'S'; };

template <class W> struct Base { using type = W; static constexpr bool ref = false; };
template <class T> struct Base<T*> { using type = T; static constexpr bool ref = true; };
template <class W> using BaseT = typename Base<W>::type;
template <class W> inline constexpr bool kIsRef = Base<W>::ref;

template <class... W>
struct Wire {
    static constexpr std::size_t kSize =
        (std::size_t{0} + ... + (kIsRef<W> ? 2 : 1)) + (sizeof...(W) ? sizeof...(W) - 1 : 0) + 1;
    static constexpr std::array<char, kSize> Make()
    {
        std::array<char, kSize> out{};
        std::size_t at = 0;
        [[maybe_unused]] auto put = [&](char letter, bool ref) {
            if (at)
                out[at++] = ' ';
            out[at++] = letter;
            if (ref)
                out[at++] = '*';
        };
        (put(Letter<BaseT<W>>::value, kIsRef<W>), ...);
        out[at] = '\0';
        return out;
    }
    static constexpr std::array<char, kSize> value = Make();
};

// ---- argument types ----

// How a table type is taken by the calling side: scalars by value, the 64-bit classes and
// strings by const reference, by-reference arguments as pointers.
template <class W> struct Param { using type = W; };
template <> struct Param<CCur> { using type = const CCur&; };
template <> struct Param<CDate> { using type = const CDate&; };
template <> struct Param<CStr> { using type = const CStr&; };
template <class W> using ParamT = typename Param<W>::type;

// ---- calling side ----

// InitPack, the arguments, EndPack, Call, and for a two-way call the checked reply with
// the by-reference arguments stored back. Every TResult thrown on the way ends here.
template <class S, class... P>
long Invoke(S& self, const MethodInfo& info, uint32_t object, bool oneWay, const P&... args)
{
    try {
        self.InitPack(info.id, object, oneWay);
        (self.Pack(args), ...);
        self.EndPack();
        self.Call();
        if (oneWay)
            return self.Msg()->h.result;
        if ((info.notes & NOTE_FLAGSKIP) && self.Msg()->h.flag)
            return self.Msg()->h.result;
        self.InitUnpack();
        [[maybe_unused]] auto back = [&self](const auto& a) {
            if constexpr (std::is_pointer_v<std::remove_cvref_t<decltype(a)>>)
                self.Unpack(a);
        };
        (back(args), ...);
        self.EndUnpack();
        return self.Msg()->h.result;
    } catch (TResult r) {
        return self.Caught(r, __LINE__, info.module, info.name, (info.notes & NOTE_QUIET) != 0);
    }
}

inline bool Refused(const MethodInfo& info, long id)
{
    return id == -1 && !(info.notes & NOTE_NOGUARD);
}

constexpr uint32_t kClassObject = 0xFFFFFFFFu;

// The serving side keeps each argument in a slot: values as they are, by-reference
// arguments with a flag for "sent" (tag 18 means not wanted).
template <class W> struct Slot {
    W v{};
    const W& Arg() { return v; }
    template <class S> void Read(S& self) { self.Unpack(v); }
    template <class S> void Reply(S&) {}
};
template <class T> struct Slot<T*> {
    T v{};
    bool sent = false;
    T* Arg() { return sent ? &v : nullptr; }
    template <class S> void Read(S& self) { sent = self.Unpack(&v) != nullptr; }
    template <class S> void Reply(S& self) { self.Pack(sent ? &v : static_cast<T*>(nullptr)); }
};

// Serving side of one request whose arguments are W...: checks the request, unpacks it,
// calls f (with the header object first when `withObject`), and unless the request is
// one-way turns the same buffer into the reply: source and destination swapped, the
// by-reference arguments packed back, the handler's result in the result field. A handler
// may set the header's flag byte to mark the reply for flag-skip callers.
template <bool withObject, class... W, class S, class O, class F>
long Serve(S& self, [[maybe_unused]] O&& object, F&& f)
{
    self.InitUnpack();
    std::tuple<Slot<W>...> slots;
    std::apply([&](auto&... s) { (s.Read(self), ...); }, slots);
    self.EndUnpack();
    const bool oneWay = self.Msg()->h.flag != 0;
    const long r = std::apply(
        [&](auto&... s) -> long {
            if constexpr (withObject)
                return f(object, s.Arg()...);
            else
                return f(s.Arg()...);
        },
        slots);
    TIMsg* m = self.Msg();
    m->h.result = static_cast<int16_t>(r);
    if (!oneWay) {
        std::swap(m->h.source, m->h.destination);
        m->h.length = 0;
        std::apply([&](auto&... s) { (s.Reply(self), ...); }, slots);
        self.EndPack();
    }
    return r;
}

// ---- one signature per header rule ----

template <THdr H, class... W> struct Sig;

template <class... W>
struct Sig<THdr::Object, W...> {
    static constexpr MethodInfo Info(uint16_t iface, uint8_t id, unsigned notes, const char* name, const char* module)
    {
        return {iface, id, THdr::Object, notes, name, module, Wire<W...>::value.data()};
    }
    template <class S>
    static long Run(S& self, const MethodInfo& info, long id, ParamT<W>... a)
    {
        return Exec(self, info, id, (info.notes & NOTE_ONEWAY) != 0, a...);
    }
    // As Run, with the one-way flag chosen by the caller.
    template <class S>
    static long Exec(S& self, const MethodInfo& info, long id, bool oneWay, ParamT<W>... a)
    {
        if (Refused(info, id))
            return NO_OBJECT_RESULT;
        return Invoke(self, info, static_cast<uint32_t>(id), oneWay, a...);
    }
    template <class S, class O, class F>
    static long Serve(S& self, O&& object, F&& f)
    {
        return kv::Serve<true, W...>(self, std::forward<O>(object), std::forward<F>(f));
    }
};

template <class... W>
struct Sig<THdr::Class, W...> {
    static constexpr MethodInfo Info(uint16_t iface, uint8_t id, unsigned notes, const char* name, const char* module)
    {
        return {iface, id, THdr::Class, notes, name, module, Wire<W...>::value.data()};
    }
    template <class S>
    static long Run(S& self, const MethodInfo& info, ParamT<W>... a)
    {
        return Invoke(self, info, kClassObject, (info.notes & NOTE_ONEWAY) != 0, a...);
    }
    template <class S, class O, class F>
    static long Serve(S& self, O&& object, F&& f)
    {
        return kv::Serve<false, W...>(self, std::forward<O>(object), std::forward<F>(f));
    }
};

// A Set row: the first sent argument must be the object ID, a long.
template <class... W>
struct Sig<THdr::SetCls, long, W...> {
    static constexpr MethodInfo Info(uint16_t iface, uint8_t id, unsigned notes, const char* name, const char* module)
    {
        return {iface, id, THdr::SetCls, notes, name, module, Wire<long, W...>::value.data()};
    }
    template <class S>
    static long Run(S& self, const MethodInfo& info, long id, ParamT<W>... a)
    {
        if (Refused(info, id))
            return NO_OBJECT_RESULT;
        return Invoke(self, info, kClassObject, (info.notes & NOTE_ONEWAY) != 0, id, a...);
    }
    template <class S, class O, class F>
    static long Serve(S& self, O&& object, F&& f)
    {
        return kv::Serve<false, long, W...>(self, std::forward<O>(object), std::forward<F>(f));
    }
};

}  // namespace kv

// ---- table rows ----

// The identity of an interface class (calling or serving): its interface type, its source
// module for the catch lines, and the two overrides that put them in every header. Every
// interface of this system is version 0.
#define KV_INTERFACE(Type, Module)                                  \
    static constexpr uint16_t kType = Type;                         \
    static constexpr const char* kModule = Module;                  \
    uint16_t ObjectType() const override { return kType; }          \
    uint16_t InterfaceVersion() const override { return 0; }

// The MethodInfo `Name##Info` of a row and its signature type `Name##Sig`; needs kType and
// kModule in scope.
#define KV_INFO(Name, Id, Hdr, Notes, ...)                                   \
    using Name##Sig = ::kv::Sig<THdr::Hdr __VA_OPT__(, ) __VA_ARGS__>;        \
    static constexpr MethodInfo Name##Info = Name##Sig::Info(kType, Id, Notes, #Name, kModule);

// A proxy method: the row's MethodInfo plus `long Name(args...)`. Object rows take the
// object ID first. Arguments convert as for a plain call, so a wrong type does not compile.
#define KV_METHOD(Name, Id, Hdr, Notes, ...)                                 \
    KV_INFO(Name, Id, Hdr, Notes __VA_OPT__(, ) __VA_ARGS__)                  \
    template <class... KvA>                                                   \
    long Name(KvA&&... kvA)                                                   \
    {                                                                         \
        return Name##Sig::Run(*this, Name##Info, std::forward<KvA>(kvA)...);  \
    }

// `static constexpr const MethodInfo* kMethods[]`: the rows of a table, in table order.
#define KV_INFO_ADDRESS(Name, ...) &Name##Info,
#define KV_METHOD_INFOS(TABLE) static constexpr const MethodInfo* kMethods[] = {TABLE(KV_INFO_ADDRESS)};

// One case of a serving switch (see KV_SERVER_DISPATCH).
#define KV_SERVE_CASE(Name, Id, Hdr, Notes, ...)                                          \
    case Id:                                                                              \
        kvResult = ::kv::Sig<THdr::Hdr __VA_OPT__(, ) __VA_ARGS__>::Serve(                \
            kvSelf, kvObject, [&](auto&&... kvA) -> long {                                \
                return kvHandler.Name(std::forward<decltype(kvA)>(kvA)...);               \
            });                                                                           \
        return true;

// Defines `template <...> static bool Fn(int function, S& self, H& handler, O&& object,
// long& result)`: serves the request in self's current message when the table has a row
// for `function` (handler.Name(object, args...) for object rows, handler.Name(args...)
// otherwise; pointer arguments arrive as T*, null when the caller sent tag 18) and returns
// true with the handler's result; false for a function the table does not know.
#define KV_SERVER_DISPATCH(Fn, TABLE)                                                     \
    template <class KvS, class KvH, class KvO>                                            \
    static bool Fn(int kvFunction, KvS& kvSelf, KvH& kvHandler, KvO&& kvObject, long& kvResult) \
    {                                                                                     \
        switch (kvFunction) {                                                             \
            TABLE(KV_SERVE_CASE)                                                          \
        default:                                                                          \
            return false;                                                                 \
        }                                                                                 \
    }

// The generic functions that every interface answers (module Process). New sends its
// arguments in the order name, id, number; Delete's flag travels as the header's one-way
// byte. CClientInterface wraps these rows with its own signatures.
#define KV_COMMON_TABLE(X)                                   \
    X(GetVersion, 2, Class, NOTE_NOGUARD, long*)             \
    X(New, 3, Class, NOTE_NOGUARD, CStr, long, long)         \
    X(Delete, 4, Object, NOTE_NOGUARD)                       \
    X(Count, 5, Class, NOTE_NOGUARD, long*)                  \
    X(GetIDByNumber, 6, Class, NOTE_NOGUARD, long, long*)    \
    X(GetIDByName, 7, Class, NOTE_NOGUARD, CStr, long*)      \
    X(GetIDByOrdinal, 8, Class, NOTE_NOGUARD, long, long*)   \
    X(GetNumber, 9, Object, NOTE_NOGUARD, long*)             \
    X(SetNumber, 10, Object, NOTE_NOGUARD, long)             \
    X(GetName, 11, Object, NOTE_NOGUARD, CStr*)              \
    X(SetName, 12, Object, NOTE_NOGUARD, CStr)

struct KvCommon {
    static constexpr uint16_t kType = 0;
    static constexpr const char* kModule = "Process";
    KV_COMMON_TABLE(KV_INFO)
    KV_METHOD_INFOS(KV_COMMON_TABLE)
    KV_SERVER_DISPATCH(Dispatch, KV_COMMON_TABLE)
};
