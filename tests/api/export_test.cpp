// The shared library exports exactly the functions of the public header, unmangled.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <future>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "api/frame.h"

namespace {

std::set<std::string> Declared() {
    std::ifstream in(KV_SOURCE_DIR "/include/kvclient.h");
    const std::regex function(R"(^KV_API [^(]*?\b([A-Za-z_]\w*)\()");
    std::set<std::string> names;
    std::smatch m;
    for (std::string line; std::getline(in, line);)
        if (std::regex_search(line, m, function)) names.insert(m[1]);
    return names;
}

std::set<std::string> Exported(const std::string& library) {
    std::set<std::string> names;
    FILE* p = popen(("nm -D --defined-only " + library).c_str(), "r");
    if (!p) return names;
    char buf[1024];
    while (std::fgets(buf, sizeof buf, p)) {
        std::istringstream fields(buf);
        std::string address, kind, name;
        if (fields >> address >> kind >> name) names.insert(name.substr(0, name.find('@')));
    }
    pclose(p);
    return names;
}

}  // namespace

TEST(KvClientExports, ExactlyTheHeaderFunctions) {
    const auto declared = Declared();
    ASSERT_GT(declared.size(), 500u);
    const auto exported = Exported(KV_BINARY_DIR "/lib/libkvclient.so");
    for (const std::string& name : exported) {
        EXPECT_NE(name.rfind("_Z", 0), 0u) << "mangled symbol exported: " << name;
        EXPECT_TRUE(declared.count(name)) << "exported but not in the header: " << name;
    }
    for (const std::string& name : declared) EXPECT_TRUE(exported.count(name)) << name << " missing";
}

// Every operation exists twice, except the three short forms and the library entry.
TEST(KvClientExports, EveryOperationHasItsSessionForm) {
    const std::set<std::string> single = {"DllMain", "ExtAuthoriseVFP", "GetPumpDeliveryPropertiesVFP",
                                          "GetDeliverySummaryVFP"};
    const auto declared = Declared();
    std::set<std::string> unpaired;
    for (const std::string& name : declared) {
        const bool mt = name.size() > 2 && name.compare(name.size() - 2, 2, "MT") == 0;
        if (!mt && !single.count(name) && !declared.count(name + "MT")) unpaired.insert(name);
        if (mt && !declared.count(name.substr(0, name.size() - 2))) unpaired.insert(name);
    }
    EXPECT_EQ(unpaired, std::set<std::string>{});
    for (const std::string& name : single) EXPECT_TRUE(declared.count(name) && !declared.count(name + "MT")) << name;
}

// The MT forms that the header says take the library lock are those that wait for it.
TEST(KvClientExports, HeaderNamesTheSessionFormsThatLock) {
    std::ifstream in(KV_SOURCE_DIR "/include/kvclient.h");
    std::string head;
    for (std::string line; std::getline(in, line) && line.find("*/") == std::string::npos;) head += line + " ";
    const std::regex except(R"(takes no lock, except (.*?): callers)");
    std::smatch m;
    ASSERT_TRUE(std::regex_search(head, m, except)) << head;
    std::set<std::string> named;
    const std::string list = m[1];
    const std::regex mt(R"(\b\w+MT\b)");
    for (std::sregex_iterator i(list.begin(), list.end(), mt), end; i != end; ++i)
        named.insert(i->str());

    DllMain(nullptr, 1, nullptr);
    pthread_mutex_t* held = EnterCS();
    CKVCLProcess* none = nullptr;
    const std::pair<const char*, std::function<long()>> forms[] = {
        {"ClientLogonMT", [&] { return ClientLogonMT(nullptr, 1, 1, nullptr, nullptr, 0); }},
        {"ClientLogonExMT", [&] { return ClientLogonExMT(nullptr, 1, 1, "", 1, 1, 10, nullptr, nullptr, 0); }},
        {"ClientLogoffMT", [&] { return ClientLogoffMT(&none); }},
        {"CheckForManagementFtnMT", [&] { return CheckForManagementFtnMT(&none); }},
        {"GetClientsCountMT", [&] { return GetClientsCountMT(nullptr, nullptr); }},
    };
    std::set<std::string> waited;
    for (const auto& [name, call] : forms) {
        auto done = std::async(std::launch::async, call);
        if (done.wait_for(std::chrono::seconds(1)) == std::future_status::timeout) {
            waited.insert(name);
            LeaveCS(held);
            done.wait();
            held = EnterCS();
        }
    }
    LeaveCS(held);
    DllMain(nullptr, 2, nullptr);
    EXPECT_EQ(named, waited);
}
