// The line of an offline playlist file.
#pragma once

#include <cstddef>
#include <cstdint>

// "%8.8lX %04d/%02d %-28.28s - %-29.29s [%s]" (key, album, track, artist,
// title, length) and a newline: the key from column 0, album/track from 9,
// artist from 17, title from 48, length from 79.
void format_plist_line(char *buf, std::size_t cap, std::int64_t key, int album_no, int track_no, const char *artist,
                       const char *title, const char *length);
