#include "db/album.hpp"
#include "proto/msg_types.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace {

std::unique_ptr<server_msg> message(int album_no, const char *text)
{
    auto m = std::make_unique<server_msg>();
    m->type = ALBUM_WRITTEN;
    m->album = album_no;
    set_text(*m, text);
    m->length = static_cast<std::uint32_t>(std::strlen(m->text));
    return m;
}

TEST(AlbumTable, RecordLayout)
{
    EXPECT_EQ(sizeof(track_rec), 208u);
    EXPECT_EQ(sizeof(album) / sizeof(album[0]), 9021u);
}

TEST(AlbumTable, ReadAlbumDataFillsTheSlotAndRaisesMaxAlbum)
{
    clear_album_table();
    max_album = 5;
    read_album_data(message(7, "A\nT\n01:00 - 0 1 0 0\nA\nS\n01:00 S 0 1 0 0\n").get());
    EXPECT_EQ(album[7].present, 1);
    EXPECT_EQ(album[7].tracks, 1);
    EXPECT_EQ(max_album, 7);
    read_album_data(message(9003, "R\nT\n01:00 - 0 1 0 0\n").get());
    EXPECT_EQ(album[9003].present, 1);
    EXPECT_EQ(max_album, 7);   // reserved numbers never raise it
}

TEST(AlbumTable, NumbersOutsideTheTableAreIgnored)
{
    clear_album_table();
    read_album_data(message(9021, "A\nT\n01:00 - 0 1 0 0\n").get());
    read_album_data(message(0xFFFF, "A\nT\n01:00 - 0 1 0 0\n").get());
    for (const album_rec &a : album)
        ASSERT_EQ(a.present, 0);
}

TEST(AlbumTable, ClearingEmptiesEverySlot)
{
    read_album_data(message(1, "A\nT\n01:00 - 0 1 0 0\n").get());
    read_album_data(message(9020, "A\nT\n01:00 - 0 1 0 0\n").get());
    album[4500].entry[99].plays = 5;
    clear_album_table();
    EXPECT_EQ(album[1].present, 0);
    EXPECT_STREQ(album[1].entry[0].artist, "");
    EXPECT_EQ(album[9020].present, 0);
    EXPECT_EQ(album[4500].entry[99].plays, 0);
}

// Bytes of the table that are resident, by whole pages.
std::size_t resident_table_bytes()
{
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto begin = reinterpret_cast<std::uintptr_t>(album) & ~(page - 1);
    const auto end = (reinterpret_cast<std::uintptr_t>(album) + sizeof album + page - 1) & ~(page - 1);
    std::vector<unsigned char> in_core((end - begin) / page);
    if (mincore(reinterpret_cast<void *>(begin), end - begin, in_core.data()) != 0)
        return SIZE_MAX;
    std::size_t pages = 0;
    for (const unsigned char c : in_core)
        pages += c & 1U;
    return pages * page;
}

TEST(AlbumTable, ClearingHandsThePagesBackAndNeverTouchesTheRest)
{
    for (int n = 0; n < k_album_slots; ++n)   // a page of every slot at least: some 37 MB
        album[n].entry[50].plays = n;
    const std::size_t touched = resident_table_bytes();
    ASSERT_NE(touched, SIZE_MAX);
    EXPECT_GT(touched, std::size_t{32} << 20);
    clear_album_table();
    // What stays is at most the pages at the two ends (large pages where the kernel gives them).
    EXPECT_LE(resident_table_bytes(), std::size_t{8} << 20);
    EXPECT_EQ(album[4500].entry[50].plays, 0);
    EXPECT_EQ(album[0].entry[50].plays, 0);
    EXPECT_EQ(album[9000].entry[50].plays, 0);
}

// Loads taken by the checks below: the albums asked for, and whether the "server" has them.
std::vector<int> loads;
bool server_has_it;

int fake_load(int number)
{
    loads.push_back(number);
    if (!server_has_it)
        return 0;
    album[number].present = 1;
    return 1;
}

int check(const char *text, int reload, int &typed)
{
    loads.clear();
    return checked_album_number(text, reload, fake_load, typed);
}

TEST(AlbumNumberCheck, ZeroIsNoneWithoutAnyCheck)
{
    clear_album_table();
    int typed = -1;
    EXPECT_EQ(check("0", 1, typed), 0);
    EXPECT_EQ(check("", 1, typed), 0);
    EXPECT_EQ(check("abc", 1, typed), 0);
    EXPECT_TRUE(loads.empty());
}

TEST(AlbumNumberCheck, NumbersPastTheTypedRangeAreInvalid)
{
    clear_album_table();
    album[9001].present = 1;
    server_has_it = true;
    int typed = 0;
    EXPECT_EQ(check("9001", 1, typed), -2);
    EXPECT_EQ(typed, 9001);
    EXPECT_EQ(check("-4", 1, typed), -2);
    EXPECT_EQ(typed, -4);
    EXPECT_TRUE(loads.empty());
}

TEST(AlbumNumberCheck, AbsentAlbumIsReadFirstOnlyWithTheReloadFlag)
{
    clear_album_table();
    max_album = 10;
    server_has_it = true;
    int typed = 0;
    EXPECT_EQ(check("0042", 0, typed), -2);
    EXPECT_EQ(typed, 42);
    EXPECT_TRUE(loads.empty());
    EXPECT_EQ(check("0042", 1, typed), 42);
    EXPECT_EQ(loads, std::vector<int>{42});
    EXPECT_EQ(max_album, 42);
    // Once present it is valid without asking again.
    EXPECT_EQ(check("42", 0, typed), 42);
    EXPECT_TRUE(loads.empty());
}

TEST(AlbumNumberCheck, AlbumTheServerDoesNotHaveIsInvalid)
{
    clear_album_table();
    server_has_it = false;
    int typed = 0;
    EXPECT_EQ(check("7", 1, typed), -2);
    EXPECT_EQ(loads, std::vector<int>{7});
}

TEST(AlbumNumberCheck, OfTheReservedNumbersOnly9000PassesAndItRaisesMaxAlbum)
{
    clear_album_table();
    max_album = 3;
    for (int n = k_reserved_first; n < k_reserved_first + k_reserved_count; ++n)
        album[n].present = 1;
    server_has_it = true;
    int typed = 0;
    EXPECT_EQ(check("9000", 0, typed), 9000);
    EXPECT_EQ(max_album, 9000);
    for (int n = k_reserved_first + 1; n < k_reserved_first + k_reserved_count; ++n)
        EXPECT_EQ(check(std::to_string(n).c_str(), 1, typed), -2) << n;
}

}   // namespace
