#include "cli/cli_format.hpp"
#include "proto/transfer_text.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

// Fills one entry of an album record.
void set_entry(album_rec &rec, int i, const char *artist, const char *title, const char *time, char status, int online)
{
    track_rec &t = rec.entry[i];
    std::strcpy(t.artist, artist);
    std::strcpy(t.title, title);
    std::strcpy(t.time, time);
    t.status = status;
    t.online = online;
}

TEST(CliFormat, UsageTextLineForLine)
{
    ASSERT_EQ(std::size(cli_usage), 18u);
    EXPECT_EQ(cli_usage[0], "\nUsage:  zerka [<args>] If <args> is null, run in interactive screen mode\n");
    EXPECT_EQ(cli_usage[1], "--next (--skip)    Fade out and play next track");
    EXPECT_EQ(cli_usage[12], "--album            Restrict output to the album details");
    EXPECT_EQ(cli_usage[17], "--mode --playlist  Set target playlist (for Playlist & Play-mixed modes)\n");
    for (std::size_t i = 1; i < 17; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(cli_usage[i].substr(0, 2), "--");
        EXPECT_EQ(cli_usage[i].find('\n'), std::string_view::npos);
        EXPECT_EQ(cli_usage[i][18], ' ');   // the descriptions start in one column
        EXPECT_NE(cli_usage[i][19], ' ');
    }
}

TEST(CliFormat, QuotesBecomeTwoSingleQuotes)
{
    struct case_t {
        const char *in;
        std::size_t cap;
        const char *out;
    };
    const case_t cases[] = {
        {"plain", 64, "plain"},
        {"12\" Mix", 64, "12'' Mix"},
        {"\"\"", 64, "''''"},
        {"ab\"", 4, "ab"},   // a doubled quote that does not fit is left out whole
        {"abc", 3, "ab"},
        {"", 1, ""},
    };
    for (const case_t &c : cases) {
        char buf[64];
        fix_quotes(buf, c.cap, c.in);
        EXPECT_STREQ(buf, c.out) << c.in;
    }
}

TEST(CliFormat, TrackLine)
{
    album_rec rec = {};
    set_entry(rec, 0, "Various", "Album \"One\"", "40:00", '-', 1);
    set_entry(rec, 1, "The \"Band\"", "Say \"Hi\"", "03:10", 'S', 1);
    set_entry(rec, 2, "Solo", "Quiet", "02:05", '-', 0);
    rec.tracks = 2;
    char line[k_cli_line];
    format_track_line(line, sizeof line, 12, 1, rec);
    // The album title is written as it stands.
    EXPECT_STREQ(line, "0012/01,\"The ''Band''\",\"Say ''Hi''\",03:10,\"Album \"One\"\",Y,Y\n");
    format_track_line(line, sizeof line, 7, 2, rec);
    EXPECT_STREQ(line, "0007/02,\"Solo\",\"Quiet\",02:05,\"Album \"One\"\",N,N\n");
    format_track_line(line, sizeof line, 7, 100, rec);
    EXPECT_STREQ(line, "");
}

TEST(CliFormat, TrackLineOfTheLongestTextsFits)
{
    album_rec rec = {};
    const std::string quotes(66, '"');
    set_entry(rec, 0, quotes.c_str(), quotes.c_str(), "99:59", '-', 1);
    set_entry(rec, 1, quotes.c_str(), quotes.c_str(), "99:59", 'U', 1);
    char line[k_cli_line];
    const int n = format_track_line(line, sizeof line, 9000, 99, rec);
    EXPECT_LT(static_cast<std::size_t>(n), sizeof line);
    format_track_line(line, sizeof line, 1, 1, rec);
    const std::string expected = "0001/01,\"" + std::string(132, '\'') + "\",\"" + std::string(132, '\'') +
                                 "\",99:59,\"" + quotes + "\",Y,N\n";
    EXPECT_EQ(line, expected);
}

// The line as the format alone writes it: what the hand-made line must equal.
int reference_track_line(char *buf, std::size_t cap, int album_no, int track_no, const album_rec &rec)
{
    if (track_no < 0 || track_no >= k_max_entries)
        return std::snprintf(buf, cap, "%s", "");
    const track_rec &t = rec.entry[track_no];
    char artist[2 * sizeof t.artist];
    char title[2 * sizeof t.title];
    fix_quotes(artist, sizeof artist, {t.artist, strnlen(t.artist, sizeof t.artist)});
    fix_quotes(title, sizeof title, {t.title, strnlen(t.title, sizeof t.title)});
    return std::snprintf(buf, cap, "%04d/%02d,\"%s\",\"%s\",%s,\"%s\",%c,%c\n", album_no, track_no, artist, title,
                         t.time, rec.entry[0].title, t.online != 0 ? 'Y' : 'N', t.status == 'S' ? 'Y' : 'N');
}

TEST(CliFormat, TrackLineIsWhatTheFormatWrites)
{
    std::mt19937 rng(99);
    const std::string alphabet = "ab \"',Z9";
    const auto text = [&](char *dst, std::size_t cap) {
        const std::size_t n = rng() % cap;   // up to cap - 1 characters, terminated
        for (std::size_t i = 0; i < n; ++i)
            dst[i] = alphabet[rng() % alphabet.size()];
        dst[n] = '\0';
    };
    const int albums[] = {0, 1, 9, 10, 99, 100, 999, 1000, 3000, 9000, 9999, 10000, 123456, -1, -42};
    const std::size_t caps[] = {1, 2, 8, 30, 60, 100, 200, 400, k_cli_line};
    auto rec = std::make_unique<album_rec>();
    for (int round = 0; round < 20000; ++round) {
        *rec = {};
        for (int e : {0, 1, 99}) {
            text(rec->entry[e].artist, sizeof rec->entry[e].artist);
            text(rec->entry[e].title, sizeof rec->entry[e].title);
            text(rec->entry[e].time, round % 7 == 0 ? sizeof rec->entry[e].time : 8);
            rec->entry[e].status = "S-UN"[rng() % 4];
            rec->entry[e].online = static_cast<std::int32_t>(rng() % 3) - 1;
        }
        const int album_no = albums[rng() % std::size(albums)];
        const int track_no = round % 5 == 0 ? 0 : round % 5 == 1 ? 99 : 1;
        const std::size_t cap = caps[rng() % std::size(caps)];
        char got[k_cli_line];
        char want[k_cli_line];
        std::memset(got, 0x5A, sizeof got);
        std::memset(want, 0x5A, sizeof want);
        const int n = format_track_line(got, cap, album_no, track_no, *rec);
        const int m = reference_track_line(want, cap, album_no, track_no, *rec);
        ASSERT_EQ(n, m) << round;
        ASSERT_EQ(std::memcmp(got, want, sizeof got), 0) << round << ": " << want;
    }
}

TEST(CliFormat, AlbumLine)
{
    album_rec rec = {};
    set_entry(rec, 0, "Abba", "Gold \"Hits\"", "45:12", '-', 1);
    rec.entry[0].last_played = 0x5F3A1B2C;
    rec.tracks = 19;
    char line[k_cli_line];
    format_album_line(line, sizeof line, 42, rec);
    EXPECT_STREQ(line, "5F3A1B2C,0042,\"Abba\",\"Gold \"Hits\"\",45:12,19\n");
    rec.entry[0].last_played = 0;
    rec.tracks = 0;
    format_album_line(line, sizeof line, 3000, rec);
    EXPECT_STREQ(line, "00000000,3000,\"Abba\",\"Gold \"Hits\"\",45:12,0\n");
}

TEST(CliFormat, HistoryLine)
{
    history_entry e;
    char text[256];
    format_plist_line(text, sizeof text, 0x5F3A1B2C, 12, 3, "Artist Name", "Song Title", "04:31");
    ASSERT_TRUE(parse_history_entry(text, e));
    char line[k_cli_line];
    format_history_line(line, sizeof line, e, "17/08/20 @ 08:53:00");
    EXPECT_STREQ(line, "0012/03,\"Artist Name\",\"Song Title\",04:31,17/08/20 @ 08:53:00\n");
}

TEST(CliFormat, ModeLine)
{
    char line[k_cli_line];
    format_mode_line(line, sizeof line, 2);
    EXPECT_STREQ(line, "Current Mode: Jukebox.  Other modes: Console Random Mixed Playlist Play-Mixed \n");
    format_mode_line(line, sizeof line, 0);
    EXPECT_STREQ(line, "Current Mode: Undefined.  Other modes: Console Jukebox Random Mixed Playlist Play-Mixed \n");
    format_mode_line(line, sizeof line, 6);
    EXPECT_STREQ(line, "Current Mode: Play-Mixed.  Other modes: Console Jukebox Random Mixed Playlist \n");
    format_mode_line(line, sizeof line, 0xFFFF);
    EXPECT_STREQ(line, "Current Mode: Undefined.  Other modes: Console Jukebox Random Mixed Playlist Play-Mixed \n");
    char small[20];
    format_mode_line(small, sizeof small, 1);
    EXPECT_STREQ(small, "Current Mode: Conso");
}

TEST(CliFormat, ModeByPrefixInAnyCase)
{
    struct case_t {
        const char *name;
        int mode;
    };
    const case_t cases[] = {
        {"play", 5},      {"PLAY", 5},     {"Play-", 6},    {"play-mixed", 6}, {"Playlist", 5}, {"c", 1},
        {"console", 1},   {"JUKE", 2},     {"r", 3},        {"mix", 4},        {"Mixed", 4},    {"p", 5},
        {"undefined", 0}, {"playlists", 0}, {"x", 0},        {"consolex", 0},   {"Play-Mixed!", 0},
    };
    for (const case_t &c : cases)
        EXPECT_EQ(find_mode(c.name), c.mode) << c.name;
}

TEST(CliFormat, SetPlistFailureByTrackCode)
{
    EXPECT_STREQ(set_plist_failure(1), "! Playlist change not allowed - Console logged in");
    EXPECT_STREQ(set_plist_failure(2), "! Unknown playlist");
    EXPECT_STREQ(set_plist_failure(0), "! Problem opening playlist");
    EXPECT_STREQ(set_plist_failure(3), "! Problem opening playlist");
}

TEST(CliFormat, ItemReadLikeScanf)
{
    struct case_t {
        const char *item;
        int parts;
        int album;
        int track;
    };
    const case_t cases[] = {
        {"12/3", 2, 12, 3},          {"12/0", 2, 12, 0},      {"9999/01", 2, 9999, 1},  {"12", 1, 12, -7},
        {"12/", 1, 12, -7},          {"12 /3", 1, 12, -7},    {"12/ 3", 2, 12, 3},      {"  -4/-2", 2, -4, -2},
        {"+5/+6", 2, 5, 6},          {"", 0, -7, -7},         {"abc", 0, -7, -7},       {"/3", 0, -7, -7},
        {"7/x", 1, 7, -7},           {"3/4/5", 2, 3, 4},      {"0012/0003xyz", 2, 12, 3},
        {"99999999999/1", 2, 2147483647, 1}, {"-99999999999/1", 2, -2147483647 - 1, 1},
    };
    for (const case_t &c : cases) {
        int album = -7;
        int track = -7;
        EXPECT_EQ(parse_item(c.item, album, track), c.parts) << c.item;
        EXPECT_EQ(album, c.album) << c.item;
        EXPECT_EQ(track, c.track) << c.item;
    }
}

TEST(CliFormat, RangeCheck)
{
    struct case_t {
        int album;
        int track;
        int max_album;
        int tracks;
        bool out;
    };
    const case_t cases[] = {
        {1, 1, 5, 3, false}, {5, 3, 5, 3, false}, {5, 0, 5, 3, false}, {0, 0, 5, 3, true},  {6, 1, 5, 3, true},
        {5, 4, 5, 3, true},  {5, -1, 5, 3, true}, {-1, 1, 5, 3, true}, {9999, 1, 12, 10, true},
    };
    for (const case_t &c : cases)
        EXPECT_EQ(item_out_of_range(c.album, c.track, c.max_album, c.tracks), c.out) << c.album << "/" << c.track;
    char line[k_cli_line];
    format_range_error(line, sizeof line, 9999, 1);
    EXPECT_STREQ(line, "! Album/track No. out of range (9999/01)\n");
    format_range_error(line, sizeof line, 0, 0);
    EXPECT_STREQ(line, "! Album/track No. out of range (0000/00)\n");
}

TEST(CliFormat, ListChangeResults)
{
    char line[k_cli_line];
    format_list_result(line, sizeof line, false, false, "A", "T");
    EXPECT_STREQ(line, "A - T:  Added to Playlist\n");
    format_list_result(line, sizeof line, false, true, "A", "T");
    EXPECT_STREQ(line, "! A - T:  Already In Playlist\n");
    format_list_result(line, sizeof line, true, false, "A", "T");
    EXPECT_STREQ(line, "A - T:  Deleted From Playlist\n");
    format_list_result(line, sizeof line, true, true, "A", "T");
    EXPECT_STREQ(line, "! A - T:  Not found In Playlist\n");
    format_album_added(line, sizeof line, 12, "Artist 12", "Album 12");
    EXPECT_STREQ(line, "Album No: 0012 (Artist 12 - Album 12) Added to Playlist\n");
}

TEST(CliFormat, SearchSelection)
{
    struct case_t {
        bool album_only, artist_given, artist_hit, title_given, title_hit, selected;
    };
    const case_t cases[] = {
        // Tracks: every given string must match.
        {false, true, true, false, false, true},
        {false, true, false, false, false, false},
        {false, false, false, true, true, true},
        {false, false, false, true, false, false},
        {false, true, true, true, true, true},
        {false, true, true, true, false, false},
        {false, true, false, true, true, false},
        {false, false, false, false, false, false},
        // Albums: any given string suffices.
        {true, true, true, false, false, true},
        {true, true, false, false, false, false},
        {true, false, false, true, true, true},
        {true, true, true, true, false, true},
        {true, true, false, true, true, true},
        {true, true, false, true, false, false},
        // A string that was not given never matches, whatever the test said.
        {false, false, true, true, true, true},
        {true, false, true, true, false, false},
    };
    for (const case_t &c : cases)
        EXPECT_EQ(search_selects(c.album_only, c.artist_given, c.artist_hit, c.title_given, c.title_hit), c.selected)
            << c.album_only << c.artist_given << c.artist_hit << c.title_given << c.title_hit;
}

TEST(CliFormat, PlaylistListingSkipsTheCurrentPlaylist)
{
    std::vector<std::string> names;
    const int n = for_each_listed_playlist("rock\ncurrent.lst\n\njazz night\ncurrent.lst2\nlast",
                                           [&](std::string_view s) { names.emplace_back(s); });
    EXPECT_EQ(n, 4);
    EXPECT_EQ(names, (std::vector<std::string>{"rock", "jazz night", "current.lst2", "last"}));
    EXPECT_EQ(for_each_listed_playlist("", [](std::string_view) {}), 0);
    EXPECT_EQ(for_each_listed_playlist("current.lst\n", [](std::string_view) {}), 0);
}

}   // namespace
