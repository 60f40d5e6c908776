// The local audio stream: a forked process that plays the master server's audio.
#pragma once

#include "audio/audio_frame.hpp"

#include <cstdint>

extern int audio_sock;   // the streamer's own connection to the master server

// Menu handler: start (code 0), stop (1) or toggle (-1) the streamer.
int audio_func(const void *arg, int code, const char *label);

// The body of the streamer process; never returns.
[[noreturn]] void audio_stream();

// Sends one request (type, value) on audio_sock and discards the one reply it
// gets; the streamer ends (status 1) when the request cannot be written or no reply comes.
void send_audio_msg(std::int64_t type, std::int64_t value);

// Reads one message from audio_sock into m, reassembling a header that comes
// in pieces. Returns its type, or -1 when the connection closed or failed or
// the peer broke the framing (a payload above 32,768 bytes included).
std::int64_t recv_audio_msg(audio_msg &m);
