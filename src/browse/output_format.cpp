#include "browse/output_format.hpp"

#include <cctype>
#include <cstdio>

namespace {

// snprintf into a std::string.
template <typename... Args>
std::string formatted(const char *format, Args... args)
{
    const int n = std::snprintf(nullptr, 0, format, args...);
    if (n <= 0)
        return {};
    std::string s(static_cast<std::size_t>(n) + 1, '\0');
    std::snprintf(s.data(), s.size(), format, args...);
    s.resize(static_cast<std::size_t>(n));
    return s;
}

}   // namespace

std::string plain_line(const track_rec &texts) { return formatted("%s - %s\n", texts.artist, texts.title); }

std::string inlay_head(const char *heading, bool timestamps)
{
    std::string s = formatted("\n\t%s\n", heading);
    s.append(timestamps ? 84 : 75, '-');
    s += "\n\n";
    return s;
}

char inlay_state_char(char status, std::int32_t online)
{
    if (online == 0)
        return status == '-' ? ' ' : static_cast<char>(std::tolower(static_cast<unsigned char>(status)));
    return status == '-' ? '.' : status;
}

std::string inlay_line(int album_no, int track_no, const track_rec &texts, const track_rec &state, bool album_list,
                       bool timestamps, int album_tracks)
{
    std::string s;
    if (timestamps)
        s = formatted("%8.8lX ", static_cast<unsigned long>(state.cd_ident));
    if (album_list)
        s += formatted("%04d %-26.26s - %-28.28s [%s] (%d)", album_no, texts.artist, texts.title, texts.time,
                       album_tracks);
    else
        s += formatted("%04d/%02d %-29.29s - %-29.29s [%s] %c", album_no, track_no, texts.artist, texts.title,
                       texts.time, inlay_state_char(state.status, state.online));
    s += '\n';
    return s;
}

std::string csv_text(const char *text)
{
    std::string s;
    for (const char *p = text; *p != '\0'; ++p) {
        if (*p == '"')
            s += "''";
        else
            s += *p;
    }
    return s;
}

std::string csv_line(int album_no, int track_no, const track_rec &texts, bool index_numbers)
{
    std::string s;
    if (index_numbers)
        s = formatted("\"%04d/%02d\",", album_no, track_no);
    const std::string artist = csv_text(texts.artist);
    const std::string title = csv_text(texts.title);
    s += formatted("\"%s\",\"%s\"", artist.c_str(), title.c_str());
    s += '\n';
    return s;
}
