#include "proto/msg_types.hpp"
#include "server/modes.hpp"
#include "server/store.hpp"
#include "test_root.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

struct Modes : ::testing::Test {
    temp_root root;
    album_store s;
    std::mt19937 rng{42};
    dj_memory memory;

    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(store_open(s, root.path("zerka.db"), error)) << error;
        // Album 1: normal, short-listed, unplayable, not selected, off line.
        ASSERT_TRUE(store_write_text(s, 1, album_text_of("One", "First", {{.title = "Plain"},
                                                                          {.title = "Listed", .status = 'S'},
                                                                          {.title = "Broken", .status = 'U'},
                                                                          {.title = "Skip me", .status = 'N'},
                                                                          {.title = "Away", .online = 0}})));
        ASSERT_TRUE(store_write_text(s, 2, album_text_of("Two", "Second", {{.title = "Other", .status = 'S'}})));
        ASSERT_TRUE(store_write_text(s, 9000, simple_album("Temp", 2)));
    }

    std::set<std::string> picks(int mode, const std::vector<plist_entry> &selection = {}, int rounds = 200)
    {
        std::set<std::string> seen;
        for (int i = 0; i < rounds; ++i) {
            const auto e = dj_choose(s, mode, selection, memory, rng);
            seen.insert(e ? std::to_string(e->album) + "/" + std::to_string(e->track) : "none");
        }
        return seen;
    }
};

TEST_F(Modes, SelectableMeansOrdinaryOnLineAndNeitherUnplayableNorExcluded)
{
    EXPECT_TRUE(dj_selectable(1, *store_entry(s, 1, 1)));
    EXPECT_TRUE(dj_selectable(1, *store_entry(s, 1, 2)));
    EXPECT_FALSE(dj_selectable(1, *store_entry(s, 1, 3)));
    EXPECT_FALSE(dj_selectable(1, *store_entry(s, 1, 4)));
    EXPECT_FALSE(dj_selectable(1, *store_entry(s, 1, 5)));
    EXPECT_FALSE(dj_selectable(9000, *store_entry(s, 9000, 1)));
}

TEST_F(Modes, ConsoleAndUndefinedChooseNothing)
{
    EXPECT_EQ(picks(k_mode_console), std::set<std::string>{"none"});
    EXPECT_EQ(picks(k_mode_undefined), std::set<std::string>{"none"});
    EXPECT_FALSE(mode_selects(k_mode_console));
    EXPECT_TRUE(mode_selects(k_mode_playmixed));
}

TEST_F(Modes, JukeboxPlaysTheShortList)
{
    EXPECT_EQ(picks(k_mode_jukebox), (std::set<std::string>{"1/2", "2/1"}));
}

TEST_F(Modes, AnEmptyShortListPlaysAsRandom)
{
    ASSERT_EQ(store_mark(s, 1, 2, DONOTPLAY), change_result::changed);
    ASSERT_EQ(store_mark(s, 2, 1, DONOTPLAY), change_result::changed);
    EXPECT_EQ(picks(k_mode_jukebox), (std::set<std::string>{"1/1", "1/2", "2/1"}));
}

TEST_F(Modes, RandomPlaysEverySelectableTrack)
{
    EXPECT_EQ(picks(k_mode_random), (std::set<std::string>{"1/1", "1/2", "2/1"}));
}

TEST_F(Modes, MixedAlternatesShortListAndRandom)
{
    // Only 1/1 is outside the short-list, so it can only come from the Random turns.
    for (int i = 0; i < 40; ++i) {
        const auto e = dj_choose(s, k_mode_mixed, {}, memory, rng);
        ASSERT_TRUE(e);
        if (i % 2 == 0) {
            EXPECT_EQ(store_entry(s, e->album, e->track)->status, 'S') << i;
        }
    }
}

TEST_F(Modes, PlaylistGoesRoundInOrderSkippingWhatCannotBeSelected)
{
    const std::vector<plist_entry> selection = {{2, 1}, {1, 3}, {1, 1}, {1, 5}, {9000, 1}};
    std::string got;
    for (int i = 0; i < 5; ++i) {
        const auto e = dj_choose(s, k_mode_playlist, selection, memory, rng);
        got += std::to_string(e->album) + "/" + std::to_string(e->track) + " ";
    }
    EXPECT_EQ(got, "2/1 1/1 2/1 1/1 2/1 ");
}

TEST_F(Modes, AnUnusableSelectionPlaysAsRandom)
{
    EXPECT_EQ(picks(k_mode_playlist, {{1, 3}, {7, 7}}), (std::set<std::string>{"1/1", "1/2", "2/1"}));
    EXPECT_EQ(picks(k_mode_playlist, {}), (std::set<std::string>{"1/1", "1/2", "2/1"}));
}

TEST_F(Modes, PlayMixedAlternatesPlaylistAndRandom)
{
    const std::vector<plist_entry> selection = {{1, 1}};
    for (int i = 0; i < 20; ++i) {
        const auto e = dj_choose(s, k_mode_playmixed, selection, memory, rng);
        ASSERT_TRUE(e);
        if (i % 2 == 0) {
            EXPECT_EQ(e->track, 1) << i;
        }
    }
}

TEST_F(Modes, TheTracksPlayedLongestAgoComeFirst)
{
    // Eight tracks, played at times 8..1: only the two oldest (a quarter) can be picked.
    std::vector<test_track> tracks(8, test_track{.title = "T"});
    ASSERT_TRUE(store_write_text(s, 3, album_text_of("Three", "Third", tracks)));
    std::vector<plist_entry> list;
    for (int t = 1; t <= 8; ++t) {
        ASSERT_TRUE(store_record_play(s, 3, t, 100 - t));
        list.push_back({3, t});
    }
    std::set<int> seen;
    for (int i = 0; i < 100; ++i)
        seen.insert(dj_pick_least_recent(s, list, rng)->track);
    EXPECT_EQ(seen, (std::set<int>{7, 8}));
    EXPECT_FALSE(dj_pick_least_recent(s, {}, rng));
}

}   // namespace
