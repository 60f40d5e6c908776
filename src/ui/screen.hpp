// Shared screen texts and the two drawing routines every screen uses.
#pragma once

#include <curses.h>

extern char heading[1024];   // the current screen title; a ';' marks where the browser appends its sort
extern char footer[256];     // key hints on the bottom line; '^' shows the next character reversed

// Draws a line border round the whole window, then resets its attributes.
void frame(WINDOW *win);

// Copies title (when not null) into heading, cuts it to 76 characters and
// writes it reversed on row 0, centred for 80 columns; refreshes.
void header(const char *title);

// Column at which a text of `length` characters is centred on an 80-column screen.
constexpr int centre_column(int length) { return (80 - length) / 2; }

// Writes text at (row, col) if that place is on the screen; a place outside it is skipped.
void put_text(WINDOW *win, int row, int col, const char *text);
