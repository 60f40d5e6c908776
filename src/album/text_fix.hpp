// Repairs of artist and title texts: capitalisation, the Latin-1 fold and the
// split of "first - second" lines. Pure text work, no screen.
#pragma once

#include <cstddef>

// Upper-cases every letter that follows a blank or '(' (the first character
// counts as following a blank) and turns '[' '{' into '(' and ']' '}' into ')'.
// Nothing is lowered: mcCartney gives McCartney, THE END stays THE END.
void capitalize(char *text);

// Lower-cases every ASCII letter of a text in place.
void lower_case(char *text);

// The plain letter a character with the top bit set folds to (a blank for the
// ones without one); characters below 0x80 are returned as they are.
char fold_latin1(unsigned char c);

// Splits a line at the first " -", " /" or ": ". The line is changed in place:
// top-bit characters are folded to plain letters, and on a split the line is
// cut at the separator. Found: the part before goes into `first`, the part
// after the separator and its following blanks into `second`, both without
// trailing white space. Not found: the whole line goes into `second` and
// `first` is left as it was. Copies are cut to the destinations' capacities
// (which include the terminating NUL).
void split_string(char *line, char *first, std::size_t first_cap, char *second, std::size_t second_cap);

template <std::size_t N, std::size_t M>
void split_string(char *line, char (&first)[N], char (&second)[M])
{
    split_string(line, first, N, second, M);
}

// True when a text begins with `prefix` in any case ("vari" for Various Artists).
bool begins_nocase(const char *text, const char *prefix);

// The album artist of a compilation.
inline constexpr const char *k_various_artists = "Various Artists";
