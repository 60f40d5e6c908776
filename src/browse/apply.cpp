// Operations on every element of a browser list, the global edit of artists
// and titles, and the exact-text line editor.
#include "browse/apply.hpp"

#include "browse/chain.hpp"
#include "browse/list_menus.hpp"
#include "browse/plist_line.hpp"
#include "browse/verbatim_edit.hpp"
#include "core/input.hpp"
#include "core/link.hpp"
#include "core/signals.hpp"
#include "core/startup.hpp"
#include "db/album.hpp"
#include "playlist/offline.hpp"
#include "playlist/state.hpp"
#include "proto/file_handle.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "ui/menu.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <curses.h>
#include <string>
#include <vector>

namespace {

chain_item *chain_head;   // first element of the list the operations act on
int no_of_items;          // the number of elements the browser passed

constexpr int k_plist_limit = 256;      // tracks that may be added to the current playlist at once
constexpr int k_file_note_limit = 8192; // beyond this the playlist file question becomes a note
constexpr int k_edit_text = 80;         // characters of the global edit's texts

// The operation codes of apply_menu (and 0, appending to a named playlist file).
enum operation : int {
    op_append_file = 0,
    op_current_playlist = 1,
    op_choose_playlist = 2,
    op_no_select = 4,
    op_shortlist = 5,
    op_off_shortlist = 6,
    op_edit_artists = 7,
    op_edit_titles = 8,
    op_offline = 9,
};

// "Are you sure?" at a place; true on 'y'.
bool sure(int row, int column)
{
    char reply[2] = "";
    return prompt(row, column, "Are you sure?", reply, 1, 0) == 'y';
}

// Says that a long operation is under way.
void please_wait()
{
    put_text(stdscr, 12, 30, "Please Wait....");
    refresh();
}

// Sends one request for an element to the master server; false when it was refused.
bool element_request(std::int64_t type, int album_no, int track_no, const char *text)
{
    if (request(master_sock, type, album_no, track_no, text).album == k_refused) {
        errno = 0;
        error_msg("Send message failed", 0);
        return false;
    }
    return true;
}

// An element's selection letter, as the album table holds it.
char selection_letter(const chain_item *e)
{
    const track_rec *r = table_record(e->album_no, e->track_no);
    return r != nullptr ? r->status : e->track->status;
}

// Code 0: appends every element to the playlist file "PlayLists/<name>".
int append_to_file(const char *name)
{
    clear();
    if (no_of_items > k_file_note_limit) {
        put_text(stdscr, 8, 6, "NOTE: only the first 8192 items will be added to the playlist.");
    } else {
        char text[256];
        std::snprintf(text, sizeof text, "This will add ALL %d tracks on the selection\n\t\tto the playlist \"%s\"",
                      no_of_items, name);
        put_text(stdscr, 8, 6, text);
    }
    if (!sure(12, 30))
        return 0;
    please_wait();
    char path[256];
    std::snprintf(path, sizeof path, "%s/%s", "PlayLists", name);
    file_handle file(path, "a");
    if (file.f == nullptr) {
        char text[512];
        std::snprintf(text, sizeof text, "Cannot open %s for append - %s", name, std::strerror(errno));
        popup(text, 0);
        return 1;
    }
    // Every element is written: the note above does not cut the list.
    for (const chain_item *e = chain_head; e != nullptr; e = e->next) {
        char line[256];
        format_plist_line(line, sizeof line, e->key, e->album_no, e->track_no, e->track->artist, e->track->title,
                          e->track->time);
        std::fputs(line, file.f);
    }
    return 0;
}

// Code 1: adds every element to the current playlist, at most 256.
int add_to_current()
{
    clear();
    char text[256];
    if (no_of_items > k_plist_limit) {
        std::snprintf(text, sizeof text, "A maximum of %d tracks may be added to the current playlist.", k_plist_limit);
        put_text(stdscr, 8, 6, text);
        refresh();   // the cleared screen first, so that it does not wipe the pop-up later
        popup("continue:", 0);
        return 1;
    }
    std::snprintf(text, sizeof text, "This will add ALL %d tracks on the selection \n\t\tto the current playlist",
                  no_of_items);
    put_text(stdscr, 8, 6, text);
    if (!sure(12, 30))
        return 0;
    please_wait();
    for (const chain_item *e = chain_head; e != nullptr; e = e->next)
        plist_add_svce(e->album_no, e->track_no, k_current_plist, 0, master_sock);
    return 0;
}

// Code 2: the playlist chooser; a chosen or created playlist runs code 0.
int choose_playlist()
{
    std::vector<menu_item> rows;
    compile_playlist_menu(rows, apply_svce, nullptr);
    rows.push_back({.label = "", .handler = dumb_func, .argument = nullptr, .code = 0});
    rows.push_back({.label = "Create Playlist", .handler = playlist_select, .argument = nullptr, .code = 3});
    rows.push_back({.label = "Quit", .handler = brk_func, .argument = nullptr, .code = 0});
    rows.push_back({.label = "", .handler = null_func, .argument = nullptr, .code = 0});
    menu_func(rows.data(), 0, "Select Playlist to which to add these tracks", "");
    release_menu_labels(rows);
    return 0;
}

// Codes 4, 5 and 6: a selection request for each element whose letter allows it.
int change_selection(int code)
{
    clear();
    char text[160];
    std::int64_t type = NO_SELECT;
    if (code == op_no_select) {
        std::snprintf(text, sizeof text, "This will remove ALL %d items in the list from the normal selection.",
                      no_of_items);
        put_text(stdscr, 8, 6, text);
    } else if (code == op_shortlist) {
        type = SHORTLIST;
        std::snprintf(text, sizeof text, "This will add ALL %d items to the short-list.", no_of_items);
        put_text(stdscr, 8, 16, text);
    } else {
        type = DONOTPLAY;
        std::snprintf(text, sizeof text, "This will remove ALL %d items from the short-list.", no_of_items);
        put_text(stdscr, 8, 16, text);
    }
    if (!sure(10, 30))
        return 0;
    please_wait();
    for (const chain_item *e = chain_head; e != nullptr; e = e->next) {
        const char letter = selection_letter(e);
        bool wanted = false;
        if (code == op_no_select)
            wanted = letter != 'N' && letter != 'U';
        else if (code == op_shortlist)
            wanted = letter != 'S' && letter != 'U';
        else
            wanted = letter == 'S';
        if (wanted)
            element_request(type, e->album_no, e->track_no, "");
    }
    return 0;
}

// Code 9: every on-line element off line, its album written back.
int force_offline()
{
    clear();
    char text[160];
    std::snprintf(text, sizeof text, "This will force ALL %d items off-line.", no_of_items);
    put_text(stdscr, 8, 20, text);
    if (!sure(10, 30))
        return 0;
    please_wait();
    for (const chain_item *e = chain_head; e != nullptr; e = e->next) {
        track_rec *r = table_record(e->album_no, e->track_no);
        if (r == nullptr || r->online == 0)
            continue;
        if (!element_request(OFFLINE, e->album_no, e->track_no, ""))
            continue;
        r->online = 0;
        write_album(e->album_no, master_sock);
    }
    return 0;
}

// Reads an exact text after a label at a place (edited one column after the label).
int read_text(int row, int column, const char *label, char *buf, int size)
{
    put_text(stdscr, row, column, label);
    move(row, column + static_cast<int>(std::strlen(label)));
    return get_string_verbatim(buf, size);
}

}   // namespace

int mass_apply(chain_item *first, const char *name, int number, int menu_flag)
{
    if (menu_flag != 0) {
        // The operations run screens and requests; the list must outlive them whoever owns it.
        const chain_walk walk(first);
        chain_head = first;
        no_of_items = number;
        menu_func(apply_menu, 0, "Apply operations to whole browser list", "");
        // The list belongs to the browser; nothing may reach it once the menu is gone.
        chain_head = nullptr;
        no_of_items = 0;
        return 0;
    }
    const char *playlist_name = name != nullptr ? name : "";
    switch (number) {
    case op_append_file:
        return append_to_file(playlist_name);
    case op_current_playlist:
        return add_to_current();
    case op_choose_playlist:
        return choose_playlist();
    case op_no_select:
    case op_shortlist:
    case op_off_shortlist:
        return change_selection(number);
    case op_edit_artists:
    case op_edit_titles:
        global_edit(chain_head, playlist_name, no_of_items, number == op_edit_artists ? 0 : 1);
        return 0;
    case op_offline:
        return force_offline();
    default:
        return 0;
    }
}

int apply_svce(const void *, int code, const char *label)
{
    mass_apply(nullptr, label, code, 0);
    return k_break;
}

void global_edit(chain_item *first, const char *, int count, int field)
{
    clear();
    frame(stdscr);
    char old_text[k_edit_text + 2];
    char new_text[k_edit_text + 2];
    for (;;) {
        if (read_text(8, 6, "String  to replace:", old_text, k_edit_text) == k_escape)
            return;
        if (old_text[0] != '\0')
            break;
        popup("String to be replaced may not be blank", 2);
    }
    if (read_text(10, 6, "Replacement string:", new_text, k_edit_text) == k_escape)
        return;
    char line[256];
    std::snprintf(line, sizeof line, "This will replace all occurrences of \"%s\"", old_text);
    put_text(stdscr, 14, 6, line);
    std::snprintf(line, sizeof line, "with \"%s\" in all %d %s fields.", new_text, count,
                  field == 0 ? "artist" : "title");
    put_text(stdscr, 15, 6, line);
    if (!sure(18, 6))
        return;
    please_wait();
    char text[2 * k_edit_text + 4];   // "old~new", as the server reads an edit
    std::snprintf(text, sizeof text, "%s~%s", old_text, new_text);
    for (const chain_item *e = first; e != nullptr; e = e->next) {
        element_request(field == 0 ? EDIT_ARTIST : EDIT_TITLE, e->album_no, e->track_no, text);
        read_album(e->album_no, master_sock);
    }
    request(master_sock, PLIST_UPDATE, 0, 0, k_current_plist);
}

int get_string_verbatim(char *buf, int size)
{
    int row = 0;
    int column = 0;
    getyx(stdscr, row, column);
    std::memset(buf, 0, static_cast<std::size_t>(size));
    install_handler(SIGINT, SIG_IGN);
    curs_set(1);
    verbatim_line line{.buf = buf, .size = size};
    int result = k_verbatim_more;
    while (result == k_verbatim_more) {
        attron(A_REVERSE);
        put_text(stdscr, row, column + 1, buf);
        attroff(A_REVERSE);
        // The column freed by a deletion is blanked.
        put_text(stdscr, row, column + 1 + static_cast<int>(std::strlen(buf)), " ");
        move(row, column + 1 + line.pos);
        refresh();
        const int key = get_input(&input, 0);
        if (key == -1)
            continue;
        result = verbatim_key(line, key);
    }
    install_handler(SIGINT, interrupt_func);
    curs_set(0);
    return result == k_verbatim_done ? 0 : k_escape;
}
