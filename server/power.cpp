#include "server/power.hpp"

#include "server/state.hpp"

#include <algorithm>
#include <cerrno>
#include <sys/wait.h>
#include <unistd.h>

bool parse_power_command(std::string_view text, std::vector<std::string> &argv, std::string &error)
{
    argv.clear();
    std::size_t pos = 0;
    while (pos < text.size()) {
        const std::size_t start = text.find_first_not_of(" \t", pos);
        if (start == std::string_view::npos)
            break;
        const std::size_t end = std::min(text.find_first_of(" \t", start), text.size());
        argv.emplace_back(text.substr(start, end - start));
        pos = end;
    }
    if (argv.empty()) {
        error = "an empty command";
        return false;
    }
    if (argv[0].front() != '/') {
        error = "the program must be named by its absolute path: " + argv[0];
        argv.clear();
        return false;
    }
    return true;
}

const char *power_refusal(const server_state &st, int id, const std::vector<std::string> *command)
{
    if (st.console_holder != -1 && st.console_holder != id)
        return "a console is logged in";
    if (command != nullptr && command->empty())
        return "the server was started without a command for it";
    return nullptr;
}

int run_power_command(const std::vector<std::string> &argv)
{
    if (argv.empty())
        return -1;
    std::vector<char *> args;
    for (const std::string &a : argv)
        args.push_back(const_cast<char *>(a.c_str()));
    args.push_back(nullptr);
    const pid_t pid = ::fork();
    if (pid < 0)
        return -1;
    if (pid == 0) {
        ::execv(args[0], args.data());
        ::_exit(127);
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0)
        if (errno != EINTR)
            return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string command_text(const std::vector<std::string> &argv)
{
    std::string line;
    for (const std::string &a : argv) {
        if (!line.empty())
            line += ' ';
        line += a;
    }
    return line;
}
