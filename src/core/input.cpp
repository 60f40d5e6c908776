#include "core/input.hpp"

#include "core/hooks.hpp"
#include "core/keymap.hpp"
#include "core/link.hpp"
#include "core/reply_spin.hpp"
#include "core/signals.hpp"
#include "proto/msg_types.hpp"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <curses.h>
#include <memory>
#include <new>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

server_msg input = {.socket = STDIN_FILENO, .type = INPUT};
int gui;
int playtime;
int paused;
std::time_t then;
std::time_t now;
int retrieve_album = k_no_album;
int retrieve_track;
int cd_loaded_other;
int resize_generation;
core_hooks loop_hooks;

namespace {

key_stack typed_ahead;            // keys typed while a reply was awaited
server_msg *queue_head;         // messages that arrived while a reply was awaited, oldest first

// What has arrived of the next message on one connection. A message is taken
// only when complete, so a slow server never holds up the keyboard.
struct receiver {
    char data[k_header_len + k_text_max];
    std::size_t have = 0;
    bool header_done = false;
    wire_header h = {};
};
receiver rx_master;
receiver rx_local;

receiver &receiver_for(int fd) { return fd == master_sock ? rx_master : rx_local; }

// Reads what is available of the next message: 1 complete, 0 more to come, -1
// the server is gone or broke the framing. The first read follows select and
// may wait (unless first_flags say MSG_DONTWAIT); the rest only take what has
// already arrived, so a slow server never holds up the keyboard.
int receive_some(int fd, receiver &rx, int first_flags)
{
    for (int flags = first_flags;; flags = MSG_DONTWAIT) {
        const std::size_t need = rx.header_done ? k_header_len + rx.h.length : k_header_len;
        if (rx.have < need) {
            const ssize_t n = recv(fd, rx.data + rx.have, need - rx.have, flags);
            if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR))
                return 0;
            if (n <= 0)
                return -1;
            rx.have += static_cast<std::size_t>(n);
        }
        if (!rx.header_done && rx.have == k_header_len) {
            if (!decode_header(rx.data, rx.h))
                return -1;
            rx.header_done = true;
        }
        if (rx.header_done && rx.have == k_header_len + rx.h.length)
            return 1;
    }
}

// Moves a complete message out of its receiver into a record.
void take_message(int fd, receiver &rx, server_msg &out)
{
    out.link = nullptr;
    out.socket = fd;
    out.type = rx.h.type;
    out.sequence = rx.h.sequence;
    out.album = rx.h.album;
    out.track = rx.h.track;
    out.length = rx.h.length;
    std::memcpy(out.text, rx.data + k_header_len, rx.h.length);
    out.text[rx.h.length] = '\0';
    rx.have = 0;
    rx.header_done = false;
}

// A heap copy of a message; the program cannot go on without one.
server_msg *new_record(const char *what)
{
    server_msg *m = new (std::nothrow) server_msg;
    if (m == nullptr) {
        if (loop_hooks.error != nullptr)
            loop_hooks.error(what, errno);
        if (gui)
            endwin();
        std::exit(1);
    }
    return m;
}

// Handles the queued messages in arrival order.
void drain_queue()
{
    while (queue_head != nullptr) {
        std::unique_ptr<server_msg> m(queue_head);
        queue_head = m->link;
        m->link = nullptr;
        if (loop_hooks.message != nullptr)
            loop_hooks.message(m.get(), false);
    }
}

void append_to_queue(server_msg *m)
{
    server_msg **tail = &queue_head;
    while (*tail != nullptr)
        tail = &(*tail)->link;
    *tail = m;
}

struct cursor_place {
    int y = 0;
    int x = 0;
};

cursor_place park_cursor()
{
    cursor_place c;
    if (gui) {
        getyx(stdscr, c.y, c.x);
        move(LINES - 1, COLS - 1);
        refresh();
    }
    return c;
}

void restore_cursor(const cursor_place &c)
{
    if (gui)
        move(c.y, c.x);
}

// A key for a key wait without waiting: the last typed ahead, or one that
// curses already holds (the rest of a sequence it could not decode is not
// seen by select).
bool key_at_hand(int &key)
{
    if (typed_ahead.pop(key))
        return true;
    if (!gui)
        return false;
    wtimeout(stdscr, 0);
    key = wgetch(stdscr);
    wtimeout(stdscr, 100);
    if (key == ERR)
        return false;
    key = canonical_key(key);
    return true;
}

// What the signals left for the screen (the local player's panel, a resize,
// an interrupt): true when a key wait ends with -1 because of it.
bool screen_event(bool key_wait)
{
    if (loop_hooks.each_pass != nullptr)
        loop_hooks.each_pass();
    if (resize_pending) {
        resize_pending = 0;
        if (loop_hooks.resized != nullptr)
            loop_hooks.resized();
        ++resize_generation;
        if (key_wait)
            return true;
    }
    if (interrupt_pending && key_wait) {
        interrupt_pending = 0;
        if (loop_hooks.interrupted != nullptr)
            loop_hooks.interrupted();
        return true;
    }
    return false;
}

reply_spin spin;   // how long reply waits look before they sleep

std::int64_t monotonic_ns()
{
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<std::int64_t>(ts.tv_sec) * 1'000'000'000 + ts.tv_nsec;
}

// Waits up to a second for the keyboard (in the interactive program), the
// servers and the signal pipe: the number of readable descriptors, 0 after a
// time-out or an interrupted wait, -1 on any other failure. A reply wait first
// looks without waiting for a while (core/reply_spin.hpp); a look that finds
// something readable gives exactly what the wait would have given at that moment.
int wait_readable(fd_set &readable, bool spin_first)
{
    fd_set watched;
    FD_ZERO(&watched);
    int max_fd = -1;
    const auto watch = [&](int fd) {
        if (fd >= 0) {
            FD_SET(fd, &watched);
            max_fd = fd > max_fd ? fd : max_fd;
        }
    };
    if (gui)
        watch(STDIN_FILENO);
    watch(master_sock);
    watch(cd_srv_sock);
    watch(signal_pipe_fd());
    const std::int64_t budget = spin_first ? spin_budget(spin) : 0;
    if (budget > 0) {
        const std::int64_t start = monotonic_ns();
        for (;;) {
            readable = watched;
            timeval no_wait = {.tv_sec = 0, .tv_usec = 0};
            const int ready = select(max_fd + 1, &readable, nullptr, nullptr, &no_wait);
            const std::int64_t waited = monotonic_ns() - start;
            if (ready > 0)
                spin_found(spin, waited);
            if (ready < 0 && errno == EINTR)
                return 0;   // an interrupted wait counts as a time-out
            if (ready != 0)
                return ready;
            if (waited >= budget) {
                spin_missed(spin);
                break;
            }
        }
    }
    readable = watched;
    timeval timeout = {.tv_sec = 1, .tv_usec = 0};
    const int ready = select(max_fd + 1, &readable, nullptr, nullptr, &timeout);
    if (ready < 0 && errno == EINTR)
        return 0;   // an interrupted wait counts as a time-out
    return ready;
}

constexpr int k_wait_on = INT_MIN;   // take_readable: the wait goes on

// A server connection is readable: takes what has arrived of its next message.
// The reply ends the wait with its text length (the messages queued meanwhile
// are handled first); an unsolicited message during a key wait is handled and
// ends the wait with -1; one during a reply wait is queued.
int server_readable(int fd, server_msg *msg, bool key_wait, const cursor_place &cursor, int first_flags = 0)
{
    receiver &rx = receiver_for(fd);
    const int got = receive_some(fd, rx, first_flags);
    if (got < 0)
        server_lost();
    if (got == 0) {
        restore_cursor(cursor);
        return k_wait_on;
    }
    if (!key_wait && is_reply(*msg, fd, rx.h.type, rx.h.sequence)) {
        take_message(fd, rx, *msg);
        drain_queue();
        restore_cursor(cursor);
        if (gui)
            refresh();
        return static_cast<int>(msg->length);
    }
    server_msg *m = new_record("Message queue malloc failed");
    take_message(fd, rx, *m);
    if (key_wait) {
        std::unique_ptr<server_msg> owned(m);
        if (loop_hooks.message != nullptr)
            loop_hooks.message(m, true);
        restore_cursor(cursor);
        return -1;
    }
    append_to_queue(m);
    restore_cursor(cursor);
    return k_wait_on;
}

// Something is readable: the signal pipe is emptied; a key ends a key wait,
// and keys typed while a reply is awaited go on the type-ahead stack; then one
// message is taken, the master server's first. Returns what get_input returns,
// or k_wait_on; the cursor is back in its place either way.
int take_readable(const fd_set &readable, server_msg *msg, bool key_wait, const cursor_place &cursor)
{
    if (signal_pipe_fd() >= 0 && FD_ISSET(signal_pipe_fd(), &readable)) {
        signal_pipe_drain();
        restore_cursor(cursor);
        return k_wait_on;
    }
    if (gui && FD_ISSET(STDIN_FILENO, &readable)) {
        if (key_wait) {
            restore_cursor(cursor);
            const int key = wgetch(stdscr);
            return key == ERR ? ERR : canonical_key(key);
        }
        for (int key; (key = wgetch(stdscr)) != ERR;)
            typed_ahead.push(canonical_key(key));
    }
    int fd = -1;
    if (master_sock >= 0 && FD_ISSET(master_sock, &readable))
        fd = master_sock;
    else if (cd_srv_sock >= 0 && FD_ISSET(cd_srv_sock, &readable))
        fd = cd_srv_sock;
    if (fd < 0) {
        restore_cursor(cursor);
        return k_wait_on;
    }
    return server_readable(fd, msg, key_wait, cursor);
}

// True when a wait would watch the reply's connection alone (the command-line
// program, with one server connection and no signal pipe): reading it without
// waiting is then exactly what select and a read would give.
bool reply_connection_alone(const server_msg &msg)
{
    return !gui && signal_pipe_fd() < 0 && msg.socket >= 0 && msg.socket == master_sock &&
           (cd_srv_sock == master_sock || cd_srv_sock < 0);
}

// A reply wait on a connection watched alone: takes what has already arrived,
// then looks again for a while (core/reply_spin.hpp). Returns what get_input
// returns, or k_wait_on when the wait must sleep in select.
int take_without_waiting(server_msg *msg, const cursor_place &cursor)
{
    const int fd = static_cast<int>(msg->socket);
    int result = server_readable(fd, msg, false, cursor, MSG_DONTWAIT);
    if (result != k_wait_on)
        return result;
    const std::int64_t budget = spin_budget(spin);
    if (budget == 0)
        return k_wait_on;
    const std::int64_t start = monotonic_ns();
    for (;;) {
        result = server_readable(fd, msg, false, cursor, MSG_DONTWAIT);
        const std::int64_t waited = monotonic_ns() - start;
        if (result != k_wait_on) {
            spin_found(spin, waited);
            return result;
        }
        if (waited >= budget) {
            spin_missed(spin);
            return k_wait_on;
        }
    }
}

}   // namespace

void push_key(int key) { typed_ahead.push(key); }

[[noreturn]] void server_lost()
{
    if (master_sock >= 0) {
        shutdown(master_sock, SHUT_RDWR);
        close(master_sock);
    }
    if (loop_hooks.notice != nullptr)
        loop_hooks.notice("Zerka server is closing down - abort", -2);
    if (gui) {
        clear();
        refresh();
        endwin();
    }
    // Also left on the terminal, where it outlives the screen.
    std::fputs("Zerka server is closing down - abort\n", stderr);
    std::exit(1);
}

int get_input(server_msg *msg, int ticks)
{
    const bool key_wait = msg->type == INPUT;
    if (gui)
        wtimeout(stdscr, 100);
    int key;
    if (key_wait && key_at_hand(key))
        return key;
    for (;;) {
        if (gui && screen_event(key_wait))
            return -1;
        const cursor_place cursor = park_cursor();
        const bool alone = !key_wait && reply_connection_alone(*msg);
        if (alone) {
            const int result = take_without_waiting(msg, cursor);
            if (result != k_wait_on)
                return result;
        }
        fd_set readable;
        const int ready = wait_readable(readable, !key_wait && !alone);
        if (ready < 0) {
            restore_cursor(cursor);
            return -1;
        }
        if (ready > 0) {
            const int result = take_readable(readable, msg, key_wait, cursor);
            if (result != k_wait_on)
                return result;
            continue;
        }
        if (gui && loop_hooks.idle_second != nullptr)
            loop_hooks.idle_second();
        restore_cursor(cursor);
        if (gui)
            refresh();
        if (ticks != 0 && --ticks == 0)
            return -1;
    }
}
