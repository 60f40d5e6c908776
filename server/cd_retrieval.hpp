// Retrieval of off-line tracks from CDs, as pure logic: which track to rip
// next, which disc to ask the operator for, and the notices that tell every
// client the truth about it.
//
// Requests queue in arrival order. When the drive is free: if the disc of a
// queued album is in the drive, its tracks are ripped one after another
// ("batch": CD_LOADED, then RET_PROG for each track, RET_DONE or RET_FAILED
// after it, RET_FINAL when the batch ends); otherwise the disc of the first
// queued album is asked for once (RET_REQ, which the client shows as "Please
// load CD number %4.4d" until the disc comes, the retrieval is cancelled, or
// a rip of that album starts). A disc taken out mid-batch ends the batch; what
// is still queued for it is asked for again. An album whose CD ident is not
// known can never be served: its requests fail at once.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// One track to retrieve.
struct ret_job {
    int album;
    int track;
    bool operator==(const ret_job &) const = default;
};

// An unsolicited message for every client: type, album, track.
struct ret_notice {
    std::int64_t type;
    int album;
    int track;
    bool operator==(const ret_notice &) const = default;
};

// What the drive is to do after a step.
struct ret_effects {
    std::vector<ret_notice> notices;   // in sending order
    std::optional<ret_job> start;      // rip this track from the disc in the drive
    bool abort = false;                // stop the rip in progress (cancelled)
    bool eject = false;                // carry out the eject that waited for the batch to end
    std::vector<std::string> log;      // lines for the log
};

// The disc in the drive as the retrieval sees it.
struct ret_disc {
    bool present = false;     // an identified, usable disc is in the drive
    std::uint32_t id = 0;     // its identifier
};

// How a rip ended.
enum class ret_outcome { done, failed, cancelled };

inline constexpr std::size_t k_max_ret_queue = 1000;   // requests beyond this are refused

// The retrieval's state.
struct retrieval_state {
    std::deque<ret_job> queue;       // waiting, in request order
    std::optional<ret_job> active;   // being ripped (and marked on line)
    int batch = 0;                   // album whose disc serves the retrievals now (0: none)
    int asked = 0;                   // album whose disc the clients were asked for (0: none)
    bool eject_pending = false;      // an eject waits for the batch to end
};

// The CD ident of an album (0: unknown album, or no ident).
using ident_lookup = std::function<std::uint32_t(int album)>;

// Queues a track; false when the queue is full. A track queued or being ripped already is not queued twice.
bool ret_request(retrieval_state &s, ret_job job);

// Cancels the retrievals of an album (0: of every album): drops its queued
// tracks, stops its rip, forgets the request for its disc. Sends CANCELLED for
// each album concerned. Returns the number of tracks cancelled.
int ret_cancel(retrieval_state &s, int album, ret_effects &fx);

// The rip of the active track has ended: RET_DONE or RET_FAILED (nothing for a cancelled one).
void ret_finished(retrieval_state &s, ret_outcome outcome, ret_effects &fx);

// Moves on when the drive is free: serves the disc in the drive, ends a batch, or asks for a disc.
void ret_advance(retrieval_state &s, const ret_disc &disc, const ident_lookup &ident, ret_effects &fx);

// An eject was asked for: true when it can be done now; false when it waits
// for the batch (the rip in progress and what is queued for the disc).
bool ret_eject_request(retrieval_state &s);

// Whether the disc in the drive is in use for retrievals.
bool ret_busy(const retrieval_state &s);
