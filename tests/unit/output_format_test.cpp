#include "browse/output_format.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

track_rec record(const char *artist, const char *title, const char *time, char status = '-', int online = 1,
                 std::uint64_t cd = 0)
{
    track_rec r{};
    std::strcpy(r.artist, artist);
    std::strcpy(r.title, title);
    std::strcpy(r.time, time);
    r.status = status;
    r.online = online;
    r.cd_ident = cd;
    return r;
}

TEST(OutputFormat, PlainTextIsArtistAndTitle)
{
    EXPECT_EQ(plain_line(record("Abba", "Gold", "70:00")), "Abba - Gold\n");
}

TEST(OutputFormat, InlayHeadWithAndWithoutTimeStamps)
{
    EXPECT_EQ(inlay_head("My List", true), "\n\tMy List\n" + std::string(84, '-') + "\n\n");
    EXPECT_EQ(inlay_head("My List", false), "\n\tMy List\n" + std::string(75, '-') + "\n\n");
}

TEST(OutputFormat, InlayStateCharacters)
{
    EXPECT_EQ(inlay_state_char('S', 0), 's');   // an off-line short-listed track
    EXPECT_EQ(inlay_state_char('-', 0), ' ');
    EXPECT_EQ(inlay_state_char('N', 0), 'n');
    EXPECT_EQ(inlay_state_char('-', 1), '.');
    EXPECT_EQ(inlay_state_char('S', 1), 'S');
    EXPECT_EQ(inlay_state_char('U', 1), 'U');
}

TEST(OutputFormat, InlayLines)
{
    const track_rec t = record("Abba", "Waterloo", "02:45", 'S', 0, 0x12AB);
    EXPECT_EQ(inlay_line(3, 4, t, t, false, false, 0),
              "0003/04 Abba                          - Waterloo                      [02:45] s\n");
    EXPECT_EQ(inlay_line(3, 4, t, t, false, true, 0),
              "000012AB 0003/04 Abba                          - Waterloo                      [02:45] s\n");
    const track_rec a = record("Abba", "Gold", "70:00");
    EXPECT_EQ(inlay_line(3, 0, a, a, true, false, 19),
              "0003 Abba                       - Gold                         [70:00] (19)\n");
}

TEST(OutputFormat, CsvDoubleQuotesBecomeTwoApostrophes)
{
    EXPECT_EQ(csv_text("Say \"Hi\""), "Say ''Hi''");
    const track_rec t = record("The \"Band\"", "It's \"x\"", "03:00");
    EXPECT_EQ(csv_line(12, 3, t, true), "\"0012/03\",\"The ''Band''\",\"It's ''x''\"\n");
    EXPECT_EQ(csv_line(12, 3, t, false), "\"The ''Band''\",\"It's ''x''\"\n");
}

}   // namespace
