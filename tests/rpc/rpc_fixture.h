// Shared pieces of the transport tests: a log kept in memory, a process that logs to it,
// an in-memory link whose far end is a function of the test, and a small test interface.
#pragma once
#include <fcntl.h>
#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>
#include "net_fixture.h"
#include "foundation/log.h"
#include "rpc/method.h"
#include "rpc/process.h"
#include "rpc/serverif.h"
#include "rpc/socket.h"

constexpr long kClientId = 5;

class CCaptureLog : public CLog {
public:
    CCaptureLog() : CLog("capture", "", 0, 0, 0, false, false)
    {
        ToFile(false);
        SetToClients(true);
    }
    void SocketOutput(const char* text) override { _text += text; }
    bool Has(const std::string& s) const { return _text.find(s) != std::string::npos; }
    std::string _text;
};

class CTestProcess : public CProcess {
public:
    explicit CTestProcess(const kvtest::TempDir& dir)
        : CProcess((dir / "trace").c_str(), "test", "localhost", 0, 0, 200, kClientId)
    {
        _ownTrace = _trace;
        _trace = &log;
    }
    ~CTestProcess() override { _trace = _ownTrace; }
    void MainLoopInner() override {}
    long PortManagement(CSocket*, TPort, uint8_t, long) override { return 0; }
    long Reconnect() override
    {
        ++reconnects;
        return onReconnect ? onReconnect() : 0;
    }

    CCaptureLog log;
    int reconnects = 0;
    std::function<long()> onReconnect;

private:
    CLog* _ownTrace;
};

// A socket whose far end is the test: each message written is recorded and handed to
// `peer`, which may Push() messages for the near end to read.
class CFakeLink : public CSocket {
public:
    explicit CFakeLink(CProcess* p) : CSocket(p, CStr("fake"), 1)
    {
        _fd = ::open("/dev/null", O_RDWR);
        SetSynchronous(true);
    }
    void Push(const TIMsg& m) { in.append(reinterpret_cast<const char*>(&m), m.WireSize()); }

    int CanWrite(long) override { return IsOpen() ? 1 : -1; }
    long Write(const void* buf, long n, bool) override
    {
        if (!IsOpen() || failWrites-- > 0)
            return -1;
        TIMsg m{};
        std::memcpy(&m, buf, std::min<size_t>(n, sizeof m));
        sent.push_back(m);
        if (peer && m.h.function != 1)
            peer(m);
        return n;
    }
    long Read(void* buf, long n, bool) override
    {
        if (!IsOpen())
            return -1;
        const long k = std::min<long>(n, static_cast<long>(in.size()));
        std::memcpy(buf, in.data(), k);
        in.erase(0, k);
        return k;
    }
    int WaitForSocketEvent(long, CSocket**, bool, bool) override
    {
        if (!IsOpen())
            return WAIT_FAILED;
        return in.empty() ? WAIT_TIMEOUT : WAIT_DATA;
    }
    int Flush() override { return 0; }
    long BytesInRxBuff() override { return static_cast<long>(in.size()); }

    std::function<void(TIMsg&)> peer;
    std::vector<TIMsg> sent;
    std::string in;
    int failWrites = 0;
};

// The reply a well-behaved server gives to a request: same header, ends swapped.
inline TIMsg ReplyTo(const TIMsg& request, int16_t result = 0)
{
    TIMsg r = request;
    std::swap(r.h.source, r.h.destination);
    r.h.result = result;
    r.h.length = 1;
    r.data[0] = TAG_END;
    return r;
}

inline std::vector<uint8_t> Data(const TIMsg& m)
{
    return std::vector<uint8_t>(m.data, m.data + std::min<int>(m.h.length, kMsgDataSize));
}

// The code a call throws, 0 when it throws nothing.
template <class F>
int Code(F f)
{
    try {
        f();
    } catch (TResult r) {
        return r;
    }
    return 0;
}

template <class... V>
std::vector<uint8_t> Bytes(V... v)
{
    return {static_cast<uint8_t>(v)...};
}

// What a serving process does with a request read from a link.
inline void ProcessAndPush(CInterface& server, CFakeLink& link, TIMsg& m)
{
    const bool oneWay = m.h.flag != 0;
    server.ProcessMsg(&m, &link);
    if (!oneWay)
        link.Push(m);
}

#define KV_ITEST_TABLE(X)                                                                  \
    X(Authorise, 29, Object, NOTE_NONE)                                                    \
    X(Logon, 15, Object, NOTE_NOGUARD, long)                                               \
    X(GetStatus, 17, Object, NOTE_NONE, short*, long*, CStr*, CCur*, CDate*, long long*)   \
    X(Set, 14, SetCls, NOTE_FLAGSKIP, long, long, CStr, short)                             \
    X(CountFiltered, 33, Class, NOTE_QUIET, long*, long, long long, CDate)                 \
    X(Report, 19, Object, NOTE_ONEWAY, short, CCur)                                        \
    X(Mixed, 40, Object, NOTE_NONE, char, bool, double, char*, bool*, double*)

template <uint16_t Type>
class CTestClient : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(Type, "ITest")
    void SetSequence(uint16_t s) { _sequence = s; }

    KV_ITEST_TABLE(KV_METHOD)
    KV_METHOD_INFOS(KV_ITEST_TABLE)
};
using CITest = CTestClient<4>;

// The serving side of the same table over CPhyObjects.
class CTestServer : public CServerInterface<CIObject> {
public:
    explicit CTestServer(CProcess* p) : CServerInterface<CIObject>(p, nullptr, 0) {}
    KV_INTERFACE(IF_PUMP, "ITest")

    struct Handler;
    KV_SERVER_DISPATCH(Dispatch, KV_ITEST_TABLE)
    long ProcessCall(short function, CIObject* object, CSocket* socket) override;

    // Serves every request written on the link.
    void Serve(CFakeLink& link)
    {
        link.peer = [this, &link](TIMsg& m) { ProcessAndPush(*this, link, m); };
    }

    std::string calls;   // "Name(object)" of each call handled
    long result = 0;     // what the handlers answer
};

struct CTestServer::Handler {
    CTestServer& s;
    void Note(const char* name, CIObject* o) { s.calls += std::string(name) + "(" + std::to_string(o ? o->ID() : -1) + ")"; }

    long Authorise(CIObject* o) { Note("Authorise", o); return s.result; }
    long Logon(CIObject* o, long) { Note("Logon", o); return s.result; }
    long GetStatus(CIObject* o, short* a, long* b, CStr* str, CCur* c, CDate* d, long long* x)
    {
        Note("GetStatus", o);
        s.calls += str ? std::string("[") + static_cast<char*>(*str) + "]" : "[null]";
        if (a) *a = static_cast<short>(*a + 1);
        if (b) *b = -123456;
        if (str) *str = "reply";
        if (c) c->SetValue(c->Value() * 2);
        if (d) d->SetTicks(42);
        if (x) *x = -(1LL << 40);
        return s.result;
    }
    long Set(long id, long number, const CStr& name, short mode)
    {
        s.calls += "Set(" + std::to_string(id) + "," + std::to_string(number) + "," + static_cast<char*>(name) + "," + std::to_string(mode) + ")";
        if (mode == 9)
            s.Msg()->h.flag = 1;   // a reply for flag-skip callers
        return s.result;
    }
    long CountFiltered(long* count, long a, long long b, const CDate& d)
    {
        if (count) *count = static_cast<long>(a + b + static_cast<long long>(d.Ticks()));
        return s.result;
    }
    long Report(CIObject* o, short, const CCur&) { Note("Report", o); return s.result; }
    long Mixed(CIObject* o, char c, bool b, double d, char* pc, bool* pb, double* pd)
    {
        Note("Mixed", o);
        if (pc) *pc = c;
        if (pb) *pb = !b;
        if (pd) *pd = d * 2;
        return s.result;
    }
};

inline long CTestServer::ProcessCall(short function, CIObject* object, CSocket*)
{
    Handler h{*this};
    long r;
    if (Dispatch(function, *this, h, object, r))
        return r;
    Throw(BAD_FUNCTION_RESULT, __LINE__, "ProcessCall");
}

// A client proxy and a serving interface joined by a fake link.
struct CRig {
    kvtest::TempDir dir;
    CTestProcess proc{dir};
    CFakeLink link{&proc};
    CITest client{&proc, &link, kClientId};
    CTestServer server{&proc};
    CRig() { server.Serve(link); }
    const TIMsg& Last() const { return link.sent.back(); }
};
