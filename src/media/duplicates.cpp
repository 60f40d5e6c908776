// Duplicate detection screens: one album's unique and duplicate tracks, the
// export or ripping of its unique tracks and the offer to delete it, and the
// report that walks the whole table for albums with few unique tracks.
#include "media/duplicates.hpp"

#include "audio/player.hpp"
#include "browse/browser.hpp"
#include "browse/chain.hpp"
#include "browse/search.hpp"
#include "core/config.hpp"
#include "core/link.hpp"
#include "core/process.hpp"
#include "core/signals.hpp"
#include "core/startup.hpp"
#include "db/album.hpp"
#include "media/duplicate_scan.hpp"
#include "media/media_files.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "ui/album_number.hpp"
#include "ui/menu.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <curses.h>
#include <span>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int k_walk_albums = -1;      // selector: ask for album numbers one after another
constexpr int k_from_report = -2;      // selector: the report's call for last_album
constexpr int k_not_deleted = -2;      // the report's call ended without a deletion
constexpr int k_deleted = -1;          // the album was deleted
constexpr int k_last_database_album = 8999;
constexpr std::size_t k_export_block = 256;

// The table as the scans take it.
std::span<album_rec> table() { return {album, static_cast<std::size_t>(k_album_slots)}; }

bool database_album(int a) { return a >= 1 && a <= k_last_database_album; }

bool yes(int row, int column, const char *question, int flags = 0)
{
    char reply[2] = "";
    return prompt(row, column, question, reply, 1, flags) == 'y';
}

// Writes a line at (row, column) after blanking the rest of the row inside the frame.
void show_line(int row, int column, const char *text)
{
    const std::string blanks(static_cast<std::size_t>(COLS > column + 1 ? COLS - column - 1 : 0), ' ');
    put_text(stdscr, row, column, blanks.c_str());
    put_text(stdscr, row, column, text);
    refresh();
}

// "%04d: %s - %s" of an album at row 8, column 3.
void show_album_line(int a)
{
    const track_rec &head = album[a].entry[0];
    char line[192];
    std::snprintf(line, sizeof line, "%04d: %s - %s", a, head.artist, head.title);
    put_text(stdscr, 8, 3, line);
}

// A failure with a file, its path and the system's text, as one message.
void file_error(const char *format, const char *path, int errnum)
{
    char text[1024];
    std::snprintf(text, sizeof text, format, path, std::strerror(errnum));
    errno = 0;
    error_msg(text, 0);
}

// Builds a list in the order given; the number of elements, or -1.
int list_of(chain_list &list, const std::vector<chain_entry> &entries)
{
    return build_chain(list, k_order_append, entries, 1);
}

// Copies the unique tracks' media files into the export folder.
void export_tracks(const std::vector<chain_entry> &unique)
{
    for (const chain_entry &e : unique) {
        const track_rec &r = album[e.album_no].entry[e.track_no];
        char line[192];
        std::snprintf(line, sizeof line, "Exporting \"%s - %s\"", r.artist, r.title);
        show_line(8, 6, line);
        char source[64];
        std::snprintf(source, sizeof source, "%s/%4.4d_%2.2d.wav", "Media", e.album_no, e.track_no);
        char destination[512];
        if (!export_file_name(destination, sizeof destination, export_dir, r.artist, r.title)) {
            file_error("Cannot open destination WAV file: \"%s\" - %s", destination, errno);
            continue;
        }
        switch (copy_file(source, destination, k_export_block)) {
        case copy_result::source_failed:
            file_error("Cannot open source WAV file: \"%s\" - %s", source, errno);
            break;
        case copy_result::destination_failed:
            file_error("Cannot open destination WAV file: \"%s\" - %s", destination, errno);
            break;
        case copy_result::short_write:
            errno = 0;
            error_msg("File write error", 0);
            break;
        case copy_result::done:
            break;
        }
    }
}

// Rips the unique tracks of the CD in the drive into the export folder, each
// with an alarm of twice its playing time: a rip that outlasts it is reported
// as a bad track once it ends, and the next track is ripped all the same.
void rip_tracks(const std::vector<chain_entry> &unique)
{
    install_handler(SIGALRM, abort_func);
    for (const chain_entry &e : unique) {
        const track_rec &r = album[e.album_no].entry[e.track_no];
        char destination[512];
        if (!export_file_name(destination, sizeof destination, export_dir, r.artist, r.title)) {
            file_error("Cannot open destination WAV file: \"%s\" - %s", destination, errno);
            continue;
        }
        const long long seconds = length_seconds(field_view(r.time));
        alarm(static_cast<unsigned>(seconds > 0 ? std::min<long long>(2 * seconds, 0x7FFFFFFF) : 0));
        abort_sig = 0;
        char line[192];
        std::snprintf(line, sizeof line, "Ripping \"%s - %s\"", r.artist, r.title);
        show_line(8, 6, line);
        const std::vector<std::string> words = rip_arguments(paranoia, e.track_no, destination);
        std::vector<const char *> argv;
        for (const std::string &w : words)
            argv.push_back(w.c_str());
        argv.push_back(nullptr);
        run_program(argv.data(), true);
        if (abort_sig != 0) {
            put_text(stdscr, 10, 6, "Bad Track - rip time exceeded");
            refresh();
        }
        alarm(0);
    }
}

// Step after the unique list: exports (database albums) or rips (the CD in the
// drive, or a reserved album). True when an export was done.
bool export_or_rip(int a, const std::vector<chain_entry> &unique)
{
    clear();
    frame(stdscr);
    char question[256];
    const bool from_disc = !database_album(a);
    std::snprintf(question, sizeof question,
                  from_disc ? "Rip %d unique tracks from this CD to \"%s\"?"
                            : "Export %d unique tracks from this album to \"%s\"?",
                  static_cast<int>(unique.size()), export_dir);
    put_text(stdscr, 8, 6, question);
    if (!yes(10, 30, "Are you sure?"))
        return false;
    if (from_disc) {
        rip_tracks(unique);
        return false;
    }
    export_tracks(unique);
    return true;
}

// Asks the master server to delete an album and clears it here once the server has.
bool delete_album_now(int a)
{
    const server_msg reply = request(master_sock, ALBUM_DELETE, a, 0);
    if (reply.album == k_refused) {
        errno = 0;
        error_msg("Cannot delete album", a);
        return false;
    }
    std::memset(&album[a], 0, sizeof album[a]);
    return true;
}

// Shows one album's unique and duplicate tracks and what may follow. Returns
// k_deleted after a deletion, k_not_deleted when the report's call was not
// deleted, 0 otherwise.
int check_one(int a, int selector)
{
    clear();
    frame(stdscr);
    show_album_line(a);
    put_text(stdscr, 12, 18, "Checking for Duplicates - Please Wait....");
    refresh();
    const album_copies copies = find_album_copies(table(), a, max_album);

    char saved_heading[sizeof heading];
    char saved_footer[sizeof footer];
    copy_bounded(saved_heading, heading);
    copy_bounded(saved_footer, footer);
    const track_rec &head = album[a].entry[0];
    std::snprintf(heading, sizeof heading, "%04d: %.29s - %.29s", a, head.artist, head.title);
    std::snprintf(footer, sizeof footer, "Unique tracks: %d (Duplicate tracks: %d)  e^xport Tracks",
                  copies.unique_count, copies.duplicate_count);
    chain_list unique;
    chain_list duplicates;
    const int unique_listed = list_of(unique, copies.unique);
    const int duplicates_listed = list_of(duplicates, copies.duplicates);
    bool exported = false;
    if (unique_listed >= 0 && duplicates_listed >= 0) {
        if (browser(unique, unique_listed, 0, search_svce, k_browse_duplicates) == 'x')
            exported = export_or_rip(a, copies.unique);
        if (!exported) {
            std::snprintf(footer, sizeof footer, "Duplicate Tracks: %d", copies.duplicate_count);
            browser(duplicates, duplicates_listed, 0, search_svce, k_browse_duplicates);
        }
    }
    copy_bounded(heading, saved_heading);
    copy_bounded(footer, saved_footer);

    const bool offer = database_album(a) && (selector == k_from_report || copies.unique_count == 0 || exported);
    if (!offer)
        return 0;
    clear();
    frame(stdscr);
    show_album_line(a);
    if (yes(16, 10, "Do you wish to delete this album?") && delete_album_now(a))
        return k_deleted;
    return selector == k_from_report ? k_not_deleted : 0;
}

// The next album after a whose slot is in use, up to max_album; 0 when none.
int next_album_after(int a)
{
    for (int n = a + 1; n <= max_album && n < k_album_slots; ++n)
        if (album[n].present != 0)
            return n;
    return 0;
}

// Shows the report's progress every tenth album and ends the pass after an interrupt.
bool report_progress(int album_no)
{
    if (album_no % 10 == 0) {
        char number[8];
        std::snprintf(number, sizeof number, "%04d", album_no);
        put_text(stdscr, 10, 44, number);
        refresh();
    }
    return abort_sig != 0;
}

// Long jobs take SIGINT for themselves; the interactive program's handler comes back at the end.
struct interrupt_guard {
    interrupt_guard()
    {
        abort_sig = 0;
        install_handler(SIGINT, abort_func);
    }
    interrupt_guard(const interrupt_guard &) = delete;
    interrupt_guard &operator=(const interrupt_guard &) = delete;
    ~interrupt_guard() { install_handler(SIGINT, interrupt_func); }
};

// One pass of the report: marks, then the album offered and the questions.
// False when the report ends.
bool report_pass(int &target)
{
    clear();
    frame(stdscr);
    header("Search for Duplicated Albums");
    char line[128];
    if (target == 0)
        copy_bounded(line, "Searching for albums with zero unique tracks");
    else
        std::snprintf(line, sizeof line, "Searching for albums with %d or fewer unique tracks", target);
    put_text(stdscr, 8, 15, line);
    put_text(stdscr, 10, 30, "Please Wait....");
    refresh();
    mark_duplicates(table(), max_album, report_progress);
    if (abort_sig != 0)
        return false;
    const int found = next_duplicated_album(table(), max_album, target);
    if (found != 0) {
        last_album = found;
        if (check_duplicate(nullptr, k_from_report, nullptr) == k_not_deleted) {
            if (!yes(14, 20, "Set retention flag for this album and continue?"))
                return false;
            album[found].entry[0].status = 'R';
        } else if (!yes(18, 20, "Search for another duplicated album?")) {
            return false;
        }
    } else {
        std::snprintf(line, sizeof line, "All albums have at least %d unique track%s. Continue search?", target,
                      target < 1 ? "" : "s");
        if (!yes(18, 10, line))
            return false;
        ++target;
    }
    clear_duplicate_marks(table(), max_album);
    return true;
}

// The list the report leaves behind: every track of the albums in use, in
// artist and title order, as the last pass had them.
void browse_remaining()
{
    std::vector<chain_entry> tracks;
    for (int a = 1; a <= max_album && a < k_album_slots; ++a) {
        if (album[a].present == 0)
            continue;
        for (int t = 1; t <= album[a].tracks && t < k_max_entries; ++t)
            tracks.push_back({.album_no = a, .track_no = t, .key = 0});
    }
    chain_list list;
    const int count = build_chain(list, k_order_artist, tracks, 1);
    if (count < 0)
        return;
    char saved_footer[sizeof footer];
    copy_bounded(saved_footer, footer);
    copy_bounded(footer, "^^R re-sort  ^^V reverse sort-order   track^list");
    browser(list, count, 0, search_svce, k_browse_plain);
    copy_bounded(footer, saved_footer);
}

}   // namespace

int check_duplicate(const void *, int selector, const char *)
{
    int a = selector;
    if (selector < 0)
        a = last_album != 0 ? last_album : 1;
    for (;;) {
        if (selector == k_walk_albums) {
            char reply[8];
            std::snprintf(reply, sizeof reply, "%04d", a);
            if (prompt(12, 28, "Next Album No:", reply, 4, 4) == k_escape)
                return k_escape;
            const int n = check_a_no(reply, 0);
            if (n < 0) {
                const int next = next_album_after(a);
                if (next == 0)
                    return 0;
                a = next;
                continue;
            }
            a = n;
        }
        if (a < 0 || a >= k_album_slots)
            return 0;
        last_album = a;
        const int r = check_one(a, selector);
        if (selector == k_from_report)
            return r == k_deleted ? k_deleted : k_not_deleted;
        if (selector >= 0)
            return r == k_deleted ? k_deleted : 0;
        if (r == k_deleted)
            --a;   // the walk goes on after the deleted album
        const int next = next_album_after(a);
        if (next == 0)
            return 0;
        a = next;
    }
}

int duplicate_report(const void *, int, const char *)
{
    char saved_heading[sizeof heading];
    copy_bounded(saved_heading, heading);
    int result = -1;
    {
        const interrupt_guard interrupts;
        char reply[8] = "";
        if (prompt(18, 12, "Enter Target Number of Unique Tracks:", reply, 5, 4) == k_escape) {
            copy_bounded(heading, saved_heading);
            return k_escape;
        }
        int target = static_cast<int>(lenient_atol(reply));
        while (report_pass(target)) {
        }
        clear_retention_flags(table(), max_album);
        if (abort_sig != 0)
            result = -2;
        else
            browse_remaining();
    }
    copy_bounded(heading, saved_heading);
    return result;
}
