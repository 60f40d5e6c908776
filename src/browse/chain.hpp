// Browser lists: the element, the builders that keep every sort order, and the substring test.
#pragma once

#include "proto/album_text.hpp"

#include <cstdint>

// One element of a browser list.
struct chain_item {
    chain_item *next;     // following element; null at the end
    chain_item *prev;     // preceding element; null at the head
    track_rec *track;     // the record's texts (artist, title at +67, length at +134); a private copy in history lists
    std::int32_t album_no;
    std::int32_t track_no;   // 0: the element stands for the whole album (entry 0)
    std::int64_t key;        // sort and identity key (by default the record's CD-ID or time played)
};

// Order codes of link_track and link_history.
inline constexpr int k_order_numeric = 1;
inline constexpr int k_order_artist = 2;
inline constexpr int k_order_title = 3;
inline constexpr int k_order_length = 4;
inline constexpr int k_order_cdid = 5;
inline constexpr int k_order_plays = 6;
inline constexpr int k_order_original = 7;
inline constexpr int k_order_append = 9;
inline constexpr int k_order_history_time = 10;
inline constexpr int k_order_reverse = 16;

// Inserts album/track into the list in `order`: 1 inserted, 0 folded into a
// like track (keep_duplicates 0), -1 out of memory ("Malloc failed").
int link_track(chain_item **head, int order, int album_no, int track_no, std::int64_t key, int keep_duplicates);

// Inserts a history entry with private copies of its texts: 1, or -1.
int link_history(chain_item **head, int order, int album_no, int track_no, std::int64_t key, const char *artist,
                 const char *title, const char *length);

// Releases the elements from first on (not the text blocks of history entries).
void free_chain(chain_item *first);

// 1 when wanted occurs in text (case-insensitively when case_flag is 0); an empty wanted text never matches.
int contains(const char *text, const char *wanted, int case_flag);
