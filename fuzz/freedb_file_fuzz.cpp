// Fuzzes the freedb/XMCD file reader: any bytes (long lines, no line end, NUL
// bytes, any character set, thousands of titles, keys in any order) leave every
// text of the album terminated and its track count alone.
#include "media/freedb_file.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static auto a = std::make_unique<album_rec>();
    std::memset(a.get(), 0, sizeof *a);
    a->present = 1;
    a->tracks = 3;
    std::vector<char> copy(data, data + size);
    copy.push_back('\0');
    std::FILE *f = fmemopen(copy.data(), size > 0 ? size : 1, "r");
    if (f == nullptr)
        return 0;
    read_freedb(f, *a, size > 0 && (data[0] & 1) != 0 ? 1 : 0);
    std::fclose(f);
    if (a->tracks != 3 || a->present != 1)
        std::abort();
    for (const track_rec &t : a->entry)
        if (strnlen(t.artist, sizeof t.artist) > 65 || strnlen(t.title, sizeof t.title) > 65)
            std::abort();   // parts are cut to 65 characters and stay terminated
    return 0;
}
