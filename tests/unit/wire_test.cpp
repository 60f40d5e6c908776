#include "proto/wire.hpp"

#include <gtest/gtest.h>

#include <cstring>

TEST(Wire, EncodesHeaderWithFixedWidths)
{
    char head[k_header_len + 1];
    ASSERT_TRUE(encode_header(head, {.type = 0x10, .sequence = 0x3ff, .album = 42, .track = 0, .length = 0}));
    EXPECT_STREQ(head, "10 03ff 002a 0000 0000 ");
}
