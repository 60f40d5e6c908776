#include "browse/verbatim_edit.hpp"
#include "core/keys.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// Types keys into a fresh line of the given size; returns the last result.
int type(verbatim_line &l, std::initializer_list<int> keys)
{
    int r = k_verbatim_more;
    for (int k : keys)
        r = verbatim_key(l, k);
    return r;
}

TEST(VerbatimEdit, TypesExactTextWithoutCaseChanges)
{
    char buf[12] = {};
    verbatim_line l{.buf = buf, .size = 10};
    EXPECT_EQ(type(l, {'A', 'b', ' ', 'C'}), k_verbatim_more);
    EXPECT_STREQ(buf, "Ab C");
    EXPECT_EQ(l.pos, 4);
    EXPECT_EQ(verbatim_key(l, k_key_return), k_verbatim_done);
    EXPECT_EQ(verbatim_key(l, k_key_enter), k_verbatim_done);
    EXPECT_EQ(verbatim_key(l, k_key_linefeed), k_verbatim_done);
    EXPECT_EQ(verbatim_key(l, k_key_esc), k_verbatim_esc);
}

TEST(VerbatimEdit, MovesInsertsAndDeletes)
{
    char buf[12] = {};
    verbatim_line l{.buf = buf, .size = 10};
    type(l, {'a', 'c', k_key_left, 'b'});
    EXPECT_STREQ(buf, "abc");
    EXPECT_EQ(l.pos, 2);
    type(l, {k_key_home, k_key_left, 'X'});
    EXPECT_STREQ(buf, "Xabc");
    type(l, {k_key_end, k_key_right, 'Y'});
    EXPECT_STREQ(buf, "XabcY");
    type(l, {k_key_backspace});
    EXPECT_STREQ(buf, "Xabc");
    type(l, {k_key_home, k_key_delete});
    EXPECT_STREQ(buf, "abc");
    EXPECT_EQ(l.pos, 0);
    type(l, {k_key_backspace});   // nothing before position 0
    EXPECT_STREQ(buf, "abc");
    type(l, {k_key_end, k_key_delete});   // nothing under the end
    EXPECT_STREQ(buf, "abc");
    type(l, {k_key_left, k_key_rubout});
    EXPECT_STREQ(buf, "ac");
}

TEST(VerbatimEdit, AFullTextNeverGrowsPastItsSize)
{
    char buf[6] = {};
    verbatim_line l{.buf = buf, .size = 4};
    type(l, {'a', 'b', 'c', 'd', 'e'});
    EXPECT_STREQ(buf, "abcd");   // at the size no more is added at the end
    type(l, {k_key_home, 'X', 'Y'});
    EXPECT_STREQ(buf, "XYab");   // inserting into a full text drops its last character
    EXPECT_EQ(std::strlen(buf), 4u);
}

TEST(VerbatimEdit, ControlKeysAreNotTyped)
{
    char buf[12] = {};
    verbatim_line l{.buf = buf, .size = 10};
    type(l, {1, 200, 0x300, 'q'});
    EXPECT_STREQ(buf, "q");
}

}   // namespace
