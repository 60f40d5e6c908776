#include "reports/glitch.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

struct file_closer {
    void operator()(std::FILE *f) const { std::fclose(f); }
};
using file_ptr = std::unique_ptr<std::FILE, file_closer>;

// A temporary file holding interleaved stereo samples, positioned at its start.
file_ptr audio(const std::vector<std::int16_t> &samples)
{
    file_ptr f(std::tmpfile());
    for (std::int16_t v : samples) {
        const auto u = static_cast<std::uint16_t>(v);
        std::fputc(u & 0xFF, f.get());
        std::fputc(u >> 8, f.get());
    }
    std::rewind(f.get());
    return f;
}

std::int64_t scan(const std::vector<std::int16_t> &samples, std::int64_t data_size = -1)
{
    file_ptr f = audio(samples);
    return detect_glitch(1, 1, f.get(), data_size < 0 ? static_cast<std::int64_t>(samples.size()) * 2 : data_size);
}

// Pairs of (left, right) repeated.
std::vector<std::int16_t> stereo(std::size_t frames, std::int16_t left, std::int16_t right)
{
    std::vector<std::int16_t> s;
    for (std::size_t i = 0; i < frames; ++i) {
        s.push_back(left);
        s.push_back(right);
    }
    return s;
}

TEST(Glitch, DigitalSilenceIsNoGlitch) { EXPECT_EQ(scan(stereo(20000, 0, 0)), -1); }

TEST(Glitch, ClippedFullScaleIsNoGlitch)
{
    EXPECT_EQ(scan(stereo(20000, 32767, -32768)), -1);
    EXPECT_EQ(scan(stereo(20000, 32100, -32100)), -1);
    EXPECT_EQ(scan(stereo(20000, 100, -100)), -1);
}

TEST(Glitch, ThousandAndTwoEqualSamplesOnOneChannel)
{
    // Right channel held at 5000 for 1002 frames after varying audio: the run reaches 1001.
    std::vector<std::int16_t> s;
    for (int i = 0; i < 50; ++i) {
        s.push_back(static_cast<std::int16_t>(1000 + i));
        s.push_back(static_cast<std::int16_t>(2000 + i));
    }
    for (int i = 0; i < 1002; ++i) {
        s.push_back(static_cast<std::int16_t>(3000 + i % 7));
        s.push_back(5000);
    }
    EXPECT_EQ(scan(s), (50 + 1002) * 2);
}

TEST(Glitch, ThousandAndOneEqualSamplesAreNotEnough)
{
    std::vector<std::int16_t> s = stereo(1001, 0, 5000);
    s.push_back(0);
    s.push_back(6000);
    EXPECT_EQ(scan(s), -1);
}

TEST(Glitch, SkippedSamplesNeitherExtendNorBreakARun)
{
    // 5000 alternating with 50 on the left: the 50s are skipped, the 5000s count on.
    std::vector<std::int16_t> s;
    for (int i = 0; i < 2010; ++i) {
        s.push_back(i % 2 == 0 ? 5000 : 50);
        s.push_back(static_cast<std::int16_t>(-3000 - i % 5));
    }
    // The 1002nd 5000 is in pair 2002 (counting from 0): n = 2003 * 2.
    EXPECT_EQ(scan(s), 2003 * 2);
}

TEST(Glitch, TheDataSizeEndsTheScan)
{
    const std::vector<std::int16_t> s = stereo(3000, 5000, 5000);
    EXPECT_EQ(scan(s, 1000 * 4), -1);     // 1000 frames: never reaches the run
    EXPECT_EQ(scan(s, 1002 * 4), 1002 * 2);
    EXPECT_EQ(scan(s, 100'000'000), 1002 * 2);   // a size larger than the file reads to its end
}

TEST(Glitch, AGlitchFoundAcrossBlockBoundaries)
{
    std::vector<std::int16_t> s = stereo(5000, 0, 0);
    const std::vector<std::int16_t> held = stereo(1100, -7000, 0);
    s.insert(s.end(), held.begin(), held.end());
    EXPECT_EQ(scan(s), (5000 + 1002) * 2);
}

}   // namespace
