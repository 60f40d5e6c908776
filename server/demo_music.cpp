#include "server/demo_music.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <map>
#include <numbers>
#include <tuple>
#include <vector>

namespace {

constexpr int k_rate = 44100;
constexpr double k_two_pi = 2.0 * std::numbers::pi;
constexpr double k_peak = 0.8;   // the loudest sample, as a share of full scale

// A small deterministic generator (xorshift).
struct rng32 {
    std::uint32_t s;
    std::uint32_t next()
    {
        s ^= s << 13;
        s ^= s >> 17;
        s ^= s << 5;
        return s;
    }
    int below(int n) { return static_cast<int>(next() % static_cast<std::uint32_t>(n)); }
    double unit() { return static_cast<double>(next() >> 8) / 16777216.0; }   // [0, 1)
};

std::uint32_t mix_seed(std::uint32_t a, std::uint32_t b)
{
    std::uint32_t h = a * 0x9E3779B1u ^ (b + 0x7F4A7C15u + (a << 6) + (a >> 2));
    return h != 0 ? h : 1;
}

// ---- harmony --------------------------------------------------------------------------------------

constexpr std::array<int, 7> k_major = {0, 2, 4, 5, 7, 9, 11};
constexpr std::array<int, 7> k_minor = {0, 2, 3, 5, 7, 8, 10};

// Chord progressions of four bars, as scale degrees of the chords' roots.
constexpr std::array<std::array<int, 4>, 8> k_progressions = {{
    {0, 4, 5, 3},   // I V vi IV
    {0, 5, 3, 4},   // I vi IV V
    {5, 3, 0, 4},   // vi IV I V
    {0, 3, 4, 3},   // I IV V IV
    {1, 4, 0, 5},   // ii V I vi
    {0, 2, 3, 4},   // I iii IV V
    {3, 0, 4, 5},   // IV I V vi
    {0, 3, 5, 4},   // I IV vi V
}};
constexpr int k_progression_count = static_cast<int>(k_progressions.size());

int floor_div(int a, int b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }

// A scale degree (any integer; sevens are octaves) as semitones above the tonic.
int semitones(int degree, bool minor)
{
    const auto &scale = minor ? k_minor : k_major;
    const int octave = floor_div(degree, 7);
    return 12 * octave + scale[static_cast<std::size_t>(degree - 7 * octave)];
}

// Whether a degree belongs to the key's pentatonic scale (the melody's notes between chord tones).
bool pentatonic(int degree, bool minor)
{
    const int d = degree - 7 * floor_div(degree, 7);
    return minor ? (d != 1 && d != 5) : (d != 3 && d != 6);
}

// ---- instruments ----------------------------------------------------------------------------------

enum class instrument : std::uint8_t { pluck, epiano, flute, pad, bass, marimba, bell, kick, hat };

double hz(double semitones_above_a2) { return 110.0 * std::pow(2.0, semitones_above_a2 / 12.0); }

int frames_of(double seconds) { return static_cast<int>(seconds * k_rate); }

// A linear fade over the last `frames` samples of a note, so that it ends without a click.
void fade_tail(std::vector<float> &v, int frames)
{
    const int n = static_cast<int>(v.size());
    frames = std::min(frames, n);
    for (int i = 0; i < frames; ++i)
        v[static_cast<std::size_t>(n - 1 - i)] *= static_cast<float>(i) / static_cast<float>(frames);
}

// A plucked string (Karplus-Strong): a burst of soft noise circulating in a
// delay line one period long, averaged on every pass. It rings past the note.
void pluck(std::vector<float> &y, double f, int frames, std::uint32_t seed)
{
    const int length = std::max(frames, frames_of(1.1)) + frames_of(0.2);
    y.assign(static_cast<std::size_t>(length), 0.0f);
    const double period = k_rate / f - 0.5;   // the average adds half a sample
    const int whole = static_cast<int>(period);
    const double frac = period - whole;
    rng32 r{seed};
    double lp = 0.0;
    double lp2 = 0.0;
    const int burst = std::min(whole + 1, length);
    double mean = 0.0;
    for (int i = 0; i < burst; ++i) {
        lp += 0.5 * ((r.unit() * 2.0 - 1.0) - lp);
        lp2 += 0.5 * (lp - lp2);
        y[static_cast<std::size_t>(i)] = static_cast<float>(lp2 * 1.6);
        mean += lp2 * 1.6 / burst;
    }
    for (int i = 0; i < burst; ++i)   // no offset to circulate
        y[static_cast<std::size_t>(i)] -= static_cast<float>(mean);
    constexpr double decay = 0.996;
    for (int i = burst; i < length; ++i) {
        const auto at = [&](int k) { return k >= 1 ? 0.5 * (y[static_cast<std::size_t>(k)] + y[static_cast<std::size_t>(k - 1)]) : 0.0; };
        const double a = at(i - whole);
        const double b = at(i - whole - 1);
        y[static_cast<std::size_t>(i)] = static_cast<float>(decay * ((1.0 - frac) * a + frac * b));
    }
    fade_tail(y, frames_of(0.2));
}

// One cycle of a waveform, read with linear interpolation: the instruments
// run on tables rather than calling sin for every sample of every partial.
struct wave_table {
    static constexpr int k_bits = 12;
    static constexpr int k_size = 1 << k_bits;
    std::array<float, k_size + 1> v{};

    // A table of harmonics: amplitude[n] for harmonic n + 1.
    template <std::size_t N>
    explicit wave_table(const std::array<double, N> &amplitude)
    {
        for (int i = 0; i <= k_size; ++i) {
            double x = 0.0;
            for (std::size_t n = 0; n < N; ++n)
                x += amplitude[n] * std::sin(k_two_pi * static_cast<double>(n + 1) * i / k_size);
            v[static_cast<std::size_t>(i)] = static_cast<float>(x);
        }
    }

    // The value at a phase counted in 1/2^32 of a cycle.
    float at(std::uint32_t phase) const
    {
        const std::uint32_t i = phase >> (32 - k_bits);
        const float f = static_cast<float>(phase & ((1u << (32 - k_bits)) - 1)) * (1.0f / (1u << (32 - k_bits)));
        return v[i] + f * (v[i + 1] - v[i]);
    }
};

const wave_table &sine()
{
    static const wave_table t(std::array<double, 1>{1.0});
    return t;
}

// The phase step of a frequency, in 1/2^32 of a cycle a sample (a phase wraps by itself).
std::uint32_t phase_step(double hz)
{
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(std::llround(hz / k_rate * 4294967296.0)));
}

// The factor that makes a level fall to 1/e in `seconds`, applied once a sample.
float decay_per_sample(double seconds) { return static_cast<float>(std::exp(-1.0 / (seconds * k_rate))); }

// A rising edge over `seconds`, as a step a sample.
float rise_per_sample(double seconds) { return static_cast<float>(1.0 / (seconds * k_rate)); }

// An electric piano: two-operator FM whose brightness fades as the note rings.
void epiano(std::vector<float> &y, double f, int frames)
{
    const int length = frames + frames_of(0.25);
    y.assign(static_cast<std::size_t>(length), 0.0f);
    const wave_table &w = sine();
    const std::uint32_t step = phase_step(f);
    const std::uint32_t tine_step = phase_step(7.0 * f);
    const float d_env = decay_per_sample(0.9);
    const float d_index = decay_per_sample(0.3);
    const float d_tine = decay_per_sample(0.05);
    const float attack = rise_per_sample(0.003);
    float env = 1.0f;
    float index = 1.1f;
    float tine = 0.12f;
    std::uint32_t phase = 0;
    std::uint32_t tine_phase = 0;
    for (int i = 0; i < length; ++i) {
        const float mod = (0.2f + index) * static_cast<float>(1.0 / k_two_pi) * w.at(phase);
        const auto shift = static_cast<std::uint32_t>(static_cast<std::int64_t>(mod * 4294967296.0f));
        y[static_cast<std::size_t>(i)] = std::min(1.0f, i * attack) * env * (w.at(phase + shift) + tine * w.at(tine_phase));
        phase += step;
        tine_phase += tine_step;
        env *= d_env;
        index *= d_index;
        tine *= d_tine;
    }
    fade_tail(y, frames_of(0.25));
}

// A soft flute-like lead: a few harmonics, a slow attack and a gentle vibrato.
void flute(std::vector<float> &y, double f, int frames)
{
    static const wave_table tone(std::array<double, 3>{1.0, 0.25, 0.08});
    const int length = frames + frames_of(0.12);
    y.assign(static_cast<std::size_t>(length), 0.0f);
    const wave_table &w = sine();
    const double step = f / k_rate * 4294967296.0;
    const std::uint32_t vibrato_step = phase_step(5.0);
    const float attack = rise_per_sample(0.06);
    std::uint32_t phase = 0;
    std::uint32_t vibrato = 0;
    for (int i = 0; i < length; ++i) {
        const double t = static_cast<double>(i) / k_rate;
        const double depth = 0.004 * std::clamp((t - 0.15) / 0.3, 0.0, 1.0);
        y[static_cast<std::size_t>(i)] = std::min(1.0f, i * attack) * tone.at(phase);
        phase += static_cast<std::uint32_t>(step * (1.0 + depth * w.at(vibrato)));
        vibrato += vibrato_step;
    }
    fade_tail(y, frames_of(0.12));
}

// A warm pad: harmonics falling off gently, a slow swell and a long release.
void pad(std::vector<float> &y, double f, int frames)
{
    static const wave_table tone(std::array<double, 5>{1.0, 0.38, 0.21, 0.14, 0.1});
    const int length = frames + frames_of(0.7);
    y.assign(static_cast<std::size_t>(length), 0.0f);
    const std::uint32_t step = phase_step(f);
    const int swell = std::min(length, frames_of(0.35));
    const float rise = rise_per_sample(0.35);
    std::uint32_t phase = 0;
    for (int i = 0; i < swell; ++i, phase += step)
        y[static_cast<std::size_t>(i)] = static_cast<float>(i) * rise * tone.at(phase);
    for (int i = swell; i < length; ++i, phase += step)
        y[static_cast<std::size_t>(i)] = tone.at(phase);
    fade_tail(y, frames_of(0.7));
}

// A round bass: the fundamental with a little of its next two harmonics.
void bass(std::vector<float> &y, double f, int frames)
{
    static const wave_table tone(std::array<double, 3>{1.0, 0.35, 0.12});
    const int length = frames + frames_of(0.08);
    y.assign(static_cast<std::size_t>(length), 0.0f);
    const std::uint32_t step = phase_step(f);
    const float d = decay_per_sample(0.4);
    const float attack = rise_per_sample(0.006);
    float fall = 1.0f;
    std::uint32_t phase = 0;
    for (int i = 0; i < length; ++i, phase += step) {
        y[static_cast<std::size_t>(i)] = std::min(1.0f, i * attack) * (0.5f + 0.5f * fall) * tone.at(phase);
        fall *= d;
    }
    fade_tail(y, frames_of(0.08));
}

// A marimba: a wooden fundamental and a quickly fading overtone near four times it.
void marimba(std::vector<float> &y, double f, int frames)
{
    const int length = std::max(frames, frames_of(0.7)) + frames_of(0.1);
    y.assign(static_cast<std::size_t>(length), 0.0f);
    const wave_table &w = sine();
    const std::uint32_t step = phase_step(f);
    const std::uint32_t over_step = phase_step(3.93 * f);
    const float d1 = decay_per_sample(0.35);
    const float d2 = decay_per_sample(0.06);
    const float attack = rise_per_sample(0.002);
    float a1 = 1.0f;
    float a2 = 0.25f;
    std::uint32_t phase = 0;
    std::uint32_t over = 0;
    for (int i = 0; i < length; ++i, phase += step, over += over_step) {
        y[static_cast<std::size_t>(i)] = std::min(1.0f, i * attack) * (a1 * w.at(phase) + a2 * w.at(over));
        a1 *= d1;
        a2 *= d2;
    }
    fade_tail(y, frames_of(0.1));
}

// A bell: inharmonic partials, the higher ones fading sooner.
void bell(std::vector<float> &y, double f, int frames)
{
    constexpr std::array<double, 5> ratio = {1.0, 2.0, 3.0, 4.2, 5.4};
    constexpr std::array<double, 5> amp = {1.0, 0.45, 0.25, 0.12, 0.06};
    constexpr std::array<double, 5> decay = {1.4, 0.8, 0.5, 0.3, 0.2};
    const int length = std::max(frames, frames_of(1.2)) + frames_of(0.2);
    y.assign(static_cast<std::size_t>(length), 0.0f);
    const wave_table &w = sine();
    const float attack = rise_per_sample(0.002);
    for (std::size_t n = 0; n < ratio.size(); ++n) {
        if (f * ratio[n] >= 12000.0)
            continue;
        const std::uint32_t step = phase_step(f * ratio[n]);
        const float fall = decay_per_sample(decay[n]);
        auto level = static_cast<float>(amp[n]);
        std::uint32_t phase = 0;
        for (int i = 0; i < length; ++i, phase += step) {
            y[static_cast<std::size_t>(i)] += std::min(1.0f, i * attack) * level * w.at(phase);
            level *= fall;
        }
    }
    fade_tail(y, frames_of(0.2));
}

// A soft kick drum: a falling sine.
void kick(std::vector<float> &y)
{
    const int length = frames_of(0.35);
    y.assign(static_cast<std::size_t>(length), 0.0f);
    double phase = 0.0;
    for (int i = 0; i < length; ++i) {
        const double t = static_cast<double>(i) / k_rate;
        phase += k_two_pi * (48.0 + 80.0 * std::exp(-t / 0.035)) / k_rate;
        y[static_cast<std::size_t>(i)] = static_cast<float>(std::exp(-t / 0.16) * std::sin(phase));
    }
    fade_tail(y, frames_of(0.05));
}

// A closed hi-hat, brushed: a short burst of bright noise.
void hat(std::vector<float> &y)
{
    const int length = frames_of(0.09);
    y.assign(static_cast<std::size_t>(length), 0.0f);
    rng32 r{0x5EED};
    double prev = 0.0;
    for (int i = 0; i < length; ++i) {
        const double t = static_cast<double>(i) / k_rate;
        const double x = r.unit() * 2.0 - 1.0;
        y[static_cast<std::size_t>(i)] = static_cast<float>((x - prev) * 0.5 * std::exp(-t / 0.025));
        prev = x;
    }
    fade_tail(y, frames_of(0.02));
}

// ---- the band and the mix --------------------------------------------------------------------------

// The notes of one piece, rendered once each and mixed wherever they play.
// Its buffers are kept from piece to piece on each thread, so that the pages
// of a few hundred megabytes of music are not asked of the system again and again.
struct mixer {
    std::vector<float> left;
    std::vector<float> right;
    std::map<std::tuple<instrument, int, int>, std::vector<float>> cache;   // (instrument, cents, frames)
    std::vector<std::vector<float>> spare;                                  // note buffers of earlier pieces

    // Starts a piece of `frames` samples.
    void begin(int frames)
    {
        left.assign(static_cast<std::size_t>(frames), 0.0f);
        right.assign(static_cast<std::size_t>(frames), 0.0f);
        for (auto &[key, v] : cache)
            spare.push_back(std::move(v));
        cache.clear();
    }

    const std::vector<float> &note(instrument what, int cents, int frames)
    {
        const auto key = std::make_tuple(what, cents, frames);
        auto it = cache.find(key);
        if (it != cache.end())
            return it->second;
        std::vector<float> v;
        if (!spare.empty()) {
            v = std::move(spare.back());
            spare.pop_back();
        }
        const double f = hz(cents / 100.0);
        switch (what) {
        case instrument::pluck: pluck(v, f, frames, mix_seed(static_cast<std::uint32_t>(cents), 77)); break;
        case instrument::epiano: epiano(v, f, frames); break;
        case instrument::flute: flute(v, f, frames); break;
        case instrument::pad: pad(v, f, frames); break;
        case instrument::bass: bass(v, f, frames); break;
        case instrument::marimba: marimba(v, f, frames); break;
        case instrument::bell: bell(v, f, frames); break;
        case instrument::kick: kick(v); break;
        case instrument::hat: hat(v); break;
        }
        return cache.emplace(key, std::move(v)).first->second;
    }

    // Adds a note at `start` with a level and a place between left (-1) and right (1).
    void play(instrument what, double semis, int start, int frames, double level, double pan)
    {
        if (start < 0 || start >= static_cast<int>(left.size()) || frames <= 0)
            return;
        const std::vector<float> &v = note(what, static_cast<int>(std::lround(semis * 100.0)), frames);
        const auto gl = static_cast<float>(level * std::sqrt(0.5 * (1.0 - pan)));
        const auto gr = static_cast<float>(level * std::sqrt(0.5 * (1.0 + pan)));
        const std::size_t n = std::min(v.size(), left.size() - static_cast<std::size_t>(start));
        add_scaled(left.data() + start, right.data() + start, v.data(), n, gl, gr);
    }

    // The innermost loop of the whole library, four samples at a time.
    static void add_scaled(float *l, float *r, const float *src, std::size_t n, float gl, float gr)
    {
        using v4 = float __attribute__((vector_size(16)));
        const v4 vl = {gl, gl, gl, gl};
        const v4 vr = {gr, gr, gr, gr};
        std::size_t i = 0;
        for (; i + 4 <= n; i += 4) {
            v4 s;
            v4 a;
            v4 b;
            std::memcpy(&s, src + i, sizeof s);
            std::memcpy(&a, l + i, sizeof a);
            std::memcpy(&b, r + i, sizeof b);
            a += vl * s;
            b += vr * s;
            std::memcpy(l + i, &a, sizeof a);
            std::memcpy(r + i, &b, sizeof b);
        }
        for (; i < n; ++i) {
            l[i] += gl * src[i];
            r[i] += gr * src[i];
        }
    }
};

// One note of a melody: where it starts in its section (beats), how long it lasts, its degree (none: a rest).
struct melody_note {
    double beat;
    double beats;
    int degree;
    bool rest;
};

// Rhythms of one bar, in beats.
constexpr std::array<std::array<double, 6>, 8> k_rhythms = {{
    {1, 1, 1, 1, 0, 0},
    {1.5, 0.5, 1, 1, 0, 0},
    {0.5, 0.5, 1, 2, 0, 0},
    {2, 1, 1, 0, 0, 0},
    {1, 0.5, 0.5, 1, 1, 0},
    {1, 1, 2, 0, 0, 0},
    {0.5, 0.5, 0.5, 0.5, 1, 1},
    {1, 0.5, 0.5, 2, 0, 0},
}};
constexpr std::array<std::array<double, 6>, 3> k_closing_rhythms = {{
    {2, 2, 0, 0, 0, 0},
    {3, 1, 0, 0, 0, 0},
    {1, 1, 2, 0, 0, 0},
}};

// The chord tone of a chord (root degree) nearest to a degree.
int nearest_chord_tone(int root, int near, rng32 &r)
{
    int best = root;
    int best_distance = 1000;
    for (int octave = -3; octave <= 3; ++octave)
        for (const int step : {0, 2, 4}) {
            const int d = root + step + 7 * octave;
            const int distance = std::abs(d - near) * 2 + (r.below(3) == 0 ? 1 : 0);
            if (distance < best_distance) {
                best = d;
                best_distance = distance;
            }
        }
    return best;
}

// A melody over four bars of chords: chord tones on the strong beats, steps of
// the pentatonic scale between them, ending on the last chord's root.
std::vector<melody_note> compose_melody(const std::array<int, 4> &chords, bool minor, std::uint32_t seed, int low, int high)
{
    rng32 r{seed};
    std::vector<melody_note> out;
    int cur = (low + high) / 2;
    for (int bar = 0; bar < 4; ++bar) {
        const auto &rhythm = bar == 3 ? k_closing_rhythms[static_cast<std::size_t>(r.below(3))]
                                      : k_rhythms[static_cast<std::size_t>(r.below(static_cast<int>(k_rhythms.size())))];
        double beat = 0.0;
        for (std::size_t i = 0; i < rhythm.size() && rhythm[i] > 0.0; ++i) {
            const bool last = bar == 3 && (i + 1 == rhythm.size() || rhythm[i + 1] == 0.0);
            const bool strong = std::fmod(beat, 2.0) == 0.0;
            const int chord = chords[static_cast<std::size_t>(bar)];
            if (last) {
                cur = nearest_chord_tone(chord, cur, r);
                cur = cur - ((cur - chord) - 7 * floor_div(cur - chord, 7));   // the root itself
                if (cur < low)
                    cur += 7;
            } else if (strong) {
                cur = nearest_chord_tone(chord, cur + (r.below(3) - 1) * 2, r);
            } else {
                constexpr int steps[] = {-2, -1, -1, 1, 1, 2};
                int step = steps[r.below(6)];
                if ((cur + step > high) || (cur + step < low))
                    step = -step;
                cur += step;
                if (!pentatonic(cur, minor))
                    cur += step > 0 ? 1 : -1;
            }
            cur = std::clamp(cur, low, high);
            const bool rest = !last && i > 0 && r.below(12) == 0;
            out.push_back({.beat = bar * 4.0 + beat, .beats = rhythm[i], .degree = cur, .rest = rest});
            beat += rhythm[i];
        }
    }
    return out;
}

// What a bar plays.
enum class bar_kind : std::uint8_t { intro, verse, verse_again, bridge, ending };

struct bar_plan {
    bar_kind kind;
    int chord;        // root degree
    int in_section;   // 0..3
};

// The bars of a piece: an intro, then verses, a varied verse, a bridge and a
// verse again, round and round; the last bar rests on the tonic.
std::vector<bar_plan> form(const piece_plan &p, int bars)
{
    const auto &verse = k_progressions[static_cast<std::size_t>(p.verse)];
    const auto &bridge = k_progressions[static_cast<std::size_t>(p.bridge)];
    std::vector<bar_plan> out;
    const int intro = bars >= 8 ? 2 : 0;
    for (int b = 0; b < bars; ++b) {
        if (b == bars - 1 && bars > 1) {
            out.push_back({bar_kind::ending, 0, 0});
            continue;
        }
        if (b < intro) {
            out.push_back({bar_kind::intro, verse[static_cast<std::size_t>(b % 4)], b % 4});
            continue;
        }
        const int k = b - intro;
        const int section = (k / 4) % 4;   // verse, verse again, bridge, verse
        const int in = k % 4;
        if (section == 2)
            out.push_back({bar_kind::bridge, bridge[static_cast<std::size_t>(in)], in});
        else
            out.push_back({section == 1 ? bar_kind::verse_again : bar_kind::verse, verse[static_cast<std::size_t>(in)], in});
    }
    return out;
}

// Who plays what in a style.
struct band {
    instrument lead;
    double lead_level;
    bool arpeggio;        // eighth-note broken chords
    instrument arp;
    bool pad;             // held chords
    bool comp;            // chords on beats two and four
    int bass_pattern;     // 0 root and fifth, 1 walking, 2 eighth pulse, 3 held roots
};

band band_of(music_style s)
{
    switch (s) {
    case music_style::folk: return {instrument::pluck, 0.42, true, instrument::pluck, false, false, 0};
    case music_style::lounge: return {instrument::epiano, 0.34, false, instrument::epiano, true, true, 1};
    case music_style::choir: return {instrument::flute, 0.26, false, instrument::pluck, true, false, 3};
    case music_style::mallets: return {instrument::marimba, 0.40, true, instrument::marimba, true, false, 0};
    case music_style::pop: return {instrument::bell, 0.26, true, instrument::pluck, true, false, 2};
    }
    return {instrument::pluck, 0.4, true, instrument::pluck, false, false, 0};
}

// A degree moved into a window of semitones above the tonic, for chords that keep close together.
double in_window(int degree, bool minor, int low)
{
    int s = semitones(degree, minor);
    while (s < low)
        s += 12;
    while (s >= low + 12)
        s -= 12;
    return s;
}

}   // namespace

piece_plan plan_piece(int album, int track, int album_key, music_style style, bool minor)
{
    constexpr int key_moves[] = {0, 5, 7, 2, 9, 4};
    constexpr int base_bpm[k_music_styles] = {92, 100, 72, 108, 116};
    piece_plan p;
    p.style = style;
    p.key = ((album_key + key_moves[track % 6]) % 12 + 12) % 12;
    p.minor = minor != (track % 5 == 4);
    p.bpm = base_bpm[static_cast<int>(style)] + ((album * 5 + track * 3) % 7 - 3) * 4;
    p.verse = (album * 3 + track) % k_progression_count;
    p.bridge = (p.verse + 3 + track % 4) % k_progression_count;
    if (p.bridge == p.verse)
        p.bridge = (p.bridge + 1) % k_progression_count;
    p.drums = (style == music_style::lounge || style == music_style::pop) && track % 3 != 0;
    p.melody_seed = mix_seed(static_cast<std::uint32_t>(album) * 7919u, static_cast<std::uint32_t>(track) * 104729u);
    return p;
}

std::string render_piece(const piece_plan &p, int seconds)
{
    std::string out;
    render_piece(p, seconds, out);
    return out;
}

void render_piece(const piece_plan &p, int seconds, std::string &out)
{
    seconds = std::max(seconds, 1);
    const int total = seconds * k_rate;
    thread_local mixer m;
    m.begin(total);
    const band b = band_of(p.style);
    const double beat = 60.0 / p.bpm * k_rate;   // frames
    const double bar = 4.0 * beat;
    const int bars = std::max(1, static_cast<int>(std::ceil(total / bar)));
    const std::vector<bar_plan> plan = form(p, bars);
    const auto &verse = k_progressions[static_cast<std::size_t>(p.verse)];
    const auto &bridge = k_progressions[static_cast<std::size_t>(p.bridge)];
    const std::vector<melody_note> verse_tune = compose_melody(verse, p.minor, p.melody_seed, 7, 16);
    std::vector<melody_note> verse_again = compose_melody(verse, p.minor, mix_seed(p.melody_seed, 2), 7, 16);
    // The verse again is the verse with a new last bar.
    verse_again.erase(std::remove_if(verse_again.begin(), verse_again.end(), [](const melody_note &n) { return n.beat < 12.0; }),
                      verse_again.end());
    for (const melody_note &n : verse_tune)
        if (n.beat < 12.0)
            verse_again.push_back(n);
    const std::vector<melody_note> bridge_tune = compose_melody(bridge, p.minor, mix_seed(p.melody_seed, 3), 9, 18);
    rng32 r{mix_seed(p.melody_seed, 4)};
    const double lead_pan = (r.unit() - 0.5) * 0.4;
    const double arp_pan = lead_pan > 0 ? -0.45 : 0.45;
    const int arp_shape = r.below(3);

    const auto at = [&](double frames) { return static_cast<int>(std::lround(frames)); };
    for (int i = 0; i < bars; ++i) {
        const bar_plan &bp = plan[static_cast<std::size_t>(i)];
        const double start = i * bar;
        const bool ending = bp.kind == bar_kind::ending;
        const int hold = ending ? total - at(start) : at(bar);
        const double key = p.key;
        // Held chords, two voices a little apart for width.
        if (b.pad || ending) {
            for (const int step : {0, 2, 4}) {
                const double s = key + in_window(bp.chord + step, p.minor, 9);
                m.play(instrument::pad, s, at(start), hold, 0.10, -0.6);
                m.play(instrument::pad, s, at(start) + k_rate / 150, hold, 0.10, 0.6);   // 7 ms later: width
            }
        }
        // Broken chords in eighths.
        if (b.arpeggio && !ending) {
            constexpr int shapes[3][8] = {{0, 2, 4, 7, 4, 2, 0, 2}, {0, 4, 2, 4, 7, 4, 2, 4}, {0, 2, 4, 2, 7, 4, 2, 4}};
            for (int e = 0; e < 8; ++e) {
                const double s = key + 12 + semitones(bp.chord + shapes[arp_shape][e], p.minor);
                m.play(b.arp, s, at(start + e * beat / 2), at(beat / 2), bp.kind == bar_kind::intro ? 0.14 : 0.17, arp_pan);
            }
        }
        // Chords on two and four.
        if (b.comp && !ending) {
            for (const int beat_no : {1, 3})
                for (const int step : {0, 2, 4})
                    m.play(b.lead, key + in_window(bp.chord + step, p.minor, 9), at(start + beat_no * beat),
                           at(beat * 0.7), 0.09, -lead_pan);
        }
        // The bass.
        const double root = key - 12 + semitones(bp.chord, p.minor) % 12;
        const double fifth = key - 12 + semitones(bp.chord + 4, p.minor) % 12;
        if (ending || b.bass_pattern == 3) {
            m.play(instrument::bass, root, at(start), hold, 0.34, 0.0);
        } else if (b.bass_pattern == 0) {
            m.play(instrument::bass, root, at(start), at(beat * 1.9), 0.36, 0.0);
            m.play(instrument::bass, fifth, at(start + 2 * beat), at(beat * 1.9), 0.30, 0.0);
        } else if (b.bass_pattern == 1) {
            const int next = plan[static_cast<std::size_t>(std::min(i + 1, bars - 1))].chord;
            const double walk[4] = {root, key - 12 + semitones(bp.chord + 2, p.minor) % 12, fifth,
                                    key - 12 + semitones(next, p.minor) % 12 + 1.0};
            for (int q = 0; q < 4; ++q)
                m.play(instrument::bass, walk[q], at(start + q * beat), at(beat * 0.9), 0.32, 0.0);
        } else {
            for (int e = 0; e < 8; ++e)
                m.play(instrument::bass, root + (e % 4 == 3 ? 12 : 0), at(start + e * beat / 2), at(beat * 0.45), 0.28, 0.0);
        }
        // Soft drums, after the intro.
        if (p.drums && !ending && bp.kind != bar_kind::intro) {
            m.play(instrument::kick, 0, at(start), 1, 0.38, 0.0);
            m.play(instrument::kick, 0, at(start + 2 * beat + (p.style == music_style::pop ? beat / 2 : 0)), 1, 0.30, 0.0);
            for (int e = 0; e < 8; ++e) {
                const double swing = p.style == music_style::lounge && e % 2 == 1 ? beat / 6 : 0.0;
                m.play(instrument::hat, 0, at(start + e * beat / 2 + swing), 1, e % 2 == 0 ? 0.10 : 0.06, 0.35);
            }
        }
        // The melody.
        const std::vector<melody_note> *tune = bp.kind == bar_kind::verse         ? &verse_tune
                                               : bp.kind == bar_kind::verse_again ? &verse_again
                                               : bp.kind == bar_kind::bridge      ? &bridge_tune
                                                                                  : nullptr;
        if (tune == nullptr && ending && bars > 1) {
            m.play(b.lead, key + 12, at(start), std::min(hold, at(bar)), b.lead_level * 0.9, lead_pan);
            continue;
        }
        if (tune == nullptr)
            continue;
        for (const melody_note &n : *tune) {
            if (n.rest || n.beat < bp.in_section * 4.0 || n.beat >= bp.in_section * 4.0 + 4.0)
                continue;
            const double s = key + semitones(n.degree, p.minor);
            m.play(b.lead, s, at(start + (n.beat - bp.in_section * 4.0) * beat), at(n.beats * beat * 0.95), b.lead_level, lead_pan);
        }
    }

    // One pass over the piece: a soft echo crossing from side to side a dotted
    // eighth behind, a gentle high-pass far below the bass (no offset from
    // zero), fades at both ends, and the loudest sample.
    const auto delay = static_cast<int>(std::lround(beat * 0.75));
    constexpr float echo = 0.2f;
    constexpr float pole = 0.9985f;   // about 10 Hz
    const int fade_in = std::min(total / 4, k_rate / 50);
    const int fade_out = std::min(total / 5, 4 * k_rate);
    float *l = m.left.data();
    float *rt = m.right.data();
    float xl = 0.0f;
    float xr = 0.0f;
    float yl = 0.0f;
    float yr = 0.0f;
    float peak = 0.0f;
    for (int i = 0; i < total; ++i) {
        float a = l[i];
        float b = rt[i];
        if (i >= delay) {
            a += echo * rt[i - delay];
            b += echo * l[i - delay];
        }
        yl = a - xl + pole * yl;
        yr = b - xr + pole * yr;
        xl = a;
        xr = b;
        float g = 1.0f;
        if (i < fade_in) {
            g = static_cast<float>(i) / static_cast<float>(fade_in);
        } else if (i >= total - fade_out) {
            const auto s = static_cast<float>(std::sin(0.5 * std::numbers::pi * (total - 1 - i) / fade_out));
            g = s * s;
        }
        l[i] = yl * g;
        rt[i] = yr * g;
        peak = std::max({peak, std::fabs(l[i]), std::fabs(rt[i])});
    }
    const float gain = peak > 0.0f ? static_cast<float>(k_peak * 32767.0) / peak : 0.0f;
    out.resize(static_cast<std::size_t>(total) * 4);
    auto *bytes = reinterpret_cast<unsigned char *>(out.data());
    const auto to_sample = [gain](float x) {
        const float v = x * gain;
        return static_cast<std::int16_t>(static_cast<int>(v + (v >= 0.0f ? 0.5f : -0.5f)));
    };
    for (int i = 0; i < total; ++i) {
        const std::int16_t a = to_sample(l[i]);
        const std::int16_t c = to_sample(rt[i]);
        bytes[4 * i] = static_cast<unsigned char>(a & 0xFF);
        bytes[4 * i + 1] = static_cast<unsigned char>((a >> 8) & 0xFF);
        bytes[4 * i + 2] = static_cast<unsigned char>(c & 0xFF);
        bytes[4 * i + 3] = static_cast<unsigned char>((c >> 8) & 0xFF);
    }
}
