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

static const char *const seeds[] = {"Band\nRecord\n07:30 - 5F00A1B2 1 0000ABCD 12\nBand\nSong\n03:10 S 0 1 0 3\n",
                                    "A\nT\n1:00 U ffffffffffffffff 1 0 -5\n"};
extern "C" std::size_t zerka_fuzz_seed_count() { return sizeof seeds / sizeof seeds[0]; }
extern "C" const char *zerka_fuzz_seed(std::size_t i, std::size_t *len)
{
    *len = std::strlen(seeds[i]);
    return seeds[i];
}
