#include "ui/menu_layout.hpp"

#include <gtest/gtest.h>

namespace {

constexpr menu_item table[] = {
    {.label = "Console Mode", .handler = quit_func, .argument = nullptr, .code = 0},
    {.label = "Jukebox Mode", .handler = quit_func, .argument = nullptr, .code = 0},
    {.label = "Random Mode", .handler = quit_func, .argument = nullptr, .code = 0},
    {.label = "Mixed Mode", .handler = quit_func, .argument = nullptr, .code = 0},
    {.label = "Maintenance", .handler = quit_func, .argument = nullptr, .code = 0},
    {.label = "Help", .handler = quit_func, .argument = nullptr, .code = 0},
    {.label = "Write", .handler = quit_func, .argument = nullptr, .code = 0},
    {.label = "", .handler = null_func, .argument = nullptr, .code = 0},
};
constexpr int rows = 7;

struct case_t {
    int current;
    int key;
    int expected;
};

constexpr case_t cases[] = {
    {0, 'j', 1},     // the next row with the letter
    {0, 'J', 1},     // capitals fold to lower case
    {0, 'm', 3},     // the first match after the highlight
    {3, 'm', 4},     // and on from there
    {4, 'm', 3},     // wrapping from the last row to row 0
    {5, 'c', 0},     // wrapping to row 0 itself
    {0, 'z', 0},     // no label starts with it: the highlight stays
    {2, 'r', 2},     // only the highlighted row starts with it: it stays
    {0, 'c', 0},     // the same from row 0
    {0, 'W', 6},     // upper-case W reaches a row beginning with W
    {0, 'h', 5},
    {0, 0x109, 0},   // F1's code: its low byte is a tab, which no label starts with
};

TEST(QuickSelect, FindsTheNextRowByFirstLetter)
{
    for (const case_t &c : cases)
        EXPECT_EQ(menu_quick_select(table, rows, c.current, c.key), c.expected) << "current " << c.current << " key " << c.key;
}

TEST(QuickSelect, ComparesTheKeyAsASignedCharacter)
{
    // A code above 255 is taken by its low byte: 0x16A stands for 'j'.
    EXPECT_EQ(menu_quick_select(table, rows, 0, 0x100 + 'j'), 1);
    const menu_item latin[] = {
        {.label = "Abc", .handler = quit_func, .argument = nullptr, .code = 0},
        {.label = "\xe9t\xe9", .handler = quit_func, .argument = nullptr, .code = 0},
        {.label = "", .handler = null_func, .argument = nullptr, .code = 0},
    };
    EXPECT_EQ(menu_quick_select(latin, 2, 0, 0xe9), 1);
}

TEST(QuickSelect, AOneRowMenuStaysPut)
{
    EXPECT_EQ(menu_quick_select(table, 1, 0, 'c'), 0);
    EXPECT_EQ(menu_quick_select(table, 1, 0, 'x'), 0);
}

}   // namespace
