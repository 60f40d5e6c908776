// New album numbers from the master server.
#include "media/album_numbers.hpp"

#include "core/link.hpp"
#include "db/album.hpp"

#include <cstdlib>

int request_album_number(std::int64_t type, std::uint64_t *value)
{
    const server_msg reply = request(master_sock, type, 1, 0);
    if (value != nullptr)
        *value = std::strtoull(reply.text, nullptr, 16);
    // A refusal (0xFFFF), an answer that names no slot, and a number this table
    // already holds (a request that could not be sent comes back as it went) give none.
    if (reply.album <= 0 || reply.album >= k_album_slots || album[reply.album].present != 0)
        return 0;
    return static_cast<int>(reply.album);
}
