// The pure parts of the two audits: reading and checking the lines of an
// offline playlist file against the album table, and what the on-line audit
// does with a track whose flag and media file disagree.
#pragma once

#include "reports/line_sink.hpp"

#include <cstddef>
#include <cstdio>

inline constexpr std::size_t k_audit_line = 256;   // a line of at most 255 characters and its terminator
inline constexpr std::size_t k_audit_field = 28;   // characters of artist and title compared

// Reads the next line of a playlist file into line, without its newline. A
// longer line is cut to 255 characters and the rest of it is skipped; a last
// line without a newline still counts; a NUL byte ends the line's text there.
// False at the end of the file.
bool read_audit_line(std::FILE *file, char (&line)[k_audit_line]);

// The numbers at the start of a playlist line, read as "%lx %d/%d " reads them.
struct plist_ref {
    unsigned long key = 0;
    int album_no = 0;
    int track_no = 0;
};

// True when the line is a playlist line: all three values could be read.
bool scan_plist_ref(const char *line, plist_ref &ref);

// Where a playlist line keeps the stored artist and title (from the 18th and
// the 49th character).
inline constexpr std::size_t k_stored_artist_at = 17;
inline constexpr std::size_t k_stored_title_at = 48;

// The stored text of a line from `offset` on, cut to 28 characters (shorter,
// or empty, when the line ends sooner).
void stored_field(const char *line, std::size_t offset, char (&out)[k_audit_field + 1]);

// The text a line should hold: "%-28.28s" of the album table's text.
void expected_field(const char *text, char (&out)[k_audit_field + 1]);

// "Audit playlist: %s\t %04d/%02d: Artist mismatch:\n\"%s\" Should be: \"%s\""
void format_artist_mismatch(char *buf, std::size_t cap, const char *file, int album_no, int track_no,
                            const char *stored, const char *expected);

// "Audit playlist: %s\t %04d/%02d:  Title mismatch:\n \"%s\" Should be: \"%s\"" (two
// blanks before Title and one before the stored text, unlike the artist's line).
void format_title_mismatch(char *buf, std::size_t cap, const char *file, int album_no, int track_no,
                           const char *stored, const char *expected);

// Checks one line of the playlist file `file` against the album table: a line
// that is no playlist line is passed over; otherwise each of artist and title
// that differs is logged. Numbers outside the table are compared with blank
// texts. Returns the number of mismatches (0, 1 or 2).
int audit_plist_line(const char *file, const char *line, const line_sink &log);

// What the on-line audit does with one track.
enum class online_action {
    none,           // the flag and the file agree
    take_offline,   // marked on line, but the file cannot be opened
    offer_online,   // marked off line, but the file opens: ask
};

constexpr online_action online_audit_action(bool marked_online, bool file_opens)
{
    if (marked_online && !file_opens)
        return online_action::take_offline;
    if (!marked_online && file_opens)
        return online_action::offer_online;
    return online_action::none;
}

// The on-line audit's line of a track: "%04d/%02d: %s - %s offline" when it
// was taken off line, "%04d/%02d: %s - %s" when its file was found.
void format_online_line(char *buf, std::size_t cap, int album_no, int track_no, const char *artist,
                        const char *title, bool taken_offline);
