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

}  // namespace e2e
