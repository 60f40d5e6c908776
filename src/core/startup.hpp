// Start-up, the main loop and the orderly end of the program.
#pragma once

extern char **arg0pntr;        // the argument vector; the process name is written into its first element
extern const char version[];   // "Zerka client V4.02"

// Sets the process name to desc, a blank and word, and shows it in process listings.
void change_proc_name(const char *desc, const char *word);

// Ends the program: stops a local player, closes the master connection, ends curses.
[[noreturn]] void closedown(int status);

// SIGINT handler of the interactive program: notes the interrupt for the input loop.
void interrupt_func(int sig);

// The exit question the input loop asks after an interrupt.
void interrupt_question();

// Resizes the curses screen to the terminal after SIGWINCH.
void resize_screen();
