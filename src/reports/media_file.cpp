#include "reports/media_file.hpp"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

void media_path(char *buf, std::size_t cap, int album_no, int track_no)
{
    std::snprintf(buf, cap, "%s/%4.4d_%2.2d.wav", "Media", album_no, track_no);
}

int open_regular_file(const char *path)
{
    // Non-blocking, so that a FIFO in the place of a media file never waits for
    // a writer. The flag is left on: it has no effect on a regular file.
    const int fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return -1;
    struct stat st {};
    int refusal = 0;
    if (fstat(fd, &st) != 0)
        refusal = errno;
    else if (S_ISDIR(st.st_mode))
        refusal = EISDIR;
    else if (!S_ISREG(st.st_mode))
        refusal = ENXIO;
    if (refusal != 0) {
        close(fd);
        errno = refusal;
        return -1;
    }
    return fd;
}
