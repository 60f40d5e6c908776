#include "core/link.hpp"

#include "core/config.hpp"
#include "core/hooks.hpp"
#include "core/input.hpp"
#include "core/log.hpp"
#include "core/process.hpp"
#include "proto/msg_types.hpp"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

int master_sock = -1;
int cd_srv_sock = -1;
long master_sequ;
long cd_srv_sequ;

namespace {

// Connects once; returns the descriptor or -1 with errno set.
int try_connect(const hostent *he, int port)
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0)
        return -2;
    sockaddr_in addr = {};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(static_cast<std::uint16_t>(port));
    std::memcpy(&addr.sin_addr, he->h_addr_list[0], sizeof addr.sin_addr);
    if (connect(fd, reinterpret_cast<const sockaddr *>(&addr), sizeof addr) == 0)
        return fd;
    const int saved = errno;
    close(fd);
    errno = saved;
    return -1;
}

[[noreturn]] void fatal(const char *text)
{
    std::fputs(text, stderr);
    std::exit(1);
}

}   // namespace

int connect_to_server(const char *host, int port, int master_flag)
{
    const char *label = master_flag != 0 ? "Master" : "Local";
    char text[512];
    if (host[0] == '\0')
        fatal("Configuration error: SERVER_MODE\n");
    const hostent *he = gethostbyname(host);
    if (he == nullptr || he->h_addrtype != AF_INET || he->h_addr_list[0] == nullptr) {
        // gethostbyname reports through h_errno; the system error text is what the operator can look up.
        std::snprintf(text, sizeof text, "gethostbyname failed on %s - %s\n", host,
                      he == nullptr ? hstrerror(h_errno) : std::strerror(EAFNOSUPPORT));
        fatal(text);
    }
    for (int attempt = 1;; ++attempt) {
        const int fd = try_connect(he, port);
        if (fd >= 0)
            return fd;
        if (fd == -2) {
            std::snprintf(text, sizeof text, "Cannot create server socket (%s) - %s\n", host, std::strerror(errno));
            fatal(text);
        }
        if (master == 1)
            fatal("\nMaster zerka server does not appear to be running. Please run \"zerkaserver\"\n");
        if (attempt == 2)
            break;
        std::fprintf(stderr, "Connecting to %s server (%s) - %s: trying again\n", label, host, std::strerror(errno));
        sleep(2);
    }
    if (local_server == 1 && master_flag == 0)
        fatal("\nLocal zerka server does not appear to be running. Please run \"zerkaserver\"\n");
    std::snprintf(text, sizeof text, "Connecting to %s server (%s) - giving up\n", label, host);
    fatal(text);
}

namespace {

// Writes one message whole; false when it could not be written.
bool write_msg(const server_msg &msg)
{
    static char buf[k_header_len + k_text_max];   // bytes on their way out; never a record
    const wire_header h = {.type = msg.type,
                           .sequence = msg.sequence,
                           .album = msg.album,
                           .track = msg.track,
                           .length = static_cast<std::uint32_t>(strnlen(msg.text, k_text_max))};
    const std::size_t n = encode_message(buf, sizeof buf, h, msg.text);
    if (n == 0) {
        errno = EINVAL;   // a field that does not fit the header would break the framing
        return false;
    }
    return write_all(static_cast<int>(msg.socket), buf, n);
}

// Stamps the sequence and length, sends the request on msg->socket, waits for
// the matching reply and leaves it in msg. A failed write shows "send_msg
// failed" and returns with msg as it was sent.
void send_msg(server_msg *msg)
{
    if (msg->socket == master_sock)
        msg->sequence = master_sequ;
    else if (msg->socket == cd_srv_sock)
        msg->sequence = cd_srv_sequ;
    msg->text[k_text_max] = '\0';
    msg->length = static_cast<std::uint32_t>(std::strlen(msg->text));
    if (!write_msg(*msg)) {
        if (loop_hooks.error != nullptr)
            loop_hooks.error("send_msg failed", errno);
        return;
    }
    get_input(msg, 0);
    msg->sequence = next_sequence(msg->sequence);
    if (msg->socket == master_sock)
        master_sequ = msg->sequence;
    else if (msg->socket == cd_srv_sock)
        cd_srv_sequ = msg->sequence;
}

// A request record: the fields the caller gives, sequence 0 until the link stamps it.
void fill(server_msg &msg, int socket, std::int64_t type, std::int64_t album, std::int64_t track)
{
    msg.socket = socket;
    msg.type = type;
    msg.sequence = 0;
    msg.album = album;
    msg.track = track;
}

}   // namespace

server_msg request(int socket, std::int64_t type, std::int64_t album, std::int64_t track, std::string_view text)
{
    server_msg msg;
    fill(msg, socket, type, album, track);
    set_text(msg, text);
    send_msg(&msg);
    return msg;
}

server_msg requestf(int socket, std::int64_t type, std::int64_t album, std::int64_t track, const char *format, ...)
{
    server_msg msg;
    fill(msg, socket, type, album, track);
    va_list ap;
    va_start(ap, format);
    std::vsnprintf(msg.text, sizeof msg.text, format, ap);
    va_end(ap);
    send_msg(&msg);
    return msg;
}

void greet_servers()
{
    master_sequ = 0;
    const server_msg first = request(master_sock, CLIENT_OPEN, 1, 0);
    if (local_server == 1) {
        cd_srv_sequ = 0;
        const server_msg second = request(cd_srv_sock, first.type, first.album, first.track);
        cd_srv_sequ = second.sequence;
    }
}

bool send_unanswered(int socket, std::int64_t type, std::int64_t album, std::int64_t track)
{
    server_msg msg;
    fill(msg, socket, type, album, track);
    long *counter = socket == master_sock ? &master_sequ : socket == cd_srv_sock ? &cd_srv_sequ : nullptr;
    if (counter != nullptr)
        msg.sequence = *counter;
    if (!write_msg(msg)) {
        if (loop_hooks.error != nullptr)
            loop_hooks.error("send_msg failed", errno);
        return false;
    }
    if (counter != nullptr)
        *counter = next_sequence(msg.sequence);
    return true;
}

const char *get_time(std::time_t t)
{
    static char text[64];
    if (t == 0) {
        const server_msg reply = request(master_sock, GETTIME, 0, 0, "Time");
        // A reply that is not a clock leaves the local clock alone and shows the local time.
        const bool known = parse_server_time(reply.text, t);
        if (!known)
            t = std::time(nullptr);
        // The clock is set at one-second resolution; when it already shows the
        // server's second, setting it again would only throw away the fraction.
        if (master == 0 && known && t != std::time(nullptr)) {
            std::tm tm{};
            localtime_r(&t, &tm);
            char stamp[64];
            std::snprintf(stamp, sizeof stamp, "%02d%02d%02d%02d.%02d", tm.tm_mon + 1, tm.tm_mday, tm.tm_hour,
                          tm.tm_min, tm.tm_sec);
            const char *const argv[] = {"/bin/date", stamp, nullptr};
            run_program(argv, true);
        }
    }
    format_server_time(text, t);
    return text;
}

void pr_msg(int tag, const server_msg *msg)
{
    char line[256];
    if (logfile == nullptr || !format_msg_trace(line, sizeof line, tag, *msg))
        return;
    char stamp[64];
    format_log_stamp(stamp, std::time(nullptr));
    std::fputs(stamp, logfile);
    std::fputs(line, logfile);
    std::fflush(logfile);
}
