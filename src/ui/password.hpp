// The maintenance password.
#pragma once

extern int password;      // the maintenance password has been given
extern int maintenance;   // the maintenance menu is open (no password is asked meanwhile)

// Asks for the maintenance password when one is needed: 0 granted, -1 refused or abandoned.
int chkpass();
