// The command line's work on the loaded album table: printing tracks and searching.
#pragma once

struct cli_options;

// Prints one track as a playlist line; a pair outside the table prints nothing.
void print_track(int album_no, int track_no);

// Prints the tracks (with --album the albums) whose artist and/or title contain
// the search strings, in artist order (title order without an artist string).
void search_database(const cli_options &o);
