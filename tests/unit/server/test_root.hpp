// Helpers of the server's unit tests: a temporary root folder and album texts.
#pragma once

#include "proto/album_text.hpp"
#include "server/log.hpp"
#include "server/state.hpp"
#include "server/wav.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <sqlite3.h>
#include <string>
#include <vector>

// A fresh root with Media, PlayLists and History, removed afterwards.
struct temp_root {
    std::string dir;

    temp_root()
    {
        log_quiet(true);
        char templ[] = "/tmp/zsrvtestXXXXXX";
        dir = ::mkdtemp(templ);
        for (const char *sub : {"/Media", "/PlayLists", "/History"})
            std::filesystem::create_directory(dir + sub);
    }
    temp_root(const temp_root &) = delete;
    temp_root &operator=(const temp_root &) = delete;
    ~temp_root() { std::filesystem::remove_all(dir); }

    std::string path(const std::string &rel) const { return dir + "/" + rel; }

    void write(const std::string &rel, const std::string &content) const
    {
        std::ofstream(path(rel), std::ios::binary) << content;
    }

    std::string read(const std::string &rel) const
    {
        std::ifstream in(path(rel), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
};

// One track of a test album: title, time, status, on line.
struct test_track {
    std::string title;
    std::string time = "00:03";
    char status = '-';
    int online = 1;
};

// The album text of an album whose tracks share its artist.
inline std::string album_text_of(const std::string &artist, const std::string &title,
                                 const std::vector<test_track> &tracks, std::int64_t last_played = 0)
{
    std::string text = artist + "\n" + title + "\n00:09 - 00000000 1 00000000 0\n";
    for (const test_track &t : tracks) {
        char third[128];
        std::snprintf(third, sizeof third, "%s %c %8.8lX %d %8.8X %d\n", t.time.c_str(), t.status,
                      static_cast<unsigned long>(last_played), t.online, 0u, 0);
        text += artist + "\n" + t.title + "\n" + third;
    }
    return text;
}

// An album of n plain tracks "Song 1".."Song n".
inline std::string simple_album(const std::string &artist, int n)
{
    std::vector<test_track> tracks;
    for (int i = 1; i <= n; ++i)
        tracks.push_back({.title = "Song " + std::to_string(i)});
    return album_text_of(artist, "Album of " + artist, tracks);
}

// Writes a WAV file of `seconds` seconds of silence for a track.
inline void write_media(const server_state &st, int album, int track, int seconds)
{
    write_wav_file(media_path(st.paths.media, album, track), std::string(static_cast<std::size_t>(seconds) * 176400, '\0'));
}

// Another program's connection to a database (to hold its write lock, or to look at its rows).
struct other_writer {
    sqlite3 *db = nullptr;

    explicit other_writer(const std::string &path)
    {
        EXPECT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
        sqlite3_busy_timeout(db, 5000);
    }
    other_writer(const other_writer &) = delete;
    other_writer &operator=(const other_writer &) = delete;
    ~other_writer() { sqlite3_close(db); }

    bool exec(const char *sql) const { return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK; }

    // The number of rows a query counts.
    std::int64_t count(const char *sql) const
    {
        sqlite3_stmt *st = nullptr;
        sqlite3_prepare_v2(db, sql, -1, &st, nullptr);
        const std::int64_t n = sqlite3_step(st) == SQLITE_ROW ? sqlite3_column_int64(st, 0) : -1;
        sqlite3_finalize(st);
        return n;
    }
};
