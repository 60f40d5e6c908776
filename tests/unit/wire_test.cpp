#include "proto/msg_types.hpp"
#include "proto/wire.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(Wire, EncodesHeaderWithFixedWidths)
{
    char head[k_header_len + 1];
    ASSERT_TRUE(encode_header(head, {.type = 0x10, .sequence = 0x3ff, .album = 42, .track = 0, .length = 0}));
    EXPECT_STREQ(head, "10 03ff 002a 0000 0000 ");
    ASSERT_TRUE(encode_header(head, {.type = 0xbb, .sequence = 0xffff, .album = 0xfffe, .track = 99, .length = 0x8000}));
    EXPECT_STREQ(head, "bb ffff fffe 0063 8000 ");
}

TEST(Wire, RefusesValuesThatWouldBreakTheFraming)
{
    char head[k_header_len + 1];
    EXPECT_FALSE(encode_header(head, {.type = 0x100, .sequence = 0, .album = 0, .track = 0, .length = 0}));
    EXPECT_FALSE(encode_header(head, {.type = 1, .sequence = 0x10000, .album = 0, .track = 0, .length = 0}));
    EXPECT_FALSE(encode_header(head, {.type = 1, .sequence = 0, .album = -1, .track = 0, .length = 0}));
    EXPECT_FALSE(encode_header(head, {.type = 1, .sequence = 0, .album = 0, .track = 0x10000, .length = 0}));
    EXPECT_FALSE(encode_header(head, {.type = 1, .sequence = 0, .album = 0, .track = 0, .length = 0x8001}));
}

TEST(Wire, EmptyTextTravelsAsTheHeaderAlone)
{
    char buf[k_header_len + k_text_max];
    const std::size_t n = encode_message(buf, sizeof buf, {.type = CLIENT_OPEN, .sequence = 0, .album = 1, .track = 0, .length = 0}, "");
    EXPECT_EQ(n, k_header_len);
    EXPECT_EQ(std::string(buf, n), "70 0000 0001 0000 0000 ");
    const std::size_t m = encode_message(buf, sizeof buf, {.type = GETTIME, .sequence = 5, .album = 0, .track = 0, .length = 4}, "Time");
    EXPECT_EQ(std::string(buf, m), "25 0005 0000 0000 0004 Time");
}

TEST(Wire, DecodesAndValidatesHeaders)
{
    wire_header h;
    ASSERT_TRUE(decode_header("38 0102 0abc 0000 0010 ", h));
    EXPECT_EQ(h.type, 0x38);
    EXPECT_EQ(h.sequence, 0x102);
    EXPECT_EQ(h.album, 0xabc);
    EXPECT_EQ(h.length, 16u);
    ASSERT_TRUE(decode_header("38 0102 0ABC 0000 8000 ", h));   // upper-case hex is read too
    EXPECT_EQ(h.length, 0x8000u);
    const char *bad[] = {
        "38 0102 0abc 0000 8001 ",   // longer than a text may be
        "38 0102 0abc 0000 ffff ",
        "3g 0102 0abc 0000 0010 ",   // not hex
        "38-0102 0abc 0000 0010 ",   // missing blank
        "38 0102 0abc 0000 0010x",
        " 8 0102 0abc 0000 0010 ",
        "38 0102 0abc 00 0 0010 ",
    };
    for (const char *b : bad)
        EXPECT_FALSE(decode_header(b, h)) << b;
}

TEST(Wire, SequenceLowByteRollsOverWithoutCarry)
{
    EXPECT_EQ(next_sequence(0x03FF), 0x0300);
    EXPECT_EQ(next_sequence(0x0300), 0x0301);
    EXPECT_EQ(next_sequence(0x00FF), 0x0000);
    EXPECT_EQ(next_sequence(0xABCDEF), 0xCDF0);   // everything above bit 15 is dropped
}

TEST(Wire, SetTextIsBounded)
{
    server_msg m;
    std::string big(40000, 'x');
    set_text(m, big);
    EXPECT_EQ(std::strlen(m.text), k_text_max);
    set_textf(m, "%s~%s", "old", "new");
    EXPECT_STREQ(m.text, "old~new");
}

TEST(MsgTypes, NamesAndCodes)
{
    EXPECT_EQ(traced_msg_name(ALBUM_READ), "ALBUM_READ");
    EXPECT_EQ(traced_msg_name(CHANGE_MODE), "CHANGE MODE");
    EXPECT_EQ(traced_msg_name(CD_WAITING), "CD WAITING");
    EXPECT_TRUE(traced_msg_name(SERVER_DOWN).empty());
    EXPECT_TRUE(traced_msg_name(SERVER_NOTICE).empty());
    EXPECT_TRUE(traced_msg_name(RET_TRACK).empty());
    EXPECT_TRUE(traced_msg_name(0x21).empty());
    EXPECT_TRUE(traced_msg_name(0x0F).empty());
    EXPECT_TRUE(traced_msg_name(0xBC).empty());
    EXPECT_TRUE(traced_msg_name(0x55).empty());
    EXPECT_EQ(msg_code_by_name("PLIST_UPDATE"), 0x38);
    EXPECT_EQ(msg_code_by_name("nonsense"), -1);
}

}   // namespace
