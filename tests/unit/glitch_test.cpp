#include "reports/glitch.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <random>
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

// Scans samples written to a file; the data size is the file's unless given.
std::int64_t scan(const std::vector<std::int16_t> &samples, std::optional<std::int64_t> data_size = std::nullopt)
{
    file_ptr f = audio(samples);
    return detect_glitch(1, 1, f.get(), data_size.value_or(static_cast<std::int64_t>(samples.size()) * 2));
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


TEST(Glitch, ANegativeOrTinyDataSizeScansNothing)
{
    const std::vector<std::int16_t> s = stereo(3000, 5000, 5000);
    EXPECT_EQ(scan(s, -4), -1);
    EXPECT_EQ(scan(s, -2147483648LL), -1);
    EXPECT_EQ(scan(s, 0), -1);
    EXPECT_EQ(scan(s, 3), -1);
}

TEST(Glitch, TheDataSizeCountsWholePairs)
{
    // The glitch is declared at pair 1002: n = 2004 samples, n * 2 = 4008 bytes.
    const std::vector<std::int16_t> s = stereo(3000, 0, -12345);
    EXPECT_EQ(scan(s, 4008), 2004);
    EXPECT_EQ(scan(s, 4007), -1);
    EXPECT_EQ(scan(s, 4011), 2004);
}

TEST(Glitch, AnEmptyFileAndAnOddLastSample)
{
    EXPECT_EQ(scan({}, 1000), -1);
    std::vector<std::int16_t> s = stereo(1001, 5000, 0);
    s.push_back(5000);   // the 1002nd left sample has no right partner: no pair, no glitch
    EXPECT_EQ(scan(s, 100000), -1);
}

TEST(Glitch, EachChannelKeepsItsOwnRun)
{
    // 600 frames of 5000 on the left, then 600 on the right: neither run passes 1000.
    std::vector<std::int16_t> s = stereo(600, 5000, 200);
    const std::vector<std::int16_t> b = stereo(600, 300, 5000);
    s.insert(s.end(), b.begin(), b.end());
    EXPECT_EQ(scan(s), -1);
}

TEST(Glitch, TheThresholdsAreExact)
{
    for (const std::int16_t v : {101, -101, 32099, -32099, 12345, -7})
        EXPECT_EQ(scan(stereo(1100, v, 0)), v == -7 ? -1 : 1002 * 2) << v;
    for (const std::int16_t v : {100, -100, 32100, -32100, 0})
        EXPECT_EQ(scan(stereo(1100, v, 0)), -1) << v;
}

// ----- the fast scan against the plain walk --------------------------------------------

// A stream of memory bytes as a stdio file.
struct memory_file {
    std::vector<unsigned char> bytes;
    file_ptr f;
    explicit memory_file(const std::vector<std::int16_t> &samples)
    {
        for (std::int16_t v : samples) {
            bytes.push_back(static_cast<unsigned char>(static_cast<std::uint16_t>(v) & 0xFF));
            bytes.push_back(static_cast<unsigned char>(static_cast<std::uint16_t>(v) >> 8));
        }
        bytes.push_back(0);   // fmemopen wants room; the size below leaves it out
        f.reset(fmemopen(bytes.data(), bytes.size() - 1, "rb"));
    }
};

std::int64_t fast(const std::vector<std::int16_t> &s, std::int64_t size)
{
    memory_file m(s);
    return detect_glitch(1, 1, m.f.get(), size);
}

std::int64_t plain(const std::vector<std::int16_t> &s, std::int64_t size)
{
    memory_file m(s);
    return detect_glitch_plain(m.f.get(), size);
}

// Values that lie on and around every threshold, and ordinary ones.
std::int16_t edge_value(std::mt19937 &rng)
{
    static constexpr std::int16_t edges[] = {0,     1,      -1,     99,     100,    101,    102,   -99,
                                             -100,  -101,   -102,   32098,  32099,  32100,  32767, -32098,
                                             -32099, -32100, -32768, 5000,   -5000};
    if (rng() % 2 == 0)
        return edges[rng() % std::size(edges)];
    return static_cast<std::int16_t>(rng());
}

// Random audio built from pieces: noise, held values (runs of about the limit,
// on one channel or both), near silence and clipping between them.
std::vector<std::int16_t> random_audio(std::mt19937 &rng)
{
    std::vector<std::int16_t> s;
    const int pieces = 1 + static_cast<int>(rng() % 12);
    for (int p = 0; p < pieces; ++p) {
        const int frames = static_cast<int>(rng() % (rng() % 4 == 0 ? 6000 : 1200));
        const int kind = static_cast<int>(rng() % 6);
        const std::int16_t held = edge_value(rng);
        const std::int16_t other = edge_value(rng);
        for (int i = 0; i < frames; ++i) {
            std::int16_t l = edge_value(rng);
            std::int16_t r = edge_value(rng);
            switch (kind) {
            case 0: break;                                    // noise
            case 1: l = held; break;                          // held on the left
            case 2: r = held; break;                          // held on the right
            case 3: l = r = held; break;                      // held on both
            case 4:                                           // held, with skipped samples between
                l = rng() % 3 == 0 ? static_cast<std::int16_t>(rng() % 201 - 100) : held;
                r = rng() % 5 == 0 ? static_cast<std::int16_t>(32100 + rng() % 600) : other;
                break;
            default: l = r = static_cast<std::int16_t>(rng() % 201 - 100); break;   // near silence
            }
            s.push_back(l);
            s.push_back(r);
        }
    }
    if (rng() % 4 == 0)
        s.push_back(edge_value(rng));
    return s;
}

TEST(GlitchProperty, TheFastScanFindsWhatThePlainWalkFinds)
{
    std::mt19937 rng(20240611);
    int glitches = 0;
    for (int round = 0; round < 4000; ++round) {
        const std::vector<std::int16_t> s = random_audio(rng);
        const auto bytes = static_cast<std::int64_t>(s.size() * 2);
        std::int64_t size;
        switch (rng() % 5) {
        case 0: size = bytes; break;
        case 1: size = static_cast<std::int64_t>(rng() % (bytes + 8)) - 4; break;
        case 2: size = bytes + static_cast<std::int64_t>(rng() % 100000); break;
        case 3: size = -static_cast<std::int64_t>(rng() % 1000); break;
        default: size = 2147483647; break;
        }
        const std::int64_t want = plain(s, size);
        ASSERT_EQ(fast(s, size), want) << "round " << round << " samples " << s.size() << " size " << size;
        glitches += want >= 0 ? 1 : 0;
    }
    // The generator must exercise both outcomes, or the comparison proves little.
    EXPECT_GT(glitches, 400);
    EXPECT_LT(glitches, 3600);
}

TEST(GlitchProperty, RunsEndingAroundEveryBoundary)
{
    // A run of 995..1005 frames placed so that it starts and ends around the
    // scan's block (8192 samples) and stretch (512 frames) edges.
    std::mt19937 rng(7);
    for (int lead : {0, 1, 2, 487, 488, 489, 511, 512, 513, 1023, 3095, 3096, 3097, 4095, 4096, 4097, 8191}) {
        for (int len = 995; len <= 1005; ++len) {
            for (int ch = 0; ch < 2; ++ch) {
                std::vector<std::int16_t> s;
                for (int i = 0; i < lead; ++i) {
                    s.push_back(static_cast<std::int16_t>(1000 + i % 50));
                    s.push_back(static_cast<std::int16_t>(-1000 - i % 70));
                }
                for (int i = 0; i < len; ++i) {
                    s.push_back(ch == 0 ? 4242 : static_cast<std::int16_t>(300 + i % 3));
                    s.push_back(ch == 1 ? -4242 : static_cast<std::int16_t>(-300 - i % 3));
                }
                for (int i = 0; i < 700; ++i) {
                    s.push_back(static_cast<std::int16_t>(edge_value(rng)));
                    s.push_back(static_cast<std::int16_t>(edge_value(rng)));
                }
                const auto size = static_cast<std::int64_t>(s.size() * 2);
                const std::int64_t want = plain(s, size);
                ASSERT_EQ(fast(s, size), want) << "lead " << lead << " len " << len << " ch " << ch;
                if (len >= 1002) {
                    EXPECT_EQ(want, 2 * (lead + 1002));
                }
            }
        }
    }
}

TEST(GlitchProperty, ALongRunOfSkippedSamplesBetweenEqualValues)
{
    // 600 frames of 5000, a second of near silence and clipping, then 402 more:
    // the skipped stretch neither ends nor extends the run.
    std::vector<std::int16_t> s = stereo(600, 5000, 700);
    for (int i = 0; i < 44100; ++i) {
        s.push_back(static_cast<std::int16_t>(i % 2 == 0 ? 50 : 32500));
        s.push_back(static_cast<std::int16_t>(701 + i % 9));
    }
    const std::vector<std::int16_t> rest = stereo(402, 5000, 900);
    s.insert(s.end(), rest.begin(), rest.end());
    const auto size = static_cast<std::int64_t>(s.size() * 2);
    EXPECT_EQ(plain(s, size), 2 * (600 + 44100 + 402));
    EXPECT_EQ(fast(s, size), 2 * (600 + 44100 + 402));
}

}   // namespace
