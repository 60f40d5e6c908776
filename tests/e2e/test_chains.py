"""Track chains: viewing (v) and the chain editor (q), from the console's list."""

from console_helpers import LINK_QUERY, LINK_TRACK, PlaylistServer, start_console
from fakeserver import reply
from term import KEY

TRACKS = [(1, 1), (1, 2), (1, 3), (2, 1)]
NOT_LINKED = "Album %04d, Track %02d is not part of a linked chain"


class Chains:
    """The server's chains: lists of (album, track), the head first."""

    def __init__(self, fake, chains=()):
        self.chains = [list(c) for c in chains]
        fake.handlers[LINK_QUERY] = self.on_query
        fake.handlers[LINK_TRACK] = self.on_link

    def chain_of(self, key):
        for c in self.chains:
            if key in c:
                return c
        return None

    def on_query(self, srv, conn, m):
        c = self.chain_of((m.album, m.track))
        if c is None:
            return reply(m, album=0, text=b"")
        return reply(m, text="".join("%04d %02d\n" % p for p in c).encode())

    def on_link(self, srv, conn, m):
        head = tuple(int(x) for x in m.str.split())
        key = (m.album, m.track)
        if head == (0, 0):
            self.chains = [c for c in self.chains if c[0] != key]
        elif head == key:
            self.chains.append([key])
        else:
            c = self.chain_of(head)
            if c is not None:
                c.append(key)
        return reply(m)


def console(fake, term, chains=()):
    PlaylistServer(fake, current=TRACKS)
    model = Chains(fake, chains)
    t = start_console(fake, term)
    return t, model


def on_row(t, n):
    t.send(KEY.HOME)
    for _ in range(n):
        t.send(KEY.DOWN)


def links(fake):
    return [(m.album, m.track, m.str) for m in fake.of_type(LINK_TRACK)]


def test_view_of_a_track_in_no_chain(fake, term):
    t, _ = console(fake, term)
    on_row(t, 1)
    t.send("v")
    q = fake.wait_for(LINK_QUERY)
    assert (q.album, q.track) == (1, 2)
    t.wait_for(NOT_LINKED % (1, 2), row=14, col=10)
    t.wait_for("Continue: ", row=16, col=10)
    t.send(" ")
    t.wait_for("Current Playlist (", row=0)


def test_view_of_a_chain_shows_its_members_with_the_track_in_bold(fake, term):
    t, _ = console(fake, term, chains=[[(1, 1), (1, 3), (2, 1)]])
    on_row(t, 2)
    t.send("v")
    t.wait_for("The following tracks are linked:", row=2, col=10)
    for i, (a, tr) in enumerate([(1, 1), (1, 3), (2, 1)]):
        line = "%04d/%02d %-32.32s - %-32.32s" % (a, tr, "Artist %d" % a, "Song %d-%d" % (a, tr))
        assert t.at(4 + i, 2, len(line)) == line
    assert t.is_bold(5, 2) and not t.is_bold(4, 2) and not t.is_bold(6, 2)
    t.wait_for("Continue: ", row=16, col=10)


def test_start_append_and_close_a_chain(fake, term):
    t, model = console(fake, term)
    # q on a track in no chain: it becomes the head of a new chain.
    t.send("q")
    t.wait_for(NOT_LINKED % (1, 1), row=14, col=10)
    t.wait_for("Make this track the first link in a new chain?", row=16, col=10)
    t.send("y")
    fake.wait_for(LINK_TRACK)
    assert links(fake) == [(1, 1, "0001 01")]
    t.wait_for("Current Playlist (", row=0)
    # With the chain open, q on another track shows the open chain and offers to append.
    on_row(t, 2)
    t.send("q")
    t.wait_for("The following tracks are linked:", row=2, col=10)
    queries = fake.of_type(LINK_QUERY)
    assert (queries[-1].album, queries[-1].track) == (1, 1)   # the open chain's head, not the track
    t.wait_for("Append Album 0001, Track 03 to this chain?", row=22, col=10)
    t.send("y")
    t.wait_for("Do you want to add further links?", row=22, col=10)
    assert links(fake)[-1] == (1, 3, "0001 01")
    t.send("y")
    # Still open: the next track is offered too; this time the chain is closed instead.
    t.wait_for("Current Playlist (", row=0)
    on_row(t, 3)
    t.send("q")
    t.wait_for("Append Album 0002, Track 01 to this chain?", row=22, col=10)
    t.send("n")
    t.wait_for("Close the currently open chain?", row=22, col=10)
    t.send("y")
    t.wait_for("Current Playlist (", row=0)
    assert model.chains == [[(1, 1), (1, 3)]]
    # Closed: q on a member offers to re-open the chain instead of appending.
    on_row(t, 0)
    t.send("q")
    t.wait_for("Re-activate this chain and add more links?", row=20, col=10)


def test_declining_further_links_closes_the_chain(fake, term):
    t, model = console(fake, term, chains=[[(1, 1)]])
    t.send("q")
    t.wait_for("Re-activate this chain and add more links?", row=20, col=10)
    t.send("y")
    t.wait_for("Current Playlist (", row=0)
    on_row(t, 1)
    t.send("q")
    t.wait_for("Append Album 0001, Track 02 to this chain?", row=22, col=10)
    t.send("y")
    t.wait_for("Do you want to add further links?", row=22, col=10)
    t.send("n")
    t.wait_for("Current Playlist (", row=0)
    assert model.chains == [[(1, 1), (1, 2)]]
    on_row(t, 3)
    t.send("q")
    t.wait_for(NOT_LINKED % (2, 1), row=14, col=10)
    t.wait_for("Make this track the first link in a new chain?", row=16, col=10)
    t.send("n")
    assert model.chains == [[(1, 1), (1, 2)]]


def test_reactivate_a_chain_and_append(fake, term):
    t, model = console(fake, term, chains=[[(1, 2), (1, 1)]])
    t.send("q")
    t.wait_for("The following tracks are linked:", row=2, col=10)
    t.wait_for("Re-activate this chain and add more links?", row=20, col=10)
    t.send("y")
    t.wait_for("Current Playlist (", row=0)
    on_row(t, 2)
    t.send("q")
    t.wait_for("Append Album 0001, Track 03 to this chain?", row=22, col=10)
    t.send("y")
    t.wait_for("Do you want to add further links?", row=22, col=10)
    t.send("n")
    assert links(fake) == [(1, 3, "0001 02")]


def test_delete_a_chain(fake, term):
    t, model = console(fake, term, chains=[[(1, 2), (1, 1)]])
    t.send("q")
    t.wait_for("Re-activate this chain and add more links?", row=20, col=10)
    t.send("n")
    t.wait_for("                 Delete this linked chain?", row=20, col=10)
    t.send("y")
    fake.wait_for(LINK_TRACK)
    assert links(fake) == [(1, 2, "0000 00")]   # the head, not the track asked about
    assert model.chains == []


def test_declining_the_delete_changes_nothing(fake, term):
    t, model = console(fake, term, chains=[[(1, 1), (1, 2)]])
    t.send("q")
    t.wait_for("Re-activate this chain and add more links?", row=20, col=10)
    t.send("n")
    t.wait_for("Delete this linked chain?", row=20)
    t.send("n")
    t.wait_for("Current Playlist (", row=0)
    assert links(fake) == []


def test_with_a_chain_open_q_shows_that_chain_not_the_tracks_own(fake, term):
    t, model = console(fake, term, chains=[[(2, 1), (1, 3)]])
    t.send("q")
    t.wait_for("Make this track the first link in a new chain?", row=16, col=10)
    t.send("y")
    t.wait_for("Current Playlist (", row=0)
    on_row(t, 3)   # 0002/01 heads a chain of its own
    t.send("q")
    t.wait_for("The following tracks are linked:", row=2, col=10)
    t.wait_for("Append Album 0002, Track 01 to this chain?", row=22, col=10)
    assert t.at(4, 2, 7) == "0001/01"
    assert t.at(5, 2, 7) != "0001/03"
    t.send("y")
    t.wait_for("Do you want to add further links?", row=22, col=10)
    assert links(fake)[-1] == (2, 1, "0001 01")
