// The simulator's test rigs: the forecourt model alone with a recording sink, and a whole
// kvsim server on loopback ports run by a thread, with a line client for its control port.
#pragma once
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "common/session.h"
#include "rpc/net_fixture.h"
#include "sim/serve_util.h"
#include "sim/served.h"
#include "sim/server.h"

namespace simtest {

using namespace sim;
using kvtest::Got;

inline const char* ForecourtIni() { return KV_SOURCE_DIR "/sim/forecourt.ini"; }

inline CCur Money(double v) { return CCur::FromDouble(v); }
inline Raw RawOf(double v) { return CCur::FromDouble(v).Value(); }

class CRecorder : public CSimSink {
public:
    void Emit(const CSimEvent& e) override { events.push_back(e); }
    long Count(TSimEvent k) const
    {
        return std::count_if(events.begin(), events.end(), [k](const CSimEvent& e) { return e.kind == k; });
    }
    // The states a pump went through, in the order of its pump events.
    std::vector<long> States(long pumpId) const
    {
        std::vector<long> out;
        for (const CSimEvent& e : events)
            if (e.kind == TSimEvent::Pump && e.id == pumpId && (out.empty() || out.back() != e.a))
                out.push_back(e.a);
        return out;
    }
    void Clear() { events.clear(); }
    std::vector<CSimEvent> events;
};

// The default forecourt with nobody connected; time moves only when the test says so.
struct Model {
    kvtest::TempDir dir;
    CServerProcess process{(dir / "model").c_str(), "test", 0, 0, 1000};
    CRecorder sink;
    CForecourt fc{&process, &sink};

    Model()
    {
        std::string error;
        EXPECT_TRUE(fc.Load(ForecourtIni(), &error)) << error;
    }
    CSimPump& Pump(int number) { return *fc.PumpByNumber(number); }
    CPumpsIf& Pumps() { return fc.Pumps(); }
    CDeliveriesIf& Deliveries() { return fc.Deliveries(); }
    CSimDelivery& Last(CSimPump& p) { return *fc.Delivery(p.lastDeliveryId); }
    // A whole postpay sale at pump n: authorise, lift hose 1, flow for ms, hang up.
    CSimDelivery& Sale(int n, long ms)
    {
        CSimPump& p = Pump(n);
        EXPECT_EQ(SR_OK, Pumps().Authorise(&p));
        EXPECT_EQ(SR_OK, fc.Lift(p, 1));
        fc.Advance(ms);
        EXPECT_EQ(SR_OK, fc.Hang(p));
        return Last(p);
    }
};

// A line client of the control port.
class CControlLine {
public:
    explicit CControlLine(unsigned short port)
    {
        _fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_port = htons(port);
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (connect(_fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
            close(_fd);
            _fd = -1;
        }
    }
    ~CControlLine()
    {
        if (_fd >= 0)
            close(_fd);
    }
    CControlLine(const CControlLine&) = delete;
    CControlLine& operator=(const CControlLine&) = delete;

    // Sends one command and returns the first line of its reply ("" on time-out); the
    // further lines of a multi-line reply are read and dropped.
    std::string operator()(const std::string& command)
    {
        const std::string line = command + "\n";
        std::string reply;
        char ch;
        if (_fd < 0 || !kvtest::WriteAll(_fd, line.data(), line.size()))
            return reply;
        while (kvtest::ReadAll(_fd, &ch, 1) && ch != '\n')
            reply += ch;
        while (!kvtest::Silent(_fd, 20) && kvtest::ReadAll(_fd, &ch, 1)) {
        }
        return reply;
    }

private:
    int _fd = -1;
};

// A running kvsim on free loopback ports, served by its own thread until destroyed, and a
// line client of its control port.
struct LiveServer {
    kvtest::TempDir dir;
    CSimSettings settings;
    std::unique_ptr<CSimServer> server;
    std::atomic<bool> stop{false};
    std::thread thread;
    std::unique_ptr<CControlLine> control;

    explicit LiveServer(CSimSettings s = {})
    {
        settings = s;
        settings.ini = ForecourtIni();
        settings.workDir = dir.Path();
        settings.callPort = settings.eventsPort = settings.controlPort = 0;   // free ports
        server = std::make_unique<CSimServer>(settings, dir / "kvsim");
        std::string error;
        EXPECT_TRUE(server->Start(&error)) << error;
        thread = std::thread([this] {
            while (!stop)
                server->Step(2);
        });
        control = std::make_unique<CControlLine>(ControlPort());
    }
    ~LiveServer()
    {
        stop = true;
        thread.join();
    }
    unsigned short CallPort() const { return server->BoundCallPort(); }
    unsigned short EventsPort() const { return server->BoundEventsPort(); }
    unsigned short ControlPort() { return server->Control().Port(); }
    std::string Command(const std::string& line) { return (*control)(line); }
};

}  // namespace simtest
