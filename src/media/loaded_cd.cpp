// The CD loaded in the local server's drive, shown as an album in the
// browser: its freedb matches, taking it into the database, identifying it as
// an album already there, and ripping off-line or single tracks from it.
#include "media/loaded_cd.hpp"

#include "album/album_screens.hpp"
#include "browse/browser.hpp"
#include "browse/chain.hpp"
#include "browse/search.hpp"
#include "core/config.hpp"
#include "core/input.hpp"
#include "core/keys.hpp"
#include "core/link.hpp"
#include "db/album.hpp"
#include "media/album_numbers.hpp"
#include "media/cd_matches.hpp"
#include "media/duplicates.hpp"
#include "media/freedb_file.hpp"
#include "playlist/offline.hpp"
#include "playlist/state.hpp"
#include "proto/file_handle.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "ui/help.hpp"
#include "ui/album_number.hpp"
#include "ui/menu.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <curses.h>

namespace {

constexpr int k_matched_cd = 1;   // browser mode of a CD shown with its freedb matches
constexpr int k_known_cd = 7;     // browser mode of a CD the database knows

// Writes an album to the master server, and to the local server when there is one.
void store_album(int a)
{
    write_album(a, master_sock);
    if (local_server != 0)
        write_album(a, cd_srv_sock);
}

// Gives the CD (album 0, or the album shown) a number of its own: ALBUM_TEMP
// or ALBUM_NEW, the record copied there with every track off line. Returns the
// new number, or 0 when there is none or the operator declined.
int take_into_database(int a, int key, int mode)
{
    const bool reserved = key != k_key_f(9) || mode == k_known_cd;
    std::uint64_t value = 0;
    const int n = request_album_number(reserved ? ALBUM_TEMP : ALBUM_NEW, &value);
    if (n == 0) {
        errno = 0;
        error_msg("All available database slots are full", 0);
        return 0;
    }
    if (key == k_key_f(9) && mode == k_matched_cd) {
        char question[64];
        std::snprintf(question, sizeof question, "Add this CD to the database as CD %04d?", n);
        char reply[2] = "";
        if (prompt(12, 10, question, reply, 1, 0) != 'y')
            return 0;
    }
    std::memcpy(&album[n], &album[a], sizeof album[n]);
    if (!reserved && n > max_album)
        max_album = n;
    for (track_rec &t : album[n].entry)
        t.online = 0;
    album[n].entry[0].plays = static_cast<std::int64_t>(value);   // the value the server gives a new album
    album[n].present = 2;
    store_album(n);
    return n;
}

// F10 on a known CD: asks the local server to rip every off-line track.
void bring_online(int a)
{
    int count = 0;
    for (int t = 1; t <= album[a].tracks && t < k_max_entries; ++t) {
        if (album[a].entry[t].online != 0)
            continue;
        request(cd_srv_sock, RET_TRACK, a, t);
        ++count;
    }
    char text[96];
    retrieval_text(text, sizeof text, a, count);
    popup(text, 2);
}

// F10 on an unknown CD: names the album it is, which takes the CD's ident.
// False when the operator gave up.
bool identify(int a)
{
    char reply[6] = "";
    if (prompt(8, 12, "Identify this CD as album No:", reply, 5, 0) == k_escape)
        return false;
    const int n = check_a_no(reply, 1);
    if (n <= 0)
        return false;
    const track_rec &head = album[n].entry[0];
    char line[192];
    std::snprintf(line, sizeof line, "%04d: %s - %s [%s]", n, head.artist, head.title, head.time);
    put_text(stdscr, 10, 10, line);
    char answer[2] = "";
    if (prompt(16, 10, "Is this the correct album?", answer, 1, 0) != 'y')
        return false;
    clear();
    album[n].entry[0].online = album[a].entry[0].online;
    album[n].entry[0].cd_ident = album[a].entry[0].cd_ident;
    write_album(n, master_sock);
    return true;
}

// b: every track of the CD to the current playlist. False when declined.
bool add_all_tracks(int a)
{
    clear();
    frame(stdscr);
    char line[96];
    std::snprintf(line, sizeof line, "Do you really want to add ALL tracks on Album %04d", a);
    put_text(stdscr, 10, 6, line);
    char question[192];
    std::snprintf(question, sizeof question, "to the playlist \"%s\"?", cur_plist);
    char reply[2] = "";
    if (prompt(12, 6, question, reply, 1, 0) != 'y')
        return false;
    put_text(stdscr, 12, 30, "Please Wait....");
    refresh();
    for (int t = 1; t <= album[a].tracks && t < k_max_entries; ++t)
        plist_add_svce(a, t, cur_plist, 0, master_sock);
    return true;
}

// o: takes a track off line and has it ripped again.
void overwrite_track(int a, int t)
{
    request(master_sock, OFFLINE, a, t);
    plist_add_svce(a, t, cur_plist, 0, master_sock);
    if (t >= 0 && t < k_max_entries)
        album[a].entry[t].online = 0;
    store_album(a);
    request(cd_srv_sock, RET_CHECK, a, t);
    char text[96];
    std::snprintf(text, sizeof text, "Album %04d Track %02d added to playlist for retrieval", a, t);
    popup(text, 2);
}

// The screen after a key: heading, the list of the album's tracks again, and the footer.
void rebuild(int a, int key)
{
    const track_rec &head = album[a].entry[0];
    std::snprintf(heading, sizeof heading, "%04d: %.29s - %.29s [%s]", a, head.artist, head.title, head.time);
    exo_head.reset();
    for (int t = 1; t <= album[a].tracks && t < k_max_entries; ++t)
        if (link_track(exo_head, k_order_numeric, a, t, 0, 1) < 0)
            break;
    loaded_cd_footer(footer, sizeof footer, key == k_key_f(9) || key == k_key_f(10), freedb_matches, current_match);
}

}   // namespace

int get_freedb_match(int match, int album_no)
{
    char path[64];
    std::snprintf(path, sizeof path, "%s/freedbfile%d", "Local", match);
    const file_handle file(path, "r");
    if (file.f == nullptr) {
        char text[192];
        std::snprintf(text, sizeof text, "Problem opening \"%s\" - %s", path, std::strerror(errno));
        errno = 0;
        error_msg(text, 0);
        return -1;
    }
    read_cue_file(file.f, album_no, 0);
    write_album(album_no, cd_srv_sock);
    return 0;
}

int exocd_svce(chain_item *current, int key, int mode)
{
    if (current == nullptr)
        return key == k_key_esc ? k_key_esc : 0;
    int a = current->album_no;
    const int t = current->track_no;
    if (a < 0 || a >= k_album_slots)
        return 0;

    const bool f9 = key == k_key_f(9);
    const bool f10 = key == k_key_f(10);
    if ((a == 0 && (key == 'a' || key == 'b' || f9)) || (mode == k_known_cd && f9)) {
        const int n = take_into_database(a, key, mode);
        if (n == 0)
            return key;
        a = n;
    }
    if (f10 && mode == k_known_cd)
        bring_online(a);
    if (f10 && mode == k_matched_cd && !identify(a))
        return 0;
    last_album = a;

    switch (key) {
    case k_key_left:
    case 'p':
    case k_key_right:
    case 'n': {
        if (freedb_matches < 2)
            break;
        const int step = key == k_key_left || key == 'p' ? -1 : 1;
        current_match = step_match(current_match, freedb_matches, step);
        get_freedb_match(current_match, a);
        break;
    }
    case k_key_f(1):
        help_screen(nullptr, 0, nullptr);
        break;
    case k_key_f(9):
        freedb_matches = 0;
        break;
    case k_key_f(10):
        break;
    case 'a':
        request(cd_srv_sock, RET_TRACK, a, t);
        plist_add_svce(a, t, cur_plist, 1, master_sock);
        break;
    case 'b':
        if (!add_all_tracks(a))
            return 0;
        break;
    case 'd':
        if (check_duplicate(nullptr, a, nullptr) == -1) {
            exo_head.reset();
        }
        return 0;
    case 'e': {
        char number[16];
        std::snprintf(number, sizeof number, "%d", a);
        edit_album(number, t, "Edit Album");
        break;
    }
    case 'i':
    case k_key_enter:
    case k_key_return:
    case k_key_linefeed:
        details(a, t);
        return 0;
    case 'o':
        overwrite_track(a, t);
        break;
    case k_key_esc:
        return k_key_esc;
    default: {
        const int r = search_svce(current, key, mode);
        rebuild(a, key);
        return r;
    }
    }
    rebuild(a, key);
    return key;
}
