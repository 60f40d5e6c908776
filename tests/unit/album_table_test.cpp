#include "db/album.hpp"
#include "proto/msg_types.hpp"

#include <gtest/gtest.h>

#include <cstring>

namespace {

server_msg &message(int album_no, const char *text)
{
    static server_msg m;
    m.type = ALBUM_WRITTEN;
    m.album = album_no;
    set_text(m, text);
    m.length = static_cast<std::uint32_t>(std::strlen(m.text));
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
    read_album_data(&message(7, "A\nT\n01:00 - 0 1 0 0\nA\nS\n01:00 S 0 1 0 0\n"));
    EXPECT_EQ(album[7].present, 1);
    EXPECT_EQ(album[7].tracks, 1);
    EXPECT_EQ(max_album, 7);
    read_album_data(&message(9003, "R\nT\n01:00 - 0 1 0 0\n"));
    EXPECT_EQ(album[9003].present, 1);
    EXPECT_EQ(max_album, 7);   // reserved numbers never raise it
}

TEST(AlbumTable, NumbersOutsideTheTableAreIgnored)
{
    clear_album_table();
    read_album_data(&message(9021, "A\nT\n01:00 - 0 1 0 0\n"));
    read_album_data(&message(0xFFFF, "A\nT\n01:00 - 0 1 0 0\n"));
    for (const album_rec &a : album)
        ASSERT_EQ(a.present, 0);
}

TEST(AlbumTable, ClearingEmptiesEverySlot)
{
    read_album_data(&message(1, "A\nT\n01:00 - 0 1 0 0\n"));
    read_album_data(&message(9020, "A\nT\n01:00 - 0 1 0 0\n"));
    album[4500].entry[99].plays = 5;
    clear_album_table();
    EXPECT_EQ(album[1].present, 0);
    EXPECT_STREQ(album[1].entry[0].artist, "");
    EXPECT_EQ(album[9020].present, 0);
    EXPECT_EQ(album[4500].entry[99].plays, 0);
}

}   // namespace
