// The maintenance password screen.
#include "ui/password.hpp"

#include "core/config.hpp"
#include "core/input.hpp"
#include "core/keys.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cstring>
#include <curses.h>

int password;
int maintenance;

namespace {

constexpr int k_pass_row = 12;
constexpr int k_pass_label_col = 27;
constexpr int k_pass_col = 37;
constexpr int k_pass_cells = 16;   // the field shown; the 16th character typed ends the entry and is dropped

// Writes cells of the reversed password field, from position `at` on.
void put_cells(int at, const char *text)
{
    attron(A_REVERSE);
    put_text(stdscr, k_pass_row, k_pass_col + at, text);
    attroff(A_REVERSE);
}

// Draws the password screen with a star for each character typed so far.
void draw_password_screen(int typed)
{
    clear();
    frame(stdscr);
    put_text(stdscr, k_pass_row, k_pass_label_col, "Password: ");
    char cells[k_pass_cells + 1];
    std::memset(cells, ' ', k_pass_cells);
    std::memset(cells, '*', static_cast<std::size_t>(typed));
    cells[k_pass_cells] = '\0';
    put_cells(0, cells);
    move(k_pass_row, k_pass_col + typed);
    curs_set(1);
    refresh();
}

}   // namespace

int chkpass()
{
    if (password == 1 || maintenance == 1 || secure[0] == '#' || secure[0] == '\0')
        return 0;
    char entry[k_pass_cells + 1] = {};
    int typed = 0;
    draw_password_screen(typed);
    int generation = resize_generation;
    bool escaped = false;
    for (;;) {
        const int key = get_input(&input, 0);
        if (key == -1) {
            if (generation != resize_generation) {
                generation = resize_generation;
                draw_password_screen(typed);
            }
            continue;
        }
        if (key == k_key_return || key == k_key_linefeed)
            break;
        if (key == k_key_esc) {
            escaped = true;
            break;
        }
        if (key == k_key_ctrl_h || key == k_key_backspace) {
            if (typed > 0) {
                --typed;
                put_cells(typed, " ");
                move(k_pass_row, k_pass_col + typed);
                refresh();
            }
            continue;
        }
        entry[typed] = static_cast<char>(key);
        put_cells(typed, "*");
        ++typed;
        if (typed == k_pass_cells) {
            --typed;   // the sixteenth character ends the entry and takes no part
            break;
        }
        move(k_pass_row, k_pass_col + typed);
        refresh();
    }
    entry[typed] = '\0';
    curs_set(0);
    if (escaped)
        return -1;
    if (std::strcmp(entry, secure) != 0) {
        popup("Sorry - Wrong Password", 1);
        return -1;
    }
    password = 1;
    return 0;
}
