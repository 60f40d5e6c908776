// The background WAV checker's walk over the albums and its log lines, kept
// free of the process around it so that it can be run and read directly.
#pragma once

#include "reports/line_sink.hpp"

#include <cstddef>

// "WAVcheck Started at album %04d, looking for glitches", or without the
// glitch flag "WAVcheck Started at album %04d".
void format_check_started(char *buf, std::size_t cap, int album_no, bool glitches);

// "Album %04d: %d errors", or "Album %04d: OK" when errors is 0.
void format_album_result(char *buf, std::size_t cap, int album_no, int errors);

// "WAVcheck Finished: %d files processed, %d errors found\n", or "..., No
// errors found\n" when errors is 0 (the format's own newline is kept, so the
// log shows an empty line after it).
void format_check_finished(char *buf, std::size_t cap, int files, int errors);

// The totals of one walk.
struct wav_check_totals {
    int files = 0;    // every file that was tried
    int errors = 0;   // every result other than OK
};

// Checks the media file of every on-line track of the albums from `first`
// (below 1 counts as 1) to `last`, free numbers included, from the working
// directory's "Media" folder, and writes the started line, one "%s: %s" line
// (path, result) per fault, one line per album and the finished line. A file
// that cannot be opened counts in the total but not in its album's count.
wav_check_totals wav_check_walk(bool glitches, int first, int last, const line_sink &log);
