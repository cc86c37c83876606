// Untrusted bytes on a call socket. A peer thread writes the input's stream into one end of a
// socket pair, in fragments with pauses when the input asks for them, and then closes its end,
// so that every read ends. The near end is read as the calling side reads it:
//   call mode: a table call (CClientInterface::Call, Get, InitUnpack, the unpacking of the
//              reply's references) with the stream as the server's answer, then a generic
//              call that drains what is left;
//   read mode: Get (ReadMsg and the management check), InitUnpack and an unpacking recipe
//              taken from the input, message after message.
//
// Input: flags, null mask, recipe length n, n recipe bytes, fragment count f, f pairs of
// (fragment length, pause), then the stream.
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <thread>

#include "fuzz_input.h"
#include "fuzz_rig.h"
#include "rpc/socket.h"

using namespace kvfuzz;

namespace {

enum : uint8_t {
    FLAG_CALL = 1,        // call mode, else read mode
    FLAG_FRAGMENTS = 2,   // the stream goes out in pieces with pauses
    FLAG_MATCH = 4,       // call mode: the first header answers the request; read mode: each
                          // message is checked against its own header, so unpacking is reached
};
constexpr int kMaxRecipe = 16;
constexpr int kMaxMessages = 8;

CLogDir* gDir;
CFuzzClientProcess* gProcess;

// The far end: answers (call mode, after reading the request) or just writes, then closes.
void Peer(int fd, const uint8_t* stream, size_t size, const CFragments& fragments, bool waitForRequest, bool match)
{
    uint8_t answer[kMsgHeaderSize + kMsgDataSize * 4];
    size = size < sizeof answer ? size : sizeof answer;
    std::memcpy(answer, stream, size);
    if (waitForRequest) {
        TIMsg request;
        if (!ReadExactly(fd, &request.h, kMsgHeaderSize) || !ReadExactly(fd, request.data, request.h.length)) {
            close(fd);
            return;
        }
        if (match && size >= kMsgHeaderSize) {
            TIMsgHeader h;
            std::memcpy(&h, answer, sizeof h);
            h.function = request.h.function;
            h.sequence = request.h.sequence;
            h.type = request.h.type;
            h.object = request.h.object;
            h.source = request.h.destination;
            h.destination = request.h.source;
            std::memcpy(answer, &h, sizeof h);
        }
    }
    fragments.Write(fd, answer, size);
    close(fd);
}

void CallMode(CFuzzProxy& proxy, int shape, uint8_t nullMask)
{
    auto pick = [nullMask](int i, auto* p) { return (nullMask >> (i % 8)) & 1 ? nullptr : p; };
    char c = 'c';
    bool b = true;
    short s[3] = {1, 2, 3};
    long l[3] = {4, 5, 6};
    double d = 0.5;
    long long x = 1LL << 40;
    CCur cur[4];
    CDate date[2];
    CStr str[3] = {CStr("ask"), CStr(""), CStr()};
    switch (shape) {
    case 0:
        proxy.Every(7, pick(0, &c), pick(1, &b), pick(2, &s[0]), pick(3, &l[0]), pick(4, &d), pick(5, &x), pick(6, &cur[0]),
                    pick(7, &date[0]), pick(8, &str[0]));
        break;
    case 1:
        proxy.Status(8, pick(0, &s[0]), pick(1, &s[1]), pick(2, &l[0]), pick(3, &cur[0]), pick(4, &cur[1]), pick(5, &cur[2]),
                     pick(6, &str[0]), pick(7, &str[1]), pick(8, &l[1]), pick(9, &date[0]), pick(10, &s[2]),
                     pick(11, &cur[3]), pick(12, &l[2]));
        break;
    case 2:
        proxy.Values('v', false, short{-2}, 70000L, 1.5, -3LL, cur[0], date[0], str[0], pick(0, &l[0]), pick(1, &str[2]));
        break;
    default:
        proxy.Flagged(9, str[0], pick(0, &cur[0]));
        proxy.GetName(7, pick(1, &str[1]));
        break;
    }
    long n = 0;
    proxy.Count(&n);   // drains whatever the answer left behind
}

void Unpack(CFuzzProxy& proxy, const uint8_t* recipe, int n)
{
    char c;
    bool b;
    short s;
    long l;
    double d;
    long long x;
    CCur cur;
    CDate date;
    CStr str;
    uint8_t block[64];
    for (int i = 0; i < n; ++i) {
        const uint8_t r = recipe[i];
        const bool value = r & 0x10;
        const bool null = r & 0x20;
        switch (r & 0x0f) {
        case 0: value ? proxy.Unpack(c) : (void)proxy.Unpack(null ? nullptr : &c); break;
        case 1: value ? proxy.Unpack(b) : (void)proxy.Unpack(null ? nullptr : &b); break;
        case 2: value ? proxy.Unpack(s) : (void)proxy.Unpack(null ? nullptr : &s); break;
        case 3: value ? proxy.Unpack(l) : (void)proxy.Unpack(null ? nullptr : &l); break;
        case 4: value ? proxy.Unpack(d) : (void)proxy.Unpack(null ? nullptr : &d); break;
        case 5: value ? proxy.Unpack(x) : (void)proxy.Unpack(null ? nullptr : &x); break;
        case 6: value ? proxy.Unpack(cur) : (void)proxy.Unpack(null ? nullptr : &cur); break;
        case 7: value ? proxy.Unpack(date) : (void)proxy.Unpack(null ? nullptr : &date); break;
        case 8: value ? proxy.Unpack(str) : (void)proxy.Unpack(null ? nullptr : &str); break;
        case 9: proxy.Unpack(null ? nullptr : block, value ? static_cast<int>(sizeof block) : 8); break;
        case 10: proxy.IfType(r >> 4, r >> 5); break;
        default: proxy.GetParCount(); break;
        }
    }
}

void ReadMode(CFuzzProxy& proxy, const uint8_t* recipe, int n, bool match)
{
    for (int i = 0; i < kMaxMessages; ++i) {
        try {
            proxy.Get();
            const TIMsgHeader& h = proxy.Msg()->h;
            if (match) {
                proxy.Expect(h.type, h.function, h.object, h.sequence, static_cast<int32_t>(h.source));
                proxy.SetClientID(static_cast<int32_t>(h.destination));
            }
            proxy.GetParCount();
            proxy.InitUnpack();
            Unpack(proxy, recipe, n);
            proxy.EndUnpack();
        } catch (TResult r) {
            if (r == CONNECTION_BROKEN || r == TIMEOUT_RESULT || r == SHORT_READ_RESULT || r == NOT_SYNCHRONOUS_RESULT)
                return;
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    gDir = new CLogDir;
    gProcess = new CFuzzClientProcess(*gDir);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CInput in(data, size);
    const uint8_t flags = in.Byte();
    const uint8_t nullMask = in.Byte();
    const int recipeLength = in.Byte() % (kMaxRecipe + 1);
    const uint8_t* recipe = nullptr;
    const int recipeTaken = in.Take(recipe, recipeLength);
    const CFragments fragments = (flags & FLAG_FRAGMENTS) ? CFragments(in) : CFragments();

    int fds[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, fds) != 0)
        return 0;
    gProcess->SetRunning(true);   // a SHUTDOWN of the previous input stopped it
    auto* near = new CSocket(gProcess, fds[0]);
    const bool call = flags & FLAG_CALL;
    const bool match = flags & FLAG_MATCH;
    std::thread peer(Peer, fds[1], in.Rest(), in.Left(), fragments, call, match);
    {
        CFuzzProxy proxy(gProcess, near, kClientId);
        if (call)
            CallMode(proxy, (flags >> 3) & 3, nullMask);
        else
            ReadMode(proxy, recipe, recipeTaken, match);
    }
    delete near;   // a peer still waiting for a request sees the end
    peer.join();
    return 0;
}
