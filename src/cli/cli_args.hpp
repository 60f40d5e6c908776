// The argument scan of the command-line mode: which options were given, and
// the operation that ends the scan at once.
#pragma once

#include <cstdint>

// An operation done as soon as its option is met; it ends the run.
enum class cli_action : int {
    none,           // the scan went through every argument
    help,           // --help: the usage text
    skip,           // --next or --skip: fade out and play the next track
    stop,           // --stop: the master stops at the end of the track
    stop_local,     // --stop-local: the local (or master) server shuts down
    history,        // --history: the recently played tracks
    audio_on,       // --audio: start the local audio stream
    audio_off,      // --audio-off: stop it
    format_error,   // --playlist-use without a playlist name
};

// What the arguments asked for.
struct cli_options {
    cli_action action = cli_action::none;   // the operation that ended the scan
    bool playlist = false;                  // a --playlist option was given
    bool search = false;                    // --search, or --playlist-search
    bool list_playlists = false;            // --playlist-search: list the offline playlists
    bool use = false;                       // --playlist-use: append a playlist to the current one
    bool print = false;                     // --playlist or --playlist-print: show a playlist
    bool add = false;                       // --playlist-add
    bool del = false;                       // --playlist-del or --shortlist-del
    bool shortlist = false;                 // --shortlist or --shortlist-del
    bool album_only = false;                // --album: search and show whole albums
    bool mode = false;                      // --mode: get or set the playing mode
    std::int64_t type = 0;                  // request type as the options left it
    std::int64_t list_type = 0;             // type of the last add, delete or short-list option
    char plist_name[128] = "current.lst";   // playlist to show or append
    char item[64] = "";                     // "album/track" of an add, delete or short-list
    char artist[256] = "";                  // artist search string
    char title[256] = "";                   // title search string
    char mode_name[32] = "";                // playing mode to select (a prefix of its name)
    char target[128] = "";                  // target playlist of Playlist and Play-Mixed modes
};

// The target playlist of "--mode --playlist" with no name after it.
inline constexpr const char *k_any_target = "****";

// Examines argv[1..argc-1] in order against the options; every copy into the
// option buffers is cut to fit.
cli_options scan_arguments(int argc, const char *const *argv);
