// Every row of every served table, called with hostile values: extremes of each type, empty
// and oversized strings, refused pointers, objects that exist and objects that do not.
// kvsim must answer each request or drop the caller, never stop, and serve on afterwards.
#include <climits>
#include <map>
#include <string>

#include "proxies/registry.h"
#include "wire_fixture.h"

using namespace simtest;

namespace {

// Sends any request of any interface, packed from a row's wire letters.
class CRawSender : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    uint16_t ObjectType() const override { return type; }
    uint16_t InterfaceVersion() const override { return 0; }
    uint16_t type = 0;

    // Packs one value of the letter, picked by variant; by reference when ref (tag 18 in
    // variant 1).
    void PackOne(char letter, bool ref, int variant)
    {
        static const short shorts[] = {0, -1, SHRT_MAX, SHRT_MIN};
        static const long longs[] = {0, -1, LONG_MAX, LONG_MIN};
        static const long long wide[] = {0, -1, LLONG_MAX, LLONG_MIN};
        const std::string texts[] = {"", "x", std::string(90, ']') + "=\r\n", "\xe9t\xe9"};
        const int v = variant & 3;
        if (ref && v == 1) {
            Pack(static_cast<long*>(nullptr));
            return;
        }
        switch (letter) {
        case 's': { short x = shorts[v]; ref ? Pack(&x) : Pack(x); break; }
        case 'l': { long x = longs[v]; ref ? Pack(&x) : Pack(x); break; }
        case 'x': { long long x = wide[v]; ref ? Pack(&x) : Pack(x); break; }
        case 'C': { CCur x = CCur::FromRaw(wide[v]); ref ? Pack(&x) : Pack(x); break; }
        case 'D': { CDate x = CDate::FromTicks(static_cast<uint64_t>(wide[v])); ref ? Pack(&x) : Pack(x); break; }
        case 'S': { CStr x(texts[v].c_str()); ref ? Pack(&x) : Pack(x); break; }
        default: break;
        }
    }
};

// An object of each interface type that exists in the default forecourt (the client
// interface's object is the caller).
long Existing(uint16_t type, long client)
{
    static const std::map<uint16_t, long> ids = {
        {IF_PUMP, 101},       {IF_HOSE, 201},    {IF_GRADE, 301},      {IF_TANK, 401},     {IF_PORT, 503},
        {IF_DELIVERY, 1001},  {IF_ATTENDANT, 601}, {IF_ZIGBEE, 1101}, {IF_CARDCLIENT, 701}, {IF_CARDREAD, 1201},
        {IF_LOGEVENT, 1301},  {IF_SENSOR, 1001}, {IF_PRODUCT, 801},    {IF_SALEITEM, 901}};
    const auto found = ids.find(type);
    return type == IF_CLIENT ? client : found == ids.end() ? 1 : found->second;
}

}  // namespace

TEST(CSimServerHostile, EveryRowWithExtremeValuesLeavesTheServerServing)
{
    CSimSettings settings = Fast();
    LiveServer s(settings);
    Pos pos(s, 41);
    ASSERT_EQ(0, pos.Logon(true, true));
    ASSERT_EQ(0, pos.client.SetClientType(41, 0x0FFFFFFF));
    // Objects that only come to be: a delivery, a card read, a log event.
    ASSERT_EQ("ok lift pump 7 Delivering", s.Command("lift 7 1"));
    usleep(50000);
    ASSERT_EQ("ok hang pump 7 Idle", s.Command("hang 7"));
    ASSERT_EQ("ok card read 1201", s.Command("tag 1 7001001234"));
    ASSERT_EQ("ok alarm", s.Command("alarm 1 2 1 High level"));

    CRawSender raw(&pos.process, pos.process.CallSocket(), 41);
    raw.SetDestID(0);
    int sent = 0, answered = 0;
    for (const KvInterfaceRows& iface : kInterfaceRows) {
        for (std::size_t r = 0; r < iface.count; ++r) {
            const MethodInfo& row = *iface.methods[r];
            if (row.id < 13 && iface.type != IF_DELIVERY)
                continue;   // the generic functions (Delete would empty the forecourt)
            for (int variant = 0; variant < 6; ++variant) {
                raw.type = iface.type;
                const long existing = Existing(iface.type, 41);
                long object = -1;
                if (row.hdr == THdr::Object)
                    object = variant == 4 ? 999999 : (variant == 5 ? -1 : existing);
                try {
                    raw.InitPack(row.id, static_cast<uint32_t>(object), (row.notes & NOTE_ONEWAY) != 0);
                    bool first = true;
                    for (const char* w = row.wire; *w; ++w) {
                        if (*w == ' ' || *w == '*')
                            continue;
                        const bool ref = w[1] == '*';
                        if (first && row.hdr == THdr::SetCls && variant % 2 == 0)
                            raw.Pack(existing);   // a Set of an object that is there
                        else
                            raw.PackOne(*w, ref, variant);
                        first = false;
                    }
                    raw.EndPack();
                    ++sent;
                    raw.Call();
                    ++answered;
                } catch (TResult) {
                    // Too much to pack, or a failed call: the check below tells which.
                }
                pos.process.ProcessEvents();
            }
        }
    }
    EXPECT_GT(sent, 1000);
    EXPECT_EQ(sent, answered);   // nothing made kvsim drop this client
    // It serves this client and new ones as before.
    long n = 0;
    EXPECT_EQ(0, pos.client.Count(&n));
    Pos later(s, 42);
    ASSERT_EQ(0, later.Logon());
    EXPECT_EQ(0, later.client.Count(&n));
    EXPECT_GE(n, 1);
    EXPECT_EQ("ok 8 pumps", s.Command("status"));
}
