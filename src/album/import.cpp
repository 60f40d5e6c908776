// Album import: the album's track names from a freedb/XMCD file or from a
// plain-text list of one track a line.
#include "album/import.hpp"

#include "album/album_screens.hpp"
#include "album/import_line.hpp"
#include "album/text_fix.hpp"
#include "core/link.hpp"
#include "db/album.hpp"
#include "media/freedb_file.hpp"
#include "proto/file_handle.hpp"
#include "proto/text_util.hpp"
#include "ui/album_number.hpp"
#include "ui/menu.hpp"
#include "ui/popup.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

namespace {

constexpr int k_import_freedb = 2;
constexpr int k_import_plain = 3;

constexpr int k_name_length = 50;   // characters of the file name and of the album answers

// The failure "Capitalize ALL" and the import look for in write_album's
// result: -1, where the editor and the single-album corrections look for -2
// (k_invalid). Each keeps its own test; write_album returns 0 today.
constexpr int k_write_refused = -1;

// What parse_track keeps from one line to the next; reset together by a null line.
struct import_state {
    int first = 1;      // the next line is a file's first: ask the questions
    int swap = 0;       // the artist comes first on each line
    int track_no = 1;   // the track the next line names
};
import_state state;

// The questions asked on a file's first line; false when the operator left one.
bool ask_album_questions(const char *line, int album_no)
{
    prompt(15, 12, line, nullptr, 0, 4);
    char answer[2] = "";
    const int artist_first = prompt(18, 12, "Does the Artist appear first? [Y/N/ESC] ", answer, 1, 0);
    if (artist_first == k_escape)
        return false;
    // Only ever set here: a yes outlives a later stop until a file has been read to its end.
    if (artist_first == 'y')
        state.swap = 1;
    track_rec &head = album[album_no].entry[0];
    char text[k_name_length + 1];
    copy_bounded(text, head.artist);
    if (prompt(15, 12, "Album Artist(s):", text, k_name_length, 4) == k_escape)
        return false;
    set_album_artist(head, text);
    copy_bounded(text, head.title);
    if (prompt(17, 12, "Album Title:", text, k_name_length, 0) == k_escape)
        return false;
    copy_bounded(head.title, text);
    capitalize(head.title);
    // Asked after the album's names were replaced in memory; a no stops here without undoing them.
    return prompt(19, 12, "Are you sure you want to replace artist & title?", answer, 1, 0) == 'y';
}

// Opens a file to read; null (errno set) when it cannot be opened or is a directory.
file_handle open_for_reading(const char *path)
{
    file_handle file(path, "r");
    struct stat st{};
    if (file.f != nullptr && fstat(fileno(file.f), &st) == 0 && S_ISDIR(st.st_mode)) {
        file = file_handle();
        errno = EISDIR;
    }
    return file;
}

// Stores the album after an import: false after "Cannot write album".
bool store_import(int album_no)
{
    if (write_album(album_no, master_sock) == k_write_refused) {
        errno = 0;
        error_msg("Cannot write album", album_no);
        return false;
    }
    return true;
}

}   // namespace

int parse_track(char *line, int album_no)
{
    if (line == nullptr) {
        state = import_state{};
        return 0;
    }
    if (album_no < 0 || album_no >= k_album_slots)
        return -1;
    if (state.first != 0) {
        if (!ask_album_questions(line, album_no))
            return -1;
        state.first = 0;
    }
    name_track(album[album_no], state.track_no, line, state.swap);
    return ++state.track_no;
}

int import(const void *, int code, const char *)
{
    char reply[8];
    std::snprintf(reply, sizeof reply, "%04d", last_album != 0 ? last_album : 1);
    if (prompt(18, 12, "Album No:", reply, 4, 4) == k_escape)
        return k_escape;
    const int album_no = check_a_no(reply, 1);
    if (album_no == k_invalid)
        return k_invalid;
    char path[k_name_length + 1];
    copy_bounded(path, code == k_import_freedb  ? "cddbread.1"
                       : code == k_import_plain ? "tracks.txt"
                                                : "Layout.cue");
    if (prompt(18, 12, "Import Filename:", path, k_name_length, 4) == k_escape)
        return k_escape;
    file_handle file = open_for_reading(path);
    if (file.f == nullptr) {
        char text[256];
        std::snprintf(text, sizeof text, "Problem opening \"%s\" - %s", path, std::strerror(errno));
        errno = 0;   // the system's text is in the message already
        error_msg(text, 0);
        return k_invalid;
    }
    if (code == k_import_freedb) {
        read_cue_file(file.f, album_no, 0);
        file = file_handle();
        last_album = album_no;
        return 0;
    }
    if (code == k_import_plain) {
        char line[k_import_line_max];
        while (std::fgets(line, sizeof line, file.f) != nullptr) {
            char *rest = import_line_rest(line);
            if (rest[0] == '\0')
                continue;
            const int next = parse_track(rest, album_no);
            if (next < 0)
                return k_escape;   // what was stored in memory stays there, unwritten
            if (next > album[album_no].tracks)
                break;
        }
        file = file_handle();
        parse_track(nullptr, 0);
        if (!store_import(album_no))
            return k_invalid;
        last_album = album_no;
        cur_album = album_no;
        return 0;
    }
    // A cue sheet: nothing is read; the album is stored as it is.
    parse_track(nullptr, 0);
    file = file_handle();
    if (!store_import(album_no))
        return k_invalid;
    return k_stay;
}
