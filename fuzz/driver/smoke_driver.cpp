// Runs a fuzz target without libFuzzer: random inputs, and mutations of a few
// well-formed seeds the target may offer, for a fixed number of rounds.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
// A target may provide seeds; the default has none.
extern "C" [[gnu::weak]] std::size_t zerka_fuzz_seed_count() { return 0; }
extern "C" [[gnu::weak]] const char *zerka_fuzz_seed(std::size_t, std::size_t *len)
{
    *len = 0;
    return "";
}

int main(int argc, char **argv)
{
    const long rounds = argc > 1 ? std::atol(argv[1]) : 10000;
    std::mt19937 rng(12345);
    std::vector<std::uint8_t> buf;
    const std::size_t seeds = zerka_fuzz_seed_count();
    for (long i = 0; i < rounds; ++i) {
        buf.clear();
        if (seeds > 0 && i % 2 == 0) {
            std::size_t len = 0;
            const char *seed = zerka_fuzz_seed(static_cast<std::size_t>(i / 2) % seeds, &len);
            buf.assign(seed, seed + len);
            const int edits = 1 + static_cast<int>(rng() % 8);
            for (int e = 0; e < edits && !buf.empty(); ++e) {
                const std::size_t at = rng() % buf.size();
                switch (rng() % 4) {
                case 0: buf[at] = static_cast<std::uint8_t>(rng()); break;
                case 1: buf.erase(buf.begin() + static_cast<long>(at)); break;
                case 2: buf.insert(buf.begin() + static_cast<long>(at), static_cast<std::uint8_t>(rng())); break;
                default: buf.resize(at); break;
                }
            }
        } else {
            const std::size_t len = rng() % 300;
            for (std::size_t k = 0; k < len; ++k)
                buf.push_back(static_cast<std::uint8_t>(rng() % 4 == 0 ? "0123456789abcdef \n~:/"[rng() % 21] : rng()));
        }
        LLVMFuzzerTestOneInput(buf.data(), buf.size());
    }
    return 0;
}
