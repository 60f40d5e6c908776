#include "core/pgrep_pattern.hpp"

#include <string>

namespace {

// Appends text with a backslash before each character an extended regular
// expression gives a meaning to.
void append_literal(std::string &out, std::string_view text)
{
    constexpr std::string_view k_special = "\\.[]()*+?{}|^$";
    for (const char c : text) {
        if (k_special.find(c) != std::string_view::npos)
            out += '\\';
        out += c;
    }
}

}   // namespace

bool pgrep_pattern(char *out, std::size_t cap, std::string_view desc, std::string_view role)
{
    std::string pattern = "^";
    append_literal(pattern, desc);
    pattern += ' ';
    append_literal(pattern, role);
    pattern += ".*";
    if (cap == 0)
        return false;
    if (pattern.size() >= cap) {
        out[0] = '\0';
        return false;
    }
    pattern.copy(out, pattern.size());
    out[pattern.size()] = '\0';
    return true;
}
