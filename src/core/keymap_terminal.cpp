#include "core/keymap.hpp"

#include <curses.h>
#include <term.h>

void init_keymap()
{
    keymap_clear();
    for (const named_key &k : named_keys) {
        const char *sequence = tigetstr(const_cast<char *>(k.name));
        if (sequence == nullptr || sequence == reinterpret_cast<char *>(-1))
            continue;
        const int raw = key_defined(sequence);
        if (raw > 0)
            keymap_add(raw, k.code);
    }
}
