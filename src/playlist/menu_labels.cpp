// The heap labels and arguments of menu rows made while the program runs.
#include "playlist/offline.hpp"

#include <algorithm>
#include <cstring>
#include <unordered_set>
#include <vector>

namespace {

std::unordered_set<const void *> owned_blocks;   // heap labels and arguments of run-time menu rows

}   // namespace

char *owned_text(std::string_view text, std::size_t size)
{
    const std::size_t n = std::max(size, text.size() + 1);
    char *block = new char[n]();
    std::memcpy(block, text.data(), text.size());
    owned_blocks.insert(block);
    return block;
}

void release_menu_labels(std::vector<menu_item> &rows)
{
    for (menu_item &row : rows) {
        for (const void *block : {static_cast<const void *>(row.label), row.argument}) {
            if (block != nullptr && owned_blocks.erase(block) > 0)
                delete[] static_cast<const char *>(block);
        }
    }
    rows.clear();
}
