// The playlist console: entering a playing mode, the console's keys, the
// current playlist kept as a copy of the server's, and the play controls.
#include "playlist/console.hpp"

#include "album/album_screens.hpp"
#include "browse/browser.hpp"
#include "browse/chain.hpp"
#include "browse/search.hpp"
#include "core/config.hpp"
#include "core/input.hpp"
#include "core/keys.hpp"
#include "core/link.hpp"
#include "db/album.hpp"
#include "playlist/history.hpp"
#include "playlist/offline.hpp"
#include "playlist/plist_text.hpp"
#include "playlist/state.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "ui/load_screen.hpp"
#include "ui/menu.hpp"
#include "ui/password.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <curses.h>
#include <vector>

namespace {

constexpr const char *k_console_footer = "move ^up  move ^down  move ^top  ^search/add  album ^list";
constexpr const char *k_save_as = "Save Current Playlist As:";
constexpr int k_plist_name_len = 28;   // longest playlist name the operator may type

// True for the name of the current playlist.
bool is_current(const char *name) { return std::strcmp(name, k_current_plist) == 0; }

// Builds a list from a playlist transfer text in the server's order; returns the count.
int build_plist(chain_list &head, const server_msg *msg)
{
    std::vector<chain_entry> entries;
    for (const plist_entry &e : plist_records(msg->text, std::min<std::size_t>(msg->length, k_text_max)))
        entries.push_back({.album_no = e.album, .track_no = e.track, .key = 0});
    return std::max(build_chain(head, k_order_append, entries, 1), 0);
}

// Asks a yes/no question of the play controls.
bool confirm_control(const char *question)
{
    char reply[2] = {};
    return prompt(12, 14, question, reply, 1, 0) == 'y';
}

// Sends one play-control request; false after "Control message failed".
bool control_request(std::int64_t type)
{
    const auto reply = request(master_sock, type, 1, 0, cur_plist);
    if (reply.album == k_refused) {
        errno = 0;   // the failure is the server's answer, not a system error
        error_msg("Control message failed", 0);
        return false;
    }
    return true;
}

// Sends a request about the playlist being shown, for one of its elements.
server_msg element_request(std::int64_t type, long album_no, long track_no)
{
    return request(master_sock, type, album_no, track_no, cur_plist);
}

// Re-reads the list being shown from the server, shows a pending message, and returns the key.
int reread(int key, int mode, const char *pending)
{
    const auto reply = request(master_sock, PLIST_READ, 1, 0, cur_plist);
    if (mode == k_browse_offline)
        playlist_chain_local(&reply);
    else
        playlist_chain(&reply);
    if (pending != nullptr)
        popup(pending, 1);
    return key;
}

// Asks for a name to keep the current playlist under; the prompt's result (-3 on Esc).
int ask_keep_name(char (&name)[k_plist_name_len + 1])
{
    name[0] = '\0';
    return prompt(12, 10, k_save_as, name, k_plist_name_len, 0);
}

// Key c: clears (after keeping it under a name when one is typed) or replaces the current playlist.
int clear_current()
{
    clear();
    frame(stdscr);
    put_text(stdscr, 8, 10, "Currently active playlist will be cleared/replaced");
    char name[k_plist_name_len + 1];
    // Esc here leaves the whole console, deliberately: the operator meant to abandon it.
    if (ask_keep_name(name) == k_escape)
        return k_stay;
    if (name[0] != '\0')
        request(master_sock, PLIST_KEEP, 1, 0, name);
    request(master_sock, PLIST_CLEAR, 1, 0, k_current_plist);
    const auto reply = request(master_sock, PLIST_GET, 1, 0, k_current_plist);
    playlist_chain(&reply);
    return 1;
}

// Key A: appends the whole offline playlist to the current one.
int append_offline()
{
    const int count = chain_length(offl_head.head());
    if (count > k_plist_add_max) {
        clear();
        frame(stdscr);
        char text[128];
        std::snprintf(text, sizeof text, "%d tracks: a maximum of %d tracks may be added to the current playlist",
                      count, k_plist_add_max);
        put_text(stdscr, 8, 6, text);
        refresh();
        popup("continue:", 0);
        return 1;
    }
    if (count == 0)
        return 1;
    char question[256];
    std::snprintf(question, sizeof question, "Add playlist \"%s\" to the currently active one (%d tracks)?", cur_plist,
                  count);
    char reply[2] = {};
    if (prompt(12, 4, question, reply, 1, 0) == 'y')
        request(master_sock, PLIST_APPEND, 1, 0, cur_plist);
    return 1;
}

// Key Ctrl-D in an offline playlist: deletes it; the view closes whatever the answer.
int delete_offline()
{
    if (!is_current(cur_plist)) {
        char question[256];
        std::snprintf(question, sizeof question, "Are you sure you wish to delete playlist \"%s\"?", cur_plist);
        char reply[2] = {};
        if (prompt(12, 10, question, reply, 1, 0) == 'y')
            request(master_sock, DELETE, 1, 0, cur_plist);
    }
    return k_break;
}

// Key r: shuffles the playlist being shown and rebuilds it from the reply.
int shuffle()
{
    char reply[2] = {};
    if (prompt(12, 10, "Are you sure you wish to shuffle this playlist?", reply, 1, 0) != 'y')
        return 0;
    const auto answer = request(master_sock, PLIST_SHUFFLE, 1, 0, cur_plist);
    if (answer.album != k_refused) {
        if (is_current(cur_plist))
            playlist_chain(&answer);
        else
            playlist_chain_local(&answer);
    }
    return 1;
}

// Key h: the server's recent history.
int recent_plays()
{
    browse_history("history.hst", "Playlist History", true);
    return 1;
}

// The playlist chooser of the Playlist and Play-Mixed modes, then the mode
// itself: 0 when it went ahead, else what `playlist` returns without the console.
int choose_selection(int wanted, bool &opened)
{
    opened = false;
    std::vector<menu_item> rows;
    compile_playlist_menu(rows, set_plist, nullptr);
    rows.push_back({.label = "", .handler = dumb_func, .argument = nullptr, .code = 0});
    rows.push_back({.label = "Quit", .handler = quit_func, .argument = nullptr, .code = 0});
    rows.push_back({.label = "", .handler = null_func, .argument = nullptr, .code = 0});
    const int chosen = menu_func(rows.data(), 0, "Choose Playlist to use for selection", "");
    release_menu_labels(rows);
    if (chosen != k_leave)
        return 0;
    const auto selection = request(master_sock, GET_PLIST, 1, 0, cur_plist);
    const auto reply = request(master_sock, SET_PLIST, wanted, 1, selection.text);
    if (reply.album == 0) {
        popup(reply.track == 1 ? "Playlist change not allowed - Console logged in" : "Problem opening playlist", 2);
        return k_stay;
    }
    play_mode = wanted;
    opened = true;
    return 0;
}

// What a key needs of the console's element, taken before any request: a
// reply may replace the list the element belongs to.
struct shown_track {
    chain_item *element = nullptr;   // null in an empty list
    long album_no = k_refused;
    long track_no = 0;
    char artist[sizeof(track_rec::artist)] = "";
    char title[sizeof(track_rec::title)] = "";
};

shown_track take_track(chain_item *e)
{
    shown_track t;
    t.element = e;
    if (e != nullptr) {
        t.album_no = e->album_no;
        t.track_no = e->track_no;
        if (e->track != nullptr) {
            copy_bounded(t.artist, e->track->artist);
            copy_bounded(t.title, e->track->title);
        }
    }
    return t;
}

// The handlers of console_keys (below): each acts on its key and returns
// playlist_svce's result.

// u, d, t: the element one up, one down, or next to play; the list is read again.
template <std::int64_t type>
int move_track(const shown_track &t, int key, int mode)
{
    element_request(type, t.album_no, t.track_no);
    return reread(key, mode, nullptr);
}

// x: the element off the playlist, said when the server did it.
int delete_track(const shown_track &t, int key, int mode)
{
    const auto reply = element_request(PLIST_DELETE, t.album_no, t.track_no);
    char deleted[320];   // room for the longest artist, title and playlist name
    std::snprintf(deleted, sizeof deleted, "%s - %s:  Deleted From Playlist %s", t.artist, t.title, cur_plist);
    return reread(key, mode, reply.album != k_refused ? deleted : nullptr);
}

// s, z: searches until Esc, z keeping duplicates.
int search_keys(const shown_track &, int key, int)
{
    while (search(nullptr, key == 'z' ? 1 : 0) != k_escape) {
    }
    return 1;
}

int album_screen(const shown_track &, int, int)
{
    display_album(nullptr, 0, nullptr);
    return 1;
}

// a in an offline playlist: the element to the current playlist.
int add_to_current(const shown_track &t, int, int)
{
    if (t.element != nullptr)
        plist_add_local_svce(static_cast<int>(t.album_no), static_cast<int>(t.track_no), k_current_plist);
    return 0;
}

int append_this_playlist(const shown_track &, int, int) { return append_offline(); }

int clear_playlist(const shown_track &, int, int) { return clear_current(); }

// k: the current playlist kept under a name.
int keep_playlist(const shown_track &, int, int)
{
    char name[k_plist_name_len + 1];
    if (ask_keep_name(name) != k_escape && name[0] != '\0') {
        request(master_sock, PLIST_KEEP, 1, 0, name);
        return 1;
    }
    return 0;
}

int history(const shown_track &, int, int) { return recent_plays(); }

// p: the offline playlists, then the current playlist again.
int offline_playlists(const shown_track &, int, int)
{
    display_playlists(nullptr);
    restore_playlist();
    return 1;
}

int shuffle_playlist(const shown_track &, int, int) { return shuffle(); }

int delete_this_playlist(const shown_track &, int, int) { return delete_offline(); }

// Ctrl-K: cancels the retrieval, then reads the list again.
int cancel_retrieval(const shown_track &, int key, int mode)
{
    controls(key);
    return reread(key, mode, nullptr);
}

int control(const shown_track &, int key, int) { return controls(key) == 1 ? 1 : 0; }

// The console's keys (mode 4) and an offline playlist's (mode 5). A key
// without a row goes to the play controls, then to the track list keys
// (search_svce).
struct console_key {
    int key;
    int modes;
    bool needs_track;   // in an empty list the key does nothing (0)
    int (*handler)(const shown_track &t, int key, int mode);
};

constexpr int k_offline = mode_bit(k_browse_offline);

constexpr console_key console_keys[] = {
    {.key = 'u', .modes = k_every_mode, .needs_track = true, .handler = move_track<PLIST_UP>},
    {.key = 'd', .modes = k_every_mode, .needs_track = true, .handler = move_track<PLIST_DOWN>},
    {.key = 't', .modes = k_every_mode, .needs_track = true, .handler = move_track<PLIST_NEXT>},
    {.key = 'x', .modes = k_every_mode, .needs_track = true, .handler = delete_track},
    {.key = 's', .modes = k_every_mode, .needs_track = false, .handler = search_keys},
    {.key = 'z', .modes = k_every_mode, .needs_track = false, .handler = search_keys},
    {.key = 'a', .modes = k_offline, .needs_track = false, .handler = add_to_current},
    {.key = 'a', .modes = ~k_offline, .needs_track = false, .handler = album_screen},
    {.key = 'A', .modes = k_offline, .needs_track = false, .handler = append_this_playlist},
    {.key = 'c', .modes = k_every_mode, .needs_track = false, .handler = clear_playlist},
    {.key = 'k', .modes = k_every_mode, .needs_track = false, .handler = keep_playlist},
    {.key = 'h', .modes = k_every_mode, .needs_track = false, .handler = history},
    {.key = 'p', .modes = ~k_offline, .needs_track = false, .handler = offline_playlists},
    {.key = 'r', .modes = k_every_mode, .needs_track = false, .handler = shuffle_playlist},
    {.key = k_key_ctrl_d, .modes = k_offline, .needs_track = false, .handler = delete_this_playlist},
    {.key = k_key_ctrl_k, .modes = k_every_mode, .needs_track = false, .handler = cancel_retrieval},
    {.key = k_key_ctrl_e, .modes = k_every_mode, .needs_track = false, .handler = control},
    {.key = k_key_ctrl_f, .modes = k_every_mode, .needs_track = false, .handler = control},
    {.key = k_key_ctrl_g, .modes = k_every_mode, .needs_track = false, .handler = control},
    {.key = k_key_ctrl_p, .modes = k_every_mode, .needs_track = false, .handler = control},
    {.key = k_key_f(5), .modes = k_every_mode, .needs_track = false, .handler = control},
};
static_assert(keys_unique_per_mode(console_keys));

}   // namespace

int playlist_chain(const server_msg *msg)
{
    // The list shown is the browser's own copy; an operation still walking the old list keeps it.
    plist_head.reset();
    return build_plist(plist_head, msg);
}

int playlist_chain_local(const server_msg *msg)
{
    offl_head.reset();
    const int count = build_plist(offl_head, msg);
    if (gui)
        refresh();   // the command line adds tracks too, without a screen
    return count;
}

void restore_playlist()
{
    copy_bounded(cur_plist, k_current_plist);
    const auto reply = request(master_sock, PLIST_GET, 1, 0, k_current_plist);
    playlist_chain(&reply);
}

int set_plist(const void *, int, const char *label)
{
    const auto reply = request(master_sock, SET_PLIST, 0, 0, label != nullptr ? label : "");
    if (reply.album == 0)
        popup("Playlist change not permitted", -2);
    return k_break;
}

int playlist(const void *, int code, const char *)
{
    plist_head.reset();
    copy_bounded(cur_plist, k_current_plist);
    const int wanted = std::max(mode_of_code(code), 0);
    play_mode = wanted;

    if (wanted == 1) {
        if (chkpass() != 0)
            return k_stay;
        const auto reply = request(master_sock, CONSOLE, 1, 0, cur_plist);
        if (reply.album == 0) {
            popup("Console already in use", -2);
            play_mode = 0;
        }
    }
    if (play_mode != 0) {
        const auto reply = request(master_sock, GET_MODE, 1, 0, cur_plist);
        const int server_mode = known_mode(static_cast<long>(reply.album));
        play_mode = server_mode;
        if (wanted == 5 || wanted == 6) {
            bool opened = false;
            const int result = choose_selection(wanted, opened);
            if (!opened)
                return result;
        } else if (wanted != server_mode) {
            // Once the server has taken the new mode, that is the mode as last learned; a
            // refusal (album 0, or 0xFFFF) leaves the server's own.
            const auto changed = request(master_sock, 0xB0 + wanted, 1, 0, cur_plist);
            if (changed.album != 0 && changed.album != k_refused)
                play_mode = wanted;
        }
    }
    if (play_mode != 0 && local_server == 1 && cd_srv_sock != master_sock)
        request(cd_srv_sock, 0xB0 + wanted, 1, 0, cur_plist);

    const auto current = request(master_sock, PLIST_GET, 1, 0, k_current_plist);
    const int count = playlist_chain(&current);

    password = 0;
    if (play_mode == 0) {
        const auto reply = request(master_sock, GET_MODE, 1, 0, cur_plist);
        play_mode = known_mode(static_cast<long>(reply.album));
    }
    const auto selection = request(master_sock, GET_PLIST, 1, 0, cur_plist);
    copy_bounded(selection_playlist, selection.text);

    char saved_heading[sizeof heading];
    copy_bounded(saved_heading, heading);
    format_console_heading(heading, sizeof heading, play_mode, selection_playlist);
    copy_bounded(footer, k_console_footer);
    browser(plist_head, count, 0, playlist_svce, k_browse_console);
    copy_bounded(heading, saved_heading);
    return 0;
}

int playlist_svce(chain_item *current, int key, int mode)
{
    const shown_track t = take_track(current);
    const console_key *row = key_row(console_keys, key, mode);
    if (row != nullptr && row->needs_track && current == nullptr)
        return 0;
    if (row != nullptr)
        return row->handler(t, key, mode);
    if (controls(key) == 1)
        return 1;
    return search_svce(current, key, mode);
}

int controls(int key)
{
    switch (key) {
    case k_key_ctrl_e:
        if (!confirm_control("Are you sure you want to stop the Auto-DJ?"))
            return 0;
        if (chkpass() != 0)
            return k_stay;
        if (!control_request(STOP))
            return k_stay;
        popup("Auto-DJ will stop at the end of the current track", 2);
        return 1;
    case k_key_ctrl_f:
        if (!confirm_control("Are you sure you want to skip the current track?"))
            return 0;
        if (!control_request(SKIP))
            return k_stay;
        // The fade that follows a skip lasts eight seconds.
        then = std::time(nullptr);
        playtime = 8;
        paused = 0;
        return 1;
    case k_key_ctrl_g:
        return control_request(GO) ? 1 : k_stay;
    case k_key_ctrl_k:
        if (cd_present && retrieve_album != k_no_album) {
            if (!confirm_control("Are you sure you want to cancel the current retrieve?"))
                return 0;
            put_text(stdscr, 12, 30, "Please Wait....");
            refresh();
            if (!control_request(CANCEL))
                return k_stay;
            retrieve_album = k_no_album;
            return 0;
        }
        popup("There are no outstanding retrieves", 1);
        return 0;
    case k_key_ctrl_p:
        paused = !paused;
        return control_request(PAUSE) ? 1 : k_stay;
    case KEY_F(5):
        clear();
        frame(stdscr);
        if (!control_request(REFRESH))
            return k_stay;
        read_database();
        return 1;
    default:
        return 0;
    }
}
