// A disc's table of contents and what follows from it: the freedb disc
// identifier, whether the disc can be used, the disc as an album text, and
// the layout, TOC file and cue sheet of a backup disc. Pure: no drive, no I/O.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

inline constexpr int k_sectors_per_second = 75;     // CD frames (sectors) per second
inline constexpr int k_sector_bytes = 2352;         // audio bytes per sector: 588 stereo 16-bit frames
inline constexpr int k_lead_in_sectors = 150;       // the two seconds before the first track (MSF 00:02:00)
inline constexpr int k_max_disc_tracks = 99;        // a disc, like an album, holds at most 99 tracks
inline constexpr int k_min_disc_sectors = 2 * k_sectors_per_second;   // a disc shorter than two seconds is refused

// One track of a table of contents.
struct toc_track {
    int number;          // track number on the disc
    std::int32_t lba;    // first sector (logical: 0 is the start of the first track's audio)
    bool audio;          // an audio track (false: data)
};

// A disc's table of contents.
struct disc_toc {
    std::vector<toc_track> tracks;   // in disc order
    std::int32_t leadout = 0;        // first sector after the last track
};

// The freedb (CDDB) disc identifier: the digit sums of the track start times
// in whole seconds (lead-in included) modulo 255 in the top byte, the disc's
// playing time in seconds in the middle two bytes, the number of tracks in
// the low byte. Every track counts, data tracks included.
std::uint32_t cddb_disc_id(const disc_toc &toc);

// Why a disc cannot be used, or "" when it can: no tracks, more than 99,
// numbers or sectors out of order, a lead-out before the end of the last
// track (a truncated image), a data track before an audio track, no audio,
// or less than two seconds of audio.
std::string toc_problem(const disc_toc &toc);

// The number of audio tracks at the start of the disc (the album's tracks;
// data tracks after them, as on an Enhanced CD, are left out).
int toc_audio_tracks(const disc_toc &toc);

// Sectors of track i (0-based) of the table.
std::int32_t toc_track_sectors(const disc_toc &toc, std::size_t i);

// Sectors as "%02d:%02d" minutes and whole seconds.
std::string sectors_time_text(std::int64_t sectors);

// The album text of a disc that no match has named yet: empty artist and
// title, the album's and every track's playing time from the table, every
// entry carrying the disc identifier as its CD ident, every track off line.
std::string disc_album_text(const disc_toc &toc, std::uint32_t disc_id);

// Parses the lines a drive helper prints for a table of contents
// ("leadout N" and "track NUMBER LBA AUDIO(0/1)"). False on anything else.
bool parse_toc_lines(std::string_view text, disc_toc &toc);

// The same lines for a table.
std::string toc_lines(const disc_toc &toc);

// A backup disc: the sectors of each track, made from the sample bytes of its
// media file (the last sector of a track is filled up with silence).
std::vector<std::int32_t> backup_track_sectors(const std::vector<std::int64_t> &sample_bytes);

// The table of contents a backup disc will have: tracks one after the other from sector 0.
disc_toc backup_toc(const std::vector<std::int32_t> &track_sectors);

// The cdrdao TOC file of an audio disc made of WAV files: "CD_DA", then per
// track "TRACK AUDIO" and "FILE \"path\" 0". Paths holding a double quote,
// a backslash or a control character cannot be written and give "".
std::string cdrdao_toc_text(const std::vector<std::string> &wav_paths);

// The cue sheet of a disc image whose samples are in `bin_name`: one audio
// track per entry, starting at the given sectors.
std::string image_cue_text(std::string_view bin_name, const disc_toc &toc);

// A cue sheet's FILE entries (the names as written, quotes removed), or false
// when a line is not understood. Only "FILE name BINARY" entries count.
bool cue_file_names(std::string_view cue, std::vector<std::string> &names, std::string &problem);
