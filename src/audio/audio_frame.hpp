// Framing of the audio connection: the streamer's requests and the reassembly
// of the messages it reads, whatever sizes the reads come in.
//
// A message is a 23-byte header "tt ffff vvvv tttt llll " (type, three numeric
// fields, payload length, lower-case hex) followed by exactly `length` payload
// bytes. The payload area holds 32,768 bytes; a longer payload is refused.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr std::size_t k_audio_header_len = 23;
inline constexpr std::uint32_t k_audio_payload_max = 32768;

// The fields of one audio-connection header.
struct audio_header {
    std::int64_t type;     // message type
    std::int64_t first;    // first numeric field (not used by the streamer)
    std::int64_t value;    // second numeric field: a request's value
    std::int64_t third;    // third numeric field (not used by the streamer)
    std::uint32_t length;  // payload bytes that follow the header
};

// What a header turned out to be.
enum class audio_header_check {
    ok,          // well formed, payload fits
    malformed,   // a field that is not hex digits, or a missing blank
    too_long,    // payload length above 32,768
};

// Parses exactly 23 header bytes into h (h is set only when the result is ok).
audio_header_check parse_audio_header(const char *bytes, audio_header &h);

// Writes the request header "%2.2lx %4.4lx %4.4lx %4.4lx %4.4x " with the
// fields type, 0, value, 0, 0 into out; returns its length (23 for values that
// fit their widths, more for ones that do not: the caller sends what it got).
int format_audio_request(char (&out)[64], std::int64_t type, std::int64_t value);

// One message read from the audio connection.
struct audio_msg {
    audio_header h = {};                             // its header
    char payload[k_audio_payload_max + 1] = {};      // its payload, NUL-terminated
};

// Where one message's reassembly stands.
enum class audio_step {
    more,        // the message is not complete yet: read again
    complete,    // header and payload are all in
    malformed,   // the header is not a header: the peer broke the framing
    too_long,    // the header announces more payload than the area holds
};

// One message being reassembled from reads of any size. Start from a
// value-initialised record; ask audio_want how many bytes to read next and
// audio_dest where they go, then tell audio_took how many arrived. A read never
// crosses into the next message, so nothing is ever buffered twice.
struct audio_assembly {
    char header[k_audio_header_len + 1] = {};   // header bytes received so far
    std::size_t header_have = 0;                // how many of them
    bool header_done = false;                   // the header is complete and valid
    audio_header h = {};                        // the parsed header, once done
    std::size_t payload_have = 0;               // payload bytes received so far
};

// The number of bytes still needed for the part being read (header, then payload).
std::size_t audio_want(const audio_assembly &a);

// Where the next read should land: inside the header, or inside payload (which
// must hold k_audio_payload_max bytes and a NUL).
char *audio_dest(audio_assembly &a, char *payload);

// Accounts for n bytes that arrived at audio_dest (n no more than audio_want).
// On completion the payload is NUL-terminated.
audio_step audio_took(audio_assembly &a, std::size_t n, char *payload);

inline constexpr std::size_t k_audio_frame_bytes = 4;   // one stereo frame of 16-bit samples

// The bytes of a partial frame left over from one block, kept for the next:
// the sound server takes whole frames only.
struct frame_carry {
    char bytes[k_audio_frame_bytes] = {};   // the leftover bytes
    std::size_t count = 0;                  // how many (0..3)
};

// Puts the carried bytes and then the payload into out (which holds
// k_audio_frame_bytes + length bytes); returns how many bytes at the front of
// out are whole frames, and carries the rest over to the next block.
std::size_t join_frames(frame_carry &carry, const char *payload, std::size_t length, char *out);
