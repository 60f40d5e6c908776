#include "audio/player_panel.hpp"

#include "proto/text_util.hpp"

#include <cstdio>

namespace {

// The key hints under the time.
struct panel_hint {
    int row;
    int col;
    std::string_view text;
};
constexpr panel_hint panel_hints[] = {
    {.row = 12, .col = 17, .text = "<- back 30 secs             -> forward 30 secs"},
    {.row = 14, .col = 17, .text = "CTRL<- skip to start        CTRL-> skip to end"},
    {.row = 16, .col = 35, .text = "ESC - quit"},
};

constexpr int k_title_row = 8;
constexpr int k_time_row = 10;
constexpr int k_time_col = 37;
constexpr std::size_t k_title_max = 76;

}   // namespace

void format_track_data(char (&out)[80], const char *artist, const char *title)
{
    std::snprintf(out, sizeof out, "%.36s - %-.36s", artist, title);
}

void format_elapsed(char (&out)[16], int seconds)
{
    std::snprintf(out, sizeof out, "%02d:%02d", seconds / 60, seconds % 60);
}

player_panel layout_player_panel(std::string_view track_data, int elapsed)
{
    player_panel panel = {};
    panel_text &title = panel.texts[0];
    copy_bounded(title.text, track_data.substr(0, k_title_max));
    title.row = k_title_row;
    title.col = (80 - static_cast<int>(bounded_len(title.text))) / 2;
    title.look = panel_look::bold;

    panel_text &time = panel.texts[1];
    char clock[16];
    format_elapsed(clock, elapsed);
    copy_bounded(time.text, clock);
    time.row = k_time_row;
    time.col = k_time_col;
    time.look = panel_look::reverse;

    int i = 2;
    for (const panel_hint &hint : panel_hints) {
        panel_text &t = panel.texts[i++];
        copy_bounded(t.text, hint.text);
        t.row = hint.row;
        t.col = hint.col;
        t.look = panel_look::plain;
    }
    return panel;
}
