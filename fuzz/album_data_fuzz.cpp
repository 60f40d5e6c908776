// Fuzzes the client's reader of album data (an ALBUM_READ reply or an
// ALBUM_WRITTEN notice): the first two bytes give the album field, the rest
// is the text, read into the album table.
//
// Checked: a number outside the table changes nothing; the slot read holds at
// most 99 tracks and every text in it stays terminated.
#include "db/album.hpp"
#include "proto/msg_types.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static auto msg = std::make_unique<server_msg>();
    if (size < 2)
        return 0;
    // Numbers just around the table's edges, and any other.
    const std::int64_t raw = data[0] << 8 | data[1];
    const std::int64_t number = raw >= 0xFF00 ? k_album_slots - 0x80 + (raw & 0xFF) : raw;
    const std::size_t len = std::min<std::size_t>(size - 2, k_text_max);
    msg->type = ALBUM_READ;
    msg->album = number;
    msg->length = static_cast<std::uint32_t>(len);
    std::memcpy(msg->text, data + 2, len);
    msg->text[len] = '\0';
    const int max_before = max_album;
    read_album_data(msg.get());
    if (number < 0 || number >= k_album_slots) {
        if (max_album != max_before)
            std::abort();
        return 0;
    }
    const album_rec &a = album[number];
    if (a.tracks < -1 || a.tracks > 99)
        std::abort();
    for (const track_rec &t : a.entry)
        if (strnlen(t.artist, sizeof t.artist) == sizeof t.artist || strnlen(t.title, sizeof t.title) == sizeof t.title ||
            strnlen(t.time, sizeof t.time) == sizeof t.time)
            std::abort();
    std::memset(&album[number], 0, sizeof album[number]);
    return 0;
}
