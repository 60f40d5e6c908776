#include "server/cd_drive.hpp"

#include "proto/album_text.hpp"
#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "server/cd_child.hpp"
#include "server/cd_device.hpp"
#include "server/cd_disc.hpp"
#include "server/cd_helper.hpp"
#include "server/cd_retrieval.hpp"
#include "server/freedb.hpp"
#include "server/log.hpp"
#include "server/master_link.hpp"
#include "server/notices.hpp"
#include "server/wav.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <linux/cdrom.h>
#include <optional>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::int64_t k_ms = 1'000'000;                    // nanoseconds in a millisecond
constexpr std::size_t k_max_cue_bytes = 64 * 1024;           // a larger cue sheet is not a CD image
constexpr std::int64_t k_tracks_offset = 1000;               // EXOCD's track field: 1000 + matches
constexpr int k_cdw_done = 0;                                // CDW_DONE: written
constexpr int k_cdw_failed = 1;                              // cdrdao or the image writer failed
constexpr int k_cdw_no_status = 3;                           // the written disc cannot be read back
constexpr int k_cdw_simulated = 4;                           // cdrdao's simulation: nothing on the disc
constexpr int k_write_ok = 0;                                // WRITE_CD replies
constexpr int k_write_busy = 1;
constexpr int k_write_toc_open = 2;
constexpr int k_write_toc_write = 3;
constexpr int k_write_media = 4;
constexpr std::int64_t k_relink_ms = 2000;                  // how soon a lost link to the master is tried again

// What identifies a file's version: it counts as replaced when any of this changes.
struct file_sig {
    bool exists = false;
    dev_t dev = 0;
    ino_t ino = 0;
    off_t size = 0;
    std::int64_t mtime_ns = 0;
    bool operator==(const file_sig &) const = default;
};

// The files of an image.
struct image_sig {
    file_sig cue;
    file_sig bin;
    bool operator==(const image_sig &) const = default;
};

// What the drive holds.
enum class disc_phase { none, identifying, ready, refused };

// The disc in the drive, once identified.
struct disc_record {
    int serial = 0;               // counts insertions (1..0xFFFF): CD WAITING's track field
    disc_toc toc;
    std::uint32_t id = 0;         // freedb identifier, also its CD ident
    int known_album = 0;          // the album whose CD ident it is (0: unknown)
    int matches = 0;              // freedb matches written to Local/
    bool freedb_available = false;
    std::string album_text;       // album 0: the disc as an album, as the client last wrote it
};

// Where a backup write is.
enum class write_phase { none, fetching, testing, burning, imaging, reading_back };

struct write_job {
    write_phase phase = write_phase::none;
    int album = 0;
    int session = 0;              // while fetching: the connection waiting for the reply
    std::int64_t sequence = 0;    // and its request's sequence
    std::string toc_path;         // the cdrdao TOC file
    std::string cue_path;         // the image written without a writer
    std::uint32_t planned_id = 0; // the identifier the disc will have
    bool simulating = false;      // cdrdao's own simulation
};

}   // namespace

struct cd_drive {
    cd_options opt;
    bool image = false;             // the drive is a disc image
    std::string bin_path;           // the image's samples: NAME.bin beside NAME.cue
    std::string local_dir;          // ROOT/Local: the freedb match files
    std::string backup_dir;         // ROOT/Backup: TOC files and images of backups
    std::string media_dir;          // where retrieved tracks go: the master's media folder
    image_sig seen;                 // the image's files as last taken in
    image_sig candidate;            // a change seen once, taken in when seen again
    bool changing = false;          // candidate holds a change not yet settled
    bool ejected = false;           // an image ejected by request: no disc until its files change
    bool device_present = false;    // a device reported a disc
    bool device_unreadable = false; // a device could not be opened (logged once)
    std::int64_t next_poll_ns = 0;
    disc_phase phase = disc_phase::none;
    std::optional<disc_record> disc;
    int serial = 0;
    child_proc identify;            // reads the table of contents
    child_proc rip;                 // rips the active retrieval
    child_proc mark;                // marks it on line at the master
    child_proc eject;               // ejects a device
    child_proc write;               // the steps of a backup write
    child_proc watch;               // the link to the master, for the CANCELs its clients send
    std::int64_t relink_ns = 0;     // when the link may be tried again
    bool link_trouble_told = false; // its failure is in the log already
    retrieval_state ret;
    std::string rip_temp;           // the rip's file until it is complete
    std::string rip_final;          // its media file
    bool rip_cancelled = false;     // the active rip was ended by a cancel
    std::string rip_failure;        // why the active rip was ended from here
    int rip_tenths = 0;             // progress tenths already reported
    write_job wj;
};

namespace {

// Nanoseconds of a file's modification time.
file_sig sig_of(const std::string &path)
{
    struct stat sb {};
    if (stat(path.c_str(), &sb) != 0)
        return {};
    return {.exists = true, .dev = sb.st_dev, .ino = sb.st_ino, .size = sb.st_size,
            .mtime_ns = static_cast<std::int64_t>(sb.st_mtim.tv_sec) * 1'000'000'000 + sb.st_mtim.tv_nsec};
}

std::string hex_id(std::uint32_t id)
{
    char buf[16];
    std::snprintf(buf, sizeof buf, "%8.8X", id);
    return buf;
}

bool is_executable(const std::string &path) { return ::access(path.c_str(), X_OK) == 0; }

// The CD ident an album has here; 0 when unknown (or wider than a disc identifier).
std::uint32_t ident_of(const server_state &st, int album)
{
    const track_rec *e = store_entry(st.store, album, 0);
    return e != nullptr && e->cd_ident <= 0xFFFFFFFFu ? static_cast<std::uint32_t>(e->cd_ident) : 0;
}

// The lowest album whose CD ident is the disc's.
int known_album_of(const server_state &st, std::uint32_t id)
{
    for (int n = 1; n < k_album_slots; ++n)
        if (album_number_ok(n) && ident_of(st, n) == id)
            return n;
    return 0;
}

void notice(outbox &out, std::int64_t type, std::int64_t album, std::int64_t track, std::string_view text = {})
{
    post(out, target::all, make_frame(type, k_notice_sequence, album, track, text));
}

// A message for the operators (their error pop-up).
void tell_operators(outbox &out, const std::string &text)
{
    notice(out, SERVER_NOTICE, 1, 0, std::string_view(text).substr(0, 200));
}

// Starts a helper verb. False (logged) when it cannot be started.
bool start_helper(cd_drive &d, child_proc &c, std::vector<std::string> args, std::int64_t now_ns)
{
    args.insert(args.begin(), {d.opt.helper, "--cd-helper"});
    std::string error;
    if (!child_spawn(c, args, now_ns, error)) {
        slog("Cannot start the drive helper: %s", error.c_str());
        return false;
    }
    return true;
}

// Takes a helper's lines: log lines go to the log; "error" gives the reason; others but "done" are kept in `rest`.
void take_lines(child_proc &c, std::string &error, std::string &rest)
{
    std::string line;
    while (child_line(c, line)) {
        if (line.rfind("log ", 0) == 0)
            slog("Drive: %s", line.c_str() + 4);
        else if (line.rfind("error ", 0) == 0)
            error = line.substr(6);
        else if (line != "done")
            rest += line + "\n";
    }
}

// The last lines of a program's output, for the log.
std::string tail_of(const std::string &out)
{
    std::string t = out.size() > 400 ? out.substr(out.size() - 400) : out;
    for (char &ch : t)
        if (ch == '\n' || ch == '\r')
            ch = ' ';
    return t;
}

// Checks the cue sheet of an image before the drive reads it: one BINARY
// file, present, and the same file as NAME.bin beside the cue (the one read).
bool check_cue(const cd_drive &d, std::string &problem)
{
    const int fd = ::open(d.opt.drive.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        problem = std::string("cannot open the cue sheet - ") + std::strerror(errno);
        return false;
    }
    std::string cue;
    char buf[8192];
    ssize_t n;
    while ((n = ::read(fd, buf, sizeof buf)) > 0 && cue.size() <= k_max_cue_bytes)
        cue.append(buf, static_cast<std::size_t>(n));
    ::close(fd);
    if (cue.size() > k_max_cue_bytes || cue.find('\0') != std::string::npos) {
        problem = "the cue sheet is not a text of at most 64 KB";
        return false;
    }
    std::vector<std::string> names;
    if (!cue_file_names(cue, names, problem))
        return false;
    if (names.size() != 1) {
        problem = "the cue sheet names " + std::to_string(names.size()) + " files; one .bin is read";
        return false;
    }
    const std::size_t slash = d.opt.drive.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : d.opt.drive.substr(0, slash);
    const std::string named = names[0].front() == '/' ? names[0] : folder + "/" + names[0];
    const file_sig f = sig_of(named);
    if (!f.exists) {
        problem = "the cue sheet names " + names[0] + ", which is missing";
        return false;
    }
    const file_sig b = sig_of(d.bin_path);
    if (!b.exists || b.dev != f.dev || b.ino != f.ino) {
        problem = "the cue sheet names " + names[0] + ", but the samples are read from " + d.bin_path;
        return false;
    }
    if (b.size % k_sector_bytes != 0) {
        problem = "the .bin is " + std::to_string(b.size) + " bytes, not whole sectors (truncated?)";
        return false;
    }
    return true;
}

void advance(server_state &st, std::int64_t now_ns, outbox &out);

// Forgets the disc in the drive (taken out, ejected, or replaced).
void drop_disc(cd_drive &d, const char *why)
{
    if (d.disc)
        slog("CD %s %s", hex_id(d.disc->id).c_str(), why);
    d.disc.reset();
    d.phase = disc_phase::none;
    child_kill(d.identify);
    if (child_running(d.rip) && d.rip_failure.empty())
        d.rip_failure = "the CD was taken out";
    child_kill(d.rip);
}

// The disc cannot be used: the operators are told why.
void refuse_disc(cd_drive &d, outbox &out, const std::string &why)
{
    d.disc.reset();
    d.phase = disc_phase::refused;
    slog("The CD in the drive cannot be used: %s", why.c_str());
    tell_operators(out, "The CD in the drive cannot be used: " + why);
}

// Starts reading the table of contents of a disc just put in.
void start_identify(cd_drive &d, std::int64_t now_ns, outbox &out)
{
    std::string problem;
    if (d.image && !check_cue(d, problem)) {
        refuse_disc(d, out, problem);
        return;
    }
    if (!start_helper(d, d.identify, {"identify", d.opt.drive}, now_ns)) {
        refuse_disc(d, out, "the drive helper cannot be started");
        return;
    }
    d.phase = disc_phase::identifying;
}

// A disc was identified: its matches are written, and it is announced unless a retrieval was waiting for it.
void disc_identified(server_state &st, const disc_toc &toc, outbox &out)
{
    cd_drive &d = *st.cd;
    disc_record r;
    r.toc = toc;
    r.id = cddb_disc_id(toc);
    d.serial = d.serial % 0xFFFF + 1;
    r.serial = d.serial;
    if (!d.opt.freedb.empty()) {
        const freedb_lookup_result f = freedb_lookup(d.opt.freedb, r.id);
        for (const freedb_candidate &c : f.refused)
            slog("freedb file %s not offered: %s", c.path.c_str(), c.problem.c_str());
        std::string error;
        if (!f.available) {
            slog("freedb folder %s cannot be read", d.opt.freedb.c_str());
        } else if (!freedb_write_matches(d.local_dir, f.matches, error)) {
            slog("freedb matches not written: %s", error.c_str());
        } else {
            r.freedb_available = true;
            r.matches = static_cast<int>(f.matches.size());
        }
    }
    r.known_album = known_album_of(st, r.id);
    r.album_text = disc_album_text(toc, r.id);
    std::int64_t sectors = 0;
    const int tracks = toc_audio_tracks(toc);
    for (int i = 0; i < tracks; ++i)
        sectors += toc_track_sectors(toc, static_cast<std::size_t>(i));
    char known[32] = "unknown";
    if (r.known_album != 0)
        std::snprintf(known, sizeof known, "album %04d", r.known_album);
    slog("CD %s in the drive: %d tracks, %s, %s, %s%d freedb matches", hex_id(r.id).c_str(), tracks,
         sectors_time_text(sectors).c_str(), known, r.freedb_available ? "" : "freedb unavailable, ", r.matches);
    d.disc = std::move(r);
    d.phase = disc_phase::ready;
    const bool wanted = std::any_of(d.ret.queue.begin(), d.ret.queue.end(),
                                    [&](const ret_job &j) { return ident_of(st, j.album) == d.disc->id; });
    if (!wanted)
        notice(out, CD_WAITING, d.disc->known_album, d.disc->serial);
}

// The identify helper ended.
void identify_finished(server_state &st, outbox &out)
{
    cd_drive &d = *st.cd;
    std::string error;
    std::string lines;
    take_lines(d.identify, error, lines);
    disc_toc toc;
    if (d.identify.status != 0 || !parse_toc_lines(lines, toc)) {
        refuse_disc(d, out, error.empty() ? "its table of contents cannot be read" : error);
        return;
    }
    const std::string problem = toc_problem(toc);
    if (!problem.empty()) {
        refuse_disc(d, out, problem);
        return;
    }
    disc_identified(st, toc, out);
}

// Looks at the drive for a disc put in, taken out or replaced.
void poll_media(server_state &st, std::int64_t now_ns, outbox &out)
{
    cd_drive &d = *st.cd;
    if (d.image) {
        const image_sig now_sig{sig_of(d.opt.drive), sig_of(d.bin_path)};
        if (now_sig == d.seen) {
            d.changing = false;
            return;
        }
        // Any change ends what the old files were used for at once...
        if (!d.changing || !(now_sig == d.candidate)) {
            if (d.disc || d.phase != disc_phase::none)
                drop_disc(d, now_sig.cue.exists ? "replaced" : "taken out");
            d.candidate = now_sig;
            d.changing = true;
            return;
        }
        // ...and the new files are taken in once they stay the same for one look more.
        d.seen = now_sig;
        d.changing = false;
        d.ejected = false;
        if (now_sig.cue.exists)
            start_identify(d, now_ns, out);
        else
            d.phase = disc_phase::none;
        return;
    }
    // A device: its drive status, while nothing else is using it.
    if (child_running(d.rip) || child_running(d.write) || child_running(d.identify) || child_running(d.eject))
        return;
    const int fd = ::open(d.opt.drive.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        if (!d.device_unreadable)
            slog("CD drive %s cannot be opened - %s", d.opt.drive.c_str(), std::strerror(errno));
        d.device_unreadable = true;
        return;
    }
    d.device_unreadable = false;
    const int status = ::ioctl(fd, CDROM_DRIVE_STATUS, CDSL_CURRENT);
    const int changed = ::ioctl(fd, CDROM_MEDIA_CHANGED, CDSL_CURRENT);
    ::close(fd);
    const bool present = status == CDS_DISC_OK;
    if (present == d.device_present && !(present && changed == 1))
        return;
    d.device_present = present;
    drop_disc(d, present ? "replaced" : "taken out");
    if (present)
        start_identify(d, now_ns, out);
}

// Ejects the disc now.
void do_eject(cd_drive &d, std::int64_t now_ns)
{
    if (d.disc)
        slog("CD %s ejected", hex_id(d.disc->id).c_str());
    d.disc.reset();
    d.phase = disc_phase::none;
    if (d.image) {
        d.ejected = true;   // until the image's files change
        return;
    }
    d.device_present = false;
    start_helper(d, d.eject, {"eject", d.opt.drive}, now_ns);
}

// Updates the local copy of an album: the track is on line. Returns whether it changed.
bool set_online_here(server_state &st, int album, int track)
{
    const stored_album *a = store_get(st.store, album);
    if (a == nullptr || track < 1 || static_cast<std::size_t>(track) >= a->entries.size() ||
        a->entries[static_cast<std::size_t>(track)].online == 1)
        return false;
    static album_rec rec;
    std::memset(&rec, 0, sizeof rec);
    parse_album_text(stored_text(*a).data(), stored_text(*a).size(), rec);
    rec.entry[track].online = 1;
    static char text[k_album_text_max];
    const std::size_t len = format_album_text(rec, text, sizeof text);
    return store_write_text(st.store, album, std::string_view(text, len));
}

// The active rip is over.
void rip_over(server_state &st, ret_outcome outcome, std::int64_t now_ns, outbox &out)
{
    cd_drive &d = *st.cd;
    if (outcome == ret_outcome::done && d.ret.active) {
        // The track is in and on line. A client that noted its album for the "load CD" reminder
        // after the rip's progress but before it heard the track was on line forgets it now.
        notice(out, RET_PROG, d.ret.active->album, d.ret.active->track, "100");
    }
    ret_effects fx;
    ret_finished(d.ret, outcome, fx);
    for (const ret_notice &n : fx.notices)
        notice(out, n.type, n.album, n.track);
    d.rip_cancelled = false;
    d.rip_failure.clear();
    advance(st, now_ns, out);
}

// The rip helper ended.
void rip_finished(server_state &st, std::int64_t now_ns, outbox &out)
{
    cd_drive &d = *st.cd;
    std::string error;
    std::string rest;
    take_lines(d.rip, error, rest);
    const ret_job job = *d.ret.active;
    if (d.rip_cancelled) {
        ::unlink(d.rip_temp.c_str());
        slog("Retrieval of album %04d track %02d cancelled", job.album, job.track);
        rip_over(st, ret_outcome::cancelled, now_ns, out);
        return;
    }
    if (d.rip.status != 0 || !d.rip_failure.empty() || std::rename(d.rip_temp.c_str(), d.rip_final.c_str()) != 0) {
        const std::string why = !d.rip_failure.empty() ? d.rip_failure
                                : !error.empty()       ? error
                                : d.rip.status == 0    ? std::string("cannot rename the file - ") + std::strerror(errno)
                                                       : std::string("the drive helper failed");
        ::unlink(d.rip_temp.c_str());
        slog("Cannot retrieve album %04d track %02d: %s", job.album, job.track, why.c_str());
        rip_over(st, ret_outcome::failed, now_ns, out);
        return;
    }
    // The name is in place: make the rename itself durable.
    const int dir = ::open(d.media_dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    slog("Album %04d track %02d retrieved into %s", job.album, job.track, d.rip_final.c_str());
    if (d.opt.master.empty()) {
        if (set_online_here(st, job.album, job.track))
            post_album_written(st, out, job.album, target::all);
        rip_over(st, ret_outcome::done, now_ns, out);
        return;
    }
    if (!start_helper(d, d.mark, {"master-online", d.opt.master, std::to_string(job.album), std::to_string(job.track)},
                      now_ns)) {
        rip_over(st, ret_outcome::failed, now_ns, out);
    }
}

// The helper that marks a track on line at the master ended.
void mark_finished(server_state &st, std::int64_t now_ns, outbox &out)
{
    cd_drive &d = *st.cd;
    std::string error;
    std::string rest;
    take_lines(d.mark, error, rest);
    const ret_job job = *d.ret.active;
    if (d.mark.status != 0) {
        slog("Album %04d track %02d: its media file is in place but the master was not told: %s", job.album,
             job.track, error.empty() ? "the drive helper failed" : error.c_str());
        rip_over(st, ret_outcome::failed, now_ns, out);
        return;
    }
    set_online_here(st, job.album, job.track);
    rip_over(st, ret_outcome::done, now_ns, out);
}

// Starts ripping the active retrieval.
void start_rip(server_state &st, std::int64_t now_ns, outbox &out)
{
    cd_drive &d = *st.cd;
    const ret_job job = *d.ret.active;
    char name[48];
    std::snprintf(name, sizeof name, "/.%4.4d_%2.2d.wav.rip", job.album, job.track);
    d.rip_temp = d.media_dir + name;
    d.rip_final = media_path(d.media_dir, job.album, job.track);
    d.rip_cancelled = false;
    d.rip_failure.clear();
    d.rip_tenths = 0;
    char id[16];
    std::snprintf(id, sizeof id, "%8.8x", d.disc->id);
    if (!start_helper(d, d.rip, {"rip", d.opt.drive, id, std::to_string(job.track), d.rip_temp, std::to_string(d.opt.speed)}, now_ns))
        rip_over(st, ret_outcome::failed, now_ns, out);
}

// Moves the retrievals on when the drive is free.
void advance(server_state &st, std::int64_t now_ns, outbox &out)
{
    cd_drive &d = *st.cd;
    for (int guard = 0; guard < 8; ++guard) {
        if (d.ret.active || d.phase == disc_phase::identifying || d.wj.phase != write_phase::none ||
            child_running(d.eject))
            return;
        const ret_disc disc{.present = d.phase == disc_phase::ready && d.disc.has_value(),
                            .id = d.disc ? d.disc->id : 0};
        ret_effects fx;
        ret_advance(d.ret, disc, [&](int a) { return ident_of(st, a); }, fx);
        for (const std::string &l : fx.log)
            slog("%s", l.c_str());
        for (const ret_notice &n : fx.notices)
            notice(out, n.type, n.album, n.track);
        if (fx.start) {
            start_rip(st, now_ns, out);
            return;
        }
        if (!fx.eject)
            return;
        do_eject(d, now_ns);
    }
}

// Sends CDW_DONE and ends the write.
void write_done(cd_drive &d, outbox &out, int status, std::uint32_t id)
{
    slog("Backup of album %04d: CDW_DONE %d (%s)", d.wj.album, status, hex_id(id).c_str());
    notice(out, CDW_DONE, d.wj.album, status, hex_id(id));
    d.wj = write_job{};
}

// Prepares a backup write of an album from its text: checks its media files
// and writes the TOC file. Returns the WRITE_CD result code; on 0 the write starts.
int write_begin(server_state &st, int album, std::string_view text, std::int64_t now_ns)
{
    cd_drive &d = *st.cd;
    static album_rec rec;
    std::memset(&rec, 0, sizeof rec);
    parse_album_text(text.data(), text.size(), rec);
    if (rec.tracks < 1 || rec.entry[0].title[0] == '\0') {
        slog("Backup of album %04d refused: no such album, or no tracks", album);
        return k_write_media;
    }
    std::vector<std::string> wavs;
    std::vector<std::int64_t> bytes;
    for (int t = 1; t <= rec.tracks && rec.entry[t].title[0] != '\0'; ++t) {
        const std::string path = media_path(d.media_dir, album, t);
        const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        unsigned char head[4096];
        const ssize_t got = fd < 0 ? -1 : ::read(fd, head, sizeof head);
        const off_t size = fd < 0 ? 0 : ::lseek(fd, 0, SEEK_END);
        if (fd >= 0)
            ::close(fd);
        wav_layout layout{};
        if (got < 0 || !wav_parse_layout(head, static_cast<std::size_t>(got), size, layout)) {
            slog("Backup of album %04d refused: cannot open %s - %s", album, path.c_str(),
                 fd < 0 ? std::strerror(errno) : "not a WAV file with samples");
            return k_write_media;
        }
        wavs.push_back(path);
        bytes.push_back(layout.data_bytes);
    }
    const std::string toc = cdrdao_toc_text(wavs);
    if (toc.empty()) {
        slog("Backup of album %04d refused: a media path cannot be written in a TOC file", album);
        return k_write_toc_write;
    }
    char name[32];
    std::snprintf(name, sizeof name, "/%4.4d.toc", album);
    d.wj.toc_path = d.backup_dir + name;
    std::snprintf(name, sizeof name, "/%4.4d.cue", album);
    d.wj.cue_path = d.backup_dir + name;
    const std::string temp = d.wj.toc_path + ".part";
    ::mkdir(d.backup_dir.c_str(), 0755);
    const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) {
        slog("Backup of album %04d refused: cannot open %s - %s", album, temp.c_str(), std::strerror(errno));
        return k_write_toc_open;
    }
    const bool written = ::write(fd, toc.data(), toc.size()) == static_cast<ssize_t>(toc.size()) && ::fsync(fd) == 0;
    const bool closed = ::close(fd) == 0;
    if (!written || !closed || std::rename(temp.c_str(), d.wj.toc_path.c_str()) != 0) {
        slog("Backup of album %04d refused: cannot write %s - %s", album, d.wj.toc_path.c_str(), std::strerror(errno));
        ::unlink(temp.c_str());
        return k_write_toc_write;
    }
    d.wj.album = album;
    d.wj.planned_id = cddb_disc_id(backup_toc(backup_track_sectors(bytes)));
    const bool have_cdrdao = is_executable(d.opt.cdrdao);
    std::vector<std::string> argv;
    if (!d.image && have_cdrdao) {
        // A writer: cdrdao burns the disc, or with --cd-simulate runs its own simulation.
        d.wj.simulating = d.opt.simulate;
        argv = {d.opt.cdrdao, d.opt.simulate ? "simulate" : "write", "--device", d.opt.drive, "-n", d.wj.toc_path};
        d.wj.phase = write_phase::burning;
    } else if (have_cdrdao) {
        // No writer: cdrdao checks the TOC and reads every file; the image is written after.
        argv = {d.opt.cdrdao, "read-test", d.wj.toc_path};
        d.wj.phase = write_phase::testing;
    } else {
        d.wj.phase = write_phase::imaging;
        std::vector<std::string> args = {"write-image", d.wj.cue_path};
        args.insert(args.end(), wavs.begin(), wavs.end());
        if (!start_helper(d, d.write, args, now_ns)) {
            d.wj = write_job{};
            return k_write_busy;
        }
        slog("Backup of album %04d: writing the image %s", album, d.wj.cue_path.c_str());
        return k_write_ok;
    }
    std::string error;
    if (!child_spawn(d.write, argv, now_ns, error)) {
        slog("Backup of album %04d refused: cannot run %s - %s", album, d.opt.cdrdao.c_str(), error.c_str());
        d.wj = write_job{};
        return k_write_busy;
    }
    slog("Backup of album %04d: %s %s %s", album, d.opt.cdrdao.c_str(), argv[1].c_str(), d.wj.toc_path.c_str());
    return k_write_ok;
}

// The media files of an album in TOC order, read back from the TOC file.
std::vector<std::string> toc_files(const std::string &toc_path)
{
    std::vector<std::string> files;
    std::FILE *f = std::fopen(toc_path.c_str(), "r");
    if (f == nullptr)
        return files;
    char line[4096];
    while (std::fgets(line, sizeof line, f) != nullptr) {
        const char *q = std::strchr(line, '"');
        const char *e = q != nullptr ? std::strchr(q + 1, '"') : nullptr;
        if (std::strncmp(line, "FILE ", 5) == 0 && e != nullptr)
            files.emplace_back(q + 1, e);
    }
    std::fclose(f);
    return files;
}

// A step of a backup write ended.
void write_step_finished(server_state &st, std::int64_t now_ns, outbox &out)
{
    cd_drive &d = *st.cd;
    write_job &w = d.wj;
    const int status = d.write.status;
    const std::string output = d.write.out;
    switch (w.phase) {
    case write_phase::fetching: {
        int code = k_write_media;
        if (status == 0) {
            code = write_begin(st, w.album, output, now_ns);
        } else {
            std::string error;
            std::string rest;
            take_lines(d.write, error, rest);
            slog("Backup of album %04d refused: %s", w.album, error.c_str());
        }
        post_to_session(out, w.session, make_frame(WRITE_CD, w.sequence, w.album, code, {}));
        if (code != k_write_ok)
            d.wj = write_job{};
        return;
    }
    case write_phase::testing:
        if (status != 0) {
            slog("Backup of album %04d: cdrdao read-test failed: %s", w.album, tail_of(output).c_str());
            write_done(d, out, k_cdw_failed, w.planned_id);
            return;
        }
        {
            std::vector<std::string> args = {"write-image", w.cue_path};
            const std::vector<std::string> files = toc_files(w.toc_path);
            args.insert(args.end(), files.begin(), files.end());
            w.phase = write_phase::imaging;
            if (!start_helper(d, d.write, args, now_ns))
                write_done(d, out, k_cdw_failed, w.planned_id);
            else
                slog("Backup of album %04d: writing the image %s", w.album, w.cue_path.c_str());
        }
        return;
    case write_phase::imaging:
    case write_phase::burning:
        if (status != 0) {
            slog("Backup of album %04d failed: %s", w.album, tail_of(output).c_str());
            write_done(d, out, k_cdw_failed, w.planned_id);
            return;
        }
        if (w.simulating) {
            write_done(d, out, k_cdw_simulated, w.planned_id);
            return;
        }
        {
            // The disc just burnt is read back from the drive, an image from its file.
            const std::string from = w.phase == write_phase::burning ? d.opt.drive : w.cue_path;
            w.phase = write_phase::reading_back;
            if (start_helper(d, d.write, {"identify", from}, now_ns))
                return;
        }
        write_done(d, out, k_cdw_no_status, w.planned_id);
        return;
    case write_phase::reading_back: {
        std::string error;
        std::string lines;
        take_lines(d.write, error, lines);
        disc_toc toc;
        if (status != 0 || !parse_toc_lines(lines, toc)) {
            slog("Backup of album %04d: the written disc cannot be read back: %s", w.album, error.c_str());
            write_done(d, out, k_cdw_no_status, w.planned_id);
            return;
        }
        write_done(d, out, k_cdw_done, cddb_disc_id(toc));
        return;
    }
    case write_phase::none: return;
    }
}

// The requesting connection's album number as an int.
int album_of(const request_ctx &c) { return static_cast<int>(c.req.album); }

// A CANCEL: album 0 or 0xFFFE (the client's "none") cancels every album's
// retrievals; any other cancels the current retrieval, since the console's
// Ctrl-K, which cannot name an album, always sends 1. Returns the tracks cancelled.
int cancel_retrievals(server_state &st, std::int64_t album_field, const std::string &from, std::int64_t now_ns,
                      outbox &out)
{
    cd_drive *d = st.cd;
    const bool every = album_field == 0 || album_field == 0xFFFE;
    const int a = every ? 0 : ret_current(d->ret);
    if (!every && a == 0) {
        slog("CANCEL (%s): no retrieval is outstanding", from.c_str());
        return 0;
    }
    ret_effects fx;
    const int n = ret_cancel(d->ret, a, fx);
    char what[32];
    std::snprintf(what, sizeof what, a == 0 ? "every album" : "album %04d", a);
    slog("Retrievals of %s cancelled: %d tracks (%s)", what, n, from.c_str());
    for (const ret_notice &m : fx.notices)
        notice(out, m.type, m.album, m.track);
    if (fx.abort && child_running(d->rip)) {
        d->rip_cancelled = true;
        child_kill(d->rip);
        rip_finished(st, now_ns, out);
        d->rip.finished = false;
    }
    advance(st, now_ns, out);
    return n;
}

// The link to the master (a local server only): started, read, and started
// again a little after it ends; the CANCELs the master hands on are carried out.
void watch_master(server_state &st, std::int64_t now_ns, outbox &out)
{
    cd_drive &d = *st.cd;
    if (d.opt.master.empty())
        return;
    std::string line;
    while (child_line(d.watch, line)) {
        if (line == "linked") {
            d.link_trouble_told = false;
            slog("Linked to the master %s: the CANCELs of its clients come here", d.opt.master.c_str());
        } else if (line.rfind("cancel ", 0) == 0) {
            cancel_retrievals(st, lenient_atol(line.substr(7)), "from the master", now_ns, out);
        } else if (line.rfind("error ", 0) == 0 && !d.link_trouble_told) {
            d.link_trouble_told = true;
            slog("No link to the master %s: %s (tried again every %lld ms)", d.opt.master.c_str(), line.c_str() + 6,
                 static_cast<long long>(k_relink_ms));
        }
    }
    if (d.watch.finished) {
        d.watch.finished = false;
        d.relink_ns = now_ns + k_relink_ms * k_ms;
    }
    if (!child_running(d.watch) && now_ns >= d.relink_ns &&
        !start_helper(d, d.watch, {"master-watch", d.opt.master}, now_ns))
        d.relink_ns = now_ns + k_relink_ms * k_ms;
}

}   // namespace

bool cd_drive_open(server_state &st, const cd_options &opt, std::string &error)
{
    if (opt.drive.empty())
        return true;
    if (!opt.master.empty()) {
        std::string host;
        int port = 0;
        if (!split_host_port(opt.master, host, port)) {
            error = "--master must be HOST:PORT";
            return false;
        }
        if (opt.master_root.empty()) {
            error = "--master needs --master-root (the master's root as seen from this machine)";
            return false;
        }
    }
    auto *d = new cd_drive;
    d->opt = opt;
    d->image = drive_is_image(opt.drive);
    if (d->image) {
        d->bin_path = opt.drive.substr(0, opt.drive.size() - 4) + ".bin";
        const std::size_t slash = opt.drive.rfind('/');
        const std::string folder = slash == std::string::npos ? "." : opt.drive.substr(0, slash + (slash == 0 ? 1 : 0));
        struct stat fs {};
        if (stat(folder.c_str(), &fs) != 0 || !S_ISDIR(fs.st_mode))
            slog("CD drive %s: the folder %s is not there (yet): no disc can be put in", opt.drive.c_str(), folder.c_str());
    }
    d->local_dir = st.paths.root + "/Local";
    d->backup_dir = st.paths.root + "/Backup";
    d->media_dir = opt.master.empty() ? st.paths.media : opt.master_root + "/Media";
    struct stat sb {};
    if (stat(d->media_dir.c_str(), &sb) != 0 || !S_ISDIR(sb.st_mode)) {
        error = "the media folder " + d->media_dir + " is not there";
        delete d;
        return false;
    }
    if (d->opt.helper.empty()) {
        char self[4096];
        const ssize_t n = ::readlink("/proc/self/exe", self, sizeof self - 1);
        if (n <= 0) {
            error = "cannot find this program's path";
            delete d;
            return false;
        }
        d->opt.helper.assign(self, static_cast<std::size_t>(n));
    }
    // The helpers' exit statuses are needed: children must not be reaped behind our back.
    std::signal(SIGCHLD, SIG_DFL);
    // Rips cut short by a crash of an earlier run.
    if (DIR *dir = ::opendir(d->media_dir.c_str())) {
        std::vector<std::string> stale;
        while (const dirent *e = ::readdir(dir)) {
            const std::string_view name = e->d_name;
            if (name.size() == 16 && name[0] == '.' && name.substr(name.size() - 4) == ".rip")
                stale.emplace_back(name);
        }
        ::closedir(dir);
        for (const std::string &name : stale)
            ::unlink((d->media_dir + "/" + name).c_str());
    }
    slog("CD drive %s (%s)%s%s, freedb %s, backups %s", opt.drive.c_str(), d->image ? "image" : "device",
         opt.master.empty() ? "" : ", local server of ", opt.master.c_str(),
         opt.freedb.empty() ? "unavailable" : opt.freedb.c_str(),
         opt.simulate ? "simulated" : (d->image ? "impossible (an image is no writer)" : "written"));
    st.cd = d;
    return true;
}

void cd_drive_close(server_state &st)
{
    cd_drive *d = st.cd;
    if (d == nullptr)
        return;
    child_kill(d->watch);
    child_kill(d->rip);
    if (d->ret.active && !d->rip_temp.empty())
        ::unlink(d->rip_temp.c_str());
    st.cd = nullptr;
    delete d;
}

void cd_drive_tick(server_state &st, std::int64_t now_ns, outbox &out)
{
    cd_drive *d = st.cd;
    if (d == nullptr)
        return;
    for (child_proc *c : {&d->identify, &d->rip, &d->mark, &d->eject, &d->write, &d->watch})
        child_poll(*c, now_ns);
    watch_master(st, now_ns, out);
    if (d->identify.finished) {
        d->identify.finished = false;
        if (d->phase == disc_phase::identifying)
            identify_finished(st, out);
    }
    if (child_running(d->rip)) {
        std::string line;
        while (child_line(d->rip, line)) {
            if (line.rfind("progress ", 0) == 0 && d->ret.active) {
                const int tenths = static_cast<int>(lenient_atol(line.substr(9))) / 10;
                if (tenths > d->rip_tenths && tenths < 10) {
                    d->rip_tenths = tenths;
                    notice(out, RET_PROG, d->ret.active->album, d->ret.active->track, std::to_string(tenths * 10));
                }
            } else if (line.rfind("log ", 0) == 0) {
                slog("Drive: %s", line.c_str() + 4);
            } else {
                d->rip.out.insert(0, line + "\n");
                break;
            }
        }
        if (now_ns - d->rip.last_output_ns > static_cast<std::int64_t>(d->opt.stall_seconds) * 1000 * k_ms) {
            d->rip_failure = "the drive stopped answering";
            child_kill(d->rip);
        }
    }
    if (d->rip.finished) {
        d->rip.finished = false;
        if (d->ret.active)
            rip_finished(st, now_ns, out);
    }
    if (d->mark.finished) {
        d->mark.finished = false;
        if (d->ret.active)
            mark_finished(st, now_ns, out);
    }
    if (d->eject.finished) {
        d->eject.finished = false;
        std::string error;
        std::string rest;
        take_lines(d->eject, error, rest);
        if (d->eject.status != 0)
            slog("Eject failed: %s", error.c_str());
    }
    if (d->write.finished) {
        d->write.finished = false;
        write_step_finished(st, now_ns, out);
    }
    if (now_ns >= d->next_poll_ns) {
        d->next_poll_ns = now_ns + static_cast<std::int64_t>(d->image ? d->opt.image_poll_ms : d->opt.device_poll_ms) * k_ms;
        poll_media(st, now_ns, out);
    }
    advance(st, now_ns, out);
}

void cd_ret_track(request_ctx &c)
{
    cd_drive *d = c.st.cd;
    const int a = album_of(c);
    const int t = static_cast<int>(c.req.track);
    if (d == nullptr || !album_number_ok(a) || t < 1 || t > k_max_disc_tracks || !ret_request(d->ret, {a, t})) {
        reply(c, k_refused);
        return;
    }
    slog("Retrieval of album %04d track %02d requested (connection %d)", a, t, c.self.id);
    reply(c, a, t);
    advance(c.st, c.now_ns, c.out);
}

void cd_ret_check(request_ctx &c)
{
    cd_drive *d = c.st.cd;
    if (d == nullptr) {
        reply(c, 0);
        return;
    }
    int a = album_of(c);
    if (store_get(c.st.store, a) == nullptr && d->disc)
        a = d->disc->known_album;
    const stored_album *album = store_get(c.st.store, a);
    if (album == nullptr) {
        reply(c, 0);
        return;
    }
    int queued = 0;
    for (std::size_t t = 1; t < album->entries.size(); ++t)
        if (album->entries[t].online == 0 && ret_request(d->ret, {a, static_cast<int>(t)}))
            ++queued;
    slog("Retrieval check of album %04d: %d off-line tracks (connection %d)", a, queued, c.self.id);
    reply(c, a, queued);
    advance(c.st, c.now_ns, c.out);
}

void cd_cancel(request_ctx &c)
{
    cd_drive *d = c.st.cd;
    const std::int64_t answer = c.req.album != 0 && c.req.album != k_refused ? c.req.album : 1;
    if (d == nullptr) {
        // No drive here: the retrievals are the local servers'. The request goes on to their links.
        reply(c, answer);
        if (!c.self.drive_link)
            post(c.out, target::drive_links, make_frame(CANCEL, k_notice_sequence, c.req.album, c.req.track, c.req.text));
        return;
    }
    // The reply goes first; the CANCELLED notices and what the drive does next follow it.
    outbox after;
    const int n = cancel_retrievals(c.st, c.req.album, "connection " + std::to_string(c.self.id), c.now_ns, after);
    reply(c, answer, n);
    c.out.items.insert(c.out.items.end(), after.items.begin(), after.items.end());
}

void cd_eject(request_ctx &c)
{
    cd_drive *d = c.st.cd;
    if (d == nullptr || (!d->disc && d->phase != disc_phase::refused)) {
        reply(c, 0);
        return;
    }
    reply(c, c.req.album == 0 ? 1 : c.req.album);
    if (!d->disc) {
        do_eject(*d, c.now_ns);   // a refused disc goes out at once
        return;
    }
    if (ret_eject_request(d->ret)) {
        do_eject(*d, c.now_ns);
        advance(c.st, c.now_ns, c.out);
    } else {
        slog("CD %s: the eject waits for its retrievals to end", hex_id(d->disc->id).c_str());
    }
}

void cd_waiting(request_ctx &c)
{
    cd_drive *d = c.st.cd;
    if (d == nullptr || !d->disc || d->phase != disc_phase::ready || c.req.track != d->disc->serial) {
        reply(c, 0);
        return;
    }
    const disc_record &r = *d->disc;
    reply(c, c.req.album, c.req.track);
    const int known = known_album_of(c.st, r.id);
    const std::string id = hex_id(r.id);
    if (known != 0)
        post(c.out, target::requester, make_frame(KNOWN_CD, k_notice_sequence, known, r.matches, id));
    else
        post(c.out, target::requester,
             make_frame(EXOCD, k_notice_sequence, 0, k_tracks_offset + (r.freedb_available ? r.matches : -1), id));
    slog("CD %s shown to connection %d as %s", id.c_str(), c.self.id, known != 0 ? "a known album" : "a new album");
}

void cd_write(request_ctx &c)
{
    cd_drive *d = c.st.cd;
    const int a = album_of(c);
    const std::int64_t answer_album = c.req.album != 0 && c.req.album != k_refused ? c.req.album : 1;
    if (d == nullptr) {
        reply(c, answer_album, k_write_busy);
        return;
    }
    const char *why = nullptr;
    if (d->wj.phase != write_phase::none || child_running(d->rip) || child_running(d->mark) ||
        child_running(d->identify) || child_running(d->eject))
        why = "the drive is in use";
    else if (d->image && !d->opt.simulate)
        why = "the drive is an image, which cannot be written (--cd-simulate writes an image instead)";
    else if (!d->image && !d->opt.simulate && !is_executable(d->opt.cdrdao))
        why = "cdrdao is not installed";
    else if (!album_number_ok(a))
        why = "no such album";
    if (why != nullptr) {
        slog("Backup of album %04d refused: %s (connection %d)", a, why, c.self.id);
        reply(c, answer_album, album_number_ok(a) ? k_write_busy : k_write_media);
        return;
    }
    if (!d->opt.master.empty()) {
        // The master holds the album: its text is fetched first, and the reply waits for it.
        d->wj.phase = write_phase::fetching;
        d->wj.album = a;
        d->wj.session = c.self.id;
        d->wj.sequence = c.req.sequence;
        if (!start_helper(*d, d->write, {"master-read", d->opt.master, std::to_string(a)}, c.now_ns)) {
            d->wj = write_job{};
            reply(c, answer_album, k_write_busy);
        }
        return;
    }
    const stored_album *album = store_get(c.st.store, a);
    const int code = album == nullptr ? k_write_media : write_begin(c.st, a, stored_text(*album), c.now_ns);
    if (album == nullptr)
        slog("Backup of album %04d refused: no such album", a);
    reply(c, answer_album, code);
}

bool cd_album_read(request_ctx &c)
{
    cd_drive *d = c.st.cd;
    if (d == nullptr)
        return false;
    if (!d->disc || d->phase != disc_phase::ready)
        reply(c, k_no_such_album);
    else
        reply(c, 0, 0, d->disc->album_text);
    return true;
}

bool cd_album_write(request_ctx &c)
{
    cd_drive *d = c.st.cd;
    if (d == nullptr)
        return false;
    static album_rec rec;
    std::memset(&rec, 0, sizeof rec);
    if (!d->disc || d->phase != disc_phase::ready || parse_album_text(c.req.text.data(), c.req.text.size(), rec) < 1) {
        reply(c, k_refused);
        return true;
    }
    // Kept as it came: before a match names the disc its first title is empty,
    // which the writer's format would take for the end of the album.
    d->disc->album_text.assign(c.req.text.data(), c.req.text.size());
    reply(c, 0);
    return true;
}
