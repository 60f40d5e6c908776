// Playlist and playing-mode state shared by the console, the input loop and the command line.
#pragma once

#include "browse/chain.hpp"

inline constexpr int k_mode_count = 7;
extern const char playing_mode[k_mode_count][16];   // "Undefined", "Console", ... "Play-Mixed"

extern int play_mode;                   // the server's playing mode as last learned (0..6)
extern char selection_playlist[128];    // playlist Playlist and Play-Mixed modes select from
extern char cur_plist[128];             // playlist the list screens work on; "current.lst" = the play queue
extern chain_list plist_head;           // the current playlist
extern chain_list offl_head;            // the offline playlist being viewed

inline constexpr const char *k_current_plist = "current.lst";
