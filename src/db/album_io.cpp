#include "core/config.hpp"
#include "core/input.hpp"
#include "core/link.hpp"
#include "core/startup.hpp"
#include "db/album.hpp"
#include "playlist/console.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cstdio>
#include <cstring>
#include <curses.h>

namespace {
server_msg album_msg;   // the one record used for album reads and writes
}

int read_album(int number, int socket)
{
    album_msg.socket = socket;
    album_msg.type = ALBUM_READ;
    album_msg.sequence = 0;
    album_msg.album = number;
    album_msg.track = 0;
    album_msg.text[0] = '\0';
    send_msg(&album_msg);
    const bool in_table = number >= 0 && number < k_album_slots;
    if (album_msg.album == k_no_such_album) {
        if (in_table)
            album[number].present = 0;
        return 0;
    }
    if (album_msg.album == k_past_the_end) {
        if (in_table)
            album[number].present = 0;
        return 3;
    }
    read_album_data(&album_msg);
    return 1;
}

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

int write_album(int number, int socket)
{
    if (number < 0 || number >= k_album_slots)
        return 0;
    album_msg.socket = socket;
    album_msg.type = ALBUM_WRITE;
    album_msg.sequence = 0;
    album_msg.album = number;
    album_msg.track = 0;
    format_album_text(album[number], album_msg.text, sizeof album_msg.text);
    send_msg(&album_msg);
    album[number].present = 1;
    return 0;
}

int check_a_no(const char *number_text, int reload)
{
    int typed = 0;
    const int result = checked_album_number(
        number_text, reload, [](int number) { return read_album(number, master_sock); }, typed);
    if (result == -2) {
        char text[64];
        std::snprintf(text, sizeof text, "Invalid album No: %04d", typed);
        popup(text, 1);
    }
    return result;
}

int refresh_database(const void *, int mode, const char *)
{
    clear();
    frame(stdscr);
    controls(mode);
    clear();
    frame(stdscr);
    return 0;
}
