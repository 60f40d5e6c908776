// The one waiting point of the program: keys from the operator and messages
// from the servers. What it asks of the screen and of the message handlers
// (the play-time display, unsolicited messages) goes through core/hooks.hpp.
#pragma once

#include "proto/wire.hpp"

#include <cstdint>
#include <ctime>

extern server_msg input;          // the standing key-wait record (type INPUT, socket = standard input)
extern int gui;                   // 1 in the interactive program, 0 in command-line mode

extern int playtime;              // seconds left of the track playing
extern int paused;                // play is paused
extern std::time_t then;          // when playtime was last brought up to date
extern std::time_t now;           // the current time of the last idle second

extern int retrieve_album;        // album whose CD the operator is asked to load; 65534 = none
extern int retrieve_track;        // its track
extern int cd_loaded_other;       // a CD other than the requested one is being handled

inline constexpr int k_no_album = 65534;
inline constexpr int k_typeahead_max = 128;

// Keys typed while a reply is awaited; a later key wait takes the last typed first.
struct key_stack {
    int keys[k_typeahead_max] = {};
    int top = 0;
    // Pushes a key; a key beyond the bound is dropped. False when dropped.
    bool push(int key);
    // Pops the last key pushed; false when empty.
    bool pop(int &key);
};

// True when a received message is the reply to the waiting request: it came on
// the request's socket and carries its sequence, or it is the greeting's reply.
bool is_reply(const server_msg &waiting, std::int64_t socket, std::int64_t type, std::int64_t sequence);

// Waits for a key (msg == &input) or for the reply to msg. Returns the key, or
// -1 when `ticks` idle seconds passed (0: no limit), an unsolicited message was
// handled, or the wait failed; for a reply, its text length with the reply in msg.
int get_input(server_msg *msg, int ticks);

// Pushes a key back so that the next key wait returns it first.
void push_key(int key);

// Ends the program after the server connection was lost.
[[noreturn]] void server_lost();

// Counts the events after which a screen must lay itself out and draw again
// completely: terminal resizes, and a declined exit question, which cleared the screen.
extern int resize_generation;
