#include "browse/browse_layout.hpp"
#include "browse/chain.hpp"
#include "browse_library.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using namespace browse_test;

TEST(BrowseLayout, StartSkipsWholePages)
{
    page_view v = page_start(45, 0);
    EXPECT_EQ(v.top, 1);
    EXPECT_EQ(v.row, 1);
    v = page_start(45, 20);
    EXPECT_EQ(v.top, 1);
    EXPECT_EQ(v.row, 20);
    v = page_start(45, 21);
    EXPECT_EQ(v.top, 21);
    EXPECT_EQ(v.row, 1);
    v = page_start(45, 45);
    EXPECT_EQ(v.top, 41);
    EXPECT_EQ(v.row, 5);
    EXPECT_EQ(current_ordinal(v), 45);
    v = page_start(45, 99);   // past the end: the last element
    EXPECT_EQ(current_ordinal(v), 45);
    v = page_start(0, 5);
    EXPECT_EQ(current_ordinal(v), 0);
    EXPECT_EQ(rows_shown(v), 0);
}

TEST(BrowseLayout, DownAndUpScrollByOneAtTheEdges)
{
    page_view v = page_start(25, 20);
    page_step(v, page_move::down);
    EXPECT_EQ(v.top, 2);
    EXPECT_EQ(v.row, 20);
    EXPECT_EQ(current_ordinal(v), 21);
    for (int i = 0; i < 10; ++i)
        page_step(v, page_move::down);
    EXPECT_EQ(current_ordinal(v), 25);   // stops at the last element
    EXPECT_EQ(v.top, 6);
    page_step(v, page_move::home);
    EXPECT_EQ(current_ordinal(v), 6);
    page_step(v, page_move::up);
    EXPECT_EQ(v.top, 5);
    EXPECT_EQ(v.row, 1);
    page_view short_list = page_start(3, 3);
    page_step(short_list, page_move::down);
    EXPECT_EQ(current_ordinal(short_list), 3);
    page_step(short_list, page_move::up);
    page_step(short_list, page_move::up);
    page_step(short_list, page_move::up);
    EXPECT_EQ(current_ordinal(short_list), 1);
}

TEST(BrowseLayout, HomeEndPageKeysFirstAndLast)
{
    page_view v = page_start(45, 3);
    page_step(v, page_move::end);
    EXPECT_EQ(current_ordinal(v), 20);
    page_step(v, page_move::page_down);
    EXPECT_EQ(v.top, 21);
    EXPECT_EQ(v.row, 1);
    page_step(v, page_move::page_down);
    EXPECT_EQ(v.top, 41);
    page_step(v, page_move::page_down);   // nothing more below: the last row
    EXPECT_EQ(current_ordinal(v), 45);
    page_step(v, page_move::end);
    EXPECT_EQ(v.row, 5);
    page_step(v, page_move::page_up);
    EXPECT_EQ(v.top, 21);
    EXPECT_EQ(v.row, 1);
    page_step(v, page_move::first);
    EXPECT_EQ(current_ordinal(v), 1);
    page_step(v, page_move::page_up);
    EXPECT_EQ(current_ordinal(v), 1);
    // Last walks forward in whole pages from the current page.
    v = page_start(45, 1);
    page_step(v, page_move::down);
    page_step(v, page_move::down);
    v.top = 3;   // a page that starts off the 20-grid
    page_step(v, page_move::last);
    EXPECT_EQ(v.top, 43);
    EXPECT_EQ(v.row, 3);
    EXPECT_EQ(current_ordinal(v), 45);
}

TEST(BrowseLayout, KeepingTheCurrentElementAfterARebuild)
{
    page_view v = page_start(45, 25);   // top 21, row 5
    page_view k = page_keep(v, 45, 30);
    EXPECT_EQ(k.top, 21);
    EXPECT_EQ(current_ordinal(k), 30);
    k = page_keep(v, 45, 3);
    EXPECT_EQ(k.top, 1);
    EXPECT_EQ(current_ordinal(k), 3);
    k = page_keep(v, 10, 25);   // gone: the ordinal is limited to the new count
    EXPECT_EQ(current_ordinal(k), 10);
    k = page_keep(v, 0, 25);
    EXPECT_EQ(current_ordinal(k), 0);
}

TEST(BrowseLayout, StateCharacters)
{
    EXPECT_EQ(track_state_char('S', 1), '.');
    EXPECT_EQ(track_state_char('U', 1), 'x');
    EXPECT_EQ(track_state_char('N', 1), '^');
    EXPECT_EQ(track_state_char('-', 1), ' ');
    EXPECT_EQ(track_state_char('S', 0), '-');
}

TEST(BrowseLayout, AlbumAndTrackLines)
{
    track_rec t{};
    std::strcpy(t.artist, "Pink Floyd");
    std::strcpy(t.title, "Shine On You Crazy Diamond (Parts I-V)");
    std::strcpy(t.time, "13:31");
    char buf[160];
    format_list_line(buf, sizeof buf, 7, 1, t, 'S', 1, 0);
    EXPECT_STREQ(buf, "0007/01 Pink Floyd                   - Shine On You Crazy Diamond (P [13:31].");
    EXPECT_EQ(std::strlen(buf), 77u);
    format_list_line(buf, sizeof buf, 7, 1, t, 'S', 0, 0);
    EXPECT_EQ(buf[76], '-');
    std::strcpy(t.title, "Wish You Were Here");
    std::strcpy(t.time, "44:17");
    format_list_line(buf, sizeof buf, 7, 0, t, '-', 1, 5);
    EXPECT_STREQ(buf, "0007 Pink Floyd                  - Wish You Were Here           [44:17] (5)");
}

TEST(BrowseLayout, PositionIndicatorIsAsWideAsTheCount)
{
    char buf[64];
    format_position(buf, sizeof buf, 7, 1234);
    EXPECT_STREQ(buf, "   7 of 1234");
    format_position(buf, sizeof buf, 1, 9);
    EXPECT_STREQ(buf, "1 of 9");
}

TEST(BrowseLayout, FooterKeyLetters)
{
    const auto cells = footer_cells("^add ^^R x^");
    std::string text;
    std::string reversed;
    for (const footer_cell &c : cells) {
        text += c.ch;
        reversed += c.reversed ? 'r' : '.';
    }
    EXPECT_EQ(text, "add ^R x");
    EXPECT_EQ(reversed, "r...r...");
}

TEST(BrowseLayout, SortSuffixGoesFromTheLastSemicolon)
{
    char heading[1024] = "Titles containing \"a\"";
    set_sort_suffix(heading, sizeof heading, nullptr, false);
    EXPECT_STREQ(heading, "Titles containing \"a\"; ");
    set_sort_suffix(heading, sizeof heading, nullptr, true);
    EXPECT_STREQ(heading, "Titles containing \"a\"; Reverse ");
    set_sort_suffix(heading, sizeof heading, "Artist Order", false);
    EXPECT_STREQ(heading, "Titles containing \"a\"; Sorted in Artist Order");
    set_sort_suffix(heading, sizeof heading, "Title Order", true);
    EXPECT_STREQ(heading, "Titles containing \"a\"; Sorted in Reverse Title Order");
    cut_sort_suffix(heading);
    EXPECT_STREQ(heading, "Titles containing \"a\"");
    char marked[1024] = "Artists containing \"x\";";
    set_sort_suffix(marked, sizeof marked, "Numerical Order", false);
    EXPECT_STREQ(marked, "Artists containing \"x\"; Sorted in Numerical Order");
    char small[16] = "abc";
    set_sort_suffix(small, sizeof small, "Numerical Order", false);
    EXPECT_STREQ(small, "abc; Sorted in ");   // cut to the buffer, never past it
}

class BrowseTotals : public ::testing::Test {
protected:
    void SetUp() override { reset_table(); }
    void TearDown() override { reset_table(); }
};

TEST_F(BrowseTotals, AlbumsAddTheirTracksAndEveryElementItsLength)
{
    put_album(1, {"A", "One", "40:00"},
              {{.artist = "A", .title = "a", .time = "03:00", .online = 0},
               {.artist = "A", .title = "b", .time = "04:30"},
               {.artist = "A", .title = "c", .time = "05:00"}});
    chain_list head;
    link_track(head, k_order_append, 1, 0, 0, 1);
    link_track(head, k_order_append, 1, 1, 0, 1);
    link_track(head, k_order_append, 1, 2, 0, 1);
    const list_totals t = sum_list(head.head(), false);
    EXPECT_EQ(t.tracks, 5);
    EXPECT_EQ(t.seconds, 40 * 60 + 180 + 270);
    EXPECT_EQ(t.offline, 1);
    const totals_text text = format_totals(t, false);
    EXPECT_STREQ(text.total, "Total Tracks: 5    Total Time: 0 Days 0 Hours 47 Mins 30 secs");
    EXPECT_STREQ(text.average, "Average track Length: 09:30");
    EXPECT_STREQ(text.offline, "Off-line Tracks: 1");
    EXPECT_STREQ(format_totals(t, true).offline, "");
    head.reset();
}

TEST_F(BrowseTotals, DaysHoursAndAnEmptyList)
{
    list_totals t;
    t.tracks = 2;
    t.seconds = 2 * 86400 + 3 * 3600 + 4 * 60 + 5;
    t.has_tracks = true;
    EXPECT_STREQ(format_totals(t, false).total, "Total Tracks: 2    Total Time: 2 Days 3 Hours 4 Mins 5 secs");
    const list_totals none = sum_list(nullptr, false);
    const totals_text text = format_totals(none, false);
    EXPECT_STREQ(text.average, "Average track Length: 00:00");
    EXPECT_STREQ(text.offline, "");
}

TEST_F(BrowseTotals, HistoryListsReadTheOnLineFlagFromTheTable)
{
    put_album(2, {"B", "Two"}, {{.artist = "B", .title = "x", .time = "01:00", .online = 0}});
    chain_list head;
    link_history(head, k_order_append, 2, 1, 5, "B", "x", "01:00");
    EXPECT_EQ(sum_list(head.head(), true).offline, 1);
    head.reset();
}

}   // namespace
