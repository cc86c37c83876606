// The proxies' tables: docs/protocol.md against the tables that the code is built from, in
// both directions; each proxy class against a scripted peer, addressing its own interface;
// and the client interface's rows that are never sent again after a reconnect. (What a row
// sends follows from its table entry; the packing is the transport's, tested there.)
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>
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

struct DocRow {
    std::string where;   // "CIPump 17 GetStatus (line 123)"
    std::string module, name, header, wire;
    unsigned notes = 0;
};

using Key = std::pair<int, int>;   // interface type (0: common), function id

std::string Trim(const std::string& s)
{
    const auto a = s.find_first_not_of(' ');
    return a == std::string::npos ? "" : s.substr(a, s.find_last_not_of(' ') - a + 1);
}

// "l*×2 S" -> "l* l* S"; "—" -> "".
std::string Expand(const std::string& sent)
{
    std::istringstream in(sent);
    std::string token, out;
    while (in >> token) {
        if (token == "—")
            continue;
        int n = 1;
        const auto times = token.find("×");
        if (times != std::string::npos) {
            n = std::stoi(token.substr(times + std::string("×").size()));
            token.resize(times);
        }
        while (n-- > 0)
            out += (out.empty() ? "" : " ") + token;
    }
    return out;
}

// The rows of every interface section, keyed by (interface, id); format faults go to errors.
std::map<Key, DocRow> Parse(const std::string& text, std::vector<std::string>& errors)
{
    static const std::regex heading("## (\\S+) — interface (\\d+), module (\\w+)");
    static const std::regex common("## Common methods — every interface, module (\\w+)");
    static const std::map<std::string, unsigned> noteBits{
        {"one-way", NOTE_ONEWAY}, {"no ID guard", NOTE_NOGUARD}, {"quiet", NOTE_QUIET}, {"flag-skip", NOTE_FLAGSKIP}};
    std::map<Key, DocRow> rows;
    std::istringstream in(text);
    std::string line, cls, module;
    int iface = -1;
    for (int number = 1; std::getline(in, line); ++number) {
        std::smatch m;
        if (std::regex_match(line, m, heading)) {
            cls = m[1], iface = std::stoi(m[2]), module = m[3];
        } else if (std::regex_match(line, m, common)) {
            cls = "common", iface = 0, module = m[1];
        } else if (line.rfind("## ", 0) == 0) {
            iface = -1;
        }
        if (iface < 0 || line.rfind("|", 0) != 0)
            continue;
        std::vector<std::string> cells;
        std::istringstream cellIn(line.substr(1));
        for (std::string c; std::getline(cellIn, c, '|');)
            cells.push_back(Trim(c));
        if (cells.size() != 6) {
            errors.push_back("line " + std::to_string(number) + ": not 6 columns");
            continue;
        }
        if (cells[0] == "id" || cells[0].rfind("---", 0) == 0)
            continue;
        DocRow r{cls + " " + cells[0] + " " + cells[1] + " (line " + std::to_string(number) + ")", module, cells[1],
                 cells[2], Expand(cells[3])};
        std::istringstream notes(cells[4]);
        for (std::string n; std::getline(notes, n, ',');) {
            const auto bit = noteBits.find(Trim(n));
            if (bit == noteBits.end())
                errors.push_back(r.where + ": unknown note '" + Trim(n) + "'");
            else
                r.notes |= bit->second;
        }
        if (!rows.emplace(Key{iface, std::stoi(cells[0])}, r).second)
            errors.push_back(r.where + ": id given twice");
    }
    return rows;
}

// Every difference between the document's rows and the registry, one line per row.
std::vector<std::string> Compare(const std::string& text)
{
    std::vector<std::string> errors;
    std::map<Key, DocRow> doc = Parse(text, errors);
    for (const KvInterfaceRows& i : kInterfaceRows) {
        for (std::size_t k = 0; k < i.count; ++k) {
            const MethodInfo& info = *i.methods[k];
            const auto found = doc.find(Key{i.type, info.id});
            if (found == doc.end()) {
                errors.push_back(std::string(i.className) + " " + std::to_string(info.id) + " " + info.name +
                                 ": not in the document");
                continue;
            }
            const DocRow& r = found->second;
            static const char* const kHdr[] = {"object", "-1", "-1 (Set row)"};
            const bool setRow = r.name == "Set" || r.name == "SetEx";
            const std::string header = r.header == "-1" && setRow ? "-1 (Set row)" : r.header;
            if (r.name != info.name)
                errors.push_back(r.where + ": the code calls it " + info.name);
            if (r.module != info.module)
                errors.push_back(r.where + ": module " + r.module + ", the code's " + info.module);
            if (header != kHdr[static_cast<int>(info.hdr)])
                errors.push_back(r.where + ": header " + header + ", the code's " + kHdr[static_cast<int>(info.hdr)]);
            if (r.wire != info.wire)
                errors.push_back(r.where + ": sends '" + r.wire + "', the code '" + info.wire + "'");
            if (r.notes != info.notes)
                errors.push_back(r.where + ": notes " + std::to_string(r.notes) + ", the code's " + std::to_string(info.notes));
            doc.erase(found);
        }
    }
    for (const auto& [key, r] : doc)
        errors.push_back(r.where + ": not in the code");
    return errors;
}

std::string Joined(const std::vector<std::string>& lines)
{
    std::string all;
    for (const auto& l : lines)
        all += l + "\n";
    return all;
}

}  // namespace

TEST(ProtocolDoc, MatchesTheTablesBothWays)
{
    const std::string text = kvtest::ReadFile(KV_SOURCE_DIR "/docs/protocol.md");
    ASSERT_NE(std::string::npos, text.find("## CIPump — interface 4, module IPump"));
    std::vector<std::string> errors;
    std::size_t codeRows = 0;
    for (const KvInterfaceRows& i : kInterfaceRows)
        codeRows += i.count;
    EXPECT_EQ(codeRows, Parse(text, errors).size());
    EXPECT_EQ(18u, std::size(kInterfaceRows));
    const auto diff = Compare(text);
    EXPECT_TRUE(diff.empty()) << Joined(diff);
}

// The check itself: a drifted copy of the document must be caught, naming the row.
TEST(ProtocolDoc, NamesTheRowThatDrifts)
{
    const std::string text = kvtest::ReadFile(KV_SOURCE_DIR "/docs/protocol.md");
    const struct {
        const char* from;
        const char* to;
        const char* expected;
    } drifts[] = {
        {"| 17 | GetStatus | object | s*×2 l*×2", "| 17 | GetStatus | object | s*×3 l*×1", "CIPump 17 GetStatus (line"},
        {"| 18 | LogRawStatus | object | s×3 | no ID guard, quiet |", "| 18 | LogRawStatus | object | s×3 | no ID guard |",
         "CISensor 18 LogRawStatus (line"},
        {"| 14 | Set | -1 | l×2 S×5 s×5 |", "| 14 | Set | object | l×2 S×5 s×5 |", "CIAttendant 14 Set (line"},
        {"| 34 | GetIDByOrdinalFiletered |", "| 34 | GetIDByOrdinalFiltered |", "CIDelivery 34 GetIDByOrdinalFiltered"},
        {"| 3 | New | -1 | S l l |", "| 3 | New | -1 | l l S |", "common 3 New"},
        {"| 20 | AttendantLogoff | -1 | l | one-way | project: one-way |\n", "", "CIDB 20 AttendantLogoff: not in the document"},
        {"| 47 | WDReset | object | — |  |  |", "| 48 | WDReset | object | — |  |  |", "CIClient 48 WDReset (line"},
        {"## CITank — interface 7", "## CITank — interface 17", "CITank 13 Get: not in the document"},
    };
    for (const auto& d : drifts) {
        std::string copy = text;
        const auto at = copy.find(d.from);
        ASSERT_NE(std::string::npos, at) << d.from;
        copy.replace(at, std::string(d.from).size(), d.to);
        const std::string diff = Joined(Compare(copy));
        EXPECT_NE(std::string::npos, diff.find(d.expected)) << d.expected << "\n" << diff;
    }
}

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
