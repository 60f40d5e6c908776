#include "server/notices.hpp"

#include "proto/msg_types.hpp"
#include "server/player.hpp"
#include "server/playlists.hpp"

#include <cstdio>

void post_album_written(const server_state &st, outbox &out, int album, target to)
{
    const stored_album *a = store_get(st.store, album);
    if (a == nullptr)
        post(out, to, make_frame(ALBUM_DELETED, k_notice_sequence, album, 0, {}));
    else
        post(out, to, make_frame(ALBUM_WRITTEN, k_notice_sequence, album, 0, stored_text(*a)));
}

std::string plist_file_transfer_text(const server_state &st, std::string_view name)
{
    playlist p;
    plist_load(plist_path(st.paths.playlists, name), p);
    return plist_transfer_text(p);
}

void post_plist_update(const server_state &st, outbox &out, std::string_view name)
{
    playlist p;
    plist_load(plist_path(st.paths.playlists, name), p);
    post_plist_update(out, name, p);
}

void post_plist_update(outbox &out, std::string_view name, const playlist &p)
{
    const std::string text = plist_transfer_text(p);
    if (name == k_current_plist)
        post(out, target::all, make_frame(PLIST_UPDATE, k_notice_sequence, 1, 0, text));
    else
        post(out, target::viewers, make_frame(PLIST_UPDATE, k_offline_notice_sequence, 1, 0, text), std::string(name));
}

void post_change_mode(const server_state &st, outbox &out, target to)
{
    const int mode = st.player.mode;
    if (mode == k_mode_playlist || mode == k_mode_playmixed)
        post(out, to, make_frame(CHANGE_MODE, k_notice_sequence, mode, 1, st.player.selection));
    else
        post(out, to, make_frame(CHANGE_MODE, k_notice_sequence, mode, 0, {}));
}

void post_now_playing(const server_state &st, outbox &out, bool announce)
{
    char text[64];
    const auto &cur = st.player.current;
    if (!cur) {
        std::snprintf(text, sizeof text, "%d %d %d", 0, st.player.paused ? 1 : 0, 0);
        post(out, target::all, make_frame(PLIST_NOW, k_notice_sequence, k_no_such_album, 0, text));
        return;
    }
    std::snprintf(text, sizeof text, "%d %d %d", player_remaining(st.player), st.player.paused ? 1 : 0,
                  announce ? 1 : 0);
    post(out, target::all, make_frame(PLIST_NOW, k_notice_sequence, cur->album, cur->track, text));
}
