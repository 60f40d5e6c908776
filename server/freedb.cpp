#include "server/freedb.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Whether a line begins with a key followed by "=".
bool is_key(std::string_view line, std::string_view key)
{
    return line.size() > key.size() && line.substr(0, key.size()) == key && line[key.size()] == '=';
}

// Reads a whole small file; false when it cannot be read or exceeds `limit` bytes.
bool read_small_file(const std::string &path, std::size_t limit, std::string &out, std::string &problem)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        problem = std::string("cannot be opened - ") + std::strerror(errno);
        return false;
    }
    struct stat sb {};
    if (fstat(fd, &sb) != 0 || !S_ISREG(sb.st_mode)) {
        ::close(fd);
        problem = "not a regular file";
        return false;
    }
    if (static_cast<std::uint64_t>(sb.st_size) > limit) {
        ::close(fd);
        problem = "too large (" + std::to_string(sb.st_size) + " bytes)";
        return false;
    }
    out.clear();
    char buf[8192];
    for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            problem = std::string("read failed - ") + std::strerror(errno);
            ::close(fd);
            return false;
        }
        if (n == 0)
            break;
        out.append(buf, static_cast<std::size_t>(n));
        if (out.size() > limit) {
            ::close(fd);
            problem = "too large (it grew while read)";
            return false;
        }
    }
    ::close(fd);
    return true;
}

// Writes a file whole through a temporary name in the same folder, synced before the rename.
bool write_file_atomically(const std::string &path, std::string_view content)
{
    const std::size_t slash = path.rfind('/');
    const std::string temp = path.substr(0, slash + 1) + "." + path.substr(slash + 1) + ".tmp";
    const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t n = ::write(fd, content.data() + done, content.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        done += static_cast<std::size_t>(n);
    }
    const bool ok = done == content.size() && ::fsync(fd) == 0;
    const bool closed = ::close(fd) == 0;
    if (!ok || !closed || std::rename(temp.c_str(), path.c_str()) != 0) {
        const int saved = errno;
        ::unlink(temp.c_str());
        errno = saved;
        return false;
    }
    return true;
}

}   // namespace

std::string xmcd_problem(std::string_view content, std::uint32_t disc_id)
{
    if (content.size() > k_max_xmcd_bytes)
        return "too large";
    if (content.substr(0, 6) != "# xmcd")
        return "not an XMCD file (it does not begin with \"# xmcd\")";
    for (const char ch : content) {
        const auto c = static_cast<unsigned char>(ch);
        if (c < 0x20 && c != '\t' && c != '\r' && c != '\n')
            return c == 0 ? "binary (it holds NUL bytes)" : "binary (it holds control characters)";
    }
    char id[16];
    std::snprintf(id, sizeof id, "%8.8x", disc_id);
    bool dtitle = false;
    bool discid_seen = false;
    bool discid_lists = false;
    std::string_view rest = content;
    while (!rest.empty()) {
        const std::size_t nl = rest.find('\n');
        std::string_view line = rest.substr(0, nl);
        rest = nl == std::string_view::npos ? std::string_view{} : rest.substr(nl + 1);
        if (line.size() > k_max_xmcd_line)
            return "a line longer than " + std::to_string(k_max_xmcd_line) + " bytes";
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        if (is_key(line, "DTITLE"))
            dtitle = true;
        if (is_key(line, "DISCID")) {
            discid_seen = true;
            std::string_view ids = line.substr(7);
            while (!ids.empty()) {
                const std::size_t comma = ids.find(',');
                std::string_view one = ids.substr(0, comma);
                while (!one.empty() && (one.front() == ' ' || one.front() == '\t'))
                    one.remove_prefix(1);
                while (!one.empty() && (one.back() == ' ' || one.back() == '\t'))
                    one.remove_suffix(1);
                if (one.size() == 8 && std::equal(one.begin(), one.end(), id, [](char a, char b) {
                        return (a >= 'A' && a <= 'F' ? static_cast<char>(a - 'A' + 'a') : a) == b;
                    }))
                    discid_lists = true;
                ids = comma == std::string_view::npos ? std::string_view{} : ids.substr(comma + 1);
            }
        }
    }
    if (!dtitle)
        return "no DTITLE line";
    if (discid_seen && !discid_lists)
        return std::string("its DISCID lines do not list ") + id;
    return {};
}

freedb_lookup_result freedb_lookup(const std::string &dir, std::uint32_t disc_id)
{
    freedb_lookup_result r;
    DIR *d = ::opendir(dir.c_str());
    if (d == nullptr)
        return r;
    r.available = true;
    std::vector<std::string> categories;
    while (const dirent *e = ::readdir(d)) {
        const std::string name = e->d_name;
        if (name.empty() || name[0] == '.')
            continue;
        struct stat sb {};
        if (stat((dir + "/" + name).c_str(), &sb) == 0 && S_ISDIR(sb.st_mode))
            categories.push_back(name);
    }
    ::closedir(d);
    std::sort(categories.begin(), categories.end());
    if (categories.size() > static_cast<std::size_t>(k_max_freedb_categories))
        categories.resize(static_cast<std::size_t>(k_max_freedb_categories));
    char id[16];
    std::snprintf(id, sizeof id, "%8.8x", disc_id);
    for (const std::string &cat : categories) {
        const std::string path = dir + "/" + cat + "/" + id;
        struct stat sb {};
        if (lstat(path.c_str(), &sb) != 0)
            continue;
        std::string content;
        std::string problem;
        if (read_small_file(path, k_max_xmcd_bytes, content, problem))
            problem = xmcd_problem(content, disc_id);
        if (problem.empty() && r.matches.size() >= static_cast<std::size_t>(k_max_freedb_matches))
            problem = "more than " + std::to_string(k_max_freedb_matches) + " matches";
        if (!problem.empty()) {
            r.refused.push_back({path, problem});
            continue;
        }
        r.matches.push_back(std::move(content));
    }
    return r;
}

std::string freedb_match_path(const std::string &local_dir, int match)
{
    char name[32];
    std::snprintf(name, sizeof name, "/freedbfile%d", match);
    return local_dir + name;
}

bool freedb_write_matches(const std::string &local_dir, const std::vector<std::string> &matches, std::string &error)
{
    if (::mkdir(local_dir.c_str(), 0755) != 0 && errno != EEXIST) {
        error = "cannot create " + local_dir + " - " + std::strerror(errno);
        return false;
    }
    if (DIR *d = ::opendir(local_dir.c_str())) {
        std::vector<std::string> old;
        while (const dirent *e = ::readdir(d))
            if (std::strncmp(e->d_name, "freedbfile", 10) == 0)
                old.emplace_back(e->d_name);
        ::closedir(d);
        for (const std::string &name : old)
            ::unlink((local_dir + "/" + name).c_str());
    }
    for (std::size_t i = 0; i < matches.size(); ++i) {
        const std::string path = freedb_match_path(local_dir, static_cast<int>(i) + 1);
        if (!write_file_atomically(path, matches[i])) {
            error = "cannot write " + path + " - " + std::strerror(errno);
            return false;
        }
    }
    return true;
}
