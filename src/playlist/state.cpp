#include "playlist/state.hpp"

const char playing_mode[k_mode_count][16] = {"Undefined", "Console", "Jukebox",   "Random",
                                             "Mixed",     "Playlist", "Play-Mixed"};
int play_mode;
char selection_playlist[128];
char cur_plist[128];
chain_list plist_head;
chain_list offl_head;
