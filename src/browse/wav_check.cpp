#include "browse/wav_check.hpp"

#include "proto/file_handle.hpp"
#include "reports/glitch.hpp"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::size_t k_wav_header = 44;
constexpr float k_samples_per_second = 88200.0f;   // both channels of 44100 frames

}   // namespace

void format_glitch(char *buf, std::size_t cap, std::int64_t count)
{
    const float s = static_cast<float>(count) / k_samples_per_second;
    const int minutes = static_cast<int>(s / 60.0f);
    const float rest = std::fmod(s, 60.0f);
    std::snprintf(buf, cap, "Glitch at Sample: %8ld (%2d:%9.6f)", static_cast<long>(count / 2), minutes,
                  static_cast<double>(rest));
}

void media_path(char *buf, std::size_t cap, int album_no, int track_no)
{
    std::snprintf(buf, cap, "%s/%4.4d_%2.2d.wav", "Media", album_no, track_no);
}

bool check_media_file(const char *path, bool online, int album_no, int track_no, const char *ok_text, char *out,
                      std::size_t cap)
{
    if (!online) {
        std::snprintf(out, cap, "Track is off-line");
        return false;
    }
    file_handle file(path, "rb");
    if (file.f == nullptr) {
        std::snprintf(out, cap, "Cannot open: %s", std::strerror(errno));
        return false;
    }
    unsigned char head[k_wav_header];
    if (std::fread(head, 1, sizeof head, file.f) != sizeof head) {
        std::snprintf(out, cap, "Cannot read header");
        return false;
    }
    if (std::memcmp(head, "RIFF", 4) != 0) {
        std::snprintf(out, cap, "Not a WAV file");
        return false;
    }
    const auto size = static_cast<std::int32_t>(static_cast<std::uint32_t>(head[40]) |
                                                (static_cast<std::uint32_t>(head[41]) << 8) |
                                                (static_cast<std::uint32_t>(head[42]) << 16) |
                                                (static_cast<std::uint32_t>(head[43]) << 24));
    const std::int64_t at = detect_glitch(album_no, track_no, file.f, size);
    if (at < 0) {
        std::snprintf(out, cap, "%s", ok_text);
        return true;
    }
    format_glitch(out, cap, at);
    return false;
}
