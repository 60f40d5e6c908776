// The demo library: a complete root with a dozen albums by invented artists,
// a "Various Artists" compilation, short-listed, unplayable, not-selected and
// off-line tracks, a chain, two offline playlists, a history file, and WAV
// media synthesised here (short tunes, a few seconds a track).
#pragma once

#include <string>

// Writes the demo root into dir (created when absent; refused when it already
// holds a database). False with a reason on failure.
bool make_demo(const std::string &dir, std::string &error);
