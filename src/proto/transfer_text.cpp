#include "proto/transfer_text.hpp"

#include "proto/text_util.hpp"

#include <cstdio>
#include <cstring>

bool read_plist_record(const char *rec, std::size_t avail, plist_entry &out)
{
    char buf[k_plist_record_len + 1];
    const std::size_t n = avail < k_plist_record_len ? avail : k_plist_record_len;
    std::memcpy(buf, rec, n);
    buf[n] = '\0';
    return std::sscanf(buf, "%d %d", &out.album, &out.track) == 2;
}

bool append_plist_record(char *buf, std::size_t cap, std::size_t &used, int album, int track)
{
    if (used + k_plist_record_len + 1 > cap)
        return false;
    char rec[32];
    std::snprintf(rec, sizeof rec, "%04d %02d ", album, track);
    if (std::strlen(rec) != k_plist_record_len)
        return false;   // a number too wide for its columns would shift every later record
    std::memcpy(buf + used, rec, k_plist_record_len + 1);
    used += k_plist_record_len;
    return true;
}

namespace {

// Copies `width` columns from `from` (or what exists of them) into dst, stripped of trailing blanks.
template <std::size_t N>
void take_columns(char (&dst)[N], std::string_view text, std::size_t from, std::size_t width)
{
    dst[0] = '\0';
    if (from >= text.size())
        return;
    copy_bounded(dst, text.substr(from, width));
    strip_trailing_blanks(dst);
}

}   // namespace

bool parse_history_entry(std::string_view text, history_entry &out)
{
    out = {};
    char head[64];
    copy_bounded(head, text.substr(0, 40));
    long unsigned played = 0;
    const int n = std::sscanf(head, "%lX %d/%d", &played, &out.album, &out.track);
    out.time_played = static_cast<std::int64_t>(played);
    take_columns(out.artist, text, 17, 29);
    take_columns(out.title, text, 48, 29);
    // The length is cut to 5 columns; it is not stripped, as it is always "mm:ss".
    out.length[0] = '\0';
    if (text.size() > 79)
        copy_bounded(out.length, text.substr(79, 5));
    return n == 3;
}

int format_plist_line(char *buf, std::size_t cap, std::uint64_t key, int album, int track, const char *artist,
                      const char *title, const char *length)
{
    return std::snprintf(buf, cap, "%8.8lX %04d/%02d %-28.28s - %-29.29s [%s]", static_cast<unsigned long>(key), album,
                         track, artist, title, length);
}
