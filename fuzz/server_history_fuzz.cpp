// Fuzzes the server's reader of history files: the entries of a file's text.
//
// Checked: every line kept is an entry, holds no line break, and is kept
// again when the lines kept are read as a file of their own.
#include "proto/transfer_text.hpp"
#include "server/history.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    const std::vector<std::string> lines = history_parse(text);
    std::string again;
    for (const std::string &line : lines) {
        history_entry e;
        if (!parse_history_entry(line, e) || line.find('\n') != std::string::npos)
            std::abort();
        again.append(line).push_back('\n');
    }
    if (lines.size() > static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1)
        std::abort();
    if (history_parse(again) != lines)
        std::abort();
    return 0;
}
