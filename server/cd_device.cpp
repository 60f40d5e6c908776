#include "server/cd_device.hpp"

#include "server/wav.hpp"

#include <cdio/cdio.h>
#include <cdio/logging.h>
#include <cdio/paranoia/cdda.h>
#include <cdio/paranoia/paranoia.h>

#include <cerrno>
#include <chrono>
#include <thread>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace {

constexpr long k_max_hard_errors = 32;   // hard read errors tolerated (paranoia re-reads) before the rip fails

struct cdio_closer {
    void operator()(CdIo_t *p) const { cdio_destroy(p); }
};
using cdio_handle = std::unique_ptr<CdIo_t, cdio_closer>;

// Where paranoia reports: the callback has no user argument.
void (*g_on_read_error)(long) = nullptr;
long g_hard_errors = 0;

// Paranoia's progress callback: a skipped sector means the samples are not the disc's.
void paranoia_callback(long sector, paranoia_cb_mode_t mode)
{
    if (mode == PARANOIA_CB_READERR)
        ++g_hard_errors;
    if ((mode == PARANOIA_CB_SKIP || g_hard_errors > k_max_hard_errors) && g_on_read_error != nullptr)
        g_on_read_error(sector / (k_sector_bytes / 2));
}

// Opens the drive; nullptr with a reason.
cdio_handle open_drive(const std::string &path, std::string &error)
{
    cdio_handle p(cdio_open(path.c_str(), DRIVER_UNKNOWN));
    if (p == nullptr)
        error = "cannot open " + path + (drive_is_image(path) ? " (is NAME.bin beside NAME.cue?)" : " (no disc?)");
    return p;
}

// The table of contents of an open drive.
bool read_toc(CdIo_t *p, disc_toc &toc, std::string &error)
{
    toc = {};
    const track_t first = cdio_get_first_track_num(p);
    const track_t count = cdio_get_num_tracks(p);
    if (first == CDIO_INVALID_TRACK || count == CDIO_INVALID_TRACK || count == 0) {
        error = "no table of contents (no disc, or a blank one)";
        return false;
    }
    if (count > k_max_disc_tracks) {
        error = "more than 99 tracks";
        return false;
    }
    for (int t = first; t < first + count; ++t) {
        const lsn_t lsn = cdio_get_track_lsn(p, static_cast<track_t>(t));
        if (lsn == CDIO_INVALID_LSN) {
            error = "track " + std::to_string(t) + " has no start";
            return false;
        }
        toc.tracks.push_back({.number = t, .lba = lsn,
                              .audio = cdio_get_track_format(p, static_cast<track_t>(t)) == TRACK_FORMAT_AUDIO});
    }
    const lsn_t leadout = cdio_get_track_lsn(p, CDIO_CDROM_LEADOUT_TRACK);
    if (leadout == CDIO_INVALID_LSN) {
        error = "no lead-out";
        return false;
    }
    toc.leadout = leadout;
    return true;
}

// Writes all bytes.
bool write_all_fd(int fd, const void *data, std::size_t n)
{
    const auto *p = static_cast<const unsigned char *>(data);
    while (n > 0) {
        const ssize_t w = ::write(fd, p, n);
        if (w < 0 && errno == EINTR)
            continue;
        if (w <= 0)
            return false;
        p += w;
        n -= static_cast<std::size_t>(w);
    }
    return true;
}

// A running checksum of the samples (FNV-1a, 64 bits).
void checksum(std::uint64_t &h, const unsigned char *p, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i) {
        h ^= p[i];
        h *= 0x100000001b3ULL;
    }
}

}   // namespace

bool drive_is_image(const std::string &path)
{
    return path.size() > 4 && (path.compare(path.size() - 4, 4, ".cue") == 0 || path.compare(path.size() - 4, 4, ".CUE") == 0);
}

bool drive_read_toc(const std::string &path, disc_toc &toc, std::string &error)
{
    cdio_handle p = open_drive(path, error);
    return p != nullptr && read_toc(p.get(), toc, error);
}

rip_result drive_rip_track(const std::string &path, std::uint32_t expected_id, int track, const std::string &out_path,
                           int speed, const rip_progress &progress, void (*on_read_error)(long sector),
                           std::string &error)
{
    cdio_handle p = open_drive(path, error);
    disc_toc toc;
    if (p == nullptr || !read_toc(p.get(), toc, error))
        return rip_result::no_disc;
    const std::uint32_t id = cddb_disc_id(toc);
    if (id != expected_id) {
        char text[96];
        std::snprintf(text, sizeof text, "wrong disc: the drive holds %8.8X, not %8.8X", id, expected_id);
        error = text;
        return rip_result::wrong_disc;
    }
    if (track < 1 || track > toc_audio_tracks(toc)) {
        error = "the disc has no audio track " + std::to_string(track);
        return rip_result::no_track;
    }
    cdrom_drive_t *d = cdio_cddap_identify_cdio(p.get(), CDDA_MESSAGE_FORGETIT, nullptr);
    if (d == nullptr) {
        error = "the drive cannot read audio";
        return rip_result::no_disc;
    }
    // Every current (MMC) drive, and every image, gives little-endian samples;
    // guessing from the audio (what an unset value asks for) can guess wrong.
    d->bigendianp = 0;
    struct cdda_closer {
        cdrom_drive_t *d;
        ~cdda_closer() { cdio_cddap_close_no_free_cdio(d); }
    } close_d{d};
    if (cdio_cddap_open(d) != 0) {
        error = "the drive cannot read audio from this disc";
        return rip_result::no_disc;
    }
    const bool image = drive_is_image(path);
    if (speed > 0 && !image)
        cdio_cddap_speed_set(d, speed);
    const lsn_t first = cdio_cddap_track_firstsector(d, static_cast<track_t>(track));
    const lsn_t last = cdio_cddap_track_lastsector(d, static_cast<track_t>(track));
    if (first < 0 || last < first) {
        error = "track " + std::to_string(track) + " has no sectors";
        return rip_result::no_track;
    }
    const std::int64_t sectors = static_cast<std::int64_t>(last) - first + 1;
    const std::uint64_t data_bytes = static_cast<std::uint64_t>(sectors) * k_sector_bytes;
    if (data_bytes + k_wav_header_len > 0xFFFFFFFFULL) {
        error = "track too long for a WAV file";
        return rip_result::no_track;
    }
    const int fd = ::open(out_path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) {
        error = "cannot create " + out_path + " - " + std::strerror(errno);
        return rip_result::write_error;
    }
    struct fd_closer {
        int fd;
        ~fd_closer() { ::close(fd); }
    } close_fd{fd};
    unsigned char head[k_wav_header_len];
    wav_header(head, static_cast<std::uint32_t>(data_bytes));
    if (!write_all_fd(fd, head, sizeof head)) {
        error = "cannot write " + out_path + " - " + std::strerror(errno);
        return rip_result::write_error;
    }
    cdrom_paranoia_t *par = cdio_paranoia_init(d);
    struct paranoia_closer {
        cdrom_paranoia_t *p;
        ~paranoia_closer() { cdio_paranoia_free(p); }
    } close_par{par};
    cdio_paranoia_modeset(par, PARANOIA_MODE_FULL ^ PARANOIA_MODE_NEVERSKIP);
    cdio_paranoia_seek(par, first, SEEK_SET);
    g_on_read_error = on_read_error;
    g_hard_errors = 0;
    std::uint64_t sum = 0xcbf29ce484222325ULL;
    const auto started = std::chrono::steady_clock::now();
    for (std::int64_t i = 0; i < sectors; ++i) {
        if (speed > 0 && image)
            std::this_thread::sleep_until(started + std::chrono::microseconds(i * 1'000'000 / (k_sectors_per_second * speed)));
        const int16_t *buf = cdio_paranoia_read_limited(par, paranoia_callback, 5);
        if (buf == nullptr) {
            error = "read failed at sector " + std::to_string(first + i);
            return rip_result::read_error;
        }
        const auto *bytes = reinterpret_cast<const unsigned char *>(buf);
        checksum(sum, bytes, k_sector_bytes);
        if (!write_all_fd(fd, bytes, k_sector_bytes)) {
            error = "cannot write " + out_path + " - " + std::strerror(errno);
            return rip_result::write_error;
        }
        if (progress)
            progress(i + 1, sectors);
    }
    g_on_read_error = nullptr;
    if (::fsync(fd) != 0) {
        error = "cannot sync " + out_path + " - " + std::strerror(errno);
        return rip_result::write_error;
    }
    // Read the file back: what is on the disk must be what was ripped.
    std::uint64_t back = 0xcbf29ce484222325ULL;
    unsigned char buf[64 * 1024];
    std::uint64_t left = data_bytes;
    off_t at = static_cast<off_t>(k_wav_header_len);
    while (left > 0) {
        const std::size_t want = left < sizeof buf ? static_cast<std::size_t>(left) : sizeof buf;
        const ssize_t n = ::pread(fd, buf, want, at);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            error = "cannot read back " + out_path;
            return rip_result::write_error;
        }
        checksum(back, buf, static_cast<std::size_t>(n));
        left -= static_cast<std::uint64_t>(n);
        at += n;
    }
    if (back != sum) {
        error = "the file read back differs from the rip";
        return rip_result::write_error;
    }
    return rip_result::ok;
}

bool drive_eject(const std::string &path, std::string &error)
{
    if (cdio_eject_media_drive(path.c_str()) != DRIVER_OP_SUCCESS) {
        error = "cannot eject " + path;
        return false;
    }
    return true;
}
