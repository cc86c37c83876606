// Carving a fuzz input into fields, and writing a byte stream in fragments.
#pragma once
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

namespace kvfuzz {

// Hands out the input from the front; past its end every field reads as 0.
class CInput {
public:
    CInput(const uint8_t* data, size_t size) : _p(data), _left(size) {}
    uint8_t Byte()
    {
        if (!_left)
            return 0;
        --_left;
        return *_p++;
    }
    // Up to n bytes; returns how many there were.
    int Take(const uint8_t*& out, int n)
    {
        const size_t k = static_cast<size_t>(n) < _left ? static_cast<size_t>(n) : _left;
        out = _p;
        _p += k;
        _left -= k;
        return static_cast<int>(k);
    }
    const uint8_t* Rest() const { return _p; }
    size_t Left() const { return _left; }

private:
    const uint8_t* _p;
    size_t _left;
};

// Where a stream is cut and how long the writer pauses after each piece (0 to 1.5 ms, enough
// for the reader to find a message half there).
class CFragments {
public:
    static constexpr int kMax = 8;
    CFragments() = default;
    explicit CFragments(CInput& in)
    {
        _count = in.Byte() % (kMax + 1);
        for (int i = 0; i < _count; ++i) {
            _length[i] = 1 + in.Byte();
            _pauseUs[i] = (in.Byte() % 4) * 500;
        }
    }
    // Writes everything (the last piece takes what the cuts leave); false once the reader is gone.
    bool Write(int fd, const uint8_t* data, size_t size) const
    {
        for (int i = 0; i < _count && size > 0; ++i) {
            const size_t n = static_cast<size_t>(_length[i]) < size ? static_cast<size_t>(_length[i]) : size;
            if (!WriteAll(fd, data, n))
                return false;
            data += n;
            size -= n;
            if (_pauseUs[i])
                usleep(_pauseUs[i]);
        }
        return WriteAll(fd, data, size);
    }

    static bool WriteAll(int fd, const uint8_t* data, size_t n)
    {
        while (n > 0) {
            const ssize_t r = send(fd, data, n, MSG_NOSIGNAL);
            if (r <= 0)
                return false;
            data += r;
            n -= static_cast<size_t>(r);
        }
        return true;
    }

private:
    int _count = 0;
    int _length[kMax] = {};
    unsigned _pauseUs[kMax] = {};
};

// Blocking read of exactly n bytes; false when the other end closes first.
inline bool ReadExactly(int fd, void* buf, size_t n)
{
    uint8_t* p = static_cast<uint8_t*>(buf);
    while (n > 0) {
        const ssize_t r = recv(fd, p, n, 0);
        if (r <= 0)
            return false;
        p += r;
        n -= static_cast<size_t>(r);
    }
    return true;
}

}  // namespace kvfuzz
