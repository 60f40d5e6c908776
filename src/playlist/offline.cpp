// Offline playlists: the menus of the server's playlists, opening and
// creating one, and adding tracks to a playlist or to the current one.
#include "playlist/offline.hpp"

#include "browse/apply.hpp"
#include "browse/browser.hpp"
#include "browse/chain.hpp"
#include "core/config.hpp"
#include "core/input.hpp"
#include "core/link.hpp"
#include "db/album.hpp"
#include "playlist/console.hpp"
#include "playlist/plist_text.hpp"
#include "playlist/state.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

constexpr int k_plist_name_len = 28;   // longest playlist name the operator may type
constexpr const char *k_plist_folder = "PlayLists";

// The record of a track, or null when the numbers are outside the album table.
const track_rec *track_of(int album_no, int track_no)
{
    return valid_entry(album_no, track_no) ? &album[album_no].entry[track_no] : nullptr;
}

// Pops up the announcement of an added (or already present) track.
void announce_added(int album_no, int track_no, const char *name, bool already)
{
    const track_rec *t = track_of(album_no, track_no);
    char text[512];
    format_added_text(text, sizeof text, t != nullptr ? t->artist : "", t != nullptr ? t->title : "", name, already);
    popup(text, 1);
}

// Appends the rows every playlist menu ends with: a blank, "Create Playlist", "Quit" and the end.
void append_fixed_rows(std::vector<menu_item> &rows, int create_code)
{
    rows.push_back({.label = "", .handler = dumb_func, .argument = nullptr, .code = 0});
    rows.push_back({.label = "Create Playlist", .handler = playlist_select, .argument = nullptr, .code = create_code});
    rows.push_back({.label = "Quit", .handler = brk_func, .argument = nullptr, .code = 0});
    rows.push_back({.label = "", .handler = null_func, .argument = nullptr, .code = 0});
}

// Gives up on a playlist: the list screens work on the current playlist again.
void back_to_current() { copy_bounded(cur_plist, k_current_plist); }

// Asks for the name of a new playlist into cur_plist; false when the operator gave up.
bool ask_new_name()
{
    cur_plist[0] = '\0';
    char name[k_plist_name_len + 1] = "";
    if (prompt(10, 20, "New Playlist Name:", name, k_plist_name_len, 0) == k_escape) {
        back_to_current();
        return false;
    }
    if (name[0] == '\0') {
        back_to_current();
        popup("Playlist name may not be blank", 1);
        return false;
    }
    copy_bounded(cur_plist, name);
    char path[sizeof cur_plist + 16];
    std::snprintf(path, sizeof path, "%s/%s", k_plist_folder, cur_plist);
    if (access(path, F_OK) == 0) {
        char question[256];
        std::snprintf(question, sizeof question, "Playlist \"%s\" already exists: use it?", cur_plist);
        char reply[2] = {};
        if (prompt(12, 10, question, reply, 1, 0) != 'y') {
            back_to_current();
            return false;
        }
    }
    return true;
}

}   // namespace

int compile_playlist_menu(std::vector<menu_item> &rows, menu_handler handler, const void *arg)
{
    const auto reply = request(cd_srv_sock, DIRLIST, 0, 0, k_plist_folder);
    const std::size_t len = std::min<std::size_t>(reply.length, k_text_max);
    int added = 0;
    for_each_dir_name(reply.text, len, [&](std::string_view name) {
        if (name == k_current_plist)
            return;
        rows.push_back({.label = owned_text(name, name.size() + 1), .handler = handler, .argument = arg, .code = 0});
        ++added;
    });
    return added;
}

int display_playlists(const void *)
{
    int start = 0;
    for (;;) {
        std::vector<menu_item> rows;
        compile_playlist_menu(rows, playlist_select, nullptr);
        append_fixed_rows(rows, 2);
        const int chosen = menu_func(rows.data(), start, "Select Offline Playlist", "");
        release_menu_labels(rows);
        if (chosen < 0)
            break;   // Quit or Esc (-5), or Ctrl-C (-1)
        start = chosen;
    }
    return 0;
}

int playlist_select(const void *, int code, const char *label)
{
    const bool create = code == 2 || code == 3;
    if (create) {
        if (!ask_new_name())
            return 0;
    } else {
        copy_bounded(cur_plist, label != nullptr ? label : "");
    }
    const auto reply = request(master_sock, PLIST_READ, 1, code, cur_plist);
    if (reply.album == 0) {
        char text[256];
        std::snprintf(text, sizeof text, "Cannot open playlist: %s", cur_plist);
        popup(text, 1);
        back_to_current();
        return k_escape;
    }
    const int count = playlist_chain_local(&reply);
    if (code == 3) {
        char name[sizeof cur_plist];
        copy_bounded(name, cur_plist);
        mass_apply(nullptr, name, 0, 0);
    }
    if (!create) {
        char saved_heading[sizeof heading];
        copy_bounded(saved_heading, heading);
        std::snprintf(heading, sizeof heading, "Playlist: %s", cur_plist);
        copy_bounded(footer, "append to current playlist: ^A   delete this playlist: ^^D");
        browser(offl_head, count, 0, playlist_svce, k_browse_offline);
        copy_bounded(heading, saved_heading);
    }
    return k_leave;
}

int add_to_chosen_plist(int album_no, int track_no)
{
    char track_text[32];
    std::snprintf(track_text, sizeof track_text, "%d %d", album_no, track_no);
    const track_rec *t = track_of(album_no, track_no);
    char title[96];
    format_track_menu_title(title, sizeof title, t != nullptr ? t->artist : "", t != nullptr ? t->title : "");
    int start = 0;
    for (;;) {
        std::vector<menu_item> rows;
        compile_playlist_menu(rows, add_track, track_text);
        append_fixed_rows(rows, 2);
        const int chosen = menu_func(rows.data(), start, title, "Select Playlist to which to add this track");
        release_menu_labels(rows);
        if (chosen < 0)
            break;   // Quit or Esc (-5), or Ctrl-C (-1)
        start = chosen;
    }
    return 0;
}

int add_track(const void *arg, int, const char *label)
{
    int album_no = 0;
    int track_no = 0;
    if (arg == nullptr || std::sscanf(static_cast<const char *>(arg), "%d %d", &album_no, &track_no) != 2)
        return 0;
    plist_add_local_svce(album_no, track_no, label != nullptr ? label : "");
    restore_playlist();
    return 0;
}

int plist_add(chain_item *element, const char *name)
{
    if (element == nullptr)
        return 0;
    const int album_no = element->album_no;
    const int track_no = element->track_no;
    const track_rec *t = track_of(album_no, track_no);
    if (t != nullptr && t->online == 0 && cd_present == 0) {
        popup("Cannot add offline tracks to playlist - no CD drive", 1);
        return 0;
    }
    return plist_add_svce(album_no, track_no, name, 1, master_sock);
}

int plist_add_svce(int album_no, int track_no, const char *name, int announce, int socket)
{
    char plist_name[sizeof cur_plist];
    copy_bounded(plist_name, name != nullptr ? name : "");
    const auto reply = request(socket, PLIST_ADD, album_no, track_no, plist_name);
    if (announce != 0)
        announce_added(album_no, track_no, plist_name, reply.album == k_refused);
    const track_rec *t = track_of(album_no, track_no);
    if (master == 0 && t != nullptr && t->online == 0) {
        if (album_no > 8999 || album_no < 1)
            request(cd_srv_sock, RET_CHECK, album_no, track_no, "");
        else if (!cd_loaded_other) {
            retrieve_album = album_no;
            retrieve_track = track_no;
        }
    }
    request(master_sock, PLIST_UPDATE, album_no, track_no, plist_name);
    // The offline list is rebuilt, deliberately, also when the track went to the current playlist.
    const auto list = request(master_sock, PLIST_READ, 1, 0, plist_name);
    playlist_chain_local(&list);
    return 0;
}

void plist_add_local_svce(int album_no, int track_no, const char *name)
{
    char plist_name[sizeof cur_plist];
    copy_bounded(plist_name, name != nullptr ? name : "");
    const auto reply = request(master_sock, PLIST_ADD_LOCAL, album_no, track_no, plist_name);
    announce_added(album_no, track_no, plist_name, reply.album == k_refused);
    request(master_sock, PLIST_UPDATE, album_no, track_no, plist_name);
    const auto current = request(master_sock, PLIST_GET, 1, 0, k_current_plist);
    copy_bounded(cur_plist, k_current_plist);
    playlist_chain(&current);
}
