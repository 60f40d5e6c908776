// The report generator's list reports and the statistics reset.
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
#include "reports/report_list.hpp"
#include "reports/report_menu.hpp"
#include "ui/menu.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <curses.h>
#include <vector>

namespace {

// Collects a track report album by album, with the running count on screen;
// an interrupt stops it after the album in hand.
void collect_tracks(int code, bool include_duplicates, std::vector<chain_entry> &entries)
{
    clear();
    put_text(stdscr, 12, 30, "Please Wait....");
    refresh();
    char count[16];
    for (int a = 1; a <= max_album; ++a) {
        std::snprintf(count, sizeof count, "%d", static_cast<int>(entries.size()));
        put_text(stdscr, 12, 44, count);
        refresh();
        if (album[a].present == 0)
            continue;
        report_album_tracks(code, include_duplicates, a, entries);
        if (abort_sig != 0)
            break;
    }
}

}   // namespace

int report_func(const void *, int menu_code, const char *)
{
    abort_sig = 0;
    install_handler(SIGINT, abort_func);
    const int code = report_code(menu_code);
    const report_kind &kind = report_kinds[code];
    copy_bounded(heading, kind.heading);
    std::vector<chain_entry> entries;
    bool include_duplicates = false;
    if (kind.album_list) {
        report_albums(max_album, entries);
    } else {
        clear();
        if (report_asks_duplicates(code)) {
            char reply[2] = "";
            include_duplicates = prompt(20, 12, "Do you want to include duplicates?", reply, 1, 0) == 'y';
        }
        collect_tracks(code, include_duplicates, entries);
    }
    chain_list list;
    const int count = build_chain(list, kind.order, entries, kind.album_list || include_duplicates ? 1 : 0);
    if (count >= 0) {
        copy_bounded(footer, kind.album_list ? "^^R re-sort  ^^V reverse sort-order   ^duplicates"
                                             : "^^R re-sort  ^^V reverse sort-order   track^list");
        browser(list, count, 0, search_svce, kind.album_list ? k_browse_no_ops : k_browse_plain);
    }
    install_handler(SIGINT, interrupt_func);
    return k_stay;
}

int reset_stats(const void *, int, const char *)
{
    clear();
    frame(stdscr);
    char reply[2] = "";
    if (prompt(12, 10, "This will reset ALL played counts. Are you sure?", reply, 1, 0) != 'y' ||
        prompt(14, 10, "Are you REALLY sure?", reply, 1, 0) != 'y') {
        install_handler(SIGINT, interrupt_func);
        return k_escape;
    }
    // The counts change on the server; the table follows through its album notices.
    if (request(master_sock, RESET, 0, 0).album == k_refused) {
        errno = 0;
        error_msg("Send message failed", 0);
        return k_stay;
    }
    popup("Statistics have been reset", 0);
    return k_stay;
}
