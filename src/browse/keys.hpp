// Key codes as get_input returns them (curses codes and control characters),
// named once for the browser, the searches and the line editor.
#pragma once

inline constexpr int k_key_ctrl_a = 1;
inline constexpr int k_key_ctrl_d = 4;
inline constexpr int k_key_ctrl_h = 8;
inline constexpr int k_key_tab = 9;
inline constexpr int k_key_line_feed = 10;
inline constexpr int k_key_ctrl_l = 12;
inline constexpr int k_key_return = 13;
inline constexpr int k_key_ctrl_n = 14;
inline constexpr int k_key_ctrl_o = 15;
inline constexpr int k_key_ctrl_q = 17;
inline constexpr int k_key_ctrl_r = 18;
inline constexpr int k_key_ctrl_s = 19;
inline constexpr int k_key_ctrl_t = 20;
inline constexpr int k_key_ctrl_u = 21;
inline constexpr int k_key_ctrl_v = 22;
inline constexpr int k_key_ctrl_w = 23;
inline constexpr int k_key_esc = 27;
inline constexpr int k_key_delete_char = 127;   // what many terminals send for Backspace
inline constexpr int k_key_down = 258;
inline constexpr int k_key_up = 259;
inline constexpr int k_key_left = 260;
inline constexpr int k_key_right = 261;
inline constexpr int k_key_home = 262;
inline constexpr int k_key_backspace = 263;
constexpr int function_key(int n) { return 264 + n; }
inline constexpr int k_key_dc = 330;
inline constexpr int k_key_npage = 338;
inline constexpr int k_key_ppage = 339;
inline constexpr int k_key_enter = 343;
inline constexpr int k_key_end = 360;

// Extended codes that depend on the terminal description (control with the
// cursor keys, Home and End in xterm-like terminals).
inline constexpr int k_key_first_alt1 = 0x217;
inline constexpr int k_key_first_alt2 = 0x22B;
inline constexpr int k_key_last_alt1 = 0x212;
inline constexpr int k_key_last_alt2 = 0x226;
inline constexpr int k_key_ctrl_left1 = 0x220;
inline constexpr int k_key_ctrl_left2 = 0x221;
inline constexpr int k_key_ctrl_right1 = 0x22F;
inline constexpr int k_key_ctrl_right2 = 0x230;
