// The control channel: command lines from standard input and from TCP connections to a
// loopback-only port. Lines are handed to a handler whose reply goes back where the line
// came from. Never blocks: Poll takes what has arrived and returns.
#pragma once
#include <functional>
#include <string>
#include <vector>

namespace sim {

class CControl {
public:
    CControl() = default;
    ~CControl();
    CControl(const CControl&) = delete;
    CControl& operator=(const CControl&) = delete;

    // Listens on 127.0.0.1 at port (0: a free one).
    bool Listen(unsigned short port, std::string* error);
    unsigned short Port() const { return _port; }
    void UseStdin(bool on);
    using Handler = std::function<std::string(const std::string&)>;
    void Poll(const Handler& handler);
    int Connections() const { return static_cast<int>(_conns.size()); }
    void Close();

    static constexpr size_t kMaxLine = 1024;   // a longer line ends its connection

private:
    struct Conn {
        int fd;
        std::string in;
        std::string out;
    };
    // Splits complete lines off buf; false when a line is too long.
    static bool TakeLines(std::string& buf, std::vector<std::string>& lines);
    static bool Flush(Conn& c);

    int _listen = -1;
    unsigned short _port = 0;
    bool _stdin = false;
    std::string _stdinBuf;
    std::vector<Conn> _conns;
};

}  // namespace sim
