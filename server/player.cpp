#include "server/player.hpp"

#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "server/log.hpp"
#include "server/notices.hpp"
#include "server/playlists.hpp"
#include "server/wav.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr std::int64_t k_ns_per_second = 1'000'000'000;
constexpr std::int64_t k_max_step_ns = 10 * k_ns_per_second;   // a stalled clock does not skip whole tracks
constexpr int k_start_attempts = 50;

// Where the current track ends: its last byte, or the end of a skip's fade.
std::int64_t track_end(const now_playing &n) { return n.fade_end >= 0 ? n.fade_end : n.data_bytes; }

// Opens a track's media file and starts it: play count, history, PLIST_NOW. False when it cannot be played.
bool start_track(server_state &st, int album, int track, std::int64_t now_ns, outbox &out)
{
    const track_rec *t = store_entry(st.store, album, track);
    if (t == nullptr || track < 1)
        return false;
    const std::string path = media_path(st.paths.media, album, track);
    unique_fd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat sb {};
    unsigned char head[256] = {};
    wav_layout layout{};
    const ssize_t got = fd.fd >= 0 ? ::pread(fd.fd, head, sizeof head, 0) : -1;
    if (fd.fd < 0 || fstat(fd.fd, &sb) != 0 || got <= 0 ||
        !wav_parse_layout(head, static_cast<std::size_t>(got), sb.st_size, layout)) {
        slog("Cannot play %04d/%02d: %s is missing or not a WAV file - taken off line", album, track, path.c_str());
        if (store_mark(st.store, album, track, OFFLINE) == change_result::changed)
            post_album_written(st, out, album, target::all);
        return false;
    }
    now_playing n;
    n.album = album;
    n.track = track;
    n.file = std::move(fd);
    n.data_offset = layout.data_offset;
    n.data_bytes = layout.data_bytes;
    st.player.current = std::move(n);
    st.player.carry_ns = 0;
    const std::int64_t when = wall_now(st);
    // The history line is made before the play count changes; it holds the texts only.
    char line[256];
    format_plist_line(line, sizeof line, static_cast<std::uint64_t>(when), album, track, t->artist, t->title, t->time);
    const std::string artist = t->artist;
    const std::string title = t->title;
    if (store_record_play(st.store, album, track, when))
        post_album_written(st, out, album, target::all);
    if (!history_append(st.history, when, line))
        slog("Cannot write history file %s/%s", st.history.dir.c_str(), st.history.current.c_str());
    post_now_playing(st, out, true);
    st.player.last_notice_ms = now_ns / 1'000'000;
    slog("Playing %04d/%02d %s - %s", album, track, artist.c_str(), title.c_str());
    return true;
}

// Whether an entry of the current playlist can be played (the operator chose it, so "N" and "S" both play).
bool queue_playable(const server_state &st, const plist_entry &e)
{
    const track_rec *t = store_entry(st.store, e.album, e.track);
    return e.track >= 1 && t != nullptr && t->status != 'U' && t->online == 1;
}

// The tracks of the selection playlist.
std::vector<plist_entry> selection_tracks(const server_state &st)
{
    std::vector<plist_entry> out;
    if (!plist_name_ok(st.player.selection))
        return out;
    playlist p;
    plist_load(plist_path(st.paths.playlists, st.player.selection), p);
    for (const plist_item &i : p.items)
        out.push_back({i.album, i.track});
    return out;
}

// Starts the next track after the current one ended (or when an idle auto-DJ looks again).
void next_track(server_state &st, std::int64_t now_ns, outbox &out)
{
    player_state &p = st.player;
    const bool was_playing = p.current.has_value();
    p.current.reset();
    if (p.stop_pending) {
        p.stop_pending = false;
        p.running = false;
        p.chain_rest.clear();
        slog("Auto-DJ stopped");
    }
    for (int attempt = 0; p.running && attempt < k_start_attempts; ++attempt) {
        if (!p.chain_rest.empty()) {
            const plist_entry e = p.chain_rest.front();
            p.chain_rest.erase(p.chain_rest.begin());
            const track_rec *t = store_entry(st.store, e.album, e.track);
            if (t != nullptr && dj_selectable(e.album, *t) && start_track(st, e.album, e.track, now_ns, out))
                return;
            continue;
        }
        playlist queue;
        const std::string queue_path = plist_path(st.paths.playlists, k_current_plist);
        plist_load(queue_path, queue);
        if (!queue.items.empty()) {
            const plist_entry e = {queue.items.front().album, queue.items.front().track};
            queue.items.erase(queue.items.begin());
            if (!plist_save(queue_path, queue)) {
                slog("Cannot write %s - %s", queue_path.c_str(), std::strerror(errno));
                p.running = false;
                break;
            }
            post_plist_update(out, k_current_plist, queue);
            if (queue_playable(st, e) && start_track(st, e.album, e.track, now_ns, out))
                return;
            slog("Skipping %04d/%02d of the current playlist: not playable", e.album, e.track);
            continue;
        }
        if (!mode_selects(p.mode))
            break;
        const std::optional<plist_entry> pick = dj_choose(st.store, p.mode, selection_tracks(st), p.memory, st.rng);
        if (!pick)
            break;
        // A track of a chain brings its whole chain, from the head, in order.
        std::vector<plist_entry> chain;
        for (const plist_entry &e : store_chain(st.store, pick->album, pick->track)) {
            const track_rec *t = store_entry(st.store, e.album, e.track);
            if (t != nullptr && dj_selectable(e.album, *t))
                chain.push_back(e);
        }
        plist_entry first = *pick;
        if (chain.size() > 1) {
            first = chain.front();
            p.chain_rest.assign(chain.begin() + 1, chain.end());
        }
        if (start_track(st, first.album, first.track, now_ns, out))
            return;
    }
    if (was_playing)
        post_now_playing(st, out, false);
}

// Reads `n` sample bytes of the current track from byte `pos` into pcm (silence where the file falls short).
void read_samples(const now_playing &n, std::int64_t pos, std::int64_t count, std::string &pcm)
{
    const std::size_t from = pcm.size();
    pcm.resize(from + static_cast<std::size_t>(count), '\0');
    std::int64_t done = 0;
    while (done < count) {
        const ssize_t r = ::pread(n.file.fd, pcm.data() + from + done, static_cast<std::size_t>(count - done),
                                  n.data_offset + pos + done);
        if (r <= 0)
            break;
        done += r;
    }
    apply_fade(pcm, from, pos, n.fade_from, n.fade_end);
}

}   // namespace

void apply_fade(std::string &samples, std::size_t from, std::int64_t pos, std::int64_t fade_from,
                std::int64_t fade_end)
{
    if (fade_from < 0 || fade_end <= fade_from)
        return;
    const double span = static_cast<double>(fade_end - fade_from);
    for (std::size_t i = from; i + 1 < samples.size(); i += 2) {
        const std::int64_t at = pos + static_cast<std::int64_t>(i - from);
        if (at < fade_from)
            continue;
        const double gain = std::clamp(static_cast<double>(fade_end - at) / span, 0.0, 1.0);
        auto *p = reinterpret_cast<unsigned char *>(samples.data() + i);
        const auto v = static_cast<std::int16_t>(static_cast<std::uint16_t>(p[0] | (p[1] << 8)));
        const auto w = static_cast<std::uint16_t>(static_cast<std::int16_t>(v * gain));
        p[0] = static_cast<unsigned char>(w);
        p[1] = static_cast<unsigned char>(w >> 8);
    }
}

int player_remaining(const player_state &p)
{
    if (!p.current)
        return 0;
    const std::int64_t left = std::max<std::int64_t>(0, track_end(*p.current) - p.current->pos);
    return static_cast<int>((left + k_bytes_per_second - 1) / k_bytes_per_second);
}

void player_tick(server_state &st, std::int64_t now_ns, outbox &out, std::string *pcm)
{
    player_state &p = st.player;
    const std::int64_t now_ms = now_ns / 1'000'000;
    if (p.last_tick_ns < 0)
        p.last_tick_ns = now_ns;
    const std::int64_t elapsed = std::clamp<std::int64_t>(now_ns - p.last_tick_ns, 0, k_max_step_ns);
    p.last_tick_ns = now_ns;
    if (p.current && !p.paused) {
        // Whole frames of the elapsed time; the rest carries over (kept as ns x rate).
        const std::int64_t acc = p.carry_ns + elapsed * k_sample_rate;
        const std::int64_t frames = acc / k_ns_per_second;
        p.carry_ns = acc % k_ns_per_second;
        now_playing &n = *p.current;
        const std::int64_t take = std::min(frames * k_frame_bytes, track_end(n) - n.pos);
        if (pcm != nullptr && take > 0)
            read_samples(n, n.pos, take, *pcm);
        n.pos += std::max<std::int64_t>(take, 0);
        if (n.pos >= track_end(n))
            next_track(st, now_ns, out);
    }
    if (!p.current && p.running && now_ms - p.last_retry_ms >= k_retry_interval_ms) {
        p.last_retry_ms = now_ms;
        next_track(st, now_ns, out);
    }
    if (p.current && now_ms - p.last_notice_ms >= k_notice_interval_ms) {
        p.last_notice_ms = now_ms;
        post_now_playing(st, out, false);
    }
}

void player_go(server_state &st, std::int64_t now_ns, outbox &out)
{
    player_state &p = st.player;
    p.running = true;
    p.stop_pending = false;
    if (!p.current) {
        p.last_tick_ns = now_ns;
        p.last_retry_ms = now_ns / 1'000'000;
        next_track(st, now_ns, out);
    }
}

void player_stop(server_state &st)
{
    player_state &p = st.player;
    if (p.current) {
        p.stop_pending = true;
    } else {
        p.running = false;
        p.chain_rest.clear();
    }
}

bool player_pause(server_state &st)
{
    st.player.paused = !st.player.paused;
    return st.player.paused;
}

bool player_skip(server_state &st)
{
    player_state &p = st.player;
    if (!p.current)
        return false;
    now_playing &n = *p.current;
    if (n.fade_from < 0) {
        n.fade_from = n.pos;
        n.fade_end = std::min(n.data_bytes, n.pos + k_fade_seconds * k_bytes_per_second);
    }
    return true;
}

void player_drop(server_state &st, int album, int track)
{
    const auto &cur = st.player.current;
    if (cur && cur->album == album && (track == 0 || cur->track == track))
        player_skip(st);
}

void player_kick(server_state &st, std::int64_t now_ns, outbox &out)
{
    if (st.player.running && !st.player.current)
        next_track(st, now_ns, out);
}
