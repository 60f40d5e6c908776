// The TCP link to the servers: connecting and greeting, the requests (the one
// way to ask a server anything), the server's clock, and the message tracers.
#pragma once

#include "proto/fd_io.hpp"
#include "proto/wire.hpp"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string_view>

extern int master_sock;    // connection to the master server
extern int cd_srv_sock;    // connection to the local (CD-drive) server; master_sock when there is none
extern long master_sequ;   // next sequence number on master_sock
extern long cd_srv_sequ;   // next sequence number on cd_srv_sock

// Connects to a server at start-up; never returns on failure (the message goes
// to standard error and the program ends with status 1). master_flag 1 names
// the master server in messages, 0 the local server.
int connect_to_server(const char *host, int port, int master_flag);

// Greets the master server with CLIENT_OPEN (album 1, track 0, empty text)
// after resetting its sequence, and in local mode the local server after
// resetting its own. The second greeting is the first reply sent on as it
// came (its type, album and track), deliberately.
void greet_servers();

// ----- Requests -------------------------------------------------------------
//
// Every request to a server goes through request or requestf: nothing outside
// the link fills a server_msg. The record is made here and comes back, holding
// the reply, on the caller's stack: a handler of unsolicited messages may run
// inside any reply wait and send requests of its own without touching it.
//
// The link stamps the sequence of the connection (the low byte advances after
// each reply and rolls over without carry; the high byte is the server's) and
// the text length. Requests are strictly one at a time; messages that arrive
// meanwhile are handled after the reply (core/hooks.hpp).

// A reply's album field when the server refused or failed the request.
inline constexpr std::int64_t k_refused = 0xFFFF;

// Sends a request of `type` with album, track and text (cut to 32,768 bytes) on
// `socket` and waits for its reply, which it returns. A write that fails shows
// "send_msg failed" and returns the request as it was sent.
server_msg request(int socket, std::int64_t type, std::int64_t album, std::int64_t track,
                   std::string_view text = {});

// The same with the text made by a printf format.
[[gnu::format(printf, 5, 6)]] server_msg requestf(int socket, std::int64_t type, std::int64_t album,
                                                   std::int64_t track, const char *format, ...);

// Sends a request with an empty text whose reply is not waited for. The
// connection's sequence moves on as if the reply had come, so that the late
// reply is never taken for the reply to a later request (it is then handled
// as an unsolicited message). A write that fails shows "send_msg failed" and
// returns false.
bool send_unanswered(int socket, std::int64_t type, std::int64_t album, std::int64_t track);

// The server's time (t == 0: asks the master, and in non-master modes sets the
// local clock from it) or t, as "dd/mm/yy @ hh:mm:ss" in a static buffer.
const char *get_time(std::time_t t);

// Formats a time as get_time shows it.
void format_server_time(char (&out)[64], std::time_t t);

// Reads the text of a GETTIME reply (seconds since the epoch in hex) into t;
// false, leaving t alone, when the text holds no such number.
bool parse_server_time(const char *text, std::time_t &t);

// Tracing aid: logs one message (pr_chain in browse/chain.hpp logs a list).
void pr_msg(int tag, const server_msg *msg);

// The text of a message trace line (without the time stamp); false for a
// message that is never traced (ALBUM_READ).
bool format_msg_trace(char *buf, std::size_t cap, int tag, const server_msg &msg);
