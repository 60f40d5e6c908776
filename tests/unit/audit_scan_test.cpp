#include "reports/audit_scan.hpp"

#include "browse/plist_line.hpp"
#include "browse_library.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using browse_test::put_album;
using browse_test::reset_table;
using browse_test::track_spec;

struct file_closer {
    void operator()(std::FILE *f) const { std::fclose(f); }
};

// The lines read_audit_line gives for a file's bytes.
std::vector<std::string> lines_of(const std::string &bytes)
{
    std::unique_ptr<std::FILE, file_closer> f(std::tmpfile());
    std::fwrite(bytes.data(), 1, bytes.size(), f.get());
    std::rewind(f.get());
    std::vector<std::string> out;
    char line[k_audit_line];
    while (read_audit_line(f.get(), line)) {
        EXPECT_LT(std::strlen(line), k_audit_line);
        out.emplace_back(line);
    }
    return out;
}

TEST(AuditLines, LinesWithAndWithoutTheLastLineEnd)
{
    EXPECT_EQ(lines_of(""), std::vector<std::string>{});
    EXPECT_EQ(lines_of("a\nb\n"), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(lines_of("a\nb"), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(lines_of("\n\n"), (std::vector<std::string>{"", ""}));
}

TEST(AuditLines, ALongLineIsCutAndItsRestSkipped)
{
    const std::string long_line(1000, 'x');
    const std::vector<std::string> got = lines_of(long_line + "\nnext\n");
    ASSERT_EQ(got.size(), 2u);
    EXPECT_EQ(got[0], std::string(255, 'x'));
    EXPECT_EQ(got[1], "next");
    EXPECT_EQ(lines_of(std::string(255, 'y') + "\n"), std::vector<std::string>{std::string(255, 'y')});
    EXPECT_EQ(lines_of(std::string(256, 'y')), std::vector<std::string>{std::string(255, 'y')});
}

TEST(AuditLines, ANulByteEndsTheLinesText)
{
    const std::vector<std::string> got = lines_of(std::string("abc\0def\nghi\n", 12));
    EXPECT_EQ(got, (std::vector<std::string>{"abc", "ghi"}));
}

TEST(AuditRefs, PlaylistLinesAsTheFileHasThem)
{
    plist_ref r;
    ASSERT_TRUE(scan_plist_ref("5F00A1B2 0012/03 Artist", r));
    EXPECT_EQ(r.key, 0x5F00A1B2u);
    EXPECT_EQ(r.album_no, 12);
    EXPECT_EQ(r.track_no, 3);
}

TEST(AuditRefs, TheScanIsAsLenientAsTheFormat)
{
    plist_ref r;
    EXPECT_TRUE(scan_plist_ref("  0x1f   7/ 9", r));
    EXPECT_EQ(r.key, 0x1Fu);
    EXPECT_EQ(r.album_no, 7);
    EXPECT_EQ(r.track_no, 9);
    EXPECT_TRUE(scan_plist_ref("-1 -2/+3", r));
    EXPECT_EQ(r.key, ~0ul);
    EXPECT_EQ(r.album_no, -2);
    EXPECT_EQ(r.track_no, 3);
    EXPECT_TRUE(scan_plist_ref("a1 1/1 trailing text", r));
    EXPECT_EQ(r.key, 0xA1u);
    EXPECT_FALSE(scan_plist_ref("a1/1", r));   // the key ends at the "/", where a number was wanted
    EXPECT_TRUE(scan_plist_ref("0 99999999999999/1", r));
    EXPECT_EQ(r.album_no, 2147483647);
    EXPECT_TRUE(scan_plist_ref("0 -99999999999999/1", r));
    EXPECT_EQ(r.album_no, -2147483647 - 1);
}

TEST(AuditRefs, NotPlaylistLines)
{
    plist_ref r;
    for (const char *line : {"", "   ", "# comment", "zz 1/1", "12345678", "12345678 0001", "12345678 0001 02",
                             "12345678 0001 /02", "12345678 0001/", "12345678 0001/x", "12345678 x/1"})
        EXPECT_FALSE(scan_plist_ref(line, r)) << line;
}

TEST(AuditFields, StoredTextsAreCutTo28)
{
    char out[k_audit_field + 1];
    stored_field("0123456789abcdefghABC", 17, out);
    EXPECT_STREQ(out, "hABC");
    stored_field("short", 17, out);
    EXPECT_STREQ(out, "");
    stored_field(std::string(100, 'z').c_str(), 48, out);
    EXPECT_STREQ(out, std::string(28, 'z').c_str());
    expected_field("Abba", out);
    EXPECT_STREQ(out, "Abba                        ");
    expected_field(std::string(40, 'q').c_str(), out);
    EXPECT_STREQ(out, std::string(28, 'q').c_str());
}

TEST(AuditFields, TheTwoMismatchLinesAreSpacedDifferently)
{
    char buf[256];
    format_artist_mismatch(buf, sizeof buf, "party", 12, 3, "Old", "New");
    EXPECT_STREQ(buf, "Audit playlist: party\t 0012/03: Artist mismatch:\n\"Old\" Should be: \"New\"");
    format_title_mismatch(buf, sizeof buf, "party", 12, 3, "Old", "New");
    EXPECT_STREQ(buf, "Audit playlist: party\t 0012/03:  Title mismatch:\n \"Old\" Should be: \"New\"");
}

class AuditTable : public ::testing::Test {
protected:
    std::vector<std::string> logged;
    line_sink sink{.line = [](void *c, const char *t) { static_cast<std::vector<std::string> *>(c)->push_back(t); },
                        .context = &logged};

    void SetUp() override
    {
        reset_table();
        put_album(12, {.artist = "Band", .title = "Record"},
                  {{.artist = "Band", .title = "Song"},
                   {.artist = "An artist whose name runs past 28 characters", .title = "A title that is longer than 28"}});
    }

    // A playlist line as the server writes it.
    static std::string line(int album_no, int track_no, const char *artist, const char *title)
    {
        char buf[256];
        format_plist_line(buf, sizeof buf, 0x1234, album_no, track_no, artist, title, "03:00");
        std::string s(buf);
        if (!s.empty() && s.back() == '\n')
            s.pop_back();
        return s;
    }
};

TEST_F(AuditTable, ALineAsTheServerWritesItMatches)
{
    EXPECT_EQ(audit_plist_line("p", line(12, 1, "Band", "Song").c_str(), sink), 0);
    EXPECT_TRUE(logged.empty());
}

TEST_F(AuditTable, TextsLongerThan28AreComparedByTheirFirst28)
{
    EXPECT_EQ(audit_plist_line("p", line(12, 2, "An artist whose name runs pa", "A title that is longer than 99").c_str(),
                               sink),
              0);
    EXPECT_TRUE(logged.empty());
}

TEST_F(AuditTable, BothMismatchesAreLogged)
{
    EXPECT_EQ(audit_plist_line("mix", line(12, 1, "Bnad", "Snog").c_str(), sink), 2);
    const std::vector<std::string> want = {
        "Audit playlist: mix\t 0012/01: Artist mismatch:\n\"Bnad                        \" Should be: \"Band       "
        "                 \"",
        "Audit playlist: mix\t 0012/01:  Title mismatch:\n \"Snog                        \" Should be: \"Song       "
        "                 \""};
    EXPECT_EQ(logged, want);
}

TEST_F(AuditTable, AnArtistNotPaddedIsAMismatch)
{
    const std::string bare = "00001234 0012/01 Band";
    EXPECT_EQ(audit_plist_line("p", bare.c_str(), sink), 2);
    ASSERT_EQ(logged.size(), 2u);
    EXPECT_EQ(logged[0], "Audit playlist: p\t 0012/01: Artist mismatch:\n\"Band\" Should be: \"Band                        \"");
    EXPECT_EQ(logged[1], "Audit playlist: p\t 0012/01:  Title mismatch:\n \"\" Should be: \"Song                        \"");
}

TEST_F(AuditTable, LinesThatAreNoPlaylistLinesArePassedOver)
{
    EXPECT_EQ(audit_plist_line("p", "", sink), 0);
    EXPECT_EQ(audit_plist_line("p", "just some text", sink), 0);
    EXPECT_TRUE(logged.empty());
}

TEST_F(AuditTable, NumbersOutsideTheTableExpectBlanks)
{
    const std::string blank(28, ' ');
    EXPECT_EQ(audit_plist_line("p", line(99999, 1, "", "").c_str(), sink), 0);
    EXPECT_EQ(audit_plist_line("p", line(12, 250, "", "").c_str(), sink), 0);
    EXPECT_EQ(audit_plist_line("p", "1 -5/-7", sink), 2);
    ASSERT_EQ(logged.size(), 2u);
    EXPECT_EQ(logged[0], "Audit playlist: p\t -005/-7: Artist mismatch:\n\"\" Should be: \"" + blank + "\"");
}

TEST_F(AuditTable, AnAbsentAlbumExpectsItsEmptyTexts)
{
    EXPECT_EQ(audit_plist_line("p", line(13, 1, "Band", "Song").c_str(), sink), 2);
}

TEST(OnlineAudit, WhatIsDoneWithATrack)
{
    EXPECT_EQ(online_audit_action(true, true), online_action::none);
    EXPECT_EQ(online_audit_action(false, false), online_action::none);
    EXPECT_EQ(online_audit_action(true, false), online_action::take_offline);
    EXPECT_EQ(online_audit_action(false, true), online_action::offer_online);
}

TEST(OnlineAudit, TheLinesShown)
{
    char buf[160];
    format_online_line(buf, sizeof buf, 7, 2, "Band", "Song", true);
    EXPECT_STREQ(buf, "0007/02: Band - Song offline");
    format_online_line(buf, sizeof buf, 7, 2, "Band", "Song", false);
    EXPECT_STREQ(buf, "0007/02: Band - Song");
}

}   // namespace
