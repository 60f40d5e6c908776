// Measures how long the client takes to load a library of 3000 albums of 12
// tracks from a server on loopback, as a ratio to the floor: the same request
// and reply round trips, of the same sizes, by a minimal client that does not
// parse. Also reports the loading process's peak resident set.
//
//   load_bench [rounds]
#include "../common/loopback.hpp"
#include "core/input.hpp"
#include "core/link.hpp"
#include "db/album.hpp"
#include "proto/msg_types.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int k_albums = 3000;
constexpr int k_tracks = 12;

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
            std::snprintf(line, sizeof line, "Bench Artist %04d\nA Song Title Number %02d of %04d\n03:%02d S 6543210A 1 0012AB34 %d\n", n, k, n, k, k);
            t += line;
        }
        album_texts[static_cast<std::size_t>(n)] = t;
    }
}

void send_reply(int fd, const wire_header &req, std::int64_t album_no, const std::string &text)
{
    static thread_local std::vector<char> out(k_header_len + k_text_max);
    const wire_header h = {.type = req.type, .sequence = req.sequence, .album = album_no, .track = req.track,
                           .length = static_cast<std::uint32_t>(text.size())};
    const std::size_t n = encode_message(out.data(), out.size(), h, text.data());
    write_all(fd, out.data(), n);
}

// A server that answers the greeting, the time and album reads, one connection at a time.
void serve(int listener)
{
    for (;;) {
        const int fd = accept(listener, nullptr, nullptr);
        if (fd < 0)
            return;
        int one = 1;
        setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        char head[k_header_len];
        std::vector<char> body(k_text_max);
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

// The client's own loading path: greeting, then every album read and parsed into the table.
double client_load(int port)
{
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
    close(master_sock);
    if (album[k_albums].tracks != k_tracks) {
        std::fprintf(stderr, "load incomplete\n");
        std::exit(1);
    }
    return secs;
}

// The floor: the same round trips, reading each reply whole without looking into it.
double bare_load(int port)
{
    const auto start = std::chrono::steady_clock::now();
    const int fd = connect_loopback(port);
    std::vector<char> buf(k_header_len + k_text_max);
    long seq = 0;
    const auto round_trip = [&](std::int64_t type, std::int64_t album_no) {
        char head[k_header_len + 1];
        encode_header(head, {.type = type, .sequence = seq, .album = album_no, .track = 0, .length = 0});
        write_all(fd, head, k_header_len);
        wire_header h;
        read_exact(fd, buf.data(), k_header_len);
        decode_header(buf.data(), h);
        read_exact(fd, buf.data(), h.length);
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
    return secs;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

long peak_rss_after_load(int port)
{
    int fds[2];
    if (pipe(fds) != 0)
        return -1;
    const pid_t pid = fork();
    if (pid == 0) {
        client_load(port);
        rusage ru = {};
        getrusage(RUSAGE_SELF, &ru);
        long kb = ru.ru_maxrss;
        [[maybe_unused]] ssize_t w = write(fds[1], &kb, sizeof kb);
        _exit(0);
    }
    long kb = -1;
    [[maybe_unused]] ssize_t r = read(fds[0], &kb, sizeof kb);
    waitpid(pid, nullptr, 0);
    close(fds[0]);
    close(fds[1]);
    return kb;
}

}   // namespace

int main(int argc, char **argv)
{
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 7;
    make_library();
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    int one = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in a = {};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(listener, reinterpret_cast<sockaddr *>(&a), sizeof a);
    listen(listener, 4);
    socklen_t len = sizeof a;
    getsockname(listener, reinterpret_cast<sockaddr *>(&a), &len);
    const int port = ntohs(a.sin_port);
    std::thread(serve, listener).detach();

    const long rss_kb = peak_rss_after_load(port);   // in a fresh process, before this one touches the table
    std::vector<double> client;
    std::vector<double> floor;
    for (int i = 0; i < rounds; ++i) {
        floor.push_back(bare_load(port));
        client.push_back(client_load(port));
    }
    const double c = median(client);
    const double f = median(floor);
    std::printf("albums loaded:            %d of %d tracks\n", k_albums, k_tracks);
    std::printf("client load (median):     %.1f ms\n", c * 1000);
    std::printf("floor round trips:        %.1f ms\n", f * 1000);
    std::printf("ratio client/floor:       %.2f (target <= 1.30)\n", c / f);
    std::printf("peak RSS after the load:  %.1f MB (table address space %.1f MB)\n", rss_kb / 1024.0,
                sizeof album / 1048576.0);
    return c / f <= 1.3 ? 0 : 2;
}
