// A short, blocking conversation with the master server, as a local server
// has it from its drive helper process: connect, greet, a request or two,
// close. Every step has a time limit, so a master that does not answer makes
// the step fail instead of hanging.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

// The greeting text of a local server's link to its master (CLIENT_OPEN):
// the master hands on to that connection the requests meant for a drive
// (CANCEL), and sends it nothing else.
inline constexpr std::string_view k_drive_link_greeting = "CD drive";

// Splits "HOST:PORT"; false when it is not that.
bool split_host_port(const std::string &spec, std::string &host, int &port);

// Reads an album's text from the master. False with a reason (also when the master has no such album).
bool master_read_album(const std::string &host_port, int album, std::string &text, std::string &error);

// Marks a track on line at the master: reads the album, sets the track's
// on-line flag and writes the album back, so that the master stores it and
// tells every other client. False with a reason.
bool master_mark_online(const std::string &host_port, int album, int track, std::string &error);

// Links to the master as a local server (greeting k_drive_link_greeting),
// calls `linked` once greeted, then `cancelled` with the album field of each
// CANCEL the master hands on, for as long as the connection lasts. Always
// ends with a reason (the master went, or could not be reached).
void master_watch(const std::string &host_port, const std::function<void()> &linked,
                  const std::function<void(std::int64_t album)> &cancelled, std::string &error);
