// The playlist audit (the offline playlist files against the album table) and
// the on-line audit (each track's on-line flag against its media file).
#include "audio/player.hpp"
#include "core/config.hpp"
#include "core/link.hpp"
#include "core/log.hpp"
#include "core/signals.hpp"
#include "core/startup.hpp"
#include "db/album.hpp"
#include "proto/msg_types.hpp"
#include "reports/audit_scan.hpp"
#include "reports/media_file.hpp"
#include "reports/report_list.hpp"
#include "reports/report_menu.hpp"
#include "reports/wav_file.hpp"
#include "ui/menu.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <curses.h>
#include <dirent.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char *k_playlist_dir = "PlayLists";

struct dir_closer {
    void operator()(DIR *d) const { closedir(d); }
};

void log_line(void *, const char *text) { zerkalog("%s", text); }

// The names in the playlist folder that do not begin with "." (sorted, so that
// the log reads in a steady order); false, with errno, when the listing failed.
bool playlist_names(DIR *dir, std::vector<std::string> &names)
{
    for (;;) {
        errno = 0;
        const dirent *e = readdir(dir);
        if (e == nullptr)
            return errno == 0;
        if (e->d_name[0] != '.')
            names.emplace_back(e->d_name);
    }
}

// Opens a playlist file for reading; null with errno when it cannot be opened,
// and null with errno 0 for what is no playlist file at all (a folder, a FIFO,
// a device): the audit passes those over, and never waits on them.
file_handle open_playlist(const std::string &name)
{
    const std::string path = std::string(k_playlist_dir) + "/" + name;
    file_handle f = open_regular_stream(path.c_str());
    if (f.f == nullptr && (errno == EISDIR || errno == ENXIO))
        errno = 0;
    return f;
}

// Refused in stand-alone mode: the pop-up says so.
bool refused_standalone(const char *text)
{
    if (master != 0 || local_server != 0)
        return false;
    popup(text, 0);
    return true;
}

}   // namespace

int plist_audit(const void *, int, const char *)
{
    if (refused_standalone("Playlist audit not allowed in stand-alone mode"))
        return k_stay;
    abort_sig = 0;
    install_handler(SIGINT, abort_func);
    clear();
    frame(stdscr);
    refresh();
    const std::unique_ptr<DIR, dir_closer> dir(opendir(k_playlist_dir));
    if (dir == nullptr) {
        zerkalog("Problem opening directory: %s", k_playlist_dir);
    } else {
        std::vector<std::string> names;
        const bool listed = playlist_names(dir.get(), names);
        const int listing_error = errno;
        std::sort(names.begin(), names.end());
        int errors = 0;
        const line_sink sink{.line = log_line, .context = nullptr};
        for (const std::string &name : names) {
            const file_handle f = open_playlist(name);
            if (f.f == nullptr) {
                if (errno != 0)
                    zerkalog("Cannot open playlist: \"%s\" - %s", name.c_str(), std::strerror(errno));
                continue;
            }
            char line[k_audit_line];
            while (read_audit_line(f.f, line))
                errors += audit_plist_line(name.c_str(), line, sink);
        }
        if (!listed) {
            errno = listing_error;
            error_msg("Error reading playlist directory", listing_error);
        } else if (errors > 0) {
            errno = 0;
            error_msg("Errors found in playlists - see zerka.log", 0);
        } else {
            popup("No playlist errors found", -2);
        }
    }
    install_handler(SIGINT, interrupt_func);
    return k_stay;
}

int online_audit(const void *, int, const char *)
{
    if (refused_standalone("Online audit not allowed in stand-alone mode"))
        return k_stay;
    abort_sig = 0;
    install_handler(SIGINT, abort_func);
    clear();
    frame(stdscr);
    put_text(stdscr, 6, 29, "Please Wait....");
    bool interrupted = false;
    char text[192];
    char reply[2] = "";
    for (int a = 1; a <= max_album; ++a) {
        std::snprintf(text, sizeof text, "Album: %04d", a);
        put_text(stdscr, 8, 29, text);
        refresh();
        for (int t = 1; t <= report_track_count(a); ++t) {
            track_rec &r = album[a].entry[t];
            char path[k_media_path];
            media_path(path, sizeof path, a, t);
            const int fd = open_regular_file(path);
            if (fd >= 0)
                close(fd);
            switch (online_audit_action(r.online != 0, fd >= 0)) {
            case online_action::none: break;
            case online_action::take_offline:
                r.online = 0;
                write_album(a, master_sock);
                request(master_sock, OFFLINE, a, t);
                format_online_line(text, sizeof text, a, t, r.artist, r.title, true);
                prompt(8, 4, text, reply, 0, 4);
                clear();
                frame(stdscr);
                refresh();   // a clear left pending would wipe the pop-up that may come next
                break;
            case online_action::offer_online:
                format_online_line(text, sizeof text, a, t, r.artist, r.title, false);
                prompt(8, 4, text, reply, 0, 4);
                // Only "y" changes anything: the media file is never removed.
                if (prompt(16, 10, "Media file exists: Mark this track online?", reply, 1, 0) == 'y') {
                    r.online = 1;
                    write_album(a, master_sock);
                }
                clear();
                frame(stdscr);
                refresh();   // a clear left pending would wipe the pop-up that may come next
                break;
            }
        }
        if (abort_sig != 0) {
            interrupted = true;
            break;
        }
    }
    if (!interrupted)
        popup("Online Audit Finished", 5);
    install_handler(SIGINT, interrupt_func);
    return k_stay;
}
