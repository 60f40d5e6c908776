// Finding tracks in the album table: by artist and/or title, a text anywhere
// (albums included), and the tracks of an artist by similarity.
#pragma once

#include "browse/chain.hpp"

#include <vector>

// Tracks of albums 1..last_album whose artist holds `artist` and whose title
// holds `title` (an empty text is not tested; case_flag 0 compares
// case-blind). Tracks on the unplayable list are skipped when asked.
void find_tracks(std::vector<chain_entry> &hits, const char *artist, const char *title, int case_flag,
                 bool skip_unplayable, int last_album);

// Entries of one album, from the album itself (entry 0) to its last track,
// whose artist or title holds the text in exact case.
void find_in_album(std::vector<chain_entry> &hits, int album_no, const char *text);

// Whether a track artist is like the wanted one (without its "the "): a
// similarity above 90, of the whole artist or of the rest after a leading "the ".
bool artist_alike(const char *track_artist, const char *wanted);

// The tracks of albums 1..last_album, except the given one, whose artist is
// like `artist` (a leading "the " of it dropped).
void find_more_by_artist(std::vector<chain_entry> &hits, const char *artist, int own_album, int own_track,
                         int last_album);
