// Browser lists: their owner, linking one element at a time (a walk from the
// head, which keeps every order stable), and building a whole list in one go
// with a sort that gives exactly the same list.
#include "browse/chain.hpp"

#include "db/album.hpp"
#include "proto/text_util.hpp"

#include <algorithm>
#include <array>
#include <cassert>
#include <cctype>
#include <cstring>
#include <map>
#include <new>
#include <string>
#include <utility>
#include <vector>

void (*chain_alloc_failed)() = nullptr;

// The builders' access to an owner: they link elements in place.
struct chain_building {
    static chain_item **head(chain_list &list) { return &list.first_; }
    static void mark_history(chain_list &list) { list.history_ = true; }
};

namespace {

chain_walk *innermost_walk;   // the walks under way, innermost first (through outer_)
std::size_t elements_live;    // elements allocated and not yet released

// Releases the elements from first on, and with texts set their private text copies.
void release_elements(chain_item *first, bool texts)
{
    while (first != nullptr) {
        chain_item *next = first->next;
        if (texts)
            delete first->track;
        delete first;
        --elements_live;
        first = next;
    }
}

// Lower-case equivalents of every byte, the way tolower gives them.
constexpr std::array<unsigned char, 256> make_fold_table()
{
    std::array<unsigned char, 256> t{};
    for (int c = 0; c < 256; ++c)
        t[static_cast<std::size_t>(c)] = static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return t;
}
constexpr std::array<unsigned char, 256> fold = make_fold_table();

unsigned char folded(char c) { return fold[static_cast<unsigned char>(c)]; }

std::string_view drop_the(std::string_view s) { return starts_with_the(s) ? s.substr(4) : s; }

// Tells the client that an element could not be allocated.
void report_alloc_failure()
{
    if (chain_alloc_failed != nullptr)
        chain_alloc_failed();
}

// A new element, or null (reported) when memory ran out.
chain_item *new_element()
{
    chain_item *e = new (std::nothrow) chain_item{};
    if (e == nullptr)
        report_alloc_failure();
    else
        ++elements_live;
    return e;
}

// The "CD-ID or time played" value of a record, the default key of an element.
std::int64_t default_key(const track_rec &r) { return static_cast<std::int64_t>(r.cd_ident); }

// Whether an existing record and a new one are like tracks: the same artist and
// title (as the orders compare them) and lengths within 29 seconds.
bool like_tracks(const track_rec &old_rec, const track_rec &new_rec, long long new_seconds)
{
    if (compare_artists(field_view(old_rec.artist), field_view(new_rec.artist)) != 0)
        return false;
    if (compare_folded(field_view(old_rec.title), field_view(new_rec.title)) != 0)
        return false;
    const long long d = length_seconds(field_view(old_rec.time)) - new_seconds;
    return d <= k_like_seconds && d >= -k_like_seconds;
}

// The new element's values as the walk compares them.
struct newcomer {
    const track_rec *rec;   // its texts (and, for link_track, its record)
    int album_no;
    int track_no;
    std::int64_t key;
    bool history;           // placed by link_history: orders 5 and 6 append
};

// Whether the walk stops before element e (the new element goes there).
bool stops_before(int order, const chain_item &e, const newcomer &n)
{
    const track_rec &r = *e.track;
    switch (order) {
    case k_order_numeric:
        return e.album_no > n.album_no || (e.album_no == n.album_no && e.track_no > n.track_no);
    case k_order_artist: {
        const int a = compare_artists(field_view(r.artist), field_view(n.rec->artist));
        return a > 0 || (a == 0 && compare_folded(field_view(r.title), field_view(n.rec->title)) > 0);
    }
    case k_order_title: {
        const int t = compare_folded(field_view(r.title), field_view(n.rec->title));
        return t > 0 || (t == 0 && compare_artists(field_view(r.artist), field_view(n.rec->artist)) > 0);
    }
    case k_order_length:
        return field_view(r.time).compare(field_view(n.rec->time)) > 0;
    case k_order_cdid:
        return !n.history && static_cast<std::uint32_t>(r.cd_ident) > static_cast<std::uint32_t>(n.rec->cd_ident);
    case k_order_plays:
        return !n.history && r.plays > n.rec->plays;
    case k_order_history_time:
        return e.key > n.key;
    case k_order_reverse:
        return true;
    default:   // original order, initial order, and any unknown code: append
        return false;
    }
}

// Puts e into the list before `before`, or at the end (after `last`) when before is null.
void insert_element(chain_item **head, chain_item *e, chain_item *before, chain_item *last)
{
    if (before != nullptr) {
        e->next = before;
        e->prev = before->prev;
        if (before->prev != nullptr)
            before->prev->next = e;
        else
            *head = e;
        before->prev = e;
    } else {
        e->next = nullptr;
        e->prev = last;
        if (last != nullptr)
            last->next = e;
        else
            *head = e;
    }
}

// A private copy of a history entry's three texts.
track_rec *history_block(const char *artist, const char *title, const char *length)
{
    track_rec *b = new (std::nothrow) track_rec{};
    if (b == nullptr)
        return nullptr;
    copy_bounded(b->artist, artist != nullptr ? artist : "");
    copy_bounded(b->title, title != nullptr ? title : "");
    copy_bounded(b->time, length != nullptr ? length : "");
    return b;
}

// ----- building in one go --------------------------------------------------------------

// One element-to-be while a list is built in one go.
struct candidate {
    track_rec *rec;          // the record (or the history entry's private copy)
    std::int32_t album_no;
    std::int32_t track_no;
    std::int64_t given_key;  // as passed; 0 = the record's value
    std::int64_t key;        // the element's key
    std::uint32_t primary;   // orders 2 and 3: folded sort texts in the arena
    std::uint32_t primary_len;
    std::uint32_t secondary;
    std::uint32_t secondary_len;
    std::uint64_t prefix;    // orders 2, 3 and 4: the first bytes of the primary sort text
    std::uint64_t prefix2;   // and its next bytes
};

// A candidate before its sort texts are made.
candidate make_candidate(track_rec *rec, std::int32_t album_no, std::int32_t track_no, std::int64_t given_key,
                         std::int64_t key)
{
    return {.rec = rec,
            .album_no = album_no,
            .track_no = track_no,
            .given_key = given_key,
            .key = key,
            .primary = 0,
            .primary_len = 0,
            .secondary = 0,
            .secondary_len = 0,
            .prefix = 0,
            .prefix2 = 0};
}

// Folded artist and title texts of all candidates, kept in one block.
struct fold_arena {
    std::string text;

    std::uint32_t add(std::string_view s, std::uint32_t &len)
    {
        const auto at = static_cast<std::uint32_t>(text.size());
        for (char c : s)
            text.push_back(static_cast<char>(folded(c)));
        len = static_cast<std::uint32_t>(s.size());
        return at;
    }
    std::string_view view(std::uint32_t at, std::uint32_t len) const { return {text.data() + at, len}; }
};

// Eight bytes of a sort text from `from` on, most significant first,
// zero-padded: comparing the first and the next eight in turn compares the
// texts' beginnings the way the texts compare (sort texts hold no NUL).
std::uint64_t text_prefix(std::string_view s, std::size_t from)
{
    std::uint64_t p = 0;
    for (std::size_t i = from; i < from + 8; ++i)
        p = (p << 8) | (i < s.size() ? static_cast<unsigned char>(s[i]) : 0u);
    return p;
}

// Reorders perm by the candidates' prefixes (the first sixteen bytes),
// keeping equal prefixes in the order they had (a least-significant-byte-first
// radix sort). Many artists share their first eight bytes ("The Rolling ...",
// "Orchestra ..."), hence sixteen.
void sort_by_prefix(const std::vector<candidate> &cands, std::vector<std::uint32_t> &perm)
{
    struct keyed {
        std::uint64_t prefix;
        std::uint64_t prefix2;
        std::uint32_t index;
    };
    std::vector<keyed> items(perm.size());
    for (std::size_t i = 0; i < perm.size(); ++i)
        items[i] = {.prefix = cands[perm[i]].prefix, .prefix2 = cands[perm[i]].prefix2, .index = perm[i]};
    std::vector<keyed> spare(items.size());
    for (int pass = 0; pass < 16; ++pass) {
        const int shift = 8 * (pass % 8);
        const auto byte = [&](const keyed &k) { return ((pass < 8 ? k.prefix2 : k.prefix) >> shift) & 0xFF; };
        std::array<std::size_t, 257> start = {};
        for (const keyed &k : items)
            ++start[byte(k) + 1];
        if (std::ranges::find(start, items.size()) != start.end())
            continue;   // every item has the same byte here: this pass would change nothing
        for (std::size_t b = 1; b < start.size(); ++b)
            start[b] += start[b - 1];
        for (const keyed &k : items)
            spare[start[byte(k)]++] = k;
        items.swap(spare);
    }
    for (std::size_t i = 0; i < perm.size(); ++i)
        perm[i] = items[i].index;
}

// Orders 2, 3 and 4: by the folded artist and title texts (the length text
// for order 4), ties in arrival order. perm holds every index on entry.
void sort_by_texts(int order, std::vector<candidate> &cands, std::vector<std::uint32_t> &perm, fold_arena &arena)
{
    arena.text.reserve(cands.size() * 40);
    for (candidate &c : cands) {
        if (order == k_order_length) {
            const std::string_view time = field_view(c.rec->time);
            c.primary = static_cast<std::uint32_t>(arena.text.size());
            c.primary_len = static_cast<std::uint32_t>(time.size());
            arena.text.append(time);
            c.secondary = c.primary;
            c.secondary_len = 0;
        } else {
            const std::string_view artist = drop_the(field_view(c.rec->artist));
            const std::string_view title = field_view(c.rec->title);
            const bool artist_first = order == k_order_artist;
            c.primary = arena.add(artist_first ? artist : title, c.primary_len);
            c.secondary = arena.add(artist_first ? title : artist, c.secondary_len);
        }
        c.prefix = text_prefix(arena.view(c.primary, c.primary_len), 0);
        c.prefix2 = text_prefix(arena.view(c.primary, c.primary_len), 8);
    }
    // The first eight bytes decide most comparisons: a radix sort on them
    // (stable, so runs of equal prefixes stay in arrival order), then each
    // run is sorted on the whole texts.
    sort_by_prefix(cands, perm);
    const auto whole_text_less = [&](std::uint32_t a, std::uint32_t b) {
        const candidate &x = cands[a];
        const candidate &y = cands[b];
        int c = arena.view(x.primary, x.primary_len).compare(arena.view(y.primary, y.primary_len));
        if (c == 0)
            c = arena.view(x.secondary, x.secondary_len).compare(arena.view(y.secondary, y.secondary_len));
        return c != 0 ? c < 0 : a < b;
    };
    for (std::size_t i = 0; i < perm.size();) {
        std::size_t j = i + 1;
        while (j < perm.size() && cands[perm[j]].prefix == cands[perm[i]].prefix &&
               cands[perm[j]].prefix2 == cands[perm[i]].prefix2)
            ++j;
        if (j - i > 1)
            std::sort(perm.begin() + static_cast<long>(i), perm.begin() + static_cast<long>(j), whole_text_less);
        i = j;
    }
}

// Orders the candidates (indices into cands) the way the walk would: by the
// order's values, ties in arrival order.
void sort_candidates(int order, std::vector<candidate> &cands, std::vector<std::uint32_t> &perm, fold_arena &arena,
                     bool history)
{
    perm.resize(cands.size());
    for (std::uint32_t i = 0; i < perm.size(); ++i)
        perm[i] = i;
    // Every comparison ends with the arrival order, so an unstable sort keeps ties as they came.
    const auto by = [&](auto less) {
        std::sort(perm.begin(), perm.end(), [&](std::uint32_t a, std::uint32_t b) {
            const int c = less(cands[a], cands[b]);
            return c != 0 ? c < 0 : a < b;
        });
    };
    const auto three_way = [](auto x, auto y) { return x < y ? -1 : (y < x ? 1 : 0); };
    switch (order) {
    case k_order_numeric:
        by([&](const candidate &x, const candidate &y) {
            return x.album_no != y.album_no ? three_way(x.album_no, y.album_no) : three_way(x.track_no, y.track_no);
        });
        break;
    case k_order_artist:
    case k_order_title:
    case k_order_length:
        sort_by_texts(order, cands, perm, arena);
        break;
    case k_order_cdid:
        if (!history)
            by([&](const candidate &x, const candidate &y) {
                return three_way(static_cast<std::uint32_t>(x.rec->cd_ident),
                                 static_cast<std::uint32_t>(y.rec->cd_ident));
            });
        break;
    case k_order_plays:
        if (!history)
            by([&](const candidate &x, const candidate &y) { return three_way(x.rec->plays, y.rec->plays); });
        break;
    case k_order_history_time:
        by([&](const candidate &x, const candidate &y) { return three_way(x.key, y.key); });
        break;
    case k_order_reverse:
        std::reverse(perm.begin(), perm.end());
        break;
    default:
        break;
    }
}

// Whether two candidates have the same artist and title as the orders compare them.
bool same_song(const fold_arena &arena, const candidate &x, const candidate &y)
{
    return arena.view(x.primary, x.primary_len) == arena.view(y.primary, y.primary_len) &&
           arena.view(x.secondary, x.secondary_len) == arena.view(y.secondary, y.secondary_len);
}

// Marks every record of one song that has another recording within 29 seconds,
// as linking them one by one with keep-duplicates set would.
void mark_like_tracks(const std::vector<candidate> &cands, const std::uint32_t *group, std::size_t size,
                      std::vector<std::pair<long long, std::uint32_t>> &by_length)
{
    by_length.clear();
    for (std::size_t k = 0; k < size; ++k)
        by_length.emplace_back(length_seconds(field_view(cands[group[k]].rec->time)), group[k]);
    std::sort(by_length.begin(), by_length.end());
    for (std::size_t k = 1; k < size; ++k) {
        if (by_length[k].first - by_length[k - 1].first <= k_like_seconds) {
            cands[by_length[k].second].rec->mark = 1;
            cands[by_length[k - 1].second].rec->mark = 1;
        }
    }
}

// Folds the recordings of one song in arrival order, as linking them one by one
// without keep-duplicates would: a newcomer like an element already listed (the
// first such in list order) is dropped, unless it is on line and that element
// is not, in which case it takes the element's place.
void fold_like_tracks(const std::vector<candidate> &cands, const std::uint32_t *group, std::size_t size,
                      std::vector<candidate> &out)
{
    const std::size_t base = out.size();
    // A song has few recordings: a plain scan of those listed so far, unless there are many.
    constexpr std::size_t k_scan_limit = 16;
    std::vector<long long> lengths;             // per listed recording, by index from base
    std::multimap<long long, std::size_t> by_length;   // length -> index in out, for many recordings
    const bool indexed = size > k_scan_limit;
    for (std::size_t k = 0; k < size; ++k) {
        const candidate &c = cands[group[k]];
        const long long s = length_seconds(field_view(c.rec->time));
        std::size_t at = out.size();   // the first like element, if any
        if (indexed) {
            for (auto it = by_length.lower_bound(s - k_like_seconds);
                 it != by_length.end() && it->first <= s + k_like_seconds; ++it)
                at = std::min(at, it->second);
        } else {
            for (std::size_t i = 0; i < lengths.size(); ++i) {
                if (lengths[i] - s <= k_like_seconds && s - lengths[i] <= k_like_seconds) {
                    at = base + i;
                    break;
                }
            }
        }
        if (at == out.size()) {
            if (indexed)
                by_length.emplace(s, out.size());
            lengths.push_back(s);
            out.push_back(c);
            continue;
        }
        candidate &e = out[at];
        if (e.rec->online != 0 || c.rec->online == 0)
            continue;
        if (indexed) {
            const long long old = lengths[at - base];
            for (auto it = by_length.lower_bound(old); it != by_length.end() && it->first == old; ++it) {
                if (it->second == at) {
                    by_length.erase(it);
                    break;
                }
            }
            by_length.emplace(s, at);
        }
        lengths[at - base] = s;
        e.rec = c.rec;
        e.album_no = c.album_no;
        e.track_no = c.track_no;
        if (c.given_key != 0)
            e.key = c.given_key;
    }
}

// Allocates and links the elements in the given order; false (all released) when memory ran out.
bool link_all(chain_item **head, const std::vector<candidate> &items)
{
    chain_item *first = nullptr;
    chain_item *last = nullptr;
    for (const candidate &c : items) {
        chain_item *e = new (std::nothrow) chain_item{};
        if (e == nullptr) {
            release_elements(first, false);
            report_alloc_failure();
            return false;
        }
        ++elements_live;
        e->track = c.rec;
        e->album_no = c.album_no;
        e->track_no = c.track_no;
        e->key = c.key;
        e->prev = last;
        if (last != nullptr)
            last->next = e;
        else
            first = e;
        last = e;
    }
    *head = first;
    return true;
}

}   // namespace

chain_list::chain_list(chain_list &&other) noexcept
    : first_(std::exchange(other.first_, nullptr)), history_(std::exchange(other.history_, false))
{
}

chain_list &chain_list::operator=(chain_list &&other) noexcept
{
    if (this != &other) {
        reset();
        first_ = std::exchange(other.first_, nullptr);
        history_ = std::exchange(other.history_, false);
    }
    return *this;
}

void chain_list::reset()
{
    if (first_ != nullptr) {
        chain_walk *walk = innermost_walk;
        while (walk != nullptr && walk->first_ != first_)
            walk = walk->outer_;
        if (walk != nullptr) {
            // Someone is still walking it: it goes with the walk.
            walk->kept_.first_ = first_;
            walk->kept_.history_ = history_;
        } else {
            release_elements(first_, history_);
        }
    }
    first_ = nullptr;
    history_ = false;
}

chain_walk::chain_walk(const chain_item *first) : first_(first), outer_(innermost_walk) { innermost_walk = this; }

chain_walk::~chain_walk()
{
    assert(innermost_walk == this);
    innermost_walk = outer_;
    // kept_ goes now, or to an outer walk on the same list.
}

std::size_t chain_elements_live() { return elements_live; }

int chain_length(const chain_item *first)
{
    int n = 0;
    for (; first != nullptr; first = first->next)
        ++n;
    return n;
}

track_rec *table_record(int album_no, int track_no)
{
    if (album_no < 0 || album_no >= k_album_slots || track_no < 0 || track_no >= k_max_entries)
        return nullptr;
    return &album[album_no].entry[track_no];
}

long long length_seconds(std::string_view text)
{
    constexpr long long k_length_cap = 1'000'000'000'000LL;   // far beyond any length, far from overflow
    // The lenient "%d:%d": blanks, a sign, digits; the colon must follow the minutes directly.
    std::size_t i = 0;
    const auto number = [&](long long &out) {
        while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i])))
            ++i;
        bool negative = false;
        if (i < text.size() && (text[i] == '+' || text[i] == '-'))
            negative = text[i++] == '-';
        const std::size_t start = i;
        long long v = 0;
        while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
            v = std::min(v * 10 + (text[i] - '0'), k_length_cap);
            ++i;
        }
        out = negative ? -v : v;
        return i > start;
    };
    long long minutes = 0;
    long long seconds = 0;
    if (!number(minutes))
        return 0;
    if (i < text.size() && text[i] == ':') {
        ++i;
        if (!number(seconds))
            seconds = 0;
    }
    return minutes * 60 + seconds;
}

int compare_folded(std::string_view a, std::string_view b)
{
    const std::size_t n = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < n; ++i) {
        const int ca = folded(a[i]);
        const int cb = folded(b[i]);
        if (ca != cb)
            return ca - cb;
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

int compare_artists(std::string_view a, std::string_view b) { return compare_folded(drop_the(a), drop_the(b)); }

int contains(const char *text, const char *wanted, int case_flag)
{
    if (wanted[0] == '\0')
        return 0;
    const std::size_t wlen = std::strlen(wanted);
    if (case_flag != 0)
        return std::strstr(text, wanted) != nullptr ? 1 : 0;
    const unsigned char first = folded(wanted[0]);
    for (const char *p = text; *p != '\0'; ++p) {
        if (folded(*p) != first)
            continue;
        std::size_t k = 1;
        while (k < wlen && p[k] != '\0' && folded(p[k]) == folded(wanted[k]))
            ++k;
        if (k == wlen)
            return 1;
        if (p[k] == '\0')
            return 0;
    }
    return 0;
}

int link_track(chain_list &list, int order, int album_no, int track_no, std::int64_t key, int keep_duplicates)
{
    assert(!list.history());   // a history list would release the album table's records as its own
    chain_item **head = chain_building::head(list);
    track_rec *rec = table_record(album_no, track_no);
    if (rec == nullptr)
        return 0;
    const newcomer n{.rec = rec,
                     .album_no = album_no,
                     .track_no = track_no,
                     .key = key != 0 ? key : default_key(*rec),
                     .history = false};
    const bool check_like = order == k_order_artist || order == k_order_title;
    const long long seconds = check_like ? length_seconds(field_view(rec->time)) : 0;
    chain_item *last = nullptr;
    chain_item *e = *head;
    for (; e != nullptr; last = e, e = e->next) {
        if (check_like && like_tracks(*e->track, *rec, seconds)) {
            if (keep_duplicates == 0) {
                // The on-line copy wins; an off-line newcomer never replaces anything.
                if (e->track->online != 0 || rec->online == 0)
                    return 0;
                e->album_no = album_no;
                e->track_no = track_no;
                e->track = rec;
                if (key != 0)
                    e->key = key;
                return 0;
            }
            e->track->mark = 1;
            rec->mark = 1;
        }
        if (stops_before(order, *e, n))
            break;
    }
    chain_item *fresh = new_element();
    if (fresh == nullptr)
        return -1;
    fresh->track = rec;
    fresh->album_no = album_no;
    fresh->track_no = track_no;
    fresh->key = n.key;
    insert_element(head, fresh, e, last);
    return 1;
}

int link_history(chain_list &list, int order, int album_no, int track_no, std::int64_t key, const char *artist,
                 const char *title, const char *length)
{
    assert(list.empty() || list.history());
    chain_item **head = chain_building::head(list);
    chain_item *fresh = new_element();
    if (fresh == nullptr)
        return -1;
    track_rec *block = history_block(artist, title, length);
    if (block == nullptr) {
        delete fresh;
        --elements_live;
        report_alloc_failure();
        return -1;
    }
    fresh->track = block;
    fresh->album_no = album_no;
    fresh->track_no = track_no;
    fresh->key = key;
    const newcomer n{.rec = block, .album_no = album_no, .track_no = track_no, .key = key, .history = true};
    chain_item *last = nullptr;
    chain_item *e = *head;
    for (; e != nullptr; last = e, e = e->next)
        if (stops_before(order, *e, n))
            break;
    insert_element(head, fresh, e, last);
    chain_building::mark_history(list);
    return 1;
}

int build_chain(chain_list &list, int order, std::span<const chain_entry> entries, int keep_duplicates)
{
    if (!list.empty()) {
        int added = 0;
        for (const chain_entry &en : entries) {
            const int r = link_track(list, order, en.album_no, en.track_no, en.key, keep_duplicates);
            if (r < 0)
                return -1;
            added += r;
        }
        return added;
    }
    std::vector<candidate> cands;
    cands.reserve(entries.size());
    for (const chain_entry &en : entries) {
        track_rec *rec = table_record(en.album_no, en.track_no);
        if (rec == nullptr)
            continue;
        cands.push_back(make_candidate(rec, en.album_no, en.track_no, en.key, en.key != 0 ? en.key : default_key(*rec)));
    }
    std::vector<std::uint32_t> perm;
    fold_arena arena;
    sort_candidates(order, cands, perm, arena, false);
    std::vector<candidate> out;
    out.reserve(cands.size());
    const bool check_like = order == k_order_artist || order == k_order_title;
    std::vector<std::pair<long long, std::uint32_t>> scratch;
    for (std::size_t i = 0; i < perm.size();) {
        std::size_t j = i + 1;
        if (check_like)
            while (j < perm.size() && same_song(arena, cands[perm[i]], cands[perm[j]]))
                ++j;
        if (j - i == 1) {
            out.push_back(cands[perm[i]]);
        } else if (keep_duplicates != 0) {
            mark_like_tracks(cands, perm.data() + i, j - i, scratch);
            for (std::size_t k = i; k < j; ++k)
                out.push_back(cands[perm[k]]);
        } else {
            fold_like_tracks(cands, perm.data() + i, j - i, out);
        }
        i = j;
    }
    if (!link_all(chain_building::head(list), out))
        return -1;
    return static_cast<int>(out.size());
}

int build_history_chain(chain_list &list, int order, std::span<const history_item> entries)
{
    if (!list.empty()) {
        int added = 0;
        for (const history_item &en : entries) {
            if (link_history(list, order, en.album_no, en.track_no, en.key, en.artist, en.title, en.length) < 0)
                return -1;
            ++added;
        }
        return added;
    }
    std::vector<candidate> cands;
    cands.reserve(entries.size());
    const auto release = [&] {
        for (candidate &c : cands)
            delete c.rec;
    };
    for (const history_item &en : entries) {
        track_rec *block = history_block(en.artist, en.title, en.length);
        if (block == nullptr) {
            release();
            report_alloc_failure();
            return -1;
        }
        cands.push_back(make_candidate(block, en.album_no, en.track_no, en.key, en.key));
    }
    std::vector<std::uint32_t> perm;
    fold_arena arena;
    sort_candidates(order, cands, perm, arena, true);
    std::vector<candidate> out;
    out.reserve(cands.size());
    for (std::uint32_t p : perm)
        out.push_back(cands[p]);
    if (!link_all(chain_building::head(list), out)) {
        release();
        return -1;
    }
    if (!out.empty())
        chain_building::mark_history(list);
    return static_cast<int>(out.size());
}
