#include "browse/chain.hpp"

#include <gtest/gtest.h>

namespace {

struct contains_case {
    const char *text;
    const char *wanted;
    int case_flag;
    int result;
};

constexpr contains_case cases[] = {
    {"The Beatles", "beat", 0, 1},
    {"The Beatles", "BEAT", 0, 1},
    {"The Beatles", "beat", 1, 0},
    {"The Beatles", "Beat", 1, 1},
    {"The Beatles", "les", 0, 1},          // at the very end
    {"The Beatles", "The Beatles", 1, 1},  // the whole text
    {"The Beatles", "Beatless", 0, 0},     // runs past the end
    {"aab", "ab", 0, 1},                   // a false start before the match
    {"abc", "", 0, 0},                     // an empty wanted text never matches
    {"abc", "", 1, 0},
    {"", "", 0, 0},
    {"", "a", 0, 0},
    {"Motörhead", "MOTÖR", 0, 0},          // only ASCII letters fold
    {"Motörhead", "motör", 0, 1},
};

TEST(Contains, Table)
{
    for (const contains_case &c : cases)
        EXPECT_EQ(contains(c.text, c.wanted, c.case_flag), c.result) << c.text << " / " << c.wanted << " / " << c.case_flag;
}

}   // namespace
