// New album numbers from the master server.
#include "media/album_numbers.hpp"

#include "core/link.hpp"
#include "db/album.hpp"

#include <cstdlib>
#include <memory>

int request_album_number(std::int64_t type, std::uint64_t *value)
{
    auto msg = std::make_unique<server_msg>();
    msg->socket = master_sock;
    msg->type = type;
    msg->album = 1;
    msg->track = 0;
    set_text(*msg, "");
    send_msg(msg.get());
    if (value != nullptr)
        *value = std::strtoull(msg->text, nullptr, 16);
    // A refusal (0xFFFF), an answer that names no slot, and a number this table
    // already holds (a request that could not be sent comes back as it went) give none.
    if (msg->album <= 0 || msg->album >= k_album_slots || album[msg->album].present != 0)
        return 0;
    return static_cast<int>(msg->album);
}
