#include "protocol_fixture.hpp"
#include "server/playlists.hpp"
#include "sync_probe.hpp"

#include <cstdio>
#include <filesystem>
#include <sqlite3.h>
#include <string_view>

namespace {

TEST_F(Protocol, TheGreetingSetsTheHighByte)
{
    const frame_fields r = send(a, CLIENT_OPEN, 1, 0, {}, 0);
    EXPECT_EQ(r.type, CLIENT_OPEN);
    EXPECT_EQ(r.sequence, 0x0100);
    EXPECT_EQ(r.album, 1);
}

TEST_F(Protocol, ALocalServersLinkGetsTheCancelsAndNothingElse)
{
    // A client's greeting is no link; a local server's is.
    send(a, CLIENT_OPEN, 1, 0, {}, 0);
    EXPECT_FALSE(a.drive_link);
    EXPECT_EQ(send(b, CLIENT_OPEN, 1, 0, "CD drive", 0).type, CLIENT_OPEN);
    EXPECT_TRUE(b.drive_link);
    // Without a drive the retrievals are the local servers': the console's CANCEL goes on to their links.
    const frame_fields r = send(a, CANCEL, 1, 0, "current.lst");
    EXPECT_EQ(r.album, 1);
    ASSERT_EQ(notices().size(), 1u);
    const sent n = notices()[0];
    EXPECT_EQ(n.to, target::drive_links);
    EXPECT_EQ(n.m.type, CANCEL);
    EXPECT_EQ(n.m.sequence, 0);
    EXPECT_EQ(n.m.album, 1);
    EXPECT_EQ(n.m.track, 0);
    EXPECT_EQ(n.m.text, "current.lst");
    // The link's own CANCEL is not handed back.
    EXPECT_EQ(send(b, CANCEL, 0xFFFE).album, 0xFFFE);
    EXPECT_TRUE(notices().empty());
}

TEST_F(Protocol, RepliesCarryTheRequestsTypeAndSequence)
{
    const frame_fields r = send(a, GET_MODE, 1, 0, {}, 0x01ff);
    EXPECT_EQ(r.type, GET_MODE);
    EXPECT_EQ(r.sequence, 0x01ff);
}

TEST_F(Protocol, TimeIsTheServersClockInHex)
{
    const frame_fields r = send(a, GETTIME, 0, 0, "Time");
    EXPECT_EQ(r.text, "65000000");
}

TEST_F(Protocol, AlbumReadAnswersGapsAndTheEnd)
{
    add_album(1, simple_album("One", 1));
    add_album(3, simple_album("Three", 1));
    EXPECT_EQ(send(a, ALBUM_READ, 1).text, std::string(stored_text(*store_get(st.store, 1))));
    EXPECT_EQ(send(a, ALBUM_READ, 1).album, 1);
    EXPECT_EQ(send(a, ALBUM_READ, 2).album, 0xFFFE);
    EXPECT_EQ(send(a, ALBUM_READ, 2).text, "");
    EXPECT_EQ(send(a, ALBUM_READ, 4).album, 0xFFFD);
    EXPECT_EQ(send(a, ALBUM_READ, 9000).album, 0xFFFE);
    EXPECT_EQ(send(a, ALBUM_READ, 0).album, 0xFFFE);
}

TEST_F(Protocol, AlbumReadAnswersWithTheRequestsSequenceAndTheAlbumAsItIsNow)
{
    add_album(7, simple_album("Seven", 99));
    for (const std::int64_t seq : {0x0100, 0x01ff, 0x1234, 0xfffe, 0xffff}) {
        outbox box;
        const request req = {.type = ALBUM_READ, .sequence = seq, .album = 7, .track = 0, .text = {}};
        handle_request(st, a, req, now_ns, box);
        ASSERT_EQ(box.items.size(), 1u);
        EXPECT_EQ(box.items[0].to, target::requester);
        EXPECT_EQ(*box.items[0].frame, *make_frame(ALBUM_READ, seq, 7, 0, stored_text(*store_get(st.store, 7))));
    }
    // Changes made through the protocol are in the next answer.
    EXPECT_EQ(send(a, SHORTLIST, 7, 5).album, 7);
    EXPECT_EQ(send(a, EDIT_TITLE, 7, 6, "Song~Tune").album, 7);
    EXPECT_EQ(send(a, ALBUM_WRITE, 8, 0, simple_album("Eight", 2)).album, 8);
    static album_rec rec;
    const frame_fields r = send(a, ALBUM_READ, 7);
    ASSERT_EQ(parse_album_text(r.text.data(), r.text.size(), rec), 100);
    EXPECT_EQ(rec.entry[5].status, 'S');
    EXPECT_STREQ(rec.entry[6].title, "Tune 6");
    const frame_fields eight = send(a, ALBUM_READ, 8);
    EXPECT_EQ(eight.album, 8);
    EXPECT_EQ(eight.text, std::string(stored_text(*store_get(st.store, 8))));
    EXPECT_EQ(eight.text, simple_album("Eight", 2).substr(0, eight.text.size()));
}

TEST_F(Protocol, AnAlbumWriteIsAnnouncedToTheOthers)
{
    const std::string text = simple_album("New", 2);
    const frame_fields r = send(a, ALBUM_WRITE, 5, 0, text);
    EXPECT_EQ(r.album, 5);
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_EQ(notices()[0].to, target::others);
    EXPECT_EQ(notices()[0].m.type, ALBUM_WRITTEN);
    EXPECT_EQ(notices()[0].m.album, 5);
    EXPECT_EQ(notices()[0].m.sequence, 0);
    EXPECT_EQ(notices()[0].m.text, text);
}

TEST_F(Protocol, ARefusedWriteAnswers0xFFFF)
{
    EXPECT_EQ(send(a, ALBUM_WRITE, 3001, 0, simple_album("X", 1)).album, 0xFFFF);
    EXPECT_EQ(send(a, ALBUM_WRITE, 2, 0, "").album, 0xFFFF);
    EXPECT_TRUE(notices().empty());
}

TEST_F(Protocol, DeletionIsAnsweredAndAnnouncedToTheOthers)
{
    add_album(2, simple_album("Gone", 1));
    const frame_fields r = send(a, ALBUM_DELETE, 2);
    EXPECT_EQ(r.type, ALBUM_DELETE);
    EXPECT_EQ(r.album, 2);
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_EQ(notices()[0].to, target::others);
    EXPECT_EQ(notices()[0].m.type, ALBUM_DELETED);
    EXPECT_EQ(notices()[0].m.album, 2);
    EXPECT_EQ(store_get(st.store, 2), nullptr);
    EXPECT_EQ(send(a, ALBUM_DELETE, 2).album, 0xFFFF);   // nothing left to delete
    EXPECT_TRUE(notices().empty());
}

TEST_F(Protocol, NewNumbersAreHandedOutOnceAndGivenBackOnClose)
{
    add_album(1, simple_album("One", 1));
    EXPECT_EQ(send(a, ALBUM_NEW).album, 2);
    EXPECT_EQ(send(b, ALBUM_NEW).album, 3);
    EXPECT_EQ(send(a, ALBUM_TEMP).album, 9000);
    outbox box;
    session_closed(st, a, box);
    EXPECT_EQ(send(b, ALBUM_TEMP).album, 9000);
    session_closed(st, b, box);
    EXPECT_EQ(send(a, ALBUM_NEW).album, 2);
}

TEST_F(Protocol, ShortListingIsAnnouncedToEveryClient)
{
    add_album(4, simple_album("Four", 3));
    const frame_fields r = send(a, SHORTLIST, 4, 2);
    EXPECT_EQ(r.album, 4);
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_EQ(notices()[0].to, target::all);
    EXPECT_EQ(notices()[0].m.type, ALBUM_WRITTEN);
    EXPECT_NE(notices()[0].m.text.find("Song 2\n00:03 S "), std::string::npos);
    send(a, SHORTLIST, 4, 2);   // nothing changes, nothing is announced
    EXPECT_TRUE(notices().empty());
    EXPECT_EQ(send(a, DONOTPLAY, 4, 2).album, 4);
    EXPECT_EQ(store_entry(st.store, 4, 2)->status, '-');
    EXPECT_EQ(send(a, UNPLAYABLE, 4, 9).album, 0xFFFF);
    EXPECT_EQ(send(a, NO_SELECT, 5, 1).album, 0xFFFF);
}

TEST_F(Protocol, GlobalEditReplacesInOneRecord)
{
    add_album(1, simple_album("Old Name", 2));
    EXPECT_EQ(send(a, EDIT_ARTIST, 1, 2, "Old~New").album, 1);
    EXPECT_STREQ(store_entry(st.store, 1, 2)->artist, "New Name");
    EXPECT_STREQ(store_entry(st.store, 1, 1)->artist, "Old Name");
    EXPECT_EQ(notices().size(), 1u);
    EXPECT_EQ(send(a, EDIT_TITLE, 1, 0, "Album~Record").album, 1);
    EXPECT_STREQ(store_entry(st.store, 1, 0)->title, "Record of Old Name");
    EXPECT_EQ(send(a, EDIT_TITLE, 1, 1, "no tilde").album, 0xFFFF);
    EXPECT_EQ(send(a, EDIT_TITLE, 1, 1, "~x").album, 0xFFFF);
}

TEST_F(Protocol, GlobalEditRefusesLineBreaksAndControlCharacters)
{
    // A line break inside an artist or title would split the album text every client parses.
    add_album(1, simple_album("Old Name", 2));
    const std::string before(stored_text(*store_get(st.store, 1)));
    for (const std::string &text : {std::string("Old~New\nLine"), std::string("Old~a\rb"), std::string("Old~N\0w", 7),
                                    std::string("Old~\tTab")}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(send(a, EDIT_ARTIST, 1, 2, text).album, 0xFFFF);
        EXPECT_EQ(send(a, EDIT_TITLE, 1, 0, "Album~" + text.substr(4)).album, 0xFFFF);
        EXPECT_TRUE(notices().empty());
    }
    EXPECT_EQ(std::string(stored_text(*store_get(st.store, 1))), before);
}

TEST_F(Protocol, ResetIsAnnouncedForEveryChangedAlbum)
{
    add_album(1, simple_album("One", 2));
    add_album(2, simple_album("Two", 2));
    store_record_play(st.store, 1, 1, 5);
    send(a, RESET, 0, 0);
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_EQ(notices()[0].m.album, 1);
    EXPECT_EQ(notices()[0].to, target::all);
}

TEST_F(Protocol, ResetThatCannotBeStoredIsRefusedAndChangesNothing)
{
    add_album(1, simple_album("One", 2));
    store_record_play(st.store, 1, 1, 5);
    ASSERT_EQ(sqlite3_exec(st.store.db.get(), "PRAGMA query_only=1", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(send(a, RESET, 0, 0).album, 0xFFFF);
    EXPECT_TRUE(notices().empty());
    EXPECT_EQ(store_entry(st.store, 1, 1)->plays, 1);
    ASSERT_EQ(sqlite3_exec(st.store.db.get(), "PRAGMA query_only=0", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_NE(send(a, RESET, 0, 0).album, 0xFFFF);
    EXPECT_EQ(store_entry(st.store, 1, 1)->plays, 0);
}

TEST_F(Protocol, RefreshTakesTracksWithoutMediaOffLine)
{
    add_album(1, simple_album("One", 2));
    write_media(st, 1, 1, 1);
    EXPECT_EQ(send(a, REFRESH).album, 1);
    EXPECT_EQ(store_entry(st.store, 1, 2)->online, 0);
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_EQ(notices()[0].to, target::others);
}

TEST_F(Protocol, PlaylistAddAnnouncesTheCurrentPlaylistToEveryClientAfterTheReply)
{
    add_album(1, simple_album("One", 3));
    const frame_fields r = send(a, PLIST_ADD, 1, 2, "current.lst");
    EXPECT_EQ(r.album, 1);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_EQ(out[0].to, target::requester);   // the reply goes first
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_EQ(notices()[0].to, target::all);
    EXPECT_EQ(notices()[0].m.type, PLIST_UPDATE);
    EXPECT_EQ(notices()[0].m.sequence, 0);
    EXPECT_EQ(notices()[0].m.text, "0001 02 ");
    EXPECT_EQ(send(a, PLIST_ADD, 1, 2, "current.lst").album, 0xFFFF);   // already there
    EXPECT_EQ(send(a, PLIST_ADD, 1, 4, "current.lst").album, 0xFFFF);   // no such track
    EXPECT_EQ(send(a, PLIST_ADD, 1, 0, "current.lst").album, 0xFFFF);
    EXPECT_EQ(send(a, PLIST_ADD_LOCAL, 1, 3, "current.lst").album, 1);
    EXPECT_EQ(send(a, PLIST_GET, 1, 0, "current.lst").text, "0001 02 0001 03 ");
    EXPECT_EQ(root.read("PlayLists/current.lst"),
              "00000000 0001/02 One                          - Song 2                        [00:03]\n"
              "00000000 0001/03 One                          - Song 3                        [00:03]\n");
}

TEST_F(Protocol, NamesOutsideThePlaylistFolderAreRefused)
{
    add_album(1, simple_album("One", 3));
    for (const char *name : {"../zerka.db", "a/b", "..", ".x"}) {
        EXPECT_EQ(send(a, PLIST_ADD, 1, 1, name).album, 0xFFFF) << name;
        EXPECT_EQ(send(a, PLIST_READ, 1, 2, name).album, 0) << name;
        EXPECT_EQ(send(a, PLIST_GET, 1, 0, name).album, 0) << name;
        EXPECT_EQ(send(a, PLIST_KEEP, 1, 0, name).album, 0xFFFF) << name;
        EXPECT_EQ(send(a, DELETE, 1, 0, name).album, 0xFFFF) << name;
    }
    EXPECT_EQ(send(a, DELETE, 1, 0, "current.lst").album, 0xFFFF);
    EXPECT_TRUE(std::filesystem::exists(root.path("zerka.db")));
}

TEST_F(Protocol, NoPlaylistRequestReachesAFileBesideThePlaylistFolder)
{
    add_album(1, simple_album("One", 3));
    const std::string outside = "00000000 0001/01 One - Song 1 [00:03]\n00000000 0001/02 One - Song 2 [00:03]\n";
    root.write("outside", outside);
    const std::string name = "../outside";
    EXPECT_EQ(send(a, PLIST_DELETE, 1, 1, name).album, 0xFFFF);
    EXPECT_EQ(send(a, PLIST_UP, 1, 2, name).album, 0xFFFF);
    EXPECT_EQ(send(a, PLIST_DOWN, 1, 1, name).album, 0xFFFF);
    EXPECT_EQ(send(a, PLIST_NEXT, 1, 2, name).album, 0xFFFF);
    EXPECT_EQ(send(a, PLIST_SHUFFLE, 1, 0, name).album, 0xFFFF);
    EXPECT_EQ(send(a, PLIST_CLEAR, 1, 0, name).album, 0xFFFF);
    EXPECT_EQ(send(a, PLIST_ADD_LOCAL, 1, 3, name).album, 0xFFFF);
    EXPECT_EQ(send(a, PLIST_UPDATE, 1, 0, name).album, 0xFFFF);
    EXPECT_EQ(send(a, PLIST_APPEND, 1, 0, name).album, 0xFFFF);
    EXPECT_EQ(send(a, PLIST_GET, 1, 0, "current.lst").text, "");
    const frame_fields set = send(a, SET_PLIST, 5, 1, name);
    EXPECT_EQ(set.album, 0);
    EXPECT_EQ(set.track, 2);
    EXPECT_EQ(send(a, HISTORY, 1, 0, "/x/" + name).album, 0);
    EXPECT_EQ(send(a, DIRLIST, 0, 0, "../PlayLists/..").album, 0xFFFF);
    EXPECT_EQ(root.read("outside"), outside);
}

TEST_F(Protocol, OfflinePlaylistsAreOpenedCreatedAndAnnouncedToTheirViewers)
{
    add_album(1, simple_album("One", 3));
    EXPECT_EQ(send(a, PLIST_READ, 1, 0, "party").album, 0);   // not there
    EXPECT_EQ(send(a, PLIST_READ, 1, 2, "party").album, 1);   // created
    EXPECT_TRUE(std::filesystem::exists(root.path("PlayLists/party")));
    EXPECT_EQ(a.viewing, "party");
    EXPECT_EQ(send(b, PLIST_ADD, 1, 1, "party").album, 1);
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_EQ(notices()[0].to, target::viewers);
    EXPECT_EQ(notices()[0].plist, "party");
    EXPECT_NE(notices()[0].m.sequence, 0);
    EXPECT_EQ(notices()[0].m.text, "0001 01 ");
    // The viewer's own change is announced to it too, after its reply.
    EXPECT_EQ(send(a, PLIST_ADD, 1, 2, "party").album, 1);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_EQ(out[0].to, target::requester);
    EXPECT_EQ(out[1].to, target::viewers);
    EXPECT_EQ(out[1].m.sequence, 0x0200);
    EXPECT_EQ(out[1].m.text, "0001 01 0001 02 ");
    EXPECT_EQ(send(a, PLIST_GET, 1, 0, "current.lst").album, 1);
    EXPECT_EQ(a.viewing, "");
}

TEST_F(Protocol, EditingKeysMoveAndDelete)
{
    add_album(2, simple_album("Two", 4));
    for (int t = 1; t <= 4; ++t)
        send(a, PLIST_ADD, 2, t, "current.lst");
    send(a, PLIST_UP, 2, 3, "current.lst");
    EXPECT_EQ(send(a, PLIST_READ, 1, 0, "current.lst").text, "0002 01 0002 03 0002 02 0002 04 ");
    send(a, PLIST_DOWN, 2, 1, "current.lst");
    send(a, PLIST_NEXT, 2, 4, "current.lst");
    EXPECT_EQ(send(a, PLIST_READ, 1, 0, "current.lst").text, "0002 04 0002 03 0002 01 0002 02 ");
    EXPECT_EQ(send(a, PLIST_DELETE, 2, 3, "current.lst").album, 2);
    EXPECT_EQ(send(a, PLIST_DELETE, 2, 3, "current.lst").album, 0xFFFF);
    EXPECT_EQ(send(a, PLIST_UP, 9, 9, "current.lst").album, 0xFFFF);
    EXPECT_EQ(send(a, PLIST_READ, 1, 0, "current.lst").text, "0002 04 0002 01 0002 02 ");
}

TEST_F(Protocol, ShuffleAnswersWithTheNewOrder)
{
    add_album(2, simple_album("Two", 6));
    for (int t = 1; t <= 6; ++t)
        send(a, PLIST_ADD, 2, t, "current.lst");
    const frame_fields r = send(a, PLIST_SHUFFLE, 1, 0, "current.lst");
    EXPECT_EQ(r.text.size(), 48u);
    EXPECT_EQ(r.text, send(a, PLIST_GET, 1, 0, "current.lst").text);
    EXPECT_EQ(send(a, PLIST_SHUFFLE, 1, 0, "nothing").album, 0xFFFF);
}

TEST_F(Protocol, KeepClearAppendAndDelete)
{
    add_album(2, simple_album("Two", 3));
    send(a, PLIST_ADD, 2, 1, "current.lst");
    send(a, PLIST_ADD, 2, 2, "current.lst");
    EXPECT_EQ(send(a, PLIST_KEEP, 1, 0, "saved").album, 1);
    EXPECT_EQ(send(a, PLIST_CLEAR, 1, 0, "current.lst").album, 1);
    EXPECT_EQ(send(a, PLIST_GET, 1, 0, "current.lst").text, "");
    send(a, PLIST_ADD, 2, 2, "current.lst");
    EXPECT_EQ(send(a, PLIST_APPEND, 1, 0, "saved").album, 1);
    EXPECT_EQ(send(a, PLIST_GET, 1, 0, "current.lst").text, "0002 02 0002 01 ");
    EXPECT_EQ(send(a, PLIST_APPEND, 1, 0, "nothing").album, 0xFFFF);
    EXPECT_EQ(send(a, DELETE, 1, 0, "saved").album, 1);
    EXPECT_FALSE(std::filesystem::exists(root.path("PlayLists/saved")));
    EXPECT_EQ(send(a, DELETE, 1, 0, "saved").album, 0xFFFF);
}

TEST_F(Protocol, PlaylistUpdateRequestsAreRelayedToEveryClientTheRequesterLast)
{
    add_album(2, simple_album("Two", 3));
    send(a, PLIST_ADD, 2, 1, "current.lst");
    const frame_fields r = send(a, PLIST_UPDATE, 2, 1, "current.lst", 0x0142);
    EXPECT_EQ(r.type, PLIST_UPDATE);
    EXPECT_EQ(r.sequence, 0x0142);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_EQ(out[0].to, target::requester);
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_EQ(notices()[0].to, target::all);
    EXPECT_EQ(notices()[0].m.type, PLIST_UPDATE);
    // Sequence 0 can never be a reply (requests carry 0x01xx), and a client
    // showing an offline playlist leaves it alone.
    EXPECT_EQ(notices()[0].m.sequence, 0);
    EXPECT_EQ(notices()[0].m.text, "0002 01 ");
}

TEST_F(Protocol, AnOfflinePlaylistUpdateGoesToItsViewersWithANonZeroSequence)
{
    add_album(2, simple_album("Two", 3));
    EXPECT_EQ(send(a, PLIST_READ, 1, 2, "party").album, 1);
    send(b, PLIST_ADD, 2, 3, "party");
    const frame_fields r = send(b, PLIST_UPDATE, 2, 3, "party");
    EXPECT_EQ(r.album, 2);
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_EQ(notices()[0].to, target::viewers);
    EXPECT_EQ(notices()[0].plist, "party");
    EXPECT_EQ(notices()[0].m.sequence, 0x0200);
    EXPECT_EQ(notices()[0].m.text, "0002 03 ");
}

TEST_F(Protocol, TheReplyGoesBeforeTheNoticesOfAChangeThatStartsATrack)
{
    add_album(2, simple_album("Two", 3));
    write_media(st, 2, 1, 3);
    send(a, CONSOLE);   // only the current playlist plays
    send(a, GO);
    ASSERT_FALSE(st.player.current);
    const frame_fields r = send(a, PLIST_ADD, 2, 1, "current.lst");
    EXPECT_EQ(r.album, 2);
    ASSERT_GE(out.size(), 3u);   // the reply, the playlist (taken and emptied), what plays
    EXPECT_EQ(out[0].to, target::requester);
    EXPECT_EQ(out[0].m.type, PLIST_ADD);
    for (std::size_t i = 1; i < out.size(); ++i)
        EXPECT_NE(out[i].to, target::requester) << i;
}

TEST_F(Protocol, DirectoryListings)
{
    root.write("PlayLists/party", "");
    root.write("PlayLists/current.lst", "");
    root.write("History/240101120000.hst", "");
    EXPECT_EQ(send(a, DIRLIST, 0x8000, 0, "PlayLists").text, "current.lst\nparty\n");
    EXPECT_EQ(send(a, DIRLIST, 0, 0, "PlayLists").text, "current.lst\nparty\n");
    EXPECT_EQ(send(a, DIRLIST, 58, 1, "/home/op/zerka/History").text, "240101120000.hst\n");
    EXPECT_EQ(send(a, DIRLIST, 0, 0, "/etc").album, 0xFFFF);
}

TEST_F(Protocol, HistoryIsWalkedOneEntryAtATimeAndEndsWithAlbumZero)
{
    root.write("History/240101120000.hst",
               "65000000 0001/01 A                            - B                             [00:04]\n"
               "65000100 0001/02 A                            - C                             [00:05]\n");
    for (int round = 0; round < 2; ++round) {
        frame_fields r = send(a, HISTORY, 1, 0, "history.hst");
        EXPECT_EQ(r.album, 1);
        EXPECT_EQ(r.text.substr(0, 16), "65000000 0001/01");
        // A client that sends back what the reply left walks on just the same.
        r = send(a, HISTORY, r.album, r.track, "history.hst");
        EXPECT_EQ(r.text.substr(0, 16), "65000100 0001/02");
        r = send(a, HISTORY, 1, 0, "history.hst");
        EXPECT_EQ(r.album, 0);
        EXPECT_EQ(r.text, "");
    }
    EXPECT_EQ(send(b, HISTORY, 1, 0, "/x/History/240101120000.hst").text.substr(0, 16), "65000000 0001/01");
    EXPECT_EQ(send(b, HISTORY, 1, 0, "/x/History/missing.hst").album, 0);
}

TEST_F(Protocol, TheConsoleBelongsToOneClientUntilItLeaves)
{
    EXPECT_EQ(send(a, CONSOLE).album, 1);
    EXPECT_EQ(send(a, GET_MODE).album, 1);
    ASSERT_EQ(notices().size(), 0u);
    EXPECT_EQ(send(b, CONSOLE).album, 0);
    EXPECT_EQ(send(b, JUKEBOX).album, 0);
    EXPECT_EQ(send(b, SET_PLIST, 5, 1, "").track, 1);
    EXPECT_EQ(send(b, GET_MODE).album, 1);
    outbox box;
    session_closed(st, a, box);
    EXPECT_EQ(send(b, RANDOM).album, 1);
    EXPECT_EQ(send(b, GET_MODE).album, 3);
    EXPECT_EQ(send(a, CONSOLE).album, 1);
}

TEST_F(Protocol, ModeChangesAreAnnouncedToTheOthers)
{
    send(a, RANDOM);
    send(a, MIXED);
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_EQ(notices()[0].to, target::others);
    EXPECT_EQ(notices()[0].m.type, CHANGE_MODE);
    EXPECT_EQ(notices()[0].m.album, 4);
    EXPECT_EQ(notices()[0].m.track, 0);
    send(a, MIXED);
    EXPECT_TRUE(notices().empty());
}

TEST_F(Protocol, SelectionPlaylists)
{
    root.write("PlayLists/party", "");
    EXPECT_EQ(send(a, SET_PLIST, 5, 1, "nothing").album, 0);
    EXPECT_EQ(send(a, SET_PLIST, 5, 1, "nothing").track, 2);
    EXPECT_EQ(send(a, SET_PLIST, 5, 1, "current.lst").track, 2);
    EXPECT_EQ(send(a, SET_PLIST, 3, 1, "party").album, 0);
    const frame_fields r = send(a, SET_PLIST, 6, 1, "party");
    EXPECT_NE(r.album, 0);
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_EQ(notices()[0].m.type, CHANGE_MODE);
    EXPECT_EQ(notices()[0].m.album, 6);
    EXPECT_EQ(notices()[0].m.track, 1);
    EXPECT_EQ(notices()[0].m.text, "party");
    EXPECT_EQ(send(a, GET_MODE).album, 6);
    EXPECT_EQ(send(a, GET_PLIST).text, "party");
    EXPECT_NE(send(a, SET_PLIST, 0, 0, "party").album, 0);   // the menu's choice alone
    EXPECT_NE(send(a, SET_PLIST, 5, 1, "****").album, 0);    // keeps the playlist
    EXPECT_EQ(send(a, GET_PLIST).text, "party");
    EXPECT_EQ(send(a, GET_MODE).album, 5);
    EXPECT_EQ(store_setting(st.store, "selection", ""), "party");
}

TEST_F(Protocol, ThePowerIsNeverSwitchedOff)
{
    EXPECT_EQ(send(a, REBOOT).album, 0);
    EXPECT_EQ(send(a, SHUTDOWN).album, 0);
    EXPECT_FALSE(st.stop_requested);
}

TEST_F(Protocol, StopServiceAcceptsAndTellsTheOthers)
{
    const frame_fields r = send(a, STOP_SERVICE);
    EXPECT_EQ(r.album, 1);
    EXPECT_TRUE(st.stop_requested);
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_EQ(out[0].to, target::requester);   // the answer goes first
    EXPECT_EQ(notices()[0].to, target::others);   // the requester knows from its answer
    EXPECT_EQ(notices()[0].m.type, SERVER_DOWN);
}

TEST_F(Protocol, CdDriveRequestsGetTheAnswersOfAServerWithoutADrive)
{
    EXPECT_EQ(send(a, RET_TRACK, 3, 4).album, 0xFFFF);
    EXPECT_EQ(send(a, RET_CHECK, 0, 0).album, 0);
    EXPECT_EQ(send(a, CD_EJECT, 3, 0).album, 0);
    EXPECT_EQ(send(a, CD_WAITING, 3, 0).album, 0);
    const frame_fields w = send(a, WRITE_CD, 3, 0);
    EXPECT_EQ(w.track, 1);
    EXPECT_EQ(send(a, CANCEL).album, 1);
}

TEST_F(Protocol, UnknownRequestsAreRefused)
{
    EXPECT_EQ(send(a, 0x99).album, 0xFFFF);
    EXPECT_EQ(send(a, ALBUM_CHANGE).album, 0xFFFF);
    EXPECT_EQ(send(a, 0x99).type, 0x99);
}

TEST_F(Protocol, ChainsAreQueriedAndLinked)
{
    add_album(1, simple_album("One", 4));
    EXPECT_EQ(send(a, LINK_QUERY, 1, 2).album, 0);
    EXPECT_EQ(send(a, LINK_TRACK, 1, 2, "0001 02").album, 1);
    EXPECT_EQ(send(a, LINK_TRACK, 1, 3, "0001 02").album, 1);
    const frame_fields q = send(a, LINK_QUERY, 1, 3);
    EXPECT_NE(q.album, 0);
    EXPECT_EQ(q.text, "0001 02\n0001 03\n");
    EXPECT_EQ(send(a, LINK_TRACK, 1, 2, "0000 00").album, 1);
    EXPECT_EQ(send(a, LINK_QUERY, 1, 3).album, 0);
    EXPECT_EQ(send(a, LINK_TRACK, 1, 2, "junk").album, 0xFFFF);
}

TEST_F(Protocol, AudioTurnsAConnectionIntoAStream)
{
    const frame_fields r = send(a, AUDIO, 0, 0);
    EXPECT_EQ(r.type, AUDIO);
    EXPECT_EQ(r.text, "");
    EXPECT_TRUE(a.audio);
}

TEST_F(Protocol, AModeThatCannotBeStoredIsRefusedAndNotTaken)
{
    send(a, RANDOM);
    other_writer other(root.path("zerka.db"));
    ASSERT_TRUE(other.exec("BEGIN IMMEDIATE"));
    EXPECT_EQ(send(a, MIXED).album, 0xFFFF);
    EXPECT_TRUE(notices().empty());
    EXPECT_EQ(send(a, GET_MODE).album, 3);
    root.write("PlayLists/party", "");
    const frame_fields r = send(a, SET_PLIST, 5, 1, "party");
    EXPECT_EQ(r.album, 0);
    EXPECT_EQ(r.track, 3);   // "Problem opening playlist"
    EXPECT_EQ(send(a, GET_MODE).album, 3);
    EXPECT_EQ(send(a, GET_PLIST).text, "");
    ASSERT_TRUE(other.exec("ROLLBACK"));
    EXPECT_EQ(store_setting(st.store, "mode", ""), "3");
    EXPECT_EQ(store_setting(st.store, "selection", ""), "");
    EXPECT_EQ(send(a, MIXED).album, 1);
    EXPECT_EQ(store_setting(st.store, "mode", ""), "4");
}

TEST_F(Protocol, ResetAndRefreshThatCannotBeStoredAreRefused)
{
    add_album(1, simple_album("A", 1));
    store_record_play(st.store, 1, 1, 5);
    other_writer other(root.path("zerka.db"));
    ASSERT_TRUE(other.exec("BEGIN IMMEDIATE"));
    EXPECT_EQ(send(a, RESET).album, 0xFFFF);
    EXPECT_TRUE(notices().empty());
    EXPECT_EQ(store_entry(st.store, 1, 1)->plays, 1);
    EXPECT_EQ(send(a, REFRESH).album, 0xFFFF);   // the track has no media file
    EXPECT_TRUE(notices().empty());
    EXPECT_EQ(store_entry(st.store, 1, 1)->online, 1);
    ASSERT_TRUE(other.exec("ROLLBACK"));
}

TEST_F(Protocol, ADeletedPlaylistIsGoneFromTheDiskBeforeTheReply)
{
    root.write("PlayLists/party", "");
    sync_probe_start();
    EXPECT_EQ(send(a, DELETE, 1, 0, "party").album, 1);
    const std::vector<sync_event> calls = sync_probe_stop();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].call, "fsync");
    EXPECT_EQ(calls[0].path, std::filesystem::canonical(root.path("PlayLists")).string());
}

TEST_F(Protocol, NothingIsAcknowledgedOnceTheRootHasGone)
{
    add_album(1, simple_album("A", 1));
    std::filesystem::remove_all(root.dir);
    EXPECT_EQ(send(a, ALBUM_WRITE, 2, 0, simple_album("B", 1)).album, 0xFFFF);
    EXPECT_TRUE(notices().empty());
    EXPECT_EQ(send(a, ALBUM_READ, 2).album, 0xFFFD);
    EXPECT_EQ(send(a, SHORTLIST, 1, 1).album, 0xFFFF);
    EXPECT_EQ(send(a, RANDOM).album, 0xFFFF);
    EXPECT_EQ(send(a, PLIST_ADD, 1, 1, "current.lst").album, 0xFFFF);
}

struct link_head_case {
    std::string_view text;
    bool ok;
    int album;
    int track;
};

TEST(LinkHead, ReadsWhatScanfReadsAndRefusesNumbersBeyondAnInt)
{
    using namespace std::string_view_literals;
    constexpr link_head_case cases[] = {
        {"0001 02", true, 1, 2},
        {"0000 00", true, 0, 0},
        {"  12\t\n34 and more", true, 12, 34},
        {"+5 -6", true, 5, -6},
        {"7 8", true, 7, 8},
        {"12", false, 0, 0},
        {"", false, 0, 0},
        {"x 1", false, 0, 0},
        {"1 +-2", false, 0, 0},
        {"1\0 2"sv, false, 0, 0},
        {"99999999999 1", false, 0, 0},
        {"1 -99999999999", false, 0, 0},
        {"2147483647 -2147483648", true, 2147483647, -2147483648},
    };
    for (const link_head_case &c : cases) {
        int a = 0;
        int t = 0;
        EXPECT_EQ(parse_link_head(c.text, a, t), c.ok) << c.text;
        if (c.ok) {
            EXPECT_EQ(a, c.album) << c.text;
            EXPECT_EQ(t, c.track) << c.text;
            // The same as sscanf where sscanf is defined.
            int sa = 0;
            int st = 0;
            EXPECT_EQ(std::sscanf(std::string(c.text).c_str(), "%d %d", &sa, &st), 2);
            EXPECT_EQ(sa, a);
            EXPECT_EQ(st, t);
        }
    }
    // Only the first 63 characters count.
    int a = 0;
    int t = 0;
    EXPECT_FALSE(parse_link_head(std::string(62, ' ') + "1 2", a, t));
    EXPECT_TRUE(parse_link_head(std::string(59, ' ') + "1 2", a, t));
}

}   // namespace
