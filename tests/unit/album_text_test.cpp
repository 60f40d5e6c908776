#include "proto/album_text.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace {

std::unique_ptr<album_rec> fresh() { return std::make_unique<album_rec>(); }

int parse(album_rec &a, const std::string &text) { return parse_album_text(text.data(), text.size(), a); }

TEST(AlbumText, ParsesEntriesAndSetsTheEndMark)
{
    auto a = fresh();
    std::strcpy(a->entry[2].title, "stale");
    const int n = parse(*a, "Band\nRecord\n07:30 - 5F00A1B2 1 0000ABCD 12\nBand\nSong\n03:10 S 0 1 0 3\n");
    EXPECT_EQ(n, 2);
    EXPECT_EQ(a->present, 1);
    EXPECT_EQ(a->tracks, 1);
    EXPECT_STREQ(a->entry[0].artist, "Band");
    EXPECT_STREQ(a->entry[0].title, "Record");
    EXPECT_STREQ(a->entry[0].time, "07:30");
    EXPECT_EQ(a->entry[0].status, '-');
    EXPECT_EQ(a->entry[0].last_played, 0x5F00A1B2);
    EXPECT_EQ(a->entry[0].online, 1);
    EXPECT_EQ(a->entry[0].cd_ident, 0xABCDu);
    EXPECT_EQ(a->entry[0].plays, 12);
    EXPECT_EQ(a->entry[1].status, 'S');
    EXPECT_EQ(a->entry[1].plays, 3);
    EXPECT_STREQ(a->entry[2].title, "");   // the end mark
}

TEST(AlbumText, ReaderAcceptsAnyHexCaseAndWidth)
{
    auto a = fresh();
    parse(*a, "A\nT\n3:05 N abc 0 FFFFFFFFF 7\n");
    EXPECT_STREQ(a->entry[0].time, "3:05");
    EXPECT_EQ(a->entry[0].last_played, 0xabc);
    EXPECT_EQ(a->entry[0].cd_ident, 0xFFFFFFFFFu);
}

TEST(AlbumText, MalformedThirdLineLeavesUnscannedFieldsUnchanged)
{
    auto a = fresh();
    a->entry[0].plays = 99;
    a->entry[0].online = 1;
    parse(*a, "A\nT\n04:00 S zz\n");
    EXPECT_STREQ(a->entry[0].time, "04:00");
    EXPECT_EQ(a->entry[0].status, 'S');
    EXPECT_EQ(a->entry[0].online, 1);
    EXPECT_EQ(a->entry[0].plays, 99);
}

TEST(AlbumText, MoreThanAHundredEntriesKeepsTheFirstHundred)
{
    std::string text;
    for (int i = 0; i < 130; ++i)
        text += "Artist " + std::to_string(i) + "\nTitle " + std::to_string(i) + "\n01:00 - 0 1 0 0\n";
    auto a = fresh();
    EXPECT_EQ(parse(*a, text), 100);
    EXPECT_EQ(a->tracks, 99);
    EXPECT_STREQ(a->entry[99].title, "Title 99");
}

TEST(AlbumText, ShorterRereadLeavesStaleEntriesBehindTheEndMark)
{
    auto a = fresh();
    parse(*a, "A\nT\n1:00 - 0 1 0 0\nA\nOne\n1:00 - 0 1 0 0\nA\nTwo\n1:00 - 0 1 0 0\n");
    parse(*a, "A\nT\n1:00 - 0 1 0 0\n");
    EXPECT_EQ(a->tracks, 0);
    EXPECT_STREQ(a->entry[1].title, "");
    EXPECT_STREQ(a->entry[2].title, "Two");
}

TEST(AlbumText, OverlongLinesAreCutToTheFields)
{
    auto a = fresh();
    const std::string artist(300, 'a');
    parse(*a, artist + "\n" + std::string(500, 't') + "\n" + std::string(400, '9') + " - 0 1 0 0\n");
    EXPECT_EQ(std::strlen(a->entry[0].artist), 66u);
    EXPECT_EQ(std::strlen(a->entry[0].title), 66u);
    EXPECT_LE(std::strlen(a->entry[0].time), 5u);
}

TEST(AlbumText, TruncatedTextNeverReadsBeyondIt)
{
    auto a = fresh();
    const char text[] = "A\nT\n05:00 S 1 1 1 1\nB\nU";   // ends inside an entry, without a NUL in range
    EXPECT_EQ(parse_album_text(text, sizeof text - 1, *a), 2);
    EXPECT_STREQ(a->entry[1].artist, "B");
    EXPECT_STREQ(a->entry[1].title, "U");
    EXPECT_EQ(a->tracks, 1);
}

TEST(AlbumText, WriterFormatAndRoundTrip)
{
    auto a = fresh();
    parse(*a, "Band\nRecord\n07:30 - 5f00a1b2 1 abcd 12\nBand\nSong\n03:10 U 0 0 0 3\n");
    char buf[k_album_text_max];
    const std::size_t n = format_album_text(*a, buf, sizeof buf);
    EXPECT_EQ(std::string(buf, n),
              "Band\nRecord\n07:30 - 5F00A1B2 1 0000ABCD 12\nBand\nSong\n03:10 U 00000000 0 00000000 3\n");
    EXPECT_EQ(a->tracks, 1);
}

TEST(AlbumText, WritingAnAlbumWithoutTitleSendsNothing)
{
    auto a = fresh();
    char buf[k_album_text_max];
    EXPECT_EQ(format_album_text(*a, buf, sizeof buf), 0u);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(a->tracks, -1);
}

TEST(AlbumText, EmptyStatusIsWrittenAsNormalNotAsANul)
{
    auto a = fresh();
    std::strcpy(a->entry[0].artist, "A");
    std::strcpy(a->entry[0].title, "T");
    char buf[k_album_text_max];
    const std::size_t n = format_album_text(*a, buf, sizeof buf);
    EXPECT_EQ(std::strlen(buf), n);
    EXPECT_EQ(std::string(buf), "A\nT\n - 00000000 0 00000000 0\n");
}

TEST(AlbumText, TimeInSeconds)
{
    EXPECT_EQ(time_text_seconds("03:10"), 190);
    EXPECT_EQ(time_text_seconds("10:05"), 605);
    EXPECT_EQ(time_text_seconds(""), 0);
    EXPECT_EQ(time_text_seconds("7"), 420);
}

}   // namespace
