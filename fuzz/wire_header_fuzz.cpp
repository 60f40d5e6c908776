// Fuzzes the wire header decoder and the framing of a stream of messages.
#include "proto/wire.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // Walk the bytes as a stream of messages, as the receiver does.
    std::size_t pos = 0;
    while (size - pos >= k_header_len) {
        wire_header h;
        if (!decode_header(reinterpret_cast<const char *>(data + pos), h))
            break;
        if (h.length > k_text_max)
            std::abort();   // the decoder must never let an oversized length through
        pos += k_header_len;
        if (size - pos < h.length)
            break;
        pos += h.length;
        char again[k_header_len + 1];
        if (!encode_header(again, h))
            std::abort();   // whatever decodes must encode again
    }
    return 0;
}

static const char *const seeds[] = {"10 0001 0002 0000 0000 ", "17 0102 0abc 0000 0005 hello38 0000 0000 0000 0000 ",
                                    "39 0000 0001 0002 0007 100 0 1"};
extern "C" std::size_t zerka_fuzz_seed_count() { return sizeof seeds / sizeof seeds[0]; }
extern "C" const char *zerka_fuzz_seed(std::size_t i, std::size_t *len)
{
    *len = std::strlen(seeds[i]);
    return seeds[i];
}
