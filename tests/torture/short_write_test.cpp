// Faults that only a failing system call brings out, each made to happen once through the
// wrapped calls of kvtorture.
#include <poll.h>
#include <sys/socket.h>

#include "rpc/net_fixture.h"
#include "torture/faults.h"

using namespace kvtest;

namespace {

// Everything the peer receives until the connection ends or stays quiet for `ms`.
size_t Received(int fd, int ms = 300) {
    size_t total = 0;
    char buf[256];
    for (pollfd p{fd, POLLIN, 0}; poll(&p, 1, ms) > 0;) {
        const ssize_t n = recv(fd, buf, sizeof buf, 0);
        if (n <= 0) break;
        total += static_cast<size_t>(n);
    }
    return total;
}

}  // namespace

// A message the system takes only in part: its rest can no longer follow its start, so the
// connection must not carry the next message, which the peer would read as that rest.
TEST(ShortWrite, EndsTheConnection) {
    constexpr unsigned kShortSend = 4;   // the way send fails short
    for (bool queued : {false, true}) {
        TempDir dir;
        RecordingClient process{dir / "trace", 0, 0};
        int fds[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
        CSocket s(&process, fds[0], nullptr, queued);
        TIMsg msg{};
        msg.h = Header(5, 0, 7, 0, 3);
        torture::Plan(1, kShortSend);
        torture::Arm(true);
        const int first = s.Send(&msg);
        torture::Arm(false);
        s.Send(&msg);
        EXPECT_EQ(std::make_tuple(first, Received(fds[1]), s.IsOpen()),
                  std::make_tuple(int{SHORT_WRITE_RESULT}, size_t{kMsgHeaderSize / 2}, false))
            << (queued ? "queued" : "direct");
        close(fds[1]);
    }
}
