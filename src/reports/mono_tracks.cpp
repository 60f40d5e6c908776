// The mono track finder: probes every on-line track's media file and lists
// the tracks whose channels carry the same signal.
#include "audio/player.hpp"
#include "browse/browser.hpp"
#include "browse/chain.hpp"
#include "browse/search.hpp"
#include "core/link.hpp"
#include "core/signals.hpp"
#include "core/startup.hpp"
#include "db/album.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "reports/media_file.hpp"
#include "reports/mono.hpp"
#include "reports/report_list.hpp"
#include "reports/report_menu.hpp"
#include "ui/menu.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <curses.h>
#include <unistd.h>
#include <vector>

int mono_tracks(const void *, int, const char *)
{
    abort_sig = 0;
    install_handler(SIGINT, abort_func);
    clear();
    frame(stdscr);
    put_text(stdscr, 6, 29, "Please Wait....");
    std::vector<chain_entry> found;
    bool interrupted = false;
    char text[64];
    for (int a = 1; a <= max_album; ++a) {
        std::snprintf(text, sizeof text, "Album: %04d", a);
        put_text(stdscr, 8, 29, text);
        for (int t = 1; t <= report_track_count(a); ++t) {
            std::snprintf(text, sizeof text, "Track: %02d", t);
            put_text(stdscr, 8, 42, text);
            refresh();
            const track_rec &r = album[a].entry[t];
            if (!mono_examines(r.online, r.status))
                continue;
            char path[k_media_path];
            media_path(path, sizeof path, a, t);
            const int fd = open_regular_file(path);
            if (fd < 0) {
                // The file is gone: the master server is told the track is off line.
                if (request(master_sock, OFFLINE, a, t).album == k_refused) {
                    errno = 0;
                    error_msg("Send message failed", 0);
                }
                continue;
            }
            const bool mono = track_is_mono(fd);
            close(fd);
            if (!mono)
                continue;
            found.push_back({.album_no = a, .track_no = t, .key = 0});
            std::snprintf(text, sizeof text, "Mono: %d", static_cast<int>(found.size()));
            put_text(stdscr, 8, 53, text);
        }
        if (abort_sig != 0) {
            interrupted = true;
            break;
        }
    }
    const int count = static_cast<int>(found.size());
    std::snprintf(text, sizeof text, interrupted ? "Interrupt: %d mono tracks found" : "Finished: %d mono tracks found",
                  count);
    put_text(stdscr, 10, 29, text);
    char reply[2] = "";
    prompt(12, 29, "Proceed: ", reply, 1, 0);
    if (count > 0) {
        chain_list list;
        const int listed = build_chain(list, k_order_numeric, found, 1);
        if (listed >= 0) {
            copy_bounded(heading, "Monaural Tracks");
            copy_bounded(footer, "^^R re-sort  ^^V reverse sort-order   track^list");
            browser(list, listed, 0, search_svce, k_browse_plain);
        }
        install_handler(SIGINT, interrupt_func);
    }
    // With nothing found the interrupt stays with abort_func: kept as the program has always done.
    return k_stay;
}
