#include "reports/wav_scan.hpp"

#include "browse_library.hpp"
#include "media_folder.hpp"

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

using browse_test::put_album;
using browse_test::reset_table;
using browse_test::track_spec;
using media_test::frames;
using media_test::wav_bytes;

TEST(WavScanText, TheLogLines)
{
    char buf[128];
    format_check_started(buf, sizeof buf, 7, true);
    EXPECT_STREQ(buf, "WAVcheck Started at album 0007, looking for glitches");
    format_check_started(buf, sizeof buf, 1234, false);
    EXPECT_STREQ(buf, "WAVcheck Started at album 1234");
    format_album_result(buf, sizeof buf, 3, 0);
    EXPECT_STREQ(buf, "Album 0003: OK");
    format_album_result(buf, sizeof buf, 3, 2);
    EXPECT_STREQ(buf, "Album 0003: 2 errors");
    format_album_result(buf, sizeof buf, 3, 1);
    EXPECT_STREQ(buf, "Album 0003: 1 errors");
    format_check_finished(buf, sizeof buf, 12, 0);
    EXPECT_STREQ(buf, "WAVcheck Finished: 12 files processed, No errors found\n");
    format_check_finished(buf, sizeof buf, 12, 3);
    EXPECT_STREQ(buf, "WAVcheck Finished: 12 files processed, 3 errors found\n");
}

class WavScan : public media_test::media_folder {
protected:
    std::vector<std::string> lines;
    line_sink sink{.line = [](void *c, const char *t) { static_cast<std::vector<std::string> *>(c)->push_back(t); },
                      .context = &lines};

    void SetUp() override
    {
        media_folder::SetUp();
        reset_table();
    }

    static track_spec track(const char *title, std::int32_t online = 1)
    {
        return {.artist = "Artist", .title = title, .time = "03:00", .status = '-', .online = online};
    }
};

TEST_F(WavScan, EveryResultAndTheTotals)
{
    std::vector<std::int16_t> held = frames(1200, 0, -9000);
    put_album(1, track("Album one"), {track("good"), track("glitch"), track("missing"), track("short")});
    put_album(2, track("Album two"), {track("riff-less"), track("offline", 0)});
    put_album(4, track("Album four"), {track("good")});
    put("0001_01.wav", wav_bytes(frames(100, 1000, 2000)));
    put("0001_02.wav", wav_bytes(held));
    put("0001_04.wav", "RIFF");
    put("0002_01.wav", wav_bytes(frames(100, 1, 2), "RIFX"));
    put("0004_01.wav", wav_bytes(frames(100, 1000, 2000)));
    const wav_check_totals t = wav_check_walk(true, 1, 4, sink);
    const std::vector<std::string> want = {
        "WAVcheck Started at album 0001, looking for glitches",
        "Media/0001_02.wav: Glitch at Sample:     1002 ( 0: 0.022721)",
        "Media/0001_03.wav: Cannot open: No such file or directory",
        "Media/0001_04.wav: Cannot read header",
        "Album 0001: 2 errors",   // the file that cannot be opened is not counted here
        "Media/0002_01.wav: Not a WAV file",
        "Album 0002: 1 errors",
        "Album 0003: OK",         // a free number: no tracks
        "Album 0004: OK",
        "WAVcheck Finished: 6 files processed, 4 errors found\n",   // ... but in the total
    };
    EXPECT_EQ(lines, want);
    EXPECT_EQ(t.files, 6);
    EXPECT_EQ(t.errors, 4);
}

TEST_F(WavScan, WithoutTheGlitchFlagTheAudioIsNotScanned)
{
    put_album(1, track("Album one"), {track("glitch")});
    put("0001_01.wav", wav_bytes(frames(1200, 0, -9000)));
    wav_check_walk(false, 1, 1, sink);
    const std::vector<std::string> want = {"WAVcheck Started at album 0001", "Album 0001: OK",
                                           "WAVcheck Finished: 1 files processed, No errors found\n"};
    EXPECT_EQ(lines, want);
}

TEST_F(WavScan, AnAlbumWhoseTracksAreAllOffLineIsOk)
{
    put_album(5, track("Album five"), {track("a", 0), track("b", 0)});
    wav_check_walk(true, 5, 5, sink);
    const std::vector<std::string> want = {"WAVcheck Started at album 0005, looking for glitches", "Album 0005: OK",
                                           "WAVcheck Finished: 0 files processed, No errors found\n"};
    EXPECT_EQ(lines, want);
}

TEST_F(WavScan, TheWalkStartsAtTheGivenAlbumAndAtLeastAt1)
{
    put_album(1, track("Album one"), {track("a")});
    put_album(2, track("Album two"), {track("b")});
    put("0001_01.wav", wav_bytes(frames(10, 1, 1)));
    wav_check_walk(false, 2, 2, sink);
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], "WAVcheck Started at album 0002");
    EXPECT_EQ(lines[1], "Media/0002_01.wav: Cannot open: No such file or directory");
    EXPECT_EQ(lines[2], "Album 0002: OK");   // a file that cannot be opened is no error of its album
    lines.clear();
    wav_check_walk(false, -3, 1, sink);
    EXPECT_EQ(lines.front(), "WAVcheck Started at album 0001");
    EXPECT_EQ(lines[1], "Album 0001: OK");
}

TEST_F(WavScan, BadFilesInThePlaceOfMediaFiles)
{
    put_album(1, track("Album one"), {track("empty"), track("dir"), track("fifo"), track("negative"), track("huge")});
    put("0001_01.wav", "");
    ASSERT_EQ(mkdir("Media/0001_02.wav", 0755), 0);
    ASSERT_EQ(mkfifo("Media/0001_03.wav", 0644), 0);
    put("0001_04.wav", media_test::wav_head(0x80000000) + media_test::sample_bytes(frames(1500, 800, 800)));
    put("0001_05.wav", media_test::wav_head(0x7FFFFFFF) + media_test::sample_bytes(frames(1500, 800, 800)));
    wav_check_walk(true, 1, 1, sink);
    const std::vector<std::string> want = {
        "WAVcheck Started at album 0001, looking for glitches",
        "Media/0001_01.wav: Cannot read header",
        "Media/0001_02.wav: Cannot open: Is a directory",
        "Media/0001_03.wav: Cannot open: No such device or address",
        "Media/0001_05.wav: Glitch at Sample:     1002 ( 0: 0.022721)",
        "Album 0001: 2 errors",
        "WAVcheck Finished: 5 files processed, 4 errors found\n",
    };
    EXPECT_EQ(lines, want);
}

}   // namespace
