// The server's state: its folders, the album store, the history log, the
// player and auto-DJ, the console lock, and one session per connection.
#pragma once

#include "server/history.hpp"
#include "server/modes.hpp"
#include "server/power.hpp"
#include "server/store.hpp"

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

// A file descriptor that is closed when its owner goes.
struct unique_fd {
    int fd = -1;

    unique_fd() = default;
    explicit unique_fd(int f) : fd(f) {}
    unique_fd(unique_fd &&o) noexcept : fd(o.fd) { o.fd = -1; }
    unique_fd &operator=(unique_fd &&o) noexcept
    {
        if (this != &o) {
            reset();
            fd = o.fd;
            o.fd = -1;
        }
        return *this;
    }
    unique_fd(const unique_fd &) = delete;
    unique_fd &operator=(const unique_fd &) = delete;
    ~unique_fd() { reset(); }
    void reset()
    {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
};

// The folders of a root.
struct server_paths {
    std::string root;        // the root folder
    std::string media;       // Media: "%4.4d_%2.2d.wav"
    std::string playlists;   // PlayLists: offline playlists and current.lst
    std::string history;     // History: "%y%m%d%H%M%S.hst"
    std::string database;    // the album database file
};

// The folders under a root.
server_paths paths_for_root(const std::string &root);

// The track being played.
struct now_playing {
    int album = 0;
    int track = 0;
    unique_fd file;                  // its media file
    std::int64_t data_offset = 0;    // first sample byte in the file
    std::int64_t data_bytes = 0;     // sample bytes
    std::int64_t pos = 0;            // sample bytes played so far
    std::int64_t fade_from = -1;     // a skip's fade: it starts at this byte (-1: no fade)
    std::int64_t fade_end = -1;      // and the track ends at this one
};

// The player and the auto-DJ.
struct player_state {
    int mode = k_mode_undefined;             // the playing mode (0..6)
    std::string selection;                   // the selection playlist of Playlist and Play-Mixed
    bool running = false;                    // the auto-DJ is on (GO); off at start-up and after STOP
    bool stop_pending = false;               // STOP: the auto-DJ goes off when this track ends
    bool paused = false;                     // play is paused
    std::optional<now_playing> current;      // the track playing, if any
    std::vector<plist_entry> chain_rest;     // the rest of a chain the auto-DJ is playing
    dj_memory memory;                        // what the selection remembers
    std::int64_t last_tick_ns = -1;          // steady clock at the previous tick
    std::int64_t carry_ns = 0;               // time not yet turned into whole frames
    std::int64_t last_notice_ms = 0;         // when PLIST_NOW was last sent
    std::int64_t last_retry_ms = 0;          // when an idle auto-DJ last looked for something to play
};

// One connection's own state.
struct session {
    int id = 0;                  // connection number, for the log and the console lock
    std::string peer;            // "address:port"
    bool audio = false;          // an audio stream (after AUDIO): gets audio only
    bool greeted = false;        // CLIENT_OPEN came: notices go to it from then on
    std::string viewing;         // the offline playlist it last opened ("" = the current playlist)
    history_walk walk;           // a HISTORY walk in progress
    std::vector<int> allocated;  // album numbers handed to it and not yet written
    bool drive_link = false;     // a local server's link to this master: gets the requests handed on only
};

// One request as received.
struct request {
    std::int64_t type;
    std::int64_t sequence;
    std::int64_t album;
    std::int64_t track;
    std::string_view text;
};

struct cd_drive;

// Everything the protocol and the player work on.
struct server_state {
    server_paths paths;             // the root and its folders
    album_store store;              // albums, chains, settings
    history_log history;            // the current history file
    player_state player;            // what plays
    std::mt19937 rng;               // shuffles and random choices
    int console_holder = -1;        // session id holding the console, -1 = none
    bool stop_requested = false;    // STOP_SERVICE, REBOOT or SHUTDOWN was accepted: the server ends
    power_commands power;           // what REBOOT and SHUTDOWN run (from the options)
    const std::vector<std::string> *after_stop = nullptr;   // the command to run once stopped (nullptr: none)
    std::int64_t (*wall_clock)() = nullptr;   // seconds since the epoch (nullptr: the system clock)
    cd_drive *cd = nullptr;         // the CD drive this server owns (nullptr: none)
};

// The wall clock of the state.
std::int64_t wall_now(const server_state &st);

// Takes the lock that lets one server at a time use a root (held as long as
// `held` stays open). False when another process holds it or it cannot be taken, with a reason.
bool lock_root(const std::string &root, unique_fd &held, std::string &error);

// Opens the store and the settings of a root whose folders exist. False with a reason.
bool state_open(server_state &st, const std::string &root, std::string &error);
