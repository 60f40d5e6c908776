#include "server/cd_child.hpp"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

child_proc::~child_proc() { child_kill(*this); }

bool child_spawn(child_proc &c, const std::vector<std::string> &argv, std::int64_t now_ns, std::string &error)
{
    child_kill(c);
    c.out.clear();
    c.eof = false;
    c.finished = false;
    c.status = -1;
    if (argv.empty()) {
        error = "no program";
        return false;
    }
    int p[2];
    if (::pipe2(p, O_CLOEXEC) != 0) {
        error = std::string("pipe failed - ") + std::strerror(errno);
        return false;
    }
    // Everything the child needs is made before the fork.
    std::vector<char *> args;
    for (const std::string &a : argv)
        args.push_back(const_cast<char *>(a.c_str()));
    args.push_back(nullptr);
    const int devnull = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const pid_t pid = ::fork();
    if (pid < 0) {
        error = std::string("fork failed - ") + std::strerror(errno);
        ::close(p[0]);
        ::close(p[1]);
        if (devnull >= 0)
            ::close(devnull);
        return false;
    }
    if (pid == 0) {
        ::setpgid(0, 0);
        if (devnull >= 0)
            ::dup2(devnull, STDIN_FILENO);
        ::dup2(p[1], STDOUT_FILENO);
        ::dup2(p[1], STDERR_FILENO);
        ::signal(SIGPIPE, SIG_DFL);
        ::execv(args[0], args.data());
        static const char msg[] = "error cannot run the program\n";
        [[maybe_unused]] const ssize_t w = ::write(STDOUT_FILENO, msg, sizeof msg - 1);
        ::_exit(127);
    }
    ::close(p[1]);
    if (devnull >= 0)
        ::close(devnull);
    ::fcntl(p[0], F_SETFL, O_NONBLOCK);
    c.pid = pid;
    c.fd = p[0];
    c.last_output_ns = now_ns;
    return true;
}

void child_poll(child_proc &c, std::int64_t now_ns)
{
    if (c.fd >= 0) {
        char buf[16384];
        for (;;) {
            const ssize_t n = ::read(c.fd, buf, sizeof buf);
            if (n > 0) {
                if (c.out.size() < k_child_output_max)
                    c.out.append(buf, static_cast<std::size_t>(n));
                c.last_output_ns = now_ns;
                continue;
            }
            if (n < 0 && errno == EINTR)
                continue;
            if (n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK)) {
                ::close(c.fd);
                c.fd = -1;
                c.eof = true;
            }
            break;
        }
    }
    if (c.pid > 0 && c.eof) {
        int st = 0;
        const pid_t r = ::waitpid(c.pid, &st, WNOHANG);
        if (r == c.pid || (r < 0 && errno == ECHILD)) {
            c.status = r == c.pid && WIFEXITED(st) ? WEXITSTATUS(st) : -1;
            c.pid = -1;
            c.finished = true;
        }
    }
}

bool child_line(child_proc &c, std::string &line)
{
    const std::size_t nl = c.out.find('\n');
    if (nl == std::string::npos)
        return false;
    line.assign(c.out, 0, nl);
    c.out.erase(0, nl + 1);
    return true;
}

void child_kill(child_proc &c)
{
    if (c.pid > 0) {
        ::kill(-c.pid, SIGKILL);
        ::kill(c.pid, SIGKILL);
        int st = 0;
        while (::waitpid(c.pid, &st, 0) < 0 && errno == EINTR) {
        }
        c.pid = -1;
        c.finished = true;
        c.status = -1;
    }
    if (c.fd >= 0) {
        ::close(c.fd);
        c.fd = -1;
    }
}

bool child_running(const child_proc &c) { return c.pid > 0; }
