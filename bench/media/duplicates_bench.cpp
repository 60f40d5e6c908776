// The duplicate report's pass and one album's duplicate check, over a library
// of 3000 albums of 99 tracks (297,000 tracks), against the plain walks they
// replace: the report inserting every track into one sorted list by a walk
// from the head, and the check comparing every track of the album with every
// track of the table. Each figure is the median of the runs, with the fastest
// and slowest. The report's plain walk is quadratic and takes hours at full
// size, so it is measured on the first 200 albums (19,800 tracks) and its
// full-size time extrapolated by the square of the size ratio.
//
//   duplicates_bench [runs]     (default 9)
#include "media/duplicate_scan.hpp"
#include "proto/text_util.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <strings.h>
#include <vector>

namespace {

using clock_type = std::chrono::steady_clock;

constexpr int k_albums = 3000;
constexpr int k_tracks = 99;
constexpr int k_plain_albums = 200;

double seconds_since(clock_type::time_point t0) { return std::chrono::duration<double>(clock_type::now() - t0).count(); }

std::span<album_rec> whole_table() { return {album, static_cast<std::size_t>(k_album_slots)}; }

// An invented library: 900 artists (a fifth "The ..."), titles of two words
// from a list, lengths 1:00 to 8:59; one album in ten repeats tracks of an
// earlier one, with the artist's "The " or case changed and the length moved
// by up to 40 seconds.
void make_library(std::mt19937 &rng)
{
    static const char *const words[] = {"love",  "night", "blue",  "river", "fire",   "heart",  "dream", "road",
                                        "light", "rain",  "song",  "time",  "summer", "stone",  "gold",  "wild",
                                        "moon",  "train", "black", "angel", "city",   "shadow", "run",   "home"};
    const auto word = [&] { return std::string(words[rng() % (sizeof words / sizeof words[0])]); };
    clear_album_table();
    std::vector<std::string> artists;
    for (int i = 0; i < 900; ++i)
        artists.push_back((i % 5 == 0 ? "The " : "") + word() + " " + word() + " " + std::to_string(i));
    for (int n = 1; n <= k_albums; ++n) {
        album_rec &a = album[n];
        a.present = 1;
        a.tracks = k_tracks;
        const std::string artist = artists[rng() % artists.size()];
        copy_bounded(a.entry[0].artist, artist);
        copy_bounded(a.entry[0].title, word() + " " + word());
        copy_bounded(a.entry[0].time, "70:00");
        const int source = n > 10 && rng() % 10 == 0 ? 1 + static_cast<int>(rng() % static_cast<unsigned>(n - 1)) : 0;
        for (int t = 1; t <= k_tracks; ++t) {
            track_rec &r = a.entry[t];
            int secs = 60 + static_cast<int>(rng() % 480);
            if (source != 0) {
                const track_rec &s = album[source].entry[t];
                std::string sa = s.artist;
                if (rng() % 2 == 0)
                    sa = strncasecmp(sa.c_str(), "the ", 4) == 0 ? sa.substr(4) : "the " + sa;
                copy_bounded(r.artist, sa);
                copy_bounded(r.title, s.title);
                secs = std::max(0, length_seconds(field_view(s.time)) > 0
                                       ? static_cast<int>(length_seconds(field_view(s.time))) + static_cast<int>(rng() % 81) - 40
                                       : secs);
            } else {
                copy_bounded(r.artist, artist);
                copy_bounded(r.title, word() + " " + word() + " " + word());
            }
            char time[16];
            std::snprintf(time, sizeof time, "%02d:%02d", secs / 60, secs % 60);
            copy_bounded(r.time, time);
            r.status = '-';
            r.online = 1;
        }
    }
    max_album = k_albums;
}

// ----- the plain walks ------------------------------------------------------------------------

const char *without_the(const char *s) { return strncasecmp(s, "the ", 4) == 0 ? s + 4 : s; }

int seconds_of(const char *time)
{
    int m = 0;
    int s = 0;
    std::sscanf(time, "%d:%d", &m, &s);
    return m * 60 + s;
}

struct node {
    node *next;
    node *prev;
    track_rec *rec;
    int album_no;
    int track_no;
};

// The report's pass as a walk from the head of one sorted list for every track.
void plain_pass(int last)
{
    node *head = nullptr;
    for (int a = 1; a <= last; ++a) {
        if (album[a].present == 0)
            continue;
        for (int t = 1; t <= album[a].tracks; ++t) {
            track_rec *rec = &album[a].entry[t];
            const char *artist = without_the(rec->artist);
            const int secs = seconds_of(rec->time);
            node *prev = nullptr;
            node *e = head;
            for (; e != nullptr; prev = e, e = e->next) {
                const int ca = strcasecmp(without_the(e->rec->artist), artist);
                const int ct = strcasecmp(e->rec->title, rec->title);
                if (ca == 0 && ct == 0 && std::abs(seconds_of(e->rec->time) - secs) <= 29) {
                    e->rec->mark = 1;
                    rec->mark = 1;
                }
                if (ca > 0 || (ca == 0 && ct > 0))
                    break;
            }
            node *n = new node{e, prev, rec, a, t};
            if (e != nullptr)
                e->prev = n;
            if (prev != nullptr)
                prev->next = n;
            else
                head = n;
        }
    }
    while (head != nullptr) {
        node *n = head->next;
        delete head;
        head = n;
    }
}

// One album's check: every track against every track of every other album.
int plain_album_check(int album_no, int last)
{
    int unique = album[album_no].tracks;
    std::vector<chain_entry> dups;
    for (int t = 1; t <= album[album_no].tracks; ++t) {
        const track_rec &r = album[album_no].entry[t];
        const char *artist = without_the(r.artist);
        const int secs = seconds_of(r.time);
        bool found = false;
        for (int b = 1; b <= last; ++b) {
            if (b == album_no || album[b].tracks < 1)
                continue;
            for (int u = 1; u <= album[b].tracks; ++u) {
                const track_rec &o = album[b].entry[u];
                if (strcasecmp(artist, without_the(o.artist)) == 0 && strcasecmp(r.title, o.title) == 0 &&
                    std::abs(seconds_of(o.time) - secs) <= 59) {
                    dups.push_back({b, u, 0});
                    if (!found) {
                        found = true;
                        --unique;
                    }
                }
            }
        }
    }
    return unique;
}

// ----- measuring --------------------------------------------------------------------------------

struct summary {
    double median, min, max;
};

summary summarise(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return {v[v.size() / 2], v.front(), v.back()};
}

void print(const char *what, const summary &s, const char *unit, double scale)
{
    std::printf("%-58s median %9.3f %s  (min %.3f, max %.3f)\n", what, s.median * scale, unit, s.min * scale,
                s.max * scale);
}

std::vector<int> marks_of(int last)
{
    std::vector<int> m;
    for (int a = 1; a <= last; ++a)
        for (int t = 1; t <= album[a].tracks; ++t)
            m.push_back(album[a].entry[t].mark);
    return m;
}

}   // namespace

int main(int argc, char **argv)
{
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 9;
    std::mt19937 rng(4711);
    make_library(rng);
    bool ok = true;
    std::printf("Library: %d albums of %d tracks (%d tracks); %d runs each\n", k_albums, k_tracks, k_albums * k_tracks,
                runs);

    // The report's pass, full size.
    std::vector<double> pass_times;
    for (int r = 0; r < runs; ++r) {
        clear_duplicate_marks(whole_table(), max_album);
        const auto t0 = clock_type::now();
        mark_duplicates(whole_table(), max_album, nullptr);
        pass_times.push_back(seconds_since(t0));
    }
    const summary pass = summarise(pass_times);
    int marked = 0;
    for (int m : marks_of(max_album))
        marked += m;
    print("Report pass, 297000 tracks:", pass, "s ", 1.0);
    std::printf("%-58s %d\n", "  tracks marked as duplicates:", marked);
    ok = ok && pass.median < 2.0;

    // The report's pass on the first 200 albums: the grouping against the walk.
    std::vector<double> small_fast_times;
    std::vector<double> small_plain_times;
    bool same = true;
    for (int r = 0; r < runs; ++r) {
        clear_duplicate_marks(whole_table(), max_album);
        auto t0 = clock_type::now();
        mark_duplicates(whole_table(), k_plain_albums, nullptr);
        small_fast_times.push_back(seconds_since(t0));
        const std::vector<int> fast_marks = marks_of(k_plain_albums);
        clear_duplicate_marks(whole_table(), max_album);
        t0 = clock_type::now();
        plain_pass(k_plain_albums);
        small_plain_times.push_back(seconds_since(t0));
        same = same && fast_marks == marks_of(k_plain_albums);
    }
    const summary small_fast = summarise(small_fast_times);
    const summary small_plain = summarise(small_plain_times);
    print("Report pass, 19800 tracks:", small_fast, "s ", 1.0);
    print("Plain walk of the report pass, 19800 tracks:", small_plain, "s ", 1.0);
    const double factor = static_cast<double>(k_albums) / k_plain_albums;
    const double plain_full = small_plain.median * factor * factor;
    std::printf("%-58s %9.0f s (%.1f hours), x%.0f the measured median\n",
                "Plain walk at 297000 tracks, extrapolated (quadratic):", plain_full, plain_full / 3600, factor * factor);
    std::printf("%-58s %9.0fx at 19800 tracks, %.0fx at 297000 (extrapolated)%s\n", "Speed-up of the report pass:",
                small_plain.median / small_fast.median, plain_full / pass.median, same ? "" : "  (MARKS DIFFER)");
    ok = ok && same;

    // One album's check, full size: albums spread over the library.
    std::vector<double> check_times;
    std::vector<double> plain_check_times;
    for (int r = 0; r < runs; ++r) {
        const int a = 1 + (r * 331 + 17) % k_albums;
        auto t0 = clock_type::now();
        const album_copies c = find_album_copies(whole_table(), a, max_album);
        check_times.push_back(seconds_since(t0));
        t0 = clock_type::now();
        const int plain_unique = plain_album_check(a, max_album);
        plain_check_times.push_back(seconds_since(t0));
        same = same && plain_unique == c.unique_count;
    }
    const summary check = summarise(check_times);
    const summary plain_check = summarise(plain_check_times);
    print("One album's check, 99 tracks against 297000:", check, "ms", 1000.0);
    print("Plain comparison of every track with every track:", plain_check, "ms", 1000.0);
    std::printf("%-58s %9.0fx%s\n", "Speed-up of the album check:", plain_check.median / check.median,
                same ? "" : "  (RESULTS DIFFER)");
    ok = ok && same && check.median < 0.05;
    std::printf("%s\n", ok ? "All targets met" : "TARGET MISSED");
    return ok ? 0 : 1;
}
