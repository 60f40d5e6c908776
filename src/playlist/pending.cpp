// Placeholders for the playlist screens while they are being built; each is
// replaced by its real implementation and removed from here.
#include "playlist/chains.hpp"
#include "playlist/console.hpp"
#include "playlist/history.hpp"
#include "playlist/offline.hpp"

int playlist(const void *, int, const char *) { return 0; }
int playlist_svce(chain_item *, int key, int) { return key; }
int playlist_chain(const server_msg *) { return 0; }
int playlist_chain_local(const server_msg *) { return 0; }
void restore_playlist() {}
int set_plist(const void *, int, const char *) { return -11; }
int controls(int) { return 0; }
int compile_playlist_menu(std::vector<menu_item> &, menu_handler, const void *) { return 0; }
void release_menu_labels(std::vector<menu_item> &) {}
int display_playlists(const void *) { return 0; }
int playlist_select(const void *, int, const char *) { return 0; }
int add_to_chosen_plist(int, int) { return 0; }
int add_track(const void *, int, const char *) { return 0; }
int plist_add(chain_item *, const char *) { return 0; }
int plist_add_svce(int, int, const char *, int, int) { return 0; }
void plist_add_local_svce(int, int, const char *) {}
void view_chain(int, int) {}
void add_to_chain(int, int) {}
int recent_history(const void *, int, const char *) { return 0; }
int compile_history_menu(std::vector<menu_item> &, menu_handler, const void *) { return 0; }
int display_history(const void *, int, const char *) { return 0; }
