// Browser lists: the element, the owner of a list, the builders that keep
// every sort order, and the substring test.
#pragma once

#include "proto/album_text.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// One element of a browser list.
struct chain_item {
    chain_item *next;     // following element; null at the end
    chain_item *prev;     // preceding element; null at the head
    track_rec *track;     // the record's texts (artist, title at +67, length at +134); a private copy in history lists
    std::int32_t album_no;
    std::int32_t track_no;   // 0: the element stands for the whole album (entry 0)
    std::int64_t key;        // sort and identity key (by default the record's CD-ID or time played)
};

class chain_walk;

// The owner of one browser list, and the one way a list is released: when the
// owner is reset, assigned another list or destroyed, the elements go, and for
// a history list (built by link_history or build_history_chain) their private
// copies of the texts with them. Move-only; a moved-from owner is empty.
//
// A list that an operation is still walking (see chain_walk) is not released
// when its owner lets go of it: the owner hands it to the walk instead.
class chain_list {
public:
    chain_list() = default;
    chain_list(chain_list &&other) noexcept;
    chain_list &operator=(chain_list &&other) noexcept;
    chain_list(const chain_list &) = delete;
    chain_list &operator=(const chain_list &) = delete;
    ~chain_list() { reset(); }

    // The first element; null for an empty list.
    chain_item *head() const { return first_; }
    bool empty() const { return first_ == nullptr; }
    // Whether the elements hold private copies of their texts.
    bool history() const { return history_; }
    // Lets go of the list: releases it, or hands it to a walk that is on it.
    void reset();

private:
    friend struct chain_building;   // the builders in chain.cpp link elements in place
    chain_item *first_ = nullptr;
    bool history_ = false;
};

// One operation's walk over a list it does not own (mass apply walks the list
// the browser shows while it runs screens and requests). While the walk lasts,
// an owner that lets go of that list hands it to the walk, which releases it
// when the walk ends. Walks nest; the innermost on a list takes it.
class chain_walk {
public:
    explicit chain_walk(const chain_item *first);
    ~chain_walk();
    chain_walk(const chain_walk &) = delete;
    chain_walk &operator=(const chain_walk &) = delete;

private:
    friend class chain_list;
    const chain_item *first_;   // the list walked
    chain_walk *outer_;         // the walk that was innermost before this one
    chain_list kept_;           // the list, once its owner let go of it
};

// The number of elements of a list.
int chain_length(const chain_item *first);

// The number of list elements allocated and not yet released, in every list.
std::size_t chain_elements_live();

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

// Two recordings whose lengths differ by at most this many seconds may be the same song.
inline constexpr int k_like_seconds = 29;

// Inserts album/track into the list in `order`: 1 inserted, 0 folded into a
// like track (keep_duplicates 0), -1 out of memory ("Malloc failed").
int link_track(chain_list &list, int order, int album_no, int track_no, std::int64_t key, int keep_duplicates);

// Inserts a history entry with private copies of its texts (the list becomes
// a history list): 1, or -1.
int link_history(chain_list &list, int order, int album_no, int track_no, std::int64_t key, const char *artist,
                 const char *title, const char *length);

// 1 when wanted occurs in text (case-insensitively when case_flag is 0); an empty wanted text never matches.
int contains(const char *text, const char *wanted, int case_flag);

// One track (or album, track 0) to be placed in a list built in one go.
struct chain_entry {
    std::int32_t album_no;
    std::int32_t track_no;
    std::int64_t key;   // 0: the record's CD-ID or time played
};

// One history entry to be placed in a list built in one go; the texts are copied.
struct history_item {
    std::int32_t album_no;
    std::int32_t track_no;
    std::int64_t key;   // the time the track was played
    const char *artist;
    const char *title;
    const char *length;
};

// Builds a whole list in `order` from entries given in arrival order. The
// result is exactly what linking them one by one with link_track would give
// (order, ties, folding and duplicate marks), in O(n log n). A list that is
// not empty is extended with link_track, entry by entry. Returns the number of
// elements added, or -1 ("Malloc failed"; nothing is added then).
int build_chain(chain_list &list, int order, std::span<const chain_entry> entries, int keep_duplicates);

// The same for history entries, as link_history would place them (the list
// becomes a history list).
int build_history_chain(chain_list &list, int order, std::span<const history_item> entries);

// Called when a list element cannot be allocated; the client shows "Malloc failed".
extern void (*chain_alloc_failed)();

// The record an element stands for in the album table, or null when its numbers lie outside the table.
track_rec *table_record(int album_no, int track_no);

// A fixed text field as a view that never runs past the field.
template <std::size_t N>
std::string_view field_view(const char (&field)[N])
{
    std::size_t n = 0;
    while (n < N && field[n] != '\0')
        ++n;
    return {field, n};
}

// Seconds of a length text read the way "%d:%d" reads it; missing parts count as 0.
long long length_seconds(std::string_view text);

// Compares two artists the way the artist and title orders do: case-blind, a
// leading "the " (any case) dropped from both.
int compare_artists(std::string_view a, std::string_view b);

// Compares two texts case-blind.
int compare_folded(std::string_view a, std::string_view b);

// Tracing aid: logs "%s: chain=%8.8X" with the label and the list's address,
// then "%02d: %04d/%02d" (index, album, track) per element.
void pr_chain(const char *label, const chain_item *chain);
