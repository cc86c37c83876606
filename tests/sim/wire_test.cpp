// kvsim on loopback ports, driven through the proxies: sessions and site calls, event masks
// and registrations, reconnection, generic calls, a client that stops reading, the control
// port, and every served row called with hostile values (extremes of each type, empty and
// oversized strings, refused pointers, objects that exist and that do not): kvsim must
// answer each request or drop the caller, never stop, and serve on afterwards.
#include <climits>
#include <map>
#include <string>

#include "proxies/registry.h"
#include "wire_fixture.h"

using namespace simtest;

TEST(CSimServerWire, LogonSessionsAndSiteCalls)
{
    LiveServer s;
    ASSERT_EQ("ok busy 2", s.Command("busy 2"));
    Pos a(s, 11), b(s, 12);
    ASSERT_TRUE(a.Open());
    EXPECT_EQ(SERVER_BUSY_RESULT, a.client.Logon(11, CStr("POS Client")));
    EXPECT_EQ(SERVER_BUSY_RESULT, a.client.Logon(11, CStr("POS Client")));
    ASSERT_EQ(std::make_tuple(a.Logon(), b.Logon()), std::make_tuple(0L, 0L));
    EXPECT_TRUE(a.session != b.session && a.session != -1);
    long n = 0;
    EXPECT_EQ(Got(a.client.Count(&n), n), std::make_tuple(0L, 2L));
    CStr text;

    // INI values live in the simulator's own copy; names that leave it are refused.
    EXPECT_EQ(0, a.client.SetIniValue(11, CStr("Site"), CStr("Name"), CStr("Test station")));
    EXPECT_EQ(Got(b.client.GetIniValue(12, CStr("Site"), CStr("Name"), &text), text), std::make_tuple(0, "Test station"));
    EXPECT_EQ(Got(b.client.GetIniValueEx(12, CStr("KVServer.ini"), CStr("Grade1"), CStr("ShortName"), &text), text),
              std::make_tuple(0, "U95"));
    EXPECT_EQ(SR_NOT_FOUND, b.client.GetIniValue(12, CStr("Site"), CStr("Nothing"), &text));
    EXPECT_EQ(SR_BAD_VALUE, b.client.GetIniValueEx(12, CStr("../forecourt.ini"), CStr("Server"), CStr("x"), &text));
    EXPECT_EQ(SR_BAD_VALUE, b.client.SetIniValue(12, CStr("A]"), CStr("k"), CStr("v")));

    CStr states, hoses, unpaid;
    EXPECT_EQ(Got(a.client.GetAllPumpStatuses(11, &states, &hoses, &unpaid), states), std::make_tuple(0, "11111111"));
    short type = 0, status = -1;
    long cardClient = 0, account = 0;
    EXPECT_EQ(0, a.client.FindCard(11, CStr("7001001234567"), &type, &status, &cardClient, &text, &account));
    EXPECT_EQ(std::make_tuple(cardClient, status, std::string(static_cast<char*>(text))),
              std::make_tuple(701L, short{0}, std::string("Fleet One")));
    EXPECT_EQ(Got(a.client.FindCard(11, CStr("7009991"), &type, &status, &cardClient, &text, &account), status),
              std::make_tuple(0L, short{1}));   // blocked
    EXPECT_EQ(SR_NOT_FOUND, a.client.FindCard(11, CStr("4111"), &type, &status, &cardClient, &text, &account));
    long grade = 0;
    CCur price;
    EXPECT_EQ(0, a.client.GetPriceSignElement(11, 1, nullptr, &grade, nullptr, &price, nullptr, nullptr, nullptr));
    EXPECT_EQ(std::make_tuple(grade, price.Value()), std::make_tuple(301L, RawOf(1.459)));
    EXPECT_EQ(SR_NOT_FOUND, a.client.GetPriceSignElement(11, 40, nullptr, &grade, nullptr, &price, nullptr, nullptr,
                                                         nullptr));

    // After a logoff the session is gone: its calls answer -7.
    EXPECT_EQ(0, b.client.Logoff(12));
    EXPECT_EQ(Got(a.client.Count(&n), n), std::make_tuple(0L, 1L));
    EXPECT_EQ(NO_OBJECT_RESULT, b.client.GetSessionID(12, &b.session));
}

TEST(CSimServerWire, EventsFollowRegistrationAndMask)
{
    LiveServer s(Fast());
    Pos pumps(s, 21), deliveries(s, 22), silent(s, 23);
    ASSERT_EQ(0, pumps.Logon(true, false));
    ASSERT_EQ(0, deliveries.Logon(true, true));
    ASSERT_EQ(0, silent.Logon(false, false));
    EXPECT_EQ(0, pumps.client.SetClientType(21, EV_PUMP | EV_CLIENT));
    EXPECT_EQ(0, deliveries.client.SetClientType(22, EV_DELIVERY | EV_OLD_DELIVERY));
    for (Pos* p : {&pumps, &deliveries, &silent}) {   // the logon events of the others
        p->process.ProcessEvents();
        p->events->calls.clear();
    }

    ASSERT_EQ("ok lift pump 7 Delivering", s.Command("lift 7 1"));
    usleep(100000);
    ASSERT_EQ("ok hang pump 7 Idle", s.Command("hang 7"));
    EXPECT_EQ(0, silent.client.FireClientEvent(23, 77, CStr("hello")));
    ASSERT_TRUE(deliveries.Until([&] { return deliveries.db->Count(21) >= 1; }));
    ASSERT_TRUE(pumps.Until([&] { return pumps.events->Count(16) == 1; }));
    silent.process.ProcessEvents();

    // Pump events only, in the full form, and the client event.
    EXPECT_GE(pumps.events->Count(27), 2);
    EXPECT_EQ(pumps.events->Count(27) + 1, static_cast<int>(pumps.events->calls.size()));
    EXPECT_TRUE(pumps.events->Has(16, 23) && pumps.db->calls.empty());
    // Delivery events only, in the older form, plus the database calls of a sale.
    // Delivery started and completed; log delivery, hose totals and tank 1's status.
    EXPECT_EQ(std::make_tuple(deliveries.events->Count(14), deliveries.events->calls.size(), deliveries.db->Count(13),
                              deliveries.db->Count(17), deliveries.db->Has(21, 401)),
              std::make_tuple(2, 2u, 1, 1, true));
    // Registered for nothing: nothing.
    EXPECT_TRUE(silent.events->calls.empty());

    // FireEvents sends the asking client every pump's state, and only to it.
    const size_t before = deliveries.events->calls.size();
    EXPECT_EQ(0, pumps.client.FireEvents(21));
    ASSERT_TRUE(pumps.Until([&] { return pumps.events->Count(27) >= 10; }));
    deliveries.process.ProcessEvents();
    EXPECT_EQ(before, deliveries.events->calls.size());
}

TEST(CSimServerWire, ReconnectAfterADropAndTheFlagSkipReply)
{
    LiveServer s;
    Pos a(s, 31), b(s, 32);
    ASSERT_EQ(std::make_tuple(a.Logon(), b.Logon()), std::make_tuple(0L, 0L));

    // kvsim drops a's sockets; the session waits. New sockets resume it by its ID.
    ASSERT_EQ("ok dropped client 31", s.Command("drop 31"));
    Pos again(s, 31, "again");
    ASSERT_TRUE(again.Open());
    EXPECT_EQ(NO_SESSION_RESULT, again.client.Reconnect(31, a.session + 1));
    EXPECT_EQ(0, again.client.Reconnect(31, a.session));
    again.process.ConnectSockets();
    long long session = 0;
    EXPECT_EQ(Got(again.client.GetSessionID(31, &session), session), std::make_tuple(0L, a.session));

    // While the old sockets still look alive the answer is 60; they are closed, and the
    // next try succeeds.
    Pos third(s, 31, "third");
    ASSERT_TRUE(third.Open());
    EXPECT_EQ(SOCKETS_INUSE_RESULT, third.client.Reconnect(31, a.session));
    EXPECT_EQ(0, third.client.Reconnect(31, a.session));
    // The resumed session was sent every pump's state to resynchronise, then closed.
    TIMsg msg;
    long read = 0;
    int resent = 0;
    while (again.process.EventsSocket()->WaitForSocketEvent(2000) == CSocket::WAIT_DATA &&
           (read = again.process.EventsSocket()->ReadMsg(&msg)) == 0)
        resent += msg.h.function == 27;
    EXPECT_EQ(std::make_tuple(CONNECTION_BROKEN, 8), std::make_tuple(read, resent));

    // A port without a ZigBee coordinator answers with the reply flag set.
    long long pan = 0, high = 0, low = 0;
    long channels = 0;
    EXPECT_EQ(SR_NOT_FOUND, b.port.GetZBConfig(501, &pan, &channels, &high, &low));
    EXPECT_EQ(1, b.port.Msg()->h.flag);
    EXPECT_EQ(0, b.port.GetZBConfig(503, &pan, &channels, &high, &low));
    EXPECT_EQ(std::make_tuple(pan, channels), std::make_tuple(0x1A2BLL, 2048L));
    long n = 0;
    EXPECT_EQ(Got(b.client.Count(&n), n), std::make_tuple(0L, 2L));
}

TEST(CSimServerControl, CommandsAnswerOkOrErrorAndLongLinesEndTheConnection)
{
    LiveServer s;
    const std::pair<const char*, const char*> replies[] = {
        {"lift 99", "error no pump 99"}, {"lift 1 x", "error bad hose x"}, {"lift 1 5", "error lift pump 1 Idle: result 2"},
        {"flow 500", "error flow in litres per second, 0 to 100"}, {"flow 1.5", "ok flow 1.5"},
        {"price 1 3 1.5", "error price <grade> <1|2> <price>"}, {"price 2 1 1.7", "ok price grade 2 level 1 1.7"},
        {"tank 1 99999", "error tank <tank> <litres up to its capacity>"},
        {"drop 5", "error client 5 has no open sockets"}, {"fly", "error unknown command fly (try help)"},
        {"clients", "ok 0 sessions"}, {"deliveries", "ok 0 deliveries"}};
    for (const auto& [command, reply] : replies)
        EXPECT_EQ(reply, s.Command(command));

    // A line longer than the limit ends that connection; the port takes new ones.
    CControlLine flood(s.ControlPort());
    EXPECT_EQ("", flood(std::string(CControl::kMaxLine + 10, 'a')));
    CControlLine next(s.ControlPort());
    EXPECT_EQ("ok auto on", next("auto on"));
    EXPECT_EQ("ok bye", next("quit"));
    EXPECT_TRUE(s.server->Quit());
}

TEST(CSimServerWire, GenericCreateLookupAndDelete)
{
    LiveServer s;
    Pos a(s, 13);
    ASSERT_EQ(0, a.Logon());
    CIGrade grades(&a.process, a.process.CallSocket(), 13);

    // A new grade: created empty, filled by Set, found by number and name, then deleted.
    EXPECT_EQ(0, grades.New(9, 309, CStr("LPG")));
    EXPECT_EQ(EXISTS_RESULT, grades.New(9, 309, CStr("again")));
    EXPECT_EQ(0, grades.Set(309, 9, CStr("Autogas"), CStr("LPG"), 801, Money(0.899), Money(0.879)));
    long id = 0, count = 0;
    EXPECT_EQ(Got(grades.Count(&count), count), std::make_tuple(0L, 5L));
    EXPECT_EQ(Got(grades.GetIDByName(CStr("autogas"), &id), id), std::make_tuple(0L, 309L));   // without case
    EXPECT_EQ(Got(grades.GetIDByOrdinal(5, &id), id), std::make_tuple(0L, 309L));
    CCur price;
    EXPECT_EQ(Got(grades.GetPrice(309, 2, &price), price), std::make_tuple(0L, Money(0.879)));
    EXPECT_EQ(SR_BAD_VALUE, grades.SetPrice(309, 1, Money(-1)));
    EXPECT_EQ(0, grades.Delete(309, false));
    EXPECT_EQ(NOT_FOUND_RESULT, grades.GetIDByNumber(9, &id));
    EXPECT_EQ(NO_OBJECT_RESULT, grades.GetPrice(309, 1, &price));

    // A pump with a delivery running may not be deleted; an idle one may.
    ASSERT_EQ("ok lift pump 8 Delivering", s.Command("lift 8 1"));
    EXPECT_EQ(CANNOT_DELETE_RESULT, a.pump.Delete(108, false));
    EXPECT_EQ(0, a.pump.Delete(106, false));
    EXPECT_EQ(Got(a.pump.Count(&count), count), std::make_tuple(0L, 7L));
    EXPECT_EQ("ok hang pump 8 Idle", s.Command("hang 8"));
}

TEST(CSimServerWire, AClientThatStopsReadingItsEventsIsDropped)
{
    LiveServer s;
    Pos reader(s, 14), staller(s, 15);
    ASSERT_EQ(std::make_tuple(reader.Logon(), staller.Logon()), std::make_tuple(0L, 0L));
    // A client that falls behind for a while has its events queued, and gets them all once
    // it reads again.
    long calls = 0;
    while (calls < 200000 && kvtest::LogText(*s.server).find("Client 15 falls behind") == std::string::npos)
        for (int i = 0; i < 100; ++i, ++calls)
            ASSERT_EQ(0, staller.client.FireEvents(15));
    ASSERT_LT(calls, 200000);
    EXPECT_TRUE(staller.Until([&] { return staller.events->Count(27) >= 8 * calls; }, 60000));
    EXPECT_EQ(0, staller.client.FireEvents(15));

    // Every FireEvents queues eight pump events for the staller, which never reads them:
    // once its connection holds no more, kvsim gives up on it. How much a connection holds
    // is the system's affair (receive buffers grow to tens of megabytes), so ask until then.
    long r = 0;
    for (int i = 0; i < 200000 && r == 0; ++i)
        r = staller.client.FireEvents(15);
    EXPECT_NE(0, r);
    EXPECT_NE(std::string::npos, kvtest::LogText(*s.server).find("Client 15 dropped: events not delivered"));
    // The session stays for a reconnect; the other client is served as before.
    long n = 0;
    EXPECT_EQ(Got(reader.client.Count(&n), n), std::make_tuple(0L, 2L));
    EXPECT_EQ(0, reader.client.FireEvents(14));
    EXPECT_TRUE(reader.Until([&] { return reader.events->Count(27) >= 8; }));
}

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
