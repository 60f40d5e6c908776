#include "server/master_link.hpp"

#include "proto/album_text.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "proto/wire.hpp"
#include "server/outbox.hpp"

#include <arpa/inet.h>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int k_step_ms = 10'000;   // time limit of each step

// One connection to the master.
struct master_conn {
    int fd = -1;
    std::int64_t sequence = 0;
    master_conn() = default;
    master_conn(const master_conn &) = delete;
    master_conn &operator=(const master_conn &) = delete;
    ~master_conn()
    {
        if (fd >= 0)
            ::close(fd);
    }
};

// Waits until the socket is ready; false on time-out or error.
bool wait_ready(int fd, short events)
{
    pollfd p{.fd = fd, .events = events, .revents = 0};
    for (;;) {
        const int r = ::poll(&p, 1, k_step_ms);
        if (r < 0 && errno == EINTR)
            continue;
        return r > 0 && (p.revents & (events | POLLHUP | POLLERR)) != 0;
    }
}

bool connect_master(master_conn &c, const std::string &host_port, std::string &error)
{
    std::string host;
    int port = 0;
    if (!split_host_port(host_port, host, port)) {
        error = "bad master address \"" + host_port + "\"";
        return false;
    }
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *res = nullptr;
    if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &res) != 0 || res == nullptr) {
        error = "cannot resolve the master " + host;
        return false;
    }
    c.fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int rc = c.fd < 0 ? -1 : ::connect(c.fd, res->ai_addr, res->ai_addrlen);
    ::freeaddrinfo(res);
    if (c.fd < 0 || (rc != 0 && errno != EINPROGRESS) || !wait_ready(c.fd, POLLOUT)) {
        error = "cannot connect to the master " + host_port + " - " + std::strerror(errno != 0 ? errno : ETIMEDOUT);
        return false;
    }
    int so_error = 0;
    socklen_t len = sizeof so_error;
    ::getsockopt(c.fd, SOL_SOCKET, SO_ERROR, &so_error, &len);
    if (so_error != 0) {
        error = "cannot connect to the master " + host_port + " - " + std::strerror(so_error);
        return false;
    }
    int one = 1;
    ::setsockopt(c.fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    return true;
}

// Moves n bytes with `step` (a send or a receive of what is left), waiting for
// the socket when it would block; false when the link fails or closes.
template <class Step>
bool transfer_all(master_conn &c, std::size_t n, short events, Step step)
{
    std::size_t done = 0;
    while (done < n) {
        const ssize_t r = step(done);
        if (r < 0 && errno == EINTR)
            continue;
        if (r < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            if (!wait_ready(c.fd, events))
                return false;
            continue;
        }
        if (r <= 0)
            return false;
        done += static_cast<std::size_t>(r);
    }
    return true;
}

bool send_all(master_conn &c, const std::string &bytes)
{
    return transfer_all(c, bytes.size(), POLLOUT, [&](std::size_t done) {
        return ::send(c.fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
    });
}

bool recv_exact(master_conn &c, char *buf, std::size_t n)
{
    return transfer_all(c, n, POLLIN, [&](std::size_t done) { return ::recv(c.fd, buf + done, n - done, 0); });
}

// Sends a request and waits for its reply (notices in between are passed over).
bool exchange(master_conn &c, std::int64_t type, std::int64_t album, std::string_view text, frame_fields &reply,
              std::string &error)
{
    const frame_ptr f = make_frame(type, c.sequence, album, 0, text);
    if (f == nullptr || !send_all(c, *f)) {
        error = "cannot send to the master";
        return false;
    }
    static char body[k_text_max + 1];
    for (int skipped = 0; skipped < 10000; ++skipped) {
        char head[k_header_len];
        wire_header h;
        if (!recv_exact(c, head, sizeof head) || !decode_header(head, h) || !recv_exact(c, body, h.length)) {
            error = "no answer from the master";
            return false;
        }
        if (h.sequence == c.sequence || (type == CLIENT_OPEN && h.type == CLIENT_OPEN)) {
            reply = {h.type, h.sequence, h.album, h.track, std::string(body, h.length)};
            c.sequence = next_sequence(h.sequence);
            return true;
        }
    }
    error = "the master sends only notices";
    return false;
}

bool open_and_greet(master_conn &c, const std::string &host_port, std::string &error, std::string_view greeting = {})
{
    frame_fields r;
    return connect_master(c, host_port, error) && exchange(c, CLIENT_OPEN, 1, greeting, r, error);
}

// Reads exactly n bytes, waiting as long as it takes; false when the connection ends.
bool recv_waiting(master_conn &c, char *buf, std::size_t n)
{
    std::size_t done = 0;
    while (done < n) {
        const ssize_t r = ::recv(c.fd, buf + done, n - done, 0);
        if (r < 0 && errno == EINTR)
            continue;
        if (r < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            pollfd p{.fd = c.fd, .events = POLLIN, .revents = 0};
            if (::poll(&p, 1, -1) < 0 && errno != EINTR)
                return false;
            continue;
        }
        if (r <= 0)
            return false;
        done += static_cast<std::size_t>(r);
    }
    return true;
}

}   // namespace

bool split_host_port(const std::string &spec, std::string &host, int &port)
{
    const std::size_t colon = spec.rfind(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 >= spec.size())
        return false;
    host = spec.substr(0, colon);
    const char *b = spec.data() + colon + 1;
    const char *e = spec.data() + spec.size();
    const auto [p, ec] = std::from_chars(b, e, port);
    return ec == std::errc{} && p == e && port > 0 && port <= 65535;
}

bool master_read_album(const std::string &host_port, int album, std::string &text, std::string &error)
{
    master_conn c;
    frame_fields r;
    if (!open_and_greet(c, host_port, error) || !exchange(c, ALBUM_READ, album, {}, r, error))
        return false;
    if (r.album != album) {
        char buf[64];
        std::snprintf(buf, sizeof buf, "the master has no album %04d", album);
        error = buf;
        return false;
    }
    text = std::move(r.text);
    return true;
}

bool master_mark_online(const std::string &host_port, int album, int track, std::string &error)
{
    master_conn c;
    frame_fields r;
    if (!open_and_greet(c, host_port, error) || !exchange(c, ALBUM_READ, album, {}, r, error))
        return false;
    char buf[96];
    if (r.album != album) {
        std::snprintf(buf, sizeof buf, "the master has no album %04d", album);
        error = buf;
        return false;
    }
    static album_rec rec;
    std::memset(&rec, 0, sizeof rec);
    parse_album_text(r.text.data(), r.text.size(), rec);
    if (track < 1 || track > rec.tracks || rec.entry[track].title[0] == '\0') {
        std::snprintf(buf, sizeof buf, "album %04d at the master has no track %02d", album, track);
        error = buf;
        return false;
    }
    rec.entry[track].online = 1;
    static char text[k_album_text_max];
    const std::size_t len = format_album_text(rec, text, sizeof text);
    if (!exchange(c, ALBUM_WRITE, album, std::string_view(text, len), r, error))
        return false;
    if (r.album != album) {
        std::snprintf(buf, sizeof buf, "the master did not store album %04d", album);
        error = buf;
        return false;
    }
    return true;
}

void master_watch(const std::string &host_port, const std::function<void()> &linked,
                  const std::function<void(std::int64_t album)> &cancelled, std::string &error)
{
    master_conn c;
    if (!open_and_greet(c, host_port, error, k_drive_link_greeting))
        return;
    // A master that vanishes without a word (its machine gone) is noticed in the end.
    int one = 1;
    ::setsockopt(c.fd, SOL_SOCKET, SO_KEEPALIVE, &one, sizeof one);
    linked();
    static char body[k_text_max + 1];
    for (;;) {
        char head[k_header_len];
        wire_header h;
        if (!recv_waiting(c, head, sizeof head)) {
            error = "the master closed the link";
            return;
        }
        if (!decode_header(head, h) || !recv_waiting(c, body, h.length)) {
            error = "the master sent a message that cannot be read";
            return;
        }
        if (h.type == CANCEL)
            cancelled(h.album);
    }
}
