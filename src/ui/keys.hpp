// Key codes as the keyboard delivers them (curses codes and control
// characters), for code that must not include curses.
#pragma once

inline constexpr int k_key_ctrl_a = 1;
inline constexpr int k_key_ctrl_c = 3;
inline constexpr int k_key_ctrl_h = 8;
inline constexpr int k_key_tab = 9;
inline constexpr int k_key_linefeed = 10;
inline constexpr int k_key_ctrl_l = 12;
inline constexpr int k_key_return = 13;
inline constexpr int k_key_ctrl_s = 19;
inline constexpr int k_key_ctrl_w = 23;
inline constexpr int k_key_esc = 27;
inline constexpr int k_key_down = 258;
inline constexpr int k_key_up = 259;
inline constexpr int k_key_left = 260;
inline constexpr int k_key_right = 261;
inline constexpr int k_key_home = 262;
inline constexpr int k_key_backspace = 263;
inline constexpr int k_key_f1 = 265;
inline constexpr int k_key_delete = 330;
inline constexpr int k_key_insert = 331;
inline constexpr int k_key_page_down = 338;
inline constexpr int k_key_page_up = 339;
inline constexpr int k_key_enter = 343;
inline constexpr int k_key_end = 360;
