// The freedb/XMCD file reader: disc and track titles into an album record.
//
// Only "DTITLE" and "TTITLE<n>" lines count; a key repeated on consecutive
// lines continues its value. Tracks are filled in the order their lines come,
// from track 1, whatever number their keys carry; the album's track count is
// not changed.
#pragma once

#include "proto/album_text.hpp"

#include <cstdio>

// Longest line read at once; a longer line is read on as further lines.
inline constexpr int k_freedb_line_max = 4096;

// Artist and title parts are cut to this many characters.
inline constexpr int k_freedb_part_max = 65;

// Reads a freedb/XMCD file into rec. strip_first_word: drop the first word of
// every title (titles that begin with their track number).
void read_freedb(std::FILE *file, album_rec &rec, int strip_first_word);

// Reads a freedb/XMCD file into album slot album_no of the table; returns 0,
// or -1 when the number names no slot.
int read_cue_file(std::FILE *file, int album_no, int strip_first_word);
