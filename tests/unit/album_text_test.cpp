#include "proto/album_text.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>

namespace {

// ----- The reader as it was first written (a copy of each third line into a
// 256-byte buffer, numbers through strtoul and strtol): the reference the
// in-place reader must match byte for byte on every input.
namespace reference {

template <std::size_t N>
void copy_cut(char (&dst)[N], std::string_view src)
{
    const std::size_t n = src.size() < N - 1 ? src.size() : N - 1;
    if (n > 0)
        std::memcpy(dst, src.data(), n);
    dst[n] = '\0';
}

bool next_line(const char *text, std::size_t len, std::size_t &pos, std::string_view &line)
{
    if (pos >= len)
        return false;
    const void *nl = std::memchr(text + pos, '\n', len - pos);
    const std::size_t end = nl != nullptr ? static_cast<std::size_t>(static_cast<const char *>(nl) - text) : len;
    line = std::string_view(text + pos, end - pos);
    pos = nl != nullptr ? end + 1 : len;
    return true;
}

bool is_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

template <typename T>
bool scan_number(const char *&p, int base, T &out)
{
    char *end = nullptr;
    if (base == 16) {
        const unsigned long v = std::strtoul(p, &end, 16);
        if (end == p)
            return false;
        out = static_cast<T>(v);
    } else {
        const long v = std::strtol(p, &end, 10);
        if (end == p)
            return false;
        out = static_cast<T>(v);
    }
    p = end;
    return true;
}

void scan_entry_line(std::string_view line, track_rec &t)
{
    char buf[256];
    copy_cut(buf, line);
    const char *p = buf;
    while (is_space(*p))
        ++p;
    if (*p == '\0')
        return;
    std::size_t n = 0;
    while (n < 5 && p[n] != '\0' && !is_space(p[n]))
        ++n;
    copy_cut(t.time, std::string_view(p, n));
    p += n;
    while (is_space(*p))
        ++p;
    if (*p == '\0')
        return;
    t.status = *p++;
    if (!scan_number(p, 16, t.last_played) || !scan_number(p, 10, t.online) || !scan_number(p, 16, t.cd_ident))
        return;
    scan_number(p, 10, t.plays);
}

int parse_album_text(const char *text, std::size_t len, album_rec &rec)
{
    std::size_t pos = 0;
    int entries = 0;
    std::string_view line;
    while (entries < k_max_entries && next_line(text, len, pos, line)) {
        track_rec &t = rec.entry[entries];
        copy_cut(t.artist, line);
        if (next_line(text, len, pos, line))
            copy_cut(t.title, line);
        if (next_line(text, len, pos, line))
            scan_entry_line(line, t);
        ++entries;
    }
    if (entries < k_max_entries)
        rec.entry[entries].title[0] = '\0';
    rec.tracks = entries - 1;
    rec.present = 1;
    return entries;
}

}   // namespace reference

// Reads text with both readers into records that start out alike (filled
// with `fill`) and expects the same count and the same bytes.
void expect_same_as_reference(const std::string &text, unsigned char fill = 0xA5)
{
    auto now = std::make_unique<album_rec>();
    auto ref = std::make_unique<album_rec>();
    std::memset(now.get(), fill, sizeof *now);
    std::memset(ref.get(), fill, sizeof *ref);
    // A copy of its own exactly as long as the text: a reader that looks past the end trips the sanitizers.
    const std::unique_ptr<char[]> bytes(new char[text.size() + 1]);
    std::memcpy(bytes.get(), text.data(), text.size());
    const int n = parse_album_text(bytes.get(), text.size(), *now);
    const int r = reference::parse_album_text(bytes.get(), text.size(), *ref);
    ASSERT_EQ(n, r) << text;
    ASSERT_EQ(std::memcmp(now.get(), ref.get(), sizeof *now), 0) << "text: \"" << text << "\"";
}

std::unique_ptr<album_rec> fresh() { return std::make_unique<album_rec>(); }

int parse(album_rec &a, const std::string &text) { return parse_album_text(text.data(), text.size(), a); }

TEST(AlbumText, ParsesEntriesAndSetsTheEndMark)
{
    auto a = fresh();
    std::strcpy(a->entry[2].title, "stale");
    const int n = parse(*a, "Band\nRecord\n07:30 - 5F00A1B2 1 0000ABCD 12\nBand\nSong\n03:10 S 0 1 0 3\n");
    EXPECT_EQ(n, 2);
    EXPECT_EQ(a->present, 1);
    EXPECT_EQ(a->tracks, 1);
    EXPECT_STREQ(a->entry[0].artist, "Band");
    EXPECT_STREQ(a->entry[0].title, "Record");
    EXPECT_STREQ(a->entry[0].time, "07:30");
    EXPECT_EQ(a->entry[0].status, '-');
    EXPECT_EQ(a->entry[0].last_played, 0x5F00A1B2);
    EXPECT_EQ(a->entry[0].online, 1);
    EXPECT_EQ(a->entry[0].cd_ident, 0xABCDu);
    EXPECT_EQ(a->entry[0].plays, 12);
    EXPECT_EQ(a->entry[1].status, 'S');
    EXPECT_EQ(a->entry[1].plays, 3);
    EXPECT_STREQ(a->entry[2].title, "");   // the end mark
}

TEST(AlbumText, ReaderAcceptsAnyHexCaseAndWidth)
{
    auto a = fresh();
    parse(*a, "A\nT\n3:05 N abc 0 FFFFFFFFF 7\n");
    EXPECT_STREQ(a->entry[0].time, "3:05");
    EXPECT_EQ(a->entry[0].last_played, 0xabc);
    EXPECT_EQ(a->entry[0].cd_ident, 0xFFFFFFFFFu);
}

TEST(AlbumText, MalformedThirdLineLeavesUnscannedFieldsUnchanged)
{
    auto a = fresh();
    a->entry[0].plays = 99;
    a->entry[0].online = 1;
    parse(*a, "A\nT\n04:00 S zz\n");
    EXPECT_STREQ(a->entry[0].time, "04:00");
    EXPECT_EQ(a->entry[0].status, 'S');
    EXPECT_EQ(a->entry[0].online, 1);
    EXPECT_EQ(a->entry[0].plays, 99);
}

TEST(AlbumText, MoreThanAHundredEntriesKeepsTheFirstHundred)
{
    std::string text;
    for (int i = 0; i < 130; ++i)
        text += "Artist " + std::to_string(i) + "\nTitle " + std::to_string(i) + "\n01:00 - 0 1 0 0\n";
    auto a = fresh();
    EXPECT_EQ(parse(*a, text), 100);
    EXPECT_EQ(a->tracks, 99);
    EXPECT_STREQ(a->entry[99].title, "Title 99");
}

TEST(AlbumText, ShorterRereadLeavesStaleEntriesBehindTheEndMark)
{
    auto a = fresh();
    parse(*a, "A\nT\n1:00 - 0 1 0 0\nA\nOne\n1:00 - 0 1 0 0\nA\nTwo\n1:00 - 0 1 0 0\n");
    parse(*a, "A\nT\n1:00 - 0 1 0 0\n");
    EXPECT_EQ(a->tracks, 0);
    EXPECT_STREQ(a->entry[1].title, "");
    EXPECT_STREQ(a->entry[2].title, "Two");
}

TEST(AlbumText, OverlongLinesAreCutToTheFields)
{
    auto a = fresh();
    const std::string artist(300, 'a');
    parse(*a, artist + "\n" + std::string(500, 't') + "\n" + std::string(400, '9') + " - 0 1 0 0\n");
    EXPECT_EQ(std::strlen(a->entry[0].artist), 66u);
    EXPECT_EQ(std::strlen(a->entry[0].title), 66u);
    EXPECT_LE(std::strlen(a->entry[0].time), 5u);
}

TEST(AlbumText, TruncatedTextNeverReadsBeyondIt)
{
    auto a = fresh();
    const char text[] = "A\nT\n05:00 S 1 1 1 1\nB\nU";   // ends inside an entry, without a NUL in range
    EXPECT_EQ(parse_album_text(text, sizeof text - 1, *a), 2);
    EXPECT_STREQ(a->entry[1].artist, "B");
    EXPECT_STREQ(a->entry[1].title, "U");
    EXPECT_EQ(a->tracks, 1);
}

TEST(AlbumText, WriterFormatAndRoundTrip)
{
    auto a = fresh();
    parse(*a, "Band\nRecord\n07:30 - 5f00a1b2 1 abcd 12\nBand\nSong\n03:10 U 0 0 0 3\n");
    char buf[k_album_text_max];
    const std::size_t n = format_album_text(*a, buf, sizeof buf);
    EXPECT_EQ(std::string(buf, n),
              "Band\nRecord\n07:30 - 5F00A1B2 1 0000ABCD 12\nBand\nSong\n03:10 U 00000000 0 00000000 3\n");
    EXPECT_EQ(a->tracks, 1);
}

TEST(AlbumText, WritingAnAlbumWithoutTitleSendsNothing)
{
    auto a = fresh();
    char buf[k_album_text_max];
    EXPECT_EQ(format_album_text(*a, buf, sizeof buf), 0u);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(a->tracks, -1);
}

TEST(AlbumText, EmptyStatusIsWrittenAsNormalNotAsANul)
{
    auto a = fresh();
    std::strcpy(a->entry[0].artist, "A");
    std::strcpy(a->entry[0].title, "T");
    char buf[k_album_text_max];
    const std::size_t n = format_album_text(*a, buf, sizeof buf);
    EXPECT_EQ(std::strlen(buf), n);
    EXPECT_EQ(std::string(buf), "A\nT\n - 00000000 0 00000000 0\n");
}

TEST(AlbumText, TimeInSeconds)
{
    EXPECT_EQ(time_text_seconds("03:10"), 190);
    EXPECT_EQ(time_text_seconds("10:05"), 605);
    EXPECT_EQ(time_text_seconds(""), 0);
    EXPECT_EQ(time_text_seconds("7"), 420);
}

// The third lines worth a look: every way a number can start, stop, overflow or be cut.
TEST(AlbumTextReference, CraftedThirdLinesReadAsBefore)
{
    const char *const lines[] = {
        "03:10 S 5F00A1B2 1 0000ABCD 12", "", " ", "\t\v\f\r", "03:10", "03:10 ", "03:10 S", "03:10 S ",
        "03:10 S zz", "03:10 S 0x", "03:10 S 0x1f 2 0X2F 3", "03:10 S 0xg 1 2 3", "03:10 S 0Xz", "03:10 S -1 -1 -1 -1",
        "03:10 S +a +1 +b +2", "03:10 S - 1 2 3", "03:10 S -0x10 -2147483649 -0x 4", "03:10 S 1 2147483648 1 1",
        "03:10 S 1 4294967296 1 1", "03:10 S 1 99999999999999999999 1 1", "03:10 S FFFFFFFFFFFFFFFF 1 1 1",
        "03:10 S 10000000000000000 1 1 1", "03:10 S -FFFFFFFFFFFFFFFF 1 1 1", "03:10 S -10000000000000000 1 1 1",
        "03:10 S 1 1 1 9223372036854775807", "03:10 S 1 1 1 9223372036854775808", "03:10 S 1 1 1 -9223372036854775808",
        "03:10 S 1 1 1 -9223372036854775809", "03:10 S 1 1 1 -99999999999999999999999", "123456789 S 1 1 1 1",
        "12345 S 1 1 1 1", "1234\t\tN\t1\t1\t1\t1", "   07:30   -   1   1   1   1   ", "03:10 S 1 1 1 1 extra",
        "03:10 S 1x 1 1 1", "03:10 S 1 1x 1 1", "03:10 S 1 1 1 1x", "03:10\rS\r1\r1\r1\r1\r", "a b", "ab",
        "03:10 S 00000000000000000000000000001 1 1 1", "03:10 S 1 000000000000000000000000000012 1 1",
        "03:10 S 1 1 1 0x12", "03:10 S 1 0x12 1 1", "03:10 S \xff 1 1 1", "\xa0\x85 03:10 S 1 1 1 1",
        "03:10 S 1 1 1 1\r"};
    for (const char *third : lines) {
        expect_same_as_reference(std::string("A\nT\n") + third + "\n");
        expect_same_as_reference(std::string("A\nT\n") + third);   // the text ends inside the line
        expect_same_as_reference(std::string("A\nT\n") + third + "\nB\nU\n" + third + "\n", 0);
    }
}

TEST(AlbumTextReference, NulBytesEndTheThirdLine)
{
    using namespace std::string_literals;
    expect_same_as_reference("A\nT\n03:10 S 1\0 2 3 4\n"s);
    expect_same_as_reference("A\nT\n03\0:10 S 1 2 3 4\n"s);
    expect_same_as_reference("A\nT\n03:10 \0S 1 2 3 4\n"s);
    expect_same_as_reference("A\nT\n03:10 S\0 1 2 3 4\n"s);
    expect_same_as_reference("A\nT\n03:10 S 0\0x1 2 3 4\n"s);
    expect_same_as_reference("A\nT\n03:10 S 0x\0 2 3 4\n"s);
    expect_same_as_reference("A\nT\n03:10 S 1 2 3 -\0 4\n"s);
    expect_same_as_reference("A\0B\nT\0U\n\003:10 S 1 2 3 4\n"s);
}

// Numbers of every length around the 64-bit edges, with and without sign and leading zeros.
TEST(AlbumTextReference, NumbersOfEveryLengthReadAsBefore)
{
    std::mt19937 rng(17);
    const char hex[] = "0123456789abcdefABCDEF";
    for (int digits = 1; digits <= 24; ++digits) {
        for (int round = 0; round < 20; ++round) {
            std::string h;
            std::string d;
            for (int i = 0; i < digits; ++i) {
                h += round == 0 ? 'F' : round == 1 ? '0' : hex[rng() % 22];
                d += round == 0 ? '9' : round == 1 ? '0' : static_cast<char>('0' + rng() % 10);
            }
            for (const char *sign : {"", "-", "+"}) {
                expect_same_as_reference(std::string("A\nT\n03:10 S ") + sign + h + " " + sign + d + " " + sign + "0x" + h +
                                         " " + sign + d + "\n");
                expect_same_as_reference(std::string("A\nT\n03:10 S 1 1 1 ") + sign + "00000" + d + "\n");
            }
        }
    }
    for (const char *edge : {"18446744073709551615", "18446744073709551616", "9223372036854775807",
                             "9223372036854775808", "9223372036854775809", "4294967295", "4294967296", "2147483647",
                             "2147483648", "-2147483648", "-2147483649"})
        expect_same_as_reference(std::string("A\nT\n03:10 S ") + edge + " " + edge + " " + edge + " " + edge + "\n");
}

// Only the first 255 bytes of a third line count: a number may be cut, or its "0x" stand at the cut.
TEST(AlbumTextReference, LongThirdLinesAreCutWhereTheyWereBefore)
{
    for (std::size_t pad = 230; pad <= 260; ++pad) {
        const std::string blanks(pad, ' ');
        expect_same_as_reference("A\nT\n" + blanks + "03:10 S 1 2 3 4\n");
        expect_same_as_reference("A\nT\n03:10 S" + blanks + "0x1F 2 3 4\n");
        expect_same_as_reference("A\nT\n03:10 S 1 2 3" + blanks + "123456789\n");
        expect_same_as_reference("A\nT\n03:10 S 1 2" + blanks + "0x\n");
        expect_same_as_reference("A\nT\n03:10 S 1 2" + blanks + "0xAB\n");
        expect_same_as_reference("A\nT\n03:10 S " + std::string(pad, 'F') + " 1 2 3\n");
        expect_same_as_reference("A\nT\n03:10 S 1 " + std::string(pad, '9') + " 2 3\n");
    }
    expect_same_as_reference("A\nT\n" + std::string(400, '9') + " - 0 1 0 0\n");
}

TEST(AlbumTextReference, OverlongArtistsTitlesAndManyEntriesAsBefore)
{
    std::string text;
    for (int i = 0; i < 130; ++i)
        text += std::string(static_cast<std::size_t>(i), 'a') + "\n" + std::string(static_cast<std::size_t>(130 - i), 't') +
                "\n0" + std::to_string(i % 10) + ":00 S " + std::to_string(i * 7919) + " 1 " + std::to_string(i) + " " +
                std::to_string(i * 3) + "\n";
    expect_same_as_reference(text);
    expect_same_as_reference(text.substr(0, text.size() / 2));
    expect_same_as_reference("\n\n\n\n\n\n");
    expect_same_as_reference("");
    expect_same_as_reference("\n");
}

// Random texts from an alphabet rich in the bytes the scan cares about, and
// random edits of well-formed albums.
TEST(AlbumTextReference, RandomTextsReadAsBefore)
{
    std::mt19937 rng(20261124);
    const std::string alphabet = "0123456789abcdefABCDEFxX+- \t\n\v\f\rSUN-:g\0\xff";
    const auto pick = [&](std::size_t n) { return static_cast<std::size_t>(rng() % n); };
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        const std::size_t len = pick(round % 10 == 0 ? 2000 : 120);
        for (std::size_t i = 0; i < len; ++i)
            text += alphabet[pick(alphabet.size())];
        expect_same_as_reference(text, static_cast<unsigned char>(round));
    }
    for (int round = 0; round < 3000; ++round) {
        std::string text = "Band\nRecord\n45:30 - 6543210A 1 0012AB34 7\n";
        for (int k = 1; k <= 12; ++k)
            text += "Band\nSong " + std::to_string(k) + "\n03:" + std::to_string(10 + k) + " S " +
                    std::to_string(rng()) + " " + std::to_string(static_cast<int>(rng())) + " " +
                    std::to_string(rng() % 100000) + " " + std::to_string(k) + "\n";
        for (int edits = static_cast<int>(pick(6)); edits > 0; --edits) {
            const std::size_t at = pick(text.size());
            switch (pick(3)) {
            case 0: text[at] = alphabet[pick(alphabet.size())]; break;
            case 1: text.erase(at, 1 + pick(4)); break;
            default: text.insert(at, std::string(1 + pick(300), alphabet[pick(alphabet.size())])); break;
            }
        }
        expect_same_as_reference(text, static_cast<unsigned char>(round));
    }
}

}   // namespace
