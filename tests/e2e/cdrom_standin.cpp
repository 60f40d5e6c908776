// A stand-in for a CD drive, preloaded into the program under test only: the
// device named by ZK_CDROM_PATH opens as /dev/null, and CDROM_DISC_STATUS on
// it answers from the script ZK_CDROM_SCRIPT, one status a line, the last
// line repeated once the script is used up ("E" fails the request with EIO).
// Every answer is appended to ZK_CDROM_LOG. Nothing of the machine changes.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/cdrom.h>
#include <string>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

namespace {

int standin_fd = -1;
std::size_t polls = 0;

bool is_standin(const char *path)
{
    const char *dev = std::getenv("ZK_CDROM_PATH");
    return dev != nullptr && path != nullptr && std::strcmp(path, dev) == 0;
}

template <typename F>
F real(const char *name)
{
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

int open_standin(int flags)
{
    using open_fn = int (*)(const char *, int, ...);
    standin_fd = real<open_fn>("open")("/dev/null", O_RDONLY | (flags & O_CLOEXEC));
    return standin_fd;
}

mode_t mode_of(int flags, va_list ap)
{
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? static_cast<mode_t>(va_arg(ap, int)) : 0;
}

std::vector<std::string> script_lines()
{
    std::vector<std::string> lines;
    const char *path = std::getenv("ZK_CDROM_SCRIPT");
    if (path == nullptr)
        return lines;
    std::FILE *f = std::fopen(path, "r");
    if (f == nullptr)
        return lines;
    char buf[64];
    while (std::fgets(buf, sizeof buf, f) != nullptr) {
        std::string s(buf);
        while (!s.empty() && (s.back() == '\n' || s.back() == '\r'))
            s.pop_back();
        if (!s.empty())
            lines.push_back(s);
    }
    std::fclose(f);
    return lines;
}

int disc_status()
{
    const std::vector<std::string> lines = script_lines();
    const std::string line = lines.empty() ? "0" : lines[std::min(polls, lines.size() - 1)];
    ++polls;
    if (const char *log = std::getenv("ZK_CDROM_LOG")) {
        if (std::FILE *f = std::fopen(log, "a")) {
            std::fprintf(f, "%s\n", line.c_str());
            std::fclose(f);
        }
    }
    if (line == "E") {
        errno = EIO;
        return -1;
    }
    return std::atoi(line.c_str());
}

}   // namespace

extern "C" {

int open(const char *path, int flags, ...)
{
    va_list ap;
    va_start(ap, flags);
    const mode_t mode = mode_of(flags, ap);
    va_end(ap);
    if (is_standin(path))
        return open_standin(flags);
    using open_fn = int (*)(const char *, int, ...);
    return real<open_fn>("open")(path, flags, mode);
}

int open64(const char *path, int flags, ...)
{
    va_list ap;
    va_start(ap, flags);
    const mode_t mode = mode_of(flags, ap);
    va_end(ap);
    if (is_standin(path))
        return open_standin(flags);
    using open_fn = int (*)(const char *, int, ...);
    return real<open_fn>("open64")(path, flags, mode);
}

int __open_2(const char *path, int flags)
{
    if (is_standin(path))
        return open_standin(flags);
    using open2_fn = int (*)(const char *, int);
    return real<open2_fn>("__open_2")(path, flags);
}

int __open64_2(const char *path, int flags)
{
    if (is_standin(path))
        return open_standin(flags);
    using open2_fn = int (*)(const char *, int);
    return real<open2_fn>("__open64_2")(path, flags);
}

int close(int fd)
{
    if (fd == standin_fd)
        standin_fd = -1;
    using close_fn = int (*)(int);
    return real<close_fn>("close")(fd);
}

int ioctl(int fd, unsigned long request, ...)
{
    va_list ap;
    va_start(ap, request);
    void *arg = va_arg(ap, void *);
    va_end(ap);
    if (fd >= 0 && fd == standin_fd && request == CDROM_DISC_STATUS)
        return disc_status();
    using ioctl_fn = int (*)(int, unsigned long, ...);
    return real<ioctl_fn>("ioctl")(fd, request, arg);
}

}   // extern "C"
