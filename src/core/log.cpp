#include "core/log.hpp"

#include <cstdarg>

std::FILE *logfile;

void format_log_stamp(char (&out)[64], std::time_t t)
{
    std::tm tm{};
    localtime_r(&t, &tm);
    std::snprintf(out, sizeof out, "%2.2d/%2.2d/%2.2d %2.2d:%2.2d:%2.2d ", tm.tm_mday, tm.tm_mon + 1,
                  tm.tm_year + 1900 - 2000, tm.tm_hour, tm.tm_min, tm.tm_sec);
}

void zerkalog(const char *format, ...)
{
    if (logfile == nullptr)
        return;
    char stamp[64];
    format_log_stamp(stamp, std::time(nullptr));
    std::fputs(stamp, logfile);
    va_list ap;
    va_start(ap, format);
    std::vfprintf(logfile, format, ap);
    va_end(ap);
    std::fputc('\n', logfile);
    std::fflush(logfile);
}
