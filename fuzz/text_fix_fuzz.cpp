// Fuzzes the text repairs and the plain-text import line: the splitter never writes past its destinations and
// never makes the line longer, and capitalising keeps the length and is idempotent.
#include "album/import_line.hpp"
#include "album/text_fix.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr char k_canary = '\x5a';

// A destination with guard bytes behind it.
struct guarded {
    char text[67];
    char guard[8];
};

void check_guard(const guarded &g)
{
    for (char c : g.guard)
        if (c != k_canary)
            std::abort();
    if (strnlen(g.text, sizeof g.text) == sizeof g.text)
        std::abort();
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string line(reinterpret_cast<const char *>(data), size);
    line = line.c_str();   // a C text ends at its first NUL
    const std::size_t before = line.size();
    guarded first;
    guarded second;
    std::memset(&first, k_canary, sizeof first);
    std::memset(&second, k_canary, sizeof second);
    first.text[0] = '\0';
    second.text[0] = '\0';
    split_string(line.data(), first.text, second.text);
    check_guard(first);
    check_guard(second);
    if (std::strlen(line.c_str()) > before)
        std::abort();
    for (const char *p = line.c_str(); *p != '\0'; ++p)
        if (static_cast<unsigned char>(*p) >= 0x80)
            std::abort();   // every top-bit character was folded

    std::string text(reinterpret_cast<const char *>(data), size);
    text = text.c_str();
    std::string again = text;
    capitalize(text.data());
    if (std::strlen(text.c_str()) != again.size())
        std::abort();
    again = text;
    capitalize(again.data());
    if (again != text)
        std::abort();
    lower_case(again.data());

    // A plain-text import line into a track, either way round.
    static album_rec rec;
    std::string import_line(reinterpret_cast<const char *>(data), size < 255 ? size : 255);
    import_line = import_line.c_str();
    char *rest = import_line_rest(import_line.data());
    name_track(rec, 1 + static_cast<int>(size % 99), rest, static_cast<int>(size & 1));
    for (const track_rec &t : rec.entry)
        if (strnlen(t.artist, sizeof t.artist) == sizeof t.artist || strnlen(t.title, sizeof t.title) == sizeof t.title)
            std::abort();
    return 0;
}
