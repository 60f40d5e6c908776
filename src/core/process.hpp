// Outside programs, run with an argument vector and never through a shell.
#pragma once

#include <sys/types.h>

extern pid_t local_audio_pid;   // the local player process as the client knows it; 0 = none (closedown stops it)

// Runs a program and waits for it; its standard output and error go to
// /dev/null when quiet. Returns its exit status, or -1 when it could not run.
int run_program(const char *const argv[], bool quiet);

// Finds one of this program's processes by its name, prog_desc, a blank and
// role ("Streamer", "Locplay"), with /usr/bin/pgrep -x -f "^<prog_desc> <role>.*"
// (prog_desc and role taken literally: see pgrep_pattern). Only the first line
// of pgrep's output counts. Returns the pid, or 0.
pid_t find_process(const char *role);
