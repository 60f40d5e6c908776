// What the playlist screens share: one request to a server, the keeping of
// replaced playlist lists, and the heap blocks of run-time menu rows.
#pragma once

#include "proto/wire.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

struct chain_item;

inline constexpr std::int64_t k_refused = 0xFFFF;   // a reply's album field when the request failed

// Sends one request on `socket` and returns the record holding its reply. Each
// request has its own record, so a screen opened while a reply is awaited
// (an unsolicited message's handler) cannot overwrite it.
std::unique_ptr<server_msg> request(int socket, std::int64_t type, std::int64_t album_no, std::int64_t track_no,
                                    std::string_view text);

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
