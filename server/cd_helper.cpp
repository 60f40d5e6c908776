#include "server/cd_helper.hpp"

#include "server/cd_device.hpp"
#include "server/cd_disc.hpp"
#include "server/master_link.hpp"
#include "server/wav.hpp"

#include <cdio/logging.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

// One output line, written at once.
void say(const std::string &line)
{
    const std::string l = line + "\n";
    std::fwrite(l.data(), 1, l.size(), stdout);
    std::fflush(stdout);
}

int fail(const std::string &why)
{
    say("error " + why);
    return 1;
}

// libcdio's messages become log lines.
void cdio_log(cdio_log_level_t level, const char *message)
{
    if (level >= CDIO_LOG_WARN && message != nullptr) {
        std::string m = message;
        while (!m.empty() && (m.back() == '\n' || m.back() == '\r'))
            m.pop_back();
        for (char &ch : m)
            if (ch == '\n')
                ch = ' ';
        say("log libcdio: " + m);
    }
}

template <typename T>
bool number(std::string_view s, T &out, int base = 10)
{
    const auto [p, ec] = std::from_chars(s.data(), s.data() + s.size(), out, base);
    return ec == std::errc{} && p == s.data() + s.size();
}

// A read error during a rip: the samples would not be the disc's, so the helper stops here.
[[noreturn]] void read_error(long sector)
{
    say("error read error at sector " + std::to_string(sector));
    std::_Exit(k_helper_read_error);
}

int identify(const std::string &drive)
{
    disc_toc toc;
    std::string error;
    if (!drive_read_toc(drive, toc, error))
        return fail(error);
    std::fputs(toc_lines(toc).c_str(), stdout);
    say("done");
    return 0;
}

int rip(const std::string &drive, std::string_view id_hex, std::string_view track_text, const std::string &out,
        std::string_view speed_text)
{
    std::uint32_t id = 0;
    int track = 0;
    int speed = 0;
    if (!number(id_hex, id, 16) || !number(track_text, track) || !number(speed_text, speed))
        return fail("bad rip arguments");
    int last_percent = -1;
    std::string error;
    const rip_result r = drive_rip_track(
        drive, id, track, out, speed,
        [&](std::int64_t done, std::int64_t total) {
            const int percent = static_cast<int>(done * 100 / total);
            if (percent != last_percent) {
                last_percent = percent;
                say("progress " + std::to_string(percent));
            }
        },
        read_error, error);
    if (r != rip_result::ok)
        return r == rip_result::read_error ? (say("error " + error), k_helper_read_error) : fail(error);
    say("done");
    return 0;
}

int write_image(const std::string &cue, const std::vector<std::string> &wavs)
{
    if (!drive_is_image(cue))
        return fail("the image's name must end in .cue");
    const std::string bin = cue.substr(0, cue.size() - 4) + ".bin";
    const std::string bin_temp = bin + ".part";
    const int out = ::open(bin_temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (out < 0)
        return fail("cannot create " + bin_temp + " - " + std::strerror(errno));
    std::vector<std::int64_t> sizes;
    std::vector<char> buf(1 << 20);
    bool ok = true;
    std::string why;
    for (const std::string &w : wavs) {
        const int in = ::open(w.c_str(), O_RDONLY | O_CLOEXEC);
        unsigned char head[4096];
        const ssize_t got = in < 0 ? -1 : ::read(in, head, sizeof head);
        const off_t size = in < 0 ? 0 : ::lseek(in, 0, SEEK_END);
        wav_layout layout{};
        if (in < 0 || got < 0 || !wav_parse_layout(head, static_cast<std::size_t>(got), size, layout)) {
            why = "cannot read " + w;
            ok = false;
            if (in >= 0)
                ::close(in);
            break;
        }
        std::int64_t left = layout.data_bytes;
        off_t at = static_cast<off_t>(layout.data_offset);
        while (ok && left > 0) {
            const std::size_t want = static_cast<std::size_t>(std::min<std::int64_t>(left, static_cast<std::int64_t>(buf.size())));
            const ssize_t n = ::pread(in, buf.data(), want, at);
            if (n <= 0 || ::write(out, buf.data(), static_cast<std::size_t>(n)) != n) {
                why = "cannot copy " + w;
                ok = false;
                break;
            }
            left -= n;
            at += n;
        }
        ::close(in);
        // The last sector of a track is filled up with silence.
        const std::int64_t pad = (k_sector_bytes - layout.data_bytes % k_sector_bytes) % k_sector_bytes;
        std::vector<char> zeros(static_cast<std::size_t>(pad), '\0');
        if (ok && pad > 0 && ::write(out, zeros.data(), zeros.size()) != static_cast<ssize_t>(zeros.size())) {
            why = "cannot write " + bin_temp;
            ok = false;
        }
        if (!ok)
            break;
        sizes.push_back(layout.data_bytes);
    }
    if (ok && ::fsync(out) != 0) {
        why = "cannot sync " + bin_temp;
        ok = false;
    }
    ::close(out);
    if (!ok || std::rename(bin_temp.c_str(), bin.c_str()) != 0) {
        ::unlink(bin_temp.c_str());
        return fail(why.empty() ? "cannot write " + bin : why);
    }
    const disc_toc toc = backup_toc(backup_track_sectors(sizes));
    const std::size_t slash = bin.rfind('/');
    const std::string text = image_cue_text(slash == std::string::npos ? bin : bin.substr(slash + 1), toc);
    const std::string cue_temp = cue + ".part";
    std::FILE *f = std::fopen(cue_temp.c_str(), "w");
    if (f == nullptr)
        return fail("cannot create " + cue_temp);
    const bool written = std::fwrite(text.data(), 1, text.size(), f) == text.size() && std::fflush(f) == 0 &&
                         ::fsync(fileno(f)) == 0;
    if (std::fclose(f) != 0 || !written || std::rename(cue_temp.c_str(), cue.c_str()) != 0) {
        ::unlink(cue_temp.c_str());
        return fail("cannot write " + cue);
    }
    say("done");
    return 0;
}

}   // namespace

int cd_helper_main(int argc, char **argv)
{
    cdio_log_set_handler(cdio_log);
    if (argc < 1)
        return fail("no verb");
    const std::string_view verb = argv[0];
    std::string error;
    if (verb == "identify" && argc == 2)
        return identify(argv[1]);
    if (verb == "rip" && argc == 6)
        return rip(argv[1], argv[2], argv[3], argv[4], argv[5]);
    if (verb == "eject" && argc == 2) {
        if (!drive_eject(argv[1], error))
            return fail(error);
        say("done");
        return 0;
    }
    if (verb == "master-read" && argc == 3) {
        int album = 0;
        std::string text;
        if (!number(std::string_view(argv[2]), album) || !master_read_album(argv[1], album, text, error))
            return fail(error.empty() ? "bad album number" : error);
        std::fwrite(text.data(), 1, text.size(), stdout);
        std::fflush(stdout);
        return 0;
    }
    if (verb == "master-online" && argc == 4) {
        int album = 0;
        int track = 0;
        if (!number(std::string_view(argv[2]), album) || !number(std::string_view(argv[3]), track))
            return fail("bad album or track number");
        if (!master_mark_online(argv[1], album, track, error))
            return fail(error);
        say("done");
        return 0;
    }
    if (verb == "write-image" && argc >= 3)
        return write_image(argv[1], std::vector<std::string>(argv + 2, argv + argc));
    return fail("unknown helper verb or wrong arguments");
}
