// Albums read from and written to a server over the link.
#include "core/link.hpp"
#include "db/album.hpp"
#include "proto/msg_types.hpp"

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
