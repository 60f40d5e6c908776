#include "reports/audit_scan.hpp"

#include "db/album.hpp"
#include "proto/text_util.hpp"

#include <climits>
#include <cstring>

namespace {

constexpr bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

constexpr int hex_value(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

void skip_spaces(const char *&p)
{
    while (is_space(*p))
        ++p;
}

// "%lx": blanks, a sign, an optional 0x and at least one hex digit; wraps like the C library.
bool scan_hex(const char *&p, unsigned long &out)
{
    skip_spaces(p);
    bool negative = false;
    if (*p == '+' || *p == '-')
        negative = *p++ == '-';
    if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X') && hex_value(p[2]) >= 0)
        p += 2;
    if (hex_value(*p) < 0)
        return false;
    unsigned long v = 0;
    for (; hex_value(*p) >= 0; ++p)
        v = v * 16 + static_cast<unsigned long>(hex_value(*p));
    out = negative ? 0 - v : v;
    return true;
}

// "%d": blanks, a sign and at least one digit; held to the range of an int.
bool scan_int(const char *&p, int &out)
{
    skip_spaces(p);
    bool negative = false;
    if (*p == '+' || *p == '-')
        negative = *p++ == '-';
    if (*p < '0' || *p > '9')
        return false;
    long long v = 0;
    for (; *p >= '0' && *p <= '9'; ++p)
        if (v <= INT_MAX)
            v = v * 10 + (*p - '0');
    if (negative)
        v = -v;
    out = v > INT_MAX ? INT_MAX : v < INT_MIN ? INT_MIN : static_cast<int>(v);
    return true;
}

// The album table's record of a line's numbers, or null outside the table.
const track_rec *table_entry(int album_no, int track_no)
{
    if (album_no < 0 || album_no >= k_album_slots || track_no < 0 || track_no >= k_max_entries)
        return nullptr;
    return &album[album_no].entry[track_no];
}

}   // namespace

bool read_audit_line(std::FILE *file, char (&line)[k_audit_line])
{
    std::size_t n = 0;
    int c = std::getc(file);
    if (c == EOF)
        return false;
    for (; c != EOF && c != '\n'; c = std::getc(file))
        if (n < k_audit_line - 1)
            line[n++] = static_cast<char>(c);
    line[n] = '\0';
    return true;
}

bool scan_plist_ref(const char *line, plist_ref &ref)
{
    const char *p = line;
    plist_ref r;
    if (!scan_hex(p, r.key) || !scan_int(p, r.album_no) || *p++ != '/' || !scan_int(p, r.track_no))
        return false;
    ref = r;
    return true;
}

void stored_field(const char *line, std::size_t offset, char (&out)[k_audit_field + 1])
{
    const std::size_t len = std::strlen(line);
    copy_bounded(out, offset < len ? std::string_view(line + offset, len - offset) : std::string_view());
}

void expected_field(const char *text, char (&out)[k_audit_field + 1])
{
    std::snprintf(out, sizeof out, "%-28.28s", text);
}

void format_artist_mismatch(char *buf, std::size_t cap, const char *file, int album_no, int track_no,
                            const char *stored, const char *expected)
{
    std::snprintf(buf, cap, "Audit playlist: %s\t %04d/%02d: Artist mismatch:\n\"%s\" Should be: \"%s\"", file,
                  album_no, track_no, stored, expected);
}

void format_title_mismatch(char *buf, std::size_t cap, const char *file, int album_no, int track_no,
                           const char *stored, const char *expected)
{
    std::snprintf(buf, cap, "Audit playlist: %s\t %04d/%02d:  Title mismatch:\n \"%s\" Should be: \"%s\"", file,
                  album_no, track_no, stored, expected);
}

int audit_plist_line(const char *file, const char *line, const line_sink &log)
{
    plist_ref ref;
    if (!scan_plist_ref(line, ref))
        return 0;
    const track_rec *rec = table_entry(ref.album_no, ref.track_no);
    char stored[k_audit_field + 1];
    char expected[k_audit_field + 1];
    char text[k_audit_line * 2 + 128];
    int mismatches = 0;
    stored_field(line, k_stored_artist_at, stored);
    expected_field(rec != nullptr ? rec->artist : "", expected);
    if (std::strcmp(stored, expected) != 0) {
        format_artist_mismatch(text, sizeof text, file, ref.album_no, ref.track_no, stored, expected);
        log.line(log.context, text);
        ++mismatches;
    }
    stored_field(line, k_stored_title_at, stored);
    expected_field(rec != nullptr ? rec->title : "", expected);
    if (std::strcmp(stored, expected) != 0) {
        format_title_mismatch(text, sizeof text, file, ref.album_no, ref.track_no, stored, expected);
        log.line(log.context, text);
        ++mismatches;
    }
    return mismatches;
}

void format_online_line(char *buf, std::size_t cap, int album_no, int track_no, const char *artist,
                        const char *title, bool taken_offline)
{
    if (taken_offline)
        std::snprintf(buf, cap, "%04d/%02d: %s - %s offline", album_no, track_no, artist, title);
    else
        std::snprintf(buf, cap, "%04d/%02d: %s - %s", album_no, track_no, artist, title);
}
