// A media file's 44-byte header, and the check of one file that the track
// lists and the background checker both make.
#pragma once

#include "proto/file_handle.hpp"
#include "reports/media_file.hpp"

#include <cstddef>
#include <cstdint>

// A file opened as open_regular_file opens it, as a stdio stream; null with errno set.
file_handle open_regular_stream(const char *path);

// What the first bytes of a media file say.
enum class wav_header_kind {
    short_file,   // fewer than 44 bytes
    not_riff,     // they do not begin with "RIFF"
    riff,         // a header: data_size is the audio's size in bytes
};

struct wav_header {
    wav_header_kind kind = wav_header_kind::short_file;
    std::int32_t data_size = 0;   // bytes 40..43, little-endian, taken as signed
};

// Reads a header from the first `length` bytes of a file.
wav_header parse_wav_header(const unsigned char *bytes, std::size_t length);

// Reads the header at the stream's position (the start of the file).
wav_header read_wav_header(std::FILE *file);

// The outcome of checking one media file.
enum class wav_verdict {
    good,          // opened, a RIFF header and (when scanned) no glitch
    offline,       // the track is marked off line: the file is not looked at
    cannot_open,   // error holds errno
    no_header,     // fewer than 44 bytes
    not_wav,       // no "RIFF" at the start
    glitch,        // glitch_at holds the sample count where it was declared
};

struct wav_outcome {
    wav_verdict verdict = wav_verdict::good;
    int error = 0;                // errno of a file that cannot be opened
    std::int64_t glitch_at = -1;  // samples read (both channels) at the glitch
};

// Checks one track's media file: opens it, reads its header and, when asked,
// scans its audio for glitches up to the header's data size.
wav_outcome check_wav_file(const char *path, bool online, bool scan_glitches, int album_no, int track_no);

// "Glitch at Sample: %8ld (%2d:%9.6f)": the stereo frame (count / 2), the
// whole minutes and the remaining seconds of count / 88200 seconds.
void format_glitch(char *buf, std::size_t cap, std::int64_t count);

// The text of an outcome: "Track is off-line", "Cannot open: %s" (the
// system's text), "Cannot read header", "Not a WAV file", a glitch, or ok_text.
void format_wav_outcome(char *buf, std::size_t cap, const wav_outcome &outcome, const char *ok_text);

// The track lists' check of one track (the audio always scanned): writes the
// text of the outcome and returns true when the file is good.
bool check_media_file(const char *path, bool online, int album_no, int track_no, const char *ok_text, char *out,
                      std::size_t cap);
