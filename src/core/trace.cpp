#include "core/link.hpp"
#include "proto/msg_types.hpp"

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

bool format_msg_trace(char *buf, std::size_t cap, int tag, const server_msg &msg)
{
    if (msg.type == ALBUM_READ)
        return false;   // the database load would flood the log
    char type_name[32];
    const std::string_view name = traced_msg_name(msg.type);
    if (!name.empty())
        std::snprintf(type_name, sizeof type_name, "%-16.16s", std::string(name).c_str());
    else
        std::snprintf(type_name, sizeof type_name, "%8.8lX", static_cast<unsigned long>(msg.type));
    // At most 72 characters of the text, newlines shown as '*'.
    char shown[73];
    std::size_t n = strnlen(msg.text, 72);
    std::memcpy(shown, msg.text, n);
    shown[n] = '\0';
    for (char &c : shown)
        if (c == '\n')
            c = '*';
    std::snprintf(buf, cap, "%4.4d: %2ld %s %4.4lX %5ld=0x%4.4lX %5ld=0x%4.4lX (%d)%-72.72s\r\n", tag,
                  static_cast<long>(msg.socket), type_name, static_cast<unsigned long>(msg.sequence),
                  static_cast<long>(msg.album), static_cast<unsigned long>(msg.album), static_cast<long>(msg.track),
                  static_cast<unsigned long>(msg.track), static_cast<int>(strnlen(msg.text, k_text_max)), shown);
    return true;
}

void format_server_time(char (&out)[64], std::time_t t)
{
    std::tm tm{};
    localtime_r(&t, &tm);
    std::snprintf(out, sizeof out, "%2.2d/%2.2d/%2.2d @ %2.2d:%2.2d:%2.2d", tm.tm_mday, tm.tm_mon + 1,
                  tm.tm_year + 1900 - 2000, tm.tm_hour, tm.tm_min, tm.tm_sec);
}

// The server's clock from a GETTIME reply, when the text is one.
bool parse_server_time(const char *text, std::time_t &t)
{
    const char *p = text;
    while (*p == ' ' || *p == '\t')
        ++p;
    // Digits only: a sign or an empty text is not a clock.
    if (std::isxdigit(static_cast<unsigned char>(*p)) == 0)
        return false;
    char *end = nullptr;
    const unsigned long long v = std::strtoull(p, &end, 16);
    if (v > static_cast<unsigned long long>(INT64_MAX))
        return false;
    t = static_cast<std::time_t>(v);
    return true;
}
