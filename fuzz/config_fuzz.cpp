// Fuzzes the configuration line reader with arbitrary file contents.
#include "core/config.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    std::FILE *f = fmemopen(const_cast<std::uint8_t *>(data), size, "r");
    if (f == nullptr)
        return 0;
    char line[k_cfg_line];
    for (const char *key : {"PASSWORD", "SERVER_MODE", "P"}) {
        std::rewind(f);
        const char *v = cfg_lookup(f, key, line);
        if (v != nullptr && (v < line || v >= line + sizeof line || strnlen(v, sizeof line) == sizeof line))
            std::abort();
    }
    std::fclose(f);
    return 0;
}

static const char *const seeds[] = {"SERVER_MODE local # c\nPASSWORD=#x\n", "   # PASSWORD\n\tPASSWORD = = a \n"};
extern "C" std::size_t zerka_fuzz_seed_count() { return sizeof seeds / sizeof seeds[0]; }
extern "C" const char *zerka_fuzz_seed(std::size_t i, std::size_t *len)
{
    *len = std::strlen(seeds[i]);
    return seeds[i];
}
