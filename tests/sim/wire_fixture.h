// A POS client of a live kvsim driven through the proxies, and what it receives.
#pragma once
#include <algorithm>
#include <functional>

#include "proxies/IClient.h"
#include "proxies/IGrade.h"
#include "proxies/IPort.h"
#include "proxies/IPump.h"
#include "common/session.h"
#include "sim_fixture.h"

namespace simtest {

// A client-side events interface that records each call's function and first value.
class CCallLog : public CServerInterface<CIObject> {
public:
    CCallLog(CProcess* p, long id, uint16_t type) : CServerInterface<CIObject>(p, nullptr, id), _type(type) {}
    uint16_t ObjectType() const override { return _type; }
    uint16_t InterfaceVersion() const override { return 0; }
    long ProcessCall(short function, CIObject*, CSocket*) override
    {
        InitUnpack();
        calls.push_back({function, 0});
        Unpack(calls.back().second);
        return 0;
    }
    int Count(int function) const
    {
        return static_cast<int>(std::count_if(calls.begin(), calls.end(), [&](const auto& c) { return c.first == function; }));
    }
    bool Has(int function, long first) const
    {
        return std::count(calls.begin(), calls.end(), std::pair<int, long>(function, first)) > 0;
    }
    std::vector<std::pair<int, long>> calls;   // function, first value

private:
    uint16_t _type;
};

// One POS client: its process, the proxies it calls through, the events it received.
struct Pos {
    long id;
    kvtest::RecordingClient process;
    CIClient client;
    CIPump pump;
    CIPort port;
    CCallLog* events;
    CCallLog* db;
    long long session = -1;

    Pos(LiveServer& s, long clientId, const char* log = "pos")
        : id(clientId), process(s.dir / (log + std::to_string(clientId)), s.CallPort(), s.EventsPort(), 3000, clientId),
          client(&process, nullptr, clientId), pump(&process, nullptr, clientId),
          port(&process, nullptr, clientId)
    {
        events = new CCallLog(&process, clientId, IF_EVENTS);
        db = new CCallLog(&process, clientId, IF_DB);
        process.AddInterface(events);
        process.AddInterface(db);
    }
    // Opens the sockets and binds the proxies to the call socket.
    bool Open()
    {
        if (!process.OpenSockets())
            return false;
        for (CClientInterface* i : std::initializer_list<CClientInterface*>{&client, &pump, &port})
            i->SetSocket(process.CallSocket());
        return true;
    }
    // The session's logon: sockets, Logon, CONNECT/EVENTS, session ID, registrations.
    long Logon(bool events = true, bool dbEvents = false)
    {
        if (!Open())
            return NOT_OPEN_RESULT;
        const long r = client.Logon(id, CStr("POS Client"));
        if (r != 0)
            return r;
        process.ConnectSockets();
        EXPECT_EQ(0, client.GetSessionID(id, &session));
        EXPECT_EQ(0, events ? client.RegisterInterface(id, IF_EVENTS) : 0L);
        EXPECT_EQ(0, dbEvents ? client.RegisterInterface(id, IF_DB) : 0L);
        return 0;
    }
    // Reads the events connection until cond holds.
    bool Until(const std::function<bool()>& cond, int ms = 5000)
    {
        return kvtest::WaitUntil([&] { return cond() || (process.ProcessEvents(), false); }, ms);
    }
};

inline CSimSettings Fast()
{
    CSimSettings s;
    s.speed = 40;
    return s;
}


}  // namespace simtest
