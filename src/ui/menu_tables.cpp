// The fixed menus of the program.
//
// To add a row: write the handler `foo_func(const void *arg, int code, const
// char *label)` (return -1 to stay in the menu, -5 to leave it with this row,
// -11 to leave it and its caller), declare it in its subsystem's header, then
// add the row here before the table's null_func row. A row that opens a
// sub-menu has `menu_func` as handler and the sub-menu's table as argument; a
// sub-menu never shows a footer.
#include "ui/menu_tables.hpp"

#include "album/album_screens.hpp"
#include "album/corrections.hpp"
#include "album/import.hpp"
#include "album/timings.hpp"
#include "audio/stream.hpp"
#include "browse/apply.hpp"
#include "browse/search.hpp"
#include "core/access.hpp"
#include "db/album.hpp"
#include "media/duplicates.hpp"
#include "media/new_album.hpp"
#include "playlist/console.hpp"
#include "playlist/history.hpp"
#include "reports/report_menu.hpp"
#include "ui/help.hpp"

#include <iterator>

namespace {

// The row that ends every table.
constexpr menu_item end_row = {.label = "", .handler = null_func, .argument = nullptr, .code = 0};

// A table ends with the null_func row and has no other.
template <std::size_t N>
constexpr bool well_formed(const menu_item (&table)[N])
{
    for (std::size_t i = 0; i + 1 < N; ++i)
        if (table[i].handler == null_func || table[i].label == nullptr)
            return false;
    return table[N - 1].handler == null_func;
}

}   // namespace

constexpr menu_item audio_menu[] = {
    {.label = "Start local audio stream", .handler = audio_func, .argument = nullptr, .code = 0},
    {.label = "Stop local audio stream", .handler = audio_func, .argument = nullptr, .code = 1},
    {.label = "Return To Main Menu", .handler = quit_func, .argument = nullptr, .code = 0},
    end_row,
};

constexpr menu_item main_menu[] = {
    {.label = "Console Mode", .handler = playlist, .argument = nullptr, .code = 0xB1},
    {.label = "Jukebox Mode", .handler = playlist, .argument = nullptr, .code = 0xB2},
    {.label = "Random Mode", .handler = playlist, .argument = nullptr, .code = 0xB3},
    {.label = "Mixed Mode", .handler = playlist, .argument = nullptr, .code = 0xB4},
    {.label = "Playlist Mode", .handler = playlist, .argument = nullptr, .code = 0xB5},
    {.label = "Play-Mixed Mode", .handler = playlist, .argument = nullptr, .code = 0xB6},
    {.label = "Local Audio", .handler = menu_func, .argument = audio_menu, .code = 0},
    {.label = "Maintenance", .handler = set_maint_mode, .argument = nullptr, .code = 0},
    // -1 kept as its 32-bit pattern; the handler receives it as -1 again.
    {.label = "Shutdown/Re-boot", .handler = shutdown_func, .argument = nullptr, .code = 0xFFFFFFFF},
    {.label = "Help", .handler = help_screen, .argument = nullptr, .code = 0},
    end_row,
};

constexpr menu_item report_menu[] = {
    {.label = "Album List", .handler = report_func, .argument = nullptr, .code = 0},
    {.label = "Track List by Artist", .handler = report_func, .argument = nullptr, .code = 1},
    {.label = "Track List by Title", .handler = report_func, .argument = nullptr, .code = 2},
    {.label = "On Short-List", .handler = report_func, .argument = nullptr, .code = 3},
    {.label = "Not on short-List", .handler = report_func, .argument = nullptr, .code = 4},
    {.label = "Not on normal selection", .handler = report_func, .argument = nullptr, .code = 5},
    {.label = "Off-line Tracks", .handler = report_func, .argument = nullptr, .code = 6},
    {.label = "Unplayable List", .handler = report_func, .argument = nullptr, .code = 7},
    {.label = "Duplicates report", .handler = duplicate_report, .argument = nullptr, .code = 0},
    {.label = "Reset Statistics", .handler = reset_stats, .argument = nullptr, .code = 0},
    {.label = "Audit Playlists", .handler = plist_audit, .argument = nullptr, .code = 0},
    {.label = "On-line Tracks Audit", .handler = online_audit, .argument = nullptr, .code = 0},
    {.label = "Find Monaural Tracks", .handler = mono_tracks, .argument = nullptr, .code = 0},
    {.label = "Check album for duplicates", .handler = check_duplicate, .argument = nullptr, .code = 0xFFFFFFFF},
    {.label = "WAV file integrity check", .handler = wav_integrity, .argument = nullptr, .code = 0},
    {.label = "Show recent history", .handler = recent_history, .argument = nullptr, .code = 0},
    end_row,
};

constexpr menu_item import_menu[] = {
    {.label = "Create New album from Folder contents", .handler = new_from_folder, .argument = nullptr, .code = 0},
    {.label = "XMCD (FreeDB) Style import", .handler = import, .argument = nullptr, .code = 2},
    {.label = "Plain text import", .handler = import, .argument = nullptr, .code = 3},
    end_row,
};

constexpr menu_item maint_menu[] = {
    {.label = "Album Tracklist", .handler = display_album, .argument = nullptr, .code = 0},
    {.label = "Report Generator", .handler = menu_func, .argument = report_menu, .code = 0},
    {.label = "Imports", .handler = menu_func, .argument = import_menu, .code = 0},
    {.label = "Back Up Album To CD", .handler = write_cd, .argument = nullptr, .code = 0},
    {.label = "Artist/Title Search (Case Sensitive)", .handler = cs_search, .argument = nullptr, .code = 0},
    {.label = "Global search (Case Sensitive)", .handler = cs_search, .argument = nullptr, .code = 1},
    {.label = "Edit Album", .handler = edit_album, .argument = nullptr, .code = 0},
    {.label = "Delete Album", .handler = delete_album, .argument = nullptr, .code = 0},
    {.label = "Correct \"Various Artists\" Format", .handler = correct, .argument = nullptr, .code = 0},
    {.label = "Transpose Artist & Title", .handler = correct, .argument = nullptr, .code = 1},
    {.label = "Capitalize Artist & Title", .handler = correct_caps, .argument = nullptr, .code = 0},
    {.label = "Capitalize (Lower-case First)", .handler = correct_caps, .argument = nullptr, .code = 1},
    {.label = "Capitalize ALL Artists & Titles", .handler = capitals, .argument = nullptr, .code = 0},
    {.label = "Recalculate Track Timings For Album", .handler = track_timings, .argument = nullptr, .code = 0xFFFFFFFF},
    {.label = "Refresh Database", .handler = refresh_database, .argument = nullptr, .code = 0x10D},
    end_row,
};

constexpr menu_item shut_down[] = {
    {.label = "Exit Client Zerka Program", .handler = shutdown_func, .argument = nullptr, .code = 6},
    {.label = "Stop Zerka Service", .handler = shutdown_func, .argument = nullptr, .code = 9},
    {.label = "Re-boot Local Machine", .handler = shutdown_func, .argument = nullptr, .code = 0},
    {.label = "Shutdown Local Machine", .handler = shutdown_func, .argument = nullptr, .code = 1},
    {.label = "Re-boot Master Server", .handler = shutdown_func, .argument = nullptr, .code = 2},
    {.label = "Shutdown Master Server", .handler = shutdown_func, .argument = nullptr, .code = 3},
    {.label = "Return To Main Menu", .handler = quit_func, .argument = nullptr, .code = 0},
    end_row,
};

// The operation numbers of the mass operations; 3 has no row.
constexpr menu_item apply_menu[] = {
    {.label = "Add all tracks to the current playlist", .handler = apply_svce, .argument = nullptr, .code = 1},
    {.label = "Put all tracks on a specified playlist", .handler = apply_svce, .argument = nullptr, .code = 2},
    {.label = "Remove all tracks from normal Selection", .handler = apply_svce, .argument = nullptr, .code = 4},
    {.label = "Put all tracks on the short-list", .handler = apply_svce, .argument = nullptr, .code = 5},
    {.label = "Remove all tracks from the short-list", .handler = apply_svce, .argument = nullptr, .code = 6},
    {.label = "Edit all artist strings", .handler = apply_svce, .argument = nullptr, .code = 7},
    {.label = "Edit all title strings", .handler = apply_svce, .argument = nullptr, .code = 8},
    {.label = "Force all tracks off-line", .handler = apply_svce, .argument = nullptr, .code = 9},
    end_row,
};

// Choosing a row of these two returns its index to the browser.
constexpr menu_item sort_menu[] = {
    {.label = "Numerical Order", .handler = quit_func, .argument = nullptr, .code = 1},
    {.label = "Artist Order", .handler = quit_func, .argument = nullptr, .code = 2},
    {.label = "Title Order", .handler = quit_func, .argument = nullptr, .code = 3},
    {.label = "Length of Track or Album Order", .handler = quit_func, .argument = nullptr, .code = 4},
    {.label = "CD-ID or Time Played Order", .handler = quit_func, .argument = nullptr, .code = 5},
    {.label = "No. of Plays Order", .handler = quit_func, .argument = nullptr, .code = 6},
    {.label = "Original Order", .handler = quit_func, .argument = nullptr, .code = 7},
    {.label = "Quit", .handler = quit_func, .argument = nullptr, .code = 8},
    end_row,
};

constexpr menu_item output_menu[] = {
    {.label = "Plain Text Listing", .handler = quit_func, .argument = nullptr, .code = 0},
    {.label = "Inlay card", .handler = quit_func, .argument = nullptr, .code = 1},
    {.label = "CSV file", .handler = quit_func, .argument = nullptr, .code = 2},
    {.label = "Quit", .handler = quit_func, .argument = nullptr, .code = 3},
    end_row,
};

static_assert(well_formed(main_menu) && std::size(main_menu) == 11);
static_assert(well_formed(maint_menu) && std::size(maint_menu) == 16);
static_assert(well_formed(report_menu) && std::size(report_menu) == 17);
static_assert(well_formed(import_menu) && std::size(import_menu) == 4);
static_assert(well_formed(shut_down) && std::size(shut_down) == 8);
static_assert(well_formed(audio_menu) && std::size(audio_menu) == 4);
static_assert(well_formed(apply_menu) && std::size(apply_menu) == 9);
static_assert(well_formed(sort_menu) && std::size(sort_menu) == 9);
static_assert(well_formed(output_menu) && std::size(output_menu) == 5);
