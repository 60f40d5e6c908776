// Where the reports' pure code sends its log lines: the client gives zerkalog,
// the tests a list.
#pragma once

// One line at a time, without time stamp or final newline.
struct line_sink {
    void (*line)(void *context, const char *text);
    void *context;
};
