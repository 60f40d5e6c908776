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
