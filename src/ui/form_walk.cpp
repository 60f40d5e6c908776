// The walk of a form through its rows: which row is edited next, what the
// editor's result does, and the rows an album does not show.
#include "ui/form.hpp"

#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

// Rows 4 to 7 of data_input, hidden while an album (not a track) is shown.
void set_track_rows_hidden(int hidden)
{
    for (int i = k_form_status; i <= k_form_plays; ++i)
        data_input[i].hidden = hidden;
}

// The row after `current`, from the last back to row 0.
int next_row(int current, int rows) { return current + 1 < rows ? current + 1 : 0; }

}   // namespace

int form_rows(const form_field *form)
{
    int n = 0;
    while (form[n].kind != 0)
        ++n;
    return n;
}

// A row as drawn: hidden rows keep their width in blanks so that nothing of them shows.
void form_row_text(char *buf, std::size_t cap, const form_field &f)
{
    const int label_len = static_cast<int>(strnlen(f.label, sizeof f.label));
    const int value_len = static_cast<int>(strnlen(f.value, sizeof f.value));
    if (f.hidden)
        std::snprintf(buf, cap, "%*s", label_len + 1 + value_len, "");
    else
        std::snprintf(buf, cap, "%.*s %.*s", label_len, f.label, value_len, f.value);
}

int run_form(form_field *form, const form_callbacks &cb)
{
    const int n = form_rows(form);
    for (int i = 0; i < n; ++i) {
        form_field &f = form[i];
        if (f.kind != 2)
            continue;
        const int length = f.length < static_cast<int>(sizeof f.value) ? f.length : static_cast<int>(sizeof f.value) - 1;
        int have = 0;
        while (have < length && f.value[have] != '\0')
            ++have;
        for (int c = have; c < length; ++c)
            f.value[c] = ' ';
        if (have < length)
            f.value[length] = '\0';
    }
    if (n == 0)
        return k_field_esc;

    const bool is_data_input = form == data_input && n > k_form_plays;
    bool album_mode = false;
    // The album rows are shown again however the form ends.
    const auto finish = [&](int result) {
        if (album_mode)
            set_track_rows_hidden(0);
        return result;
    };
    int current = 0;
    int skipped = 0;   // rows passed over without editing since the last edit
    for (;;) {
        if (album_mode) {
            set_track_rows_hidden(0);
            album_mode = false;
        }
        // An album (row 0 labelled "Album No:") has no status, play data or on-line flag.
        if (is_data_input && std::string_view(form[0].label) == "Album No:") {
            set_track_rows_hidden(1);
            album_mode = true;
        }
        cb.draw(form, n);
        form_field &f = form[current];
        if (f.kind != 2 || f.hidden) {
            if (++skipped > n)
                return finish(k_field_esc);   // nothing to edit: as if ESC was pressed
            current = next_row(current, n);
            continue;
        }
        skipped = 0;
        const int result = cb.edit(&f);
        const bool finished = result == k_field_esc || (result <= k_field_page_down && result >= k_field_save);
        if (result == k_field_prev) {
            // Back one row, on over hidden rows; the handler is not called. A
            // row that is shown only is then passed forward again.
            for (int tries = 0; tries < n; ++tries) {
                current = current == 0 ? n - 1 : current - 1;
                if (!form[current].hidden)
                    break;
            }
            continue;
        }
        if (f.handler != nullptr && f.handler(form, current) == k_field_esc)
            return finish(k_field_esc);
        if (finished)
            return finish(result);
        current = next_row(current, n);
    }
}
