// The eight list reports of the report generator: what each one shows, in
// which order, and which tracks it takes from the album table.
#pragma once

#include "browse/chain.hpp"

#include <iterator>
#include <vector>

// One report, by its menu code (the index in report_kinds).
struct report_kind {
    const char *heading;   // the heading; the browser appends its sort description after the ';'
    int order;             // the order code given to the list builder
    bool album_list;       // a list of whole albums rather than tracks
};

// To add a report: add a row here, a row to report_menu with the next code,
// and its filter to report_takes.
inline constexpr report_kind report_kinds[] = {
    {.heading = "Albums; Numerical Order", .order = k_order_numeric, .album_list = true},
    {.heading = "Tracks; Sorted by Artist", .order = k_order_artist, .album_list = false},
    {.heading = "Tracks; Sorted by Title", .order = k_order_title, .album_list = false},
    {.heading = "Short-list", .order = k_order_numeric, .album_list = false},
    {.heading = "Not on Short List", .order = k_order_numeric, .album_list = false},
    {.heading = "Not normally selected", .order = k_order_numeric, .album_list = false},
    {.heading = "Off-line List", .order = k_order_numeric, .album_list = false},
    {.heading = "Unplayables", .order = k_order_numeric, .album_list = false},
};
inline constexpr int k_report_count = static_cast<int>(std::size(report_kinds));

// The report of a menu code; an unknown code is the album list.
constexpr int report_code(int code) { return code >= 0 && code < k_report_count ? code : 0; }

// Whether the report asks "Do you want to include duplicates?" (the full track lists).
constexpr bool report_asks_duplicates(int code) { return code == 1 || code == 2; }

// Whether a track with this status letter and on-line flag is listed by the
// report `code` (a track report). include_duplicates also lets unplayable
// tracks into the full track lists, and keeps them out of the short-list and
// off-line reports either way.
bool report_takes(int code, char status, int online, bool include_duplicates);

// The tracks (1 up to the track count, at most 99) of one album slot.
int report_track_count(int album_no);

// Appends the tracks of one album that the report takes, in track order;
// returns how many. An album whose present flag is clear gives none.
int report_album_tracks(int code, bool include_duplicates, int album_no, std::vector<chain_entry> &out);

// Appends every present album of 1..last as a whole-album element; returns how many.
int report_albums(int last, std::vector<chain_entry> &out);
