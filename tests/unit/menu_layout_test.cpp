#include "core/keys.hpp"
#include "ui/menu_layout.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// A menu table of `rows` rows labelled "Row 0", "Row 1"... (longest label set by `longest`).
struct table_builder {
    std::vector<std::string> labels;
    std::vector<menu_item> rows;
    table_builder(int count, int longest = 0)
    {
        for (int i = 0; i < count; ++i) {
            std::string label = "Row " + std::to_string(i);
            if (i == 0 && longest > 0)
                label.resize(static_cast<std::size_t>(longest), 'x');
            labels.push_back(label);
        }
        for (int i = 0; i < count; ++i)
            rows.push_back({.label = labels[static_cast<std::size_t>(i)].c_str(), .handler = quit_func, .argument = nullptr, .code = i});
        rows.push_back({.label = "", .handler = null_func, .argument = nullptr, .code = 0});
    }
    const menu_item *table() const { return rows.data(); }
};

TEST(MenuLayout, CountsRowsUpToTheEndRow)
{
    EXPECT_EQ(menu_row_count(table_builder(0).table()), 0);
    EXPECT_EQ(menu_row_count(table_builder(10).table()), 10);
}

TEST(MenuLayout, TenRowsOnAnEightyByTwentyFourScreen)
{
    // The main menu: ten rows, longest label "Shutdown/Re-boot" (16).
    const table_builder t(10, 16);
    const menu_layout m = lay_out_menu(t.table(), 24, 80);
    EXPECT_EQ(m.rows, 10);
    EXPECT_EQ(m.columns, 1);
    EXPECT_EQ(m.width, 16);
    EXPECT_EQ(m.top, 7);     // (24 - 10 + 1) / 2
    EXPECT_EQ(m.x0, 31);     // 78 / 2 - 16 / 2
    EXPECT_EQ(m.step, 78);
    EXPECT_EQ(menu_cell_at(m, 0).line, 7);
    EXPECT_EQ(menu_cell_at(m, 9).line, 16);
    EXPECT_EQ(menu_cell_at(m, 9).col, 31);
}

TEST(MenuLayout, TwentyRowsAreOneColumn)
{
    const table_builder t(20, 10);
    const menu_layout m = lay_out_menu(t.table(), 24, 80);
    EXPECT_EQ(m.columns, 1);
    EXPECT_EQ(m.top, 2);   // (24 - 20 + 1) / 2
    EXPECT_EQ(menu_cell_at(m, 19).line, 21);
    EXPECT_EQ(menu_cell_at(m, 19).col, m.x0);
}

TEST(MenuLayout, TwentyOneRowsAreTwoColumnsOfTwentyAndOne)
{
    const table_builder t(21, 10);
    const menu_layout m = lay_out_menu(t.table(), 24, 80);
    EXPECT_EQ(m.columns, 2);
    EXPECT_EQ(m.top, 2);     // (24 - 19) / 2
    EXPECT_EQ(m.x0, 14);     // 78 / 4 - 10 / 2
    EXPECT_EQ(m.step, 39);   // 78 / 2
    EXPECT_EQ(menu_cell_at(m, 19).line, 21);
    EXPECT_EQ(menu_cell_at(m, 19).col, 14);
    EXPECT_EQ(menu_cell_at(m, 20).line, 2);
    EXPECT_EQ(menu_cell_at(m, 20).col, 53);
}

TEST(MenuLayout, FortyOneRowsAreLaidOutForTwoColumnsButDrawnInThree)
{
    const table_builder t(41, 10);
    const menu_layout m = lay_out_menu(t.table(), 24, 80);
    EXPECT_EQ(m.columns, 2);
    EXPECT_EQ(m.top, 2);
    EXPECT_EQ(menu_cell_at(m, 39).col, 14 + 39);
    EXPECT_EQ(menu_cell_at(m, 40).line, 2);
    EXPECT_EQ(menu_cell_at(m, 40).col, 14 + 2 * 39);   // a third column the width never counted
}

TEST(MenuLayout, FortyTwoRowsCountThreeColumns)
{
    const table_builder t(42, 10);
    EXPECT_EQ(lay_out_menu(t.table(), 24, 80).columns, 3);
    const table_builder u(62, 10);
    EXPECT_EQ(lay_out_menu(u.table(), 24, 80).columns, 3);
    const table_builder v(63, 10);
    EXPECT_EQ(lay_out_menu(v.table(), 24, 80).columns, 4);
}

TEST(MenuLayout, TopLineFollowsTheScreenHeight)
{
    const table_builder t(10, 10);
    EXPECT_EQ(lay_out_menu(t.table(), 30, 80).top, 10);   // (30 - 10 + 1) / 2
    EXPECT_EQ(lay_out_menu(t.table(), 5, 80).top, -2);    // (5 - 10 + 1) / 2, truncated toward zero
    const table_builder u(30, 10);
    EXPECT_EQ(lay_out_menu(u.table(), 30, 80).top, 5);    // (30 - 19) / 2
    EXPECT_EQ(lay_out_menu(u.table(), 10, 80).top, -4);   // (10 - 19) / 2
}

TEST(MenuLayout, AWideMenuIsNarrowedToTheScreen)
{
    const table_builder t(25, 50);   // two columns of 51 do not fit 80
    const menu_layout m = lay_out_menu(t.table(), 24, 80);
    EXPECT_EQ(m.width, 38);   // (80 - 2) / 2 - 1
    EXPECT_EQ(m.x0, 0);   // 78 / 4 - 38 / 2
    const table_builder u(5, 70);
    EXPECT_EQ(lay_out_menu(u.table(), 24, 60).width, 58);   // (60 - 1) / 1 - 1
    EXPECT_EQ(lay_out_menu(u.table(), 24, 80).width, 70);   // 71 fits 80
}

TEST(MenuLayout, TheWidthNeverGoesBelowZero)
{
    const table_builder t(70, 20);   // four columns on a screen of 3
    EXPECT_EQ(lay_out_menu(t.table(), 24, 3).width, 0);
}

TEST(MenuMove, VerticalMovesWrap)
{
    EXPECT_EQ(menu_move(k_key_up, 0, 10), 9);
    EXPECT_EQ(menu_move(k_key_up, 5, 10), 4);
    EXPECT_EQ(menu_move(k_key_down, 9, 10), 0);
    EXPECT_EQ(menu_move(k_key_tab, 9, 10), 0);
    EXPECT_EQ(menu_move(k_key_down, 3, 10), 4);
}

TEST(MenuMove, ColumnMovesStopAtTheEnds)
{
    EXPECT_EQ(menu_move(k_key_left, 25, 41), 5);
    EXPECT_EQ(menu_move(k_key_left, 5, 41), 0);
    EXPECT_EQ(menu_move(k_key_right, 5, 41), 25);
    EXPECT_EQ(menu_move(k_key_right, 25, 41), 40);
    EXPECT_EQ(menu_move(k_key_home, 25, 41), 0);
    EXPECT_EQ(menu_move(k_key_end, 3, 41), 40);
}

TEST(MenuMove, PageKeysGoToTheEndsOfTheColumn)
{
    EXPECT_EQ(menu_move(k_key_page_up, 27, 41), 20);
    EXPECT_EQ(menu_move(k_key_page_down, 27, 41), 39);
    EXPECT_EQ(menu_move(k_key_page_down, 40, 41), 40);
    EXPECT_EQ(menu_move(k_key_page_down, 3, 10), 9);
    EXPECT_EQ(menu_move(k_key_page_up, 3, 10), 0);
}

TEST(MenuMove, OtherKeysAreNotMoves)
{
    EXPECT_EQ(menu_move('a', 3, 10), -1);
    EXPECT_EQ(menu_move(k_key_enter, 3, 10), -1);
    EXPECT_EQ(menu_move(k_key_esc, 3, 10), -1);
}

TEST(MenuCaptions, AreSkippedInTheDirectionOfTravel)
{
    const menu_item table[] = {
        {.label = "Caption", .handler = dumb_func, .argument = nullptr, .code = 0},
        {.label = "One", .handler = quit_func, .argument = nullptr, .code = 0},
        {.label = "Between", .handler = dumb_func, .argument = nullptr, .code = 0},
        {.label = "Two", .handler = quit_func, .argument = nullptr, .code = 0},
        {.label = "Back", .handler = brk_func, .argument = nullptr, .code = 0},
        {.label = "", .handler = null_func, .argument = nullptr, .code = 0},
    };
    EXPECT_EQ(menu_skip_captions(table, 5, 0, false), 1);   // also when it is the first row
    EXPECT_EQ(menu_skip_captions(table, 5, 2, false), 3);
    EXPECT_EQ(menu_skip_captions(table, 5, 2, true), 1);
    EXPECT_EQ(menu_skip_captions(table, 5, 0, true), 4);    // Up from row 1 wraps past the caption
    EXPECT_EQ(menu_skip_captions(table, 5, 3, false), 3);
}

TEST(MenuCaptions, ATableOfCaptionsOnlyDoesNotLoop)
{
    const menu_item table[] = {
        {.label = "A", .handler = dumb_func, .argument = nullptr, .code = 0},
        {.label = "B", .handler = dumb_func, .argument = nullptr, .code = 0},
        {.label = "", .handler = null_func, .argument = nullptr, .code = 0},
    };
    const int at = menu_skip_captions(table, 2, 1, false);
    EXPECT_TRUE(at == 0 || at == 1);
}

TEST(MenuRows, TheFourSmallHandlersReturnTheirCodes)
{
    EXPECT_EQ(null_func(nullptr, 0, nullptr), -1);
    EXPECT_EQ(dumb_func(nullptr, 0, nullptr), -1);
    EXPECT_EQ(quit_func(nullptr, 0, nullptr), -5);
    EXPECT_EQ(brk_func(nullptr, 0, nullptr), -11);
}

}   // namespace
