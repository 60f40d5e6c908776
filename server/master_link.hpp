// A short, blocking conversation with the master server, as a local server
// has it from its drive helper process: connect, greet, a request or two,
// close. Every step has a time limit, so a master that does not answer makes
// the step fail instead of hanging.
#pragma once

#include <string>

// Splits "HOST:PORT"; false when it is not that.
bool split_host_port(const std::string &spec, std::string &host, int &port);

// Reads an album's text from the master. False with a reason (also when the master has no such album).
bool master_read_album(const std::string &host_port, int album, std::string &text, std::string &error);

// Marks a track on line at the master: reads the album, sets the track's
// on-line flag and writes the album back, so that the master stores it and
// tells every other client. False with a reason.
bool master_mark_online(const std::string &host_port, int album, int track, std::string &error);
