// One protocol message and its exact encoding on the wire.
//
// A message is a 23-byte header "tt ssss aaaa kkkk llll " (type, sequence,
// album, track, text length, all lower-case hex, zero-padded to their widths)
// followed by exactly `length` text bytes, with no terminator. Every value must
// fit its width, or the framing breaks: a sender refuses such a message and a
// receiver treats such a header as a broken peer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

inline constexpr std::size_t k_header_len = 23;
inline constexpr std::uint32_t k_text_max = 0x8000;   // largest text a message may carry

// One message, as held in memory. The same record carries a request and, once
// the link's request() returns it, its reply.
struct server_msg {
    server_msg *link = nullptr;   // next record in the pending-message queue
    std::int64_t socket = 0;      // descriptor the message goes to or came from
    std::int64_t type = 0;
    std::int64_t sequence = 0;
    std::int64_t album = 0;
    std::int64_t track = 0;
    std::uint32_t length = 0;     // text bytes; set by the sender from the text
    char text[k_text_max + 1] = {};   // NUL-terminated; one spare byte for the NUL of a full text
};

// The fields of a decoded header.
struct wire_header {
    std::int64_t type;
    std::int64_t sequence;
    std::int64_t album;
    std::int64_t track;
    std::uint32_t length;
};

// Writes the 23-byte header (and a NUL) into out. Returns false, writing
// nothing, when a value does not fit its width (type 0..0xff, sequence, album
// and track 0..0xffff, length 0..0x8000).
bool encode_header(char (&out)[k_header_len + 1], const wire_header &h);

// Parses exactly 23 header bytes. Returns false for anything that is not a
// well-formed header: a field that is not all hex digits, a missing blank, or
// a length above 0x8000.
bool decode_header(const char *bytes, wire_header &h);

// Formats a whole message (header and text) into buf, which must hold
// k_header_len + k_text_max bytes. Returns the byte count, or 0 when the
// message cannot be framed.
std::size_t encode_message(char *buf, std::size_t cap, const wire_header &h, const char *text);

// The per-connection sequence rule: the high byte is kept, the low byte
// advances by one and rolls over without carrying into the high byte.
constexpr std::int64_t next_sequence(std::int64_t reply_sequence)
{
    return (reply_sequence & 0xFF00) | ((reply_sequence + 1) & 0x00FF);
}
static_assert(next_sequence(0x03FF) == 0x0300);
static_assert(next_sequence(0x0000) == 0x0001);
static_assert(next_sequence(0x12345) == 0x2346);

// Sets a message's text (cut to the largest text a message may carry).
void set_text(server_msg &m, std::string_view text);

// Sets a message's text from a printf format.
[[gnu::format(printf, 2, 3)]] void set_textf(server_msg &m, const char *format, ...);
