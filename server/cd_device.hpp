// The drive itself, through libcdio: a CD device (/dev/sr0) or a disc image
// (NAME.cue with NAME.bin beside it, read with the same calls). Reading the
// table of contents, ripping one track with libcdio-paranoia, ejecting.
// These calls block (a drive may take seconds to spin up, paranoia may retry
// a scratched sector for minutes), so the server runs them only in its drive
// helper processes (cd_helper), never in its event loop.
#pragma once

#include "server/cd_disc.hpp"

#include <cstdint>
#include <functional>
#include <string>

// Whether a drive path names a disc image (it ends in ".cue") rather than a device.
bool drive_is_image(const std::string &path);

// Reads the table of contents of the disc in the drive. False with a reason.
bool drive_read_toc(const std::string &path, disc_toc &toc, std::string &error);

// Progress of a rip: sectors done, sectors in all.
using rip_progress = std::function<void(std::int64_t done, std::int64_t total)>;

// How a rip went wrong.
enum class rip_result { ok, no_disc, wrong_disc, no_track, read_error, write_error };

// Rips audio track `track` of the disc in the drive into `out_path` as a WAV
// file (the canonical 44-byte header, then the samples exactly as on the
// disc), after checking that the disc's identifier is `expected_id`. The file
// is synced and read back before success is reported. Read errors (paranoia
// has to skip a sector, or reports more hard errors than it can correct) end
// the rip at once through `on_read_error`, which must not return (the helper
// process exits). False with a reason otherwise.
// `speed` (0: as fast as it goes) is the read speed in multiples of playing
// speed: a device is set to it, an image is read no faster.
rip_result drive_rip_track(const std::string &path, std::uint32_t expected_id, int track, const std::string &out_path,
                           int speed, const rip_progress &progress, void (*on_read_error)(long sector),
                           std::string &error);

// Ejects the disc of a device. False with a reason.
bool drive_eject(const std::string &path, std::string &error);
