#include "playlist/history_name.hpp"

#include "proto/text_util.hpp"

#include <cstring>
#include <ctime>

void history_label(const char *name, char (&out)[k_history_label_len])
{
    std::tm when{};
    strptime(name, "%y%m%d%H%M%S.hst", &when);
    // asctime_r needs 26 bytes and refuses (null) a time whose text would not fit.
    char text[64] = {};
    if (asctime_r(&when, text) == nullptr)
        text[0] = '\0';
    char *newline = std::strchr(text, '\n');
    if (newline != nullptr)
        *newline = '\0';
    copy_bounded(out, text);
}
