// What putting each change on the disk costs: the median time of one album
// write (a 12-track album, one transaction) with the database synced at each
// commit (synchronous=FULL, as the server runs) and without (NORMAL), and of
// one playlist save (40 tracks) with its file and folder synced (as the server
// does) and without (write and rename only). The files go to a temporary
// folder under the given folder (default /var/tmp: a disk, where /tmp may be
// memory).
//
//   sync_bench [folder] [writes]
#include "server/log.hpp"
#include "server/playlists.hpp"
#include "server/store.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sqlite3.h>
#include <string>
#include <vector>

namespace {

using clock_type = std::chrono::steady_clock;

std::string album_text(int n, int round)
{
    std::string t;
    char line[160];
    std::snprintf(line, sizeof line, "Bench Artist %04d\nBench Album %04d round %d\n36:00 - 00000000 1 0012AB34 0\n", n,
                  n, round);
    t += line;
    for (int k = 1; k <= 12; ++k) {
        std::snprintf(line, sizeof line, "Bench Artist %04d\nA Song Title Number %02d\n03:00 - 00000000 1 0012AB34 %d\n",
                      n, k, round);
        t += line;
    }
    return t;
}

// Median microseconds of `writes` runs of a step.
template <typename Step>
double median_us(int writes, Step step)
{
    std::vector<double> us;
    us.reserve(static_cast<std::size_t>(writes));
    for (int i = 0; i < writes; ++i) {
        const auto t0 = clock_type::now();
        if (!step(i)) {
            std::fprintf(stderr, "a write failed\n");
            std::exit(1);
        }
        us.push_back(std::chrono::duration<double, std::micro>(clock_type::now() - t0).count());
    }
    std::nth_element(us.begin(), us.begin() + writes / 2, us.end());
    return us[static_cast<std::size_t>(writes / 2)];
}

// The playlist save without syncing: the same temporary file and rename.
bool save_unsynced(const std::string &path, const playlist &p)
{
    const std::string temp = path + ".tmp";
    std::FILE *f = std::fopen(temp.c_str(), "w");
    if (f == nullptr)
        return false;
    for (const plist_item &i : p.items)
        std::fprintf(f, "%s\n", i.line.c_str());
    return std::fclose(f) == 0 && std::rename(temp.c_str(), path.c_str()) == 0;
}

}   // namespace

int main(int argc, char **argv)
{
    const std::string base = argc > 1 ? argv[1] : "/var/tmp";
    const int writes = argc > 2 ? std::max(11, std::atoi(argv[2])) : 500;
    log_quiet(true);
    std::string templ = base + "/zksyncXXXXXX";
    if (mkdtemp(templ.data()) == nullptr) {
        std::perror(base.c_str());
        return 1;
    }
    const std::string dir = templ;
    double album_us[2] = {};
    for (int full = 1; full >= 0; --full) {
        album_store s;
        std::string error;
        const std::string db = dir + (full != 0 ? "/full.db" : "/normal.db");
        if (!store_open(s, db, error)) {
            std::fprintf(stderr, "%s: %s\n", db.c_str(), error.c_str());
            return 1;
        }
        if (full == 0)
            sqlite3_exec(s.db.get(), "PRAGMA synchronous=NORMAL", nullptr, nullptr, nullptr);
        album_us[full] = median_us(writes, [&](int i) { return store_write_text(s, 1 + i % 100, album_text(1 + i % 100, i)); });
    }
    playlist p;
    for (int k = 1; k <= 40; ++k) {
        char line[128];
        format_plist_line(line, sizeof line, 0, k, 1, "Bench Artist", "A Song Title", "03:00");
        p.items.push_back({k, 1, line});
    }
    const double plist_synced = median_us(writes, [&](int) { return plist_save(dir + "/synced", p); });
    const double plist_plain = median_us(writes, [&](int) { return save_unsynced(dir + "/plain", p); });
    std::filesystem::remove_all(dir);
    std::printf("zerkaserver sync cost: median of %d writes in %s\n", writes, base.c_str());
    std::printf("  album write, synchronous=FULL     %8.1f us\n", album_us[1]);
    std::printf("  album write, synchronous=NORMAL   %8.1f us\n", album_us[0]);
    std::printf("  playlist save, file+folder fsync  %8.1f us\n", plist_synced);
    std::printf("  playlist save, no fsync           %8.1f us\n", plist_plain);
    return 0;
}
