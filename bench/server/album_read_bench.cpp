// ALBUM_READ round trips on one connection: the server is given a library of
// 3000 albums of 99 tracks (297,000 tracks), then one client loads it the way
// the client does at start-up (1..3000), 9 times, with the server and the
// client on one CPU, on two CPUs, and unpinned. Prints the time of a whole
// load and the round trips per second (medians with min-max) and the bytes
// per second.
//
//   album_read_bench [zerkaserver] [rounds]
#include "../common/placement.hpp"
#include "bench_client.hpp"

#include <algorithm>
#include <vector>

namespace {

constexpr int k_albums = 3000;
constexpr int k_tracks = 99;

std::string album_text(int n)
{
    std::string t;
    char line[160];
    std::snprintf(line, sizeof line, "Bench Artist %04d\nBench Album Title %04d\n%02d:%02d - 00000000 1 0012AB34 0\n", n,
                  n, k_tracks * 3, 0);
    t += line;
    for (int k = 1; k <= k_tracks; ++k) {
        std::snprintf(line, sizeof line, "Bench Artist %04d\nA Song Title Number %02d of %04d\n03:%02d - 00000000 1 0012AB34 %d\n",
                      n, k, n, k % 60, k);
        t += line;
    }
    return t;
}

}   // namespace

int main(int argc, char **argv)
{
    const std::string exe = argc > 1 ? argv[1] : ZERKASERVER_PATH;
    const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 9;
    server_proc srv;
    bench_conn c;
    bench_msg m;
    if (!start_server(exe, false, srv) || !c.open(srv.port) || !c.request(CLIENT_OPEN, 1, 0, "", m)) {
        std::fprintf(stderr, "cannot start or reach %s\n", exe.c_str());
        stop_server(srv);
        return 1;
    }
    for (int n = 1; n <= k_albums; ++n)
        if (!c.request(ALBUM_WRITE, n, 0, album_text(n), m) || m.album != n) {
            std::fprintf(stderr, "album %d not written\n", n);
            stop_server(srv);
            return 1;
        }
    std::printf("ALBUM_READ on one connection, %d albums of %d tracks, %d rounds, loopback; medians (min-max)\n",
                k_albums, k_tracks, rounds);
    for (const placement &p : k_placements) {
        if (!placement_possible(p))
            continue;
        pin_process(srv.pid, p.server_cpu);
        pin_to(p.client_cpu);
        std::vector<double> loads;
        std::vector<double> rates;
        std::size_t bytes = 0;
        for (int r = 0; r <= rounds; ++r) {   // the first round is not counted
            std::size_t round_bytes = 0;
            int trips = 0;
            const std::int64_t t0 = bench_now_ns();
            for (int n = 1; n <= k_albums; ++n) {
                if (!c.request(ALBUM_READ, n, 0, "", m)) {
                    std::fprintf(stderr, "connection lost\n");
                    stop_server(srv);
                    return 1;
                }
                ++trips;
                round_bytes += k_header_len * 2 + m.text.size();
                if (m.album == 0xFFFD)
                    break;
                if (m.album != n) {
                    std::fprintf(stderr, "album %d: unexpected answer %ld\n", n, static_cast<long>(m.album));
                    stop_server(srv);
                    return 1;
                }
            }
            const double secs = static_cast<double>(bench_now_ns() - t0) / 1e9;
            if (r == 0)
                continue;
            loads.push_back(secs);
            rates.push_back(trips / secs);
            bytes = round_bytes;
        }
        const spread rate = spread_of(rates);
        const spread load = spread_of(loads);
        std::printf("\n%s\n", p.name);
        std::printf("  a whole load       %s\n", ms_text(load).c_str());
        std::printf("  round trips/s      %.0f (%.0f-%.0f)\n", rate.median, rate.min, rate.max);
        std::printf("  bytes/s            %.1f MB/s at the median (%zu bytes a load)\n",
                    static_cast<double>(bytes) / load.median / 1e6, bytes);
    }
    pin_to(-1);
    stop_server(srv);
    return 0;
}
