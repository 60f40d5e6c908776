#include "server/modes.hpp"

#include "server/store.hpp"

#include <algorithm>

bool dj_selectable(int album, const track_rec &t)
{
    return album >= 1 && album <= k_max_regular_album && t.online == 1 && t.status != 'U' && t.status != 'N' &&
           t.title[0] != '\0';
}

namespace {

// Every selectable track, or only the short-listed ones.
std::vector<plist_entry> candidates(const album_store &s, bool shortlist_only)
{
    std::vector<plist_entry> out;
    for (int n = 1; n <= s.max_regular; ++n) {
        const stored_album *a = store_get(s, n);
        if (a == nullptr)
            continue;
        for (std::size_t i = 1; i < a->entries.size(); ++i) {
            const track_rec &t = a->entries[i];
            if (dj_selectable(n, t) && (!shortlist_only || t.status == 'S'))
                out.push_back({n, static_cast<int>(i)});
        }
    }
    return out;
}

// A Random choice.
std::optional<plist_entry> choose_random(const album_store &s, std::mt19937 &rng)
{
    return dj_pick_least_recent(s, candidates(s, false), rng);
}

// A Jukebox choice: the short-list, else Random.
std::optional<plist_entry> choose_jukebox(const album_store &s, std::mt19937 &rng)
{
    std::vector<plist_entry> shortlist = candidates(s, true);
    if (shortlist.empty())
        return choose_random(s, rng);
    return dj_pick_least_recent(s, std::move(shortlist), rng);
}

// A Playlist choice: the next selectable track of the selection playlist, else Random.
std::optional<plist_entry> choose_from_playlist(const album_store &s, const std::vector<plist_entry> &selection,
                                                dj_memory &memory, std::mt19937 &rng)
{
    for (std::size_t tried = 0; tried < selection.size(); ++tried) {
        if (memory.cursor >= selection.size())
            memory.cursor = 0;
        const plist_entry e = selection[memory.cursor++];
        const track_rec *t = store_entry(s, e.album, e.track);
        if (e.track >= 1 && t != nullptr && dj_selectable(e.album, *t))
            return e;
    }
    return choose_random(s, rng);
}

}   // namespace

std::optional<plist_entry> dj_pick_least_recent(const album_store &s, std::vector<plist_entry> list,
                                                std::mt19937 &rng)
{
    if (list.empty())
        return std::nullopt;
    const auto played = [&](const plist_entry &e) { return store_entry(s, e.album, e.track)->last_played; };
    std::stable_sort(list.begin(), list.end(),
                     [&](const plist_entry &a, const plist_entry &b) { return played(a) < played(b); });
    std::size_t keep = std::max<std::size_t>(1, list.size() / 4);
    while (keep < list.size() && played(list[keep]) == played(list[keep - 1]))
        ++keep;   // tracks played at the same moment (never, most often) share their chance
    std::uniform_int_distribution<std::size_t> pick(0, keep - 1);
    return list[pick(rng)];
}

std::optional<plist_entry> dj_choose(const album_store &s, int mode, const std::vector<plist_entry> &selection,
                                     dj_memory &memory, std::mt19937 &rng)
{
    switch (mode) {
    case k_mode_jukebox: return choose_jukebox(s, rng);
    case k_mode_random: return choose_random(s, rng);
    case k_mode_mixed:
        memory.alternate = !memory.alternate;
        return memory.alternate ? choose_jukebox(s, rng) : choose_random(s, rng);
    case k_mode_playlist: return choose_from_playlist(s, selection, memory, rng);
    case k_mode_playmixed:
        memory.alternate = !memory.alternate;
        return memory.alternate ? choose_from_playlist(s, selection, memory, rng) : choose_random(s, rng);
    default: return std::nullopt;
    }
}
