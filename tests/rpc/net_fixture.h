// Shared helpers of the socket, process and server tests: a private temporary directory,
// log inspection, raw peers on the far side of a socket, and a client process that records
// what the framework hands to it.
#pragma once
#include <gtest/gtest.h>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "rpc/message.h"
#include "rpc/process.h"
#include "rpc/socket.h"

namespace kvtest {

class TempDir {
public:
    TempDir() {
        char pattern[] = "/tmp/kvrnetXXXXXX";
        char* p = mkdtemp(pattern);
        if (p) _path = p;
    }
    ~TempDir() {
        std::error_code ec;
        if (!_path.empty()) std::filesystem::remove_all(_path, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& Path() const { return _path; }
    std::string operator/(const std::string& name) const { return _path + "/" + name; }

private:
    std::string _path;
};

inline std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

inline std::string LogText(const CProcess& p) { return ReadFile(static_cast<char*>(p.Trace()->FileName())); }

inline double SecondsSince(std::chrono::steady_clock::time_point t) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t).count();
}

inline TIMsgHeader Header(uint8_t function, uint8_t flag, uint32_t source, uint32_t destination,
                          uint16_t type = 0, uint16_t length = 0) {
    TIMsgHeader h;
    std::memset(&h, 0, sizeof h);
    h.kind = 1;
    h.function = function;
    h.flag = flag;
    h.source = source;
    h.destination = destination;
    h.type = type;
    h.length = length;
    return h;
}

inline TIMsgHeader Management(uint8_t code, uint32_t a, uint32_t b) { return Header(1, code, a, b); }

inline bool WriteAll(int fd, const void* data, size_t n) {
    const char* p = static_cast<const char*>(data);
    while (n > 0) {
        ssize_t r = send(fd, p, n, MSG_NOSIGNAL);
        if (r <= 0) return false;
        p += r;
        n -= static_cast<size_t>(r);
    }
    return true;
}

// Reads exactly n bytes within ms milliseconds; false on timeout or close.
inline bool ReadAll(int fd, void* data, size_t n, int ms = 3000) {
    char* p = static_cast<char*>(data);
    auto start = std::chrono::steady_clock::now();
    while (n > 0) {
        pollfd pf{fd, POLLIN, 0};
        int left = ms - static_cast<int>(SecondsSince(start) * 1000);
        if (left <= 0 || poll(&pf, 1, left) <= 0) return false;
        ssize_t r = recv(fd, p, n, 0);
        if (r <= 0) return false;
        p += r;
        n -= static_cast<size_t>(r);
    }
    return true;
}

inline bool ReadHeader(int fd, TIMsgHeader* h, int ms = 3000) { return ReadAll(fd, h, sizeof *h, ms); }

// True when nothing at all arrives on fd within ms.
inline bool Silent(int fd, int ms) {
    pollfd pf{fd, POLLIN, 0};
    return poll(&pf, 1, ms) == 0;
}

// Fills the send direction of a non-blocking socket until the kernel takes no more.
inline long FillSendBuffer(CSocket& s) {
    static char junk[4096];
    long total = 0;
    for (;;) {
        long n = s.Write(junk, sizeof junk);
        if (n <= 0) return total;
        total += n;
    }
}

// Runs the server passes on the calling thread until cond holds or ms run out.
inline bool PumpUntil(CServerProcess& server, const std::function<bool()>& cond, int ms = 3000) {
    auto start = std::chrono::steady_clock::now();
    while (!cond()) {
        if (SecondsSince(start) * 1000 > ms) return false;
        server.RunOnce(10);
    }
    return true;
}

struct PortEvent {
    CSocket* socket;
    TPort port;
    int code;
    long arg;
};

// A client process that records what the framework hands to it. An optional predicate,
// asked at every object event of the main loop, stops the loop when it returns true.
class RecordingClient : public CClientProcess {
public:
    RecordingClient(const std::string& logName, unsigned short callPort, unsigned short eventsPort,
                    long callTimeout = 1000, long clientId = 7, const char* host = "127.0.0.1")
        : CClientProcess(logName.c_str(), "test client", host, callPort, eventsPort, callTimeout, clientId) {}

    long PortManagement(CSocket* socket, TPort port, uint8_t code, long arg) override {
        portEvents.push_back(PortEvent{socket, port, code, arg});
        return 0;
    }
    void CheckEventsSocket(long ms) override { eventChecks.push_back(ms); }
    long ServerLogoff() override {
        ++logoffs;
        return 0;
    }
    void ObjectEvent(int event) override {
        objectEvents.push_back(event);
        if (stopWhen && stopWhen()) SetRunning(false);
    }

    std::vector<PortEvent> portEvents;
    std::vector<long> eventChecks;
    std::vector<int> objectEvents;
    int logoffs = 0;
    std::function<bool()> stopWhen;
};

// A connected pair: a framework socket owned by a process on one end, a raw descriptor on
// the other.
struct SocketPair {
    explicit SocketPair(CProcess* process) {
        int fds[2] = {-1, -1};
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, fds) == 0) {
            socket = new CSocket(process, fds[0]);
            peer = fds[1];
        }
    }
    ~SocketPair() {
        delete socket;
        if (peer >= 0) close(peer);
    }
    SocketPair(const SocketPair&) = delete;
    SocketPair& operator=(const SocketPair&) = delete;
    void ClosePeer() {
        if (peer >= 0) close(peer);
        peer = -1;
    }
    CSocket* socket = nullptr;
    int peer = -1;
};

}  // namespace kvtest
