// Unsolicited server messages: one handler per message type.
//
// To add a row: write the handler `on_foo(server_msg *)` below, then add it to
// async_handlers (kept sorted by type).
#include "app/async.hpp"

#include "browse/browser.hpp"
#include "browse/chain.hpp"
#include "core/input.hpp"
#include "core/link.hpp"
#include "core/startup.hpp"
#include "db/album.hpp"
#include "media/loaded_cd.hpp"
#include "playlist/console.hpp"
#include "playlist/state.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <curses.h>

namespace {

bool valid_album(int n) { return n >= 0 && n < k_album_slots; }

// The track entry a message names, or nullptr when the numbers are out of range.
const track_rec *entry_of(int album_no, int track_no)
{
    if (!valid_album(album_no) || track_no < 0 || track_no >= k_max_entries)
        return nullptr;
    return &album[album_no].entry[track_no];
}

void on_album_deleted(server_msg *m)
{
    const int n = static_cast<int>(m->album);
    if (valid_album(n))
        std::memset(&album[n], 0, sizeof album[n]);
}

void on_album_written(server_msg *m) { read_album_data(m); }

void on_plist_update(server_msg *m)
{
    if (std::strcmp(cur_plist, k_current_plist) == 0)
        playlist_chain(m);
    else if (m->sequence != 0)
        playlist_chain_local(m);
}

void on_plist_now(server_msg *m)
{
    int announce = 0;
    std::sscanf(m->text, "%d %d %d", &playtime, &paused, &announce);
    then = std::time(nullptr);
    const int album_no = static_cast<int>(m->album);
    const track_rec *t = entry_of(album_no, static_cast<int>(m->track));
    if (announce != 0 && album_no != k_no_album && playtime >= 1 && t != nullptr) {
        char text[256];
        std::snprintf(text, sizeof text, "Now Playing: %s - %s", t->artist, t->title);
        popup(text, 2);
    }
}

void on_pause(server_msg *) { paused = !paused; }

void on_skip(server_msg *)
{
    // A fixed eight seconds (the fade), deliberately not the track's time.
    then = std::time(nullptr);
    playtime = 8;
    paused = 0;
}

void forget_retrieve_of(server_msg *m)
{
    if (static_cast<int>(m->album) == retrieve_album)
        retrieve_album = k_no_album;
}

void on_ret_req(server_msg *m)
{
    if (!cd_loaded_other) {
        retrieve_album = static_cast<int>(m->album);
        retrieve_track = static_cast<int>(m->track);
    }
}

void on_cd_loaded(server_msg *m)
{
    if (static_cast<int>(m->album) == retrieve_album) {
        retrieve_album = k_no_album;
        cd_loaded_other = 1;
    }
}

void on_ret_final(server_msg *) { cd_loaded_other = 0; }

void on_ret_failed(server_msg *m)
{
    char text[128];
    std::snprintf(text, sizeof text, "Cannot retrieve album %4.4ld, track %ld", static_cast<long>(m->album),
                  static_cast<long>(m->track));
    popup(text, 2);
}

// Shows the CD loaded in a server's drive in the browser, then ejects it.
void loaded_cd_view(server_msg *m, int list_kind, int mode)
{
    const int album_no = static_cast<int>(m->album);
    if (!valid_album(album_no))
        return;
    char saved_heading[sizeof heading];
    char saved_footer[sizeof footer];
    copy_bounded(saved_heading, heading);
    copy_bounded(saved_footer, footer);
    if (m->type == EXOCD) {
        const int matches = static_cast<int>(m->track) - 1000;
        cd_info[1] = std::strtoull(m->text, nullptr, 16);
        read_album(album_no, cd_srv_sock);
        if (matches < 0) {
            copy_bounded(footer, "^F^r^e^e^d^b^ ^U^n^a^v^a^i^l^a^b^l^e ^F^9-Database ^F^1^0-Identify");
        } else if (matches > 0) {
            get_freedb_match(1, album_no);
            if (matches > 1)
                std::snprintf(footer, sizeof footer, "Match 1 of %d ^-^>next ^<^-prev ^duplicates ^F^9-Database",
                              matches);
            else
                copy_bounded(footer, "1 Match ^Duplicates ^F^9-Database");
        } else {
            copy_bounded(footer, "No freedb Matches ^F^9-Database ^F^1^0-Identify");
        }
        freedb_matches = matches;
        current_match = matches > 0 ? 1 : 0;
    } else {
        freedb_matches = static_cast<int>(m->track);
        current_match = 0;
    }
    const album_rec &a = album[album_no];
    int count = 0;
    for (int t = 1; t <= a.tracks && t < k_max_entries; ++t)
        count += link_track(exo_head, list_kind, album_no, t, 0, 1) > 0 ? 1 : 0;
    const track_rec &head = a.entry[0];
    if (m->type == EXOCD) {
        std::snprintf(heading, sizeof heading, "%04d: %.29s - %.29s [%s]", album_no, head.artist, head.title,
                      head.time);
    } else {
        // The artist is cut one character shorter here than for an unknown CD.
        std::snprintf(heading, sizeof heading, "%04d: %.28s - %.29s [%s]", album_no, head.artist, head.title,
                      head.time);
        copy_bounded(footer, "^F^1^0-bring online ^overwrite track ^^W/^^I check album/track");
    }
    browser(exo_head, count, 0, exocd_svce, mode);
    int eject_album = album_no;
    if (!exo_head.empty()) {
        eject_album = exo_head.head()->album_no;
        exo_head.reset();
    }
    copy_bounded(heading, saved_heading);
    copy_bounded(footer, saved_footer);
    clear();
    frame(stdscr);
    refresh();
    request(cd_srv_sock, CD_EJECT, eject_album, 0);
}

void on_exocd(server_msg *m) { loaded_cd_view(m, k_order_numeric, k_browse_album); }

void on_known_cd(server_msg *m) { loaded_cd_view(m, k_order_append, k_browse_cd_matches); }

void on_cdw_done(server_msg *m)
{
    char text[160];
    const long album_no = static_cast<long>(m->album);
    switch (m->track) {
    case 0:
        std::snprintf(text, sizeof text, "Album %4.4ld written to CD (ID %8.8lX)", album_no,
                      std::strtoul(m->text, nullptr, 16));
        break;
    case 1:
        copy_bounded(text, "Interprocess message failure");
        break;
    case 2:
        copy_bounded(text, "CD drive in use for ripping");
        break;
    case 3:
        copy_bounded(text, "Cannot obtain disc status");
        break;
    case 4:
        std::snprintf(text, sizeof text, "Album %4.4ld: no header info - possibly a simulated write", album_no);
        break;
    default:
        std::snprintf(text, sizeof text, "Album %4.4ld: unknown CD writer result %ld", album_no,
                      static_cast<long>(m->track));
        break;
    }
    char reply[2] = {};
    prompt(10, 10, text, reply, 1, 4);
    clear();
}

void on_server_down(server_msg *)
{
    popup("Server is shutting down", 2);
    closedown(0);
}

void on_server_notice(server_msg *m)
{
    // The notice is the server's; whatever system error this program met last has nothing to do with it.
    if (m->album != 0) {
        errno = 0;
        error_msg(m->text, 0);
    }
    else
        popup(m->text, 2);
}

void on_change_mode(server_msg *m)
{
    const int mode = static_cast<int>(m->album);
    if (mode < 0 || mode >= k_mode_count)
        return;   // not a mode this program can name
    play_mode = mode;
    char text[256];
    if (m->track != 0) {
        copy_bounded(selection_playlist, m->text);
        std::snprintf(heading, sizeof heading, "%s mode: selecting from \"%s\" playlist", playing_mode[mode],
                      selection_playlist);
        std::snprintf(text, sizeof text, "Playing Mode changed to %s: \"%s\"", playing_mode[mode], selection_playlist);
    } else {
        std::snprintf(heading, sizeof heading, "Current Playlist (%s Mode)", playing_mode[mode]);
        std::snprintf(text, sizeof text, "Playing Mode changed to %s", playing_mode[mode]);
    }
    popup(text, 1);
}

void on_cd_waiting(server_msg *m)
{
    char text[128];
    if (m->album != 0)
        std::snprintf(text, sizeof text, "Album %04d is loaded: Do you wish to view it?", static_cast<int>(m->album));
    else
        copy_bounded(text, "An unknown album is loaded: Do you wish to edit it?");
    char reply[2] = {};
    if (prompt(10, 10, text, reply, 1, 4) == 'y') {
        request(cd_srv_sock, CD_WAITING, m->album, m->track);
    } else {
        clear();
    }
}

struct async_entry {
    std::int64_t type;
    void (*handler)(server_msg *);
};

constexpr async_entry async_handlers[] = {
    {.type = ALBUM_DELETED, .handler = on_album_deleted},
    {.type = ALBUM_WRITTEN, .handler = on_album_written},
    {.type = PLIST_UPDATE, .handler = on_plist_update},
    {.type = PLIST_NOW, .handler = on_plist_now},
    {.type = PAUSE, .handler = on_pause},
    {.type = SKIP, .handler = on_skip},
    {.type = CANCEL, .handler = forget_retrieve_of},
    {.type = RET_REQ, .handler = on_ret_req},
    {.type = CD_LOADED, .handler = on_cd_loaded},
    {.type = CANCELLED, .handler = forget_retrieve_of},
    {.type = EXOCD, .handler = on_exocd},
    {.type = RET_PROG, .handler = forget_retrieve_of},
    {.type = RET_FINAL, .handler = on_ret_final},
    {.type = RET_FAILED, .handler = on_ret_failed},
    {.type = KNOWN_CD, .handler = on_known_cd},
    {.type = CDW_DONE, .handler = on_cdw_done},
    {.type = SERVER_DOWN, .handler = on_server_down},
    {.type = SERVER_NOTICE, .handler = on_server_notice},
    {.type = CHANGE_MODE, .handler = on_change_mode},
    {.type = CD_WAITING, .handler = on_cd_waiting},
};
static_assert(std::ranges::is_sorted(async_handlers, {}, &async_entry::type));

}   // namespace

void async_msg(server_msg *msg)
{
    const auto it = std::ranges::lower_bound(async_handlers, msg->type, {}, &async_entry::type);
    if (it != std::end(async_handlers) && it->type == msg->type)
        it->handler(msg);
}
