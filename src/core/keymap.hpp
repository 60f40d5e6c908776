// Keys whose codes the terminal description decides (control with the cursor
// keys, Home, End and the page keys): the input loop gives them the fixed codes
// the screens compare, whatever the terminal.
#pragma once

#include "core/keys.hpp"

// Codes above this are the terminal's own extended keys.
inline constexpr int k_last_standard_key = 0777;

// The terminal description's names of the keys above and their fixed codes.
struct named_key {
    const char *name;
    int code;
};
inline constexpr named_key named_keys[] = {
    {.name = "kLFT5", .code = k_key_ctrl_left},     {.name = "kLFT6", .code = k_key_ctrl_shift_left},
    {.name = "kRIT5", .code = k_key_ctrl_right},    {.name = "kRIT6", .code = k_key_ctrl_shift_right},
    {.name = "kHOM5", .code = k_key_ctrl_home},     {.name = "kPRV5", .code = k_key_ctrl_page_up},
    {.name = "kEND5", .code = k_key_ctrl_end},      {.name = "kNXT5", .code = k_key_ctrl_page_down},
};

// Forgets every terminal code.
void keymap_clear();

// Notes that the terminal sends `raw` for the key with the fixed `code`.
void keymap_add(int raw, int code);

// The code a screen sees for a key read from the terminal: the fixed code of a
// named key; any other extended key is moved out of the range of the fixed
// codes (it means nothing to any screen); standard keys stay as they are.
int canonical_key(int raw);

// Learns the terminal's codes of the named keys (after the screen is set up).
void init_keymap();
