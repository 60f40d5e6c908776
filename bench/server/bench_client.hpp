// What the server benchmarks share: starting a zerkaserver process on a
// temporary root, and a minimal blocking client of the protocol.
#pragma once

#include "proto/msg_types.hpp"
#include "proto/wire.hpp"

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <spawn.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

// A zerkaserver process.
struct server_proc {
    pid_t pid = -1;
    int port = 0;
    std::string root;
};

// Runs a program to its end, its output thrown away; true when it exited with status 0.
inline bool run_to_end(const char *const argv[])
{
    pid_t pid;
    posix_spawn_file_actions_t fa;
    posix_spawn_file_actions_init(&fa);
    posix_spawn_file_actions_addopen(&fa, 1, "/dev/null", O_WRONLY, 0);
    const int rc = posix_spawn(&pid, argv[0], &fa, nullptr, const_cast<char *const *>(argv), environ);
    posix_spawn_file_actions_destroy(&fa);
    if (rc != 0)
        return false;
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Makes a temporary root (a demo root when `demo`) and starts the server on a free loopback port.
inline bool start_server(const std::string &exe, bool demo, server_proc &out)
{
    char templ[] = "/tmp/zkbenchXXXXXX";
    if (mkdtemp(templ) == nullptr)
        return false;
    out.root = templ;
    if (demo) {
        const char *const make[] = {exe.c_str(), "--make-demo", out.root.c_str(), "--short-tracks", nullptr};
        if (!run_to_end(make))
            return false;
    }
    int pipefd[2];
    if (pipe(pipefd) != 0)
        return false;
    posix_spawn_file_actions_t fa;
    posix_spawn_file_actions_init(&fa);
    posix_spawn_file_actions_adddup2(&fa, pipefd[1], 1);
    posix_spawn_file_actions_addclose(&fa, pipefd[0]);
    const std::string log = out.root + "/zerkaserver.log";
    const char *const argv[] = {exe.c_str(), "--root", out.root.c_str(), "--port", "0", "--log", log.c_str(), nullptr};
    const int rc = posix_spawn(&out.pid, argv[0], &fa, nullptr, const_cast<char *const *>(argv), environ);
    posix_spawn_file_actions_destroy(&fa);
    close(pipefd[1]);
    if (rc != 0) {
        close(pipefd[0]);
        return false;
    }
    std::string line;
    char c;
    while (read(pipefd[0], &c, 1) == 1 && c != '\n')
        line += c;
    close(pipefd[0]);
    const std::size_t colon = line.rfind(':');
    if (line.rfind("zerkaserver listening on ", 0) != 0 || colon == std::string::npos)
        return false;
    out.port = std::atoi(line.c_str() + colon + 1);
    return out.port > 0;
}

// Stops the server and removes its root.
inline void stop_server(server_proc &s)
{
    if (s.pid > 0) {
        kill(s.pid, SIGTERM);
        waitpid(s.pid, nullptr, 0);
        s.pid = -1;
    }
    if (!s.root.empty()) {
        const char *const rm[] = {"/bin/rm", "-rf", s.root.c_str(), nullptr};
        run_to_end(rm);
    }
}

// One message as received.
struct bench_msg {
    std::int64_t type = 0;
    std::int64_t sequence = 0;
    std::int64_t album = 0;
    std::int64_t track = 0;
    std::string text;
};

// A blocking connection that sends one request at a time.
struct bench_conn {
    int fd = -1;
    std::int64_t seq = 0;
    long notices = 0;   // unsolicited messages received (and dropped) while waiting

    bench_conn() = default;
    bench_conn(const bench_conn &) = delete;
    bench_conn &operator=(const bench_conn &) = delete;
    ~bench_conn()
    {
        if (fd >= 0)
            close(fd);
    }

    bool open(int port)
    {
        fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_port = htons(static_cast<std::uint16_t>(port));
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int one = 1;
        setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        const timeval limit = {.tv_sec = 30, .tv_usec = 0};   // a hung server ends the run, not the machine
        setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        return connect(fd, reinterpret_cast<sockaddr *>(&a), sizeof a) == 0;
    }

    bool read_exact(char *p, std::size_t n)
    {
        while (n > 0) {
            const ssize_t r = read(fd, p, n);
            if (r < 0 && errno == EINTR)
                continue;
            if (r <= 0)
                return false;
            p += r;
            n -= static_cast<std::size_t>(r);
        }
        return true;
    }

    bool recv(bench_msg &m)
    {
        char head[k_header_len];
        wire_header h;
        if (!read_exact(head, sizeof head) || !decode_header(head, h))
            return false;
        m.text.resize(h.length);
        if (h.length > 0 && !read_exact(m.text.data(), h.length))
            return false;
        m.type = h.type;
        m.sequence = h.sequence;
        m.album = h.album;
        m.track = h.track;
        return true;
    }

    // Sends a request and waits for its reply; false when the connection failed.
    bool request(std::int64_t type, std::int64_t album, std::int64_t track, const std::string &text, bench_msg &reply)
    {
        static thread_local char buf[k_header_len + k_text_max];
        const wire_header h = {.type = type,
                               .sequence = seq,
                               .album = album,
                               .track = track,
                               .length = static_cast<std::uint32_t>(text.size())};
        const std::size_t n = encode_message(buf, sizeof buf, h, text.data());
        if (n == 0 || write(fd, buf, n) != static_cast<ssize_t>(n))
            return false;
        for (;;) {
            if (!recv(reply))
                return false;
            if (reply.sequence == seq || reply.type == CLIENT_OPEN)
                break;
            ++notices;
        }
        seq = next_sequence(reply.sequence);
        return true;
    }
};

// Nanoseconds of the steady clock.
inline std::int64_t bench_now_ns()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}
