#include "sim/http.h"

#include <httplib.h>
#include <signal.h>
#include <sys/socket.h>

#include <cstring>

namespace sim {

namespace {

constexpr auto kAnswerWait = std::chrono::seconds(5);   // the simulation answers within a pass
constexpr auto kSnapInterval = std::chrono::milliseconds(150);
constexpr auto kSnapRefresh = std::chrono::seconds(1);
constexpr auto kHeartbeat = std::chrono::seconds(10);
constexpr size_t kBacklog = 200;                         // log lines a new stream starts with

void Fail(httplib::Response& res, int status, const std::string& message)
{
    res.status = status;
    res.set_content("{\"error\":" + JsonString(message) + "}\n", "application/json");
}

std::string Sse(const char* event, uint64_t id, const std::string& data)
{
    std::string s = "event: ";
    s += event;
    if (id)
        s += "\nid: " + std::to_string(id);
    return s + "\ndata: " + data + "\n\n";
}

}  // namespace

const std::string& CConsole::CSnapJson::Json()
{
    std::call_once(once, [this] { json = StateJson(snap); });
    return json;
}

CConsole::CConsole(CSimServer& server) : _server(server), _lastSnap(std::chrono::steady_clock::now()) {}

CConsole::~CConsole() { Stop(); }

bool CConsole::Start(const std::string& address, long port, std::string* error)
{
    _http = std::make_unique<httplib::Server>();
    _http->new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
    _http->set_payload_max_length(64 * 1024);
    _http->set_read_timeout(5, 0);
    // A reader that takes nothing for this long is dropped; the small send buffer (inherited
    // by every connection) makes a stalled reader show as such within seconds.
    _http->set_write_timeout(3, 0);
    _http->set_socket_options([](int fd) {
        httplib::default_socket_options(fd);
        const int size = 64 * 1024;
        setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
    });
    _http->set_keep_alive_timeout(2);
    Routes();
    if (port < 0 || port > 65535) {
        *error = "http port " + std::to_string(port) + " out of range";
        return false;
    }
    if (port == 0)
        _port = _http->bind_to_any_port(address.c_str());
    else if (_http->bind_to_port(address.c_str(), static_cast<int>(port)))
        _port = static_cast<int>(port);
    if (_port <= 0) {
        *error = "cannot listen for HTTP on " + address + ":" + std::to_string(port);
        _port = 0;
        return false;
    }
    _server.watcher = this;
    // The server's threads leave SIGINT and SIGTERM to the simulation thread.
    sigset_t block, old;
    sigemptyset(&block);
    sigaddset(&block, SIGINT);
    sigaddset(&block, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &block, &old);
    _thread = std::thread([this] { _http->listen_after_bind(); });
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    return true;
}

void CConsole::Stop()
{
    {
        std::lock_guard<std::mutex> lock(_mx);
        if (_stopping)
            return;
        _stopping = true;
        for (auto& c : _commands)
            c->done = true;   // empty reply: the simulation is going
        _commands.clear();
    }
    _cv.notify_all();
    _server.watcher = nullptr;
    if (_http)
        _http->stop();
    if (_thread.joinable())
        _thread.join();
}

void CConsole::Sent(const CSimEvent& e, const std::vector<long>& to)
{
    std::lock_guard<std::mutex> lock(_mx);
    _dirty = true;
    ++_seq;
    _log.emplace_back(_seq, EventJson(_server, e, to, _seq));
    if (_log.size() > kLogLines)
        _log.pop_front();
    _cv.notify_all();
}

void CConsole::Tick()
{
    std::deque<std::shared_ptr<CPending>> commands;
    bool snap;
    const auto now = std::chrono::steady_clock::now();
    {
        std::lock_guard<std::mutex> lock(_mx);
        commands.swap(_commands);
        snap = _snapWanted || !commands.empty() ||
               (_streams > 0 && ((_dirty && now - _lastSnap >= kSnapInterval) || now - _lastSnap >= kSnapRefresh));
    }
    for (auto& c : commands) {
        std::string reply = _server.Command(c->line);
        std::lock_guard<std::mutex> lock(_mx);
        c->reply.swap(reply);
        c->done = true;
    }
    if (!snap) {
        if (!commands.empty())
            _cv.notify_all();
        return;
    }
    auto fresh = std::make_shared<CSnapJson>();
    fresh->snap = TakeSnapshot(_server);
    {
        std::lock_guard<std::mutex> lock(_mx);
        fresh->snap.generation = ++_generation;
        _snap = std::move(fresh);
        _snapWanted = false;
        _dirty = false;
        _lastSnap = now;
    }
    _cv.notify_all();
}

std::shared_ptr<CConsole::CSnapJson> CConsole::FreshSnapshot()
{
    std::unique_lock<std::mutex> lock(_mx);
    const uint64_t after = _generation;
    _snapWanted = true;
    if (!_cv.wait_for(lock, kAnswerWait, [&] { return _stopping || _generation > after; }) || _stopping)
        return nullptr;
    return _snap;
}

bool CConsole::StreamPass(httplib::DataSink& sink, uint64_t& cursor, uint64_t& generation, bool first)
{
    std::string out;
    std::shared_ptr<CSnapJson> snap;
    {
        std::unique_lock<std::mutex> lock(_mx);
        if (!first)
            _cv.wait_for(lock, kHeartbeat, [&] {
                return _stopping || (!_log.empty() && _log.back().first > cursor) || _generation > generation;
            });
        if (_stopping)
            return false;
        if (!_log.empty()) {
            const uint64_t oldest = _log.front().first;
            if (cursor + 1 < oldest) {
                // Fell behind: say how much was skipped rather than hold anyone up.
                out += Sse("gap", 0, "{\"skipped\":" + std::to_string(oldest - cursor - 1) + "}");
                cursor = oldest - 1;
            }
            for (auto it = _log.begin() + static_cast<long>(cursor + 1 - oldest); it != _log.end(); ++it)
                out += Sse("log", it->first, it->second);
            cursor = _log.back().first;
        }
        if (_generation > generation && _snap) {
            snap = _snap;
            generation = _generation;
        }
    }
    if (snap)
        out += Sse("state", 0, snap->Json());
    if (out.empty())
        out = ": idle\n\n";
    return sink.is_writable() && sink.write(out.data(), out.size());
}

void CConsole::Routes()
{
    httplib::Server& h = *_http;
    for (size_t i = 0; i < kWebFileCount; ++i) {
        const CWebFile& f = kWebFiles[i];
        auto serve = [&f](const httplib::Request&, httplib::Response& res) {
            res.set_content(reinterpret_cast<const char*>(f.data), f.size, f.type);
            res.set_header("Cache-Control", "no-cache");
        };
        h.Get(f.path, serve);
        if (std::strcmp(f.path, "/index.html") == 0)
            h.Get("/", serve);
    }
    h.Get("/api/state", [this](const httplib::Request&, httplib::Response& res) {
        std::shared_ptr<CSnapJson> snap = FreshSnapshot();
        if (!snap)
            return Fail(res, 503, "the simulation did not answer");
        res.set_content(snap->Json(), "application/json");
        res.set_header("Cache-Control", "no-store");
    });
    h.Post("/api/command", [this](const httplib::Request& req, httplib::Response& res) {
        std::string line = req.body;
        while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
            line.pop_back();
        if (line.find_first_not_of(" \t") == std::string::npos)
            return Fail(res, 400, "the body must be one command line, e.g. lift 1 1");
        if (line.size() > CControl::kMaxLine)
            return Fail(res, 413, "a command line has at most " + std::to_string(CControl::kMaxLine) + " characters");
        if (line.find_first_of("\r\n") != std::string::npos || line.find('\0') != std::string::npos)
            return Fail(res, 400, "one command line per request");
        auto pending = std::make_shared<CPending>();
        pending->line = line;
        std::unique_lock<std::mutex> lock(_mx);
        if (_stopping)
            return Fail(res, 503, "kvsim is stopping");
        _commands.push_back(pending);
        if (!_cv.wait_for(lock, kAnswerWait, [&] { return pending->done; }))
            return Fail(res, 503, "the simulation did not answer");
        if (pending->reply.empty())
            return _stopping ? Fail(res, 503, "kvsim is stopping") : Fail(res, 400, "a comment does nothing");
        const bool ok = pending->reply.compare(0, 2, "ok") == 0;
        res.status = ok ? 200 : 422;
        res.set_content("{\"ok\":" + std::string(ok ? "true" : "false") + ",\"reply\":" +
                            JsonString(pending->reply) + "}\n",
                        "application/json");
    });
    h.Get("/api/stream", [this](const httplib::Request& req, httplib::Response& res) {
        uint64_t cursor = 0;
        {
            std::lock_guard<std::mutex> lock(_mx);
            if (_streams >= kMaxStreams)
                return Fail(res, 503, "too many streams open");
            ++_streams;
            _snapWanted = true;   // the new reader starts with the whole picture
            cursor = _seq > kBacklog ? _seq - kBacklog : 0;
            const std::string last = req.get_header_value("Last-Event-ID");
            char* end = nullptr;
            const unsigned long long id = std::strtoull(last.c_str(), &end, 10);
            if (!last.empty() && !*end && id <= _seq)
                cursor = id;
        }
        res.set_header("Cache-Control", "no-store");
        auto state = std::make_shared<std::pair<uint64_t, uint64_t>>(cursor, 0);
        res.set_chunked_content_provider(
            "text/event-stream",
            [this, state](size_t offset, httplib::DataSink& sink) {
                return StreamPass(sink, state->first, state->second, offset == 0);
            },
            [this](bool) {
                std::lock_guard<std::mutex> lock(_mx);
                --_streams;
            });
    });
    for (const char* path : {"/api/state", "/api/stream"})
        h.Post(path, [](const httplib::Request&, httplib::Response& res) { Fail(res, 405, "use GET"); });
    h.Get("/api/command", [](const httplib::Request&, httplib::Response& res) {
        Fail(res, 405, "POST a command line");
    });
    h.set_error_handler([](const httplib::Request& req, httplib::Response& res) {
        if (res.body.empty())
            Fail(res, res.status, "no " + req.method + " " + req.path);
    });
    h.set_exception_handler([](const httplib::Request&, httplib::Response& res, std::exception_ptr) {
        Fail(res, 500, "internal error");
    });
}

}  // namespace sim
