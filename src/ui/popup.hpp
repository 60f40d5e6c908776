// Questions, pop-ups and error messages.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// Asks a question at (row, column). length 0: show only (-1); 1: one key,
// folded to lower case (ESC or Ctrl-C: -3); 2 or more: a text field of that
// many characters edited in reply, which holds the default answer on entry and
// must hold length + 1 bytes. flags bit 4 clears and frames the screen first.
int prompt(int row, int column, const char *text, char *reply, int length, int flags);

// Shows a boxed message near the middle of the screen. seconds < 0: sleep
// -seconds; 0: wait for a key; >= 1: wait for a key or about that long.
// Silent in command-line mode.
void popup(const char *text, int seconds);

// Shows " text: number " (or " text") with the system error text appended
// while errno is set, and waits for a key. errno is left as it was.
void error_msg(const char *text, int number);

// Pop-up geometry: (L - 1) / 74 + 5 lines, min(L, 74) + 4 columns.
struct popup_box {
    int lines;
    int cols;
    int row;
    int col;
};
popup_box popup_geometry(int text_length);

// The same box moved and cut so that it lies on a screen of lines x cols
// (unchanged on a screen of 80x24 or more); a size of 0 means no room at all.
popup_box fit_popup(popup_box box, int lines, int cols);

// Breaks a pop-up text into its lines: a rest of 75 characters or more is cut
// at the last space at or before position 73, or at 74 when there is none;
// the character at the cut is dropped.
std::vector<std::string> popup_lines(const char *text);

// The answer of a text prompt: the edited value (width characters) goes into
// reply without its trailing blanks (all blanks: the empty text). Returns its
// first character folded to lower case, or `result` (the editor's) when that
// is not printable.
int text_answer(const char *value, int width, char *reply, int result);

// The text error_msg shows: " text: number " (or " text" when number is 0),
// then " - <system error text> " while errnum is not 0.
void format_error(char *buf, std::size_t cap, const char *text, int number, int errnum);
