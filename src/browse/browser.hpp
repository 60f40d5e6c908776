// The scrolling list screen.
#pragma once

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

// Shows a list and runs its keys until Esc (-3) or a callback ends it.
int browser(chain_item **head, int count, int start, browse_callback callback, int mode);
