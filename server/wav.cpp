#include "server/wav.hpp"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>

namespace {

// Stores 32 bits little-endian.
void put_le32(unsigned char *p, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<unsigned char>(v >> (8 * i));
}

// Stores 16 bits little-endian.
void put_le16(unsigned char *p, std::uint16_t v)
{
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}

// Reads 32 bits little-endian.
std::uint32_t get_le32(const unsigned char *p)
{
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

}   // namespace

void wav_header(unsigned char (&out)[k_wav_header_len], std::uint32_t data_bytes)
{
    std::memcpy(out, "RIFF", 4);
    put_le32(out + 4, 36 + data_bytes);
    std::memcpy(out + 8, "WAVEfmt ", 8);
    put_le32(out + 16, 16);                                   // fmt chunk size
    put_le16(out + 20, 1);                                    // PCM
    put_le16(out + 22, 2);                                    // channels
    put_le32(out + 24, k_sample_rate);
    put_le32(out + 28, static_cast<std::uint32_t>(k_bytes_per_second));
    put_le16(out + 32, k_frame_bytes);                        // block align
    put_le16(out + 34, 16);                                   // bits per sample
    std::memcpy(out + 36, "data", 4);
    put_le32(out + 40, data_bytes);
}

bool wav_parse_layout(const unsigned char *head, std::size_t head_len, std::int64_t file_size, wav_layout &out)
{
    out = {.data_offset = static_cast<std::int64_t>(k_wav_header_len), .data_bytes = 0};
    if (head_len >= 12 && std::memcmp(head, "RIFF", 4) == 0 && std::memcmp(head + 8, "WAVE", 4) == 0) {
        // Walk the chunks for "data"; anything odd falls back to the fixed header.
        std::size_t pos = 12;
        while (pos + 8 <= head_len) {
            const std::uint32_t size = get_le32(head + pos + 4);
            if (std::memcmp(head + pos, "data", 4) == 0) {
                out.data_offset = static_cast<std::int64_t>(pos + 8);
                break;
            }
            // In size_t: in 32 bits a chunk size near 4 GiB would wrap to 0 and never move on.
            pos += 8 + static_cast<std::size_t>(size) + (size & 1);
        }
    }
    if (file_size <= out.data_offset)
        return false;
    out.data_bytes = (file_size - out.data_offset) / k_frame_bytes * k_frame_bytes;
    return out.data_bytes > 0;
}

std::string media_path(const std::string &dir, int album, int track)
{
    char name[32];
    std::snprintf(name, sizeof name, "/%4.4d_%2.2d.wav", album, track);
    return dir + name;
}

std::string synth_tune(const tone_note *notes, std::size_t count, int seconds, double spread)
{
    const std::size_t frames = static_cast<std::size_t>(seconds) * k_sample_rate;
    std::string out(frames * k_frame_bytes, '\0');
    if (count == 0)
        return out;
    std::size_t note = 0;
    double note_left = notes[0].seconds;
    double note_time = 0.0;
    double phase = 0.0;
    constexpr double dt = 1.0 / k_sample_rate;
    const double two_pi = 2.0 * std::numbers::pi;
    for (std::size_t i = 0; i < frames; ++i) {
        const tone_note &n = notes[note];
        double v = 0.0;
        if (n.frequency > 0.0) {
            const double attack = std::fmin(1.0, note_time / 0.02);
            const double decay = std::exp(-2.5 * note_time / n.seconds);
            const double release = std::fmin(1.0, note_left / 0.03);
            v = (std::sin(phase) + 0.3 * std::sin(2.0 * phase) + 0.12 * std::sin(3.0 * phase)) * attack * decay *
                release * 0.38;
            phase += two_pi * n.frequency * dt;
            if (phase > two_pi)
                phase -= two_pi;
        }
        // Fade the whole tune in and out over a few milliseconds so tracks join without clicks.
        const double pos = static_cast<double>(i) * dt;
        const double edge = std::fmin(1.0, std::fmin(pos, static_cast<double>(seconds) - pos) / 0.01);
        v *= edge;
        const double left = v * (1.0 - spread);
        const double right = v * (1.0 + spread) * 0.9;
        const auto l = static_cast<std::int16_t>(std::lround(std::fmax(-1.0, std::fmin(1.0, left)) * 32000.0));
        const auto r = static_cast<std::int16_t>(std::lround(std::fmax(-1.0, std::fmin(1.0, right)) * 32000.0));
        unsigned char *p = reinterpret_cast<unsigned char *>(out.data()) + i * k_frame_bytes;
        put_le16(p, static_cast<std::uint16_t>(l));
        put_le16(p + 2, static_cast<std::uint16_t>(r));
        note_time += dt;
        note_left -= dt;
        if (note_left <= 0.0) {
            note = (note + 1) % count;
            note_left = notes[note].seconds;
            note_time = 0.0;
        }
    }
    return out;
}

bool write_wav_file(const std::string &path, const std::string &samples)
{
    const std::string temp = path + ".part";
    std::FILE *f = std::fopen(temp.c_str(), "wb");
    if (f == nullptr)
        return false;
    unsigned char head[k_wav_header_len];
    wav_header(head, static_cast<std::uint32_t>(samples.size()));
    const bool ok = std::fwrite(head, 1, sizeof head, f) == sizeof head &&
                    std::fwrite(samples.data(), 1, samples.size(), f) == samples.size();
    const bool closed = std::fclose(f) == 0;
    if (!ok || !closed || std::rename(temp.c_str(), path.c_str()) != 0) {
        std::remove(temp.c_str());
        return false;
    }
    return true;
}
