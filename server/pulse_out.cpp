#include "server/pulse_out.hpp"

#include "server/log.hpp"
#include "server/wav.hpp"

#include <pulse/error.h>
#include <pulse/simple.h>

namespace {

constexpr std::size_t k_max_queued = 2 * k_bytes_per_second;   // two seconds

// The playback thread: opens the sound server and writes what is queued.
void playback(pulse_out &p)
{
    const pa_sample_spec spec = {.format = PA_SAMPLE_S16LE, .rate = k_sample_rate, .channels = 2};
    int error = 0;
    pa_simple *s = pa_simple_new(nullptr, "zerkaserver", PA_STREAM_PLAYBACK, nullptr, "jukebox", &spec, nullptr,
                                 nullptr, &error);
    if (s == nullptr) {
        slog("Cannot open the PulseAudio output: %s - playing on without it", pa_strerror(error));
        std::lock_guard g(p.lock);
        p.failed = true;
        p.queue.clear();
        p.queued = 0;
        return;
    }
    for (;;) {
        std::string block;
        {
            std::unique_lock g(p.lock);
            p.wake.wait(g, [&] { return p.ending || !p.queue.empty(); });
            if (p.ending)
                break;
            block = std::move(p.queue.front());
            p.queue.pop_front();
            p.queued -= block.size();
        }
        if (pa_simple_write(s, block.data(), block.size(), &error) < 0) {
            slog("PulseAudio write failed: %s - playing on without it", pa_strerror(error));
            std::lock_guard g(p.lock);
            p.failed = true;
            break;
        }
    }
    pa_simple_free(s);
}

}   // namespace

void pulse_start(pulse_out &p) { p.thread = std::thread(playback, std::ref(p)); }

void pulse_write(pulse_out &p, std::string samples)
{
    {
        std::lock_guard g(p.lock);
        if (p.failed || p.ending)
            return;
        p.queued += samples.size();
        p.queue.push_back(std::move(samples));
        while (p.queued > k_max_queued && !p.queue.empty()) {
            p.queued -= p.queue.front().size();
            p.queue.pop_front();
        }
    }
    p.wake.notify_one();
}

bool pulse_usable(pulse_out &p)
{
    std::lock_guard g(p.lock);
    return !p.failed;
}

void pulse_stop(pulse_out &p)
{
    {
        std::lock_guard g(p.lock);
        p.ending = true;
    }
    p.wake.notify_one();
    if (p.thread.joinable())
        p.thread.join();
}
