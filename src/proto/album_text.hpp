// Album records and the album text that carries them in messages.
//
// An album is entry 0 (the album itself) followed by up to 99 track entries;
// the first entry after the last track has an empty title. On the wire each
// entry is three lines: artist, title, and
// "time status last_played(hex) online cd_ident(hex) plays".
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>

inline constexpr int k_max_entries = 100;   // entry 0 and tracks 1..99

// One entry of an album: the album header (entry 0) or one track.
struct track_rec {
    std::int32_t mark;          // working mark of duplicate detection; never sent
    char artist[67];            // artist (entry 0: the album's artist)
    char title[67];             // title; an empty title ends the album
    char time[32];              // "mm:ss"; entry 0 holds the album's total time
    char status;                // '-' normal, 'S' short-list, 'U' unplayable, 'N' not selected; 'R' retained (entry 0)
    std::int64_t last_played;   // seconds since the epoch; 0 = never
    std::int32_t online;        // 1 = the media file is on line
    std::uint64_t cd_ident;     // CD identifier
    std::int64_t plays;         // number of times played
};
static_assert(sizeof(track_rec) == 208, "the record layout is part of the program's design");
static_assert(offsetof(track_rec, title) - offsetof(track_rec, artist) == 67);
static_assert(offsetof(track_rec, time) - offsetof(track_rec, artist) == 134);

// One album slot of the table.
struct album_rec {
    std::int32_t present;   // 1 = loaded and valid
    std::int32_t tracks;    // number of tracks (entries 1..tracks)
    track_rec entry[k_max_entries];
};

// Parses an album text into rec (entries, tracks, present). Entries beyond the
// text keep their earlier contents; the entry after the last one read gets an
// empty title. A malformed third line leaves its unscanned fields unchanged.
// Over-long lines are cut to the field sizes. Returns the number of entries read.
int parse_album_text(const char *text, std::size_t len, album_rec &rec);

// Writes the album text of rec (entries from 0 while the title is not empty)
// into buf and sets rec.tracks to the entries written minus 1. Returns the text
// length. buf must hold k_album_text_max bytes.
inline constexpr std::size_t k_album_text_max = 32768;
std::size_t format_album_text(album_rec &rec, char *buf, std::size_t cap);

// Writes the third line of an entry ("%s %c %8.8lX %d %8.8lX %ld", no newline).
int format_entry_line(const track_rec &t, char *buf, std::size_t cap);

// Reads "mm:ss" (or "m:ss") into seconds the way "%d:%d" does; missing parts count as 0.
int time_text_seconds(const char *time_text);
