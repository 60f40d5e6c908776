// The menu screen: draws a table of rows, moves the highlight and calls the
// chosen row's handler.
#include "ui/menu.hpp"

#include "core/input.hpp"
#include "core/keys.hpp"
#include "core/link.hpp"
#include "proto/text_util.hpp"
#include "ui/centre.hpp"
#include "ui/help.hpp"
#include "ui/menu_layout.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <algorithm>
#include <cstdio>
#include <curses.h>
#include <iterator>

namespace {

enum class menu_state { reading, chosen, leave };

std::span<const menu_key> program_keys;   // the keys the app handles in every menu

// One running menu: its table, title, footer and layout on the current screen.
struct menu_run {
    const menu_item *table;
    const char *footer_text;
    char title[sizeof heading];   // what the menu shows as its heading, kept for every redraw
    menu_layout layout;
    int generation;               // resize_generation when the layout was made
};

// Lays the menu out for the current screen size and draws its frame and heading.
void lay_out(menu_run &m)
{
    m.layout = lay_out_menu(m.table, LINES, COLS);
    m.generation = resize_generation;
    clear();
    frame(stdscr);
    header(m.title);
}

// Draws the footer line and every row, the highlighted one in reverse video.
void draw_rows(const menu_run &m, int highlight)
{
    if (m.footer_text != nullptr && m.footer_text[0] != '\0') {
        const centred_text line = centre_for_80(m.footer_text);
        attron(A_REVERSE);
        put_text(stdscr, LINES - 1, line.column, line.text);
        attroff(A_REVERSE);
    }
    const int w = m.layout.width;
    for (int i = 0; i < m.layout.rows; ++i) {
        char label[512];
        std::snprintf(label, sizeof label, "%-*.*s", w, w, m.table[i].label != nullptr ? m.table[i].label : "");
        const menu_cell cell = menu_cell_at(m.layout, i);
        if (i == highlight)
            attron(A_REVERSE);
        put_text(stdscr, cell.line, cell.col, label);
        if (i == highlight)
            attroff(A_REVERSE);
    }
    refresh();
}

// Pops up the server's wall time.
void show_server_time()
{
    char text[128];
    std::snprintf(text, sizeof text, "Date/Time is now: %s", get_time(0));
    popup(text, 3);
}

// The program's entry for a key, or null.
const menu_key *program_key(int key)
{
    for (const menu_key &k : program_keys)
        if (k.key == key)
            return &k;
    return nullptr;
}

menu_state choose_row(menu_run &, int &) { return menu_state::chosen; }

// ESC and Ctrl-C leave from the last row (a brk_func there leaves two levels).
menu_state leave_menu(menu_run &m, int &current)
{
    current = m.layout.rows - 1;
    return menu_state::leave;
}

menu_state help_key(menu_run &m, int &)
{
    help_screen(nullptr, 0, nullptr);
    lay_out(m);
    return menu_state::reading;
}

menu_state time_key(menu_run &, int &)
{
    show_server_time();
    return menu_state::reading;
}

// The menu's own keys besides the cursor keys. Any other key is the app's
// (menu_key) or selects the next row whose label begins with it.
struct own_key {
    int key;
    menu_state (*handler)(menu_run &m, int &current);
};

constexpr own_key own_keys[] = {
    {.key = k_key_enter, .handler = choose_row},   {.key = k_key_linefeed, .handler = choose_row},
    {.key = k_key_return, .handler = choose_row},  {.key = k_key_esc, .handler = leave_menu},
    {.key = k_key_ctrl_c, .handler = leave_menu},  {.key = k_key_f(1), .handler = help_key},
    {.key = 'w', .handler = time_key},
};

static_assert(keys_unique(own_keys));

// Acts on one key: moves the highlight (off caption rows), or runs the key's
// handler; returns what the menu does next.
menu_state take_key(menu_run &m, int key, int &current)
{
    const int rows = m.layout.rows;
    bool backwards = false;
    menu_state state = menu_state::reading;
    const int moved = menu_move(key, current, rows);
    const auto own = std::ranges::find(own_keys, key, &own_key::key);
    if (moved >= 0) {
        current = moved;
        backwards = key == k_key_up;
    } else if (own != std::end(own_keys)) {
        state = own->handler(m, current);
    } else if (const menu_key *k = program_key(key)) {
        k->action();
        lay_out(m);
    } else {
        current = menu_quick_select(m.table, rows, current, key);
    }
    current = menu_skip_captions(m.table, rows, current, backwards);
    return state;
}

}   // namespace

void set_menu_keys(std::span<const menu_key> keys) { program_keys = keys; }

int menu_func(const menu_item *table, int first_row, const char *title, const char *footer_text)
{
    menu_run m = {};
    m.table = table;
    m.footer_text = footer_text;
    char saved_heading[sizeof heading];
    copy_bounded(saved_heading, heading);
    copy_bounded(m.title, title != nullptr ? title : heading);
    lay_out(m);
    const auto leave = [&](int result) {
        copy_bounded(heading, saved_heading);
        return result;
    };
    const int rows = m.layout.rows;
    if (rows == 0)
        return leave(k_stay);

    int current = first_row >= 0 && first_row < rows ? first_row : 0;
    current = menu_skip_captions(table, rows, current, false);
    menu_state state = menu_state::reading;
    for (;;) {
        if (m.generation != resize_generation)
            lay_out(m);
        draw_rows(m, current);
        if (state == menu_state::leave)
            return leave(k_stay);
        if (state == menu_state::chosen) {
            const menu_item &row = table[current];
            const int result = row.handler(row.argument, static_cast<int>(row.code), row.label);
            if (result == k_leave)
                return leave(current);
            if (result == k_break)
                return leave(k_leave);
            lay_out(m);
            state = menu_state::reading;
            continue;
        }
        const int key = get_input(&input, 0);
        if (key == -1) {
            refresh();
            continue;
        }
        state = take_key(m, key, current);
        if (state == menu_state::leave && table[current].handler == brk_func)
            return leave(k_leave);
    }
}

int menu_func(const void *table, int code, const char *label)
{
    // A sub-menu opened from a row never has a footer.
    return menu_func(static_cast<const menu_item *>(table), code, label, "");
}
