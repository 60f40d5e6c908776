// The texts that carry playlists and history entries between server and client,
// and the line of a playlist file (the same layout as a history entry).
//
// Playlist transfer text: records of exactly 8 characters, "%04d %02d " each
// (album, track), ended by a record whose first character is the NUL.
//
// Playlist file line / history entry: "%8.8lX %04d/%02d %-28.28s - %-29.29s [%s]"
// - key (or time played) in hex from column 0, album/track from column 9,
// artist from column 17, title from column 48, length from column 79.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

inline constexpr std::size_t k_plist_record_len = 8;

// One album/track pair of a playlist transfer text.
struct plist_entry {
    int album;
    int track;
};

// Walks the records of a playlist transfer text of `len` bytes (stopping at a
// record that begins with the NUL, at the end of the text, or at a record that
// "%d %d" cannot read) and calls fn(album, track) for each. Returns the count.
template <typename Fn>
int for_each_plist_record(const char *text, std::size_t len, Fn &&fn);

// Reads one 8-character record (at most 8 bytes, never beyond `avail`); false when it holds no pair.
bool read_plist_record(const char *rec, std::size_t avail, plist_entry &out);

// Appends one record "%04d %02d " to buf at `used`; false when it would not fit (cap includes the NUL).
bool append_plist_record(char *buf, std::size_t cap, std::size_t &used, int album, int track);

// One parsed history entry (or playlist file line).
struct history_entry {
    std::int64_t time_played;   // hex seconds at the start of the line (the key of a playlist line)
    int album;
    int track;
    char artist[30];   // 29 columns from column 17, blanks stripped
    char title[30];    // 29 columns from column 48, blanks stripped
    char length[6];    // 5 columns from column 79
};

// Parses a history transfer text; a short or malformed entry gives empty or
// zero fields, never a read beyond the text. False when "%lX %d/%d" did not read all three.
bool parse_history_entry(std::string_view text, history_entry &out);

// Formats a playlist file line (no newline) into buf; returns the snprintf result.
int format_plist_line(char *buf, std::size_t cap, std::uint64_t key, int album, int track, const char *artist,
                      const char *title, const char *length);

template <typename Fn>
int for_each_plist_record(const char *text, std::size_t len, Fn &&fn)
{
    int count = 0;
    for (std::size_t off = 0; off < len && text[off] != '\0'; off += k_plist_record_len) {
        plist_entry e;
        if (!read_plist_record(text + off, len - off, e))
            break;
        fn(e.album, e.track);
        ++count;
    }
    return count;
}
