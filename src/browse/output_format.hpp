// The line formats of list output: plain text, inlay card and CSV.
#pragma once

#include "proto/album_text.hpp"

#include <cstddef>
#include <string>

// The three forms of output_menu.
inline constexpr int k_output_plain = 0;
inline constexpr int k_output_inlay = 1;
inline constexpr int k_output_csv = 2;

// A plain text line: "%s - %s" (artist, title) and a newline.
std::string plain_line(const track_rec &texts);

// The head of an inlay card: "\n\t%s\n" with the heading, a rule of 84 '-'
// (with time stamps) or 75, and an empty line.
std::string inlay_head(const char *heading, bool timestamps);

// The state character of an inlay card line: the selection letter, in lower
// case for an off-line track (where '-' becomes a blank); '-' becomes '.' on line.
char inlay_state_char(char status, std::int32_t online);

// One inlay card line with its newline. With time stamps it begins with the
// record's CD-ID or time played ("%8.8lX "). An album line is
// "%04d %-26.26s - %-28.28s [%s] (%d)", a track line
// "%04d/%02d %-29.29s - %-29.29s [%s] %c".
std::string inlay_line(int album_no, int track_no, const track_rec &texts, const track_rec &state, bool album_list,
                       bool timestamps, int album_tracks);

// A text for the CSV file: every double quote becomes two apostrophes.
std::string csv_text(const char *text);

// One CSV line with its newline: "\"%04d/%02d\"," first with index numbers,
// then "\"%s\",\"%s\"" (artist, title).
std::string csv_line(int album_no, int track_no, const track_rec &texts, bool index_numbers);
