// The player: it plays the current track on the steady clock (whether or not
// anyone listens), fades out over 8 seconds on a skip, and when a track ends
// starts the next one: the rest of a chain being played, else the head of the
// current playlist (which it removes from the playlist), else the auto-DJ's
// choice for the mode. Each track started updates the track's play count and
// last-played time and goes into the history.
#pragma once

#include "server/outbox.hpp"
#include "server/state.hpp"

#include <cstdint>
#include <string>

inline constexpr int k_fade_seconds = 8;                     // a skip fades out over this time
inline constexpr std::int64_t k_notice_interval_ms = 5000;   // PLIST_NOW while a track plays
inline constexpr std::int64_t k_retry_interval_ms = 2000;    // an idle auto-DJ looks for something to play

// Advances the player to the steady time now_ns. When pcm is given, the
// samples that played are appended to it (faded during a skip).
void player_tick(server_state &st, std::int64_t now_ns, outbox &out, std::string *pcm);

// GO: the auto-DJ is on; when nothing plays, the next track starts now.
void player_go(server_state &st, std::int64_t now_ns, outbox &out);

// STOP: the auto-DJ goes off at the end of the current track (at once when nothing plays).
void player_stop(server_state &st);

// PAUSE: toggles the paused state; returns it.
bool player_pause(server_state &st);

// SKIP: the current track fades out over 8 seconds; false when nothing plays.
bool player_skip(server_state &st);

// Ends the current track if it is album/track (taken off line, deleted): it fades out like a skip.
void player_drop(server_state &st, int album, int track);

// The current playlist changed: an idle auto-DJ looks at once.
void player_kick(server_state &st, std::int64_t now_ns, outbox &out);

// Whole seconds left of the current track (rounded up), 0 when nothing plays.
int player_remaining(const player_state &p);

// Applies the fade of a skip to samples that start at byte `pos` of the track.
void apply_fade(std::string &samples, std::size_t from, std::int64_t pos, std::int64_t fade_from,
                std::int64_t fade_end);
