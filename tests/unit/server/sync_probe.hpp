// Watches the calls that put data on the disk (fsync, fdatasync) and the
// renames, made by anything in the test program, the SQLite library included:
// the test program's own definitions of these functions take their place and
// pass each call on.
#pragma once

#include <string>
#include <vector>

// One call seen: "fsync", "fdatasync" or "rename", and the file (the new name of a rename).
struct sync_event {
    std::string call;
    std::string path;
    std::string from;   // a rename's old name
};

// Starts recording (anew).
void sync_probe_start();

// Stops recording and returns what was seen, in order.
std::vector<sync_event> sync_probe_stop();
