// Fuzzes the reader of a media file's header: the first 8 bytes give the
// file's size, the rest are its first bytes.
//
// Checked: the samples found lie inside the file and are whole frames.
#include "server/wav.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 8)
        return 0;
    std::int64_t file_size;
    std::memcpy(&file_size, data, 8);
    const std::size_t head_len = size - 8;
    if (file_size < static_cast<std::int64_t>(head_len))
        file_size = static_cast<std::int64_t>(head_len);   // the bytes read are in the file
    wav_layout w{};
    if (!wav_parse_layout(data + 8, head_len, file_size, w))
        return 0;
    if (w.data_offset < 0 || w.data_bytes <= 0 || w.data_bytes % k_frame_bytes != 0 ||
        w.data_offset > file_size || w.data_bytes > file_size - w.data_offset)
        std::abort();
    return 0;
}
