// Duplicate folding and marking of the artist and title orders, and the
// property that building a list in one go gives exactly what the plain walk
// from the head gives, on random libraries.
#include "browse/chain.hpp"
#include "browse_library.hpp"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using namespace browse_test;
using pairs = std::vector<std::pair<int, int>>;

class ChainFold : public ::testing::Test {
protected:
    void SetUp() override { reset_table(); }
    void TearDown() override { reset_table(); }
};

TEST_F(ChainFold, TheOnLineCopyWinsWithoutKeepDuplicates)
{
    put_album(1, {"A", "One"}, {{.artist = "The Band", .title = "Song", .time = "03:00", .online = 0}});
    put_album(2, {"B", "Two"}, {{.artist = "band", .title = "SONG", .time = "03:29", .online = 1, .cd_ident = 0x77}});
    put_album(3, {"C", "Three"}, {{.artist = "Band", .title = "song", .time = "03:10", .online = 1}});
    chain_list head;
    ASSERT_EQ(link_track(head, k_order_artist, 1, 1, 0, 0), 1);
    // The on-line copy replaces the off-line element in place; the key is kept when none is given.
    EXPECT_EQ(link_track(head, k_order_artist, 2, 1, 0, 0), 0);
    ASSERT_NE(head.head(), nullptr);
    EXPECT_EQ(head.head()->next, nullptr);
    EXPECT_EQ(head.head()->album_no, 2);
    EXPECT_EQ(head.head()->track_no, 1);
    EXPECT_EQ(head.head()->track, &album[2].entry[1]);
    EXPECT_EQ(head.head()->key, 0);
    // An on-line element is never replaced.
    EXPECT_EQ(link_track(head, k_order_artist, 3, 1, 0, 0), 0);
    EXPECT_EQ(head.head()->album_no, 2);
    EXPECT_EQ(album[1].entry[1].mark, 0);
    head.reset();
}

TEST_F(ChainFold, AGivenKeyTravelsWithTheReplacement)
{
    put_album(1, {"A", "One"}, {{.artist = "X", .title = "Y", .online = 0, .cd_ident = 5}});
    put_album(2, {"B", "Two"}, {{.artist = "X", .title = "Y", .online = 1, .cd_ident = 9}});
    chain_list head;
    ASSERT_EQ(link_track(head, k_order_title, 1, 1, 0, 0), 1);
    EXPECT_EQ(head.head()->key, 5);
    EXPECT_EQ(link_track(head, k_order_title, 2, 1, 42, 0), 0);
    EXPECT_EQ(head.head()->key, 42);
    head.reset();
}

TEST_F(ChainFold, AnOffLineNewcomerIsDropped)
{
    put_album(1, {"A", "One"}, {{.artist = "X", .title = "Y", .online = 0}, {.artist = "X", .title = "Y", .online = 0}});
    chain_list head;
    ASSERT_EQ(link_track(head, k_order_artist, 1, 1, 0, 0), 1);
    EXPECT_EQ(link_track(head, k_order_artist, 1, 2, 0, 0), 0);
    EXPECT_EQ(numbers_of(head.head()), (pairs{{1, 1}}));
    head.reset();
}

TEST_F(ChainFold, TwentyNineSecondsApartAreLikeThirtyAreNot)
{
    put_album(1, {"A", "One"},
              {{.artist = "X", .title = "Y", .time = "03:00"},
               {.artist = "X", .title = "Y", .time = "03:29"},
               {.artist = "X", .title = "Y", .time = "02:30"}});
    chain_list head;
    ASSERT_EQ(link_track(head, k_order_artist, 1, 1, 0, 0), 1);
    EXPECT_EQ(link_track(head, k_order_artist, 1, 2, 0, 0), 0);   // 29 s: like
    EXPECT_EQ(link_track(head, k_order_artist, 1, 3, 0, 0), 1);   // 30 s: another recording
    EXPECT_EQ(numbers_of(head.head()), (pairs{{1, 1}, {1, 3}}));
    head.reset();

    const std::vector<chain_entry> entries = {{1, 1, 0}, {1, 2, 0}, {1, 3, 0}};
    chain_list fast;
    EXPECT_EQ(build_chain(fast, k_order_artist, entries, 0), 2);
    EXPECT_EQ(numbers_of(fast.head()), (pairs{{1, 1}, {1, 3}}));
    fast.reset();
}

TEST_F(ChainFold, KeepDuplicatesMarksBothRecordsAndKeepsThem)
{
    put_album(1, {"A", "One"},
              {{.artist = "The X", .title = "Y", .time = "03:00"},
               {.artist = "x", .title = "y", .time = "03:29"},
               {.artist = "X", .title = "Y", .time = "03:59"},
               {.artist = "X", .title = "Z", .time = "03:00"}});
    chain_list head;
    for (int t : {1, 2, 3, 4})
        ASSERT_EQ(link_track(head, k_order_artist, 1, t, 0, 1), 1);
    EXPECT_EQ(numbers_of(head.head()), (pairs{{1, 1}, {1, 2}, {1, 3}, {1, 4}}));
    EXPECT_EQ(album[1].entry[1].mark, 1);
    EXPECT_EQ(album[1].entry[2].mark, 1);
    EXPECT_EQ(album[1].entry[3].mark, 0);   // 30 s from track 2, 59 s from track 1
    EXPECT_EQ(album[1].entry[4].mark, 0);
    head.reset();
}

TEST_F(ChainFold, MarksNeedALikeTrackWithinTwentyNineSeconds)
{
    put_album(1, {"A", "One"},
              {{.artist = "X", .title = "Y", .time = "03:00"},
               {.artist = "X", .title = "Y", .time = "03:30"},
               {.artist = "X", .title = "Y", .time = "04:00"}});
    chain_list head;
    for (int t : {1, 2, 3})
        ASSERT_EQ(link_track(head, k_order_title, 1, t, 0, 1), 1);
    EXPECT_EQ(album[1].entry[1].mark, 0);
    EXPECT_EQ(album[1].entry[2].mark, 0);
    EXPECT_EQ(album[1].entry[3].mark, 0);
    head.reset();
    const std::vector<chain_entry> entries = {{1, 1, 0}, {1, 2, 0}, {1, 3, 0}};
    ASSERT_EQ(build_chain(head, k_order_title, entries, 1), 3);
    EXPECT_EQ(album[1].entry[1].mark + album[1].entry[2].mark + album[1].entry[3].mark, 0);
    head.reset();
}

TEST_F(ChainFold, OtherOrdersNeitherFoldNorMark)
{
    put_album(1, {"A", "One"}, {{.artist = "X", .title = "Y"}, {.artist = "X", .title = "Y"}});
    for (int order : {k_order_numeric, k_order_length, k_order_cdid, k_order_plays, k_order_original,
                      k_order_append, k_order_history_time, k_order_reverse}) {
        chain_list head;
        EXPECT_EQ(link_track(head, order, 1, 1, 0, 0), 1);
        EXPECT_EQ(link_track(head, order, 1, 2, 0, 0), 1);
        head.reset();
        const std::vector<chain_entry> entries = {{1, 1, 0}, {1, 2, 0}};
        EXPECT_EQ(build_chain(head, order, entries, 1), 2);
        head.reset();
    }
    EXPECT_EQ(album[1].entry[1].mark, 0);
    EXPECT_EQ(album[1].entry[2].mark, 0);
}

// ----- the plain walk, written out as the orders are described -------------------------

struct ref_element {
    int album_no;
    int track_no;
    std::int64_t key;
    track_rec *track;
};

std::string lowered(const char *s)
{
    std::string out;
    for (; *s != '\0'; ++s)
        out += static_cast<char>(std::tolower(static_cast<unsigned char>(*s)));
    return out;
}

std::string artist_key(const char *s)
{
    std::string l = lowered(s);
    return l.compare(0, 4, "the ") == 0 ? l.substr(4) : l;
}

int seconds_of(const char *time)
{
    int m = 0;
    int s = 0;
    std::sscanf(time, "%d:%d", &m, &s);
    return m * 60 + s;
}

int sign(int v) { return v > 0 ? 1 : (v < 0 ? -1 : 0); }

// Whether the walk stops before element e for the new record.
bool ref_stops(int order, const ref_element &e, const track_rec &n, int album_no, int track_no, std::int64_t key)
{
    const track_rec &r = *e.track;
    switch (order) {
    case 1:
        return e.album_no > album_no || (e.album_no == album_no && e.track_no > track_no);
    case 2: {
        const int a = sign(artist_key(r.artist).compare(artist_key(n.artist)));
        return a > 0 || (a == 0 && lowered(r.title).compare(lowered(n.title)) > 0);
    }
    case 3: {
        const int t = sign(lowered(r.title).compare(lowered(n.title)));
        return t > 0 || (t == 0 && artist_key(r.artist).compare(artist_key(n.artist)) > 0);
    }
    case 4:
        return std::strcmp(r.time, n.time) > 0;
    case 5:
        return static_cast<std::uint32_t>(r.cd_ident & 0xFFFFFFFFu) > static_cast<std::uint32_t>(n.cd_ident & 0xFFFFFFFFu);
    case 6:
        return r.plays > n.plays;
    case 10:
        return e.key > key;
    case 16:
        return true;
    default:
        return false;
    }
}

// link_track as the walk from the head, on a vector.
int ref_link(std::vector<ref_element> &list, int order, int album_no, int track_no, std::int64_t key, int keep)
{
    track_rec *rec = &album[album_no].entry[track_no];
    const std::int64_t own_key = key != 0 ? key : static_cast<std::int64_t>(rec->cd_ident);
    std::size_t i = 0;
    for (; i < list.size(); ++i) {
        ref_element &e = list[i];
        if (order == 2 || order == 3) {
            const bool like = artist_key(e.track->artist) == artist_key(rec->artist) &&
                              lowered(e.track->title) == lowered(rec->title) &&
                              std::abs(seconds_of(e.track->time) - seconds_of(rec->time)) <= 29;
            if (like) {
                if (keep == 0) {
                    if (e.track->online != 0 || rec->online == 0)
                        return 0;
                    e.album_no = album_no;
                    e.track_no = track_no;
                    e.track = rec;
                    if (key != 0)
                        e.key = key;
                    return 0;
                }
                e.track->mark = 1;
                rec->mark = 1;
            }
        }
        if (ref_stops(order, e, *rec, album_no, track_no, own_key))
            break;
    }
    list.insert(list.begin() + static_cast<long>(i), ref_element{album_no, track_no, own_key, rec});
    return 1;
}

std::vector<element_view> views_of(const std::vector<ref_element> &list)
{
    std::vector<element_view> out;
    for (const ref_element &e : list)
        out.push_back({e.album_no, e.track_no, e.key, e.track});
    return out;
}

// The (album, track) of every marked record.
std::set<std::pair<int, int>> marked(int albums)
{
    std::set<std::pair<int, int>> out;
    for (int a = 1; a <= albums; ++a)
        for (int t = 0; t <= album[a].tracks; ++t)
            if (album[a].entry[t].mark != 0)
                out.emplace(a, t);
    return out;
}

void clear_marks(int albums)
{
    for (int a = 1; a <= albums; ++a)
        for (int t = 0; t < k_max_entries; ++t)
            album[a].entry[t].mark = 0;
}

// A random library made to meet every rule: "The " prefixes in any case,
// artists that only begin with t-h-e, equal titles in several cases, lengths
// 29 and 30 seconds apart, text lengths that sort differently from times,
// CD-IDs equal in their low 32 bits, negative play counts.
int make_library(std::mt19937 &rng)
{
    // Some share their first eight or sixteen bytes, and differ after them or only in length.
    static const char *const artists[] = {"The Beatles", "the beatles", "THE BEATLES", "Beatles", "Theatre",
                                          "The",         "Thebes",      "the  Who",    "Who",     "ABBA",
                                          "abba",        "Zappa",       "Orchestra Of Vienna", "orchestra of vienna",
                                          "Orchestra Of Vienn", "The Orchestra Of Berlin", "Orchestra Of Berlin Two"};
    static const char *const titles[] = {"Help", "HELP", "help", "Yesterday", "Help!", "", "a", "A",
                                         "Symphony Number One In C", "Symphony Number One In D", "Symphony Number"};
    static const char *const times[] = {"03:00", "03:29", "03:30", "02:31", "02:30", "3:00", "10:05",
                                        "9:59",  "03:59", "04:00", "00:00", "3:15"};
    const auto pick = [&](std::size_t n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
    const int albums = 3 + pick(12);
    for (int a = 1; a <= albums; ++a) {
        const int tracks = 1 + pick(10);
        std::vector<track_spec> ts;
        for (int t = 0; t < tracks; ++t) {
            track_spec s{.artist = artists[pick(std::size(artists))], .title = titles[pick(std::size(titles))],
                         .time = times[pick(12)]};
            s.status = "-SUN"[pick(4)];
            s.online = pick(3) == 0 ? 0 : 1;
            s.cd_ident = (static_cast<std::uint64_t>(pick(3)) << 32) | static_cast<std::uint64_t>(pick(4) * 0x40000000u);
            s.plays = pick(5) - 2;
            ts.push_back(s);
        }
        put_album(a, {artists[pick(std::size(artists))], titles[pick(std::size(titles))], times[pick(12)]}, ts);
    }
    return albums;
}

TEST_F(ChainFold, BuildingInOneGoMatchesThePlainWalkOnRandomLibraries)
{
    std::mt19937 rng(20240611);
    const int orders[] = {1, 2, 3, 4, 5, 6, 7, 9, 10, 16};
    int compared = 0;
    int folded_somewhere = 0;
    int marked_somewhere = 0;
    for (int round = 0; round < 150; ++round) {
        reset_table();
        const int albums = make_library(rng);
        std::vector<chain_entry> entries;
        const int n = 1 + static_cast<int>(rng() % 120);
        for (int i = 0; i < n; ++i) {
            const int a = 1 + static_cast<int>(rng() % static_cast<unsigned>(albums));
            const int t = static_cast<int>(rng() % static_cast<unsigned>(album[a].tracks + 1));
            const std::int64_t key = rng() % 4 == 0 ? static_cast<std::int64_t>(rng() % 5) - 2 : 0;
            entries.push_back({a, t, key});
        }
        for (int order : orders) {
            for (int keep : {0, 1}) {
                clear_marks(albums);
                std::vector<ref_element> ref;
                int ref_count = 0;
                for (const chain_entry &e : entries)
                    ref_count += ref_link(ref, order, e.album_no, e.track_no, e.key, keep);
                const auto ref_marks = marked(albums);

                clear_marks(albums);
                chain_list walked;
                int walked_count = 0;
                for (const chain_entry &e : entries)
                    walked_count += link_track(walked, order, e.album_no, e.track_no, e.key, keep);
                const auto walked_marks = marked(albums);

                clear_marks(albums);
                chain_list fast;
                const int fast_count = build_chain(fast, order, entries, keep);
                const auto fast_marks = marked(albums);

                ASSERT_EQ(views_of(ref), list_of(fast.head())) << "round " << round << " order " << order << " keep " << keep;
                ASSERT_EQ(views_of(ref), list_of(walked.head())) << "round " << round << " order " << order;
                ASSERT_EQ(ref_count, fast_count);
                ASSERT_EQ(ref_count, walked_count);
                ASSERT_EQ(ref_marks, fast_marks) << "round " << round << " order " << order;
                ASSERT_EQ(ref_marks, walked_marks);
                folded_somewhere += ref_count < n ? 1 : 0;
                marked_somewhere += ref_marks.empty() ? 0 : 1;
                ++compared;
                walked.reset();
                fast.reset();
            }
        }
    }
    EXPECT_EQ(compared, 150 * 10 * 2);
    // The libraries really exercise folding and marking.
    EXPECT_GT(folded_somewhere, 100);
    EXPECT_GT(marked_somewhere, 100);
}

TEST_F(ChainFold, ManyRecordingsOfOneSongFoldAsTheWalkDoes)
{
    // Far more recordings of one song than usual, so that the fold keeps them indexed by length.
    std::mt19937 rng(99);
    for (int round = 0; round < 40; ++round) {
        reset_table();
        std::vector<track_spec> ts;
        std::vector<std::string> times;
        for (int t = 0; t < 90; ++t) {
            char time[8];
            std::snprintf(time, sizeof time, "%d:%02d", 2 + static_cast<int>(rng() % 3), static_cast<int>(rng() % 60));
            times.emplace_back(time);
        }
        for (int t = 0; t < 90; ++t)
            ts.push_back({.artist = t % 2 ? "The Song" : "song", .title = "X", .time = times[t].c_str(),
                          .online = static_cast<std::int32_t>(rng() % 3 == 0 ? 0 : 1)});
        put_album(1, {"A", "B"}, ts);
        std::vector<chain_entry> entries;
        for (int i = 0; i < 150; ++i)
            entries.push_back({1, 1 + static_cast<int>(rng() % 90), rng() % 5 == 0 ? 3 : 0});
        for (int order : {k_order_artist, k_order_title}) {
            for (int keep : {0, 1}) {
                clear_marks(1);
                std::vector<ref_element> ref;
                for (const chain_entry &e : entries)
                    ref_link(ref, order, e.album_no, e.track_no, e.key, keep);
                const auto ref_marks = marked(1);
                clear_marks(1);
                chain_list fast;
                build_chain(fast, order, entries, keep);
                ASSERT_EQ(views_of(ref), list_of(fast.head())) << "round " << round << " keep " << keep;
                ASSERT_EQ(ref_marks, marked(1));
                fast.reset();
            }
        }
    }
}

TEST_F(ChainFold, HistoryListsBuiltInOneGoMatchTheWalk)
{
    std::mt19937 rng(7);
    static const char *const artists[] = {"The Who", "who", "Abba", "theatre", "The"};
    static const char *const titles[] = {"x", "X", "y", "Help"};
    static const char *const times[] = {"10:05", "9:59", "03:00", "3:00"};
    for (int round = 0; round < 100; ++round) {
        std::vector<history_item> entries;
        const int n = 1 + static_cast<int>(rng() % 60);
        for (int i = 0; i < n; ++i)
            entries.push_back({static_cast<int>(rng() % 4), static_cast<int>(rng() % 4),
                               static_cast<std::int64_t>(rng() % 6), artists[rng() % 5], titles[rng() % 4],
                               times[rng() % 4]});
        for (int order : {1, 2, 3, 4, 5, 6, 7, 9, 10, 16}) {
            chain_list walked;
            for (const history_item &h : entries)
                ASSERT_EQ(link_history(walked, order, h.album_no, h.track_no, h.key, h.artist, h.title, h.length), 1);
            chain_list fast;
            ASSERT_EQ(build_history_chain(fast, order, entries), n);
            std::vector<std::tuple<int, int, std::int64_t, std::string, std::string, std::string>> a;
            std::vector<std::tuple<int, int, std::int64_t, std::string, std::string, std::string>> b;
            for (const chain_item *e = walked.head(); e != nullptr; e = e->next)
                a.emplace_back(e->album_no, e->track_no, e->key, e->track->artist, e->track->title, e->track->time);
            for (const chain_item *e = fast.head(); e != nullptr; e = e->next)
                b.emplace_back(e->album_no, e->track_no, e->key, e->track->artist, e->track->title, e->track->time);
            ASSERT_EQ(a, b) << "order " << order;
            walked.reset();
            fast.reset();
        }
    }
}

}   // namespace
