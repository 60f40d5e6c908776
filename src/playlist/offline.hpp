// Offline playlists, and adding tracks to playlists.
#pragma once

#include "ui/menu.hpp"

#include <cstddef>
#include <string_view>
#include <vector>

struct chain_item;

// Appends a row per offline playlist (never "current.lst"), labels heap copies
// of the names, asking the local server with DIRLIST; returns the rows added.
int compile_playlist_menu(std::vector<menu_item> &rows, menu_handler handler, const void *arg);

// A heap text of `size` bytes (at least the text and its NUL) holding text, owned by
// the menu rows until release_menu_labels releases it.
char *owned_text(std::string_view text, std::size_t size);

// Releases the heap labels (and arguments, when owned) of run-time menu rows.
void release_menu_labels(std::vector<menu_item> &rows);

// The offline playlist menu (console key p); returns 0.
int display_playlists(const void *unused);

// Row handler of the playlist menus: opens a playlist, or creates one (code 2 or 3).
int playlist_select(const void *arg, int code, const char *label);

// Adds a track to a playlist chosen from a menu; returns 0.
int add_to_chosen_plist(int album_no, int track_no);

// Row handler of the add-to menu; returns 0.
int add_track(const void *arg, int code, const char *label);

// Key a of the track lists; returns 0.
int plist_add(chain_item *element, const char *name);

// Adds one track to a playlist through `socket`; returns 0.
int plist_add_svce(int album_no, int track_no, const char *name, int announce, int socket);

// Adds one track through the local-add request.
void plist_add_local_svce(int album_no, int track_no, const char *name);
