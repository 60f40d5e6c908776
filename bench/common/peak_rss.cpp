// Runs a program and reports its peak resident set: `peak_rss PROGRAM ARGS...`
// passes the program's output through and writes "peak_rss KIB" to standard
// error once it has ended; the exit status is the program's.
//
// The peak a parent reads with wait4 is carried over an exec from the process
// that forked: a big parent (a Python benchmark) would count in every child.
// Started from this small program, the child's figure is its own.
#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fputs("usage: peak_rss PROGRAM [ARGS...]\n", stderr);
        return 2;
    }
    const pid_t pid = fork();
    if (pid == 0) {
        execv(argv[1], argv + 1);
        _exit(127);
    }
    int status = 0;
    rusage ru = {};
    if (pid < 0 || wait4(pid, &status, 0, &ru) != pid)
        return 127;
    std::fprintf(stderr, "peak_rss %ld\n", ru.ru_maxrss);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
