#include "sim/control.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace sim {

namespace {

bool NonBlocking(int fd)
{
    const int flags = fcntl(fd, F_GETFL, 0);
    return flags >= 0 && fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0;
}

bool Readable(int fd)
{
    pollfd p{fd, POLLIN, 0};
    return poll(&p, 1, 0) > 0 && (p.revents & (POLLIN | POLLHUP | POLLERR));
}

}  // namespace

CControl::~CControl() { Close(); }

void CControl::Close()
{
    for (Conn& c : _conns)
        close(c.fd);
    _conns.clear();
    if (_listen >= 0)
        close(_listen);
    _listen = -1;
}

bool CControl::Listen(unsigned short port, std::string* error)
{
    _listen = socket(AF_INET, SOCK_STREAM, 0);
    if (_listen < 0) {
        *error = std::string("control socket: ") + std::strerror(errno);
        return false;
    }
    const int yes = 1;
    setsockopt(_listen, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof a;
    if (bind(_listen, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 || listen(_listen, 16) != 0 ||
        !NonBlocking(_listen) || getsockname(_listen, reinterpret_cast<sockaddr*>(&a), &len) != 0) {
        *error = "control port " + std::to_string(port) + ": " + std::strerror(errno);
        close(_listen);
        _listen = -1;
        return false;
    }
    _port = ntohs(a.sin_port);
    return true;
}

void CControl::UseStdin(bool on)
{
    _stdin = on;
    if (on)
        NonBlocking(STDIN_FILENO);
}

bool CControl::TakeLines(std::string& buf, std::vector<std::string>& lines)
{
    size_t start = 0;
    for (size_t nl; (nl = buf.find('\n', start)) != std::string::npos; start = nl + 1) {
        if (nl - start > kMaxLine)
            return false;
        std::string line = buf.substr(start, nl - start);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
    }
    buf.erase(0, start);
    return buf.size() <= kMaxLine;
}

// Writes what it can; a peer that reads nothing for long only loses its own replies.
bool CControl::Flush(Conn& c)
{
    while (!c.out.empty()) {
        const ssize_t n = send(c.fd, c.out.data(), c.out.size(), MSG_NOSIGNAL);
        if (n > 0) {
            c.out.erase(0, static_cast<size_t>(n));
            continue;
        }
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
            return c.out.size() <= 65536;
        return false;
    }
    return true;
}

void CControl::Poll(const Handler& handler)
{
    char buf[4096];
    if (_stdin && Readable(STDIN_FILENO)) {
        const ssize_t n = read(STDIN_FILENO, buf, sizeof buf);
        if (n > 0) {
            _stdinBuf.append(buf, static_cast<size_t>(n));
            std::vector<std::string> lines;
            if (!TakeLines(_stdinBuf, lines))
                _stdinBuf.clear();
            for (const std::string& line : lines) {
                const std::string reply = handler(line);
                std::fwrite(reply.data(), 1, reply.size(), stdout);
                std::fflush(stdout);
            }
        } else if (n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
            _stdin = false;   // end of input: the control port and signals remain
        }
    }
    if (_listen >= 0)
        for (int i = 0; i < 16; ++i) {
            const int fd = accept(_listen, nullptr, nullptr);
            if (fd < 0)
                break;
            if (!NonBlocking(fd) || _conns.size() >= 32) {
                close(fd);
                continue;
            }
            _conns.push_back(Conn{fd, {}, {}});
        }
    for (size_t i = 0; i < _conns.size();) {
        Conn& c = _conns[i];
        bool keep = true;
        if (Readable(c.fd)) {
            const ssize_t n = recv(c.fd, buf, sizeof buf, 0);
            if (n > 0) {
                c.in.append(buf, static_cast<size_t>(n));
                std::vector<std::string> lines;
                keep = TakeLines(c.in, lines);
                for (const std::string& line : lines)
                    c.out += handler(line);
            } else if (n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
                keep = false;
            }
        }
        if (keep)
            keep = Flush(c);
        if (!keep) {
            close(c.fd);
            _conns.erase(_conns.begin() + static_cast<long>(i));
        } else {
            ++i;
        }
    }
}

}  // namespace sim
