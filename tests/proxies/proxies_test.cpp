// The proxies' requests byte for byte against a scripted peer, and what they make of its replies.
#include <gtest/gtest.h>
#include <regex>
#include "proxies/registry.h"
#include "rpc/rpc_fixture.h"

namespace {

constexpr uint32_t kNone = 0xFFFFFFFFu;   // header object of a class-level call

// An expected data area, written from the tag table.
struct W {
    std::vector<uint8_t> b;
    W& Put(uint8_t tag, uint64_t v, int n)
    {
        b.push_back(tag);
        for (int i = 0; i < n; ++i)
            b.push_back(static_cast<uint8_t>(v >> (8 * i)));
        return *this;
    }
    W& s(short v, bool ref = false) { return Put(4 + ref, static_cast<uint16_t>(v), 2); }
    W& l(long v, bool ref = false) { return Put(6 + ref, static_cast<uint32_t>(v), 4); }
    W& x(long long v, bool ref = false) { return Put(20 + ref, static_cast<uint64_t>(v), 8); }
    W& c(int64_t raw, bool ref = false) { return Put(10 + ref, static_cast<uint64_t>(raw), 8); }
    W& str(const char* s, bool ref = false)
    {
        Put(14 + ref, std::strlen(s), 2);
        for (; *s; ++s)
            b.insert(b.end(), {static_cast<uint8_t>(*s), 0});
        return *this;
    }
    W& null(int n = 1) { b.insert(b.end(), n, TAG_NULL); return *this; }
    std::vector<uint8_t> End() const { auto r = b; r.push_back(TAG_END); return r; }
};

template <class P>
struct Rig {
    kvtest::TempDir dir;
    CTestProcess proc{dir};
    CFakeLink link{&proc};
    P px{&proc, &link, kClientId};

    // Answers each two-way request with `body` (tag 19 appended), `result` and flag byte `flag`.
    void Answer(const W& body = {}, int16_t result = 0, uint8_t flag = 0)
    {
        link.peer = [this, data = body.End(), result, flag](TIMsg& m) {
            if (m.h.flag)
                return;
            TIMsg r = ReplyTo(m, result);
            r.h.flag = flag;
            r.h.length = static_cast<uint16_t>(data.size());
            std::copy(data.begin(), data.end(), r.data);
            link.Push(r);
        };
    }
    const TIMsgHeader& H() const { return link.sent.back().h; }
    std::vector<uint8_t> Sent() const { return Data(link.sent.back()); }
    bool Logged(const std::string& pattern) const { return std::regex_search(proc.log._text, std::regex(pattern)); }
};

}  // namespace

TEST(CIProxies, EachClassAddressesItsOwnInterface)
{
    auto check = []<class P>(P*) {
        Rig<P> r;
        r.Answer(W().l(31, true));
        long number = 0;
        EXPECT_EQ(0, r.px.GetNumber(7, &number));
        EXPECT_TRUE(r.H().type == P::kType && r.px.ObjectType() == P::kType && r.H().version == 0 &&
                    r.px.InterfaceVersion() == 0 && r.H().function == 9 && r.H().object == 7 && number == 31)
            << P::kModule;
        EXPECT_EQ(W().l(0, true).End(), r.Sent());
        for (const MethodInfo* m : P::kMethods)
            EXPECT_TRUE(m->iface == P::kType && std::string(m->module) == P::kModule) << m->name;
    };
    std::apply([&](auto... p) { (check(p), ...); },
               std::tuple<CIClient*, CIPump*, CIHose*, CIGrade*, CITank*, CIPort*, CIDelivery*, CIAttendant*, CIZigBee*,
                          CICardClient*, CICardRead*, CILogEvent*, CISensor*, CIProduct*, CISaleItem*>{});
}

TEST(CIPump, GuardRepliesAndLogLines)
{
    Rig<CIPump> r;
    EXPECT_EQ(-7, r.px.Authorise(-1));
    EXPECT_EQ(-7, r.px.Set(-1, 1, CStr("p"), 0, 0, 0, 0, 0, 0, 0, 0, 0, 1L, 1L, 0, 0, 0, 0));
    EXPECT_TRUE(r.link.sent.empty());
    EXPECT_EQ(0, r.px.Sequence());

    r.Answer({}, -7);
    EXPECT_EQ(-7, r.px.TerminateDelivery(-1));   // sent: the server answers for -1
    EXPECT_TRUE(r.H().function == 33 && r.H().object == kNone && r.H().type == 4 && r.H().flag == 0);
    EXPECT_EQ(W().End(), r.Sent());

    // A null pointer goes as tag 18 and nothing comes back into it; a tag 18 in the reply
    // leaves the caller's value as it was.
    short state = 9;
    long delivery = 0;
    CStr text("old");
    CCur price;
    r.Answer(W().null().s(2, true).l(77, true).null(3).str("new", true).null(4).c(14590, true).null());
    EXPECT_EQ(0, r.px.GetStatus(3, &state, nullptr, &delivery, nullptr, nullptr, nullptr, &text, nullptr, nullptr,
                                nullptr, nullptr, &price, nullptr));
    EXPECT_EQ(W().s(9, true).null().l(0, true).null(3).str("old", true).null(4).c(0, true).null().End(), r.Sent());
    EXPECT_TRUE(state == 9 && delivery == 77 && price.Value() == 14590);
    EXPECT_STREQ("new", static_cast<char*>(text));
    EXPECT_FALSE(r.Logged("Catch"));

    r.Answer({}, -3);
    EXPECT_EQ(-3, r.px.GetStatus(3, &state, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, nullptr, nullptr, nullptr));
    EXPECT_TRUE(r.Logged("Catch -3, Line [0-9]+, File IPump, Ftn GetStatus"));
    r.Answer(W().s(1));   // a value tag where the reference belongs
    EXPECT_EQ(-11, r.px.GetDefaultPriceLevel(3, &state));
    EXPECT_TRUE(r.Logged("Catch -11, Line [0-9]+, File IPump, Ftn GetDefaultPriceLevel"));
    EXPECT_EQ(9, state);

    r.Answer({}, -3);   // quiet and unguarded
    EXPECT_EQ(-3, r.px.LogRawStatus(-1, 1, 2, 3));
    EXPECT_TRUE(r.H().object == kNone && !r.Logged("Ftn LogRawStatus"));
    EXPECT_EQ(W().s(1).s(2).s(3).End(), r.Sent());
}

TEST(CIPump, TermPromptDropsTheThirdShortOneWay)
{
    Rig<CIPump> r;   // nobody answers: a call that waited would time out
    EXPECT_EQ(0, r.px.KVTermPrompt(3, 12, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, CStr("PIN?")));
    ASSERT_EQ(1u, r.link.sent.size());
    EXPECT_TRUE(r.H().flag == 1 && r.H().function == 62 && r.H().object == 3);
    EXPECT_EQ(W().l(12).s(1).s(2).s(4).s(5).s(6).s(7).s(8).s(9).s(10).s(11).s(12).str("PIN?").End(), r.Sent());
    EXPECT_EQ(0, r.proc.reconnects);
}

TEST(CIClient, HeaderObjectsAndRetries)
{
    Rig<CIClient> r;
    const long me = 12;   // the session's client number
    r.Answer();
    EXPECT_EQ(0, r.px.Logon(me, CStr("POS Client")));
    EXPECT_TRUE(r.H().function == 13 && r.H().object == kNone && r.H().type == 3);
    EXPECT_EQ(W().l(me).str("POS Client").End(), r.Sent());
    EXPECT_EQ(0, r.px.RegisterInterface(me, 2));
    EXPECT_TRUE(r.H().object == 12 && r.Sent() == W().s(2).End());

    CStr version;
    r.Answer(W().str("2.5", true));
    EXPECT_EQ(0, r.px.GetVersion(&version));   // 23, not the generic 2
    EXPECT_TRUE(r.H().function == 23 && r.H().object == kNone && r.Sent() == W().str("", true).End());
    EXPECT_STREQ("2.5", static_cast<char*>(version));

    r.link.peer = nullptr;
    EXPECT_EQ(0, r.px.ReloadComplete(me, 5001));
    EXPECT_TRUE(r.H().flag == 1 && r.H().object == 12 && r.Sent() == W().l(5001).End());

    r.link.failWrites = 100;   // 13, 14, 16, 36, 37 are never retried after a reconnect
    EXPECT_EQ(-14, r.px.Logoff(me));
    EXPECT_EQ(-14, r.px.Reconnect(me, 1LL << 40));
    EXPECT_EQ(0, r.proc.reconnects);
    EXPECT_EQ(-14, r.px.AllStop(me));
    EXPECT_EQ(2, r.proc.reconnects);
}

TEST(CIDelivery, OwnCountsCommonMethodsAndQuietFilters)
{
    Rig<CIDelivery> r;
    long n = 0;
    r.Answer(W().l(4, true));
    EXPECT_EQ(0, r.px.AllCount(&n));
    EXPECT_TRUE(r.H().function == 5 && r.H().object == kNone && n == 4);
    EXPECT_EQ(0, r.px.Count(&n));   // the class's own 21
    EXPECT_EQ(21, r.H().function);
    r.Answer(W().l(90, true));
    EXPECT_EQ(0, r.px.GetIDByOrdinal(2, &n));
    EXPECT_TRUE(r.H().function == 22 && n == 90);
    EXPECT_EQ(0, r.px.GetAllIDByOrdinal(2, &n));
    EXPECT_EQ(8, r.H().function);

    r.Answer({}, -3);
    EXPECT_EQ(-3, r.px.GetIDByOrdinalFiletered(1, &n, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 1, 2, 3, 4, 1LL, 1, 2, 1LL, 1,
                                                2, 1LL, CDate(), CDate()));
    EXPECT_EQ(34, r.H().function);
    EXPECT_FALSE(r.Logged("Catch"));
    EXPECT_EQ(-3, r.px.New(1, 7, CStr("d")));   // name, id, number
    EXPECT_EQ(W().str("d").l(7).l(1).End(), r.Sent());
    EXPECT_TRUE(r.Logged("Catch -3, Line [0-9]+, File Process, Ftn New"));
    EXPECT_EQ(-3, r.px.Lock(7, 12));
    EXPECT_TRUE(r.H().object == 7 && r.Sent() == W().l(12).End());
    EXPECT_TRUE(r.Logged("File IDelivery, Ftn Lock"));

    r.link.peer = nullptr;
    const std::size_t before = r.link.sent.size();
    EXPECT_EQ(0, r.px.Delete(7, true));   // one-way: 0 whether or not 7 exists
    EXPECT_TRUE(r.link.sent.size() == before + 1 && r.H().flag == 1 && r.H().function == 4 && r.H().object == 7);
}

TEST(CIAttendantTankSensor, MinusOneIsSentWhereTheRowSaysSo)
{
    Rig<CIAttendant> a;
    EXPECT_EQ(-7, a.px.GetState(-1, nullptr, nullptr));
    EXPECT_TRUE(a.link.sent.empty());
    a.Answer();
    EXPECT_EQ(0, a.px.Logon(-1, 4));
    EXPECT_TRUE(a.H().object == kNone && a.H().function == 15 && a.Sent() == W().l(4).End());
    EXPECT_EQ(0, a.px.Logoff(-1));
    EXPECT_TRUE(a.H().object == kNone && a.Sent() == W().End());

    Rig<CITank> t;
    EXPECT_EQ(-7, t.px.Read(-1));
    EXPECT_TRUE(t.link.sent.empty());
    CCur level = CCur::FromRaw(1), volume = CCur::FromRaw(3);
    t.Answer(W().c(25000, true).null());
    EXPECT_EQ(0, t.px.GetStrappingPoint(-1, 2, &level, &volume));
    EXPECT_TRUE(t.H().object == kNone && t.Sent() == W().l(2).c(1, true).c(3, true).End());
    EXPECT_TRUE(level.Value() == 25000 && volume.Value() == 3);
    t.link.peer = nullptr;
    EXPECT_EQ(0, t.px.SetGaugeCapacity(-1, CCur::FromRaw(300000)));
    EXPECT_TRUE(t.H().object == kNone && t.H().flag == 1 && t.Sent() == W().c(300000).End());
    EXPECT_EQ(0, t.px.SetResponding(-1, 1));
    EXPECT_TRUE(t.H().object == kNone && t.H().function == 20 && t.H().flag == 1);
    EXPECT_EQ(0, t.proc.reconnects);

    Rig<CISensor> s;
    s.Answer({}, -7);
    EXPECT_EQ(-7, s.px.LogRawStatus(-1, 4, 5, 6));
    EXPECT_TRUE(s.H().object == kNone && s.H().function == 18 && s.Sent() == W().s(4).s(5).s(6).End());
    EXPECT_EQ(-7, s.px.Set(-1, 1, CStr("s"), 1, 0, 0, 0, 1, 1));
    EXPECT_EQ(1u, s.link.sent.size());
}

TEST(CIPortLogEvent, FlagSkipLeavesTheValuesAlone)
{
    Rig<CIPort> p;
    long long pan = 5, high = 6, low = 7;
    long channels = 8;
    p.Answer(W().x(1, true).l(2, true).x(3, true).x(4, true), 0, 1);   // flag set: the body is not read
    EXPECT_EQ(0, p.px.GetZBConfig(9, &pan, &channels, &high, &low));
    EXPECT_TRUE(pan == 5 && channels == 8 && high == 6 && low == 7);
    EXPECT_EQ(W().x(5, true).l(8, true).x(6, true).x(7, true).End(), p.Sent());
    p.Answer(W().x(1, true).l(2, true).x(3, true).x(4, true));
    EXPECT_EQ(0, p.px.GetZBConfig(9, &pan, &channels, &high, &low));
    EXPECT_TRUE(pan == 1 && channels == 2 && high == 3 && low == 4);
    EXPECT_EQ(0, p.px.ZBKeyEvent(9, 10LL, -1LL));
    EXPECT_TRUE(p.H().flag == 1 && p.Sent() == W().x(10).x(-1).End());

    Rig<CILogEvent> e;
    e.Answer(W().l(1), 0, 1);
    EXPECT_EQ(0, e.px.Set(4, 2, 3, 4, CStr("t"), 5, 6, CStr(""), CDate::FromTicks(7), CDate(), 8, 9, CCur(), CCur(),
                          CCur(), CCur(), CCur(), CCur::FromRaw(-1)));
    std::vector<uint8_t> set = W().l(4).s(2).l(3).l(4).str("t").s(5).s(6).str("").Put(12, 7, 8).Put(12, ~0ULL, 8)
                                   .l(8).l(9).c(0).c(0).c(0).c(0).c(0).c(-1).End();
    EXPECT_TRUE(e.H().object == kNone && e.H().function == 14 && e.Sent() == set);
    EXPECT_EQ(0, e.px.ClearEvent(4, 12));   // flag-skip: the body's stray long is never read
}

TEST(CIGetSetClasses, RequestsOfTheSmallerClasses)
{
    Rig<CIGrade> g;
    CCur price;
    g.Answer(W().c(14590, true));
    EXPECT_EQ(0, g.px.GetPrice(3, 1, &price));
    EXPECT_TRUE(g.Sent() == W().s(1).c(0, true).End() && price.Value() == 14590);

    Rig<CIHose> h;
    h.Answer(W().l(6, true));
    long count = 0;
    EXPECT_EQ(0, h.px.GetHosesCount(&count, 3L, -1L, -1L));
    EXPECT_TRUE(h.H().object == kNone && h.Sent() == W().l(0, true).l(3).l(-1).l(-1).End() && count == 6);
    h.link.peer = nullptr;
    EXPECT_EQ(0, h.px.SetPrice(2, 1, CCur::FromRaw(14590)));
    EXPECT_TRUE(h.H().flag == 1 && h.H().function == 21);

    Rig<CIZigBee> z;
    z.Answer();
    EXPECT_EQ(0, z.px.Set(5, 1, CStr("zb"), 2, CStr(""), CStr("a"), 3));
    EXPECT_EQ(W().l(5).l(1).str("zb").s(2).str("").str("a").l(3).End(), z.Sent());

    Rig<CICardRead> cr;
    cr.Answer(W().null(7));
    EXPECT_EQ(0, cr.px.Get(5, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_TRUE(cr.H().function == 13 && cr.H().object == 5 && cr.Sent() == W().null(7).End());

    Rig<CICardClient> cc;
    cc.Answer();
    EXPECT_EQ(0, cc.px.Set(5, 1, CStr("c"), CStr(""), 2, 3, CStr(""), CStr(""), CStr(""), CStr(""), 4, 5, 6,
                           CCur::FromRaw(7), 8, CDate::FromTicks(9), 10, CStr(""), CCur(), 11));
    EXPECT_EQ(W().l(5).l(1).str("c").str("").s(2).s(3).str("").str("").str("").str("").s(4).s(5).s(6).c(7).s(8)
                  .Put(12, 9, 8).l(10).str("").c(0).l(11).End(), cc.Sent());

    Rig<CIProduct> pr;
    pr.Answer(W().l(11, true));
    EXPECT_EQ(0, pr.px.GetProductByOrdinal(1, &count, 0, CStr("a"), CStr(""), CStr(""), CStr(""), 1, 2));
    EXPECT_TRUE(pr.H().function == 16 && count == 11);
    EXPECT_EQ(W().l(1).l(6, true).l(0).str("a").str("").str("").str("").l(1).l(2).End(), pr.Sent());

    Rig<CISaleItem> si;
    si.Answer({}, 2);
    EXPECT_EQ(2, si.px.LockAndClear(8, 12));
    EXPECT_TRUE(si.H().function == 19 && si.H().object == 8 && si.Sent() == W().l(12).End());
}
