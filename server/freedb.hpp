// The local freedb database: a folder of category folders (blues, classical,
// misc, rock ...) each holding one XMCD file per disc identifier, named by the
// identifier in eight lower-case hexadecimal digits. Several categories may
// hold the same identifier; each is a match. The matches of the disc in the
// drive are copied to "Local/freedbfile1", "Local/freedbfile2" ... under the
// root, where the client reads them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

inline constexpr std::size_t k_max_xmcd_bytes = 256 * 1024;   // larger files are not offered
inline constexpr std::size_t k_max_xmcd_line = 4095;          // the client reads lines of at most 4096 bytes
inline constexpr int k_max_freedb_matches = 20;                // matches offered for one disc
inline constexpr int k_max_freedb_categories = 64;             // category folders looked at

// Why an XMCD file's content cannot be offered, or "" when it can: it must
// begin with "# xmcd", hold no NUL or other control character but tab,
// carriage return and line feed, have no line longer than the client reads,
// have a DTITLE line, and, when it has a DISCID line, list the identifier there.
std::string xmcd_problem(std::string_view content, std::uint32_t disc_id);

// One file looked at.
struct freedb_candidate {
    std::string path;      // the category's file for the identifier
    std::string problem;   // "" when it is a match
};

// The result of a lookup.
struct freedb_lookup_result {
    bool available = false;                    // the folder could be read
    std::vector<std::string> matches;          // contents of the matching files, categories in name order
    std::vector<freedb_candidate> refused;     // files found but not offered, with the reason
};

// Looks an identifier up in a freedb folder.
freedb_lookup_result freedb_lookup(const std::string &dir, std::uint32_t disc_id);

// Replaces the match files in `local_dir` (created when absent): every old
// "freedbfile*" goes, then the matches are written as freedbfile1.. through
// temporary names. False (with the reason) when a file cannot be written.
bool freedb_write_matches(const std::string &local_dir, const std::vector<std::string> &matches, std::string &error);

// The name of a match file: "%s/freedbfile%d".
std::string freedb_match_path(const std::string &local_dir, int match);
