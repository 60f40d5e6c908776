// Why Asio: standalone Asio (header-only, packaged as libasio-dev) gives the
// one-thread reactor with timers and signal handling this server needs, and
// keeps the framing, queueing and back-pressure code short and portable; a
// plain epoll loop would need its own timer wheel and signal pipe.
#include "server/net.hpp"

#include "proto/msg_types.hpp"
#include "proto/wire.hpp"
#include "server/cd_drive.hpp"
#include "server/handlers.hpp"
#include "server/log.hpp"
#include "server/outbox.hpp"
#include "server/player.hpp"
#include "server/pulse_out.hpp"

#include <algorithm>
#include <asio.hpp>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <sched.h>
#include <sys/socket.h>
#include <sys/resource.h>
#include <vector>

namespace {

using asio::ip::tcp;
using std::chrono::steady_clock;

constexpr auto k_tick = std::chrono::milliseconds(50);          // the player's clock
constexpr auto k_stop_grace = std::chrono::seconds(5);          // time for the clients to hear of the end and leave
constexpr std::size_t k_max_backlog = std::size_t{8} << 20;    // bytes a client may fall behind
constexpr std::size_t k_max_audio_backlog = std::size_t{2} << 20;   // bytes an audio stream may fall behind
constexpr std::size_t k_first_read = 4096;       // bytes read when a message begins; a longer one grows the buffer
constexpr std::size_t k_max_gather = 64;         // frames written in one go
constexpr int k_reserved_fds = 32;               // descriptors kept for the database, the log, media and playlist files
constexpr auto k_refusal_log_gap = std::chrono::seconds(1);   // refused connections: at most one log line this often

// The wait for a client's next request. A client loading its library sends a
// request the moment it has the previous answer; when it runs on another CPU,
// blocking in the reactor between the two costs a scheduler wake-up each time.
// So after answering a client that is mid-burst (its request came soon after
// the previous answer) the server polls that socket a little before it blocks.
constexpr std::int64_t k_burst_gap_ns = 200'000;   // a request this soon after the previous answer: mid-burst
constexpr std::int64_t k_spin_max_ns = 200'000;    // the longest poll for the next request
constexpr std::int64_t k_spin_min_ns = 10'000;     // the shortest
constexpr std::int64_t k_turn_max_ns = 1'000'000;  // one connection's requests in a row before the loop goes on

// Nanoseconds of the steady clock.
std::int64_t steady_ns()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(steady_clock::now().time_since_epoch()).count();
}

struct server;

// One client connection: its framing, its write queue and its session. It
// holds no read buffer while no message is on its way in.
struct connection : std::enable_shared_from_this<connection> {
    server &srv;
    tcp::socket sock;
    asio::steady_timer stall;    // a message begun must end in time
    asio::steady_timer greet;    // the greeting must come in time
    session s;
    std::vector<char> in;        // bytes of messages not yet whole (empty between messages)
    std::size_t have = 0;
    std::deque<frame_ptr> outq;
    std::size_t backlog = 0;     // bytes queued, written or not
    std::size_t in_flight = 0;   // frames of outq being written
    bool closed = false;
    std::int64_t answered_ns = -1;          // when its last requests were answered (-1: never)
    std::int64_t spin_ns = 0;               // how long the next poll for a request may last (0: no poll)

    connection(server &owner, tcp::socket socket);
    void start();
    void read_more();
    void on_readable();
    std::size_t read_input(std::error_code &ec);
    void on_read(std::size_t n);
    bool may_spin(std::int64_t turn_start) const;
    bool client_elsewhere();
    void send(const frame_ptr &frame);
    void write_more();
    void close(const char *reason);
};

struct server {
    asio::io_context io;
    tcp::acceptor acceptor{io};
    asio::steady_timer tick{io};
    asio::steady_timer stop_timer{io};
    asio::signal_set signals{io, SIGTERM};
    server_state &st;
    pulse_out *pulse = nullptr;
    int stall_seconds = 30;
    int greet_seconds = 10;
    std::size_t max_connections = 0;
    std::map<int, std::shared_ptr<connection>> conns;
    steady_clock::time_point last_refusal_log;   // when a refused connection was last logged
    int refusals_unlogged = 0;                   // refused since then, not logged one by one
    int next_id = 1;
    int last_answered = 0;       // the connection whose requests were answered last
    std::int64_t switched_ns = -1;   // when the server last answered another connection than the one before
    bool stopping = false;
    steady_clock::time_point stop_deadline;

    explicit server(server_state &state) : st(state) {}

    void accept();
    void refuse(tcp::socket &sock);
    void dispatch(connection &c, const request &req);
    void deliver(const outbox &out, connection *requester);
    void on_tick();
    void begin_stop(bool tell_everyone);
    void finish_stop();
    std::vector<std::shared_ptr<connection>> snapshot() const
    {
        std::vector<std::shared_ptr<connection>> v;
        v.reserve(conns.size());
        for (const auto &[id, c] : conns)
            v.push_back(c);
        return v;
    }
};

// A new connection of the server.
connection::connection(server &owner, tcp::socket socket)
    : srv(owner), sock(std::move(socket)), stall(owner.io), greet(owner.io)
{
}

// Starts reading, and the clock of the greeting.
void connection::start()
{
    std::error_code ignored;
    sock.non_blocking(true, ignored);
    greet.expires_after(std::chrono::seconds(srv.greet_seconds));
    greet.async_wait([self = shared_from_this()](const std::error_code &ec) {
        if (!ec && !self->closed && !self->s.greeted)
            self->close("no greeting in time");
    });
    read_more();
}

// Waits until the client sends something; the buffer is taken only then.
void connection::read_more()
{
    if (closed)
        return;
    sock.async_wait(tcp::socket::wait_read, [self = shared_from_this()](const std::error_code &ec) {
        if (self->closed)
            return;
        if (ec) {
            self->close(("read failed: " + ec.message()).c_str());
            return;
        }
        self->on_readable();
    });
}

// Reads what arrived and handles the whole messages in it. Once the answers
// are out to a client mid-burst (its last request came within k_burst_gap_ns
// of the answer before), it polls the socket for the next request for twice
// that gap (within k_spin_min_ns..k_spin_max_ns), yielding the CPU between
// polls. A client on the server's own CPU, or one that takes longer, is not
// polled for (until it is quick again). One connection's turn ends after
// k_turn_max_ns, so the clock and the other connections are never held up longer.
void connection::on_readable()
{
    const std::int64_t turn_start = steady_ns();
    std::int64_t polling_since = -1;   // when the poll for the next request began (-1: the reactor woke us)
    for (;;) {
        std::error_code ec;
        const std::size_t n = read_input(ec);
        if (ec == asio::error::would_block || ec == asio::error::try_again) {
            if (polling_since < 0)
                break;
            if (steady_ns() - polling_since < spin_ns) {
                sched_yield();
                continue;
            }
            break;
        }
        if (ec) {
            close(ec == asio::error::eof ? "closed by the client" : ("read failed: " + ec.message()).c_str());
            return;
        }
        const std::int64_t gap = answered_ns >= 0 ? steady_ns() - answered_ns : k_burst_gap_ns + 1;
        spin_ns = gap <= k_burst_gap_ns && client_elsewhere() ? std::clamp(2 * gap, k_spin_min_ns, k_spin_max_ns) : 0;
        on_read(n);
        if (closed)
            return;
        answered_ns = steady_ns();
        if (srv.last_answered != s.id) {
            srv.last_answered = s.id;
            srv.switched_ns = answered_ns;
        }
        if (spin_ns == 0 || !may_spin(turn_start))
            break;
        polling_since = answered_ns;
    }
    if (have == 0)
        std::vector<char>().swap(in);   // a poll that found nothing leaves no buffer behind
    read_more();
}

// Whether to poll for the next request after answering: not for an audio
// stream, nor while answers wait to go out, nor when the turn is over, nor
// while other connections are being answered too (the server is kept busy
// then, and their requests must not wait for this one's).
bool connection::may_spin(std::int64_t turn_start) const
{
    return !s.audio && !srv.stopping && outq.empty() && answered_ns - turn_start < k_turn_max_ns &&
           answered_ns - srv.switched_ns > k_burst_gap_ns;
}

// Whether the client's last bytes came from another CPU than the one the
// server runs on (for a client on this machine, the CPU that took in its
// packet is the one it sent from). A client on the server's own CPU gains
// nothing from a poll: it cannot run while the server polls, and a server kept
// busy would have the scheduler move it to another CPU, where each answer
// then costs it a wake-up. When the system cannot tell, the client counts as elsewhere.
bool connection::client_elsewhere()
{
    int cpu = -1;
    socklen_t len = sizeof cpu;
    if (getsockopt(sock.native_handle(), SOL_SOCKET, SO_INCOMING_CPU, &cpu, &len) != 0 || cpu < 0)
        return true;
    return cpu != sched_getcpu();
}

// Reads what arrived into a buffer just large enough for the message under way.
std::size_t connection::read_input(std::error_code &ec)
{
    std::size_t want = k_first_read;
    if (have >= k_header_len) {
        wire_header h;
        if (decode_header(in.data(), h))
            want = std::max(want, k_header_len + h.length);
    }
    if (in.size() < want)
        in.resize(want);
    return sock.read_some(asio::buffer(in.data() + have, in.size() - have), ec);
}

// Takes every whole message out of what arrived and hands each to the protocol.
void connection::on_read(std::size_t n)
{
    const bool continuing = have > 0;   // these bytes go on with a message begun earlier
    have += n;
    std::size_t off = 0;
    while (!closed && have - off >= k_header_len) {
        wire_header h;
        if (!decode_header(in.data() + off, h)) {
            close("malformed message header");
            return;
        }
        const std::size_t need = k_header_len + h.length;
        if (have - off < need)
            break;
        const request req = {.type = h.type,
                             .sequence = h.sequence,
                             .album = h.album,
                             .track = h.track,
                             .text = std::string_view(in.data() + off + k_header_len, h.length)};
        const bool was_greeted = s.greeted;
        srv.dispatch(*this, req);
        if (s.greeted && !was_greeted)
            greet.cancel();
        off += need;
    }
    if (closed)
        return;
    std::memmove(in.data(), in.data() + off, have - off);
    have -= off;
    if (have == 0) {
        stall.cancel();
        std::vector<char>().swap(in);   // nothing under way: an idle connection holds no buffer
    } else if (off > 0 || !continuing) {
        // A message began with these bytes: all of it must be in within the
        // limit, however slowly its bytes trickle in.
        stall.expires_after(std::chrono::seconds(srv.stall_seconds));
        stall.async_wait([self = shared_from_this()](const std::error_code &ec) {
            if (!ec && !self->closed)
                self->close("message stalled half-way");
        });
    }
}

// Queues a frame; a client too far behind is closed.
void connection::send(const frame_ptr &frame)
{
    if (closed || frame == nullptr)
        return;
    frame_ptr rest = frame;
    if (outq.empty() && in_flight == 0) {
        // Nothing waits before it: the frame (header and text together) goes
        // out now in one write; only what the socket does not take is queued.
        std::error_code ec;
        const std::size_t n = sock.write_some(asio::buffer(*frame), ec);
        if (!ec && n == frame->size())
            return;
        if (ec && ec != asio::error::would_block && ec != asio::error::try_again) {
            close("write failed");
            return;
        }
        if (n > 0)
            rest = std::make_shared<const std::string>(frame->substr(n));
    }
    const std::size_t limit = s.audio ? k_max_audio_backlog : k_max_backlog;
    if (backlog + rest->size() > limit) {
        close("too slow: it does not read what it is sent");
        return;
    }
    outq.push_back(rest);
    backlog += rest->size();
    if (in_flight == 0)
        write_more();
}

// Writes what is queued, several frames at once.
void connection::write_more()
{
    if (closed || outq.empty())
        return;
    std::vector<asio::const_buffer> bufs;
    in_flight = std::min(outq.size(), k_max_gather);
    for (std::size_t i = 0; i < in_flight; ++i)
        bufs.push_back(asio::buffer(*outq[i]));
    asio::async_write(sock, bufs, [self = shared_from_this()](const std::error_code &ec, std::size_t) {
        if (self->closed)
            return;
        if (ec) {
            self->close("write failed");
            return;
        }
        for (std::size_t i = 0; i < self->in_flight; ++i) {
            self->backlog -= self->outq.front()->size();
            self->outq.pop_front();
        }
        self->in_flight = 0;
        self->write_more();
    });
}

// Ends the connection, logs why, and gives back what its session held.
void connection::close(const char *reason)
{
    if (closed)
        return;
    closed = true;
    slog("Connection %d (%s) closed: %s", s.id, s.peer.c_str(), reason);
    std::error_code ignored;
    stall.cancel();
    greet.cancel();
    sock.shutdown(tcp::socket::shutdown_both, ignored);
    sock.close(ignored);
    outbox out;
    session_closed(srv.st, s, out);
    auto keep = shared_from_this();
    srv.conns.erase(s.id);
    srv.deliver(out, nullptr);
}

// Accepts connections, one after another.
void server::accept()
{
    acceptor.async_accept([this](const std::error_code &ec, tcp::socket sock) {
        if (stopping)
            return;
        if (ec) {
            // Out of descriptors or similar: wait a little rather than spin.
            slog("Accept failed: %s", ec.message().c_str());
            auto retry = std::make_shared<asio::steady_timer>(io, std::chrono::milliseconds(200));
            retry->async_wait([this, retry](const std::error_code &) { accept(); });
            return;
        }
        if (conns.size() >= max_connections) {
            refuse(sock);
            accept();
            return;
        }
        std::error_code ignored;
        sock.set_option(tcp::no_delay(true), ignored);
        sock.set_option(asio::socket_base::keep_alive(true), ignored);   // a peer gone without a word is found out
        auto c = std::make_shared<connection>(*this, std::move(sock));
        c->s.id = next_id++;
        const tcp::endpoint peer = c->sock.remote_endpoint(ignored);
        c->s.peer = peer.address().to_string() + ":" + std::to_string(peer.port());
        conns[c->s.id] = c;
        slog("Connection %d from %s", c->s.id, c->s.peer.c_str());
        c->start();
        accept();
    });
}

// Closes a connection over the limit at once; the log says so, at most once a second.
void server::refuse(tcp::socket &sock)
{
    std::error_code ignored;
    const tcp::endpoint peer = sock.remote_endpoint(ignored);
    sock.close(ignored);
    const auto now = steady_clock::now();
    if (now - last_refusal_log < k_refusal_log_gap) {
        ++refusals_unlogged;
        return;
    }
    slog("Connection from %s:%d refused: %zu connections open, the most allowed (%d more refused since the last line)",
         peer.address().to_string().c_str(), peer.port(), conns.size(), refusals_unlogged);
    last_refusal_log = now;
    refusals_unlogged = 0;
}

// Handles one request and delivers what it sends.
void server::dispatch(connection &c, const request &req)
{
    if (stopping)
        return;
    outbox out;
    handle_request(st, c.s, req, steady_ns(), out);
    deliver(out, &c);
    if (st.stop_requested)
        begin_stop(false);
}

// Sends each frame to the connections it is for.
void server::deliver(const outbox &out, connection *requester)
{
    if (out.items.empty())
        return;
    const std::vector<std::shared_ptr<connection>> all = snapshot();
    for (const out_msg &m : out.items) {
        if (m.to == target::requester) {
            if (requester != nullptr)
                requester->send(m.frame);
            continue;
        }
        for (const auto &c : all) {
            // A client waits for its greeting's reply with the sequence 0 of the
            // notices: until it has it, it hears none, or it would take one for it.
            // A local server's link gets only what is handed on to it; a client's
            // notices are not for it.
            const bool audio = c->s.audio;
            const bool client = !audio && c->s.greeted && !c->s.drive_link;
            bool wanted = false;
            switch (m.to) {
            case target::all: wanted = client; break;
            case target::others: wanted = client && c.get() != requester; break;
            case target::viewers: wanted = client && c->s.viewing == m.plist; break;
            case target::audio: wanted = audio; break;
            case target::session: wanted = c->s.id == m.session; break;
            case target::drive_links: wanted = c->s.drive_link; break;
            case target::requester: break;
            }
            if (wanted)
                c->send(m.frame);
        }
    }
}

// The clock: the player moves on and the audio goes out.
void server::on_tick()
{
    if (stopping)
        return;
    bool listeners = pulse != nullptr && pulse_usable(*pulse);
    for (const auto &[id, c] : conns)
        listeners = listeners || c->s.audio;
    outbox out;
    std::string pcm;
    player_tick(st, steady_ns(), out, listeners ? &pcm : nullptr);
    cd_drive_tick(st, steady_ns(), out);
    for (std::size_t from = 0; from < pcm.size(); from += k_text_max) {
        const std::string_view chunk = std::string_view(pcm).substr(from, k_text_max);
        post(out, target::audio, make_frame(AUDIO, k_notice_sequence, 0, 0, chunk));
    }
    deliver(out, nullptr);
    if (pulse != nullptr && !pcm.empty() && pulse_usable(*pulse))
        pulse_write(*pulse, std::move(pcm));
    // Keep the beat without drifting, but never try to catch up a long stall tick by tick.
    const auto now = steady_clock::now();
    tick.expires_at(tick.expiry() + k_tick < now ? now + k_tick : tick.expiry() + k_tick);
    tick.async_wait([this](const std::error_code &ec) {
        if (!ec)
            on_tick();
    });
}

// Starts the end: no more connections or requests; the last frames still go out.
void server::begin_stop(bool tell_everyone)
{
    if (stopping)
        return;
    stopping = true;
    slog("Server stopping");
    std::error_code ignored;
    acceptor.close(ignored);
    tick.cancel();
    signals.cancel();
    if (tell_everyone) {
        outbox out;
        post(out, target::all, make_frame(SERVER_DOWN, k_notice_sequence, 1, 0, {}));
        deliver(out, nullptr);
    }
    stop_deadline = steady_clock::now() + k_stop_grace;
    finish_stop();
}

// Ends the server once every client has left, or the grace time is over. A
// client that hears SERVER_DOWN shows it and closes its connection itself; a
// connection closed under it while it shows the notice would read as a server
// lost. Audio streams are closed once they have everything.
void server::finish_stop()
{
    bool waiting = false;
    for (const auto &c : snapshot()) {
        if (c->s.audio && c->outq.empty())
            c->close("server stopping");
        else
            waiting = true;
    }
    if (!waiting || steady_clock::now() >= stop_deadline) {
        for (const auto &c : snapshot())
            c->close("server stopping");
        io.stop();
        return;
    }
    stop_timer.expires_after(std::chrono::milliseconds(20));
    stop_timer.async_wait([this](const std::error_code &ec) {
        if (!ec)
            finish_stop();
    });
}

}   // namespace

int run_server(server_state &st, const net_options &opt)
{
    std::signal(SIGPIPE, SIG_IGN);
    server srv(st);
    srv.stall_seconds = opt.stall_seconds;
    srv.greet_seconds = opt.greet_seconds;
    // Never so many connections that the descriptors run out: the server could
    // then accept no one at all, nor open a file.
    struct rlimit files {};
    long fd_room = opt.max_connections;
    if (getrlimit(RLIMIT_NOFILE, &files) == 0 && files.rlim_cur != RLIM_INFINITY)
        fd_room = static_cast<long>(files.rlim_cur) - k_reserved_fds;
    srv.max_connections = static_cast<std::size_t>(std::max(1L, std::min<long>(opt.max_connections, fd_room)));
    std::error_code ec;
    const asio::ip::address addr = asio::ip::make_address(opt.listen, ec);
    if (ec) {
        std::fprintf(stderr, "zerkaserver: bad listen address \"%s\"\n", opt.listen.c_str());
        return 1;
    }
    const tcp::endpoint ep(addr, static_cast<unsigned short>(opt.port));
    srv.acceptor.open(ep.protocol(), ec);
    if (!ec)
        srv.acceptor.set_option(tcp::acceptor::reuse_address(true), ec);
    if (!ec)
        srv.acceptor.bind(ep, ec);
    if (!ec)
        srv.acceptor.listen(asio::socket_base::max_listen_connections, ec);
    if (ec) {
        std::fprintf(stderr, "zerkaserver: cannot listen on %s:%d - %s\n", opt.listen.c_str(), opt.port,
                     ec.message().c_str());
        return 1;
    }
    const tcp::endpoint bound = srv.acceptor.local_endpoint(ec);
    std::printf("zerkaserver listening on %s:%d\n", bound.address().to_string().c_str(), bound.port());
    std::fflush(stdout);
    slog("Listening on %s:%d, root %s, at most %zu connections", bound.address().to_string().c_str(), bound.port(),
         st.paths.root.c_str(), srv.max_connections);

    pulse_out pulse;
    if (opt.pulse) {
        pulse_start(pulse);
        srv.pulse = &pulse;
    }
    // An interrupt that was ignored when the server started (a background job of
    // a script whose terminal the client uses) stays ignored.
    struct sigaction old {};
    if (sigaction(SIGINT, nullptr, &old) == 0 && old.sa_handler != SIG_IGN)
        srv.signals.add(SIGINT);
    srv.signals.async_wait([&srv](const std::error_code &e, int sig) {
        if (!e) {
            slog("Signal %d", sig);
            srv.begin_stop(true);
        }
    });
    srv.accept();
    srv.tick.expires_after(k_tick);
    srv.tick.async_wait([&srv](const std::error_code &e) {
        if (!e)
            srv.on_tick();
    });
    srv.io.run();
    cd_drive_close(st);
    if (opt.pulse)
        pulse_stop(pulse);
    slog("Server stopped");
    return 0;
}
