// The local audio stream: a forked process that plays the master server's audio.
#pragma once

#include <cstdint>

extern int audio_sock;   // the streamer's own connection to the master server

// Menu handler: start (code 0), stop (1) or toggle (-1) the streamer.
int audio_func(const void *arg, int code, const char *label);

// The body of the streamer process; never returns.
[[noreturn]] void audio_stream();
