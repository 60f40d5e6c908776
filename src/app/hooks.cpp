// The hooks through which the layers below the app reach the screens and the
// message handlers at run time.
#include "app/hooks.hpp"

#include "app/async.hpp"
#include "audio/player.hpp"
#include "audio/stream.hpp"
#include "core/hooks.hpp"
#include "core/input.hpp"
#include "core/keys.hpp"
#include "core/signals.hpp"
#include "core/startup.hpp"
#include "playlist/state.hpp"
#include "proto/msg_types.hpp"
#include "ui/menu.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"
#include "ui/status_line.hpp"

#include <csignal>
#include <cstring>
#include <curses.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

// An unsolicited message. During a key wait a playlist update is dropped while
// an offline playlist is shown; one queued during a reply wait always reaches
// async_msg, which applies its own test.
void dispatch(server_msg *msg, bool key_wait)
{
    if (key_wait && msg->type == PLIST_UPDATE && std::strcmp(cur_plist, k_current_plist) != 0)
        return;
    async_msg(msg);
}

// The exit question the input loop asks after an interrupt.
void interrupt_question()
{
    std::signal(SIGINT, SIG_IGN);
    curs_set(1);
    clear();
    wtimeout(stdscr, -1);
    char reply[2] = {};
    if (prompt(20, 25, "Are you sure you want to exit?", reply, 1, 0) == 'y')
        closedown(0);
    clear();
    curs_set(0);
    refresh();
    wtimeout(stdscr, 100);
    install_handler(SIGINT, interrupt_func);
    // The screen under the question was wiped: every screen redraws itself as after a resize.
    ++resize_generation;
}

// Resizes the curses screen to the terminal after SIGWINCH.
void resize_screen()
{
    winsize ws = {};
    // resize_term, not resizeterm: the latter also queues a KEY_RESIZE "key",
    // which a question would take for the operator's answer.
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &ws) == 0 && ws.ws_row > 0 && ws.ws_col > 0)
        resize_term(ws.ws_row, ws.ws_col);
    clear();
    frame(stdscr);
    header(nullptr);
}

// Ctrl-A in a menu: the local audio stream on or off.
void toggle_audio() { audio_func(nullptr, -1, nullptr); }

// Ctrl-L in a menu: stops a running local player.
void stop_local_player() { local_player(0, 0); }

constexpr menu_key program_menu_keys[] = {
    {.key = k_key_ctrl_a, .action = toggle_audio},
    {.key = k_key_ctrl_l, .action = stop_local_player},
};

}   // namespace

void install_hooks()
{
    loop_hooks = {
        .message = dispatch,
        .error = error_msg,
        .notice = popup,
        .each_pass = loc_play_redraw,
        .idle_second = show_idle_status,
        .resized = resize_screen,
        .interrupted = interrupt_question,
    };
    set_menu_keys(program_menu_keys);
}
