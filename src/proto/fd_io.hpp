// Whole reads and writes on a descriptor, across short counts and interruptions.
#pragma once

#include <cstddef>

// Writes all n bytes; false on error.
bool write_all(int fd, const char *buf, std::size_t n);

// Reads exactly n bytes; false when the peer closed or the read failed.
bool read_exact(int fd, char *buf, std::size_t n);
