// The fixed menu tables.
#pragma once

#include "ui/menu.hpp"

extern const menu_item main_menu[];
extern const menu_item maint_menu[];
extern const menu_item report_menu[];
extern const menu_item import_menu[];
extern const menu_item shut_down[];
extern const menu_item audio_menu[];
