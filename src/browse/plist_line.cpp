#include "browse/plist_line.hpp"

#include <cstdio>

void format_plist_line(char *buf, std::size_t cap, std::int64_t key, int album_no, int track_no, const char *artist,
                       const char *title, const char *length)
{
    std::snprintf(buf, cap, "%8.8lX %04d/%02d %-28.28s - %-29.29s [%s]\n", static_cast<unsigned long>(key), album_no,
                  track_no, artist, title, length);
}
