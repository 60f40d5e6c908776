#include "audio/stream.hpp"

#include "audio/audio_frame.hpp"
#include "core/config.hpp"
#include "core/link.hpp"
#include "core/log.hpp"
#include "core/process.hpp"
#include "core/startup.hpp"
#include "proto/msg_types.hpp"
#include "ui/popup.hpp"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <netdb.h>
#include <pulse/error.h>
#include <pulse/simple.h>
#include <sys/socket.h>
#include <unistd.h>

int audio_sock = -1;

namespace {

// Codes of audio_func.
constexpr int k_audio_start = 0;
constexpr int k_audio_stop = 1;
constexpr int k_audio_toggle = -1;

// The fixed sample specification of the stream: nothing in the messages negotiates it.
constexpr pa_sample_spec stream_spec = {.format = PA_SAMPLE_S16LE, .rate = 44100, .channels = 2};

// The playback handle, made at the first audio block and kept for the life of the streamer.
pa_simple *playback;

// Ends the streamer. A forked child must not run the parent's exit handlers or
// flush its copies of the parent's buffers.
[[noreturn]] void stream_exit(int status)
{
    _exit(status);
}

// Opens the streamer's own connection to the master server, quietly: a failure
// only ends the streamer. Two tries, two seconds apart, as at start-up.
int open_audio_connection()
{
    char port[16];
    std::snprintf(port, sizeof port, "%d", master_port);
    addrinfo hints = {};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    for (int attempt = 1; attempt <= 2; ++attempt) {
        if (attempt > 1)
            sleep(2);
        addrinfo *found = nullptr;
        if (getaddrinfo(master_server, port, &hints, &found) != 0 || found == nullptr)
            continue;
        for (const addrinfo *ai = found; ai != nullptr; ai = ai->ai_next) {
            const int fd = socket(ai->ai_family, ai->ai_socktype | SOCK_CLOEXEC, ai->ai_protocol);
            if (fd < 0)
                continue;
            if (connect(fd, ai->ai_addr, ai->ai_addrlen) == 0) {
                freeaddrinfo(found);
                return fd;
            }
            close(fd);
        }
        freeaddrinfo(found);
    }
    return -1;
}

// Plays one audio block, creating the playback stream on the first one.
void play_block(const audio_msg &m)
{
    int error = 0;
    if (playback == nullptr) {
        playback = pa_simple_new(nullptr, "zerkasound", PA_STREAM_PLAYBACK, nullptr, "playback", &stream_spec,
                                 nullptr, nullptr, &error);
        if (playback == nullptr) {
            // The streamer has no screen of its own: the log carries the failure.
            zerkalog("Cannot create playback stream: %d (%s)", error, pa_strerror(error));
            stream_exit(1);
        }
    }
    // The sound server takes whole frames only, and refuses an empty write: a
    // partial frame waits for the next block, and an empty block writes nothing.
    static frame_carry carry;
    static char whole[k_audio_frame_bytes + k_audio_payload_max];
    const std::size_t n = join_frames(carry, m.payload, m.h.length, whole);
    if (n == 0)
        return;
    if (pa_simple_write(playback, whole, n, &error) < 0) {
        zerkalog("Cannot write audio : %d (%s)", error, pa_strerror(error));
        stream_exit(1);
    }
}

}   // namespace

int audio_func(const void *, int code, const char *)
{
    if (master) {
        popup("Local audio stream not available on Master server", 1);
        return 0;
    }
    const pid_t running = find_process("Streamer");
    int mode = code;
    if (mode == k_audio_toggle)
        mode = running != 0 ? k_audio_stop : k_audio_start;
    if (mode != k_audio_start) {
        if (running != 0) {
            kill(running, SIGKILL);
            popup("Local audio terminated", 1);
        } else {
            popup("Local audio is not enabled", 1);
        }
        return 0;
    }
    if (running != 0) {
        popup("Audio is already enabled", 1);
        return 0;
    }
    const pid_t pid = fork();
    if (pid < 0) {
        zerkalog("Audio stream Fork failed");
        return -1;
    }
    if (pid == 0) {
        std::signal(SIGINT, SIG_IGN);
        change_proc_name(prog_desc, "Streamer");
        audio_stream();
    }
    popup("Local audio started", 1);
    return 0;
}

void audio_stream()
{
    close(STDIN_FILENO);
    // The client's own connections stay with the client: the streamer talks on its own.
    if (cd_srv_sock >= 0 && cd_srv_sock != master_sock)
        close(cd_srv_sock);
    if (master_sock >= 0)
        close(master_sock);
    cd_srv_sock = master_sock = -1;
    audio_sock = open_audio_connection();
    if (audio_sock < 0)
        stream_exit(1);
    send_audio_msg(CLIENT_OPEN, 0);
    send_audio_msg(AUDIO, 0);
    audio_msg m;
    for (;;) {
        const std::int64_t type = recv_audio_msg(m);
        if (type < 0)
            stream_exit(1);
        if (type == AUDIO)
            play_block(m);
    }
}

void send_audio_msg(std::int64_t type, std::int64_t value)
{
    char head[64];
    const int n = format_audio_request(head, type, value);
    const ssize_t written = write(audio_sock, head, static_cast<std::size_t>(n));
    if (written < n) {
        zerkalog("send_audio_msg failed errno=%d", errno);
        stream_exit(1);
    }
    audio_msg reply;
    if (recv_audio_msg(reply) < 0)
        stream_exit(1);
}

std::int64_t recv_audio_msg(audio_msg &m)
{
    audio_assembly a;
    for (;;) {
        const ssize_t r = read(audio_sock, audio_dest(a, m.payload), audio_want(a));
        if (r < 0 && errno == EINTR)
            continue;
        if (r <= 0)
            return -1;
        switch (audio_took(a, static_cast<std::size_t>(r), m.payload)) {
        case audio_step::more:
            continue;
        case audio_step::malformed:
            zerkalog("Audio stream: bad message header");
            return -1;
        case audio_step::too_long:
            zerkalog("Audio stream: message longer than %u bytes", k_audio_payload_max);
            return -1;
        case audio_step::complete:
            break;
        }
        m.h = a.h;
        return m.h.type;
    }
}
