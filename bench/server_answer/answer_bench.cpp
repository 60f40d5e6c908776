// What a client loading a large library pays on the server side: a root of
// 3000 albums of 99 tracks (297,000 tracks) is written once, then
//  - server start to first answered request (fresh zerkaserver processes),
//    and the server's peak memory (VmHWM) once it has served whole loads;
//  - a whole load by a fresh client process (CLIENT_OPEN, then ALBUM_READ
//    0, 1, 2, ... one at a time until the end answer 0xFFFD, which a full
//    library never gives: there the load ends with album 3000), with server
//    and client on different CPUs, on the same CPU and unpinned: wall time
//    (median, min-max) and the server's CPU time for each load.
//
//   answer_bench [zerkaserver] [runs]          (runs: loads per placement, at least 9)
//   answer_bench --load PORT SPIN_NS           (the client process; prints its wall time in ns)
//   answer_bench --make DIR                    (only writes the library as a root DIR, for other tools)
//
// The loads are also run by a client that polls for each reply for up to
// 200 us before it blocks, to show what the server's own poll gives when the
// client does the same.
#include "../server/bench_client.hpp"

#include "server/store.hpp"

#include <algorithm>
#include <dirent.h>
#include <fstream>
#include <sched.h>
#include <sqlite3.h>
#include <sstream>
#include <sys/stat.h>
#include <vector>

namespace {

constexpr int k_albums = 3000;
constexpr int k_tracks = 99;
constexpr std::int64_t k_client_spin_ns = 200'000;   // the poll of a client that polls for its replies

std::string album_text(int n)
{
    std::string t;
    char line[200];
    std::snprintf(line, sizeof line, "Bench Artist %04d\nBench Album Title %04d\n%02d:%02d - 6543210A 1 0012AB34 7\n", n,
                  n, 99, 30);
    t += line;
    for (int k = 1; k <= k_tracks; ++k) {
        std::snprintf(line, sizeof line,
                      "Bench Artist %04d\nA Song Title Number %02d of %04d\n03:%02d %c 6543210A 1 0012AB34 %d\n", n, k,
                      n, k % 60, k % 7 == 0 ? 'S' : '-', k);
        t += line;
    }
    return t;
}

// Writes the library through the server's own store (the disk sync is off
// while the benchmark builds it: only its contents matter here).
bool make_library(const std::string &root)
{
    for (const char *sub : {"/Media", "/PlayLists", "/History"})
        mkdir((root + sub).c_str(), 0755);
    album_store s;
    std::string error;
    if (!store_open(s, root + "/zerka.db", error)) {
        std::fprintf(stderr, "cannot open the store: %s\n", error.c_str());
        return false;
    }
    sqlite3_exec(s.db.get(), "PRAGMA synchronous=OFF", nullptr, nullptr, nullptr);
    for (int n = 1; n <= k_albums; ++n)
        if (!store_write_text(s, n, album_text(n))) {
            std::fprintf(stderr, "album %d not written\n", n);
            return false;
        }
    return true;
}

// Starts a program with its CPUs chosen (cpu < 0: any), its output to `out_fd` (when >= 0).
pid_t spawn_on(int cpu, const std::vector<std::string> &args, int out_fd)
{
    const pid_t pid = fork();
    if (pid != 0)
        return pid;
    if (cpu >= 0) {
        cpu_set_t set;
        CPU_ZERO(&set);
        CPU_SET(cpu, &set);
        sched_setaffinity(0, sizeof set, &set);
    }
    if (out_fd >= 0)
        dup2(out_fd, 1);
    std::vector<char *> argv;
    for (const std::string &a : args)
        argv.push_back(const_cast<char *>(a.c_str()));
    argv.push_back(nullptr);
    execv(argv[0], argv.data());
    _exit(127);
}

// Reads one line from a descriptor.
std::string read_line(int fd)
{
    std::string line;
    char c;
    while (read(fd, &c, 1) == 1 && c != '\n')
        line += c;
    return line;
}

struct running_server {
    pid_t pid = -1;
    int port = 0;
};

// Starts zerkaserver on `root`; `first_answer_ns` gets the time from the start
// to the answer of its first request.
bool start(const std::string &exe, const std::string &root, int cpu, running_server &srv, std::int64_t &first_answer_ns)
{
    int pipefd[2];
    if (pipe(pipefd) != 0)
        return false;
    const std::int64_t t0 = bench_now_ns();
    srv.pid = spawn_on(cpu, {exe, "--root", root, "--port", "0", "--log", root + "/zerkaserver.log"}, pipefd[1]);
    close(pipefd[1]);
    const std::string line = read_line(pipefd[0]);
    close(pipefd[0]);
    const std::size_t colon = line.rfind(':');
    if (line.rfind("zerkaserver listening on ", 0) != 0 || colon == std::string::npos)
        return false;
    srv.port = std::atoi(line.c_str() + colon + 1);
    bench_conn c;
    bench_msg m;
    if (!c.open(srv.port) || !c.request(CLIENT_OPEN, 1, 0, "", m))
        return false;
    first_answer_ns = bench_now_ns() - t0;
    return true;
}

void stop(running_server &srv)
{
    if (srv.pid > 0) {
        kill(srv.pid, SIGTERM);
        waitpid(srv.pid, nullptr, 0);
        srv.pid = -1;
    }
}

// A field of /proc/PID/status, in kB.
long status_kb(pid_t pid, const char *field)
{
    std::ifstream f("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(f, line))
        if (line.rfind(field, 0) == 0)
            return std::atol(line.c_str() + std::strlen(field) + 1);
    return -1;
}

// CPU time of a process (all its threads), in ms, from the scheduler's own
// nanosecond count (the tick-based user and system times are 10 ms coarse).
double cpu_ms(pid_t pid)
{
    const std::string tasks = "/proc/" + std::to_string(pid) + "/task";
    double ms = 0;
    DIR *d = opendir(tasks.c_str());
    if (d == nullptr)
        return 0;
    while (const dirent *e = readdir(d)) {
        if (e->d_name[0] == '.')
            continue;
        std::ifstream f(tasks + "/" + e->d_name + "/schedstat");
        long long ns = 0;
        if (f >> ns)
            ms += static_cast<double>(ns) / 1e6;
    }
    closedir(d);
    return ms;
}

// Sends a request and takes its reply; with `spin_ns` > 0 the client first
// polls for the reply that long before it blocks (what a client that polls
// briefly in its reply wait pays).
bool ask(bench_conn &c, std::int64_t type, std::int64_t album, bench_msg &reply, std::int64_t spin_ns)
{
    char buf[k_header_len];
    const wire_header h = {.type = type, .sequence = c.seq, .album = album, .track = 0, .length = 0};
    if (encode_message(buf, sizeof buf, h, "") != k_header_len || write(c.fd, buf, k_header_len) != k_header_len)
        return false;
    if (spin_ns > 0) {
        const std::int64_t until = bench_now_ns() + spin_ns;
        char b;
        while (recv(c.fd, &b, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && (errno == EAGAIN || errno == EWOULDBLOCK) &&
               bench_now_ns() < until)
            sched_yield();
    }
    for (;;) {
        if (!c.recv(reply))
            return false;
        if (reply.sequence == c.seq || reply.type == CLIENT_OPEN)
            break;
    }
    c.seq = next_sequence(reply.sequence);
    return true;
}

// The client: one whole load; prints its wall time in nanoseconds.
int load(int port, std::int64_t spin_ns)
{
    bench_conn c;
    bench_msg m;
    const std::int64_t t0 = bench_now_ns();
    if (!c.open(port) || !ask(c, CLIENT_OPEN, 1, m, spin_ns))
        return 1;
    int albums = 0;
    for (int n = 0; n <= k_max_regular_album; ++n) {
        if (!ask(c, ALBUM_READ, n, m, spin_ns)) {
            std::fprintf(stderr, "album %d: connection lost\n", n);
            return 1;
        }
        if (m.album == 0xFFFD)
            break;
        albums += m.album == n ? 1 : 0;
    }
    const std::int64_t t1 = bench_now_ns();
    if (albums != k_albums) {
        std::fprintf(stderr, "%d albums read, not %d\n", albums, k_albums);
        return 1;
    }
    std::printf("%lld\n", static_cast<long long>(t1 - t0));
    return 0;
}

// A temporary root, removed with everything in it when the run ends, however it ends.
struct temp_root {
    std::string dir;
    ~temp_root()
    {
        if (!dir.empty()) {
            const char *const rm[] = {"/bin/rm", "-rf", dir.c_str(), nullptr};
            run_to_end(rm);
        }
    }
};

struct figures {
    double median;
    double low;
    double high;
};

figures of(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return {v[v.size() / 2], v.front(), v.back()};
}

}   // namespace

int main(int argc, char **argv)
{
    if (argc == 4 && std::string_view(argv[1]) == "--load")
        return load(std::atoi(argv[2]), std::atoll(argv[3]));
    if (argc == 3 && std::string_view(argv[1]) == "--make")
        return mkdir(argv[2], 0755) == 0 && make_library(argv[2]) ? 0 : 1;
    const std::string exe = argc > 1 ? argv[1] : ZERKASERVER_PATH;
    const int runs = std::max(9, argc > 2 ? std::atoi(argv[2]) : 11);
    char self[4096];
    const ssize_t self_len = readlink("/proc/self/exe", self, sizeof self - 1);
    if (self_len <= 0)
        return 1;
    const std::string me(self, static_cast<std::size_t>(self_len));
    char templ[] = "/tmp/zkanswerXXXXXX";
    if (mkdtemp(templ) == nullptr)
        return 1;
    const temp_root kept{templ};
    const std::string &root = kept.dir;
    const std::int64_t m0 = bench_now_ns();
    if (!make_library(root))
        return 1;
    std::printf("Library: %d albums of %d tracks, written in %.1f s\n", k_albums, k_tracks,
                static_cast<double>(bench_now_ns() - m0) / 1e9);

    // Start-up: several fresh servers.
    std::vector<double> starts;
    long hwm_start = 0;
    for (int i = 0; i < std::max(5, runs / 2); ++i) {
        running_server srv;
        std::int64_t ns = 0;
        if (!start(exe, root, -1, srv, ns)) {
            std::fprintf(stderr, "cannot start or reach %s\n", exe.c_str());
            stop(srv);
            return 1;
        }
        starts.push_back(static_cast<double>(ns) / 1e6);
        hwm_start = status_kb(srv.pid, "VmHWM:");
        stop(srv);
    }
    const figures st = of(starts);
    std::printf("Server start to first answered request: median %.0f ms (%.0f-%.0f), peak memory after start %ld kB\n",
                st.median, st.low, st.high, hwm_start);

    struct placement {
        const char *name;
        int server_cpu;
        int client_cpu;
        std::int64_t client_spin_ns;
    };
    const long cpus = sysconf(_SC_NPROCESSORS_ONLN);
    std::vector<placement> places = {{"different CPUs (0 / 1)", 0, 1, 0},
                                     {"one CPU (0 / 0)", 0, 0, 0},
                                     {"unpinned", -1, -1, 0},
                                     {"different CPUs, client polls", 0, 1, k_client_spin_ns},
                                     {"one CPU, client polls", 0, 0, k_client_spin_ns},
                                     {"unpinned, client polls", -1, -1, k_client_spin_ns}};
    if (cpus < 2)
        std::erase_if(places, [](const placement &p) { return p.client_cpu != p.server_cpu; });
    std::printf("Whole loads by a fresh client (3001 round trips), %d runs each:\n", runs);
    for (const placement &p : places) {
        running_server srv;
        std::int64_t ns = 0;
        if (!start(exe, root, p.server_cpu, srv, ns)) {
            stop(srv);
            return 1;
        }
        std::vector<double> walls;
        std::vector<double> server_cpu;
        for (int r = 0; r < runs; ++r) {
            int pipefd[2];
            if (pipe(pipefd) != 0)
                return 1;
            const double c0 = cpu_ms(srv.pid);
            const pid_t client = spawn_on(p.client_cpu, {me, "--load", std::to_string(srv.port), std::to_string(p.client_spin_ns)}, pipefd[1]);
            close(pipefd[1]);
            const std::string line = read_line(pipefd[0]);
            close(pipefd[0]);
            int status = 0;
            waitpid(client, &status, 0);
            const double c1 = cpu_ms(srv.pid);
            if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || line.empty()) {
                std::fprintf(stderr, "a load failed (status %d, \"%s\")\n", status, line.c_str());
                stop(srv);
                return 1;
            }
            walls.push_back(std::atof(line.c_str()) / 1e6);
            server_cpu.push_back(c1 - c0);
        }
        const long hwm = status_kb(srv.pid, "VmHWM:");
        stop(srv);
        const figures w = of(walls);
        const figures c = of(server_cpu);
        std::printf("  %-30s load %6.1f ms (%.1f-%.1f), %5.1f us a round trip; server CPU %5.1f ms (%.1f-%.1f); "
                    "server VmHWM %ld kB\n",
                    p.name, w.median, w.low, w.high, 1e3 * w.median / 3001, c.median, c.low, c.high, hwm);
    }
    return 0;
}
