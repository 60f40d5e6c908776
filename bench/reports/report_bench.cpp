// The eight list reports over 297,000 tracks (3000 albums of 99), from the
// menu row to the first page as the browser draws it: the filter over the
// album table, the list built in the report's order, the browser's index of
// the list and the first page's 20 lines. Median of 11 runs with the range.
//
// The baseline is the list linked track by track (link_track, each element
// placed by a walk from the head), measured in the same run on 3000 albums of
// 4 tracks (12,000): at 297,000 tracks that walk would take hours.
//
//     build/bench/reports/report_bench
#include "browse/browse_layout.hpp"
#include "browse/chain.hpp"
#include "db/album.hpp"
#include "proto/text_util.hpp"
#include "reports/report_list.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int k_runs = 11;

using clock_type = std::chrono::steady_clock;

double seconds_since(clock_type::time_point t0)
{
    return std::chrono::duration<double>(clock_type::now() - t0).count();
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

// An invented library: 3000 albums by 900 artists (a fifth "The ..."), every
// status letter and some off-line tracks, and a few like tracks on other albums.
void make_library(int tracks_per_album)
{
    std::mt19937 rng(4711);
    static const char *const words[] = {"love", "night", "blue", "river", "fire", "heart", "dream", "road",
                                        "light", "rain", "song", "time", "summer", "stone", "gold", "wild"};
    const auto word = [&] { return words[rng() % std::size(words)]; };
    clear_album_table();
    max_album = 0;
    std::vector<std::string> artists;
    for (int i = 0; i < 900; ++i)
        artists.push_back((i % 5 == 0 ? "The " : "") + std::string(word()) + " " + word() + " " + std::to_string(i));
    for (int n = 1; n <= 3000; ++n) {
        album_rec &a = album[n];
        const std::string &artist = artists[rng() % artists.size()];
        a.present = n % 97 == 0 ? 0 : 1;   // a few free numbers
        a.tracks = tracks_per_album;
        copy_bounded(a.entry[0].artist, artist);
        copy_bounded(a.entry[0].title, std::string(word()) + " " + word());
        copy_bounded(a.entry[0].time, "45:00");
        for (int t = 1; t <= tracks_per_album; ++t) {
            track_rec &r = a.entry[t];
            copy_bounded(r.artist, artist);
            copy_bounded(r.title, std::string(word()) + " " + word() + " " + std::to_string(t % 7));
            char time[8];
            std::snprintf(time, sizeof time, "%02d:%02d", 1 + static_cast<int>(rng() % 8),
                          static_cast<int>(rng() % 60));
            copy_bounded(r.time, time);
            static constexpr char statuses[] = {'-', '-', '-', '-', '-', 'S', 'U', 'N'};
            r.status = statuses[rng() % std::size(statuses)];
            r.online = rng() % 10 == 0 ? 0 : 1;
            r.cd_ident = rng();
        }
        a.entry[tracks_per_album + 1].title[0] = '\0';
        max_album = n;
    }
}

// One report from the menu row to its first page; returns the elements listed.
int first_page(int code, bool include_duplicates, bool one_by_one, double &seconds)
{
    const auto t0 = clock_type::now();
    const report_kind &kind = report_kinds[code];
    std::vector<chain_entry> entries;
    if (kind.album_list) {
        report_albums(max_album, entries);
    } else {
        for (int a = 1; a <= max_album; ++a)
            report_album_tracks(code, include_duplicates, a, entries);
    }
    const int keep = kind.album_list ? 1 : include_duplicates ? 1 : 0;
    chain_list list;
    int count = 0;
    if (one_by_one) {
        for (const chain_entry &e : entries)
            count += link_track(list, kind.order, e.album_no, e.track_no, e.key, keep);
    } else {
        count = build_chain(list, kind.order, entries, keep);
    }
    std::vector<chain_item *> index;
    for (chain_item *e = list.head(); e != nullptr; e = e->next)
        index.push_back(e);
    const page_view view = page_start(static_cast<int>(index.size()), 0);
    char line[160];
    std::size_t drawn = 0;
    for (int row = 1; row <= rows_shown(view); ++row) {
        const chain_item *e = index[static_cast<std::size_t>(view.top + row - 2)];
        format_list_line(line, sizeof line, e->album_no, e->track_no, *e->track, e->track->status, e->track->online,
                         album_track_count(e->album_no));
        drawn += std::char_traits<char>::length(line);
    }
    format_position(line, sizeof line, current_ordinal(view), count);
    seconds = seconds_since(t0);
    return drawn > 0 || count == 0 ? count : -1;
}

static const char *const names[] = {"Album List", "Track List by Artist", "Track List by Title", "On Short-List",
                                        "Not on short-List", "Not on normal selection", "Off-line Tracks",
                                        "Unplayable List"};

}   // namespace

int main()
{
    bool ok = true;

    make_library(4);
    for (const int code : {1, 6}) {
        std::vector<double> fast, walk;
        int count = 0;
        for (int run = 0; run < k_runs; ++run) {
            double s;
            count = first_page(code, code == 1, false, s);
            fast.push_back(s);
            const int b = first_page(code, code == 1, true, s);
            walk.push_back(s);
            ok = ok && count == b;
        }
        const figures f = summarise(fast), w = summarise(walk);
        std::printf("%s, 12,000 tracks (%d listed), median of %d runs (min-max):\n", names[code], count, k_runs);
        std::printf("  built in one go   %8.4f s (%.4f-%.4f)\n  linked one by one %8.4f s (%.4f-%.4f)   ratio %.0fx\n",
                    f.median, f.low, f.high, w.median, w.low, w.high, w.median / f.median);
    }

    make_library(99);
    std::printf("\nEach report over 297,000 tracks, menu row to first page, median of %d runs (min-max):\n", k_runs);
    for (int code = 0; code < k_report_count; ++code) {
        for (const bool dups : {false, true}) {
            if (dups && !report_asks_duplicates(code))
                continue;
            std::vector<double> times;
            int count = 0;
            for (int run = 0; run < k_runs; ++run) {
                double s;
                count = first_page(code, dups, false, s);
                times.push_back(s);
            }
            const figures f = summarise(times);
            std::printf("  %d %-24s%-9s %7d listed  %.4f s (%.4f-%.4f)\n", code, names[code],
                        report_asks_duplicates(code) ? (dups ? " dups y" : " dups n") : "", count, f.median, f.low,
                        f.high);
            ok = ok && count >= 0 && f.median < 0.5;
        }
    }
    std::printf("%s\n", ok ? "All targets met" : "TARGET MISSED");
    return ok ? 0 : 1;
}
