// Albums read from and written to a server over the link.
#include "core/link.hpp"
#include "db/album.hpp"
#include "proto/msg_types.hpp"

int read_album(int number, int socket)
{
    const server_msg reply = request(socket, ALBUM_READ, number, 0);
    const bool in_table = number >= 0 && number < k_album_slots;
    if (reply.album == k_no_such_album) {
        if (in_table)
            album[number].present = 0;
        return 0;
    }
    if (reply.album == k_past_the_end) {
        if (in_table)
            album[number].present = 0;
        return 3;
    }
    read_album_data(&reply);
    return 1;
}

int write_album(int number, int socket)
{
    if (number < 0 || number >= k_album_slots)
        return 0;
    char text[k_text_max + 1];
    format_album_text(album[number], text, sizeof text);
    request(socket, ALBUM_WRITE, number, 0, text);
    album[number].present = 1;
    return 0;
}
