#include "cli/cli_format.hpp"

#include "playlist/state.hpp"
#include "proto/text_util.hpp"
#include "proto/transfer_text.hpp"

#include <climits>
#include <cstdio>
#include <cstring>

std::size_t fix_quotes(char *dst, std::size_t cap, std::string_view src)
{
    if (cap == 0)
        return 0;
    std::size_t used = 0;
    for (const char c : src) {
        const std::size_t need = c == '"' ? 2 : 1;
        if (used + need >= cap)
            break;
        if (c == '"') {
            dst[used++] = '\'';
            dst[used++] = '\'';
        } else {
            dst[used++] = c;
        }
    }
    dst[used] = '\0';
    return used;
}

namespace {

// Appends n bytes at p; returns the end.
char *put(char *p, const char *s, std::size_t n)
{
    std::memcpy(p, s, n);
    return p + n;
}

// Two digits of a number below 100.
char *put_two_digits(char *p, int n)
{
    *p++ = static_cast<char>('0' + n / 10);
    *p++ = static_cast<char>('0' + n % 10);
    return p;
}

}   // namespace

int format_track_line(char *buf, std::size_t cap, int album_no, int track_no, const album_rec &rec)
{
    if (track_no < 0 || track_no >= k_max_entries)
        return std::snprintf(buf, cap, "%s", "");
    const track_rec &t = rec.entry[track_no];
    char artist[2 * sizeof t.artist];
    char title[2 * sizeof t.title];
    const std::size_t artist_len = fix_quotes(artist, sizeof artist, {t.artist, strnlen(t.artist, sizeof t.artist)});
    const std::size_t title_len = fix_quotes(title, sizeof title, {t.title, strnlen(t.title, sizeof t.title)});
    // A search prints this line for every hit: the usual line is put together
    // by hand, byte for byte what the format below makes of it; anything else
    // (numbers of other widths, texts without their NUL, a short buffer) goes
    // through the format.
    const char *const album_title = rec.entry[0].title;
    const std::size_t time_len = strnlen(t.time, sizeof t.time);
    const std::size_t album_title_len = strnlen(album_title, sizeof rec.entry[0].title);
    const std::size_t len = 7 + 2 + artist_len + 3 + title_len + 2 + time_len + 2 + album_title_len + 2 + 4;
    if (album_no >= 0 && album_no <= 9999 && time_len < sizeof t.time && album_title_len < sizeof rec.entry[0].title &&
        len < cap) {
        char *p = buf;
        p = put_two_digits(p, album_no / 100);
        p = put_two_digits(p, album_no % 100);
        *p++ = '/';
        p = put_two_digits(p, track_no);
        p = put(p, ",\"", 2);
        p = put(p, artist, artist_len);
        p = put(p, "\",\"", 3);
        p = put(p, title, title_len);
        p = put(p, "\",", 2);
        p = put(p, t.time, time_len);
        p = put(p, ",\"", 2);
        p = put(p, album_title, album_title_len);
        p = put(p, "\",", 2);
        *p++ = t.online != 0 ? 'Y' : 'N';
        *p++ = ',';
        *p++ = t.status == 'S' ? 'Y' : 'N';
        *p++ = '\n';
        *p = '\0';
        return static_cast<int>(p - buf);
    }
    return std::snprintf(buf, cap, "%04d/%02d,\"%s\",\"%s\",%s,\"%s\",%c,%c\n", album_no, track_no, artist, title,
                         t.time, rec.entry[0].title, t.online != 0 ? 'Y' : 'N', t.status == 'S' ? 'Y' : 'N');
}

int format_album_line(char *buf, std::size_t cap, int album_no, const album_rec &rec)
{
    const track_rec &a = rec.entry[0];
    return std::snprintf(buf, cap, "%8.8lX,%04d,\"%s\",\"%s\",%s,%d\n", static_cast<unsigned long>(a.last_played),
                         album_no, a.artist, a.title, a.time, rec.tracks);
}

int format_history_line(char *buf, std::size_t cap, const history_entry &e, const char *played)
{
    return std::snprintf(buf, cap, "%04d/%02d,\"%s\",\"%s\",%s,%s\n", e.album, e.track, e.artist, e.title, e.length,
                         played);
}

int format_mode_line(char *buf, std::size_t cap, std::int64_t current)
{
    const int index = current >= 0 && current < k_mode_count ? static_cast<int>(current) : 0;
    int used = std::snprintf(buf, cap, "Current Mode: %s.  Other modes: ", playing_mode[index]);
    for (int m = 1; m < k_mode_count; ++m) {
        if (m == index || used < 0 || static_cast<std::size_t>(used) >= cap)
            continue;
        used += std::snprintf(buf + used, cap - static_cast<std::size_t>(used), "%s ", playing_mode[m]);
    }
    if (used >= 0 && static_cast<std::size_t>(used) < cap)
        used += std::snprintf(buf + used, cap - static_cast<std::size_t>(used), "\n");
    return used;
}

int find_mode(std::string_view name)
{
    for (int m = 1; m < k_mode_count; ++m)
        if (compare_nocase(playing_mode[m], name, name.size()) == 0)
            return m;
    return 0;
}

const char *set_plist_failure(std::int64_t track)
{
    if (track == 1)
        return "! Playlist change not allowed - Console logged in";
    if (track == 2)
        return "! Unknown playlist";
    return "! Problem opening playlist";
}

namespace {

bool is_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

// Reads "%d" from text at pos: blanks, a sign, digits (clamped to the int range); false when no digit follows.
bool read_int(std::string_view text, std::size_t &pos, int &out)
{
    std::size_t i = pos;
    while (i < text.size() && is_space(text[i]))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-'))
        negative = text[i++] == '-';
    if (i >= text.size() || text[i] < '0' || text[i] > '9')
        return false;
    long long value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
        if (value <= INT_MAX)
            value = value * 10 + (text[i] - '0');
    if (negative)
        value = -value;
    out = value > INT_MAX ? INT_MAX : value < INT_MIN ? INT_MIN : static_cast<int>(value);
    pos = i;
    return true;
}

}   // namespace

int parse_item(std::string_view item, int &album_no, int &track_no)
{
    std::size_t pos = 0;
    if (!read_int(item, pos, album_no))
        return 0;
    if (pos >= item.size() || item[pos] != '/')
        return 1;
    ++pos;
    return read_int(item, pos, track_no) ? 2 : 1;
}

bool item_out_of_range(int album_no, int track_no, int max_album, int tracks)
{
    return album_no < 1 || album_no > max_album || track_no < 0 || track_no > tracks;
}

int format_range_error(char *buf, std::size_t cap, int album_no, int track_no)
{
    return std::snprintf(buf, cap, "! Album/track No. out of range (%04d/%02d)\n", album_no, track_no);
}

int format_list_result(char *buf, std::size_t cap, bool deleting, bool failed, const char *artist, const char *title)
{
    if (failed)
        return std::snprintf(buf, cap, deleting ? "! %s - %s:  Not found In Playlist\n" : "! %s - %s:  Already In Playlist\n",
                             artist, title);
    return std::snprintf(buf, cap, deleting ? "%s - %s:  Deleted From Playlist\n" : "%s - %s:  Added to Playlist\n",
                         artist, title);
}

int format_album_added(char *buf, std::size_t cap, int album_no, const char *artist, const char *title)
{
    return std::snprintf(buf, cap, "Album No: %04d (%s - %s) Added to Playlist\n", album_no, artist, title);
}

bool search_selects(bool album_only, bool artist_given, bool artist_hit, bool title_given, bool title_hit)
{
    if (album_only)
        return (artist_given && artist_hit) || (title_given && title_hit);
    if (artist_given && title_given)
        return artist_hit && title_hit;
    return (artist_given && artist_hit) || (title_given && title_hit);
}
