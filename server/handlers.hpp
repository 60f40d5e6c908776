// The protocol: one handler per request type. Every request gets exactly one
// reply of its own type with its own sequence (the greeting's reply carries
// the sequence 0x0100, whose high byte the client keeps); a refused request
// answers album 0xFFFF unless its type has its own refusal. Changes are
// announced to the other clients.
#pragma once

#include "server/outbox.hpp"
#include "server/state.hpp"

#include <cstdint>
#include <string_view>

// What a handler works with.
struct request_ctx {
    server_state &st;      // the server
    session &self;         // the requesting connection
    const request &req;    // the request
    std::int64_t now_ns;   // the steady clock
    outbox &out;           // what to send
};

// Handles one request.
void handle_request(server_state &st, session &self, const request &req, std::int64_t now_ns, outbox &out);

// A connection ended: its console lock and its unused album numbers are given back.
void session_closed(server_state &st, session &self, outbox &out);

// Reads the head a LINK_TRACK names, "%d %d" (album, track), as sscanf would
// from the text's first 63 characters; false when there are not two numbers
// or one does not fit an int.
bool parse_link_head(std::string_view text, int &album, int &track);

// The reply to a request: its type and sequence with the given fields.
void reply(request_ctx &c, std::int64_t album, std::int64_t track = 0, std::string_view text = {});
