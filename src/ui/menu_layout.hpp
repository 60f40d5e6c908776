// The arithmetic of a menu screen: where its rows go, how the highlight moves
// and which row a typed letter selects. No drawing here.
#pragma once

#include "ui/menu.hpp"

inline constexpr int k_menu_column_rows = 20;   // rows drawn in each column

// Where a menu's rows are drawn on a screen of `lines` x `cols`.
struct menu_layout {
    int rows;      // rows up to the null_func row
    int columns;   // columns the width is computed for (41 rows count as 2, drawn in 3)
    int width;     // every label is padded or cut to this many characters (never below 0)
    int top;       // screen line of the first row of each column
    int x0;        // screen column of the first column
    int step;      // distance between two columns
};

// Counts the rows of a table up to its null_func row.
int menu_row_count(const menu_item *table);

// Lays a table out for a screen of the given size.
menu_layout lay_out_menu(const menu_item *table, int lines, int cols);

// Screen line and column of row `index`: 20 rows to a column, then the next column.
struct menu_cell {
    int line;
    int col;
};
menu_cell menu_cell_at(const menu_layout &layout, int index);

// The row the highlight moves to for a movement key (Down, Tab, Up, Left,
// Right, Home, End, Page Up, Page Down); -1 when the key is not one of them.
int menu_move(int key, int current, int rows);

// Moves off caption (dumb_func) rows: backwards with wrap for Up, else forwards
// with wrap. A table of captions only leaves `current` as it is.
int menu_skip_captions(const menu_item *table, int rows, int current, bool backwards);

// Quick selection: the next row after `current` (wrapping) whose label starts
// with the key's letter, case-blind; `current` when no other row does.
int menu_quick_select(const menu_item *table, int rows, int current, int key);
