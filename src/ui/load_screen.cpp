#include "ui/load_screen.hpp"

#include "core/config.hpp"
#include "core/link.hpp"
#include "core/startup.hpp"
#include "db/album.hpp"
#include "ui/screen.hpp"

#include <cstdio>
#include <curses.h>

void read_database()
{
    frame(stdscr);
    const char *time_text = get_time(0);
    char line[128];
    std::snprintf(line, sizeof line, "%s Started (%s) %s", version, server_mode, time_text);
    put_text(stdscr, 10, 10, line);
    put_text(stdscr, 15, 26, "Reading Database....");
    refresh();
    clear_album_table();
    for (int n = 1; n <= k_last_regular; ++n) {
        const int r = read_album(n, master_sock);
        if (r == 3)
            break;
        if (r == 1) {
            char number[8];
            std::snprintf(number, sizeof number, "%4.4d", n);
            put_text(stdscr, 15, 47, number);
            refresh();
            max_album = n;
        }
    }
    for (int n = k_reserved_first; n < k_reserved_first + k_reserved_count; ++n)
        read_album(n, master_sock);
}
