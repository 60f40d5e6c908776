// Fuzzes the audio connection's reader: a byte stream cut into reads of varying
// sizes, reassembled message by message, and the whole-frame joiner behind it.
#include "audio/audio_frame.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static char payload[k_audio_payload_max + 1];
    static char whole[k_audio_frame_bytes + k_audio_payload_max];
    if (size == 0)
        return 0;
    // The first byte chooses the read sizes, the rest is the stream.
    const std::size_t step = 1 + data[0] % 29;
    const char *stream = reinterpret_cast<const char *>(data + 1);
    const std::size_t len = size - 1;
    audio_assembly a;
    frame_carry carry;
    std::size_t pos = 0;
    while (pos < len) {
        const std::size_t want = audio_want(a);
        if (want == 0 || want > k_audio_payload_max + k_audio_header_len)
            std::abort();   // a read is never empty and never larger than the areas
        std::size_t n = want < step ? want : step;
        if (n > len - pos)
            n = len - pos;
        std::memcpy(audio_dest(a, payload), stream + pos, n);
        pos += n;
        const audio_step s = audio_took(a, n, payload);
        if (s == audio_step::malformed || s == audio_step::too_long)
            break;
        if (s == audio_step::complete) {
            if (a.h.length > k_audio_payload_max || payload[a.h.length] != '\0')
                std::abort();
            const std::size_t w = join_frames(carry, payload, a.h.length, whole);
            if (w % k_audio_frame_bytes != 0 || carry.count >= k_audio_frame_bytes)
                std::abort();
            a = audio_assembly{};
        }
    }
    return 0;
}
