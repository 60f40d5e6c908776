#include "core/keymap.hpp"

#include <gtest/gtest.h>

namespace {

TEST(KeyMap, NamedTerminalKeysGetTheirFixedCodes)
{
    keymap_clear();
    keymap_add(550, k_key_ctrl_left);    // what xterm's description gives control-left here
    keymap_add(565, k_key_ctrl_right);
    keymap_add(535, k_key_ctrl_end);
    EXPECT_EQ(canonical_key(550), k_key_ctrl_left);
    EXPECT_EQ(canonical_key(565), k_key_ctrl_right);
    EXPECT_EQ(canonical_key(535), k_key_ctrl_end);
}

TEST(KeyMap, OtherExtendedKeysNeverPassForAFixedCode)
{
    keymap_clear();
    keymap_add(550, k_key_ctrl_left);
    // 0x221 is control-insert in one description and control-left in another.
    EXPECT_NE(canonical_key(0x221), k_key_ctrl_shift_left);
    EXPECT_NE(canonical_key(0x226), k_key_ctrl_page_down);
    for (const named_key &k : named_keys)
        EXPECT_NE(canonical_key(k.code), k.code) << k.name;
}

TEST(KeyMap, StandardKeysStayAsTheyAre)
{
    keymap_clear();
    for (const int key : {-1, 0, int{'a'}, 27, 260, 261, 343, 360, 410, 0777})
        EXPECT_EQ(canonical_key(key), key);
}

}   // namespace
