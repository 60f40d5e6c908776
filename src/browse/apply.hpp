// Operations on a whole browser list, and the global edit.
#pragma once

struct chain_item;

// With menu_flag set: runs the operations menu on the list from `first` (which
// stays its owner's; an owner that lets go of it meanwhile hands it to this
// walk) with `number` elements. Otherwise: runs operation `number` with the
// playlist `name` on the list of the menu that is open.
int mass_apply(chain_item *first, const char *name, int number, int menu_flag);

// Row handler of the operations menu; returns -11.
int apply_svce(const void *arg, int code, const char *label);

// Replaces text in the artist (field 0) or title (field 1) of every element.
void global_edit(chain_item *first, const char *name, int count, int field);

// Edits an exact text of up to size characters one column right of the
// cursor (buf holds size + 2 bytes): 0 on Enter, -3 on Esc.
int get_string_verbatim(char *buf, int size);
