// Album and track detail screens, the album editor and the album deletion.
#pragma once

#include "proto/album_text.hpp"

extern int cur_album;                               // the album being edited or imported
extern int cur_track;                               // the record of it in the editor (0: the album)
extern char cur_artist[sizeof(track_rec::artist)];  // the artist a new track of the album inherits
extern int compilation;                             // the album edited is a "Various Artists" one

// Menu handler: the album track list chosen by number (code 0: ask in a loop;
// otherwise show that album once and return the browser's result).
int display_album(const void *arg, int code, const char *label);

// The track (or album, track 0) detail screen.
int details(int album_no, int track_no);

// Menu handler and key e: edits an album (arg: its number as text, code: the track).
int edit_album(const void *arg, int code, const char *label);

// Stores cur_album on the master server, its time summed from its tracks when
// unknown: 0, or -2 after "Cannot write to album".
int update_cur_album();

// Menu handler: deletes an album.
int delete_album(const void *arg, int code, const char *label);
