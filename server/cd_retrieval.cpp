#include "server/cd_retrieval.hpp"

#include "proto/msg_types.hpp"

#include <algorithm>
#include <cstdio>

namespace {

// Takes a job off the queue and starts its rip.
void start(retrieval_state &s, std::deque<ret_job>::iterator it, ret_effects &fx)
{
    const ret_job job = *it;
    s.queue.erase(it);
    s.active = job;
    fx.notices.push_back({RET_PROG, job.album, job.track});
    fx.start = job;
}

}   // namespace

bool ret_request(retrieval_state &s, ret_job job)
{
    if ((s.active && *s.active == job) || std::find(s.queue.begin(), s.queue.end(), job) != s.queue.end())
        return true;
    if (s.queue.size() >= k_max_ret_queue)
        return false;
    s.queue.push_back(job);
    return true;
}

int ret_cancel(retrieval_state &s, int album, ret_effects &fx)
{
    std::vector<int> albums;
    auto note = [&](int a) {
        if (std::find(albums.begin(), albums.end(), a) == albums.end())
            albums.push_back(a);
    };
    int count = 0;
    for (auto it = s.queue.begin(); it != s.queue.end();) {
        if (album == 0 || it->album == album) {
            note(it->album);
            it = s.queue.erase(it);
            ++count;
        } else {
            ++it;
        }
    }
    if (s.active && (album == 0 || s.active->album == album)) {
        note(s.active->album);
        fx.abort = true;
        ++count;
    }
    if (album == 0 || s.asked == album) {
        if (s.asked != 0)
            note(s.asked);
        s.asked = 0;
    }
    if (album != 0)
        note(album);
    for (const int a : albums)
        fx.notices.push_back({CANCELLED, a, 0});
    return count;
}

void ret_finished(retrieval_state &s, ret_outcome outcome, ret_effects &fx)
{
    if (!s.active)
        return;
    const ret_job job = *s.active;
    s.active.reset();
    if (outcome == ret_outcome::done)
        fx.notices.push_back({RET_DONE, job.album, job.track});
    else if (outcome == ret_outcome::failed)
        fx.notices.push_back({RET_FAILED, job.album, job.track});
}

void ret_advance(retrieval_state &s, const ret_disc &disc, const ident_lookup &ident, ret_effects &fx)
{
    if (s.active)
        return;
    // Albums without a CD ident can never be served: they fail at once.
    for (auto it = s.queue.begin(); it != s.queue.end();) {
        if (ident(it->album) == 0) {
            char line[128];
            std::snprintf(line, sizeof line, "Cannot retrieve album %04d track %02d: the album has no CD ident here",
                          it->album, it->track);
            fx.log.emplace_back(line);
            fx.notices.push_back({RET_FAILED, it->album, it->track});
            if (s.asked == it->album)
                s.asked = 0;
            it = s.queue.erase(it);
        } else {
            ++it;
        }
    }
    if (s.batch != 0) {
        if (disc.present && ident(s.batch) == disc.id) {
            const auto it = std::find_if(s.queue.begin(), s.queue.end(), [&](const ret_job &j) { return j.album == s.batch; });
            if (it != s.queue.end()) {
                start(s, it, fx);
                return;
            }
        }
        fx.notices.push_back({RET_FINAL, s.batch, 0});
        s.batch = 0;
        if (s.eject_pending) {
            // The disc goes out first; the caller moves on once it has.
            s.eject_pending = false;
            fx.eject = true;
            return;
        }
    }
    if (s.queue.empty()) {
        s.asked = 0;
        return;
    }
    if (disc.present) {
        const auto it = std::find_if(s.queue.begin(), s.queue.end(), [&](const ret_job &j) { return ident(j.album) == disc.id; });
        if (it != s.queue.end()) {
            const int album = it->album;
            fx.notices.push_back({CD_LOADED, album, it->track});
            if (s.asked == album)
                s.asked = 0;
            s.batch = album;
            start(s, it, fx);
            return;
        }
    }
    const ret_job &head = s.queue.front();
    if (s.asked != head.album) {
        fx.notices.push_back({RET_REQ, head.album, head.track});
        s.asked = head.album;
    }
}

bool ret_eject_request(retrieval_state &s)
{
    if (s.batch == 0 && !s.active)
        return true;
    s.eject_pending = true;
    return false;
}

bool ret_busy(const retrieval_state &s) { return s.batch != 0 || s.active.has_value(); }
