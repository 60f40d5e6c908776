// The shutdown and re-boot menu and the maintenance menu.
#pragma once

// Menu handler of the shutdown menu and its rows (code -1 opens the menu).
int shutdown_func(const void *arg, int code, const char *label);

// Menu handler that opens the maintenance menu after the password.
int set_maint_mode(const void *arg, int code, const char *label);

// Menu handler of "Refresh Database": runs the play controls with `mode`
// between two clean screens.
int refresh_database(const void *arg, int mode, const char *label);
