#include "media/freedb_file.hpp"

#include "album/text_fix.hpp"
#include "db/album.hpp"
#include "proto/text_util.hpp"

#include <cstring>
#include <string_view>

namespace {

// A key, a value or a line as read: one line's worth, always terminated.
using line_buf = char[k_freedb_line_max + 1];

// What the reader carries from one value to the next.
struct freedb_state {
    album_rec *rec;
    int strip_first_word;
    int next_track = 1;           // the track the next title goes to
    char disc_artist[67] = "";    // the artist part of the disc title
    char last_artist[67] = "";    // the artist part of the value handled last
};

bool is_disc_key(std::string_view key) { return key.starts_with("DTITLE"); }

// Cuts a text to the characters kept of an artist or title part.
void cut_part(char *text)
{
    if (std::strlen(text) > static_cast<std::size_t>(k_freedb_part_max))
        text[k_freedb_part_max] = '\0';
}

// Drops the first word of a text and the blanks after it, in place.
void drop_first_word(char *text)
{
    const char *p = text;
    while (*p != '\0' && *p != ' ')
        ++p;
    while (*p == ' ')
        ++p;
    std::memmove(text, p, std::strlen(p) + 1);
}

// Handles one complete value: the disc title, or (as_track) the next track's title.
void handle_value(freedb_state &s, bool disc, char *value)
{
    if (value[0] == '\0')
        return;
    line_buf artist = "";
    line_buf title = "";
    split_string(value, artist, title);
    cut_part(artist);
    cut_part(title);
    if (s.strip_first_word != 0)
        drop_first_word(title);
    copy_bounded(s.last_artist, artist);
    track_rec &head = s.rec->entry[0];
    if (disc) {
        copy_bounded(s.disc_artist, artist);
        if (title[0] != '\0') {
            copy_bounded(head.artist, artist);
            copy_bounded(head.title, title);
        } else {
            copy_bounded(head.artist, k_various_artists);
            copy_bounded(head.title, artist);
        }
        return;
    }
    if (s.next_track >= k_max_entries)
        return;   // an album holds 99 tracks; further titles have no place
    track_rec &t = s.rec->entry[s.next_track++];
    copy_bounded(t.artist, artist[0] != '\0' ? std::string_view(artist) : std::string_view(s.disc_artist));
    copy_bounded(t.title, title);
}

// Reads one line (at most k_freedb_line_max - 1 bytes) without its line end; false at the end of the file.
bool read_line(std::FILE *file, line_buf &line)
{
    if (std::fgets(line, k_freedb_line_max, file) == nullptr)
        return false;
    std::size_t n = std::strlen(line);
    if (n > 0 && line[n - 1] == '\n') {
        line[--n] = '\0';
        if (n > 0 && line[n - 1] == '\r')
            line[--n] = '\0';
    }
    return true;
}

}   // namespace

void read_freedb(std::FILE *file, album_rec &rec, int strip_first_word)
{
    freedb_state s{.rec = &rec, .strip_first_word = strip_first_word};
    line_buf line;
    line_buf key = "";     // the key of the value being gathered
    line_buf value = "";   // the value being gathered
    bool gathered = false;   // a value has been handled (for the album artist rule at the end)
    while (read_line(file, line)) {
        const std::string_view text(line);
        if (!text.starts_with("DTITLE") && !text.starts_with("TTITLE"))
            continue;
        const std::size_t eq = text.find('=');
        const std::string_view new_key = text.substr(0, eq);
        const std::string_view new_value = eq == std::string_view::npos ? std::string_view() : text.substr(eq + 1);
        if (new_key == std::string_view(key)) {
            append_bounded(value, new_value);
            continue;
        }
        handle_value(s, is_disc_key(key), value);
        copy_bounded(key, new_key);
        copy_bounded(value, new_value);
    }
    // The last value is a track's title whatever its key.
    if (value[0] != '\0') {
        handle_value(s, false, value);
        gathered = true;
    }
    if (gathered && s.disc_artist[0] == '\0')
        copy_bounded(rec.entry[0].artist, s.last_artist);
}

int read_cue_file(std::FILE *file, int album_no, int strip_first_word)
{
    if (file == nullptr || album_no < 0 || album_no >= k_album_slots)
        return -1;
    read_freedb(file, album[album_no], strip_first_word);
    return 0;
}
