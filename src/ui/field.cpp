// Forms: drawing a form table, walking its editable rows and editing one value.
#include "core/input.hpp"
#include "ui/form.hpp"
#include "ui/screen.hpp"

#include <cstring>
#include <curses.h>

namespace {

// The form on the screen, redrawn after the terminal changed size; null when none.
const form_field *open_form;

// Draws one row: label, a blank and the value, or as many blanks when hidden.
void draw_row(const form_field &f)
{
    char text[sizeof f.label + sizeof f.value + 1];
    form_row_text(text, sizeof text, f);
    put_text(stdscr, f.row, f.column, text);
}

// Draws every row of a form as it stands.
void draw_form(const form_field *form)
{
    const int n = form_rows(form);
    for (int i = 0; i < n; ++i)
        draw_row(form[i]);
}

// Remembers the form on the screen for the time of one form_func call.
struct form_on_screen {
    const form_field *before;
    explicit form_on_screen(const form_field *form) : before(open_form) { open_form = form; }
    form_on_screen(const form_on_screen &) = delete;
    form_on_screen &operator=(const form_on_screen &) = delete;
    ~form_on_screen() { open_form = before; }
};

}   // namespace

int input_field(form_field *field)
{
    field_edit e = {};
    const int cap = static_cast<int>(sizeof field->value) - 1;
    e.length = field->length < 0 ? 0 : field->length < cap ? field->length : cap;
    const int have = static_cast<int>(strnlen(field->value, static_cast<std::size_t>(e.length)));
    std::memcpy(e.buf, field->value, static_cast<std::size_t>(have));
    std::memset(e.buf + have, ' ', static_cast<std::size_t>(e.length - have));
    e.buf[e.length] = '\0';
    e.advance = field->advance;
    const int col = field->column + static_cast<int>(strnlen(field->label, sizeof field->label)) + 1;
    int generation = resize_generation;
    int result = 0;
    while (result == 0) {
        if (generation != resize_generation) {
            // The screen was wiped: put back the form (or the question) around the value.
            generation = resize_generation;
            if (open_form != nullptr)
                draw_form(open_form);
            put_text(stdscr, field->row, field->column, field->label);
        }
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
        if (result == k_field_push_back) {
            push_key(key);
            result = k_field_next;
        }
    }
    std::memcpy(field->value, e.buf, static_cast<std::size_t>(e.length));
    field->value[e.length] = '\0';
    curs_set(0);
    return result;
}

int form_func(form_field *form)
{
    const form_on_screen shown(form);
    const form_callbacks screen = {
        .draw =
            [](const form_field *f, int) {
                mvaddch(0, 0, ACS_ULCORNER);
                attrset(A_NORMAL);
                draw_form(f);
                refresh();
            },
        .edit = input_field,
    };
    const int result = run_form(form, screen);
    attrset(A_NORMAL);
    return result;
}
