// Fuzzes the playlist audit's reading of a playlist file: lines of any length,
// NUL bytes, no line end; every line read fits, and checking it against the
// album table never reads outside its texts.
#include "db/album.hpp"
#include "proto/text_util.hpp"
#include "reports/audit_scan.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

// A small table: album 12 with two tracks.
const bool table_ready = [] {
    album_rec &a = album[12];
    a.present = 1;
    a.tracks = 2;
    copy_bounded(a.entry[1].artist, "Band");
    copy_bounded(a.entry[1].title, "Song");
    copy_bounded(a.entry[2].artist, "An artist whose name runs past 28 characters");
    copy_bounded(a.entry[2].title, "Title");
    return true;
}();

void check_logged(void *, const char *text)
{
    if (std::strlen(text) > 2 * k_audit_line + 128)
        std::abort();
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    (void)table_ready;
    std::vector<std::uint8_t> bytes(data, data + size);
    bytes.push_back(0);   // room fmemopen wants; left out of the stream
    std::FILE *f = fmemopen(bytes.data(), size, "rb");
    if (f == nullptr)
        return 0;   // fmemopen refuses an empty buffer on some libraries
    char line[k_audit_line];
    std::size_t lines = 0;
    const line_sink sink{.line = check_logged, .context = nullptr};
    while (read_audit_line(f, line)) {
        if (strnlen(line, sizeof line) == sizeof line)
            std::abort();
        const int n = audit_plist_line("fuzz", line, sink);
        if (n < 0 || n > 2)
            std::abort();
        if (++lines > size + 1)
            std::abort();   // every line takes at least one byte
    }
    std::fclose(f);
    return 0;
}
