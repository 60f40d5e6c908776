// The CD loaded in a server's drive and its freedb matches.
#pragma once

struct chain_item;

// Browser callback of the loaded CD's track list.
int exocd_svce(chain_item *current, int key, int mode);

// Fetches freedb match `match` for the loaded CD into album slot `album_no`.
int get_freedb_match(int match, int album_no);
