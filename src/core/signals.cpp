#include "core/signals.hpp"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

volatile std::sig_atomic_t interrupt_pending;
volatile std::sig_atomic_t resize_pending;

namespace {
int pipe_fds[2] = {-1, -1};
}

void signal_pipe_open()
{
    if (pipe_fds[0] >= 0)
        return;
    if (pipe2(pipe_fds, O_NONBLOCK | O_CLOEXEC) != 0)
        pipe_fds[0] = pipe_fds[1] = -1;
}

int signal_pipe_fd() { return pipe_fds[0]; }

void signal_wakeup()
{
    const int saved = errno;
    if (pipe_fds[1] >= 0) {
        const char byte = 1;
        [[maybe_unused]] const ssize_t n = write(pipe_fds[1], &byte, 1);   // a full pipe already wakes the loop
    }
    errno = saved;
}

void signal_pipe_drain()
{
    char buf[64];
    while (pipe_fds[0] >= 0 && read(pipe_fds[0], buf, sizeof buf) > 0) {
    }
}

bool install_handler(int sig, void (*handler)(int))
{
    struct sigaction sa = {};
    sa.sa_handler = handler;
    sigemptyset(&sa.sa_mask);
    return sigaction(sig, &sa, nullptr) == 0;
}

bool install_siginfo_handler(int sig, void (*handler)(int, siginfo_t *, void *))
{
    struct sigaction sa = {};
    sa.sa_sigaction = handler;
    sa.sa_flags = SA_SIGINFO;
    sigemptyset(&sa.sa_mask);
    return sigaction(sig, &sa, nullptr) == 0;
}
