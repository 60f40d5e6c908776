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

// Asks the master server for the entries of a history file one by one (HISTORY
// with `file_text`), then browses them under the heading `title`, starting on
// the most recent; returns the number of entries. The console's recent history
// (`console` set) says "Please Wait ...." meanwhile and "No History Available"
// when there is none; a history file chosen from the menu shows nothing more.
int browse_history(const char *file_text, const char *title, bool console);
