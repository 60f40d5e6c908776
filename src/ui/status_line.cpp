#include "ui/status_line.hpp"

#include "core/input.hpp"
#include "ui/screen.hpp"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <curses.h>

namespace {
int reminder_phase;   // the CD reminder shows its text on odd idle seconds
}   // namespace

void show_idle_status()
{
    if (playtime > 0) {
        now = std::time(nullptr);
        if (!paused)
            playtime -= static_cast<int>(now - then);
        then = now;
        if (playtime < 0)
            playtime = 0;
        char text[16];
        std::snprintf(text, sizeof text, "%02d:%02d", playtime / 60, playtime % 60);
        attron(A_REVERSE);
        put_text(stdscr, LINES - 1, 74, text);
        attroff(A_REVERSE);
    }
    if (retrieve_album != k_no_album) {
        char text[64];
        const int len = std::snprintf(text, sizeof text, "Please load CD number %4.4d", retrieve_album);
        if (reminder_phase == 0)
            std::memset(text, ' ', static_cast<std::size_t>(len));
        reminder_phase ^= 1;
        attron(A_BOLD);
        put_text(stdscr, 22, centre_column(len), text);
        attroff(A_BOLD);
    } else {
        reminder_phase = 0;
    }
}
