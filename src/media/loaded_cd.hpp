// The CD loaded in a server's drive and its freedb matches.
#pragma once

#include "browse/chain.hpp"

#include <cstdint>

extern int freedb_matches;        // freedb matches of the loaded CD (negative: freedb unavailable)
extern int current_match;         // the match being shown
extern chain_list exo_head;       // the loaded CD's track list
extern std::uint64_t cd_info[2];  // the loaded CD's identifier, in element 1

// Browser callback of the loaded CD's track list.
int exocd_svce(chain_item *current, int key, int mode);

// Fetches freedb match `match` for the loaded CD into album slot `album_no`.
int get_freedb_match(int match, int album_no);
