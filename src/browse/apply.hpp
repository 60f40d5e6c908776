// Operations on a whole browser list, and the global edit.
#pragma once

struct chain_item;

// With menu_flag set: remembers the list and count and runs the operations
// menu. Otherwise: runs operation `number` with the playlist `name`.
int mass_apply(chain_item **head, const char *name, int number, int menu_flag);

// Row handler of the operations menu; returns -11.
int apply_svce(const void *arg, int code, const char *label);

// Replaces text in the artist (field 0) or title (field 1) of every element.
void global_edit(chain_item *first, const char *name, int count, int field);

// Edits an exact text of up to size characters one column right of the
// cursor (buf holds size + 2 bytes): 0 on Enter, -3 on Esc.
int get_string_verbatim(char *buf, int size);
