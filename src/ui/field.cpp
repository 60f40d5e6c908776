// Forms: drawing a form table, walking its editable rows and editing one value.
#include "core/input.hpp"
#include "ui/form.hpp"
#include "ui/screen.hpp"

#include <cstdio>
#include <cstring>
#include <curses.h>

namespace {

// The form on the screen, redrawn after the terminal changed size; null when none.
const form_field *open_form;

// Rows 4 to 7 of data_input, hidden while an album (not a track) is shown.
constexpr int k_track_only_first = k_form_status;
constexpr int k_track_only_last = k_form_plays;

// Counts the rows of a form up to its end row.
int form_rows(const form_field *form)
{
    int n = 0;
    while (form[n].kind != 0)
        ++n;
    return n;
}

// Draws one row: label, a blank and the value, or as many blanks when hidden.
void draw_row(const form_field &f)
{
    char text[sizeof f.label + sizeof f.value + 1];
    const int label_len = static_cast<int>(strnlen(f.label, sizeof f.label));
    const int value_len = static_cast<int>(strnlen(f.value, sizeof f.value));
    if (f.hidden)
        std::snprintf(text, sizeof text, "%*s", label_len + 1 + value_len, "");
    else
        std::snprintf(text, sizeof text, "%.*s %.*s", label_len, f.label, value_len, f.value);
    put_text(stdscr, f.row, f.column, text);
}

// Draws every row of a form as it stands.
void draw_form(const form_field *form)
{
    const int n = form_rows(form);
    for (int i = 0; i < n; ++i)
        draw_row(form[i]);
}

// Shows or hides the track-only rows of data_input.
void set_track_rows_hidden(int hidden)
{
    for (int i = k_track_only_first; i <= k_track_only_last; ++i)
        data_input[i].hidden = hidden;
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
    const int n = form_rows(form);
    for (int i = 0; i < n; ++i) {
        form_field &f = form[i];
        if (f.kind != 2)
            continue;
        const int length = f.length < static_cast<int>(sizeof f.value) ? f.length : static_cast<int>(sizeof f.value) - 1;
        const int have = static_cast<int>(strnlen(f.value, sizeof f.value));
        for (int c = have; c < length; ++c)
            f.value[c] = ' ';
        if (have < length)
            f.value[length] = '\0';
    }
    if (n == 0)
        return k_field_esc;

    const bool is_data_input = form == data_input && n > k_track_only_last;
    bool album_mode = false;
    int current = 0;
    int skipped = 0;   // rows passed over without editing since the last edit
    for (;;) {
        if (album_mode) {
            set_track_rows_hidden(0);
            album_mode = false;
        }
        mvaddch(0, 0, ACS_ULCORNER);
        attrset(A_NORMAL);
        for (int i = 0; i < n; ++i) {
            if (i == 0 && is_data_input && std::strcmp(form[0].label, "Album No:") == 0) {
                set_track_rows_hidden(1);
                album_mode = true;
            }
            draw_row(form[i]);
        }
        refresh();
        form_field &f = form[current];
        if (f.kind != 2 || f.hidden) {
            // A form with nothing to edit ends as if ESC was pressed.
            if (++skipped > n) {
                if (album_mode)
                    set_track_rows_hidden(0);
                attrset(A_NORMAL);
                return k_field_esc;
            }
            current = current + 1 < n ? current + 1 : 0;
            continue;
        }
        skipped = 0;
        const int result = input_field(&f);
        bool finished = false;
        if (result == k_field_esc || (result <= k_field_page_down && result >= k_field_save)) {
            finished = true;
            if (album_mode) {
                set_track_rows_hidden(0);
                album_mode = false;
            }
        } else if (result == k_field_prev) {
            // Back one row, on over hidden rows; the handler is not called.
            for (int tries = 0; tries < n; ++tries) {
                current = current == 0 ? n - 1 : current - 1;
                if (!form[current].hidden)
                    break;
            }
            continue;
        }
        if (f.handler != nullptr && f.handler(form, current) == k_field_esc) {
            attrset(A_NORMAL);
            return k_field_esc;
        }
        if (finished) {
            attrset(A_NORMAL);
            return result;
        }
        current = current + 1 < n ? current + 1 : 0;
    }
}
