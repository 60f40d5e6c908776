// The one request the report screens make of the master server.
#pragma once

#include <cstdint>

// The reply's album field when the server refused a request.
inline constexpr long k_request_refused = 0xFFFF;

// Sends a request with album and track (and no text) to the master server and
// waits for its reply; returns the reply's album field.
long report_request(std::int64_t type, int album_no, int track_no);
