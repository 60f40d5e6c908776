// Playing times: a track's time from the size of its media file, an album's
// time from its files' total, and an album's time summed from its tracks.
#pragma once

#include "proto/album_text.hpp"

#include <cstddef>

// Bytes per second of 44.1 kHz 16-bit stereo audio.
inline constexpr long k_wav_bytes_per_second = 176400;

// Whole seconds of a media file of `size` bytes (header included), rounded to
// the nearest second, halves away from zero.
long file_seconds(long long size);

// Whole seconds of a running total of file sizes kept in single precision:
// total / 176400 + 0.5, truncated.
long total_seconds(float total);

// Writes seconds as "%02ld:%02ld" (minutes, seconds).
void format_play_time(char (&out)[32], long seconds);

// True when an album's time is to be summed from its tracks: blank (empty or
// beginning with a blank) or beginning with "00:00".
bool album_time_unknown(const char *time_text);

// Sums the album's time from its tracks into entry 0's time: minutes and
// seconds of every track from 1 while the title is not empty (an empty time
// adds nothing), plus half a second per track rounded down for the seconds
// each track time drops, written "%02d:%02d".
void sum_album_time(album_rec &rec);

// The album the timing recalculation starts with: `code` when it is 0 or
// more, else the last album chosen, or 1 when there is none.
int first_timing_album(int code, int last_album_no);

// The album the timing recalculation goes on with after `album_no`: the next
// one in use in the table, or max_album when none is in use before it (also
// when album_no is max_album or beyond).
int next_timing_album(int album_no);
