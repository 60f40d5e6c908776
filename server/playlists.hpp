// Playlist files: the current playlist "current.lst" (the play queue) and the
// named offline playlists, all in the folder PlayLists, one line per track
// ("%8.8lX %04d/%02d %-28.28s - %-29.29s [%s]"). A file is always replaced
// whole through a temporary file and a rename, both synced to the disk, so
// neither a crash nor a power cut leaves half a file. The operations on a loaded playlist are pure.
#pragma once

#include "proto/transfer_text.hpp"
#include "proto/wire.hpp"

#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <vector>

inline constexpr std::string_view k_current_plist = "current.lst";
inline constexpr std::size_t k_plist_max_entries = k_text_max / k_plist_record_len;   // what one transfer carries
inline constexpr std::size_t k_plist_name_max = 64;

// One line of a playlist.
struct plist_item {
    int album;
    int track;
    std::string line;   // the file line as written (no newline)
};

// A playlist in play order.
struct playlist {
    std::vector<plist_item> items;
};

// Whether a name may name a playlist: not empty, at most 64 characters, no
// "/", no "..", no leading "." (temporary files) and no control characters.
bool plist_name_ok(std::string_view name);

// The path of a playlist in `dir`.
std::string plist_path(const std::string &dir, std::string_view name);

// Reads the lines of a playlist file's text; lines that do not begin
// "%lX %d/%d" (or whose album or track would not fit a transfer record) are skipped.
void plist_parse(std::string_view text, playlist &out);

// Reads a playlist file (plist_parse). False when it cannot be read.
bool plist_load(const std::string &path, playlist &out);

// Replaces a playlist file through a temporary file and a rename, each synced
// to the disk (the file, then its folder) before it returns; false on failure.
bool plist_save(const std::string &path, const playlist &p);

// Syncs a folder's entries (a file created, renamed or removed) to the disk; false on failure.
bool sync_folder(const std::string &dir);

// Position of a track in a playlist, or -1.
int plist_find(const playlist &p, int album, int track);

// Appends a track; false when it is already there or the playlist is full.
bool plist_append(playlist &p, int album, int track, std::string line);

// Removes a track (its first line); false when it is not there.
bool plist_erase(playlist &p, int album, int track);

// Moves a track one place up (towards play) / down / to the top. False when
// it is not there; at the edge nothing moves and the result is true.
bool plist_move_up(playlist &p, int album, int track);
bool plist_move_down(playlist &p, int album, int track);
bool plist_move_top(playlist &p, int album, int track);

// Shuffles a playlist.
void plist_shuffle(playlist &p, std::mt19937 &rng);

// The playlist transfer text: one "%04d %02d " record per track (at most what one message carries).
std::string plist_transfer_text(const playlist &p);

// The names of the regular files of a folder, sorted, each ended by a newline
// (hidden files left out), cut to what one message carries.
std::string dir_listing(const std::string &dir);
