#include "reports/report_list.hpp"

#include "browse_library.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

using browse_test::put_album;
using browse_test::reset_table;
using browse_test::track_spec;

TEST(ReportKinds, HeadingsOrdersAndKinds)
{
    struct row {
        const char *heading;
        int order;
        bool albums;
    };
    constexpr row want[] = {
        {"Albums; Numerical Order", 1, true}, {"Tracks; Sorted by Artist", 2, false},
        {"Tracks; Sorted by Title", 3, false}, {"Short-list", 1, false},
        {"Not on Short List", 1, false},      {"Not normally selected", 1, false},
        {"Off-line List", 1, false},          {"Unplayables", 1, false},
    };
    ASSERT_EQ(k_report_count, 8);
    for (int code = 0; code < 8; ++code) {
        EXPECT_STREQ(report_kinds[code].heading, want[code].heading) << code;
        EXPECT_EQ(report_kinds[code].order, want[code].order) << code;
        EXPECT_EQ(report_kinds[code].album_list, want[code].albums) << code;
    }
}

TEST(ReportKinds, AnUnknownCodeIsTheAlbumList)
{
    EXPECT_EQ(report_code(8), 0);
    EXPECT_EQ(report_code(-1), 0);
    EXPECT_EQ(report_code(1000), 0);
    EXPECT_EQ(report_code(7), 7);
}

TEST(ReportKinds, OnlyTheFullTrackListsAskAboutDuplicates)
{
    for (int code = 0; code < 8; ++code)
        EXPECT_EQ(report_asks_duplicates(code), code == 1 || code == 2) << code;
}

// Which of the statuses - S U N, on line and off line, a report takes.
std::string taken(int code, bool dups)
{
    std::string out;
    for (const int online : {1, 0})
        for (const char status : {'-', 'S', 'U', 'N'})
            out += report_takes(code, status, online, dups) ? status : '.';
    return out;
}

TEST(ReportFilters, EveryReportAndStatus)
{
    //                   on line  off line
    EXPECT_EQ(taken(1, false), "-S.N" "-S.N");
    EXPECT_EQ(taken(1, true), "-SUN" "-SUN");
    EXPECT_EQ(taken(2, false), "-S.N" "-S.N");
    EXPECT_EQ(taken(2, true), "-SUN" "-SUN");
    EXPECT_EQ(taken(3, false), ".S.." ".S..");   // the short-list never lists U
    EXPECT_EQ(taken(4, false), "-..." "....");   // on line and "-" only
    EXPECT_EQ(taken(5, false), "...N" "...N");
    EXPECT_EQ(taken(6, false), "...." "-S.N");   // off line, never U
    EXPECT_EQ(taken(7, false), "..U." "..U.");
    // The screens ask the duplicates question only for 1 and 2; the flag would change only these.
    EXPECT_EQ(taken(3, true), ".S.." ".S..");
    EXPECT_EQ(taken(6, true), "...." "-SUN");
    EXPECT_EQ(taken(4, true), taken(4, false));
}

class ReportTable : public ::testing::Test {
protected:
    void SetUp() override { reset_table(); }

    static track_spec t(const char *title, char status = '-', int online = 1)
    {
        return {.artist = "Artist", .title = title, .time = "03:00", .status = status, .online = online};
    }

    static std::vector<std::pair<int, int>> pairs(const std::vector<chain_entry> &v)
    {
        std::vector<std::pair<int, int>> out;
        for (const chain_entry &e : v) {
            EXPECT_EQ(e.key, 0);
            out.emplace_back(e.album_no, e.track_no);
        }
        return out;
    }
};

TEST_F(ReportTable, TracksOfOneAlbumInTrackOrder)
{
    put_album(3, t("Album"), {t("a"), t("b", 'U'), t("c", '-', 0), t("d", 'S')});
    std::vector<chain_entry> out;
    EXPECT_EQ(report_album_tracks(1, false, 3, out), 3);
    EXPECT_EQ(pairs(out), (std::vector<std::pair<int, int>>{{3, 1}, {3, 3}, {3, 4}}));
    out.clear();
    EXPECT_EQ(report_album_tracks(4, false, 3, out), 1);   // "Not on short-List" leaves out the off-line "-"
    EXPECT_EQ(pairs(out), (std::vector<std::pair<int, int>>{{3, 1}}));
}

TEST_F(ReportTable, AnAbsentAlbumGivesNothing)
{
    put_album(3, t("Album"), {t("a")});
    album[3].present = 0;
    std::vector<chain_entry> out;
    EXPECT_EQ(report_album_tracks(1, true, 3, out), 0);
    EXPECT_EQ(report_album_tracks(1, true, 4, out), 0);
    EXPECT_EQ(report_album_tracks(1, true, -1, out), 0);
    EXPECT_EQ(report_album_tracks(1, true, k_album_slots, out), 0);
    EXPECT_TRUE(out.empty());
}

TEST_F(ReportTable, TrackCountsAreHeldToTheTable)
{
    album[1].tracks = 150;
    EXPECT_EQ(report_track_count(1), 99);
    album[1].tracks = -1;
    EXPECT_EQ(report_track_count(1), 0);
    EXPECT_EQ(report_track_count(-5), 0);
    EXPECT_EQ(report_track_count(k_album_slots), 0);
}

TEST_F(ReportTable, TheAlbumListTakesEveryPresentAlbum)
{
    put_album(1, t("One"), {t("a")});
    put_album(4, t("Four"), {});
    put_album(9000, t("Reserved"), {t("x")});
    std::vector<chain_entry> out;
    EXPECT_EQ(report_albums(max_album, out), 2);
    EXPECT_EQ(pairs(out), (std::vector<std::pair<int, int>>{{1, 0}, {4, 0}}));
}

TEST_F(ReportTable, NoPresentAlbumsGiveEmptyLists)
{
    std::vector<chain_entry> out;
    EXPECT_EQ(report_albums(max_album, out), 0);
    for (int a = 1; a <= 3000; ++a)
        report_album_tracks(1, true, a, out);
    EXPECT_TRUE(out.empty());
}

TEST_F(ReportTable, ShortListAndArtistListsOverATable)
{
    // The edge cases: "On Short-List" never lists a U track (a short-listed
    // track can only be S), and "Track List by Artist" lists U tracks only with duplicates.
    put_album(1, t("Album"), {t("a", 'S'), t("b", 'U'), t("c", 'S', 0)});
    std::vector<chain_entry> out;
    report_album_tracks(3, false, 1, out);
    EXPECT_EQ(pairs(out), (std::vector<std::pair<int, int>>{{1, 1}, {1, 3}}));
    out.clear();
    report_album_tracks(1, false, 1, out);
    EXPECT_EQ(pairs(out), (std::vector<std::pair<int, int>>{{1, 1}, {1, 3}}));
    out.clear();
    report_album_tracks(1, true, 1, out);
    EXPECT_EQ(pairs(out), (std::vector<std::pair<int, int>>{{1, 1}, {1, 2}, {1, 3}}));
}

}   // namespace
