#include "browse/plist_line.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(PlistLine, ColumnsOfAPlaylistFileLine)
{
    char buf[256];
    format_plist_line(buf, sizeof buf, 0x1A2B, 12, 3, "Abba", "Waterloo", "02:45");
    const std::string line = buf;
    EXPECT_EQ(line, "00001A2B 0012/03 Abba                         - Waterloo                      [02:45]\n");
    EXPECT_EQ(line.find("0012/03"), 9u);
    EXPECT_EQ(line.find("Abba"), 17u);
    EXPECT_EQ(line.find("Waterloo"), 48u);
    EXPECT_EQ(line.find("[02:45]"), 78u);
    EXPECT_EQ(line.find("02:45"), 79u);
}

TEST(PlistLine, LongTextsAreCutAndTheKeyShowsItsLowEightDigits)
{
    char buf[256];
    format_plist_line(buf, sizeof buf, 0x123456789LL, 9000, 99, "An artist name much longer than the column",
                      "A title that is also far too long for it", "10:05");
    EXPECT_STREQ(buf, "123456789 9000/99 An artist name much longer t - A title that is also far too  [10:05]\n");
}

}   // namespace
