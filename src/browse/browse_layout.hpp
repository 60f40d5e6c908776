// The browser's pure parts: paging arithmetic, the texts of list lines, the
// position indicator, the footer's key letters, the sort suffix of the heading
// and the totals.
#pragma once

#include "proto/album_text.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

struct chain_item;

inline constexpr int k_page_rows = 20;    // list rows per page
inline constexpr int k_first_row = 2;     // screen row of the first list row
inline constexpr int k_list_column = 2;   // screen column of the list lines
inline constexpr int k_footer_column = 17;

// Where the browser stands in a list: the element at the top of the page and
// the cursor row. Ordinals count from 1.
struct page_view {
    int count = 0;   // elements in the list
    int top = 1;     // ordinal of the element on the page's first row
    int row = 1;     // cursor row on the page, 1..20
};

// The cursor's ordinal (0 for an empty list).
int current_ordinal(const page_view &v);

// Rows with an element on the page.
int rows_shown(const page_view &v);

// Elements follow the page / precede it.
bool more_below(const page_view &v);
bool more_above(const page_view &v);

// The first page for a 1-based start ordinal (0 means 1): whole pages are
// skipped from the head and the cursor put on the start element.
page_view page_start(int count, int start);

// The page after a list was rebuilt with `count` elements and the current
// element at `ordinal` (limited to 1..count): the page stays where it was if
// that element is still on it, else the page is laid out as at the start.
page_view page_keep(const page_view &old, int count, int ordinal);

// The paging keys.
enum class page_move { down, up, home, end, page_down, page_up, first, last };

// Applies a paging key.
void page_step(page_view &v, page_move move);

// The state character of a track line: '-' off line, else by its selection
// letter: 'S' '.', 'U' 'x', 'N' '^', any other a blank.
char track_state_char(char status, std::int32_t online);

// One list line: an album ("%04d %-27.27s - %-28.28s [%s] (%d)") when
// track_no is 0, else a track ("%04d/%02d %-28.28s - %-29.29s [%s]%c"). texts
// holds artist, title and length; status and online come from the record that
// decides the state (the album table in a history list).
void format_list_line(char *buf, std::size_t cap, int album_no, int track_no, const track_rec &texts, char status,
                      std::int32_t online, int album_tracks);

// The position indicator: "%*d of %d" with the width of count's digits.
void format_position(char *buf, std::size_t cap, int ordinal, int count);

// One character of the footer line and whether it is drawn reversed.
struct footer_cell {
    char ch;
    bool reversed;
};

// The footer as drawn: a '^' is not shown but reverses the character after it ("^^" shows one '^').
std::vector<footer_cell> footer_cells(std::string_view footer);

// Writes the sort description into a heading from its last ';' on (or at its
// end): "; %s" with the reverse word when no sort was chosen (label null),
// else "; Sorted in %s%s" with the reverse word and the order's label.
void set_sort_suffix(char *heading, std::size_t cap, const char *label, bool reverse);

// Cuts a heading at its last ';' (if any).
void cut_sort_suffix(char *heading);

// The sums of the totals screen.
struct list_totals {
    long long tracks = 0;    // an album adds its number of tracks, a track 1
    long long seconds = 0;   // every element adds its length
    long long offline = 0;   // track elements that are off line
    bool has_tracks = false; // the list holds track elements
};

// Adds up a list; in a history list the on-line flags come from the album table.
list_totals sum_list(const chain_item *first, bool history);

// The three lines of the totals screen ("Off-line Tracks: %d" is empty when not shown).
struct totals_text {
    char total[128];
    char average[64];
    char offline[64];
};
totals_text format_totals(const list_totals &t, bool history);

// The number of tracks of an album, 0 for a number outside the table.
int album_track_count(int album_no);
