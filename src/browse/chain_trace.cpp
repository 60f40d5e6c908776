// The tracing aid of browser lists: the elements of a list, written to the log.
#include "browse/chain.hpp"
#include "core/log.hpp"

#include <cstdint>

void pr_chain(const char *label, const chain_item *chain)
{
    zerkalog("%s: chain=%8.8X", label, static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(chain)));
    int index = 0;
    for (const chain_item *c = chain; c != nullptr; c = c->next)
        zerkalog("%02d: %04d/%02d", index++, c->album_no, c->track_no);
}
