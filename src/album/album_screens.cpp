// The album track list, the album and track detail screens, the album editor
// and its store, and the deletion of an album.
#include "album/album_screens.hpp"

#include "album/album_time.hpp"
#include "album/text_fix.hpp"
#include "browse/browser.hpp"
#include "browse/chain.hpp"
#include "browse/search.hpp"
#include "core/link.hpp"
#include "db/album.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "ui/album_number.hpp"
#include "ui/form.hpp"
#include "ui/menu.hpp"
#include "ui/password.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <curses.h>
#include <iterator>
#include <memory>
#include <new>
#include <vector>

int cur_album;
int cur_track;
char cur_artist[sizeof(track_rec::artist)];
int compilation;

namespace {

// Results of input_field and form_func that no key gives today; kept in the mappings.
constexpr int k_field_album = -10;
constexpr int k_field_leave_9 = -9;
constexpr int k_field_leave_8 = -8;

// The highest track the editor can reach: an album holds 99 tracks.
constexpr int k_max_track = k_max_entries - 1;

// Every album number prompt of these screens: row 18, column 12.
constexpr int k_number_row = 18;
constexpr int k_number_col = 12;

// Saves heading and footer on entry and puts them back when asked.
struct saved_texts {
    char heading_copy[sizeof heading];
    char footer_copy[sizeof footer];
    saved_texts()
    {
        copy_bounded(heading_copy, heading);
        copy_bounded(footer_copy, footer);
    }
    void restore_heading() const { copy_bounded(heading, heading_copy); }
    void restore() const
    {
        restore_heading();
        copy_bounded(footer, footer_copy);
    }
};

bool in_table(int album_no) { return album_no >= 0 && album_no < k_album_slots; }

// The number of tracks of an album, held to what the record can hold.
int track_count(int album_no)
{
    const int n = album[album_no].tracks;
    return n < 0 ? 0 : n > k_max_track ? k_max_track : n;
}

// The heading of an album's screens: "%04d: %.29s - %.29s [%s]".
void album_heading(int album_no)
{
    const track_rec &h = album[album_no].entry[0];
    std::snprintf(heading, sizeof heading, "%04d: %.29s - %.29s [%s]", album_no, h.artist, h.title, h.time);
}

// The next album number after n whose record is in use; past max_album, 1.
int next_album_in_use(int n)
{
    for (int m = n + 1; m <= max_album && m < k_album_slots; ++m)
        if (album[m].present != 0)
            return m;
    return 1;
}

// The word shown for a track's status letter.
const char *status_word(char status)
{
    switch (status) {
    case 'N':
        return "Not Selected";
    case 'S':
        return "Short List";
    case 'U':
        return "Unplayable";
    default:
        return "Normal";
    }
}

// Draws the detail screen of one record and prepares the number field below the heading.
void draw_details(int album_no, int track_no)
{
    clear();
    frame(stdscr);
    album_heading(album_no);
    header(nullptr);
    track_rec &r = album[album_no].entry[track_no];
    put_text(stdscr, 5, 2, "Artist:");
    put_text(stdscr, 5, 10, r.artist);
    put_text(stdscr, 7, 2, "Title: ");
    put_text(stdscr, 7, 10, r.title);
    put_text(stdscr, 9, 2, "Time:  ");
    put_text(stdscr, 9, 10, r.time);
    char line[128];
    form_field &number = trackno_input[0];
    if (track_no != 0) {
        put_text(stdscr, 11, 2, "Status:");
        put_text(stdscr, 11, 10, status_word(r.status));
        std::snprintf(line, sizeof line, "Online? %c", r.online == 1 ? 'Y' : 'N');
        put_text(stdscr, 13, 2, line);
        // A track never played shows its other time stamp, which is kept from now on.
        if (r.last_played == 0)
            r.last_played = static_cast<std::int64_t>(r.cd_ident);
        put_text(stdscr, 15, 2, "Last Played: ");
        const std::time_t t = static_cast<std::time_t>(r.last_played);
        std::tm tm{};
        // The editor shows dates from 2000 on; this screen only from 2001 on (kept so).
        if (localtime_r(&t, &tm) != nullptr && tm.tm_year > 100) {
            std::snprintf(line, sizeof line, "%2.2d/%2.2d/%2.2d @ %2.2d:%2.2d", tm.tm_mday, tm.tm_mon + 1,
                          (tm.tm_year + 1900) % 100, tm.tm_hour, tm.tm_min);
            put_text(stdscr, 15, 15, line);
        }
        std::snprintf(line, sizeof line, "No. of Plays: %ld", static_cast<long>(r.plays));
        put_text(stdscr, 17, 2, line);
        copy_bounded(number.label, "Track No:");
        std::snprintf(number.value, sizeof number.value, "%3d", track_no);
    } else {
        std::snprintf(line, sizeof line, "No. of Tracks: %d", album[album_no].tracks);
        put_text(stdscr, 11, 2, line);
        std::snprintf(line, sizeof line, "CD Ident: 0x%8.8lX", static_cast<unsigned long>(r.cd_ident));
        put_text(stdscr, 13, 2, line);
        copy_bounded(number.label, "Album No:");
        std::snprintf(number.value, sizeof number.value, "%04d", album_no);
    }
    put_text(stdscr, number.row, number.column, number.label);
}

// True when the form differs from its snapshot, byte for byte.
bool form_changed(const form_field *snapshot)
{
    return std::memcmp(data_input, snapshot, sizeof data_input) != 0;
}

// The artist carried to new tracks, after leaving a record of the album.
void carry_artist()
{
    track_rec &r = album[cur_album].entry[cur_track];
    if (cur_track == 0) {
        if (begins_nocase(r.artist, "vari")) {
            compilation = 1;
            copy_bounded(r.artist, k_various_artists);
            cur_artist[0] = '\0';
        } else {
            compilation = 0;
            copy_bounded(cur_artist, r.artist);
        }
    } else if (compilation != 0) {
        cur_artist[0] = '\0';
    } else {
        copy_bounded(cur_artist, r.artist);
    }
}

// The album the editor opens: asked for (number_text null; the editor starts
// on the album itself) or given by the browser with the track to start on.
// Sets cur_track; returns the album number, or -3 (ESC) or -2 (refused).
int album_to_edit(const char *number_text, int track_no)
{
    char reply[8];
    if (number_text == nullptr) {
        if (last_album == 0)
            last_album = 1;
        std::snprintf(reply, sizeof reply, "%04d", last_album);
        if (prompt(k_number_row, k_number_col, "Album No:", reply, 4, 4) == k_escape)
            return k_escape;
        cur_track = 0;
        number_text = reply;
    } else {
        cur_track = track_no < 0 ? 0 : track_no > k_max_track ? k_max_track : track_no;
    }
    return check_a_no(number_text, 1);
}

// Stores the form into its record when it differs from its snapshot; true when it did.
bool keep_form(const form_field *snapshot)
{
    if (!form_changed(snapshot))
        return false;
    copy_from_form(cur_album, cur_track);
    return true;
}

// Moves the editor to the record a page key asks for; false past the last track an album can hold.
bool move_record(int result)
{
    if (result == k_field_page_down) {
        if (cur_track + 1 > k_max_track)
            return false;
        ++cur_track;
    } else if (result == k_field_page_up) {
        if (cur_track > 0)
            --cur_track;
    } else {
        cur_track = 0;
    }
    return true;
}

// Puts the record moved to into the form, a new (empty) track inheriting the
// carried artist, and takes the form's snapshot.
void open_record(form_field *snapshot)
{
    copy_to_form(cur_album, cur_track);
    form_field &artist = data_input[k_form_artist];
    if (artist.value[0] == ' ')
        std::snprintf(artist.value, sizeof artist.value, "%-*.*s", artist.length, artist.length, cur_artist);
    std::memcpy(snapshot, data_input, sizeof data_input);
}

}   // namespace

int display_album(const void *, int album_no, const char *)
{
    const saved_texts saved;
    int number = last_album != 0 ? last_album : 1;
    for (;;) {
        if (album_no == 0) {
            char reply[8];
            std::snprintf(reply, sizeof reply, "%04d", number);
            if (prompt(k_number_row, k_number_col, "Album No:", reply, 4, 4) == k_escape) {
                saved.restore();
                return k_escape;
            }
            const int checked = check_a_no(reply, 0);
            if (checked == k_invalid) {
                number = last_album = 1;
                continue;
            }
            number = last_album = checked;
        } else {
            number = album_no;
        }
        if (!in_table(number)) {
            saved.restore();
            return k_invalid;
        }
        std::vector<chain_entry> entries;
        for (int t = 1; t <= track_count(number); ++t)
            entries.push_back({.album_no = number, .track_no = t, .key = 0});
        chain_list list;
        const int count = build_chain(list, k_order_numeric, entries, 1);
        album_heading(number);
        copy_bounded(footer, "^add to playList  ^more by artist  ^duplicates  ^^WAV check");
        const int result = count < 0 ? -1 : browser(list, count, 0, search_svce, k_browse_album);
        if (album_no != 0) {
            saved.restore();
            return result;
        }
        number = next_album_in_use(number);
    }
}

int details(int album_no, int track_no)
{
    if (!in_table(album_no) || track_no < 0 || track_no > k_max_track)
        return 0;
    const saved_texts saved;
    for (;;) {
        draw_details(album_no, track_no);
        const int result = input_field(&trackno_input[0]);
        const int last = track_count(album_no);
        switch (result) {
        case k_field_esc:
        case k_field_leave_9:
        case k_field_leave_8:
            saved.restore_heading();
            return 0;
        case k_field_page_down:
            if (track_no < last)
                ++track_no;
            break;
        case k_field_page_up:
            if (track_no > 0)
                --track_no;
            break;
        case k_field_album:
            track_no = 0;
            break;
        default: {
            const long typed = lenient_atol(trackno_input[0].value);
            track_no = typed < 0 ? 0 : typed > last ? last : static_cast<int>(typed);
            break;
        }
        }
    }
}

int edit_album(const void *arg, int code, const char *)
{
    const bool from_browser = arg != nullptr;
    const int chosen = album_to_edit(static_cast<const char *>(arg), code);
    if (chosen < 0)
        return chosen;
    cur_album = chosen;
    clear();
    frame(stdscr);
    std::unique_ptr<form_field[]> snapshot(new (std::nothrow) form_field[std::size(data_input)]);
    if (snapshot == nullptr) {
        errno = 0;
        error_msg("Data malloc() failed", 0);
        return k_invalid;
    }
    const saved_texts saved;
    copy_bounded(footer, "PAGE_DOWN - next track        CTRL-END - next album          ESC - abort");
    album_heading(cur_album);
    header(nullptr);
    copy_to_form(cur_album, cur_track);
    std::memcpy(snapshot.get(), data_input, sizeof data_input);

    bool changed = false;
    int result;
    for (;;) {
        result = form_func(data_input);
        if (result == k_field_esc || result == k_field_save || result == k_field_leave_9 ||
            result == k_field_leave_8)
            break;
        if (result != k_field_page_down && result != k_field_page_up && result != k_field_album)
            continue;
        changed = keep_form(snapshot.get()) || changed;
        carry_artist();
        if (!move_record(result)) {
            errno = 0;
            error_msg("Maximum No. of tracks exceeded", 100);
            saved.restore_heading();
            return k_escape;   // nothing is stored
        }
        open_record(snapshot.get());
    }
    changed = keep_form(snapshot.get()) || changed;
    if (changed) {
        clear();
        char answer[2] = "";
        const int saving = prompt(10, 30, "Save changes?", answer, 1, 0);
        if (saving != 'y') {
            password = 0;
            // Every change is dropped: the album is read again as the server has it.
            read_album(cur_album, master_sock);
            saved.restore();
            return saving;
        }
        album[cur_album].present = 2;
        update_cur_album();
    }
    clear_form();
    if (from_browser) {
        password = 0;
        saved.restore();
    }
    return result;
}

int update_cur_album()
{
    if (!in_table(cur_album))
        return k_invalid;
    album_rec &a = album[cur_album];
    a.present = 2;
    if (album_time_unknown(a.entry[0].time))
        sum_album_time(a);
    if (write_album(cur_album, master_sock) == k_invalid) {
        errno = 0;
        error_msg("Cannot write to album", cur_album);
        return k_invalid;
    }
    if (max_album < cur_album)
        max_album = cur_album;
    return 0;
}

int delete_album(const void *, int, const char *)
{
    // Five characters here where the other album prompts take four (kept so).
    char reply[6] = "";
    if (prompt(k_number_row, k_number_col, "Album No:", reply, 5, 4) == k_escape)
        return k_escape;
    const int album_no = check_a_no(reply, 1);
    if (album_no == k_invalid)
        return k_invalid;
    const track_rec &h = album[album_no].entry[0];
    char text[256];
    std::snprintf(text, sizeof text, "%04d: %s - %s [%s]", album_no, h.artist, h.title, h.time);
    prompt(10, 10, text, nullptr, 0, 4);
    char answer[2] = "";
    if (prompt(16, 10, "Are you sure you wish to delete this album?", answer, 1, 0) != 'y')
        return k_stay;
    send_unanswered(master_sock, ALBUM_DELETE, album_no, 0);
    std::memset(&album[album_no], 0, sizeof album[album_no]);
    return k_stay;
}
