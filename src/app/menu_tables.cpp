// The fixed menus of the program (the browser's own are in browse/list_menus.cpp).
//
// To add a row: write the handler `foo_func(const void *arg, int code, const
// char *label)` (return -1 to stay in the menu, -5 to leave it with this row,
// -11 to leave it and its caller), declare it in its subsystem's header, then
// add the row here before the table's null_func row. A row that opens a
// sub-menu has `menu_func` as handler and the sub-menu's table as argument; a
// sub-menu never shows a footer.
#include "app/menu_tables.hpp"

#include "album/album_screens.hpp"
#include "album/corrections.hpp"
#include "album/import.hpp"
#include "album/timings.hpp"
#include "app/access.hpp"
#include "audio/stream.hpp"
#include "browse/search.hpp"
#include "media/duplicates.hpp"
#include "media/new_album.hpp"
#include "playlist/console.hpp"
#include "playlist/history.hpp"
#include "reports/report_menu.hpp"
#include "ui/help.hpp"

#include <iterator>

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

static_assert(well_formed(main_menu) && std::size(main_menu) == 11);
static_assert(well_formed(maint_menu) && std::size(maint_menu) == 16);
static_assert(well_formed(report_menu) && std::size(report_menu) == 17);
static_assert(well_formed(import_menu) && std::size(import_menu) == 4);
static_assert(well_formed(shut_down) && std::size(shut_down) == 8);
static_assert(well_formed(audio_menu) && std::size(audio_menu) == 4);
