// Where a pop-up goes, how its text is broken into lines, and the texts of
// prompt answers and error messages.
#include "ui/popup.hpp"

#include <cstdio>
#include <cstring>

popup_box popup_geometry(int text_length)
{
    const int width = text_length < 74 ? text_length : 74;
    return {.lines = (text_length - 1) / 74 + 5, .cols = width + 4, .row = 10, .col = (80 - width) / 2 - 2};
}

popup_box fit_popup(popup_box box, int lines, int cols)
{
    const auto fit = [](int &origin, int &size, int limit) {
        if (size > limit)
            size = limit < 0 ? 0 : limit;
        if (origin + size > limit)
            origin = limit - size;
        if (origin < 0)
            origin = 0;
    };
    fit(box.row, box.lines, lines);
    fit(box.col, box.cols, cols);
    return box;
}

std::vector<std::string> popup_lines(const char *text)
{
    std::vector<std::string> lines;
    std::string rest(text);
    while (rest.size() >= 75) {
        std::size_t cut = 74;
        for (int i = 73; i >= 0; --i) {
            if (rest[static_cast<std::size_t>(i)] == ' ') {
                cut = static_cast<std::size_t>(i);
                break;
            }
        }
        lines.push_back(rest.substr(0, cut));
        rest.erase(0, cut + 1);   // the space, or the character at the cut, is dropped
    }
    lines.push_back(rest);
    return lines;
}

int text_answer(const char *value, int width, char *reply, int result)
{
    std::memcpy(reply, value, static_cast<std::size_t>(width));
    reply[width] = '\0';
    for (int i = width - 1; i >= 0 && reply[i] == ' '; --i)
        reply[i] = '\0';
    const int first = static_cast<unsigned char>(reply[0]);
    if (first < ' ' || first > '~')
        return result;
    return first >= 'A' && first <= 'Z' ? first - 'A' + 'a' : first;
}

void format_error(char *buf, std::size_t cap, const char *text, int number, int errnum)
{
    int used = number != 0 ? std::snprintf(buf, cap, " %s: %d ", text, number) : std::snprintf(buf, cap, " %s", text);
    if (used < 0 || static_cast<std::size_t>(used) >= cap || errnum == 0)
        return;
    std::snprintf(buf + used, cap - static_cast<std::size_t>(used), " - %s ", std::strerror(errnum));
}
