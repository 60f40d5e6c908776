// The playing modes and the auto-DJ's selection rules, which apply when the
// current playlist is empty:
//
//   Undefined, Console   no selection: only the current playlist plays.
//   Jukebox              the short-list ("S" tracks); an empty short-list plays as Random.
//   Random               every selectable track.
//   Mixed                alternately a Jukebox and a Random choice.
//   Playlist             the selection playlist in its order, going round, skipping
//                        tracks that are not selectable; an unusable one plays as Random.
//   Play-Mixed           alternately a Playlist and a Random choice.
//
// A selectable track belongs to an ordinary album (1..3000), is on line, and
// is neither unplayable ("U") nor excluded from selection ("N"). Among the
// candidates of a short-list or Random choice the quarter played longest ago
// (never played first, with every track played as long ago as the last of
// them) is kept, and one of those is taken at random, so that nothing repeats
// soon and everything comes round.
#pragma once

#include "proto/album_text.hpp"
#include "proto/transfer_text.hpp"

#include <cstddef>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

struct album_store;

// Playing modes: the code of the message that selects a mode, minus 0xB0.
inline constexpr int k_mode_undefined = 0;
inline constexpr int k_mode_console = 1;
inline constexpr int k_mode_jukebox = 2;
inline constexpr int k_mode_random = 3;
inline constexpr int k_mode_mixed = 4;
inline constexpr int k_mode_playlist = 5;
inline constexpr int k_mode_playmixed = 6;

// The names of the modes, for the log.
inline constexpr std::string_view k_mode_names[] = {"Undefined", "Console", "Jukebox", "Random",
                                                    "Mixed",     "Playlist", "Play-Mixed"};

// What the selection remembers between choices.
struct dj_memory {
    bool alternate = false;    // Mixed and Play-Mixed: the next choice is the other kind
    std::size_t cursor = 0;    // Playlist: the next position in the selection playlist
};

// Whether the auto-DJ may choose a track by itself.
bool dj_selectable(int album, const track_rec &t);

// Whether a mode chooses tracks when the current playlist is empty.
constexpr bool mode_selects(int mode) { return mode >= k_mode_jukebox && mode <= k_mode_playmixed; }

// Chooses one candidate: the quarter played longest ago (at least one) is kept, one of them at random.
std::optional<plist_entry> dj_pick_least_recent(const album_store &s, std::vector<plist_entry> candidates,
                                                std::mt19937 &rng);

// The next track of a mode, from the store and the selection playlist's tracks; nothing when none qualifies.
std::optional<plist_entry> dj_choose(const album_store &s, int mode, const std::vector<plist_entry> &selection,
                                     dj_memory &memory, std::mt19937 &rng);
