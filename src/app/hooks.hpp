// What the app gives the layers below it at start-up.
#pragma once

// Fills in the input loop's hooks (core/hooks.hpp) and the keys every menu
// hands on (ui/menu.hpp); called first in main.
void install_hooks();
