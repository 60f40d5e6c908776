// Files of the CD and media screens.
#include "media/media_files.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

unique_fd::~unique_fd()
{
    if (fd >= 0)
        close(fd);
}

bool export_file_name(char *buf, std::size_t cap, const char *folder, const char *artist, const char *title)
{
    if (cap > 0)
        buf[0] = '\0';
    if (folder[0] == '\0') {
        errno = ENOENT;
        return false;
    }
    if (std::strchr(artist, '/') != nullptr || std::strchr(title, '/') != nullptr) {
        std::snprintf(buf, cap, "%s/%s - %s.wav", folder, artist, title);
        errno = EINVAL;
        return false;
    }
    const int n = std::snprintf(buf, cap, "%s/%s - %s.wav", folder, artist, title);
    if (n < 0 || static_cast<std::size_t>(n) >= cap) {
        errno = ENAMETOOLONG;
        return false;
    }
    return true;
}

std::vector<std::string> rip_arguments(const char *paranoia, int track, const char *output)
{
    std::vector<std::string> argv = {"/usr/bin/cdparanoia", "-q"};
    std::string word;
    for (const char *p = paranoia;; ++p) {
        if (*p == ' ' || *p == '\t' || *p == '\0') {
            if (!word.empty())
                argv.push_back(word);
            word.clear();
            if (*p == '\0')
                break;
        } else {
            word.push_back(*p);
        }
    }
    argv.push_back(std::to_string(track));
    argv.emplace_back(output);
    return argv;
}

copy_result copy_file(const char *from, const char *to, std::size_t block)
{
    const unique_fd in(open(from, O_RDONLY | O_CLOEXEC));
    if (in.fd < 0)
        return copy_result::source_failed;
    struct stat st {};
    if (fstat(in.fd, &st) == 0 && S_ISDIR(st.st_mode)) {
        errno = EISDIR;
        return copy_result::source_failed;
    }
    const unique_fd out(open(to, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0777));
    if (out.fd < 0)
        return copy_result::destination_failed;
    const std::unique_ptr<char[]> buf(new char[block]);
    for (;;) {
        ssize_t n = read(in.fd, buf.get(), block);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return copy_result::source_failed;   // a file that cannot be read is as good as none
        if (n == 0)
            return copy_result::done;
        ssize_t w;
        while ((w = write(out.fd, buf.get(), static_cast<std::size_t>(n))) < 0 && errno == EINTR) {
        }
        if (w != n)
            return copy_result::short_write;
    }
}
