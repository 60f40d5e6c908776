// The browser's own menus: the sort orders, the report forms and the
// operations on a whole list.
//
// To add a row: see app/menu_tables.cpp; the browser acts on the index of the
// row chosen in sort_menu and output_menu, so new rows go before "Quit".
#include "browse/list_menus.hpp"

#include "browse/apply.hpp"

#include <iterator>

// The operation numbers of the mass operations; 3 has no row.
constexpr menu_item apply_menu[] = {
    {.label = "Add all tracks to the current playlist", .handler = apply_svce, .argument = nullptr, .code = 1},
    {.label = "Put all tracks on a specified playlist", .handler = apply_svce, .argument = nullptr, .code = 2},
    {.label = "Remove all tracks from normal Selection", .handler = apply_svce, .argument = nullptr, .code = 4},
    {.label = "Put all tracks on the short-list", .handler = apply_svce, .argument = nullptr, .code = 5},
    {.label = "Remove all tracks from the short-list", .handler = apply_svce, .argument = nullptr, .code = 6},
    {.label = "Edit all artist strings", .handler = apply_svce, .argument = nullptr, .code = 7},
    {.label = "Edit all title strings", .handler = apply_svce, .argument = nullptr, .code = 8},
    {.label = "Force all tracks off-line", .handler = apply_svce, .argument = nullptr, .code = 9},
    end_row,
};

// Choosing a row of these two returns its index to the browser.
constexpr menu_item sort_menu[] = {
    {.label = "Numerical Order", .handler = quit_func, .argument = nullptr, .code = 1},
    {.label = "Artist Order", .handler = quit_func, .argument = nullptr, .code = 2},
    {.label = "Title Order", .handler = quit_func, .argument = nullptr, .code = 3},
    {.label = "Length of Track or Album Order", .handler = quit_func, .argument = nullptr, .code = 4},
    {.label = "CD-ID or Time Played Order", .handler = quit_func, .argument = nullptr, .code = 5},
    {.label = "No. of Plays Order", .handler = quit_func, .argument = nullptr, .code = 6},
    {.label = "Original Order", .handler = quit_func, .argument = nullptr, .code = 7},
    {.label = "Quit", .handler = quit_func, .argument = nullptr, .code = 8},
    end_row,
};

constexpr menu_item output_menu[] = {
    {.label = "Plain Text Listing", .handler = quit_func, .argument = nullptr, .code = 0},
    {.label = "Inlay card", .handler = quit_func, .argument = nullptr, .code = 1},
    {.label = "CSV file", .handler = quit_func, .argument = nullptr, .code = 2},
    {.label = "Quit", .handler = quit_func, .argument = nullptr, .code = 3},
    end_row,
};

static_assert(well_formed(apply_menu) && std::size(apply_menu) == 9);
static_assert(well_formed(sort_menu) && std::size(sort_menu) == 9);
static_assert(well_formed(output_menu) && std::size(output_menu) == 5);
