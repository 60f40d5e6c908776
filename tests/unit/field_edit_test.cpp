#include "core/keys.hpp"
#include "ui/form.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// A work buffer of `length` characters holding `text` padded with blanks.
field_edit make(const char *text, int length, int cursor = 0, int advance = 0)
{
    field_edit e = {};
    e.length = length;
    std::memset(e.buf, ' ', static_cast<std::size_t>(length));
    std::memcpy(e.buf, text, std::strlen(text));
    e.buf[length] = '\0';
    e.cursor = cursor;
    e.advance = advance;
    return e;
}

int key(field_edit &e, int k)
{
    bool bell = false;
    return field_edit_key(e, k, bell);
}

TEST(FieldEdit, TypingInsertsAtTheCursor)
{
    field_edit e = make("abd", 5, 2);
    EXPECT_EQ(key(e, 'c'), 0);
    EXPECT_STREQ(e.buf, "abcd ");
    EXPECT_EQ(e.cursor, 3);
}

TEST(FieldEdit, InsertingIntoAFullValueDropsTheLastCharacter)
{
    field_edit e = make("abcde", 5, 0);
    EXPECT_EQ(key(e, 'x'), 0);
    EXPECT_STREQ(e.buf, "xabcd");
    EXPECT_EQ(e.cursor, 1);
}

TEST(FieldEdit, TypingAtTheEndRingsTheBell)
{
    field_edit e = make("abcde", 5, 5);
    bool bell = false;
    EXPECT_EQ(field_edit_key(e, 'x', bell), 0);
    EXPECT_TRUE(bell);
    EXPECT_STREQ(e.buf, "abcde");
    EXPECT_EQ(e.cursor, 5);
}

TEST(FieldEdit, AFullValueWithAdvancePassesTheKeyOn)
{
    field_edit e = make("abcde", 5, 5, 1);
    bool bell = false;
    EXPECT_EQ(field_edit_key(e, 'x', bell), k_field_push_back);
    EXPECT_TRUE(bell);
    EXPECT_STREQ(e.buf, "abcde");
}

TEST(FieldEdit, TypingTheLastCellFillsTheValue)
{
    field_edit e = make("abcd", 5, 4);
    EXPECT_EQ(key(e, 'e'), 0);
    EXPECT_STREQ(e.buf, "abcde");
    EXPECT_EQ(e.cursor, 5);
}

TEST(FieldEdit, BackspaceRemovesTheCharacterBeforeTheCursor)
{
    field_edit e = make("abcde", 5, 2);
    EXPECT_EQ(key(e, k_key_backspace), 0);
    EXPECT_STREQ(e.buf, "acde ");
    EXPECT_EQ(e.cursor, 1);
    EXPECT_EQ(key(e, k_key_ctrl_h), 0);
    EXPECT_STREQ(e.buf, "cde  ");
    EXPECT_EQ(e.cursor, 0);
    EXPECT_EQ(key(e, k_key_backspace), 0);   // nothing before the first cell
    EXPECT_STREQ(e.buf, "cde  ");
    EXPECT_EQ(e.cursor, 0);
}

TEST(FieldEdit, BackspaceAtTheEndOfAFullValue)
{
    field_edit e = make("abcde", 5, 5);
    EXPECT_EQ(key(e, k_key_backspace), 0);
    EXPECT_STREQ(e.buf, "abcd ");
    EXPECT_EQ(e.cursor, 4);
}

TEST(FieldEdit, DeleteRemovesTheCharacterUnderTheCursor)
{
    field_edit e = make("abcde", 5, 1);
    EXPECT_EQ(key(e, k_key_delete), 0);
    EXPECT_STREQ(e.buf, "acde ");
    EXPECT_EQ(e.cursor, 1);
    e.cursor = 4;
    EXPECT_EQ(key(e, k_key_delete), 0);
    EXPECT_STREQ(e.buf, "acde ");
    e.cursor = 5;   // past the end: nothing to delete
    EXPECT_EQ(key(e, k_key_delete), 0);
    EXPECT_STREQ(e.buf, "acde ");
}

TEST(FieldEdit, EndGoesJustAfterTheLastNonBlank)
{
    field_edit e = make("ab d", 8);
    EXPECT_EQ(key(e, k_key_end), 0);
    EXPECT_EQ(e.cursor, 4);
    field_edit full = make("abcdefgh", 8);
    key(full, k_key_end);
    EXPECT_EQ(full.cursor, 8);
    field_edit empty = make("", 8, 3);
    key(empty, k_key_end);
    EXPECT_EQ(empty.cursor, 0);
    key(e, k_key_home);
    EXPECT_EQ(e.cursor, 0);
}

TEST(FieldEdit, LeftAndRightStayInside)
{
    field_edit e = make("abc", 3, 0);
    key(e, k_key_left);
    EXPECT_EQ(e.cursor, 0);
    key(e, k_key_right);
    key(e, k_key_right);
    key(e, k_key_right);
    EXPECT_EQ(e.cursor, 2);   // never beyond length - 1
}

TEST(FieldEdit, KeysThatEndTheField)
{
    struct {
        int key;
        int result;
    } const cases[] = {
        {k_key_enter, k_field_next},    {k_key_linefeed, k_field_next}, {k_key_return, k_field_next},
        {k_key_tab, k_field_next},      {k_key_down, k_field_next},     {k_key_up, k_field_prev},
        {k_key_page_down, k_field_page_down}, {k_key_ctrl_w, k_field_page_down},
        {k_key_page_up, k_field_page_up}, {k_key_ctrl_s, k_field_save}, {k_key_esc, k_field_esc},
    };
    for (const auto &c : cases) {
        field_edit e = make("abc", 5, 1);
        EXPECT_EQ(key(e, c.key), c.result) << c.key;
        EXPECT_STREQ(e.buf, "abc  ");
    }
}

TEST(FieldEdit, OtherKeysChangeNothing)
{
    for (int k : {-1, k_key_insert, 1, 127, 200, 0x109}) {
        field_edit e = make("abc", 5, 1);
        EXPECT_EQ(key(e, k), 0) << k;
        EXPECT_STREQ(e.buf, "abc  ");
        EXPECT_EQ(e.cursor, 1);
    }
}

}   // namespace
