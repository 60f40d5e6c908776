// A folder of WAV files as a new album.
#include "media/wav_folder.hpp"

#include "album/text_fix.hpp"
#include "proto/text_util.hpp"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace {

constexpr std::string_view k_wav_suffix = ".wav";

std::string_view without_suffix(std::string_view name)
{
    if (name.size() >= k_wav_suffix.size() && name.substr(name.size() - k_wav_suffix.size()) == k_wav_suffix)
        name.remove_suffix(k_wav_suffix.size());
    return name;
}

}   // namespace

std::vector<folder_entry> select_wav_files(const std::vector<folder_entry> &sorted)
{
    std::vector<folder_entry> out;
    for (std::size_t i = 1; i < sorted.size(); ++i) {
        const folder_entry &e = sorted[i];
        const std::string_view name = e.name;
        if (name.empty() || name[0] == '.' || !e.stat_ok || !e.regular)
            continue;
        if (name.size() <= k_wav_suffix.size() || name.substr(name.size() - k_wav_suffix.size()) != k_wav_suffix)
            continue;
        out.push_back(e);
    }
    return out;
}

void format_minutes(char (&out)[32], long long seconds)
{
    std::snprintf(out, sizeof out, "%2.2ld:%2.2ld", static_cast<long>(seconds / 60), static_cast<long>(seconds % 60));
}

std::size_t numbering_prefix(std::string_view first_name)
{
    if (first_name.substr(0, 2) != "01")
        return 0;
    std::size_t i = 2;
    while (i < first_name.size() && std::isalnum(static_cast<unsigned char>(first_name[i])) == 0)
        ++i;
    return i;
}

void track_from_name(std::string_view file_name, std::size_t cut, track_rec &track)
{
    const std::string_view whole = without_suffix(file_name);
    std::string rest(whole.substr(std::min(cut, whole.size())));
    char line[256] = "";   // a file name is at most 255 bytes
    copy_bounded(line, rest);
    capitalize(line);
    track.artist[0] = '\0';
    track.title[0] = '\0';
    split_string(line, track.artist, track.title);
    if (track.title[0] == '\0')
        copy_bounded(track.title, whole);
}
