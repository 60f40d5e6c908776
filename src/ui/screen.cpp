#include "ui/screen.hpp"

#include "proto/text_util.hpp"
#include "ui/centre.hpp"

#include <cstring>

char heading[1024];
char footer[256];

void put_text(WINDOW *win, int row, int col, const char *text)
{
    if (win == nullptr || row < 0 || col < 0 || row >= getmaxy(win) || col >= getmaxx(win))
        return;
    // Cut at the right edge rather than letting the text wrap onto the next line.
    mvwaddnstr(win, row, col, text, getmaxx(win) - col);
}

void frame(WINDOW *win)
{
    const int rows = getmaxy(win);
    const int cols = getmaxx(win);
    if (rows < 2 || cols < 2)
        return;
    mvwaddch(win, 0, 0, ACS_ULCORNER);
    for (int c = 1; c < cols - 1; ++c)
        mvwaddch(win, 0, c, ACS_HLINE);
    mvwaddch(win, 0, cols - 1, ACS_URCORNER);
    for (int r = 1; r < rows - 1; ++r) {
        mvwaddch(win, r, 0, ACS_VLINE);
        mvwaddch(win, r, cols - 1, ACS_VLINE);
    }
    mvwaddch(win, rows - 1, 0, ACS_LLCORNER);
    for (int c = 1; c < cols - 1; ++c)
        mvwaddch(win, rows - 1, c, ACS_HLINE);
    mvwaddch(win, rows - 1, cols - 1, ACS_LRCORNER);
    wattrset(win, A_NORMAL);
}

void header(const char *title)
{
    if (title != nullptr && title != heading)
        copy_bounded(heading, title);
    heading[k_centred_max] = '\0';
    const centred_text line = centre_for_80(heading);
    attron(A_REVERSE);
    put_text(stdscr, 0, line.column, line.text);
    attroff(A_REVERSE);
    refresh();
}
