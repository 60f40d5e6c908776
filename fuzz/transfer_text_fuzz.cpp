// Fuzzes the playlist transfer text and the history entry readers.
#include "proto/transfer_text.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const char *text = reinterpret_cast<const char *>(data);
    const int count = for_each_plist_record(text, size, [](int, int) {});
    if (count < 0 || static_cast<std::size_t>(count) > size / k_plist_record_len + 1)
        std::abort();
    history_entry e;
    parse_history_entry(std::string_view(text, size), e);
    if (strnlen(e.artist, sizeof e.artist) > 29 || strnlen(e.title, sizeof e.title) > 29 ||
        strnlen(e.length, sizeof e.length) > 5)
        std::abort();
    return 0;
}
