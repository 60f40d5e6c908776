// The mono finder and the on-line audit over a library of 3000 albums of 10
// tracks whose media files all exist (30,000 files of 200 seconds, sparse: 7
// tracks of 10 hold stereo audio where the first probe reads, the other 3 are
// digital silence and so mono, which makes the finder read all ten probes).
// Figures are for a warm cache (the files' pages and names already in memory):
// tracks per second, CPU per track, and bytes read per file, each against the
// obvious way measured in the same run (stdio: fopen, fseek, fread; for the
// audit fopen and fclose). Median of 9 runs with the range.
//
//     build/bench/reports/media_bench [ALBUMS]      (default 3000)
#include "db/album.hpp"
#include "reports/media_file.hpp"
#include "reports/mono.hpp"
#include "reports/report_list.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int k_runs = 9;
constexpr int k_tracks = 10;
constexpr long long k_file_bytes = 44 + 200LL * 176400;

double cpu_seconds()
{
    timespec ts{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

double wall_seconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Bytes this process has read with read-like calls.
long long bytes_read()
{
    std::FILE *f = std::fopen("/proc/self/io", "r");
    if (f == nullptr)
        return 0;
    char line[128];
    long long rchar = 0;
    while (std::fgets(line, sizeof line, f) != nullptr)
        if (std::sscanf(line, "rchar: %lld", &rchar) == 1)
            break;
    std::fclose(f);
    return rchar;
}

bool silent_track(int t) { return t % 10 == 3 || t % 10 == 6 || t % 10 == 9; }

void make_library(int albums)
{
    std::filesystem::create_directory("Media");
    std::vector<std::int16_t> probe(k_probe_samples);
    for (std::size_t i = 0; i < probe.size(); i += 2) {
        const double t = static_cast<double>(i / 2) / 44100.0;
        probe[i] = static_cast<std::int16_t>(9000 * std::sin(t * 2 * M_PI * 440));
        probe[i + 1] = static_cast<std::int16_t>(9000 * std::sin(t * 2 * M_PI * 660));
    }
    unsigned char head[44] = {'R', 'I', 'F', 'F'};
    clear_album_table();
    max_album = albums;
    for (int a = 1; a <= albums; ++a) {
        album[a].present = 1;
        album[a].tracks = k_tracks;
        for (int t = 1; t <= k_tracks; ++t) {
            album[a].entry[t].online = 1;
            album[a].entry[t].status = '-';
            char path[k_media_path];
            media_path(path, sizeof path, a, t);
            std::FILE *f = std::fopen(path, "wb");
            if (f == nullptr) {
                std::perror(path);
                std::exit(2);
            }
            std::fwrite(head, 1, sizeof head, f);
            if (!silent_track(t)) {
                std::fseek(f, 44 + k_probe_step, SEEK_SET);
                std::fwrite(probe.data(), 2, probe.size(), f);
            }
            if (ftruncate(fileno(f), k_file_bytes) != 0)
                std::perror("ftruncate");
            std::fclose(f);
        }
    }
}

// The obvious mono check: stdio, seeking forward and reading each probe.
bool stdio_is_mono(std::FILE *f)
{
    std::int16_t buf[k_probe_samples];
    std::fseek(f, 44, SEEK_SET);
    int countdown = k_stereo_run;
    for (int probe = 0; probe < k_mono_probes; ++probe) {
        std::fseek(f, k_probe_step, SEEK_CUR);
        const std::size_t got = std::fread(buf, 2, k_probe_samples, f);
        if (probe_decides_stereo(buf, got, countdown))
            return false;
    }
    return true;
}

struct pass {
    double wall;
    double cpu;
    long long bytes;
    int found;
};

// One pass of the mono finder over the library, the program's way or stdio's.
pass mono_pass(bool stdio)
{
    const long long b0 = bytes_read();
    const double w0 = wall_seconds(), c0 = cpu_seconds();
    int mono = 0;
    for (int a = 1; a <= max_album; ++a) {
        for (int t = 1; t <= report_track_count(a); ++t) {
            const track_rec &r = album[a].entry[t];
            if (!mono_examines(r.online, r.status))
                continue;
            char path[k_media_path];
            media_path(path, sizeof path, a, t);
            if (stdio) {
                std::FILE *f = std::fopen(path, "rb");
                if (f == nullptr)
                    continue;
                mono += stdio_is_mono(f) ? 1 : 0;
                std::fclose(f);
            } else {
                const int fd = open_regular_file(path);
                if (fd < 0)
                    continue;
                mono += track_is_mono(fd) ? 1 : 0;
                close(fd);
            }
        }
    }
    const double c = cpu_seconds() - c0, w = wall_seconds() - w0;
    return {w, c, bytes_read() - b0, mono};
}

// One pass of the on-line audit's test of every track: can its file be opened?
pass audit_pass(bool stdio)
{
    const double w0 = wall_seconds(), c0 = cpu_seconds();
    int present = 0;
    for (int a = 1; a <= max_album; ++a) {
        for (int t = 1; t <= report_track_count(a); ++t) {
            char path[k_media_path];
            media_path(path, sizeof path, a, t);
            if (stdio) {
                if (std::FILE *f = std::fopen(path, "rb"); f != nullptr) {
                    ++present;
                    std::fclose(f);
                }
            } else if (const int fd = open_regular_file(path); fd >= 0) {
                ++present;
                close(fd);
            }
        }
    }
    const double c = cpu_seconds() - c0, w = wall_seconds() - w0;
    return {w, c, 0, present};
}

struct figures {
    double median, low, high;
};

figures summarise(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return {v[v.size() / 2], v.front(), v.back()};
}

// Runs both ways k_runs times, interleaved, and prints tracks per second, CPU per track and bytes per file.
bool compare(const char *what, pass (*run)(bool), int tracks)
{
    std::vector<double> rate[2], cpu[2];
    long long bytes[2] = {0, 0};
    int found[2] = {0, 0};
    run(false);   // names and pages into the caches
    run(true);
    for (int i = 0; i < k_runs; ++i) {
        for (int way = 0; way < 2; ++way) {
            const pass p = run(way == 1);
            rate[way].push_back(tracks / p.wall);
            cpu[way].push_back(p.cpu / tracks * 1e6);
            bytes[way] = p.bytes;
            found[way] = p.found;
        }
    }
    static const char *const ways[] = {"this program", "obvious stdio"};
    std::printf("%s, %d tracks:\n", what, tracks);
    for (int way = 0; way < 2; ++way) {
        const figures r = summarise(rate[way]), c = summarise(cpu[way]);
        std::printf("  %-14s %9.0f tracks/s (%.0f-%.0f), CPU %6.2f us/track (%.2f-%.2f)", ways[way], r.median, r.low,
                    r.high, c.median, c.low, c.high);
        if (bytes[way] > 0)
            std::printf(", %.0f bytes read/file", static_cast<double>(bytes[way]) / tracks);
        std::printf(", %d found\n", found[way]);
    }
    std::printf("  ratio %.2fx\n", summarise(rate[0]).median / summarise(rate[1]).median);
    return found[0] == found[1];
}

}   // namespace

int main(int argc, char **argv)
{
    const int albums = argc > 1 ? std::atoi(argv[1]) : 3000;
    const std::filesystem::path saved = std::filesystem::current_path();
    const std::filesystem::path root = "/tmp/zk_media_bench_" + std::to_string(getpid());
    std::filesystem::create_directory(root);
    std::filesystem::current_path(root);
    std::printf("making %d albums of %d tracks...\n", albums, k_tracks);
    make_library(albums);
    const int tracks = albums * k_tracks;
    bool ok = compare("Mono finder", mono_pass, tracks);
    // Only the probes: 7 stereo files of 10 decide at the first probe, 3 silent ones read all ten.
    const pass p = mono_pass(false);
    const long long want = static_cast<long long>(albums) * (7 * 8820 + 3 * 88200);
    std::printf("  bytes read: %lld for %lld in the probes (%+lld, the reading of /proc/self/io)\n", p.bytes, want,
                p.bytes - want);
    ok = ok && p.found == albums * 3 && p.bytes >= want && p.bytes < want + 4096;
    ok = compare("On-line audit (opening each media file)", audit_pass, tracks) && ok;
    std::filesystem::current_path(saved);
    std::filesystem::remove_all(root);
    std::printf("%s\n", ok ? "All checks passed" : "CHECK FAILED");
    return ok ? 0 : 1;
}
