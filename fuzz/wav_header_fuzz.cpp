// Fuzzes the WAV header reader and the glitch scan behind it: whatever the
// bytes, the header is read from the first 44 only, and the fast scan finds
// what the plain walk finds, for the header's data size and for sizes around it.
#include "reports/glitch.hpp"
#include "reports/wav_file.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

std::int64_t scan(std::vector<std::uint8_t> &bytes, bool fast, std::int64_t size)
{
    std::FILE *f = fmemopen(bytes.data(), bytes.size() - 1, "rb");
    if (f == nullptr)
        return -2;   // fmemopen refuses an empty buffer on some libraries
    const wav_header h = read_wav_header(f);
    if (h.kind != wav_header_kind::riff)
        size = -1;
    const std::int64_t r = fast ? detect_glitch(1, 1, f, size) : detect_glitch_plain(f, size);
    std::fclose(f);
    return r;
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const wav_header h = parse_wav_header(data, size);
    if (size < 44 && h.kind != wav_header_kind::short_file)
        std::abort();
    if (size >= 44 && (h.kind == wav_header_kind::riff) != (std::memcmp(data, "RIFF", 4) == 0))
        std::abort();
    // The audio after the header, repeated so that runs can grow past the limit.
    std::vector<std::uint8_t> bytes(data, data + size);
    if (size > 44) {
        const std::size_t body = size - 44;
        while (bytes.size() < 44 + 6000)
            bytes.push_back(data[44 + (bytes.size() - 44) % body]);
    }
    bytes.push_back(0);   // room fmemopen wants; left out of the stream
    const std::int64_t sizes[] = {h.data_size, static_cast<std::int64_t>(bytes.size()) - 45,
                                  static_cast<std::int64_t>(size) * 3 - 1};
    for (const std::int64_t s : sizes)
        if (scan(bytes, true, s) != scan(bytes, false, s))
            std::abort();
    return 0;
}
