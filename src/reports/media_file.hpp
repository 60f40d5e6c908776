// The media file of a track: its name, and opening it without ever waiting.
#pragma once

#include <cstddef>

inline constexpr std::size_t k_wav_header = 44;   // the canonical header; the audio starts after it
inline constexpr std::size_t k_media_path = 64;    // room for "Media/%4.4d_%2.2d.wav"

// The media file of a track: "Media/%4.4d_%2.2d.wav".
void media_path(char *buf, std::size_t cap, int album_no, int track_no);

// Opens a media file for reading. Only a regular file is a media file: a
// directory fails with EISDIR, any other kind of file (a FIFO, a socket, a
// device) with ENXIO, so that opening never waits for a writer. Returns the
// descriptor (close-on-exec), or -1 with errno set.
int open_media(const char *path);
