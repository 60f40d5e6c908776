// Every order of link_track and link_history, their ties, and build_chain in
// each order on small hand-made lists.
#include "browse/chain.hpp"
#include "browse_library.hpp"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

using namespace browse_test;
using pairs = std::vector<std::pair<int, int>>;

// Links album 1's tracks in the given arrival order one by one.
pairs linked(int order, const std::vector<int> &tracks, int keep = 1)
{
    chain_list head;
    for (int t : tracks)
        EXPECT_EQ(link_track(head, order, 1, t, 0, keep), 1);
    pairs p = numbers_of(head.head());
    head.reset();
    return p;
}

// The same list built in one go.
pairs built(int order, const std::vector<int> &tracks, int keep = 1)
{
    std::vector<chain_entry> entries;
    for (int t : tracks)
        entries.push_back({.album_no = 1, .track_no = t, .key = 0});
    chain_list head;
    EXPECT_EQ(build_chain(head, order, entries, keep), static_cast<int>(tracks.size()));
    pairs p = numbers_of(head.head());
    head.reset();
    return p;
}

pairs tracks_of(const std::vector<int> &tracks)
{
    pairs p;
    for (int t : tracks)
        p.emplace_back(1, t);
    return p;
}

class ChainOrder : public ::testing::Test {
protected:
    void SetUp() override { reset_table(); }
    void TearDown() override { reset_table(); }
};

TEST_F(ChainOrder, NumericalOrderByAlbumThenTrackTiesInArrivalOrder)
{
    put_album(2, {"A", "Two"}, {{"A", "x"}, {"A", "y"}});
    put_album(1, {"A", "One"}, {{"A", "x"}, {"A", "y"}, {"A", "z"}});
    const std::vector<chain_entry> entries = {{2, 2, 0}, {1, 3, 0}, {2, 1, 0}, {1, 1, 0}, {1, 3, 7}, {1, 2, 0}};
    chain_list head;
    for (const chain_entry &e : entries)
        ASSERT_EQ(link_track(head, k_order_numeric, e.album_no, e.track_no, e.key, 1), 1);
    EXPECT_EQ(numbers_of(head.head()), (pairs{{1, 1}, {1, 2}, {1, 3}, {1, 3}, {2, 1}, {2, 2}}));
    // The two copies of 1/3 keep their arrival order: the one without a key first.
    const chain_item *third = head.head()->next->next;
    EXPECT_EQ(third->key, 0);
    EXPECT_EQ(third->next->key, 7);
    chain_list fast;
    ASSERT_EQ(build_chain(fast, k_order_numeric, entries, 1), 6);
    EXPECT_EQ(list_of(fast.head()), list_of(head.head()));
    head.reset();
    fast.reset();
}

TEST_F(ChainOrder, ArtistOrderDropsTheInAnyCaseAndThenSortsByTitle)
{
    put_album(1, {"V", "Mix"},
              {{"The Zombies", "b"},
               {"abba", "z"},
               {"THE beatles", "Help"},
               {"Beatles", "Abbey"},
               {"Theatre", "a"},
               {"the Beatles", "help"},
               {"Thee Oh", "x"}});
    // "Theatre" and "Thee Oh" keep their letters: only "the " with its blank is dropped.
    const pairs want = tracks_of({2, 4, 3, 6, 5, 7, 1});
    EXPECT_EQ(linked(k_order_artist, {1, 2, 3, 4, 5, 6, 7}), want);
    EXPECT_EQ(built(k_order_artist, {1, 2, 3, 4, 5, 6, 7}), want);
}

TEST_F(ChainOrder, TitleOrderThenArtist)
{
    put_album(1, {"V", "Mix"},
              {{"Zed", "Song"}, {"the Abc", "song"}, {"Abd", "Anthem"}, {"abc", "SONG"}, {"Mid", "b"}});
    const pairs want = tracks_of({3, 5, 2, 4, 1});
    EXPECT_EQ(linked(k_order_title, {1, 2, 3, 4, 5}), want);
    EXPECT_EQ(built(k_order_title, {1, 2, 3, 4, 5}), want);
}

TEST_F(ChainOrder, LengthOrderComparesTheTextNotTheTime)
{
    put_album(1, {"V", "Mix"},
              {{"A", "a", "9:59"}, {"A", "b", "10:05"}, {"A", "c", "03:00"}, {"A", "d", "10:05"}, {"A", "e", "9:59"}});
    // "10:05" sorts before "9:59".
    const pairs want = tracks_of({3, 2, 4, 1, 5});
    EXPECT_EQ(linked(k_order_length, {1, 2, 3, 4, 5}), want);
    EXPECT_EQ(built(k_order_length, {1, 2, 3, 4, 5}), want);
}

TEST_F(ChainOrder, CdIdOrderComparesTheLowThirtyTwoBitsUnsigned)
{
    put_album(1, {"V", "Mix"},
              {{.artist = "A", .title = "a", .cd_ident = 0x1'0000'0005ULL},
               {.artist = "A", .title = "b", .cd_ident = 0xFFFFFFF0ULL},
               {.artist = "A", .title = "c", .cd_ident = 0x7'0000'0001ULL},
               {.artist = "A", .title = "d", .cd_ident = 0x5ULL}});
    const pairs want = tracks_of({3, 1, 4, 2});
    EXPECT_EQ(linked(k_order_cdid, {1, 2, 3, 4}), want);
    EXPECT_EQ(built(k_order_cdid, {1, 2, 3, 4}), want);
}

TEST_F(ChainOrder, PlaysOrderIsSigned)
{
    put_album(1, {"V", "Mix"},
              {{.artist = "A", .title = "a", .plays = 5},
               {.artist = "A", .title = "b", .plays = -2},
               {.artist = "A", .title = "c", .plays = 5},
               {.artist = "A", .title = "d", .plays = 0}});
    const pairs want = tracks_of({2, 4, 1, 3});
    EXPECT_EQ(linked(k_order_plays, {1, 2, 3, 4}), want);
    EXPECT_EQ(built(k_order_plays, {1, 2, 3, 4}), want);
}

TEST_F(ChainOrder, OriginalAndInitialOrdersAppendAndReverseInsertsAtTheHead)
{
    put_album(1, {"V", "Mix"}, {{"C", "c"}, {"A", "a"}, {"B", "b"}});
    EXPECT_EQ(linked(k_order_original, {2, 3, 1}), tracks_of({2, 3, 1}));
    EXPECT_EQ(linked(k_order_append, {2, 3, 1}), tracks_of({2, 3, 1}));
    EXPECT_EQ(linked(k_order_reverse, {2, 3, 1}), tracks_of({1, 3, 2}));
    EXPECT_EQ(built(k_order_original, {2, 3, 1}), tracks_of({2, 3, 1}));
    EXPECT_EQ(built(k_order_append, {2, 3, 1}), tracks_of({2, 3, 1}));
    EXPECT_EQ(built(k_order_reverse, {2, 3, 1}), tracks_of({1, 3, 2}));
}

TEST_F(ChainOrder, KeyOrderAndDefaultKey)
{
    put_album(1, {"V", "Mix"},
              {{.artist = "A", .title = "a", .cd_ident = 50},
               {.artist = "A", .title = "b", .cd_ident = 10},
               {.artist = "A", .title = "c", .cd_ident = 30}});
    chain_list head;
    ASSERT_EQ(link_track(head, k_order_history_time, 1, 1, 0, 1), 1);    // key 50 from the record
    ASSERT_EQ(link_track(head, k_order_history_time, 1, 2, -4, 1), 1);   // a given key wins
    ASSERT_EQ(link_track(head, k_order_history_time, 1, 3, 0, 1), 1);    // 30
    EXPECT_EQ(numbers_of(head.head()), tracks_of({2, 3, 1}));
    EXPECT_EQ(head.head()->key, -4);
    EXPECT_EQ(head.head()->next->key, 30);
    EXPECT_EQ(head.head()->next->next->key, 50);
    EXPECT_EQ(head.head()->track, &album[1].entry[2]);
    head.reset();
}

TEST_F(ChainOrder, AnAlbumElementUsesTheAlbumHeader)
{
    put_album(3, {"Zappa", "Hot Rats", "43:10"}, {{"Zappa", "Peaches", "03:00"}});
    put_album(4, {"Abba", "Gold", "70:00"}, {{"Abba", "SOS", "03:00"}});
    chain_list head;
    ASSERT_EQ(link_track(head, k_order_artist, 3, 0, 0, 0), 1);
    ASSERT_EQ(link_track(head, k_order_artist, 4, 0, 0, 0), 1);
    EXPECT_EQ(numbers_of(head.head()), (pairs{{4, 0}, {3, 0}}));
    EXPECT_STREQ(head.head()->track->time, "70:00");
    head.reset();
}

TEST_F(ChainOrder, NumbersOutsideTheTableAreIgnored)
{
    chain_list head;
    EXPECT_EQ(link_track(head, k_order_append, 9021, 1, 0, 1), 0);
    EXPECT_EQ(link_track(head, k_order_append, -1, 1, 0, 1), 0);
    EXPECT_EQ(link_track(head, k_order_append, 1, 100, 0, 1), 0);
    EXPECT_EQ(head.head(), nullptr);
    const std::vector<chain_entry> entries = {{9021, 1, 0}, {1, -1, 0}};
    EXPECT_EQ(build_chain(head, k_order_artist, entries, 0), 0);
    EXPECT_EQ(head.head(), nullptr);
}

TEST_F(ChainOrder, HistoryOrdersCopyTheTextsAndAppendForCdIdAndPlays)
{
    put_album(1, {"V", "Mix"}, {{"Zed", "x"}});
    chain_list head;
    ASSERT_EQ(link_history(head, k_order_artist, 1, 1, 300, "Zed", "b", "03:00"), 1);
    ASSERT_EQ(link_history(head, k_order_artist, 2, 5, 100, "the abc", "a", "04:00"), 1);
    ASSERT_EQ(link_history(head, k_order_artist, 3, 2, 200, "Abc", "A", "02:00"), 1);
    EXPECT_EQ(numbers_of(head.head()), (pairs{{2, 5}, {3, 2}, {1, 1}}));
    EXPECT_STREQ(head.head()->track->artist, "the abc");
    EXPECT_STREQ(head.head()->track->title, "a");
    EXPECT_STREQ(head.head()->track->time, "04:00");
    EXPECT_NE(head.head()->next->next->track, &album[1].entry[1]);   // a private copy, not the record

    chain_list by_time;
    chain_list by_plays;
    for (const chain_item *e = head.head(); e != nullptr; e = e->next) {
        link_history(by_time, k_order_history_time, e->album_no, e->track_no, e->key, e->track->artist,
                     e->track->title, e->track->time);
        link_history(by_plays, k_order_plays, e->album_no, e->track_no, e->key, e->track->artist, e->track->title,
                     e->track->time);
    }
    EXPECT_EQ(numbers_of(by_time.head()), (pairs{{2, 5}, {3, 2}, {1, 1}}));
    EXPECT_EQ(by_time.head()->key, 100);
    EXPECT_EQ(numbers_of(by_plays.head()), numbers_of(head.head()));

    std::vector<history_item> entries;
    for (const chain_item *e = head.head(); e != nullptr; e = e->next)
        entries.push_back({e->album_no, e->track_no, e->key, e->track->artist, e->track->title, e->track->time});
    for (int order : {k_order_numeric, k_order_artist, k_order_title, k_order_length, k_order_cdid, k_order_plays,
                      k_order_original, k_order_append, k_order_history_time, k_order_reverse}) {
        chain_list walk;
        for (const history_item &h : entries)
            link_history(walk, order, h.album_no, h.track_no, h.key, h.artist, h.title, h.length);
        chain_list fast;
        ASSERT_EQ(build_history_chain(fast, order, entries), 3);
        EXPECT_EQ(numbers_of(fast.head()), numbers_of(walk.head())) << "order " << order;
        walk.reset();
        fast.reset();
    }
    head.reset();
    by_time.reset();
    by_plays.reset();
}

TEST_F(ChainOrder, RebuildingWithReverseTwiceRestoresTheList)
{
    put_album(1, {"V", "Mix"}, {{"C", "c"}, {"A", "a"}, {"B", "b"}, {"A", "a"}});
    chain_list head;
    for (int t : {3, 1, 4, 2})
        link_track(head, k_order_artist, 1, t, 0, 1);
    std::vector<chain_entry> again;
    for (const chain_item *e = head.head(); e != nullptr; e = e->next)
        again.push_back({e->album_no, e->track_no, e->key});
    chain_list reversed;
    build_chain(reversed, k_order_reverse, again, 1);
    std::vector<chain_entry> back;
    for (const chain_item *e = reversed.head(); e != nullptr; e = e->next)
        back.push_back({e->album_no, e->track_no, e->key});
    chain_list restored;
    build_chain(restored, k_order_reverse, back, 1);
    EXPECT_EQ(list_of(restored.head()), list_of(head.head()));
    head.reset();
    reversed.reset();
    restored.reset();
}

TEST_F(ChainOrder, BuildingOntoAListThatIsNotEmptyLinksOneByOne)
{
    put_album(1, {"V", "Mix"}, {{"C", "c"}, {"A", "a"}, {"B", "b"}});
    chain_list head;
    link_track(head, k_order_artist, 1, 1, 0, 1);
    const std::vector<chain_entry> more = {{1, 3, 0}, {1, 2, 0}};
    EXPECT_EQ(build_chain(head, k_order_artist, more, 1), 2);
    EXPECT_EQ(numbers_of(head.head()), tracks_of({2, 3, 1}));
    head.reset();
}

TEST(ChainCompare, LengthSecondsReadsLikePercentDColonPercentD)
{
    EXPECT_EQ(length_seconds("03:15"), 195);
    EXPECT_EQ(length_seconds("3:15"), 195);
    EXPECT_EQ(length_seconds(" 10:05"), 605);
    EXPECT_EQ(length_seconds("7"), 420);
    EXPECT_EQ(length_seconds("7 :10"), 420);
    EXPECT_EQ(length_seconds("1: 10"), 70);
    EXPECT_EQ(length_seconds(""), 0);
    EXPECT_EQ(length_seconds("ab:10"), 0);
    EXPECT_EQ(length_seconds("-1:30"), -30);
    EXPECT_EQ(length_seconds("99999999999999999999:00"), 60'000'000'000'000LL);   // held, never overflowing
}

TEST(ChainCompare, ArtistsAndFoldedTexts)
{
    EXPECT_EQ(compare_artists("The Who", "who"), 0);
    EXPECT_EQ(compare_artists("THE WHO", "the who"), 0);
    EXPECT_LT(compare_artists("Theatre", "The Who"), 0);   // "theatre" < "who"
    EXPECT_GT(compare_artists("The", "Abc"), 0);           // "the" has no blank: kept
    EXPECT_EQ(compare_folded("Help!", "HELP!"), 0);
    EXPECT_LT(compare_folded("abc", "abcd"), 0);
    EXPECT_GT(compare_folded("b", "A"), 0);
}

}   // namespace
