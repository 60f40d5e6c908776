// What start-up leaves to every layer: the process name, the orderly end of
// the program and the interrupt flag. The start-up itself and the main loop
// are the app's (src/app/main.cpp).
#pragma once

extern char **arg0pntr;        // the argument vector; the process name is written into its first element
extern const char version[];   // "Zerka client V4.02"

// Makes the memory of the argument strings free for the process name (the
// environment behind them is copied elsewhere first); called first in main.
void init_proc_title(int argc, char **argv);

// Sets the process name to desc, a blank and word, and shows it in process listings.
void change_proc_name(const char *desc, const char *word);

// Ends the program: stops a local player, closes the master connection, ends curses.
[[noreturn]] void closedown(int status);

// SIGINT handler of the interactive program: notes the interrupt for the input loop.
void interrupt_func(int sig);
