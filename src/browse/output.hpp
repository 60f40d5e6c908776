// Writing a browser list to a report file.
#pragma once

struct chain_item;

// Writes the list to "Reports/<name>" as plain text (0), inlay card (1) or CSV (2).
void output(chain_item *first, int form, int album_flag);
