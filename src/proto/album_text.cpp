#include "proto/album_text.hpp"

#include "proto/text_util.hpp"

#include <array>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

namespace {

// Takes the next line (without its newline) from text[pos..len); false when the text is used up.
bool next_line(const char *text, std::size_t len, std::size_t &pos, std::string_view &line)
{
    if (pos >= len)
        return false;
    const void *nl = std::memchr(text + pos, '\n', len - pos);
    const std::size_t end = nl != nullptr ? static_cast<std::size_t>(static_cast<const char *>(nl) - text) : len;
    line = std::string_view(text + pos, end - pos);
    pos = nl != nullptr ? end + 1 : len;
    return true;
}

// The blanks of the C locale (the only one the program runs in).
bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// The value of a hex digit, or 16 for any other byte.
constexpr std::array<std::uint8_t, 256> k_hex_value = [] {
    std::array<std::uint8_t, 256> v{};
    for (auto &x : v)
        x = 16;
    for (int c = '0'; c <= '9'; ++c)
        v[static_cast<std::size_t>(c)] = static_cast<std::uint8_t>(c - '0');
    for (int c = 'a'; c <= 'f'; ++c) {
        v[static_cast<std::size_t>(c)] = static_cast<std::uint8_t>(c - 'a' + 10);
        v[static_cast<std::size_t>(c - 'a' + 'A')] = static_cast<std::uint8_t>(c - 'a' + 10);
    }
    return v;
}();

unsigned digit_value(char c) { return k_hex_value[static_cast<unsigned char>(c)]; }

// Skips blanks and a sign as strtoul and strtol do; true when the sign was '-'.
[[gnu::always_inline]] inline bool skip_blanks_and_sign(const char *&p, const char *end)
{
    while (p < end && is_space(*p))
        ++p;
    if (p < end && (*p == '+' || *p == '-'))
        return *p++ == '-';
    return false;
}

// Reads the digits of base `base` at p (at most until end) into v; true when
// the value overflowed 64 bits. The first `safe` digits cannot overflow, so
// they go without the check.
template <unsigned base, int safe>
[[gnu::always_inline]] inline bool read_digits(const char *&p, const char *end, std::uint64_t &v)
{
    const char *const fast_end = end - p > safe ? p + safe : end;
    unsigned d = 0;
    while (p < fast_end && (d = digit_value(*p)) < base) {
        v = v * base + d;
        ++p;
    }
    bool overflow = false;
    while (p < end && (d = digit_value(*p)) < base) {
        overflow = overflow || __builtin_mul_overflow(v, base, &v) || __builtin_add_overflow(v, d, &v);
        ++p;
    }
    return overflow;
}

// Reads one number in [p, end) exactly as strtoul (base 16, with its optional
// "0x") or strtol (base 10) reads it: blanks, a sign, digits; an overflow gives
// ULONG_MAX, or LONG_MAX / LONG_MIN. Returns the end of the number, or nullptr
// when no digit follows, which ends the scan. (A NUL is neither blank, sign
// nor digit, so it ends a number as it ends a C string.)
[[gnu::always_inline]] inline const char *scan_hex(const char *p, const char *end, std::uint64_t &out)
{
    const bool negative = skip_blanks_and_sign(p, end);
    // "0x" counts only before a hex digit; otherwise the "0" is the number.
    if (end - p >= 3 && p[0] == '0' && (p[1] == 'x' || p[1] == 'X') && digit_value(p[2]) < 16)
        p += 2;
    const char *const digits = p;
    std::uint64_t v = 0;
    const bool overflow = read_digits<16, 16>(p, end, v);
    if (p == digits)
        return nullptr;
    out = overflow ? std::numeric_limits<std::uint64_t>::max() : negative ? 0 - v : v;
    return p;
}

[[gnu::always_inline]] inline const char *scan_dec(const char *p, const char *end, std::int64_t &out)
{
    const bool negative = skip_blanks_and_sign(p, end);
    const char *const digits = p;
    std::uint64_t v = 0;
    const bool overflow = read_digits<10, 19>(p, end, v);
    if (p == digits)
        return nullptr;
    constexpr std::uint64_t k_max = std::numeric_limits<std::int64_t>::max();
    if (negative)
        out = overflow || v > k_max + 1 ? std::numeric_limits<std::int64_t>::min() : static_cast<std::int64_t>(0 - v);
    else
        out = overflow || v > k_max ? std::numeric_limits<std::int64_t>::max() : static_cast<std::int64_t>(v);
    return p;
}

// How much of a third line is ever looked at.
constexpr std::size_t k_entry_line_scan = 255;

// Scans the third line of an entry as "%5s %c %lx %d %lx %ld" would, in place:
// only its first 255 bytes count, and it ends at a NUL; fields that the line
// does not supply stay as they were. (A hand-written scan: the database load
// reads this line for every track of the library.)
void scan_entry_line(std::string_view line, track_rec &t)
{
    const char *p = line.data();
    const char *const end = p + (line.size() < k_entry_line_scan ? line.size() : k_entry_line_scan);
    while (p < end && is_space(*p))
        ++p;
    if (p == end || *p == '\0')
        return;
    std::size_t n = 0;
    while (n < 5 && p + n < end && p[n] != '\0' && !is_space(p[n]))
        ++n;
    std::memcpy(t.time, p, n);
    t.time[n] = '\0';
    p += n;
    while (p < end && is_space(*p))
        ++p;
    if (p == end || *p == '\0')
        return;
    t.status = *p++;
    std::uint64_t hex = 0;
    std::int64_t dec = 0;
    if ((p = scan_hex(p, end, hex)) == nullptr)
        return;
    t.last_played = static_cast<std::int64_t>(hex);
    if ((p = scan_dec(p, end, dec)) == nullptr)
        return;
    t.online = static_cast<std::int32_t>(dec);
    if ((p = scan_hex(p, end, hex)) == nullptr)
        return;
    t.cd_ident = hex;
    if (scan_dec(p, end, dec) != nullptr)
        t.plays = dec;
}

}   // namespace

int parse_album_text(const char *text, std::size_t len, album_rec &rec)
{
    std::size_t pos = 0;
    int entries = 0;
    std::string_view line;
    while (entries < k_max_entries && next_line(text, len, pos, line)) {
        track_rec &t = rec.entry[entries];
        copy_bounded(t.artist, line);
        if (next_line(text, len, pos, line))
            copy_bounded(t.title, line);
        if (next_line(text, len, pos, line))
            scan_entry_line(line, t);
        ++entries;
    }
    if (entries < k_max_entries)
        rec.entry[entries].title[0] = '\0';
    rec.tracks = entries - 1;
    rec.present = 1;
    return entries;
}

int format_entry_line(const track_rec &t, char *buf, std::size_t cap)
{
    // An empty record has no status letter yet; a NUL here would cut the text short.
    const char status = t.status != '\0' ? t.status : '-';
    char time_text[sizeof t.time];
    copy_bounded(time_text, std::string_view(t.time, strnlen(t.time, sizeof t.time)));
    return std::snprintf(buf, cap, "%s %c %8.8lX %d %8.8lX %ld", time_text, status,
                         static_cast<unsigned long>(t.last_played), t.online, static_cast<unsigned long>(t.cd_ident),
                         static_cast<long>(t.plays));
}

std::size_t format_album_text(album_rec &rec, char *buf, std::size_t cap)
{
    std::size_t used = 0;
    int written = 0;
    if (cap > 0)
        buf[0] = '\0';
    for (int i = 0; i < k_max_entries && rec.entry[i].title[0] != '\0'; ++i) {
        const track_rec &t = rec.entry[i];
        char third[128];
        format_entry_line(t, third, sizeof third);
        const int n = std::snprintf(buf + used, cap - used, "%.*s\n%.*s\n%s\n", static_cast<int>(strnlen(t.artist, 67)),
                                    t.artist, static_cast<int>(strnlen(t.title, 67)), t.title, third);
        if (n < 0 || used + static_cast<std::size_t>(n) >= cap)
            break;   // cannot happen with 100 entries in 32 KiB; stop rather than overflow
        used += static_cast<std::size_t>(n);
        ++written;
    }
    rec.tracks = written - 1;
    return used;
}

int time_text_seconds(const char *time_text)
{
    int minutes = 0;
    int seconds = 0;
    std::sscanf(time_text, "%d:%d", &minutes, &seconds);
    return minutes * 60 + seconds;
}
