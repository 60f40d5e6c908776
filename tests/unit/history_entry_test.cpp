// History transfer texts as the history screens read them.
#include "playlist/plist_text.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

// A history entry laid out by columns: time and album/track, artist at 17, title at 48, length at 79.
std::string entry(const std::string &head, const std::string &artist, const std::string &title,
                  const std::string &length)
{
    std::string line = head;
    line.resize(17, ' ');
    line += artist;
    line.resize(48, ' ');
    line += title;
    line.resize(79, ' ');
    line += length;
    return line;
}

TEST(HistoryTransfer, FieldsComeFromColumns17_48And79)
{
    const std::string text = entry("6543210A 0012/03", "Some Artist", "Some Title", "03:45");
    history_entry e;
    ASSERT_TRUE(history_record(text, e));
    EXPECT_EQ(e.time_played, 0x6543210A);
    EXPECT_EQ(e.album, 12);
    EXPECT_EQ(e.track, 3);
    EXPECT_STREQ(e.artist, "Some Artist");
    EXPECT_STREQ(e.title, "Some Title");
    EXPECT_STREQ(e.length, "03:45");
}

TEST(HistoryTransfer, ArtistAndTitleAreCutTo29AndStripped)
{
    // The artist's 29 columns end at the blank before " - "; the title runs up to column 77.
    const std::string text = entry("1 1/1", std::string(31, 'a'), std::string(31, 'b'), "12:34");
    history_entry e;
    ASSERT_TRUE(history_record(text, e));
    EXPECT_EQ(std::string(e.artist), std::string(29, 'a'));
    EXPECT_EQ(std::string(e.title), std::string(29, 'b'));
    const std::string padded = entry("1 1/1", "Artist   ", "Title  ", "01:00");
    ASSERT_TRUE(history_record(padded, e));
    EXPECT_STREQ(e.artist, "Artist");
    EXPECT_STREQ(e.title, "Title");
}

TEST(HistoryTransfer, TheLengthIsCutToFiveColumns)
{
    const std::string text = entry("1 1/1", "A", "T", "123:456]");
    history_entry e;
    ASSERT_TRUE(history_record(text, e));
    EXPECT_STREQ(e.length, "123:4");
}

TEST(HistoryTransfer, TheTimeIsHexadecimalSeconds)
{
    history_entry e;
    ASSERT_TRUE(history_record(entry("FFFFFFFF 0001/01", "A", "T", "01:00"), e));
    EXPECT_EQ(e.time_played, 0xFFFFFFFFLL);
    ASSERT_TRUE(history_record(entry("0 1/2", "A", "T", "01:00"), e));
    EXPECT_EQ(e.time_played, 0);
    EXPECT_EQ(e.track, 2);
}

TEST(HistoryTransfer, TextsEndingBeforeAColumnLeaveThatFieldEmpty)
{
    history_entry e;
    ASSERT_TRUE(history_record("5A 0002/04", e));
    EXPECT_STREQ(e.artist, "");
    EXPECT_STREQ(e.title, "");
    EXPECT_STREQ(e.length, "");
    std::string to_title = entry("5A 0002/04", "Artist", "", "");
    to_title.resize(50);
    ASSERT_TRUE(history_record(to_title, e));
    EXPECT_STREQ(e.artist, "Artist");
    EXPECT_STREQ(e.title, "");
    EXPECT_STREQ(e.length, "");
}

TEST(HistoryTransfer, MalformedEntriesAreNotListedAndNeverCrash)
{
    history_entry e;
    EXPECT_FALSE(history_record("", e));
    EXPECT_FALSE(history_record("not an entry at all", e));
    EXPECT_FALSE(history_record("12AB 0005", e));
    EXPECT_FALSE(history_record(entry("12AB 9999/01", "A", "T", "01:00"), e));   // no such album slot
    EXPECT_FALSE(history_record(entry("12AB 0001/100", "A", "T", "01:00"), e));  // no such track slot
    const std::string huge(40000, 'x');
    EXPECT_FALSE(history_record(huge, e));
    const std::string nul_inside("1 1/1\0 and more", 15);
    EXPECT_TRUE(history_record(nul_inside, e));
}

}   // namespace
