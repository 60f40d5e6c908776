// Fuzzes the reader of the head a LINK_TRACK request names ("%d %d"), against
// a reference built on strtol: the same numbers, and a number beyond an int refused.
#include "server/handlers.hpp"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

// Reads two numbers as "%d %d" does from a C string, refusing one beyond an int.
bool reference(const char *s, int &a, int &b)
{
    int *out[] = {&a, &b};
    for (int *o : out) {
        while (*s != '\0' && std::strchr(" \t\n\v\f\r", *s) != nullptr)
            ++s;
        if (*s == '+' && s[1] == '-')
            return false;   // strtol would not take "+-5" either, but be plain about it
        char *end = nullptr;
        errno = 0;
        const long v = std::strtol(s, &end, 10);
        if (end == s || errno == ERANGE || v < INT_MIN || v > INT_MAX)
            return false;
        *o = static_cast<int>(v);
        s = end;
    }
    return true;
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    int a = 0;
    int b = 0;
    const bool ok = parse_link_head(text, a, b);
    // The reference sees what a C string of the first 63 characters holds.
    const std::string c(text.substr(0, 63).substr(0, text.substr(0, 63).find('\0')));
    int ra = 0;
    int rb = 0;
    const bool rok = reference(c.c_str(), ra, rb);
    if (ok != rok || (ok && (a != ra || b != rb)))
        std::abort();
    return 0;
}
