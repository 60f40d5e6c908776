#include "server/cd_disc.hpp"

#include "proto/album_text.hpp"
#include "proto/text_util.hpp"

#include <charconv>
#include <cstdio>
#include <cstring>

namespace {

// Sum of the decimal digits of n.
int digit_sum(std::int64_t n)
{
    int sum = 0;
    for (; n > 0; n /= 10)
        sum += static_cast<int>(n % 10);
    return sum;
}

// Whole seconds of a logical sector counted from the start of the lead-in.
std::int64_t msf_seconds(std::int32_t lba) { return (static_cast<std::int64_t>(lba) + k_lead_in_sectors) / k_sectors_per_second; }

// The next line of a text (without its "\n" or "\r\n"); false at the end.
bool next_line(std::string_view &text, std::string_view &line)
{
    if (text.empty())
        return false;
    const std::size_t nl = text.find('\n');
    line = text.substr(0, nl);
    text = nl == std::string_view::npos ? std::string_view{} : text.substr(nl + 1);
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    return true;
}

// Splits off the next blank-separated word.
std::string_view next_word(std::string_view &s)
{
    const std::size_t start = s.find_first_not_of(" \t");
    if (start == std::string_view::npos) {
        s = {};
        return {};
    }
    s.remove_prefix(start);
    const std::size_t end = s.find_first_of(" \t");
    const std::string_view w = s.substr(0, end);
    s = end == std::string_view::npos ? std::string_view{} : s.substr(end);
    return w;
}

// A decimal number that is the whole of a word.
template <typename T>
bool whole_number(std::string_view w, T &out)
{
    const auto [p, ec] = std::from_chars(w.data(), w.data() + w.size(), out);
    return ec == std::errc{} && p == w.data() + w.size();
}

// Whether a path can stand inside double quotes of a TOC file or cue sheet.
bool quotable(std::string_view path)
{
    for (const char ch : path)
        if (ch == '"' || ch == '\\' || static_cast<unsigned char>(ch) < 0x20)
            return false;
    return !path.empty();
}

}   // namespace

std::uint32_t cddb_disc_id(const disc_toc &toc)
{
    int sum = 0;
    for (const toc_track &t : toc.tracks)
        sum += digit_sum(msf_seconds(t.lba));
    const std::int64_t first = toc.tracks.empty() ? 0 : msf_seconds(toc.tracks.front().lba);
    const std::int64_t length = msf_seconds(toc.leadout) - first;
    return (static_cast<std::uint32_t>(sum % 0xFF) << 24) | (static_cast<std::uint32_t>(length & 0xFFFF) << 8) |
           static_cast<std::uint32_t>(toc.tracks.size() & 0xFF);
}

std::string toc_problem(const disc_toc &toc)
{
    if (toc.tracks.empty())
        return "no tracks";
    if (toc.tracks.size() > static_cast<std::size_t>(k_max_disc_tracks))
        return "more than 99 tracks";
    for (std::size_t i = 0; i < toc.tracks.size(); ++i) {
        const toc_track &t = toc.tracks[i];
        if (t.number < 1 || t.number > k_max_disc_tracks || t.lba < 0 ||
            (i > 0 && (t.number != toc.tracks[i - 1].number + 1 || t.lba <= toc.tracks[i - 1].lba)))
            return "track numbers or start sectors out of order";
    }
    if (toc.leadout <= toc.tracks.back().lba)
        return "the disc ends before its last track (a truncated image?)";
    if (toc.tracks.front().number != 1)
        return "the first track is not track 1";
    const int audio = toc_audio_tracks(toc);
    for (std::size_t i = static_cast<std::size_t>(audio); i < toc.tracks.size(); ++i)
        if (toc.tracks[i].audio)
            return "a data track (track " + std::to_string(toc.tracks[static_cast<std::size_t>(audio)].number) +
                   ") before audio tracks";
    if (audio == 0)
        return "no audio tracks (a data disc)";
    std::int64_t sectors = 0;
    for (int i = 0; i < audio; ++i)
        sectors += toc_track_sectors(toc, static_cast<std::size_t>(i));
    if (sectors < k_min_disc_sectors)
        return "shorter than two seconds";
    return {};
}

int toc_audio_tracks(const disc_toc &toc)
{
    int n = 0;
    while (static_cast<std::size_t>(n) < toc.tracks.size() && toc.tracks[static_cast<std::size_t>(n)].audio)
        ++n;
    return n;
}

std::int32_t toc_track_sectors(const disc_toc &toc, std::size_t i)
{
    const std::int32_t end = i + 1 < toc.tracks.size() ? toc.tracks[i + 1].lba : toc.leadout;
    return end - toc.tracks[i].lba;
}

std::string sectors_time_text(std::int64_t sectors)
{
    const std::int64_t secs = sectors / k_sectors_per_second;
    char buf[32];
    std::snprintf(buf, sizeof buf, "%02d:%02d", static_cast<int>(secs / 60 % 100), static_cast<int>(secs % 60));
    return buf;
}

std::string disc_album_text(const disc_toc &toc, std::uint32_t disc_id)
{
    static album_rec rec;
    std::memset(&rec, 0, sizeof rec);
    const int tracks = toc_audio_tracks(toc);
    std::int64_t total = 0;
    std::string text;
    auto entry = [&](std::int64_t sectors) {
        track_rec t{};
        copy_bounded(t.time, sectors_time_text(sectors));
        t.status = '-';
        t.cd_ident = disc_id;
        char third[128];
        format_entry_line(t, third, sizeof third);
        // The artist and title lines stay empty until a match names them.
        text += "\n\n";
        text += third;
        text += '\n';
    };
    for (int i = 0; i < tracks; ++i)
        total += toc_track_sectors(toc, static_cast<std::size_t>(i));
    entry(total);
    for (int i = 0; i < tracks; ++i)
        entry(toc_track_sectors(toc, static_cast<std::size_t>(i)));
    return text;
}

bool parse_toc_lines(std::string_view text, disc_toc &toc)
{
    toc = {};
    bool have_leadout = false;
    std::string_view line;
    while (next_line(text, line)) {
        const std::string_view key = next_word(line);
        if (key.empty())
            continue;
        if (key == "leadout") {
            if (!whole_number(next_word(line), toc.leadout))
                return false;
            have_leadout = true;
        } else if (key == "track") {
            toc_track t{};
            int audio = 0;
            if (!whole_number(next_word(line), t.number) || !whole_number(next_word(line), t.lba) ||
                !whole_number(next_word(line), audio) || toc.tracks.size() > static_cast<std::size_t>(k_max_disc_tracks))
                return false;
            t.audio = audio != 0;
            toc.tracks.push_back(t);
        } else {
            return false;
        }
    }
    return have_leadout;
}

std::string toc_lines(const disc_toc &toc)
{
    std::string out;
    char line[64];
    for (const toc_track &t : toc.tracks) {
        std::snprintf(line, sizeof line, "track %d %d %d\n", t.number, static_cast<int>(t.lba), t.audio ? 1 : 0);
        out += line;
    }
    std::snprintf(line, sizeof line, "leadout %d\n", static_cast<int>(toc.leadout));
    return out + line;
}

std::vector<std::int32_t> backup_track_sectors(const std::vector<std::int64_t> &sample_bytes)
{
    std::vector<std::int32_t> out;
    for (const std::int64_t b : sample_bytes)
        out.push_back(static_cast<std::int32_t>((b + k_sector_bytes - 1) / k_sector_bytes));
    return out;
}

disc_toc backup_toc(const std::vector<std::int32_t> &track_sectors)
{
    disc_toc toc;
    std::int32_t at = 0;
    for (std::size_t i = 0; i < track_sectors.size(); ++i) {
        toc.tracks.push_back({.number = static_cast<int>(i) + 1, .lba = at, .audio = true});
        at += track_sectors[i];
    }
    toc.leadout = at;
    return toc;
}

std::string cdrdao_toc_text(const std::vector<std::string> &wav_paths)
{
    std::string out = "CD_DA\n";
    for (const std::string &p : wav_paths) {
        if (!quotable(p))
            return {};
        out += "\nTRACK AUDIO\nFILE \"" + p + "\" 0\n";
    }
    return out;
}

std::string image_cue_text(std::string_view bin_name, const disc_toc &toc)
{
    std::string out = "FILE \"" + std::string(bin_name) + "\" BINARY\n";
    for (const toc_track &t : toc.tracks) {
        char lines[96];
        const std::int32_t f = t.lba;
        std::snprintf(lines, sizeof lines, "  TRACK %02d AUDIO\n    INDEX 01 %02d:%02d:%02d\n", t.number,
                      static_cast<int>(f / (60 * k_sectors_per_second)), static_cast<int>(f / k_sectors_per_second % 60),
                      static_cast<int>(f % k_sectors_per_second));
        out += lines;
    }
    return out;
}

bool cue_file_names(std::string_view cue, std::vector<std::string> &names, std::string &problem)
{
    names.clear();
    std::string_view line;
    while (next_line(cue, line)) {
        std::string_view rest = line;
        const std::string_view key = next_word(rest);
        if (key != "FILE" && key != "file")
            continue;
        const std::size_t start = rest.find_first_not_of(" \t");
        if (start == std::string_view::npos) {
            problem = "a FILE line without a name";
            return false;
        }
        rest.remove_prefix(start);
        std::string_view name;
        if (rest.front() == '"') {
            const std::size_t close = rest.find('"', 1);
            if (close == std::string_view::npos) {
                problem = "a FILE name without its closing quote";
                return false;
            }
            name = rest.substr(1, close - 1);
            rest.remove_prefix(close + 1);
        } else {
            name = next_word(rest);
        }
        const std::string_view kind = next_word(rest);
        if (kind != "BINARY" && kind != "binary") {
            problem = "a FILE of type \"" + std::string(kind) + "\" (only BINARY images are read)";
            return false;
        }
        if (name.empty()) {
            problem = "a FILE line without a name";
            return false;
        }
        names.emplace_back(name);
    }
    if (names.empty()) {
        problem = "no FILE line";
        return false;
    }
    return true;
}
