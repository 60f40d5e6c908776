// The browser's own menus.
#pragma once

#include "ui/menu.hpp"

extern const menu_item apply_menu[];    // F8: operations on the whole list
extern const menu_item sort_menu[];     // Ctrl-R: the sort orders
extern const menu_item output_menu[];   // F4: the report forms
