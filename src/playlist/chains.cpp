// Track chains: showing the chain a track belongs to, and the chain editor
// that starts, extends, re-opens, closes and deletes chains.
#include "playlist/chains.hpp"

#include "core/link.hpp"
#include "db/album.hpp"
#include "playlist/plist_text.hpp"
#include "proto/msg_types.hpp"
#include "ui/popup.hpp"
#include "ui/screen.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <curses.h>
#include <string>
#include <vector>

namespace {

int linking;            // a chain is open for adding links
int chain_head_album;   // album number of the open chain's head
int chain_head_track;   // track number of the open chain's head

constexpr int k_last_member_row = 21;   // the chain screen lists members down to the frame's last inner row

// The members of the chain a track is in (empty when it is in none).
std::vector<plist_entry> query_chain(int album_no, int track_no)
{
    const auto reply = request(master_sock, LINK_QUERY, album_no, track_no, "");
    if (reply.album == 0)
        return {};
    // A reply that names no member is taken as "in no chain" too.
    return parse_chain_reply(reply.text, std::min<std::size_t>(reply.length, k_text_max));
}

// Draws the chain screen; the member that is the track asked about is bold.
void show_chain(const std::vector<plist_entry> &members, int album_no, int track_no)
{
    clear();
    frame(stdscr);
    put_text(stdscr, 2, 10, "The following tracks are linked:");
    int row = 4;
    for (const plist_entry &m : members) {
        if (row > k_last_member_row)
            break;
        const bool known = valid_entry(m.album, m.track);
        const track_rec *t = known ? &album[m.album].entry[m.track] : nullptr;
        char line[128];
        format_chain_member(line, sizeof line, m.album, m.track, t != nullptr ? t->artist : "",
                            t != nullptr ? t->title : "");
        const bool asked = m.album == album_no && m.track == track_no;
        if (asked)
            attron(A_BOLD);
        put_text(stdscr, row++, 2, line);
        if (asked)
            attroff(A_BOLD);
    }
    refresh();
}

// Shows that a track is in no chain.
void show_not_linked(int album_no, int track_no)
{
    clear();
    char text[96];
    std::snprintf(text, sizeof text, "Album %04d, Track %02d is not part of a linked chain", album_no, track_no);
    put_text(stdscr, 14, 10, text);
    refresh();
}

// Asks a one-key question at (row, 10), over whatever question stood there before; true on 'y'.
bool ask(int row, const char *question, std::size_t blank_before = 0)
{
    if (blank_before > 0) {
        const std::string blanks(blank_before, ' ');
        put_text(stdscr, row, 10, blanks.c_str());
    }
    char reply[2] = {};
    return prompt(row, 10, question, reply, 1, 0) == 'y';
}

// Sends a link request: the track joins the chain whose head is given ("0000 00" deletes the chain).
void link_track_request(int album_no, int track_no, int head_album, int head_track)
{
    char head[32];
    std::snprintf(head, sizeof head, "%04d %02d", head_album, head_track);
    request(master_sock, LINK_TRACK, album_no, track_no, head);
}

}   // namespace

void view_chain(int album_no, int track_no)
{
    const std::vector<plist_entry> members = query_chain(album_no, track_no);
    if (!members.empty())
        show_chain(members, album_no, track_no);
    else
        show_not_linked(album_no, track_no);
    char reply[2] = {};
    prompt(16, 10, "Continue: ", reply, 1, 0);
}

void add_to_chain(int album_no, int track_no)
{
    const std::vector<plist_entry> members =
        linking ? query_chain(chain_head_album, chain_head_track) : query_chain(album_no, track_no);
    if (members.empty()) {
        show_not_linked(album_no, track_no);
        if (ask(16, "Make this track the first link in a new chain?")) {
            chain_head_album = album_no;
            chain_head_track = track_no;
            link_track_request(album_no, track_no, album_no, track_no);
            linking = 1;
        }
        return;
    }
    chain_head_album = members.front().album;
    chain_head_track = members.front().track;
    show_chain(members, album_no, track_no);
    if (linking) {
        char question[96];
        std::snprintf(question, sizeof question, "Append Album %04d, Track %02d to this chain?", album_no, track_no);
        // Blanking the question before (and its answer cell) keeps the next one readable.
        const std::size_t before = std::strlen(question) + 2;
        if (ask(22, question)) {
            link_track_request(album_no, track_no, chain_head_album, chain_head_track);
            if (!ask(22, "Do you want to add further links?", before))
                linking = 0;
        } else if (ask(22, "Close the currently open chain?", before)) {
            linking = 0;
        }
        return;
    }
    if (ask(20, "Re-activate this chain and add more links?")) {
        linking = 1;
        return;
    }
    // The leading blanks cover the question before, deliberately.
    if (ask(20, "                 Delete this linked chain?"))
        link_track_request(chain_head_album, chain_head_track, 0, 0);
}
