// List building, searching and "more by this artist" over whole libraries:
// 3000 albums of 12 tracks (36,000) and of 99 tracks (297,000).
//
// The list builder is measured against `std::stable_sort` of the same
// entries with the same comparison (artist without a leading "the", then
// title, both case-blind): the honest baseline, which the builder must stay
// close to although it also folds and marks duplicates. The plain walk from
// the head (each element inserted before the first one that sorts after it,
// quadratic) is kept as a secondary figure for 36,000 tracks. A second
// baseline sorts on the folded texts made first (their making timed too).
#include "browse/chain.hpp"
#include "browse/search_scan.hpp"
#include "db/album.hpp"
#include "proto/text_util.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using clock_type = std::chrono::steady_clock;

double seconds_since(clock_type::time_point t0)
{
    return std::chrono::duration<double>(clock_type::now() - t0).count();
}

// An invented library: 3000 albums, each by one artist (a fifth of them "The ..."),
// titles from a word list, lengths from 1:00 to 8:59.
void make_library(int tracks_per_album, std::mt19937 &rng)
{
    static const char *const words[] = {"love",  "night", "blue",  "river", "fire",   "heart", "dream", "road",
                                        "light", "rain",  "song",  "time",  "summer", "stone", "gold",  "wild",
                                        "moon",  "train", "black", "angel", "city",   "shadow", "run",  "home"};
    const auto word = [&] { return words[rng() % (sizeof words / sizeof words[0])]; };
    clear_album_table();
    max_album = 0;
    std::vector<std::string> artists;
    for (int i = 0; i < 900; ++i) {
        std::string a = (i % 5 == 0 ? "The " : "") + std::string(word()) + " " + word() + " " + std::to_string(i);
        a[i % 5 == 0 ? 4 : 0] = static_cast<char>(std::toupper(static_cast<unsigned char>(a[i % 5 == 0 ? 4 : 0])));
        artists.push_back(a);
    }
    for (int n = 1; n <= 3000; ++n) {
        album_rec &a = album[n];
        const std::string &artist = artists[rng() % artists.size()];
        a.present = 1;
        a.tracks = tracks_per_album;
        copy_bounded(a.entry[0].artist, artist);
        copy_bounded(a.entry[0].title, std::string(word()) + " " + word());
        copy_bounded(a.entry[0].time, "45:00");
        for (int t = 1; t <= tracks_per_album; ++t) {
            track_rec &r = a.entry[t];
            copy_bounded(r.artist, artist);
            std::string title = std::string(word()) + " " + word();
            title[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(title[0])));
            copy_bounded(r.title, title);
            char time[8];
            std::snprintf(time, sizeof time, "%02d:%02d", 1 + static_cast<int>(rng() % 8), static_cast<int>(rng() % 60));
            copy_bounded(r.time, time);
            r.status = '-';
            r.online = rng() % 10 == 0 ? 0 : 1;
            r.cd_ident = rng();
            r.plays = static_cast<std::int64_t>(rng() % 50);
        }
        a.entry[tracks_per_album + 1].title[0] = '\0';
        max_album = n;
    }
}

// ----- the plain walk -------------------------------------------------------------------

int fold_compare(const char *a, const char *b)
{
    for (;; ++a, ++b) {
        const int ca = std::tolower(static_cast<unsigned char>(*a));
        const int cb = std::tolower(static_cast<unsigned char>(*b));
        if (ca != cb || ca == 0)
            return ca - cb;
    }
}

const char *without_the(const char *s) { return strncasecmp(s, "the ", 4) == 0 ? s + 4 : s; }

int seconds_of(const char *time)
{
    int m = 0;
    int s = 0;
    std::sscanf(time, "%d:%d", &m, &s);
    return m * 60 + s;
}

// Artist Order with keep-duplicates set, inserting each track by a walk from the head.
void walk_artist_order(chain_item **head, int album_no, int track_no)
{
    track_rec *rec = &album[album_no].entry[track_no];
    const char *artist = without_the(rec->artist);
    const int secs = seconds_of(rec->time);
    chain_item *prev = nullptr;
    chain_item *e = *head;
    for (; e != nullptr; prev = e, e = e->next) {
        const int a = fold_compare(without_the(e->track->artist), artist);
        const int t = fold_compare(e->track->title, rec->title);
        if (a == 0 && t == 0 && std::abs(seconds_of(e->track->time) - secs) <= 29) {
            e->track->mark = 1;
            rec->mark = 1;
        }
        if (a > 0 || (a == 0 && t > 0))
            break;
    }
    auto *n = new chain_item{};
    n->track = rec;
    n->album_no = album_no;
    n->track_no = track_no;
    n->key = static_cast<std::int64_t>(rec->cd_ident);
    n->next = e;
    n->prev = prev;
    if (e != nullptr)
        e->prev = n;
    if (prev != nullptr)
        prev->next = n;
    else
        *head = n;
}

std::vector<chain_entry> every_track()
{
    std::vector<chain_entry> all;
    for (int a = 1; a <= max_album; ++a)
        for (int t = 1; t <= album[a].tracks; ++t)
            all.push_back({a, t, 0});
    return all;
}

// Releases the walk's own list (the program's lists go with their chain_list).
void release_walked(chain_item *first)
{
    while (first != nullptr) {
        chain_item *next = first->next;
        delete first;
        first = next;
    }
}

bool same_list(const chain_item *x, const chain_item *y)
{
    for (; x != nullptr && y != nullptr; x = x->next, y = y->next)
        if (x->album_no != y->album_no || x->track_no != y->track_no || x->key != y->key)
            return false;
    return x == nullptr && y == nullptr;
}

// Builds Artist Order over the whole library; returns the seconds taken.
double time_build(int order, int keep, chain_list &out)
{
    const std::vector<chain_entry> all = every_track();
    const auto t0 = clock_type::now();
    chain_list head;
    build_chain(head, order, all, keep);
    const double s = seconds_since(t0);
    out = std::move(head);
    return s;
}

// Artist Order as a plain stable sort of the entries; returns the seconds taken.
double time_stable_sort(std::vector<chain_entry> &sorted)
{
    sorted = every_track();
    const auto t0 = clock_type::now();
    std::stable_sort(sorted.begin(), sorted.end(), [](const chain_entry &x, const chain_entry &y) {
        const track_rec &a = album[x.album_no].entry[x.track_no];
        const track_rec &b = album[y.album_no].entry[y.track_no];
        const int c = compare_artists(field_view(a.artist), field_view(b.artist));
        return c < 0 || (c == 0 && compare_folded(field_view(a.title), field_view(b.title)) < 0);
    });
    return seconds_since(t0);
}

std::string folded_key(std::string_view text, bool artist)
{
    std::string k(text);
    for (char &c : k)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    if (artist && k.compare(0, 4, "the ") == 0)
        k.erase(0, 4);
    return k;
}

// The same with the folded texts made first, then compared whole (keys included in the time).
double time_stable_sort_keys(std::vector<chain_entry> &sorted)
{
    sorted = every_track();
    const auto t0 = clock_type::now();
    struct keyed {
        std::string artist;
        std::string title;
        chain_entry e;
    };
    std::vector<keyed> keys;
    keys.reserve(sorted.size());
    for (const chain_entry &e : sorted) {
        const track_rec &r = album[e.album_no].entry[e.track_no];
        keys.push_back({folded_key(field_view(r.artist), true), folded_key(field_view(r.title), false), e});
    }
    std::stable_sort(keys.begin(), keys.end(), [](const keyed &a, const keyed &b) {
        const int c = a.artist.compare(b.artist);
        return c < 0 || (c == 0 && a.title < b.title);
    });
    for (std::size_t i = 0; i < keys.size(); ++i)
        sorted[i] = keys[i].e;
    return seconds_since(t0);
}

bool same_order(const chain_item *x, const std::vector<chain_entry> &sorted)
{
    std::size_t i = 0;
    for (; x != nullptr && i < sorted.size(); x = x->next, ++i)
        if (x->album_no != sorted[i].album_no || x->track_no != sorted[i].track_no)
            return false;
    return x == nullptr && i == sorted.size();
}

// The builder's Artist Order (keep duplicates) against std::stable_sort, best of three each.
void against_stable_sort(const char *label)
{
    double built = 1e9;
    double sorted_s = 1e9;
    double keyed_s = 1e9;
    bool same = true;
    for (int i = 0; i < 3; ++i) {
        chain_list list;
        built = std::min(built, time_build(k_order_artist, 1, list));
        std::vector<chain_entry> sorted;
        sorted_s = std::min(sorted_s, time_stable_sort(sorted));
        same = same && same_order(list.head(), sorted);
        keyed_s = std::min(keyed_s, time_stable_sort_keys(sorted));
        same = same && same_order(list.head(), sorted);
        list.reset();
    }
    std::printf("Artist Order, %s tracks (best of 3): built in %.4f s; std::stable_sort %.4f s, ratio built/stable_sort "
                "%.2f; on folded keys made first %.4f s, ratio %.2f%s\n",
                label, built, sorted_s, built / sorted_s, keyed_s, built / keyed_s, same ? "" : "  (ORDERS DIFFER)");
}

}   // namespace

int main()
{
    std::mt19937 rng(4711);
    bool ok = true;

    // 36,000 tracks: the one-go builder against the walk, Artist Order.
    make_library(12, rng);
    against_stable_sort("36000");
    chain_list fast;
    const double fast_36k = time_build(k_order_artist, 1, fast);
    const auto t0 = clock_type::now();
    chain_item *walked = nullptr;
    for (const chain_entry &e : every_track())
        walk_artist_order(&walked, e.album_no, e.track_no);
    const double walk_36k = seconds_since(t0);
    const bool same = same_list(fast.head(), walked);
    ok = ok && same;
    std::printf("Artist Order, 36000 tracks: built in %.4f s, quadratic walk %.3f s, speed-up %.0fx%s\n", fast_36k, walk_36k,
                walk_36k / fast_36k, same ? "" : "  (LISTS DIFFER)");
    ok = ok && walk_36k / fast_36k >= 50.0;
    fast.reset();
    release_walked(walked);

    // 297,000 tracks.
    make_library(99, rng);
    against_stable_sort("297000");
    for (int order : {k_order_artist, k_order_title, k_order_numeric, k_order_length}) {
        for (int keep : {0, 1}) {
            chain_list list;
            const double s = time_build(order, keep, list);
            int n = 0;
            for (const chain_item *e = list.head(); e != nullptr; e = e->next)
                ++n;
            std::printf("Order %d keep-duplicates %d, 297000 tracks: %.4f s (%d elements)\n", order, keep, s, n);
            if (order == k_order_artist)
                ok = ok && s < 0.5;
            list.reset();
        }
    }

    // The console's search: case-blind over every track, hits in Artist Order.
    std::string one_artist = without_the(album[7].entry[1].artist);
    for (char &c : one_artist)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (const char *wanted : {one_artist.c_str(), "shadow", "e"}) {
        const auto s0 = clock_type::now();
        std::vector<chain_entry> hits;
        find_tracks(hits, wanted, "", 0, true, max_album);
        const double scan = seconds_since(s0);
        chain_list list;
        const int count = build_chain(list, k_order_artist, hits, 0);
        const double total = seconds_since(s0);
        std::printf("Search artist \"%s\", 297000 tracks: scan %.4f s, with the list %.4f s (%d listed)\n", wanted, scan,
                    total, count);
        if (std::strcmp(wanted, "e") != 0)
            ok = ok && total < 0.05;
        list.reset();
    }

    // More by this artist: fuzzy matching against every track, hits in Title Order.
    {
        const char *artist = album[1].entry[1].artist;
        const auto s0 = clock_type::now();
        std::vector<chain_entry> hits;
        find_more_by_artist(hits, artist, 1, 1, max_album);
        chain_list list;
        const int count = build_chain(list, k_order_title, hits, 1);
        const double s = seconds_since(s0);
        std::printf("More by \"%s\", 297000 tracks: %.4f s (%d listed)\n", artist, s, count);
        ok = ok && s < 1.0;
        list.reset();
    }
    // The same without the per-album memo of the last artist: every track compared afresh.
    {
        const char *artist = album[1].entry[1].artist;
        const auto s0 = clock_type::now();
        int hits = 0;
        for (int a = 1; a <= max_album; ++a)
            for (int t = 1; t <= album[a].tracks; ++t)
                hits += artist_alike(album[a].entry[t].artist, without_the(artist)) ? 1 : 0;
        std::printf("Similarity of every track's artist, 297000 comparisons: %.4f s (%d alike)\n", seconds_since(s0),
                    hits);
    }
    std::printf("%s\n", ok ? "All targets met" : "TARGET MISSED");
    return ok ? 0 : 1;
}
