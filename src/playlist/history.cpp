// Play history: the menu of the server's history files and the browsing of
// one file, or of the recent history the console asks for.
#include "playlist/history.hpp"

#include "browse/browser.hpp"
#include "browse/chain.hpp"
#include "browse/search.hpp"
#include "core/config.hpp"
#include "core/link.hpp"
#include "playlist/history_name.hpp"
#include "playlist/offline.hpp"
#include "playlist/plist_text.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <curses.h>

namespace {

// A server that never says "no more" must not keep the operator waiting for ever.
constexpr int k_history_max = 100000;

}   // namespace

int browse_history(const char *file_text, const char *title, bool console)
{
    clear();
    if (console)
        put_text(stdscr, 12, 30, "Please Wait ....");
    refresh();
    chain_list head;
    int count = 0;
    for (int asked = 0; asked < k_history_max; ++asked) {
        const auto reply = request(master_sock, HISTORY, 1, 0, file_text);
        const std::size_t len = strnlen(reply.text, std::min<std::size_t>(reply.length, k_text_max));
        // A reply without an entry ends the walk like the album field 0 does.
        if (reply.album == 0 || len == 0)
            break;
        history_entry e;
        if (!history_record(std::string_view(reply.text, len), e))
            continue;   // an entry that cannot be read is left out
        if (link_history(head, k_order_append, e.album, e.track, e.time_played, e.artist, e.title, e.length) < 0)
            break;
        ++count;
        char shown[16];
        std::snprintf(shown, sizeof shown, "%d", count);
        put_text(stdscr, 12, 44, shown);
        refresh();
    }
    if (count > 0) {
        char saved_heading[sizeof heading];
        char saved_footer[sizeof footer];
        copy_bounded(saved_heading, heading);
        copy_bounded(saved_footer, footer);
        copy_bounded(heading, title);
        footer[0] = '\0';
        browser(head, count, count, search_svce, k_browse_history);
        copy_bounded(heading, saved_heading);
        copy_bounded(footer, saved_footer);
    } else if (console) {
        errno = 0;
        popup("No History Available", 1);
    }
    return count;
}

int compile_history_menu(std::vector<menu_item> &rows, menu_handler handler, const void *)
{
    char folder[sizeof master_root + 16];
    std::snprintf(folder, sizeof folder, "%s/History", master_root);
    const auto reply = request(master_sock, DIRLIST, 58, 1, folder);
    const std::size_t len = std::min<std::size_t>(reply.length, k_text_max);
    return for_each_dir_name(reply.text, len, [&](std::string_view name) {
        char copy[256];
        copy_bounded(copy, name);
        char label[k_history_label_len];
        history_label(copy, label);
        rows.push_back({.label = owned_text(label, k_history_label_len),
                        .handler = handler,
                        .argument = owned_text(name, k_history_label_len),
                        .code = 0});
    });
}

int recent_history(const void *, int, const char *)
{
    int start = 0;
    for (;;) {
        std::vector<menu_item> rows;
        compile_history_menu(rows, display_history, nullptr);
        rows.push_back({.label = "", .handler = dumb_func, .argument = nullptr, .code = 0});
        rows.push_back({.label = "Quit", .handler = brk_func, .argument = nullptr, .code = 0});
        rows.push_back({.label = "", .handler = null_func, .argument = nullptr, .code = 0});
        const int chosen = menu_func(rows.data(), start, "Available History Files", "Select history file");
        release_menu_labels(rows);
        if (chosen < 0)
            break;   // Quit or Esc (-5), or Ctrl-C (-1)
        start = chosen;
    }
    return 0;
}

int display_history(const void *arg, int, const char *label)
{
    const char *name = arg != nullptr ? static_cast<const char *>(arg) : "";
    char file_text[sizeof master_root + 300];
    std::snprintf(file_text, sizeof file_text, "%s/History/%s", master_root, name);
    char title[sizeof heading];
    std::snprintf(title, sizeof title, "Playlist History: %s", label != nullptr ? label : "");
    browse_history(file_text, title, false);
    return 0;
}
