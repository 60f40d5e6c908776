// zerkaserver: the jukebox server.
//
//   zerkaserver --root DIR [--listen ADDR] [--port N] [--output none|pulse] [--log FILE] [--stall-limit S]
//               [--greet-limit S] [--max-connections N]
//   zerkaserver --make-demo DIR
#include "server/demo.hpp"
#include "server/log.hpp"
#include "server/net.hpp"
#include "server/state.hpp"

#include "proto/text_util.hpp"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace {

constexpr int k_default_port = 7117;

constexpr const char *k_usage =
    "Usage: zerkaserver --root DIR [--listen ADDR] [--port N] [--output none|pulse] [--log FILE]\n"
    "                   [--stall-limit SECONDS] [--greet-limit SECONDS] [--max-connections N]\n"
    "       zerkaserver --make-demo DIR\n"
    "\n"
    "  --root DIR       the server's root: Media, PlayLists, History and the database zerka.db\n"
    "  --listen ADDR    address to listen on (default 127.0.0.1)\n"
    "  --port N         TCP port (default 7117; 0 picks a free one)\n"
    "  --output pulse   also play through the local PulseAudio server (default: none)\n"
    "  --log FILE       append the log to FILE (default: standard error)\n"
    "  --stall-limit S  close a connection whose message is not whole S seconds after it began (default 30)\n"
    "  --greet-limit S  close a connection that has not greeted S seconds after it opened (default 10)\n"
    "  --max-connections N  connections open at once; more are closed as they come (default 100)\n"
    "  --make-demo DIR  write a demo root with invented albums and synthesised media\n";

// Whether a path is a folder.
bool is_dir(const std::string &path)
{
    struct stat sb {};
    return stat(path.c_str(), &sb) == 0 && S_ISDIR(sb.st_mode);
}

// A number of lo..hi written in decimal digits alone, or -1.
long whole_number(std::string_view v, long lo, long hi)
{
    if (v.empty() || v.size() > 9 || v.find_first_not_of("0123456789") != std::string_view::npos)
        return -1;
    const long n = lenient_atol(v);
    return n >= lo && n <= hi ? n : -1;
}

}   // namespace

int main(int argc, char **argv)
{
    std::string root;
    std::string demo;
    std::string log_path;
    net_options opt;
    opt.port = k_default_port;
    for (int i = 1; i < argc; ++i) {
        const std::string_view a = argv[i];
        const bool has_value = i + 1 < argc;
        if (a == "--help" || a == "-h") {
            std::fputs(k_usage, stdout);
            return 0;
        }
        if (!has_value) {
            std::fprintf(stderr, "zerkaserver: %s needs a value\n%s", argv[i], k_usage);
            return 2;
        }
        const std::string_view v = argv[++i];
        if (a == "--root") {
            root = v;
        } else if (a == "--make-demo") {
            demo = v;
        } else if (a == "--listen") {
            opt.listen = v;
        } else if (a == "--port") {
            const long port = lenient_atol(v);
            if (port < 0 || port > 65535 || v.empty() || v.find_first_not_of("0123456789") != std::string_view::npos) {
                std::fprintf(stderr, "zerkaserver: bad port \"%s\"\n", argv[i]);
                return 2;
            }
            opt.port = static_cast<int>(port);
        } else if (a == "--output") {
            if (v != "pulse" && v != "none") {
                std::fprintf(stderr, "zerkaserver: unknown output \"%s\" (none or pulse)\n", argv[i]);
                return 2;
            }
            opt.pulse = v == "pulse";
        } else if (a == "--stall-limit" || a == "--greet-limit") {
            const long secs = whole_number(v, 1, 3600);
            if (secs < 0) {
                std::fprintf(stderr, "zerkaserver: bad %s limit \"%s\"\n", a == "--stall-limit" ? "stall" : "greeting",
                             argv[i]);
                return 2;
            }
            (a == "--stall-limit" ? opt.stall_seconds : opt.greet_seconds) = static_cast<int>(secs);
        } else if (a == "--max-connections") {
            const long n = whole_number(v, 1, 100000);
            if (n < 0) {
                std::fprintf(stderr, "zerkaserver: bad connection limit \"%s\"\n", argv[i]);
                return 2;
            }
            opt.max_connections = static_cast<int>(n);
        } else if (a == "--log") {
            log_path = v;
        } else {
            std::fprintf(stderr, "zerkaserver: unknown option %s\n%s", argv[i - 1], k_usage);
            return 2;
        }
    }
    if (!log_path.empty() && !log_open(log_path.c_str())) {
        std::fprintf(stderr, "zerkaserver: cannot open log file %s - %s\n", log_path.c_str(), std::strerror(errno));
        return 1;
    }
    if (!demo.empty()) {
        const auto started = std::chrono::steady_clock::now();
        std::string error;
        if (!make_demo(demo, error)) {
            std::fprintf(stderr, "zerkaserver: cannot make the demo root: %s\n", error.c_str());
            return 1;
        }
        const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - started);
        std::printf("zerkaserver: demo root written to %s in %.1f s\n", demo.c_str(),
                    static_cast<double>(ms.count()) / 1000.0);
        return 0;
    }
    if (root.empty()) {
        std::fputs(k_usage, stderr);
        return 2;
    }
    if (!is_dir(root)) {
        std::fprintf(stderr, "zerkaserver: root %s is not a directory\n", root.c_str());
        return 1;
    }
    while (root.size() > 1 && root.back() == '/')
        root.pop_back();
    // Two servers on one root would hand out the same album numbers and overwrite each other.
    static unique_fd root_lock;
    if (std::string why; !lock_root(root, root_lock, why)) {
        std::fprintf(stderr, "zerkaserver: cannot use the root %s: %s\n", root.c_str(), why.c_str());
        return 1;
    }
    for (const char *sub : {"/Media", "/PlayLists", "/History"}) {
        const std::string d = root + sub;
        if (!is_dir(d) && ::mkdir(d.c_str(), 0755) != 0) {
            std::fprintf(stderr, "zerkaserver: cannot create %s - %s\n", d.c_str(), std::strerror(errno));
            return 1;
        }
    }
    static server_state st;
    st.rng.seed(std::random_device{}());
    std::string error;
    if (!state_open(st, root, error)) {
        std::fprintf(stderr, "zerkaserver: cannot open the database %s/zerka.db: %s\n", root.c_str(), error.c_str());
        if (!log_path.empty())
            slog("Cannot open the database %s/zerka.db: %s", root.c_str(), error.c_str());
        return 1;
    }
    return run_server(st, opt);
}
