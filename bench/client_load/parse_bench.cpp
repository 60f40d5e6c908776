// Measures the album text reader alone: the time to read the album texts of
// 3000 albums of 99 tracks (as zerkaserver sends them) into one album slot,
// median of the rounds, in nanoseconds per album and per track.
//
//   parse_bench [rounds]
#include "proto/album_text.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

// Album n of the peer benchmark's library.
std::string album_text(int n)
{
    char artist[32];
    std::snprintf(artist, sizeof artist, "%s Crew%04d", n % 3 == 0 && n < 3000 ? "Trio" : "Solo", (n - 1) / 3);
    char line[160];
    std::snprintf(line, sizeof line, "%s\nAlbum %04d\n45:30 - 6543210A 1 0012AB34 7\n", artist, n);
    std::string t = line;
    for (int k = 1; k <= 99; ++k) {
        const int s = 180 + k;
        std::snprintf(line, sizeof line, "%s\nSong %02d of %04d\n%02d:%02d S 6543210A 1 0012AB34 %d\n", artist, k, n,
                      s / 60, s % 60, k);
        t += line;
    }
    return t;
}

}   // namespace

int main(int argc, char **argv)
{
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 9;
    std::vector<std::string> texts;
    for (int n = 1; n <= 3000; ++n)
        texts.push_back(album_text(n));
    auto rec = std::make_unique<album_rec>();
    std::vector<double> ns;
    long sink = 0;
    for (int r = 0; r < rounds; ++r) {
        const auto start = std::chrono::steady_clock::now();
        for (const std::string &t : texts)
            sink += parse_album_text(t.data(), t.size(), *rec);
        ns.push_back(std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(ns.begin(), ns.end());
    const double med = ns[ns.size() / 2];
    std::printf("album text reader: %.0f ns per album (%.1f ns per track), %.2f ms per 3000 albums (min %.2f, max %.2f)%s\n",
                med / 3000, med / 3000 / 100, med / 1e6, ns.front() / 1e6, ns.back() / 1e6, sink == 0 ? " ?" : "");
    return 0;
}
