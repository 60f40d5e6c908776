// Small album tables for the browse tests: albums and tracks put straight into
// the in-memory table.
#pragma once

#include "browse/chain.hpp"
#include "db/album.hpp"
#include "proto/text_util.hpp"

#include <cstdint>
#include <vector>

namespace browse_test {

// One track as a test describes it.
struct track_spec {
    const char *artist;
    const char *title;
    const char *time = "03:00";
    char status = '-';
    std::int32_t online = 1;
    std::uint64_t cd_ident = 0;
    std::int64_t plays = 0;
};

// Empties the table.
inline void reset_table()
{
    clear_album_table();
    max_album = 0;
}

// Writes one entry (track 0 is the album itself).
inline void put_entry(int album_no, int track_no, const track_spec &s)
{
    track_rec &r = album[album_no].entry[track_no];
    r = track_rec{};
    copy_bounded(r.artist, s.artist);
    copy_bounded(r.title, s.title);
    copy_bounded(r.time, s.time);
    r.status = s.status;
    r.online = s.online;
    r.cd_ident = s.cd_ident;
    r.plays = s.plays;
    album_rec &a = album[album_no];
    a.present = 1;
    if (track_no > a.tracks)
        a.tracks = track_no;
    if (album_no <= k_last_regular && album_no > max_album)
        max_album = album_no;
}

// An album with its header and tracks 1..n.
inline void put_album(int album_no, const track_spec &header, const std::vector<track_spec> &tracks)
{
    album[album_no].tracks = 0;
    put_entry(album_no, 0, header);
    for (std::size_t i = 0; i < tracks.size(); ++i)
        put_entry(album_no, static_cast<int>(i) + 1, tracks[i]);
    album[album_no].entry[tracks.size() + 1].title[0] = '\0';
}

// An element as the tests compare lists: numbers, key and record.
struct element_view {
    int album_no;
    int track_no;
    std::int64_t key;
    const track_rec *track;
    bool operator==(const element_view &) const = default;
};

// The elements of a list from its head, checking the back links on the way.
inline std::vector<element_view> list_of(const chain_item *head)
{
    std::vector<element_view> out;
    const chain_item *prev = nullptr;
    for (const chain_item *e = head; e != nullptr; prev = e, e = e->next) {
        if (e->prev != prev)
            out.push_back({-1, -1, -1, nullptr});   // a broken back link shows as a bad element
        out.push_back({e->album_no, e->track_no, e->key, e->track});
    }
    return out;
}

// album/track pairs of a list, for short expectations.
inline std::vector<std::pair<int, int>> numbers_of(const chain_item *head)
{
    std::vector<std::pair<int, int>> out;
    for (const chain_item *e = head; e != nullptr; e = e->next)
        out.emplace_back(e->album_no, e->track_no);
    return out;
}

}   // namespace browse_test
