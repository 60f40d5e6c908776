// The WAV integrity check: its questions, and the background checker process
// that walks the media files and reports to the log.
#include "core/config.hpp"
#include "core/link.hpp"
#include "core/log.hpp"
#include "core/startup.hpp"
#include "db/album.hpp"
#include "proto/text_util.hpp"
#include "reports/report_menu.hpp"
#include "reports/wav_scan.hpp"
#include "ui/album_number.hpp"
#include "ui/menu.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <curses.h>
#include <dirent.h>
#include <string>
#include <strings.h>
#include <unistd.h>

namespace {

void log_line(void *, const char *text) { zerkalog("%s", text); }

// The checker process: never touches the screen, reports only to the log, and ends with _exit.
[[noreturn]] void wav_check(bool glitches, int first_album)
{
    // The operator's interrupt and the client's own signals are not the checker's business.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGUSR2, SIG_IGN);
    std::signal(SIGWINCH, SIG_IGN);
    close(STDIN_FILENO);
    // The server connections are the client's: a checker that outlives it must not hold them open.
    if (cd_srv_sock >= 0 && cd_srv_sock != master_sock)
        close(cd_srv_sock);
    if (master_sock >= 0)
        close(master_sock);
    change_proc_name(prog_desc, "WAVcheck");
    wav_check_walk(glitches, first_album, max_album, line_sink{.line = log_line, .context = nullptr});
    _exit(0);
}

// Blanks a question's line inside the frame before the question is written on it.
void clear_row(int row)
{
    const std::string blanks(78, ' ');
    put_text(stdscr, row, 1, blanks.c_str());
}

}   // namespace

int wav_integrity(const void *, int, const char *)
{
    if (local_server == 0 && master == 0) {
        popup("WAV integrity check not allowed in stand-alone mode", 0);
        return k_stay;
    }
    copy_bounded(heading, "WAV integrity check");
    DIR *media = opendir("Media");
    if (media == nullptr) {
        error_msg("Problem opening media directory", errno);
        return k_stay;
    }
    closedir(media);
    clear();
    frame(stdscr);
    put_text(stdscr, 2, 30, "WAV integrity check");
    put_text(stdscr, 6, 10, "This program runs in the background and will take long time to run.");
    put_text(stdscr, 8, 14, "Any problems found will be logged to \"zerka.log\"");
    char reply[8] = "";
    if (strcasecmp(server_mode, "master") != 0) {
        put_text(stdscr, 12, 30, "!!!!!! WARNING !!!!!!");
        put_text(stdscr, 14, 10, "You are running this program on a local client machine");
        put_text(stdscr, 16, 10, "and it will take MUCH longer and cause considerable network traffic.");
        put_text(stdscr, 28, 10, "Please consider running WAV integrity only on the Master Zerka.");
        if (prompt(20, 30, "Proceed anyway?", reply, 1, 0) != 'y')
            return k_stay;
        // The questions below take the warning's rows: their old texts go first.
        clear_row(14);
        clear_row(20);
    }
    const bool glitches = prompt(14, 12, "Do you wish to check for glitches caused by bad rips?", reply, 1, 0) == 'y';
    reply[0] = '\0';
    if (prompt(20, 12, "Starting album No:", reply, 4, 0) == k_escape)
        return 0;
    const int first = check_a_no(reply, 1);
    if (first < 0)
        return 0;
    const pid_t pid = fork();
    if (pid < 0) {
        error_msg("Cannot fork", errno);
        return k_stay;
    }
    if (pid == 0)
        wav_check(glitches, first);
    return k_stay;
}
