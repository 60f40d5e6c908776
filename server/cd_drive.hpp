// The CD drive a server owns (--cd-drive): watching for discs, identifying
// them, announcing them to the clients, retrieving off-line tracks, and
// writing backup discs. The drive work itself runs in helper processes
// (cd_helper) and in cdrdao; this part, in the event loop, starts them,
// reads what they report on each clock tick, and answers the CD requests.
//
// A server with a drive is either the master itself (no --master: media go
// into its own Media folder and tracks are marked on line in its own
// database) or the local server of a master (--master HOST:PORT with
// --master-root DIR: media go into DIR/Media, the master's media folder seen
// from this machine, and tracks are marked on line at the master, which tells
// every client).
#pragma once

#include "server/handlers.hpp"
#include "server/outbox.hpp"
#include "server/state.hpp"

#include <cstdint>
#include <string>

// How the drive is set up.
struct cd_options {
    std::string drive;                      // a device (/dev/sr0) or a disc image (NAME.cue, NAME.bin beside it)
    std::string freedb;                     // the local freedb folder ("": freedb unavailable)
    std::string master;                     // "HOST:PORT" of the master ("": this server is the master)
    std::string master_root;                // the master's root as seen from here (with --master)
    bool simulate = false;                  // backups: cdrdao's simulation, or an image without a writer
    std::string cdrdao = "/usr/bin/cdrdao"; // the cdrdao program
    std::string helper;                     // this program, run as the drive helper
    int speed = 0;                          // read speed (multiples of playing speed; 0: the fastest)
    int image_poll_ms = 200;                // how often an image's files are looked at
    int device_poll_ms = 2000;              // how often a device is asked for its disc
    int stall_seconds = 120;                // a helper silent this long is ended (a stuck drive)
};

// Sets up the drive of a server. False with a reason (bad options).
bool cd_drive_open(server_state &st, const cd_options &opt, std::string &error);

// Ends the helpers and forgets the drive.
void cd_drive_close(server_state &st);

// One clock tick: reads the helpers, watches the drive, moves the retrievals on.
void cd_drive_tick(server_state &st, std::int64_t now_ns, outbox &out);

// The CD requests. Without a drive they answer as a server that has none.
void cd_ret_track(request_ctx &c);   // RET_TRACK: retrieve one track
void cd_ret_check(request_ctx &c);   // RET_CHECK: retrieve every off-line track of an album
void cd_cancel(request_ctx &c);      // CANCEL: cancel an album's retrievals
void cd_eject(request_ctx &c);       // CD_EJECT: the loaded CD has been viewed
void cd_waiting(request_ctx &c);     // CD WAITING: the operator wants to see the disc
void cd_write(request_ctx &c);       // WRITE_CD: burn a backup of an album

// ALBUM_READ and ALBUM_WRITE of album 0, the disc in the drive. True when answered here.
bool cd_album_read(request_ctx &c);
bool cd_album_write(request_ctx &c);
