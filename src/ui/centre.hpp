// Texts centred on the top and bottom lines: laid out for an 80-column screen
// whatever the terminal's width.
#pragma once

#include <string_view>

inline constexpr int k_centred_max = 76;   // longer headings and footers are cut to this

// A heading or footer as drawn: cut to 76 characters, starting at (80 - length) / 2.
struct centred_text {
    char text[k_centred_max + 1];
    int column;
};
centred_text centre_for_80(std::string_view text);
