#include "reports/glitch.hpp"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace {

// Frames looked at in one go. While a channel's run count plus this stays
// within the limit, no run can pass the limit inside the stretch, and only the
// state at its end matters: that is found by looking back from the end.
constexpr std::size_t k_stretch = 512;
static_assert(k_stretch <= k_glitch_run);
// Near the limit a long run is walked frame by frame, this many at a time,
// until it breaks and whole stretches can be settled again.
constexpr std::size_t k_least_settle = 32;

// Whether a sample takes part in runs: clearly audible but not at or near clipping.
constexpr bool counted(int v)
{
    return (v > k_glitch_quiet && v <= k_glitch_loud) || (v >= -k_glitch_loud && v < -k_glitch_quiet);
}

// The same test in 16-bit arithmetic, as the vector units do it: the magnitude
// (32768 for -32768) less 101 falls in 0..31998 exactly for counted samples.
constexpr bool counted16(std::int16_t v)
{
    const auto u = static_cast<std::uint16_t>(v);
    const auto mag = static_cast<std::uint16_t>(v < 0 ? static_cast<std::uint16_t>(0u - u) : u);
    return static_cast<std::uint16_t>(mag - (k_glitch_quiet + 1)) <= k_glitch_loud - (k_glitch_quiet + 1);
}
static_assert(counted16(101) && counted16(-101) && counted16(32099) && counted16(-32099));
static_assert(!counted16(100) && !counted16(-100) && !counted16(0) && !counted16(32100) && !counted16(-32100));
static_assert(!counted16(32767) && !counted16(-32768));

// The last counted value of one channel and how often it has repeated since.
struct channel_run {
    int last = 0;
    int run = 0;
};

// Takes frames one by one; the 1-based frame at which a run passed the limit, or 0.
std::size_t walk_frames(channel_run (&ch)[2], const std::int16_t *s, std::size_t frames)
{
    for (std::size_t i = 0; i < frames; ++i) {
        for (int c = 0; c < 2; ++c) {
            const int v = s[2 * i + static_cast<std::size_t>(c)];
            if (!counted(v))
                continue;
            if (v == ch[c].last) {
                ++ch[c].run;
            } else {
                ch[c].run = 0;
                ch[c].last = v;
            }
        }
        if (ch[0].run > k_glitch_run || ch[1].run > k_glitch_run)
            return i + 1;
    }
    return 0;
}

// Whether a whole stretch (both channels) holds no counted sample: one pass
// the compiler turns into vector instructions, since the length is fixed.
bool stretch_is_quiet(const std::int16_t *s)
{
    unsigned any = 0;
    for (std::size_t i = 0; i < 2 * k_stretch; ++i)
        any |= counted16(s[i]) ? 1u : 0u;
    return any == 0;
}

// Brings one channel's run to the end of a stretch in which it cannot pass the
// limit. s points at the channel's first sample; its samples are two apart.
void settle_channel(channel_run &ch, const std::int16_t *s, std::size_t frames)
{
    std::size_t i = frames;
    while (i > 0 && !counted(s[2 * (i - 1)]))
        --i;
    if (i == 0)
        return;   // nothing counted: the run stands as it was
    const int last = s[2 * (i - 1)];
    int same = 1;   // counted samples equal to last, from the end back
    for (--i; i > 0; --i) {
        const int v = s[2 * (i - 1)];
        if (!counted(v))
            continue;
        if (v != last) {
            ch.last = last;
            ch.run = same - 1;
            return;
        }
        ++same;
    }
    // Every counted sample of the stretch equals last: it goes on the run before it, or starts one.
    if (last == ch.last) {
        ch.run += same;
    } else {
        ch.last = last;
        ch.run = same - 1;
    }
}

// Little-endian samples as read into host order.
void to_host_order(std::int16_t *s, std::size_t n)
{
    if constexpr (std::endian::native == std::endian::big) {
        for (std::size_t i = 0; i < n; ++i) {
            const auto u = static_cast<std::uint16_t>(s[i]);
            s[i] = static_cast<std::int16_t>(static_cast<std::uint16_t>((u >> 8) | (u << 8)));
        }
    } else {
        (void)s;
        (void)n;
    }
}

}   // namespace

std::int64_t detect_glitch(int, int, std::FILE *file, std::int64_t data_size)
{
    // Pair k (n = 2k samples) is looked at only while n * 2 stays within the data size.
    const std::int64_t max_pairs = data_size < 0 ? 0 : data_size / 4;
    std::int16_t buf[k_glitch_block + 1];
    std::size_t carry = 0;   // an unpaired sample left at buf[0] by a short read
    channel_run ch[2];
    std::int64_t pairs = 0;
    while (pairs < max_pairs) {
        const std::size_t got = std::fread(buf + carry, sizeof buf[0], k_glitch_block, file);
        if (got == 0)
            break;
        to_host_order(buf + carry, got);
        const std::size_t samples = carry + got;
        const auto frames = static_cast<std::size_t>(std::min<std::int64_t>(
            static_cast<std::int64_t>(samples / 2), max_pairs - pairs));
        for (std::size_t at = 0; at < frames;) {
            // Frames in which neither run can pass the limit.
            const auto room = static_cast<std::size_t>(k_glitch_run - std::max(ch[0].run, ch[1].run));
            std::size_t len = std::min(k_stretch, frames - at);
            const std::int16_t *s = buf + 2 * at;
            if (room >= len || room >= k_least_settle) {
                len = std::min(len, room);
                if (len != k_stretch || !stretch_is_quiet(s)) {
                    settle_channel(ch[0], s, len);
                    settle_channel(ch[1], s + 1, len);
                }
            } else {
                len = std::min(len, k_least_settle);
                if (const std::size_t hit = walk_frames(ch, s, len); hit != 0)
                    return 2 * (pairs + static_cast<std::int64_t>(at + hit));
            }
            at += len;
        }
        pairs += static_cast<std::int64_t>(frames);
        carry = samples % 2;
        if (carry != 0)
            buf[0] = buf[samples - 1];
    }
    return -1;
}

std::int64_t detect_glitch_plain(std::FILE *file, std::int64_t data_size)
{
    unsigned char block[k_glitch_block * 2];
    int last[2] = {0, 0};
    int run[2] = {0, 0};
    std::int64_t n = 0;
    while (n * 2 <= data_size) {
        const std::size_t got = std::fread(block, 2, k_glitch_block, file);
        if (got == 0)
            break;
        for (std::size_t i = 0; i + 1 < got; i += 2) {
            n += 2;
            if (n * 2 > data_size)
                return -1;
            for (int ch = 0; ch < 2; ++ch) {
                const unsigned char *p = block + (i + static_cast<std::size_t>(ch)) * 2;
                const int v = static_cast<std::int16_t>(static_cast<std::uint16_t>(p[0] | (p[1] << 8)));
                if (!counted(v))
                    continue;
                if (v == last[ch]) {
                    ++run[ch];
                } else {
                    run[ch] = 0;
                    last[ch] = v;
                }
            }
            if (run[0] > k_glitch_run || run[1] > k_glitch_run)
                return n;
        }
    }
    return -1;
}
