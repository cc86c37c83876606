// The byte-level examples of docs/protocol.md against the real encoder and decoder: each
// ```hex NAME block is what a proxy, the events interface or the socket writes, and what
// the library reads back from it. Every example in the document is used here.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>

#include "common/fake_server.h"
#include "client/IEventsTable.h"
#include "client/session.h"
#include "proxies/IClient.h"
#include "proxies/IPump.h"
#include "rpc/method.h"
#include "rpc/rpc_fixture.h"

namespace {

using Bytes = std::vector<uint8_t>;

// The hex blocks of the document by name; text after '#' on a line is a comment.
std::map<std::string, Bytes> LoadExamples()
{
    std::map<std::string, Bytes> out;
    std::istringstream doc(kvtest::ReadFile(KV_SOURCE_DIR "/docs/protocol.md"));
    std::string line, name;
    while (std::getline(doc, line)) {
        if (name.empty()) {
            if (line.rfind("```hex ", 0) == 0) name = line.substr(7), out[name];
            continue;
        }
        if (line.rfind("```", 0) == 0) {
            name.clear();
            continue;
        }
        std::istringstream words(line.substr(0, line.find('#')));
        for (std::string w; words >> w;) out[name].push_back(static_cast<uint8_t>(std::stoul(w, nullptr, 16)));
    }
    return out;
}

Bytes Wire(const TIMsg& m)
{
    const auto* p = reinterpret_cast<const uint8_t*>(&m);
    return Bytes(p, p + m.WireSize());
}

TIMsg Message(const Bytes& b)
{
    TIMsg m{};
    std::memcpy(&m, b.data(), std::min(b.size(), sizeof m));
    return m;
}

// The examples that the tests below check; the document holds exactly these.
const std::set<std::string> kChecked = {"density-request", "density-reply", "authorise-request", "no-object-reply",
                                        "logon-request", "logon-busy-reply", "logon-reply", "server-event",
                                        "ping", "pong"};

class ProtocolExamples : public ::testing::Test {
protected:
    static Bytes Example(const std::string& name)
    {
        static const std::map<std::string, Bytes> all = LoadExamples();
        EXPECT_TRUE(kChecked.count(name)) << name;
        const auto it = all.find(name);
        EXPECT_NE(all.end(), it) << "no ```hex " << name << " block in docs/protocol.md";
        return it == all.end() ? Bytes{} : it->second;
    }
    // A proxy of client 5 whose link answers each request with the named reply.
    template <class P>
    struct Rig {
        kvtest::TempDir dir;
        CTestProcess process{dir};
        CFakeLink link{&process};
        P proxy{&process, &link, 5};
        Bytes request;
        explicit Rig(const std::string& reply)
        {
            link.peer = [this, reply](TIMsg& m) {
                request = Wire(m);
                if (!reply.empty()) link.Push(Message(Example(reply)));
            };
        }
    };
};

TEST_F(ProtocolExamples, EveryExampleIsChecked)
{
    std::set<std::string> names;
    for (const auto& [name, bytes] : LoadExamples()) names.insert(name);
    EXPECT_EQ(kChecked, names);
}

#define EXPECT_EXAMPLE(name, bytes) EXPECT_EQ(Example(name), bytes)

TEST_F(ProtocolExamples, RequestAndReplyWithAFixedPointValue)
{
    Rig<CIPump> rig("density-reply");
    CCur density;
    EXPECT_EQ(0, rig.proxy.GetDensity(3, &density));
    EXPECT_EXAMPLE("density-request", rig.request);
    EXPECT_EQ(7450, density.Value());
}

TEST_F(ProtocolExamples, NoSuchObjectComesBackUnswappedAndIsAccepted)
{
    Rig<CIPump> rig("no-object-reply");
    EXPECT_EQ(NO_OBJECT_RESULT, rig.proxy.Authorise(99));
    EXPECT_EXAMPLE("authorise-request", rig.request);
    TIMsg reply = Message(Example("no-object-reply"));
    EXPECT_EQ(Wire(reply).size(), rig.request.size());
    reply.h.result = 0;
    EXPECT_EQ(Wire(reply), rig.request);   // the request with only its result changed
}

TEST_F(ProtocolExamples, LogonAnsweredBusyThenAccepted)
{
    Rig<CIClient> busy("logon-busy-reply"), ok("logon-reply");
    EXPECT_EQ(SERVER_BUSY_RESULT, busy.proxy.Logon(5, CStr("POS Client")));
    EXPECT_EQ(0, ok.proxy.Logon(5, CStr("POS Client")));
    EXPECT_EXAMPLE("logon-request", ok.request);
    EXPECT_EQ(busy.request, ok.request);
}

// The server's side of events call 15: a calling interface of the events table with
// source 0 and the client as destination, read by the library's events interface.
class CEventsCaller : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_EVENTS, "IEvents")
    KV_IEVENTS_TABLE(KV_METHOD)
};

TEST_F(ProtocolExamples, OneWayServerEventIsQueued)
{
    Rig<CEventsCaller> rig("");
    rig.proxy.SetClientID(0);
    rig.proxy.SetDestID(5);
    EXPECT_EQ(0, rig.proxy.ServerEvent(7L, CStr("Price change")));
    EXPECT_EXAMPLE("server-event", rig.request);

    kvtest::CClientDir cwd;
    CKVCLProcess session(5, 3, "127.0.0.1", 1, 1, 1000, nullptr, nullptr, 0);
    TIMsg event = Message(Example("server-event"));
    EXPECT_EQ(0, session.ProcessMsg(&event, nullptr));
    long id = 0;
    char text[32];
    std::memset(text, ' ', sizeof text - 1);
    text[sizeof text - 1] = 0;
    EXPECT_EQ(0, GetNextServerEventMT(&session, &id, text));
    EXPECT_EQ(7, id);
    EXPECT_EQ("Price change", std::string(text, std::strlen("Price change")));
}

TEST_F(ProtocolExamples, PingIsAnsweredWithItsArgumentsSwapped)
{
    kvtest::TempDir dir;
    CTestProcess process(dir);
    CFakeLink link(&process);
    ASSERT_EQ(0, link.ManagementFtn(MFTN_PING, 5, 0));
    ASSERT_EQ(1u, link.sent.size());
    EXPECT_EXAMPLE("ping", Wire(link.sent[0]));
    TIMsg ping = Message(Example("ping"));
    EXPECT_TRUE(link.IsSocketManagementFtn(&ping, CALL_PORT));
    ASSERT_EQ(2u, link.sent.size());
    EXPECT_EXAMPLE("pong", Wire(link.sent[1]));
}

}  // namespace
