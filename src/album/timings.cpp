// Track and album times from the sizes of the album's media files.
#include "album/timings.hpp"

#include "album/album_time.hpp"
#include "core/link.hpp"
#include "db/album.hpp"
#include "proto/text_util.hpp"
#include "ui/album_number.hpp"
#include "ui/menu.hpp"
#include "ui/popup.hpp"

#include <cstdio>
#include <curses.h>
#include <sys/stat.h>

namespace {

constexpr int k_ask_number = -1;

// The size of a track's media file in bytes; false when the file does not open
// (a directory in its place counts as a file that does not open).
bool media_file_size(int album_no, int track_no, long long &size)
{
    char path[64];
    std::snprintf(path, sizeof path, "%s/%04d_%2.2d.wav", "Media", album_no, track_no);
    std::FILE *f = std::fopen(path, "rb");
    if (f == nullptr)
        return false;
    struct stat st{};
    bool ok = fstat(fileno(f), &st) == 0 && !S_ISDIR(st.st_mode) && fseeko(f, 0, SEEK_END) == 0;
    if (ok) {
        const off_t end = ftello(f);
        ok = end >= 0;
        size = end;
    }
    std::fclose(f);
    return ok;
}

// Sets the times of one album from its files and stores it.
void time_album(int album_no)
{
    album_rec &a = album[album_no];
    const int tracks = a.tracks < k_max_entries - 1 ? a.tracks : k_max_entries - 1;
    // The total is kept in single precision, as it always has been.
    float total = 0;
    for (int t = 1; t <= tracks; ++t) {
        long long size = 0;
        if (!media_file_size(album_no, t, size))
            continue;   // the track keeps its time
        format_play_time(a.entry[t].time, file_seconds(size));
        total += static_cast<float>(size);
    }
    format_play_time(a.entry[0].time, total_seconds(total));
    write_album(album_no, master_sock);
}

}   // namespace

int track_timings(const void *, int code, const char *)
{
    int number = first_timing_album(code, last_album);
    for (;;) {
        clear();
        refresh();
        char reply[8];
        std::snprintf(reply, sizeof reply, "%04d", number);
        last_album = number;
        if (code == k_ask_number && prompt(12, 28, "Album No:", reply, 4, 4) == k_escape)
            return k_escape;
        const int album_no = check_a_no(reply, 1);
        if (album_no == k_invalid) {
            const long typed = lenient_atol(reply);
            const int next = next_timing_album(typed > k_album_slots ? k_album_slots : static_cast<int>(typed));
            // Without questions a refused last album would be refused for ever.
            if (code != k_ask_number && next == number)
                return 0;
            number = next;
            continue;
        }
        time_album(album_no);
        char key[2] = "";
        if (prompt(18, 10, "Continue?", key, 1, 0) != 'y')
            return 0;
        number = next_timing_album(album_no);
    }
}
