// The owner of a browser list: one release path for every list, history lists
// included, moves that leave the source empty, and walks that keep a list
// their owner let go of until they end.
#include "browse/chain.hpp"
#include "browse_library.hpp"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

using namespace browse_test;
using pairs = std::vector<std::pair<int, int>>;

class ChainList : public ::testing::Test {
protected:
    void SetUp() override
    {
        reset_table();
        put_album(1, {"A", "One"},
                  {{.artist = "A", .title = "a"}, {.artist = "B", .title = "b"}, {.artist = "C", .title = "c"}});
        put_album(2, {"B", "Two"}, {{.artist = "D", .title = "d"}, {.artist = "E", .title = "e"}});
        live_before = chain_elements_live();
    }
    void TearDown() override { reset_table(); }

    // A list of album `n`'s tracks in their order.
    static chain_list album_list(int n)
    {
        std::vector<chain_entry> entries;
        for (int t = 1; t <= album[n].tracks; ++t)
            entries.push_back({.album_no = n, .track_no = t, .key = 0});
        chain_list list;
        EXPECT_EQ(build_chain(list, k_order_append, entries, 1), album[n].tracks);
        return list;
    }

    std::size_t live_before = 0;
};

TEST_F(ChainList, ResetReleasesEveryElementAndLeavesItEmpty)
{
    chain_list list = album_list(1);
    EXPECT_EQ(chain_elements_live(), live_before + 3);
    EXPECT_EQ(chain_length(list.head()), 3);
    list.reset();
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.head(), nullptr);
    EXPECT_EQ(chain_elements_live(), live_before);
    list.reset();   // twice is harmless
    EXPECT_EQ(chain_elements_live(), live_before);
}

TEST_F(ChainList, TheOwnerReleasesItsListWhenItEnds)
{
    {
        const chain_list list = album_list(1);
        EXPECT_EQ(chain_elements_live(), live_before + 3);
    }
    EXPECT_EQ(chain_elements_live(), live_before);
}

TEST_F(ChainList, MovingHandsTheListOverAndLeavesTheSourceEmpty)
{
    chain_list first = album_list(1);
    const chain_item *head = first.head();
    chain_list second(std::move(first));
    EXPECT_TRUE(first.empty());   // a moved-from owner is empty, and says so
    EXPECT_EQ(second.head(), head);
    EXPECT_EQ(chain_elements_live(), live_before + 3);

    // Assigning another list releases the one held before.
    second = album_list(2);
    EXPECT_EQ(numbers_of(second.head()), (pairs{{2, 1}, {2, 2}}));
    EXPECT_EQ(chain_elements_live(), live_before + 2);
    chain_list &same = second;   // through a reference: clang refuses the plain self-move (-Wself-move)
    second = std::move(same);     // a self-move keeps the list
    EXPECT_EQ(chain_length(second.head()), 2);
    second = chain_list{};
    EXPECT_EQ(chain_elements_live(), live_before);
}

TEST_F(ChainList, HistoryListsAreMarkedAndReleasedOnTheSamePath)
{
    chain_list walked;
    ASSERT_EQ(link_history(walked, k_order_append, 1, 1, 100, "X", "x", "01:00"), 1);
    ASSERT_EQ(link_history(walked, k_order_append, 1, 2, 200, "Y", "y", "02:00"), 1);
    EXPECT_TRUE(walked.history());
    const std::vector<history_item> entries = {
        {.album_no = 2, .track_no = 1, .key = 5, .artist = "P", .title = "p", .length = "03:00"}};
    chain_list built;
    ASSERT_EQ(build_history_chain(built, k_order_history_time, entries), 1);
    EXPECT_TRUE(built.history());
    EXPECT_STREQ(built.head()->track->artist, "P");
    EXPECT_NE(built.head()->track, &album[2].entry[1]);   // a private copy
    EXPECT_EQ(chain_elements_live(), live_before + 3);
    walked.reset();
    built.reset();
    EXPECT_FALSE(walked.history());
    EXPECT_EQ(chain_elements_live(), live_before);

    // A list of table records is not a history list, and an empty history build makes none.
    const chain_list plain = album_list(1);
    EXPECT_FALSE(plain.history());
    chain_list none;
    EXPECT_EQ(build_history_chain(none, k_order_append, {}), 0);
    EXPECT_FALSE(none.history());
}

TEST_F(ChainList, AWalkKeepsTheListItsOwnerLetGoOfUntilItEnds)
{
    chain_list list = album_list(1);
    {
        const chain_walk walk(list.head());
        const chain_item *head = list.head();
        list.reset();
        EXPECT_TRUE(list.empty());
        // Still there for the walk: nothing was released.
        EXPECT_EQ(chain_elements_live(), live_before + 3);
        EXPECT_EQ(numbers_of(head), (pairs{{1, 1}, {1, 2}, {1, 3}}));
    }
    EXPECT_EQ(chain_elements_live(), live_before);
}

TEST_F(ChainList, ReplacingAWalkedListHandsTheOldOneToTheWalk)
{
    chain_list list = album_list(1);
    {
        const chain_walk walk(list.head());
        list = album_list(2);
        EXPECT_EQ(numbers_of(list.head()), (pairs{{2, 1}, {2, 2}}));
        EXPECT_EQ(chain_elements_live(), live_before + 5);
        // The new list is nobody's walk: letting go of it releases it at once.
        list.reset();
        EXPECT_EQ(chain_elements_live(), live_before + 3);
    }
    EXPECT_EQ(chain_elements_live(), live_before);
}

TEST_F(ChainList, AWalkOnAnotherListTakesNothing)
{
    chain_list walked = album_list(1);
    chain_list other = album_list(2);
    const chain_walk walk(walked.head());
    other.reset();
    EXPECT_EQ(chain_elements_live(), live_before + 3);
}

TEST_F(ChainList, NestedWalksTheInnermostOnTheListTakesIt)
{
    chain_list outer_list = album_list(1);
    chain_list inner_list = album_list(2);
    {
        const chain_walk outer(outer_list.head());
        {
            const chain_walk inner(inner_list.head());
            outer_list.reset();
            inner_list.reset();
            EXPECT_EQ(chain_elements_live(), live_before + 5);
        }
        // The inner walk ended with its list; the outer one still holds its own.
        EXPECT_EQ(chain_elements_live(), live_before + 3);
    }
    EXPECT_EQ(chain_elements_live(), live_before);
}

TEST_F(ChainList, TwoWalksOnOneListTheOuterKeepsItAfterTheInnerEnds)
{
    chain_list list = album_list(1);
    const chain_item *head = list.head();
    {
        const chain_walk outer(head);
        {
            const chain_walk inner(head);
            list.reset();
        }
        EXPECT_EQ(chain_elements_live(), live_before + 3);
        EXPECT_EQ(numbers_of(head), (pairs{{1, 1}, {1, 2}, {1, 3}}));
    }
    EXPECT_EQ(chain_elements_live(), live_before);
}

}   // namespace
