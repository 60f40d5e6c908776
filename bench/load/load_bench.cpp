// Measures how long the client takes to load a library of 3000 albums of 99
// tracks (297,000 tracks) from a server on loopback, as a ratio to the floor:
// the same request and reply round trips, of the same sizes, by a minimal
// client that does not parse.
//
// The server (serving prepared album texts, so that only the client's work is
// measured), the client and the floor are each a fresh process of this
// program. Every run is measured with the server and the client on one CPU, on
// two CPUs, and unpinned; in each, floor and client alternate. Also reports
// the loading process's CPU time, page faults and peak resident set.
//
//   load_bench [rounds]            (default 9)
//   load_bench --serve | --client PORT | --floor PORT   (the fresh processes)
#include "../common/loopback.hpp"
#include "../common/placement.hpp"
#include "core/input.hpp"
#include "core/link.hpp"
#include "db/album.hpp"
#include "proto/msg_types.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int k_albums = 3000;
constexpr int k_tracks = 99;

std::vector<std::string> album_texts;

void make_library()
{
    album_texts.resize(k_albums + 1);
    for (int n = 1; n <= k_albums; ++n) {
        std::string t;
        char line[160];
        std::snprintf(line, sizeof line, "Bench Artist %04d\nBench Album Title %04d\n45:30 - 6543210A 1 0012AB34 7\n", n, n);
        t += line;
        for (int k = 1; k <= k_tracks; ++k) {
            std::snprintf(line, sizeof line, "Bench Artist %04d\nA Song Title Number %02d of %04d\n03:%02d S 6543210A 1 0012AB34 %d\n",
                          n, k, n, k % 60, k);
            t += line;
        }
        album_texts[static_cast<std::size_t>(n)] = t;
    }
}

void send_reply(int fd, const wire_header &req, std::int64_t album_no, const std::string &text)
{
    static std::vector<char> out(k_header_len + k_text_max);
    const wire_header h = {.type = req.type, .sequence = req.sequence, .album = album_no, .track = req.track,
                           .length = static_cast<std::uint32_t>(text.size())};
    const std::size_t n = encode_message(out.data(), out.size(), h, text.data());
    write_all(fd, out.data(), n);
}

// The server: answers the greeting, the time and album reads, one connection at
// a time, until it is killed. Prints its port once listening.
int serve()
{
    make_library();
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    int one = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in a = {};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(listener, reinterpret_cast<sockaddr *>(&a), sizeof a) != 0 || listen(listener, 4) != 0)
        return 1;
    socklen_t len = sizeof a;
    getsockname(listener, reinterpret_cast<sockaddr *>(&a), &len);
    std::printf("%d\n", ntohs(a.sin_port));
    std::fflush(stdout);
    std::vector<char> body(k_text_max);
    for (;;) {
        const int fd = accept(listener, nullptr, nullptr);
        if (fd < 0)
            return 0;
        setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        char head[k_header_len];
        wire_header h;
        while (read_exact(fd, head, sizeof head) && decode_header(head, h) && read_exact(fd, body.data(), h.length)) {
            if (h.type == ALBUM_READ) {
                if (h.album >= 1 && h.album <= k_albums)
                    send_reply(fd, h, h.album, album_texts[static_cast<std::size_t>(h.album)]);
                else if (h.album <= k_last_regular)
                    send_reply(fd, h, k_past_the_end, "");
                else
                    send_reply(fd, h, k_no_such_album, "");
            } else if (h.type == GETTIME) {
                send_reply(fd, h, 0, "65432100");
            } else {
                send_reply(fd, h, h.album, "");
            }
        }
        close(fd);
    }
}

double cpu_seconds(const rusage &r)
{
    return static_cast<double>(r.ru_utime.tv_sec + r.ru_stime.tv_sec) +
           static_cast<double>(r.ru_utime.tv_usec + r.ru_stime.tv_usec) / 1e6;
}

// The client's own loading path: greeting, then every album read and parsed into
// the table. Prints the seconds, the CPU seconds and page faults of the load, and
// the peak resident set in KiB.
int client_load(int port)
{
    rusage before = {};
    getrusage(RUSAGE_SELF, &before);
    const auto start = std::chrono::steady_clock::now();
    master_sock = cd_srv_sock = connect_loopback(port);
    greet_servers();
    clear_album_table();
    for (int n = 1; n <= k_last_regular; ++n)
        if (read_album(n, master_sock) == 3)
            break;
    for (int n = k_reserved_first; n < k_reserved_first + k_reserved_count; ++n)
        read_album(n, master_sock);
    const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    rusage after = {};
    getrusage(RUSAGE_SELF, &after);
    close(master_sock);
    if (album[k_albums].tracks != k_tracks) {
        std::fprintf(stderr, "load incomplete\n");
        return 1;
    }
    std::printf("%.9f %.9f %ld %ld\n", secs, cpu_seconds(after) - cpu_seconds(before), after.ru_minflt - before.ru_minflt,
                after.ru_maxrss);
    return 0;
}

// The floor: the same round trips, reading each reply whole without looking into it.
int bare_load(int port)
{
    const auto start = std::chrono::steady_clock::now();
    const int fd = connect_loopback(port);
    std::vector<char> buf(k_header_len + k_text_max);
    long seq = 0;
    const auto round_trip = [&](std::int64_t type, std::int64_t album_no) {
        char head[k_header_len + 1];
        encode_header(head, {.type = type, .sequence = seq, .album = album_no, .track = 0, .length = 0});
        wire_header h;
        if (!write_all(fd, head, k_header_len) || !read_exact(fd, buf.data(), k_header_len) ||
            !decode_header(buf.data(), h) || !read_exact(fd, buf.data(), h.length)) {
            std::fprintf(stderr, "floor: the server went away\n");
            std::exit(1);
        }
        seq = next_sequence(h.sequence);
        return h.album;
    };
    round_trip(CLIENT_OPEN, 1);
    for (int n = 1; n <= k_last_regular; ++n)
        if (round_trip(ALBUM_READ, n) == k_past_the_end)
            break;
    for (int n = k_reserved_first; n < k_reserved_first + k_reserved_count; ++n)
        round_trip(ALBUM_READ, n);
    const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    close(fd);
    std::printf("%.9f\n", secs);
    return 0;
}

struct series {
    std::vector<double> client;
    std::vector<double> floor;
    std::vector<double> cpu;
    std::vector<double> faults;
    long rss_kb = 0;
};

series measure(const placement &p, int rounds)
{
    fresh_process server = start_self(p.server_cpu, {"--serve"});
    const std::string port = read_line(server.out);
    if (std::atoi(port.c_str()) <= 0) {
        std::fprintf(stderr, "the server did not start\n");
        std::exit(1);
    }
    series s;
    run_self(p.client_cpu, {"--floor", port});   // a first connection, not counted
    for (int i = 0; i < rounds; ++i) {
        s.floor.push_back(std::atof(run_self(p.client_cpu, {"--floor", port}).c_str()));
        double secs = 0;
        double cpu = 0;
        long faults = 0;
        long rss = 0;
        std::sscanf(run_self(p.client_cpu, {"--client", port}).c_str(), "%lf %lf %ld %ld", &secs, &cpu, &faults, &rss);
        s.client.push_back(secs);
        s.cpu.push_back(cpu);
        s.faults.push_back(static_cast<double>(faults));
        s.rss_kb = std::max(s.rss_kb, rss);
    }
    kill(server.pid, SIGTERM);
    waitpid(server.pid, nullptr, 0);
    close(server.out);
    return s;
}

}   // namespace

int main(int argc, char **argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--serve") == 0)
        return serve();
    if (argc > 2 && std::strcmp(argv[1], "--client") == 0)
        return client_load(std::atoi(argv[2]));
    if (argc > 2 && std::strcmp(argv[1], "--floor") == 0)
        return bare_load(std::atoi(argv[2]));
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 9;
    std::printf("load of %d albums x %d tracks (%d tracks) on loopback; %d runs per placement, fresh processes\n",
                k_albums, k_tracks, k_albums * k_tracks, rounds);
    std::printf("medians (min-max)\n");
    for (const placement &p : k_placements) {
        if (!placement_possible(p)) {
            std::printf("\n%s: not possible on this machine\n", p.name);
            continue;
        }
        const series s = measure(p, rounds);
        std::printf("\n%s\n", p.name);
        std::printf("  client load            %s\n", ms_text(spread_of(s.client)).c_str());
        std::printf("  floor round trips      %s\n", ms_text(spread_of(s.floor)).c_str());
        std::printf("  ratio client/floor     %s\n", ratio_text(spread_of(ratios(s.client, s.floor))).c_str());
        std::printf("  client CPU of the load %s\n", ms_text(spread_of(s.cpu)).c_str());
        const spread f = spread_of(s.faults);
        std::printf("  page faults            %.0f (%.0f-%.0f)\n", f.median, f.min, f.max);
        std::printf("  peak resident set      %.1f MB (table address space %.1f MB)\n", static_cast<double>(s.rss_kb) / 1024.0,
                    static_cast<double>(sizeof album) / 1048576.0);
    }
    return 0;
}
