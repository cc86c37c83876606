// Writes the seed corpora of the fuzzers: well-formed requests of every row and generic
// function, the replies a served interface gives to them, and management messages, in the
// input layouts of fuzz_readmsg and fuzz_processmsg.
// Usage: fuzz_seeds <readmsg dir> <processmsg dir>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_rig.h"

using namespace kvfuzz;

namespace {

using Bytes = std::vector<uint8_t>;

Bytes Wire(const TIMsg& m)
{
    const uint8_t* p = reinterpret_cast<const uint8_t*>(&m);
    return Bytes(p, p + m.WireSize());
}

// A proxy with no socket packs its request and stops before sending: the request stays in
// its buffer.
template <class F>
TIMsg Request(uint16_t type, F call)
{
    CFuzzProxy proxy(nullptr, nullptr, kClientId);
    proxy.Expect(type, 0, 0, 0, 0);
    call(proxy);
    return *proxy.Msg();
}

TIMsg Reply(const TIMsg& request, uint16_t type)
{
    CFuzzServed served(nullptr, type, 0);
    served.Reset();
    TIMsg m = request;
    served.ProcessMsg(&m, nullptr);
    return m;
}

TIMsg Management(uint8_t code, uint32_t a, uint32_t b)
{
    TIMsg m;
    std::memset(&m, 0, sizeof m);
    m.h.kind = 1;
    m.h.function = 1;
    m.h.flag = code;
    m.h.source = a;
    m.h.destination = b;
    return m;
}

class CCorpus {
public:
    explicit CCorpus(std::string dir) : _dir(std::move(dir)) {}
    void Add(const Bytes& b)
    {
        const std::string name = _dir + "/seed" + std::to_string(++_n);
        if (FILE* f = std::fopen(name.c_str(), "wb")) {
            std::fwrite(b.data(), 1, b.size(), f);
            std::fclose(f);
        }
    }

private:
    std::string _dir;
    int _n = 0;
};

Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s <readmsg dir> <processmsg dir>\n", argv[0]);
        return 2;
    }
    CCorpus readmsg(argv[1]);
    CCorpus processmsg(argv[2]);

    char c = 'c';
    bool b = true;
    short s = 3;
    long l = 4;
    double d = 0.25;
    long long x = -5;
    CCur cur = CCur::FromRaw(12345);
    CDate date = CDate::FromTicks(116444736000000000ULL);
    CStr str("name");
    CStr longStr;
    longStr.Replicate(1000, L'w');
    const TIMsg requests[] = {
        Request(kFuzzType, [&](CFuzzProxy& p) { p.Every(7, &c, &b, &s, &l, &d, &x, &cur, &date, &str); }),
        Request(kFuzzType, [&](CFuzzProxy& p) { p.Every(8, nullptr, &b, nullptr, &l, nullptr, &x, nullptr, &date, nullptr); }),
        Request(kFuzzType, [&](CFuzzProxy& p) { p.Status(8, &s, &s, &l, &cur, &cur, &cur, &str, &str, &l, &date, &s, &cur, &l); }),
        Request(kFuzzType, [&](CFuzzProxy& p) { p.Values(c, b, s, l, d, x, cur, date, str, &l, &str); }),
        Request(kFuzzType, [&](CFuzzProxy& p) { p.Values(c, b, s, -7L, d, x, cur, date, longStr, &l, &longStr); }),
        Request(kFuzzType, [&](CFuzzProxy& p) { p.Flagged(9, str, &cur); }),
        Request(kFuzzType, [&](CFuzzProxy& p) { p.Notify(7, str, l); }),
        Request(IF_PUMP, [&](CFuzzProxy& p) { p.GetVersion(&l); }),
        Request(IF_PUMP, [&](CFuzzProxy& p) { p.New(40, 4, str); }),
        Request(IF_PUMP, [&](CFuzzProxy& p) { p.New(40, 7, str); }),
        Request(IF_PUMP, [&](CFuzzProxy& p) { p.Delete(8, false); }),
        Request(IF_PUMP, [&](CFuzzProxy& p) { p.Delete(-1, false); }),
        Request(IF_PUMP, [&](CFuzzProxy& p) { p.Count(&l); }),
        Request(IF_PUMP, [&](CFuzzProxy& p) { p.GetIDByNumber(20, &l); }),
        Request(IF_PUMP, [&](CFuzzProxy& p) { p.GetIDByName(CStr("two"), &l); }),
        Request(IF_PUMP, [&](CFuzzProxy& p) { p.GetIDByOrdinal(2, &l); }),
        Request(IF_PUMP, [&](CFuzzProxy& p) { p.GetNumber(9, &l); }),
        Request(IF_PUMP, [&](CFuzzProxy& p) { p.SetNumber(9, 77); }),
        Request(IF_PUMP, [&](CFuzzProxy& p) { p.GetName(7, &str); }),
        Request(IF_PUMP, [&](CFuzzProxy& p) { p.SetName(7, longStr); }),
        Request(IF_PUMP, [&](CFuzzProxy& p) { p.GetNumber(99, &l); }),
    };
    const TIMsg management[] = {
        Management(MFTN_PING, 5, 0), Management(MFTN_CONNECT, 5, 0), Management(MFTN_EVENTS, 5, 0),
        Management(MFTN_DISCONNECT, 5, 0), Management(MFTN_SHUTDOWN, 0, 0), Management(MFTN_PONG, 0, 5),
    };

    // fuzz_processmsg: control byte (0: ProcessMsg, 1: ServeMsg on the call port), then the message.
    for (const TIMsg& r : requests)
        for (uint8_t flags : {0, 1})
            processmsg.Add(Bytes{flags} + Wire(r));
    for (const TIMsg& m : management)
        processmsg.Add(Bytes{1} + Wire(m));
    processmsg.Add(Bytes{3} + Wire(management[0]));

    // fuzz_readmsg, read mode: flags (4: each message checked against its own header), null
    // mask, the recipe that unpacks the reply's references, no fragments, the reply.
    const Bytes everyRecipe = {0, 1, 2, 3, 4, 5, 6, 7, 8};
    const Bytes statusRecipe = {2, 2, 3, 6, 6, 6, 8, 8, 3, 7, 2, 6, 3};
    const TIMsg every = Reply(requests[0], kFuzzType);
    const TIMsg status = Reply(requests[2], kFuzzType);
    const TIMsg values = Reply(requests[3], kFuzzType);
    readmsg.Add(Bytes{4, 0, 9} + everyRecipe + Wire(every));
    readmsg.Add(Bytes{4, 0, 13} + statusRecipe + Wire(status));
    readmsg.Add(Bytes{4, 0, 2, 3, 8} + Wire(values));
    readmsg.Add(Bytes{4, 0, 9} + everyRecipe + Wire(management[0]) + Wire(every) + Wire(status));
    readmsg.Add(Bytes{4, 0, 4, 0x10, 0x11, 9, 11} + Wire(Reply(requests[1], kFuzzType)));
    readmsg.Add(Bytes{4, 0, 1, 3} + Wire(Reply(requests[20], IF_PUMP)));   // result -7
    readmsg.Add(Bytes{0, 0, 0} + Wire(management[4]) + Wire(every));
    // In pieces: three cuts with pauses.
    readmsg.Add(Bytes{6, 0, 13} + statusRecipe + Bytes{3, 10, 1, 20, 2, 200, 3} + Wire(status) + Wire(every));

    // Call mode: flags 1 (call) | 4 (the first header answers the request) | shape << 3, null
    // mask, no recipe, the answer of a server, and one for the draining call that follows.
    const TIMsg count = Reply(requests[12], IF_PUMP);
    readmsg.Add(Bytes{5, 0, 0} + Wire(every) + Wire(count));
    readmsg.Add(Bytes{5 | 8, 0, 0} + Wire(status) + Wire(count));
    readmsg.Add(Bytes{5 | 16, 0, 0} + Wire(values));
    readmsg.Add(Bytes{5 | 24, 0, 0} + Wire(Reply(requests[5], kFuzzType)) + Wire(Reply(requests[18], IF_PUMP)));
    readmsg.Add(Bytes{7, 0, 0, 2, 30, 1, 5, 3} + Wire(management[0]) + Wire(every));
    return 0;
}
