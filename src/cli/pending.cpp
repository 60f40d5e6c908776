// Placeholder for the command line while it is being built.
#include "cli/command_line.hpp"

#include <cstdio>

void command_line(int, char **) { std::puts("! Unrecognized command"); }
