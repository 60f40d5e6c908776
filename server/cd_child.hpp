// Child processes of the drive: the drive helper (this program run with
// --cd-helper) and cdrdao. Each runs with an argument vector (no shell), in
// its own process group, its standard output and error on one pipe that the
// server reads without blocking from its event loop.
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

inline constexpr std::size_t k_child_output_max = 1 << 20;   // output kept beyond this is dropped

// One child.
struct child_proc {
    pid_t pid = -1;                   // -1: not started, or reaped
    int fd = -1;                      // read end of its output pipe
    std::string out;                  // output not yet taken
    bool eof = false;                 // its output has ended
    bool finished = false;            // it has ended and been reaped
    int status = -1;                  // its exit status; -1 when a signal ended it
    std::int64_t last_output_ns = 0;  // when it last wrote (or started)

    child_proc() = default;
    child_proc(const child_proc &) = delete;
    child_proc &operator=(const child_proc &) = delete;
    ~child_proc();
};

// Starts a child. False with a reason.
bool child_spawn(child_proc &c, const std::vector<std::string> &argv, std::int64_t now_ns, std::string &error);

// Reads what the child wrote (never blocks) and reaps it once its output has ended.
void child_poll(child_proc &c, std::int64_t now_ns);

// Takes one whole line of output (without its newline); false when none is complete.
bool child_line(child_proc &c, std::string &line);

// Ends the child and its process group at once (SIGKILL) and reaps it.
void child_kill(child_proc &c);

// Whether a child is running (started and not yet reaped).
bool child_running(const child_proc &c);
