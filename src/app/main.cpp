// The program's entry: root directory, configuration, log, servers, greeting,
// then either one command-line operation or the interactive main loop.
#include "app/hooks.hpp"
#include "app/menu_tables.hpp"
#include "audio/player.hpp"
#include "cli/command_line.hpp"
#include "core/config.hpp"
#include "core/input.hpp"
#include "core/keymap.hpp"
#include "core/link.hpp"
#include "core/log.hpp"
#include "core/process.hpp"
#include "core/signals.hpp"
#include "core/startup.hpp"
#include "playlist/console.hpp"
#include "playlist/state.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "ui/load_screen.hpp"
#include "ui/menu.hpp"
#include "ui/password.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <curses.h>
#include <strings.h>
#include <unistd.h>

namespace {

// Finds the root directory and makes it the working directory.
void enter_root(char **argv)
{
    char dir[257];
    const char *env = std::getenv("ZERKA");
    if (env != nullptr) {
        if (!copy_bounded(dir, env)) {
            std::fprintf(stderr, "Cannot change to directory \"%s\"\n", env);
            std::exit(1);
        }
    } else {
        copy_bounded(dir, argv[0] != nullptr ? argv[0] : "");
        char *slash = std::strrchr(dir, '/');
        if (slash != nullptr)
            *slash = '\0';
        else
            dir[0] = '\0';
    }
    if (dir[0] != '\0' && chdir(dir) != 0) {
        std::fprintf(stderr, "Cannot change to directory \"%s\"\n", dir);
        std::exit(1);
    }
    // The root must fit its buffer: a longer one is reported as the name-too-long failure it is.
    char cwd[4097];
    errno = 0;
    if (getcwd(cwd, sizeof cwd) == nullptr || !copy_bounded(zerka_root, cwd)) {
        if (errno == 0)
            errno = ENAMETOOLONG;
        std::perror("getcwd() failed");
        std::exit(1);
    }
}

void open_log()
{
    if (logfile != nullptr)
        return;
    char path[sizeof zerka_root + 16];
    std::snprintf(path, sizeof path, "%s/%s", zerka_root, "zerka.log");
    logfile = std::fopen(path, "a+");
    if (logfile == nullptr) {
        std::fprintf(stderr, "Failed to open log file for append - %s\n", std::strerror(errno));
        std::exit(1);
    }
}

void decode_server_mode()
{
    if (strcasecmp(server_mode, "master") == 0) {
        master = 1;
        local_server = 0;
    } else if (strcasecmp(server_mode, "standalone") == 0) {
        master = 0;
        local_server = 0;
    } else if (strcasecmp(server_mode, "local") == 0) {
        master = 0;
        local_server = 1;
    } else {
        std::fputs("Configuration error: SERVER_MODE\n", stderr);
        std::exit(1);
    }
}

void init_screen()
{
    initscr();
    noecho();
    nonl();
    cbreak();
    keypad(stdscr, TRUE);
    start_color();
    touchwin(stdscr);
    curs_set(0);
    init_color(COLOR_BLUE, 0, 0, 400);
    if (init_pair(1, COLOR_WHITE, COLOR_BLUE) == ERR) {
        error_msg("init_pair failed", errno);
        closedown(1);
    }
    wbkgd(stdscr, COLOR_PAIR(1));
    refresh();
    init_keymap();
}

void resize_func(int)
{
    resize_pending = 1;
    signal_wakeup();
}

[[noreturn]] void main_loop()
{
    for (;;) {
        playlist(nullptr, static_cast<int>(MODE_UNDEFINED), nullptr);
        copy_bounded(heading, "ZERKALIBRARY");
        menu_func(main_menu, 0, heading, "");
        char reply[2] = {};
        if (prompt(20, 25, "Are you sure you want to exit?", reply, 1, 0) == 'y')
            closedown(0);
    }
}

}   // namespace

int main(int argc, char **argv)
{
    install_hooks();
    init_proc_title(argc, argv);
    enter_root(argv);
    read_configuration();
    open_log();
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGCHLD, SIG_IGN);
    std::signal(SIGTERM, SIG_IGN);
    std::signal(SIGUSR1, SIG_IGN);
    // A write to a server that has gone must fail and be reported, not end the program unseen.
    std::signal(SIGPIPE, SIG_IGN);
    decode_server_mode();
    if (argc < 2) {
        std::fputs("\n\n Please wait.......\n", stderr);
        std::fflush(stderr);
    }
    master_sock = connect_to_server(master_server, master_port, 1);
    cd_srv_sock = master_sock;
    if (master == 0 && local_server == 1 && !(argc > 1 && std::strcmp(argv[1], "--start-local") == 0))
        cd_srv_sock = connect_to_server(loopback_host, master_port, 0);
    greet_servers();
    arg0pntr = argv;
    if (argc > 1) {
        gui = 0;
        command_line(argc, argv);
        std::exit(0);
    }
    gui = 1;
    const char *const stty[] = {"/bin/stty", "-ixon", nullptr};
    run_program(stty, false);
    signal_pipe_open();
    init_screen();
    password = 0;
    retrieve_album = k_no_album;
    change_proc_name(prog_desc, "Client");
    clear();
    read_database();
    cur_plist[0] = '\0';
    set_escdelay(10);
    install_handler(SIGINT, interrupt_func);
    install_handler(SIGWINCH, resize_func);
    if (!install_siginfo_handler(SIGUSR2, loc_play_display)) {
        zerkalog("zerka client- sigaction error - SIGUSR2 errno=%d", errno);
        closedown(1);
    }
    main_loop();
}
