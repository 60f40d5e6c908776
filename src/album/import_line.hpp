// Lines of a plain-text track list: one track's title and artist a line.
#pragma once

#include "proto/album_text.hpp"

// Longest line read at once from a track list (bytes, the line end included).
inline constexpr int k_import_line_max = 256;

// The part of a line that names a track: leading digits, white space, '.' and
// ':' are skipped (so "01. Song" and "12 Song" lose their numbers) and the
// rest is cut at its first line feed and its first carriage return. The
// line is changed in place; the result points into it and may be empty.
char *import_line_rest(char *line);

// Stores a line as the title and artist of track `track_no` of rec, split at
// its first separator: the artist first when artist_first is set, else the
// title first. Both are then capitalised, the title first. A track number
// outside 1..99 stores nothing.
void name_track(album_rec &rec, int track_no, char *line, int artist_first);

// Stores an album artist answer: one beginning with "vari" in any case becomes
// "Various Artists"; then capitalised.
void set_album_artist(track_rec &head, const char *answer);
