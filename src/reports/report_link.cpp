#include "reports/report_link.hpp"

#include "core/link.hpp"

#include <memory>

long report_request(std::int64_t type, int album_no, int track_no)
{
    // A message record holds a 32 KiB text: it lives on the heap, not on the stack.
    auto msg = std::make_unique<server_msg>();
    msg->socket = master_sock;
    msg->type = type;
    msg->album = album_no;
    msg->track = track_no;
    send_msg(msg.get());
    return static_cast<long>(msg->album);
}
