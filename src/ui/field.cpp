#include "core/input.hpp"
#include "ui/form.hpp"
#include "ui/screen.hpp"

#include <cstring>
#include <curses.h>

int input_field(form_field *field)
{
    field_edit e = {};
    e.length = field->length < 79 ? field->length : 79;
    std::memcpy(e.buf, field->value, static_cast<std::size_t>(e.length));
    for (int i = static_cast<int>(strnlen(e.buf, static_cast<std::size_t>(e.length))); i < e.length; ++i)
        e.buf[i] = ' ';
    e.buf[e.length] = '\0';
    e.advance = field->advance;
    const int col = field->column + static_cast<int>(strnlen(field->label, sizeof field->label)) + 1;
    int result = 0;
    while (result == 0) {
        attron(A_REVERSE);
        put_text(stdscr, field->row, col, e.buf);
        attroff(A_REVERSE);
        move(field->row, col + e.cursor);
        curs_set(1);
        const int key = get_input(&input, 0);
        bool bell = false;
        result = field_edit_key(e, key, bell);
        if (bell)
            beep();
        if (result == 1) {
            push_key(key);
            result = k_field_next;
        }
    }
    std::memcpy(field->value, e.buf, static_cast<std::size_t>(e.length));
    field->value[e.length] = '\0';
    curs_set(0);
    return result;
}
