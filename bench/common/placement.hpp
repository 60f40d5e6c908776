// Where a benchmark's processes run, fresh processes of the benchmark itself,
// and the figures reported over several runs.
//
// A ratio of two timings only means something when both sides are placed
// alike: a round trip between two processes on one CPU costs a context switch,
// between two CPUs a wake-up of the other CPU, and the scheduler decides
// differently for a long-lived process and a freshly started one. So every
// ratio is measured three times: the server and the client on one CPU, on two
// different CPUs, and wherever the scheduler puts them; and both sides of a
// ratio are fresh processes.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <sched.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// One placement of the server and the client: CPU numbers, -1 for unpinned.
struct placement {
    const char *name;
    int server_cpu;
    int client_cpu;
};

inline constexpr placement k_placements[] = {
    {"one CPU (server and client on CPU 0)", 0, 0},
    {"two CPUs (server on CPU 0, client on CPU 1)", 0, 1},
    {"unpinned", -1, -1},
};

// The CPUs this process may use when the benchmark starts; unpinned runs use all of them.
inline cpu_set_t &bench_all_cpus()
{
    static cpu_set_t all = [] {
        cpu_set_t s;
        CPU_ZERO(&s);
        sched_getaffinity(0, sizeof s, &s);
        return s;
    }();
    return all;
}

inline int bench_cpu_count() { return CPU_COUNT(&bench_all_cpus()); }

// Whether a placement can be measured on this machine (two CPUs need two CPUs).
inline bool placement_possible(const placement &p)
{
    const cpu_set_t &all = bench_all_cpus();
    return (p.server_cpu < 0 || CPU_ISSET(p.server_cpu, &all)) && (p.client_cpu < 0 || CPU_ISSET(p.client_cpu, &all));
}

// Pins the calling process to one CPU, or lets it run anywhere (-1).
inline void pin_to(int cpu)
{
    cpu_set_t s = bench_all_cpus();
    if (cpu >= 0) {
        CPU_ZERO(&s);
        CPU_SET(cpu, &s);
    }
    if (sched_setaffinity(0, sizeof s, &s) != 0) {
        std::perror("sched_setaffinity");
        std::exit(1);
    }
}

// A fresh process of this benchmark's own program with the given arguments.
struct fresh_process {
    pid_t pid = -1;
    int out = -1;   // its standard output
};

// Starts this program again (argv[0] replaced) on `cpu`, its standard output in a pipe.
inline fresh_process start_self(int cpu, const std::vector<std::string> &args)
{
    int fds[2];
    if (pipe(fds) != 0) {
        std::perror("pipe");
        std::exit(1);
    }
    fresh_process p;
    p.pid = fork();
    if (p.pid == 0) {
        pin_to(cpu);
        dup2(fds[1], STDOUT_FILENO);
        close(fds[0]);
        close(fds[1]);
        std::vector<char *> argv;
        static char self[] = "/proc/self/exe";
        argv.push_back(self);
        for (const std::string &a : args)
            argv.push_back(const_cast<char *>(a.c_str()));
        argv.push_back(nullptr);
        execv(self, argv.data());
        _exit(127);
    }
    close(fds[1]);
    p.out = fds[0];
    return p;
}

// Reads one line of a fresh process's output (without the newline).
inline std::string read_line(int fd)
{
    std::string line;
    char c;
    while (read(fd, &c, 1) == 1 && c != '\n')
        line += c;
    return line;
}

// Runs this program afresh on `cpu` to its end; its whole output. Ends the benchmark when it fails.
inline std::string run_self(int cpu, const std::vector<std::string> &args, rusage *usage = nullptr)
{
    fresh_process p = start_self(cpu, args);
    std::string out;
    char buf[4096];
    for (ssize_t n; (n = read(p.out, buf, sizeof buf)) > 0 || (n < 0 && errno == EINTR);)
        if (n > 0)
            out.append(buf, static_cast<std::size_t>(n));
    close(p.out);
    int status = 0;
    rusage ru = {};
    wait4(p.pid, &status, 0, &ru);
    if (usage != nullptr)
        *usage = ru;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "a fresh %s process failed (status %d)\n", args.empty() ? "" : args[0].c_str(), status);
        std::exit(1);
    }
    return out;
}

// Median, least and greatest of a series.
struct spread {
    double median = 0;
    double min = 0;
    double max = 0;
};

inline spread spread_of(std::vector<double> v)
{
    if (v.empty())
        return {};
    std::sort(v.begin(), v.end());
    const std::size_t n = v.size();
    const double med = n % 2 == 1 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
    return {med, v.front(), v.back()};
}

// The ratio of two series run by run (a[i] / b[i]).
inline std::vector<double> ratios(const std::vector<double> &a, const std::vector<double> &b)
{
    std::vector<double> r;
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i)
        r.push_back(b[i] > 0 ? a[i] / b[i] : 0);
    return r;
}

// "12.3 ms (11.9-14.0)" for a series of seconds.
inline std::string ms_text(const spread &s)
{
    char buf[96];
    std::snprintf(buf, sizeof buf, "%.1f ms (%.1f-%.1f)", s.median * 1000, s.min * 1000, s.max * 1000);
    return buf;
}

// "1.23 (1.10-1.40)" for a series of ratios.
inline std::string ratio_text(const spread &s)
{
    char buf[96];
    std::snprintf(buf, sizeof buf, "%.2f (%.2f-%.2f)", s.median, s.min, s.max);
    return buf;
}

// Pins every thread of a running process to one CPU, or lets them run anywhere (-1).
inline bool pin_process(pid_t pid, int cpu)
{
    cpu_set_t s = bench_all_cpus();
    if (cpu >= 0) {
        CPU_ZERO(&s);
        CPU_SET(cpu, &s);
    }
    const std::string tasks = "/proc/" + std::to_string(pid) + "/task";
    DIR *d = opendir(tasks.c_str());
    if (d == nullptr)
        return false;
    bool ok = true;
    while (const dirent *e = readdir(d))
        if (e->d_name[0] != '.')
            ok = sched_setaffinity(static_cast<pid_t>(std::atoi(e->d_name)), sizeof s, &s) == 0 && ok;
    closedir(d);
    return ok;
}
