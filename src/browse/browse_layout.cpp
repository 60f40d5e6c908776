#include "browse/browse_layout.hpp"

#include "browse/chain.hpp"
#include "db/album.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>

int current_ordinal(const page_view &v) { return v.count == 0 ? 0 : v.top + v.row - 1; }

int rows_shown(const page_view &v) { return v.count == 0 ? 0 : std::min(k_page_rows, v.count - v.top + 1); }

bool more_below(const page_view &v) { return v.top + k_page_rows <= v.count; }

bool more_above(const page_view &v) { return v.top > 1; }

page_view page_start(int count, int start)
{
    page_view v;
    v.count = count < 0 ? 0 : count;
    if (v.count == 0)
        return v;
    if (start < 1)
        start = 1;
    if (start > v.count)
        start = v.count;
    const int pages = (start - 1) / k_page_rows;
    v.top = 1 + pages * k_page_rows;
    v.row = start - pages * k_page_rows;
    return v;
}

page_view page_keep(const page_view &old, int count, int ordinal)
{
    if (count <= 0)
        return page_start(0, 0);
    ordinal = std::clamp(ordinal, 1, count);
    if (old.top <= ordinal && ordinal < old.top + k_page_rows) {
        page_view v;
        v.count = count;
        v.top = old.top;
        v.row = ordinal - old.top + 1;
        return v;
    }
    return page_start(count, ordinal);
}

void page_step(page_view &v, page_move move)
{
    if (v.count == 0)
        return;
    switch (move) {
    case page_move::down:
        if (v.row < rows_shown(v))
            ++v.row;
        else if (v.row == k_page_rows && more_below(v))
            ++v.top;
        break;
    case page_move::up:
        if (v.row > 1)
            --v.row;
        else if (more_above(v))
            --v.top;
        break;
    case page_move::home:
        v.row = 1;
        break;
    case page_move::end:
        v.row = rows_shown(v);
        break;
    case page_move::page_down:
        if (!more_below(v)) {
            v.row = rows_shown(v);
        } else {
            v.top = std::min(v.top + k_page_rows, v.count);
            v.row = 1;
        }
        break;
    case page_move::page_up:
        if (more_above(v))
            v.top = std::max(1, v.top - k_page_rows);
        v.row = 1;
        break;
    case page_move::first:
        v.top = 1;
        v.row = 1;
        break;
    case page_move::last:
        // Whole pages forward from the current page until the last element is on it.
        v.top += (v.count - v.top) / k_page_rows * k_page_rows;
        v.row = v.count - v.top + 1;
        break;
    }
}

char track_state_char(char status, std::int32_t online)
{
    if (online == 0)
        return '-';
    switch (status) {
    case 'S':
        return '.';
    case 'U':
        return 'x';
    case 'N':
        return '^';
    default:
        return ' ';
    }
}

void format_list_line(char *buf, std::size_t cap, int album_no, int track_no, const track_rec &texts, char status,
                      std::int32_t online, int album_tracks)
{
    if (track_no == 0)
        std::snprintf(buf, cap, "%04d %-27.27s - %-28.28s [%s] (%d)", album_no, texts.artist, texts.title, texts.time,
                      album_tracks);
    else
        std::snprintf(buf, cap, "%04d/%02d %-28.28s - %-29.29s [%s]%c", album_no, track_no, texts.artist, texts.title,
                      texts.time, track_state_char(status, online));
}

void format_position(char *buf, std::size_t cap, int ordinal, int count)
{
    char digits[16];
    const int width = std::snprintf(digits, sizeof digits, "%d", count);
    std::snprintf(buf, cap, "%*d of %d", width, ordinal, count);
}

std::vector<footer_cell> footer_cells(std::string_view footer)
{
    std::vector<footer_cell> cells;
    for (std::size_t i = 0; i < footer.size(); ++i) {
        if (footer[i] == '^') {
            if (i + 1 < footer.size())
                cells.push_back({footer[++i], true});
        } else {
            cells.push_back({footer[i], false});
        }
    }
    return cells;
}

void cut_sort_suffix(char *heading)
{
    char *semi = std::strrchr(heading, ';');
    if (semi != nullptr)
        *semi = '\0';
}

void set_sort_suffix(char *heading, std::size_t cap, const char *label, bool reverse)
{
    char *semi = std::strrchr(heading, ';');
    char *at = semi != nullptr ? semi : heading + std::strlen(heading);
    const std::size_t room = cap - static_cast<std::size_t>(at - heading);
    const char *word = reverse ? "Reverse " : "";
    if (label == nullptr)
        std::snprintf(at, room, "; %s", word);
    else
        std::snprintf(at, room, "; Sorted in %s%s", word, label);
}

int album_track_count(int album_no)
{
    if (album_no < 0 || album_no >= k_album_slots)
        return 0;
    return album[album_no].tracks;
}

list_totals sum_list(const chain_item *first, bool history)
{
    list_totals t;
    for (const chain_item *e = first; e != nullptr; e = e->next) {
        if (e->track_no == 0) {
            t.tracks += album_track_count(e->album_no);
        } else {
            ++t.tracks;
            t.has_tracks = true;
            const track_rec *state = history ? table_record(e->album_no, e->track_no) : e->track;
            if (state != nullptr && state->online == 0)
                ++t.offline;
        }
        t.seconds += length_seconds(field_view(e->track->time));
    }
    return t;
}

totals_text format_totals(const list_totals &t, bool history)
{
    totals_text out{};
    const long long s = t.seconds;
    std::snprintf(out.total, sizeof out.total, "Total Tracks: %d    Total Time: %d Days %d Hours %d Mins %d secs",
                  static_cast<int>(t.tracks), static_cast<int>(s / 86400), static_cast<int>(s % 86400 / 3600),
                  static_cast<int>(s % 3600 / 60), static_cast<int>(s % 60));
    // A list without tracks has no mean; it shows as zero.
    const long long mean = t.tracks != 0 ? s / t.tracks : 0;
    std::snprintf(out.average, sizeof out.average, "Average track Length: %02d:%02d", static_cast<int>(mean / 60),
                  static_cast<int>(mean % 60));
    if (t.has_tracks && !history)
        std::snprintf(out.offline, sizeof out.offline, "Off-line Tracks: %d", static_cast<int>(t.offline));
    return out;
}
