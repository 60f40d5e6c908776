#include "core/input.hpp"
#include "proto/msg_types.hpp"

#include <gtest/gtest.h>

namespace {

TEST(TypeAhead, KeysComeBackLastTypedFirst)
{
    key_stack s;
    s.push('a');
    s.push('b');
    s.push('c');
    int k = 0;
    ASSERT_TRUE(s.pop(k));
    EXPECT_EQ(k, 'c');
    ASSERT_TRUE(s.pop(k));
    EXPECT_EQ(k, 'b');
    ASSERT_TRUE(s.pop(k));
    EXPECT_EQ(k, 'a');
    EXPECT_FALSE(s.pop(k));
}

TEST(TypeAhead, PushesBeyondTheBoundAreDropped)
{
    key_stack s;
    for (int i = 0; i < k_typeahead_max; ++i)
        EXPECT_TRUE(s.push(i));
    EXPECT_FALSE(s.push(999));
    int k = 0;
    ASSERT_TRUE(s.pop(k));
    EXPECT_EQ(k, k_typeahead_max - 1);
}

TEST(ReplyMatching, SocketAndSequence)
{
    server_msg waiting;
    waiting.socket = 5;
    waiting.sequence = 0x0207;
    EXPECT_TRUE(is_reply(waiting, 5, PLIST_GET, 0x0207));
    EXPECT_FALSE(is_reply(waiting, 5, PLIST_GET, 0x0208));
}

TEST(ReplyMatching, GreetingReplyWhateverItsSequence)
{
    server_msg waiting;
    waiting.socket = 5;
    waiting.sequence = 0;
    EXPECT_TRUE(is_reply(waiting, 5, CLIENT_OPEN, 0x4242));
}

TEST(ReplyMatching, OtherConnectionIsNeverTheReplyEvenWithTheSameSequence)
{
    server_msg waiting;
    waiting.socket = 5;
    waiting.sequence = 0x0010;
    EXPECT_FALSE(is_reply(waiting, 6, PLIST_GET, 0x0010));
    EXPECT_FALSE(is_reply(waiting, 6, CLIENT_OPEN, 0x0010));
}

}   // namespace
