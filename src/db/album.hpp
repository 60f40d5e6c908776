// The in-memory album table, loaded from the master server.
#pragma once

#include "proto/album_text.hpp"
#include "proto/wire.hpp"

inline constexpr int k_album_slots = 9021;      // album numbers 0..9020, indexed directly
inline constexpr int k_last_regular = 3000;     // albums 1..3000 are the ordinary ones
inline constexpr int k_reserved_first = 9000;   // 9000..9019 are reserved and loaded too
inline constexpr int k_reserved_count = 20;

extern album_rec album[k_album_slots];   // the whole database, one slot per album number
extern int max_album;                    // highest album number loaded among 1..3000
extern int last_album;                   // album most recently chosen by the operator

// Replies of ALBUM_READ.
inline constexpr int k_no_such_album = 0xFFFE;
inline constexpr int k_past_the_end = 0xFFFD;

// Empties the whole table without touching pages that were never used.
void clear_album_table();

// Fills the album slot named by msg->album from its album text.
void read_album_data(const server_msg *msg);

// Reads one album from a server: 1 loaded, 0 no such album, 3 past the end.
int read_album(int number, int socket);

// Sends an album back to a server; returns 0.
int write_album(int number, int socket);

// The rule of check_a_no (ui/album_number.hpp) without its pop-up: the number the text names when
// it is an album the operator may use, 0 for "none", or -2. An absent album
// of 1..9000 is first read with `load` (1 = loaded) when reload is non-zero; a
// valid number above max_album raises it. `typed` receives the number as typed
// (held to the range of an int).
int checked_album_number(const char *number_text, int reload, int (*load)(int number), int &typed);
