// Detection of glitches in 16-bit stereo audio.
#pragma once

#include <cstdint>
#include <cstdio>

// Scans the audio after the header: the count of samples read (both channels)
// when a glitch was declared, or -1.
std::int64_t detect_glitch(int album_no, int track_no, std::FILE *file, std::int64_t data_size);
