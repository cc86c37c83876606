// The library against kvsim: a live simulator on loopback ports (tests/sim's rig), sessions
// made with the exported logon functions, and waits on the event queue.
#pragma once
#include <chrono>
#include <functional>
#include <string>

#include "common/fake_server.h"
#include "kvclient.h"
#include "sim/wire_fixture.h"

namespace e2e {

using namespace simtest;

// A fresh working directory for the session logs, a running kvsim and its control line.
struct Site {
    kvtest::CClientDir dir;
    LiveServer sim;
    CControlLine control{sim.ControlPort()};
    explicit Site(CSimSettings settings = {}) : sim(settings) {}
};

// A session of the library against the simulator; logged off when it goes.
struct Session {
    CKVCLProcess* s = nullptr;
    long result;
    Session(LiveServer& sim, long clientId, short type)
    {
        result = ClientLogonExMT(&s, clientId, type, "127.0.0.1", sim.CallPort(), sim.EventsPort(), 3000, nullptr,
                                 nullptr, 0);
    }
    ~Session()
    {
        if (s)
            ClientLogoffMT(&s);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    operator CKVCLProcess*() const { return s; }

    // Reads the events connection until the queue holds an event of the type.
    bool WaitFor(short type, int ms = 5000)
    {
        const auto start = std::chrono::steady_clock::now();
        for (;;) {
            if (HasEvent(type))
                return true;
            if (kvtest::SecondsSince(start) * 1000 > ms)
                return false;
            ProcessEventsMT(s);
            usleep(2000);
        }
    }
    // Discards events until the head is of the type; false when the queue runs dry first.
    bool HasEvent(short type)
    {
        short head = 0;
        while (GetNextEventTypeMT(s, &head) == 0 && head != 0) {
            if (head == type)
                return true;
            DiscardNextEventMT(s);
        }
        return false;
    }
};

}  // namespace e2e
