#include "core/startup.hpp"

#include "core/input.hpp"
#include "core/link.hpp"
#include "core/log.hpp"
#include "core/process.hpp"
#include "core/signals.hpp"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <curses.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

char **arg0pntr;
const char version[] = "Zerka client V4.02";

namespace {
// The writable span of the argument strings, where process listings read the name.
char *title_area;
std::size_t title_area_len;
}   // namespace

// Makes the argument strings' memory (and the environment's behind it) free for
// the process name: the environment is copied elsewhere first, so writing the
// name over it can never corrupt a variable.
void init_proc_title(int argc, char **argv)
{
    if (argc < 1 || argv[0] == nullptr)
        return;
    char *end = argv[0] + std::strlen(argv[0]) + 1;
    for (int i = 1; i < argc; ++i)
        if (argv[i] == end)
            end = argv[i] + std::strlen(argv[i]) + 1;
    extern char **environ;
    std::size_t env_count = 0;
    while (environ[env_count] != nullptr)
        ++env_count;
    char **copy = static_cast<char **>(std::malloc((env_count + 1) * sizeof(char *)));
    if (copy != nullptr) {
        bool contiguous = true;
        for (std::size_t i = 0; i < env_count; ++i) {
            if (contiguous && environ[i] == end)
                end = environ[i] + std::strlen(environ[i]) + 1;
            else
                contiguous = false;
            copy[i] = strdup(environ[i]);
        }
        copy[env_count] = nullptr;
        environ = copy;
    }
    title_area = argv[0];
    title_area_len = static_cast<std::size_t>(end - argv[0]);
}

void change_proc_name(const char *desc, const char *word)
{
    char name[64];
    std::snprintf(name, sizeof name, "%s %s", desc, word);
    if (prctl(PR_SET_NAME, name, 0, 0, 0) != 0) {
        zerkalog("Cannot set process name to %s (%s)", name, std::strerror(errno));
        return;
    }
    char got[17] = {};
    if (prctl(PR_GET_NAME, got, 0, 0, 0) != 0) {
        zerkalog("Cannot get process name (%s)", std::strerror(errno));
        return;
    }
    // Process listings read the argument strings: write the name there, within their memory.
    if (title_area != nullptr && title_area_len > 1) {
        std::memset(title_area, 0, title_area_len);
        std::memcpy(title_area, got, strnlen(got, title_area_len - 1));
    }
}

void closedown(int status)
{
    if (local_audio_pid != 0)
        kill(local_audio_pid, SIGKILL);
    if (master_sock >= 0) {
        shutdown(master_sock, SHUT_RDWR);
        close(master_sock);
    }
    if (gui) {
        clear();
        refresh();
        endwin();
    }
    std::exit(status);
}

void interrupt_func(int)
{
    interrupt_pending = 1;
    signal_wakeup();
}

void diag(const char *format, ...)
{
    std::fputs("\r\n", stderr);
    va_list ap;
    va_start(ap, format);
    std::vfprintf(stderr, format, ap);
    va_end(ap);
    std::fputs("\r\n", stderr);
    while (get_input(&input, 0) == -1) {
    }
}
