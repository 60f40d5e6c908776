// zerkaserver: the jukebox server.
//
//   zerkaserver --root DIR [--listen ADDR] [--port N] [--output none|pulse] [--log FILE] [--stall-limit S]
//               [--greet-limit S] [--max-connections N]
//               [--reboot-command "PROGRAM ARGS"] [--poweroff-command "PROGRAM ARGS"]
//               [--cd-drive PATH [--freedb DIR] [--master HOST:PORT --master-root DIR] [--cd-simulate]
//                [--cdrdao PATH] [--cd-speed N]]
//   zerkaserver --make-demo DIR [--short-tracks]
//   zerkaserver --make-demo-disc DISC_DIR MASTER_ROOT LOCAL_ROOT [--short-tracks]
//   zerkaserver --cd-helper VERB ...     (the drive helper the server starts itself)
#include "server/cd_drive.hpp"
#include "server/cd_helper.hpp"
#include "server/demo.hpp"
#include "server/demo_disc.hpp"
#include "server/log.hpp"
#include "server/net.hpp"
#include "server/power.hpp"
#include "server/state.hpp"

#include "proto/text_util.hpp"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int k_default_port = 7117;

constexpr const char *k_usage =
    "Usage: zerkaserver --root DIR [--listen ADDR] [--port N] [--output none|pulse] [--log FILE]\n"
    "                   [--stall-limit SECONDS] [--greet-limit SECONDS] [--max-connections N]\n"
    "                   [--reboot-command \"PROGRAM ARGS\"] [--poweroff-command \"PROGRAM ARGS\"]\n"
    "                   [--cd-drive PATH [--freedb DIR] [--master HOST:PORT --master-root DIR]\n"
    "                    [--cd-simulate] [--cdrdao PATH] [--cd-speed N]]\n"
    "       zerkaserver --make-demo DIR [--short-tracks]\n"
    "       zerkaserver --make-demo-disc DISC_DIR MASTER_ROOT LOCAL_ROOT [--short-tracks]\n"
    "\n"
    "  --root DIR       the server's root: Media, PlayLists, History and the database zerka.db\n"
    "  --listen ADDR    address to listen on (default 127.0.0.1)\n"
    "  --port N         TCP port (default 7117; 0 picks a free one)\n"
    "  --output pulse   also play through the local PulseAudio server (default: none)\n"
    "  --log FILE       append the log to FILE (default: standard error)\n"
    "  --stall-limit S  close a connection whose message is not whole S seconds after it began (default 30)\n"
    "  --greet-limit S  close a connection that has not greeted S seconds after it opened (default 10)\n"
    "  --max-connections N  connections open at once; more are closed as they come (default 100)\n"
    "  --reboot-command \"PROGRAM ARGS\", --poweroff-command \"PROGRAM ARGS\"\n"
    "                   what a client's REBOOT or SHUTDOWN runs (words split at blanks, no shell;\n"
    "                   PROGRAM an absolute path) after the server has stopped cleanly; without\n"
    "                   them those requests are refused\n"
    "  --make-demo DIR  write a demo root with invented albums and composed media (30 to 42 seconds\n"
    "                   a track; --short-tracks: 3 to 6 seconds, for tests)\n"
    "  --make-demo-disc the demo's CD: an image in DISC_DIR (drive.cue, drive.bin) and its freedb entry,\n"
    "                   its album in both roots' databases with some tracks off line\n"
    "\n"
    "The CD drive (a server with a drive announces discs and retrieves and backs up tracks):\n"
    "  --cd-drive PATH  a CD device (/dev/sr0) or a disc image NAME.cue (with NAME.bin beside it);\n"
    "                   an image that appears or is replaced is a disc put in, one removed a disc taken out\n"
    "  --freedb DIR     local freedb data: category folders holding one XMCD file per disc identifier\n"
    "  --master H:P     this is the local server of the master at H:P: retrieved tracks are marked\n"
    "                   on line there (without it this server is the master itself)\n"
    "  --master-root D  the master's root as seen from here: retrieved tracks go into D/Media\n"
    "  --cd-simulate    backups: cdrdao's simulation on a writer; with an image or without cdrdao,\n"
    "                   the disc image it would burn, written to ROOT/Backup/NNNN.cue and .bin\n"
    "  --cdrdao PATH    the cdrdao program (default /usr/bin/cdrdao)\n"
    "  --cd-speed N     read speed, N times playing speed (default: the drive's fastest); an image\n"
    "                   is read no faster than a drive at that speed would read it\n";

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
    if (argc > 1 && std::string_view(argv[1]) == "--cd-helper")
        return cd_helper_main(argc - 2, argv + 2);
    if (argc >= 5 && std::string_view(argv[1]) == "--make-demo-disc") {
        const bool short_tracks = argc == 6 && std::string_view(argv[5]) == "--short-tracks";
        if (argc > 6 || (argc == 6 && !short_tracks)) {
            std::fputs(k_usage, stderr);
            return 2;
        }
        std::string error;
        if (!make_demo_disc(argv[2], argv[3], argv[4], short_tracks, error)) {
            std::fprintf(stderr, "zerkaserver: cannot make the demo disc: %s\n", error.c_str());
            return 1;
        }
        return 0;
    }
    cd_options cd;
    std::string root;
    std::string demo;
    std::string log_path;
    net_options opt;
    opt.port = k_default_port;
    power_commands power;
    bool short_tracks = false;
    for (int i = 1; i < argc; ++i) {
        const std::string_view a = argv[i];
        const bool has_value = i + 1 < argc;
        if (a == "--help" || a == "-h") {
            std::fputs(k_usage, stdout);
            return 0;
        }
        if (a == "--cd-simulate") {
            cd.simulate = true;
            continue;
        }
        if (a == "--short-tracks") {
            short_tracks = true;
            continue;
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
        } else if (a == "--reboot-command" || a == "--poweroff-command") {
            std::vector<std::string> &command = a == "--reboot-command" ? power.reboot : power.poweroff;
            std::string error;
            if (!parse_power_command(v, command, error)) {
                std::fprintf(stderr, "zerkaserver: %s: %s\n", argv[i - 1], error.c_str());
                return 2;
            }
            if (::access(command[0].c_str(), X_OK) != 0) {
                std::fprintf(stderr, "zerkaserver: %s: cannot run %s - %s\n", argv[i - 1], command[0].c_str(),
                             std::strerror(errno));
                return 2;
            }
        } else if (a == "--log") {
            log_path = v;
        } else if (a == "--cd-drive") {
            cd.drive = v;
        } else if (a == "--freedb") {
            cd.freedb = v;
        } else if (a == "--master") {
            cd.master = v;
        } else if (a == "--master-root") {
            cd.master_root = v;
        } else if (a == "--cdrdao") {
            cd.cdrdao = v;
        } else if (a == "--cd-speed") {
            const long speed = lenient_atol(v);
            if (speed < 1 || speed > 64 || v.find_first_not_of("0123456789") != std::string_view::npos) {
                std::fprintf(stderr, "zerkaserver: bad CD speed \"%s\" (1..64)\n", argv[i]);
                return 2;
            }
            cd.speed = static_cast<int>(speed);
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
        if (!make_demo(demo, short_tracks, error)) {
            std::fprintf(stderr, "zerkaserver: cannot make the demo root: %s\n", error.c_str());
            return 1;
        }
        const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - started);
        std::uintmax_t bytes = 0;
        std::error_code ec;
        for (const auto &e : std::filesystem::recursive_directory_iterator(demo, ec))
            if (e.is_regular_file(ec))
                bytes += e.file_size(ec);
        std::printf("zerkaserver: demo root written to %s in %.1f s (%.0f MB)\n", demo.c_str(),
                    static_cast<double>(ms.count()) / 1000.0, static_cast<double>(bytes) / 1e6);
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
    if ((!cd.freedb.empty() || !cd.master.empty() || cd.simulate) && cd.drive.empty()) {
        std::fprintf(stderr, "zerkaserver: --freedb, --master and --cd-simulate need --cd-drive\n");
        return 2;
    }
    if (!cd_drive_open(st, cd, error)) {
        std::fprintf(stderr, "zerkaserver: %s\n", error.c_str());
        return 1;
    }
    st.power = power;
    const int status = run_server(st, opt);
    if (status != 0 || st.after_stop == nullptr)
        return status;
    // The database is closed before the machine is touched.
    st.store.db.reset();
    slog("Running %s", command_text(*st.after_stop).c_str());
    const int result = run_power_command(*st.after_stop);
    if (result != 0) {
        slog("%s failed (status %d)", st.after_stop->front().c_str(), result);
        return 1;
    }
    return 0;
}
