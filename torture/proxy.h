// The fault proxy: sits between the library and kvsim on both connections, checks every
// message the library sends, and damages what kvsim sends back on a seeded schedule.
#pragma once
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace torture {

enum Fault { F_DROP, F_DELAY, F_SPLIT, F_STALL_HEADER, F_STALL_BODY, F_CORRUPT, F_DUPLICATE, F_PING, F_SHUTDOWN,
             F_DISCONNECT, F_GARBAGE, F_KINDS };
extern const char* const kFaultNames[F_KINDS];

// A message the library sent, checked as kvsim would have to trust it. Empty when it is
// well-formed, else why not.
std::string Malformed(const unsigned char* m, size_t size, bool eventsPort);

class Proxy {
public:
    Proxy(unsigned short callPort, unsigned short eventsPort, uint32_t seed);
    ~Proxy();
    // Listens (before any fork); Start runs the loop on its own thread, Stop ends it.
    bool Bind();
    void Start();
    void Stop();
    unsigned short CallPort() const { return _listenPort[0]; }
    unsigned short EventsPort() const { return _listenPort[1]; }
    // Share of kvsim's messages that meet a fault, in per cent (0: a clean line).
    void SetFaultPercent(int p) { _percent = p; }
    // Requests are read and checked but neither passed on nor answered.
    void SetSilent(bool on) { _silent = on; }
    // Drops every connection (kvsim sees its clients go).
    void DropAll() { _dropAll = true; }

    std::atomic<long> faults[F_KINDS] = {};
    std::atomic<long> messages{0};
    std::atomic<long> malformed{0};
    std::string FirstMalformed();

private:
    void Run();
    unsigned short _upstream[2];
    int _listen[2] = {-1, -1};
    unsigned short _listenPort[2] = {0, 0};
    uint32_t _seed;
    std::atomic<int> _percent{0};
    std::atomic<bool> _silent{false};
    std::atomic<bool> _dropAll{false};
    std::atomic<bool> _stop{false};
    std::thread _thread;
    std::mutex _lock;
    std::string _first;
};

}  // namespace torture
