// Files of the CD and media screens: exported and ripped WAV file names, the
// ripping tool's argument vector, and copying a file in fixed blocks.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

// A descriptor that is closed when its holder goes out of scope.
struct unique_fd {
    int fd = -1;   // -1 when nothing is open

    unique_fd() = default;
    explicit unique_fd(int d) : fd(d) {}
    unique_fd(const unique_fd &) = delete;
    unique_fd &operator=(const unique_fd &) = delete;
    unique_fd(unique_fd &&other) noexcept : fd(std::exchange(other.fd, -1)) {}
    unique_fd &operator=(unique_fd &&other) noexcept
    {
        std::swap(fd, other.fd);
        return *this;
    }
    ~unique_fd();
};

// The file name an exported or ripped track gets: "%s/%s - %s.wav" with the
// export folder, artist and title. False (errno set) when it cannot be made
// safely: no export folder (ENOENT), an artist or title holding a "/", which
// would name a file elsewhere (EINVAL), or a name too long (ENAMETOOLONG).
bool export_file_name(char *buf, std::size_t cap, const char *folder, const char *artist, const char *title);

// The ripping tool's argument vector: "/usr/bin/cdparanoia", "-q", the words
// of the PARANOIA setting (split on blanks and tabs), the track number, and
// the output file as one argument.
std::vector<std::string> rip_arguments(const char *paranoia, int track, const char *output);

// How a copy ended.
enum class copy_result {
    done,
    source_failed,        // the source could not be opened or read, or is a folder (errno set)
    destination_failed,   // the destination could not be created (errno set)
    short_write,          // fewer bytes written than read
};

// Copies a file in blocks of `block` bytes to a destination created
// write-only and truncated with permissions 0777 (before the umask).
copy_result copy_file(const char *from, const char *to, std::size_t block);
