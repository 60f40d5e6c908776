// New album numbers from the master server.
#pragma once

#include <cstdint>

// Asks the master server for a new album number: ALBUM_NEW (the next regular
// number) or ALBUM_TEMP (a reserved one of 9000..9019). Returns the number, 0
// when none is free (or the server refused). The reply's text, read as
// hexadecimal, is the value the new album's record keeps after its CD ident;
// it goes into *value when value is not null (0 without one).
int request_album_number(std::int64_t type, std::uint64_t *value);
