// The local player: a forked process that plays one track's media file.
#pragma once

#include "core/process.hpp"   // local_audio_pid, the running player as the client knows it

#include <csignal>
#include <sys/types.h>

extern char cur_track_data[80];            // the player panel's title
extern volatile std::sig_atomic_t abort_sig;   // set by abort_func when a long job is interrupted

// Starts the player for a track, or stops a running one: the player's pid, 0, or -1.
int local_player(int album_no, int track_no);

// The player's SIGUSR1 handler: keeps the key value the client sent.
void loc_play_int(int sig, siginfo_t *info, void *context);

// The client's SIGUSR2 handler: notes the elapsed seconds for the panel.
void loc_play_display(int sig, siginfo_t *info, void *context);

// Called by the input loop on each pass: draws the panel if a new elapsed value arrived.
void loc_play_redraw();

// Sends a key to the running player (found by name when local_audio_pid is 0); false when none runs.
// The terminal's own codes for control with the cursor keys go as the codes the player knows.
bool forward_to_player(int key);

// True for a key the player acts on: Esc, the cursor keys left and right, and
// control with them, in the fixed codes or this terminal's own.
bool player_takes_key(int key);

// SIGINT handler of long jobs: sets abort_sig.
void abort_func(int sig);
