// Optional playback on the server's own PulseAudio output. The blocking writes
// run in a thread of their own behind a bounded queue, so the protocol thread
// never waits for the sound server; when the queue is full the oldest audio is
// dropped.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

// The playback thread and its queue.
struct pulse_out {
    std::mutex lock;                  // guards the fields below
    std::condition_variable wake;     // signals new audio or the end
    std::deque<std::string> queue;    // audio waiting for the sound server
    std::size_t queued = 0;           // bytes in the queue
    bool ending = false;              // the thread is to end
    bool failed = false;              // the sound server could not be used
    std::thread thread;               // the playback thread
};

// Starts the playback thread.
void pulse_start(pulse_out &p);

// Queues samples (16-bit stereo, 44.1 kHz).
void pulse_write(pulse_out &p, std::string samples);

// Whether the sound server is still in use (false once it failed).
bool pulse_usable(pulse_out &p);

// Ends the playback thread.
void pulse_stop(pulse_out &p);
