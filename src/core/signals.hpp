// Signals reach the program only through flags and a self-pipe: handlers note
// what happened, and the input loop acts on it between keys.
#pragma once

#include <csignal>

extern volatile std::sig_atomic_t interrupt_pending;   // SIGINT arrived in the interactive program
extern volatile std::sig_atomic_t resize_pending;      // the terminal changed size

// Creates the self-pipe (both ends non-blocking, close-on-exec). Safe to call twice.
void signal_pipe_open();

// The read end, watched by the input loop; -1 before signal_pipe_open.
int signal_pipe_fd();

// Wakes the input loop; async-signal-safe.
void signal_wakeup();

// Empties the pipe after a wake-up.
void signal_pipe_drain();

// Installs a plain handler with sigaction (no SA_RESTART, so waits are woken).
bool install_handler(int sig, void (*handler)(int));

// Installs a three-argument handler with SA_SIGINFO.
bool install_siginfo_handler(int sig, void (*handler)(int, siginfo_t *, void *));
