// A folder of WAV files as a new album: which files are taken, the length
// rule, the numbering prefix of the file names, and each track's texts.
#pragma once

#include "proto/album_text.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Every byte of a WAV file counts as audio at 176,400 bytes a second.
inline constexpr long long k_wav_bytes_per_second = 176400;

// Copies into the media folder go in blocks of this many bytes.
inline constexpr std::size_t k_folder_copy_block = 4095;

// One directory entry as the folder scan sees it.
struct folder_entry {
    std::string name;
    bool stat_ok = false;   // stat succeeded
    bool regular = false;   // a regular file (a folder named "x.wav" is not one)
    long long size = 0;     // bytes
};

// The entries that become tracks, in the order given (the sorted listing,
// whose first entry, ".", is never looked at): names not beginning with ".",
// that stat, that are regular files and end in ".wav" in lower case.
std::vector<folder_entry> select_wav_files(const std::vector<folder_entry> &sorted);

// Whole seconds of a number of WAV bytes.
constexpr long long wav_seconds(long long bytes) { return bytes / k_wav_bytes_per_second; }

// "%2.2ld:%2.2ld" of a number of seconds.
void format_minutes(char (&out)[32], long long seconds);

// The numbering prefix of the first file's name (without ".wav"): when it
// begins with "01", everything up to the first letter or digit after the
// "01"; otherwise nothing. Its length is cut from every file name.
std::size_t numbering_prefix(std::string_view first_name);

// A track's artist and title from its file name: ".wav" and `cut` characters
// dropped, capitalised, split at the first " -", " /" or ": " (without one,
// the artist is empty and the whole rest is the title). A rest that gives no
// title at all gives the file name without ".wav" as the title, so that the
// track does not end the album.
void track_from_name(std::string_view file_name, std::size_t cut, track_rec &track);
