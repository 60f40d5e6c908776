// The searches of the album table and the per-track keys of every track list.
#include "browse/search.hpp"

#include "album/album_screens.hpp"
#include "audio/player.hpp"
#include "browse/apply.hpp"
#include "browse/browse_layout.hpp"
#include "browse/browser.hpp"
#include "browse/chain.hpp"
#include "browse/search_scan.hpp"
#include "core/input.hpp"
#include "core/keys.hpp"
#include "core/link.hpp"
#include "core/signals.hpp"
#include "core/startup.hpp"
#include "db/album.hpp"
#include "media/duplicates.hpp"
#include "playlist/chains.hpp"
#include "playlist/console.hpp"
#include "playlist/offline.hpp"
#include "playlist/state.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "reports/wav_file.hpp"
#include "ui/menu.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <curses.h>
#include <string>
#include <vector>

namespace {

constexpr int k_search_text = 50;          // characters of a search text
constexpr int k_last_selectable = 8999;    // albums from 9000 up are not offered the selection keys

constexpr const char *k_search_title = "Enter Artist and/or Title To Search For";

// Builds a list from hits; the number of elements, or -1 when memory ran out.
int list_of_hits(chain_list &list, int order, const std::vector<chain_entry> &hits, int keep_duplicates)
{
    list.reset();
    return build_chain(list, order, hits, keep_duplicates);
}

// The heading of a search's results; cs adds the ';' the sort description takes.
void search_heading(const char *artist, const char *title, bool cs)
{
    const char *end = cs ? ";" : "";
    if (artist[0] != '\0' && title[0] != '\0')
        std::snprintf(heading, sizeof heading, "Artists containing \"%s\" & Titles containing \"%s\"%s", artist, title,
                      end);
    else if (artist[0] != '\0')
        std::snprintf(heading, sizeof heading, "Artists containing \"%s\"%s", artist, end);
    else
        std::snprintf(heading, sizeof heading, "Titles containing \"%s\"%s", title, end);
}

// Reads an exact text after a label: the text is edited one column after the label's end.
int read_verbatim(int row, int column, const char *label, char *buf, int size)
{
    put_text(stdscr, row, column, label);
    move(row, column + static_cast<int>(std::strlen(label)));
    return get_string_verbatim(buf, size);
}

// Blanks a text field that a prompt left on the screen.
void blank_field(int row, int column, int length)
{
    const std::string blanks(static_cast<std::size_t>(length), ' ');
    put_text(stdscr, row, column, blanks.c_str());
}

// One selection request for a track to the master server.
void selection_request(std::int64_t type, int album_no, int track_no)
{
    if (request(master_sock, type, album_no, track_no).album == k_refused) {
        errno = 0;
        error_msg("Send message failed", 0);
    }
}

// A yes/no question at row 16, column 10.
bool confirmed(const char *question)
{
    char reply[2] = "";
    return prompt(16, 10, question, reply, 1, 0) == 'y';
}

// l: the tracks of the element's album, in their order, starting on its own track.
void album_track_list(const chain_item *e)
{
    const int a = e->album_no;
    if (a < 0 || a >= k_album_slots)
        return;
    std::vector<chain_entry> entries;
    for (int t = 1; t <= album_track_count(a) && t < k_max_entries; ++t)
        entries.push_back({.album_no = a, .track_no = t, .key = 0});
    chain_list list;
    const int count = list_of_hits(list, k_order_append, entries, 1);
    if (count < 0)
        return;
    char saved_heading[sizeof heading];
    char saved_footer[sizeof footer];
    copy_bounded(saved_heading, heading);
    copy_bounded(saved_footer, footer);
    const track_rec &head = album[a].entry[0];
    std::snprintf(heading, sizeof heading, "%04d: %.28s - %.29s [%s]", a, head.artist, head.title, head.time);
    copy_bounded(footer, "^add to PlayList    ^more by this artist   ^^WAV Check");
    browser(list, count, e->track_no, search_svce, k_browse_album);
    copy_bounded(heading, saved_heading);
    copy_bounded(footer, saved_footer);
}

// m: the tracks of every album whose artist is like the element's, in Title Order.
void more_by_artist(const chain_item *e)
{
    put_text(stdscr, 12, 30, "Please Wait....");
    refresh();
    char artist[sizeof(track_rec::artist)];
    copy_bounded(artist, e->track->artist);
    std::vector<chain_entry> hits;
    find_more_by_artist(hits, artist, e->album_no, e->track_no, max_album);
    chain_list list;
    const int count = list_of_hits(list, k_order_title, hits, 1);
    if (count < 0)
        return;
    if (count == 0) {
        popup("Sorry, nothing found", 1);
        return;
    }
    char saved_heading[sizeof heading];
    char saved_footer[sizeof footer];
    copy_bounded(saved_heading, heading);
    copy_bounded(saved_footer, footer);
    copy_bounded(footer, "^add to PlayList     Album-Track^list");
    int r;
    do {
        std::snprintf(heading, sizeof heading, "More tracks by %.29s", artist);
        r = browser(list, count, 0, search_svce, k_browse_duplicates);
    } while (r != k_escape);
    copy_bounded(heading, saved_heading);
    copy_bounded(footer, saved_footer);
}

// Whether a track of the album table is on line.
bool track_online(int album_no, int track_no)
{
    const track_rec *r = table_record(album_no, track_no);
    return r != nullptr && r->online != 0;
}

// Tab: the WAV check of one track.
void check_track(int album_no, int track_no)
{
    clear();
    frame(stdscr);
    char path[64];
    media_path(path, sizeof path, album_no, track_no);
    char line[128];
    std::snprintf(line, sizeof line, "Checking track: %s:", path);
    put_text(stdscr, 10, 6, line);
    refresh();
    char result[128];
    check_media_file(path, track_online(album_no, track_no), album_no, track_no, "  OK ", result, sizeof result);
    put_text(stdscr, 12, 6, result);
    char reply[2] = "";
    prompt(20, 6, "Continue: ", reply, 1, 0);
}

// Ctrl-W: the WAV check of every track of the album; good tracks share one line, faults stay.
void check_album(int album_no)
{
    clear();
    frame(stdscr);
    const int tracks = album_track_count(album_no);
    char line[128];
    std::snprintf(line, sizeof line, "Checking %d tracks on album %04d:", tracks, album_no);
    put_text(stdscr, 2, 10, line);
    int row = 4;
    int errors = 0;
    const std::string blank_line(static_cast<std::size_t>(COLS > 12 ? COLS - 11 : 1), ' ');
    for (int t = 1; t <= tracks && t < k_max_entries; ++t) {
        put_text(stdscr, row, 10, blank_line.c_str());
        char path[64];
        media_path(path, sizeof path, album_no, t);
        std::snprintf(line, sizeof line, "%s:.....", path);
        put_text(stdscr, row, 10, line);
        refresh();
        char result[128];
        const bool ok =
            check_media_file(path, track_online(album_no, t), album_no, t, "  OK   ", result, sizeof result);
        put_text(stdscr, row, 28, result);
        refresh();
        if (ok) {
            napms(500);
        } else {
            ++errors;
            ++row;
        }
    }
    char reply[2] = "";
    if (errors > 0) {
        std::snprintf(line, sizeof line, "%d error%c found: Continue: ", errors, errors < 2 ? ' ' : 's');
        prompt(20, 10, line, reply, 1, 0);
    } else {
        put_text(stdscr, row, 10, blank_line.c_str());
        prompt(20, 10, "All Tracks OK: Continue: ", reply, 1, 0);
    }
}

// b: every track of the element's album to the list screens' playlist.
void add_whole_album(int album_no)
{
    char line[128];
    std::snprintf(line, sizeof line, "Do you really want to add ALL tracks on Album %04d", album_no);
    put_text(stdscr, 10, 6, line);
    char question[192];
    std::snprintf(question, sizeof question, "to the playlist \"%s\"?", cur_plist);
    char reply[2] = "";
    if (prompt(12, 6, question, reply, 1, 0) != 'y')
        return;
    put_text(stdscr, 12, 30, "Please Wait....");
    refresh();
    if (cur_plist[0] == '\0')
        copy_bounded(cur_plist, k_current_plist);
    for (int t = 1; t <= album_track_count(album_no) && t < k_max_entries; ++t)
        plist_add_svce(album_no, t, cur_plist, 0, master_sock);
}

// The shared end of both case-sensitive searches: the results browsed once.
int browse_cs_results(chain_list &list, int count)
{
    if (count <= 0) {
        if (count == 0)
            popup("Sorry, nothing found", 1);
        return -1;
    }
    copy_bounded(footer, "^^R re-sort  ^^V reverse sort-order   track^list");
    browser(list, count, 0, search_svce, k_browse_plain);
    return -1;
}

// Brings back the interactive program's interrupt handling after a case-sensitive search.
struct interrupt_restorer {
    interrupt_restorer()
    {
        abort_sig = 0;
        install_handler(SIGINT, abort_func);
    }
    interrupt_restorer(const interrupt_restorer &) = delete;
    interrupt_restorer &operator=(const interrupt_restorer &) = delete;
    ~interrupt_restorer() { install_handler(SIGINT, interrupt_func); }
};

// The case-sensitive artist/title search.
int cs_artist_title()
{
    clear();
    frame(stdscr);
    header(k_search_title);
    put_text(stdscr, 12, 12, "Title:  ");
    char artist[k_search_text + 2] = "";
    char title[k_search_text + 2] = "";
    if (read_verbatim(10, 12, "Artist: ", artist, k_search_text) == k_escape)
        return k_escape;
    if (read_verbatim(12, 12, "Title:  ", title, k_search_text) == k_escape)
        return k_escape;
    if (artist[0] == '\0' && title[0] == '\0')
        return k_escape;
    clear();
    put_text(stdscr, 12, 30, "Please Wait ....");
    refresh();
    std::vector<chain_entry> hits;
    find_tracks(hits, artist, title, 1, true, max_album);
    chain_list list;
    const int count = list_of_hits(list, artist[0] != '\0' ? k_order_artist : k_order_title, hits, 1);
    search_heading(artist, title, true);
    return browse_cs_results(list, count);
}

// The case-sensitive search for a text anywhere, albums included.
int cs_global()
{
    clear();
    frame(stdscr);
    header("Enter String To Search For");
    char text[k_search_text + 2] = "";
    if (read_verbatim(12, 16, "Search for: ", text, k_search_text) == k_escape)
        return 1;
    std::snprintf(heading, sizeof heading, "All Occurrences Of String \"%s\"", text);
    clear();
    frame(stdscr);
    header(nullptr);
    put_text(stdscr, 12, 30, "Please Wait....");
    std::vector<chain_entry> hits;
    for (int a = 1; a <= max_album && a < k_album_slots; ++a) {
        char number[8];
        std::snprintf(number, sizeof number, "%04d", a);
        put_text(stdscr, 12, 44, number);
        refresh();
        find_in_album(hits, a, text);
    }
    chain_list list;
    const int count = list_of_hits(list, k_order_artist, hits, 1);
    return browse_cs_results(list, count);
}

// The keys that put a track on a selection list or take it off: the letter
// that makes the request pointless, what is said then, the question, and the
// request.
struct selection_key {
    int key;
    bool (*already)(char status);
    const char *already_text;
    const char *question;
    std::int64_t request;
};

constexpr selection_key selection_keys[] = {
    {.key = k_key_ctrl_s,
     .already = [](char s) { return s == 'S'; },
     .already_text = "Track is already on the shortlist",
     .question = "Add this track to the shortlist?",
     .request = SHORTLIST},
    {.key = k_key_ctrl_d,
     .already = [](char s) { return s != 'S'; },
     .already_text = "Track is not on the shortlist",
     .question = "Remove this track from the shortlist?",
     .request = DONOTPLAY},
    {.key = k_key_ctrl_u,
     .already = [](char s) { return s == 'U'; },
     .already_text = "Track is already on the unplayable list",
     .question = "Are you sure you wish to add this track to the unplayable list?",
     .request = UNPLAYABLE},
    {.key = k_key_ctrl_n,
     .already = [](char s) { return s == 'N'; },
     .already_text = "Track is already set to 'Do not select'",
     .question = "Remove this track from the normal selection?",
     .request = NO_SELECT},
};

// The row of a selection key.
const selection_key *selection_key_of(int key)
{
    for (const selection_key &k : selection_keys)
        if (k.key == key)
            return &k;
    return nullptr;
}

// Asks and sends one selection request, unless the track's letter makes it pointless.
void change_selection(const selection_key &k, char status, int album_no, int track_no)
{
    if (k.already(status))
        popup(k.already_text, 2);
    else if (confirmed(k.question))
        selection_request(k.request, album_no, track_no);
}

// ----- The keys of the track lists ------------------------------------------
//
// The handlers of element_keys and selectable_keys (below): each acts on its
// key for the element and returns search_svce's result.

int show_details(chain_item *e, int)
{
    details(e->album_no, e->track_no);
    return 0;
}

int edit_track(chain_item *e, int)
{
    char number[16];
    std::snprintf(number, sizeof number, "%d", e->album_no);
    edit_album(number, e->track_no, "Edit Album");
    return 0;
}

int add_to_a_playlist(chain_item *e, int)
{
    add_to_chosen_plist(e->album_no, e->track_no);
    return 0;
}

// 'l' in an album's own track list: that list is already shown.
int already_the_album(chain_item *, int) { return -1; }

int show_album_tracks(chain_item *e, int)
{
    album_track_list(e);
    return 0;
}

int show_more_by_artist(chain_item *e, int)
{
    more_by_artist(e);
    return 0;
}

int link_to_chain(chain_item *e, int)
{
    add_to_chain(e->album_no, e->track_no);
    return 0;
}

int show_chain(chain_item *e, int)
{
    view_chain(e->album_no, e->track_no);
    return 0;
}

// The key is the caller's to act on.
int hand_back(chain_item *, int key) { return key; }

int check_whole_album(chain_item *e, int)
{
    check_album(e->album_no);
    return 0;
}

int check_one_track(chain_item *e, int)
{
    check_track(e->album_no, e->track_no);
    return 0;
}

// The keys that work on any element, whatever its album: (element, key) -> result.
struct element_key {
    int key;
    int modes;
    int (*handler)(chain_item *e, int key);
};

constexpr int k_album_mode = mode_bit(k_browse_album);
constexpr int k_duplicates_mode = mode_bit(k_browse_duplicates);

constexpr element_key element_keys[] = {
    {.key = k_key_enter, .modes = k_every_mode, .handler = show_details},
    {.key = k_key_return, .modes = k_every_mode, .handler = show_details},
    {.key = k_key_linefeed, .modes = k_every_mode, .handler = show_details},
    {.key = 'i', .modes = k_every_mode, .handler = show_details},
    {.key = 'e', .modes = k_every_mode, .handler = edit_track},
    {.key = 'f', .modes = k_every_mode, .handler = add_to_a_playlist},
    {.key = 'l', .modes = k_album_mode, .handler = already_the_album},
    {.key = 'l', .modes = ~k_album_mode, .handler = show_album_tracks},
    {.key = 'm', .modes = k_every_mode, .handler = show_more_by_artist},
    {.key = 'q', .modes = k_every_mode, .handler = link_to_chain},
    {.key = 'v', .modes = k_every_mode, .handler = show_chain},
    {.key = 'x', .modes = k_every_mode, .handler = hand_back},
    {.key = k_key_ctrl_w, .modes = k_every_mode, .handler = check_whole_album},
    {.key = k_key_tab, .modes = k_every_mode, .handler = check_one_track},
};
static_assert(keys_unique_per_mode(element_keys));

// 'a': the track to the playlist the list screens work on, the current one
// when none is chosen.
int add_to_playlist(chain_item *e, int key)
{
    if (cur_plist[0] == '\0')
        copy_bounded(cur_plist, k_current_plist);
    plist_add(e, cur_plist);
    return key;
}

// 'a' in an album's track list: always to the current playlist.
int add_to_current_playlist(chain_item *e, int key)
{
    copy_bounded(cur_plist, k_current_plist);
    plist_add(e, cur_plist);
    return key;
}

int add_album(chain_item *e, int key)
{
    add_whole_album(e->album_no);
    return key;
}

int duplicates_of(chain_item *e, int key)
{
    last_album = e->album_no;
    check_duplicate(nullptr, e->album_no, nullptr);
    return key;
}

int selection(chain_item *e, int key)
{
    const track_rec *rec = table_record(e->album_no, e->track_no);
    change_selection(*selection_key_of(key), rec != nullptr ? rec->status : '-', e->album_no, e->track_no);
    return key;
}

int force_off_line(chain_item *e, int key)
{
    if (confirmed("Are you sure you wish to offline this track?")) {
        then = std::time(nullptr);
        playtime = 8;
        paused = 0;
        selection_request(OFFLINE, e->album_no, e->track_no);
        if (e->album_no == retrieve_album)
            retrieve_album = k_no_album;
    }
    return key;
}

// The keys for the tracks of the ordinary albums (1 to 8999). The rows that
// show the track first put its line on row 8 (on a cleared, framed screen
// when they ask a question) and return the key; a key without a row shows the
// line too and goes to the play controls.
struct selectable_key {
    int key;
    int modes;
    bool shows_track;
    bool clears;
    int (*handler)(chain_item *e, int key);
};

constexpr selectable_key selectable_keys[] = {
    {.key = 'a', .modes = k_album_mode, .shows_track = false, .clears = false, .handler = add_to_current_playlist},
    {.key = 'a', .modes = ~k_album_mode, .shows_track = false, .clears = false, .handler = add_to_playlist},
    {.key = 'd', .modes = k_duplicates_mode, .shows_track = false, .clears = false, .handler = hand_back},
    {.key = 'd', .modes = ~k_duplicates_mode, .shows_track = true, .clears = false, .handler = duplicates_of},
    {.key = 'b', .modes = k_every_mode, .shows_track = true, .clears = true, .handler = add_album},
    {.key = k_key_ctrl_s, .modes = k_every_mode, .shows_track = true, .clears = true, .handler = selection},
    {.key = k_key_ctrl_d, .modes = k_every_mode, .shows_track = true, .clears = true, .handler = selection},
    {.key = k_key_ctrl_u, .modes = k_every_mode, .shows_track = true, .clears = true, .handler = selection},
    {.key = k_key_ctrl_n, .modes = k_every_mode, .shows_track = true, .clears = true, .handler = selection},
    {.key = k_key_ctrl_o, .modes = k_every_mode, .shows_track = true, .clears = true, .handler = force_off_line},
};
static_assert(keys_unique_per_mode(selectable_keys));

// Shows "album/track: artist - title" at row 8, column 10.
void show_track_line(const chain_item *e, bool clears)
{
    char line[192];
    std::snprintf(line, sizeof line, "%04d/%02d: %s - %s", e->album_no, e->track_no, e->track->artist,
                  e->track->title);
    if (clears) {
        clear();
        frame(stdscr);
    }
    put_text(stdscr, 8, 10, line);
    refresh();
}

}   // namespace

int search(const void *, int keep_duplicates)
{
    clear();
    frame(stdscr);
    header(k_search_title);
    curs_set(1);
    put_text(stdscr, 12, 12, "Title:  ");
    char artist[k_search_text + 1] = "";
    char title[k_search_text + 1] = "";
    if (prompt(10, 12, "Artist: ", artist, k_search_text, 0) == k_escape)
        return k_escape;
    int order = k_order_artist;
    if (artist[0] == '\0') {
        blank_field(10, 12 + static_cast<int>(std::strlen("Artist: ")) + 1, k_search_text);
        order = k_order_title;
    }
    if (prompt(12, 12, "Title:  ", title, k_search_text, 0) == k_escape)
        return k_escape;
    if (artist[0] == '\0' && title[0] == '\0')
        return k_escape;
    clear();
    put_text(stdscr, 12, 30, "Please Wait ....");
    refresh();
    std::vector<chain_entry> hits;
    find_tracks(hits, artist, title, 0, true, max_album);
    chain_list list;
    const int count = list_of_hits(list, order, hits, keep_duplicates);
    if (count <= 0) {
        if (count == 0)
            popup("Sorry, nothing found", 1);
        return -1;
    }
    char saved_heading[sizeof heading];
    char saved_footer[sizeof footer];
    copy_bounded(saved_heading, heading);
    copy_bounded(saved_footer, footer);
    search_heading(artist, title, false);
    copy_bounded(footer, "^add to playlist   ^more by this artist   track^list");
    while (browser(list, count, 0, search_svce, k_browse_plain) != k_escape) {
    }
    copy_bounded(heading, saved_heading);
    copy_bounded(footer, saved_footer);
    curs_set(0);
    return -4;
}

int cs_search(const void *, int code, const char *)
{
    char saved_heading[sizeof heading];
    char saved_footer[sizeof footer];
    copy_bounded(saved_heading, heading);
    copy_bounded(saved_footer, footer);
    int result;
    {
        const interrupt_restorer interrupts;
        result = code == 1 ? cs_global() : cs_artist_title();
    }
    copy_bounded(heading, saved_heading);
    copy_bounded(footer, saved_footer);
    curs_set(0);
    return result;
}

int search_svce(chain_item *current, int key, int mode)
{
    if (current == nullptr)
        return key;
    if (const element_key *row = key_row(element_keys, key, mode))
        return row->handler(current, key);
    const int a = current->album_no;
    if (a < 1 || a > k_last_selectable)
        return 0;
    const selectable_key *row = key_row(selectable_keys, key, mode);
    if (row != nullptr && !row->shows_track)
        return row->handler(current, key);
    show_track_line(current, row != nullptr && row->clears);
    if (row != nullptr)
        row->handler(current, key);
    else
        controls(key);
    return key;
}
