// The loaded CD's matches: stepping, the footer and the retrieval text.
#include "media/cd_matches.hpp"

#include <gtest/gtest.h>

namespace {

TEST(CdMatches, OneMatchDoesNotMoveThreeWrapAround)
{
    EXPECT_EQ(1, step_match(1, 1, 1));
    EXPECT_EQ(1, step_match(1, 1, -1));
    EXPECT_EQ(0, step_match(0, 0, 1));
    EXPECT_EQ(0, step_match(0, -1, -1));
    EXPECT_EQ(1, step_match(3, 3, 1));
    EXPECT_EQ(3, step_match(1, 3, -1));
    EXPECT_EQ(2, step_match(1, 3, 1));
    EXPECT_EQ(2, step_match(3, 3, -1));
    EXPECT_EQ(1, step_match(2, 2, 1));
}

TEST(CdMatches, Footers)
{
    char f[256];
    loaded_cd_footer(f, sizeof f, true, 3, 2);
    EXPECT_STREQ("^F^1^0-bring online ^overwrite track ^^W/^^I check album/track", f);
    loaded_cd_footer(f, sizeof f, false, 0, 0);
    EXPECT_STREQ("^F^1^0-bring online ^overwrite track ^^W/^^I check album/track", f);
    loaded_cd_footer(f, sizeof f, false, -1, 0);
    EXPECT_STREQ("^F^1^0-bring online ^overwrite track ^^W/^^I check album/track", f);
    loaded_cd_footer(f, sizeof f, false, 1, 1);
    EXPECT_STREQ("1 Match ^Duplicates ^F^9-Database", f);
    loaded_cd_footer(f, sizeof f, false, 3, 2);
    EXPECT_STREQ("Match 2 of 3 ^-^>next ^<^-prev ^duplicates ^F^9-Database", f);
}

TEST(CdMatches, RetrievalTexts)
{
    char t[128];
    retrieval_text(t, sizeof t, 42, 0);
    EXPECT_STREQ("All tracks on album 42 are online", t);
    retrieval_text(t, sizeof t, 42, 1);
    EXPECT_STREQ("1 track is to be retrieved on album 0042", t);
    retrieval_text(t, sizeof t, 42, 7);
    EXPECT_STREQ("7 tracks are to be retrieved on album 0042", t);
}

}   // namespace
