#include "reports/glitch.hpp"

#include <cstddef>

namespace {

constexpr std::size_t k_block_samples = 8192;   // samples read at a time (16 KiB)
constexpr int k_run_limit = 1000;               // a run longer than this is a glitch

// Whether a sample takes part in runs: clearly audible but not at or near clipping.
constexpr bool counted(int v) { return (v > 100 && v <= 32099) || (v >= -32099 && v < -100); }

}   // namespace

std::int64_t detect_glitch(int, int, std::FILE *file, std::int64_t data_size)
{
    unsigned char block[k_block_samples * 2];
    int last[2] = {0, 0};
    int run[2] = {0, 0};
    std::int64_t n = 0;
    while (n * 2 <= data_size) {
        const std::size_t got = std::fread(block, 2, k_block_samples, file);
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
            if (run[0] > k_run_limit || run[1] > k_run_limit)
                return n;
        }
    }
    return -1;
}
