// Play history files.
#pragma once

#include "ui/menu.hpp"

#include <vector>

// Menu handler: the menu of history files; returns 0.
int recent_history(const void *arg, int code, const char *label);

// Appends a row per history file (label: its time, argument: its name); returns the rows added.
int compile_history_menu(std::vector<menu_item> &rows, menu_handler handler, const void *arg);

// Row handler: reads and browses one history file (arg = file name, label = its time).
int display_history(const void *arg, int code, const char *label);
