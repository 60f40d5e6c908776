#include "server/history.hpp"

#include "proto/transfer_text.hpp"
#include "server/playlists.hpp"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>

std::string history_file_name(std::time_t t)
{
    std::tm tm{};
    localtime_r(&t, &tm);
    char name[64];
    std::strftime(name, sizeof name, "%y%m%d%H%M%S.hst", &tm);
    return name;
}

namespace {

// The history files of a folder, oldest first (their names sort by time).
std::vector<std::string> history_files(const std::string &dir)
{
    std::vector<std::string> names;
    const std::string listing = dir_listing(dir);
    std::size_t from = 0;
    for (std::size_t nl; (nl = listing.find('\n', from)) != std::string::npos; from = nl + 1) {
        std::string name = listing.substr(from, nl - from);
        if (name.size() > 4 && name.ends_with(".hst"))
            names.push_back(std::move(name));
    }
    return names;
}

}   // namespace

bool history_append(history_log &h, std::time_t when, const std::string &line)
{
    const std::string today = history_file_name(when).substr(0, 6);
    if (h.current.empty()) {
        const std::vector<std::string> files = history_files(h.dir);
        if (!files.empty() && files.back().substr(0, 6) == today)
            h.current = files.back();
    }
    if (h.current.empty() || h.current.substr(0, 6) != today)
        h.current = history_file_name(when);
    std::FILE *f = std::fopen((h.dir + "/" + h.current).c_str(), "a");
    if (f == nullptr)
        return false;
    const bool ok = std::fprintf(f, "%s\n", line.c_str()) >= 0;
    return std::fclose(f) == 0 && ok;
}

std::vector<std::string> history_parse(std::string_view text)
{
    std::vector<std::string> out;
    while (!text.empty()) {
        const std::size_t nl = text.find('\n');
        std::string_view line = text.substr(0, nl);
        text.remove_prefix(nl == std::string_view::npos ? text.size() : nl + 1);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        history_entry e;
        if (parse_history_entry(line, e))
            out.emplace_back(line);
    }
    return out;
}

std::vector<std::string> history_read_file(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return history_parse(text);
}

std::vector<std::string> history_recent(const std::string &dir, std::size_t count)
{
    std::vector<std::string> out;
    const std::vector<std::string> files = history_files(dir);
    for (auto it = files.rbegin(); it != files.rend() && out.size() < count; ++it) {
        std::vector<std::string> lines = history_read_file(dir + "/" + *it);
        const std::size_t take = std::min(count - out.size(), lines.size());
        // Newest first while gathering; reversed at the end.
        for (std::size_t i = 0; i < take; ++i)
            out.push_back(std::move(lines[lines.size() - 1 - i]));
    }
    std::reverse(out.begin(), out.end());
    return out;
}

std::vector<std::string> history_lines_for(const std::string &dir, std::string_view request_text)
{
    if (request_text == k_recent_history)
        return history_recent(dir, k_recent_entries);
    const std::size_t slash = request_text.rfind('/');
    const std::string_view name = slash == std::string_view::npos ? request_text : request_text.substr(slash + 1);
    if (!plist_name_ok(name))
        return {};
    return history_read_file(dir + "/" + std::string(name));
}
