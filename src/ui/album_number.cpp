#include "ui/album_number.hpp"

#include "core/link.hpp"
#include "db/album.hpp"
#include "ui/popup.hpp"

#include <cstdio>

int check_a_no(const char *number_text, int reload)
{
    int typed = 0;
    const int result = checked_album_number(
        number_text, reload, [](int number) { return read_album(number, master_sock); }, typed);
    if (result == -2) {
        char text[64];
        std::snprintf(text, sizeof text, "Invalid album No: %04d", typed);
        popup(text, 1);
    }
    return result;
}
