// Media files: the canonical 44-byte WAV header of 16-bit stereo samples at
// 44100 Hz, reading the header of a file to play, and the tone synthesiser
// that makes the demo library's music.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

inline constexpr int k_sample_rate = 44100;
inline constexpr int k_frame_bytes = 4;                                    // two 16-bit channels
inline constexpr std::int64_t k_bytes_per_second = k_sample_rate * k_frame_bytes;   // 176400
inline constexpr std::size_t k_wav_header_len = 44;

// Writes the canonical header for `data_bytes` bytes of 16-bit stereo 44.1 kHz audio.
void wav_header(unsigned char (&out)[k_wav_header_len], std::uint32_t data_bytes);

// Where the samples of a WAV file lie. A file that is not RIFF/WAVE is taken as
// raw samples after a 44-byte header, as the rest of the system assumes.
struct wav_layout {
    std::int64_t data_offset;   // first sample byte
    std::int64_t data_bytes;    // sample bytes (whole frames)
};

// Finds the sample data of an open file of `file_size` bytes from its first
// bytes (`head`, `head_len` of them). False when the file is too short to hold any.
bool wav_parse_layout(const unsigned char *head, std::size_t head_len, std::int64_t file_size, wav_layout &out);

// The media file path of a track: "<dir>/%4.4d_%2.2d.wav".
std::string media_path(const std::string &dir, int album, int track);

// One note of a synthesised tune.
struct tone_note {
    double frequency;   // Hz; 0 for a rest
    double seconds;
};

// Synthesises a tune of `seconds` seconds (whole seconds, so that the track
// time matches the file) into 16-bit stereo samples: the notes repeat until
// the time is filled, each with a soft attack and decay, a little harmonic
// colour and a stereo spread. Returns the sample bytes (without header).
std::string synth_tune(const tone_note *notes, std::size_t count, int seconds, double spread);

// Writes a whole WAV file (header and samples) through a temporary name; false on failure.
bool write_wav_file(const std::string &path, const std::string &samples);
