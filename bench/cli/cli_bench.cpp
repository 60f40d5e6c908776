// Measures the wall time of one command-line search (`zerka --search --artist X`,
// a whole process: start-up, greeting, the load of albums 0 to 3000 and the
// search) against a running server, as a ratio to the floor: a minimal client
// that makes the same greeting and the same album-read round trips on the same
// server, reading each reply whole without looking into it.
//
//   cli_bench ZERKA ROOT PORT ARTIST [ROUNDS]
//
// ROOT holds the zerka.cfg that points the program at the server on
// 127.0.0.1:PORT. Rounds alternate floor and client; medians are reported.
#include "../common/loopback.hpp"
#include "proto/fd_io.hpp"
#include "proto/msg_types.hpp"
#include "proto/wire.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::int64_t k_past_the_end = 0xFFFD;
constexpr int k_last_regular = 3000;

struct floor_result {
    double secs;
    int round_trips;   // album reads
};

// The floor: greeting, then album reads from 0 until the end answer (or 3000), without parsing.
floor_result bare_load(int port)
{
    const auto start = std::chrono::steady_clock::now();
    const int fd = connect_loopback(port);
    std::vector<char> buf(k_header_len + k_text_max);
    std::int64_t seq = 0;
    const auto round_trip = [&](std::int64_t type, std::int64_t album_no) {
        char head[k_header_len + 1];
        encode_header(head, {.type = type, .sequence = seq, .album = album_no, .track = 0, .length = 0});
        wire_header h = {};
        if (!write_all(fd, head, k_header_len) || !read_exact(fd, buf.data(), k_header_len) ||
            !decode_header(buf.data(), h) || !read_exact(fd, buf.data(), h.length)) {
            std::fprintf(stderr, "floor: the server went away\n");
            std::exit(1);
        }
        seq = next_sequence(h.sequence);
        return h.album;
    };
    round_trip(CLIENT_OPEN, 1);
    int reads = 0;
    for (int n = 0; n <= k_last_regular; ++n) {
        ++reads;
        if (round_trip(ALBUM_READ, n) == k_past_the_end)
            break;
    }
    const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    close(fd);
    return {secs, reads};
}

struct client_result {
    double secs;
    int lines;   // lines the search printed
};

// One run of the program with the given arguments, its output counted.
client_result client_run(const char *zerka, const char *root, const char *const *args)
{
    int fds[2];
    if (pipe(fds) != 0) {
        std::perror("pipe");
        std::exit(1);
    }
    const auto start = std::chrono::steady_clock::now();
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(fds[1], STDOUT_FILENO);
        close(fds[0]);
        close(fds[1]);
        setenv("ZERKA", root, 1);
        std::vector<const char *> argv = {zerka};
        for (const char *const *a = args; *a != nullptr; ++a)
            argv.push_back(*a);
        argv.push_back(nullptr);
        execv(zerka, const_cast<char *const *>(argv.data()));
        _exit(127);
    }
    close(fds[1]);
    int lines = 0;
    char buf[65536];
    for (ssize_t n; (n = read(fds[0], buf, sizeof buf)) > 0;)
        lines += static_cast<int>(std::count(buf, buf + n, '\n'));
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "zerka ended with status %d\n", status);
        std::exit(1);
    }
    return {secs, lines};
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

}   // namespace

int main(int argc, char **argv)
{
    if (argc < 5) {
        std::fputs("usage: cli_bench ZERKA ROOT PORT ARTIST [ROUNDS]\n", stderr);
        return 2;
    }
    const char *zerka = argv[1];
    const char *root = argv[2];
    const int port = std::atoi(argv[3]);
    const char *artist = argv[4];
    const int rounds = argc > 5 ? std::max(1, std::atoi(argv[5])) : 7;
    const char *const search_args[] = {"--search", "--artist", artist, nullptr};
    const char *const mode_args[] = {"--mode", nullptr};
    std::vector<double> client;
    std::vector<double> floor;
    std::vector<double> start_up;
    int reads = 0;
    int lines = 0;
    for (int i = 0; i < rounds; ++i) {
        const floor_result f = bare_load(port);
        floor.push_back(f.secs);
        reads = f.round_trips;
        const client_result c = client_run(zerka, root, search_args);
        client.push_back(c.secs);
        lines = c.lines;
        start_up.push_back(client_run(zerka, root, mode_args).secs);
    }
    const double c = median(client);
    const double f = median(floor);
    const double s = median(start_up);
    std::printf("album reads per run:      %d\n", reads);
    std::printf("lines found for \"%s\":   %d\n", artist, lines);
    std::printf("zerka --search (median):  %.1f ms\n", c * 1000);
    std::printf("zerka --mode (median):    %.1f ms (start-up, greeting, one request)\n", s * 1000);
    std::printf("floor round trips:        %.1f ms\n", f * 1000);
    std::printf("ratio search/floor:       %.2f\n", c / f);
    return 0;
}
