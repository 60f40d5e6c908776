// The mono rule: a track is stereo as soon as, in any of ten 50 ms probes
// taken every 10 seconds, five frames in a row differ between the channels by
// more than a third of that probe's peak; otherwise it is mono.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr int k_mono_probes = 10;
inline constexpr long k_probe_step = 1764000;         // bytes skipped before each probe (10 seconds)
inline constexpr std::size_t k_probe_samples = 4410;  // samples read by a probe (2205 frames, 50 ms)
inline constexpr int k_stereo_run = 5;                // differing frames in a row that decide stereo

// Whether the finder looks at a track: only on-line tracks not marked "U".
constexpr bool mono_examines(int online, char status) { return online != 0 && status != 'U'; }

// Takes one probe's samples (interleaved left, right) through the rule.
// countdown carries over from probe to probe (it starts at 5 once per track);
// returns true when it reached 0: the track is stereo.
bool probe_decides_stereo(const std::int16_t *samples, std::size_t count, int &countdown);

// Runs the ten probes on a media file open for reading. Each probe starts
// 1,764,000 bytes after the end of what the one before it read (the first
// after the 44-byte header), and only the probes are read. True when the track
// is mono: a probe beyond the end of the file reads nothing and decides
// nothing, so a track too short for any probe is mono.
bool track_is_mono(int fd);
