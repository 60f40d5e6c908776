// Questions on one line, boxed pop-up messages and error messages.
#include "ui/popup.hpp"

#include "core/input.hpp"
#include "core/keys.hpp"
#include "proto/text_util.hpp"
#include "ui/form.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <curses.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// A curses window that is deleted when it goes out of scope.
struct window_handle {
    WINDOW *win = nullptr;
    window_handle() = default;
    window_handle(const window_handle &) = delete;
    window_handle &operator=(const window_handle &) = delete;
    ~window_handle() { reset(nullptr); }
    void reset(WINDOW *w)
    {
        if (win != nullptr)
            delwin(win);
        win = w;
    }
};

// Printable in the C locale: blank to tilde.
bool printable(int key) { return key >= ' ' && key <= '~'; }

// Folds an ASCII capital to lower case; every other key is left alone.
int fold(int key) { return key >= 'A' && key <= 'Z' ? key - 'A' + 'a' : key; }

// Writes the question of a one-key prompt and the reversed answer cell after it.
void draw_key_question(int row, int column, const char *text, int flags)
{
    if (flags & 4) {
        clear();
        frame(stdscr);
    }
    put_text(stdscr, row, column, text);
    const int at = column + static_cast<int>(std::strlen(text)) + 1;
    attron(A_REVERSE);
    put_text(stdscr, row, at, " ");
    attroff(A_REVERSE);
    move(row, at);
    refresh();
}

// Opens the pop-up's window on the screen as it is now and draws the text in it.
void draw_popup(window_handle &w, const std::vector<std::string> &lines, int text_length)
{
    const popup_box box = popup_geometry(text_length);
    const popup_box on_screen = fit_popup(box, LINES, COLS);
    w.reset(nullptr);
    if (on_screen.lines < 1 || on_screen.cols < 1)
        return;
    w.reset(newwin(on_screen.lines, on_screen.cols, on_screen.row, on_screen.col));
    if (w.win == nullptr)
        return;
    frame(w.win);
    const int width = box.cols - 4;
    const int shift = box.col - on_screen.col;   // where a small screen moved the box
    int row = 2 + box.row - on_screen.row;
    for (const std::string &piece : lines)
        put_text(w.win, row++, (width - static_cast<int>(piece.size())) / 2 + 2 + shift, piece.c_str());
    wrefresh(w.win);
}

}   // namespace

int prompt(int row, int column, const char *text, char *reply, int length, int flags)
{
    if (length == 1) {
        draw_key_question(row, column, text, flags);
        curs_set(1);
        int generation = resize_generation;
        int key;
        while ((key = get_input(&input, 0)) == -1) {
            if (generation != resize_generation) {
                generation = resize_generation;
                draw_key_question(row, column, text, flags);
            }
        }
        curs_set(0);
        if (key == k_key_esc || key == k_key_ctrl_c)
            return k_field_esc;
        if (printable(key)) {
            key = fold(key);
            reply[0] = static_cast<char>(key);
        }
        return key;
    }
    if (flags & 4) {
        clear();
        frame(stdscr);
    }
    put_text(stdscr, row, column, text);
    refresh();
    if (length == 0)
        return -1;
    form_field field = {};
    field.row = row;
    field.column = column;
    copy_bounded(field.label, text);
    field.kind = 2;
    field.length = length < static_cast<int>(sizeof field.value) ? length : static_cast<int>(sizeof field.value) - 1;
    std::snprintf(field.value, sizeof field.value, "%-*.*s", field.length, field.length, reply);
    const int result = input_field(&field);
    curs_set(0);
    if (result == k_field_esc)
        return k_field_esc;
    return text_answer(field.value, field.length, reply, result);
}

void popup(const char *text, int seconds)
{
    if (!gui)
        return;
    char copy[4096];
    copy_bounded(copy, text);
    const int length = static_cast<int>(std::strlen(copy));
    const std::vector<std::string> lines = popup_lines(copy);
    {
        window_handle w;
        draw_popup(w, lines, length);
        int generation = resize_generation;
        if (seconds < 0) {
            sleep(static_cast<unsigned>(-seconds));
        } else if (seconds == 0) {
            while (get_input(&input, 0) == -1) {
                if (generation != resize_generation) {
                    generation = resize_generation;
                    draw_popup(w, lines, length);
                }
            }
        } else {
            const int t = seconds > 1 ? seconds - 1 : 1;
            if (get_input(&input, t) == -1) {
                if (generation != resize_generation)
                    draw_popup(w, lines, length);
                sleep(static_cast<unsigned>(t));
            }
        }
    }
    touchwin(stdscr);
    wrefresh(stdscr);
}

void error_msg(const char *text, int number)
{
    const int saved = errno;
    char buf[4096];
    format_error(buf, sizeof buf, text, number, saved);
    popup(buf, 0);
    // errno is neither cleared nor changed here: a caller sees what it had before.
    errno = saved;
}
