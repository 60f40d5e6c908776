// The playlist transfer text as the console reads it from a reply.
#include "playlist/plist_text.hpp"
#include "proto/transfer_text.hpp"
#include "proto/wire.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace {

std::string pairs_of(const std::vector<plist_entry> &v)
{
    std::string out;
    for (const plist_entry &e : v)
        out += std::to_string(e.album) + "/" + std::to_string(e.track) + " ";
    return out;
}

TEST(PlistTransfer, EightCharacterRecordsInTheServersOrder)
{
    const std::string text = "0003 02 0001 01 0002 09 ";
    EXPECT_EQ(pairs_of(plist_records(text.data(), text.size())), "3/2 1/1 2/9 ");
}

TEST(PlistTransfer, TheRunEndsAtTheNulEvenWhenTheLengthGoesOn)
{
    std::string text = "0003 02 0001 01 ";
    text += '\0';
    text += "0002 09 0004 04 ";
    EXPECT_EQ(pairs_of(plist_records(text.data(), text.size())), "3/2 1/1 ");
}

TEST(PlistTransfer, AnEmptyTextIsAnEmptyList)
{
    EXPECT_TRUE(plist_records("", 0).empty());
    EXPECT_TRUE(plist_records("\0" "0001 01 ", 9).empty());
}

TEST(PlistTransfer, AFullReplyOf32768BytesGivesAll4096Records)
{
    auto msg = std::make_unique<server_msg>();
    std::size_t used = 0;
    for (int i = 0; i < 4096; ++i)
        ASSERT_TRUE(append_plist_record(msg->text, sizeof msg->text, used, i % 3000 + 1, i % 99 + 1));
    ASSERT_EQ(used, std::size_t{32768});
    msg->length = static_cast<std::uint32_t>(used);
    const auto v = plist_records(msg->text, msg->length);
    ASSERT_EQ(v.size(), 4096u);
    EXPECT_EQ(v.front().album, 1);
    EXPECT_EQ(v.front().track, 1);
    EXPECT_EQ(v.back().album, 4095 % 3000 + 1);
    EXPECT_EQ(v.back().track, 4095 % 99 + 1);
}

TEST(PlistTransfer, AFullTextWithoutTerminatorIsNotReadPastItsLength)
{
    // 32768 bytes of records in a buffer of exactly that size: nothing after it is touched.
    auto text = std::make_unique<char[]>(32768);
    for (int i = 0; i < 4096; ++i)
        std::memcpy(text.get() + i * 8, "0007 03 ", 8);
    EXPECT_EQ(plist_records(text.get(), 32768).size(), 4096u);
}

TEST(PlistTransfer, PairsTheAlbumTableCannotHoldAreLeftOut)
{
    const std::string text = "9999 01 0005 02 0001 -1 0006 00 ";
    EXPECT_EQ(pairs_of(plist_records(text.data(), text.size())), "5/2 6/0 ");
}

TEST(PlistTransfer, AGarbledRecordEndsTheList)
{
    const std::string text = "0005 02 junkjunk0006 01 ";
    EXPECT_EQ(pairs_of(plist_records(text.data(), text.size())), "5/2 ");
    const std::string short_tail = "0005 02 0006";
    EXPECT_EQ(pairs_of(plist_records(short_tail.data(), short_tail.size())), "5/2 ");
}

}   // namespace
