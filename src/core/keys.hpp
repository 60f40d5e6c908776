// Key codes as get_input returns them (curses codes and control characters),
// named once for every screen; usable by code that must not include curses.
#pragma once

#include <cstddef>

// The control character of a letter: ctrl_key('A') is 1.
constexpr int ctrl_key(char letter) { return letter & 0x1F; }

inline constexpr int k_key_ctrl_a = ctrl_key('A');
inline constexpr int k_key_ctrl_c = ctrl_key('C');
inline constexpr int k_key_ctrl_d = ctrl_key('D');
inline constexpr int k_key_ctrl_e = ctrl_key('E');
inline constexpr int k_key_ctrl_f = ctrl_key('F');
inline constexpr int k_key_ctrl_g = ctrl_key('G');
inline constexpr int k_key_ctrl_h = ctrl_key('H');
inline constexpr int k_key_tab = ctrl_key('I');
inline constexpr int k_key_linefeed = ctrl_key('J');
inline constexpr int k_key_ctrl_k = ctrl_key('K');
inline constexpr int k_key_ctrl_l = ctrl_key('L');
inline constexpr int k_key_return = ctrl_key('M');
inline constexpr int k_key_ctrl_n = ctrl_key('N');
inline constexpr int k_key_ctrl_o = ctrl_key('O');
inline constexpr int k_key_ctrl_p = ctrl_key('P');
inline constexpr int k_key_ctrl_q = ctrl_key('Q');
inline constexpr int k_key_ctrl_r = ctrl_key('R');
inline constexpr int k_key_ctrl_s = ctrl_key('S');
inline constexpr int k_key_ctrl_t = ctrl_key('T');
inline constexpr int k_key_ctrl_u = ctrl_key('U');
inline constexpr int k_key_ctrl_v = ctrl_key('V');
inline constexpr int k_key_ctrl_w = ctrl_key('W');
inline constexpr int k_key_esc = 27;
inline constexpr int k_key_rubout = 127;   // what many terminals send for Backspace
inline constexpr int k_key_down = 258;
inline constexpr int k_key_up = 259;
inline constexpr int k_key_left = 260;
inline constexpr int k_key_right = 261;
inline constexpr int k_key_home = 262;
inline constexpr int k_key_backspace = 263;
constexpr int k_key_f(int n) { return 264 + n; }
inline constexpr int k_key_delete = 330;
inline constexpr int k_key_insert = 331;
inline constexpr int k_key_page_down = 338;
inline constexpr int k_key_page_up = 339;
inline constexpr int k_key_enter = 343;
inline constexpr int k_key_end = 360;

// Control with the cursor, Home, End and page keys, whose codes the terminal
// description decides: the input loop gives them these codes (core/keymap).
inline constexpr int k_key_ctrl_left = 0x220;
inline constexpr int k_key_ctrl_shift_left = 0x221;
inline constexpr int k_key_ctrl_right = 0x22F;
inline constexpr int k_key_ctrl_shift_right = 0x230;
inline constexpr int k_key_ctrl_home = 0x217;
inline constexpr int k_key_ctrl_page_up = 0x22B;
inline constexpr int k_key_ctrl_end = 0x212;
inline constexpr int k_key_ctrl_page_down = 0x226;

// Key tables: constexpr arrays of rows with a `key` (and, where a key means
// different things in different list modes, a `modes` mask of mode bits).
// These check them at compile time.

// The bit of a list mode (a browser mode, 0..31) in a `modes` mask.
constexpr int mode_bit(int mode) { return 1 << mode; }
inline constexpr int k_every_mode = ~0;

// No key twice in a table.
template <typename Row, std::size_t N>
constexpr bool keys_unique(const Row (&rows)[N])
{
    for (std::size_t i = 0; i < N; ++i)
        for (std::size_t j = i + 1; j < N; ++j)
            if (rows[i].key == rows[j].key)
                return false;
    return true;
}

// A key twice in a table only for modes that do not overlap, so that one row
// at most applies to a key in any mode.
template <typename Row, std::size_t N>
constexpr bool keys_unique_per_mode(const Row (&rows)[N])
{
    for (std::size_t i = 0; i < N; ++i)
        for (std::size_t j = i + 1; j < N; ++j)
            if (rows[i].key == rows[j].key && (rows[i].modes & rows[j].modes) != 0)
                return false;
    return true;
}

// The row of a key that applies in `mode`, or null.
template <typename Row, std::size_t N>
constexpr const Row *key_row(const Row (&rows)[N], int key, int mode)
{
    for (const Row &r : rows)
        if (r.key == key && (r.modes & mode_bit(mode)) != 0)
            return &r;
    return nullptr;
}
