// Copies of tracks: one album against the table, and the report's pass and
// choice of album, each compared with a plain walk written the long way.
#include "media/duplicate_scan.hpp"

#include "browse_library.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <strings.h>
#include <vector>

namespace {

using browse_test::put_album;
using browse_test::reset_table;
using browse_test::track_spec;

std::span<album_rec> whole_table() { return {album, static_cast<std::size_t>(k_album_slots)}; }

// ----- the plain walks ----------------------------------------------------------------------

const char *plain_without_the(const char *s) { return strncasecmp(s, "the ", 4) == 0 ? s + 4 : s; }

int plain_seconds(const char *time)
{
    int m = 0;
    int s = 0;
    std::sscanf(time, "%d:%d", &m, &s);
    return m * 60 + s;
}

// Every track of the album against every track of every other album 1..last.
album_copies plain_album_check(int album_no, int last)
{
    album_copies out;
    const album_rec &own = album[album_no];
    out.unique_count = own.tracks;
    for (int t = 1; t <= own.tracks; ++t) {
        const track_rec &r = own.entry[t];
        bool found = false;
        for (int b = 1; b <= last; ++b) {
            if (b == album_no || album[b].tracks < 1)
                continue;
            for (int u = 1; u <= album[b].tracks; ++u) {
                const track_rec &o = album[b].entry[u];
                if (strcasecmp(plain_without_the(r.artist), plain_without_the(o.artist)) == 0 &&
                    strcasecmp(r.title, o.title) == 0 && std::abs(plain_seconds(r.time) - plain_seconds(o.time)) <= 59) {
                    out.duplicates.push_back({b, u, 0});
                    if (!found) {
                        found = true;
                        ++out.duplicate_count;
                        --out.unique_count;
                    }
                }
            }
        }
        if (!found)
            out.unique.push_back({album_no, t, 0});
    }
    return out;
}

// The report's pass: one sorted list, each track inserted by a walk from the head.
struct plain_node {
    plain_node *next;
    track_rec *rec;
};

int plain_compare(const char *a, const char *b)
{
    for (;; ++a, ++b) {
        const int ca = std::tolower(static_cast<unsigned char>(*a));
        const int cb = std::tolower(static_cast<unsigned char>(*b));
        if (ca != cb || ca == 0)
            return ca - cb;
    }
}

int plain_pass(int last, int stop_after)
{
    plain_node *head = nullptr;
    int albums = 0;
    for (int a = 1; a <= last; ++a) {
        if (album[a].present == 0)
            continue;
        for (int t = 1; t <= album[a].tracks; ++t) {
            track_rec *rec = &album[a].entry[t];
            plain_node **at = &head;
            for (; *at != nullptr; at = &(*at)->next) {
                track_rec *o = (*at)->rec;
                const int ca = plain_compare(plain_without_the(o->artist), plain_without_the(rec->artist));
                const int ct = plain_compare(o->title, rec->title);
                if (ca == 0 && ct == 0 && std::abs(plain_seconds(o->time) - plain_seconds(rec->time)) <= 29) {
                    o->mark = 1;
                    rec->mark = 1;
                }
                if (ca > 0 || (ca == 0 && ct > 0))
                    break;
            }
            *at = new plain_node{*at, rec};
        }
        ++albums;
        if (albums == stop_after)
            break;
    }
    while (head != nullptr) {
        plain_node *n = head->next;
        delete head;
        head = n;
    }
    return albums;
}

int plain_next_album(int last, int target)
{
    for (int a = last; a >= 1; --a) {
        if (album[a].present == 0 || album[a].entry[0].status == 'R')
            continue;
        int marked = 0;
        for (int t = 1; t <= album[a].tracks; ++t)
            marked += album[a].entry[t].mark != 0 ? 1 : 0;
        if (album[a].tracks - marked <= target)
            return a;
    }
    return 0;
}

// ----- helpers -------------------------------------------------------------------------------

std::vector<int> marks_of(int last)
{
    std::vector<int> m;
    for (int a = 0; a <= last; ++a)
        for (int t = 0; t < k_max_entries; ++t)
            m.push_back(album[a].entry[t].mark);
    return m;
}

void set_marks(int last, const std::vector<int> &m)
{
    std::size_t i = 0;
    for (int a = 0; a <= last; ++a)
        for (int t = 0; t < k_max_entries; ++t)
            album[a].entry[t].mark = m[i++];
}

std::string describe(const std::vector<chain_entry> &v)
{
    std::string s;
    for (const chain_entry &e : v)
        s += std::to_string(e.album_no) + "/" + std::to_string(e.track_no) + " ";
    return s;
}

void expect_same(const album_copies &want, const album_copies &got)
{
    EXPECT_EQ(describe(want.unique), describe(got.unique));
    EXPECT_EQ(describe(want.duplicates), describe(got.duplicates));
    EXPECT_EQ(want.unique_count, got.unique_count);
    EXPECT_EQ(want.duplicate_count, got.duplicate_count);
}

int stop_budget = 0;
bool stop_when_spent(int) { return --stop_budget == 0; }

// A random library whose texts and times sit on the edges of the rules.
void random_library(std::mt19937 &rng, int albums)
{
    static const char *const artists[] = {"Beatles", "The Beatles", "the beatles", "THE BEATLES", "Them", "Theme",
                                          "The",     "Thebeatles",  "ABBA",        "abba",        "The Abba", ""};
    static const char *const titles[] = {"Help", "HELP", "help!", "Yesterday", "Let It Be", "let it be", "", "Let it"};
    static const int offsets[] = {0, 1, 29, 30, 59, 60, -29, -30, -59, -60, 61, 31};
    const auto pick = [&](auto &arr) { return arr[rng() % (sizeof arr / sizeof arr[0])]; };
    reset_table();
    std::vector<std::string> times;
    for (int n = 0; n <= albums; ++n) {
        const int number = n == albums ? 9000 : n;
        const int tracks = static_cast<int>(rng() % 9);
        std::vector<track_spec> specs;
        times.clear();
        for (int t = 0; t < tracks; ++t) {
            const int secs = 180 + pick(offsets) + (rng() % 7 == 0 ? pick(offsets) : 0);
            char buf[16];
            if (rng() % 23 == 0)
                std::snprintf(buf, sizeof buf, "%d", secs / 60);
            else
                std::snprintf(buf, sizeof buf, "%02d:%02d", secs / 60, secs % 60);
            times.emplace_back(buf);
        }
        for (int t = 0; t < tracks; ++t)
            specs.push_back({.artist = pick(artists), .title = pick(titles), .time = times[static_cast<std::size_t>(t)].c_str()});
        put_album(number, {.artist = "Album", .title = "Header", .time = "40:00"}, specs);
        album[number].entry[0].status = rng() % 6 == 0 ? 'R' : '-';
        if (n > 0 && rng() % 9 == 0)
            album[number].present = 0;   // a free slot that still holds tracks
        for (int t = 1; t <= tracks; ++t)
            album[number].entry[t].mark = rng() % 11 == 0 ? 1 : 0;   // left over from a list built earlier
    }
    max_album = albums - 1;
}

// ----- one album ---------------------------------------------------------------------------------

TEST(AlbumCopies, LeadingTheAndCaseMakeNoDifferenceButTheWithoutBlankDoes)
{
    reset_table();
    put_album(1, {.artist = "A", .title = "One"}, {{.artist = "The Band", .title = "Song", .time = "03:00"},
                                                   {.artist = "Thebes", .title = "Song", .time = "03:00"}});
    put_album(2, {.artist = "B", .title = "Two"}, {{.artist = "band", .title = "SONG", .time = "03:00"},
                                                   {.artist = "bes", .title = "song", .time = "03:00"}});
    put_album(3, {.artist = "C", .title = "Three"}, {{.artist = "THE BAND", .title = "song", .time = "03:00"}});
    const album_copies c = find_album_copies(whole_table(), 1, max_album);
    EXPECT_EQ("2/1 3/1 ", describe(c.duplicates));
    EXPECT_EQ("1/2 ", describe(c.unique));
    EXPECT_EQ(1, c.unique_count);
    EXPECT_EQ(1, c.duplicate_count);
}

TEST(AlbumCopies, TimesWithinFiftyNineSecondsAreCopies)
{
    reset_table();
    put_album(1, {.artist = "A", .title = "One"}, {{.artist = "X", .title = "Song", .time = "03:00"}});
    put_album(2, {.artist = "B", .title = "Two"}, {{.artist = "X", .title = "Song", .time = "03:59"},
                                                   {.artist = "X", .title = "Song", .time = "04:00"},
                                                   {.artist = "X", .title = "Song", .time = "02:01"},
                                                   {.artist = "X", .title = "Song", .time = "02:00"}});
    const album_copies c = find_album_copies(whole_table(), 1, max_album);
    EXPECT_EQ("2/1 2/3 ", describe(c.duplicates));
    EXPECT_EQ(0, c.unique_count);
}

TEST(AlbumCopies, EqualArtistWithAnotherTitleIsNoCopy)
{
    reset_table();
    put_album(1, {.artist = "A", .title = "One"}, {{.artist = "X", .title = "Song"}});
    put_album(2, {.artist = "B", .title = "Two"}, {{.artist = "X", .title = "Song 2"}, {.artist = "X", .title = "Son"}});
    const album_copies c = find_album_copies(whole_table(), 1, max_album);
    EXPECT_TRUE(c.duplicates.empty());
    EXPECT_EQ("1/1 ", describe(c.unique));
}

TEST(AlbumCopies, OwnAlbumIsNotSearchedAndTheTemporarySlotSearchesEveryAlbum)
{
    reset_table();
    put_album(1, {.artist = "A", .title = "One"}, {{.artist = "X", .title = "Song"}, {.artist = "X", .title = "Song"}});
    put_album(0, {.artist = "CD", .title = "Disc"}, {{.artist = "X", .title = "Song"}});
    const album_copies own = find_album_copies(whole_table(), 1, max_album);
    EXPECT_EQ(2, own.unique_count);
    const album_copies cd = find_album_copies(whole_table(), 0, max_album);
    EXPECT_EQ("1/1 1/2 ", describe(cd.duplicates));
    EXPECT_EQ(0, cd.unique_count);
}

TEST(AlbumCopies, AlbumNumberOutsideTheTableFindsNothing)
{
    reset_table();
    EXPECT_EQ(0, find_album_copies(whole_table(), -1, 5).unique_count);
    EXPECT_EQ(0, find_album_copies(whole_table(), k_album_slots, 5).unique_count);
}

// ----- the report ---------------------------------------------------------------------------------

TEST(DuplicateReport, TimesWithinTwentyNineSecondsAreMarkedThirtyAreNot)
{
    reset_table();
    put_album(1, {.artist = "A", .title = "One"}, {{.artist = "X", .title = "Song", .time = "03:00"},
                                                   {.artist = "Y", .title = "Tune", .time = "03:00"}});
    put_album(2, {.artist = "B", .title = "Two"}, {{.artist = "x", .title = "song", .time = "03:29"},
                                                   {.artist = "Y", .title = "Tune", .time = "03:30"},
                                                   {.artist = "X", .title = "Song", .time = "03:58"}});
    mark_duplicates(whole_table(), max_album, nullptr);
    EXPECT_EQ(1, album[1].entry[1].mark);
    EXPECT_EQ(0, album[1].entry[2].mark);
    EXPECT_EQ(1, album[2].entry[1].mark);
    EXPECT_EQ(0, album[2].entry[2].mark);
    EXPECT_EQ(1, album[2].entry[3].mark);   // 3:58 lies within 29 s of 3:29, though 59 s from 3:00
    EXPECT_EQ(2, next_duplicated_album(whole_table(), max_album, 1));
    EXPECT_EQ(2, next_duplicated_album(whole_table(), max_album, 2));
    EXPECT_EQ(0, next_duplicated_album(whole_table(), max_album, 0));
}

TEST(DuplicateReport, ThreeAndFiftyNineIsACopyForTheAlbumCheckButNotForTheReport)
{
    reset_table();
    put_album(1, {.artist = "A", .title = "One"}, {{.artist = "X", .title = "Song", .time = "3:00"}});
    put_album(2, {.artist = "B", .title = "Two"}, {{.artist = "X", .title = "Song", .time = "3:59"}});
    mark_duplicates(whole_table(), max_album, nullptr);
    EXPECT_EQ(0, album[1].entry[1].mark);
    EXPECT_EQ(1, find_album_copies(whole_table(), 1, max_album).duplicate_count);
}

TEST(DuplicateReport, RetainedAndFreeAlbumsAreNotOffered)
{
    reset_table();
    put_album(1, {.artist = "A", .title = "One"}, {{.artist = "X", .title = "Song"}});
    put_album(2, {.artist = "B", .title = "Two"}, {{.artist = "X", .title = "Song"}});
    put_album(3, {.artist = "C", .title = "Three"}, {{.artist = "X", .title = "Song"}});
    mark_duplicates(whole_table(), max_album, nullptr);
    album[3].entry[0].status = 'R';
    album[2].present = 0;
    EXPECT_EQ(1, next_duplicated_album(whole_table(), max_album, 0));
    clear_retention_flags(whole_table(), max_album);
    EXPECT_EQ(' ', album[3].entry[0].status);
    EXPECT_EQ(3, next_duplicated_album(whole_table(), max_album, 0));
    clear_duplicate_marks(whole_table(), max_album);
    EXPECT_EQ(0, next_duplicated_album(whole_table(), max_album, 0));
}

TEST(DuplicateReport, StopEndsThePassAfterTheAlbum)
{
    reset_table();
    put_album(1, {.artist = "A", .title = "One"}, {{.artist = "X", .title = "Song"}});
    put_album(2, {.artist = "B", .title = "Two"}, {{.artist = "X", .title = "Song"}});
    put_album(3, {.artist = "C", .title = "Three"}, {{.artist = "X", .title = "Song"}});
    stop_budget = 2;
    EXPECT_EQ(2, mark_duplicates(whole_table(), max_album, stop_when_spent));
    EXPECT_EQ(1, album[1].entry[1].mark);
    EXPECT_EQ(1, album[2].entry[1].mark);
    EXPECT_EQ(0, album[3].entry[1].mark);
}

// ----- against the plain walks ----------------------------------------------------------------------

TEST(DuplicateProperty, SameResultsAsThePlainWalksOnRandomLibraries)
{
    std::mt19937 rng(20240613);
    for (int round = 0; round < 300; ++round) {
        const int albums = 2 + static_cast<int>(rng() % 30);
        random_library(rng, albums);
        SCOPED_TRACE("round " + std::to_string(round));
        for (int a : {0, 1, max_album / 2, max_album, 9000})
            expect_same(plain_album_check(a, max_album), find_album_copies(whole_table(), a, max_album));

        const std::vector<int> before = marks_of(max_album);
        const int stop_after = round % 4 == 0 ? 1 + static_cast<int>(rng() % static_cast<unsigned>(albums)) : -1;
        const int plain_albums = plain_pass(max_album, stop_after);
        const std::vector<int> want = marks_of(max_album);
        std::vector<int> offered;
        for (int target = 0; target <= 9; ++target)
            offered.push_back(plain_next_album(max_album, target));

        set_marks(max_album, before);
        stop_budget = stop_after;
        const int albums_taken = mark_duplicates(whole_table(), max_album, stop_after > 0 ? stop_when_spent : nullptr);
        EXPECT_EQ(plain_albums, albums_taken);
        EXPECT_EQ(want, marks_of(max_album));
        for (int target = 0; target <= 9; ++target)
            EXPECT_EQ(offered[static_cast<std::size_t>(target)], next_duplicated_album(whole_table(), max_album, target));
    }
}

}   // namespace
