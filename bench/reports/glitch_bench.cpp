// The glitch scan over audio already in the page cache, against the plain
// per-sample walk, both measured in the same run on the same files: music-like
// audio, digital silence, and audio whose held values keep the scan on its
// careful path. Each figure is the median of 11 runs with the range.
//
//     build/bench/reports/glitch_bench [MEGABYTES]      (default 256)
#include "reports/glitch.hpp"
#include "reports/wav_file.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int k_runs = 11;

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

struct figures {
    double median;
    double low;
    double high;
};

figures summarise(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return {v[v.size() / 2], v.front(), v.back()};
}

// Writes a WAV file of `bytes` bytes of audio made by fill(sample index, channel).
template <typename Fill>
std::string write_wav(const char *name, std::int64_t bytes, Fill fill)
{
    std::string path = std::string("/tmp/zk_glitch_bench_") + name + "_" + std::to_string(getpid()) + ".wav";
    std::FILE *f = std::fopen(path.c_str(), "wb");
    if (f == nullptr) {
        std::perror(path.c_str());
        std::exit(2);
    }
    unsigned char head[44] = {'R', 'I', 'F', 'F'};
    const auto size = static_cast<std::uint32_t>(std::min<std::int64_t>(bytes, 0x7FFFFFFF));
    for (int i = 0; i < 4; ++i)
        head[40 + i] = static_cast<unsigned char>(size >> (8 * i));
    std::fwrite(head, 1, sizeof head, f);
    std::vector<std::int16_t> block(1 << 16);
    std::int64_t frame = 0;
    for (std::int64_t done = 0; done < bytes; done += static_cast<std::int64_t>(block.size() * 2)) {
        for (std::size_t i = 0; i < block.size(); i += 2, ++frame) {
            block[i] = fill(frame, 0);
            block[i + 1] = fill(frame, 1);
        }
        std::fwrite(block.data(), 2, block.size(), f);
    }
    std::fclose(f);
    return path;
}

// One timed scan of a file from its header on; returns the result.
std::int64_t scan_once(const std::string &path, bool fast, double &wall, double &cpu)
{
    std::FILE *f = std::fopen(path.c_str(), "rb");
    const wav_header h = read_wav_header(f);
    const double w0 = wall_seconds();
    const double c0 = cpu_seconds();
    const std::int64_t r = fast ? detect_glitch(1, 1, f, h.data_size) : detect_glitch_plain(f, h.data_size);
    cpu = cpu_seconds() - c0;
    wall = wall_seconds() - w0;
    std::fclose(f);
    return r;
}

// Measures both scans on one file, interleaved; prints the figures; false when
// the results differ or the fast scan misses its target on music.
bool measure(const char *what, const std::string &path, double gigabytes, bool target)
{
    std::vector<double> fast_wall, fast_cpu, plain_wall, plain_cpu;
    std::int64_t fast_result = 0, plain_result = 0;
    double w, c;
    scan_once(path, true, w, c);   // into the page cache
    for (int run = 0; run < k_runs; ++run) {
        fast_result = scan_once(path, true, w, c);
        fast_wall.push_back(gigabytes / w);
        fast_cpu.push_back(gigabytes / c);
        plain_result = scan_once(path, false, w, c);
        plain_wall.push_back(gigabytes / w);
        plain_cpu.push_back(gigabytes / c);
    }
    const figures fw = summarise(fast_wall), pw = summarise(plain_wall);
    const figures fc = summarise(fast_cpu), pc = summarise(plain_cpu);
    const bool same = fast_result == plain_result;
    std::printf("%-22s fast  %6.2f GB/s (%.2f-%.2f), CPU %6.2f GB/s\n", what, fw.median, fw.low, fw.high, fc.median);
    std::printf("%-22s plain %6.2f GB/s (%.2f-%.2f), CPU %6.2f GB/s   ratio %.1fx   result %lld%s\n", "", pw.median,
                pw.low, pw.high, pc.median, fw.median / pw.median, static_cast<long long>(fast_result),
                same ? "" : "  (RESULTS DIFFER)");
    return same && (!target || fw.median >= 1.5);
}

}   // namespace

int main(int argc, char **argv)
{
    const long megabytes = argc > 1 ? std::atol(argv[1]) : 256;
    const std::int64_t bytes = static_cast<std::int64_t>(megabytes) << 20;
    const double gigabytes = static_cast<double>(bytes) / 1e9;
    std::mt19937 rng(99);
    std::normal_distribution<double> noise(0.0, 300.0);

    // Music-like: a few tones and noise under a slow swell, with a quiet fade every minute.
    const std::string music = write_wav("music", bytes, [&](std::int64_t f, int ch) {
        const double t = static_cast<double>(f) / 44100.0;
        const double swell = 0.55 + 0.45 * std::sin(t * 0.3);
        const double fade = std::fmod(t, 60.0) < 1.0 ? std::fmod(t, 60.0) : 1.0;
        const double v = fade * swell *
                         (6000.0 * std::sin(t * 2 * M_PI * (ch == 0 ? 220.0 : 221.0)) +
                          3000.0 * std::sin(t * 2 * M_PI * 330.0) + 1500.0 * std::sin(t * 2 * M_PI * 1250.0)) +
                         noise(rng);
        return static_cast<std::int16_t>(std::clamp(v, -32768.0, 32767.0));
    });
    const std::string silence = write_wav("silence", bytes, [](std::int64_t, int) { return std::int16_t{0}; });
    // Held values of 700 frames, each a new value: runs stay short of a glitch, but
    // long enough that the scan walks much of the audio sample by sample.
    const std::string held = write_wav("held", bytes, [](std::int64_t f, int ch) {
        return static_cast<std::int16_t>(ch == 0 ? 1000 + (f / 700) % 20000 : 2000 + (f / 650) % 20000);
    });

    std::printf("glitch scan, %ld MB per file from the page cache, median of %d runs (min-max):\n", megabytes,
                k_runs);
    bool ok = measure("music-like audio", music, gigabytes, true);
    ok = measure("digital silence", silence, gigabytes, false) && ok;
    ok = measure("held values (700)", held, gigabytes, false) && ok;
    std::remove(music.c_str());
    std::remove(silence.c_str());
    std::remove(held.c_str());
    std::printf("%s\n", ok ? "All targets met" : "TARGET MISSED");
    return ok ? 0 : 1;
}
