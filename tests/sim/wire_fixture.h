// A POS client of a live kvsim driven through the proxies, and what it receives.
#pragma once
#include <chrono>
#include <functional>

#include "proxies/IClient.h"
#include "proxies/IDelivery.h"
#include "proxies/IPort.h"
#include "proxies/IPump.h"
#include "sim_fixture.h"

namespace simtest {

// A client-side events interface that records each call's function and leading values.
class CCallLog : public CServerInterface<CIObject> {
public:
    CCallLog(CProcess* p, long id, uint16_t type) : CServerInterface<CIObject>(p, nullptr, id), _type(type) {}
    uint16_t ObjectType() const override { return _type; }
    uint16_t InterfaceVersion() const override { return 0; }
    long ProcessCall(short function, CIObject*, CSocket*) override
    {
        InitUnpack();
        Call c{function, 0, 0, 0};
        Unpack(c.first);
        if (_type == IF_EVENTS && (function == 27 || function == 13 || function == 16)) {
            Unpack(c.second);
            if (function != 16)
                Unpack(c.third);   // the pump's state
        }
        calls.push_back(c);
        return 0;
    }
    struct Call {
        int function;
        long first, second;
        short third;
    };
    int Count(int function) const
    {
        int n = 0;
        for (const Call& c : calls)
            n += c.function == function;
        return n;
    }
    bool Has(int function, long first) const
    {
        for (const Call& c : calls)
            if (c.function == function && c.first == first)
                return true;
        return false;
    }
    std::vector<Call> calls;

private:
    uint16_t _type;
};

// One POS client: its process, the proxies it calls through, the events it received.
struct Pos {
    long id;
    kvtest::RecordingClient process;
    CIClient client;
    CIPump pump;
    CIDelivery delivery;
    CIPort port;
    CCallLog* events;
    CCallLog* db;
    long long session = -1;

    Pos(LiveServer& s, long clientId, const char* log = "pos")
        : id(clientId), process(s.dir / (log + std::to_string(clientId)), s.CallPort(), s.EventsPort(), 3000, clientId),
          client(&process, nullptr, clientId), pump(&process, nullptr, clientId),
          delivery(&process, nullptr, clientId), port(&process, nullptr, clientId)
    {
        events = new CCallLog(&process, clientId, IF_EVENTS);
        db = new CCallLog(&process, clientId, IF_DB);
        process.AddInterface(events);
        process.AddInterface(db);
    }
    void Bind()
    {
        for (CClientInterface* i : std::initializer_list<CClientInterface*>{&client, &pump, &delivery, &port})
            i->SetSocket(process.CallSocket());
    }
    // The session's logon: sockets, Logon, CONNECT/EVENTS, session ID, registrations.
    long Logon(bool events = true, bool dbEvents = false)
    {
        if (!process.OpenSockets())
            return NOT_OPEN_RESULT;
        Bind();
        const long r = client.Logon(id, CStr("POS Client"));
        if (r != 0)
            return r;
        process.ConnectSockets();
        EXPECT_EQ(0, client.GetSessionID(id, &session));
        if (events) {
            EXPECT_EQ(0, client.RegisterInterface(id, IF_EVENTS));
        }
        if (dbEvents) {
            EXPECT_EQ(0, client.RegisterInterface(id, IF_DB));
        }
        return 0;
    }
    // Reads the events connection until cond holds.
    bool Until(const std::function<bool()>& cond, int ms = 5000)
    {
        const auto start = std::chrono::steady_clock::now();
        while (!cond()) {
            if (kvtest::SecondsSince(start) * 1000 > ms)
                return false;
            process.ProcessEvents();
            usleep(2000);
        }
        return true;
    }
    short State(long pumpId)
    {
        short state = 0;
        EXPECT_EQ(0, pump.GetStatus(pumpId, &state, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                    nullptr, nullptr, nullptr, nullptr, nullptr));
        return state;
    }
};

inline CSimSettings Fast()
{
    CSimSettings s;
    s.speed = 40;
    return s;
}


}  // namespace simtest
