#include "ui/centre.hpp"

#include <cstring>

centred_text centre_for_80(std::string_view text)
{
    centred_text c = {};
    const std::size_t n = text.size() < static_cast<std::size_t>(k_centred_max) ? text.size() : k_centred_max;
    std::memcpy(c.text, text.data(), n);
    c.text[n] = '\0';
    c.column = (80 - static_cast<int>(n)) / 2;
    return c;
}
