#include "playlist/plist_text.hpp"

#include "db/album.hpp"
#include "playlist/state.hpp"
#include "proto/transfer_text.hpp"

#include <cstdio>
#include <cstring>

int mode_of_code(int code)
{
    const int mode = code - 0xB0;
    return mode >= 0 && mode < k_mode_count ? mode : -1;
}

int known_mode(long reported) { return reported >= 0 && reported < k_mode_count ? static_cast<int>(reported) : 0; }

void format_console_heading(char *buf, std::size_t cap, int mode, const char *selection)
{
    const int m = mode >= 0 && mode < k_mode_count ? mode : 0;
    if (m == 5 || m == 6)
        std::snprintf(buf, cap, "%s mode: selecting from \"%s\" playlist", playing_mode[m], selection);
    else
        std::snprintf(buf, cap, "Current Playlist (%s Mode)", playing_mode[m]);
}

const char *plist_display_name(const char *name)
{
    return std::strcmp(name, k_current_plist) == 0 ? "Current" : name;
}

void format_added_text(char *buf, std::size_t cap, const char *artist, const char *title, const char *name,
                       bool already)
{
    const char *shown = plist_display_name(name);
    if (already)
        std::snprintf(buf, cap, "%s - %s:  Already In %s Playlist", artist, title, shown);
    else
        std::snprintf(buf, cap, "%s - %s:  Added to %s Playlist", artist, title, shown);
}

void format_track_menu_title(char *buf, std::size_t cap, const char *artist, const char *title)
{
    char raw[96];
    std::snprintf(raw, sizeof raw, "%36.36s - %-36.36s", artist, title);
    const char *from = raw;
    while (*from == ' ')
        ++from;
    std::size_t n = std::strlen(from);
    while (n > 0 && from[n - 1] == ' ')
        --n;
    std::snprintf(buf, cap, "%.*s", static_cast<int>(n), from);
}

std::vector<plist_entry> parse_chain_reply(const char *text, std::size_t len)
{
    std::vector<plist_entry> members;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= len; ++i) {
        const bool end = i == len || text[i] == '\0';
        if (!end && text[i] != '\n')
            continue;
        char line[64];
        const std::size_t n = i - start < sizeof line - 1 ? i - start : sizeof line - 1;
        std::memcpy(line, text + start, n);
        line[n] = '\0';
        plist_entry e{};
        if (std::sscanf(line, "%d %d", &e.album, &e.track) == 2)
            members.push_back(e);
        if (end)
            break;
        start = i + 1;
    }
    return members;
}

void format_chain_member(char *buf, std::size_t cap, int album_no, int track_no, const char *artist,
                         const char *title)
{
    std::snprintf(buf, cap, "%04d/%02d %-32.32s - %-32.32s", album_no, track_no, artist, title);
}

bool valid_entry(long album_no, long track_no)
{
    return album_no >= 0 && album_no < k_album_slots && track_no >= 0 && track_no < k_max_entries;
}

std::vector<plist_entry> plist_records(const char *text, std::size_t len)
{
    std::vector<plist_entry> pairs;
    for_each_plist_record(text, strnlen(text, len), [&](int album_no, int track_no) {
        if (valid_entry(album_no, track_no))
            pairs.push_back({.album = album_no, .track = track_no});
    });
    return pairs;
}

bool history_record(std::string_view text, history_entry &e)
{
    return parse_history_entry(text, e) && valid_entry(e.album, e.track);
}
