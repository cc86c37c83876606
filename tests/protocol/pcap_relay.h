// A recording TCP relay: the library connects to it, it connects on to the server, and
// every byte either side sends goes into a pcap file (raw IPv4 with synthesized TCP
// headers), cut into small segments so that messages span segments and segments hold
// several messages. It also counts the messages of each stream by their headers.
#pragma once
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace kvtest {

class CPcapWriter {
public:
    explicit CPcapWriter(const std::string& path) : _f(std::fopen(path.c_str(), "wb"))
    {
        const uint32_t hdr[] = {0xA1B2C3D4u, 0x00040002u, 0, 0, 65535, 101};   // LINKTYPE_RAW
        Put(hdr, sizeof hdr);
    }
    ~CPcapWriter() { if (_f) std::fclose(_f); }
    CPcapWriter(const CPcapWriter&) = delete;
    CPcapWriter& operator=(const CPcapWriter&) = delete;
    bool Ok() const { return _f != nullptr; }

    // One TCP segment between two loopback ports; `captured` below the segment's size
    // records it cut short as a small snapshot length would.
    void Segment(uint16_t from, uint16_t to, uint32_t seq, uint32_t ack, uint8_t flags, const void* data,
                 size_t n, size_t captured = SIZE_MAX)
    {
        uint8_t p[40] = {0x45, 0};
        const size_t total = 40 + n;
        p[2] = uint8_t(total >> 8), p[3] = uint8_t(total);
        p[8] = 64, p[9] = 6;
        const uint8_t lo[4] = {127, 0, 0, 1};
        std::memcpy(p + 12, lo, 4), std::memcpy(p + 16, lo, 4);
        uint32_t sum = 0;
        for (int k = 0; k < 20; k += 2) sum += p[k] << 8 | p[k + 1];
        while (sum >> 16) sum = (sum & 0xFFFF) + (sum >> 16);
        p[10] = uint8_t(~sum >> 8), p[11] = uint8_t(~sum);
        uint8_t* t = p + 20;
        t[0] = uint8_t(from >> 8), t[1] = uint8_t(from), t[2] = uint8_t(to >> 8), t[3] = uint8_t(to);
        for (int k = 0; k < 4; ++k) t[4 + k] = uint8_t(seq >> (24 - 8 * k)), t[8 + k] = uint8_t(ack >> (24 - 8 * k));
        t[12] = 5 << 4, t[13] = flags, t[14] = 0xFF, t[15] = 0xFF;
        std::lock_guard<std::mutex> lock(_mutex);
        const size_t keep = std::min(total, captured);
        timespec ts{};
        clock_gettime(CLOCK_REALTIME, &ts);
        const uint32_t rec[] = {uint32_t(ts.tv_sec), uint32_t(ts.tv_nsec / 1000), uint32_t(keep), uint32_t(total)};
        Put(rec, sizeof rec);
        Put(p, std::min<size_t>(40, keep));
        if (keep > 40) Put(data, keep - 40);
    }
    void Flush() { std::lock_guard<std::mutex> lock(_mutex); std::fflush(_f); }

private:
    void Put(const void* b, size_t n) { if (_f) std::fwrite(b, 1, n, _f); }
    std::FILE* _f;
    std::mutex _mutex;
};

// One recorded TCP connection: sequence numbers of both sides.
struct CPcapFlow {
    CPcapWriter& pcap;
    uint16_t client, server;
    uint32_t seqC = 1000, seqS = 5000;
    CPcapFlow(CPcapWriter& w, uint16_t c, uint16_t s) : pcap(w), client(c), server(s)
    {
        pcap.Segment(client, server, seqC++, 0, 0x02, nullptr, 0);          // SYN
        pcap.Segment(server, client, seqS++, seqC, 0x12, nullptr, 0);       // SYN ACK
        pcap.Segment(client, server, seqC, seqS, 0x10, nullptr, 0);         // ACK
    }
    void Send(bool fromClient, const uint8_t* b, size_t n, size_t mss = 61, size_t captured = SIZE_MAX)
    {
        for (size_t at = 0; at < n; at += mss) {
            const size_t k = std::min(mss, n - at);
            if (fromClient)
                pcap.Segment(client, server, seqC, seqS, 0x18, b + at, k, captured), seqC += uint32_t(k);
            else
                pcap.Segment(server, client, seqS, seqC, 0x18, b + at, k, captured), seqS += uint32_t(k);
        }
    }
};

class CRecordingRelay {
public:
    CRecordingRelay(const std::string& pcap, uint16_t callTarget, uint16_t eventsTarget) : _pcap(pcap)
    {
        _listen[0] = Listen(_ports[0]), _target[0] = callTarget;
        _listen[1] = Listen(_ports[1]), _target[1] = eventsTarget;
        _thread = std::thread([this] { Run(); });
    }
    ~CRecordingRelay() { Stop(); }
    uint16_t CallPort() const { return _ports[0]; }
    uint16_t EventsPort() const { return _ports[1]; }
    // Messages relayed so far, in both directions (whole headers seen in the streams).
    int Messages() const { return _messages; }
    void Stop()
    {
        _stop = true;
        if (_thread.joinable()) _thread.join();
        for (Pair& p : _pairs) close(p.fd[0]), close(p.fd[1]);
        _pairs.clear();
        for (int fd : _listen) if (fd >= 0) close(fd);
        _listen[0] = _listen[1] = -1;
        _pcap.Flush();
    }

private:
    struct Pair {
        int fd[2];                 // client side, server side
        CPcapFlow* flow;
        std::vector<uint8_t> buf[2];
        bool closed[2];
    };
    static int Listen(uint16_t& port)
    {
        int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET, a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof a;
        if (bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 || listen(fd, 8) != 0 ||
            getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len) != 0)
            return close(fd), -1;
        port = ntohs(a.sin_port);
        return fd;
    }
    static uint16_t PeerPort(int fd)
    {
        sockaddr_in a{};
        socklen_t len = sizeof a;
        getpeername(fd, reinterpret_cast<sockaddr*>(&a), &len);
        return ntohs(a.sin_port);
    }
    void Accept(int which)
    {
        const int c = accept(_listen[which], nullptr, nullptr);
        if (c < 0) return;
        const int s = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET, a.sin_addr.s_addr = htonl(INADDR_LOOPBACK), a.sin_port = htons(_target[which]);
        if (connect(s, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
            close(c), close(s);
            return;
        }
        _flows.emplace_back(new CPcapFlow(_pcap, PeerPort(c), _ports[which]));
        _pairs.push_back({{c, s}, _flows.back().get(), {}, {false, false}});
    }
    // Counts the whole messages at the front of a stream's unparsed bytes.
    void Count(std::vector<uint8_t>& b)
    {
        while (b.size() >= 24) {
            const size_t n = 24 + (b[22] | b[23] << 8);
            if (b.size() < n) break;
            b.erase(b.begin(), b.begin() + static_cast<long>(n));
            ++_messages;
        }
    }
    void Run()
    {
        while (!_stop) {
            std::vector<pollfd> fds = {{_listen[0], POLLIN, 0}, {_listen[1], POLLIN, 0}};
            for (Pair& p : _pairs)
                for (int side = 0; side < 2; ++side) fds.push_back({p.closed[side] ? -1 : p.fd[side], POLLIN, 0});
            if (poll(fds.data(), fds.size(), 20) <= 0) continue;
            for (int w = 0; w < 2; ++w)
                if (fds[w].revents & POLLIN) Accept(w);
            for (size_t k = 0; k < _pairs.size() && 2 + 2 * k + 1 < fds.size(); ++k)
                for (int side = 0; side < 2; ++side) {
                    if (!(fds[2 + 2 * k + side].revents & (POLLIN | POLLHUP | POLLERR))) continue;
                    Pair& p = _pairs[k];
                    uint8_t buf[8192];
                    const ssize_t n = read(p.fd[side], buf, sizeof buf);
                    if (n <= 0) {
                        p.closed[side] = true;
                        shutdown(p.fd[1 - side], SHUT_WR);
                        continue;
                    }
                    p.flow->Send(side == 0, buf, size_t(n));
                    p.buf[side].insert(p.buf[side].end(), buf, buf + n);
                    Count(p.buf[side]);
                    for (ssize_t at = 0; at < n;) {
                        const ssize_t w = send(p.fd[1 - side], buf + at, size_t(n - at), MSG_NOSIGNAL);
                        if (w <= 0) break;
                        at += w;
                    }
                }
        }
    }

    CPcapWriter _pcap;
    int _listen[2];
    uint16_t _ports[2] = {0, 0}, _target[2];
    std::vector<Pair> _pairs;
    std::vector<std::unique_ptr<CPcapFlow>> _flows;
    std::atomic<bool> _stop{false};
    std::atomic<int> _messages{0};
    std::thread _thread;
};

}  // namespace kvtest
