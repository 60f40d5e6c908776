// Load test of zerkaserver on loopback: 50 clients at once, each greets,
// loads the whole demo database (ALBUM_READ until the end answer, then
// 9000..9019) and makes 200 playlist changes: on its own offline playlist
// (add, up, down, to the top, delete, read) and on the shared current
// playlist (its own track in and out). Every reply is checked against a model
// of what the playlist must hold; at the end every offline playlist and the
// current playlist are compared with the models, so a lost update shows.
// Prints the throughput and the reply times (median, 99th percentile, worst).
// The run is bounded: two minutes at most, and 30 seconds for any one reply.
//
// Then the library load: a server with 3000 albums of 99 tracks (297,000
// tracks), loaded by one client alone (9 runs) and by 50 clients at once, with
// the server and the clients on one CPU, on two CPUs, and unpinned: the total
// time of the 50 loads and each load's time against one client's.
//
//   server_load_bench [zerkaserver] [clients] [operations] [--no-library | --library-only]
#include "../common/placement.hpp"
#include "bench_client.hpp"
#include "proto/transfer_text.hpp"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr auto k_time_limit = std::chrono::seconds(120);

struct track_id {
    int album;
    int track;
    bool operator==(const track_id &) const = default;
};

struct client_result {
    std::vector<std::int64_t> reply_ns;   // every request's reply time
    std::vector<std::int64_t> plist_ns;   // the playlist operations' reply times
    std::string error;                    // the first thing that went wrong
    bool own_in_current = false;          // the client's track is in the current playlist at the end
    std::vector<track_id> model;          // what its offline playlist must hold
    long notices = 0;                     // unsolicited messages it received
};

std::atomic<bool> over_time{false};

std::string transfer_of(const std::vector<track_id> &list)
{
    std::string s;
    char rec[16];
    for (const track_id &t : list) {
        std::snprintf(rec, sizeof rec, "%04d %02d ", t.album, t.track);
        s += rec;
    }
    return s;
}

// The tracks of the demo database, from its album texts.
std::vector<track_id> library_tracks(int port)
{
    std::vector<track_id> out;
    bench_conn c;
    bench_msg m;
    if (!c.open(port) || !c.request(CLIENT_OPEN, 1, 0, "", m))
        return out;
    for (int n = 1; n <= 3000; ++n) {
        if (!c.request(ALBUM_READ, n, 0, "", m) || m.album == 0xFFFD)
            break;
        if (m.album != n)
            continue;
        const long lines = std::count(m.text.begin(), m.text.end(), '\n');
        for (int t = 1; t < lines / 3; ++t)
            out.push_back({n, t});
    }
    return out;
}

// One client's whole run.
void run_client(int index, int port, int operations, const std::vector<track_id> &tracks, client_result &r)
{
    bench_conn c;
    bench_msg m;
    std::uint32_t rng = 2166136261u ^ static_cast<std::uint32_t>(index * 16777619);
    const auto rand_below = [&](std::size_t n) {
        rng = rng * 1664525u + 1013904223u;
        return static_cast<std::size_t>((rng >> 8) % n);
    };
    const auto timed = [&](std::int64_t type, std::int64_t album, std::int64_t track, const std::string &text,
                           bool plist) {
        const std::int64_t t0 = bench_now_ns();
        const bool ok = c.request(type, album, track, text, m);
        const std::int64_t dt = bench_now_ns() - t0;
        r.reply_ns.push_back(dt);
        if (plist)
            r.plist_ns.push_back(dt);
        if (!ok && r.error.empty())
            r.error = "connection lost or reply overdue";
        return ok;
    };
    const auto fail = [&](const char *what, int op) {
        if (r.error.empty()) {
            char buf[160];
            std::snprintf(buf, sizeof buf, "client %d, operation %d: %s (reply album %ld)", index, op, what,
                          static_cast<long>(m.album));
            r.error = buf;
        }
    };
    if (!c.open(port)) {
        r.error = "cannot connect";
        return;
    }
    if (!timed(CLIENT_OPEN, 1, 0, "", false) || !timed(GETTIME, 0, 0, "Time", false))
        return;
    // The whole database, as the client loads it at start-up.
    int albums = 0;
    for (int n = 1; n <= 3000; ++n) {
        if (!timed(ALBUM_READ, n, 0, "", false))
            return;
        if (m.album == 0xFFFD)
            break;
        albums += m.album == n;
    }
    for (int n = 9000; n < 9020; ++n)
        if (!timed(ALBUM_READ, n, 0, "", false))
            return;
    if (albums == 0)
        fail("no albums loaded", 0);

    char name[32];
    std::snprintf(name, sizeof name, "load_%02d", index);
    const track_id own = tracks[static_cast<std::size_t>(index) % tracks.size()];
    std::size_t next_add = static_cast<std::size_t>(index) * 7;
    std::vector<track_id> &model = r.model;
    if (!timed(PLIST_READ, 1, 2, name, true) || m.album == 0)
        fail("cannot create the playlist", 0);
    for (int op = 1; op < operations && r.error.empty() && !over_time; ++op) {
        const int kind = op % 10;
        if (kind == 0) {
            // The shared current playlist: the client's own track goes in and out.
            const std::int64_t type = r.own_in_current ? PLIST_DELETE : PLIST_ADD;
            if (!timed(type, own.album, own.track, "current.lst", true))
                return;
            if (m.album == 0xFFFF)
                fail("current playlist change refused", op);
            r.own_in_current = !r.own_in_current;
        } else if (kind <= 4 || model.empty()) {
            const track_id t = tracks[next_add++ % tracks.size()];
            const bool there = std::find(model.begin(), model.end(), t) != model.end();
            if (!timed(PLIST_ADD, t.album, t.track, name, true))
                return;
            if ((m.album == 0xFFFF) != there)
                fail(there ? "a duplicate was accepted" : "an add was refused", op);
            if (!there)
                model.push_back(t);
        } else if (kind <= 7) {
            const std::size_t at = rand_below(model.size());
            const track_id t = model[at];
            const std::int64_t type = kind == 5 ? PLIST_UP : kind == 6 ? PLIST_DOWN : PLIST_NEXT;
            if (!timed(type, t.album, t.track, name, true))
                return;
            if (m.album == 0xFFFF)
                fail("a move was refused", op);
            const auto pos = model.begin() + static_cast<long>(at);
            if (type == PLIST_UP && at > 0)
                std::iter_swap(pos, pos - 1);
            else if (type == PLIST_DOWN && at + 1 < model.size())
                std::iter_swap(pos, pos + 1);
            else if (type == PLIST_NEXT)
                std::rotate(model.begin(), pos, pos + 1);
        } else if (kind == 8) {
            const std::size_t at = rand_below(model.size());
            const track_id t = model[at];
            if (!timed(PLIST_DELETE, t.album, t.track, name, true))
                return;
            if (m.album == 0xFFFF)
                fail("a delete was refused", op);
            model.erase(model.begin() + static_cast<long>(at));
        } else {
            if (!timed(PLIST_GET, 1, 0, name, true))
                return;
            if (m.text != transfer_of(model))
                fail("the playlist differs from what was done to it", op);
        }
    }
    if (r.error.empty() && (!timed(PLIST_GET, 1, 0, name, true) || m.text != transfer_of(model)))
        fail("the playlist differs at the end", operations);
    r.notices = c.notices;
}

std::int64_t percentile(std::vector<std::int64_t> &v, double p)
{
    if (v.empty())
        return 0;
    std::sort(v.begin(), v.end());
    const std::size_t i = std::min(v.size() - 1, static_cast<std::size_t>(p * static_cast<double>(v.size())));
    return v[i];
}

bool by_id(const track_id &a, const track_id &b) { return a.album != b.album ? a.album < b.album : a.track < b.track; }

// ----- the library load -------------------------------------------------------------------

constexpr int k_lib_albums = 3000;
constexpr int k_lib_tracks = 99;

std::string library_album_text(int n)
{
    std::string t;
    char line[160];
    std::snprintf(line, sizeof line, "Bench Artist %04d\nBench Album Title %04d\n45:30 - 6543210A 1 0012AB34 7\n", n, n);
    t += line;
    for (int k = 1; k <= k_lib_tracks; ++k) {
        std::snprintf(line, sizeof line, "Bench Artist %04d\nA Song Title Number %02d of %04d\n03:%02d S 6543210A 1 0012AB34 %d\n",
                      n, k, n, k % 60, k);
        t += line;
    }
    return t;
}

// Writes the library through the server's own requests.
bool write_library(int port)
{
    bench_conn c;
    bench_msg m;
    if (!c.open(port) || !c.request(CLIENT_OPEN, 1, 0, "", m))
        return false;
    for (int n = 1; n <= k_lib_albums; ++n)
        if (!c.request(ALBUM_WRITE, n, 0, library_album_text(n), m) || m.album != n)
            return false;
    return true;
}

// One whole load as the client makes it at start-up: greeting, albums 1, 2, ...
// until the end answer, then 9000..9019. Seconds, or -1 when it failed.
double load_library(int port)
{
    const std::int64_t t0 = bench_now_ns();
    bench_conn c;
    bench_msg m;
    if (!c.open(port) || !c.request(CLIENT_OPEN, 1, 0, "", m))
        return -1;
    int albums = 0;
    for (int n = 1; n <= 3000; ++n) {
        if (!c.request(ALBUM_READ, n, 0, "", m))
            return -1;
        if (m.album == 0xFFFD)
            break;
        albums += m.album == n;
    }
    for (int n = 9000; n < 9020; ++n)
        if (!c.request(ALBUM_READ, n, 0, "", m))
            return -1;
    if (albums != k_lib_albums)
        return -1;
    return static_cast<double>(bench_now_ns() - t0) / 1e9;
}

int library_load(const std::string &exe, int clients)
{
    server_proc srv;
    if (!start_server(exe, false, srv) || !write_library(srv.port)) {
        std::fprintf(stderr, "cannot start %s with the library\n", exe.c_str());
        stop_server(srv);
        return 1;
    }
    std::printf("zerkaserver library load: %d albums x %d tracks (%d tracks), loopback; medians (min-max)\n",
                k_lib_albums, k_lib_tracks, k_lib_albums * k_lib_tracks);
    bool ok = true;
    for (const placement &p : k_placements) {
        if (!placement_possible(p))
            continue;
        pin_process(srv.pid, p.server_cpu);
        pin_to(p.client_cpu);
        std::vector<double> one;
        load_library(srv.port);   // a first load, not counted
        for (int i = 0; i < 9; ++i)
            one.push_back(load_library(srv.port));
        std::vector<double> each(static_cast<std::size_t>(clients));
        const std::int64_t t0 = bench_now_ns();
        std::vector<std::thread> threads;
        for (int i = 0; i < clients; ++i)
            threads.emplace_back([&each, &srv, i] { each[static_cast<std::size_t>(i)] = load_library(srv.port); });
        for (auto &t : threads)
            t.join();
        const double total = static_cast<double>(bench_now_ns() - t0) / 1e9;
        for (double v : one)
            ok = ok && v > 0;
        for (double v : each)
            ok = ok && v > 0;
        const spread s1 = spread_of(one);
        const spread sn = spread_of(each);
        std::printf("\n%s\n", p.name);
        std::printf("  one client alone          %s\n", ms_text(s1).c_str());
        std::printf("  %d clients at once, total %.1f ms: %.2f x one load, %.2f x %d loads one after another\n", clients,
                    total * 1000, total / s1.median, total / (s1.median * clients), clients);
        std::printf("  each of the %d loads      %s: %.2f x one client alone\n", clients, ms_text(sn).c_str(),
                    sn.median / s1.median);
    }
    pin_to(-1);
    stop_server(srv);
    std::printf("%s\n", ok ? "every load complete" : "A LOAD FAILED");
    return ok ? 0 : 1;
}

}   // namespace

int main(int argc, char **argv)
{
    bool with_library = true;
    bool with_playlists = true;
    std::vector<const char *> args;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--no-library") == 0)
            with_library = false;
        else if (std::strcmp(argv[i], "--library-only") == 0)
            with_playlists = false;
        else
            args.push_back(argv[i]);
    }
    const std::string exe = args.size() > 0 ? args[0] : ZERKASERVER_PATH;
    const int clients = args.size() > 1 ? std::atoi(args[1]) : 50;
    const int operations = args.size() > 2 ? std::atoi(args[2]) : 200;
    if (!with_playlists)
        return library_load(exe, clients);
    server_proc srv;
    if (!start_server(exe, true, srv)) {
        std::fprintf(stderr, "cannot start %s\n", exe.c_str());
        stop_server(srv);
        return 1;
    }
    const std::vector<track_id> tracks = library_tracks(srv.port);
    if (tracks.size() < static_cast<std::size_t>(clients)) {
        std::fprintf(stderr, "the demo library has %zu tracks, fewer than %d clients\n", tracks.size(), clients);
        stop_server(srv);
        return 1;
    }
    std::vector<client_result> results(static_cast<std::size_t>(clients));
    std::vector<std::thread> threads;
    const std::int64_t started = bench_now_ns();
    for (int i = 0; i < clients; ++i)
        threads.emplace_back(run_client, i, srv.port, operations, std::cref(tracks),
                             std::ref(results[static_cast<std::size_t>(i)]));
    std::atomic<bool> finished{false};
    std::thread watchdog([&] {
        const auto until = std::chrono::steady_clock::now() + k_time_limit;
        while (!finished && std::chrono::steady_clock::now() < until)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        if (!finished)
            over_time = true;
    });
    for (auto &t : threads)
        t.join();
    finished = true;
    watchdog.join();
    const double seconds = static_cast<double>(bench_now_ns() - started) / 1e9;
    const bool timed_out = over_time.load();

    // The shared current playlist holds exactly the tracks the clients left in it.
    std::vector<track_id> expected;
    for (int i = 0; i < clients; ++i)
        if (results[static_cast<std::size_t>(i)].own_in_current)
            expected.push_back(tracks[static_cast<std::size_t>(i) % tracks.size()]);
    std::vector<track_id> got;
    {
        bench_conn check;
        bench_msg m;
        if (check.open(srv.port) && check.request(CLIENT_OPEN, 1, 0, "", m) &&
            check.request(PLIST_GET, 1, 0, "current.lst", m))
            for_each_plist_record(m.text.data(), m.text.size(), [&](int a, int t) { got.push_back({a, t}); });
    }
    std::sort(expected.begin(), expected.end(), by_id);
    std::sort(got.begin(), got.end(), by_id);
    stop_server(srv);

    std::vector<std::int64_t> all;
    std::vector<std::int64_t> plist;
    long notices = 0;
    int errors = 0;
    for (client_result &r : results) {
        all.insert(all.end(), r.reply_ns.begin(), r.reply_ns.end());
        plist.insert(plist.end(), r.plist_ns.begin(), r.plist_ns.end());
        notices += r.notices;
        if (!r.error.empty() && errors++ < 5)
            std::fprintf(stderr, "error: %s\n", r.error.c_str());
    }
    const bool lost = expected != got;
    const std::int64_t p50 = percentile(all, 0.50);
    const std::int64_t p99 = percentile(all, 0.99);
    const std::int64_t worst = all.empty() ? 0 : all.back();
    const std::int64_t pl50 = percentile(plist, 0.50);
    const std::int64_t pl99 = percentile(plist, 0.99);
    std::printf("zerkaserver load: %d clients x (whole database + %d playlist operations), loopback\n", clients,
                operations);
    std::printf("  requests           %zu in %.2f s: %.0f requests/s (%zu playlist operations: %.0f/s)\n", all.size(),
                seconds, static_cast<double>(all.size()) / seconds, plist.size(),
                static_cast<double>(plist.size()) / seconds);
    std::printf("  reply time, all    median %.3f ms, 99th percentile %.3f ms, worst %.3f ms\n",
                static_cast<double>(p50) / 1e6, static_cast<double>(p99) / 1e6, static_cast<double>(worst) / 1e6);
    std::printf("  reply time, lists  median %.3f ms, 99th percentile %.3f ms\n", static_cast<double>(pl50) / 1e6,
                static_cast<double>(pl99) / 1e6);
    std::printf("  notices received   %ld (the others' current playlist updates)\n", notices);
    std::printf("  errors             %d%s\n", errors, timed_out ? " (time limit reached)" : "");
    std::printf("  lost updates       %s (current playlist %zu tracks, expected %zu)\n", lost ? "YES" : "none",
                got.size(), expected.size());
    const bool good = errors == 0 && !lost && !timed_out;
    if (!with_library)
        return good ? 0 : 1;
    std::printf("\n");
    std::fflush(stdout);
    return library_load(exe, clients) == 0 && good ? 0 : 1;
}
