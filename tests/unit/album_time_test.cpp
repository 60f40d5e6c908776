#include "album/album_time.hpp"

#include "db/album.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace {

std::string play_time(long seconds)
{
    char out[32];
    format_play_time(out, seconds);
    return out;
}

TEST(FileSeconds, RoundsHalvesAwayFromZero)
{
    EXPECT_EQ(file_seconds(44), 0);                 // a header alone
    EXPECT_EQ(file_seconds(0), 0);
    EXPECT_EQ(file_seconds(176400LL * 61), 61);
    EXPECT_EQ(file_seconds(88200), 1);              // half a second rounds up
    EXPECT_EQ(file_seconds(88199), 0);
    EXPECT_EQ(file_seconds(176400 + 88200), 2);
    EXPECT_EQ(file_seconds(176400 + 88199), 1);
    EXPECT_EQ(file_seconds(176400LL * 3600 * 10), 36000);
}

TEST(FormatPlayTime, MinutesAndSeconds)
{
    EXPECT_EQ(play_time(0), "00:00");
    EXPECT_EQ(play_time(61), "01:01");
    EXPECT_EQ(play_time(1), "00:01");
    EXPECT_EQ(play_time(3599), "59:59");
    EXPECT_EQ(play_time(6000), "100:00");           // minutes are not cut
}

TEST(TotalSeconds, SinglePrecisionPlusAHalfTruncated)
{
    EXPECT_EQ(total_seconds(0.0f), 0);
    EXPECT_EQ(total_seconds(44.0f), 0);
    EXPECT_EQ(total_seconds(88200.0f), 1);
    EXPECT_EQ(total_seconds(176400.0f * 61), 61);
    // Three files of 44 bytes and one of 61 seconds: the headers add nothing here.
    float total = 0;
    for (long long size : {44LL, 44LL, 44LL, 176400LL * 61})
        total += static_cast<float>(size);
    EXPECT_EQ(total_seconds(total), 61);
    // A total above float's exact range is rounded as float keeps it.
    const long long big = 176400LL * 3600 * 30 + 1;   // 30 hours and a byte
    float f = 0;
    f += static_cast<float>(big);
    EXPECT_EQ(total_seconds(f), static_cast<long>(static_cast<float>(big) / 176400.0f + 0.5));
    EXPECT_EQ(total_seconds(f), 108000);
}

TEST(AlbumTimeUnknown, BlankOrZero)
{
    EXPECT_TRUE(album_time_unknown("00:00"));
    EXPECT_TRUE(album_time_unknown("00:00:12"));
    EXPECT_TRUE(album_time_unknown(""));
    EXPECT_TRUE(album_time_unknown("     "));
    EXPECT_TRUE(album_time_unknown(" 12:00"));
    EXPECT_FALSE(album_time_unknown("00:01"));
    EXPECT_FALSE(album_time_unknown("45:12"));
    EXPECT_FALSE(album_time_unknown("0:00"));
}

std::unique_ptr<album_rec> album_of(std::initializer_list<const char *> times)
{
    auto a = std::make_unique<album_rec>();
    std::strcpy(a->entry[0].title, "Album");
    int t = 1;
    for (const char *time : times) {
        std::strcpy(a->entry[t].title, "Song");
        std::strcpy(a->entry[t].time, time);
        ++t;
    }
    return a;
}

TEST(SumAlbumTime, HalfASecondPerTrack)
{
    // 3:10 + 4:20 + 2:45 = 10:15; the walk stops at 4, adding 2 seconds.
    auto a = album_of({"03:10", "04:20", "02:45"});
    sum_album_time(*a);
    EXPECT_STREQ(a->entry[0].time, "10:17");
}

TEST(SumAlbumTime, SecondsCarryIntoMinutes)
{
    auto a = album_of({"00:59", "00:59"});   // 118 s + 3 / 2 = 119
    sum_album_time(*a);
    EXPECT_STREQ(a->entry[0].time, "01:59");
    auto b = album_of({"00:59", "00:59", "00:01"});   // 119 s + 2 = 121
    sum_album_time(*b);
    EXPECT_STREQ(b->entry[0].time, "02:01");
}

TEST(SumAlbumTime, EmptyTimesAddNothingButCountAsTracks)
{
    auto a = album_of({"", "01:00", "", ""});   // 60 s + 5 / 2
    sum_album_time(*a);
    EXPECT_STREQ(a->entry[0].time, "01:02");
}

TEST(SumAlbumTime, NoTracks)
{
    auto a = album_of({});
    sum_album_time(*a);
    EXPECT_STREQ(a->entry[0].time, "00:00");
}

TEST(SumAlbumTime, StopsAtTheFirstEmptyTitle)
{
    auto a = album_of({"01:00", "01:00"});
    std::strcpy(a->entry[4].title, "stale");
    std::strcpy(a->entry[4].time, "50:00");
    sum_album_time(*a);
    EXPECT_STREQ(a->entry[0].time, "02:01");
}

TEST(SumAlbumTime, MinutesOnlyAndLongAlbums)
{
    auto a = album_of({"5", "70:30"});
    sum_album_time(*a);
    EXPECT_STREQ(a->entry[0].time, "75:31");
    auto full = std::make_unique<album_rec>();
    for (int t = 1; t < k_max_entries; ++t) {
        std::strcpy(full->entry[t].title, "x");
        std::strcpy(full->entry[t].time, "2147483647:59");
    }
    sum_album_time(*full);   // 99 huge times never overflow
    EXPECT_EQ(std::string(full->entry[0].time), std::to_string(2147483647LL * 99 + (59 * 99 + 50) / 60) + ":" +
                                                    std::to_string((59 * 99 + 50) % 60));
}

}   // namespace

namespace {

// Albums 1, 2, 5 and 9 in use; max_album 9.
struct timing_table {
    timing_table()
    {
        clear_album_table();
        for (int n : {1, 2, 5, 9})
            album[n].present = 1;
        max_album = 9;
    }
    ~timing_table()
    {
        clear_album_table();
        max_album = 0;
    }
};

TEST(TimingAlbums, StartWithTheGivenAlbumOrTheLastOne)
{
    EXPECT_EQ(first_timing_album(7, 3), 7);
    EXPECT_EQ(first_timing_album(0, 3), 0);
    EXPECT_EQ(first_timing_album(-1, 3), 3);
    EXPECT_EQ(first_timing_album(-1, 0), 1);
}

TEST(TimingAlbums, GoOnAlbumAfterAlbumInUse)
{
    const timing_table table;
    int n = first_timing_album(1, 0);
    std::string visited;
    for (int i = 0; i < 5; ++i) {
        visited += std::to_string(n) + " ";
        n = next_timing_album(n);
    }
    EXPECT_EQ(visited, "1 2 5 9 9 ");   // the last album is offered again
}

TEST(TimingAlbums, RefusedNumbersMoveOnFromWhereTheyAre)
{
    const timing_table table;
    EXPECT_EQ(next_timing_album(3), 5);
    EXPECT_EQ(next_timing_album(6), 9);
    EXPECT_EQ(next_timing_album(0), 1);
    EXPECT_EQ(next_timing_album(-4), 1);
    EXPECT_EQ(next_timing_album(9000), 9);
    EXPECT_EQ(next_timing_album(8), 9);
}

TEST(TimingAlbums, AnEmptyLastAlbumIsStillOffered)
{
    const timing_table table;
    album[9].present = 0;
    EXPECT_EQ(next_timing_album(5), 9);
}

}   // namespace
