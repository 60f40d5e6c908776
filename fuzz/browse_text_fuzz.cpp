// The browser's readers of outside text and audio: length texts, the orders'
// comparisons, the substring test, the similarity measure, and the glitch
// scan over arbitrary audio bytes with an arbitrary data size.
#include "browse/chain.hpp"
#include "media/fuzzy_match.hpp"
#include "reports/glitch.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string all(reinterpret_cast<const char *>(data), size);
    const std::size_t cut = all.find('~');
    const std::string a = all.substr(0, cut).c_str();
    const std::string b = cut == std::string::npos ? std::string() : std::string(all.substr(cut + 1).c_str());
    (void)length_seconds(all);
    (void)compare_artists(a, b);
    (void)compare_folded(a, b);
    (void)contains(a.c_str(), b.c_str(), 0);
    (void)contains(a.c_str(), b.c_str(), 1);
    if (a.size() < 200 && b.size() < 200) {
        const float f = fuzzy_match(a.c_str(), b.c_str());
        if (f < 0.0f || f > 100.0f)
            __builtin_trap();
    }
    if (size > 4) {
        std::int32_t data_size;
        std::memcpy(&data_size, data, 4);
        std::FILE *f = fmemopen(const_cast<std::uint8_t *>(data + 4), size - 4, "rb");
        if (f != nullptr) {
            const std::int64_t at = detect_glitch(1, 1, f, data_size);
            std::fclose(f);
            if (at != -1 && (at < 0 || at * 2 > static_cast<std::int64_t>(size)))
                __builtin_trap();
        }
    }
    return 0;
}
