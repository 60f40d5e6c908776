#include "proto/transfer_text.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

std::vector<std::pair<int, int>> records(const std::string &text)
{
    std::vector<std::pair<int, int>> out;
    for_each_plist_record(text.data(), text.size(), [&](int a, int t) { out.emplace_back(a, t); });
    return out;
}

TEST(PlaylistTransfer, EightCharacterRecordsEndAtTheNul)
{
    std::string text = "0012 03 0007 11 ";
    text += '\0';
    text += "0099 01 ";
    const auto r = records(text);
    ASSERT_EQ(r.size(), 2u);
    EXPECT_EQ(r[0], std::make_pair(12, 3));
    EXPECT_EQ(r[1], std::make_pair(7, 11));
}

TEST(PlaylistTransfer, AFullTextOf4096Records)
{
    char buf[32768 + 1];
    std::size_t used = 0;
    for (int i = 0; i < 4096; ++i)
        ASSERT_TRUE(append_plist_record(buf, sizeof buf, used, i % 3000 + 1, i % 99 + 1));
    EXPECT_EQ(used, 32768u);
    EXPECT_FALSE(append_plist_record(buf, sizeof buf, used, 1, 1));
    const auto r = records(std::string(buf, used));
    ASSERT_EQ(r.size(), 4096u);
    EXPECT_EQ(r[4095], std::make_pair(4095 % 3000 + 1, 4095 % 99 + 1));
}

TEST(PlaylistTransfer, AShortOrGarbledRecordEndsTheList)
{
    EXPECT_EQ(records("0012 03 0013").size(), 1u);   // the last record has no track
    EXPECT_EQ(records("0012 03 xxxxxxxx0001 01 ").size(), 1u);
    EXPECT_EQ(records("").size(), 0u);
}

TEST(PlaylistTransfer, RecordNeverReadsPastEightCharacters)
{
    // Unbounded, "%d %d" would read 30005 as the track.
    const auto r = records("0012 0030005 06 ");
    ASSERT_EQ(r.size(), 2u);
    EXPECT_EQ(r[0], std::make_pair(12, 3));
    EXPECT_EQ(r[1], std::make_pair(5, 6));
}

TEST(HistoryEntry, ColumnsOfALine)
{
    char line[256];
    format_plist_line(line, sizeof line, 0x6543210A, 12, 3, "An Artist", "A Title", "03:45");
    EXPECT_EQ(std::string(line),
              "6543210A 0012/03 An Artist                    - A Title                       [03:45]");
    history_entry e;
    ASSERT_TRUE(parse_history_entry(line, e));
    EXPECT_EQ(e.time_played, 0x6543210A);
    EXPECT_EQ(e.album, 12);
    EXPECT_EQ(e.track, 3);
    EXPECT_STREQ(e.artist, "An Artist");
    EXPECT_STREQ(e.title, "A Title");
    EXPECT_STREQ(e.length, "03:45");
}

TEST(HistoryEntry, LongFieldsAreCutTo29)
{
    char line[256];
    format_plist_line(line, sizeof line, 1, 1, 1, std::string(40, 'a').c_str(), std::string(40, 'b').c_str(), "10:00");
    history_entry e;
    parse_history_entry(line, e);
    EXPECT_EQ(std::string(e.artist), std::string(28, 'a'));   // 28 letters and the blank before " - "
    EXPECT_EQ(std::string(e.title), std::string(29, 'b'));
}

TEST(HistoryEntry, ShortOrMalformedEntriesNeverCrash)
{
    history_entry e;
    EXPECT_FALSE(parse_history_entry("", e));
    EXPECT_STREQ(e.artist, "");
    EXPECT_FALSE(parse_history_entry("zz", e));
    EXPECT_TRUE(parse_history_entry("1A 5/6 and then a short tail", e));
    EXPECT_EQ(e.album, 5);
    EXPECT_STREQ(e.artist, " short tail");
    EXPECT_STREQ(e.title, "");
    EXPECT_STREQ(e.length, "");
}

}   // namespace
