// The Wireshark dissector against real traffic: a session of the library with kvsim
// (logon, a sale, a ping, logoff) recorded through a relay into a pcap and decoded by
// tshark, both by heuristic and by configured ports; then captures with malformed,
// cut-short and garbage data, which must be flagged without a Lua error.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>

#include "common/fake_server.h"
#include "pcap_relay.h"

#ifdef KV_TSHARK_TESTS

namespace {

using kvtest::TempDir;

// One kvrpc message of a decode: its fields, those of one name in tree order.
struct Msg {
    int frame = 0;
    std::multimap<std::string, std::string> fields;
    std::string Get(const std::string& name) const
    {
        const auto it = fields.find(name);
        return it == fields.end() ? "" : it->second;
    }
    std::vector<std::string> All(const std::string& name) const
    {
        std::vector<std::string> out;
        for (auto [it, end] = fields.equal_range(name); it != end; ++it) out.push_back(it->second);
        return out;
    }
    bool Has(const std::string& name) const { return fields.count(name) > 0; }
};

std::string Unescape(std::string s)
{
    for (const auto& [from, to] : {std::pair{"&quot;", "\""}, {"&lt;", "<"}, {"&gt;", ">"}, {"&apos;", "'"}, {"&amp;", "&"}})
        for (size_t at = 0; (at = s.find(from, at)) != std::string::npos; ++at) s.replace(at, std::strlen(from), to);
    return s;
}

struct Decode {
    std::string text;          // tshark's whole output, stderr included
    int status = -1;
    std::vector<Msg> msgs;
};

// tshark -T pdml with the dissector; each kvrpc subtree becomes a Msg.
Decode Tshark(const std::string& pcap, const std::string& options = "")
{
    Decode d;
    const std::string cmd = "tshark -n -X lua_script:" KV_KVRPC_LUA " " + options + " -r " + pcap + " -T pdml 2>&1";
    FILE* p = popen(cmd.c_str(), "r");
    if (!p) return d;
    char buf[65536];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) d.text.append(buf, n);
    d.status = pclose(p);
    static const std::regex kField(R"re(<field name="([^"]*)"[^>]*?show="([^"]*)")re");
    int frame = 0;
    Msg* cur = nullptr;
    size_t start = 0;
    for (size_t end; (end = d.text.find('\n', start)) != std::string::npos; start = end + 1) {
        const std::string line = d.text.substr(start, end - start);
        std::smatch m;
        if (line.find("<proto name=\"kvrpc\"") != std::string::npos) {
            d.msgs.push_back({frame, {}});
            cur = &d.msgs.back();
        } else if (line.find("</proto>") != std::string::npos && line.find_first_not_of(' ') == line.find("</proto>")) {
            // A kvrpc subtree is closed by the first </proto> at its own depth; nested fields never close protos.
            cur = nullptr;
        } else if (std::regex_search(line, m, kField)) {
            if (m[1] == "frame.number") frame = std::stoi(m[2]);
            else if (cur) cur->fields.emplace(m[1], Unescape(m[2]));
        }
    }
    return d;
}

std::vector<Msg> Where(const std::vector<Msg>& all, const std::string& call, const std::string& type)
{
    std::vector<Msg> out;
    for (const Msg& m : all)
        if (m.Get("kvrpc.call") == call && m.Get("kvrpc.type") == type) out.push_back(m);
    return out;
}

// kvsim on free loopback ports, as its own process, stopped by its quit command.
class CKvsim {
public:
    explicit CKvsim(const std::string& dir)
        : _out(popen((KV_KVSIM " --no-stdin --speed 20 --flow 2 --workdir " + dir + "/sim").c_str(), "r"))
    {
        char line[256];
        while (_out && std::fgets(line, sizeof line, _out))
            if (std::sscanf(line, "KVSIM READY call=%hu events=%hu control=%hu", &call, &events, &control) == 3) break;
    }
    ~CKvsim()
    {
        if (control) Command("quit");
        if (_out) pclose(_out);
    }
    CKvsim(const CKvsim&) = delete;
    CKvsim& operator=(const CKvsim&) = delete;
    // One control command and the first line of its answer.
    std::string Command(const std::string& c) const
    {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET, a.sin_addr.s_addr = htonl(INADDR_LOOPBACK), a.sin_port = htons(control);
        std::string answer;
        if (connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0 && write(fd, (c + "\n").data(), c.size() + 1) > 0)
            for (char ch; read(fd, &ch, 1) == 1 && ch != '\n';) answer += ch;
        close(fd);
        return answer;
    }
    uint16_t call = 0, events = 0, control = 0;

private:
    FILE* _out;
};

// One recorded session: logon of client 5 with calls and both event kinds, a postpay sale
// at pump 1 with its events read, the delivery cleared, a ping, logoff.
struct Recording {
    TempDir dir;
    std::string pcap = dir / "session.pcap";
    long pump = -1, delivery = -1;
    int messages = 0;
    uint16_t callPort = 0, eventsPort = 0;

    Recording()
    {
        kvtest::CClientDir cwd;
        CKvsim sim(dir.Path());
        kvtest::CRecordingRelay relay(pcap, sim.call, sim.events);
        callPort = relay.CallPort(), eventsPort = relay.EventsPort();
        {
            kvtest::Session s(relay, 5, 7);
            EXPECT_EQ(0, s.result);
            EXPECT_EQ(0, GetPumpByNumberMT(s, 1, &pump));
            EXPECT_EQ(0, AuthoriseMT(s, pump));
            EXPECT_EQ("ok lift pump 1 Delivering", sim.Command("lift 1 1"));
            usleep(300 * 1000);
            EXPECT_EQ("ok hang pump 1 Idle", sim.Command("hang 1"));
            EXPECT_TRUE(s.WaitFor(2));   // the delivery event
            short st = 0, hose = 0, rt = 0, level = 0, err = 0;
            long rc = 0, att = 0;
            double v = 0, m = 0, pr = 0;
            EXPECT_EQ(0, GetPumpStatusMT(s, pump, &st, &hose, &delivery, &rc, &rt, &att, nullptr, nullptr, &level,
                                         &v, &m, &pr, &err));
            EXPECT_EQ(0, LockAndClearDeliveryMT(s, delivery, 1));
            EXPECT_EQ(0, TestConnectionMT(s));
        }
        kvtest::WaitUntil([&] { return false; }, 200);   // the logoff's last messages
        relay.Stop();
        messages = relay.Messages();
        if (const char* keep = getenv("KVRPC_KEEP_PCAP"))   // for looking at it by hand
            std::filesystem::copy_file(pcap, keep, std::filesystem::copy_options::overwrite_existing);
    }
};

const Recording& Session()
{
    static Recording r;
    return r;
}

}  // namespace

TEST(Dissector, DecodesALogonAndASaleOfTheLibraryWithKvsim)
{
    const Recording& r = Session();
    const Decode d = Tshark(r.pcap);
    ASSERT_EQ(0, d.status) << d.text.substr(0, 2000);
    EXPECT_EQ(std::string::npos, d.text.find("Lua Error"));
    // Every message relayed is decoded once, although the relay cut them into 61-byte segments.
    ASSERT_GT(r.messages, 30);
    EXPECT_EQ(r.messages, static_cast<int>(d.msgs.size()));
    std::map<int, const Msg*> byFrameSeq;
    for (const Msg& m : d.msgs)
        for (const char* bad : {"kvrpc.malformed", "kvrpc.mismatch", "kvrpc.unknown", "kvrpc.unmatched", "kvrpc.truncated"})
            EXPECT_FALSE(m.Has(bad)) << bad << " in frame " << m.frame;

    // The logon: CONNECT on the events connection and EVENTS on the call connection, then the
    // client calls in order.
    std::vector<std::string> mgmt, client;
    for (const Msg& m : d.msgs) {
        if (m.Get("kvrpc.type") == "management")
            mgmt.push_back(m.Get("kvrpc.management") + " " + m.Get("kvrpc.source") + "," + m.Get("kvrpc.destination"));
        if (m.Get("kvrpc.interface") == "3" && m.Get("kvrpc.type") == "request") {
            std::string c = m.Get("kvrpc.call");
            for (const std::string& v : m.All("kvrpc.arg.value")) c += " " + v;
            client.push_back(c);
        }
    }
    ASSERT_GE(mgmt.size(), 4u);
    // CONNECT and EVENTS go out back to back on two connections: the capture may hold either first.
    std::vector<std::string> first(mgmt.begin(), mgmt.begin() + 2);
    std::sort(first.begin(), first.end());
    EXPECT_EQ((std::vector<std::string>{"1 5,0", "5 5,0"}), first);
    EXPECT_NE(mgmt.end(), std::find(mgmt.begin(), mgmt.end(), "3 5,0"));   // PING from the client
    EXPECT_NE(mgmt.end(), std::find(mgmt.begin(), mgmt.end(), "4 0,5"));   // PONG, arguments swapped
    ASSERT_GE(client.size(), 6u);
    EXPECT_EQ((std::vector<std::string>{"CIClient.Logon 5 POS Client", "CIClient.GetSessionID -1",
                                        "CIClient.RegisterInterface 2", "CIClient.RegisterInterface 1",
                                        "CIClient.SetClientType 3143", "CIClient.GetVersion "}),
              std::vector<std::string>(client.begin(), client.begin() + 6));
    EXPECT_EQ("CIClient.Logoff", client.back());

    // Every request is answered, the reply linked to its request's frame and sequence.
    std::multimap<int, const Msg*> requests;
    int asked = 0;
    for (const Msg& m : d.msgs)
        if (m.Get("kvrpc.type") == "request") requests.emplace(m.frame, &m), ++asked;
    int answered = 0;
    for (const Msg& m : d.msgs) {
        if (m.Get("kvrpc.type") != "reply") continue;
        ++answered;
        const int at = std::atoi(m.Get("kvrpc.request_in").c_str());
        bool linked = false;
        for (auto [it, end] = requests.equal_range(at); it != end; ++it)
            linked |= it->second->Get("kvrpc.call") == m.Get("kvrpc.call") &&
                      it->second->Get("kvrpc.sequence") == m.Get("kvrpc.sequence");
        EXPECT_TRUE(linked) << m.Get("kvrpc.call") << " in frame " << m.frame;
        EXPECT_GT(m.frame, at);
    }
    EXPECT_EQ(asked, answered);

    // The sale: Authorise of the pump, its events, the delivery cleared.
    const auto auth = Where(d.msgs, "CIPump.Authorise", "reply");
    ASSERT_EQ(1u, auth.size());
    EXPECT_EQ(std::to_string(r.pump), auth[0].Get("kvrpc.object"));
    EXPECT_EQ("0", auth[0].Get("kvrpc.result"));
    std::vector<int> pumpSeq;
    for (const Msg& m : d.msgs)
        if (m.Get("kvrpc.interface") == "4" && m.Get("kvrpc.type") == "request") pumpSeq.push_back(std::stoi(m.Get("kvrpc.sequence")));
    ASSERT_GE(pumpSeq.size(), 3u);
    for (size_t k = 1; k < pumpSeq.size(); ++k) EXPECT_EQ(pumpSeq[k - 1] + 1, pumpSeq[k]);
    const auto pumpEvents = Where(d.msgs, "CIEvents.PumpEvent", "one-way");
    ASSERT_FALSE(pumpEvents.empty());
    EXPECT_EQ(std::to_string(r.pump), pumpEvents[0].Get("kvrpc.arg.value"));
    const auto deliveries = Where(d.msgs, "CIEvents.DeliveryEvent", "one-way");
    ASSERT_FALSE(deliveries.empty());
    EXPECT_EQ(std::to_string(r.delivery), deliveries[0].Get("kvrpc.arg.value"));
    const std::regex cur(R"(-?\d+\.\d{4})"), date(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d(\.\d{7})? UTC)");
    const auto values = deliveries[0].All("kvrpc.arg.value");
    EXPECT_TRUE(std::any_of(values.begin(), values.end(), [&](auto& v) { return std::regex_match(v, cur) && v != "0.0000"; }));
    EXPECT_TRUE(std::any_of(values.begin(), values.end(), [&](auto& v) { return std::regex_match(v, date); }));
    const auto clear = Where(d.msgs, "CIDelivery.LockAndClear", "request");
    ASSERT_EQ(1u, clear.size());
    EXPECT_EQ(std::to_string(r.delivery), clear[0].Get("kvrpc.object"));
    EXPECT_EQ((std::vector<std::string>{"5", "1"}), clear[0].All("kvrpc.arg.value"));
    EXPECT_FALSE(Where(d.msgs, "CIDB.LogDelivery", "one-way").empty());
}

TEST(Dissector, ConfiguredPortsDecodeTheSameAsTheHeuristic)
{
    const Recording& r = Session();
    const Decode heur = Tshark(r.pcap);
    const Decode ports = Tshark(r.pcap, "-o kvrpc.heuristic:FALSE -o kvrpc.call_port:" + std::to_string(r.callPort) +
                                            " -o kvrpc.events_port:" + std::to_string(r.eventsPort));
    const Decode none = Tshark(r.pcap, "-o kvrpc.heuristic:FALSE");
    ASSERT_EQ(heur.msgs.size(), ports.msgs.size());
    for (size_t k = 0; k < heur.msgs.size(); ++k)
        EXPECT_EQ(heur.msgs[k].fields, ports.msgs[k].fields) << "message " << k;
    EXPECT_TRUE(none.msgs.empty());
}

TEST(Dissector, FlagsMalformedCutShortAndGarbageDataWithoutALuaError)
{
    TempDir dir;
    const std::string good = dir / "bad.pcap", cut = dir / "cut.pcap";
    {
        kvtest::CPcapWriter w(good);
        auto msg = [](uint8_t fn, uint16_t type, std::vector<uint8_t> data, uint8_t kind = 1) {
            std::vector<uint8_t> b = {kind, 0, 0, fn, 5, 0, 0, 0, 0, 0, 0, 0, 1, 0, uint8_t(type), 0,
                                      1, 0, 0, 0, 0, 0, uint8_t(data.size()), uint8_t(data.size() >> 8)};
            for (uint8_t v : data) b.push_back(v);
            return b;
        };
        const auto connect = msg(1, 0, {});
        kvtest::CPcapFlow a(w, 40001, 41000);
        for (const auto& m : {connect,
                              msg(29, 4, {0x63, 0x00, 0x13}),               // unknown tag 0x63
                              msg(27, 4, {14, 0xF4, 0x01, 'a', 0, 19}),     // string count past the data
                              msg(29, 4, {6, 1, 0, 0, 0, 19}),              // Authorise sends nothing
                              msg(29, 4, {}),                               // no end tag
                              msg(29, 4, {19}, 7)})                         // kind 7: not a message
            a.Send(true, m.data(), m.size(), 1000);
        kvtest::CPcapFlow b(w, 40002, 41000);
        b.Send(true, connect.data(), connect.size());
        const auto big = msg(29, 4, std::vector<uint8_t>(300, 0));
        b.Send(true, big.data(), big.size(), 1000, 40 + 50);                // snapshot cut at 50 bytes
        kvtest::CPcapFlow all(w, 40004, 41000);   // every tag type, sent to Logon (l S)
        const auto values = msg(13, 3, {0, 0xFB, 2, 2, 4, 0xFE, 0xFF, 6, 0x70, 0x11, 1, 0,
                                         8, 0, 0, 0, 0, 0, 0, 0xF8, 0x3F, 10, 0xC3, 0xD8, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                         12, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                         13, 0x00, 0x80, 0x3E, 0xD5, 0xDE, 0xB1, 0x9D, 0x01,
                                         14, 2, 0, 0xE9, 0, 0xAC, 0x20, 16, 3, 0, 1, 2, 3, 18,
                                         20, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                         21, 0, 0, 0, 0, 0, 1, 0, 0, 19});
        all.Send(true, connect.data(), connect.size());
        all.Send(true, values.data(), values.size());
        kvtest::CPcapFlow full(w, 40005, 41000);   // 2048 data bytes: the end tag lies beyond the readable area
        std::vector<uint8_t> block = {16, 0xFC, 0x07};
        block.resize(2047);
        block.push_back(19);
        const auto unreadable = msg(99, 4, block);
        full.Send(true, connect.data(), connect.size());
        full.Send(true, unreadable.data(), unreadable.size(), 1400);
        kvtest::CPcapFlow c(w, 40003, 41000);
        std::vector<uint8_t> noise(997);
        for (size_t k = 0; k < noise.size(); ++k) noise[k] = uint8_t(k * 131 + 7);
        c.Send(true, noise.data(), noise.size(), 200);
    }
    std::string bytes = kvtest::ReadFile(good);
    std::FILE* f = std::fopen(cut.c_str(), "wb");
    std::fwrite(bytes.data(), 1, bytes.size() - 150, f);   // the file ends inside the noise
    std::fclose(f);

    const Decode d = Tshark(good), c = Tshark(cut);
    for (const Decode* x : {&d, &c}) {
        EXPECT_EQ(std::string::npos, x->text.find("Lua Error")) << x->text.substr(0, 3000);
        EXPECT_EQ(std::string::npos, x->text.find("lua_error"));
    }
    std::map<std::string, int> flagged;
    for (const Msg& m : d.msgs)
        for (const char* e : {"kvrpc.malformed", "kvrpc.mismatch", "kvrpc.truncated", "kvrpc.unreadable", "kvrpc.unknown"})
            flagged[e] += m.Has(e);
    EXPECT_EQ(4, flagged["kvrpc.malformed"]);   // unknown tag, long string, no end tag, kind 7
    EXPECT_EQ(2, flagged["kvrpc.mismatch"]);    // Authorise with an l, Logon with every type
    EXPECT_EQ(1, flagged["kvrpc.truncated"]);
    EXPECT_EQ(1, flagged["kvrpc.unreadable"]);
    EXPECT_EQ(1, flagged["kvrpc.unknown"]);     // pump function 99
    ASSERT_EQ(12u, d.msgs.size());   // 4 CONNECT, 7 calls and the bad kind, the cut one; no noise
    const auto logon = Where(d.msgs, "CIClient.Logon", "request");
    ASSERT_EQ(1u, logon.size());
    EXPECT_EQ((std::vector<std::string>{"-5", "true", "-2", "70000", "1.5", "-1.0045", "no date",
                                        "1970-01-01 00:00:00 UTC", "\u00e9\u20ac", "3 bytes", "(not wanted)", "-1",
                                        "1099511627776"}),
              logon[0].All("kvrpc.arg.value"));
    EXPECT_GE(c.msgs.size(), 12u);
}

#else
TEST(Dissector, RunsInThePlainX86_64ConfigurationOnly)
{
    GTEST_SKIP() << "tshark tests run in the plain x86_64 build";
}
#endif
