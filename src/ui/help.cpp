// The key help page.
#include "ui/help.hpp"

#include "core/config.hpp"
#include "core/input.hpp"
#include "core/startup.hpp"
#include "ui/screen.hpp"

#include <cstdio>
#include <curses.h>
#include <string_view>

namespace {

// One line of the page at its screen place.
struct help_line {
    int row;
    int column;
    std::string_view text;
};

constexpr help_line help_lines[] = {
    {.row = 1, .column = 2, .text = "u  Move up the playlist"},
    {.row = 2, .column = 2, .text = "d  Move down the playlist"},
    {.row = 3, .column = 2, .text = "t  Move to top of playlist"},
    {.row = 4, .column = 2, .text = "x  Delete item from the playlist"},
    {.row = 5, .column = 2, .text = "s  Search for artist/title"},
    {.row = 6, .column = 2, .text = "a  Add item to the current playlist"},
    {.row = 7, .column = 2, .text = "h  Display the history list"},
    {.row = 8, .column = 2, .text = "i  Detailed track information"},
    {.row = 9, .column = 2, .text = "e  Edit track information"},
    {.row = 10, .column = 2, .text = "m  More tracks by this artist"},
    {.row = 11, .column = 2, .text = "l  Show album tracklist"},
    {.row = 12, .column = 2, .text = "p  Open offline playlist"},
    {.row = 13, .column = 2, .text = "r  Randomize the current playlist"},
    {.row = 14, .column = 2, .text = "c  Clear/replace the current playlist"},
    {.row = 15, .column = 2, .text = "k  Keep (save) the current playlist"},
    {.row = 16, .column = 2, .text = "f  Favourite - add to a playlist"},
    {.row = 17, .column = 2, .text = "q  Initiate track-linking for this item"},
    {.row = 18, .column = 2, .text = "w  Show server wall-time"},
    {.row = 1, .column = 42, .text = "ESC Escape to previous level"},
    {.row = 2, .column = 42, .text = "^G  Go - start the auto-DJ"},
    {.row = 3, .column = 42, .text = "^E  End - stop the auto-DJ"},
    {.row = 4, .column = 42, .text = "^P  Pause/unpause play"},
    {.row = 5, .column = 42, .text = "^F  Fade and skip current track"},
    {.row = 6, .column = 42, .text = "^R  Re-sort the display"},
    {.row = 7, .column = 42, .text = "^V  Reverse the sort order"},
    {.row = 8, .column = 42, .text = "^S  Put track on shortlist"},
    {.row = 9, .column = 42, .text = "^D  Remove track from shortlist"},
    {.row = 10, .column = 42, .text = "^U  Put track on unplayable list"},
    {.row = 11, .column = 42, .text = "^K  Kill the current retrieve"},
    {.row = 12, .column = 42, .text = "^O  Force a track off-line"},
    {.row = 13, .column = 42, .text = "^B  Re-boot the zerka server"},
    {.row = 14, .column = 42, .text = "^X  Shut Down the zerka server"},
    {.row = 15, .column = 42, .text = "^T  Totalize list items"},
    {.row = 16, .column = 42, .text = "^N  Set to Not-to-be_selected"},   // the underscore is part of the text
    {.row = 17, .column = 42, .text = "^A  Toggle local audio stream"},
    {.row = 18, .column = 42, .text = "^L  Play track locally/Stop play"},
    {.row = 20, .column = 2, .text = "F2/F3 Search for string/search again"},
    {.row = 21, .column = 2, .text = "F4 Printing Menu"},
    {.row = 22, .column = 2, .text = "F5 Refresh Screen"},
    {.row = 20, .column = 42, .text = "F6/F7 Browse to first/last line"},
    {.row = 21, .column = 42, .text = "F8 Apply operations to all items"},
    {.row = 22, .column = 42, .text = "F9 Add album to database"},
};

// Draws the whole page; lines below a short screen are left out.
void draw_help()
{
    clear();
    frame(stdscr);
    char title[128];
    std::snprintf(title, sizeof title, "%s (%s Mode) - Help Screen", version, server_mode);
    attron(A_BOLD);
    put_text(stdscr, 0, 16, title);
    attroff(A_BOLD);
    for (const help_line &line : help_lines) {
        char text[64];
        std::snprintf(text, sizeof text, "%.*s", static_cast<int>(line.text.size()), line.text.data());
        put_text(stdscr, line.row, line.column, text);
    }
    move(LINES - 1, COLS - 1);   // the cursor out of the way of the text
    refresh();
}

}   // namespace

int help_screen(const void *, int, const char *)
{
    draw_help();
    int generation = resize_generation;
    while (get_input(&input, 0) == -1) {
        if (generation != resize_generation) {
            generation = resize_generation;
            draw_help();
        }
    }
    clear();
    frame(stdscr);
    return 0;
}
