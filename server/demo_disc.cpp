#include "server/demo_disc.hpp"

#include "proto/album_text.hpp"
#include "proto/text_util.hpp"
#include "server/cd_disc.hpp"
#include "server/state.hpp"
#include "server/store.hpp"
#include "server/wav.hpp"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <vector>

namespace {

struct disc_track {
    const char *title;
    int seconds;
    bool online;   // already in the library with its media
};

constexpr const char *k_artist = "Wren Adeyemi & the Lamplighters";
constexpr const char *k_title = "Night Trains and Nocturnes";
constexpr disc_track k_tracks[] = {
    {"Platform Nine at Midnight", 6, true},
    {"Sleeper Car Serenade", 5, true},
    {"Signal Box Nocturne", 7, false},
    {"The Long Tunnel", 6, false},
    {"Arrival, First Light", 5, false},
};

// A slow arpeggio for each track, in a key of its own.
std::string tune(int track, int seconds)
{
    constexpr int steps[] = {0, 3, 7, 10, 12, 10, 7, 3};
    std::vector<tone_note> notes;
    for (int i = 0; i < 8; ++i)
        notes.push_back({220.0 * std::pow(2.0, (steps[i] + 2 * track) / 12.0), 0.375});
    return synth_tune(notes.data(), notes.size(), seconds, 0.15);
}

bool write_file(const std::string &path, std::string_view content)
{
    std::FILE *f = std::fopen(path.c_str(), "wb");
    if (f == nullptr)
        return false;
    const bool ok = std::fwrite(content.data(), 1, content.size(), f) == content.size();
    return std::fclose(f) == 0 && ok;
}

bool make_dir(const std::string &path) { return ::mkdir(path.c_str(), 0755) == 0 || errno == EEXIST; }

}   // namespace

bool make_demo_disc(const std::string &disc_dir, const std::string &master_root, const std::string &local_root,
                    std::string &error)
{
    const server_paths master = paths_for_root(master_root);
    const server_paths local = paths_for_root(local_root);
    for (const std::string &d : {disc_dir, disc_dir + "/freedb", disc_dir + "/freedb/misc", local_root, local.media,
                                 local.playlists, local.history, local_root + "/Export", local_root + "/Wav",
                                 local_root + "/drive"})
        if (!make_dir(d)) {
            error = "cannot create " + d + " - " + std::strerror(errno);
            return false;
        }
    // The disc: the tracks one after the other, whole seconds being whole sectors.
    std::vector<std::string> samples;
    std::vector<std::int64_t> bytes;
    std::string bin;
    for (std::size_t i = 0; i < std::size(k_tracks); ++i) {
        samples.push_back(tune(static_cast<int>(i), k_tracks[i].seconds));
        bytes.push_back(static_cast<std::int64_t>(samples.back().size()));
        bin += samples.back();
    }
    const disc_toc toc = backup_toc(backup_track_sectors(bytes));
    const std::uint32_t id = cddb_disc_id(toc);
    if (!write_file(disc_dir + "/drive.bin", bin) || !write_file(disc_dir + "/drive.cue", image_cue_text("drive.bin", toc))) {
        error = "cannot write the disc image in " + disc_dir;
        return false;
    }
    // Its freedb entry.
    char name[32];
    std::snprintf(name, sizeof name, "/freedb/misc/%8.8x", id);
    std::string xmcd = "# xmcd\n#\n# Track frame offsets:\n";
    for (const toc_track &t : toc.tracks)
        xmcd += "#\t" + std::to_string(t.lba + k_lead_in_sectors) + "\n";
    char line[160];
    std::snprintf(line, sizeof line, "#\n# Disc length: %d seconds\n#\nDISCID=%8.8x\nDTITLE=%s / %s\nDYEAR=2024\nDGENRE=Jazz\n",
                  static_cast<int>((toc.leadout + k_lead_in_sectors) / k_sectors_per_second), id, k_artist, k_title);
    xmcd += line;
    for (std::size_t i = 0; i < std::size(k_tracks); ++i)
        xmcd += "TTITLE" + std::to_string(i) + "=" + k_tracks[i].title + "\n";
    xmcd += "EXTD=\nPLAYORDER=\n";
    if (!write_file(disc_dir + name, xmcd)) {
        error = "cannot write the freedb entry in " + disc_dir;
        return false;
    }
    // The album, as the library knows it: the first tracks on line, the others waiting for the disc.
    static album_rec rec;
    std::memset(&rec, 0, sizeof rec);
    int total = 0;
    for (std::size_t i = 0; i < std::size(k_tracks); ++i) {
        track_rec &t = rec.entry[i + 1];
        copy_bounded(t.artist, k_artist);
        copy_bounded(t.title, k_tracks[i].title);
        std::snprintf(t.time, sizeof t.time, "%02d:%02d", k_tracks[i].seconds / 60, k_tracks[i].seconds % 60);
        t.status = '-';
        t.online = k_tracks[i].online ? 1 : 0;
        t.cd_ident = id;
        total += k_tracks[i].seconds;
    }
    track_rec &head = rec.entry[0];
    copy_bounded(head.artist, k_artist);
    copy_bounded(head.title, k_title);
    std::snprintf(head.time, sizeof head.time, "%02d:%02d", total / 60, total % 60);
    head.status = '-';
    head.online = 1;
    head.cd_ident = id;
    static char text[k_album_text_max];
    const std::string_view album(text, format_album_text(rec, text, sizeof text));
    album_store store;
    if (!store_open(store, master.database, error))
        return false;
    const int number = store_allocate(store, false);
    album_store here;
    if (number == 0 || !store_write_text(store, number, album) || !store_open(here, local.database, error) ||
        !store_write_text(here, number, album)) {
        error = error.empty() ? "cannot write the demo disc's album" : error;
        return false;
    }
    for (std::size_t i = 0; i < std::size(k_tracks); ++i)
        if (k_tracks[i].online && !write_wav_file(media_path(master.media, number, static_cast<int>(i) + 1), samples[i])) {
            error = "cannot write the media of album " + std::to_string(number);
            return false;
        }
    std::printf("zerkaserver: demo disc %8.8X (album %04d, %s - %s) written to %s\n", id, number, k_artist, k_title,
                disc_dir.c_str());
    return true;
}
