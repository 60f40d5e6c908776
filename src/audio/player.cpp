#include "audio/player.hpp"

#include "audio/player_panel.hpp"
#include "audio/player_seek.hpp"
#include "core/config.hpp"
#include "core/link.hpp"
#include "core/log.hpp"
#include "core/process.hpp"
#include "core/signals.hpp"
#include "core/startup.hpp"
#include "db/album.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <curses.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/select.h>
#include <pulse/error.h>
#include <pulse/simple.h>
#include <unistd.h>

char cur_track_data[80];
volatile std::sig_atomic_t abort_sig;

namespace {

// Player side.
volatile std::sig_atomic_t skip_value;   // the last key the client sent; 0 none, -1 a seek was just made
volatile std::sig_atomic_t key_serial;   // counts the keys received, so a wait can tell a new one arrived

// Client side.
volatile std::sig_atomic_t panel_elapsed;   // the elapsed seconds the player last reported
volatile std::sig_atomic_t panel_fresh;     // a reported value waits to be drawn

sigval fdvalue;   // the value sent with sigqueue; only its integer is used

// The fixed sample specification of the playback stream.
constexpr pa_sample_spec player_spec = {.format = PA_SAMPLE_S16LE, .rate = 44100, .channels = 2};

// One second of audio. A short last read leaves the rest of the block as it
// was, and the whole block is written: the end of the track repeats what the
// buffer held before.
char block[k_block_bytes];

// Places one line-drawing character, if that place is on the screen.
void put_char(int row, int col, chtype ch)
{
    if (row >= 0 && col >= 0 && row < LINES && col < COLS)
        mvaddch(row, col, ch);
}

// Draws the panel for a number of elapsed seconds (no refresh: the input loop shows it).
void draw_panel(int elapsed)
{
    put_char(k_panel_top, k_panel_left, ACS_ULCORNER);
    put_char(k_panel_top, k_panel_right, ACS_URCORNER);
    put_char(k_panel_bottom, k_panel_left, ACS_LLCORNER);
    put_char(k_panel_bottom, k_panel_right, ACS_LRCORNER);
    for (int col = k_panel_left + 1; col < k_panel_right; ++col) {
        put_char(k_panel_top, col, ACS_HLINE);
        put_char(k_panel_bottom, col, ACS_HLINE);
    }
    for (int row = k_panel_top + 1; row < k_panel_bottom; ++row) {
        put_char(row, k_panel_left, ACS_VLINE);
        put_char(row, k_panel_right, ACS_VLINE);
        for (int col = k_panel_left + 1; col < k_panel_right; ++col)
            put_char(row, col, ' ');
    }
    const player_panel panel = layout_player_panel(cur_track_data, elapsed);
    for (const panel_text &t : panel.texts) {
        const attr_t look = t.look == panel_look::bold ? A_BOLD : t.look == panel_look::reverse ? A_REVERSE : A_NORMAL;
        attron(look);
        put_text(stdscr, t.row, t.col, t.text);
        attroff(look);
    }
}

// Ends the player process without touching anything the client owns.
[[noreturn]] void player_exit(int fd, int status)
{
    if (fd >= 0)
        close(fd);
    _exit(status);
}

// Ends a player whose client has gone: nobody is left to send it keys or to
// show its time, and its signals would reach whatever process takes the client's number.
void end_if_orphaned(pid_t parent, int fd)
{
    if (getppid() != parent)
        player_exit(fd, 0);
}

// Waits until a key newer than `seen` arrives. SIGUSR1 is blocked between the
// test and the wait, so a key cannot slip in unnoticed; once a second the
// player looks whether its client is still there.
void wait_for_key(std::sig_atomic_t seen, pid_t parent, int fd)
{
    sigset_t usr1;
    sigset_t old;
    sigemptyset(&usr1);
    sigaddset(&usr1, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &usr1, &old);
    sigdelset(&old, SIGUSR1);
    while (key_serial == seen) {
        const timespec second = {.tv_sec = 1, .tv_nsec = 0};
        pselect(0, nullptr, nullptr, nullptr, &second, &old);
        end_if_orphaned(parent, fd);
    }
    pthread_sigmask(SIG_UNBLOCK, &usr1, nullptr);
}

// Reports the elapsed seconds to the client.
void send_elapsed(pid_t parent, int elapsed, int fd)
{
    end_if_orphaned(parent, fd);
    fdvalue.sival_int = elapsed;
    sigqueue(parent, SIGUSR2, fdvalue);
}

// Reads up to n bytes, going on after short reads until the end of the file.
long read_some(int fd, char *buf, long n)
{
    long got = 0;
    while (got < n) {
        const ssize_t r = read(fd, buf + got, static_cast<std::size_t>(n - got));
        if (r < 0 && errno == EINTR)
            continue;
        if (r <= 0)
            break;
        got += r;
    }
    return got;
}

// The player process: plays one track's media file a second at a time and acts on the keys the client forwards.
// The player process's own set-up: signals, the client's connections closed,
// its name, and the SIGUSR1 handler that takes the client's keys.
void become_player()
{
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGUSR2, SIG_IGN);
    std::signal(SIGWINCH, SIG_DFL);
    close(STDIN_FILENO);
    // The client's connections stay with the client.
    if (cd_srv_sock >= 0 && cd_srv_sock != master_sock)
        close(cd_srv_sock);
    if (master_sock >= 0)
        close(master_sock);
    change_proc_name(prog_desc, "Locplay");
    if (!install_siginfo_handler(SIGUSR1, loc_play_int)) {
        zerkalog("local_player - sigaction error - SIGUSR1 errno=%d", errno);
        player_exit(-1, 1);
    }
}

// The playback stream. The sound server's threads must not take the keys:
// SIGUSR1 is blocked while they are made, so only this thread waits for them.
pa_simple *open_playback(const sigset_t &usr1)
{
    pthread_sigmask(SIG_BLOCK, &usr1, nullptr);
    int error = 0;
    pa_simple *playback = pa_simple_new(nullptr, "zerkasound", PA_STREAM_PLAYBACK, nullptr, "playback", &player_spec,
                                        nullptr, nullptr, &error);
    pthread_sigmask(SIG_UNBLOCK, &usr1, nullptr);
    if (playback == nullptr) {
        zerkalog("pa_simple_new() failed: %s", pa_strerror(error));
        player_exit(-1, 1);
    }
    return playback;
}

// Opens the track's media file and reads past its header into pos.
int open_track(int album_no, int track_no, player_pos &pos)
{
    char path[64];
    std::snprintf(path, sizeof path, "%s/%4.4d_%2.2d.wav", "Media", album_no, track_no);
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        zerkalog("Cannot open WAV file: %s - %s", path, std::strerror(errno));
        player_exit(-1, 1);
    }
    pos.file_size = lseek(fd, 0, SEEK_END);
    lseek(fd, 0, SEEK_SET);
    // The header is not examined; a file shorter than a header starts its audio where the short read ended.
    pos.data_start = read_some(fd, block, k_wav_header_bytes);
    pos.position = pos.data_start;
    pos.elapsed = -1;
    return fd;
}

// Acts on the keys that arrived while the last block played (with SIGUSR1
// blocked meanwhile), waiting for the next key where one leaves the player
// silent.
void take_keys(player_pos &pos, int fd, pid_t parent, const sigset_t &usr1)
{
    while (skip_value > 0) {
        pthread_sigmask(SIG_BLOCK, &usr1, nullptr);
        pos.skip_value = skip_value;
        const std::sig_atomic_t seen = key_serial;
        const key_effect effect = apply_player_key(pos);
        skip_value = pos.skip_value;
        pthread_sigmask(SIG_UNBLOCK, &usr1, nullptr);
        switch (effect) {
        case key_effect::seeked:
            lseek(fd, pos.position, SEEK_SET);
            break;
        case key_effect::at_end:
            lseek(fd, pos.position, SEEK_SET);
            send_elapsed(parent, pos.elapsed, fd);
            wait_for_key(seen, parent, fd);
            break;
        case key_effect::quit:
            player_exit(fd, 0);
        case key_effect::pending:
            wait_for_key(seen, parent, fd);   // silent until the next key
            break;
        }
    }
}

[[noreturn]] void run_player(int album_no, int track_no)
{
    become_player();
    const pid_t parent = getppid();
    sigset_t usr1;
    sigemptyset(&usr1);
    sigaddset(&usr1, SIGUSR1);
    pa_simple *playback = open_playback(usr1);
    player_pos pos;
    const int fd = open_track(album_no, track_no, pos);
    skip_value = k_skip_none;

    for (;;) {
        const long got = read_some(fd, block, k_block_bytes);
        pos.position += got;
        // At the end of the track: wait for a key (back, start or ESC).
        while (got == 0) {
            const std::sig_atomic_t seen = key_serial;
            if (skip_value > 0)
                break;
            wait_for_key(seen, parent, fd);
        }
        take_keys(pos, fd, parent, usr1);
        if (skip_value == k_skip_seeked) {
            skip_value = k_skip_none;   // the block read before the seek is dropped
            continue;
        }
        ++pos.elapsed;
        send_elapsed(parent, pos.elapsed, fd);
        int error = 0;
        if (pa_simple_write(playback, block, sizeof block, &error) < 0) {
            std::fprintf(stderr, "pa_simple_write() failed: %s\n", pa_strerror(error));
            player_exit(fd, 1);
        }
    }
}

}   // namespace

int local_player(int album_no, int track_no)
{
    if (master) {
        popup("Local audio stream not available on Master server", 1);
        return -1;
    }
    if (track_no == 0)
        return -1;
    const pid_t running = find_process("Locplay");
    if (running > 0) {
        kill(running, SIGKILL);
        local_audio_pid = 0;
        return 0;
    }
    if (album_no == 0) {
        popup("Track Not Online", 1);
        return 0;
    }
    if (album_no < 0 || album_no >= k_album_slots || track_no < 0 || track_no >= k_max_entries)
        return -1;
    const track_rec &t = album[album_no].entry[track_no];
    format_track_data(cur_track_data, t.artist, t.title);
    const pid_t pid = fork();
    if (pid < 0) {
        zerkalog("Local player Fork failed");
        return -1;
    }
    if (pid == 0)
        run_player(album_no, track_no);
    return pid;
}

void loc_play_int(int, siginfo_t *info, void *)
{
    // Only values sent with sigqueue carry a key.
    if (info == nullptr || info->si_code != SI_QUEUE)
        return;
    skip_value = info->si_value.sival_int;
    key_serial = key_serial + 1;
}

void loc_play_display(int, siginfo_t *info, void *)
{
    if (info == nullptr || info->si_code != SI_QUEUE)
        return;
    panel_elapsed = info->si_value.sival_int;
    panel_fresh = 1;
    signal_wakeup();
}

void loc_play_redraw()
{
    if (panel_fresh == 0)
        return;
    panel_fresh = 0;
    draw_panel(panel_elapsed);
}

bool player_takes_key(int key) { return player_key(key); }

bool forward_to_player(int key)
{
    fdvalue.sival_int = key;
    if (local_audio_pid != 0 && sigqueue(local_audio_pid, SIGUSR1, fdvalue) == 0)
        return true;
    // No player known, or the known one has gone: the process name decides.
    const pid_t pid = find_process("Locplay");
    return pid > 0 && sigqueue(pid, SIGUSR1, fdvalue) == 0;
}

void abort_func(int sig)
{
    std::signal(sig, SIG_IGN);
    abort_sig = 1;
    install_handler(sig, abort_func);
    signal_wakeup();
}
