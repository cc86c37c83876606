#include <gtest/gtest.h>
#include "rpc_fixture.h"

namespace {

// An object that refuses to be deleted.
class CFixedObject : public CVrtObject {
public:
    long ID() const override { return 8; }
    long GetNumber() const override { return 80; }
    CStr* GetName() override { return &_name; }

private:
    CStr _name{"fixed"};
};

struct Rig : CRig {
    std::vector<uint8_t> Sent() const { return Data(Last()); }
    const TIMsgHeader& Head() const { return Last().h; }
};

}  // namespace

TEST(CServerInterfaceGeneric, EveryGenericFunctionOnTheWireAndServed)
{
    Rig r;
    long v = 0;
    EXPECT_EQ(0, r.client.GetVersion(&v));
    EXPECT_EQ(4, v);
    EXPECT_EQ(Bytes(7, 0, 0, 0, 0, 19), r.Sent());
    EXPECT_TRUE(r.Head().function == 2 && r.Head().object == 0xFFFFFFFFu && r.Head().type == 4);

    EXPECT_EQ(0, r.client.New(3, 9, CStr("nine")));
    EXPECT_EQ(Bytes(14, 4, 0, 'n', 0, 'i', 0, 'n', 0, 'e', 0, 6, 9, 0, 0, 0, 6, 3, 0, 0, 0, 19), r.Sent());
    EXPECT_EQ(1, r.client.New(4, 9, CStr("again")));
    r.server.Objects().Add(new CFixedObject);

    EXPECT_EQ(0, r.client.Count(&v));
    EXPECT_EQ(2, v);
    EXPECT_EQ(Bytes(7, 4, 0, 0, 0, 19), r.Sent());   // a reference goes out with its current value
    EXPECT_EQ(0, r.client.GetIDByNumber(3, &v));
    EXPECT_EQ(9, v);
    EXPECT_EQ(Bytes(6, 3, 0, 0, 0, 7, 2, 0, 0, 0, 19), r.Sent());
    EXPECT_EQ(2, r.client.GetIDByNumber(77, &v));
    EXPECT_EQ(0, r.client.GetIDByName(CStr("NINE"), &v));
    EXPECT_EQ(Bytes(14, 4, 0, 'N', 0, 'I', 0, 'N', 0, 'E', 0, 7, 9, 0, 0, 0, 19), r.Sent());
    EXPECT_EQ(0, r.client.GetIDByOrdinal(2, &v));
    EXPECT_EQ(8, v);
    EXPECT_EQ(2, r.client.GetIDByOrdinal(3, &v));

    EXPECT_EQ(0, r.client.SetNumber(9, 33));
    EXPECT_EQ(Bytes(6, 33, 0, 0, 0, 19), r.Sent());
    EXPECT_EQ(9u, r.Head().object);
    EXPECT_EQ(0, r.client.GetNumber(9, &v));
    EXPECT_EQ(33, v);
    EXPECT_EQ(0, r.client.SetName(9, CStr("neuf")));
    EXPECT_EQ(Bytes(14, 4, 0, 'n', 0, 'e', 0, 'u', 0, 'f', 0, 19), r.Sent());
    CStr name("x");
    EXPECT_EQ(0, r.client.GetName(9, &name));
    EXPECT_EQ(Bytes(15, 1, 0, 'x', 0, 19), r.Sent());
    EXPECT_STREQ("neuf", static_cast<char*>(name));

    EXPECT_EQ(3, r.client.Delete(8, false));
    EXPECT_EQ(Bytes(19), r.Sent());
    EXPECT_EQ(0, r.client.Delete(-1, false));
    EXPECT_TRUE(r.proc.log.Has("DeleteAll object neuf , ID 9"));
    EXPECT_FALSE(r.proc.log.Has("ID 8"));
    EXPECT_EQ(1, r.server.GetCount());
    EXPECT_EQ(0, r.client.Delete(12345, true));   // one-way: no answer awaited
    EXPECT_EQ(1, r.Head().flag);
}

TEST(CServerInterfaceProcessMsg, UnknownObjectAndRequestChecks)
{
    Rig r;
    r.server.Objects().Add(new CPhyObject(7, 1, CStr("seven"), &r.proc));
    CStr s("payload");
    r.link.peer = nullptr;
    r.client.GetStatus(99, nullptr, nullptr, &s, nullptr, nullptr, nullptr);
    TIMsg request = r.link.sent.back();
    TIMsg m = request;
    EXPECT_EQ(0, r.server.ProcessMsg(&m, nullptr));
    EXPECT_EQ(-7, m.h.result);
    m.h.result = 0;
    EXPECT_EQ(0, std::memcmp(&request, &m, request.WireSize()));
    EXPECT_TRUE(r.server.calls.empty());

    request.h.object = 7;
    auto serve = [&](std::function<void(TIMsgHeader&)> spoil) {
        m = request;
        spoil(m.h);
        const TIMsgHeader sent = m.h;
        const long code = r.server.ProcessMsg(&m, nullptr);
        // The code is returned and answered: ends swapped, no values.
        const bool answered = code == m.h.result && m.h.source == sent.destination &&
                              m.h.destination == sent.source && m.h.length == 0;
        return answered ? code : 999;
    };
    EXPECT_EQ(-1, serve([](TIMsgHeader& h) { h.kind = 0, h.version = 3; }));
    EXPECT_EQ(-2, serve([](TIMsgHeader& h) { h.version = 3, h.destination = 6; }));
    EXPECT_EQ(-6, serve([](TIMsgHeader& h) { h.destination = 6; }));
    EXPECT_EQ(-4, serve([](TIMsgHeader& h) { h.function = 77; }));
    EXPECT_TRUE(r.server.calls.empty());
    EXPECT_TRUE(r.proc.log.Has("Throw -6, Line ") && r.proc.log.Has("File Process, Ftn InitUnpack"));

    m = request;
    r.server.SetMsg(&m);
    m.h.kind = 0, m.h.result = 9;   // a result in a request outranks the other checks
    EXPECT_EQ(9, Code([&] { r.server.InitUnpack(); }));

    m = request;   // served: ends swapped, the string comes back replaced
    EXPECT_EQ(0, r.server.ProcessMsg(&m, nullptr));
    EXPECT_TRUE(m.h.source == 0 && m.h.destination == kClientId && m.h.sequence == request.h.sequence);
    EXPECT_EQ(Bytes(18, 18, 15, 5, 0, 'r', 0, 'e', 0, 'p', 0, 'l', 0, 'y', 0, 18, 18, 18, 19), Data(m));
    EXPECT_EQ("GetStatus(7)[payload]", r.server.calls);

    const size_t sentBefore = r.link.sent.size();
    r.server.Serve(r.link);
    EXPECT_EQ(0, r.client.Set(7, 1, CStr(""), short{9}));
    EXPECT_EQ(1u, r.link.sent.size() - sentBefore);
    m = r.link.sent.back();
    EXPECT_EQ(0, r.server.ProcessMsg(&m, nullptr));
    EXPECT_TRUE(m.h.flag == 1 && m.h.destination == kClientId && Data(m) == Bytes(19));
}
