// Searches of the album table and the per-track keys of every track list.
#pragma once

struct chain_item;

// The console's search: -3 nothing given or Esc, -4 after browsing, -1 nothing found.
int search(const void *unused, int keep_duplicates);

// Menu handler of the case-sensitive artist/title (code 0) and global (code 1) searches.
int cs_search(const void *arg, int code, const char *label);

// Browser callback of the track lists.
int search_svce(chain_item *current, int key, int mode);
