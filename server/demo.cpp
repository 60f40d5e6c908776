#include "server/demo.hpp"

#include "server/demo_music.hpp"
#include "proto/album_text.hpp"
#include "proto/text_util.hpp"
#include "proto/transfer_text.hpp"
#include "server/history.hpp"
#include "server/playlists.hpp"
#include "server/state.hpp"
#include "server/store.hpp"
#include "server/wav.hpp"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <algorithm>
#include <atomic>
#include <mutex>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace {

// One demo track: its title, length (a short one for the tests' library), status and whether its media is on line.
struct demo_track {
    const char *title;
    int seconds;   // 3..6: the short length; the demo's own tracks last 30 to 42 seconds
    char status;
    bool online;
    const char *artist;   // nullptr: the album's artist
};

struct demo_album {
    const char *artist;
    const char *title;
    int root_note;   // semitones above A2 of the album's key
    std::vector<demo_track> tracks;
    music_style style = music_style::folk;   // who plays (a compilation's tracks take turns)
    bool minor = false;                      // the album's mode
};

// The demo albums: invented artists and titles.
const std::vector<demo_album> &demo_albums()
{
    static const std::vector<demo_album> albums = {
        {"Marigold Tramway", "Lanterns Over Quay Street", 3,
         {{"Last Car to the Harbour", 4, '-', true, nullptr},
          {"Copper Wire Waltz", 5, '-', true, nullptr},
          {"Quay Street at Dusk", 3, '-', true, nullptr},
          {"The Conductor's Whistle", 4, '-', true, nullptr},
          {"Tramlines in the Rain", 5, '-', true, nullptr}}, music_style::lounge, false},
        {"Osgood Pellin Quartet", "Slow Weather", 5,
         {{"Barometer Blues", 5, 'S', true, nullptr},
          {"A Front Moving East", 4, '-', true, nullptr},
          {"Drizzle in B Flat", 3, '-', true, nullptr},
          {"Isobars", 6, '-', true, nullptr},
          {"Clearing Later", 4, '-', true, nullptr}}, music_style::lounge, false},
        {"Juniper Voss", "Paper Harbours", 0,
         {{"Folded Boats", 4, '-', true, nullptr},
          {"Origami Tide (Part One)", 5, '-', true, nullptr},
          {"Origami Tide (Part Two)", 4, '-', true, nullptr},
          {"Ink on the Water", 3, '-', true, nullptr},
          {"Paper Harbours", 6, '-', true, nullptr}}, music_style::folk, false},
        {"The Quiet Barometers", "Pressure Systems", 7,
         {{"High Pressure Morning", 4, '-', true, nullptr},
          {"Low Cloud Anthem", 5, 'S', true, nullptr},
          {"Weathervane", 3, '-', true, nullptr},
          {"Millibar", 4, '-', true, nullptr},
          {"The Long Calm", 5, '-', true, nullptr},
          {"Gale Warning", 3, '-', true, nullptr}}, music_style::pop, false},
        {"Halvard Nyqvist Trio", "Night Ferry to Ystad", 2,
         {{"Boarding", 3, '-', true, nullptr},
          {"Cabin Seven", 5, '-', true, nullptr},
          {"Engine Room Lullaby", 4, '-', true, nullptr},
          {"Foghorn Etude", 4, 'U', true, nullptr},
          {"Arrival at Dawn", 5, '-', true, nullptr}}, music_style::lounge, true},
        {"Coral Static", "Signal Gardens", 9,
         {{"Carrier Wave", 4, '-', true, nullptr},
          {"Antenna Bloom", 3, '-', true, nullptr},
          {"Shortwave Roses", 5, '-', true, nullptr},
          {"Interference Pattern", 4, '-', true, nullptr},
          {"Test Card Serenade", 5, '-', true, nullptr}}, music_style::pop, true},
        {"Bramblewick Choir", "Hymns for Small Rooms", 4,
         {{"Kettle Hymn", 5, '-', true, nullptr},
          {"Windowsill Chorale", 4, '-', true, nullptr},
          {"Song for the Stairwell", 3, 'S', true, nullptr},
          {"Candle Canticle", 6, '-', true, nullptr},
          {"Amen for the Attic", 4, '-', true, nullptr}}, music_style::choir, false},
        {"Ottoline Marsh", "The Cartographer's Daughter", 1,
         {{"Contour Lines", 4, '-', true, nullptr},
          {"Here Be Dragons", 5, 'N', true, nullptr},
          {"Compass Rose", 3, '-', true, nullptr},
          {"Scale One to Fifty Thousand", 5, '-', true, nullptr},
          {"Uncharted", 4, '-', true, nullptr}}, music_style::folk, true},
        {"Dusty Compass Band", "Roads Without Maps", 6,
         {{"Gravel and Gold", 4, '-', true, nullptr},
          {"Crossroads Two-Step", 3, '-', true, nullptr},
          {"Mile Marker Ninety", 5, '-', true, nullptr},
          {"Dust Devil Reel", 4, '-', true, nullptr},
          {"The Long Way Home", 6, '-', true, nullptr}}, music_style::folk, false},
        {"Kestrel & Finch", "Two Birds, One Song", 8,
         {{"Hover", 4, 'S', true, nullptr},
          {"Hedgerow Duet", 5, '-', true, nullptr},
          {"Wingspan", 3, '-', true, nullptr},
          {"Thermal", 4, '-', true, nullptr},
          {"Roosting", 5, '-', true, nullptr}}, music_style::mallets, false},
        {"The Tin Orchard", "Apples in Winter", 10,
         {{"Frost on the Branches", 4, '-', true, nullptr},
          {"Cider Press", 3, '-', true, nullptr},
          {"Windfall", 5, '-', true, nullptr},
          {"Grafting Song", 4, '-', true, nullptr},
          {"Cellar Door", 5, '-', false, nullptr},
          {"Blossom Again", 4, '-', false, nullptr}}, music_style::mallets, true},
        {"Selma Ravensworth", "Glasshouse Lullabies", 11,
         {{"Fern Light", 5, '-', true, nullptr},
          {"Condensation", 4, '-', true, nullptr},
          {"Under the Vine", 3, '-', false, nullptr},
          {"Orchid Hours", 5, '-', true, nullptr},
          {"Sleep, Little Seedling", 6, '-', true, nullptr}}, music_style::choir, false},
        {"Various Artists", "Tones of the Zerka Jukebox", 5,
         {{"Overture for Loudspeakers", 4, '-', true, "Marigold Tramway"},
          {"Rainy Day Ostinato", 3, '-', true, "Osgood Pellin Quartet"},
          {"Bellbuoy", 5, 'S', true, "Juniper Voss"},
          {"Static on the Line", 4, '-', true, "Coral Static"},
          {"Evensong Sketch", 3, '-', true, "Bramblewick Choir"},
          {"Tailwind", 4, '-', true, "Kestrel & Finch"}}, music_style::pop, false},
    };
    return albums;
}

// The length of a track: the table's few seconds for the tests' library, or
// 30 to 42 seconds for the demo, long enough to work between two "Now Playing" notices.
int track_seconds(int album, int track, int short_seconds, bool short_tracks)
{
    return short_tracks ? short_seconds : 21 + 3 * short_seconds + (album + track) % 4;
}

// The piece of one track.
piece_plan track_plan(int album, int track, const demo_album &a)
{
    // A compilation's tracks take the styles in turn.
    const music_style style = a.tracks.size() > 0 && a.tracks[0].artist != nullptr
                                  ? static_cast<music_style>(track % k_music_styles)
                                  : a.style;
    return plan_piece(album, track, a.root_note, style, a.minor);
}

// One media file to write.
struct media_job {
    std::string path;
    piece_plan plan;
    int seconds;
};

// Renders and writes the media files, on as many threads as the machine has
// cores (at most four). False with a reason when one cannot be written.
bool write_media(const std::vector<media_job> &jobs, std::string &error)
{
    const unsigned cores = std::thread::hardware_concurrency();
    const unsigned count = std::clamp(cores, 1u, 4u);
    std::atomic<std::size_t> next{0};
    std::mutex failed_lock;
    std::string failed;
    const auto work = [&] {
        std::string samples;
        for (std::size_t i; (i = next.fetch_add(1)) < jobs.size();) {
            const media_job &j = jobs[i];
            render_piece(j.plan, j.seconds, samples);
            if (!write_wav_file(j.path, samples)) {
                const std::lock_guard<std::mutex> hold(failed_lock);
                failed = "cannot write " + j.path + " - " + std::strerror(errno);
                next = jobs.size();
            }
        }
    };
    std::vector<std::thread> threads;
    for (unsigned t = 1; t < count; ++t)
        threads.emplace_back(work);
    work();
    for (std::thread &t : threads)
        t.join();
    error = failed;
    return failed.empty();
}

// A length as "mm:ss".
std::string time_text(int seconds)
{
    char buf[16];
    std::snprintf(buf, sizeof buf, "%02d:%02d", seconds / 60 % 100, seconds % 60);
    return buf;
}

// Creates a folder; true when it exists afterwards.
bool make_dir(const std::string &path)
{
    return ::mkdir(path.c_str(), 0755) == 0 || errno == EEXIST;
}

// The album text of a demo album.
std::string demo_album_text(int number, const demo_album &a, std::int64_t now, bool short_tracks)
{
    static album_rec rec;
    std::memset(&rec, 0, sizeof rec);
    int total = 0;
    for (std::size_t i = 0; i < a.tracks.size(); ++i) {
        const demo_track &d = a.tracks[i];
        track_rec &t = rec.entry[i + 1];
        copy_bounded(t.artist, d.artist != nullptr ? d.artist : a.artist);
        copy_bounded(t.title, d.title);
        const int seconds = track_seconds(number, static_cast<int>(i) + 1, d.seconds, short_tracks);
        copy_bounded(t.time, time_text(seconds));
        t.status = d.status;
        t.online = d.online ? 1 : 0;
        t.cd_ident = 0x5A000000u + static_cast<unsigned>(number) * 0x10000u + static_cast<unsigned>(i + 1);
        // A few tracks have been played before: some days ago, a few times.
        if ((number + static_cast<int>(i)) % 4 == 0) {
            t.plays = 1 + (number + static_cast<int>(i)) % 5;
            t.last_played = now - 86400 * (1 + (number * 3 + static_cast<int>(i)) % 20);
        }
        total += seconds;
    }
    track_rec &head = rec.entry[0];
    copy_bounded(head.artist, a.artist);
    copy_bounded(head.title, a.title);
    copy_bounded(head.time, time_text(total));
    head.status = '-';
    head.online = 1;
    head.cd_ident = 0x5A000000u + static_cast<unsigned>(number) * 0x10000u;
    static char buf[k_album_text_max];
    const std::size_t len = format_album_text(rec, buf, sizeof buf);
    return std::string(buf, len);
}

// Writes a playlist of album/track pairs from the store.
bool write_demo_playlist(const album_store &s, const std::string &path, std::initializer_list<plist_entry> pairs)
{
    playlist p;
    for (const plist_entry &e : pairs) {
        const track_rec *t = store_entry(s, e.album, e.track);
        char line[256];
        format_plist_line(line, sizeof line, t->cd_ident, e.album, e.track, t->artist, t->title, t->time);
        p.items.push_back({e.album, e.track, line});
    }
    return plist_save(path, p);
}

}   // namespace

bool make_demo(const std::string &dir, bool short_tracks, std::string &error)
{
    const server_paths paths = paths_for_root(dir);
    struct stat sb {};
    if (stat(paths.database.c_str(), &sb) == 0) {
        error = paths.database + " already exists";
        return false;
    }
    for (const std::string &d : {dir, paths.media, paths.playlists, paths.history, dir + "/Reports", dir + "/Export"})
        if (!make_dir(d)) {
            error = "cannot create " + d + " - " + std::strerror(errno);
            return false;
        }
    album_store store;
    if (!store_open(store, paths.database, error))
        return false;
    const std::int64_t now = static_cast<std::int64_t>(std::time(nullptr));
    const auto &albums = demo_albums();
    std::vector<media_job> jobs;
    for (std::size_t n = 0; n < albums.size(); ++n) {
        const int number = static_cast<int>(n) + 1;
        const demo_album &a = albums[n];
        if (!store_write_text(store, number, demo_album_text(number, a, now, short_tracks))) {
            error = "cannot write album " + std::to_string(number) + " to the database";
            return false;
        }
        for (std::size_t i = 0; i < a.tracks.size(); ++i) {
            if (!a.tracks[i].online)
                continue;   // off line: its media is not on disk
            const int track = static_cast<int>(i) + 1;
            jobs.push_back({.path = media_path(paths.media, number, track),
                            .plan = track_plan(number, track, a),
                            .seconds = track_seconds(number, track, a.tracks[i].seconds, short_tracks)});
        }
    }
    if (!write_media(jobs, error))
        return false;
    // A chain: the two parts of "Origami Tide" always play together.
    store_link(store, 3, 2, 3, 2);
    store_link(store, 3, 3, 3, 2);
    store_set_setting(store, "mode", "2");
    store_set_setting(store, "selection", "favourites");
    if (!write_demo_playlist(store, plist_path(paths.playlists, "favourites"),
                             {{2, 1}, {4, 2}, {7, 3}, {10, 1}, {13, 3}, {6, 3}}) ||
        !write_demo_playlist(store, plist_path(paths.playlists, "party"),
                             {{1, 1}, {9, 2}, {9, 4}, {6, 1}, {13, 1}, {4, 6}, {1, 2}}) ||
        !plist_save(plist_path(paths.playlists, k_current_plist), playlist{})) {
        error = "cannot write the demo playlists in " + paths.playlists;
        return false;
    }
    // Yesterday evening's history.
    history_log h{.dir = paths.history, .current = {}};
    const std::int64_t evening = now - 86400;
    const plist_entry played[] = {{1, 1}, {2, 1}, {4, 2}, {6, 3}, {9, 5}, {13, 3}};
    for (std::size_t i = 0; i < std::size(played); ++i) {
        const std::int64_t when = evening + static_cast<std::int64_t>(i) * 240;
        const track_rec *t = store_entry(store, played[i].album, played[i].track);
        char line[256];
        format_plist_line(line, sizeof line, static_cast<std::uint64_t>(when), played[i].album, played[i].track,
                          t->artist, t->title, t->time);
        if (!history_append(h, static_cast<std::time_t>(when), line)) {
            error = "cannot write the demo history in " + paths.history;
            return false;
        }
    }
    return true;
}
