// The CD requests of a server with a drive (and of one without), without a
// disc in the drive: what is answered and what every client is told.
#include "server/cd_drive.hpp"

#include "protocol_fixture.hpp"

#include <gtest/gtest.h>

namespace {

struct Drive : Protocol {
    void SetUp() override
    {
        Protocol::SetUp();
        cd_options opt;
        opt.drive = root.path("drive.cue");
        opt.helper = "/bin/false";   // no disc is ever put in here: no helper runs
        std::string error;
        ASSERT_TRUE(cd_drive_open(st, opt, error)) << error;
        add_album(1, album_with_ident(0x0E02E203));
        add_album(2, album_with_ident(0));
    }
    void TearDown() override { cd_drive_close(st); }

    // An album of three tracks, the second on line.
    static std::string album_with_ident(unsigned ident)
    {
        char id[16];
        std::snprintf(id, sizeof id, "%8.8X", ident);
        std::string t = std::string("A\nB\n00:09 - 00000000 1 ") + id + " 0\n";
        for (int i = 1; i <= 3; ++i)
            t += "A\nSong " + std::to_string(i) + "\n00:03 - 00000000 " + (i == 2 ? "1 " : "0 ") + id + " 0\n";
        return t;
    }

    // The notices of the last request as (type, album, track).
    std::vector<std::tuple<std::int64_t, std::int64_t, std::int64_t>> told() const
    {
        std::vector<std::tuple<std::int64_t, std::int64_t, std::int64_t>> v;
        for (const sent &s : notices()) {
            EXPECT_EQ(s.to, target::all);
            v.emplace_back(s.m.type, s.m.album, s.m.track);
        }
        return v;
    }
};

using T = std::tuple<std::int64_t, std::int64_t, std::int64_t>;

TEST_F(Drive, ATrackWhoseDiscIsNotThereIsAskedFor)
{
    const frame_fields r = send(a, RET_TRACK, 1, 3);
    EXPECT_EQ(r.type, RET_TRACK);
    EXPECT_EQ(r.sequence, 0x0105);
    EXPECT_EQ(r.album, 1);
    EXPECT_EQ(r.track, 3);
    EXPECT_EQ(told(), (std::vector<T>{{RET_REQ, 1, 3}}));
    EXPECT_EQ(send(b, RET_TRACK, 1, 1).album, 1);
    EXPECT_TRUE(told().empty());   // asked already
    // Cancelled by another client: everyone hears of it.
    const frame_fields c = send(b, CANCEL, 1);
    EXPECT_EQ(c.album, 1);
    EXPECT_EQ(c.track, 2);
    EXPECT_EQ(told(), (std::vector<T>{{CANCELLED, 1, 0}}));
}

TEST_F(Drive, RefusedRetrievals)
{
    EXPECT_EQ(send(a, RET_TRACK, 1, 0).album, 0xFFFF);
    EXPECT_EQ(send(a, RET_TRACK, 1, 100).album, 0xFFFF);
    EXPECT_EQ(send(a, RET_TRACK, 0, 1).album, 0xFFFF);
    EXPECT_EQ(send(a, RET_TRACK, 3001, 1).album, 0xFFFF);
    // An album without a CD ident fails at once.
    EXPECT_EQ(send(a, RET_TRACK, 2, 1).album, 2);
    EXPECT_EQ(told(), (std::vector<T>{{RET_FAILED, 2, 1}}));
    // An album this server does not know has no CD ident either.
    EXPECT_EQ(send(a, RET_TRACK, 77, 1).album, 77);
    EXPECT_EQ(told(), (std::vector<T>{{RET_FAILED, 77, 1}}));
}

TEST_F(Drive, RetCheckQueuesTheOffLineTracks)
{
    const frame_fields r = send(a, RET_CHECK, 1, 2);
    EXPECT_EQ(r.album, 1);
    EXPECT_EQ(r.track, 2);   // tracks 1 and 3
    EXPECT_EQ(told(), (std::vector<T>{{RET_REQ, 1, 1}}));
    EXPECT_EQ(send(a, RET_CHECK, 55, 0).album, 0);
    // Cancel with the client's "no album" cancels everything.
    const frame_fields c = send(a, CANCEL, 0xFFFE);
    EXPECT_EQ(c.track, 2);
    EXPECT_EQ(told(), (std::vector<T>{{CANCELLED, 1, 0}}));
}

TEST_F(Drive, NoDiscInTheDrive)
{
    EXPECT_EQ(send(a, ALBUM_READ, 0).album, 0xFFFE);
    EXPECT_EQ(send(a, ALBUM_WRITE, 0, 0, album_with_ident(5)).album, 0xFFFF);
    EXPECT_EQ(send(a, CD_WAITING, 0, 1).album, 0);
    EXPECT_EQ(send(a, CD_EJECT, 1).album, 0);
    EXPECT_TRUE(out.size() == 1);
}

TEST_F(Drive, AnImageCannotBeBurnt)
{
    const frame_fields r = send(a, WRITE_CD, 1);
    EXPECT_EQ(r.album, 1);
    EXPECT_EQ(r.track, 1);
}

struct SimulatedDrive : Drive {
    void SetUp() override
    {
        Protocol::SetUp();
        cd_options opt;
        opt.drive = root.path("drive.cue");
        opt.helper = "/bin/false";
        opt.simulate = true;
        std::string error;
        ASSERT_TRUE(cd_drive_open(st, opt, error)) << error;
        add_album(1, album_with_ident(0x0E02E203));
    }
};

TEST_F(SimulatedDrive, ABackupNeedsEveryMediaFile)
{
    EXPECT_EQ(send(a, WRITE_CD, 1).track, 4);   // no media at all
    write_media(st, 1, 1, 4);
    write_media(st, 1, 2, 4);
    EXPECT_EQ(send(a, WRITE_CD, 1).track, 4);   // track 3 missing
    EXPECT_EQ(send(a, WRITE_CD, 9).track, 4);   // no such album
    EXPECT_EQ(send(a, WRITE_CD, 0).album, 1);
}

TEST(CdDriveOptions, Checked)
{
    temp_root root;
    server_state st;
    std::string error;
    ASSERT_TRUE(state_open(st, root.dir, error));
    cd_options opt;
    EXPECT_TRUE(cd_drive_open(st, opt, error));   // no drive: nothing to set up
    EXPECT_EQ(st.cd, nullptr);
    opt.drive = root.path("d.cue");
    opt.master = "localhost";
    EXPECT_FALSE(cd_drive_open(st, opt, error));
    EXPECT_EQ(error, "--master must be HOST:PORT");
    opt.master = "localhost:7117";
    EXPECT_FALSE(cd_drive_open(st, opt, error));
    EXPECT_EQ(error, "--master needs --master-root (the master's root as seen from this machine)");
    opt.master_root = root.path("nothere");
    EXPECT_FALSE(cd_drive_open(st, opt, error));
    EXPECT_EQ(error, "the media folder " + root.path("nothere") + "/Media is not there");
    opt.master_root = root.dir;
    root.write("Media/.0001_02.wav.rip", "half a rip");
    EXPECT_TRUE(cd_drive_open(st, opt, error)) << error;
    EXPECT_NE(st.cd, nullptr);
    EXPECT_FALSE(std::filesystem::exists(root.path("Media/.0001_02.wav.rip")));
    cd_drive_close(st);
    EXPECT_EQ(st.cd, nullptr);
}

}   // namespace
