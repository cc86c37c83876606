// The proxy classes against a scripted peer: each addresses its own interface, and the
// client interface's rows that are never sent again after a reconnect. (What each row
// sends is checked against docs/protocol.md, the packing by the transport's tests.)
#include <gtest/gtest.h>
#include "common/wire.h"
#include "proxies/registry.h"
#include "rpc/rpc_fixture.h"

using kvtest::Wire;

namespace {

template <class P>
struct Rig {
    kvtest::TempDir dir;
    CTestProcess proc{dir};
    CFakeLink link{&proc};
    P px{&proc, &link, kClientId};
};

}  // namespace

TEST(CIProxies, EachClassAddressesItsOwnInterface)
{
    auto check = []<class P>(P*) {
        Rig<P> r;
        r.link.peer = [&r](TIMsg& m) {
            TIMsg reply = ReplyTo(m);
            const auto data = Wire().PL(31).End();
            reply.h.length = static_cast<uint16_t>(data.size());
            std::copy(data.begin(), data.end(), reply.data);
            r.link.Push(reply);
        };
        long number = 0;
        EXPECT_EQ(0, r.px.GetNumber(7, &number));
        const TIMsgHeader& h = r.link.sent.back().h;
        EXPECT_TRUE(h.type == P::kType && r.px.ObjectType() == P::kType && h.version == 0 &&
                    r.px.InterfaceVersion() == 0 && h.function == 9 && h.object == 7 && number == 31)
            << P::kModule;
        EXPECT_EQ(Wire().PL(0).End(), Data(r.link.sent.back()));
        for (const MethodInfo* m : P::kMethods)
            EXPECT_TRUE(m->iface == P::kType && std::string(m->module) == P::kModule) << m->name;
    };
    std::apply([&](auto... p) { (check(p), ...); },
               std::tuple<CIClient*, CIPump*, CIHose*, CIGrade*, CITank*, CIPort*, CIDelivery*, CIAttendant*, CIZigBee*,
                          CICardClient*, CICardRead*, CILogEvent*, CISensor*, CIProduct*, CISaleItem*>{});
}

TEST(CIClient, SessionRowsAreNeverRetriedAfterAReconnect)
{
    Rig<CIClient> r;
    const long me = 12;
    r.link.failWrites = 100;
    EXPECT_EQ(-14, r.px.Logon(me, CStr("POS Client")));
    EXPECT_EQ(-14, r.px.Logoff(me));
    EXPECT_EQ(-14, r.px.RegisterInterface(me, 2));
    EXPECT_EQ(-14, r.px.Reconnect(me, 1LL << 40));
    long long session = 0;
    EXPECT_EQ(-14, r.px.GetSessionID(me, &session));
    EXPECT_EQ(0, r.proc.reconnects);
    EXPECT_EQ(-14, r.px.AllStop(me));
    EXPECT_EQ(2, r.proc.reconnects);
}
