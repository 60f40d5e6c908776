// The log file zerka.log: one time-stamped line per event, flushed per line.
#pragma once

#include <cstdio>
#include <ctime>

extern std::FILE *logfile;   // zerka.log under the root, opened for append at start-up

// Writes the log time stamp "%2.2d/%2.2d/%2.2d %2.2d:%2.2d:%2.2d " (day, month,
// year - 2000, hours, minutes, seconds) for the local time t into out.
void format_log_stamp(char (&out)[64], std::time_t t);

// Appends one time-stamped line to the log and flushes it.
[[gnu::format(printf, 1, 2)]] void zerkalog(const char *format, ...);

// Debugging aid: writes "\r\n", the text and "\r\n" to standard error, then waits for a key.
[[gnu::format(printf, 1, 2)]] void diag(const char *format, ...);
