#include "reports/mono.hpp"

#include "reports/media_file.hpp"

#include <bit>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

bool probe_decides_stereo(const std::int16_t *samples, std::size_t count, int &countdown)
{
    int peak = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const int v = samples[i];
        const int mag = v < 0 ? -v : v;
        if (mag > peak)
            peak = mag;
    }
    const int limit = peak / 3;
    for (std::size_t i = 0; i + 1 < count; i += 2) {
        const int diff = samples[i] - samples[i + 1];
        if ((diff < 0 ? -diff : diff) > limit) {
            if (--countdown == 0)
                return true;
        } else {
            countdown = k_stereo_run;
        }
    }
    return false;
}

bool track_is_mono(int fd)
{
    // Only the probes are wanted: read-ahead between them would be wasted.
    posix_fadvise(fd, 0, 0, POSIX_FADV_RANDOM);
    std::int16_t buf[k_probe_samples];
    off_t position = static_cast<off_t>(k_wav_header);
    int countdown = k_stereo_run;
    for (int probe = 0; probe < k_mono_probes; ++probe) {
        position += k_probe_step;
        ssize_t got;
        do {
            got = pread(fd, buf, sizeof buf, position);
        } while (got < 0 && errno == EINTR);
        if (got <= 0)
            continue;
        position += got;
        const auto samples = static_cast<std::size_t>(got) / sizeof buf[0];
        if constexpr (std::endian::native == std::endian::big) {
            for (std::size_t i = 0; i < samples; ++i) {
                const auto u = static_cast<std::uint16_t>(buf[i]);
                buf[i] = static_cast<std::int16_t>(static_cast<std::uint16_t>((u >> 8) | (u << 8)));
            }
        }
        if (probe_decides_stereo(buf, samples, countdown))
            return false;
    }
    return true;
}
