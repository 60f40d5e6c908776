#include "ui/form.hpp"

#include <cctype>
#include <cstring>

int field_edit_key(field_edit &e, int key, bool &bell)
{
    bell = false;
    char *b = e.buf;
    const int n = e.length;
    switch (key) {
    case -1:
    case 331:   // Insert: the field is always in insert mode
        return 0;
    case 260:   // Left
        if (e.cursor > 0)
            --e.cursor;
        return 0;
    case 261:   // Right
        if (e.cursor < n - 1)
            ++e.cursor;
        return 0;
    case 262:   // Home
        e.cursor = 0;
        return 0;
    case 360: {   // End: just after the last non-space character
        int last = n;
        while (last > 0 && b[last - 1] == ' ')
            --last;
        e.cursor = last;
        return 0;
    }
    case 263:   // Backspace
    case 8:
        if (e.cursor > 0) {
            std::memmove(b + e.cursor - 1, b + e.cursor, static_cast<std::size_t>(n - e.cursor));
            b[n - 1] = ' ';
            --e.cursor;
        }
        return 0;
    case 330:   // Delete
        if (e.cursor < n) {
            std::memmove(b + e.cursor, b + e.cursor + 1, static_cast<std::size_t>(n - e.cursor - 1));
            b[n - 1] = ' ';
        }
        return 0;
    case 343:
    case 10:
    case 13:
    case 9:
    case 258:
        return k_field_next;
    case 259:
        return k_field_prev;
    case 338:
    case 23:
        return k_field_page_down;
    case 339:
        return k_field_page_up;
    case 19:
        return k_field_save;
    case 27:
        return k_field_esc;
    default:
        break;
    }
    if (key < 0 || key > 255 || !std::isprint(key))
        return 0;
    if (e.cursor < n) {
        std::memmove(b + e.cursor + 1, b + e.cursor, static_cast<std::size_t>(n - e.cursor - 1));
        b[e.cursor++] = static_cast<char>(key);
        return 0;
    }
    bell = true;
    return e.advance ? 1 : 0;
}
