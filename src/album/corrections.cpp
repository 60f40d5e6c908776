// Bulk repairs of the artist and title texts of one album or of all of them.
#include "album/corrections.hpp"

#include "album/text_fix.hpp"
#include "core/link.hpp"
#include "db/album.hpp"
#include "proto/text_util.hpp"
#include "ui/album_number.hpp"
#include "ui/menu.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <curses.h>
#include <utility>

namespace {

constexpr int k_various_format = 0;
constexpr int k_transpose = 1;
constexpr int k_lower_first = 1;

constexpr int k_last_entry = k_max_entries - 1;

// The failure "Capitalize ALL" and the import look for in write_album's
// result: -1, where the editor and the single-album corrections look for -2
// (k_invalid). Each keeps its own test; write_album returns 0 today.
constexpr int k_write_refused = -1;

// The album number question of these commands. Returns the album number, or
// -3 (ESC) or -2 (refused, after "Invalid Album No."); `answer` receives what
// the prompt returned.
int ask_album(int &answer)
{
    char reply[8];
    std::snprintf(reply, sizeof reply, "%04d", last_album != 0 ? last_album : 1);
    answer = prompt(18, 12, "Album No:", reply, 4, 4);
    if (answer == k_escape)
        return k_escape;
    const int album_no = check_a_no(reply, 1);
    if (album_no == k_invalid) {
        char key[2] = "";
        prompt(18, 12, "Invalid Album No.", key, 1, 0);
        return k_invalid;
    }
    last_album = album_no;
    return album_no;
}

// Stores one corrected album: -1, or -2 after "Cannot write to album".
int store_corrected(int album_no)
{
    if (write_album(album_no, master_sock) == k_invalid) {
        errno = 0;
        error_msg("Cannot write to album", album_no);
        return k_invalid;
    }
    return k_stay;
}

// Moves the artists out of "title - artist" track titles (or "artist - title" ones).
void various_format(album_rec &a, bool artist_first)
{
    for (int t = 1; t <= k_last_entry && a.entry[t].title[0] != '\0'; ++t) {
        track_rec &r = a.entry[t];
        if (std::strpbrk(r.title, "-/:") == nullptr)
            continue;
        char copy[sizeof r.title];
        copy_bounded(copy, r.title);
        if (artist_first)
            split_string(copy, r.artist, r.title);
        else
            split_string(copy, r.title, r.artist);
    }
}

}   // namespace

int correct(const void *, int code, const char *)
{
    int answer = 0;
    const int album_no = ask_album(answer);
    if (album_no < 0)
        return album_no;
    album_rec &a = album[album_no];
    track_rec &head = a.entry[0];
    // "various" here, seven letters, where the editor and the import look at "vari".
    if (head.artist[0] == '\0' || begins_nocase(head.artist, "various"))
        copy_bounded(head.artist, k_various_artists);
    if (code == k_various_format) {
        prompt(14, 12, a.entry[1].title, nullptr, 0, 4);
        prompt(15, 12, a.entry[2].title, nullptr, 0, 0);
        prompt(16, 12, a.entry[3].title, nullptr, 0, 0);
        char key[2] = "";
        if (prompt(18, 12, "Does the artist (if any) appear first? [Y/N/ESC] ", key, 1, 0) == k_escape)
            return k_escape;
        // The choice is taken from the album number's answer, not from this one:
        // in practice the title always comes first. Kept as it stands.
        various_format(a, answer == 'y');
    } else if (code == k_transpose) {
        char text[160];
        std::snprintf(text, sizeof text, "%s - %s", a.entry[1].artist, a.entry[1].title);
        prompt(16, 12, text, nullptr, 0, 4);
        char key[2] = "";
        if (prompt(19, 12, "Transpose artist and title?", key, 1, 0) != 'y')
            return k_escape;
        const int tracks = a.tracks < k_last_entry ? a.tracks : k_last_entry;
        for (int t = 1; t <= tracks; ++t)
            std::swap(a.entry[t].artist, a.entry[t].title);
    }
    return store_corrected(album_no);
}

int correct_caps(const void *, int code, const char *)
{
    int answer = 0;
    const int album_no = ask_album(answer);
    if (album_no < 0)
        return album_no;
    album_rec &a = album[album_no];
    for (int t = 0; t <= k_last_entry && a.entry[t].title[0] != '\0'; ++t) {
        track_rec &r = a.entry[t];
        if (code == k_lower_first) {
            lower_case(r.title);
            lower_case(r.artist);
        }
        capitalize(r.title);
        capitalize(r.artist);
    }
    return store_corrected(album_no);
}

int capitals(const void *, int, const char *)
{
    prompt(12, 28, "Please Wait ....", nullptr, 0, 4);
    refresh();
    for (int n = 1; n <= max_album && n < k_album_slots; ++n) {
        album_rec &a = album[n];
        if (a.present == 0)
            continue;
        const int tracks = a.tracks < k_last_entry ? a.tracks : k_last_entry;
        for (int t = 0; t <= tracks; ++t) {
            capitalize(a.entry[t].title);
            capitalize(a.entry[t].artist);
        }
        if (write_album(n, master_sock) == k_write_refused) {
            errno = 0;
            error_msg("Write failure", n);
            return k_invalid;
        }
    }
    return k_stay;
}
