// The WAV check of one media file, as the track lists show it.
#pragma once

#include <cstddef>
#include <cstdint>

// "Glitch at Sample: %8ld (%2d:%9.6f)": the stereo frame (count / 2), the
// whole minutes and the remaining seconds of count / 88200 seconds.
void format_glitch(char *buf, std::size_t cap, std::int64_t count);

// The media file of a track: "Media/%4.4d_%2.2d.wav".
void media_path(char *buf, std::size_t cap, int album_no, int track_no);

// Checks one track's file and writes the result: "Track is off-line",
// "Cannot open: %s", "Cannot read header", "Not a WAV file", a glitch, or
// ok_text. True when the file is good.
bool check_media_file(const char *path, bool online, int album_no, int track_no, const char *ok_text, char *out,
                      std::size_t cap);
