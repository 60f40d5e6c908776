#include "core/process.hpp"

#include "core/config.hpp"
#include "core/pgrep_pattern.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

pid_t local_audio_pid;

namespace {

// Waits for a child; with SIGCHLD ignored the child is reaped by the kernel and the status is unknown (0).
int wait_child(pid_t pid)
{
    int status = 0;
    pid_t r;
    while ((r = waitpid(pid, &status, 0)) < 0 && errno == EINTR) {
    }
    if (r < 0)
        return 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}   // namespace

int run_program(const char *const argv[], bool quiet)
{
    const pid_t pid = fork();
    if (pid < 0)
        return -1;
    if (pid == 0) {
        if (quiet) {
            const int null_fd = open("/dev/null", O_WRONLY);
            if (null_fd >= 0) {
                dup2(null_fd, 1);
                dup2(null_fd, 2);
            }
        }
        execv(argv[0], const_cast<char *const *>(argv));
        _exit(127);
    }
    return wait_child(pid);
}

pid_t find_process(const char *role)
{
    char pattern[96];
    if (!pgrep_pattern(pattern, sizeof pattern, prog_desc, role))
        return 0;
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0)
        return 0;
    const pid_t pid = fork();
    if (pid < 0) {
        close(fds[0]);
        close(fds[1]);
        return 0;
    }
    if (pid == 0) {
        dup2(fds[1], 1);
        const char *const argv[] = {"/usr/bin/pgrep", "-x", "-f", pattern, nullptr};
        execv(argv[0], const_cast<char *const *>(argv));
        _exit(127);
    }
    close(fds[1]);
    // Only the first line counts, and at most 64 bytes of it.
    char line[65] = {};
    std::size_t used = 0;
    while (used < sizeof line - 1) {
        const ssize_t n = read(fds[0], line + used, sizeof line - 1 - used);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        used += static_cast<std::size_t>(n);
    }
    char rest[256];
    while (read(fds[0], rest, sizeof rest) > 0) {   // let pgrep finish writing
    }
    close(fds[0]);
    wait_child(pid);
    return static_cast<pid_t>(std::atoi(line));
}
