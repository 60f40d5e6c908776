#include "playlist/requests.hpp"

#include "browse/chain.hpp"
#include "playlist/offline.hpp"

#include <algorithm>
#include <cstring>
#include <unordered_set>
#include <vector>

namespace {

std::vector<chain_item *> retired;             // replaced playlist lists waiting for a safe moment
std::unordered_set<const void *> owned_blocks;   // heap labels and arguments of run-time menu rows

}   // namespace

void retire_chain(chain_item *first)
{
    if (first != nullptr)
        retired.push_back(first);
}

void release_retired_chains()
{
    for (chain_item *first : retired)
        free_chain(first);
    retired.clear();
}

char *owned_text(std::string_view text, std::size_t size)
{
    const std::size_t n = std::max(size, text.size() + 1);
    char *block = new char[n]();
    std::memcpy(block, text.data(), text.size());
    owned_blocks.insert(block);
    return block;
}

int chain_length(const chain_item *first)
{
    int n = 0;
    for (; first != nullptr; first = first->next)
        ++n;
    return n;
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
