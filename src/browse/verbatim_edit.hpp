// The editing step of the exact-text line editor (get_string_verbatim).
#pragma once

#include <cstddef>

// The text being edited and the insertion point. The buffer holds size + 2
// bytes; the text never grows beyond size characters.
struct verbatim_line {
    char *buf;
    int size;
    int pos = 0;
};

inline constexpr int k_verbatim_more = 1;   // the key was applied; edit on
inline constexpr int k_verbatim_done = 0;   // Enter, Return or line feed
inline constexpr int k_verbatim_esc = -3;

// Applies one key: Left, Right, Home, End, Backspace, Delete, printable
// characters (inserted at the position while it is below the size; a full
// text loses its last character). Returns one of the results above.
int verbatim_key(verbatim_line &line, int key);
