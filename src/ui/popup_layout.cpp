// Where a pop-up goes and how its text is broken into lines.
#include "ui/popup.hpp"

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
