#include "media/fuzzy_match.hpp"

#include <gtest/gtest.h>

namespace {

TEST(FuzzyMatch, IdenticalAndCaseOnlyDifferencesScoreFullMarks)
{
    EXPECT_FLOAT_EQ(fuzzy_match("Abba", "Abba"), 100.0f);
    EXPECT_FLOAT_EQ(fuzzy_match("The Beatles", "tHE bEATLES"), 100.0f);
}

TEST(FuzzyMatch, OneLetterInThreeIsFiveSixths)
{
    EXPECT_NEAR(fuzzy_match("cat", "cut"), 83.33f, 0.005f);
    EXPECT_FLOAT_EQ(fuzzy_match("cat", "cut"), 500.0f / 6.0f);
}

TEST(FuzzyMatch, AnEmptyTextScoresNothing)
{
    EXPECT_FLOAT_EQ(fuzzy_match("", "abc"), 0.0f);
    EXPECT_FLOAT_EQ(fuzzy_match("abc", ""), 0.0f);
    EXPECT_FLOAT_EQ(fuzzy_match("", ""), 0.0f);
}

TEST(FuzzyMatch, EditDistanceCountsInsertionsDeletionsAndSubstitutions)
{
    // kitten -> sitting: distance 3, lengths 6 + 7.
    EXPECT_FLOAT_EQ(fuzzy_match("kitten", "sitting"), 1000.0f / 13.0f);
    // One insertion in eleven + ten characters.
    EXPECT_FLOAT_EQ(fuzzy_match("Beatles", "Beattles"), 1400.0f / 15.0f);
    // Nothing in common: distance is the longer length.
    EXPECT_FLOAT_EQ(fuzzy_match("abc", "xyz"), 300.0f / 6.0f);
    EXPECT_FLOAT_EQ(fuzzy_match("ab", "ba"), 200.0f / 4.0f);
}

TEST(FuzzyMatch, ThresholdOfTheArtistSearchIsStrict)
{
    // 19 + 19 characters with one substitution: 3700 / 38 = 97.37; with four, 3400 / 38 = 89.47.
    EXPECT_GT(fuzzy_match("Creedence Clearwate", "Creedence Clearwata"), 90.0f);
    EXPECT_LT(fuzzy_match("Creedence Clearwate", "Creedence Clxxxwatx"), 90.0f);
    // Exactly 90: (20 - 2) * 100 / 20 with ten-letter texts two edits apart is not a match.
    EXPECT_FLOAT_EQ(fuzzy_match("abcdefghij", "abcdefghXY"), 90.0f);
}

}   // namespace
