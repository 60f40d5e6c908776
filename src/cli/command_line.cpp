// One-shot operations from the shell: playback control, the current playlist
// and the short-list, offline playlists, searches, history, the playing mode
// and the local audio stream. Output goes to standard output, one line per
// item; every failure line begins "! ".
#include "cli/command_line.hpp"

#include "audio/stream.hpp"
#include "cli/cli_args.hpp"
#include "cli/cli_format.hpp"
#include "cli/cli_search.hpp"
#include "core/config.hpp"
#include "core/link.hpp"
#include "core/process.hpp"
#include "core/startup.hpp"
#include "db/album.hpp"
#include "playlist/offline.hpp"
#include "playlist/state.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "proto/transfer_text.hpp"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <malloc.h>
#include <string>
#include <unistd.h>

namespace {

constexpr std::int64_t k_playlists_listing = 0x8000;   // DIRLIST album field of a playlist listing
constexpr int k_history_max = 100000;                  // a server that never says "no more" still ends the walk

// What the run's requests carry from one reply to the next: each request sets
// only its own fields and sends the others as the previous reply left them
// (the server walks its history from them, for one). A run starts from album
// 1, track 0 and an empty text.
struct carried_fields {
    std::int64_t album = 1;
    std::int64_t track = 0;
    std::string text;
};

// Sends a request with the carried fields and carries the reply's on.
server_msg ask(carried_fields &c, int socket, std::int64_t type)
{
    const server_msg reply = request(socket, type, c.album, c.track, c.text);
    c.album = reply.album;
    c.track = reply.track;
    c.text.assign(reply.text, strnlen(reply.text, sizeof reply.text));
    return reply;
}

// Writes one formatted line (already ended by its newline) to standard output.
void put_line(const char *line) { std::fputs(line, stdout); }

// Writes one text and a newline to standard output.
void put_text_line(const char *text)
{
    std::fputs(text, stdout);
    std::fputc('\n', stdout);
}

// An album of the table, or nullptr for numbers outside it.
const album_rec *album_of(int album_no)
{
    return album_no >= 0 && album_no < k_album_slots ? &album[album_no] : nullptr;
}

// --help: the usage text.
void print_usage()
{
    for (const std::string_view line : cli_usage)
        std::printf("%.*s\n", static_cast<int>(line.size()), line.data());
}

// --next: fade out and play the next track.
void skip_track(carried_fields &c)
{
    if (ask(c, master_sock, SKIP).album == k_refused)
        put_text_line("! Control message failed");
}

// --stop: the master stops at the end of the current track.
void stop_master(carried_fields &c) { ask(c, master_sock, STOP); }

// Runs /bin/stty with one mode word and "echo" on the terminal of standard input.
void set_terminal(const char *mode)
{
    const char *const argv[] = {"/bin/stty", mode, "echo", nullptr};
    run_program(argv, true);
}

// --stop-local: shuts down the local server, or after a confirmation the master.
void stop_local(carried_fields &c)
{
    if (local_server) {
        put_text_line("Local server will now shut down");
        std::fflush(stdout);
        ask(c, cd_srv_sock, STOP_SERVICE);
        return;
    }
    if (!master) {
        put_text_line("No local server running");
        return;
    }
    std::fputs("\n    WARNING: this will shut down the MASTER server:  Are you sure?  ", stdout);
    std::fflush(stdout);
    set_terminal("cbreak");
    const int answer = std::getchar();
    set_terminal("cooked");
    std::fputc('\n', stdout);
    std::fflush(stdout);
    // Only a lower-case "y" shuts the master down.
    if (answer == 'y')
        ask(c, master_sock, STOP_SERVICE);
}

// --history: walks the server's recent history, one entry per reply, until a reply's album is 0.
void print_history(carried_fields &c)
{
    c.text = "history.hst";
    for (int asked = 0; asked < k_history_max; ++asked) {
        const server_msg reply = ask(c, master_sock, HISTORY);
        if (reply.album == 0)
            return;
        history_entry e;
        if (parse_history_entry({reply.text, strnlen(reply.text, reply.length)}, e)) {
            char line[k_cli_line];
            format_history_line(line, sizeof line, e, get_time(static_cast<std::time_t>(e.time_played)));
            put_line(line);
        }
        // The server walks its history from the album and track its reply left.
        c.text = "history.hst";
    }
}

// Output of the streamer that is not a terminal goes to /dev/null, so that a
// caller reading the command's output is not kept waiting for the streamer.
void detach_from_pipes()
{
    const int null_fd = open("/dev/null", O_WRONLY);
    if (null_fd < 0)
        return;
    for (const int fd : {STDOUT_FILENO, STDERR_FILENO})
        if (!isatty(fd))
            dup2(null_fd, fd);
    if (null_fd > STDERR_FILENO)
        close(null_fd);
}

// --audio and --audio-off: starts the streamer process, or stops the one running.
void local_audio(bool stopping)
{
    if (master) {
        put_text_line("Local audio stream not available on Master server");
        return;
    }
    const pid_t running = find_process("Streamer");
    if (stopping) {
        if (running > 0) {
            kill(running, SIGKILL);
            put_text_line("Local audio terminated");
        } else {
            put_text_line("Local audio is not enabled");
        }
        return;
    }
    if (running > 0) {
        put_text_line("Audio is already enabled");
        return;
    }
    std::fflush(stdout);
    std::fflush(stderr);
    const pid_t child = fork();
    if (child < 0) {
        put_text_line("! Audio stream Fork failed");
        return;
    }
    if (child == 0) {
        std::signal(SIGINT, SIG_IGN);
        detach_from_pipes();
        change_proc_name(prog_desc, "Streamer");
        audio_stream();
    }
    put_text_line("Local audio started");
}

// --mode: shows the playing mode or the selection playlist, or selects a mode.
void mode_operations(carried_fields &c, const cli_options &o)
{
    if (o.mode_name[0] == '\0') {
        if (o.target[0] == '\0') {
            const server_msg reply = ask(c, master_sock, GET_MODE);
            char line[k_cli_line];
            format_mode_line(line, sizeof line, reply.album);
            put_line(line);
        } else if (std::strcmp(o.target, k_any_target) == 0) {
            const server_msg reply = ask(c, master_sock, GET_PLIST);
            std::printf("Selection Playlist: \"%s\"\n", reply.text);
        }
        return;
    }
    const int mode = find_mode(o.mode_name);
    if (mode == 0) {
        put_text_line("! unknown mode");
        return;
    }
    const std::int64_t current = ask(c, master_sock, GET_MODE).album;
    if (mode == 5 || mode == 6) {
        c.album = mode;
        c.track = 1;
        c.text = o.target;
        const server_msg reply = ask(c, master_sock, SET_PLIST);
        if (reply.album == 0)
            put_text_line(set_plist_failure(reply.track));
    } else if (mode != current) {
        ask(c, master_sock, MODE_UNDEFINED + mode);
    }
}

// Loads albums 0 to 3000 without any display, stopping at the end answer.
void load_database()
{
    clear_album_table();
    max_album = 0;
    for (int n = 0; n <= k_last_regular; ++n) {
        const int r = read_album(n, master_sock);
        if (r == 3)
            break;
        if (r == 1)
            max_album = n;
    }
}

// Adds an item to, or deletes it from, the current playlist or the short-list; false when the run ends here.
bool change_list(carried_fields &c, const cli_options &o)
{
    int album_no = 0;
    int track_no = 0;
    parse_item(o.item, album_no, track_no);
    const album_rec *rec = album_of(album_no);
    if (rec == nullptr || item_out_of_range(album_no, track_no, max_album, rec->tracks)) {
        char line[k_cli_line];
        format_range_error(line, sizeof line, album_no, track_no);
        put_line(line);
        return false;
    }
    c.album = album_no;
    c.track = track_no;
    if (o.list_type == SHORTLIST || o.list_type == DONOTPLAY) {
        ask(c, master_sock, o.list_type);   // with the text as it stands
        return true;
    }
    char line[k_cli_line];
    if (o.list_type == PLIST_ADD && track_no == 0) {
        for (int t = 1; t <= rec->tracks; ++t)
            plist_add_svce(album_no, t, k_current_plist, 0, master_sock);
        format_album_added(line, sizeof line, album_no, rec->entry[0].artist, rec->entry[0].title);
        put_line(line);
    } else {
        c.text = k_current_plist;
        const server_msg reply = ask(c, master_sock, o.list_type);
        const track_rec &t = rec->entry[track_no];
        format_list_result(line, sizeof line, o.list_type == PLIST_DELETE, reply.album == k_refused, t.artist,
                           t.title);
        put_line(line);
    }
    c.text = k_current_plist;
    ask(c, master_sock, PLIST_UPDATE);
    return true;
}

// --playlist-use: appends an offline playlist to the current one.
void append_playlist(carried_fields &c, const cli_options &o)
{
    char path[sizeof o.plist_name + 16];
    std::snprintf(path, sizeof path, "%s/%s", "PlayLists", o.plist_name);
    if (access(path, F_OK) != 0) {
        std::printf("! Playlist \"%s\" does not exist\n", path);
        return;
    }
    c.text = o.plist_name;
    ask(c, master_sock, PLIST_APPEND);
}

// --playlist-search: the names of the offline playlists.
void list_playlists(carried_fields &c)
{
    c.album = k_playlists_listing;
    c.track = 0;
    c.text = "PlayLists";
    const server_msg reply = ask(c, master_sock, DIRLIST);
    for_each_listed_playlist({reply.text, strnlen(reply.text, reply.length)}, [](std::string_view name) {
        const std::string shown(name);
        std::printf("%s \n", shown.c_str());
    });
}

// --playlist: prints a playlist, one track per line.
void print_playlist(carried_fields &c, const cli_options &o)
{
    c.text = o.plist_name;
    const server_msg reply = ask(c, master_sock, PLIST_GET);
    if (reply.album == 0) {
        std::printf("Cannot open playlist: \"%s\"\n", o.plist_name);
        return;
    }
    for_each_plist_record(reply.text, strnlen(reply.text, reply.length), print_track);
}

// The operation that ended the argument scan; false when there was none.
bool immediate_operation(carried_fields &c, cli_action action)
{
    switch (action) {
    case cli_action::none:
        return false;
    case cli_action::help:
        print_usage();
        break;
    case cli_action::skip:
        skip_track(c);
        break;
    case cli_action::stop:
        stop_master(c);
        break;
    case cli_action::stop_local:
        stop_local(c);
        break;
    case cli_action::history:
        print_history(c);
        break;
    case cli_action::audio_on:
        local_audio(false);
        break;
    case cli_action::audio_off:
        local_audio(true);
        break;
    case cli_action::format_error:
        put_text_line("! Format error");
        break;
    }
    return true;
}

}   // namespace

void command_line(int argc, char **argv)
{
    // A search can print 100,000 lines: into a pipe or a file they go in large
    // writes (a terminal keeps its line buffering). Nothing is printed before this.
    static char out_buf[1 << 16];
    if (isatty(STDOUT_FILENO) == 0)
        std::setvbuf(stdout, out_buf, _IOFBF, sizeof out_buf);
    // The lists of a large search are built once and freed once: from the heap
    // they reuse its pages, where blocks of their size would each be mapped and
    // unmapped again with fresh pages every time.
    mallopt(M_MMAP_THRESHOLD, 64 << 20);
    carried_fields c;
    const cli_options o = scan_arguments(argc, argv);
    if (immediate_operation(c, o.action))
        return;
    if (o.mode) {
        mode_operations(c, o);
        return;
    }
    if (!(o.playlist || o.search || o.use || o.print || o.add || o.del || o.shortlist)) {
        put_text_line("! Unrecognized command");
        return;
    }
    load_database();
    if ((o.add || o.del || o.shortlist) && !change_list(c, o))
        return;
    if (o.use)
        append_playlist(c, o);
    if (o.list_playlists)
        list_playlists(c);
    if (o.print)
        print_playlist(c, o);
    if (o.search && !o.list_playlists)
        search_database(o);
}
