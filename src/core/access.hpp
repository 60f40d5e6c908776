// The shutdown and re-boot menu and the maintenance password.
#pragma once

extern int password;      // the maintenance password has been given
extern int maintenance;   // the maintenance menu is open (no password is asked meanwhile)

// Asks for the maintenance password when one is needed: 0 granted, -1 refused or abandoned.
int chkpass();

// Menu handler of the shutdown menu and its rows (code -1 opens the menu).
int shutdown_func(const void *arg, int code, const char *label);

// Menu handler that opens the maintenance menu after the password.
int set_maint_mode(const void *arg, int code, const char *label);
