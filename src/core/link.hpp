// The TCP link to the servers: connecting, sending a request and waiting for
// its reply, the server's clock, and the message tracers.
#pragma once

#include "proto/fd_io.hpp"
#include "proto/wire.hpp"

#include <cstddef>
#include <cstdint>
#include <ctime>

struct chain_item;

extern int master_sock;    // connection to the master server
extern int cd_srv_sock;    // connection to the local (CD-drive) server; master_sock when there is none
extern long master_sequ;   // next sequence number on master_sock
extern long cd_srv_sequ;   // next sequence number on cd_srv_sock

// Connects to a server at start-up; never returns on failure (the message goes
// to standard error and the program ends with status 1). master_flag 1 names
// the master server in messages, 0 the local server.
int connect_to_server(const char *host, int port, int master_flag);

// Stamps the sequence and length, sends the request on msg->socket, waits for
// the matching reply and leaves it in msg. A failed write shows "send_msg
// failed" and returns with msg as it was sent.
void send_msg(server_msg *msg);

// The server's time (t == 0: asks the master, and in non-master modes sets the
// local clock from it) or t, as "dd/mm/yy @ hh:mm:ss" in a static buffer.
const char *get_time(std::time_t t);

// Formats a time as get_time shows it.
void format_server_time(char (&out)[64], std::time_t t);

// Reads the text of a GETTIME reply (seconds since the epoch in hex) into t;
// false, leaving t alone, when the text holds no such number.
bool parse_server_time(const char *text, std::time_t &t);

// Tracing aids: log one message, or the elements of a browser list.
void pr_msg(int tag, const server_msg *msg);
void pr_chain(const char *label, const chain_item *chain);

// The text of a message trace line (without the time stamp); false for a
// message that is never traced (ALBUM_READ).
bool format_msg_trace(char *buf, std::size_t cap, int tag, const server_msg &msg);

// Reads one whole message from fd into m (header checked strictly, text read in
// full and NUL-terminated); false when the peer is gone or broke the framing.
bool read_message(int fd, server_msg &m);

// Sends a request without waiting for its reply; false when it could not be written.
bool write_msg(const server_msg &msg);

// Sends a request (empty text) whose reply is not waited for. The connection's
// sequence moves on as if the reply had come, so that the late reply is never
// taken for the reply to a later request. A failed write shows "send_msg
// failed" and returns false.
bool send_unanswered(int socket, std::int64_t type, std::int64_t album, std::int64_t track);
