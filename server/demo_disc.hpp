// The demo's CD: an invented album as a disc image, the album in the master's
// library with some tracks off line (their media missing) and in the local
// server's database (so that the disc is known there), and a freedb entry.
#pragma once

#include <string>

// Writes DISC_DIR/drive.cue and drive.bin (copy both into the drive folder to
// put the disc in), DISC_DIR/freedb/misc/<identifier>, and the album into the
// databases of both roots (the next free number of the master). False with a reason.
bool make_demo_disc(const std::string &disc_dir, const std::string &master_root, const std::string &local_root,
                    std::string &error);
