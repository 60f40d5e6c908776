// The key help screen.
#pragma once

// Shows the help page until a key is pressed; returns 0.
int help_screen(const void *arg, int code, const char *label);
