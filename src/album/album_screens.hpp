// Album and track detail screens and the album editor.
#pragma once

// Menu handler: the album track list chosen by number.
int display_album(const void *arg, int code, const char *label);

// The track (or album, track 0) detail screen.
int details(int album_no, int track_no);

// Menu handler and key e: edits an album (arg: its number as text, code: the track).
int edit_album(const void *arg, int code, const char *label);

// Menu handler: deletes an album.
int delete_album(const void *arg, int code, const char *label);
