#include "server/history.hpp"
#include "server/playlists.hpp"
#include "test_root.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

// Local time of a date, for file names.
std::time_t local_time(int year, int month, int day, int hour, int minute, int second)
{
    std::tm tm{};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    tm.tm_isdst = -1;
    return std::mktime(&tm);
}

std::string entry(std::time_t when, int album, int track)
{
    char line[128];
    format_plist_line(line, sizeof line, static_cast<std::uint64_t>(when), album, track, "Artist", "Title", "00:04");
    return line;
}

TEST(History, FilesAreNamedByTheirStart)
{
    EXPECT_EQ(history_file_name(local_time(2024, 3, 7, 9, 5, 1)), "240307090501.hst");
}

TEST(History, ANewFileStartsEachDay)
{
    temp_root root;
    history_log h{.dir = root.path("History"), .current = {}};
    const std::time_t day1 = local_time(2024, 3, 7, 22, 0, 0);
    const std::time_t day2 = local_time(2024, 3, 8, 0, 1, 0);
    ASSERT_TRUE(history_append(h, day1, entry(day1, 1, 1)));
    ASSERT_TRUE(history_append(h, day1 + 60, entry(day1 + 60, 1, 2)));
    ASSERT_TRUE(history_append(h, day2, entry(day2, 2, 1)));
    EXPECT_EQ(dir_listing(root.path("History")), "240307220000.hst\n240308000100.hst\n");
    EXPECT_EQ(root.read("History/240307220000.hst"), entry(day1, 1, 1) + "\n" + entry(day1 + 60, 1, 2) + "\n");
}

TEST(History, ARestartGoesOnWithTodaysFile)
{
    temp_root root;
    const std::time_t t = local_time(2024, 3, 7, 10, 0, 0);
    root.write("History/240307080000.hst", entry(t - 7200, 5, 5) + "\n");
    history_log h{.dir = root.path("History"), .current = {}};
    ASSERT_TRUE(history_append(h, t, entry(t, 1, 1)));
    EXPECT_EQ(h.current, "240307080000.hst");
    EXPECT_EQ(history_read_file(root.path("History/240307080000.hst")).size(), 2u);
}

TEST(History, RecentHistorySpansFilesOldestFirst)
{
    temp_root root;
    const std::time_t t = local_time(2024, 3, 7, 10, 0, 0);
    root.write("History/240306100000.hst", entry(t - 86400, 1, 1) + "\n" + entry(t - 86000, 1, 2) + "\n");
    root.write("History/240307100000.hst", entry(t, 2, 1) + "\nnot an entry\n" + entry(t + 10, 2, 2) + "\n");
    root.write("History/notes.txt", entry(t, 9, 9) + "\n");
    const std::vector<std::string> all = history_recent(root.path("History"), 100);
    ASSERT_EQ(all.size(), 4u);
    EXPECT_EQ(all.front(), entry(t - 86400, 1, 1));
    EXPECT_EQ(all.back(), entry(t + 10, 2, 2));
    const std::vector<std::string> last3 = history_recent(root.path("History"), 3);
    ASSERT_EQ(last3.size(), 3u);
    EXPECT_EQ(last3.front(), entry(t - 86000, 1, 2));
}

TEST(History, RequestTextsNameTheRecentHistoryOrOneFile)
{
    temp_root root;
    const std::time_t t = local_time(2024, 3, 7, 10, 0, 0);
    root.write("History/240307100000.hst", entry(t, 2, 1) + "\n");
    root.write("secret.hst", entry(t, 6, 6) + "\n");
    const std::string dir = root.path("History");
    EXPECT_EQ(history_lines_for(dir, "history.hst").size(), 1u);
    EXPECT_EQ(history_lines_for(dir, "/elsewhere/History/240307100000.hst").size(), 1u);
    EXPECT_EQ(history_lines_for(dir, "240307100000.hst").size(), 1u);
    EXPECT_TRUE(history_lines_for(dir, "/x/History/nothing.hst").empty());
    EXPECT_TRUE(history_lines_for(dir, "../secret.hst").empty());
    EXPECT_TRUE(history_lines_for(dir, "/x/History/").empty());
    EXPECT_TRUE(history_lines_for(dir, "/x/History/..").empty());
}

}   // namespace
