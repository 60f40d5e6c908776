#include "audio/audio_frame.hpp"

#include <charconv>
#include <cstdio>
#include <cstring>

namespace {

// Field offsets and widths of the fixed header; a blank follows each field.
struct header_field {
    int offset;
    int width;
};
constexpr header_field header_fields[] = {
    {.offset = 0, .width = 2},
    {.offset = 3, .width = 4},
    {.offset = 8, .width = 4},
    {.offset = 13, .width = 4},
    {.offset = 18, .width = 4},
};
static_assert(header_fields[4].offset + header_fields[4].width + 1 == k_audio_header_len);

// Reads one field of exactly `width` hex digits (either case, no sign); false if it is anything else.
bool read_field(const char *p, int width, std::int64_t &v)
{
    std::uint32_t parsed = 0;
    const auto [end, ec] = std::from_chars(p, p + width, parsed, 16);
    if (ec != std::errc() || end != p + width)
        return false;
    v = parsed;
    return true;
}

}   // namespace

audio_header_check parse_audio_header(const char *bytes, audio_header &h)
{
    std::int64_t v[5] = {};
    for (int i = 0; i < 5; ++i) {
        const header_field &f = header_fields[i];
        if (!read_field(bytes + f.offset, f.width, v[i]) || bytes[f.offset + f.width] != ' ')
            return audio_header_check::malformed;
    }
    if (v[4] > k_audio_payload_max)
        return audio_header_check::too_long;
    h = {.type = v[0], .first = v[1], .value = v[2], .third = v[3], .length = static_cast<std::uint32_t>(v[4])};
    return audio_header_check::ok;
}

int format_audio_request(char (&out)[64], std::int64_t type, std::int64_t value)
{
    const int n = std::snprintf(out, sizeof out, "%2.2lx %4.4lx %4.4lx %4.4lx %4.4x ", static_cast<long>(type), 0L,
                                static_cast<long>(value), 0L, 0U);
    return n < static_cast<int>(sizeof out) ? n : static_cast<int>(sizeof out) - 1;
}

std::size_t audio_want(const audio_assembly &a)
{
    if (!a.header_done)
        return k_audio_header_len - a.header_have;
    return a.h.length - a.payload_have;
}

char *audio_dest(audio_assembly &a, char *payload)
{
    if (!a.header_done)
        return a.header + a.header_have;
    return payload + a.payload_have;
}

audio_step audio_took(audio_assembly &a, std::size_t n, char *payload)
{
    if (!a.header_done) {
        a.header_have += n;
        if (a.header_have < k_audio_header_len)
            return audio_step::more;
        a.header[k_audio_header_len] = '\0';
        switch (parse_audio_header(a.header, a.h)) {
        case audio_header_check::malformed:
            return audio_step::malformed;
        case audio_header_check::too_long:
            return audio_step::too_long;
        case audio_header_check::ok:
            break;
        }
        a.header_done = true;
        a.payload_have = 0;
    } else {
        a.payload_have += n;
    }
    if (a.payload_have < a.h.length)
        return audio_step::more;
    payload[a.h.length] = '\0';
    return audio_step::complete;
}

std::size_t join_frames(frame_carry &carry, const char *payload, std::size_t length, char *out)
{
    std::memcpy(out, carry.bytes, carry.count);
    if (length > 0)
        std::memcpy(out + carry.count, payload, length);
    const std::size_t total = carry.count + length;
    const std::size_t whole = total - total % k_audio_frame_bytes;
    carry.count = total - whole;
    std::memcpy(carry.bytes, out + whole, carry.count);
    return whole;
}
