// The server's log: one line per event, stamped like the client's log
// ("dd/mm/yy hh:mm:ss "), flushed per line. Standard error unless a file is named.
#pragma once

#include <cstddef>
#include <ctime>

// Opens the log file (appending); nullptr or a failure keeps standard error. False on failure.
bool log_open(const char *path);

// Writes the stamp of time t ("%2.2d/%2.2d/%2.2d %2.2d:%2.2d:%2.2d ") into out.
void log_stamp(char (&out)[64], std::time_t t);

// Writes one stamped log line.
[[gnu::format(printf, 1, 2)]] void slog(const char *format, ...);

// Silences the log (unit tests and benchmarks).
void log_quiet(bool quiet);
