#include "ui/menu_layout.hpp"

#include "core/keys.hpp"

#include <cstring>

int null_func(const void *, int, const char *) { return k_stay; }
int dumb_func(const void *, int, const char *) { return k_stay; }
int quit_func(const void *, int, const char *) { return k_leave; }
int brk_func(const void *, int, const char *) { return k_break; }

int menu_row_count(const menu_item *table)
{
    int n = 0;
    while (table[n].handler != null_func)
        ++n;
    return n;
}

menu_layout lay_out_menu(const menu_item *table, int lines, int cols)
{
    menu_layout m = {};
    m.rows = menu_row_count(table);
    int longest = 0;
    for (int i = 0; i < m.rows; ++i) {
        const int len = table[i].label != nullptr ? static_cast<int>(std::strlen(table[i].label)) : 0;
        longest = len > longest ? len : longest;
    }
    // The counter starts again at 0, not 1, after a column is full: 21 to 41
    // rows count as two columns although 41 rows are drawn in three. Kept so.
    m.columns = 1;
    int counter = 0;
    for (int i = 0; i < m.rows; ++i) {
        if (++counter > k_menu_column_rows) {
            counter = 0;
            ++m.columns;
        }
    }
    m.top = m.columns == 1 ? (lines - m.rows + 1) / 2 : (lines - 19) / 2;
    m.width = longest;
    if ((m.width + 1) * m.columns > cols)
        m.width = (cols - m.columns) / m.columns - 1;
    if (m.width < 0)
        m.width = 0;
    m.x0 = (cols - 2) / (2 * m.columns) - m.width / 2;
    m.step = (cols - 2) / m.columns;
    return m;
}

menu_cell menu_cell_at(const menu_layout &layout, int index)
{
    return {.line = layout.top + index % k_menu_column_rows,
            .col = layout.x0 + index / k_menu_column_rows * layout.step};
}

int menu_move(int key, int current, int rows)
{
    const int last = rows - 1;
    switch (key) {
    case k_key_down:
    case k_key_tab:
        return current >= last ? 0 : current + 1;
    case k_key_up:
        return current <= 0 ? last : current - 1;
    case k_key_left:
        return current - k_menu_column_rows < 0 ? 0 : current - k_menu_column_rows;
    case k_key_right:
        return current + k_menu_column_rows > last ? last : current + k_menu_column_rows;
    case k_key_home:
        return 0;
    case k_key_end:
        return last;
    case k_key_page_up:
        return current / k_menu_column_rows * k_menu_column_rows;
    case k_key_page_down: {
        const int end = (current / k_menu_column_rows + 1) * k_menu_column_rows - 1;
        return end > last ? last : end;
    }
    default:
        return -1;
    }
}

int menu_skip_captions(const menu_item *table, int rows, int current, bool backwards)
{
    for (int tries = 0; tries < rows && table[current].handler == dumb_func; ++tries) {
        if (backwards)
            current = current == 0 ? rows - 1 : current - 1;
        else
            current = current == rows - 1 ? 0 : current + 1;
    }
    return current;
}

namespace {

// Folds an ASCII capital to lower case; every other value is left alone.
int fold(int c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; }

}   // namespace

int menu_quick_select(const menu_item *table, int rows, int current, int key)
{
    // The key is compared as a signed 8-bit character, as the label's first character is.
    const auto wanted = static_cast<signed char>(fold(key));
    for (int i = current + 1;; ++i) {
        if (i >= rows)
            i = 0;
        if (i == current)
            return current;
        const char *label = table[i].label != nullptr ? table[i].label : "";
        if (static_cast<signed char>(fold(static_cast<unsigned char>(label[0]))) == wanted)
            return i;
    }
}
