// Small text helpers shared by client and server: bounded copies into fixed
// buffers and the lenient conversions the message and file formats rely on.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

// Copies src into dst, cut to fit, always NUL-terminated; never overflows.
// Returns true when the whole of src fitted.
template <std::size_t N>
bool copy_bounded(char (&dst)[N], std::string_view src)
{
    static_assert(N > 0);
    const std::size_t n = src.size() < N - 1 ? src.size() : N - 1;
    if (n > 0)   // an empty view may hold no pointer, and memcpy may not be given none
        std::memcpy(dst, src.data(), n);
    dst[n] = '\0';
    return n == src.size();
}

// The same for a buffer known only by pointer and capacity (capacity includes the NUL).
bool copy_bounded(char *dst, std::size_t cap, std::string_view src);

// Appends src to the NUL-terminated text in dst without overflowing; true when it all fitted.
template <std::size_t N>
bool append_bounded(char (&dst)[N], std::string_view src)
{
    const std::size_t used = strnlen(dst, N - 1);
    return copy_bounded(dst + used, N - used, src);
}

// Length of a NUL-terminated text held in a fixed array (never reads past it).
template <std::size_t N>
std::size_t bounded_len(const char (&s)[N])
{
    return strnlen(s, N);
}

// Removes trailing blanks (spaces and tabs) in place.
void strip_trailing_blanks(char *s);

// The usual lenient integer conversion: optional blanks and sign, then digits;
// anything else stops it, and no digits at all give 0 (like atoi, without overflow UB).
long lenient_atol(std::string_view s);

// Case-insensitive comparison of the first n characters (strncasecmp semantics).
int compare_nocase(std::string_view a, std::string_view b, std::size_t n);

// True when text begins with "the " in any case (the four characters, blank included).
bool starts_with_the(std::string_view text);
