// The web console: an HTTP server on threads of its own serving the page, the forecourt as
// JSON, a stream of its events and the control commands. Its threads never touch the
// forecourt: the simulation thread hands them copies (Tick) and runs their commands through
// the control channel's handler, so a slow or vanished browser never holds the simulation up.
#pragma once
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "sim/server.h"
#include "sim/state_json.h"

namespace httplib {
class Server;
class DataSink;
}

namespace sim {

// The page's files, compiled in from sim/web/.
struct CWebFile {
    const char* path;
    const char* type;
    const unsigned char* data;
    size_t size;
};
extern const CWebFile kWebFiles[];
extern const size_t kWebFileCount;

class CConsole : public CEmitWatcher {
public:
    explicit CConsole(CSimServer& server);
    ~CConsole() override;
    CConsole(const CConsole&) = delete;
    CConsole& operator=(const CConsole&) = delete;

    // Listens on address:port (0: a free port) and starts serving; false with a reason.
    bool Start(const std::string& address, long port, std::string* error);
    int Port() const { return _port; }
    void Stop();

    // Simulation thread, once per pass: runs the queued commands and publishes a snapshot
    // when one is asked for or, while streams are open, when the forecourt changed.
    void Tick();
    // Simulation thread: an event went out.
    void Sent(const CSimEvent& e, const std::vector<long>& to) override;

    static constexpr size_t kLogLines = 2000;     // event lines kept for late or slow readers
    static constexpr int kMaxStreams = 12;
    static constexpr int kThreads = 16;

private:
    struct CPending {
        std::string line, reply;
        bool done = false;
    };
    struct CSnapJson {
        CSnapshot snap;
        std::once_flag once;
        std::string json;
        const std::string& Json();
    };
    void Routes();
    // Waits for a snapshot taken after the call; null when the simulation does not answer.
    std::shared_ptr<CSnapJson> FreshSnapshot();
    // One pass of an event stream: what is new since the reader's cursor. False ends it.
    bool StreamPass(httplib::DataSink& sink, uint64_t& cursor, uint64_t& generation, bool first);

    CSimServer& _server;
    std::unique_ptr<httplib::Server> _http;
    std::thread _thread;
    int _port = 0;

    std::mutex _mx;                   // guards everything below; held for copies only
    std::condition_variable _cv;
    bool _stopping = false;
    std::deque<std::shared_ptr<CPending>> _commands;
    std::shared_ptr<CSnapJson> _snap;
    uint64_t _generation = 0;
    bool _snapWanted = false;
    bool _dirty = true;
    std::chrono::steady_clock::time_point _lastSnap;
    int _streams = 0;
    std::deque<std::pair<uint64_t, std::string>> _log;
    uint64_t _seq = 0;
};

}  // namespace sim
