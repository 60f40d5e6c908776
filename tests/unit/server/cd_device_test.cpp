// The drive through libcdio on generated disc images: the table of contents,
// bit-exact rips, and the rips that must fail.
#include "server/cd_device.hpp"

#include "server/cd_helper.hpp"
#include "test_root.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// An image of audio tracks with the given sectors, random samples; returns the samples.
std::vector<std::string> write_image(const temp_root &r, const std::string &name, const std::vector<int> &sectors,
                                     unsigned seed = 5, const std::string &modes = "")
{
    std::mt19937 rng(seed);
    std::vector<std::string> tracks;
    std::string bin;
    std::string cue = "FILE \"" + name + ".bin\" BINARY\n";
    int at = 0;
    for (std::size_t i = 0; i < sectors.size(); ++i) {
        std::string t(static_cast<std::size_t>(sectors[i]) * k_sector_bytes, '\0');
        for (char &c : t)
            c = static_cast<char>(rng());
        tracks.push_back(t);
        bin += t;
        char line[96];
        std::snprintf(line, sizeof line, "  TRACK %02d %s\n    INDEX 01 %02d:%02d:%02d\n", static_cast<int>(i) + 1,
                      i < modes.size() && modes[i] == 'D' ? "MODE1/2352" : "AUDIO", at / 4500, at / 75 % 60, at % 75);
        cue += line;
        at += sectors[i];
    }
    r.write(name + ".bin", bin);
    r.write(name + ".cue", cue);
    return tracks;
}

TEST(CdDevice, TableOfContentsOfAnImage)
{
    temp_root r;
    write_image(r, "disc", {392, 265, 100}, 5, "AAD");
    disc_toc toc;
    std::string error;
    ASSERT_TRUE(drive_read_toc(r.path("disc.cue"), toc, error)) << error;
    EXPECT_EQ(toc_lines(toc), "track 1 0 1\ntrack 2 392 1\ntrack 3 657 0\nleadout 757\n");
    EXPECT_FALSE(drive_read_toc(r.path("none.cue"), toc, error));
    EXPECT_EQ(error, "cannot open " + r.path("none.cue") + " (is NAME.bin beside NAME.cue?)");
    EXPECT_TRUE(drive_is_image("/x/a.cue"));
    EXPECT_TRUE(drive_is_image("/x/a.CUE"));
    EXPECT_FALSE(drive_is_image("/dev/sr0"));
    EXPECT_FALSE(drive_is_image(".cue"));
}

TEST(CdDevice, RipIsBitExactWithTheCanonicalHeader)
{
    temp_root r;
    const auto tracks = write_image(r, "disc", {392, 265});
    disc_toc toc;
    std::string error;
    ASSERT_TRUE(drive_read_toc(r.path("disc.cue"), toc, error));
    std::int64_t last_done = 0;
    std::int64_t last_total = 0;
    ASSERT_EQ(drive_rip_track(r.path("disc.cue"), cddb_disc_id(toc), 2, r.path("out.wav"), 0,
                              [&](std::int64_t d, std::int64_t t) {
                                  last_done = d;
                                  last_total = t;
                              },
                              nullptr, error),
              rip_result::ok)
        << error;
    EXPECT_EQ(last_done, 265);
    EXPECT_EQ(last_total, 265);
    unsigned char head[k_wav_header_len];
    wav_header(head, static_cast<std::uint32_t>(tracks[1].size()));
    EXPECT_EQ(r.read("out.wav"), std::string(reinterpret_cast<char *>(head), sizeof head) + tracks[1]);
}

TEST(CdDevice, RipRefusals)
{
    temp_root r;
    write_image(r, "disc", {392, 265, 200}, 6, "AAD");
    disc_toc toc;
    std::string error;
    ASSERT_TRUE(drive_read_toc(r.path("disc.cue"), toc, error));
    const std::uint32_t id = cddb_disc_id(toc);
    EXPECT_EQ(drive_rip_track(r.path("disc.cue"), id ^ 1, 1, r.path("o.wav"), 0, {}, nullptr, error),
              rip_result::wrong_disc);
    char expected[96];
    std::snprintf(expected, sizeof expected, "wrong disc: the drive holds %8.8X, not %8.8X", id, id ^ 1);
    EXPECT_EQ(error, expected);
    EXPECT_EQ(drive_rip_track(r.path("disc.cue"), id, 3, r.path("o.wav"), 0, {}, nullptr, error), rip_result::no_track);
    EXPECT_EQ(error, "the disc has no audio track 3");
    EXPECT_EQ(drive_rip_track(r.path("disc.cue"), id, 0, r.path("o.wav"), 0, {}, nullptr, error), rip_result::no_track);
    EXPECT_EQ(drive_rip_track(r.path("gone.cue"), id, 1, r.path("o.wav"), 0, {}, nullptr, error), rip_result::no_disc);
    EXPECT_EQ(drive_rip_track(r.path("disc.cue"), id, 1, r.path("nofolder/o.wav"), 0, {}, nullptr, error),
              rip_result::write_error);
}

// Where the rip of the read-error test truncates the image (the callback has no argument).
std::string g_truncate;

TEST(CdDevice, AReadErrorEndsTheRip)
{
    temp_root r;
    // A track longer than what paranoia reads ahead, so that most of it is read after the cut.
    write_image(r, "disc", {392, 2000});
    disc_toc toc;
    std::string error;
    ASSERT_TRUE(drive_read_toc(r.path("disc.cue"), toc, error));
    g_truncate = r.path("disc.bin");
    const std::uint32_t id = cddb_disc_id(toc);
    const std::string cue = r.path("disc.cue");
    const std::string out = r.path("o.wav");
    // The rip runs in a child, as in the server: a read error ends the process.
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        alarm(60);
        std::string e;
        bool cut = false;
        drive_rip_track(cue, id, 2, out, 0,
                        [&](std::int64_t, std::int64_t) {
                            // The samples vanish under the drive once the rip has begun.
                            if (!cut && truncate(g_truncate.c_str(), 400 * k_sector_bytes) == 0)
                                cut = true;
                        },
                        [](long) { std::_Exit(k_helper_read_error); }, e);
        std::_Exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status)) << "the rip hung or crashed";
    EXPECT_EQ(WEXITSTATUS(status), k_helper_read_error);
}

TEST(CdDevice, HelperPrintsTheTable)
{
    temp_root r;
    write_image(r, "disc", {392, 265});
    int p[2];
    ASSERT_EQ(pipe(p), 0);
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        dup2(p[1], STDOUT_FILENO);
        const std::string cue = r.path("disc.cue");
        char verb[] = "identify";
        std::vector<char> path(cue.begin(), cue.end());
        path.push_back('\0');
        char *argv[] = {verb, path.data(), nullptr};
        std::_Exit(cd_helper_main(2, argv));
    }
    close(p[1]);
    std::string out;
    char buf[512];
    ssize_t n;
    while ((n = read(p[0], buf, sizeof buf)) > 0)
        out.append(buf, static_cast<std::size_t>(n));
    close(p[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_EQ(out, "track 1 0 1\ntrack 2 392 1\nleadout 657\ndone\n");
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

}   // namespace
