// Detection of glitches in 16-bit stereo audio: on either channel, a sample
// value that is clearly audible but not clipped, held for more than 1000
// counted samples in a row, is a glitch left by a bad rip.
#pragma once

#include <cstdint>
#include <cstdio>

// Samples of magnitude up to this are near silence: they neither extend nor break a run.
inline constexpr int k_glitch_quiet = 100;
// Samples of magnitude above this are at or near clipping, skipped the same way.
inline constexpr int k_glitch_loud = 32099;
// A run count above this (1002 equal counted samples on one channel) is a glitch.
inline constexpr int k_glitch_run = 1000;
// Samples read at a time (16 KiB).
inline constexpr std::size_t k_glitch_block = 8192;

// Scans the audio from the file's position on, at most data_size bytes of it
// (a negative size scans nothing; a size larger than the file reads to its
// end). Returns the count of samples read (both channels) at the pair where a
// glitch was declared, or -1. The album and track name the file for callers'
// messages only.
std::int64_t detect_glitch(int album_no, int track_no, std::FILE *file, std::int64_t data_size);

// The same rule walked sample by sample, the obvious way: the reference the
// fast scan is tested and measured against.
std::int64_t detect_glitch_plain(std::FILE *file, std::int64_t data_size);
