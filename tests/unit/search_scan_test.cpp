#include "browse/search_scan.hpp"
#include "browse_library.hpp"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

using namespace browse_test;
using pairs = std::vector<std::pair<int, int>>;

pairs numbers(const std::vector<chain_entry> &hits)
{
    pairs p;
    for (const chain_entry &h : hits)
        p.emplace_back(h.album_no, h.track_no);
    return p;
}

class SearchScan : public ::testing::Test {
protected:
    void SetUp() override
    {
        reset_table();
        put_album(1, {"The Beatles", "Help!"},
                  {{.artist = "The Beatles", .title = "Help!"},
                   {.artist = "The Beatles", .title = "Yesterday", .status = 'U'},
                   {.artist = "Beatles", .title = "HELP me"}});
        put_album(3, {"Various", "Hits"},
                  {{.artist = "the beatle", .title = "Yellow"},
                   {.artist = "Abba", .title = "help"},
                   {.artist = "Beat Happening", .title = "Foo"}});
    }
    void TearDown() override { reset_table(); }
};

TEST_F(SearchScan, ArtistTitleAndBoth)
{
    std::vector<chain_entry> hits;
    find_tracks(hits, "beatle", "", 0, true, max_album);
    EXPECT_EQ(numbers(hits), (pairs{{1, 1}, {1, 3}, {3, 1}}));   // the unplayable track is left out
    hits.clear();
    find_tracks(hits, "", "help", 0, true, max_album);
    EXPECT_EQ(numbers(hits), (pairs{{1, 1}, {1, 3}, {3, 2}}));
    hits.clear();
    find_tracks(hits, "beat", "help", 0, true, max_album);
    EXPECT_EQ(numbers(hits), (pairs{{1, 1}, {1, 3}}));
    hits.clear();
    find_tracks(hits, "", "", 0, true, max_album);
    EXPECT_TRUE(hits.empty());
}

TEST_F(SearchScan, ExactCaseAndUnplayableTracks)
{
    std::vector<chain_entry> hits;
    find_tracks(hits, "Beatles", "", 1, true, max_album);
    EXPECT_EQ(numbers(hits), (pairs{{1, 1}, {1, 3}}));
    hits.clear();
    find_tracks(hits, "", "Yesterday", 1, false, max_album);
    EXPECT_EQ(numbers(hits), (pairs{{1, 2}}));
}

TEST_F(SearchScan, GlobalSearchListsAlbumsToo)
{
    std::vector<chain_entry> hits;
    find_in_album(hits, 1, "Help");
    EXPECT_EQ(numbers(hits), (pairs{{1, 0}, {1, 1}}));   // exact case: "HELP me" is not a hit
    hits.clear();
    find_in_album(hits, 3, "Hits");
    EXPECT_EQ(numbers(hits), (pairs{{3, 0}}));
    hits.clear();
    find_in_album(hits, 3, "");
    EXPECT_TRUE(hits.empty());
}

TEST_F(SearchScan, MoreByThisArtistSkipsTheOwnTrack)
{
    std::vector<chain_entry> hits;
    find_more_by_artist(hits, "The Beatles", 1, 1, max_album);
    // "Beatles" and "the beatle" (rest "beatle": 6+7, distance 1 -> 92.3) are alike; the own track is not listed.
    EXPECT_EQ(numbers(hits), (pairs{{1, 2}, {1, 3}, {3, 1}}));
    EXPECT_TRUE(artist_alike("THE BEATLES", "Beatles"));
    EXPECT_FALSE(artist_alike("Beat Happening", "Beatles"));
    EXPECT_FALSE(artist_alike("Theatles", "Beatles"));   // no blank after "the": 87.5 as it stands
    EXPECT_FALSE(artist_alike("", "Beatles"));
}

}   // namespace
