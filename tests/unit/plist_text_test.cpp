// Texts and small parsers of the playlist screens.
#include "playlist/plist_text.hpp"
#include "playlist/state.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(PlistText, ModeCodes)
{
    EXPECT_EQ(mode_of_code(0xB0), 0);
    EXPECT_EQ(mode_of_code(0xB1), 1);
    EXPECT_EQ(mode_of_code(0xB6), 6);
    EXPECT_EQ(mode_of_code(0xB7), -1);
    EXPECT_EQ(mode_of_code(0xAF), -1);
    EXPECT_EQ(known_mode(4), 4);
    EXPECT_EQ(known_mode(7), 0);
    EXPECT_EQ(known_mode(-1), 0);
    EXPECT_EQ(known_mode(0xFFFF), 0);
}

TEST(PlistText, ModeNames)
{
    const char *names[] = {"Undefined", "Console", "Jukebox", "Random", "Mixed", "Playlist", "Play-Mixed"};
    for (int m = 0; m < k_mode_count; ++m)
        EXPECT_STREQ(playing_mode[m], names[m]);
}

TEST(PlistText, ConsoleHeadings)
{
    char buf[1024];
    const char *expected[] = {"Current Playlist (Undefined Mode)", "Current Playlist (Console Mode)",
                              "Current Playlist (Jukebox Mode)",   "Current Playlist (Random Mode)",
                              "Current Playlist (Mixed Mode)"};
    for (int m = 0; m < 5; ++m) {
        format_console_heading(buf, sizeof buf, m, "favourites");
        EXPECT_STREQ(buf, expected[m]);
    }
    format_console_heading(buf, sizeof buf, 5, "favourites");
    EXPECT_STREQ(buf, "Playlist mode: selecting from \"favourites\" playlist");
    format_console_heading(buf, sizeof buf, 6, "party");
    EXPECT_STREQ(buf, "Play-Mixed mode: selecting from \"party\" playlist");
    format_console_heading(buf, sizeof buf, 42, "x");
    EXPECT_STREQ(buf, "Current Playlist (Undefined Mode)");
}

TEST(PlistText, TheCurrentPlaylistIsAnnouncedAsCurrent)
{
    char buf[256];
    format_added_text(buf, sizeof buf, "Artist", "Song", "current.lst", false);
    EXPECT_STREQ(buf, "Artist - Song:  Added to Current Playlist");
    format_added_text(buf, sizeof buf, "Artist", "Song", "current.lst", true);
    EXPECT_STREQ(buf, "Artist - Song:  Already In Current Playlist");
    format_added_text(buf, sizeof buf, "Artist", "Song", "party", false);
    EXPECT_STREQ(buf, "Artist - Song:  Added to party Playlist");
    format_added_text(buf, sizeof buf, "Artist", "Song", "party", true);
    EXPECT_STREQ(buf, "Artist - Song:  Already In party Playlist");
    EXPECT_STREQ(plist_display_name("current.lst"), "Current");
    EXPECT_STREQ(plist_display_name("current.lst2"), "current.lst2");
}

TEST(PlistText, TrackMenuTitleIsTrimmedOnBothSides)
{
    char buf[128];
    format_track_menu_title(buf, sizeof buf, "Artist", "Title");
    EXPECT_STREQ(buf, "Artist - Title");
    format_track_menu_title(buf, sizeof buf, std::string(40, 'a').c_str(), std::string(40, 'b').c_str());
    EXPECT_EQ(std::string(buf), std::string(36, 'a') + " - " + std::string(36, 'b'));
    format_track_menu_title(buf, sizeof buf, "", "");
    EXPECT_STREQ(buf, "-");
}

std::vector<std::string> names_of(const std::string &text)
{
    std::vector<std::string> out;
    for_each_dir_name(text.data(), text.size(), [&](std::string_view n) { out.emplace_back(n); });
    return out;
}

TEST(PlistText, DirectoryListNames)
{
    EXPECT_EQ(names_of("a.lst\nb\ncurrent.lst\n"), (std::vector<std::string>{"a.lst", "b", "current.lst"}));
    EXPECT_EQ(names_of("a\n\nb"), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(names_of("a\r\nb\n"), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(names_of(std::string("a\nb\n\0c\n", 7)), (std::vector<std::string>{"a", "b"}));
    EXPECT_TRUE(names_of("").empty());
    EXPECT_TRUE(names_of("\n\n").empty());
}

TEST(PlistText, ChainReplies)
{
    const std::string text = "12 3\n0007 01\n 9 99\n";
    const auto m = parse_chain_reply(text.data(), text.size());
    ASSERT_EQ(m.size(), 3u);
    EXPECT_EQ(m[0].album, 12);
    EXPECT_EQ(m[0].track, 3);
    EXPECT_EQ(m[1].album, 7);
    EXPECT_EQ(m[2].track, 99);
    EXPECT_TRUE(parse_chain_reply("", 0).empty());
    const std::string garbled = "x y\n5 6\n7";
    const auto g = parse_chain_reply(garbled.data(), garbled.size());
    ASSERT_EQ(g.size(), 1u);
    EXPECT_EQ(g[0].album, 5);
    const std::string long_line = std::string(500, '1') + "\n1 2\n";
    EXPECT_EQ(parse_chain_reply(long_line.data(), long_line.size()).back().track, 2);
}

TEST(PlistText, ChainMemberLine)
{
    char buf[128];
    format_chain_member(buf, sizeof buf, 12, 3, "Artist", "Title");
    EXPECT_EQ(std::string(buf), "0012/03 Artist" + std::string(26, ' ') + " - Title" + std::string(27, ' '));
    format_chain_member(buf, sizeof buf, 1, 1, std::string(40, 'a').c_str(), "t");
    EXPECT_EQ(std::string(buf).substr(8, 35), std::string(32, 'a') + " - ");
}

TEST(PlistText, ValidEntries)
{
    EXPECT_TRUE(valid_entry(0, 0));
    EXPECT_TRUE(valid_entry(9020, 99));
    EXPECT_FALSE(valid_entry(9021, 1));
    EXPECT_FALSE(valid_entry(1, 100));
    EXPECT_FALSE(valid_entry(-1, 1));
    EXPECT_FALSE(valid_entry(1, -1));
}

}   // namespace
