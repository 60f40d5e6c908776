#include "reports/wav_file.hpp"

#include "media_folder.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

namespace {

using media_test::frames;
using media_test::wav_bytes;
using media_test::wav_head;

TEST(WavFile, GlitchPositionsInFramesMinutesAndSeconds)
{
    char buf[80];
    format_glitch(buf, sizeof buf, 88200LL * 61);
    EXPECT_STREQ(buf, "Glitch at Sample:  2690100 ( 1: 1.000000)");
    format_glitch(buf, sizeof buf, 2004);
    EXPECT_STREQ(buf, "Glitch at Sample:     1002 ( 0: 0.022721)");
    format_glitch(buf, sizeof buf, 88200LL * 600);
    EXPECT_STREQ(buf, "Glitch at Sample: 26460000 (10: 0.000000)");
}

TEST(WavFile, MediaFileNames)
{
    char buf[k_media_path];
    media_path(buf, sizeof buf, 12, 3);
    EXPECT_STREQ(buf, "Media/0012_03.wav");
    media_path(buf, sizeof buf, 9019, 99);
    EXPECT_STREQ(buf, "Media/9019_99.wav");
}

wav_header parse(const std::string &bytes)
{
    return parse_wav_header(reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size());
}

TEST(WavFile, HeadersShorterThan44BytesAreNone)
{
    EXPECT_EQ(parse("").kind, wav_header_kind::short_file);
    EXPECT_EQ(parse("RIFF").kind, wav_header_kind::short_file);
    EXPECT_EQ(parse(wav_head(100).substr(0, 43)).kind, wav_header_kind::short_file);
}

TEST(WavFile, OnlyRiffAtTheStartIsAHeader)
{
    EXPECT_EQ(parse(wav_head(100, "RIFX")).kind, wav_header_kind::not_riff);
    EXPECT_EQ(parse(wav_head(100, "riff")).kind, wav_header_kind::not_riff);
    EXPECT_EQ(parse(std::string(44, '\0')).kind, wav_header_kind::not_riff);
    EXPECT_EQ(parse(wav_head(100)).kind, wav_header_kind::riff);
}

TEST(WavFile, TheDataSizeIsSignedLittleEndian)
{
    EXPECT_EQ(parse(wav_head(0x01020304)).data_size, 0x01020304);
    EXPECT_EQ(parse(wav_head(0xFFFFFFFF)).data_size, -1);
    EXPECT_EQ(parse(wav_head(0x80000000)).data_size, INT32_MIN);
    EXPECT_EQ(parse(wav_head(0x7FFFFFFF)).data_size, INT32_MAX);
    EXPECT_EQ(parse(wav_head(5) + "more bytes").data_size, 5);
}

class WavFileOnDisk : public media_test::media_folder {
protected:
    static std::string check(const char *name, bool online = true, bool scan = true, const char *ok = "  OK ")
    {
        const wav_outcome o = check_wav_file((std::string("Media/") + name).c_str(), online, scan, 1, 1);
        char out[160];
        format_wav_outcome(out, sizeof out, o, ok);
        return out;
    }
};

TEST_F(WavFileOnDisk, EveryResult)
{
    std::vector<std::int16_t> held;
    for (int i = 0; i < 2000; ++i) {
        held.push_back(7000);
        held.push_back(10);
    }
    put("good.wav", wav_bytes(std::vector<std::int16_t>(4000, 0)));
    put("glitch.wav", wav_bytes(held));
    put("fake.wav", wav_bytes({1, 2}, "RIFX"));
    put("short.wav", "RIFF1234");
    put("empty.wav", "");
    EXPECT_EQ(check("good.wav"), "  OK ");
    EXPECT_EQ(check("good.wav", true, true, "  OK   "), "  OK   ");
    EXPECT_EQ(check("good.wav", false), "Track is off-line");
    EXPECT_EQ(check("glitch.wav"), "Glitch at Sample:     1002 ( 0: 0.022721)");
    EXPECT_EQ(check("glitch.wav", true, false, "OK"), "OK");   // no scan asked
    EXPECT_EQ(check("fake.wav"), "Not a WAV file");
    EXPECT_EQ(check("short.wav"), "Cannot read header");
    EXPECT_EQ(check("empty.wav"), "Cannot read header");
    EXPECT_EQ(check("none.wav"), "Cannot open: No such file or directory");
    char out[64];
    EXPECT_TRUE(check_media_file("Media/good.wav", true, 1, 1, "ok", out, sizeof out));
    EXPECT_FALSE(check_media_file("Media/glitch.wav", true, 1, 1, "ok", out, sizeof out));
    EXPECT_FALSE(check_media_file("Media/none.wav", true, 1, 1, "ok", out, sizeof out));
}

TEST_F(WavFileOnDisk, ADataSizeLargerThanTheFileReadsToItsEnd)
{
    put("big.wav", wav_head(0x7FFFFFF0) + media_test::sample_bytes(frames(1500, 3000, 0)));
    put("big_ok.wav", wav_head(0x7FFFFFF0) + media_test::sample_bytes(frames(900, 3000, 0)));
    EXPECT_EQ(check("big.wav"), "Glitch at Sample:     1002 ( 0: 0.022721)");
    EXPECT_EQ(check("big_ok.wav"), "  OK ");
}

TEST_F(WavFileOnDisk, ANegativeDataSizeScansNothing)
{
    put("negative.wav", wav_head(0xFFFFFF00) + media_test::sample_bytes(frames(1500, 3000, 0)));
    EXPECT_EQ(check("negative.wav"), "  OK ");
}

TEST_F(WavFileOnDisk, ADataSizeSmallerThanTheFileEndsTheScan)
{
    put("small.wav", wav_head(1000 * 4) + media_test::sample_bytes(frames(1500, 3000, 0)));
    EXPECT_EQ(check("small.wav"), "  OK ");
}

TEST_F(WavFileOnDisk, ADirectoryCannotBeOpened)
{
    ASSERT_EQ(mkdir("Media/dir.wav", 0755), 0);
    EXPECT_EQ(check("dir.wav"), "Cannot open: Is a directory");
}

TEST_F(WavFileOnDisk, AFifoIsRefusedWithoutWaitingForAWriter)
{
    ASSERT_EQ(mkfifo("Media/fifo.wav", 0644), 0);
    // Opening a FIFO for reading would wait for a writer: this returns at once.
    EXPECT_EQ(check("fifo.wav"), "Cannot open: No such device or address");
}

TEST_F(WavFileOnDisk, ASymbolicLinkLoopCannotBeOpened)
{
    ASSERT_EQ(symlink("loop.wav", "Media/loop.wav"), 0);
    EXPECT_EQ(check("loop.wav"), "Cannot open: Too many levels of symbolic links");
}

TEST_F(WavFileOnDisk, AnUnreadableFileCannotBeOpened)
{
    put("locked.wav", wav_bytes(frames(10, 1, 1)));
    ASSERT_EQ(chmod("Media/locked.wav", 0), 0);
    if (geteuid() == 0)
        GTEST_SKIP() << "permissions do not bind the super-user (the symbolic link loop stands in)";
    EXPECT_EQ(check("locked.wav"), "Cannot open: Permission denied");
}

}   // namespace
