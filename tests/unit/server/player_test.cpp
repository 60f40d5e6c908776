#include "protocol_fixture.hpp"
#include "server/player.hpp"

#include <algorithm>

namespace {

constexpr std::int64_t k_second = 1'000'000'000;

struct Player : Protocol {
    // Moves the clock on and ticks the player; returns the PLIST_NOW texts sent ("album/track text").
    std::vector<std::string> tick(std::int64_t ns, std::string *pcm = nullptr)
    {
        now_ns += ns;
        outbox box;
        player_tick(st, now_ns, box, pcm);
        collect(box);
        return now_playing();
    }

    std::vector<std::string> now_playing() const
    {
        std::vector<std::string> v;
        for (const sent &s : out)
            if (s.m.type == PLIST_NOW)
                v.push_back(std::to_string(s.m.album) + "/" + std::to_string(s.m.track) + " " + s.m.text);
        return v;
    }

    bool sent_type(std::int64_t type) const
    {
        return std::any_of(out.begin(), out.end(), [&](const sent &s) { return s.m.type == type; });
    }

    // Album 1: two tracks of 2 and 20 seconds, both with media; the console mode, so nothing is chosen.
    void SetUp() override
    {
        Protocol::SetUp();
        add_album(1, album_text_of("One", "First", {{.title = "Short", .time = "00:02"}, {.title = "Long", .time = "00:20"}}));
        write_media(st, 1, 1, 2);
        write_media(st, 1, 2, 20);
        send(a, CONSOLE);
    }
};

TEST_F(Player, GoPlaysTheHeadOfTheCurrentPlaylist)
{
    send(a, PLIST_ADD, 1, 1, "current.lst");
    send(a, PLIST_ADD, 1, 2, "current.lst");
    send(a, GO);
    EXPECT_EQ(now_playing(), std::vector<std::string>{"1/1 2 0 1"});
    EXPECT_TRUE(sent_type(ALBUM_WRITTEN));
    EXPECT_EQ(store_entry(st.store, 1, 1)->plays, 1);
    EXPECT_EQ(store_entry(st.store, 1, 1)->last_played, fixed_clock());
    EXPECT_EQ(send(b, PLIST_GET, 1, 0, "current.lst").text, "0001 02 ");
    const std::vector<std::string> history = history_recent(st.paths.history, 10);
    ASSERT_EQ(history.size(), 1u);
    EXPECT_EQ(history[0], "65000000 0001/01 One                          - Short                         [00:02]");
}

TEST_F(Player, TracksPlayOnTheClockAndTheNextFollows)
{
    send(a, PLIST_ADD, 1, 1, "current.lst");
    send(a, PLIST_ADD, 1, 2, "current.lst");
    send(a, GO);
    EXPECT_TRUE(tick(k_second).empty());
    EXPECT_EQ(player_remaining(st.player), 1);
    EXPECT_EQ(tick(k_second), std::vector<std::string>{"1/2 20 0 1"});
    EXPECT_EQ(tick(5 * k_second), std::vector<std::string>{"1/2 15 0 0"});   // every few seconds
    EXPECT_EQ(tick(15 * k_second / 2), std::vector<std::string>{"1/2 8 0 0"});   // 7.5 s left: rounded up
    EXPECT_TRUE(tick(4 * k_second).empty());
    EXPECT_EQ(tick(7 * k_second / 2), std::vector<std::string>{"65534/0 0 0 0"});   // the end: nothing left
    EXPECT_FALSE(st.player.current);
    EXPECT_TRUE(st.player.running);
}

TEST_F(Player, AnIdleAutoDjStartsWhatIsAdded)
{
    send(a, GO);
    EXPECT_FALSE(st.player.current);
    send(a, PLIST_ADD, 1, 2, "current.lst");
    EXPECT_EQ(now_playing(), std::vector<std::string>{"1/2 20 0 1"});
}

TEST_F(Player, NothingPlaysBeforeGo)
{
    send(a, PLIST_ADD, 1, 2, "current.lst");
    EXPECT_TRUE(tick(3 * k_second).empty());
    EXPECT_FALSE(st.player.current);
    EXPECT_EQ(send(a, SKIP).album, 0xFFFF);   // nothing to skip
}

TEST_F(Player, SkipFadesOutOverEightSeconds)
{
    send(a, PLIST_ADD, 1, 2, "current.lst");
    send(a, GO);
    tick(2 * k_second);
    const frame_fields r = send(a, SKIP);
    EXPECT_EQ(r.album, 1);
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_EQ(notices()[0].m.type, SKIP);
    EXPECT_EQ(notices()[0].to, target::others);
    EXPECT_EQ(player_remaining(st.player), 8);
    std::string pcm;
    tick(7 * k_second, &pcm);
    EXPECT_TRUE(st.player.current);
    EXPECT_EQ(pcm.size(), 7u * 176400u);
    tick(k_second);
    EXPECT_FALSE(st.player.current);
}

TEST_F(Player, StopEndsTheAutoDjWithTheTrack)
{
    send(a, PLIST_ADD, 1, 1, "current.lst");
    send(a, PLIST_ADD, 1, 2, "current.lst");
    send(a, GO);
    send(a, STOP);
    EXPECT_TRUE(st.player.running);
    tick(2 * k_second);
    EXPECT_FALSE(st.player.current);
    EXPECT_FALSE(st.player.running);
    EXPECT_EQ(send(a, PLIST_GET, 1, 0, "current.lst").text, "0001 02 ");   // left for later
    send(a, GO);
    EXPECT_EQ(st.player.current->track, 2);
}

TEST_F(Player, PauseHoldsTheClock)
{
    send(a, PLIST_ADD, 1, 2, "current.lst");
    send(a, GO);
    tick(k_second);
    send(a, PAUSE);
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_EQ(notices()[0].m.type, PAUSE);
    EXPECT_EQ(tick(10 * k_second), std::vector<std::string>{"1/2 19 1 0"});
    send(a, PAUSE);
    tick(k_second);
    EXPECT_EQ(player_remaining(st.player), 18);
}

TEST_F(Player, UnplayableAndOffLineEntriesAreSkipped)
{
    add_album(2, album_text_of("Two", "Second", {{.title = "Bad", .status = 'U'}, {.title = "Away", .online = 0},
                                                 {.title = "Lost"}}));
    write_media(st, 2, 1, 2);
    write_media(st, 2, 2, 2);
    for (int t = 1; t <= 3; ++t)
        send(a, PLIST_ADD, 2, t, "current.lst");
    send(a, PLIST_ADD, 1, 1, "current.lst");
    send(a, GO);
    EXPECT_EQ(now_playing(), std::vector<std::string>{"1/1 2 0 1"});
    EXPECT_EQ(store_entry(st.store, 2, 3)->online, 0);   // its media is missing: now off line
    EXPECT_EQ(send(a, PLIST_GET, 1, 0, "current.lst").text, "");
}

TEST_F(Player, TheAutoDjChoosesForItsModeAndPlaysChainsWhole)
{
    add_album(3, album_text_of("Three", "Third", {{.title = "A", .time = "00:01"}, {.title = "B", .time = "00:01"},
                                                  {.title = "C", .time = "00:01", .status = 'S'}}));
    for (int t = 1; t <= 3; ++t)
        write_media(st, 3, t, 1);
    ASSERT_TRUE(store_link(st.store, 3, 1, 3, 1));
    ASSERT_TRUE(store_link(st.store, 3, 3, 3, 1));
    send(a, JUKEBOX);   // leaves the console; the short-list is 3/3, which is chained behind 3/1
    send(a, GO);
    EXPECT_EQ(now_playing(), std::vector<std::string>{"3/1 1 0 1"});
    EXPECT_EQ(tick(k_second), std::vector<std::string>{"3/3 1 0 1"});
}

TEST_F(Player, AudioFollowsTheClock)
{
    send(a, PLIST_ADD, 1, 2, "current.lst");
    send(a, GO);
    std::string pcm;
    tick(k_second / 20, &pcm);
    EXPECT_EQ(pcm.size(), 8820u);
    tick(k_second / 3, &pcm);   // 14699.99 frames: the part frame carries over
    EXPECT_EQ(pcm.size(), 8820u + 14699u * 4u);
    tick(k_second - k_second / 3, &pcm);
    EXPECT_EQ(pcm.size(), 8820u + 44100u * 4u);
}

TEST(Fade, SamplesRampDownToSilence)
{
    std::string s(16, '\0');
    for (std::size_t i = 0; i < s.size(); i += 2) {
        s[i] = static_cast<char>(0x00);
        s[i + 1] = static_cast<char>(0x40);   // 0x4000 each
    }
    apply_fade(s, 0, 100, 100, 116);
    const auto sample = [&](std::size_t i) {
        return static_cast<std::int16_t>(static_cast<unsigned char>(s[i]) | (static_cast<unsigned char>(s[i + 1]) << 8));
    };
    EXPECT_EQ(sample(0), 0x4000);
    EXPECT_EQ(sample(8), 0x2000);
    EXPECT_LT(sample(14), 0x1000);
    std::string untouched(8, 'x');
    apply_fade(untouched, 0, 0, -1, -1);
    EXPECT_EQ(untouched, std::string(8, 'x'));
}

}   // namespace
