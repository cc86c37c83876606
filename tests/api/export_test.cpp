// The shared library exports exactly the functions of the public header, unmangled.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>

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
