// Menu rows and keys whose screens this version does not have yet.
#pragma once

// Pops up "<what> is not available yet" and returns -1 (stay where you are).
int not_available(const char *what);
