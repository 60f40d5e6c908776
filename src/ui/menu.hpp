// Table-driven menus.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// A menu handler: (row argument, row code, row label) -> -1 stay, -5 leave with
// this row, -11 leave this menu and its caller.
using menu_handler = int (*)(const void *arg, int code, const char *label);

// One row of a menu table; a table ends with a null_func row.
struct menu_item {
    const char *label;      // its first character is the quick-selection letter
    menu_handler handler;
    const void *argument;   // passed to the handler; a sub-menu's table for menu_func
    std::int64_t code;      // passed to the handler as its second argument
};

inline constexpr int k_stay = -1;
inline constexpr int k_invalid = -2;
inline constexpr int k_escape = -3;
inline constexpr int k_leave = -5;
inline constexpr int k_break = -11;

// Runs a menu: returns the chosen row's index when its handler returned -5,
// -5 when it returned -11 (or ESC left through a brk_func last row), and -1
// when the operator left with ESC or Ctrl-C. A null title keeps heading.
int menu_func(const menu_item *table, int first_row, const char *title, const char *footer_text);

// The same as a row handler: opens the table in arg as a sub-menu, titled by
// the row's label, starting on row `code`, and never with a footer.
int menu_func(const void *table, int code, const char *label);

int null_func(const void *arg, int code, const char *label);   // end of table: -1
int dumb_func(const void *arg, int code, const char *label);   // caption row: -1
int quit_func(const void *arg, int code, const char *label);   // choose and leave: -5
int brk_func(const void *arg, int code, const char *label);    // leave two levels: -11

// The row that ends every table.
inline constexpr menu_item end_row = {.label = "", .handler = null_func, .argument = nullptr, .code = 0};

// Whether a row's handler is null_func, at compile time. GCC with the
// undefined-behaviour sanitizer cannot compare two different functions'
// addresses there (either might be null, it supposes); such a pair is taken
// as different, which two functions of the program always are.
constexpr bool ends_table(menu_handler h)
{
    constexpr menu_handler end = null_func;   // the menu's null_func, whatever else has the name
    return __builtin_constant_p(h == end) && h == end;
}

// A table ends with the null_func row and has no other (checked at compile time by each table file).
template <std::size_t N>
constexpr bool well_formed(const menu_item (&table)[N])
{
    for (std::size_t i = 0; i + 1 < N; ++i)
        if (ends_table(table[i].handler) || table[i].label == nullptr)
            return false;
    return ends_table(table[N - 1].handler);
}

// A key that every menu hands to the program rather than to its rows (the
// local audio stream, the local player): the app sets the table at start-up.
struct menu_key {
    int key;
    void (*action)();
};

// Sets the keys of menu_key (a constexpr table of the caller's; it must outlive every menu).
void set_menu_keys(std::span<const menu_key> keys);
