#include "album/album_time.hpp"

#include "db/album.hpp"

#include <cmath>
#include <cstdio>
#include <cstring>

long file_seconds(long long size)
{
    return std::lround(static_cast<double>(size) / static_cast<double>(k_wav_bytes_per_second));
}

long total_seconds(float total)
{
    // The division is done in single precision like the total itself.
    const float seconds = total / static_cast<float>(k_wav_bytes_per_second);
    return static_cast<long>(seconds + 0.5);
}

void format_play_time(char (&out)[32], long seconds)
{
    std::snprintf(out, sizeof out, "%02ld:%02ld", seconds / 60, seconds % 60);
}

bool album_time_unknown(const char *time_text)
{
    return time_text[0] == ' ' || time_text[0] == '\0' || std::strncmp(time_text, "00:00", 5) == 0;
}

void sum_album_time(album_rec &rec)
{
    long long minutes = 0;
    long long seconds = 0;
    int t = 1;
    for (; t < k_max_entries && rec.entry[t].title[0] != '\0'; ++t) {
        const char *time_text = rec.entry[t].time;
        if (time_text[0] == '\0')
            continue;
        int m = 0;
        int s = 0;
        if (std::sscanf(time_text, "%d:%d", &m, &s) < 1)
            continue;
        minutes += m;
        seconds += s;
    }
    // Half a second per track for what each track's time dropped; t is where the walk stopped.
    seconds += t / 2;
    minutes += seconds / 60;
    seconds %= 60;
    std::snprintf(rec.entry[0].time, sizeof rec.entry[0].time, "%02lld:%02lld", minutes, seconds);
}

int first_timing_album(int code, int last_album_no)
{
    if (code >= 0)
        return code;
    return last_album_no != 0 ? last_album_no : 1;
}

int next_timing_album(int album_no)
{
    int n = album_no < 0 ? 0 : album_no;
    do
        ++n;
    while (n < max_album && n < k_album_slots && album[n].present == 0);
    return n > max_album ? max_album : n;
}
