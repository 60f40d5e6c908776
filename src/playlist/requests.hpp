// What the playlist screens share: the keeping of replaced playlist lists,
// and the heap blocks of run-time menu rows.
#pragma once

#include <cstddef>
#include <string_view>

struct chain_item;

// Puts a replaced list aside instead of releasing it at once: a screen further
// out (a browser, an operation over the whole list) may still be walking it.
void retire_chain(chain_item *first);

// Releases the lists put aside; called only where no list screen is open.
void release_retired_chains();

// A heap text of `size` bytes (at least the text and its NUL) holding text, owned by
// the menu rows until release_menu_labels releases it.
char *owned_text(std::string_view text, std::size_t size);

// The number of elements of a list.
int chain_length(const chain_item *first);
