// A simulated record declared once: one row per field, in the order of the interface's Get
// and Set rows (docs/protocol.md). Each row says where the value lives, its INI key (none:
// not configured), whether a client may set it and the range it must lie in. The wire type
// comes from the row's argument (a Raw member travels as CCur). Get, Set, the events and the
// INI loading all walk the same rows.
#pragma once
#include <algorithm>
#include <cstddef>
#include <tuple>
#include "sim/serve_util.h"

namespace sim {

// An INI key as a template argument; "" means the field is not read from the INI.
template <std::size_t N>
struct Key {
    char s[N];
    constexpr Key(const char (&v)[N]) { std::copy_n(v, N, s); }
    constexpr bool None() const { return N <= 1; }
};

enum TAccess : int { RW = 0, RO = 1 };

namespace rec {

inline void Assign(Raw& dst, const CCur& v) { dst = v.Value(); }
inline void Assign(CStr& dst, const CStr& v) { dst = v; }
inline void Assign(CDate& dst, const CDate& v) { dst = v; }
template <class D, class V>
    requires std::is_arithmetic_v<D> && std::is_arithmetic_v<V>
inline void Assign(D& dst, V v) { dst = static_cast<D>(v); }

template <class V> long long Numeric(const V& v)
{
    if constexpr (std::is_same_v<V, CCur>)
        return v.Value();
    else
        return static_cast<long long>(v);
}

// The one row kind: a path of member pointers (a member of a member), an optional array
// index, the wire type when it is not the stored one (CCur for a Raw member), the INI key,
// the access and the bounds of a settable numeric value.
template <class W, Key K, TAccess A, long long Lo, long long Hi, int Index, auto... Path>
struct Row {
    static constexpr bool kCur = std::is_same_v<W, CCur>;
    template <class O>
    static auto& Ref(O& o)
    {
        auto& v = Walk(o, Path...);
        if constexpr (Index >= 0)
            return v[Index];
        else
            return v;
    }
    template <class O, class M, class... More>
    static auto& Walk(O& o, M m, More... more)
    {
        if constexpr (sizeof...(More) == 0)
            return o.*m;
        else
            return Walk(o.*m, more...);
    }
    template <class O, class P> static void Get(O& o, P* out) { Put(out, Ref(o)); }
    template <class O> static auto Value(O& o)
    {
        if constexpr (kCur)
            return CCur::FromRaw(Ref(o));
        else
            return Ref(o);
    }
    template <class V> static bool Fits(const V& v)
    {
        if constexpr (A == RO || (Lo == 0 && Hi == 0))
            return true;
        else
            return Numeric(v) >= Lo && Numeric(v) <= Hi;
    }
    template <class O, class V> static void Set(O& o, const V& v)
    {
        if constexpr (A == RW)
            Assign(Ref(o), v);
    }
    template <class O, class Ini> static void Load(O& o, Ini& ini, const std::string& section)
    {
        if constexpr (!K.None())
            ini.Read(section, K.s, Ref(o), kCur);
    }
};

// Number and name live in the object's base.
struct Number {
    template <class O, class P> static void Get(O& o, P* out) { Put(out, o.GetNumber()); }
    template <class O> static long Value(O& o) { return o.GetNumber(); }
    template <class V> static bool Fits(const V&) { return true; }
    template <class O> static void Set(O& o, long v) { o.SetNumber(v); }
    template <class O, class Ini> static void Load(O&, Ini&, const std::string&) {}
};
struct Name {
    template <class O, class P> static void Get(O& o, P* out) { Put(out, o.Name()); }
    template <class O> static const CStr& Value(O& o) { return o.Name(); }
    template <class V> static bool Fits(const V&) { return true; }
    template <class O> static void Set(O& o, const CStr& v) { o.SetName(v); }
    template <class O, class Ini> static void Load(O&, Ini&, const std::string&) {}
};

}  // namespace rec

// A field: member, INI key, access, bounds (0, 0: any value); C: a Raw member sent as CCur.
template <auto M, Key K = "", TAccess A = RW, long long Lo = 0, long long Hi = 0>
using F = rec::Row<void, K, A, Lo, Hi, -1, M>;
template <auto M, Key K = "", TAccess A = RW, long long Lo = 0, long long Hi = 0>
using C = rec::Row<CCur, K, A, Lo, Hi, -1, M>;
// An element of an array member.
template <auto M, int I, Key K = "", TAccess A = RW, long long Lo = 0, long long Hi = 0>
using At = rec::Row<void, K, A, Lo, Hi, I, M>;
template <auto M, int I, Key K = "", TAccess A = RW, long long Lo = 0, long long Hi = 0>
using AtC = rec::Row<CCur, K, A, Lo, Hi, I, M>;
// A member of a member (the pump's configuration).
template <auto M, auto N, Key K = "", TAccess A = RW, long long Lo = 0, long long Hi = 0>
using In = rec::Row<void, K, A, Lo, Hi, -1, M, N>;
using ObjNumber = rec::Number;
using ObjName = rec::Name;

template <class O, class... Fs>
struct CRecord {
    static constexpr std::size_t kFields = sizeof...(Fs);

    // Get: every wanted field into its by-reference argument.
    template <class... P>
        requires(sizeof...(P) == kFields)
    static long Get(O* o, P*... out)
    {
        if (!o)
            return kNoObject;
        (Fs::Get(*o, out), ...);
        return SR_OK;
    }
    // A leading part of the record (the shorter Get beside a GetEx).
    template <class... P>
        requires(sizeof...(P) < kFields)
    static long Get(O* o, P*... out)
    {
        return GetFirst(o, std::index_sequence_for<P...>{}, out...);
    }
    // Set: refused with 14 when a settable value is out of its range, else every settable
    // field takes its value.
    template <class... V>
        requires(sizeof...(V) == kFields)
    static long Set(O* o, const V&... v)
    {
        if (!o)
            return kNoObject;
        if (!(Fs::Fits(v) && ...))
            return SR_BAD_VALUE;
        (Fs::Set(*o, v), ...);
        return SR_OK;
    }
    // The shorter Set: the fields it does not carry keep their values.
    template <class... V>
        requires(sizeof...(V) < kFields)
    static long Set(O* o, const V&... v)
    {
        if (!o)
            return kNoObject;
        return SetFirst(*o, std::index_sequence_for<V...>{}, v...);
    }
    // Every field in its wire form, for the events that carry the record.
    static auto Values(O& o) { return std::make_tuple(Fs::Value(o)...); }
    template <class Ini> static void Load(O& o, Ini& ini, const std::string& section)
    {
        (Fs::Load(o, ini, section), ...);
    }

private:
    using Rows = std::tuple<Fs...>;
    template <std::size_t... I, class... P>
    static long GetFirst(O* o, std::index_sequence<I...>, P*... out)
    {
        if (!o)
            return kNoObject;
        (std::tuple_element_t<I, Rows>::Get(*o, out), ...);
        return SR_OK;
    }
    template <std::size_t... I, class... V>
    static long SetFirst(O& o, std::index_sequence<I...>, const V&... v)
    {
        if (!(std::tuple_element_t<I, Rows>::Fits(v) && ...))
            return SR_BAD_VALUE;
        (std::tuple_element_t<I, Rows>::Set(o, v), ...);
        return SR_OK;
    }
};

}  // namespace sim

// Get and Set rows of a served interface over its record: Set finds the object by ID.
#define KV_SIM_GET(Fn, Rec)                      \
    template <class KvO, class... KvP>           \
    long Fn(KvO* o, KvP*... out)                 \
    {                                            \
        return Rec::Get(o, out...);              \
    }
#define KV_SIM_SET(Fn, Rec)                                  \
    template <class... KvV>                                  \
    long Fn(long id, const KvV&... v)                        \
    {                                                        \
        return Rec::Set(this->FindObjByID(id), v...);        \
    }
#define KV_SIM_SET_OBJECT(Fn, Rec)                           \
    template <class KvO, class... KvV>                       \
    long Fn(KvO* o, const KvV&... v)                         \
    {                                                        \
        return Rec::Set(o, v...);                            \
    }
