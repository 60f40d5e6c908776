#include "server/playlists.hpp"

#include "proto/fd_io.hpp"

#include <algorithm>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

bool plist_name_ok(std::string_view name)
{
    if (name.empty() || name.size() > k_plist_name_max || name.front() == '.')
        return false;
    if (name.find('/') != std::string_view::npos || name.find("..") != std::string_view::npos)
        return false;
    return std::none_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; });
}

std::string plist_path(const std::string &dir, std::string_view name) { return dir + "/" + std::string(name); }

void plist_parse(std::string_view text, playlist &out)
{
    out.items.clear();
    while (!text.empty()) {
        const std::size_t nl = text.find('\n');
        std::string_view line = text.substr(0, nl);
        text.remove_prefix(nl == std::string_view::npos ? text.size() : nl + 1);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        history_entry e;
        // A pair that does not fit its transfer record ("%04d %02d ") would break the transfer text.
        if (!parse_history_entry(line, e) || e.album < 0 || e.album > 9999 || e.track < 0 || e.track > 99)
            continue;
        out.items.push_back({e.album, e.track, std::string(line)});
    }
}

bool plist_load(const std::string &path, playlist &out)
{
    out.items.clear();
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    plist_parse(text, out);
    return true;
}

bool sync_folder(const std::string &dir)
{
    const int fd = ::open(dir.empty() ? "." : dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

bool plist_save(const std::string &path, const playlist &p)
{
    const std::size_t slash = path.rfind('/');
    const std::string dir = slash == std::string::npos ? std::string{} : path.substr(0, slash);
    const std::string temp = slash == std::string::npos ? "." + path + ".tmp"
                                                        : path.substr(0, slash + 1) + "." + path.substr(slash + 1) + ".tmp";
    std::string text;
    for (const plist_item &i : p.items)
        text.append(i.line).push_back('\n');
    const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    // The file's bytes reach the disk before the rename, and the rename before
    // the reply: after a power cut the playlist is the old one or the new one, whole.
    bool ok = write_all(fd, text.data(), text.size());
    ok = ::fsync(fd) == 0 && ok;
    ok = ::close(fd) == 0 && ok;
    if (!ok || std::rename(temp.c_str(), path.c_str()) != 0) {
        std::remove(temp.c_str());
        return false;
    }
    return sync_folder(dir);
}

int plist_find(const playlist &p, int album, int track)
{
    for (std::size_t i = 0; i < p.items.size(); ++i)
        if (p.items[i].album == album && p.items[i].track == track)
            return static_cast<int>(i);
    return -1;
}

bool plist_append(playlist &p, int album, int track, std::string line)
{
    if (plist_find(p, album, track) >= 0 || p.items.size() >= k_plist_max_entries)
        return false;
    p.items.push_back({album, track, std::move(line)});
    return true;
}

bool plist_erase(playlist &p, int album, int track)
{
    const int at = plist_find(p, album, track);
    if (at < 0)
        return false;
    p.items.erase(p.items.begin() + at);
    return true;
}

bool plist_move_up(playlist &p, int album, int track)
{
    const int at = plist_find(p, album, track);
    if (at < 0)
        return false;
    if (at > 0)
        std::swap(p.items[static_cast<std::size_t>(at)], p.items[static_cast<std::size_t>(at - 1)]);
    return true;
}

bool plist_move_down(playlist &p, int album, int track)
{
    const int at = plist_find(p, album, track);
    if (at < 0)
        return false;
    if (static_cast<std::size_t>(at) + 1 < p.items.size())
        std::swap(p.items[static_cast<std::size_t>(at)], p.items[static_cast<std::size_t>(at + 1)]);
    return true;
}

bool plist_move_top(playlist &p, int album, int track)
{
    const int at = plist_find(p, album, track);
    if (at < 0)
        return false;
    std::rotate(p.items.begin(), p.items.begin() + at, p.items.begin() + at + 1);
    return true;
}

void plist_shuffle(playlist &p, std::mt19937 &rng) { std::shuffle(p.items.begin(), p.items.end(), rng); }

std::string plist_transfer_text(const playlist &p)
{
    static char buf[k_text_max + 1];
    std::size_t used = 0;
    buf[0] = '\0';
    for (const plist_item &i : p.items)
        if (!append_plist_record(buf, sizeof buf, used, i.album, i.track))
            break;
    return std::string(buf, used);
}

std::string dir_listing(const std::string &dir)
{
    std::vector<std::string> names;
    if (DIR *d = opendir(dir.c_str()); d != nullptr) {
        while (const dirent *e = readdir(d)) {
            if (e->d_name[0] == '.')
                continue;
            struct stat st {};
            if (stat((dir + "/" + e->d_name).c_str(), &st) == 0 && S_ISREG(st.st_mode))
                names.emplace_back(e->d_name);
        }
        closedir(d);
    }
    std::sort(names.begin(), names.end());
    std::string out;
    for (const std::string &n : names) {
        if (out.size() + n.size() + 1 > k_text_max)
            break;
        out += n;
        out += '\n';
    }
    return out;
}
