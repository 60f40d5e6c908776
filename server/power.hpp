// Stopping the service and powering the machine off or re-booting it on a
// client's request. The machine is only touched when the server was started
// with an option naming the command to run; the command runs as an argument
// vector (no shell) once the server has stopped cleanly.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct server_state;

// What a power request may do, from the options.
struct power_commands {
    std::vector<std::string> reboot;     // --reboot-command: REBOOT runs it (empty: REBOOT refused)
    std::vector<std::string> poweroff;   // --poweroff-command: SHUTDOWN runs it (empty: SHUTDOWN refused)
};

// Splits an option's text at blanks into an argument vector whose first word
// is an absolute program path. False with a reason for an empty text or a
// relative path. Quotes are not interpreted: no word can hold a blank.
bool parse_power_command(std::string_view text, std::vector<std::string> &argv, std::string &error);

// Why a STOP_SERVICE, REBOOT or SHUTDOWN request from connection `id` is
// refused, or nullptr when it is accepted: a console logged in on another
// connection holds the service; the machine is only touched with a command.
const char *power_refusal(const server_state &st, int id, const std::vector<std::string> *command);

// Runs a command and waits for it; its exit status, or -1 when it could not
// run or a signal ended it. Its output goes where the server's goes.
int run_power_command(const std::vector<std::string> &argv);

// The argument vector as one line for the log.
std::string command_text(const std::vector<std::string> &argv);
