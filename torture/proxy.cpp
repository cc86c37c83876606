// One thread, one poll loop: every accepted connection gets its own connection to kvsim,
// and each direction is a queue of byte chunks that are written once they are due.
#include "torture/proxy.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <random>
#include <vector>

namespace torture {

const char* const kFaultNames[F_KINDS] = {"drop", "delay", "split", "stall-header", "stall-body", "corrupt",
                                          "duplicate", "ping", "shutdown", "disconnect", "garbage"};

namespace {

constexpr size_t kHeader = 24;
constexpr size_t kMaxData = 2048;
constexpr int kResultOffset = 20;

long long NowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

unsigned U16(const unsigned char* p) { return p[0] | p[1] << 8; }
uint32_t U32(const unsigned char* p) { return U16(p) | static_cast<uint32_t>(U16(p + 2)) << 16; }

std::string Management(uint8_t code, uint32_t a, uint32_t b) {
    std::string m(kHeader, '\0');
    m[0] = 1;
    m[2] = static_cast<char>(code);
    m[3] = 1;
    std::memcpy(&m[4], &a, 4);
    std::memcpy(&m[8], &b, 4);
    return m;
}

void NonBlocking(int fd) { fcntl(fd, F_SETFL, fcntl(fd, F_GETFL, 0) | O_NONBLOCK); }

struct Chunk {
    std::string bytes;
    long long due;
    bool close;
};

struct Dir {
    Dir(int f, int t) : from(f), to(t) {}
    int from, to;
    bool eof = false;
    std::string rx;
    std::deque<Chunk> out;
    long long lastDue = 0;
    // Chunks leave in order: none is due before the one in front of it.
    void Push(std::string b, long long due, bool close = false) {
        lastDue = std::max(due, lastDue);
        out.push_back({std::move(b), lastDue, close});
    }
};

struct Link {
    int client, server;
    bool events;
    Dir up, down;
    bool dead = false;
    int64_t source = -1;   // the client ID its first request named
    // Headers of the calls passed to the library undamaged on the events connection: only
    // a reply to one of those can be held to the rules (a reply to damaged bytes echoes them).
    std::deque<std::string> intact;
    bool Answers(const unsigned char* reply) {
        for (auto i = intact.begin(); i != intact.end(); ++i) {
            const auto* q = reinterpret_cast<const unsigned char*>(i->data());
            if (q[3] == reply[3] && std::memcmp(q + 12, reply + 12, 8) == 0) {
                intact.erase(i);
                return true;
            }
        }
        return false;
    }
    Link(int c, int s, bool e) : client(c), server(s), events(e), up(c, s), down(s, c) {}
    ~Link() {
        close(client);
        close(server);
    }
};

int Listen(unsigned short* port) {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t n = sizeof a;
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) < 0 || listen(fd, 128) < 0 ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&a), &n) < 0) {
        if (fd >= 0) close(fd);
        return -1;
    }
    *port = ntohs(a.sin_port);
    NonBlocking(fd);
    return fd;
}

int Connect(unsigned short port) {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    a.sin_port = htons(port);
    if (fd >= 0 && connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0) {
        NonBlocking(fd);
        return fd;
    }
    if (fd >= 0) close(fd);
    return -1;
}

}  // namespace

std::string Malformed(const unsigned char* m, size_t size, bool eventsPort) {
    const unsigned fn = m[3], len = U16(m + 22);
    if (m[0] != 1) return "kind " + std::to_string(m[0]);
    if (m[1] != 0) return "interface version " + std::to_string(m[1]);
    if (fn == 0) return "function 0";
    if (len > kMaxData || size != kHeader + len) return "length " + std::to_string(len);
    if (fn == 1) {
        static const unsigned char zero[12] = {};
        if (m[2] < 1 || m[2] > 5) return "management code " + std::to_string(m[2]);
        if (std::memcmp(m + 12, zero, sizeof zero) != 0) return "management message with fields set";
        return "";
    }
    const int16_t result = static_cast<int16_t>(U16(m + kResultOffset));
    if (U32(m + 8) != 0) return "destination " + std::to_string(U32(m + 8));
    if (!eventsPort && result != 0) return "result in a request";
    if (len == 0) return eventsPort && result != 0 ? "" : "no parameter list";
    const unsigned char* d = m + kHeader;
    for (size_t p = 0; p < len;) {
        const unsigned tag = d[p++];
        size_t value;
        switch (tag) {
        case 0: case 1: case 2: case 3: value = 1; break;
        case 4: case 5: value = 2; break;
        case 6: case 7: value = 4; break;
        case 8: case 9: case 10: case 11: case 12: case 13: case 20: case 21: value = 8; break;
        case 14: case 15:
        case 16:
            if (p + 2 > len) return "count past the length";
            value = 2 + U16(d + p) * (tag == 16 ? 1 : 2);
            break;
        case 18: value = 0; break;
        case 19: return p == len ? "" : "bytes after the end tag";
        default: return "tag " + std::to_string(tag);
        }
        p += value;
        if (p > len) return "value past the length";
    }
    return "no end tag";
}

Proxy::Proxy(unsigned short callPort, unsigned short eventsPort, uint32_t seed)
    : _upstream{callPort, eventsPort}, _seed(seed) {}

Proxy::~Proxy() {
    Stop();
    for (int fd : _listen)
        if (fd >= 0) close(fd);
}

bool Proxy::Bind() {
    for (int i = 0; i < 2; ++i)
        if ((_listen[i] = Listen(&_listenPort[i])) < 0) return false;
    return true;
}

void Proxy::Start() {
    _stop = false;
    _thread = std::thread([this] { Run(); });
}

void Proxy::Stop() {
    _stop = true;
    if (_thread.joinable()) _thread.join();
}

std::string Proxy::FirstMalformed() {
    std::lock_guard<std::mutex> g(_lock);
    return _first;
}

void Proxy::Run() {
    std::mt19937 rng(_seed);
    std::vector<std::unique_ptr<Link>> links;
    auto random = [&](unsigned n) { return n ? static_cast<unsigned>(rng() % n) : 0u; };

    // kvsim's message m on its way to the library, perhaps damaged.
    auto Deliver = [&](Link& l, Dir& d, std::string m) {
        const long long now = NowMs();
        ++messages;
        const Fault f = static_cast<int>(random(100)) < _percent ? static_cast<Fault>(random(F_KINDS)) : F_KINDS;
        if (l.events && m[3] != 1 && f != F_DROP && f != F_CORRUPT) {
            l.intact.push_back(m.substr(0, kHeader));
            if (l.intact.size() > 64) l.intact.pop_front();
        }
        if (f == F_KINDS) {
            d.Push(std::move(m), now);
            return;
        }
        ++faults[f];
        const size_t body = m.size() - kHeader;
        const long long stall = random(2) ? 300 : 1300;   // within the read's pauses, and past them
        switch (f) {
        case F_DROP:
            d.Push(m.substr(0, random(m.size())), now);
            d.Push("", now, true);
            return;
        case F_DELAY: d.Push(std::move(m), now + random(800)); return;
        case F_SPLIT:
            for (size_t i = 0; i < m.size(); ++i) d.Push(m.substr(i, 1), now + i);
            return;
        case F_STALL_HEADER:
        case F_STALL_BODY: {
            const size_t k = f == F_STALL_BODY && body > 0 ? kHeader + random(body) : 1 + random(kHeader - 1);
            d.Push(m.substr(0, k), now);
            d.Push(m.substr(k), now + stall);
            return;
        }
        case F_CORRUPT: {
            size_t at = random(m.size());
            if (at == kResultOffset || at == kResultOffset + 1) at = 3;   // a changed result is a valid one
            m[at] = static_cast<char>(m[at] ^ (1 + random(255)));
            d.Push(std::move(m), now);
            return;
        }
        case F_DUPLICATE:
            d.Push(m, now);
            d.Push(std::move(m), now);
            return;
        case F_PING: d.Push(Management(3, rng(), rng()), now); break;
        case F_SHUTDOWN: d.Push(Management(6, 0, 0), now); break;
        case F_DISCONNECT: d.Push(Management(2, 0, 0), now); break;
        case F_GARBAGE: {
            std::string g(1 + random(48), '\0');
            for (char& c : g) c = static_cast<char>(rng());
            d.Push(std::move(g), now);
            break;
        }
        default: break;
        }
        d.Push(std::move(m), now);
    };

    // Whole messages out of a direction's received bytes.
    auto Parse = [&](Link& l, Dir& d, bool up) {
        size_t at = 0;
        while (d.rx.size() - at >= kHeader) {
            const auto* p = reinterpret_cast<const unsigned char*>(d.rx.data() + at);
            const size_t len = U16(p + 22);
            if (up && len > kMaxData) {
                ++malformed;
                std::lock_guard<std::mutex> g(_lock);
                if (_first.empty()) _first = "length " + std::to_string(len);
                l.dead = true;   // nothing after it can be framed
                return;
            }
            if (d.rx.size() - at < kHeader + len) break;
            std::string m = d.rx.substr(at, kHeader + len);
            at += kHeader + len;
            if (!up) {
                Deliver(l, d, std::move(m));
                continue;
            }
            const auto* q = reinterpret_cast<const unsigned char*>(m.data());
            const bool checked = !l.events || q[3] == 1 || l.Answers(q);
            std::string why = checked ? Malformed(q, m.size(), l.events) : "";
            if (why.empty() && q[3] != 1 && !l.events) {
                const int64_t src = U32(q + 4);
                if (l.source < 0) l.source = src;
                if (src != l.source) why = "source changed from " + std::to_string(l.source);
            }
            if (!why.empty()) {
                ++malformed;
                std::lock_guard<std::mutex> g(_lock);
                if (_first.empty()) {
                    char hex[4];
                    _first = why + " (";
                    for (size_t i = 0; i < std::min<size_t>(m.size(), 32); ++i) {
                        std::snprintf(hex, sizeof hex, "%02x", q[i]);
                        _first += hex;
                    }
                    _first += l.events ? ") on the events connection" : ") on the call connection";
                }
            }
            if (!_silent) d.Push(std::move(m), NowMs());
        }
        d.rx.erase(0, at);
    };

    std::vector<pollfd> fds;
    while (!_stop) {
        if (_dropAll.exchange(false)) links.clear();
        const long long now = NowMs();
        fds.clear();
        for (int fd : _listen) fds.push_back({fd, POLLIN, 0});
        int wait = 20;
        for (auto& l : links) {
            for (Dir* d : {&l->up, &l->down}) {
                short ev = d->eof ? 0 : POLLIN;
                if (!d->out.empty()) {
                    if (d->out.front().due <= now)
                        ev |= POLLOUT;
                    else
                        wait = std::min<long long>(wait, d->out.front().due - now);
                }
                fds.push_back({d->from, static_cast<short>(ev & POLLIN), 0});
                fds.push_back({d->to, static_cast<short>(ev & POLLOUT), 0});
            }
        }
        if (poll(fds.data(), fds.size(), wait) < 0) continue;
        const size_t polled = links.size();
        for (int i = 0; i < 2; ++i) {
            if (!(fds[i].revents & POLLIN)) continue;
            for (int c; (c = accept(_listen[i], nullptr, nullptr)) >= 0;) {
                int s = Connect(_upstream[i]);
                if (s < 0) {
                    close(c);
                    continue;
                }
                int one = 1;
                setsockopt(c, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
                NonBlocking(c);
                links.push_back(std::make_unique<Link>(c, s, i == 1));
            }
        }
        size_t k = 2;
        for (size_t li = 0; li < polled; ++li) {
            Link& l = *links[li];
            for (int di = 0; di < 2; ++di, k += 2) {
                Dir& d = di == 0 ? l.up : l.down;
                if (l.dead) continue;
                if (fds[k].revents & (POLLIN | POLLHUP | POLLERR)) {
                    char buf[65536];
                    ssize_t n = recv(d.from, buf, sizeof buf, 0);
                    if (n > 0) {
                        d.rx.append(buf, static_cast<size_t>(n));
                        Parse(l, d, di == 0);
                    } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
                        d.eof = true;
                        d.Push("", NowMs(), true);
                    }
                }
                while (!l.dead && !d.out.empty() && d.out.front().due <= NowMs()) {
                    Chunk& c = d.out.front();
                    if (c.close) {
                        l.dead = true;
                        break;
                    }
                    ssize_t n = c.bytes.empty() ? 0 : send(d.to, c.bytes.data(), c.bytes.size(), MSG_NOSIGNAL);
                    if (n < 0 && (errno == EAGAIN || errno == EINTR)) break;
                    if (n < 0) {
                        l.dead = true;
                        break;
                    }
                    c.bytes.erase(0, static_cast<size_t>(n));
                    if (!c.bytes.empty()) break;
                    d.out.pop_front();
                }
            }
        }
        std::erase_if(links, [](const std::unique_ptr<Link>& l) { return l->dead; });
    }
}

}  // namespace torture
