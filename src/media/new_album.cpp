// New albums from a folder of WAV files, and backups of albums on CD-R.
#include "media/new_album.hpp"

#include "browse/chain.hpp"
#include "core/config.hpp"
#include "core/link.hpp"
#include "db/album.hpp"
#include "media/album_numbers.hpp"
#include "media/media_files.hpp"
#include "media/wav_folder.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "album/text_fix.hpp"
#include "ui/menu.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <curses.h>
#include <dirent.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int k_folder_field = 40;   // characters of the folder name
constexpr int k_album_text_field = 50;
constexpr int k_max_tracks = k_max_entries - 1;

// Shows a failure without any system text left over from earlier calls.
void failure(const char *text)
{
    errno = 0;
    error_msg(text, 0);
}

// A failure with a file, its path and the system's text, as one message.
void file_failure(const char *format, const char *path, int errnum)
{
    char text[1024];
    std::snprintf(text, sizeof text, format, path, std::strerror(errnum));
    failure(text);
}

// Goes back to the database root, where every relative path of the program starts.
void back_to_root()
{
    if (chdir(zerka_root) != 0) {
        // Nothing relative can be trusted now; say so, the operator can still leave.
        error_msg("Cannot return to the Zerka root directory", 0);
    }
}

// Lists the current folder sorted by name, with what stat says of each entry.
bool scan_folder(std::vector<folder_entry> &out)
{
    dirent **names = nullptr;
    const int n = scandir(".", &names, nullptr, alphasort);
    if (n < 0)
        return false;
    for (int i = 0; i < n; ++i) {
        folder_entry e;
        e.name = names[i]->d_name;
        struct stat st {};
        e.stat_ok = stat(names[i]->d_name, &st) == 0;
        e.regular = e.stat_ok && S_ISREG(st.st_mode);
        e.size = e.stat_ok ? static_cast<long long>(st.st_size) : 0;
        out.push_back(std::move(e));
        std::free(names[i]);
    }
    std::free(names);
    return true;
}

// Asks for one album text with a proposal; false on ESC.
bool ask_text(int row, const char *question, char (&field)[67])
{
    char reply[k_album_text_field + 1];
    copy_bounded(reply, field_view(field));
    if (prompt(row, 12, question, reply, k_album_text_field, 0) == k_escape)
        return false;
    copy_bounded(field, reply);
    capitalize(field);
    return true;
}

// Copies the selected files into the media folder as the album's tracks.
// False (after saying why) when one could not be copied.
bool copy_tracks(int number, const std::vector<folder_entry> &files)
{
    album_rec &a = album[number];
    const std::size_t cut = numbering_prefix(files.empty() ? "" : files[0].name.substr(0, files[0].name.size() - 4));
    for (std::size_t i = 0; i < files.size(); ++i) {
        const int t = static_cast<int>(i) + 1;
        track_rec &r = a.entry[t];
        r = track_rec{};
        track_from_name(files[i].name, cut, r);
        char time[32];
        format_minutes(time, wav_seconds(files[i].size));
        copy_bounded(r.time, time);
        r.status = '-';
        char number_text[16];
        std::snprintf(number_text, sizeof number_text, "%2d", t);
        put_text(stdscr, 15, 40, number_text);
        refresh();
        char destination[160];
        std::snprintf(destination, sizeof destination, "%s/%s/%4.4d_%2.2d.wav", zerka_root, "Media", number, t);
        switch (copy_file(files[i].name.c_str(), destination, k_folder_copy_block)) {
        case copy_result::source_failed:
            file_failure("Cannot open source WAV file: \"%s\" - %s", files[i].name.c_str(), errno);
            return false;
        case copy_result::destination_failed:
            file_failure("Cannot open destination WAV file: \"%s\" - %s", destination, errno);
            return false;
        case copy_result::short_write:
            failure("File write error");
            return false;
        case copy_result::done:
            break;
        }
        r.online = 1;
        a.tracks = t;
    }
    if (files.size() < static_cast<std::size_t>(k_max_entries))
        a.entry[files.size() + 1].title[0] = '\0';
    return true;
}

// The body of new_from_folder, in the WAV folder; the caller returns to the root.
int make_album_from_folder(const char *folder)
{
    std::vector<folder_entry> listing;
    if (!scan_folder(listing)) {
        failure("Cannot scan WAV folder");
        return 0;
    }
    const std::vector<folder_entry> files = select_wav_files(listing);
    long long bytes = 0;
    for (const folder_entry &f : files)
        bytes += f.size;
    const long long seconds = wav_seconds(bytes);
    char text[256];
    if (seconds > max_cdr_length) {
        std::snprintf(text, sizeof text,
                      "Total time (%2.2ld:%2.2ld) exceeds the CD-R capacity (%2.2d:%2.2d); revise file list or increase "
                      "MAX_CDR_LENGTH in zerka.cfg",
                      static_cast<long>(seconds / 60), static_cast<long>(seconds % 60), max_cdr_length / 60,
                      max_cdr_length % 60);
        failure(text);
        return 0;
    }
    if (files.size() > static_cast<std::size_t>(k_max_tracks)) {
        std::snprintf(text, sizeof text, "%d WAV files: an album holds at most %d tracks",
                      static_cast<int>(files.size()), k_max_tracks);
        failure(text);
        return 0;
    }
    clear();
    frame(stdscr);
    std::snprintf(text, sizeof text, "%d files %2.2ld:%2.2ld total time", static_cast<int>(files.size()),
                  static_cast<long>(seconds / 60), static_cast<long>(seconds % 60));
    put_text(stdscr, 16, 10, text);
    char reply[2] = "";
    if (prompt(18, 10, "Continue?", reply, 1, 0) != 'y')
        return 0;

    const int number = request_album_number(ALBUM_NEW, nullptr);
    if (number <= 0 || number >= k_album_slots) {
        failure("All available database slots are full");
        return 0;
    }
    if (number > max_album && number <= k_last_regular)
        max_album = number;
    album_rec &a = album[number];
    a.present = 0;
    a.tracks = 0;
    track_rec &head = a.entry[0];
    head = track_rec{};
    copy_bounded(head.artist, "Various Artists");
    copy_bounded(head.title, folder);
    clear();
    frame(stdscr);
    if (!ask_text(15, "Album Artist(s):", head.artist) || !ask_text(17, "Album Title:", head.title))
        return k_escape;
    char album_time[32];
    format_minutes(album_time, seconds);
    copy_bounded(head.time, album_time);
    head.status = '-';

    clear();
    frame(stdscr);
    std::snprintf(text, sizeof text, "Creating Album No. %4.4d", number);
    put_text(stdscr, 13, 26, text);
    std::snprintf(text, sizeof text, "Copying track    of %d", static_cast<int>(files.size()));
    put_text(stdscr, 15, 26, text);
    refresh();
    if (!copy_tracks(number, files))
        return 0;
    head.cd_ident = 0;
    head.online = 0;
    if (write_album(number, master_sock) != 0) {
        failure("Cannot write album");
        return -2;
    }
    last_album = number;
    clear();
    frame(stdscr);
    std::snprintf(text, sizeof text, "Album %4.4d created", number);
    put_text(stdscr, 11, 23, text);
    if (cd_present == 0) {
        prompt(13, 23, "No CD writer available - cannot make backup", reply, 1, 0);
    } else if (prompt(13, 23, "Do you wish to write a backup CD?", reply, 1, 0) == 'y') {
        write_cd(nullptr, number, nullptr);
    }
    return 0;
}

}   // namespace

int new_from_folder(const void *, int, const char *)
{
    clear();
    frame(stdscr);
    put_text(stdscr, 16, 10, "Location of WAV Folder:");
    char folder[k_folder_field + 1];
    copy_bounded(folder, dirname);
    if (prompt(18, 10, wav_path, folder, k_folder_field, 0) == k_escape)
        return k_escape;
    char path[160];
    std::snprintf(path, sizeof path, "%s%s", wav_path, folder);
    if (chdir(path) != 0) {
        char text[256];
        std::snprintf(text, sizeof text, "Cannot open WAV folder \"%s\"", path);
        error_msg(text, 0);
        return 0;
    }
    const int result = make_album_from_folder(folder);
    back_to_root();
    return result;
}
