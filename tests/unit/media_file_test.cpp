#include "reports/media_file.hpp"

#include "media_folder.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

class MediaFile : public media_test::media_folder {};

TEST_F(MediaFile, ARegularFileOpensForReading)
{
    put("0001_01.wav", media_test::wav_bytes(media_test::frames(10, 1, 1)));
    const int fd = open_regular_file("Media/0001_01.wav");
    ASSERT_GE(fd, 0);
    EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
    char c;
    EXPECT_EQ(read(fd, &c, 1), 1);
    close(fd);
}

TEST_F(MediaFile, AnEmptyFileOpens)
{
    put("0001_01.wav", "");
    const int fd = open_regular_file("Media/0001_01.wav");
    EXPECT_GE(fd, 0);
    close(fd);
}

TEST_F(MediaFile, AMissingFile)
{
    errno = 0;
    EXPECT_EQ(open_regular_file("Media/0001_01.wav"), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(MediaFile, ADirectoryIsRefused)
{
    ASSERT_EQ(mkdir("Media/0001_01.wav", 0755), 0);
    errno = 0;
    EXPECT_EQ(open_regular_file("Media/0001_01.wav"), -1);
    EXPECT_EQ(errno, EISDIR);
}

TEST_F(MediaFile, AFifoIsRefusedAtOnceEvenWithAWriter)
{
    ASSERT_EQ(mkfifo("Media/0001_01.wav", 0644), 0);
    errno = 0;
    EXPECT_EQ(open_regular_file("Media/0001_01.wav"), -1);   // no writer: a blocking open would wait for ever
    EXPECT_EQ(errno, ENXIO);
    const int writer = open("Media/0001_01.wav", O_RDWR);   // one end held open, data waiting
    ASSERT_GE(writer, 0);
    ASSERT_EQ(write(writer, "RIFF", 4), 4);
    errno = 0;
    EXPECT_EQ(open_regular_file("Media/0001_01.wav"), -1);
    EXPECT_EQ(errno, ENXIO);
    close(writer);
}

TEST_F(MediaFile, ASocketIsRefused)
{
    const int s = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(s, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    std::snprintf(addr.sun_path, sizeof addr.sun_path, "%s", "Media/0001_01.wav");
    ASSERT_EQ(bind(s, reinterpret_cast<sockaddr *>(&addr), sizeof addr), 0);
    errno = 0;
    EXPECT_EQ(open_regular_file("Media/0001_01.wav"), -1);
    EXPECT_EQ(errno, ENXIO);
    close(s);
}

TEST_F(MediaFile, ADeviceIsRefused)
{
    ASSERT_EQ(symlink("/dev/zero", "Media/0001_01.wav"), 0);
    errno = 0;
    EXPECT_EQ(open_regular_file("Media/0001_01.wav"), -1);
    EXPECT_EQ(errno, ENXIO);
}

TEST_F(MediaFile, ASymbolicLinkToAFileOpens)
{
    put("real.wav", "RIFF");
    ASSERT_EQ(symlink("real.wav", "Media/0001_01.wav"), 0);
    const int fd = open_regular_file("Media/0001_01.wav");
    EXPECT_GE(fd, 0);
    close(fd);
}

}   // namespace
