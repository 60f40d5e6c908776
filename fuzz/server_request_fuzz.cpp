// Fuzzes the server's handling of one request. Each input is one request from
// a fresh connection: its first byte chooses the type (one of the types the
// server knows, or with the top bit set any byte), the next two bytes the
// album and the two after them the track (big-endian), the rest is the text.
// The root (database, playlists, history) is put back as it was before every
// input, so that what a request does depends on that input alone.
//
// Checked: every request gets exactly one reply, of its own type and with its
// own sequence (the greeting: 0x0100), and every frame sent is whole.
#include "proto/msg_types.hpp"
#include "proto/wire.hpp"
#include "server/handlers.hpp"
#include "server/history.hpp"
#include "server/log.hpp"
#include "server/outbox.hpp"
#include "server/playlists.hpp"
#include "server/state.hpp"
#include "server/store.hpp"
#include "server/wav.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sqlite3.h>
#include <memory>
#include <string>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

std::string root;                                // the server's root, in memory when /dev/shm exists
std::map<std::string, std::string> pristine;     // every file of the root as set up (relative path -> bytes)
std::unique_ptr<server_state> st;                // the server, opened afresh for each input

std::int64_t fixed_clock() { return 0x65000000; }

// Keeps the database's changes in memory: the syncing is not what is fuzzed here.
void no_sync(server_state &s) { sqlite3_exec(s.store.db.get(), "PRAGMA synchronous=OFF", nullptr, nullptr, nullptr); }

std::string read_all(const fs::path &p)
{
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void write_all(const fs::path &p, const std::string &bytes) { std::ofstream(p, std::ios::binary) << bytes; }

// One album text: tracks of `seconds` seconds with the given status letters.
std::string album(const std::string &artist, const std::string &title, const std::string &statuses)
{
    std::string text = artist + "\n" + title + "\n00:04 - 00000000 1 00000000 0\n";
    for (std::size_t i = 0; i < statuses.size(); ++i)
        text += artist + "\nSong " + std::to_string(i + 1) + "\n00:01 " + statuses[i] + " 00000000 " +
                (statuses[i] == 'U' ? "0" : "1") + " 00000000 2\n";
    return text;
}

// A small root: albums with every status, a reserved album, media, a chain,
// the current playlist, an offline playlist, a history file and settings.
void set_up()
{
    log_quiet(true);
    const char *base = fs::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
    std::string templ = std::string(base) + "/zkfuzzXXXXXX";
    if (mkdtemp(templ.data()) == nullptr)
        std::abort();
    root = templ;
    std::atexit([] {
        st.reset();
        std::error_code ec;
        fs::remove_all(root, ec);
    });
    for (const char *sub : {"/Media", "/PlayLists", "/History"})
        fs::create_directory(root + sub);
    {
        server_state s;
        std::string error;
        if (!state_open(s, root, error))
            std::abort();
        no_sync(s);
        store_write_text(s.store, 1, album("Ann", "First", "-S-N"));
        store_write_text(s.store, 2, album("Bob", "Second", "UUS"));
        store_write_text(s.store, 4, album("Cy", "Fourth", "-"));
        store_write_text(s.store, 9001, album("Temp", "Reserved", "--"));
        store_link(s.store, 1, 1, 1, 1);
        store_link(s.store, 1, 2, 1, 1);
        store_set_setting(s.store, "mode", "5");
        store_set_setting(s.store, "selection", "party");
        for (int t = 1; t <= 4; ++t)
            write_wav_file(media_path(s.paths.media, 1, t), std::string(4410 * 4, '\0'));
        write_wav_file(media_path(s.paths.media, 2, 3), std::string(64, '\0'));
        playlist current;
        playlist party;
        char line[160];
        for (const auto &[a, t] : {std::pair{1, 3}, {2, 1}, {4, 1}}) {
            format_plist_line(line, sizeof line, 0x5F000000, a, t, "Artist", "Title", "00:01");
            current.items.push_back({a, t, line});
        }
        for (const auto &[a, t] : {std::pair{1, 1}, {1, 2}, {2, 3}}) {
            format_plist_line(line, sizeof line, 0x5F000000, a, t, "Artist", "Title", "00:01");
            party.items.push_back({a, t, line});
        }
        plist_save(plist_path(s.paths.playlists, k_current_plist), current);
        plist_save(plist_path(s.paths.playlists, "party"), party);
        format_plist_line(line, sizeof line, 0x5F000100, 1, 2, "Ann", "Song 2", "00:01");
        history_append(s.history, 0x5F000100, line);
    }
    for (const auto &e : fs::recursive_directory_iterator(root))
        if (e.is_regular_file())
            pristine[fs::relative(e.path(), root).string()] = read_all(e.path());
}

// Puts the root back as it was set up and opens the server on it.
void reset()
{
    st.reset();
    for (const char *sub : {"PlayLists", "History"})
        for (const auto &e : fs::directory_iterator(root + "/" + sub))
            fs::remove(e.path());
    fs::remove(root + "/zerka.db-wal");
    fs::remove(root + "/zerka.db-shm");
    for (const auto &[rel, bytes] : pristine)
        if (rel.rfind("Media/", 0) != 0)
            write_all(root + "/" + rel, bytes);
    st = std::make_unique<server_state>();
    std::string error;
    if (!state_open(*st, root, error))
        std::abort();
    no_sync(*st);
    st->wall_clock = fixed_clock;
    st->rng.seed(7);
}

// The request types the server knows, so that most inputs reach a handler.
constexpr std::int64_t k_types[] = {
    ALBUM_READ, ALBUM_WRITE, ALBUM_DELETE, ALBUM_TEMP,   ALBUM_NEW,     REFRESH,   EDIT_ARTIST,  EDIT_TITLE,
    HISTORY,    DIRLIST,     GETTIME,      RESET,        DELETE,        PLIST_ADD, PLIST_DELETE, PLIST_ADD_LOCAL,
    PLIST_UP,   PLIST_DOWN,  PLIST_NEXT,   PLIST_SHUFFLE, PLIST_UPDATE, PLIST_APPEND, PLIST_KEEP, PLIST_CLEAR,
    PLIST_GET,  PLIST_READ,  GO,           PAUSE,        SKIP,          STOP,      CANCEL,       RET_TRACK,
    UNPLAYABLE, OFFLINE,     SHORTLIST,    DONOTPLAY,    NO_SELECT,     LINK_TRACK, LINK_QUERY,  CD_EJECT,
    RET_CHECK,  AUDIO,       WRITE_CD,     CLIENT_OPEN,  REBOOT,        SHUTDOWN,  STOP_SERVICE, CONSOLE,
    JUKEBOX,    RANDOM,      MIXED,        PLAYLST,      PLAYMIXED,     GET_MODE,  SET_PLIST,    GET_PLIST,
    CD_WAITING,
};

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (root.empty())
        set_up();
    if (size < 5)
        return 0;
    reset();
    const std::int64_t type = (data[0] & 0x80) != 0 ? data[0] & 0x7F
                                                     : k_types[data[0] % (sizeof k_types / sizeof k_types[0])];
    const std::string text(reinterpret_cast<const char *>(data + 5), std::min<std::size_t>(size - 5, k_text_max));
    const request req = {.type = type,
                         .sequence = 0x0105,
                         .album = data[1] << 8 | data[2],
                         .track = data[3] << 8 | data[4],
                         .text = text};
    session self;
    self.id = 1;
    session other;
    other.id = 2;
    outbox out;
    handle_request(*st, self, req, 1'000'000'000, out);
    int replies = 0;
    for (const out_msg &m : out.items) {
        frame_fields f;
        if (m.frame == nullptr || !read_frame(*m.frame, f) || f.text.size() > k_text_max)
            std::abort();   // a message that cannot go out whole
        if (m.to != target::requester)
            continue;
        ++replies;
        if (f.type != type || f.sequence != (type == CLIENT_OPEN ? k_greeting_sequence : req.sequence))
            std::abort();   // the client could not match the reply
    }
    if (replies != 1)
        std::abort();
    session_closed(*st, self, out);
    return 0;
}
