// Shared pieces of the transport fuzzers: processes whose logs format every line but write
// nothing, and one method table with every argument type, served and called.
#pragma once
#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <type_traits>

#include "foundation/log.h"
#include "rpc/method.h"
#include "rpc/process.h"
#include "rpc/serverif.h"

namespace kvfuzz {

// Builds each line as the real log does, then drops it.
class CQuietLog : public CLog {
public:
    CQuietLog() : CLog("quiet", "", 0, 0, 0, false, false)
    {
        ToFile(false);
        SetToClients(true);
    }
    void SocketOutput(const char*) override {}
};

// The processes open their logs on construction; they do so in a private directory that is
// gone again once the quiet logs have taken over.
class CLogDir {
public:
    CLogDir()
    {
        char pattern[] = "/tmp/kvfuzzXXXXXX";
        if (const char* p = mkdtemp(pattern))
            _path = p;
    }
    ~CLogDir()
    {
        std::error_code ec;
        if (!_path.empty())
            std::filesystem::remove_all(_path, ec);
    }
    std::string operator/(const char* name) const { return _path + "/" + name; }

private:
    std::string _path;
};

// Swaps a process's file logs for quiet ones.
inline void Quieten(CLog*& trace, CLog*& alarms)
{
    delete trace;
    delete alarms;
    trace = new CQuietLog;
    alarms = new CQuietLog;
}

constexpr long kClientId = 5;
constexpr long kCallTimeoutMs = 1000;

class CFuzzClientProcess : public CProcess {
public:
    explicit CFuzzClientProcess(const CLogDir& dir)
        : CProcess((dir / "client").c_str(), "fuzz", "localhost", 0, 0, kCallTimeoutMs, kClientId)
    {
        Quieten(_trace, _alarms);
    }
    void MainLoopInner() override {}
    long PortManagement(CSocket*, TPort, uint8_t, long) override { return 0; }
};

class CFuzzServerProcess : public CServerProcess {
public:
    explicit CFuzzServerProcess(const CLogDir& dir) : CServerProcess((dir / "server").c_str(), "fuzz", 0, 0, kCallTimeoutMs)
    {
        Quieten(_trace, _alarms);
    }
};

// Every argument type in pointer and value form, a reply with thirteen pointers shaped like a
// pump status, a flag-skip row and a one-way row.
#define KV_FUZZ_TABLE(X)                                                                                   \
    X(Every, 20, Object, NOTE_NONE, char*, bool*, short*, long*, double*, long long*, CCur*, CDate*, CStr*) \
    X(Status, 21, Object, NOTE_NONE, short*, short*, long*, CCur*, CCur*, CCur*, CStr*, CStr*, long*,       \
      CDate*, short*, CCur*, long*)                                                                        \
    X(Values, 22, Class, NOTE_NONE, char, bool, short, long, double, long long, CCur, CDate, CStr, long*,  \
      CStr*)                                                                                               \
    X(Flagged, 23, SetCls, NOTE_FLAGSKIP, long, CStr, CCur*)                                               \
    X(Notify, 24, Object, NOTE_ONEWAY, CStr, long)

constexpr uint16_t kFuzzType = IF_DELIVERY;

class CFuzzProxy : public CClientInterface {
public:
    static constexpr uint16_t kType = kFuzzType;
    static constexpr const char* kModule = "IFuzz";
    using CClientInterface::CClientInterface;
    uint16_t ObjectType() const override { return _type; }
    uint16_t InterfaceVersion() const override { return 0; }

    // What the next reply must carry, as if a request with these fields had just gone out.
    void Expect(uint16_t type, uint8_t function, uint32_t object, uint16_t sequence, long source)
    {
        _type = type;
        _function = function;
        _object = object;
        _sequence = sequence;
        _destId = source;
    }

    KV_FUZZ_TABLE(KV_METHOD)

private:
    uint16_t _type = kType;
};

// Served over CPhyObjects: the generic functions by CServerInterface itself, the table by
// Handler. The handlers write every reference back, strings grown so that long requests
// make replies that no longer fit.
class CFuzzServed : public CServerInterface<CIObject> {
public:
    CFuzzServed(CProcess* p, uint16_t type, int sortMode) : CServerInterface<CIObject>(p, nullptr, 0, sortMode), _type(type) {}
    uint16_t ObjectType() const override { return _type; }
    uint16_t InterfaceVersion() const override { return 0; }

    // Three objects, and nothing else left over from the previous input.
    void Reset()
    {
        for (_objects.First(); _objects.Current();)
            _objects.Delete();
        const char* names[] = {"one", "two", "three"};
        for (int i = 0; i < 3; ++i)
            _objects.Add(new CPhyObject(7 + i, 10 * (i + 1), CStr(names[i]), Process()));
    }

    struct Handler {
        // Arithmetic on values from the wire wraps instead of overflowing.
        template <class T>
        static T Add(T a, long long b)
        {
            using U = std::make_unsigned_t<T>;
            return static_cast<T>(static_cast<U>(a) + static_cast<U>(b));
        }
        static void Grow(CStr* s)
        {
            if (s && s->Length() > 0) {
                CStr copy(*s);
                *s += copy;
            }
        }
        long Every(CIObject* o, char* c, bool* b, short* s, long* l, double* d, long long* x, CCur* cur, CDate* date, CStr* str)
        {
            if (c) *c = static_cast<char>(*c + 1);
            if (b) *b = !*b;
            if (s) *s = static_cast<short>(*s ^ 0x5a5a);
            if (l) *l = o ? o->ID() : -1;
            if (d) *d = *d * 2;
            if (x) *x = ~*x;
            if (cur) cur->SetValue(cur->Value() / 3);
            if (date) date->SetTicks(date->Ticks() + 1);
            Grow(str);
            return 0;
        }
        long Status(CIObject* o, short* a, short* b, long* c, CCur* d, CCur* e, CCur* f, CStr* g, CStr* h, long* i,
                    CDate* j, short* k, CCur* l, long* m)
        {
            if (a) *a = 3;
            if (b) *b = -1;
            if (c) *c = o ? o->GetNumber() : 0;
            for (CCur* v : {d, e, f, l})
                if (v) v->SetValue(Add(v->Value(), 1));
            if (g && o) *g = *o->GetName();
            Grow(h);
            if (i) *i = Add(*i, 1);
            if (j) j->SetTicks(~j->Ticks());
            if (k) *k = static_cast<short>(*k - 1);
            if (m) *m = 0;
            return 0;
        }
        long Values(char c, bool, short s, long l, double, long long x, const CCur& cur, const CDate&, const CStr& str, long* out,
                    CStr* echo)
        {
            if (out) *out = static_cast<long>(Add(Add(x, cur.Value()), c + s + static_cast<long long>(l)));
            if (echo) *echo = str;
            Grow(echo);
            return l < 0 ? static_cast<long>(l % 100) : 0;   // any code the handler likes
        }
        long Flagged(long id, const CStr& name, CCur* cur)
        {
            if (cur) cur->SetValue(Add(static_cast<int64_t>(id), name.Length()));
            return 0;
        }
        long Notify(CIObject*, const CStr&, long) { return 0; }
    };

    KV_SERVER_DISPATCH(Dispatch, KV_FUZZ_TABLE)

    long ProcessCall(short function, CIObject* object, CSocket*) override
    {
        Handler h;
        long r;
        if (Dispatch(function, *this, h, object, r))
            return r;
        Throw(BAD_FUNCTION_RESULT, __LINE__, "ProcessCall");
    }

private:
    uint16_t _type;
};

}  // namespace kvfuzz
