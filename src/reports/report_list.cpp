#include "reports/report_list.hpp"

#include "db/album.hpp"

bool report_takes(int code, char status, int online, bool include_duplicates)
{
    switch (code) {
    case 7: return status == 'U';
    case 4: return online != 0 && status == '-';
    case 5: return status == 'N';
    default: break;
    }
    if (code == 3 && status != 'S')
        return false;
    if (code == 6 && online != 0)
        return false;
    // One flag governs both: duplicates included also lets the unplayable tracks in.
    return include_duplicates || status != 'U';
}

int report_track_count(int album_no)
{
    if (album_no < 0 || album_no >= k_album_slots)
        return 0;
    const int tracks = album[album_no].tracks;
    return tracks < 0 ? 0 : tracks < k_max_entries ? tracks : k_max_entries - 1;
}

int report_album_tracks(int code, bool include_duplicates, int album_no, std::vector<chain_entry> &out)
{
    if (album_no < 0 || album_no >= k_album_slots || album[album_no].present == 0)
        return 0;
    int taken = 0;
    const int tracks = report_track_count(album_no);
    for (int t = 1; t <= tracks; ++t) {
        const track_rec &r = album[album_no].entry[t];
        if (!report_takes(code, r.status, r.online, include_duplicates))
            continue;
        out.push_back({.album_no = album_no, .track_no = t, .key = 0});
        ++taken;
    }
    return taken;
}

int report_albums(int last, std::vector<chain_entry> &out)
{
    int taken = 0;
    for (int a = 1; a <= last && a < k_album_slots; ++a) {
        if (album[a].present == 0)
            continue;
        out.push_back({.album_no = a, .track_no = 0, .key = 0});
        ++taken;
    }
    return taken;
}
