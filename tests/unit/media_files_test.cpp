// Exported file names, the ripping tool's arguments, and copying in blocks.
#include "media/media_files.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

TEST(ExportFileName, FolderArtistAndTitleMakeTheName)
{
    char buf[256];
    ASSERT_TRUE(export_file_name(buf, sizeof buf, "/tmp/Export", "It's \"Quoted\" $HOME;", "A  B"));
    EXPECT_STREQ("/tmp/Export/It's \"Quoted\" $HOME; - A  B.wav", buf);
}

TEST(ExportFileName, SlashInArtistOrTitleIsRefused)
{
    char buf[256];
    errno = 0;
    EXPECT_FALSE(export_file_name(buf, sizeof buf, "/tmp/Export", "AC/DC", "Song"));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_STREQ("/tmp/Export/AC/DC - Song.wav", buf);
    EXPECT_FALSE(export_file_name(buf, sizeof buf, "/tmp/Export", "X", "../../../etc/passwd"));
    EXPECT_EQ(EINVAL, errno);
}

TEST(ExportFileName, NoFolderOrTooLongIsRefused)
{
    char buf[32];
    EXPECT_FALSE(export_file_name(buf, sizeof buf, "", "A", "B"));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_FALSE(export_file_name(buf, sizeof buf, "/tmp/Export", "A long artist name", "B"));
    EXPECT_EQ(ENAMETOOLONG, errno);
}

TEST(RipArguments, ParanoiaWordsThenTrackThenOutputAsOneArgument)
{
    const std::vector<std::string> want = {"/usr/bin/cdparanoia", "-q", "-d", "/dev/sr0", "-Z", "7",
                                           "/x/O'Brien \"$X\"; rm - a b.wav"};
    EXPECT_EQ(want, rip_arguments("  -d /dev/sr0\t-Z ", 7, "/x/O'Brien \"$X\"; rm - a b.wav"));
    const std::vector<std::string> bare = {"/usr/bin/cdparanoia", "-q", "12", "/x/a - b.wav"};
    EXPECT_EQ(bare, rip_arguments("", 12, "/x/a - b.wav"));
}

struct temp_folder {
    std::string path;
    temp_folder()
    {
        char templ[] = "/tmp/zkmediaXXXXXX";
        path = mkdtemp(templ);
    }
    ~temp_folder()
    {
        const std::string cmd = "rm -rf '" + path + "'";
        [[maybe_unused]] const int r = std::system(cmd.c_str());
    }
};

std::string contents(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST(CopyFile, CopiesEveryByteAndTruncatesAnOlderFile)
{
    const temp_folder dir;
    std::string data;
    for (int i = 0; i < 1000; ++i)
        data.push_back(static_cast<char>(i * 7));
    std::ofstream(dir.path + "/in.wav", std::ios::binary) << data;
    std::ofstream(dir.path + "/out.wav", std::ios::binary) << std::string(5000, 'x');
    const mode_t old = umask(022);
    EXPECT_EQ(copy_result::done, copy_file((dir.path + "/in.wav").c_str(), (dir.path + "/out.wav").c_str(), 256));
    EXPECT_EQ(copy_result::done, copy_file((dir.path + "/in.wav").c_str(), (dir.path + "/new.wav").c_str(), 4095));
    umask(old);
    EXPECT_EQ(data, contents(dir.path + "/out.wav"));
    EXPECT_EQ(data, contents(dir.path + "/new.wav"));
    struct stat st {};
    ASSERT_EQ(0, stat((dir.path + "/new.wav").c_str(), &st));
    EXPECT_EQ(0755u, st.st_mode & 0777u);
}

TEST(CopyFile, MissingSourceOrFolderIsReported)
{
    const temp_folder dir;
    std::ofstream(dir.path + "/in.wav") << "RIFF";
    EXPECT_EQ(copy_result::source_failed, copy_file((dir.path + "/none.wav").c_str(), (dir.path + "/o.wav").c_str(), 256));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(copy_result::destination_failed,
              copy_file((dir.path + "/in.wav").c_str(), (dir.path + "/no/o.wav").c_str(), 256));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(copy_result::source_failed, copy_file(dir.path.c_str(), (dir.path + "/o.wav").c_str(), 256));
    EXPECT_EQ(EISDIR, errno);
    EXPECT_NE(0, access((dir.path + "/o.wav").c_str(), F_OK));
}

TEST(CopyFile, ShortWriteIsReported)
{
    const temp_folder dir;
    std::ofstream(dir.path + "/in.wav") << "RIFF and more";
    // /dev/full takes no byte.
    EXPECT_EQ(copy_result::short_write, copy_file((dir.path + "/in.wav").c_str(), "/dev/full", 256));
}

}   // namespace
