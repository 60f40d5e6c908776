#include "cli/cli_args.hpp"
#include "proto/msg_types.hpp"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace {

// Scans an argument vector given without the program name.
cli_options scan(std::initializer_list<const char *> args)
{
    std::vector<const char *> argv = {"zerka"};
    argv.insert(argv.end(), args.begin(), args.end());
    argv.push_back(nullptr);
    return scan_arguments(static_cast<int>(argv.size()) - 1, argv.data());
}

// The flags of a scan as a string of letters, for compact tables:
// p playlist, s search, l list playlists, u use, r print, a add, d delete, h short-list, b album-only, m mode.
std::string flags(const cli_options &o)
{
    std::string f;
    const std::pair<bool, char> bits[] = {{o.playlist, 'p'}, {o.search, 's'},    {o.list_playlists, 'l'},
                                          {o.use, 'u'},      {o.print, 'r'},     {o.add, 'a'},
                                          {o.del, 'd'},      {o.shortlist, 'h'}, {o.album_only, 'b'},
                                          {o.mode, 'm'}};
    for (const auto &[on, letter] : bits)
        if (on)
            f += letter;
    return f;
}

struct scan_case {
    std::vector<const char *> args;
    cli_action action;
    const char *flags;
    std::int64_t type;
    std::int64_t list_type;
    const char *plist_name;
    const char *item;
    const char *artist;
    const char *title;
    const char *mode_name;
    const char *target;
};

const scan_case cases[] = {
    // The immediate operations end the scan.
    {{"--help"}, cli_action::help, "", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--helpme"}, cli_action::help, "", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--next", "--stop"}, cli_action::skip, "", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--skip", "--help"}, cli_action::skip, "", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--stop"}, cli_action::stop, "", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--stop-local"}, cli_action::stop_local, "", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--stop-locally"}, cli_action::stop, "", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--stopnow"}, cli_action::stop, "", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--history"}, cli_action::history, "", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--audio"}, cli_action::audio_on, "", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--audio-off"}, cli_action::audio_off, "", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--playlist-use"}, cli_action::format_error, "p", 0, 0, "current.lst", "", "", "", "", ""},
    // Options before an immediate operation are kept, later ones are not seen.
    {{"--playlist-add", "3/4", "--history", "--mode"}, cli_action::history, "pa", PLIST_ADD, PLIST_ADD, "current.lst",
     "3/4", "", "", "", ""},
    // Playlist options.
    {{"--playlist"}, cli_action::none, "pr", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--playlist-print"}, cli_action::none, "pr", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--playlistx"}, cli_action::none, "pr", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--playlist-search"}, cli_action::none, "psl", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--playlist-use", "rock"}, cli_action::none, "pu", PLIST_APPEND, 0, "rock", "", "", "", "", ""},
    {{"--playlist-add", "12/0"}, cli_action::none, "pa", PLIST_ADD, PLIST_ADD, "current.lst", "12/0", "", "", "", ""},
    {{"--playlist-add"}, cli_action::none, "pa", PLIST_ADD, PLIST_ADD, "current.lst", "", "", "", "", ""},
    {{"--playlist-del", "3/2"}, cli_action::none, "pd", PLIST_DELETE, PLIST_DELETE, "current.lst", "3/2", "", "", "",
     ""},
    // The item is consumed, even when it looks like an option.
    {{"--playlist-add", "--help"}, cli_action::none, "pa", PLIST_ADD, PLIST_ADD, "current.lst", "--help", "", "", "",
     ""},
    // Short-list; taking a track off is DONOTPLAY.
    {{"--shortlist", "5/1"}, cli_action::none, "h", SHORTLIST, SHORTLIST, "current.lst", "5/1", "", "", "", ""},
    {{"--shortlist-del", "12/3"}, cli_action::none, "dh", DONOTPLAY, DONOTPLAY, "current.lst", "12/3", "", "", "", ""},
    // The type is the last option's; the list type the last list change's.
    {{"--playlist-add", "1/1", "--playlist-use", "x"}, cli_action::none, "pua", PLIST_APPEND, PLIST_ADD, "x", "1/1", "",
     "", "", ""},
    // Search strings.
    {{"--search", "--artist", "Abba"}, cli_action::none, "s", 0, 0, "current.lst", "", "Abba", "", "", ""},
    {{"--search", "--title", "Song", "--artist", "A"}, cli_action::none, "s", 0, 0, "current.lst", "", "A", "Song", "",
     ""},
    {{"--artist", "A", "--title", "T", "--search"}, cli_action::none, "s", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--search", "--artist"}, cli_action::none, "s", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--search", "--artists", "X"}, cli_action::none, "s", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--search", "--album", "--title", "T"}, cli_action::none, "sb", 0, 0, "current.lst", "", "", "T", "", ""},
    {{"--albums"}, cli_action::none, "b", 0, 0, "current.lst", "", "", "", "", ""},
    // Mode.
    {{"--mode"}, cli_action::none, "m", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--mode", "play"}, cli_action::none, "m", 0, 0, "current.lst", "", "", "", "play", ""},
    {{"--mode", "-x"}, cli_action::none, "m", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--mode", "--playlist"}, cli_action::none, "m", 0, 0, "current.lst", "", "", "", "", "****"},
    {{"--mode", "--playlist", "rock"}, cli_action::none, "m", 0, 0, "current.lst", "", "", "", "", "rock"},
    {{"--mode", "Play-M", "--playlist", "-odd"}, cli_action::none, "m", 0, 0, "current.lst", "", "", "", "Play-M",
     "-odd"},
    // --playlist before --mode is an ordinary playlist option.
    {{"--playlist", "--mode", "jukebox"}, cli_action::none, "prm", 0, 0, "current.lst", "", "", "", "jukebox", ""},
    // Anything else is ignored.
    {{"hello", "-x", "--"}, cli_action::none, "", 0, 0, "current.lst", "", "", "", "", ""},
    {{"--Help"}, cli_action::none, "", 0, 0, "current.lst", "", "", "", "", ""},
    {{}, cli_action::none, "", 0, 0, "current.lst", "", "", "", "", ""},
};

TEST(CliArgs, TableOfArgumentVectors)
{
    for (const scan_case &c : cases) {
        std::vector<const char *> argv = {"zerka"};
        argv.insert(argv.end(), c.args.begin(), c.args.end());
        std::string where;
        for (const char *a : c.args)
            where += std::string(a) + " ";
        SCOPED_TRACE(where);
        argv.push_back(nullptr);
        const cli_options o = scan_arguments(static_cast<int>(argv.size()) - 1, argv.data());
        EXPECT_EQ(o.action, c.action);
        EXPECT_EQ(flags(o), c.flags);
        EXPECT_EQ(o.type, c.type);
        EXPECT_EQ(o.list_type, c.list_type);
        EXPECT_STREQ(o.plist_name, c.plist_name);
        EXPECT_STREQ(o.item, c.item);
        EXPECT_STREQ(o.artist, c.artist);
        EXPECT_STREQ(o.title, c.title);
        EXPECT_STREQ(o.mode_name, c.mode_name);
        EXPECT_STREQ(o.target, c.target);
    }
}

TEST(CliArgs, LongArgumentsAreCutToTheirBuffers)
{
    const std::string long_text(5000, 'x');
    const cli_options o = scan({"--playlist-use", long_text.c_str(), "--search", "--artist", long_text.c_str(),
                                "--title", long_text.c_str(), "--shortlist", long_text.c_str()});
    EXPECT_EQ(std::string(o.plist_name), long_text.substr(0, sizeof o.plist_name - 1));
    EXPECT_EQ(std::string(o.artist), long_text.substr(0, sizeof o.artist - 1));
    EXPECT_EQ(std::string(o.title), long_text.substr(0, sizeof o.title - 1));
    EXPECT_EQ(std::string(o.item), long_text.substr(0, sizeof o.item - 1));
    const cli_options m = scan({"--mode", long_text.c_str(), "--playlist", long_text.c_str()});
    EXPECT_EQ(std::string(m.mode_name), long_text.substr(0, sizeof m.mode_name - 1));
    EXPECT_EQ(std::string(m.target), long_text.substr(0, sizeof m.target - 1));
}

TEST(CliArgs, AnArgumentCountShorterThanTheVectorIsRespected)
{
    const char *argv[] = {"zerka", "--search", "--artist", "A", nullptr};
    const cli_options o = scan_arguments(3, argv);   // "A" lies beyond the count
    EXPECT_TRUE(o.search);
    EXPECT_STREQ(o.artist, "");
}

}   // namespace
