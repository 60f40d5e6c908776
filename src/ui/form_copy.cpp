// Moving one album or track of the database into the record editor and back.
#include "db/album.hpp"
#include "proto/text_util.hpp"
#include "ui/form.hpp"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string_view>

namespace {

// The record of an album (track 0) or a track; nullptr for a place outside the table.
track_rec *record(int album_no, int track_no)
{
    if (album_no < 0 || album_no >= k_album_slots || track_no < 0 || track_no >= k_max_entries)
        return nullptr;
    return &album[album_no].entry[track_no];
}

// Writes text into a row's value left-justified, padded or cut to the row's width.
template <std::size_t N>
void set_padded(form_field &row, const char (&text)[N])
{
    const int have = static_cast<int>(strnlen(text, N));
    std::snprintf(row.value, sizeof row.value, "%-*.*s", row.length, have < row.length ? have : row.length, text);
}

// Copies a value back into a record's text: at most `width` characters and
// never more than the record holds (the record keeps one byte for its end).
template <std::size_t N>
void store_text(char (&dst)[N], const form_field &row)
{
    const std::size_t width = static_cast<std::size_t>(row.length > 0 ? row.length : 0);
    copy_bounded(dst, std::string_view(row.value, strnlen(row.value, width)));
}

// Removes trailing spaces in place.
void strip_trailing_spaces(char *s)
{
    std::size_t n = std::strlen(s);
    while (n > 0 && s[n - 1] == ' ')
        s[--n] = '\0';
}

}   // namespace

void clear_form()
{
    for (int i = k_form_artist; i <= k_form_last_played; ++i) {
        form_field &row = data_input[i];
        std::snprintf(row.value, sizeof row.value, "%*s", row.length, "");
    }
}

void copy_to_form(int album_no, int track_no)
{
    track_rec *r = record(album_no, track_no);
    if (r == nullptr)
        return;
    clear_form();
    set_padded(data_input[k_form_artist], r->artist);
    set_padded(data_input[k_form_title], r->title);
    // An empty record is repaired in the database itself before it is shown.
    if (r->status == '\0') {
        r->status = '-';
        copy_bounded(r->time, "00:00");
    }
    set_padded(data_input[k_form_time], r->time);
    form_field &number = data_input[k_form_number];
    if (track_no != 0) {
        copy_bounded(number.label, "Track No:");
        std::snprintf(number.value, sizeof number.value, "%4d", track_no);
        std::snprintf(data_input[k_form_status].value, sizeof data_input[k_form_status].value, "%c", r->status);
        std::snprintf(data_input[k_form_online].value, sizeof data_input[k_form_online].value, "%c",
                      r->online == 1 ? 'Y' : 'N');
        form_field &played = data_input[k_form_last_played];
        const std::time_t t = static_cast<std::time_t>(r->last_played);
        std::tm tm{};
        if (localtime_r(&t, &tm) != nullptr && tm.tm_year + 1900 >= 2000)
            std::snprintf(played.value, sizeof played.value, "%2.2d/%2.2d/%2.2d @ %2.2d:%2.2d", tm.tm_mday,
                          tm.tm_mon + 1, (tm.tm_year + 1900) % 100, tm.tm_hour, tm.tm_min);
        else
            std::snprintf(played.value, sizeof played.value, "%*s", played.length, "");
        form_field &plays = data_input[k_form_plays];
        std::snprintf(plays.value, sizeof plays.value, "%-*ld", plays.length, static_cast<long>(r->plays));
    } else {
        copy_bounded(number.label, "Album No:");
        std::snprintf(number.value, sizeof number.value, "%04d", album_no);
    }
}

void copy_from_form(int album_no, int track_no)
{
    track_rec *r = record(album_no, track_no);
    if (r == nullptr)
        return;
    for (form_field *row = data_input; row->kind != 0; ++row) {
        if (row->kind != 2)
            continue;
        row->value[sizeof row->value - 1] = '\0';
        strip_trailing_spaces(row->value);
    }
    // The form's Artist and Title are 68 wide, the record holds 66 characters:
    // the copy is cut to what the record holds.
    store_text(r->artist, data_input[k_form_artist]);
    store_text(r->title, data_input[k_form_title]);
    store_text(r->time, data_input[k_form_time]);
    if (track_no != 0) {
        r->status = data_input[k_form_status].value[0];
        // The shown date is read back as hexadecimal digits (the 15th stores
        // 0x15), and a row of blanks leaves the time as it was. Kept so.
        unsigned long played = 0;
        if (std::sscanf(data_input[k_form_last_played].value, "%lx", &played) == 1)
            r->last_played = static_cast<std::int64_t>(played);
    }
}
