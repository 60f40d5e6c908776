// One key of the field editor applied to its work buffer.
#include "core/keys.hpp"
#include "ui/form.hpp"

#include <cstring>

int field_edit_key(field_edit &e, int key, bool &bell)
{
    bell = false;
    char *b = e.buf;
    const int n = e.length;
    switch (key) {
    case -1:              // no key: draw again
    case k_key_insert:    // the field is always in insert mode
        return 0;
    case k_key_left:
        if (e.cursor > 0)
            --e.cursor;
        return 0;
    case k_key_right:
        if (e.cursor < n - 1)
            ++e.cursor;
        return 0;
    case k_key_home:
        e.cursor = 0;
        return 0;
    case k_key_end: {   // just after the last non-space character
        int last = n;
        while (last > 0 && b[last - 1] == ' ')
            --last;
        e.cursor = last;
        return 0;
    }
    case k_key_backspace:
    case k_key_ctrl_h:
        if (e.cursor > 0) {
            std::memmove(b + e.cursor - 1, b + e.cursor, static_cast<std::size_t>(n - e.cursor));
            b[n - 1] = ' ';
            --e.cursor;
        }
        return 0;
    case k_key_delete:
        if (e.cursor < n) {
            std::memmove(b + e.cursor, b + e.cursor + 1, static_cast<std::size_t>(n - e.cursor - 1));
            b[n - 1] = ' ';
        }
        return 0;
    case k_key_enter:
    case k_key_linefeed:
    case k_key_return:
    case k_key_tab:
    case k_key_down:
        return k_field_next;
    case k_key_up:
        return k_field_prev;
    case k_key_page_down:
    case k_key_ctrl_w:
        return k_field_page_down;
    case k_key_page_up:
        return k_field_page_up;
    case k_key_ctrl_s:
        return k_field_save;
    case k_key_esc:
        return k_field_esc;
    default:
        break;
    }
    // Printable characters only (the program runs in the C locale: blank to tilde).
    if (key < ' ' || key > '~')
        return 0;
    if (e.cursor < n) {
        std::memmove(b + e.cursor + 1, b + e.cursor, static_cast<std::size_t>(n - e.cursor - 1));
        b[e.cursor++] = static_cast<char>(key);
        return 0;
    }
    bell = true;
    return e.advance ? k_field_push_back : 0;
}
