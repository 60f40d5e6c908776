// The network side: one thread, one Asio io_context. It accepts connections,
// frames their messages, hands each request to the protocol handlers and
// delivers what they send; a 50 ms clock drives the player and the audio
// streams. A malformed frame, a message stalled half-way (30 seconds), or a
// client that falls more than a few megabytes behind loses its own connection
// only; the server goes on.
#pragma once

#include "server/state.hpp"

#include <string>

// How to listen and play.
struct net_options {
    std::string listen = "127.0.0.1";   // address to listen on
    int port = 0;                       // 0: any free port
    bool pulse = false;                 // also play to the local PulseAudio server
    int stall_seconds = 30;             // a message stalled half-way this long closes its connection
};

// Runs the server until STOP_SERVICE, SIGINT or SIGTERM. Prints
// "zerkaserver listening on ADDR:PORT" on standard output once listening.
// Returns the exit status.
int run_server(server_state &st, const net_options &opt);
