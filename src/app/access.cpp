// The shutdown and re-boot menu, the maintenance menu and its database refresh.
#include "app/access.hpp"

#include "app/menu_tables.hpp"
#include "core/config.hpp"
#include "core/link.hpp"
#include "core/startup.hpp"
#include "playlist/console.hpp"
#include "proto/msg_types.hpp"
#include "ui/menu.hpp"
#include "ui/password.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <curses.h>

namespace {

constexpr int k_question_row = 12;

// Asks a yes/no question of the shutdown menu on a clean screen; true on "y".
bool confirmed(int column, const char *question)
{
    char reply[2] = {};
    return prompt(k_question_row, column, question, reply, 1, 4) == 'y';
}

// Sends one shutdown request and acts on the answer: a server that accepts
// ends the program; a refusal is shown and returns -1.
int send_request(std::int64_t type, int socket)
{
    if (request(socket, type, 1, 0).album != 0) {
        popup("Program will now close", 2);
        closedown(0);
    }
    popup("Permission denied - console is active", 2);
    password = 0;
    return -1;
}

}   // namespace

int shutdown_func(const void *, int code, const char *)
{
    if (code == -1) {
        menu_func(shut_down, 0, "Shutdown/Re-boot Menu", "");
        return 0;
    }
    if ((code == 0 || code == 1 || (code == 9 && !master)) && local_server == 0) {
        popup("Local server is not running", 2);
        return 0;
    }
    if (code != 6 && chkpass() != 0)
        return -1;
    if (master)
        code += 2;
    const auto declined = [] {
        password = 0;
        return 0;
    };
    switch (code) {
    case 0:
        if (!confirmed(14, "This will re-boot your local server. Are you sure?"))
            return declined();
        return send_request(REBOOT, cd_srv_sock);
    case 1:
        if (!confirmed(14, "This will shut down your local server. Are you sure?") ||
            !confirmed(10, "This will SHUTDOWN your local server. Are you REALLY sure?"))
            return declined();
        return send_request(SHUTDOWN, cd_srv_sock);
    case 2:
    case 4:
        if (!confirmed(14, "This will re-boot the MASTER zerka server. Are you sure?"))
            return declined();
        return send_request(REBOOT, master_sock);
    case 3:
    case 5:
        if (!confirmed(14, "This will shut down the MASTER zerka server. Are you sure?") ||
            !confirmed(10, "This will SHUTDOWN the MASTER zerka server. Are you REALLY sure?"))
            return declined();
        return send_request(SHUTDOWN, master_sock);
    case 6:
    case 8:
        closedown(0);
    case 9:
    case 11:
        if (!confirmed(14, master ? "This will stop the MASTER zerka service. Are you sure?"
                                  : "This will stop the local Zerka service. Are you sure?"))
            return declined();
        clear();
        refresh();
        return send_request(STOP_SERVICE, cd_srv_sock);
    default:
        return 0;   // no action for this code, and no request
    }
}

int set_maint_mode(const void *, int, const char *)
{
    if (chkpass() != 0)
        return -1;
    maintenance = 1;
    menu_func(maint_menu, 0, "Maintenance", "");
    maintenance = 0;
    password = 0;
    return 0;
}

int refresh_database(const void *, int mode, const char *)
{
    clear();
    frame(stdscr);
    controls(mode);
    clear();
    frame(stdscr);
    return 0;
}
