// The scrolling list screen.
#pragma once

class chain_list;
struct chain_item;

// Handles the keys the browser passes on: (current element or null, key, mode).
using browse_callback = int (*)(chain_item *current, int key, int mode);

// Kinds of list.
inline constexpr int k_browse_plain = 0;
inline constexpr int k_browse_album = 1;
inline constexpr int k_browse_duplicates = 2;
inline constexpr int k_browse_history = 3;
inline constexpr int k_browse_console = 4;
inline constexpr int k_browse_offline = 5;
inline constexpr int k_browse_cd_matches = 7;
inline constexpr int k_browse_no_ops = 8;

// Shows a list and runs its keys until Esc (-3) or a callback ends it. The
// list stays the caller's; the console (mode 4), an offline playlist (5) and
// the loaded CD (exocd_svce, mode 7) pass the list their screen keeps up to
// date (plist_head, offl_head, exo_head), and the browser shows a copy of it,
// taken again whenever it may have been replaced.
int browser(chain_list &list, int count, int start, browse_callback callback, int mode);
