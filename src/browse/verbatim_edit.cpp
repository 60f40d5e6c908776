#include "browse/verbatim_edit.hpp"

#include "core/keys.hpp"

#include <cstring>

int verbatim_key(verbatim_line &line, int key)
{
    const int len = static_cast<int>(std::strlen(line.buf));
    switch (key) {
    case k_key_enter:
    case k_key_return:
    case k_key_linefeed:
        return k_verbatim_done;
    case k_key_esc:
        return k_verbatim_esc;
    case k_key_left:
        if (line.pos > 0)
            --line.pos;
        return k_verbatim_more;
    case k_key_right:
        if (line.pos < len)
            ++line.pos;
        return k_verbatim_more;
    case k_key_home:
        line.pos = 0;
        return k_verbatim_more;
    case k_key_end:
        line.pos = len;
        return k_verbatim_more;
    case k_key_backspace:
    case k_key_rubout:
    case k_key_ctrl_h:
        if (line.pos == 0)
            return k_verbatim_more;
        --line.pos;
        [[fallthrough]];
    case k_key_delete:
        if (line.pos < len)
            std::memmove(line.buf + line.pos, line.buf + line.pos + 1, static_cast<std::size_t>(len - line.pos));
        return k_verbatim_more;
    default:
        break;
    }
    if (key < 32 || key > 126 || line.pos >= line.size)
        return k_verbatim_more;
    int keep = len;
    if (keep >= line.size)
        keep = line.size - 1;   // a full text loses its last character
    std::memmove(line.buf + line.pos + 1, line.buf + line.pos, static_cast<std::size_t>(keep - line.pos));
    line.buf[line.pos] = static_cast<char>(key);
    line.buf[keep + 1] = '\0';
    ++line.pos;
    return k_verbatim_more;
}
