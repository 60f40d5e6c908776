// Backing an album up on a CD-R: the client checks the album's length, the
// writer, cdrdao and a blank disc, then the local server, which owns the
// drive, writes it and reports the end later (CDW_DONE).
#include "media/new_album.hpp"

#include "browse/chain.hpp"
#include "core/config.hpp"
#include "core/link.hpp"
#include "db/album.hpp"
#include "media/media_files.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "ui/album_number.hpp"
#include "ui/menu.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <curses.h>
#include <fcntl.h>
#include <linux/cdrom.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char *k_cdrdao = "/usr/bin/cdrdao";

void failure(const char *text)
{
    errno = 0;
    error_msg(text, 0);
}

// The texts of WRITE_CD's refusals, by result code.
constexpr const char *k_write_refusals[] = {
    nullptr,                        // 0: accepted
    "CD drive is in use",
    "Cannot open TOC file",
    "Cannot write TOC file",
    "Cannot open dummy WAV file",
};

// What the disc in the drive allows.
enum class disc_state { blank, unusable, busy, failed };

// Asks the drive for its disc status: no information (what a blank disc
// gives) is a blank; no disc, or one with audio or data, is unusable; an open
// tray or a drive not ready asks again.
disc_state disc_status(int fd)
{
    const int status = ioctl(fd, CDROM_DISC_STATUS, CDSL_CURRENT);
    if (status == CDS_NO_INFO)
        return disc_state::blank;
    if (status == CDS_NO_DISC || status >= CDS_AUDIO)
        return disc_state::unusable;
    if (status < 0 && errno != EINTR && errno != EAGAIN && errno != EBUSY)
        return disc_state::failed;   // not a drive that can tell: asking again would never end
    return disc_state::busy;
}

// Sends WRITE_CD for the album to the local server and shows its answer.
void request_write(int album_no)
{
    const server_msg reply = request(cd_srv_sock, WRITE_CD, album_no, 0);
    const long code = static_cast<long>(reply.track);
    char text[128];
    if (code == 0) {
        std::snprintf(text, sizeof text, " Writing CD %04d ", album_no);
        popup(text, 2);
    } else if (code > 0 && code < static_cast<long>(std::size(k_write_refusals))) {
        failure(k_write_refusals[code]);
    } else {
        std::snprintf(text, sizeof text, "Album %4.4d: unknown CD writer result %ld", album_no, code);
        failure(text);
    }
}

}   // namespace

int write_cd(const void *, int album_no, const char *)
{
    if (cd_present == 0) {
        failure("Cannot make CD backup - no CD writer");
        return 0;
    }
    if (album_no == 0) {
        char reply[8];
        std::snprintf(reply, sizeof reply, "%04d", last_album != 0 ? last_album : 1);
        if (prompt(18, 12, "Album No. to back up:", reply, 4, 4) == k_escape)
            return k_escape;
        album_no = check_a_no(reply, 0);
        if (album_no <= 0)
            return 0;
    }
    if (album_no < 0 || album_no >= k_album_slots)
        return 0;
    const long long seconds = length_seconds(field_view(album[album_no].entry[0].time));
    if (seconds > max_cdr_length) {
        char text[128];
        std::snprintf(text, sizeof text, "Total time (%2.2d:%2.2d) exceeds the CD-R capacity (%2.2d:%2.2d)",
                      static_cast<int>(seconds / 60), static_cast<int>(seconds % 60), max_cdr_length / 60,
                      max_cdr_length % 60);
        failure(text);
        if (chdir(zerka_root) != 0)
            error_msg("Cannot return to the Zerka root directory", 0);
        return 0;
    }
    last_album = album_no;
    {
        const unique_fd drive(open(cd_rom, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        if (drive.fd < 0) {
            error_msg("Cannot open CD drive", 0);
            return 0;
        }
        struct stat st {};
        if (stat(k_cdrdao, &st) != 0 || (st.st_mode & S_IXUSR) == 0) {
            failure("cdrdao not found: is it installed?");
            return 0;
        }
        for (;;) {
            const disc_state state = disc_status(drive.fd);
            if (state == disc_state::blank)
                break;
            if (state == disc_state::failed) {
                error_msg("Cannot obtain disc status", 0);
                return 0;
            }
            if (state == disc_state::busy)
                continue;
            put_text(stdscr, 16, 12, "Place a writable CD in the drive and close the tray");
            char reply[2] = "";
            if (prompt(18, 12, "Press ENTER to continue, or ESC to abort", reply, 1, 0) == k_escape)
                return k_escape;
            clear();
            frame(stdscr);
            refresh();
            sleep(1);
        }
    }
    request_write(album_no);
    return 0;
}
