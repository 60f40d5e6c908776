#include "server/demo.hpp"

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
#include <sys/stat.h>
#include <vector>

namespace {

// One demo track: its title, length, status and whether its media is on line.
struct demo_track {
    const char *title;
    int seconds;
    char status;
    bool online;
    const char *artist;   // nullptr: the album's artist
};

struct demo_album {
    const char *artist;
    const char *title;
    int root_note;   // semitones above A2 of the album's key
    std::vector<demo_track> tracks;
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
          {"Tramlines in the Rain", 5, '-', true, nullptr}}},
        {"Osgood Pellin Quartet", "Slow Weather", 5,
         {{"Barometer Blues", 5, 'S', true, nullptr},
          {"A Front Moving East", 4, '-', true, nullptr},
          {"Drizzle in B Flat", 3, '-', true, nullptr},
          {"Isobars", 6, '-', true, nullptr},
          {"Clearing Later", 4, '-', true, nullptr}}},
        {"Juniper Voss", "Paper Harbours", 0,
         {{"Folded Boats", 4, '-', true, nullptr},
          {"Origami Tide (Part One)", 5, '-', true, nullptr},
          {"Origami Tide (Part Two)", 4, '-', true, nullptr},
          {"Ink on the Water", 3, '-', true, nullptr},
          {"Paper Harbours", 6, '-', true, nullptr}}},
        {"The Quiet Barometers", "Pressure Systems", 7,
         {{"High Pressure Morning", 4, '-', true, nullptr},
          {"Low Cloud Anthem", 5, 'S', true, nullptr},
          {"Weathervane", 3, '-', true, nullptr},
          {"Millibar", 4, '-', true, nullptr},
          {"The Long Calm", 5, '-', true, nullptr},
          {"Gale Warning", 3, '-', true, nullptr}}},
        {"Halvard Nyqvist Trio", "Night Ferry to Ystad", 2,
         {{"Boarding", 3, '-', true, nullptr},
          {"Cabin Seven", 5, '-', true, nullptr},
          {"Engine Room Lullaby", 4, '-', true, nullptr},
          {"Foghorn Etude", 4, 'U', true, nullptr},
          {"Arrival at Dawn", 5, '-', true, nullptr}}},
        {"Coral Static", "Signal Gardens", 9,
         {{"Carrier Wave", 4, '-', true, nullptr},
          {"Antenna Bloom", 3, '-', true, nullptr},
          {"Shortwave Roses", 5, '-', true, nullptr},
          {"Interference Pattern", 4, '-', true, nullptr},
          {"Test Card Serenade", 5, '-', true, nullptr}}},
        {"Bramblewick Choir", "Hymns for Small Rooms", 4,
         {{"Kettle Hymn", 5, '-', true, nullptr},
          {"Windowsill Chorale", 4, '-', true, nullptr},
          {"Song for the Stairwell", 3, 'S', true, nullptr},
          {"Candle Canticle", 6, '-', true, nullptr},
          {"Amen for the Attic", 4, '-', true, nullptr}}},
        {"Ottoline Marsh", "The Cartographer's Daughter", 1,
         {{"Contour Lines", 4, '-', true, nullptr},
          {"Here Be Dragons", 5, 'N', true, nullptr},
          {"Compass Rose", 3, '-', true, nullptr},
          {"Scale One to Fifty Thousand", 5, '-', true, nullptr},
          {"Uncharted", 4, '-', true, nullptr}}},
        {"Dusty Compass Band", "Roads Without Maps", 6,
         {{"Gravel and Gold", 4, '-', true, nullptr},
          {"Crossroads Two-Step", 3, '-', true, nullptr},
          {"Mile Marker Ninety", 5, '-', true, nullptr},
          {"Dust Devil Reel", 4, '-', true, nullptr},
          {"The Long Way Home", 6, '-', true, nullptr}}},
        {"Kestrel & Finch", "Two Birds, One Song", 8,
         {{"Hover", 4, 'S', true, nullptr},
          {"Hedgerow Duet", 5, '-', true, nullptr},
          {"Wingspan", 3, '-', true, nullptr},
          {"Thermal", 4, '-', true, nullptr},
          {"Roosting", 5, '-', true, nullptr}}},
        {"The Tin Orchard", "Apples in Winter", 10,
         {{"Frost on the Branches", 4, '-', true, nullptr},
          {"Cider Press", 3, '-', true, nullptr},
          {"Windfall", 5, '-', true, nullptr},
          {"Grafting Song", 4, '-', true, nullptr},
          {"Cellar Door", 5, '-', false, nullptr},
          {"Blossom Again", 4, '-', false, nullptr}}},
        {"Selma Ravensworth", "Glasshouse Lullabies", 11,
         {{"Fern Light", 5, '-', true, nullptr},
          {"Condensation", 4, '-', true, nullptr},
          {"Under the Vine", 3, '-', false, nullptr},
          {"Orchid Hours", 5, '-', true, nullptr},
          {"Sleep, Little Seedling", 6, '-', true, nullptr}}},
        {"Various Artists", "Tones of the Zerka Jukebox", 5,
         {{"Overture for Loudspeakers", 4, '-', true, "Marigold Tramway"},
          {"Rainy Day Ostinato", 3, '-', true, "Osgood Pellin Quartet"},
          {"Bellbuoy", 5, 'S', true, "Juniper Voss"},
          {"Static on the Line", 4, '-', true, "Coral Static"},
          {"Evensong Sketch", 3, '-', true, "Bramblewick Choir"},
          {"Tailwind", 4, '-', true, "Kestrel & Finch"}}},
    };
    return albums;
}

// A small deterministic generator for the tunes.
struct tune_rng {
    std::uint32_t state;
    std::uint32_t next()
    {
        state = state * 1664525u + 1013904223u;
        return state >> 8;
    }
};

// The tune of one track: a phrase of notes from a pentatonic scale in the album's key.
std::string demo_tune(int album, int track, int root_note, int seconds)
{
    constexpr int scale[] = {0, 2, 4, 7, 9, 12, 14, 16};
    tune_rng rng{static_cast<std::uint32_t>(album * 7919 + track * 104729)};
    std::vector<tone_note> notes;
    const int count = 6 + static_cast<int>(rng.next() % 5);
    for (int i = 0; i < count; ++i) {
        const int step = scale[rng.next() % std::size(scale)];
        const double freq = 110.0 * std::pow(2.0, (root_note + 12 + step) / 12.0);
        const double length = (rng.next() % 3 == 0) ? 0.5 : 0.25;
        notes.push_back({freq, length});
    }
    notes.push_back({0.0, 0.25});   // a breath at the end of the phrase
    return synth_tune(notes.data(), notes.size(), seconds, 0.1 * static_cast<double>(track % 3) - 0.1);
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
std::string demo_album_text(int number, const demo_album &a, std::int64_t now)
{
    static album_rec rec;
    std::memset(&rec, 0, sizeof rec);
    int total = 0;
    for (std::size_t i = 0; i < a.tracks.size(); ++i) {
        const demo_track &d = a.tracks[i];
        track_rec &t = rec.entry[i + 1];
        copy_bounded(t.artist, d.artist != nullptr ? d.artist : a.artist);
        copy_bounded(t.title, d.title);
        copy_bounded(t.time, time_text(d.seconds));
        t.status = d.status;
        t.online = d.online ? 1 : 0;
        t.cd_ident = 0x5A000000u + static_cast<unsigned>(number) * 0x10000u + static_cast<unsigned>(i + 1);
        // A few tracks have been played before: some days ago, a few times.
        if ((number + static_cast<int>(i)) % 4 == 0) {
            t.plays = 1 + (number + static_cast<int>(i)) % 5;
            t.last_played = now - 86400 * (1 + (number * 3 + static_cast<int>(i)) % 20);
        }
        total += d.seconds;
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

bool make_demo(const std::string &dir, std::string &error)
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
    for (std::size_t n = 0; n < albums.size(); ++n) {
        const int number = static_cast<int>(n) + 1;
        const demo_album &a = albums[n];
        if (!store_write_text(store, number, demo_album_text(number, a, now))) {
            error = "cannot write album " + std::to_string(number) + " to the database";
            return false;
        }
        for (std::size_t i = 0; i < a.tracks.size(); ++i) {
            if (!a.tracks[i].online)
                continue;   // off line: its media is not on disk
            const int track = static_cast<int>(i) + 1;
            const std::string path = media_path(paths.media, number, track);
            if (!write_wav_file(path, demo_tune(number, track, a.root_note, a.tracks[i].seconds))) {
                error = "cannot write " + path + " - " + std::strerror(errno);
                return false;
            }
        }
    }
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
