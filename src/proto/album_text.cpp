#include "proto/album_text.hpp"

#include "proto/text_util.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

// Takes the next line (without its newline) from text[pos..len); false when the text is used up.
bool next_line(const char *text, std::size_t len, std::size_t &pos, std::string_view &line)
{
    if (pos >= len)
        return false;
    const void *nl = std::memchr(text + pos, '\n', len - pos);
    const std::size_t end = nl != nullptr ? static_cast<std::size_t>(static_cast<const char *>(nl) - text) : len;
    line = std::string_view(text + pos, end - pos);
    pos = nl != nullptr ? end + 1 : len;
    return true;
}

bool is_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

// Reads one number the way the scanf conversion of that base does (blanks, sign,
// "0x" for hex); false when no digit follows, which ends the scan.
template <typename T>
bool scan_number(const char *&p, int base, T &out)
{
    char *end = nullptr;
    if (base == 16) {
        const unsigned long v = std::strtoul(p, &end, 16);
        if (end == p)
            return false;
        out = static_cast<T>(v);
    } else {
        const long v = std::strtol(p, &end, 10);
        if (end == p)
            return false;
        out = static_cast<T>(v);
    }
    p = end;
    return true;
}

// Scans the third line of an entry as "%5s %c %lx %d %lx %ld" would; fields that
// the line does not supply stay as they were. (A hand-written scan: the
// database load reads this line for every track of the library.)
void scan_entry_line(std::string_view line, track_rec &t)
{
    char buf[256];
    copy_bounded(buf, line);
    const char *p = buf;
    while (is_space(*p))
        ++p;
    if (*p == '\0')
        return;
    std::size_t n = 0;
    while (n < 5 && p[n] != '\0' && !is_space(p[n]))
        ++n;
    copy_bounded(t.time, std::string_view(p, n));
    p += n;
    while (is_space(*p))
        ++p;
    if (*p == '\0')
        return;
    t.status = *p++;
    if (!scan_number(p, 16, t.last_played) || !scan_number(p, 10, t.online) || !scan_number(p, 16, t.cd_ident))
        return;
    scan_number(p, 10, t.plays);
}

}   // namespace

int parse_album_text(const char *text, std::size_t len, album_rec &rec)
{
    std::size_t pos = 0;
    int entries = 0;
    std::string_view line;
    while (entries < k_max_entries && next_line(text, len, pos, line)) {
        track_rec &t = rec.entry[entries];
        copy_bounded(t.artist, line);
        if (next_line(text, len, pos, line))
            copy_bounded(t.title, line);
        if (next_line(text, len, pos, line))
            scan_entry_line(line, t);
        ++entries;
    }
    if (entries < k_max_entries)
        rec.entry[entries].title[0] = '\0';
    rec.tracks = entries - 1;
    rec.present = 1;
    return entries;
}

int format_entry_line(const track_rec &t, char *buf, std::size_t cap)
{
    // An empty record has no status letter yet; a NUL here would cut the text short.
    const char status = t.status != '\0' ? t.status : '-';
    char time_text[sizeof t.time];
    copy_bounded(time_text, std::string_view(t.time, strnlen(t.time, sizeof t.time)));
    return std::snprintf(buf, cap, "%s %c %8.8lX %d %8.8lX %ld", time_text, status,
                         static_cast<unsigned long>(t.last_played), t.online, static_cast<unsigned long>(t.cd_ident),
                         static_cast<long>(t.plays));
}

std::size_t format_album_text(album_rec &rec, char *buf, std::size_t cap)
{
    std::size_t used = 0;
    int written = 0;
    if (cap > 0)
        buf[0] = '\0';
    for (int i = 0; i < k_max_entries && rec.entry[i].title[0] != '\0'; ++i) {
        const track_rec &t = rec.entry[i];
        char third[128];
        format_entry_line(t, third, sizeof third);
        const int n = std::snprintf(buf + used, cap - used, "%.*s\n%.*s\n%s\n", static_cast<int>(strnlen(t.artist, 67)),
                                    t.artist, static_cast<int>(strnlen(t.title, 67)), t.title, third);
        if (n < 0 || used + static_cast<std::size_t>(n) >= cap)
            break;   // cannot happen with 100 entries in 32 KiB; stop rather than overflow
        used += static_cast<std::size_t>(n);
        ++written;
    }
    rec.tracks = written - 1;
    return used;
}

int time_text_seconds(const char *time_text)
{
    int minutes = 0;
    int seconds = 0;
    std::sscanf(time_text, "%d:%d", &minutes, &seconds);
    return minutes * 60 + seconds;
}
