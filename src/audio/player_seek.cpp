#include "audio/player_seek.hpp"

namespace {

// Moves to the end of the file and shows the track length there.
key_effect go_to_end(player_pos &p)
{
    p.position = p.file_size;
    p.elapsed = track_seconds(p.file_size);
    return key_effect::at_end;
}

}   // namespace

bool player_key(int code)
{
    switch (code) {
    case k_player_esc:
    case k_player_left:
    case k_player_right:
    case k_player_ctrl_left_a:
    case k_player_ctrl_left_b:
    case k_player_ctrl_right_a:
    case k_player_ctrl_right_b:
        return true;
    default:
        return false;
    }
}

key_effect apply_player_key(player_pos &p)
{
    switch (p.skip_value) {
    case k_player_ctrl_right_a:
    case k_player_ctrl_right_b:
        return go_to_end(p);
    case k_player_ctrl_left_a:
    case k_player_ctrl_left_b:
        p.position = p.data_start;
        p.elapsed = -1;
        p.skip_value = k_skip_seeked;
        return key_effect::seeked;
    case k_player_right:
        if (p.position + k_skip_bytes >= p.file_size)
            return go_to_end(p);
        p.position += k_skip_bytes;
        p.elapsed += 31;
        p.skip_value = k_skip_seeked;
        return key_effect::seeked;
    case k_player_esc:
        return key_effect::quit;
    case k_player_left:
        if (p.position - k_skip_bytes <= p.data_start) {
            p.position = p.data_start;
            p.elapsed = -1;
        } else {
            p.position -= k_skip_bytes;
            p.elapsed -= 30;
        }
        p.skip_value = k_skip_seeked;
        return key_effect::seeked;
    default:
        return key_effect::pending;
    }
}
