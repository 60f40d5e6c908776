#include "reports/wav_file.hpp"

#include "reports/glitch.hpp"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

constexpr float k_samples_per_second = 88200.0f;   // both channels of 44100 frames
constexpr std::size_t k_data_size_at = 40;          // where the header keeps the audio's size

}   // namespace

file_handle open_regular_stream(const char *path)
{
    file_handle file;
    const int fd = open_regular_file(path);
    if (fd < 0)
        return file;
    file.f = fdopen(fd, "rb");
    if (file.f == nullptr) {
        const int saved = errno;
        close(fd);
        errno = saved;
    }
    return file;
}

wav_header parse_wav_header(const unsigned char *bytes, std::size_t length)
{
    wav_header h;
    if (length < k_wav_header)
        return h;
    if (std::memcmp(bytes, "RIFF", 4) != 0) {
        h.kind = wav_header_kind::not_riff;
        return h;
    }
    h.kind = wav_header_kind::riff;
    const unsigned char *p = bytes + k_data_size_at;
    h.data_size = static_cast<std::int32_t>(static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
                                            (static_cast<std::uint32_t>(p[2]) << 16) |
                                            (static_cast<std::uint32_t>(p[3]) << 24));
    return h;
}

wav_header read_wav_header(std::FILE *file)
{
    unsigned char head[k_wav_header];
    const std::size_t got = std::fread(head, 1, sizeof head, file);
    return parse_wav_header(head, got);
}

wav_outcome check_wav_file(const char *path, bool online, bool scan_glitches, int album_no, int track_no)
{
    wav_outcome out;
    if (!online) {
        out.verdict = wav_verdict::offline;
        return out;
    }
    const file_handle file = open_regular_stream(path);
    if (file.f == nullptr) {
        out.verdict = wav_verdict::cannot_open;
        out.error = errno;
        return out;
    }
    const wav_header head = read_wav_header(file.f);
    if (head.kind == wav_header_kind::short_file) {
        out.verdict = wav_verdict::no_header;
        return out;
    }
    if (head.kind == wav_header_kind::not_riff) {
        out.verdict = wav_verdict::not_wav;
        return out;
    }
    if (scan_glitches) {
        out.glitch_at = detect_glitch(album_no, track_no, file.f, head.data_size);
        if (out.glitch_at >= 0)
            out.verdict = wav_verdict::glitch;
    }
    return out;
}

void format_glitch(char *buf, std::size_t cap, std::int64_t count)
{
    const float s = static_cast<float>(count) / k_samples_per_second;
    const int minutes = static_cast<int>(s / 60.0f);
    const float rest = std::fmod(s, 60.0f);
    std::snprintf(buf, cap, "Glitch at Sample: %8ld (%2d:%9.6f)", static_cast<long>(count / 2), minutes,
                  static_cast<double>(rest));
}

void format_wav_outcome(char *buf, std::size_t cap, const wav_outcome &outcome, const char *ok_text)
{
    switch (outcome.verdict) {
    case wav_verdict::good: std::snprintf(buf, cap, "%s", ok_text); return;
    case wav_verdict::offline: std::snprintf(buf, cap, "Track is off-line"); return;
    case wav_verdict::cannot_open: std::snprintf(buf, cap, "Cannot open: %s", std::strerror(outcome.error)); return;
    case wav_verdict::no_header: std::snprintf(buf, cap, "Cannot read header"); return;
    case wav_verdict::not_wav: std::snprintf(buf, cap, "Not a WAV file"); return;
    case wav_verdict::glitch: format_glitch(buf, cap, outcome.glitch_at); return;
    }
}

bool check_media_file(const char *path, bool online, int album_no, int track_no, const char *ok_text, char *out,
                      std::size_t cap)
{
    const wav_outcome outcome = check_wav_file(path, online, true, album_no, track_no);
    format_wav_outcome(out, cap, outcome, ok_text);
    return outcome.verdict == wav_verdict::good;
}
