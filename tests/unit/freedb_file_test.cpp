#include "media/freedb_file.hpp"

#include "db/album.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

namespace {

// An album of `tracks` tracks named "Old n", with an old header.
std::unique_ptr<album_rec> old_album(int tracks)
{
    auto a = std::make_unique<album_rec>();
    a->present = 1;
    a->tracks = tracks;
    std::strcpy(a->entry[0].artist, "Old Artist");
    std::strcpy(a->entry[0].title, "Old Title");
    for (int t = 1; t <= tracks; ++t) {
        std::snprintf(a->entry[t].artist, sizeof a->entry[t].artist, "Old %d", t);
        std::snprintf(a->entry[t].title, sizeof a->entry[t].title, "Old %d", t);
    }
    return a;
}

// Reads a file made of `text` into rec.
void read_text(album_rec &rec, const std::string &text, int strip = 0)
{
    std::string copy = text;
    std::FILE *f = fmemopen(copy.data(), copy.size(), "r");
    ASSERT_NE(f, nullptr);
    read_freedb(f, rec, strip);
    std::fclose(f);
}

TEST(FreedbFile, DiscAndTrackTitles)
{
    auto a = old_album(3);
    read_text(*a, "# xmcd\n#\nDISCID=12345678\nDTITLE=The Band / The Record\nDYEAR=1999\n"
                  "TTITLE0=First Song\nTTITLE1=Guest - Second Song\nTTITLE2=Third\nEXTD=\nEXTT0=\nPLAYORDER=\n");
    EXPECT_STREQ(a->entry[0].artist, "The Band");
    EXPECT_STREQ(a->entry[0].title, "The Record");
    EXPECT_STREQ(a->entry[1].artist, "The Band");
    EXPECT_STREQ(a->entry[1].title, "First Song");
    EXPECT_STREQ(a->entry[2].artist, "Guest");
    EXPECT_STREQ(a->entry[2].title, "Second Song");
    EXPECT_STREQ(a->entry[3].artist, "The Band");
    EXPECT_STREQ(a->entry[3].title, "Third");
    EXPECT_EQ(a->tracks, 3);   // the track count is not changed
}

TEST(FreedbFile, DiscTitleWithoutSeparator)
{
    auto a = old_album(2);
    read_text(*a, "DTITLE=Just A Title\nTTITLE0=One\nTTITLE1=Two\n");
    EXPECT_STREQ(a->entry[0].artist, "");   // no disc artist: the last title's (empty) artist part
    EXPECT_STREQ(a->entry[0].title, "Just A Title");
    EXPECT_STREQ(a->entry[1].artist, "");
    EXPECT_STREQ(a->entry[1].title, "One");
}

TEST(FreedbFile, DiscTitleEndingInBlankSlashIsACompilation)
{
    auto a = old_album(1);
    read_text(*a, "DTITLE=Summer Hits /\nTTITLE0=Singer - Song\n");
    EXPECT_STREQ(a->entry[0].artist, "Various Artists");
    EXPECT_STREQ(a->entry[0].title, "Summer Hits");
    EXPECT_STREQ(a->entry[1].artist, "Singer");
    EXPECT_STREQ(a->entry[1].title, "Song");
}

TEST(FreedbFile, RepeatedKeyContinuesTheValue)
{
    auto a = old_album(2);
    read_text(*a, "DTITLE=A / B\nTTITLE0=A very long ti\nTTITLE0=tle in two lines\nTTITLE1=Next\n");
    EXPECT_STREQ(a->entry[1].title, "A very long title in two lines");
    EXPECT_STREQ(a->entry[2].title, "Next");
}

TEST(FreedbFile, OnlyADiscTitleIsAlsoTrackOne)
{
    auto a = old_album(2);
    read_text(*a, "DTITLE=Artist / Album\n");
    // The last value is always a track's title; the album gets its artist from it.
    EXPECT_STREQ(a->entry[1].artist, "Artist");
    EXPECT_STREQ(a->entry[1].title, "Album");
    EXPECT_STREQ(a->entry[0].artist, "Artist");
    EXPECT_STREQ(a->entry[0].title, "Old Title");
    EXPECT_STREQ(a->entry[2].title, "Old 2");
}

TEST(FreedbFile, KeysOutOfOrderFillInFileOrder)
{
    auto a = old_album(3);
    read_text(*a, "DTITLE=X / Y\nTTITLE2=Three\nTTITLE0=One\nTTITLE1=Two\n");
    EXPECT_STREQ(a->entry[1].title, "Three");
    EXPECT_STREQ(a->entry[2].title, "One");
    EXPECT_STREQ(a->entry[3].title, "Two");
}

TEST(FreedbFile, CarriageReturnsAndCommentsBetweenRepeats)
{
    auto a = old_album(1);
    read_text(*a, "DTITLE=X / Y\r\nTTITLE0=Part \r\n# a comment\r\nTTITLE0=two\r\n");
    EXPECT_STREQ(a->entry[0].title, "Y");
    EXPECT_STREQ(a->entry[1].title, "Part two");
}

TEST(FreedbFile, EmptyValuesTakeNoTrack)
{
    auto a = old_album(2);
    read_text(*a, "DTITLE=X / Y\nTTITLE0=\nTTITLE1=Real\n");
    EXPECT_STREQ(a->entry[1].title, "Real");
    EXPECT_STREQ(a->entry[2].title, "Old 2");
}

TEST(FreedbFile, PartsAreCutTo65Characters)
{
    auto a = old_album(1);
    const std::string artist(100, 'a');
    const std::string title(100, 't');
    read_text(*a, "DTITLE=" + artist + " / " + title + "\nTTITLE0=" + title + "\n");
    EXPECT_EQ(std::string(a->entry[0].artist), std::string(65, 'a'));
    EXPECT_EQ(std::string(a->entry[0].title), std::string(65, 't'));
    EXPECT_EQ(std::string(a->entry[1].title), std::string(65, 't'));
}

TEST(FreedbFile, StripFirstWord)
{
    auto a = old_album(2);
    read_text(*a, "DTITLE=X / Y\nTTITLE0=01.   First\nTTITLE1=Alone\n", 1);
    EXPECT_STREQ(a->entry[1].title, "First");
    EXPECT_STREQ(a->entry[2].title, "");
}

TEST(FreedbFile, LatinOneIsFolded)
{
    auto a = old_album(1);
    read_text(*a, "DTITLE=Bj\xf6rk / D\xe9" "but\nTTITLE0=Human Behaviour\n");
    EXPECT_STREQ(a->entry[0].artist, "Bjork");
    EXPECT_STREQ(a->entry[0].title, "Debut");
}

TEST(FreedbFile, EmptyFileChangesNothing)
{
    auto a = old_album(2);
    read_text(*a, "");
    EXPECT_STREQ(a->entry[0].artist, "Old Artist");
    EXPECT_STREQ(a->entry[0].title, "Old Title");
    EXPECT_STREQ(a->entry[1].title, "Old 1");
}

TEST(FreedbFile, NoLineEndAtTheEnd)
{
    auto a = old_album(1);
    read_text(*a, "DTITLE=X / Y\nTTITLE0=Last");
    EXPECT_STREQ(a->entry[1].title, "Last");
}

TEST(FreedbFile, ThousandsOfTitlesStopAtTrack99)
{
    auto a = old_album(99);
    std::string text = "DTITLE=X / Y\n";
    for (int i = 0; i < 5000; ++i)
        text += "TTITLE" + std::to_string(i) + "=T" + std::to_string(i) + "\n";
    read_text(*a, text);
    EXPECT_STREQ(a->entry[1].title, "T0");
    EXPECT_STREQ(a->entry[99].title, "T98");
    EXPECT_EQ(a->tracks, 99);
}

TEST(FreedbFile, OverlongLinesAndGatheredValuesStayBounded)
{
    auto a = old_album(2);
    std::string text = "DTITLE=" + std::string(10000, 'x') + "\n";
    for (int i = 0; i < 50; ++i)
        text += "TTITLE0=" + std::string(3000, 'y') + "\n";
    text += "TTITLE1=ok\n";
    read_text(*a, text);
    EXPECT_EQ(std::string(a->entry[0].title), std::string(65, 'x'));
    EXPECT_EQ(std::string(a->entry[1].title), std::string(65, 'y'));
    EXPECT_STREQ(a->entry[2].title, "ok");
}

TEST(FreedbFile, NulBytesCutALine)
{
    auto a = old_album(1);
    read_text(*a, std::string("DTITLE=X / Y\nTTITLE0=Be\0fore\n", 29));
    EXPECT_STREQ(a->entry[1].title, "Be");
}

TEST(FreedbFile, ReadCueFileIntoTheTable)
{
    album[7] = *old_album(1);
    std::string text = "DTITLE=Band / Disc\nTTITLE0=Song\n";
    std::FILE *f = fmemopen(text.data(), text.size(), "r");
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(read_cue_file(f, 7, 0), 0);
    std::fclose(f);
    EXPECT_STREQ(album[7].entry[0].title, "Disc");
    EXPECT_STREQ(album[7].entry[1].title, "Song");
    EXPECT_EQ(read_cue_file(nullptr, 7, 0), -1);
    album[7] = album_rec{};
}

}   // namespace
