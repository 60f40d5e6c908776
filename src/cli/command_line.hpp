// One-shot operations from the shell.
#pragma once

// Runs the operation the arguments name; output goes to standard output.
void command_line(int argc, char **argv);
