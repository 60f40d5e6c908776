#include "sync_probe.hpp"

#include <cstdio>
#include <dlfcn.h>
#include <limits.h>
#include <mutex>
#include <unistd.h>

namespace {

std::mutex guard;
bool recording = false;
std::vector<sync_event> seen;

// The file a descriptor is open on.
std::string fd_path(int fd)
{
    char link[64];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    char target[PATH_MAX];
    const ssize_t n = ::readlink(link, target, sizeof target);
    return n > 0 ? std::string(target, static_cast<std::size_t>(n)) : std::string{};
}

void note(const char *call, std::string path, std::string from = {})
{
    const std::lock_guard<std::mutex> lock(guard);
    if (recording)
        seen.push_back({call, std::move(path), std::move(from)});
}

// The C library's own function of a name.
template <typename Fn>
Fn real(const char *name)
{
    return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
}

}   // namespace

void sync_probe_start()
{
    const std::lock_guard<std::mutex> lock(guard);
    seen.clear();
    recording = true;
}

std::vector<sync_event> sync_probe_stop()
{
    const std::lock_guard<std::mutex> lock(guard);
    recording = false;
    return std::move(seen);
}

extern "C" int fsync(int fd)
{
    static const auto fn = real<int (*)(int)>("fsync");
    note("fsync", fd_path(fd));
    return fn(fd);
}

extern "C" int fdatasync(int fd)
{
    static const auto fn = real<int (*)(int)>("fdatasync");
    note("fdatasync", fd_path(fd));
    return fn(fd);
}

extern "C" int rename(const char *from, const char *to) noexcept
{
    static const auto fn = real<int (*)(const char *, const char *)>("rename");
    note("rename", to, from);
    return fn(from, to);
}
