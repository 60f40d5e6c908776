#include "server/log.hpp"

#include <cstdarg>
#include <cstdio>

namespace {

std::FILE *log_file;   // nullptr: standard error
bool log_silent;       // true: nothing is written

}   // namespace

bool log_open(const char *path)
{
    if (path == nullptr)
        return true;
    std::FILE *f = std::fopen(path, "a");
    if (f == nullptr)
        return false;
    log_file = f;
    return true;
}

void log_stamp(char (&out)[64], std::time_t t)
{
    std::tm tm{};
    localtime_r(&t, &tm);
    std::snprintf(out, sizeof out, "%2.2d/%2.2d/%2.2d %2.2d:%2.2d:%2.2d ", tm.tm_mday, tm.tm_mon + 1,
                  (tm.tm_year + 1900 - 2000) % 100, tm.tm_hour, tm.tm_min, tm.tm_sec);
}

void slog(const char *format, ...)
{
    if (log_silent)
        return;
    std::FILE *f = log_file != nullptr ? log_file : stderr;
    char stamp[64];
    log_stamp(stamp, std::time(nullptr));
    char line[1024];
    va_list ap;
    va_start(ap, format);
    std::vsnprintf(line, sizeof line, format, ap);
    va_end(ap);
    std::fprintf(f, "%s%s\n", stamp, line);
    std::fflush(f);
}

void log_quiet(bool quiet) { log_silent = quiet; }
