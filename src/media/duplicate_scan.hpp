// Finding copies of tracks in the album table: the copies of one album's
// tracks anywhere else, and the duplicate marks of the whole-table report.
//
// Two tracks are copies when their artists (each without a leading "the ")
// and their titles are equal ignoring case and their playing times differ by
// no more than a window: 59 seconds for one album's check, 29 for the report.
#pragma once

#include "browse/chain.hpp"
#include "db/album.hpp"

#include <span>
#include <vector>

inline constexpr int k_album_check_window = 59;   // seconds, one album against the table
inline constexpr int k_report_window = 29;        // seconds, the whole-table report

// One album's tracks against the rest of the table.
struct album_copies {
    std::vector<chain_entry> unique;       // tracks without any copy, in track order
    std::vector<chain_entry> duplicates;   // every copy found: by the album's track, then album and track
    int unique_count = 0;                  // the album's tracks minus those with a copy
    int duplicate_count = 0;               // tracks of the album with at least one copy
};

// Compares every track of album `album_no` with every track of albums
// 1..last (the album itself excluded, albums without tracks skipped), the way
// a walk of the whole table for each track would, in one pass over the table.
album_copies find_album_copies(std::span<const album_rec> table, int album_no, int last);

// The report's pass: every track of albums 1..last that are in use, album by
// album, is a duplicate (mark 1) when another track taken in the same pass is
// its copy within the report's window; other marks are left as they are.
// `stop` (may be null) is asked after each album taken, with its number, and
// ends the pass there when it answers true. Returns the number of albums taken.
int mark_duplicates(std::span<album_rec> table, int last, bool (*stop)(int album_no));

// The album the report offers next: from `last` down to 1, the first album in
// use, not retained ('R' on its own entry), whose tracks without a duplicate
// mark number no more than `target`; 0 when there is none.
int next_duplicated_album(std::span<const album_rec> table, int last, int target);

// Clears the duplicate mark of every entry of albums 1..last.
void clear_duplicate_marks(std::span<album_rec> table, int last);

// Gives every retained album of 1..last a blank retention flag again.
void clear_retention_flags(std::span<album_rec> table, int last);

// Whether the two tracks are copies within `window` seconds.
bool tracks_are_copies(const track_rec &a, const track_rec &b, int window);
