#include "album/text_fix.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

std::string capitalized(const char *text)
{
    char buf[256];
    std::strcpy(buf, text);
    capitalize(buf);
    return buf;
}

struct cap_case {
    const char *in;
    const char *out;
};

constexpr cap_case cap_cases[] = {
    {"the [live] version", "The (Live) Version"},
    {"rock-n-roll", "Rock-n-roll"},
    {"", ""},
    {"mcCartney", "McCartney"},
    {"THE END", "THE END"},
    {"a {b} c", "A (B) C"},
    {"x]y", "X)y"},                          // a closing bracket does not start a word
    {"(hello) world", "(Hello) World"},
    {"don't stop", "Don't Stop"},            // nothing after an apostrophe changes
    {"AC/dc", "AC/dc"},                      // nor after a slash
    {"mr. blue sky", "Mr. Blue Sky"},
    {"\"quoted\" word", "\"quoted\" Word"},
    {"  two  blanks", "  Two  Blanks"},
    {"tab\tseparated", "Tab\tseparated"},    // only the blank starts a word
    {"[[double]]", "((Double))"},
    {"1st place", "1st Place"},
    {"\xe9t\xe9 song", "\xe9t\xe9 Song"},    // top-bit letters are never changed
    {"a", "A"},
    {"(", "("},
};

TEST(Capitalize, Table)
{
    for (const cap_case &c : cap_cases)
        EXPECT_EQ(capitalized(c.in), c.out) << c.in;
}

TEST(Capitalize, NeverLowersAndIsIdempotent)
{
    for (const cap_case &c : cap_cases)
        EXPECT_EQ(capitalized(c.out), c.out) << c.out;
}

TEST(LowerCase, OnlyAsciiCapitals)
{
    char buf[] = "THE Beatles \xc9 123";
    lower_case(buf);
    EXPECT_STREQ(buf, "the beatles \xc9 123");
}

TEST(LowerCase, ThenCapitalizeGivesTitleCase)
{
    char buf[] = "THE BEATLES";
    lower_case(buf);
    capitalize(buf);
    EXPECT_STREQ(buf, "The Beatles");
}

struct split_case {
    const char *line;
    const char *first;    // what `first` holds afterwards (it starts as "untouched")
    const char *second;
    const char *line_after;
};

constexpr split_case split_cases[] = {
    {"Title - Artist", "Title", "Artist", "Title"},
    {"Title -Artist", "Title", "Artist", "Title"},
    {"Title-Artist", "untouched", "Title-Artist", "Title-Artist"},
    {"Name: Work", "Name", "Work", "Name"},
    {"Name:Work", "untouched", "Name:Work", "Name:Work"},
    {"Name :Work", "untouched", "Name :Work", "Name :Work"},
    {"A / B", "A", "B", "A"},
    {"A /B", "A", "B", "A"},
    {"A/B", "untouched", "A/B", "A/B"},
    {"Title  -   Artist  ", "Title", "Artist", "Title "},   // the cut is at the blank before '-'
    {"One - Two - Three", "One", "Two - Three", "One"},       // the first separator only
    {"Song: Side 1 - Live", "Song", "Side 1 - Live", "Song"},  // ": " comes first here
    {"Side 1 - Song: Live", "Side 1", "Song: Live", "Side 1"},
    {"Name /", "Name", "", "Name"},                           // the separator at the very end
    {"Name -", "Name", "", "Name"},
    {" - Artist", "", "Artist", ""},                          // nothing before the separator
    {"Title -\tArtist", "Title", "\tArtist", "Title"},        // only blanks are skipped after it
    {"Title - Artist\t\r", "Title", "Artist", "Title"},       // trailing white space is removed
    {"", "untouched", "", ""},
    {"Caf\xe9 - Bj\xf6rk", "Cafe", "Bjork", "Cafe"},
    {"\xc6sop - \xdf", " sop", "", " sop"},                  // folded to blanks; leading ones stay
    {"\x8a\x8e\x9a\x9e\x9f", "untouched", "SZszY", "SZszY"},
};

TEST(SplitString, Table)
{
    for (const split_case &c : split_cases) {
        char line[128];
        std::strcpy(line, c.line);
        char first[67] = "untouched";
        char second[67] = "stale";
        split_string(line, first, second);
        EXPECT_STREQ(first, c.first) << c.line;
        EXPECT_STREQ(second, c.second) << c.line;
        EXPECT_STREQ(line, c.line_after) << c.line;
    }
}

TEST(SplitString, LatinOneIsFoldedInTheCallersLine)
{
    char line[] = "Ren\xe9";
    char first[8] = "";
    char second[8] = "";
    split_string(line, first, second);
    EXPECT_STREQ(line, "Rene");
    EXPECT_STREQ(second, "Rene");
}

TEST(SplitString, CopiesAreCutToTheDestinations)
{
    std::string line_text = std::string(200, 'a') + " - " + std::string(200, 'b');
    char line[512];
    std::strcpy(line, line_text.c_str());
    char first[67];
    char second[67];
    split_string(line, first, second);
    EXPECT_EQ(std::string(first), std::string(66, 'a'));
    EXPECT_EQ(std::string(second), std::string(66, 'b'));
    char whole[67];
    std::strcpy(line, std::string(300, 'c').c_str());
    split_string(line, first, whole);
    EXPECT_EQ(std::string(whole), std::string(66, 'c'));
}

TEST(FoldLatin1, TheWholeTable)
{
    const char *rows[4] = {
        "          S   Z           s   zY",
        "                                ",
        "AAAAAA CEEEEIIII NOOOOO OUUUUY  ",
        "aaaaaa ceeeeiiii nooooo ouuuuy y",
    };
    for (int c = 0x80; c <= 0xFF; ++c)
        EXPECT_EQ(fold_latin1(static_cast<unsigned char>(c)), rows[(c - 0x80) / 32][(c - 0x80) % 32]) << c;
    for (int c : {0xC6, 0xD0, 0xD7, 0xDE, 0xDF, 0xE6, 0xF0, 0xF7, 0xFE})
        EXPECT_EQ(fold_latin1(static_cast<unsigned char>(c)), ' ') << c;
    EXPECT_EQ(fold_latin1(0xE9), 'e');
    for (int c = 1; c < 0x80; ++c)
        EXPECT_EQ(fold_latin1(static_cast<unsigned char>(c)), static_cast<char>(c));
}

TEST(BeginsNocase, Prefixes)
{
    EXPECT_TRUE(begins_nocase("various artists", "vari"));
    EXPECT_TRUE(begins_nocase("VARIOUS", "vari"));
    EXPECT_TRUE(begins_nocase("Variety", "vari"));
    EXPECT_FALSE(begins_nocase("var", "vari"));
    EXPECT_FALSE(begins_nocase("", "vari"));
    EXPECT_FALSE(begins_nocase(" various", "vari"));
    EXPECT_TRUE(begins_nocase("anything", ""));
}

}   // namespace
