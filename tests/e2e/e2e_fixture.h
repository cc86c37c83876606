// The library against kvsim: a live simulator on loopback ports (tests/sim's rig) with its
// control line, a fresh working directory for the session logs, and library sessions.
#pragma once
#include "common/fake_server.h"
#include "sim/wire_fixture.h"

namespace e2e {

using namespace simtest;
using kvtest::Session;
using kvtest::Got;
using kvtest::WaitUntil;

struct Site {
    kvtest::CClientDir dir;
    LiveServer sim;
    explicit Site(CSimSettings settings = {}) : sim(settings) {}
};

struct Status {
    short state = 0, hose = 0, reserveType = 0, level = 0, error = 0;
    long delivery = 0, reserveClient = 0, attendant = 0;
    double volume = 0, money = 0, price = 0;
};

inline Status PumpStatus(CKVCLProcess* s, long pump)
{
    Status st;
    EXPECT_EQ(0, GetPumpStatusMT(s, pump, &st.state, &st.hose, &st.delivery, &st.reserveClient, &st.reserveType,
                                 &st.attendant, nullptr, nullptr, &st.level, &st.volume, &st.money, &st.price,
                                 &st.error));
    return st;
}

// A delivery's record through GetDeliveryPropertiesEx4.
struct Record {
    long pump = 0, finished = 0, state = 0, type = 0, lock = 0, attendant = 0, started = 0, reserveClient = 0,
         clearedBy = 0;
    short hose = 0, presetType = 0, level = 0;
    double presetValue = 0, volume = 0, money = 0, price = 0, volBefore = 0, volAfter = 0, moneyBefore = 0,
           moneyAfter = 0, authorised = 0, refund = 0, net = 0;
    long long tag = 0;
};

inline Record Delivery(CKVCLProcess* s, long id)
{
    Record r;
    EXPECT_EQ(0, GetDeliveryPropertiesEx4MT(s, id, &r.pump, &r.hose, &r.presetType, &r.presetValue, &r.level,
                                            &r.volume, &r.money, &r.price, &r.finished, &r.state, &r.type, &r.lock,
                                            &r.attendant, &r.started, &r.volBefore, &r.volAfter, &r.moneyBefore,
                                            &r.moneyAfter, &r.authorised, &r.refund, &r.tag, &r.reserveClient,
                                            &r.clearedBy, &r.net));
    return r;
}

}  // namespace e2e
