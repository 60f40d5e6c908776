// The floor of the command-line search: a minimal client that makes the same
// greeting and the same album-read round trips as `zerka --search` (albums 0,
// 1, 2, ... until the end answer), reading each reply whole without looking
// into it. It is started afresh for every run, exactly like the client it is
// compared with (run_cli_bench.py times both from start to end).
//
//   cli_bench PORT
// Prints the number of album reads made.
#include "../common/loopback.hpp"
#include "proto/fd_io.hpp"
#include "proto/msg_types.hpp"
#include "proto/wire.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {

constexpr std::int64_t k_past_the_end = 0xFFFD;
constexpr int k_last_regular = 3000;

char buf[k_header_len + k_text_max];

}   // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fputs("usage: cli_bench PORT\n", stderr);
        return 2;
    }
    const int fd = connect_loopback(std::atoi(argv[1]));
    std::int64_t seq = 0;
    const auto round_trip = [&](std::int64_t type, std::int64_t album_no) {
        char head[k_header_len + 1];
        encode_header(head, {.type = type, .sequence = seq, .album = album_no, .track = 0, .length = 0});
        wire_header h = {};
        if (!write_all(fd, head, k_header_len) || !read_exact(fd, buf, k_header_len) || !decode_header(buf, h) ||
            !read_exact(fd, buf, h.length)) {
            std::fputs("floor: the server went away\n", stderr);
            std::exit(1);
        }
        seq = next_sequence(h.sequence);
        return h.album;
    };
    round_trip(CLIENT_OPEN, 1);
    int reads = 0;
    for (int n = 0; n <= k_last_regular; ++n) {
        ++reads;
        if (round_trip(ALBUM_READ, n) == k_past_the_end)
            break;
    }
    close(fd);
    std::printf("%d\n", reads);
    return 0;
}
