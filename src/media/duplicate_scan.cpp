// Copies of tracks in the album table.
//
// One album's check compares each of its tracks with every track of the
// table, and the report inserts every track of the table into one list sorted
// by artist and title, marking like neighbours on the way. Both are done here
// without the quadratic work: the check passes over the table once with a
// cheap filter on hashes of the titles, and the report groups the tracks
// by artist and title and looks only at neighbours in time within a group. The
// results are the same: the copies in the order the walks would find them, and
// the same marks (in the sorted list every track meets exactly the tracks of
// equal artist and title taken before it, so a track ends up marked when any
// other track of its group lies within the window).
#include "media/duplicate_scan.hpp"

#include "proto/text_util.hpp"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

// Lower-case equivalents of every byte, the way tolower gives them in the C locale.
constexpr std::array<unsigned char, 256> make_fold_table()
{
    std::array<unsigned char, 256> t{};
    for (int c = 0; c < 256; ++c)
        t[static_cast<std::size_t>(c)] = static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return t;
}
constexpr std::array<unsigned char, 256> fold = make_fold_table();

unsigned char folded(char c) { return fold[static_cast<unsigned char>(c)]; }

std::string_view without_the(std::string_view s) { return starts_with_the(s) ? s.substr(4) : s; }

// The tracks of an album that the table's walks take (its count held to 1..99).
int track_count(const album_rec &a) { return std::clamp(a.tracks, 0, k_max_entries - 1); }

// The last album number of 1..last that the table holds.
int last_in(std::size_t table_size, int last)
{
    return static_cast<int>(std::min<long long>(last, static_cast<long long>(table_size) - 1));
}

long long seconds_of(const track_rec &r) { return length_seconds(field_view(r.time)); }

bool within(long long a, long long b, int window)
{
    const long long d = a - b;
    return d <= window && d >= -window;
}

// The filter of the album check: a hash of the title, folded.
std::uint32_t title_hash(const track_rec &r)
{
    std::uint32_t h = 2166136261u;
    for (char c : field_view(r.title)) {
        h ^= folded(c);
        h *= 16777619u;
    }
    return h;
}

// The filter's bit of a title hash.
unsigned filter_bit(std::uint32_t hash) { return (hash ^ (hash >> 16)) & 0xFFFFu; }

// One track of the album being checked, with what its comparisons need.
struct checked_track {
    const track_rec *rec;
    long long seconds;
    std::uint32_t title;   // title_hash
    std::vector<chain_entry> copies;   // in table order
};

// ----- the report's pass ------------------------------------------------------------------

// One track taken by the report's pass.
struct taken_track {
    std::uint64_t hash;       // of the folded artist (without "the ") and title
    std::uint32_t key_at;     // the folded texts in the arena: artist, a NUL, title
    std::uint32_t key_len;
    long long seconds;
    track_rec *rec;
};

std::uint64_t fnv1a(std::string_view s)
{
    std::uint64_t h = 14695981039346656037ull;
    for (char c : s) {
        h ^= static_cast<unsigned char>(c);
        h *= 1099511628211ull;
    }
    return h;
}

}   // namespace

bool tracks_are_copies(const track_rec &a, const track_rec &b, int window)
{
    return compare_artists(field_view(a.artist), field_view(b.artist)) == 0 &&
           compare_folded(field_view(a.title), field_view(b.title)) == 0 && within(seconds_of(a), seconds_of(b), window);
}

album_copies find_album_copies(std::span<const album_rec> table, int album_no, int last)
{
    album_copies out;
    if (album_no < 0 || static_cast<std::size_t>(album_no) >= table.size())
        return out;
    const album_rec &own = table[static_cast<std::size_t>(album_no)];
    const int n = track_count(own);
    std::vector<checked_track> tracks;
    tracks.reserve(static_cast<std::size_t>(n));
    std::bitset<65536> titles;   // filter bits of the album's titles
    for (int t = 1; t <= n; ++t) {
        const track_rec &r = own.entry[t];
        tracks.push_back({.rec = &r, .seconds = seconds_of(r), .title = title_hash(r), .copies = {}});
        titles.set(filter_bit(tracks.back().title));
    }
    const int end = last_in(table.size(), last);
    if (n > 0) {
        for (int b = 1; b <= end; ++b) {
            if (b == album_no)
                continue;
            const album_rec &other = table[static_cast<std::size_t>(b)];
            const int m = track_count(other);
            for (int u = 1; u <= m; ++u) {
                const track_rec &r = other.entry[u];
                const std::uint32_t title = title_hash(r);
                if (!titles.test(filter_bit(title)))
                    continue;
                const long long secs = seconds_of(r);
                for (checked_track &c : tracks) {
                    if (c.title != title || !within(c.seconds, secs, k_album_check_window))
                        continue;
                    if (compare_folded(field_view(c.rec->title), field_view(r.title)) == 0 &&
                        compare_artists(field_view(c.rec->artist), field_view(r.artist)) == 0)
                        c.copies.push_back({.album_no = b, .track_no = u, .key = 0});
                }
            }
        }
    }
    out.unique_count = n;
    for (int t = 1; t <= n; ++t) {
        const checked_track &c = tracks[static_cast<std::size_t>(t - 1)];
        if (c.copies.empty()) {
            out.unique.push_back({.album_no = album_no, .track_no = t, .key = 0});
            continue;
        }
        ++out.duplicate_count;
        --out.unique_count;
        out.duplicates.insert(out.duplicates.end(), c.copies.begin(), c.copies.end());
    }
    return out;
}

int mark_duplicates(std::span<album_rec> table, int last, bool (*stop)(int album_no))
{
    std::vector<taken_track> taken;
    std::string arena;
    int albums = 0;
    const int end = last_in(table.size(), last);
    for (int a = 1; a <= end; ++a) {
        album_rec &rec = table[static_cast<std::size_t>(a)];
        if (rec.present == 0)
            continue;
        const int n = track_count(rec);
        for (int t = 1; t <= n; ++t) {
            track_rec &r = rec.entry[t];
            const auto at = static_cast<std::uint32_t>(arena.size());
            for (char c : without_the(field_view(r.artist)))
                arena.push_back(static_cast<char>(folded(c)));
            arena.push_back('\0');
            for (char c : field_view(r.title))
                arena.push_back(static_cast<char>(folded(c)));
            const auto len = static_cast<std::uint32_t>(arena.size() - at);
            taken.push_back({.hash = fnv1a(std::string_view(arena).substr(at, len)),
                             .key_at = at,
                             .key_len = len,
                             .seconds = seconds_of(r),
                             .rec = &r});
        }
        ++albums;
        if (stop != nullptr && stop(a))
            break;
    }
    const auto key = [&](const taken_track &x) { return std::string_view(arena).substr(x.key_at, x.key_len); };
    std::sort(taken.begin(), taken.end(), [&](const taken_track &x, const taken_track &y) {
        if (x.hash != y.hash)
            return x.hash < y.hash;
        const int c = key(x).compare(key(y));
        if (c != 0)
            return c < 0;
        return x.seconds < y.seconds;
    });
    // Within a group of equal artist and title, ordered by time, a track's
    // nearest others in time are its neighbours.
    for (std::size_t i = 0; i < taken.size();) {
        std::size_t j = i + 1;
        while (j < taken.size() && taken[j].hash == taken[i].hash && key(taken[j]) == key(taken[i]))
            ++j;
        for (std::size_t k = i; k + 1 < j; ++k) {
            if (taken[k + 1].seconds - taken[k].seconds <= k_report_window) {
                taken[k].rec->mark = 1;
                taken[k + 1].rec->mark = 1;
            }
        }
        i = j;
    }
    return albums;
}

int next_duplicated_album(std::span<const album_rec> table, int last, int target)
{
    for (int a = last_in(table.size(), last); a >= 1; --a) {
        const album_rec &rec = table[static_cast<std::size_t>(a)];
        if (rec.present == 0 || rec.entry[0].status == 'R')
            continue;
        const int n = track_count(rec);
        int unique = n;
        for (int t = 1; t <= n; ++t)
            unique -= rec.entry[t].mark != 0 ? 1 : 0;
        if (unique <= target)
            return a;
    }
    return 0;
}

void clear_duplicate_marks(std::span<album_rec> table, int last)
{
    const int end = last_in(table.size(), last);
    for (int a = 1; a <= end; ++a)
        for (track_rec &r : table[static_cast<std::size_t>(a)].entry)
            if (r.mark != 0)   // reading leaves pages never written unallocated
                r.mark = 0;
}

void clear_retention_flags(std::span<album_rec> table, int last)
{
    const int end = last_in(table.size(), last);
    for (int a = 1; a <= end; ++a) {
        char &flag = table[static_cast<std::size_t>(a)].entry[0].status;
        if (flag == 'R')
            flag = ' ';
    }
}
