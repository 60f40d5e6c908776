// The network side: one thread, one Asio io_context. It accepts connections,
// frames their messages, hands each request to the protocol handlers and
// delivers what they send; a 50 ms clock drives the player and the audio
// streams. A malformed frame, a message not whole 30 seconds after it began,
// no greeting within 10 seconds, or a client that falls more than a few
// megabytes behind loses its own connection only; the server goes on.
// Connections beyond the limit are closed as they come, with a log line.
#pragma once

#include "server/state.hpp"

#include <string>

// How to listen and play.
struct net_options {
    std::string listen = "127.0.0.1";   // address to listen on
    int port = 0;                       // 0: any free port
    bool pulse = false;                 // also play to the local PulseAudio server
    int stall_seconds = 30;             // a message not whole this long after it began closes its connection
    int greet_seconds = 10;             // a connection that has not greeted (CLIENT_OPEN) this long is closed
    int max_connections = 100;          // connections open at once (fewer when descriptors are short)
};

// Runs the server until STOP_SERVICE, SIGINT or SIGTERM. Prints
// "zerkaserver listening on ADDR:PORT" on standard output once listening.
// Returns the exit status.
int run_server(server_state &st, const net_options &opt);
