#include "ui/popup.hpp"

#include "core/input.hpp"
#include "proto/text_util.hpp"
#include "ui/form.hpp"
#include "ui/screen.hpp"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <curses.h>
#include <unistd.h>

namespace {

// A curses window that is deleted when it goes out of scope.
struct window_handle {
    WINDOW *win;
    explicit window_handle(WINDOW *w) : win(w) {}
    window_handle(const window_handle &) = delete;
    window_handle &operator=(const window_handle &) = delete;
    ~window_handle()
    {
        if (win != nullptr)
            delwin(win);
    }
};

bool printable(int key) { return key >= 0 && key < 256 && std::isprint(key); }

}   // namespace

int prompt(int row, int column, const char *text, char *reply, int length, int flags)
{
    if (flags & 4) {
        clear();
        frame(stdscr);
    }
    put_text(stdscr, row, column, text);
    refresh();
    if (length == 0)
        return -1;
    if (length == 1) {
        const int at = column + static_cast<int>(std::strlen(text)) + 1;
        attron(A_REVERSE);
        put_text(stdscr, row, at, " ");
        attroff(A_REVERSE);
        move(row, at);
        refresh();
        curs_set(1);
        int key;
        while ((key = get_input(&input, 0)) == -1) {
        }
        curs_set(0);
        if (key == 27 || key == 3)
            return -3;
        if (printable(key)) {
            key = std::tolower(key);
            reply[0] = static_cast<char>(key);
        }
        return key;
    }
    form_field field = {};
    field.row = row;
    field.column = column;
    copy_bounded(field.label, text);
    field.kind = 2;
    field.length = length < static_cast<int>(sizeof field.value) ? length : static_cast<int>(sizeof field.value) - 1;
    std::snprintf(field.value, sizeof field.value, "%-*.*s", field.length, field.length, reply);
    const int result = input_field(&field);
    curs_set(0);
    if (result == -3)
        return -3;
    std::memcpy(reply, field.value, static_cast<std::size_t>(field.length));
    reply[field.length] = '\0';
    for (int i = field.length - 1; i >= 0 && reply[i] == ' '; --i)
        reply[i] = '\0';
    return printable(static_cast<unsigned char>(reply[0])) ? std::tolower(static_cast<unsigned char>(reply[0])) : result;
}

void popup(const char *text, int seconds)
{
    if (!gui)
        return;
    char copy[4096];
    copy_bounded(copy, text);
    const popup_box box = popup_geometry(static_cast<int>(std::strlen(copy)));
    {
        window_handle w(newwin(box.lines, box.cols, box.row, box.col));
        if (w.win != nullptr) {
            frame(w.win);
            const int width = box.cols - 4;
            int row = 2;
            for (const std::string &piece : popup_lines(copy))
                put_text(w.win, row++, (width - static_cast<int>(piece.size())) / 2 + 2, piece.c_str());
            wrefresh(w.win);
        }
        if (seconds < 0) {
            sleep(static_cast<unsigned>(-seconds));
        } else if (seconds == 0) {
            while (get_input(&input, 0) == -1) {
            }
        } else {
            const int t = seconds > 1 ? seconds - 1 : 1;
            if (get_input(&input, t) == -1)
                sleep(static_cast<unsigned>(t));
        }
    }
    touchwin(stdscr);
    wrefresh(stdscr);
}

void error_msg(const char *text, int number)
{
    const int saved = errno;
    char buf[4096];
    if (number != 0)
        std::snprintf(buf, sizeof buf, " %s: %d ", text, number);
    else
        std::snprintf(buf, sizeof buf, " %s", text);
    if (saved != 0) {
        char tail[256];
        std::snprintf(tail, sizeof tail, " - %s ", std::strerror(saved));
        append_bounded(buf, tail);
    }
    popup(buf, 0);
    errno = saved;
}
