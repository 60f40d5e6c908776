// Runs a fuzz target without libFuzzer: every seed of its corpus folder (and
// any the target offers in its code) as it stands, then for a fixed number of
// rounds random inputs and mutations of those seeds.
//
//   <target> [rounds] [corpus folder]
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
// A target may offer seeds in its code; the corpus folder is the place for them.
extern "C" [[gnu::weak]] std::size_t zerka_fuzz_seed_count() { return 0; }
extern "C" [[gnu::weak]] const char *zerka_fuzz_seed(std::size_t, std::size_t *len)
{
    *len = 0;
    return "";
}

namespace {

// The files of a corpus folder, in name order.
std::vector<std::string> read_corpus(const char *dir)
{
    std::vector<std::filesystem::path> names;
    std::error_code ec;
    for (const auto &e : std::filesystem::directory_iterator(dir, ec))
        if (e.is_regular_file())
            names.push_back(e.path());
    std::sort(names.begin(), names.end());
    std::vector<std::string> seeds;
    for (const auto &n : names) {
        std::ifstream in(n, std::ios::binary);
        seeds.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    return seeds;
}

void run(const std::vector<std::uint8_t> &buf) { LLVMFuzzerTestOneInput(buf.data(), buf.size()); }

}   // namespace

int main(int argc, char **argv)
{
    const long rounds = argc > 1 ? std::atol(argv[1]) : 10000;
    std::vector<std::string> seeds = argc > 2 ? read_corpus(argv[2]) : std::vector<std::string>{};
    for (std::size_t i = 0; i < zerka_fuzz_seed_count(); ++i) {
        std::size_t len = 0;
        const char *seed = zerka_fuzz_seed(i, &len);
        seeds.emplace_back(seed, len);
    }
    std::mt19937 rng(12345);
    std::vector<std::uint8_t> buf;
    for (const std::string &seed : seeds)
        run(std::vector<std::uint8_t>(seed.begin(), seed.end()));
    for (long i = 0; i < rounds; ++i) {
        buf.clear();
        if (!seeds.empty() && i % 2 == 0) {
            const std::string &seed = seeds[static_cast<std::size_t>(i / 2) % seeds.size()];
            buf.assign(seed.begin(), seed.end());
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
        run(buf);
    }
    return 0;
}
