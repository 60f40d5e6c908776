#include "album/text_fix.hpp"

#include "proto/text_util.hpp"

#include <cstring>
#include <string_view>

namespace {

// Plain letters for the characters 0x80 to 0xFF, 32 to a row; a blank where
// there is no plain letter (0xC6, 0xD0, 0xD7, 0xDE, 0xDF, 0xE6, 0xF0, 0xF7, 0xFE).
constexpr char fold_rows[4][33] = {
    "          S   Z           s   zY",
    "                                ",
    "AAAAAA CEEEEIIII NOOOOO OUUUUY  ",
    "aaaaaa ceeeeiiii nooooo ouuuuy y",
};
static_assert(std::string_view(fold_rows[0]).size() == 32 && std::string_view(fold_rows[1]).size() == 32 &&
              std::string_view(fold_rows[2]).size() == 32 && std::string_view(fold_rows[3]).size() == 32);
static_assert(fold_rows[0][0x0A] == 'S' && fold_rows[0][0x0E] == 'Z' && fold_rows[0][0x1A] == 's' &&
              fold_rows[0][0x1E] == 'z' && fold_rows[0][0x1F] == 'Y');
static_assert(fold_rows[3][0x09] == 'e' && fold_rows[2][0x11] == 'N' && fold_rows[3][0x1F] == 'y');

bool is_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r'; }

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Removes trailing white space in place.
void strip_trailing_space(char *s)
{
    std::size_t n = std::strlen(s);
    while (n > 0 && is_space(s[n - 1]))
        s[--n] = '\0';
}

}   // namespace

char fold_latin1(unsigned char c)
{
    if (c < 0x80)
        return static_cast<char>(c);
    const unsigned i = c - 0x80u;
    return fold_rows[i / 32][i % 32];
}

void capitalize(char *text)
{
    char previous = ' ';
    for (char *p = text; *p != '\0'; ++p) {
        if (*p == '[' || *p == '{')
            *p = '(';
        else if (*p == ']' || *p == '}')
            *p = ')';
        if (previous == ' ' || previous == '(')
            *p = upper(*p);
        previous = *p;
    }
}

void lower_case(char *text)
{
    for (char *p = text; *p != '\0'; ++p)
        *p = lower(*p);
}

void split_string(char *line, char *first, std::size_t first_cap, char *second, std::size_t second_cap)
{
    for (char *p = line; *p != '\0'; ++p)
        *p = fold_latin1(static_cast<unsigned char>(*p));
    char *sep = nullptr;
    for (char *p = line; *p != '\0'; ++p) {
        if ((p[0] == ' ' && (p[1] == '-' || p[1] == '/')) || (p[0] == ':' && p[1] == ' ')) {
            sep = p;
            break;
        }
    }
    if (sep == nullptr) {
        copy_bounded(second, second_cap, line);
        return;
    }
    *sep = '\0';
    const char *rest = sep + 2;
    while (*rest == ' ')
        ++rest;
    copy_bounded(first, first_cap, line);
    copy_bounded(second, second_cap, rest);
    strip_trailing_space(first);
    strip_trailing_space(second);
}

bool begins_nocase(const char *text, const char *prefix)
{
    for (; *prefix != '\0'; ++text, ++prefix)
        if (lower(*text) != lower(*prefix))
            return false;
    return true;
}
