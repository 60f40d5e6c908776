#include "core/keymap.hpp"

#include <array>
#include <iterator>

namespace {

struct alias {
    int raw;
    int code;
};
std::array<alias, std::size(named_keys)> aliases;   // the terminal's codes of the named keys
std::size_t alias_count;

}   // namespace

void keymap_clear() { alias_count = 0; }

void keymap_add(int raw, int code)
{
    if (raw <= 0 || alias_count == aliases.size())
        return;
    aliases[alias_count++] = {.raw = raw, .code = code};
}

int canonical_key(int raw)
{
    if (raw <= k_last_standard_key)
        return raw;
    for (std::size_t i = 0; i < alias_count; ++i)
        if (aliases[i].raw == raw)
            return aliases[i].code;
    return raw + 0x1000;
}
