// Fuzzes the album text reader, and checks that what it read writes and reads back the same.
#include "proto/album_text.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static auto a = std::make_unique<album_rec>();
    static auto b = std::make_unique<album_rec>();
    static char text[k_album_text_max];
    std::memset(a.get(), 0, sizeof *a);
    parse_album_text(reinterpret_cast<const char *>(data), size, *a);
    if (a->tracks < -1 || a->tracks > 99)
        std::abort();
    for (const track_rec &t : a->entry)
        if (strnlen(t.artist, sizeof t.artist) == sizeof t.artist || strnlen(t.title, sizeof t.title) == sizeof t.title)
            std::abort();   // every text stays terminated
    const std::size_t n = format_album_text(*a, text, sizeof text);
    if (n >= sizeof text)
        std::abort();
    std::memset(b.get(), 0, sizeof *b);
    parse_album_text(text, n, *b);
    if (b->tracks != a->tracks)
        std::abort();
    return 0;
}
