// The local player's position arithmetic: what each forwarded key does to the
// file position and to the elapsed-seconds counter the client displays.
#pragma once

#include "core/keys.hpp"

#include <cstddef>

inline constexpr std::size_t k_block_samples = 88200;   // one second: 44100 frames of 2 channels
inline constexpr long k_block_bytes = 176400;           // the same in bytes (16-bit samples)
inline constexpr long k_skip_bytes = 5292000;           // 30 seconds
inline constexpr long k_wav_header_bytes = 44;          // the header is taken to be exactly this long

// Key codes the client forwards (curses key values; control with the cursor
// keys as the input loop gives them whatever the terminal).
inline constexpr int k_player_esc = k_key_esc;
inline constexpr int k_player_left = k_key_left;
inline constexpr int k_player_right = k_key_right;
inline constexpr int k_player_ctrl_left_a = k_key_ctrl_left;
inline constexpr int k_player_ctrl_left_b = k_key_ctrl_shift_left;
inline constexpr int k_player_ctrl_right_a = k_key_ctrl_right;
inline constexpr int k_player_ctrl_right_b = k_key_ctrl_shift_right;
static_assert(k_player_ctrl_left_a == 544 && k_player_ctrl_right_a == 559, "the values the player is sent");

// True for the keys the player acts on.
bool player_key(int code);

// skip_value: nothing pending, or a seek was just made (the block already read is dropped).
inline constexpr int k_skip_none = 0;
inline constexpr int k_skip_seeked = -1;

// Where the player stands in its file.
struct player_pos {
    long position = 0;          // file offset after the last read
    long data_start = 0;        // offset just after the header
    long file_size = 0;         // bytes in the file
    int elapsed = -1;           // seconds counter: -1 before the first block, then one per block
    int skip_value = k_skip_none;   // the key being acted on, or one of the k_skip_ values
};

// What a key did.
enum class key_effect {
    seeked,    // position moved; skip_value is k_skip_seeked
    at_end,    // position is the end of the file and elapsed the track length: send it, then wait
    quit,      // the player ends (status 0)
    pending,   // not a key the player acts on: it stays pending until the next key
};

// Applies the key in p.skip_value to the position and the counter. Forward adds
// 31 seconds to the counter and back takes 30 off, deliberately: the block
// already read when the key came belongs to the second before the seek and is
// dropped. A back seek that would reach or pass the start of the audio goes to
// the start instead.
key_effect apply_player_key(player_pos &p);

// The track length shown at the end: whole seconds of the whole file.
constexpr int track_seconds(long file_size) { return static_cast<int>(file_size / k_block_bytes); }
