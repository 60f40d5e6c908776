#include "proto/msg_types.hpp"
#include "server/outbox.hpp"
#include "server/store.hpp"
#include "sync_probe.hpp"
#include "test_root.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>

namespace {

struct Store : ::testing::Test {
    temp_root root;
    album_store s;

    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(store_open(s, root.path("zerka.db"), error)) << error;
    }

    void reopen()
    {
        s = album_store{};
        std::string error;
        ASSERT_TRUE(store_open(s, root.path("zerka.db"), error)) << error;
    }
};

TEST_F(Store, EmptyDatabaseEndsAtTheFirstNumber)
{
    EXPECT_EQ(store_read_answer(s, 1), k_past_the_end);
    EXPECT_EQ(store_read_answer(s, 0), k_no_such_album);
    EXPECT_EQ(store_read_answer(s, 9000), k_no_such_album);
}

TEST_F(Store, GapsAnswerNoSuchAlbumAndTheEndAnswersPastTheEnd)
{
    for (int n : {1, 2, 3, 4, 5, 7})
        // Appended, not "A" + std::to_string(n): GCC 12 sees a false overlap (-Wrestrict) in that at -O3.
        ASSERT_TRUE(store_write_text(s, n, simple_album(std::string("A").append(std::to_string(n)), 2)));
    EXPECT_EQ(store_read_answer(s, 5), 5);
    EXPECT_EQ(store_read_answer(s, 6), k_no_such_album);
    EXPECT_EQ(store_read_answer(s, 7), 7);
    EXPECT_EQ(store_read_answer(s, 8), k_past_the_end);
    EXPECT_EQ(store_read_answer(s, 3000), k_past_the_end);
    EXPECT_EQ(store_read_answer(s, 3001), k_no_such_album);
    EXPECT_EQ(store_read_answer(s, 9019), k_no_such_album);
    EXPECT_EQ(s.max_regular, 7);
}

TEST_F(Store, ReservedNumbersHoldAlbumsToo)
{
    ASSERT_TRUE(store_write_text(s, 9019, simple_album("Temp", 1)));
    EXPECT_EQ(store_read_answer(s, 9019), 9019);
    EXPECT_EQ(store_read_answer(s, 1), k_past_the_end);   // reserved albums do not move the end
}

TEST_F(Store, RefusesNumbersOutsideTheDatabaseAndUntitledAlbums)
{
    EXPECT_FALSE(store_write_text(s, 0, simple_album("A", 1)));
    EXPECT_FALSE(store_write_text(s, 3001, simple_album("A", 1)));
    EXPECT_FALSE(store_write_text(s, 8999, simple_album("A", 1)));
    EXPECT_FALSE(store_write_text(s, 9020, simple_album("A", 1)));
    EXPECT_FALSE(store_write_text(s, 1, ""));
    EXPECT_FALSE(store_write_text(s, 1, "Artist\n\n00:00 - 0 1 0 0\n"));
    EXPECT_EQ(store_get(s, 1), nullptr);
}

TEST_F(Store, TextIsStoredInTheWritersFormat)
{
    ASSERT_TRUE(store_write_text(s, 12, "Ann\nFirst\n03:10 S 1a 1 abc 4\nBob\nSong\n01:00 - 0 0 0 0\n"));
    EXPECT_EQ(std::string(stored_text(*store_get(s, 12))),
              "Ann\nFirst\n03:10 S 0000001A 1 00000ABC 4\nBob\nSong\n01:00 - 00000000 0 00000000 0\n");
    EXPECT_EQ(store_track_count(s, 12), 1);
}

TEST_F(Store, AnEntryWithoutATimeGetsOneSoThatItsTextReadsBackTheSame)
{
    ASSERT_TRUE(store_write_text(s, 4, "Ann\nFirst\n\nAnn\nSong\n   \n"));
    const std::string text(stored_text(*store_get(s, 4)));
    EXPECT_EQ(text, "Ann\nFirst\n00:00 - 00000000 0 00000000 0\nAnn\nSong\n00:00 - 00000000 0 00000000 0\n");
    ASSERT_TRUE(store_write_text(s, 4, text));
    EXPECT_EQ(std::string(stored_text(*store_get(s, 4))), text);
}

TEST_F(Store, LongTextsAreCutToWhatTheClientHolds)
{
    const std::string long_artist(80, 'x');
    ASSERT_TRUE(store_write_text(s, 1, long_artist + "\nTitle\n00:01 - 0 1 0 0\n"));
    EXPECT_EQ(std::string(store_entry(s, 1, 0)->artist), std::string(66, 'x'));
}

TEST_F(Store, AnAlbumHoldsAtMost99Tracks)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("Many", 120)));
    EXPECT_EQ(store_track_count(s, 1), 99);
}

TEST_F(Store, TracksEndAtTheFirstEmptyTitle)
{
    ASSERT_TRUE(store_write_text(s, 1, "A\nAlbum\n00:01 - 0 1 0 0\nA\nOne\n00:01 - 0 1 0 0\nA\n\n00:01 - 0 1 0 0\n"
                                       "A\nThree\n00:01 - 0 1 0 0\n"));
    EXPECT_EQ(store_track_count(s, 1), 1);
}

TEST_F(Store, EverythingSurvivesAReopen)
{
    ASSERT_TRUE(store_write_text(s, 3, simple_album("Kept", 3)));
    ASSERT_TRUE(store_write_text(s, 9001, simple_album("Temp", 1)));
    ASSERT_EQ(store_mark(s, 3, 2, SHORTLIST), change_result::changed);
    ASSERT_TRUE(store_link(s, 3, 1, 3, 1));
    ASSERT_TRUE(store_set_setting(s, "mode", "5"));
    const std::string text(stored_text(*store_get(s, 3)));
    reopen();
    ASSERT_NE(store_get(s, 3), nullptr);
    EXPECT_EQ(std::string(stored_text(*store_get(s, 3))), text);
    EXPECT_EQ(store_entry(s, 3, 2)->status, 'S');
    EXPECT_NE(store_get(s, 9001), nullptr);
    EXPECT_EQ(store_chain(s, 3, 1).size(), 1u);
    EXPECT_EQ(store_setting(s, "mode", "2"), "5");
    EXPECT_EQ(s.max_regular, 3);
}

TEST_F(Store, DeleteRemovesTheAlbumAndMovesTheEnd)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 1)));
    ASSERT_TRUE(store_write_text(s, 2, simple_album("B", 1)));
    EXPECT_TRUE(store_delete(s, 2));
    EXPECT_FALSE(store_delete(s, 2));
    EXPECT_EQ(store_read_answer(s, 2), k_past_the_end);
    reopen();
    EXPECT_EQ(store_get(s, 2), nullptr);
}

struct mark_case {
    std::int64_t type;
    char before;
    char after;
};

TEST_F(Store, SelectionMarksSetTheStatusLetter)
{
    constexpr mark_case cases[] = {
        {SHORTLIST, '-', 'S'}, {SHORTLIST, 'U', 'S'}, {DONOTPLAY, 'S', '-'}, {DONOTPLAY, 'U', 'U'},
        {DONOTPLAY, 'N', 'N'}, {UNPLAYABLE, '-', 'U'}, {UNPLAYABLE, 'S', 'U'}, {NO_SELECT, '-', 'N'},
    };
    for (const mark_case &c : cases) {
        ASSERT_TRUE(store_write_text(s, 1, album_text_of("A", "Album", {{.title = "T", .status = c.before}})));
        const change_result r = store_mark(s, 1, 1, c.type);
        EXPECT_EQ(store_entry(s, 1, 1)->status, c.after) << c.type << " on " << c.before;
        EXPECT_EQ(r, c.before == c.after ? change_result::unchanged : change_result::changed);
    }
}

TEST_F(Store, OfflineClearsTheOnLineFlag)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 2)));
    EXPECT_EQ(store_mark(s, 1, 2, OFFLINE), change_result::changed);
    EXPECT_EQ(store_entry(s, 1, 2)->online, 0);
    EXPECT_EQ(store_entry(s, 1, 1)->online, 1);
    EXPECT_EQ(store_mark(s, 1, 2, OFFLINE), change_result::unchanged);
}

TEST_F(Store, TrackZeroMarksTheWholeAlbum)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 3)));
    EXPECT_EQ(store_mark(s, 1, 0, SHORTLIST), change_result::changed);
    for (int t = 1; t <= 3; ++t)
        EXPECT_EQ(store_entry(s, 1, t)->status, 'S');
    EXPECT_EQ(store_entry(s, 1, 0)->status, '-');
}

TEST_F(Store, MarksOnMissingTracksAreRefused)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 3)));
    EXPECT_EQ(store_mark(s, 1, 4, SHORTLIST), change_result::refused);
    EXPECT_EQ(store_mark(s, 2, 1, SHORTLIST), change_result::refused);
    EXPECT_EQ(store_mark(s, 1, -1, SHORTLIST), change_result::refused);
    EXPECT_EQ(store_mark(s, 1, 1, GO), change_result::refused);
}

TEST_F(Store, GlobalEditReplacesEveryOccurrence)
{
    ASSERT_TRUE(store_write_text(s, 1, album_text_of("The Band", "Album", {{.title = "La la land"}})));
    EXPECT_EQ(store_replace(s, 1, 1, true, "la", "LA"), change_result::changed);
    EXPECT_STREQ(store_entry(s, 1, 1)->title, "La LA LAnd");
    EXPECT_EQ(store_replace(s, 1, 0, false, "The ", ""), change_result::changed);
    EXPECT_STREQ(store_entry(s, 1, 0)->artist, "Band");
    EXPECT_EQ(store_replace(s, 1, 1, true, "zz", "y"), change_result::unchanged);
    EXPECT_EQ(store_replace(s, 1, 1, true, "", "y"), change_result::refused);
    EXPECT_EQ(store_replace(s, 1, 1, true, "La LA LAnd", ""), change_result::refused);   // an empty title
    EXPECT_EQ(store_replace(s, 1, 1, true, "a", std::string(70, 'a')), change_result::refused);   // too long
    EXPECT_EQ(store_replace(s, 1, 2, true, "a", "b"), change_result::refused);
    EXPECT_STREQ(store_entry(s, 1, 1)->title, "La LA LAnd");
}

TEST_F(Store, APlayCountsAndStampsTrackAndAlbum)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 2)));
    EXPECT_TRUE(store_record_play(s, 1, 2, 0x1234));
    EXPECT_TRUE(store_record_play(s, 1, 2, 0x2345));
    EXPECT_EQ(store_entry(s, 1, 2)->plays, 2);
    EXPECT_EQ(store_entry(s, 1, 2)->last_played, 0x2345);
    EXPECT_EQ(store_entry(s, 1, 0)->last_played, 0x2345);
    EXPECT_EQ(store_entry(s, 1, 1)->plays, 0);
    EXPECT_FALSE(store_record_play(s, 1, 3, 1));
    EXPECT_NE(std::string(stored_text(*store_get(s, 1))).find("00:03 - 00002345 1 00000000 2\n"), std::string::npos);
}

TEST_F(Store, ResetSetsEveryPlayCountToZero)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 2)));
    ASSERT_TRUE(store_write_text(s, 2, simple_album("B", 2)));
    ASSERT_TRUE(store_record_play(s, 2, 1, 100));
    EXPECT_EQ(store_reset_plays(s), std::vector<int>{2});
    EXPECT_EQ(store_entry(s, 2, 1)->plays, 0);
    EXPECT_EQ(store_entry(s, 2, 1)->last_played, 100);
    reopen();
    EXPECT_EQ(store_entry(s, 2, 1)->plays, 0);
}

TEST_F(Store, NewNumbersFollowTheHighestAndAreNotHandedOutTwice)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 1)));
    ASSERT_TRUE(store_write_text(s, 3, simple_album("C", 1)));
    EXPECT_EQ(store_allocate(s, false), 4);
    EXPECT_EQ(store_allocate(s, false), 5);
    store_release(s, 5);
    EXPECT_EQ(store_allocate(s, false), 5);
    ASSERT_TRUE(store_write_text(s, 4, simple_album("D", 1)));
    EXPECT_EQ(store_allocate(s, false), 6);
    EXPECT_EQ(store_allocate(s, true), 9000);
    EXPECT_EQ(store_allocate(s, true), 9001);
}

TEST_F(Store, AFullDatabaseGivesGapsThenNothing)
{
    ASSERT_TRUE(store_write_text(s, 3000, simple_album("Last", 1)));
    EXPECT_EQ(store_allocate(s, false), 1);
    for (int n = 0; n < k_temp_albums; ++n)
        EXPECT_EQ(store_allocate(s, true), 9000 + n);
    EXPECT_EQ(store_allocate(s, true), 0);
}

TEST_F(Store, ChainsKeepTheirOrderHeadFirst)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 5)));
    EXPECT_TRUE(store_chain(s, 1, 2).empty());
    EXPECT_TRUE(store_link(s, 1, 2, 1, 2));   // a chain of one
    EXPECT_TRUE(store_link(s, 1, 4, 1, 2));
    EXPECT_TRUE(store_link(s, 1, 1, 1, 2));
    const std::vector<plist_entry> chain = store_chain(s, 1, 4);
    ASSERT_EQ(chain.size(), 3u);
    EXPECT_EQ(chain[0].track, 2);
    EXPECT_EQ(chain[1].track, 4);
    EXPECT_EQ(chain[2].track, 1);
    EXPECT_TRUE(store_link(s, 1, 4, 1, 2));   // already there: nothing moves
    EXPECT_EQ(store_chain(s, 1, 2).size(), 3u);
}

TEST_F(Store, AppendingToAMemberJoinsItsChain)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 5)));
    ASSERT_TRUE(store_link(s, 1, 1, 1, 1));
    ASSERT_TRUE(store_link(s, 1, 2, 1, 1));
    ASSERT_TRUE(store_link(s, 1, 3, 1, 2));   // 1/2 is a member: the chain is 1/1's
    EXPECT_EQ(store_chain(s, 1, 3).front().track, 1);
    EXPECT_EQ(store_chain(s, 1, 1).size(), 3u);
}

TEST_F(Store, ATrackAppendedElsewhereLeavesItsChain)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 5)));
    ASSERT_TRUE(store_link(s, 1, 1, 1, 1));
    ASSERT_TRUE(store_link(s, 1, 2, 1, 1));
    ASSERT_TRUE(store_link(s, 1, 4, 1, 4));
    ASSERT_TRUE(store_link(s, 1, 1, 1, 4));   // the head of 1/1-1/2 moves: 1/2 heads what is left
    EXPECT_EQ(store_chain(s, 1, 2).size(), 1u);
    EXPECT_EQ(store_chain(s, 1, 2).front().track, 2);
    const std::vector<plist_entry> chain = store_chain(s, 1, 1);
    ASSERT_EQ(chain.size(), 2u);
    EXPECT_EQ(chain[0].track, 4);
    EXPECT_EQ(chain[1].track, 1);
}

TEST_F(Store, HeadZeroDeletesTheChain)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 5)));
    ASSERT_TRUE(store_link(s, 1, 1, 1, 1));
    ASSERT_TRUE(store_link(s, 1, 2, 1, 1));
    EXPECT_TRUE(store_link(s, 1, 1, 0, 0));
    EXPECT_TRUE(store_chain(s, 1, 2).empty());
    EXPECT_FALSE(store_link(s, 1, 1, 0, 0));   // no chain left to delete
}

TEST_F(Store, LinksToMissingTracksAreRefused)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 2)));
    EXPECT_FALSE(store_link(s, 1, 3, 1, 3));
    EXPECT_FALSE(store_link(s, 1, 1, 2, 1));
    EXPECT_FALSE(store_link(s, 1, 0, 1, 0));
}

TEST_F(Store, DeletingAnAlbumTakesItsTracksOutOfChains)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 2)));
    ASSERT_TRUE(store_write_text(s, 2, simple_album("B", 2)));
    ASSERT_TRUE(store_link(s, 1, 1, 1, 1));
    ASSERT_TRUE(store_link(s, 2, 1, 1, 1));
    ASSERT_TRUE(store_delete(s, 1));
    const std::vector<plist_entry> chain = store_chain(s, 2, 1);
    ASSERT_EQ(chain.size(), 1u);
    EXPECT_EQ(chain[0].album, 2);
}

TEST_F(Store, MissingMediaTakesTracksOffLine)
{
    server_state st;
    st.paths = paths_for_root(root.dir);
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 2)));
    write_media(st, 1, 1, 1);
    std::vector<int> changed;
    EXPECT_TRUE(store_check_media(s, st.paths.media, changed));
    EXPECT_EQ(changed, std::vector<int>{1});
    EXPECT_EQ(store_entry(s, 1, 1)->online, 1);
    EXPECT_EQ(store_entry(s, 1, 2)->online, 0);
    EXPECT_TRUE(store_check_media(s, st.paths.media, changed));
    EXPECT_TRUE(changed.empty());
}

TEST_F(Store, SettingsFallBackWhenUnset)
{
    EXPECT_EQ(store_setting(s, "selection", "none"), "none");
    EXPECT_TRUE(store_set_setting(s, "selection", "party"));
    EXPECT_EQ(store_setting(s, "selection", "none"), "party");
}

TEST_F(Store, A99TrackAlbumSurvivesAReopenWhole)
{
    ASSERT_TRUE(store_write_text(s, 7, simple_album("Full", 99)));
    ASSERT_EQ(store_track_count(s, 7), 99);
    const std::string text(stored_text(*store_get(s, 7)));
    EXPECT_NE(text.find("Song 99\n"), std::string::npos);
    reopen();
    ASSERT_NE(store_get(s, 7), nullptr);
    EXPECT_EQ(store_track_count(s, 7), 99);
    EXPECT_EQ(std::string(stored_text(*store_get(s, 7))), text);
}

// Gives up the wait for the other program's lock at once, and makes that
// program let go just then: a statement run after the refused BEGIN would
// find the database free and be stored on its own.
int give_up_and_release(void *other, int)
{
    static_cast<other_writer *>(other)->exec("ROLLBACK");
    return 0;
}

TEST_F(Store, ARefusedWriteLeavesNothingInTheDatabase)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("Old", 2)));
    const std::string before(stored_text(*store_get(s, 1)));
    other_writer other(root.path("zerka.db"));
    // Each change meets the other program's lock when it begins.
    const auto locked = [&] {
        EXPECT_TRUE(other.exec("BEGIN IMMEDIATE"));
        sqlite3_busy_handler(s.db.get(), give_up_and_release, &other);
        return true;
    };
    EXPECT_FALSE(locked() && store_write_text(s, 2, simple_album("New", 3)));
    EXPECT_FALSE(locked() && store_write_text(s, 1, simple_album("Changed", 1)));
    EXPECT_FALSE(locked() && store_delete(s, 1));
    EXPECT_TRUE(locked() && store_mark(s, 1, 1, SHORTLIST) == change_result::refused);
    EXPECT_TRUE(locked() && store_replace(s, 1, 1, true, "Song", "Tune") == change_result::refused);
    EXPECT_FALSE(locked() && store_record_play(s, 1, 1, 100));
    EXPECT_FALSE(locked() && store_link(s, 1, 1, 1, 1));
    EXPECT_FALSE(locked() && store_set_setting(s, "mode", "3"));
    EXPECT_FALSE(locked() && store_reset_plays(s).has_value());
    // Nothing of them reached the database, and the copy in memory is as it was.
    EXPECT_EQ(other.count("SELECT COUNT(*) FROM entries WHERE album=2"), 0);
    EXPECT_EQ(other.count("SELECT COUNT(*) FROM entries WHERE album=1"), 3);
    EXPECT_EQ(other.count("SELECT COUNT(*) FROM entries WHERE status='S' OR plays<>0"), 0);
    EXPECT_EQ(other.count("SELECT COUNT(*) FROM chains"), 0);
    EXPECT_EQ(other.count("SELECT COUNT(*) FROM settings"), 0);
    EXPECT_EQ(store_get(s, 2), nullptr);
    EXPECT_EQ(std::string(stored_text(*store_get(s, 1))), before);
    reopen();
    EXPECT_EQ(store_get(s, 2), nullptr);
    EXPECT_EQ(std::string(stored_text(*store_get(s, 1))), before);
}

TEST_F(Store, ALockHeldElsewhereRefusesTheChange)
{
    // A lock another program keeps refuses the change rather than holding up the server.
    other_writer other(root.path("zerka.db"));
    ASSERT_TRUE(other.exec("BEGIN IMMEDIATE"));
    EXPECT_FALSE(store_write_text(s, 2, simple_album("New", 3)));
    ASSERT_TRUE(other.exec("ROLLBACK"));
    EXPECT_EQ(other.count("SELECT COUNT(*) FROM entries"), 0);
    EXPECT_TRUE(store_write_text(s, 2, simple_album("New", 3)));
}

TEST_F(Store, MediaFoundMissingStaysOnLineWhenTheChangeIsRefused)
{
    server_state st;
    st.paths = paths_for_root(root.dir);
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 2)));
    other_writer other(root.path("zerka.db"));
    ASSERT_TRUE(other.exec("BEGIN IMMEDIATE"));
    std::vector<int> changed;
    EXPECT_FALSE(store_check_media(s, st.paths.media, changed));
    EXPECT_TRUE(changed.empty());
    EXPECT_EQ(store_entry(s, 1, 1)->online, 1);
    ASSERT_TRUE(other.exec("ROLLBACK"));
}

// The ALBUM_READ answer (sequence 0000) an album's entries give when formatted
// afresh: what the answer kept with the album must always be.
std::string fresh_reply(const album_store &st, int n)
{
    const stored_album *a = store_get(st, n);
    if (a == nullptr)
        return "(no album)";
    static album_rec rec;
    std::memset(&rec, 0, sizeof rec);
    std::copy_n(a->entries.begin(), std::min<std::size_t>(a->entries.size(), k_max_entries), rec.entry);
    static char buf[k_album_text_max];
    const std::size_t len = format_album_text(rec, buf, sizeof buf);
    return *make_frame(ALBUM_READ, 0, n, 0, std::string_view(buf, len));
}

// Whether every album's kept answer is the one a fresh format gives.
::testing::AssertionResult answers_fresh(const album_store &st)
{
    for (int n = 0; n < k_album_slots; ++n) {
        const stored_album *a = store_get(st, n);
        if (a != nullptr && a->reply != fresh_reply(st, n))
            return ::testing::AssertionFailure() << "album " << n << " keeps\n" << a->reply << "\nbut its entries give\n"
                                                 << fresh_reply(st, n);
    }
    return ::testing::AssertionSuccess();
}

TEST_F(Store, TheKeptAnswerIsTheAlbumsFrameAsAFreshFormatGivesIt)
{
    ASSERT_TRUE(store_write_text(s, 12, "Ann\nFirst\n03:10 S 1a 1 abc 4\nBob\nSong\n01:00 - 0 0 0 0\n"));
    EXPECT_EQ(store_get(s, 12)->reply, "10 0000 000c 0000 004f "
                                       "Ann\nFirst\n03:10 S 0000001A 1 00000ABC 4\nBob\nSong\n01:00 - 00000000 0 00000000 0\n");
    ASSERT_TRUE(store_write_text(s, 9019, simple_album("Temp", 99)));
    EXPECT_TRUE(answers_fresh(s));
}

TEST_F(Store, TheKeptAnswerFollowsEveryWrite)
{
    ASSERT_TRUE(store_write_text(s, 5, simple_album("First", 3)));
    EXPECT_TRUE(answers_fresh(s));
    const std::string three = store_get(s, 5)->reply;
    ASSERT_TRUE(store_write_text(s, 5, simple_album("Second", 1)));   // fewer tracks
    EXPECT_TRUE(answers_fresh(s));
    EXPECT_NE(store_get(s, 5)->reply, three);
    ASSERT_TRUE(store_write_text(s, 5, simple_album("Third", 99)));   // more tracks
    EXPECT_TRUE(answers_fresh(s));
}

TEST_F(Store, TheKeptAnswerFollowsEveryMark)
{
    ASSERT_TRUE(store_write_text(s, 2, simple_album("A", 4)));
    for (const std::int64_t mark : {SHORTLIST, DONOTPLAY, UNPLAYABLE, NO_SELECT, SHORTLIST, OFFLINE}) {
        const std::string before = store_get(s, 2)->reply;
        ASSERT_EQ(store_mark(s, 2, 3, mark), change_result::changed) << mark;
        EXPECT_NE(store_get(s, 2)->reply, before) << mark;
        EXPECT_TRUE(answers_fresh(s)) << mark;
    }
    ASSERT_EQ(store_mark(s, 2, 0, UNPLAYABLE), change_result::changed);   // the whole album
    EXPECT_TRUE(answers_fresh(s));
    ASSERT_EQ(store_mark(s, 2, 0, OFFLINE), change_result::changed);
    EXPECT_TRUE(answers_fresh(s));
    for (int t = 1; t <= 4; ++t)
        EXPECT_EQ(store_entry(s, 2, t)->online, 0);
}

TEST_F(Store, TheKeptAnswerFollowsEditsPlaysAndTheirReset)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("Old Name", 3)));
    ASSERT_TRUE(store_write_text(s, 2, simple_album("Other", 2)));
    ASSERT_EQ(store_replace(s, 1, 0, false, "Old", "New"), change_result::changed);   // the album's artist
    EXPECT_TRUE(answers_fresh(s));
    ASSERT_EQ(store_replace(s, 1, 2, true, "Song", "Tune"), change_result::changed);   // a track's title
    EXPECT_TRUE(answers_fresh(s));
    EXPECT_NE(std::string(stored_text(*store_get(s, 1))).find("Tune 2\n"), std::string::npos);
    ASSERT_TRUE(store_record_play(s, 1, 3, 0x6500abcd));
    ASSERT_TRUE(store_record_play(s, 2, 1, 0x6500abce));
    EXPECT_TRUE(answers_fresh(s));
    EXPECT_NE(std::string(stored_text(*store_get(s, 1))).find("6500ABCD"), std::string::npos);
    const std::optional<std::vector<int>> reset = store_reset_plays(s);
    ASSERT_TRUE(reset.has_value());
    EXPECT_EQ(*reset, (std::vector<int>{1, 2}));
    EXPECT_TRUE(answers_fresh(s));
}

TEST_F(Store, TheKeptAnswerFollowsMediaFoundMissing)
{
    server_state st;
    st.paths = paths_for_root(root.dir);
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 3)));
    ASSERT_TRUE(store_write_text(s, 9000, simple_album("T", 1)));
    write_media(st, 1, 2, 1);
    std::vector<int> changed;
    ASSERT_TRUE(store_check_media(s, st.paths.media, changed));
    EXPECT_EQ(changed, (std::vector<int>{1, 9000}));
    EXPECT_TRUE(answers_fresh(s));
}

TEST_F(Store, TheKeptAnswerIsRebuiltOnLoadAndUnchangedByRefusals)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 2)));
    ASSERT_TRUE(store_write_text(s, 3000, simple_album("Last", 99)));
    ASSERT_EQ(store_mark(s, 3000, 7, SHORTLIST), change_result::changed);
    const std::string last = store_get(s, 3000)->reply;
    reopen();
    EXPECT_EQ(store_get(s, 3000)->reply, last);
    EXPECT_TRUE(answers_fresh(s));
    // A refused change leaves the entries and the answer as they were.
    other_writer other(root.path("zerka.db"));
    ASSERT_TRUE(other.exec("BEGIN IMMEDIATE"));
    EXPECT_EQ(store_mark(s, 1, 1, UNPLAYABLE), change_result::refused);
    EXPECT_FALSE(store_record_play(s, 1, 2, 5));
    EXPECT_EQ(store_replace(s, 1, 1, true, "Song", "Tune"), change_result::refused);
    EXPECT_FALSE(store_write_text(s, 1, simple_album("B", 1)));
    ASSERT_TRUE(other.exec("ROLLBACK"));
    EXPECT_TRUE(answers_fresh(s));
    // A deleted album keeps no answer.
    ASSERT_TRUE(store_delete(s, 3000));
    EXPECT_EQ(store_get(s, 3000), nullptr);
    EXPECT_TRUE(answers_fresh(s));
}

TEST_F(Store, SettingsAreStoredTogetherOrNotAtAll)
{
    const setting_value both[] = {{"selection", "party"}, {"mode", "5"}};
    EXPECT_TRUE(store_set_settings(s, both));
    EXPECT_EQ(store_setting(s, "selection", ""), "party");
    EXPECT_EQ(store_setting(s, "mode", ""), "5");
    other_writer other(root.path("zerka.db"));
    ASSERT_TRUE(other.exec("BEGIN IMMEDIATE"));
    const setting_value next[] = {{"selection", "quiet"}, {"mode", "6"}};
    EXPECT_FALSE(store_set_settings(s, next));
    ASSERT_TRUE(other.exec("ROLLBACK"));
    EXPECT_EQ(store_setting(s, "selection", ""), "party");
    EXPECT_EQ(store_setting(s, "mode", ""), "5");
}

TEST_F(Store, ChangesAreRefusedOnceTheDatabaseFileIsGone)
{
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 1)));
    // The root is removed under the server: the open file would take the
    // change, and no restart would ever see it.
    std::filesystem::remove_all(root.dir);
    EXPECT_FALSE(store_write_text(s, 2, simple_album("B", 1)));
    EXPECT_EQ(store_get(s, 2), nullptr);
    EXPECT_FALSE(store_set_setting(s, "mode", "3"));
    EXPECT_EQ(store_mark(s, 1, 1, SHORTLIST), change_result::refused);
    EXPECT_EQ(store_entry(s, 1, 1)->status, '-');
}

TEST_F(Store, EachChangeIsOnTheDiskBeforeItIsAcknowledged)
{
    // In WAL mode the change is in the log file: synced at each commit, not
    // only at checkpoints, so a power cut loses nothing acknowledged.
    const auto wal_synced = [](const std::vector<sync_event> &calls) {
        return std::any_of(calls.begin(), calls.end(), [](const sync_event &e) {
            return (e.call == "fsync" || e.call == "fdatasync") && e.path.ends_with("/zerka.db-wal");
        });
    };
    sync_probe_start();
    ASSERT_TRUE(store_write_text(s, 1, simple_album("A", 2)));
    EXPECT_TRUE(wal_synced(sync_probe_stop()));
    sync_probe_start();
    ASSERT_EQ(store_mark(s, 1, 1, SHORTLIST), change_result::changed);
    EXPECT_TRUE(wal_synced(sync_probe_stop()));
    sync_probe_start();
    ASSERT_TRUE(store_set_setting(s, "mode", "3"));
    EXPECT_TRUE(wal_synced(sync_probe_stop()));
}

TEST(StoreOpen, AFolderThatRefusesTheDatabaseIsReportedWithSqlitesReason)
{
    album_store s;
    std::string error;
    EXPECT_FALSE(store_open(s, "/nonexistent-folder/zerka.db", error));
    EXPECT_EQ(error, "unable to open database file");
    EXPECT_EQ(s.db, nullptr);
}

}   // namespace
