// The local player's panel on the client's screen: its box, title, time and
// key hints, laid out for 80 columns.
#pragma once

#include <string_view>

// The box: corners at (6,1), (6,78), (18,1) and (18,78).
inline constexpr int k_panel_top = 6;
inline constexpr int k_panel_bottom = 18;
inline constexpr int k_panel_left = 1;
inline constexpr int k_panel_right = 78;

// How a panel text is shown.
enum class panel_look { plain, bold, reverse };

// One text of the panel and its place.
struct panel_text {
    int row;
    int col;
    char text[80];
    panel_look look;
};

// Every text of the panel, in drawing order: title, time, three key hints.
struct player_panel {
    panel_text texts[5];
};

// The panel title: "%.36s - %-.36s" from the track's artist and title.
void format_track_data(char (&out)[80], const char *artist, const char *title);

// The elapsed time "%02d:%02d" (n / 60, n % 60).
void format_elapsed(char (&out)[16], int seconds);

// Lays out the panel for a title (cut to 76 characters and centred) and the elapsed seconds.
player_panel layout_player_panel(std::string_view track_data, int elapsed);
