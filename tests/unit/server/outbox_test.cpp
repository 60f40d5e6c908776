#include "proto/msg_types.hpp"
#include "server/outbox.hpp"

#include <gtest/gtest.h>

#include <string>

TEST(Outbox, AFrameWithAnotherSequenceDiffersInItsSequenceOnly)
{
    const std::string text = "Artist\nTitle\n00:01 - 00000000 1 00000000 0\n";
    const frame_ptr kept = make_frame(ALBUM_READ, 0, 42, 0, text);
    ASSERT_NE(kept, nullptr);
    for (const std::int64_t seq : {0x0000, 0x0001, 0x0100, 0x01ff, 0x0a0b, 0xabcd, 0xffff}) {
        const frame_ptr f = frame_with_sequence(*kept, seq);
        ASSERT_NE(f, nullptr) << seq;
        EXPECT_EQ(*f, *make_frame(ALBUM_READ, seq, 42, 0, text)) << seq;
    }
    EXPECT_EQ(*kept, *make_frame(ALBUM_READ, 0, 42, 0, text));   // the kept frame itself is untouched
}

TEST(Outbox, AFrameWithASequenceThatDoesNotFitIsNone)
{
    const frame_ptr kept = make_frame(ALBUM_READ, 0, 1, 0, "x");
    EXPECT_EQ(frame_with_sequence(*kept, 0x10000), nullptr);
    EXPECT_EQ(frame_with_sequence(*kept, -1), nullptr);
    EXPECT_EQ(frame_with_sequence("01 0000", 1), nullptr);   // shorter than a header
}
