#include "server/store.hpp"

#include "proto/msg_types.hpp"
#include "proto/text_util.hpp"
#include "proto/wire.hpp"
#include "server/log.hpp"
#include "server/wav.hpp"

#include <algorithm>
#include <cstring>
#include <sqlite3.h>
#include <sys/stat.h>

void sqlite_closer::operator()(sqlite3 *db) const { sqlite3_close(db); }

namespace {

constexpr int k_busy_wait_ms = 100;   // the longest wait for a database lock held elsewhere

constexpr const char *k_schema = R"sql(
CREATE TABLE IF NOT EXISTS entries(
  album INTEGER NOT NULL, entry INTEGER NOT NULL,
  artist TEXT NOT NULL, title TEXT NOT NULL, time TEXT NOT NULL, status TEXT NOT NULL,
  last_played INTEGER NOT NULL, online INTEGER NOT NULL, cd_ident INTEGER NOT NULL, plays INTEGER NOT NULL,
  PRIMARY KEY(album, entry)) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS chains(
  album INTEGER NOT NULL, track INTEGER NOT NULL,
  head_album INTEGER NOT NULL, head_track INTEGER NOT NULL, position INTEGER NOT NULL,
  PRIMARY KEY(album, track)) WITHOUT ROWID;
CREATE INDEX IF NOT EXISTS chains_by_head ON chains(head_album, head_track, position);
CREATE TABLE IF NOT EXISTS settings(key TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID;
)sql";

// One prepared statement, finalized when it goes out of scope.
struct statement {
    sqlite3_stmt *st = nullptr;

    statement(sqlite3 *db, const char *sql)
    {
        if (sqlite3_prepare_v2(db, sql, -1, &st, nullptr) != SQLITE_OK) {
            slog("database: cannot prepare \"%.60s\": %s", sql, sqlite3_errmsg(db));
            st = nullptr;
        }
    }
    statement(const statement &) = delete;
    statement &operator=(const statement &) = delete;
    ~statement() { sqlite3_finalize(st); }

    statement &bind(int i, std::int64_t v)
    {
        if (st != nullptr)
            sqlite3_bind_int64(st, i, v);
        return *this;
    }
    statement &bind(int i, std::string_view v)
    {
        if (st != nullptr)
            sqlite3_bind_text(st, i, v.data(), static_cast<int>(v.size()), SQLITE_TRANSIENT);
        return *this;
    }
    // Steps once: SQLITE_ROW, SQLITE_DONE or an error code.
    int step() { return st != nullptr ? sqlite3_step(st) : SQLITE_ERROR; }
    // Runs a statement that returns no rows; true on success, a failure is logged.
    bool run()
    {
        if (step() == SQLITE_DONE)
            return true;
        if (st != nullptr)
            slog("database: %s", sqlite3_errmsg(sqlite3_db_handle(st)));
        return false;
    }
    std::int64_t integer(int col) const { return sqlite3_column_int64(st, col); }
    std::string_view text(int col) const
    {
        const auto *p = reinterpret_cast<const char *>(sqlite3_column_text(st, col));
        return p != nullptr ? std::string_view(p, static_cast<std::size_t>(sqlite3_column_bytes(st, col)))
                            : std::string_view{};
    }
};

// SQLite's text for the last failure of exec, for the start-up message.
std::string last_error;

// Runs SQL without results; a failure is logged.
bool exec(sqlite3 *db, const char *sql)
{
    char *err = nullptr;
    if (sqlite3_exec(db, sql, nullptr, nullptr, &err) != SQLITE_OK) {
        last_error = err != nullptr ? err : sqlite3_errmsg(db);
        slog("database: %s", last_error.c_str());
        sqlite3_free(err);
        return false;
    }
    return true;
}

// Whether the database file is still where it was opened: a file deleted or
// moved away (its root removed) would take changes that no restart sees.
bool still_in_place(sqlite3 *db)
{
    int moved = 0;
    if (sqlite3_file_control(db, "main", SQLITE_FCNTL_HAS_MOVED, &moved) != SQLITE_OK || moved != 0) {
        slog("database: the file was deleted or moved away; changes are refused");
        return false;
    }
    return true;
}

// Runs a pragma and checks the value it answers.
bool pragma_is(sqlite3 *db, const char *sql, std::string_view want)
{
    statement st(db, sql);
    if (st.step() != SQLITE_ROW) {
        last_error = sqlite3_errmsg(db);
        return false;
    }
    if (st.text(0) != want) {
        last_error = "the database cannot run in WAL mode";
        slog("database: \"%s\" answered \"%.*s\"", sql, static_cast<int>(st.text(0).size()), st.text(0).data());
        return false;
    }
    return true;
}

// Whether a change can be stored: a write that is rolled back. A database
// opened read-only, or whose folder refuses new files, fails here at start-up
// rather than on the first change.
bool writable(sqlite3 *db)
{
    if (sqlite3_db_readonly(db, "main") != 0) {
        last_error = sqlite3_errstr(SQLITE_READONLY);
        return false;
    }
    if (!exec(db, "BEGIN IMMEDIATE"))
        return false;
    const bool ok = exec(db, "INSERT OR REPLACE INTO settings VALUES('opened', 'yes')");
    exec(db, "ROLLBACK");
    return ok;
}

// A write transaction, rolled back unless committed. When it cannot begin
// (another program holds the database, the file has gone) `open` is false and
// the change must be refused before any statement runs: outside a transaction
// each statement would be stored on its own.
struct transaction {
    sqlite3 *db;
    bool open;

    explicit transaction(sqlite3 *d) : db(d), open(still_in_place(d) && exec(d, "BEGIN IMMEDIATE")) {}
    transaction(const transaction &) = delete;
    transaction &operator=(const transaction &) = delete;
    ~transaction()
    {
        if (open)
            exec(db, "ROLLBACK");
    }
    bool commit()
    {
        if (!open)
            return false;
        open = false;
        if (exec(db, "COMMIT"))
            return true;
        exec(db, "ROLLBACK");
        return false;
    }
};

// A scratch record for the album text helpers, which work on whole slots.
album_rec scratch;

// Rebuilds the kept ALBUM_READ answer of album `number` from its entries.
void refresh_text(stored_album &a, int number)
{
    std::memset(&scratch, 0, sizeof scratch);
    const std::size_t n = std::min<std::size_t>(a.entries.size(), k_max_entries);
    std::copy_n(a.entries.begin(), n, scratch.entry);
    static char buf[k_album_text_max];
    const std::size_t len = format_album_text(scratch, buf, sizeof buf);
    // Album numbers and the text's length always fit the header.
    const wire_header h = {
        .type = ALBUM_READ, .sequence = 0, .album = number, .track = 0, .length = static_cast<std::uint32_t>(len)};
    char head[k_header_len + 1];
    encode_header(head, h);
    std::string reply;
    reply.reserve(k_header_len + len);
    reply.append(head, k_header_len).append(buf, len);
    a.reply = std::move(reply);
}

// Writes the row of one entry.
bool insert_entry(sqlite3 *db, int album, int index, const track_rec &t)
{
    statement st(db, "INSERT OR REPLACE INTO entries VALUES(?,?,?,?,?,?,?,?,?,?)");
    const char status[2] = {t.status != '\0' ? t.status : '-', '\0'};
    return st.bind(1, album)
        .bind(2, index)
        .bind(3, std::string_view(t.artist, strnlen(t.artist, sizeof t.artist)))
        .bind(4, std::string_view(t.title, strnlen(t.title, sizeof t.title)))
        .bind(5, std::string_view(t.time, strnlen(t.time, sizeof t.time)))
        .bind(6, std::string_view(status))
        .bind(7, t.last_played)
        .bind(8, t.online)
        .bind(9, static_cast<std::int64_t>(t.cd_ident))
        .bind(10, t.plays)
        .run();
}

// Writes the rows of one entry (or several) inside a transaction, then the mirror.
bool save_entries(album_store &s, int album, const std::vector<int> &which)
{
    stored_album &a = *s.slots[static_cast<std::size_t>(album)];
    transaction tx(s.db.get());
    if (!tx.open)
        return false;
    for (int i : which)
        if (!insert_entry(s.db.get(), album, i, a.entries[static_cast<std::size_t>(i)]))
            return false;
    if (!tx.commit())
        return false;
    refresh_text(a, album);
    return true;
}

// Finds the highest album in use among 1..3000.
void recompute_max(album_store &s)
{
    s.max_regular = 0;
    for (int n = k_max_regular_album; n >= 1; --n)
        if (s.slots[static_cast<std::size_t>(n)] != nullptr) {
            s.max_regular = n;
            return;
        }
}

// Loads every album into the mirror, in one pass over the table. Each album's
// entries are gathered first and then kept in a vector of exactly their
// number (one grown entry by entry would hold up to twice the room).
bool load_all(album_store &s)
{
    statement st(s.db.get(),
                 "SELECT album, entry, artist, title, time, status, last_played, online, cd_ident, plays "
                 "FROM entries ORDER BY album, entry");
    std::vector<track_rec> rows;
    rows.reserve(k_max_entries);
    int loading = 0;   // the album whose rows are in `rows` (0: none)
    const auto keep = [&] {
        if (loading == 0)
            return;
        auto slot = std::make_unique<stored_album>();
        slot->entries.assign(rows.begin(), rows.end());
        refresh_text(*slot, loading);
        s.slots[static_cast<std::size_t>(loading)] = std::move(slot);
        rows.clear();
        loading = 0;
    };
    int rc;
    while ((rc = st.step()) == SQLITE_ROW) {
        const int album = static_cast<int>(st.integer(0));
        if (!album_number_ok(album))
            continue;
        if (album != loading) {
            keep();
            loading = album;
        }
        if (rows.size() >= static_cast<std::size_t>(k_max_entries))
            continue;   // the text format holds the album and 99 tracks
        track_rec t{};
        copy_bounded(t.artist, st.text(2).substr(0, k_max_text_field));
        copy_bounded(t.title, st.text(3).substr(0, k_max_text_field));
        copy_bounded(t.time, st.text(4).substr(0, 5));
        const std::string_view status = st.text(5);
        t.status = status.empty() ? '-' : status[0];
        t.last_played = st.integer(6);
        t.online = static_cast<std::int32_t>(st.integer(7));
        t.cd_ident = static_cast<std::uint64_t>(st.integer(8));
        t.plays = st.integer(9);
        rows.push_back(t);
    }
    if (rc != SQLITE_DONE)
        return false;
    keep();
    recompute_max(s);
    return true;
}

// The album with number n, to change it, or nullptr.
stored_album *get_mut(album_store &s, int n)
{
    return n >= 0 && n < k_album_slots ? s.slots[static_cast<std::size_t>(n)].get() : nullptr;
}

// Forgets a number handed out.
void unreserve(album_store &s, int n) { std::erase(s.reserved, n); }

// The head of the chain a track belongs to; false when it is in none.
bool chain_head(sqlite3 *db, int album, int track, int &head_album, int &head_track)
{
    statement st(db, "SELECT head_album, head_track FROM chains WHERE album=? AND track=?");
    st.bind(1, album).bind(2, track);
    if (st.step() != SQLITE_ROW)
        return false;
    head_album = static_cast<int>(st.integer(0));
    head_track = static_cast<int>(st.integer(1));
    return true;
}

// Takes a track out of its chain; when it was the head, the next member becomes the head.
bool unlink_member(sqlite3 *db, int album, int track)
{
    int ha = 0;
    int ht = 0;
    if (!chain_head(db, album, track, ha, ht))
        return true;
    statement del(db, "DELETE FROM chains WHERE album=? AND track=?");
    if (!del.bind(1, album).bind(2, track).run())
        return false;
    if (ha != album || ht != track)
        return true;
    statement next(db, "SELECT album, track FROM chains WHERE head_album=? AND head_track=? ORDER BY position LIMIT 1");
    next.bind(1, ha).bind(2, ht);
    if (next.step() != SQLITE_ROW)
        return true;
    const std::int64_t na = next.integer(0);
    const std::int64_t nt = next.integer(1);
    statement move(db, "UPDATE chains SET head_album=?, head_track=? WHERE head_album=? AND head_track=?");
    return move.bind(1, na).bind(2, nt).bind(3, ha).bind(4, ht).run();
}

}   // namespace

bool store_open(album_store &s, const std::string &path, std::string &error)
{
    s.slots.clear();
    s.slots.resize(k_album_slots);
    s.reserved.clear();
    sqlite3 *raw = nullptr;
    // Only the server's one thread uses the connection: SQLite need not lock it
    // on every call (reading the albums at start-up makes millions of calls).
    const int rc = sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                                   nullptr);
    s.db.reset(raw);
    if (rc != SQLITE_OK) {
        error = raw != nullptr ? sqlite3_errmsg(raw) : "cannot open";
        s.db.reset();
        return false;
    }
    sqlite3 *db = s.db.get();
    // The one server thread never waits long for a lock another program holds:
    // the change is refused instead.
    sqlite3_busy_timeout(db, k_busy_wait_ms);
    // WAL with FULL: each change is committed and its log synced to the disk
    // before it is acknowledged, so neither a kill nor a power cut loses it.
    last_error.clear();
    const bool ok = pragma_is(db, "PRAGMA journal_mode=WAL", "wal") && exec(db, "PRAGMA synchronous=FULL") &&
                    exec(db, k_schema) && writable(db) && load_all(s);
    if (!ok) {
        error = !last_error.empty() ? last_error : std::string(sqlite3_errmsg(db));
        s.db.reset();
        return false;
    }
    return true;
}

std::string_view stored_text(const stored_album &a)
{
    return std::string_view(a.reply).substr(std::min(a.reply.size(), k_header_len));
}

const stored_album *store_get(const album_store &s, int n)
{
    return n >= 0 && n < static_cast<int>(s.slots.size()) ? s.slots[static_cast<std::size_t>(n)].get() : nullptr;
}

const track_rec *store_entry(const album_store &s, int album, int track)
{
    const stored_album *a = store_get(s, album);
    if (a == nullptr || track < 0 || static_cast<std::size_t>(track) >= a->entries.size())
        return nullptr;
    return &a->entries[static_cast<std::size_t>(track)];
}

int store_track_count(const album_store &s, int album)
{
    const stored_album *a = store_get(s, album);
    return a != nullptr ? static_cast<int>(a->entries.size()) - 1 : 0;
}

std::int64_t store_read_answer(const album_store &s, int n)
{
    if (store_get(s, n) != nullptr)
        return n;
    if (n >= 1 && n <= k_max_regular_album && n > s.max_regular)
        return k_past_the_end;
    return k_no_such_album;
}

bool store_write_text(album_store &s, int n, std::string_view text)
{
    if (!album_number_ok(n) || s.db == nullptr)
        return false;
    std::memset(&scratch, 0, sizeof scratch);
    const int read = parse_album_text(text.data(), text.size(), scratch);
    if (read < 1 || scratch.entry[0].title[0] == '\0')
        return false;
    std::vector<track_rec> entries;
    for (int i = 0; i < read && (i == 0 || scratch.entry[i].title[0] != '\0'); ++i) {
        track_rec t = scratch.entry[i];
        t.mark = 0;
        if (t.status == '\0')
            t.status = '-';
        // An entry line without a time would be written with a leading blank,
        // and read back with its status letter as the time.
        if (t.time[0] == '\0')
            copy_bounded(t.time, "00:00");
        entries.push_back(t);
    }
    transaction tx(s.db.get());
    if (!tx.open)
        return false;
    statement del(s.db.get(), "DELETE FROM entries WHERE album=?");
    if (!del.bind(1, n).run())
        return false;
    for (std::size_t i = 0; i < entries.size(); ++i)
        if (!insert_entry(s.db.get(), n, static_cast<int>(i), entries[i]))
            return false;
    if (!tx.commit())
        return false;
    auto &slot = s.slots[static_cast<std::size_t>(n)];
    if (slot == nullptr)
        slot = std::make_unique<stored_album>();
    slot->entries = std::move(entries);
    refresh_text(*slot, n);
    unreserve(s, n);
    if (n <= k_max_regular_album && n > s.max_regular)
        s.max_regular = n;
    return true;
}

bool store_delete(album_store &s, int n)
{
    if (get_mut(s, n) == nullptr)
        return false;
    transaction tx(s.db.get());
    if (!tx.open)
        return false;
    statement del(s.db.get(), "DELETE FROM entries WHERE album=?");
    statement links(s.db.get(), "SELECT track FROM chains WHERE album=?");
    if (!del.bind(1, n).run())
        return false;
    links.bind(1, n);
    std::vector<int> linked;
    while (links.step() == SQLITE_ROW)
        linked.push_back(static_cast<int>(links.integer(0)));
    for (int t : linked)
        if (!unlink_member(s.db.get(), n, t))
            return false;
    if (!tx.commit())
        return false;
    s.slots[static_cast<std::size_t>(n)].reset();
    recompute_max(s);
    return true;
}

change_result store_mark(album_store &s, int album, int track, std::int64_t mark_type)
{
    stored_album *a = get_mut(s, album);
    const int tracks = store_track_count(s, album);
    if (a == nullptr || track < 0 || track > tracks)
        return change_result::refused;
    const int first = track == 0 ? 1 : track;
    const int last = track == 0 ? tracks : track;
    std::vector<int> changed;
    std::vector<track_rec> before = a->entries;
    for (int i = first; i <= last; ++i) {
        track_rec &t = a->entries[static_cast<std::size_t>(i)];
        const track_rec old = t;
        switch (mark_type) {
        case SHORTLIST: t.status = 'S'; break;
        case DONOTPLAY:
            // Removal from the short-list: the unplayable and not-selected marks stay.
            if (t.status == 'S')
                t.status = '-';
            break;
        case UNPLAYABLE: t.status = 'U'; break;
        case NO_SELECT: t.status = 'N'; break;
        case OFFLINE: t.online = 0; break;
        default: return change_result::refused;
        }
        if (t.status != old.status || t.online != old.online)
            changed.push_back(i);
    }
    if (changed.empty())
        return change_result::unchanged;
    if (!save_entries(s, album, changed)) {
        a->entries = std::move(before);
        return change_result::refused;
    }
    return change_result::changed;
}

change_result store_replace(album_store &s, int album, int track, bool title, std::string_view old_text,
                            std::string_view new_text)
{
    stored_album *a = get_mut(s, album);
    if (a == nullptr || track < 0 || track > store_track_count(s, album) || old_text.empty())
        return change_result::refused;
    // A line break (or any control character) in a field would split the album text.
    if (std::any_of(new_text.begin(), new_text.end(), [](char ch) { return static_cast<unsigned char>(ch) < 0x20; }))
        return change_result::refused;
    track_rec &t = a->entries[static_cast<std::size_t>(track)];
    char *field = title ? t.title : t.artist;
    const std::string before(field, strnlen(field, sizeof t.title));
    std::string after;
    std::size_t from = 0;
    for (std::size_t at; (at = before.find(old_text, from)) != std::string::npos; from = at + old_text.size())
        after.append(before, from, at - from).append(new_text);
    after.append(before, from);
    if (after == before)
        return change_result::unchanged;
    // An empty title would end the album at this entry.
    if (after.size() > k_max_text_field || (title && after.empty()))
        return change_result::refused;
    copy_bounded(field, sizeof t.title, after);
    if (!save_entries(s, album, {track})) {
        copy_bounded(field, sizeof t.title, before);
        return change_result::refused;
    }
    return change_result::changed;
}

bool store_record_play(album_store &s, int album, int track, std::int64_t when)
{
    stored_album *a = get_mut(s, album);
    if (a == nullptr || track < 1 || track > store_track_count(s, album))
        return false;
    const track_rec album_before = a->entries[0];
    const track_rec track_before = a->entries[static_cast<std::size_t>(track)];
    a->entries[static_cast<std::size_t>(track)].last_played = when;
    a->entries[static_cast<std::size_t>(track)].plays += 1;
    a->entries[0].last_played = when;
    if (save_entries(s, album, {0, track}))
        return true;
    a->entries[0] = album_before;
    a->entries[static_cast<std::size_t>(track)] = track_before;
    return false;
}

std::optional<std::vector<int>> store_reset_plays(album_store &s)
{
    std::vector<int> changed;
    transaction tx(s.db.get());
    if (!tx.open)
        return std::nullopt;
    statement st(s.db.get(), "UPDATE entries SET plays=0 WHERE plays<>0");
    if (!st.run() || !tx.commit())
        return std::nullopt;
    for (int n = 0; n < k_album_slots; ++n) {
        stored_album *a = get_mut(s, n);
        if (a == nullptr)
            continue;
        bool any = false;
        for (track_rec &t : a->entries) {
            any = any || t.plays != 0;
            t.plays = 0;
        }
        if (any) {
            refresh_text(*a, n);
            changed.push_back(n);
        }
    }
    return changed;
}

bool store_check_media(album_store &s, const std::string &media_dir, std::vector<int> &changed)
{
    changed.clear();
    bool all_stored = true;
    for (int n = 0; n < k_album_slots; ++n) {
        stored_album *a = get_mut(s, n);
        if (a == nullptr)
            continue;
        std::vector<int> gone;
        for (std::size_t i = 1; i < a->entries.size(); ++i) {
            struct stat st {};
            if (a->entries[i].online == 1 && stat(media_path(media_dir, n, static_cast<int>(i)).c_str(), &st) != 0)
                gone.push_back(static_cast<int>(i));
        }
        if (gone.empty())
            continue;
        for (int i : gone)
            a->entries[static_cast<std::size_t>(i)].online = 0;
        if (save_entries(s, n, gone)) {
            changed.push_back(n);
            continue;
        }
        for (int i : gone)
            a->entries[static_cast<std::size_t>(i)].online = 1;
        all_stored = false;
    }
    return all_stored;
}

int store_allocate(album_store &s, bool temp)
{
    const auto free_number = [&](int n) {
        return store_get(s, n) == nullptr && std::find(s.reserved.begin(), s.reserved.end(), n) == s.reserved.end();
    };
    int found = 0;
    if (temp) {
        for (int n = k_first_temp_album; n < k_first_temp_album + k_temp_albums && found == 0; ++n)
            if (free_number(n))
                found = n;
    } else {
        // The number after the highest in use (counting those handed out), else the first gap.
        int high = s.max_regular;
        for (int r : s.reserved)
            if (r <= k_max_regular_album)
                high = std::max(high, r);
        if (high < k_max_regular_album)
            found = high + 1;
        for (int n = 1; n <= k_max_regular_album && found == 0; ++n)
            if (free_number(n))
                found = n;
    }
    if (found != 0)
        s.reserved.push_back(found);
    return found;
}

void store_release(album_store &s, int n) { unreserve(s, n); }

std::vector<plist_entry> store_chain(const album_store &s, int album, int track)
{
    std::vector<plist_entry> out;
    int ha = 0;
    int ht = 0;
    if (s.db == nullptr || !chain_head(s.db.get(), album, track, ha, ht))
        return out;
    statement st(s.db.get(), "SELECT album, track FROM chains WHERE head_album=? AND head_track=? ORDER BY position");
    st.bind(1, ha).bind(2, ht);
    while (st.step() == SQLITE_ROW)
        out.push_back({static_cast<int>(st.integer(0)), static_cast<int>(st.integer(1))});
    return out;
}

bool store_link(album_store &s, int album, int track, int head_album, int head_track)
{
    if (s.db == nullptr || track < 1 || store_entry(s, album, track) == nullptr)
        return false;
    sqlite3 *db = s.db.get();
    transaction tx(db);
    if (!tx.open)
        return false;
    int ha = 0;
    int ht = 0;
    const bool linked = chain_head(db, album, track, ha, ht);
    if (head_album == 0 && head_track == 0) {
        if (!linked)
            return false;
        statement del(db, "DELETE FROM chains WHERE head_album=? AND head_track=?");
        return del.bind(1, ha).bind(2, ht).run() && tx.commit();
    }
    if (head_album == album && head_track == track) {
        if (linked && ha == album && ht == track)
            return tx.commit();   // already the head of its chain
        if (!unlink_member(db, album, track))
            return false;
        statement ins(db, "INSERT INTO chains VALUES(?,?,?,?,0)");
        return ins.bind(1, album).bind(2, track).bind(3, album).bind(4, track).run() && tx.commit();
    }
    if (head_track < 1 || store_entry(s, head_album, head_track) == nullptr)
        return false;
    // The chain to join: the named head's own chain (by its real head), or a new one it heads.
    int ja = head_album;
    int jt = head_track;
    if (!chain_head(db, head_album, head_track, ja, jt)) {
        statement ins(db, "INSERT INTO chains VALUES(?,?,?,?,0)");
        if (!ins.bind(1, head_album).bind(2, head_track).bind(3, head_album).bind(4, head_track).run())
            return false;
        ja = head_album;
        jt = head_track;
    }
    if (linked && ha == ja && ht == jt)
        return tx.commit();   // already in that chain
    if (linked && !unlink_member(db, album, track))
        return false;
    statement last(db, "SELECT COALESCE(MAX(position), 0) FROM chains WHERE head_album=? AND head_track=?");
    last.bind(1, ja).bind(2, jt);
    const std::int64_t position = last.step() == SQLITE_ROW ? last.integer(0) + 1 : 1;
    statement ins(db, "INSERT INTO chains VALUES(?,?,?,?,?)");
    return ins.bind(1, album).bind(2, track).bind(3, ja).bind(4, jt).bind(5, position).run() && tx.commit();
}

std::string store_setting(const album_store &s, std::string_view key, std::string_view fallback)
{
    if (s.db == nullptr)
        return std::string(fallback);
    statement st(s.db.get(), "SELECT value FROM settings WHERE key=?");
    st.bind(1, key);
    if (st.step() != SQLITE_ROW)
        return std::string(fallback);
    return std::string(st.text(0));
}

bool store_set_setting(album_store &s, std::string_view key, std::string_view value)
{
    const setting_value one[] = {{key, value}};
    return store_set_settings(s, one);
}

bool store_set_settings(album_store &s, std::span<const setting_value> values)
{
    if (s.db == nullptr)
        return false;
    transaction tx(s.db.get());
    if (!tx.open)
        return false;
    for (const setting_value &v : values) {
        statement st(s.db.get(), "INSERT OR REPLACE INTO settings VALUES(?,?)");
        if (!st.bind(1, v.key).bind(2, v.value).run())
            return false;
    }
    return tx.commit();
}
