// What handling a request or a clock tick sends: encoded frames, each with
// the connections it goes to. The network layer delivers them; the handlers
// and the player never touch a socket.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Sequence of the unsolicited messages. The server answers the greeting with
// the high byte 0x01, so a client's requests never carry 0x0000 or 0x0200
// and can never be matched by a notice. A playlist notice with a non-zero
// sequence asks a client showing an offline playlist to take it.
inline constexpr std::int64_t k_notice_sequence = 0x0000;
inline constexpr std::int64_t k_offline_notice_sequence = 0x0200;
inline constexpr std::int64_t k_greeting_sequence = 0x0100;

// The album field of a refused request.
inline constexpr std::int64_t k_refused = 0xFFFF;

// Who a frame goes to.
enum class target {
    requester,   // the connection that sent the request
    all,         // every client connection (not audio streams)
    others,      // every client connection except the requester
    viewers,     // client connections showing the offline playlist `plist`, the requester included
    audio,       // every audio stream
    session,     // the connection with the session id `session` (a reply given later)
    drive_links, // every local server's link to this master (requests handed on to their drives)
};

using frame_ptr = std::shared_ptr<const std::string>;

// One frame and its destination.
struct out_msg {
    target to;
    frame_ptr frame;
    std::string plist;   // for target::viewers
    int session = 0;     // for target::session
};

// The frames produced by one request or tick, in sending order.
struct outbox {
    std::vector<out_msg> items;
};

// Encodes one message (the text may hold any bytes); nullptr when a field does not fit the header.
frame_ptr make_frame(std::int64_t type, std::int64_t sequence, std::int64_t album, std::int64_t track,
                     std::string_view text);

// A copy of an encoded frame with another sequence; nullptr when it is shorter
// than a header or the sequence does not fit.
frame_ptr frame_with_sequence(std::string_view frame, std::int64_t sequence);

// Queues a frame.
void post(outbox &out, target to, frame_ptr frame, std::string plist = {});

// Queues a frame for one connection, named by its session id.
void post_to_session(outbox &out, int session, frame_ptr frame);

// Reads back the fields of an encoded frame (tests and tools).
struct frame_fields {
    std::int64_t type;
    std::int64_t sequence;
    std::int64_t album;
    std::int64_t track;
    std::string text;
};
bool read_frame(const std::string &frame, frame_fields &out);
