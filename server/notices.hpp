// The unsolicited messages the server sends: album changes, playlist
// updates, mode changes and what is playing.
#pragma once

#include "server/outbox.hpp"
#include "server/playlists.hpp"
#include "server/state.hpp"

#include <string_view>

// ALBUM_WRITTEN with the album's text (ALBUM_DELETED when it has gone).
void post_album_written(const server_state &st, outbox &out, int album, target to);

// PLIST_UPDATE with the transfer text of a playlist, to every client it
// concerns, the requester included (after its reply): for the current
// playlist to every client with sequence 0, which a client showing an offline
// playlist leaves alone; for an offline playlist to the connections showing
// it, with a non-zero sequence, which tells them to take it for that list.
void post_plist_update(const server_state &st, outbox &out, std::string_view name);

// The same for a playlist already in hand (its file was just written).
void post_plist_update(outbox &out, std::string_view name, const playlist &p);

// CHANGE MODE: album = the mode; for Playlist and Play-Mixed track 1 and the selection playlist.
void post_change_mode(const server_state &st, outbox &out, target to);

// PLIST_NOW "%d %d %d" (remaining seconds, paused, announce) for the track
// playing, or "0 0 0" with album 0xFFFE when nothing plays. To every client.
void post_now_playing(const server_state &st, outbox &out, bool announce);

// The transfer text of a playlist file ("" when it cannot be read).
std::string plist_file_transfer_text(const server_state &st, std::string_view name);
