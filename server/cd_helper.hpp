// The drive helper: this program started as "zerkaserver --cd-helper VERB ..."
// by the server, for the work that blocks (the drive, the master server, the
// image of a backup), so that the server's event loop never waits for it. It
// writes lines on standard output ("progress N", "log TEXT", "error TEXT",
// "done") and ends with status 0 on success.
//
//   identify DRIVE                      the table of contents ("track N LBA AUDIO" lines, "leadout N")
//   rip DRIVE DISCID TRACK FILE SPEED   one track into FILE, when the disc's identifier is DISCID (hex)
//   eject DRIVE                         ejects a device
//   master-read HOST:PORT ALBUM         the album's text as the master has it
//   master-online HOST:PORT ALBUM TRACK marks a track on line at the master
//   write-image CUE WAV...              a disc image (CUE and the .bin beside it) of the WAV files
#pragma once

// Runs one verb (argv[0] is the verb). Returns the exit status.
int cd_helper_main(int argc, char **argv);

// Exit status of a rip that met a read error.
inline constexpr int k_helper_read_error = 3;
