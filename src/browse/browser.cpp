// The scrolling list screen that nearly every screen uses: paging, finding,
// sorting, totals, notes, output and operations on the list, and the hand-over
// of all other keys to the screen's own callback.
#include "browse/browser.hpp"

#include "audio/player.hpp"
#include "audio/stream.hpp"
#include "browse/apply.hpp"
#include "browse/browse_layout.hpp"
#include "browse/chain.hpp"
#include "browse/list_menus.hpp"
#include "browse/output.hpp"
#include "browse/search.hpp"
#include "core/input.hpp"
#include "core/keys.hpp"
#include "core/link.hpp"
#include "db/album.hpp"
#include "media/loaded_cd.hpp"
#include "playlist/history.hpp"
#include "playlist/state.hpp"
#include "proto/file_handle.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "ui/form.hpp"
#include "ui/help.hpp"
#include "ui/load_screen.hpp"
#include "ui/menu.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <curses.h>
#include <string>
#include <vector>

namespace {

// Out of memory in a list builder: said on screen.
void say_malloc_failed() { error_msg("Malloc failed", 0); }

// The list builders are pure; the client gives them its error pop-up.
[[maybe_unused]] const bool alloc_report_installed = (chain_alloc_failed = say_malloc_failed, true);

// The labels of sort_menu's rows, by row: the order code is the row plus one.
constexpr const char *k_sort_labels[] = {
    "Numerical Order", "Artist Order", "Title Order", "Length of Track or Album Order", "CD-ID or Time Played Order",
    "No. of Plays Order", "Original Order"};
constexpr int k_sort_rows = 7;        // rows 0..6 sort; row 7 is "Quit"
constexpr int k_sort_original = 6;    // "Original Order"
constexpr int k_max_find = 50;
constexpr int k_notes_rule = 68;
constexpr int k_wait_threshold = 1000;   // lists longer than this show "Please Wait...." while rebuilt

// What identifies the current element across a rebuild.
struct element_id {
    int album_no = -1;
    int track_no = -1;
    std::int64_t key = 0;
    bool valid = false;
};

// One browser call: the list as given, the list in its chosen order, the list
// as shown (that one, or it reversed), the page, and the order state. The
// lists the browser builds are its own (base_copy, shown_copy); the caller's
// list stays the caller's.
struct browse_run {
    explicit browse_run(chain_list &caller_list) : list(caller_list) {}
    chain_list &list;                    // the caller's list (the one the screen keeps up to date in modes 4, 5, 7)
    chain_item *given = nullptr;         // the caller's list as it was given
    browse_callback callback = nullptr;
    int mode = 0;
    chain_list base_copy;                // the list in the chosen order, once the browser built it
    chain_list shown_copy;               // base reversed, while shown so
    chain_item *base = nullptr;          // the list in the chosen order: the caller's, or base_copy
    chain_item *shown = nullptr;         // base, or base reversed (shown_copy)
    std::vector<chain_item *> index;     // shown's elements by ordinal - 1
    page_view view;
    int count = 0;                       // the total shown in the position indicator; 0 hides it
    int order = k_order_append;          // the chosen order code
    bool reverse = false;
    int sort_row = -1;                   // the last chosen sort row; -1 none
    char find_text[k_max_find + 1] = "";
    char saved_heading[sizeof heading] = "";
    char saved_footer[sizeof footer] = "";
};

// Whether the list is a play-history list.
bool history_mode(const browse_run &b) { return b.mode == k_browse_history; }

// Indexes the shown list by ordinal.
void reindex(browse_run &b)
{
    b.index.clear();
    for (chain_item *e = b.shown; e != nullptr; e = e->next)
        b.index.push_back(e);
}

// The element under the cursor, or null in an empty list.
chain_item *current_element(const browse_run &b)
{
    const int ordinal = current_ordinal(b.view);
    return ordinal >= 1 && ordinal <= static_cast<int>(b.index.size()) ? b.index[static_cast<std::size_t>(ordinal - 1)]
                                                                       : nullptr;
}

// What identifies an element across a rebuild.
element_id id_of(const chain_item *e)
{
    if (e == nullptr)
        return {};
    return {.album_no = e->album_no, .track_no = e->track_no, .key = e->key, .valid = true};
}

// Whether the list is the loaded CD's, which its own service may replace at any key.
bool loaded_cd_list(const browse_run &b) { return b.callback == exocd_svce || b.mode == k_browse_cd_matches; }

// Whether the screen keeps its list up to date itself (the browser then shows a copy of it).
bool screen_keeps_list(const browse_run &b)
{
    return b.mode == k_browse_console || b.mode == k_browse_offline || loaded_cd_list(b);
}

// The list to take again: in the modes whose screen keeps its list up to date
// (the console's plist_head, an offline playlist's offl_head, the loaded CD's
// exo_head) that list as it stands now, else the list as it was given.
chain_item *source_list(const browse_run &b) { return screen_keeps_list(b) ? b.list.head() : b.given; }

// Shows that a long list is being rebuilt, with the number of elements taken so far.
void show_running_count(int taken)
{
    if (taken == 0)
        put_text(stdscr, 12, 30, "Please Wait....");
    char text[16];
    std::snprintf(text, sizeof text, "%4d", taken);
    put_text(stdscr, 12, 46, text);
    refresh();
}

// A copy of a list in an order, built the way the browser rebuilds: history
// entries again with their texts, other elements keeping duplicates. A list
// of more than 1000 elements shows its running count while it is taken.
chain_list copy_list(const browse_run &b, const chain_item *from, int order)
{
    const bool long_list = b.count > k_wait_threshold;
    if (long_list)
        show_running_count(0);
    int taken = 0;
    const auto took_one = [&] {
        if (long_list)
            show_running_count(++taken);
    };
    chain_list out;
    if (history_mode(b)) {
        std::vector<history_item> entries;
        for (const chain_item *e = from; e != nullptr; e = e->next) {
            entries.push_back({.album_no = e->album_no,
                               .track_no = e->track_no,
                               .key = e->key,
                               .artist = e->track->artist,
                               .title = e->track->title,
                               .length = e->track->time});
            took_one();
        }
        build_history_chain(out, order, entries);
    } else {
        std::vector<chain_entry> entries;
        for (const chain_item *e = from; e != nullptr; e = e->next) {
            entries.push_back({.album_no = e->album_no, .track_no = e->track_no, .key = e->key});
            took_one();
        }
        build_chain(out, order, entries, 1);
    }
    return out;
}

// Puts the page on the element that was current, or on its ordinal.
void keep_position(browse_run &b, const element_id &was, int was_ordinal)
{
    int ordinal = was_ordinal;
    if (was.valid) {
        for (std::size_t i = 0; i < b.index.size(); ++i) {
            const chain_item *e = b.index[i];
            if (e->album_no == was.album_no && e->track_no == was.track_no && e->key == was.key) {
                ordinal = static_cast<int>(i) + 1;
                break;
            }
        }
    }
    b.view = page_keep(b.view, static_cast<int>(b.index.size()), ordinal);
}

// Shows base as it is or reversed, writes the sort description into the
// heading and keeps the current element.
void show_base(browse_run &b, const element_id &was, int was_ordinal)
{
    b.shown_copy.reset();
    b.shown = b.base;
    if (b.reverse) {
        b.shown_copy = copy_list(b, b.base, k_order_reverse);
        b.shown = b.shown_copy.head();
    }
    set_sort_suffix(heading, sizeof heading, b.sort_row >= 0 ? k_sort_labels[b.sort_row] : nullptr, b.reverse);
    reindex(b);
    b.count = static_cast<int>(b.index.size());
    keep_position(b, was, was_ordinal);
}

// Rebuilds the list in the chosen order from `from` (the list shown in its
// order, or the list the screen keeps), keeping the element that was current
// (`was`, at `was_ordinal`).
void rebuild_keeping(browse_run &b, const chain_item *from, const element_id &was, int was_ordinal)
{
    if (history_mode(b) && b.order == k_order_append)
        b.order = k_order_history_time;
    // Built before the old lists go: `from` may be one of them.
    chain_list fresh = copy_list(b, from, b.order);
    b.shown_copy.reset();
    b.base_copy = std::move(fresh);
    b.base = b.base_copy.head();
    show_base(b, was, was_ordinal);
}

// Rebuilds the list in the chosen order from `from`, keeping the current element.
void rebuild(browse_run &b, const chain_item *from)
{
    rebuild_keeping(b, from, id_of(current_element(b)), current_ordinal(b.view));
}

// Takes a private copy of the screen's own list as it stands (console,
// offline playlist, loaded CD), so that replies and services that replace that
// list never pull the shown elements away.
void take_copy(browse_run &b, chain_item *from)
{
    b.base_copy = copy_list(b, from, k_order_append);
    b.base = b.base_copy.head();
    b.shown = b.base;
    reindex(b);
}

// Draws the frame of the list: a box from row 1 to row 22.
void draw_box()
{
    const int right = COLS - 1;
    mvaddch(1, 0, ACS_ULCORNER);
    mvhline(1, 1, ACS_HLINE, right - 1);
    mvaddch(1, right, ACS_URCORNER);
    for (int r = 2; r < 22; ++r) {
        mvaddch(r, 0, ACS_VLINE);
        mvaddch(r, right, ACS_VLINE);
    }
    mvaddch(22, 0, ACS_LLCORNER);
    mvhline(22, 1, ACS_HLINE, right - 1);
    mvaddch(22, right, ACS_LRCORNER);
}

// The footer on the bottom line from column 17, its key letters reversed.
void draw_footer()
{
    int col = k_footer_column;
    for (const footer_cell &c : footer_cells(footer)) {
        const char text[2] = {c.ch, '\0'};
        if (c.reversed)
            attron(A_REVERSE);
        put_text(stdscr, LINES - 1, col++, text);
        if (c.reversed)
            attroff(A_REVERSE);
    }
}

// Draws the whole screen: box, heading, the page, footer and position indicator.
void draw(const browse_run &b)
{
    erase();
    draw_box();
    header(nullptr);
    const int shown = rows_shown(b.view);
    for (int row = 1; row <= shown; ++row) {
        const chain_item *e = b.index[static_cast<std::size_t>(b.view.top + row - 2)];
        const track_rec *state = history_mode(b) ? table_record(e->album_no, e->track_no) : e->track;
        char line[256];
        format_list_line(line, sizeof line, e->album_no, e->track_no, *e->track, state != nullptr ? state->status : '-',
                         state != nullptr ? state->online : 1, album_track_count(e->album_no));
        if (row == b.view.row)
            attron(A_REVERSE);
        put_text(stdscr, k_first_row + row - 1, k_list_column, line);
        if (row == b.view.row)
            attroff(A_REVERSE);
    }
    draw_footer();
    if (b.count != 0) {
        char position[160];
        format_position(position, sizeof position, current_ordinal(b.view), b.count);
        const chain_item *e = current_element(b);
        if (history_mode(b) && e != nullptr) {
            char played[96];
            std::snprintf(played, sizeof played, ". Played: %s", get_time(static_cast<std::time_t>(e->key)));
            append_bounded(position, played);
        }
        attron(A_REVERSE);
        put_text(stdscr, LINES - 1, 1, position);
        attroff(A_REVERSE);
    }
    refresh();
}

// F3: the next element after the current one (wrapping) whose artist or title holds the find text.
void find_next(browse_run &b)
{
    // An empty text asked for and given as such finds nothing: contains never matches it.
    if (b.find_text[0] == '\0' && prompt(12, 20, "Find: ", b.find_text, k_max_find, 0) == k_escape) {
        b.find_text[0] = '\0';
        return;
    }
    const int n = static_cast<int>(b.index.size());
    const int at = current_ordinal(b.view);
    for (int step = 1; step < n; ++step) {
        const int ordinal = (at - 1 + step) % n + 1;
        const chain_item *e = b.index[static_cast<std::size_t>(ordinal - 1)];
        if (contains(e->track->artist, b.find_text, 0) || contains(e->track->title, b.find_text, 0)) {
            b.view = page_keep(b.view, n, ordinal);
            return;
        }
    }
    char text[128];
    std::snprintf(text, sizeof text, "\"%s\" not found", b.find_text);
    popup(text, 2);
}

// Ctrl-R: the sort menu.
void sort_list(browse_run &b)
{
    const int row = menu_func(sort_menu, 0, "Sort Menu", "");
    if (row < 0 || row >= k_sort_rows)
        return;
    b.reverse = false;
    b.sort_row = row;
    b.order = row + 1;
    if (history_mode(b) && b.order == k_order_cdid)
        b.order = k_order_history_time;
    if (row == k_sort_original) {
        cut_sort_suffix(heading);
        copy_bounded(footer, b.saved_footer);
        rebuild(b, source_list(b));
        return;
    }
    // From the list as shown: after Ctrl-V, equal elements keep their reversed order.
    rebuild(b, b.shown);
}

// Ctrl-V: the list the other way round; twice gives it back as it was.
void reverse_list(browse_run &b)
{
    const element_id was = id_of(current_element(b));
    const int was_ordinal = current_ordinal(b.view);
    b.reverse = !b.reverse;
    if (history_mode(b) && b.order == k_order_append)
        b.order = k_order_history_time;
    show_base(b, was, was_ordinal);
}

// F5: asks the master server to refresh and reloads the album table. False when the server refused.
bool refresh_list(browse_run &b)
{
    clear();
    frame(stdscr);
    refresh();
    if (request(master_sock, REFRESH, 1, 0).album == k_refused) {
        errno = 0;
        error_msg("Control message failed", 0);
        return false;
    }
    read_database();
    // The current playlist, deliberately also for an offline playlist.
    if (b.mode == k_browse_console || b.mode == k_browse_offline)
        rebuild(b, plist_head.head());
    else
        rebuild(b, b.base);
    return true;
}

// Ctrl-T: the totals screen.
void show_totals(const browse_run &b)
{
    const totals_text t = format_totals(sum_list(b.shown, history_mode(b)), history_mode(b));
    clear();
    put_text(stdscr, 6, 10, t.total);
    put_text(stdscr, 8, 10, t.average);
    if (t.offline[0] != '\0')
        put_text(stdscr, 10, 10, t.offline);
    char reply[2] = "";
    prompt(20, 10, "Continue:", reply, 1, 0);
}

// j: appends a note about the current element to "Notes.txt".
void write_note(const browse_run &b)
{
    file_handle notes("Notes.txt", "a");
    if (notes.f == nullptr) {
        error_msg("Cannot open note file", 0);
        return;
    }
    clear();
    std::string rule(k_notes_rule, '-');
    std::fprintf(notes.f, "%s\n", rule.c_str());
    const char *when = get_time(std::time(nullptr));
    std::fprintf(notes.f, "%s\n", when);
    put_text(stdscr, 2, 2, when);
    const chain_item *e = current_element(b);
    if (e != nullptr) {
        char line[256];
        std::snprintf(line, sizeof line, "%04d/%02d %s - %s", e->album_no, e->track_no, e->track->artist,
                      e->track->title);
        std::fprintf(notes.f, "%s\n\n", line);
        put_text(stdscr, 3, 2, line);
    } else {
        std::fputs("\n", notes.f);
    }
    refresh();
    for (form_field *f = notes_input; f->kind != 0; ++f) {
        const int n = f->length < static_cast<int>(sizeof f->value) ? f->length : static_cast<int>(sizeof f->value) - 1;
        std::memset(f->value, ' ', static_cast<std::size_t>(n));
        f->value[n] = '\0';
    }
    form_func(notes_input);
    for (form_field *f = notes_input; f->kind != 0; ++f) {
        if (f->kind != 2)
            continue;
        f->value[sizeof f->value - 1] = '\0';
        strip_trailing_blanks(f->value);
        if (f->value[0] != '\0')
            std::fprintf(notes.f, "%s\n", f->value);
    }
    std::fputs("\n", notes.f);
}

// Ctrl-L: plays the current element's track on this machine (album 0 tells the player it is off line).
void play_locally(const browse_run &b)
{
    const chain_item *e = current_element(b);
    if (e == nullptr)
        return;
    const track_rec *rec = table_record(e->album_no, e->track_no);
    const bool online = rec != nullptr && rec->online != 0;
    const int pid = local_player(online ? e->album_no : 0, e->track_no);
    if (pid >= 0)
        local_audio_pid = pid;
}

// Ctrl-Q: asks the local server to check for a retrieval.
void retrieval_check()
{
    request(cd_srv_sock, RET_CHECK, 0, 0);
}

// The keys a running local player takes.
bool is_player_key(int key)
{
    return key == k_key_left || key == k_key_right || key == k_key_ctrl_left || key == k_key_ctrl_shift_left ||
           key == k_key_ctrl_right || key == k_key_ctrl_shift_right;
}

// The results of search_svce that end the browser.
bool search_result_key(int r) { return r == 'c' || r == 't' || r == 'p' || r == 'd' || r == 'x'; }

// The results that end the browser.
constexpr int k_no_result = 1000;

// Hands a key to the screen's callback; k_no_result to go on, else the browser's result.
int pass_on(browse_run &b, int key)
{
    if (b.callback == nullptr)
        return k_no_result;
    if ((b.mode == k_browse_console || b.mode == k_browse_offline) && b.order != k_order_append)
        return k_no_result;
    chain_item *current = current_element(b);
    // Without an element 'a' is held back, except on the console, whose empty
    // list still opens the album screen with it.
    if (key == 'a' && current == nullptr && b.mode != k_browse_console)
        return k_no_result;
    char heading_before[sizeof heading];
    char footer_before[sizeof footer];
    copy_bounded(heading_before, heading);
    copy_bounded(footer_before, footer);
    const element_id was = id_of(current);
    const int was_ordinal = current_ordinal(b.view);
    const int r = b.callback(current, key, b.mode);
    if (r == -1 || r == -11)
        return r;
    if (b.callback == search_svce && search_result_key(r))
        return r;
    if (b.callback == exocd_svce) {
        // The loaded CD's list as its service left it: taken again whatever the mode.
        if (b.list.empty())
            return 0;
        if (r == k_key_esc) {
            copy_bounded(heading, b.saved_heading);
            copy_bounded(footer, b.saved_footer);
            return k_escape;
        }
        if (r == k_key_f(9) || r == k_key_f(10))
            b.mode = k_browse_cd_matches;
        rebuild_keeping(b, b.list.head(), was, was_ordinal);
        return k_no_result;
    }
    copy_bounded(heading, heading_before);
    copy_bounded(footer, footer_before);
    if (screen_keeps_list(b))
        rebuild_keeping(b, source_list(b), was, was_ordinal);
    return k_no_result;
}

// What the browser does after a key.
struct key_step {
    bool redraw = true;   // draw the screen again
    bool ends = false;    // the browser returns `result`
    int result = 0;
};
constexpr key_step k_draw_again{};
constexpr key_step k_keep_screen{.redraw = false};
constexpr key_step ends_with(int result) { return {.redraw = false, .ends = true, .result = result}; }

// The handlers of browse_keys (below): each acts on its key and says what the
// browser does next.

key_step keep_screen(browse_run &) { return k_keep_screen; }
key_step draw_again(browse_run &) { return k_draw_again; }

// The idle event on the console: its playlist may have changed.
key_step take_playlist_again(browse_run &b)
{
    rebuild(b, source_list(b));
    return k_draw_again;
}

template <page_move move>
key_step page(browse_run &b)
{
    page_step(b.view, move);
    return k_draw_again;
}

key_step help(browse_run &)
{
    help_screen(nullptr, 0, nullptr);
    return k_draw_again;
}

key_step help_then_take_playlist_again(browse_run &b)
{
    help_screen(nullptr, 0, nullptr);
    rebuild(b, source_list(b));
    return k_draw_again;
}

key_step find_asked(browse_run &b)
{
    b.find_text[0] = '\0';
    find_next(b);
    return k_draw_again;
}

key_step find_again(browse_run &b)
{
    find_next(b);
    return k_draw_again;
}

key_step print_list(browse_run &b)
{
    const int form = menu_func(output_menu, 0, "Report Printing Menu", "");
    if (form >= 0 && form <= 2)
        output(b.shown, form, std::strncmp(heading, "Album", 5) == 0 ? 1 : 0);
    return k_draw_again;
}

key_step refresh(browse_run &b) { return refresh_list(b) ? k_draw_again : ends_with(-1); }

key_step operations(browse_run &b)
{
    mass_apply(b.shown, "", static_cast<int>(b.index.size()), 1);
    return k_draw_again;
}

key_step no_operations(browse_run &)
{
    errno = 0;
    error_msg("Operations sub-menu not allowed here", 0);
    return k_draw_again;
}

key_step local_audio(browse_run &)
{
    audio_func(nullptr, -1, nullptr);
    return k_draw_again;
}

key_step history_files(browse_run &)
{
    recent_history(nullptr, 0, nullptr);
    return k_draw_again;
}

key_step play_here(browse_run &b)
{
    play_locally(b);
    return k_draw_again;
}

key_step check_retrieval(browse_run &)
{
    retrieval_check();
    return k_keep_screen;
}

key_step sort(browse_run &b)
{
    sort_list(b);
    return k_draw_again;
}

key_step totals(browse_run &b)
{
    show_totals(b);
    return k_draw_again;
}

key_step reverse(browse_run &b)
{
    reverse_list(b);
    return k_draw_again;
}

key_step wall_time(browse_run &)
{
    char text[128];
    std::snprintf(text, sizeof text, "Date/Time is now: %s", get_time(std::time(nullptr)));
    popup(text, 1);
    return k_draw_again;
}

key_step note(browse_run &b)
{
    write_note(b);
    return k_draw_again;
}

// Esc stops a running local player; otherwise it leaves the browser.
key_step escape(browse_run &b)
{
    if (forward_to_player(k_key_esc)) {
        local_audio_pid = 0;
        return k_keep_screen;
    }
    copy_bounded(heading, b.saved_heading);
    copy_bounded(footer, b.saved_footer);
    return ends_with(k_escape);
}

// The browser's own keys, by mode. A key without a row here goes to a running
// local player (the cursor keys left and right, with or without control) or to
// the screen's callback.
struct browse_key {
    int key;
    int modes;   // mode_bit of the list modes the row applies in
    key_step (*handler)(browse_run &b);
};

constexpr int k_console = mode_bit(k_browse_console);
constexpr int k_no_ops = mode_bit(k_browse_no_ops);

constexpr browse_key browse_keys[] = {
    {.key = 0, .modes = k_every_mode, .handler = keep_screen},
    {.key = -1, .modes = k_console, .handler = take_playlist_again},
    {.key = -1, .modes = ~k_console, .handler = draw_again},
    {.key = k_key_down, .modes = k_every_mode, .handler = page<page_move::down>},
    {.key = k_key_up, .modes = k_every_mode, .handler = page<page_move::up>},
    {.key = k_key_home, .modes = k_every_mode, .handler = page<page_move::home>},
    {.key = k_key_end, .modes = k_every_mode, .handler = page<page_move::end>},
    {.key = k_key_page_down, .modes = k_every_mode, .handler = page<page_move::page_down>},
    {.key = k_key_page_up, .modes = k_every_mode, .handler = page<page_move::page_up>},
    {.key = k_key_f(6), .modes = k_every_mode, .handler = page<page_move::first>},
    {.key = k_key_ctrl_home, .modes = k_every_mode, .handler = page<page_move::first>},
    {.key = k_key_ctrl_page_up, .modes = k_every_mode, .handler = page<page_move::first>},
    {.key = k_key_f(7), .modes = k_every_mode, .handler = page<page_move::last>},
    {.key = k_key_ctrl_end, .modes = k_every_mode, .handler = page<page_move::last>},
    {.key = k_key_ctrl_page_down, .modes = k_every_mode, .handler = page<page_move::last>},
    {.key = k_key_f(1), .modes = k_console, .handler = help_then_take_playlist_again},
    {.key = k_key_f(1), .modes = ~k_console, .handler = help},
    {.key = k_key_f(2), .modes = k_every_mode, .handler = find_asked},
    {.key = k_key_f(3), .modes = k_every_mode, .handler = find_again},
    {.key = k_key_f(4), .modes = k_every_mode, .handler = print_list},
    {.key = k_key_f(5), .modes = k_every_mode, .handler = refresh},
    {.key = k_key_f(8), .modes = k_no_ops, .handler = no_operations},
    {.key = k_key_f(8), .modes = ~k_no_ops, .handler = operations},
    {.key = k_key_ctrl_a, .modes = k_every_mode, .handler = local_audio},
    {.key = k_key_ctrl_h, .modes = k_every_mode, .handler = history_files},
    {.key = k_key_ctrl_l, .modes = k_every_mode, .handler = play_here},
    {.key = k_key_ctrl_q, .modes = k_every_mode, .handler = check_retrieval},
    {.key = k_key_ctrl_r, .modes = k_every_mode, .handler = sort},
    {.key = k_key_ctrl_t, .modes = k_every_mode, .handler = totals},
    {.key = k_key_ctrl_v, .modes = k_every_mode, .handler = reverse},
    {.key = 'w', .modes = k_every_mode, .handler = wall_time},
    {.key = 'j', .modes = k_every_mode, .handler = note},
    {.key = k_key_esc, .modes = k_every_mode, .handler = escape},
};
static_assert(keys_unique_per_mode(browse_keys));

// Acts on one key.
key_step take_key(browse_run &b, int key)
{
    if (const browse_key *row = key_row(browse_keys, key, b.mode))
        return row->handler(b);
    if (is_player_key(key) && forward_to_player(key))
        return k_keep_screen;
    const int r = pass_on(b, key);
    return r == k_no_result ? k_draw_again : ends_with(r);
}

}   // namespace

int browser(chain_list &list, int count, int start, browse_callback callback, int mode)
{
    browse_run b(list);
    b.given = list.head();
    b.callback = callback;
    b.mode = mode;
    copy_bounded(b.saved_heading, heading);
    copy_bounded(b.saved_footer, footer);
    if (screen_keeps_list(b)) {
        take_copy(b, b.given);
    } else {
        b.base = b.shown = b.given;
        reindex(b);
    }
    b.count = count;
    b.view = page_start(static_cast<int>(b.index.size()), start);

    for (bool redraw = true;;) {
        if (redraw)
            draw(b);
        const key_step step = take_key(b, get_input(&input, 0));
        if (step.ends)
            return step.result;
        redraw = step.redraw;
    }
}
