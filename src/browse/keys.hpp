// Key codes as get_input returns them (curses codes and control characters),
// named once for the browser, the searches and the line editor.
#pragma once

#include "core/keymap.hpp"

namespace keys {

inline constexpr int ctrl_a = 1;
inline constexpr int ctrl_d = 4;
inline constexpr int ctrl_h = 8;
inline constexpr int tab = 9;
inline constexpr int line_feed = 10;
inline constexpr int ctrl_l = 12;
inline constexpr int carriage_return = 13;
inline constexpr int ctrl_n = 14;
inline constexpr int ctrl_o = 15;
inline constexpr int ctrl_q = 17;
inline constexpr int ctrl_r = 18;
inline constexpr int ctrl_s = 19;
inline constexpr int ctrl_t = 20;
inline constexpr int ctrl_u = 21;
inline constexpr int ctrl_v = 22;
inline constexpr int ctrl_w = 23;
inline constexpr int esc = 27;
inline constexpr int rubout = 127;   // what many terminals send for Backspace
inline constexpr int down = 258;
inline constexpr int up = 259;
inline constexpr int left = 260;
inline constexpr int right = 261;
inline constexpr int home = 262;
inline constexpr int backspace = 263;
constexpr int f(int n) { return 264 + n; }
inline constexpr int delete_char = 330;
inline constexpr int page_down = 338;
inline constexpr int page_up = 339;
inline constexpr int enter = 343;
inline constexpr int end = 360;

// Control with the cursor, Home, End and page keys, as the input loop gives
// them whatever the terminal (core/keymap.hpp).
inline constexpr int first_alt1 = k_key_ctrl_home;
inline constexpr int first_alt2 = k_key_ctrl_page_up;
inline constexpr int last_alt1 = k_key_ctrl_end;
inline constexpr int last_alt2 = k_key_ctrl_page_down;
inline constexpr int ctrl_left1 = k_key_ctrl_left;
inline constexpr int ctrl_left2 = k_key_ctrl_shift_left;
inline constexpr int ctrl_right1 = k_key_ctrl_right;
inline constexpr int ctrl_right2 = k_key_ctrl_shift_right;

}   // namespace keys
