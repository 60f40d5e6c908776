#include "album/import_line.hpp"

#include "album/text_fix.hpp"
#include "proto/text_util.hpp"

#include <cstring>

namespace {

bool is_number_part(char c)
{
    return (c >= '0' && c <= '9') || c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r' ||
           c == '.' || c == ':';
}

}   // namespace

char *import_line_rest(char *line)
{
    while (is_number_part(*line))
        ++line;
    line[std::strcspn(line, "\n")] = '\0';
    line[std::strcspn(line, "\r")] = '\0';
    return line;
}

void name_track(album_rec &rec, int track_no, char *line, int artist_first)
{
    if (track_no < 1 || track_no >= k_max_entries)
        return;
    track_rec &t = rec.entry[track_no];
    if (artist_first != 0)
        split_string(line, t.artist, t.title);
    else
        split_string(line, t.title, t.artist);
    capitalize(t.title);
    capitalize(t.artist);
}

void set_album_artist(track_rec &head, const char *answer)
{
    copy_bounded(head.artist, begins_nocase(answer, "vari") ? k_various_artists : answer);
    capitalize(head.artist);
}
