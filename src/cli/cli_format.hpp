// The output lines of the command-line mode and the small decisions behind them.
#pragma once

#include "proto/album_text.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>

struct history_entry;   // a parsed history transfer text

// The usage text of --help, one output line per row.
inline constexpr std::string_view cli_usage[] = {
    "\nUsage:  zerka [<args>] If <args> is null, run in interactive screen mode\n",
    "--next (--skip)    Fade out and play next track",
    "--stop             Stop master server at end of the current track",
    "--stop-local       Stop local zerkaserver program",
    "--playlist         Display current playlist",
    "--playlist-search  Display list of offline playlists",
    "--playlist-use     Append specified playlist to current playlist",
    "--playlist-add     Add Album/Track No. to playlist",
    "--playlist-del     Delete Album/Track No. from playlist",
    "--shortlist        Add item to short-list",
    "--shortlist-del    Remove item from short-list",
    "--search           Search (together with --artist or --title)",
    "--album            Restrict output to the album details",
    "--history          History of recently played tracks.",
    "--audio            Start the local audio stream",
    "--audio-off        Stop the local audio stream",
    "--mode             Get or set the playing mode",
    "--mode --playlist  Set target playlist (for Playlist & Play-mixed modes)\n",
};

// A line buffer large enough for every line below.
inline constexpr std::size_t k_cli_line = 1024;

// Copies src into dst with each double quote written as two single quotes; cut to fit.
std::size_t fix_quotes(char *dst, std::size_t cap, std::string_view src);

// A playlist or track-search line: "%04d/%02d,\"%s\",\"%s\",%s,\"%s\",%c,%c\n" with the
// track's artist and title (quotes fixed), its time, the album title, on line and short-listed.
int format_track_line(char *buf, std::size_t cap, int album_no, int track_no, const album_rec &rec);

// An album-search line: "%8.8lX,%04d,\"%s\",\"%s\",%s,%d\n" (last played, number,
// artist, title, time, tracks) from entry 0.
int format_album_line(char *buf, std::size_t cap, int album_no, const album_rec &rec);

// A history line: "%04d/%02d,\"%s\",\"%s\",%s,%s\n" with `played` as the play time.
int format_history_line(char *buf, std::size_t cap, const history_entry &e, const char *played);

// "Current Mode: %s.  Other modes: " and "%s " for every other mode 1..6, then a newline.
// A mode index the table does not hold counts as "Undefined".
int format_mode_line(char *buf, std::size_t cap, std::int64_t current);

// The first mode 1..6 whose name begins with `name` in any case; 0 when none does.
int find_mode(std::string_view name);

// The explanation of a refused SET_PLIST, by the reply's track field.
const char *set_plist_failure(std::int64_t track);

// Reads an item the way "%d/%d" does: album, then track when a '/' follows at
// once; a part that cannot be read leaves its value alone. Returns the parts read.
int parse_item(std::string_view item, int &album_no, int &track_no);

// True when an album/track pair cannot be added, deleted or short-listed.
bool item_out_of_range(int album_no, int track_no, int max_album, int tracks);

// "! Album/track No. out of range (%04d/%02d)\n".
int format_range_error(char *buf, std::size_t cap, int album_no, int track_no);

// The result of adding a track to, or deleting it from, the current playlist.
int format_list_result(char *buf, std::size_t cap, bool deleting, bool failed, const char *artist, const char *title);

// "Album No: %04d (%s - %s) Added to Playlist\n".
int format_album_added(char *buf, std::size_t cap, int album_no, const char *artist, const char *title);

// Whether a search lists a record: a track needs every given string to match,
// an album (album_only) any given one. An absent string is never a match.
bool search_selects(bool album_only, bool artist_given, bool artist_hit, bool title_given, bool title_hit);

// Calls fn(name) for every non-empty line of a directory listing except "current.lst".
template <typename Fn>
int for_each_listed_playlist(std::string_view text, Fn &&fn)
{
    int count = 0;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view name = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
        if (name.empty() || name == "current.lst")
            continue;
        fn(name);
        ++count;
    }
    return count;
}
