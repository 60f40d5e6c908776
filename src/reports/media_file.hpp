// The media file of a track: its name, and opening it (or any file that must
// be a regular one) without ever waiting.
#pragma once

#include <cstddef>

inline constexpr std::size_t k_wav_header = 44;   // the canonical header; the audio starts after it
inline constexpr std::size_t k_media_path = 64;    // room for "Media/%4.4d_%2.2d.wav"

// The media file of a track: "Media/%4.4d_%2.2d.wav".
void media_path(char *buf, std::size_t cap, int album_no, int track_no);

// Opens a file for reading only when it is a regular file, as media files and
// playlist files must be: a directory fails with EISDIR, any other kind of file
// (a FIFO, a socket, a device) with ENXIO, so that opening never waits for a
// writer. Returns the descriptor (close-on-exec), or -1 with errno set.
int open_regular_file(const char *path);
