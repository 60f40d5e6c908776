// Fuzzes what the server reads of playlists: a playlist name (the text up to
// the first newline) and a playlist file (the rest), then the operations on
// the playlist read and its transfer text.
//
// Checked: a name taken stays inside the playlist folder; every line read
// holds a pair that fits its transfer record; the file written from what was
// read reads back the same; the transfer text holds one record per track.
#include "proto/transfer_text.hpp"
#include "server/playlists.hpp"

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view all(reinterpret_cast<const char *>(data), size);
    const std::size_t nl = all.find('\n');
    const std::string_view name = all.substr(0, nl);
    const std::string_view file = nl == std::string_view::npos ? std::string_view{} : all.substr(nl + 1);
    if (plist_name_ok(name)) {
        const std::string path = plist_path("/r/PlayLists", name);
        if (path.rfind("/r/PlayLists/", 0) != 0 || path.find("/..") != std::string::npos ||
            path.find('/', 13) != std::string::npos || name.size() > k_plist_name_max)
            std::abort();
    }
    playlist p;
    plist_parse(file, p);
    std::string again;
    for (const plist_item &i : p.items) {
        if (i.album < 0 || i.album > 9999 || i.track < 0 || i.track > 99 || i.line.find('\n') != std::string::npos)
            std::abort();
        again.append(i.line).push_back('\n');
    }
    playlist back;
    plist_parse(again, back);
    if (back.items.size() != p.items.size())
        std::abort();
    // The same tracks (a carriage return left at the end of a line, where the
    // file had two, is taken as the line's end this time).
    for (std::size_t k = 0; k < p.items.size(); ++k)
        if ((back.items[k].line != p.items[k].line && back.items[k].line + "\r" != p.items[k].line) ||
            back.items[k].album != p.items[k].album || back.items[k].track != p.items[k].track)
            std::abort();
    const std::string transfer = plist_transfer_text(p);
    int records = 0;
    for_each_plist_record(transfer.data(), transfer.size(), [&](int, int) { ++records; });
    if (static_cast<std::size_t>(records) != std::min(p.items.size(), k_plist_max_entries))
        std::abort();
    // The editing operations on what was read: the tracks stay the same tracks.
    if (!p.items.empty()) {
        const plist_item first = p.items.front();
        const std::size_t n = p.items.size();
        plist_move_down(p, first.album, first.track);
        plist_move_up(p, first.album, first.track);
        plist_move_top(p, p.items.back().album, p.items.back().track);
        std::mt19937 rng(1);
        plist_shuffle(p, rng);
        if (p.items.size() != n || plist_find(p, first.album, first.track) < 0)
            std::abort();
        if (!plist_erase(p, first.album, first.track) || p.items.size() != n - 1)
            std::abort();
        plist_append(p, first.album, first.track, first.line);
        if (p.items.size() > n)
            std::abort();
    }
    return 0;
}
