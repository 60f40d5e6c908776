#include "core/link.hpp"
#include "core/log.hpp"
#include "proto/msg_types.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string trace(int tag, std::int64_t type, const char *text, long album = 1, long track = 2)
{
    server_msg m;
    m.socket = 3;
    m.type = type;
    m.sequence = 0x0102;
    m.album = album;
    m.track = track;
    set_text(m, text);
    char line[256];
    if (!format_msg_trace(line, sizeof line, tag, m))
        return "<not traced>";
    return line;
}

TEST(Trace, AlbumReadIsNeverTraced) { EXPECT_EQ(trace(1, ALBUM_READ, ""), "<not traced>"); }

TEST(Trace, NamedTypeLine)
{
    EXPECT_EQ(trace(7, PLIST_ADD, "current.lst"),
              "0007:  3 PLIST_ADD        0102     1=0x0001     2=0x0002 (11)current.lst" + std::string(61, ' ') +
                  "\r\n");
}

TEST(Trace, UnnamedTypeShownAsEightHexDigits)
{
    const std::string line = trace(2, SERVER_DOWN, "");
    EXPECT_EQ(line.substr(0, 18), "0002:  3 000000A4 ");
}

TEST(Trace, TextCutTo72WithNewlinesAsStars)
{
    std::string text = "a\nb" + std::string(100, 'c');
    const std::string line = trace(1, ALBUM_WRITE, text.c_str(), 0xFFFE, 0);
    EXPECT_NE(line.find("65534=0xFFFE"), std::string::npos);
    EXPECT_NE(line.find("(103)a*b" + std::string(69, 'c') + "\r\n"), std::string::npos);
}

TEST(Trace, TimeFormats)
{
    std::tm tm = {};
    tm.tm_year = 2024 - 1900;
    tm.tm_mon = 2;
    tm.tm_mday = 7;
    tm.tm_hour = 9;
    tm.tm_min = 5;
    tm.tm_sec = 3;
    tm.tm_isdst = -1;
    const std::time_t t = std::mktime(&tm);
    char out[64];
    format_server_time(out, t);
    EXPECT_STREQ(out, "07/03/24 @ 09:05:03");
    format_log_stamp(out, t);
    EXPECT_STREQ(out, "07/03/24 09:05:03 ");
}

TEST(ServerTime, HexSecondsOfTheReply)
{
    std::time_t t = 0;
    ASSERT_TRUE(parse_server_time("65f45c78", t));
    EXPECT_EQ(t, 0x65F45C78);
    ASSERT_TRUE(parse_server_time("65F45C79\n", t));
    EXPECT_EQ(t, 0x65F45C79);
}

TEST(ServerTime, ATextThatIsNoClockLeavesTheTimeAlone)
{
    for (const char *text : {"", "Time", "-5", "zz", "ffffffffffffffffffff"}) {
        std::time_t t = 1234;
        EXPECT_FALSE(parse_server_time(text, t)) << text;
        EXPECT_EQ(t, 1234) << text;
    }
}

}   // namespace
