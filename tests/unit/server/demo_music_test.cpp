#include "server/demo_music.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <numbers>
#include <set>
#include <tuple>
#include <vector>

namespace {

constexpr int k_rate = 44100;
constexpr std::size_t k_second_bytes = 176400;

// The left and right samples of a rendered piece.
struct pcm {
    std::vector<double> left;
    std::vector<double> right;
};

pcm decode(const std::string &bytes)
{
    pcm p;
    for (std::size_t i = 0; i + 3 < bytes.size(); i += 4) {
        const auto sample = [&](std::size_t at) {
            return static_cast<double>(static_cast<std::int16_t>(static_cast<std::uint8_t>(bytes[at]) |
                                                                 static_cast<std::uint8_t>(bytes[at + 1]) << 8));
        };
        p.left.push_back(sample(i));
        p.right.push_back(sample(i + 2));
    }
    return p;
}

double rms(const std::vector<double> &v, std::size_t from, std::size_t count)
{
    double sum = 0.0;
    for (std::size_t i = from; i < from + count; ++i)
        sum += v[i] * v[i];
    return std::sqrt(sum / static_cast<double>(count));
}

// The energy at one frequency (Goertzel) over a stretch of samples.
double energy_at(const std::vector<double> &v, std::size_t from, std::size_t count, double hz)
{
    const double w = 2.0 * std::numbers::pi * hz / k_rate;
    const double c = 2.0 * std::cos(w);
    double s1 = 0.0;
    double s2 = 0.0;
    for (std::size_t i = from; i < from + count; ++i) {
        const double s0 = v[i] + c * s1 - s2;
        s2 = s1;
        s1 = s0;
    }
    return s1 * s1 + s2 * s2 - c * s1 * s2;
}

piece_plan some_plan(music_style style = music_style::folk) { return plan_piece(3, 2, 0, style, false); }

TEST(DemoMusic, APieceIsExactlyAsLongAsAskedAndTheSameEachTime)
{
    for (const int seconds : {1, 3, 6, 37}) {
        const std::string a = render_piece(some_plan(), seconds);
        EXPECT_EQ(a.size(), static_cast<std::size_t>(seconds) * k_second_bytes) << seconds;
        EXPECT_EQ(a, render_piece(some_plan(), seconds)) << seconds;
    }
    EXPECT_EQ(render_piece(some_plan(), 0).size(), k_second_bytes);   // at least one second
}

TEST(DemoMusic, EveryStylePlaysAtOneLevelWithoutOffsetAndWithSoftEnds)
{
    for (int s = 0; s < k_music_styles; ++s) {
        const pcm p = decode(render_piece(some_plan(static_cast<music_style>(s)), 34));
        double peak = 0.0;
        double sum = 0.0;
        for (std::size_t i = 0; i < p.left.size(); ++i) {
            peak = std::max({peak, std::fabs(p.left[i]), std::fabs(p.right[i])});
            sum += p.left[i] + p.right[i];
        }
        EXPECT_NEAR(peak / 32767.0, 0.8, 0.01) << s;
        EXPECT_LT(std::fabs(sum / (2.0 * static_cast<double>(p.left.size()))), 100.0) << s;   // no offset
        EXPECT_EQ(p.left.front(), 0.0) << s;
        EXPECT_LT(std::fabs(p.left.back()) + std::fabs(p.right.back()), 20.0) << s;
        EXPECT_LT(rms(p.left, p.left.size() - k_rate / 10, k_rate / 10), 200.0) << s;   // faded out
        // Music all the way: no second of silence between the start and the fade.
        std::vector<double> level;
        for (int second = 0; second < 30; ++second)
            level.push_back(rms(p.left, static_cast<std::size_t>(second) * k_rate, k_rate));
        const double loudest = *std::max_element(level.begin(), level.end());
        for (std::size_t second = 0; second < level.size(); ++second)
            EXPECT_GT(level[second], 0.2 * loudest) << s << " second " << second;
    }
}

TEST(DemoMusic, APieceKeepsToItsKey)
{
    // The energy of the twelve pitch classes from A2 to A5: the notes of the
    // key's scale hold nearly all of it.
    for (const bool minor : {false, true})
        for (int s = 0; s < k_music_styles; ++s) {
            const piece_plan plan = plan_piece(5, 1, 0, static_cast<music_style>(s), minor);
            const pcm p = decode(render_piece(plan, 12));
            std::vector<double> chroma(12, 0.0);
            for (int semitone = 0; semitone <= 36; ++semitone)
                chroma[static_cast<std::size_t>(semitone % 12)] +=
                    energy_at(p.left, 2 * k_rate, 8 * k_rate, 110.0 * std::pow(2.0, semitone / 12.0));
            const std::set<int> scale = plan.minor ? std::set<int>{0, 2, 3, 5, 7, 8, 10} : std::set<int>{0, 2, 4, 5, 7, 9, 11};
            double in = 0.0;
            double all = 0.0;
            for (int pc = 0; pc < 12; ++pc) {
                all += chroma[static_cast<std::size_t>(pc)];
                if (scale.count(((pc - plan.key) % 12 + 12) % 12) != 0)
                    in += chroma[static_cast<std::size_t>(pc)];
            }
            EXPECT_GT(in / all, 0.9) << "style " << s << (plan.minor ? " minor" : " major");
        }
}

TEST(DemoMusic, TheTracksOfAnAlbumDifferInKeyTempoOrHarmony)
{
    std::set<std::uint32_t> melodies;
    for (int album = 1; album <= 14; ++album) {
        std::set<std::tuple<int, bool, int, int, int>> seen;
        for (int track = 1; track <= 6; ++track) {
            const piece_plan p = plan_piece(album, track, album % 12, static_cast<music_style>(album % k_music_styles), album % 3 == 0);
            EXPECT_TRUE(seen.insert({p.key, p.minor, p.bpm, p.verse, p.bridge}).second) << album << "/" << track;
            EXPECT_TRUE(melodies.insert(p.melody_seed).second) << album << "/" << track;
            EXPECT_NE(p.verse, p.bridge);
            EXPECT_GE(p.key, 0);
            EXPECT_LT(p.key, 12);
            EXPECT_GE(p.bpm, 60);
            EXPECT_LE(p.bpm, 140);
        }
    }
}

TEST(DemoMusic, TwoTracksSoundDifferent)
{
    // Their levels over time differ, not only their bytes.
    const pcm a = decode(render_piece(plan_piece(1, 1, 3, music_style::lounge, false), 10));
    const pcm b = decode(render_piece(plan_piece(1, 2, 3, music_style::lounge, false), 10));
    double differ = 0.0;
    for (int tenth = 0; tenth < 100; ++tenth)
        differ += std::fabs(rms(a.left, static_cast<std::size_t>(tenth) * k_rate / 10, k_rate / 10) -
                            rms(b.left, static_cast<std::size_t>(tenth) * k_rate / 10, k_rate / 10));
    EXPECT_GT(differ / 100.0, 300.0);
}

}   // namespace
