#include "proto/fd_io.hpp"

#include <cerrno>
#include <unistd.h>

bool write_all(int fd, const char *buf, std::size_t n)
{
    while (n > 0) {
        const ssize_t w = write(fd, buf, n);
        if (w < 0 && errno == EINTR)
            continue;
        if (w <= 0)
            return false;
        buf += w;
        n -= static_cast<std::size_t>(w);
    }
    return true;
}

bool read_exact(int fd, char *buf, std::size_t n)
{
    while (n > 0) {
        const ssize_t r = read(fd, buf, n);
        if (r < 0 && errno == EINTR)
            continue;
        if (r <= 0)
            return false;
        buf += r;
        n -= static_cast<std::size_t>(r);
    }
    return true;
}
