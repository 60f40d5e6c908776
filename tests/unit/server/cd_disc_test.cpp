// The disc identifier, the checks of a table of contents, the disc as an
// album text, and the texts of a backup (TOC file, cue sheet).
#include "server/cd_disc.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// A table of audio tracks starting at the given sectors.
disc_toc toc_of(const std::vector<std::int32_t> &lbas, std::int32_t leadout)
{
    disc_toc t;
    for (std::size_t i = 0; i < lbas.size(); ++i)
        t.tracks.push_back({.number = static_cast<int>(i) + 1, .lba = lbas[i], .audio = true});
    t.leadout = leadout;
    return t;
}

// Sectors of a start time in whole seconds counted from the lead-in.
std::int32_t at_second(int s) { return s * 75 - 150; }

struct id_case {
    const char *what;
    std::vector<std::int32_t> lbas;
    std::int32_t leadout;
    std::uint32_t id;
};

// Worked by hand: start seconds are (sector + 150) / 75; the top byte is the
// sum of their digits modulo 255, then the length in seconds, then the count.
const std::vector<id_case> id_cases = {
    // Starts at 2 s and 7 s (542 / 75): digits 2 + 7 = 9; lead-out 807 / 75 = 10 s, length 10 - 2 = 8; 2 tracks.
    {"two tracks", {0, 392}, 657, 0x09000802},
    // Starts at 2 s and 5 s (398 / 75); lead-out 556 / 75 = 7 s, length 5. (cdrdao's toc2cddb says 07000502 too.)
    {"two short tracks", {0, 248}, 406, 0x07000502},
    // Starts at 2 s, 201 s, 450 s: 2 + 3 + 9 = 14 = 0x0E; lead-out 740 s, length 738 = 0x2E2; 3 tracks.
    {"three tracks", {0, 14925, 33600}, 55350, 0x0E02E203},
    // 2 s, then 99 s .. 999 s (18 + 19 + .. + 27 = 225) and 1999 s (28): 2 + 225 + 28 = 255, which is 0
    // modulo 255; lead-out 2100 s, length 2098 = 0x832; 12 tracks.
    {"digit sum of 255",
     {0, at_second(99), at_second(199), at_second(299), at_second(399), at_second(499), at_second(599),
      at_second(699), at_second(799), at_second(899), at_second(999), at_second(1999)},
     at_second(2100), 0x0008320C},
    // The same and 2999 s (29): 284 modulo 255 = 29 = 0x1D; lead-out 3100 s, length 3098 = 0xC1A; 13 tracks.
    {"digit sum past 255",
     {0, at_second(99), at_second(199), at_second(299), at_second(399), at_second(499), at_second(599),
      at_second(699), at_second(799), at_second(899), at_second(999), at_second(1999), at_second(2999)},
     at_second(3100), 0x1D0C1A0D},
};

TEST(CdDiscId, KnownTables)
{
    for (const id_case &c : id_cases)
        EXPECT_EQ(cddb_disc_id(toc_of(c.lbas, c.leadout)), c.id) << c.what;
}

TEST(CdDiscId, DataTracksCount)
{
    disc_toc t = toc_of({0, 392}, 657);
    t.tracks[1].audio = false;
    EXPECT_EQ(cddb_disc_id(t), 0x09000802u);
}

TEST(CdDiscId, NinetyNineTracks)
{
    std::vector<std::int32_t> lbas;
    for (int i = 0; i < 99; ++i)
        lbas.push_back(i * 40);
    const disc_toc t = toc_of(lbas, 99 * 40);
    EXPECT_EQ(cddb_disc_id(t) & 0xFF, 99u);
    EXPECT_EQ(toc_problem(t), "");
}

TEST(CdToc, Problems)
{
    EXPECT_EQ(toc_problem(toc_of({0, 392}, 657)), "");
    EXPECT_EQ(toc_problem(toc_of({}, 100)), "no tracks");
    EXPECT_EQ(toc_problem(toc_of({0, 392}, 300)), "the disc ends before its last track (a truncated image?)");
    EXPECT_EQ(toc_problem(toc_of({0, 392}, 392)), "the disc ends before its last track (a truncated image?)");
    EXPECT_EQ(toc_problem(toc_of({0, 0}, 657)), "track numbers or start sectors out of order");
    EXPECT_EQ(toc_problem(toc_of({0}, 149)), "shorter than two seconds");
    EXPECT_EQ(toc_problem(toc_of({0}, 150)), "");
    std::vector<std::int32_t> many;
    for (int i = 0; i < 100; ++i)
        many.push_back(i * 10);
    EXPECT_EQ(toc_problem(toc_of(many, 1000)), "more than 99 tracks");
    disc_toc first_data = toc_of({0, 300}, 600);
    first_data.tracks[0].audio = false;
    EXPECT_EQ(toc_problem(first_data), "a data track (track 1) before audio tracks");
    disc_toc middle_data = toc_of({0, 300, 600}, 900);
    middle_data.tracks[1].audio = false;
    EXPECT_EQ(toc_problem(middle_data), "a data track (track 2) before audio tracks");
    disc_toc all_data = toc_of({0}, 900);
    all_data.tracks[0].audio = false;
    EXPECT_EQ(toc_problem(all_data), "no audio tracks (a data disc)");
    disc_toc renumbered = toc_of({0, 300}, 600);
    renumbered.tracks[0].number = 2;
    renumbered.tracks[1].number = 3;
    EXPECT_EQ(toc_problem(renumbered), "the first track is not track 1");
    // An Enhanced CD: a data track after the audio is left out of the album.
    disc_toc enhanced = toc_of({0, 300, 600}, 900);
    enhanced.tracks[2].audio = false;
    EXPECT_EQ(toc_problem(enhanced), "");
    EXPECT_EQ(toc_audio_tracks(enhanced), 2);
    // Two seconds of audio are needed, not of the whole disc.
    disc_toc short_audio = toc_of({0, 100}, 900);
    short_audio.tracks[1].audio = false;
    EXPECT_EQ(toc_problem(short_audio), "shorter than two seconds");
}

TEST(CdToc, TimesAndAlbumText)
{
    EXPECT_EQ(sectors_time_text(0), "00:00");
    EXPECT_EQ(sectors_time_text(74), "00:00");
    EXPECT_EQ(sectors_time_text(75 * 61), "01:01");
    EXPECT_EQ(sectors_time_text(75 * 3600), "60:00");
    disc_toc t = toc_of({0, 392, 500}, 657 + 75 * 60);
    t.tracks[2].audio = false;
    EXPECT_EQ(disc_album_text(t, 0x09000802),
              "\n\n00:06 - 00000000 0 09000802 0\n"
              "\n\n00:05 - 00000000 0 09000802 0\n"
              "\n\n00:01 - 00000000 0 09000802 0\n");
}

TEST(CdToc, LinesRoundTrip)
{
    disc_toc t = toc_of({0, 392}, 657);
    t.tracks[1].audio = false;
    EXPECT_EQ(toc_lines(t), "track 1 0 1\ntrack 2 392 0\nleadout 657\n");
    disc_toc back;
    ASSERT_TRUE(parse_toc_lines(toc_lines(t), back));
    EXPECT_EQ(toc_lines(back), toc_lines(t));
    EXPECT_FALSE(parse_toc_lines("track 1 0 1\n", back));                  // no lead-out
    EXPECT_FALSE(parse_toc_lines("track 1 x 1\nleadout 5\n", back));
    EXPECT_FALSE(parse_toc_lines("track 1 0\nleadout 5\n", back));
    EXPECT_FALSE(parse_toc_lines("leadout 99999999999999\n", back));
    EXPECT_FALSE(parse_toc_lines("hello\nleadout 5\n", back));
    std::string many;
    for (int i = 1; i <= 101; ++i)
        many += "track " + std::to_string(i) + " " + std::to_string(i * 10) + " 1\n";
    EXPECT_FALSE(parse_toc_lines(many + "leadout 5000\n", back));
}

TEST(CdBackup, LayoutTocAndCue)
{
    // A track's last sector is filled up: 1 byte takes a whole sector.
    EXPECT_EQ(backup_track_sectors({2352, 2353, 1, 0}), (std::vector<std::int32_t>{1, 2, 1, 0}));
    const disc_toc t = backup_toc({300, 392});
    EXPECT_EQ(toc_lines(t), "track 1 0 1\ntrack 2 300 1\nleadout 692\n");
    EXPECT_EQ(cdrdao_toc_text({"/m/0001_01.wav", "/m/0001_02.wav"}),
              "CD_DA\n\nTRACK AUDIO\nFILE \"/m/0001_01.wav\" 0\n\nTRACK AUDIO\nFILE \"/m/0001_02.wav\" 0\n");
    EXPECT_EQ(cdrdao_toc_text({"/m/a\"b.wav"}), "");
    EXPECT_EQ(cdrdao_toc_text({"/m/a\nb.wav"}), "");
    EXPECT_EQ(cdrdao_toc_text({"/m/a\\b.wav"}), "");
    EXPECT_EQ(image_cue_text("0001.bin", backup_toc({300, 4500 + 75 + 2})),
              "FILE \"0001.bin\" BINARY\n  TRACK 01 AUDIO\n    INDEX 01 00:00:00\n"
              "  TRACK 02 AUDIO\n    INDEX 01 00:04:00\n");
    EXPECT_EQ(image_cue_text("x.bin", backup_toc({4500 * 2 + 75 * 3 + 7, 1})).substr(76),
              "    INDEX 01 02:03:07\n");
}

TEST(CdCue, FileNames)
{
    std::vector<std::string> names;
    std::string problem;
    ASSERT_TRUE(cue_file_names("REM x\nFILE \"disc one.bin\" BINARY\r\n  TRACK 01 AUDIO\n", names, problem));
    EXPECT_EQ(names, std::vector<std::string>{"disc one.bin"});
    ASSERT_TRUE(cue_file_names("FILE plain.bin BINARY\nFILE \"b.bin\" BINARY\n", names, problem));
    EXPECT_EQ(names, (std::vector<std::string>{"plain.bin", "b.bin"}));
    EXPECT_FALSE(cue_file_names("TRACK 01 AUDIO\n", names, problem));
    EXPECT_EQ(problem, "no FILE line");
    EXPECT_FALSE(cue_file_names("FILE \"a.wav\" WAVE\n", names, problem));
    EXPECT_EQ(problem, "a FILE of type \"WAVE\" (only BINARY images are read)");
    EXPECT_FALSE(cue_file_names("FILE \"a.bin BINARY\n", names, problem));
    EXPECT_EQ(problem, "a FILE name without its closing quote");
    EXPECT_FALSE(cue_file_names("FILE\n", names, problem));
    EXPECT_EQ(problem, "a FILE line without a name");
    EXPECT_FALSE(cue_file_names("FILE \"\" BINARY\n", names, problem));
    EXPECT_FALSE(cue_file_names("", names, problem));
}

}   // namespace
