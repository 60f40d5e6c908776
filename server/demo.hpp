// The demo library: a complete root with a dozen albums by invented artists,
// a "Various Artists" compilation, short-listed, unplayable, not-selected and
// off-line tracks, a chain, two offline playlists, a history file, and WAV
// media composed here (a piece of 30 to 42 seconds a track; 3 to 6 seconds
// for the tests' library).
#pragma once

#include <string>

// Writes the demo root into dir (created when absent; refused when it already
// holds a database). False with a reason on failure.
bool make_demo(const std::string &dir, bool short_tracks, std::string &error);
