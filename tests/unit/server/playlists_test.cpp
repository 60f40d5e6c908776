#include "server/playlists.hpp"
#include "sync_probe.hpp"
#include "test_root.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

playlist of(std::initializer_list<plist_entry> pairs)
{
    playlist p;
    for (const plist_entry &e : pairs) {
        char line[128];
        format_plist_line(line, sizeof line, 0, e.album, e.track, "Artist", "Title", "03:00");
        p.items.push_back({e.album, e.track, line});
    }
    return p;
}

std::string order(const playlist &p)
{
    std::string s;
    for (const plist_item &i : p.items)
        s += std::to_string(i.album) + "/" + std::to_string(i.track) + " ";
    return s;
}

struct name_case {
    const char *name;
    bool ok;
};

TEST(Playlists, NamesStayInsideTheFolder)
{
    constexpr name_case cases[] = {
        {"party", true},        {"current.lst", true},  {"Evening mix", true}, {"", false},
        {"../zerka.db", false}, {"a/b", false},         {"..", false},         {".hidden", false},
        {"a..b", false},        {"tab\tname", false},   {"/etc/passwd", false},
    };
    for (const name_case &c : cases)
        EXPECT_EQ(plist_name_ok(c.name), c.ok) << c.name;
    EXPECT_TRUE(plist_name_ok(std::string(64, 'n')));
    EXPECT_FALSE(plist_name_ok(std::string(65, 'n')));
}

TEST(Playlists, AddRefusesWhatIsAlreadyThere)
{
    playlist p = of({{1, 1}});
    EXPECT_FALSE(plist_append(p, 1, 1, "x"));
    EXPECT_TRUE(plist_append(p, 1, 2, "y"));
    EXPECT_EQ(order(p), "1/1 1/2 ");
}

TEST(Playlists, AFullPlaylistTakesNoMore)
{
    playlist p;
    for (int i = 0; i < static_cast<int>(k_plist_max_entries); ++i)
        ASSERT_TRUE(plist_append(p, 1 + i / 99, 1 + i % 99, "x"));
    EXPECT_FALSE(plist_append(p, 3000, 1, "x"));
    EXPECT_EQ(plist_transfer_text(p).size(), k_text_max);
}

TEST(Playlists, MovesAndEdges)
{
    playlist p = of({{1, 1}, {2, 2}, {3, 3}});
    EXPECT_TRUE(plist_move_up(p, 2, 2));
    EXPECT_EQ(order(p), "2/2 1/1 3/3 ");
    EXPECT_TRUE(plist_move_up(p, 2, 2));   // already first
    EXPECT_EQ(order(p), "2/2 1/1 3/3 ");
    EXPECT_TRUE(plist_move_down(p, 2, 2));
    EXPECT_EQ(order(p), "1/1 2/2 3/3 ");
    EXPECT_TRUE(plist_move_down(p, 3, 3));   // already last
    EXPECT_EQ(order(p), "1/1 2/2 3/3 ");
    EXPECT_TRUE(plist_move_top(p, 3, 3));
    EXPECT_EQ(order(p), "3/3 1/1 2/2 ");
    EXPECT_FALSE(plist_move_up(p, 4, 4));
    EXPECT_FALSE(plist_move_down(p, 4, 4));
    EXPECT_FALSE(plist_move_top(p, 4, 4));
    EXPECT_TRUE(plist_erase(p, 1, 1));
    EXPECT_FALSE(plist_erase(p, 1, 1));
    EXPECT_EQ(order(p), "3/3 2/2 ");
}

TEST(Playlists, ShuffleKeepsEveryTrack)
{
    playlist p = of({{1, 1}, {1, 2}, {1, 3}, {1, 4}, {1, 5}, {1, 6}});
    std::mt19937 rng(7);
    plist_shuffle(p, rng);
    EXPECT_EQ(p.items.size(), 6u);
    for (int t = 1; t <= 6; ++t)
        EXPECT_GE(plist_find(p, 1, t), 0);
}

TEST(Playlists, TransferTextIsEightCharactersARecord)
{
    EXPECT_EQ(plist_transfer_text(of({{12, 3}, {1, 10}, {9000, 1}})), "0012 03 0001 10 9000 01 ");
    EXPECT_EQ(plist_transfer_text(playlist{}), "");
}

TEST(Playlists, FilesRoundTripThroughATemporaryFile)
{
    temp_root root;
    const std::string path = root.path("PlayLists/party");
    const playlist p = of({{1, 2}, {3, 4}});
    ASSERT_TRUE(plist_save(path, p));
    EXPECT_EQ(root.read("PlayLists/party"),
              "00000000 0001/02 Artist                       - Title                         [03:00]\n"
              "00000000 0003/04 Artist                       - Title                         [03:00]\n");
    EXPECT_FALSE(std::filesystem::exists(root.path("PlayLists/.party.tmp")));
    playlist back;
    ASSERT_TRUE(plist_load(path, back));
    EXPECT_EQ(order(back), "1/2 3/4 ");
    EXPECT_EQ(back.items[0].line, p.items[0].line);
}

TEST(Playlists, LoadingSkipsLinesThatAreNotTracks)
{
    temp_root root;
    root.write("PlayLists/odd", "garbage\n5A010001 0001/01 A - B [00:04]\r\n\nFFFF 99999/01 x\n0 0002/03 C - D [00:05]\n");
    playlist p;
    ASSERT_TRUE(plist_load(root.path("PlayLists/odd"), p));
    EXPECT_EQ(order(p), "1/1 2/3 ");
    EXPECT_FALSE(plist_load(root.path("PlayLists/none"), p));
}

TEST(Playlists, ListingIsSortedWithoutHiddenFilesOrFolders)
{
    temp_root root;
    root.write("PlayLists/party", "");
    root.write("PlayLists/current.lst", "");
    root.write("PlayLists/.party.tmp", "");
    root.write("PlayLists/Zed", "");
    std::filesystem::create_directory(root.path("PlayLists/folder"));
    EXPECT_EQ(dir_listing(root.path("PlayLists")), "Zed\ncurrent.lst\nparty\n");
    EXPECT_EQ(dir_listing(root.path("nothing")), "");
}

TEST(Playlists, AFileIsOnTheDiskWithItsNameBeforeTheSaveReturns)
{
    temp_root root;
    const std::string dir = std::filesystem::canonical(root.path("PlayLists")).string();
    sync_probe_start();
    ASSERT_TRUE(plist_save(root.path("PlayLists/party"), of({{1, 2}})));
    const std::vector<sync_event> calls = sync_probe_stop();
    // The new file's bytes, then the rename, then the folder that holds the new name.
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0].call, "fsync");
    EXPECT_EQ(calls[0].path, dir + "/.party.tmp");
    EXPECT_EQ(calls[1].call, "rename");
    EXPECT_EQ(calls[1].path, root.path("PlayLists/party"));
    EXPECT_EQ(calls[2].call, "fsync");
    EXPECT_EQ(calls[2].path, dir);
}

}   // namespace
