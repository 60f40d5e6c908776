#include "audio/player_panel.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(PlayerPanel, TrackDataTakesAtMost36OfEach)
{
    char out[80];
    format_track_data(out, "Artist", "Title");
    EXPECT_STREQ(out, "Artist - Title");
    const std::string long_artist(50, 'a');
    const std::string long_title(60, 't');
    format_track_data(out, long_artist.c_str(), long_title.c_str());
    EXPECT_EQ(std::string(out), std::string(36, 'a') + " - " + std::string(36, 't'));
    format_track_data(out, "", "");
    EXPECT_STREQ(out, " - ");
}

TEST(PlayerPanel, ElapsedIsMinutesAndSeconds)
{
    char out[16];
    format_elapsed(out, 0);
    EXPECT_STREQ(out, "00:00");
    format_elapsed(out, 59);
    EXPECT_STREQ(out, "00:59");
    format_elapsed(out, 61);
    EXPECT_STREQ(out, "01:01");
    format_elapsed(out, 6000);
    EXPECT_STREQ(out, "100:00");
}

TEST(PlayerPanel, TextsSitAtTheirPlaces)
{
    const player_panel p = layout_player_panel("Artist - Title", 75);
    struct want {
        int row;
        int col;
        const char *text;
        panel_look look;
    };
    constexpr want wanted[] = {
        {.row = 8, .col = 33, .text = "Artist - Title", .look = panel_look::bold},
        {.row = 10, .col = 37, .text = "01:15", .look = panel_look::reverse},
        {.row = 12, .col = 17, .text = "<- back 30 secs             -> forward 30 secs", .look = panel_look::plain},
        {.row = 14, .col = 17, .text = "CTRL<- skip to start        CTRL-> skip to end", .look = panel_look::plain},
        {.row = 16, .col = 35, .text = "ESC - quit", .look = panel_look::plain},
    };
    for (int i = 0; i < 5; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(p.texts[i].row, wanted[i].row);
        EXPECT_EQ(p.texts[i].col, wanted[i].col);
        EXPECT_STREQ(p.texts[i].text, wanted[i].text);
        EXPECT_EQ(p.texts[i].look, wanted[i].look);
    }
}

TEST(PlayerPanel, TitleIsCutTo76AndCentred)
{
    const std::string title(79, 'x');
    const player_panel p = layout_player_panel(title, 0);
    EXPECT_EQ(std::strlen(p.texts[0].text), 76U);
    EXPECT_EQ(p.texts[0].col, 2);
    const player_panel odd = layout_player_panel("abc", 0);
    EXPECT_EQ(odd.texts[0].col, 38);
    const player_panel empty = layout_player_panel("", 0);
    EXPECT_EQ(empty.texts[0].col, 40);
}

TEST(PlayerPanel, BoxCorners)
{
    EXPECT_EQ(k_panel_top, 6);
    EXPECT_EQ(k_panel_bottom, 18);
    EXPECT_EQ(k_panel_left, 1);
    EXPECT_EQ(k_panel_right, 78);
}

}   // namespace
