// Play history: every played track is appended to the current history file
// in History ("%y%m%d%H%M%S.hst", named by the moment it was started; a new
// file starts with the first track of each day), one line per track laid out
// like a playlist line with the time played as its key. HISTORY requests walk
// the recent history or one named file, one entry per reply.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

inline constexpr std::string_view k_recent_history = "history.hst";   // the request text for the recent history
inline constexpr std::size_t k_recent_entries = 100;                  // entries in the recent history

// Where history goes.
struct history_log {
    std::string dir;       // the History folder
    std::string current;   // name of the file being written ("" until the first track)
};

// The name of a history file started at t.
std::string history_file_name(std::time_t t);

// Appends one entry (a playlist-style line) for a track played at `when`. False on failure.
bool history_append(history_log &h, std::time_t when, const std::string &line);

// The entry lines of a history file's text, in order (lines that are not entries are left out).
std::vector<std::string> history_parse(std::string_view text);

// The entry lines of one file, in file order (history_parse).
std::vector<std::string> history_read_file(const std::string &path);

// The last `count` entries over all history files, oldest first.
std::vector<std::string> history_recent(const std::string &dir, std::size_t count);

// The entries a HISTORY request names: the recent history for "history.hst",
// otherwise the file whose name ends the text (after the last "/"), looked up
// in dir; nothing for a name that is not a plain file name there.
std::vector<std::string> history_lines_for(const std::string &dir, std::string_view request_text);

// One walk through a list of entries, kept per connection.
struct history_walk {
    std::string key;                  // the request text that started it
    std::vector<std::string> lines;   // the entries being walked
    std::size_t next = 0;             // the entry the next request gets
    std::int64_t last_ms = 0;         // when it was last advanced (steady milliseconds)
};
