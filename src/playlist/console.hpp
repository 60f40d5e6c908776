// The playlist console and the play controls.
#pragma once

struct chain_item;
struct server_msg;

// Menu handler: runs the console in playing mode `code` (0xB0..0xB6).
int playlist(const void *arg, int code, const char *label);

// Browser callback of the console (mode 4) and of an offline playlist (mode 5).
int playlist_svce(chain_item *current, int key, int mode);

// Rebuild plist_head (offl_head) from a playlist transfer text; return the count.
int playlist_chain(const server_msg *msg);
int playlist_chain_local(const server_msg *msg);

// Goes back to the current playlist and rebuilds plist_head from the server.
void restore_playlist();

// Menu handler of the playlist chooser: selects the playlist modes 5 and 6 play from.
int set_plist(const void *arg, int code, const char *label);

// The play-control keys: 1 handled, 0 not a control key or declined, -1 refused or failed.
int controls(int key);
