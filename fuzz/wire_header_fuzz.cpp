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
