#include "browse/search_scan.hpp"

#include "db/album.hpp"
#include "media/fuzzy_match.hpp"
#include "proto/text_util.hpp"

#include <cstdlib>
#include <cstring>

namespace {

constexpr float k_alike_score = 90.0f;

// Entries 1..tracks of an album, limited to the table.
int track_limit(const album_rec &a)
{
    return a.tracks < 0 ? 0 : (a.tracks >= k_max_entries ? k_max_entries - 1 : a.tracks);
}

// The last album number to look at, limited to the table.
int album_limit(int last_album) { return last_album >= k_album_slots ? k_album_slots - 1 : last_album; }

// Whether fuzzy_match of texts of these lengths can exceed the match score at
// all: the edit distance is at least the difference of the lengths.
bool may_be_alike(std::size_t m, std::size_t n)
{
    if (m == 0 || n == 0)
        return false;
    const std::size_t d = m > n ? m - n : n - m;
    const long long product = static_cast<long long>(m + n - d) * 100;
    return static_cast<float>(product) / static_cast<float>(m + n) > k_alike_score;
}

// A similarity above the match score.
bool similar(const char *a, const char *b)
{
    if (!may_be_alike(std::strlen(a), std::strlen(b)))
        return false;
    return fuzzy_match(a, b) > k_alike_score;
}

}   // namespace

void find_tracks(std::vector<chain_entry> &hits, const char *artist, const char *title, int case_flag,
                 bool skip_unplayable, int last_album)
{
    const bool by_artist = artist[0] != '\0';
    const bool by_title = title[0] != '\0';
    if (!by_artist && !by_title)
        return;
    for (int a = 1; a <= album_limit(last_album); ++a) {
        const album_rec &rec = album[a];
        const int n = track_limit(rec);
        for (int t = 1; t <= n; ++t) {
            const track_rec &tr = rec.entry[t];
            if (skip_unplayable && tr.status == 'U')
                continue;
            if (by_artist && !contains(tr.artist, artist, case_flag))
                continue;
            if (by_title && !contains(tr.title, title, case_flag))
                continue;
            hits.push_back({.album_no = a, .track_no = t, .key = 0});
        }
    }
}

void find_in_album(std::vector<chain_entry> &hits, int album_no, const char *text)
{
    if (album_no < 0 || album_no >= k_album_slots)
        return;
    const album_rec &rec = album[album_no];
    const int n = track_limit(rec);
    for (int t = 0; t <= n; ++t) {
        const track_rec &tr = rec.entry[t];
        if (contains(tr.artist, text, 1) || contains(tr.title, text, 1))
            hits.push_back({.album_no = album_no, .track_no = t, .key = 0});
    }
}

bool artist_alike(const char *track_artist, const char *wanted)
{
    if (similar(track_artist, wanted))
        return true;
    return starts_with_the(track_artist) && similar(track_artist + 4, wanted);
}

void find_more_by_artist(std::vector<chain_entry> &hits, const char *artist, int own_album, int own_track,
                         int last_album)
{
    const char *wanted = starts_with_the(artist) ? artist + 4 : artist;
    // The tracks of an album mostly share one artist: remember the last verdict.
    const char *last_text = nullptr;
    bool last_verdict = false;
    for (int a = 1; a <= album_limit(last_album); ++a) {
        const album_rec &rec = album[a];
        const int n = track_limit(rec);
        for (int t = 1; t <= n; ++t) {
            if (a == own_album && t == own_track)
                continue;
            const char *text = rec.entry[t].artist;
            if (last_text == nullptr || std::strcmp(text, last_text) != 0) {
                last_verdict = artist_alike(text, wanted);
                last_text = text;
            }
            if (last_verdict)
                hits.push_back({.album_no = a, .track_no = t, .key = 0});
        }
    }
}
