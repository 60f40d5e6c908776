#include "core/reply_spin.hpp"

#include <gtest/gtest.h>

namespace {

TEST(ReplySpin, FirstLookIsBetweenTheBounds)
{
    reply_spin s;
    const std::int64_t b = spin_budget(s);
    EXPECT_GE(b, k_spin_min_ns);
    EXPECT_LE(b, k_spin_max_ns);
}

TEST(ReplySpin, LookFollowsHowFastRecentRepliesCame)
{
    reply_spin s;
    for (int i = 0; i < 50; ++i)
        spin_found(s, 2'000);
    EXPECT_EQ(spin_budget(s), k_spin_min_ns);   // fast replies: a short look is enough
    for (int i = 0; i < 50; ++i)
        spin_found(s, 11'000);
    EXPECT_GT(spin_budget(s), 40'000);
    for (int i = 0; i < 50; ++i)
        spin_found(s, 400'000);   // a late find never stretches the look past its bound
    EXPECT_EQ(spin_budget(s), k_spin_max_ns);
}

// Counts the reply waits that go straight to sleep before the next look.
int waits_without_look(reply_spin &s)
{
    int n = 0;
    while (spin_budget(s) == 0)
        ++n;
    return n;
}

TEST(ReplySpin, MissesInARowDoubleTheWaitsWithoutALook)
{
    reply_spin s;
    int expected = 1;
    for (int miss = 1; miss <= 8; ++miss) {
        spin_missed(s);
        EXPECT_EQ(waits_without_look(s), expected) << miss;
        expected = 2 * expected + 1;
    }
    spin_missed(s);   // the number levels off
    EXPECT_EQ(waits_without_look(s), k_spin_max_skip);
}

TEST(ReplySpin, AFindEndsTheRunOfMisses)
{
    reply_spin s;
    for (int i = 0; i < 5; ++i) {
        spin_missed(s);
        waits_without_look(s);
    }
    spin_found(s, 5'000);
    spin_missed(s);
    EXPECT_EQ(waits_without_look(s), 1);
}

// However the replies come, the time spent looking in vain stays a small share of many waits.
TEST(ReplySpin, LookingInVainIsBounded)
{
    reply_spin s;
    std::int64_t wasted = 0;
    const int waits = 100'000;
    for (int i = 0; i < waits; ++i) {
        const std::int64_t b = spin_budget(s);
        if (b > 0) {
            wasted += b;
            spin_missed(s);
        }
    }
    EXPECT_LT(wasted / waits, k_spin_max_ns / 100);
}

}   // namespace
