#include "server/handlers.hpp"

#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "server/cd_drive.hpp"
#include "server/log.hpp"
#include "server/master_link.hpp"
#include "server/notices.hpp"
#include "server/player.hpp"
#include "server/playlists.hpp"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <ranges>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::int64_t k_history_walk_expiry_ms = 30'000;   // an abandoned HISTORY walk starts afresh
constexpr std::int64_t k_history_dir_album = 58;            // DIRLIST album/track naming the history folder
constexpr std::int64_t k_history_dir_track = 1;

// Reasons a SET_PLIST is refused, in its track field.
constexpr std::int64_t k_plist_console_held = 1;
constexpr std::int64_t k_plist_unknown = 2;
constexpr std::int64_t k_plist_problem = 3;

int album_of(const request &r) { return static_cast<int>(r.album); }
int track_of(const request &r) { return static_cast<int>(r.track); }

// The album field of a success reply: the request's own, unless that would read as a failure.
std::int64_t ok_album(const request &r) { return r.album != 0 && r.album != k_refused ? r.album : 1; }

// The playlist a request names; an empty text names the current playlist.
std::string_view plist_name(const request &r) { return r.text.empty() ? k_current_plist : r.text; }

std::string path_of(const request_ctx &c, std::string_view name) { return plist_path(c.st.paths.playlists, name); }

// The playlist file line of a track.
std::string track_line(const server_state &st, int album, int track)
{
    const track_rec *t = store_entry(st.store, album, track);
    char line[256];
    format_plist_line(line, sizeof line, t->cd_ident, album, track, t->artist, t->title, t->time);
    return line;
}

// Loads a playlist to change it. Refused for a bad name, or a named playlist
// that does not exist unless `create`; the current playlist always exists.
bool load_for_change(const request_ctx &c, std::string_view name, bool create, playlist &p)
{
    if (!plist_name_ok(name))
        return false;
    return plist_load(path_of(c, name), p) || create || name == k_current_plist;
}

// Saves a changed playlist and tells every client it concerns; false when it cannot be written.
bool save_and_announce(request_ctx &c, std::string_view name, const playlist &p)
{
    if (!plist_save(path_of(c, name), p)) {
        slog("Cannot write playlist %s - %s", path_of(c, name).c_str(), std::strerror(errno));
        return false;
    }
    post_plist_update(c.out, name, p);
    if (name == k_current_plist)
        player_kick(c.st, c.now_ns, c.out);
    return true;
}

// Applies a change to the playlist a request names and replies: the album on
// success, 0xFFFF when the playlist or the entry is not there.
template <typename Op>
void change_playlist(request_ctx &c, Op &&op)
{
    const std::string_view name = plist_name(c.req);
    playlist p;
    if (!load_for_change(c, name, false, p) || !op(p) || !save_and_announce(c, name, p)) {
        reply(c, k_refused);
        return;
    }
    reply(c, ok_album(c.req));
}

// Sets the playing mode; others hear of a change. False (nothing changed)
// when the mode cannot be stored: it would not survive a restart.
bool set_mode(request_ctx &c, int mode)
{
    player_state &p = c.st.player;
    if (p.mode == mode)
        return true;
    if (mode != k_mode_console && !store_set_setting(c.st.store, "mode", std::to_string(mode))) {
        slog("Playing mode %s not stored (connection %d)", k_mode_names[mode].data(), c.self.id);
        return false;
    }
    p.mode = mode;
    p.memory.alternate = false;
    slog("Playing mode %s (connection %d)", k_mode_names[mode].data(), c.self.id);
    post_change_mode(c.st, c.out, target::others);
    return true;
}

// Whether another connection holds the console.
bool console_held_by_other(const request_ctx &c)
{
    return c.st.console_holder != -1 && c.st.console_holder != c.self.id;
}

// ---- greeting, clock, administration -------------------------------------------------

// The greeting.
void h_client_open(request_ctx &c)
{
    // A local server greets with a text of its own: its link gets the requests handed on to its drive.
    if (c.req.text == k_drive_link_greeting && !c.self.drive_link) {
        c.self.drive_link = true;
        slog("Connection %d is the link of a local server's CD drive", c.self.id);
    }
    // The greeting's reply is matched by its type; its sequence sets the client's counter.
    post(c.out, target::requester, make_frame(CLIENT_OPEN, k_greeting_sequence, c.req.album, 0, {}));
    c.self.greeted = true;
}

// GETTIME: the server clock as hexadecimal seconds.
void h_gettime(request_ctx &c)
{
    char text[32];
    std::snprintf(text, sizeof text, "%lx", static_cast<unsigned long>(wall_now(c.st)));
    reply(c, ok_album(c.req), 0, text);
}

// REBOOT and SHUTDOWN: accepted only when the server was started with the
// command to run and no console is logged in elsewhere; the server then stops
// as for STOP_SERVICE and runs the command.
void h_power(request_ctx &c)
{
    const bool reboot = c.req.type == REBOOT;
    const std::vector<std::string> &command = reboot ? c.st.power.reboot : c.st.power.poweroff;
    if (const char *why = power_refusal(c.st, c.self.id, &command)) {
        slog("Refused %s from connection %d: %s", reboot ? "REBOOT" : "SHUTDOWN", c.self.id, why);
        reply(c, 0);
        return;
    }
    slog("%s requested by connection %d: %s runs once the server has stopped", reboot ? "Re-boot" : "Power-off",
         c.self.id, command_text(command).c_str());
    reply(c, 1);
    post(c.out, target::others, make_frame(SERVER_DOWN, k_notice_sequence, 1, 0, {}));
    c.st.after_stop = &command;
    c.st.stop_requested = true;
}

// STOP_SERVICE: accepted unless a console is logged in elsewhere; the other
// clients are told (the requester knows from its answer, shows it and leaves)
// and the server ends cleanly once they have left.
void h_stop_service(request_ctx &c)
{
    if (const char *why = power_refusal(c.st, c.self.id, nullptr)) {
        slog("Refused STOP_SERVICE from connection %d: %s", c.self.id, why);
        reply(c, 0);
        return;
    }
    slog("Service stop requested by connection %d", c.self.id);
    reply(c, 1);
    post(c.out, target::others, make_frame(SERVER_DOWN, k_notice_sequence, 1, 0, {}));
    c.st.stop_requested = true;
}

// ---- albums --------------------------------------------------------------------------

// ALBUM_READ: the album text, or the gap or end answer.
void h_album_read(request_ctx &c)
{
    const int n = album_of(c.req);
    if (n == 0 && cd_album_read(c))
        return;   // album 0 is the disc in the drive
    const std::int64_t answer = store_read_answer(c.st.store, n);
    const stored_album *a = answer == n ? store_get(c.st.store, n) : nullptr;
    if (a == nullptr) {
        reply(c, answer);
        return;
    }
    // The answer kept with the album, given this request's sequence.
    post(c.out, target::requester, frame_with_sequence(a->reply, c.req.sequence));
}

// ALBUM_WRITE: stores the album and shows it to the other clients.
void h_album_write(request_ctx &c)
{
    const int n = album_of(c.req);
    if (n == 0 && cd_album_write(c))
        return;   // album 0 is the disc in the drive
    if (!store_write_text(c.st.store, n, c.req.text)) {
        slog("Album %04d not written (connection %d)", n, c.self.id);
        reply(c, k_refused);
        return;
    }
    std::erase(c.self.allocated, n);
    reply(c, n);
    post_album_written(c.st, c.out, n, target::others);
}

// ALBUM_DELETE: removes the album; answered like any request (the client waits
// for the answer), and announced to the others, who clear their copy.
void h_album_delete(request_ctx &c)
{
    const int n = album_of(c.req);
    if (!store_delete(c.st.store, n)) {
        slog("Album %04d not deleted: no such album (connection %d)", n, c.self.id);
        reply(c, k_refused);
        return;
    }
    slog("Album %04d deleted (connection %d)", n, c.self.id);
    player_drop(c.st, n, 0);
    reply(c, n);
    post(c.out, target::others, make_frame(ALBUM_DELETED, k_notice_sequence, n, 0, {}));
}

// ALBUM_NEW and ALBUM_TEMP: a free album number, or 0.
void h_album_number(request_ctx &c)
{
    const int n = store_allocate(c.st.store, c.req.type == ALBUM_TEMP);
    if (n != 0)
        c.self.allocated.push_back(n);
    reply(c, n);
}

// REFRESH: tracks whose media has gone are taken off line.
void h_refresh(request_ctx &c)
{
    std::vector<int> changed;
    const bool stored = store_check_media(c.st.store, c.st.paths.media, changed);
    reply(c, stored ? ok_album(c.req) : k_refused);
    for (int n : changed)
        post_album_written(c.st, c.out, n, target::others);
}

// RESET: every play count back to 0, acknowledged once stored.
void h_reset(request_ctx &c)
{
    const std::optional<std::vector<int>> changed = store_reset_plays(c.st.store);
    if (!changed) {
        slog("Play counts not reset: the database refused (connection %d)", c.self.id);
        reply(c, k_refused);
        return;
    }
    slog("Play counts reset: %zu albums (connection %d)", changed->size(), c.self.id);
    reply(c, ok_album(c.req));
    for (int n : *changed)
        post_album_written(c.st, c.out, n, target::all);
}

// SHORTLIST, DONOTPLAY, UNPLAYABLE, NO_SELECT, OFFLINE: one track, or a whole album with track 0.
void h_mark(request_ctx &c)
{
    const int a = album_of(c.req);
    const int t = track_of(c.req);
    const change_result r = store_mark(c.st.store, a, t, c.req.type);
    if (r == change_result::refused) {
        reply(c, k_refused);
        return;
    }
    reply(c, a);
    if (r == change_result::changed)
        post_album_written(c.st, c.out, a, target::all);
    if (c.req.type == OFFLINE) {
        const auto &cur = c.st.player.current;
        const bool playing = cur && cur->album == a && (t == 0 || cur->track == t) && cur->fade_from < 0;
        player_drop(c.st, a, t);
        if (playing)
            post(c.out, target::others, make_frame(SKIP, k_notice_sequence, 1, 0, {}));
    }
}

// Global edit 0x21 (artist) / 0x22 (title): "old~new" inside one entry.
void h_edit_text(request_ctx &c)
{
    const std::size_t tilde = c.req.text.find('~');
    if (tilde == std::string_view::npos) {
        reply(c, k_refused);
        return;
    }
    const change_result r = store_replace(c.st.store, album_of(c.req), track_of(c.req), c.req.type == EDIT_TITLE,
                                          c.req.text.substr(0, tilde), c.req.text.substr(tilde + 1));
    if (r == change_result::refused) {
        reply(c, k_refused);
        return;
    }
    reply(c, ok_album(c.req));
    if (r == change_result::changed)
        post_album_written(c.st, c.out, album_of(c.req), target::all);
}

// ---- history and folders ---------------------------------------------------------------

// HISTORY: the next entry of the walk, album 0 at its end.
void h_history(request_ctx &c)
{
    history_walk &w = c.self.walk;
    const std::int64_t now_ms = c.now_ns / 1'000'000;
    if (w.key.empty() || w.key != c.req.text || now_ms - w.last_ms > k_history_walk_expiry_ms) {
        w.key = std::string(c.req.text);
        w.lines = history_lines_for(c.st.paths.history, c.req.text);
        w.next = 0;
    }
    w.last_ms = now_ms;
    if (w.next >= w.lines.size()) {
        w = history_walk{};
        reply(c, 0);
        return;
    }
    const std::string &line = w.lines[w.next++];
    reply(c, 1, static_cast<std::int64_t>(std::min<std::size_t>(w.next, 0xFFFF)),
          std::string_view(line).substr(0, k_text_max));
}

// DIRLIST: the names in the history or the playlist folder.
void h_dirlist(request_ctx &c)
{
    const std::size_t slash = c.req.text.rfind('/');
    const std::string_view name = slash == std::string_view::npos ? c.req.text : c.req.text.substr(slash + 1);
    if ((c.req.album == k_history_dir_album && c.req.track == k_history_dir_track) || name == "History")
        reply(c, c.req.album, c.req.track, dir_listing(c.st.paths.history));
    else if (name == "PlayLists")
        reply(c, c.req.album, c.req.track, dir_listing(c.st.paths.playlists));
    else
        reply(c, k_refused);
}

// ---- playlists ---------------------------------------------------------------------------

// PLIST_GET: a playlist's transfer text.
void h_plist_get(request_ctx &c)
{
    const std::string_view name = plist_name(c.req);
    playlist p;
    if (!plist_name_ok(name) || (!plist_load(path_of(c, name), p) && name != k_current_plist)) {
        reply(c, 0);
        return;
    }
    if (name == k_current_plist)
        c.self.viewing.clear();
    reply(c, ok_album(c.req), 0, plist_transfer_text(p));
}

// PLIST_READ: opens a playlist (track 2 or 3: creates it when absent).
void h_plist_read(request_ctx &c)
{
    const std::string_view name = plist_name(c.req);
    const bool create = c.req.track == 2 || c.req.track == 3;
    playlist p;
    if (!plist_name_ok(name)) {
        reply(c, 0);
        return;
    }
    if (!plist_load(path_of(c, name), p) && name != k_current_plist) {
        if (!create || !plist_save(path_of(c, name), p)) {
            reply(c, 0);
            return;
        }
        slog("Playlist %.*s created (connection %d)", static_cast<int>(name.size()), name.data(), c.self.id);
    }
    c.self.viewing = name == k_current_plist ? std::string{} : std::string(name);
    reply(c, ok_album(c.req), 0, plist_transfer_text(p));
}

// PLIST_ADD and PLIST_ADD_LOCAL: appends a track, refused when it is already there.
void h_plist_add(request_ctx &c)
{
    const int a = album_of(c.req);
    const int t = track_of(c.req);
    const std::string_view name = plist_name(c.req);
    playlist p;
    if (t < 1 || store_entry(c.st.store, a, t) == nullptr || !load_for_change(c, name, true, p) ||
        !plist_append(p, a, t, track_line(c.st, a, t)) || !save_and_announce(c, name, p)) {
        reply(c, k_refused);
        return;
    }
    reply(c, a);
}

// PLIST_DELETE: removes a track.
void h_plist_delete(request_ctx &c)
{
    change_playlist(c, [&](playlist &p) { return plist_erase(p, album_of(c.req), track_of(c.req)); });
}

// PLIST_UP: one place towards the top.
void h_plist_up(request_ctx &c)
{
    change_playlist(c, [&](playlist &p) { return plist_move_up(p, album_of(c.req), track_of(c.req)); });
}

// PLIST_DOWN: one place towards the end.
void h_plist_down(request_ctx &c)
{
    change_playlist(c, [&](playlist &p) { return plist_move_down(p, album_of(c.req), track_of(c.req)); });
}

// PLIST_NEXT: to the top, to play next.
void h_plist_next(request_ctx &c)
{
    change_playlist(c, [&](playlist &p) { return plist_move_top(p, album_of(c.req), track_of(c.req)); });
}

// PLIST_SHUFFLE: a new order, sent back in the reply.
void h_plist_shuffle(request_ctx &c)
{
    const std::string_view name = plist_name(c.req);
    playlist p;
    if (!load_for_change(c, name, false, p)) {
        reply(c, k_refused);
        return;
    }
    plist_shuffle(p, c.st.rng);
    if (!save_and_announce(c, name, p)) {
        reply(c, k_refused);
        return;
    }
    reply(c, ok_album(c.req), 0, plist_transfer_text(p));
}

// PLIST_KEEP: the current playlist saved under a name.
void h_plist_keep(request_ctx &c)
{
    const std::string_view name = c.req.text;
    playlist p;
    if (!plist_name_ok(name) || name == k_current_plist) {
        reply(c, k_refused);
        return;
    }
    plist_load(path_of(c, k_current_plist), p);
    if (!save_and_announce(c, name, p)) {
        reply(c, k_refused);
        return;
    }
    slog("Current playlist kept as %.*s (connection %d)", static_cast<int>(name.size()), name.data(), c.self.id);
    reply(c, ok_album(c.req));
}

// PLIST_CLEAR: empties a playlist.
void h_plist_clear(request_ctx &c)
{
    change_playlist(c, [](playlist &p) {
        p.items.clear();
        return true;
    });
}

// PLIST_APPEND: an offline playlist added to the current one.
void h_plist_append(request_ctx &c)
{
    const std::string_view name = c.req.text;
    playlist from;
    playlist queue;
    if (!plist_name_ok(name) || name == k_current_plist || !plist_load(path_of(c, name), from)) {
        reply(c, k_refused);
        return;
    }
    plist_load(path_of(c, k_current_plist), queue);
    for (plist_item &i : from.items)
        plist_append(queue, i.album, i.track, std::move(i.line));
    if (!save_and_announce(c, k_current_plist, queue)) {
        reply(c, k_refused);
        return;
    }
    reply(c, ok_album(c.req));
}

// DELETE: removes an offline playlist.
void h_delete(request_ctx &c)
{
    const std::string_view name = c.req.text;
    if (!plist_name_ok(name) || name == k_current_plist || ::unlink(path_of(c, name).c_str()) != 0) {
        reply(c, k_refused);
        return;
    }
    if (!sync_folder(c.st.paths.playlists)) {
        slog("Cannot sync the playlist folder %s - %s", c.st.paths.playlists.c_str(), std::strerror(errno));
        reply(c, k_refused);
        return;
    }
    slog("Playlist %.*s deleted (connection %d)", static_cast<int>(name.size()), name.data(), c.self.id);
    reply(c, ok_album(c.req));
}

// PLIST_UPDATE from a client: the playlist's state relayed to every client it
// concerns, the requester too, so that the screen that made the change shows it.
void h_plist_update(request_ctx &c)
{
    const std::string_view name = plist_name(c.req);
    if (!plist_name_ok(name)) {
        reply(c, k_refused);
        return;
    }
    reply(c, ok_album(c.req), 0, plist_file_transfer_text(c.st, name));
    post_plist_update(c.st, c.out, name);
}

// ---- playing ------------------------------------------------------------------------------

// The mode messages 0xB1..0xB6; CONSOLE takes the console lock.
void h_mode(request_ctx &c)
{
    const int mode = static_cast<int>(c.req.type - MODE_UNDEFINED);
    if (console_held_by_other(c)) {
        reply(c, 0);
        return;
    }
    if (!set_mode(c, mode)) {
        reply(c, k_refused);
        return;
    }
    if (mode == k_mode_console)
        c.st.console_holder = c.self.id;
    else if (c.st.console_holder == c.self.id)
        c.st.console_holder = -1;
    reply(c, ok_album(c.req));
}

// GET_MODE: the mode in the album field.
void h_get_mode(request_ctx &c) { reply(c, c.st.player.mode); }

// SET_PLIST: the selection playlist, and with album 5 or 6 the mode too.
void h_set_plist(request_ctx &c)
{
    player_state &p = c.st.player;
    const std::int64_t want = c.req.album;
    if (console_held_by_other(c)) {
        reply(c, 0, k_plist_console_held);
        return;
    }
    if (want != 0 && want != k_mode_playlist && want != k_mode_playmixed) {
        reply(c, 0, k_plist_problem);
        return;
    }
    const std::string_view name = c.req.text;
    const bool keep = name.empty() || name == "****";
    struct stat sb {};
    if (!keep && (!plist_name_ok(name) || name == k_current_plist || stat(path_of(c, name).c_str(), &sb) != 0)) {
        reply(c, 0, k_plist_unknown);
        return;
    }
    const bool new_selection = !keep && name != p.selection;
    const bool new_mode = want != 0 && p.mode != want;
    // Both settings are stored together before anything changes.
    const std::string mode_text = std::to_string(want);
    std::vector<setting_value> values;
    if (new_selection)
        values.push_back({"selection", name});
    if (new_mode)
        values.push_back({"mode", mode_text});
    if (!values.empty() && !store_set_settings(c.st.store, values)) {
        slog("Selection playlist \"%.*s\" not stored (connection %d)", static_cast<int>(name.size()), name.data(),
             c.self.id);
        reply(c, 0, k_plist_problem);
        return;
    }
    if (new_selection) {
        p.selection = std::string(name);
        p.memory.cursor = 0;
    }
    if (new_mode) {
        if (c.st.console_holder == c.self.id)
            c.st.console_holder = -1;
        p.mode = static_cast<int>(want);
        p.memory.alternate = false;
    }
    if (new_selection || new_mode) {
        slog("Playing mode %s selecting from \"%s\" (connection %d)", k_mode_names[p.mode].data(), p.selection.c_str(),
             c.self.id);
        if (p.mode == k_mode_playlist || p.mode == k_mode_playmixed)
            post_change_mode(c.st, c.out, target::others);
    }
    reply(c, ok_album(c.req));
}

// GET_PLIST: the selection playlist's name.
void h_get_plist(request_ctx &c) { reply(c, ok_album(c.req), 0, c.st.player.selection); }

// GO: the auto-DJ starts.
void h_go(request_ctx &c)
{
    slog("Auto-DJ started (connection %d)", c.self.id);
    reply(c, ok_album(c.req));
    player_go(c.st, c.now_ns, c.out);
}

// STOP: the auto-DJ stops when the track ends.
void h_stop(request_ctx &c)
{
    slog("Auto-DJ stops at the end of the track (connection %d)", c.self.id);
    player_stop(c.st);
    reply(c, ok_album(c.req));
}

// PAUSE: toggles the pause.
void h_pause(request_ctx &c)
{
    player_pause(c.st);
    reply(c, ok_album(c.req));
    post(c.out, target::others, make_frame(PAUSE, k_notice_sequence, 1, 0, {}));
}

// SKIP: the track fades out; refused when nothing plays.
void h_skip(request_ctx &c)
{
    if (!player_skip(c.st)) {
        reply(c, k_refused);
        return;
    }
    reply(c, ok_album(c.req));
    post(c.out, target::others, make_frame(SKIP, k_notice_sequence, 1, 0, {}));
}

// AUDIO: the connection becomes an audio stream.
void h_audio(request_ctx &c)
{
    if (!c.self.audio)
        slog("Audio stream to connection %d (%s)", c.self.id, c.self.peer.c_str());
    c.self.audio = true;
    reply(c, 0);
}

// ---- chains ---------------------------------------------------------------------------------

// LINK_QUERY: the chain of a track, head first.
void h_link_query(request_ctx &c)
{
    const std::vector<plist_entry> chain = store_chain(c.st.store, album_of(c.req), track_of(c.req));
    if (chain.empty()) {
        reply(c, 0);
        return;
    }
    std::string text;
    for (const plist_entry &e : chain) {
        char line[32];
        std::snprintf(line, sizeof line, "%04d %02d\n", e.album, e.track);
        if (text.size() + std::strlen(line) > k_text_max)
            break;
        text += line;
    }
    reply(c, ok_album(c.req), c.req.track, text);
}

// LINK_TRACK: starts, extends or deletes a chain.
void h_link_track(request_ctx &c)
{
    int ha = 0;
    int ht = 0;
    if (!parse_link_head(c.req.text, ha, ht) || !store_link(c.st.store, album_of(c.req), track_of(c.req), ha, ht)) {
        reply(c, k_refused);
        return;
    }
    reply(c, ok_album(c.req));
}

// The CD requests (RET_TRACK, RET_CHECK, CANCEL, CD_EJECT, CD WAITING, WRITE_CD) are in cd_drive.

using handler_fn = void (*)(request_ctx &);

struct handler_entry {
    std::int64_t code;
    handler_fn fn;
};

// To add a request: write its handler `h_name(request_ctx &)` above, then add a row here (sorted by code).
constexpr handler_entry handlers[] = {
    {.code = ALBUM_READ, .fn = h_album_read},
    {.code = ALBUM_WRITE, .fn = h_album_write},
    {.code = ALBUM_DELETE, .fn = h_album_delete},
    {.code = ALBUM_TEMP, .fn = h_album_number},
    {.code = ALBUM_NEW, .fn = h_album_number},
    {.code = REFRESH, .fn = h_refresh},
    {.code = EDIT_ARTIST, .fn = h_edit_text},
    {.code = EDIT_TITLE, .fn = h_edit_text},
    {.code = HISTORY, .fn = h_history},
    {.code = DIRLIST, .fn = h_dirlist},
    {.code = GETTIME, .fn = h_gettime},
    {.code = RESET, .fn = h_reset},
    {.code = DELETE, .fn = h_delete},
    {.code = PLIST_ADD, .fn = h_plist_add},
    {.code = PLIST_DELETE, .fn = h_plist_delete},
    {.code = PLIST_ADD_LOCAL, .fn = h_plist_add},
    {.code = PLIST_UP, .fn = h_plist_up},
    {.code = PLIST_DOWN, .fn = h_plist_down},
    {.code = PLIST_NEXT, .fn = h_plist_next},
    {.code = PLIST_SHUFFLE, .fn = h_plist_shuffle},
    {.code = PLIST_UPDATE, .fn = h_plist_update},
    {.code = PLIST_APPEND, .fn = h_plist_append},
    {.code = PLIST_KEEP, .fn = h_plist_keep},
    {.code = PLIST_CLEAR, .fn = h_plist_clear},
    {.code = PLIST_GET, .fn = h_plist_get},
    {.code = PLIST_READ, .fn = h_plist_read},
    {.code = GO, .fn = h_go},
    {.code = PAUSE, .fn = h_pause},
    {.code = SKIP, .fn = h_skip},
    {.code = STOP, .fn = h_stop},
    {.code = CANCEL, .fn = cd_cancel},
    {.code = RET_TRACK, .fn = cd_ret_track},
    {.code = UNPLAYABLE, .fn = h_mark},
    {.code = OFFLINE, .fn = h_mark},
    {.code = SHORTLIST, .fn = h_mark},
    {.code = DONOTPLAY, .fn = h_mark},
    {.code = NO_SELECT, .fn = h_mark},
    {.code = LINK_TRACK, .fn = h_link_track},
    {.code = LINK_QUERY, .fn = h_link_query},
    {.code = CD_EJECT, .fn = cd_eject},
    {.code = RET_CHECK, .fn = cd_ret_check},
    {.code = AUDIO, .fn = h_audio},
    {.code = WRITE_CD, .fn = cd_write},
    {.code = CLIENT_OPEN, .fn = h_client_open},
    {.code = REBOOT, .fn = h_power},
    {.code = SHUTDOWN, .fn = h_power},
    {.code = STOP_SERVICE, .fn = h_stop_service},
    {.code = CONSOLE, .fn = h_mode},
    {.code = JUKEBOX, .fn = h_mode},
    {.code = RANDOM, .fn = h_mode},
    {.code = MIXED, .fn = h_mode},
    {.code = PLAYLST, .fn = h_mode},
    {.code = PLAYMIXED, .fn = h_mode},
    {.code = GET_MODE, .fn = h_get_mode},
    {.code = SET_PLIST, .fn = h_set_plist},
    {.code = GET_PLIST, .fn = h_get_plist},
    {.code = CD_WAITING, .fn = cd_waiting},
};
static_assert(std::ranges::is_sorted(handlers, {}, &handler_entry::code));

// Puts the reply to a request before the notices the request caused, so that
// the requester takes its reply first and every notice after it, whatever
// order the handler posted them in.
void reply_first(outbox &out, std::size_t first)
{
    auto &items = out.items;
    const auto from = items.begin() + static_cast<std::ptrdiff_t>(first);
    const auto found = std::find_if(from, items.end(), [](const out_msg &m) { return m.to == target::requester; });
    if (found != items.end())
        std::rotate(from, found, found + 1);
}

}   // namespace

bool parse_link_head(std::string_view text, int &album, int &track)
{
    // What "%d %d" reads from the first 63 characters, without its undefined
    // behaviour on a number too large for an int: such a number is refused.
    text = text.substr(0, 63);
    const auto number = [&text](int &out) {
        std::size_t at = 0;
        while (at < text.size() && std::strchr(" \t\n\v\f\r", text[at]) != nullptr && text[at] != '\0')
            ++at;
        if (at < text.size() && text[at] == '+' && at + 1 < text.size() && text[at + 1] != '-')
            ++at;
        const auto [end, ec] = std::from_chars(text.data() + at, text.data() + text.size(), out);
        if (ec != std::errc{})
            return false;
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
        return true;
    };
    return number(album) && number(track);
}

void reply(request_ctx &c, std::int64_t album, std::int64_t track, std::string_view text)
{
    post(c.out, target::requester, make_frame(c.req.type, c.req.sequence, album, track, text));
}

void handle_request(server_state &st, session &self, const request &req, std::int64_t now_ns, outbox &out)
{
    request_ctx c{.st = st, .self = self, .req = req, .now_ns = now_ns, .out = out};
    const auto it = std::ranges::lower_bound(handlers, req.type, {}, &handler_entry::code);
    if (it == std::end(handlers) || it->code != req.type) {
        slog("Unknown request type 0x%02lx from connection %d refused", static_cast<long>(req.type), self.id);
        reply(c, k_refused);
        return;
    }
    const std::size_t first = out.items.size();
    it->fn(c);
    reply_first(out, first);
}

void session_closed(server_state &st, session &self, outbox &out)
{
    (void)out;
    if (st.console_holder == self.id) {
        st.console_holder = -1;
        slog("Console released: connection %d closed", self.id);
    }
    for (int n : self.allocated)
        store_release(st.store, n);
    self.allocated.clear();
}
