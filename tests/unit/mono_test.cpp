#include "reports/mono.hpp"

#include "media_folder.hpp"
#include "reports/media_file.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using media_test::frames;

bool stereo_probe(const std::vector<std::int16_t> &s, int &countdown)
{
    return probe_decides_stereo(s.data(), s.size(), countdown);
}

TEST(MonoRule, FiveDifferingFramesInARowDecideStereo)
{
    // Peak 900: a difference above 300 counts.
    std::vector<std::int16_t> s = frames(4, 900, 0);
    int countdown = k_stereo_run;
    EXPECT_FALSE(stereo_probe(s, countdown));
    EXPECT_EQ(countdown, 1);
    s = frames(5, 900, 0);
    countdown = k_stereo_run;
    EXPECT_TRUE(stereo_probe(s, countdown));
}

TEST(MonoRule, AFrameWithinAThirdOfThePeakStartsTheCountAgain)
{
    std::vector<std::int16_t> s = frames(4, 900, 0);
    const std::vector<std::int16_t> close = frames(1, 300, 0);   // 300 is not above 900 / 3
    s.insert(s.end(), close.begin(), close.end());
    const std::vector<std::int16_t> more = frames(4, 900, 0);
    s.insert(s.end(), more.begin(), more.end());
    int countdown = k_stereo_run;
    EXPECT_FALSE(stereo_probe(s, countdown));
    EXPECT_EQ(countdown, 1);
}

TEST(MonoRule, TheThirdIsTakenInWholeNumbers)
{
    // Peak 10: the limit is 3, so a difference of 4 counts and 3 does not.
    int countdown = k_stereo_run;
    EXPECT_TRUE(stereo_probe(frames(5, 10, 6), countdown));
    countdown = k_stereo_run;
    EXPECT_FALSE(stereo_probe(frames(5, 10, 7), countdown));
}

TEST(MonoRule, ThePeakIsTakenOverTheWholeProbe)
{
    // The first frame's -32768 makes the peak, whichever channel holds it: the
    // limit is 10922 for every frame of the probe, also those before the peak.
    for (int ch = 0; ch < 2; ++ch) {
        std::vector<std::int16_t> s = frames(10, 10922, 0);
        s.push_back(ch == 0 ? -32768 : -32767);
        s.push_back(ch == 1 ? -32768 : -32767);
        int countdown = k_stereo_run;
        EXPECT_FALSE(stereo_probe(s, countdown)) << ch;
        s = frames(5, 10923, 0);
        s.push_back(ch == 0 ? -32768 : -32767);
        s.push_back(ch == 1 ? -32768 : -32767);
        countdown = k_stereo_run;
        EXPECT_TRUE(stereo_probe(s, countdown)) << ch;
    }
}

TEST(MonoRule, TheCountdownCarriesFromProbeToProbe)
{
    int countdown = k_stereo_run;
    EXPECT_FALSE(stereo_probe(frames(3, 900, 0), countdown));
    EXPECT_TRUE(stereo_probe(frames(2, 900, 0), countdown));
}

TEST(MonoRule, SilenceAndEqualChannelsAreMono)
{
    int countdown = k_stereo_run;
    EXPECT_FALSE(stereo_probe(frames(2205, 0, 0), countdown));
    EXPECT_FALSE(stereo_probe(frames(2205, -20000, -20000), countdown));
}

TEST(MonoRule, OppositePhaseIsStereo)
{
    int countdown = k_stereo_run;
    EXPECT_TRUE(stereo_probe(frames(5, 500, -500), countdown));
}

TEST(MonoRule, AnUnpairedLastSampleIsNoFrame)
{
    std::vector<std::int16_t> s = frames(4, 900, 0);
    s.push_back(900);
    int countdown = k_stereo_run;
    EXPECT_FALSE(stereo_probe(s, countdown));
}

TEST(MonoRule, OnlyOnLineTracksNotMarkedUnplayableAreExamined)
{
    EXPECT_TRUE(mono_examines(1, '-'));
    EXPECT_TRUE(mono_examines(1, 'S'));
    EXPECT_TRUE(mono_examines(1, 'N'));
    EXPECT_FALSE(mono_examines(1, 'U'));
    EXPECT_FALSE(mono_examines(0, '-'));
}

// ----- files ---------------------------------------------------------------------------

class MonoFile : public media_test::media_folder {
protected:
    // A media file of `seconds` of audio made by fill(frame, channel).
    template <typename Fill>
    static void put_audio(const char *name, double seconds, Fill fill)
    {
        const auto count = static_cast<std::size_t>(seconds * 44100);
        std::vector<std::int16_t> s;
        s.reserve(count * 2);
        for (std::size_t f = 0; f < count; ++f) {
            s.push_back(fill(f, 0));
            s.push_back(fill(f, 1));
        }
        put(name, media_test::wav_bytes(s));
    }

    static bool mono(const char *name)
    {
        const int fd = open_regular_file((std::string("Media/") + name).c_str());
        EXPECT_GE(fd, 0);
        const bool m = track_is_mono(fd);
        close(fd);
        return m;
    }
};

std::int16_t tone(std::size_t frame, double hz, double level)
{
    return static_cast<std::int16_t>(level * std::sin(static_cast<double>(frame) * 2 * M_PI * hz / 44100.0));
}

TEST_F(MonoFile, ATrackShorterThanTenSecondsIsMono)
{
    put_audio("short.wav", 9.9, [](std::size_t f, int ch) { return tone(f, ch == 0 ? 440 : 660, 9000); });
    EXPECT_TRUE(mono("short.wav"));
}

TEST_F(MonoFile, DigitalSilenceIsMono)
{
    put_audio("silence.wav", 30, [](std::size_t, int) { return std::int16_t{0}; });
    EXPECT_TRUE(mono("silence.wav"));
}

TEST_F(MonoFile, TheSameSignalOnBothChannelsIsMono)
{
    put_audio("mono.wav", 60, [](std::size_t f, int) { return tone(f, 440, 9000); });
    EXPECT_TRUE(mono("mono.wav"));
}

TEST_F(MonoFile, OppositePhaseIsStereo)
{
    put_audio("phase.wav", 12, [](std::size_t f, int ch) { return tone(f, 440, ch == 0 ? 9000 : -9000); });
    EXPECT_FALSE(mono("phase.wav"));
}

TEST_F(MonoFile, StereoOnlyInTheLastProbeIsStereo)
{
    // The probes start at 10 s, 20.05 s, ... 100.45 s: stereo only from 100.2 s on.
    put_audio("late.wav", 101, [](std::size_t f, int ch) {
        return tone(f, ch == 1 && f >= static_cast<std::size_t>(100.2 * 44100) ? 660 : 440, 9000);
    });
    EXPECT_FALSE(mono("late.wav"));
}

TEST_F(MonoFile, StereoBetweenTheProbesIsNotSeen)
{
    // Stereo everywhere except in the ten 50 ms stretches the probes read.
    put_audio("between.wav", 105, [](std::size_t f, int ch) {
        const double t = static_cast<double>(f) / 44100.0;
        bool probed = false;
        for (int k = 0; k < k_mono_probes; ++k) {
            const double start = (44.0 + (k + 1) * 1764000.0 + k * 8820.0 - 44.0) / 176400.0;
            probed = probed || (t >= start - 0.001 && t < start + 0.051);
        }
        return tone(f, ch == 1 && !probed ? 660 : 440, 9000);
    });
    EXPECT_TRUE(mono("between.wav"));
}

// Bytes this process has read with read-like calls so far.
long long bytes_read()
{
    std::FILE *f = std::fopen("/proc/self/io", "r");
    if (f == nullptr)
        return -1;
    char line[128];
    long long rchar = -1;
    while (std::fgets(line, sizeof line, f) != nullptr)
        if (std::sscanf(line, "rchar: %lld", &rchar) == 1)
            break;
    std::fclose(f);
    return rchar;
}

TEST_F(MonoFile, OnlyTheTenProbesAreRead)
{
    put_audio("long.wav", 120, [](std::size_t f, int) { return tone(f, 440, 9000); });
    const int fd = open_regular_file("Media/long.wav");
    ASSERT_GE(fd, 0);
    const long long before = bytes_read();
    if (before < 0)
        GTEST_SKIP() << "no /proc/self/io";
    EXPECT_TRUE(track_is_mono(fd));
    const long long after = bytes_read();
    close(fd);
    // The second reading of /proc/self/io counts itself: it reads under 512 bytes.
    EXPECT_GE(after - before, 10 * 8820);
    EXPECT_LT(after - before, 10 * 8820 + 512);
}

TEST_F(MonoFile, AProbeCutShortByTheEndStillCounts)
{
    // 10.02 s: the first probe finds 0.02 s of opposite phase, 882 frames.
    put_audio("cut.wav", 10.02, [](std::size_t f, int ch) { return tone(f, 440, ch == 0 ? 9000 : -9000); });
    EXPECT_FALSE(mono("cut.wav"));
}

TEST_F(MonoFile, ADescriptorThatCannotBeReadIsMono)
{
    ASSERT_EQ(mkdir("Media/dir", 0755), 0);
    const int fd = open("Media/dir", O_RDONLY);
    ASSERT_GE(fd, 0);
    EXPECT_TRUE(track_is_mono(fd));
    close(fd);
}

}   // namespace
