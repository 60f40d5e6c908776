// Fuzzes the client's readers of history replies: one HISTORY entry (the
// first line of the input), the names of a DIRLIST reply and the label each
// history file name gets in the menu (the rest).
//
// Checked: an entry taken names an album and track the table can hold and its
// texts stay terminated; every label stays terminated.
#include "playlist/history_name.hpp"
#include "playlist/plist_text.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view all(reinterpret_cast<const char *>(data), size);
    const std::size_t nl = all.find('\n');
    history_entry e{};
    if (history_record(all.substr(0, nl), e)) {
        if (!valid_entry(e.album, e.track))
            std::abort();
        if (strnlen(e.artist, sizeof e.artist) == sizeof e.artist || strnlen(e.title, sizeof e.title) == sizeof e.title ||
            strnlen(e.length, sizeof e.length) == sizeof e.length)
            std::abort();
    }
    const std::string_view rest = nl == std::string_view::npos ? std::string_view{} : all.substr(nl + 1);
    for_each_dir_name(rest.data(), rest.size(), [](std::string_view name) {
        if (name.empty() || name.find('\n') != std::string_view::npos)
            std::abort();
        const std::string copy(name.substr(0, name.find('\0')));
        char label[k_history_label_len];
        history_label(copy.c_str(), label);
        if (strnlen(label, sizeof label) == sizeof label)
            std::abort();
    });
    return 0;
}
