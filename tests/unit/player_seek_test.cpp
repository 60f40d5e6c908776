#include "audio/player_seek.hpp"

#include <gtest/gtest.h>

namespace {

// A player that has read `blocks` whole blocks after the header of a file of `seconds` seconds of audio.
player_pos after_blocks(long blocks, long seconds, int key)
{
    player_pos p;
    p.data_start = k_wav_header_bytes;
    p.file_size = k_wav_header_bytes + seconds * k_block_bytes;
    p.position = p.data_start + blocks * k_block_bytes;
    p.elapsed = static_cast<int>(blocks) - 2;   // the key came while the block before the last one played
    p.skip_value = key;
    return p;
}

TEST(PlayerSeek, ForwardAddsThirtyOneAndDropsTheBlock)
{
    player_pos p = after_blocks(12, 120, k_player_right);   // shown 10, block 11 read
    EXPECT_EQ(apply_player_key(p), key_effect::seeked);
    EXPECT_EQ(p.position, k_wav_header_bytes + 42 * k_block_bytes);
    EXPECT_EQ(p.elapsed, 10 + 31);
    EXPECT_EQ(p.skip_value, k_skip_seeked);
    // The next block played is block 42 and is shown as 42: one above the counter.
}

TEST(PlayerSeek, ForwardPastTheEndShowsTheLength)
{
    player_pos p = after_blocks(100, 110, k_player_right);
    EXPECT_EQ(apply_player_key(p), key_effect::at_end);
    EXPECT_EQ(p.position, p.file_size);
    EXPECT_EQ(p.elapsed, 110);
    EXPECT_EQ(p.skip_value, k_player_right) << "the key stays while the player waits";
}

TEST(PlayerSeek, ForwardLandingExactlyOnTheEndCountsAsPast)
{
    player_pos p = after_blocks(80, 110, k_player_right);
    EXPECT_EQ(apply_player_key(p), key_effect::at_end);
    player_pos q = after_blocks(79, 110, k_player_right);
    EXPECT_EQ(apply_player_key(q), key_effect::seeked);
}

TEST(PlayerSeek, BackTakesThirtyOff)
{
    player_pos p = after_blocks(52, 120, k_player_left);   // shown 50
    EXPECT_EQ(apply_player_key(p), key_effect::seeked);
    EXPECT_EQ(p.position, k_wav_header_bytes + 22 * k_block_bytes);
    EXPECT_EQ(p.elapsed, 20);
    EXPECT_EQ(p.skip_value, k_skip_seeked);
}

TEST(PlayerSeek, BackWithinTheFirstThirtySecondsReturnsToTheStart)
{
    // Every value shown from 00:00 to 00:29: the next value shown is 00:00 (counter -1, then one block).
    for (long shown = 0; shown <= 29; ++shown) {
        SCOPED_TRACE(shown);
        player_pos p = after_blocks(shown + 2, 120, k_player_left);
        EXPECT_EQ(apply_player_key(p), key_effect::seeked);
        if (shown <= 28) {
            EXPECT_EQ(p.position, p.data_start);
            EXPECT_EQ(p.elapsed, -1);
        } else {
            EXPECT_EQ(p.position, p.data_start + k_block_bytes);
            EXPECT_EQ(p.elapsed, -1);
        }
    }
}

TEST(PlayerSeek, BackFromTheEndReplaysTheLastThirtySeconds)
{
    player_pos p = after_blocks(0, 100, k_player_ctrl_right_a);
    ASSERT_EQ(apply_player_key(p), key_effect::at_end);
    EXPECT_EQ(p.elapsed, 100);
    p.skip_value = k_player_left;
    EXPECT_EQ(apply_player_key(p), key_effect::seeked);
    EXPECT_EQ(p.position, k_wav_header_bytes + 70 * k_block_bytes);
    EXPECT_EQ(p.elapsed, 70);
}

TEST(PlayerSeek, ControlKeysGoToStartAndEnd)
{
    for (const int key : {k_player_ctrl_left_a, k_player_ctrl_left_b}) {
        player_pos p = after_blocks(50, 120, key);
        EXPECT_EQ(apply_player_key(p), key_effect::seeked);
        EXPECT_EQ(p.position, p.data_start);
        EXPECT_EQ(p.elapsed, -1);
        EXPECT_EQ(p.skip_value, k_skip_seeked);
    }
    for (const int key : {k_player_ctrl_right_a, k_player_ctrl_right_b}) {
        player_pos p = after_blocks(5, 120, key);
        EXPECT_EQ(apply_player_key(p), key_effect::at_end);
        EXPECT_EQ(p.position, p.file_size);
        EXPECT_EQ(p.elapsed, 120);
    }
}

TEST(PlayerSeek, TheLengthIsWholeSecondsOfTheWholeFile)
{
    EXPECT_EQ(track_seconds(0), 0);
    EXPECT_EQ(track_seconds(k_block_bytes - 1), 0);
    EXPECT_EQ(track_seconds(k_block_bytes), 1);
    EXPECT_EQ(track_seconds(44 + 3 * k_block_bytes + 100), 3);
    player_pos p;
    p.data_start = 20;   // a file shorter than a header: its audio starts where the short read ended
    p.file_size = 20;
    p.position = 20;
    p.skip_value = k_player_ctrl_right_b;
    EXPECT_EQ(apply_player_key(p), key_effect::at_end);
    EXPECT_EQ(p.elapsed, 0);
}

TEST(PlayerSeek, EscQuitsAndOtherKeysStayPending)
{
    player_pos p = after_blocks(5, 120, k_player_esc);
    EXPECT_EQ(apply_player_key(p), key_effect::quit);
    for (const int key : {int{'x'}, 258, 259, 1, 546, 561}) {
        player_pos q = after_blocks(5, 120, key);
        const player_pos before = q;
        EXPECT_EQ(apply_player_key(q), key_effect::pending);
        EXPECT_EQ(q.skip_value, key);
        EXPECT_EQ(q.position, before.position);
        EXPECT_EQ(q.elapsed, before.elapsed);
    }
}

}   // namespace

namespace {

TEST(PlayerSeek, KeysThePlayerActsOn)
{
    for (const int code : {27, 260, 261, 544, 545, 559, 560})
        EXPECT_TRUE(player_key(code)) << code;
    for (const int code : {0, -1, int{'x'}, 258, 259, 546, 550, 561, 565})
        EXPECT_FALSE(player_key(code)) << code;
}

}   // namespace
