// The texts and small parsers of the playlist screens: headings, announcements,
// menu titles, the name lists of DIRLIST replies and the member lists of chains.
#pragma once

#include "proto/transfer_text.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

inline constexpr int k_plist_add_max = 256;   // most tracks one append may add to the current playlist

// The playing mode (0..6) a mode code 0xB0..0xB6 selects, or -1 for any other code.
int mode_of_code(int code);

// The playing mode a server reported, or 0 when it is not one this program can name.
int known_mode(long reported);

// The console's heading: "Current Playlist (%s Mode)", or in the Playlist and
// Play-Mixed modes "%s mode: selecting from \"%s\" playlist".
void format_console_heading(char *buf, std::size_t cap, int mode, const char *selection);

// How announcements name a playlist: "Current" for the current playlist, else its name.
const char *plist_display_name(const char *name);

// "%s - %s:  Added to %s Playlist", or "... Already In ..." when the server refused a duplicate.
void format_added_text(char *buf, std::size_t cap, const char *artist, const char *title, const char *name,
                       bool already);

// The add-to menu's title: "%36.36s - %-36.36s" with the outer blanks removed.
void format_track_menu_title(char *buf, std::size_t cap, const char *artist, const char *title);

// Walks the names of a DIRLIST reply (each ended by a newline, the list by the
// NUL or the end of the text); empty names are skipped and a trailing carriage
// return is dropped. Calls fn(std::string_view) per name; returns the count.
template <typename Fn>
int for_each_dir_name(const char *text, std::size_t len, Fn &&fn);

// The members of a LINK_QUERY reply in chain order ("%d %d" per line; the first is the head).
// Lines that do not read as two numbers are skipped.
std::vector<plist_entry> parse_chain_reply(const char *text, std::size_t len);

// One member line of the chain screen: "%04d/%02d %-32.32s - %-32.32s".
void format_chain_member(char *buf, std::size_t cap, int album_no, int track_no, const char *artist,
                         const char *title);

// True when album/track name an entry that the album table can hold.
bool valid_entry(long album_no, long track_no);

// The album/track pairs of a playlist transfer text of `len` bytes (a NUL ends
// it sooner), in the server's order, leaving out pairs the album table cannot hold.
std::vector<plist_entry> plist_records(const char *text, std::size_t len);

// Reads one history transfer text into e; false when it is not an entry that
// can be listed (malformed, or numbers the album table cannot hold).
bool history_record(std::string_view text, history_entry &e);

template <typename Fn>
int for_each_dir_name(const char *text, std::size_t len, Fn &&fn)
{
    int count = 0;
    std::size_t start = 0;
    std::size_t i = 0;
    for (; i <= len; ++i) {
        const bool end = i == len || text[i] == '\0';
        if (!end && text[i] != '\n')
            continue;
        std::string_view name(text + start, i - start);
        if (!name.empty() && name.back() == '\r')
            name.remove_suffix(1);
        if (!name.empty()) {
            fn(name);
            ++count;
        }
        if (end)
            break;
        start = i + 1;
    }
    return count;
}
