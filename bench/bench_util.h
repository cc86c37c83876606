// Pieces shared by the benchmark programs: a private working directory, a raw blocking TCP
// ping-pong to compare the framework with, and a reporter that prints such comparisons.
#pragma once
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

namespace kvbench {

// A fresh temporary directory made the working one, with Log/ for the session logs; left
// and removed at the end.
class CWorkDir {
public:
    CWorkDir()
    {
        char pattern[] = "/tmp/kvbenchXXXXXX";
        if (const char* p = mkdtemp(pattern)) {
            _path = p;
            char old[4096];
            _old = getcwd(old, sizeof old) ? old : "/tmp";
            _ok = chdir(p) == 0 && mkdir("Log", 0755) == 0;
        }
    }
    ~CWorkDir()
    {
        if (!_old.empty() && chdir(_old.c_str()) != 0)
            std::perror("chdir");
        std::error_code ec;
        std::filesystem::remove_all(_path, ec);
    }
    CWorkDir(const CWorkDir&) = delete;
    CWorkDir& operator=(const CWorkDir&) = delete;
    bool Ok() const { return _ok; }

private:
    std::string _path, _old;
    bool _ok = false;
};

// Blocks until n bytes have arrived; false when the peer closed or failed first.
inline bool ReadFull(int fd, void* to, size_t n)
{
    char* p = static_cast<char*>(to);
    while (n > 0) {
        const ssize_t r = recv(fd, p, n, 0);
        if (r <= 0)
            return false;
        p += r;
        n -= static_cast<size_t>(r);
    }
    return true;
}

// The floor for a request and its reply: a blocking loopback TCP connection, one send and
// one full read on each side. The answering thread reads a whole request and sends the
// fixed reply, until the connection closes.
class CRawPingPong {
public:
    CRawPingPong(const void* request, size_t requestSize, const void* reply, size_t replySize)
        : _request(static_cast<const char*>(request), static_cast<const char*>(request) + requestSize),
          _reply(static_cast<const char*>(reply), static_cast<const char*>(reply) + replySize), _in(replySize)
    {
        _listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof addr;
        if (_listener < 0 || bind(_listener, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
            listen(_listener, 1) != 0 || getsockname(_listener, reinterpret_cast<sockaddr*>(&addr), &len) != 0)
            return;
        _answer = std::thread([this] {
            const int fd = accept(_listener, nullptr, nullptr);
            std::vector<char> in(_request.size());
            while (fd >= 0 && ReadFull(fd, in.data(), in.size()) &&
                   send(fd, _reply.data(), _reply.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(_reply.size())) {
            }
            if (fd >= 0)
                close(fd);
        });
        _fd = socket(AF_INET, SOCK_STREAM, 0);
        if (_fd >= 0 && connect(_fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
            close(_fd);
            _fd = -1;
        }
    }
    ~CRawPingPong()
    {
        if (_fd >= 0)
            close(_fd);                         // the answering side reads the end and stops
        else if (_listener >= 0)
            shutdown(_listener, SHUT_RDWR);     // no connection came: wakes its accept
        if (_answer.joinable())
            _answer.join();
        if (_listener >= 0)
            close(_listener);
    }
    CRawPingPong(const CRawPingPong&) = delete;
    CRawPingPong& operator=(const CRawPingPong&) = delete;

    bool Ok() const { return _fd >= 0; }
    bool RoundTrip()
    {
        return send(_fd, _request.data(), _request.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(_request.size()) &&
               ReadFull(_fd, _in.data(), _in.size());
    }
    // The last reply read is the one the answering side sends.
    bool ReplyIntact() const { return _in == _reply; }

private:
    std::vector<char> _request, _reply, _in;
    int _listener = -1;
    int _fd = -1;
    std::thread _answer;
};

// The benchmark loop over a ping-pong: one round trip per iteration.
inline void RoundTrips(benchmark::State& st, CRawPingPong& raw)
{
    if (!raw.Ok()) {
        st.SkipWithError("no connection");
        return;
    }
    for (auto _ : st) {
        if (!raw.RoundTrip()) {
            st.SkipWithError("ping-pong broken");
            return;
        }
    }
    st.counters["round trips/s"] = benchmark::Counter(static_cast<double>(st.iterations()), benchmark::Counter::kIsRate);
}

// Prints the table as usual and, at the end, each framework benchmark against its raw
// floor: round trips per second of both, their ratio, and the ratio of the CPU times.
class CRatioReporter : public benchmark::ConsoleReporter {
public:
    struct Pair {
        const char* framework;
        const char* raw;
    };
    CRatioReporter(std::initializer_list<Pair> pairs) : _pairs(pairs) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        // With repetitions the median stands for the benchmark, else its one run.
        for (const Run& r : runs) {
            if (r.error_occurred)
                continue;
            // Benchmarks with arguments are named "function/arguments", without only "function".
            std::string name = r.run_name.function_name;
            if (!r.run_name.args.empty())
                name += "/" + r.run_name.args;
            const bool median = r.run_type == Run::RT_Aggregate && r.aggregate_name == "median";
            if (median || (r.run_type == Run::RT_Iteration && !_median.count(name)))
                _ns[name] = {r.GetAdjustedRealTime(), r.GetAdjustedCPUTime()};
            if (median)
                _median.insert(name);
        }
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        for (const Pair& p : _pairs) {
            auto f = _ns.find(p.framework);
            auto r = _ns.find(p.raw);
            if (f == _ns.end() || r == _ns.end() || f->second.real <= 0 || f->second.cpu <= 0)
                continue;
            const Times& a = f->second;
            const Times& b = r->second;
            std::printf("%s %.0f/s (%.0f ns), %s %.0f/s (%.0f ns): calls/s over raw %.3f; process CPU time per "
                        "round trip %.0f ns over %.0f ns, %.2f\n",
                        p.framework, 1e9 / a.real, a.real, p.raw, 1e9 / b.real, b.real, b.real / a.real, a.cpu, b.cpu,
                        a.cpu / b.cpu);
        }
    }

private:
    struct Times {
        double real, cpu;
    };
    std::vector<Pair> _pairs;
    std::map<std::string, Times> _ns;
    std::set<std::string> _median;
};

}  // namespace kvbench
