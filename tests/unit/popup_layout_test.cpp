#include "ui/popup.hpp"

#include "ui/form.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

struct geometry_case {
    int length;
    int lines;
    int cols;
    int col;
};

constexpr geometry_case geometry_cases[] = {
    {74, 5, 78, 1},
    {75, 6, 78, 1},
    {148, 6, 78, 1},
    {149, 7, 78, 1},
    {10, 5, 14, 33},   // (80 - 10) / 2 - 2
    {0, 5, 4, 38},
};

TEST(PopupLayout, WindowSizeFollowsTheTextLength)
{
    for (const geometry_case &c : geometry_cases) {
        const popup_box b = popup_geometry(c.length);
        EXPECT_EQ(b.lines, c.lines) << c.length;
        EXPECT_EQ(b.cols, c.cols) << c.length;
        EXPECT_EQ(b.row, 10) << c.length;
        EXPECT_EQ(b.col, c.col) << c.length;
    }
}

TEST(PopupLayout, SeventyFourCharactersAreOneLine)
{
    const std::string text(74, 'a');
    const auto lines = popup_lines(text.c_str());
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], text);
}

TEST(PopupLayout, SeventyFiveCharactersBreakAtTheLastSpaceBeforeSeventyFour)
{
    // Words of 9 letters and a blank: blanks at 9, 19, ... 69, 79.
    std::string text;
    while (text.size() < 75)
        text += "abcdefghi ";
    text.resize(75);
    const auto lines = popup_lines(text.c_str());
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], text.substr(0, 69));
    EXPECT_EQ(lines[1], text.substr(70));   // the blank at the cut is dropped
}

TEST(PopupLayout, ABlankAtSeventyThreeIsTheCut)
{
    std::string text(73, 'a');
    text += ' ';
    text += std::string(10, 'b');
    const auto lines = popup_lines(text.c_str());
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], std::string(73, 'a'));
    EXPECT_EQ(lines[1], std::string(10, 'b'));
}

TEST(PopupLayout, ABlankAtSeventyFourIsNotLookedAt)
{
    std::string text(74, 'a');
    text += ' ';
    text += "bc";
    const auto lines = popup_lines(text.c_str());
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], std::string(74, 'a'));   // no blank at 0..73: cut at 74
    EXPECT_EQ(lines[1], "bc");                    // the character at 74 (the blank) is dropped
}

TEST(PopupLayout, AWordLongerThanSeventyFourLosesTheCharacterAtTheCut)
{
    std::string text;
    for (int i = 0; i < 80; ++i)
        text += static_cast<char>('A' + i % 26);
    const auto lines = popup_lines(text.c_str());
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], text.substr(0, 74));
    EXPECT_EQ(lines[1], text.substr(75));
    EXPECT_EQ(text[74], 'W');   // lost
}

TEST(PopupLayout, UnbrokenTextLosesOneCharacterPerCut)
{
    const std::string text(149, 'x');
    const auto lines = popup_lines(text.c_str());
    ASSERT_EQ(lines.size(), 2u);   // 74, a lost character, then the last 74
    EXPECT_EQ(lines[0].size(), 74u);
    EXPECT_EQ(lines[1].size(), 74u);
    const std::string longer(150, 'x');
    const auto more = popup_lines(longer.c_str());
    ASSERT_EQ(more.size(), 3u);
    EXPECT_EQ(more[2].size(), 0u);
}

TEST(PopupLayout, TheBoxIsUntouchedOnAFullSizeScreen)
{
    const popup_box b = popup_geometry(149);
    const popup_box f = fit_popup(b, 24, 80);
    EXPECT_EQ(f.lines, b.lines);
    EXPECT_EQ(f.cols, b.cols);
    EXPECT_EQ(f.row, b.row);
    EXPECT_EQ(f.col, b.col);
}

TEST(PopupLayout, ASmallScreenMovesAndCutsTheBox)
{
    const popup_box b = popup_geometry(74);   // 5 x 78 at (10, 1)
    const popup_box f = fit_popup(b, 12, 40);
    EXPECT_EQ(f.lines, 5);
    EXPECT_EQ(f.row, 7);     // moved up to end on the last line
    EXPECT_EQ(f.cols, 40);   // cut to the width
    EXPECT_EQ(f.col, 0);
    const popup_box g = fit_popup(popup_geometry(10), 3, 80);
    EXPECT_EQ(g.lines, 3);
    EXPECT_EQ(g.row, 0);
    const popup_box h = fit_popup(popup_geometry(10), 0, 0);
    EXPECT_EQ(h.lines, 0);
    EXPECT_EQ(h.cols, 0);
}

TEST(PromptAnswer, AnUnchangedDefaultGivesItsFirstLetterFoldedDown)
{
    char reply[11] = "Yes";
    EXPECT_EQ(text_answer("Yes       ", 10, reply, k_field_next), 'y');
    EXPECT_STREQ(reply, "Yes");
}

TEST(PromptAnswer, AnEmptyAnswerGivesTheEditorsResult)
{
    char reply[11] = "old";
    EXPECT_EQ(text_answer("          ", 10, reply, k_field_next), k_field_next);
    EXPECT_STREQ(reply, "");
    EXPECT_EQ(text_answer("          ", 10, reply, k_field_prev), k_field_prev);
    EXPECT_EQ(text_answer("          ", 10, reply, k_field_save), k_field_save);
}

TEST(PromptAnswer, OnlyTrailingBlanksAreRemoved)
{
    char reply[9] = "";
    EXPECT_EQ(text_answer(" a b    ", 8, reply, k_field_next), ' ');
    EXPECT_STREQ(reply, " a b");
    EXPECT_EQ(text_answer("12345678", 8, reply, k_field_next), '1');
    EXPECT_STREQ(reply, "12345678");
}

TEST(ErrorText, TextAloneWhenNoNumberAndNoErrno)
{
    char buf[4096];
    format_error(buf, sizeof buf, "x", 0, 0);
    EXPECT_STREQ(buf, " x");
}

TEST(ErrorText, NumberAndSystemText)
{
    char buf[4096];
    format_error(buf, sizeof buf, "init_pair failed", 12, 0);
    EXPECT_STREQ(buf, " init_pair failed: 12 ");
    format_error(buf, sizeof buf, "Cannot open note file", 0, ENOENT);
    EXPECT_EQ(std::string(buf), std::string(" Cannot open note file - ") + std::strerror(ENOENT) + " ");
    format_error(buf, sizeof buf, "send_msg failed", EPIPE, EPIPE);
    EXPECT_EQ(std::string(buf), " send_msg failed: " + std::to_string(EPIPE) + "  - " + std::strerror(EPIPE) + " ");
}

TEST(ErrorText, ALongTextIsCutToTheBuffer)
{
    char buf[16];
    format_error(buf, sizeof buf, "a very long message indeed", 0, ENOENT);
    EXPECT_STREQ(buf, " a very long me");
}

}   // namespace
