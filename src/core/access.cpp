// The maintenance password, the shutdown and re-boot menu and the maintenance menu.
#include "core/access.hpp"

#include "core/config.hpp"
#include "core/input.hpp"
#include "core/keys.hpp"
#include "core/link.hpp"
#include "core/startup.hpp"
#include "proto/msg_types.hpp"
#include "ui/menu.hpp"
#include "ui/menu_tables.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cstring>
#include <curses.h>

int password;
int maintenance;

namespace {

constexpr int k_pass_row = 12;
constexpr int k_pass_label_col = 27;
constexpr int k_pass_col = 37;
constexpr int k_pass_cells = 16;   // the field shown; the 16th character typed ends the entry and is dropped

// Writes cells of the reversed password field, from position `at` on.
void put_cells(int at, const char *text)
{
    attron(A_REVERSE);
    put_text(stdscr, k_pass_row, k_pass_col + at, text);
    attroff(A_REVERSE);
}

// Draws the password screen with a star for each character typed so far.
void draw_password_screen(int typed)
{
    clear();
    frame(stdscr);
    put_text(stdscr, k_pass_row, k_pass_label_col, "Password: ");
    char cells[k_pass_cells + 1];
    std::memset(cells, ' ', k_pass_cells);
    std::memset(cells, '*', static_cast<std::size_t>(typed));
    cells[k_pass_cells] = '\0';
    put_cells(0, cells);
    move(k_pass_row, k_pass_col + typed);
    curs_set(1);
    refresh();
}

// Asks a yes/no question of the shutdown menu on a clean screen; true on "y".
bool confirmed(int column, const char *question)
{
    char reply[2] = {};
    return prompt(k_pass_row, column, question, reply, 1, 4) == 'y';
}

// Sends one shutdown request and acts on the answer: a server that accepts
// ends the program; a refusal is shown and returns -1.
int send_request(std::int64_t type, int socket)
{
    static server_msg msg;
    msg.socket = socket;
    msg.type = type;
    msg.sequence = 0;
    msg.album = 1;
    msg.track = 0;
    set_text(msg, "");
    send_msg(&msg);
    if (msg.album != 0) {
        popup("Program will now close", 2);
        closedown(0);
    }
    popup("Permission denied - console is active", 2);
    password = 0;
    return -1;
}

}   // namespace

int chkpass()
{
    if (password == 1 || maintenance == 1 || secure[0] == '#' || secure[0] == '\0')
        return 0;
    char entry[k_pass_cells + 1] = {};
    int typed = 0;
    draw_password_screen(typed);
    int generation = resize_generation;
    bool escaped = false;
    for (;;) {
        const int key = get_input(&input, 0);
        if (key == -1) {
            if (generation != resize_generation) {
                generation = resize_generation;
                draw_password_screen(typed);
            }
            continue;
        }
        if (key == k_key_return || key == k_key_linefeed)
            break;
        if (key == k_key_esc) {
            escaped = true;
            break;
        }
        if (key == k_key_ctrl_h || key == k_key_backspace) {
            if (typed > 0) {
                --typed;
                put_cells(typed, " ");
                move(k_pass_row, k_pass_col + typed);
                refresh();
            }
            continue;
        }
        entry[typed] = static_cast<char>(key);
        put_cells(typed, "*");
        ++typed;
        if (typed == k_pass_cells) {
            --typed;   // the sixteenth character ends the entry and takes no part
            break;
        }
        move(k_pass_row, k_pass_col + typed);
        refresh();
    }
    entry[typed] = '\0';
    curs_set(0);
    if (escaped)
        return -1;
    if (std::strcmp(entry, secure) != 0) {
        popup("Sorry - Wrong Password", 1);
        return -1;
    }
    password = 1;
    return 0;
}

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
