#include "reports/wav_file.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

TEST(WavCheck, GlitchPositionsInFramesMinutesAndSeconds)
{
    char buf[80];
    format_glitch(buf, sizeof buf, 88200LL * 61);
    EXPECT_STREQ(buf, "Glitch at Sample:  2690100 ( 1: 1.000000)");
    format_glitch(buf, sizeof buf, 2004);
    EXPECT_STREQ(buf, "Glitch at Sample:     1002 ( 0: 0.022721)");
    format_glitch(buf, sizeof buf, 88200LL * 600);
    EXPECT_STREQ(buf, "Glitch at Sample: 26460000 (10: 0.000000)");
}

TEST(WavCheck, MediaFileNames)
{
    char buf[64];
    media_path(buf, sizeof buf, 12, 3);
    EXPECT_STREQ(buf, "Media/0012_03.wav");
}

// A temporary file with the given bytes; removed at the end.
struct temp_file {
    std::string path;
    explicit temp_file(const std::string &bytes)
    {
        char name[] = "/tmp/zkwavXXXXXX";
        const int fd = mkstemp(name);
        path = name;
        if (fd >= 0) {
            if (write(fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
                path.clear();
            close(fd);
        }
    }
    ~temp_file() { std::remove(path.c_str()); }
};

std::string wav_bytes(const std::vector<std::int16_t> &samples, const char *riff = "RIFF")
{
    std::string s(riff, 4);
    s.resize(44, '\0');
    const auto size = static_cast<std::uint32_t>(samples.size() * 2);
    for (int i = 0; i < 4; ++i)
        s[40 + static_cast<std::size_t>(i)] = static_cast<char>((size >> (8 * i)) & 0xFF);
    for (std::int16_t v : samples) {
        s.push_back(static_cast<char>(v & 0xFF));
        s.push_back(static_cast<char>((static_cast<std::uint16_t>(v) >> 8) & 0xFF));
    }
    return s;
}

std::string check(const std::string &path, bool online, const char *ok = "  OK ")
{
    char out[128];
    check_media_file(path.c_str(), online, 1, 1, ok, out, sizeof out);
    return out;
}

TEST(WavCheck, EveryResult)
{
    const temp_file good(wav_bytes(std::vector<std::int16_t>(4000, 0)));
    std::vector<std::int16_t> held;
    for (int i = 0; i < 2000; ++i) {
        held.push_back(7000);
        held.push_back(10);
    }
    const temp_file glitch(wav_bytes(held));
    const temp_file fake(wav_bytes({1, 2}, "RIFX"));
    const temp_file short_file("RIFF1234");
    EXPECT_EQ(check(good.path, true), "  OK ");
    EXPECT_EQ(check(good.path, true, "  OK   "), "  OK   ");
    EXPECT_EQ(check(good.path, false), "Track is off-line");
    EXPECT_EQ(check(glitch.path, true), "Glitch at Sample:     1002 ( 0: 0.022721)");
    EXPECT_EQ(check(fake.path, true), "Not a WAV file");
    EXPECT_EQ(check(short_file.path, true), "Cannot read header");
    EXPECT_EQ(check("/nonexistent/zk/none.wav", true), "Cannot open: No such file or directory");
    char out[64];
    EXPECT_TRUE(check_media_file(good.path.c_str(), true, 1, 1, "ok", out, sizeof out));
    EXPECT_FALSE(check_media_file(glitch.path.c_str(), true, 1, 1, "ok", out, sizeof out));
}

}   // namespace
