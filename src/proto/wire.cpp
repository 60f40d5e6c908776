#include "proto/wire.hpp"

#include "proto/text_util.hpp"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

bool fits(std::int64_t v, std::int64_t max) { return v >= 0 && v <= max; }

int hex_digit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// Reads `width` hex digits at p into v; false if any is not a digit.
bool read_hex(const char *p, int width, std::int64_t &v)
{
    v = 0;
    for (int i = 0; i < width; ++i) {
        const int d = hex_digit(p[i]);
        if (d < 0)
            return false;
        v = v * 16 + d;
    }
    return true;
}

}   // namespace

bool encode_header(char (&out)[k_header_len + 1], const wire_header &h)
{
    if (!fits(h.type, 0xFF) || !fits(h.sequence, 0xFFFF) || !fits(h.album, 0xFFFF) || !fits(h.track, 0xFFFF) ||
        h.length > k_text_max)
        return false;
    std::snprintf(out, sizeof out, "%2.2lx %4.4lx %4.4lx %4.4lx %4.4x ", static_cast<long>(h.type),
                  static_cast<long>(h.sequence), static_cast<long>(h.album), static_cast<long>(h.track),
                  static_cast<unsigned>(h.length));
    return true;
}

bool decode_header(const char *bytes, wire_header &h)
{
    // Field offsets and widths of the fixed header; a blank follows each field.
    constexpr struct {
        int offset;
        int width;
    } fields[] = {{0, 2}, {3, 4}, {8, 4}, {13, 4}, {18, 4}};
    std::int64_t v[5];
    for (int i = 0; i < 5; ++i) {
        if (!read_hex(bytes + fields[i].offset, fields[i].width, v[i]))
            return false;
        if (bytes[fields[i].offset + fields[i].width] != ' ')
            return false;
    }
    if (v[4] > k_text_max)
        return false;
    h = {.type = v[0], .sequence = v[1], .album = v[2], .track = v[3], .length = static_cast<std::uint32_t>(v[4])};
    return true;
}

std::size_t encode_message(char *buf, std::size_t cap, const wire_header &h, const char *text)
{
    char head[k_header_len + 1];
    if (!encode_header(head, h) || cap < k_header_len + h.length)
        return 0;
    std::memcpy(buf, head, k_header_len);
    if (h.length > 0)
        std::memcpy(buf + k_header_len, text, h.length);
    return k_header_len + h.length;
}

void set_text(server_msg &m, std::string_view text) { copy_bounded(m.text, text); }

void set_textf(server_msg &m, const char *format, ...)
{
    va_list ap;
    va_start(ap, format);
    std::vsnprintf(m.text, sizeof m.text, format, ap);
    va_end(ap);
}
