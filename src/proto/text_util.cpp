#include "proto/text_util.hpp"

#include <cctype>
#include <climits>

bool copy_bounded(char *dst, std::size_t cap, std::string_view src)
{
    if (cap == 0)
        return src.empty();
    const std::size_t n = src.size() < cap - 1 ? src.size() : cap - 1;
    if (n > 0)   // an empty view may hold no pointer, and memcpy may not be given none
        std::memcpy(dst, src.data(), n);
    dst[n] = '\0';
    return n == src.size();
}

void strip_trailing_blanks(char *s)
{
    std::size_t n = std::strlen(s);
    while (n > 0 && (s[n - 1] == ' ' || s[n - 1] == '\t'))
        s[--n] = '\0';
}

long lenient_atol(std::string_view s)
{
    std::size_t i = 0;
    while (i < s.size() && (s[i] == ' ' || s[i] == '\t' || s[i] == '\n' || s[i] == '\r' || s[i] == '\v' ||
                            s[i] == '\f'))
        ++i;
    bool negative = false;
    if (i < s.size() && (s[i] == '+' || s[i] == '-'))
        negative = s[i++] == '-';
    long value = 0;
    for (; i < s.size() && s[i] >= '0' && s[i] <= '9'; ++i) {
        const int digit = s[i] - '0';
        if (value > (LONG_MAX - digit) / 10) {
            value = LONG_MAX;   // saturate instead of overflowing
            break;
        }
        value = value * 10 + digit;
    }
    return negative ? -value : value;
}

int compare_nocase(std::string_view a, std::string_view b, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i) {
        const int ca = i < a.size() ? std::tolower(static_cast<unsigned char>(a[i])) : 0;
        const int cb = i < b.size() ? std::tolower(static_cast<unsigned char>(b[i])) : 0;
        if (ca != cb)
            return ca - cb;
        if (ca == 0)
            return 0;
    }
    return 0;
}

bool starts_with_the(std::string_view text)
{
    return text.size() >= 4 && compare_nocase(text, "the ", 4) == 0;
}
