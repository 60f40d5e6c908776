// A folder of WAV files as a new album: selection, the length rule, the
// numbering prefix and each track's texts.
#include "media/wav_folder.hpp"

#include <gtest/gtest.h>

namespace {

folder_entry file(const char *name, long long size = 1000) { return {name, true, true, size}; }

std::vector<std::string> names(const std::vector<folder_entry> &v)
{
    std::vector<std::string> out;
    for (const folder_entry &e : v)
        out.push_back(e.name);
    return out;
}

TEST(WavFolder, OnlyRegularLowerCaseWavFilesAfterTheFirstEntryAreTaken)
{
    const std::vector<folder_entry> listing = {
        file("."),              // never looked at
        file(".."),
        file(".hidden.wav"),
        file("01 One.wav"),
        file("02 Two.WAV"),      // upper case is not taken
        {"03 Dir.wav", true, false, 4096},
        {"04 Gone.wav", false, false, 0},
        file("05 Notes.txt"),
        file(".wav"),
        file("wav"),
        file("06 Six.wav"),
    };
    EXPECT_EQ((std::vector<std::string>{"01 One.wav", "06 Six.wav"}), names(select_wav_files(listing)));
    EXPECT_TRUE(select_wav_files({file("x.wav")}).empty());   // the first entry is skipped whatever it is
    EXPECT_TRUE(select_wav_files({}).empty());
}

TEST(WavFolder, LengthRuleCountsEveryByte)
{
    EXPECT_EQ(0, wav_seconds(176399));
    EXPECT_EQ(1, wav_seconds(176400));
    EXPECT_EQ(4800, wav_seconds(4800LL * 176400));
    EXPECT_EQ(4800, wav_seconds(4801LL * 176400 - 1));
    char text[32];
    format_minutes(text, 4801);
    EXPECT_STREQ("80:01", text);
    format_minutes(text, 5);
    EXPECT_STREQ("00:05", text);
}

TEST(WavFolder, NumberingPrefixOfTheFirstName)
{
    EXPECT_EQ(5u, numbering_prefix("01 - Song"));
    EXPECT_EQ(3u, numbering_prefix("01 Song"));
    EXPECT_EQ(3u, numbering_prefix("01.Song"));
    EXPECT_EQ(2u, numbering_prefix("01Song"));
    EXPECT_EQ(2u, numbering_prefix("017 Song"));    // a digit right after the "01" ends it
    EXPECT_EQ(2u, numbering_prefix("01"));
    EXPECT_EQ(4u, numbering_prefix("01 ("));
    EXPECT_EQ(0u, numbering_prefix("1 Song"));
    EXPECT_EQ(0u, numbering_prefix("02 Song"));
    EXPECT_EQ(0u, numbering_prefix(""));
}

struct name_case {
    const char *file;
    std::size_t cut;
    const char *artist;
    const char *title;
};

TEST(WavFolder, TrackTextsFromFileNames)
{
    constexpr name_case cases[] = {
        {"01 word.wav", 3, "", "Word"},
        {"02 word.wav", 3, "", "Word"},
        {"1 word.wav", 0, "", "1 Word"},
        {"2 word.wav", 0, "", "2 Word"},
        {"01 - the beatles - let it be.wav", 5, "The Beatles", "Let It Be"},
        {"03 - abba: waterloo.wav", 5, "Abba", "Waterloo"},
        {"it's \"$HOME\"; x.wav", 0, "", "It's \"$HOME\"; X"},
        {"01.wav", 2, "", "01"},                  // nothing left: the file name stays the title
        {"12.wav", 5, "", "12"},                  // shorter than the prefix
        {"01 - artist - .wav", 5, "Artist", "01 - artist - "},
    };
    for (const name_case &c : cases) {
        track_rec t{};
        track_from_name(c.file, c.cut, t);
        EXPECT_STREQ(c.artist, t.artist) << c.file;
        EXPECT_STREQ(c.title, t.title) << c.file;
    }
}

TEST(WavFolder, LongNamesAreCutToTheFields)
{
    const std::string longname = std::string(300, 'a') + " - " + std::string(300, 'b') + ".wav";
    track_rec t{};
    track_from_name(longname, 0, t);
    EXPECT_EQ(66u, std::string(t.title).size());
    EXPECT_EQ(0u, std::string(t.artist).size());   // the split never reaches past the 255 bytes taken
}

}   // namespace
