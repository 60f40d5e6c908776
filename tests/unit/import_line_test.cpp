#include "album/import_line.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace {

struct rest_case {
    const char *line;
    const char *rest;
};

constexpr rest_case rest_cases[] = {
    {"01. Song - Artist\n", "Song - Artist"},
    {"12 Song\n", "Song"},
    {"3:45 Song\r\n", "Song"},
    {"  \t7.\tSong", "Song"},
    {"Song\rjunk\nmore", "Song"},
    {"Song\njunk\r", "Song"},
    {"\n", ""},
    {"", ""},
    {"12. 34:56 ...\n", ""},              // only numbers, dots, colons and blanks
    {"1984 - Band\n", "- Band"},          // a title made of digits loses them too
    {"99 Luftballons\n", "Luftballons"},
};

TEST(ImportLineRest, Table)
{
    for (const rest_case &c : rest_cases) {
        char line[256];
        std::strcpy(line, c.line);
        EXPECT_STREQ(import_line_rest(line), c.rest) << c.line;
    }
}

std::unique_ptr<album_rec> album_with(int tracks)
{
    auto a = std::make_unique<album_rec>();
    a->tracks = tracks;
    for (int t = 1; t <= tracks; ++t) {
        std::strcpy(a->entry[t].artist, "old artist");
        std::strcpy(a->entry[t].title, "old title");
    }
    return a;
}

TEST(NameTrack, TitleFirst)
{
    auto a = album_with(2);
    char line[] = "the long road - neil young";
    name_track(*a, 1, line, 0);
    EXPECT_STREQ(a->entry[1].title, "The Long Road");
    EXPECT_STREQ(a->entry[1].artist, "Neil Young");
    EXPECT_STREQ(a->entry[2].title, "old title");
}

TEST(NameTrack, ArtistFirst)
{
    auto a = album_with(1);
    char line[] = "neil young: the long road";
    name_track(*a, 1, line, 1);
    EXPECT_STREQ(a->entry[1].artist, "Neil Young");
    EXPECT_STREQ(a->entry[1].title, "The Long Road");
}

TEST(NameTrack, NoSeparatorGoesToTheSecondPart)
{
    auto a = album_with(1);
    char line[] = "just a title";
    name_track(*a, 1, line, 0);
    EXPECT_STREQ(a->entry[1].artist, "Just A Title");
    EXPECT_STREQ(a->entry[1].title, "Old Title");   // kept, and capitalised again
}

TEST(NameTrack, OutsideTheAlbumStoresNothing)
{
    auto a = album_with(1);
    char line[] = "a - b";
    name_track(*a, 0, line, 0);
    name_track(*a, 100, line, 0);
    EXPECT_STREQ(a->entry[0].title, "");
}

TEST(NameTrack, LongPartsAreCut)
{
    auto a = album_with(1);
    std::string text = std::string(200, 't') + " - " + std::string(200, 'a');
    name_track(*a, 1, text.data(), 0);
    EXPECT_EQ(std::string(a->entry[1].title), "T" + std::string(65, 't'));
    EXPECT_EQ(std::string(a->entry[1].artist), "A" + std::string(65, 'a'));
}

TEST(SetAlbumArtist, VariousAndCapitalised)
{
    track_rec head{};
    set_album_artist(head, "VARIOUS");
    EXPECT_STREQ(head.artist, "Various Artists");
    set_album_artist(head, "variety show");
    EXPECT_STREQ(head.artist, "Various Artists");
    set_album_artist(head, "the band");
    EXPECT_STREQ(head.artist, "The Band");
    set_album_artist(head, "");
    EXPECT_STREQ(head.artist, "");
}

}   // namespace
