#include "cli/cli_search.hpp"

#include "browse/chain.hpp"
#include "cli/cli_args.hpp"
#include "cli/cli_format.hpp"
#include "db/album.hpp"

#include <cstdio>
#include <vector>

namespace {

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

}   // namespace

void print_track(int album_no, int track_no)
{
    const album_rec *rec = album_of(album_no);
    if (rec == nullptr || track_no < 0 || track_no >= k_max_entries)
        return;   // a pair the table cannot hold names no track
    char line[k_cli_line];
    format_track_line(line, sizeof line, album_no, track_no, *rec);
    std::fputs(line, stdout);
}

void search_database(const cli_options &o)
{
    const bool artist_given = o.artist[0] != '\0';
    const bool title_given = o.title[0] != '\0';
    if (!artist_given && !title_given) {
        put_text_line("! No search strings specified");
        return;
    }
    const int order = artist_given ? k_order_artist : k_order_title;
    // The hits are placed in one go, exactly as linking them one by one would place them.
    std::vector<chain_entry> hits;
    const auto consider = [&](int album_no, int track_no) {
        const track_rec &t = album[album_no].entry[track_no];
        const bool artist_hit = contains(t.artist, o.artist, 0) != 0;
        const bool title_hit = contains(t.title, o.title, 0) != 0;
        if (search_selects(o.album_only, artist_given, artist_hit, title_given, title_hit))
            hits.push_back({.album_no = album_no, .track_no = track_no, .key = 0});
    };
    for (int n = 1; n <= max_album && n <= k_last_regular; ++n) {
        if (o.album_only) {
            consider(n, 0);
            continue;
        }
        for (int t = 1; t <= album[n].tracks && t < k_max_entries; ++t)
            if (album[n].entry[t].status != 'U')
                consider(n, t);
    }
    chain_list list;
    if (build_chain(list, order, hits, 0) < 0) {
        put_text_line("! Malloc failed");
        return;
    }
    if (list.empty()) {
        put_text_line("! Nothing found");
        return;
    }
    char line[k_cli_line];
    for (const chain_item *e = list.head(); e != nullptr; e = e->next) {
        if (o.album_only) {
            const album_rec *rec = album_of(e->album_no);
            if (rec != nullptr) {
                format_album_line(line, sizeof line, e->album_no, *rec);
                std::fputs(line, stdout);
            }
        } else {
            print_track(e->album_no, e->track_no);
        }
    }
}
