// Fuzzes the client's reader of a LINK_QUERY reply (the members of a chain,
// "%d %d" a line) and the member line it draws from each.
//
// Checked: no more members than lines; each line drawn fits its buffer.
#include "playlist/plist_text.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const char *text = reinterpret_cast<const char *>(data);
    const std::vector<plist_entry> members = parse_chain_reply(text, size);
    const std::size_t lines = static_cast<std::size_t>(std::count(text, text + size, '\n')) + 1;
    if (members.size() > lines)
        std::abort();
    for (const plist_entry &m : members) {
        char line[128];
        format_chain_member(line, sizeof line, m.album, m.track, "Artist", "Title");
        if (strnlen(line, sizeof line) == sizeof line)
            std::abort();
        if (valid_entry(m.album, m.track) && (m.album < 0 || m.track < 0 || m.track > 99))
            std::abort();
    }
    return 0;
}
