// The album database: albums 1..3000 and 9000..9019 kept in SQLite (WAL with
// FULL sync, one transaction per change, so that nothing acknowledged is lost
// when the server is killed or the power fails; a change that cannot be stored
// whole is refused before any of it is written), mirrored in memory for the
// replies, plus the track chains and the server's few settings (playing mode,
// selection playlist).
#pragma once

#include "proto/album_text.hpp"
#include "proto/transfer_text.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;

inline constexpr int k_max_regular_album = 3000;   // ordinary albums are 1..3000
inline constexpr int k_first_temp_album = 9000;    // reserved albums are 9000..9019
inline constexpr int k_temp_albums = 20;
inline constexpr int k_album_slots = k_first_temp_album + k_temp_albums + 1;
inline constexpr int k_max_text_field = 66;        // artist and title as the client holds them

// The album field of an ALBUM_READ reply for a gap and past the last album.
inline constexpr std::int64_t k_no_such_album = 0xFFFE;
inline constexpr std::int64_t k_past_the_end = 0xFFFD;

// Whether a number may hold an album here.
constexpr bool album_number_ok(int n)
{
    return (n >= 1 && n <= k_max_regular_album) || (n >= k_first_temp_album && n < k_first_temp_album + k_temp_albums);
}

// One album as kept in memory. Its answer to ALBUM_READ is kept whole and
// rebuilt whenever one of its entries changes, so that a client loading the
// library costs the server a copy per album rather than a formatting.
struct stored_album {
    std::vector<track_rec> entries;   // entry 0 is the album itself, then tracks 1..n
    std::string reply;                // the ALBUM_READ answer: its header (sequence 0000) and the album text
};

// The album text of an album, as ALBUM_READ sends it.
std::string_view stored_text(const stored_album &a);

struct sqlite_closer {
    void operator()(sqlite3 *db) const;
};
using sqlite_handle = std::unique_ptr<sqlite3, sqlite_closer>;

// The database and its in-memory mirror.
struct album_store {
    sqlite_handle db;                                    // the open database
    std::vector<std::unique_ptr<stored_album>> slots;   // index = album number; empty = no album
    int max_regular = 0;                                 // highest album in use among 1..3000 (0: none)
    std::vector<int> reserved;                           // numbers handed out for new albums, not yet written
};

// The outcome of a change request.
enum class change_result { refused, unchanged, changed };

// Opens (creating when absent) the database file and loads every album. False with a reason on failure.
bool store_open(album_store &s, const std::string &path, std::string &error);

// The album with number n, or nullptr.
const stored_album *store_get(const album_store &s, int n);

// One entry (0 = the album itself) of an album, or nullptr when absent.
const track_rec *store_entry(const album_store &s, int album, int track);

// Number of tracks of an album (0 when absent).
int store_track_count(const album_store &s, int album);

// The album field of the reply to ALBUM_READ n: n itself when present,
// 0xFFFD past the last album of 1..3000, otherwise 0xFFFE.
std::int64_t store_read_answer(const album_store &s, int n);

// Stores an album from its album text. Refused for a number outside the
// database or a text whose album title is empty. Tracks end at the first empty title.
bool store_write_text(album_store &s, int n, std::string_view text);

// Deletes an album and its chain links; false when there is none.
bool store_delete(album_store &s, int n);

// Applies a selection mark (message type SHORTLIST, DONOTPLAY, UNPLAYABLE,
// NO_SELECT or OFFLINE) to one track, or to every track with track 0.
change_result store_mark(album_store &s, int album, int track, std::int64_t mark_type);

// Replaces every occurrence of `old_text` by `new_text` in the artist (title
// false) or title of one entry (0 = the album itself). Refused when the entry
// is absent, old_text is empty, new_text holds a control character (a line
// break would split the album text), or the result would not fit 66 characters.
change_result store_replace(album_store &s, int album, int track, bool title, std::string_view old_text,
                            std::string_view new_text);

// Notes that a track was played at `when`: its last-played time and play count,
// and the album's last-played time. False when the track is absent.
bool store_record_play(album_store &s, int album, int track, std::int64_t when);

// Sets every play count to 0 and stores it; returns the albums that changed,
// or nothing when the database refused the change (the counts stay as they were).
std::optional<std::vector<int>> store_reset_plays(album_store &s);

// Marks off line every on-line track of 1..3000 and 9000..9019 whose media
// file is missing under media_dir; `changed` gets the albums that changed.
// False when the change of some album could not be stored (that album stays as it was).
bool store_check_media(album_store &s, const std::string &media_dir, std::vector<int> &changed);

// Hands out a free number (temp false: the next of 1..3000, temp true: one of
// 9000..9019) and holds it until it is written or released; 0 when none is free.
int store_allocate(album_store &s, bool temp);

// Gives back a number handed out by store_allocate and never written.
void store_release(album_store &s, int n);

// The chain a track belongs to, head first; empty when it is in none.
std::vector<plist_entry> store_chain(const album_store &s, int album, int track);

// Links a track into a chain: head = the track itself starts a chain; head
// 0/0 deletes the chain of the track; any other head appends the track to
// that head's chain (a track in another chain leaves it first). False when refused.
bool store_link(album_store &s, int album, int track, int head_album, int head_track);

// A stored setting, or `fallback` when it was never set.
std::string store_setting(const album_store &s, std::string_view key, std::string_view fallback);

// Stores a setting; false on a database error.
bool store_set_setting(album_store &s, std::string_view key, std::string_view value);

// One setting to store.
struct setting_value {
    std::string_view key;
    std::string_view value;
};

// Stores several settings in one transaction: all of them, or none (false).
bool store_set_settings(album_store &s, std::span<const setting_value> values);
