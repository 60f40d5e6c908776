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
    // Read again, the same lines (a carriage return left at the end of one,
    // where the file had two, is taken as the line's end this time).
    const std::vector<std::string> back = history_parse(again);
    if (back.size() != lines.size())
        std::abort();
    for (std::size_t k = 0; k < lines.size(); ++k)
        if (back[k] != lines[k] && back[k] + "\r" != lines[k])
            std::abort();
    return 0;
}
