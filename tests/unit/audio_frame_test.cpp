#include "audio/audio_frame.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

struct header_case {
    const char *bytes;
    audio_header_check check;
    std::int64_t type = 0;
    std::int64_t value = 0;
    std::uint32_t length = 0;
};

constexpr header_case header_cases[] = {
    {.bytes = "6d 0000 0000 0000 0000 ", .check = audio_header_check::ok, .type = 0x6d, .value = 0, .length = 0},
    {.bytes = "6d 0001 0002 0003 8000 ", .check = audio_header_check::ok, .type = 0x6d, .value = 2, .length = 0x8000},
    {.bytes = "70 ffff abcd 0000 0010 ", .check = audio_header_check::ok, .type = 0x70, .value = 0xabcd, .length = 16},
    {.bytes = "6D 0000 00AB 0000 00FF ", .check = audio_header_check::ok, .type = 0x6d, .value = 0xab, .length = 255},
    {.bytes = "6d 0000 0000 0000 8001 ", .check = audio_header_check::too_long},
    {.bytes = "6d 0000 0000 0000 ffff ", .check = audio_header_check::too_long},
    {.bytes = "6d 0000 0000 0000 00g0 ", .check = audio_header_check::malformed},
    {.bytes = "6d-0000 0000 0000 0000 ", .check = audio_header_check::malformed},
    {.bytes = "6d 0000 0000 0000 0000x", .check = audio_header_check::malformed},
    {.bytes = "6d 0000 -001 0000 0000 ", .check = audio_header_check::malformed},
    {.bytes = "6d 0000 +001 0000 0000 ", .check = audio_header_check::malformed},
    {.bytes = " 6d 000 0000 0000 0000 ", .check = audio_header_check::malformed},
    {.bytes = "6d 0000 0000 0000 0x10 ", .check = audio_header_check::malformed},
};

TEST(AudioFrame, ParsesAndChecksHeaders)
{
    for (const header_case &c : header_cases) {
        SCOPED_TRACE(c.bytes);
        ASSERT_EQ(std::strlen(c.bytes), k_audio_header_len);
        audio_header h = {.type = -7, .first = -7, .value = -7, .third = -7, .length = 7};
        EXPECT_EQ(parse_audio_header(c.bytes, h), c.check);
        if (c.check == audio_header_check::ok) {
            EXPECT_EQ(h.type, c.type);
            EXPECT_EQ(h.value, c.value);
            EXPECT_EQ(h.length, c.length);
        } else {
            EXPECT_EQ(h.type, -7) << "a refused header leaves the record alone";
        }
    }
}

TEST(AudioFrame, FormatsRequests)
{
    char head[64];
    EXPECT_EQ(format_audio_request(head, 0x70, 0), 23);
    EXPECT_STREQ(head, "70 0000 0000 0000 0000 ");
    EXPECT_EQ(format_audio_request(head, 0x6d, 0), 23);
    EXPECT_STREQ(head, "6d 0000 0000 0000 0000 ");
    EXPECT_EQ(format_audio_request(head, 0x6d, 0x1f), 23);
    EXPECT_STREQ(head, "6d 0000 001f 0000 0000 ");
}

// Feeds a byte stream to the assembly in pieces of the given sizes (the last
// size repeats); returns the messages completed and the step that ended it.
struct fed {
    std::vector<std::pair<audio_header, std::string>> messages;
    audio_step last = audio_step::more;
};

fed feed(const std::string &stream, std::vector<std::size_t> pieces)
{
    fed out;
    static char payload[k_audio_payload_max + 1];
    audio_assembly a;
    std::size_t at = 0;
    std::size_t piece = 0;
    while (at < stream.size()) {
        const std::size_t size = pieces[piece < pieces.size() ? piece : pieces.size() - 1];
        ++piece;
        std::size_t n = std::min({size, audio_want(a), stream.size() - at});
        std::memcpy(audio_dest(a, payload), stream.data() + at, n);
        at += n;
        out.last = audio_took(a, n, payload);
        if (out.last == audio_step::complete) {
            EXPECT_EQ(payload[a.h.length], '\0');
            out.messages.emplace_back(a.h, std::string(payload, a.h.length));
            a = audio_assembly{};
        } else if (out.last != audio_step::more) {
            return out;
        }
    }
    return out;
}

std::string message(const char *type, const std::string &payload)
{
    char head[32];
    std::snprintf(head, sizeof head, "%s 0000 0000 0000 %4.4zx ", type, payload.size());
    return head + payload;
}

TEST(AudioFrame, ReassemblesHeadersSplitOverReads)
{
    const std::string pcm(1000, '\x55');
    const std::string stream = message("6d", pcm) + message("39", "now") + message("6d", "") + message("6d", "ab");
    for (const std::vector<std::size_t> &pieces :
         {std::vector<std::size_t>{1}, {5, 7, 11}, {22, 1}, {23}, {4096}, {2, 30000}}) {
        const fed f = feed(stream, pieces);
        ASSERT_EQ(f.messages.size(), 4U);
        EXPECT_EQ(f.messages[0].first.type, 0x6d);
        EXPECT_EQ(f.messages[0].second, pcm);
        EXPECT_EQ(f.messages[1].first.type, 0x39);
        EXPECT_EQ(f.messages[1].second, "now");
        EXPECT_EQ(f.messages[2].first.length, 0U);
        EXPECT_EQ(f.messages[2].second, "");
        EXPECT_EQ(f.messages[3].second, "ab");
    }
}

TEST(AudioFrame, AStreamEndingMidHeaderCompletesNothing)
{
    const std::string stream = message("6d", "xyz") + std::string("6d 0000 00");
    const fed f = feed(stream, {3});
    EXPECT_EQ(f.messages.size(), 1U);
    EXPECT_EQ(f.last, audio_step::more);
}

TEST(AudioFrame, RefusesAPayloadAboveTheArea)
{
    const fed f = feed("6d 0000 0000 0000 8001 " + std::string(0x8001, 'x'), {7});
    EXPECT_TRUE(f.messages.empty());
    EXPECT_EQ(f.last, audio_step::too_long);
    const fed full = feed(message("6d", std::string(0x8000, 'y')), {1000});
    ASSERT_EQ(full.messages.size(), 1U);
    EXPECT_EQ(full.messages[0].second.size(), 0x8000U);
}

TEST(AudioFrame, RefusesGarbage)
{
    const fed f = feed("hello, this is not a header at all", {100});
    EXPECT_TRUE(f.messages.empty());
    EXPECT_EQ(f.last, audio_step::malformed);
}

TEST(AudioFrame, NeverAsksForMoreThanTheCurrentPart)
{
    static char payload[k_audio_payload_max + 1];
    audio_assembly a;
    EXPECT_EQ(audio_want(a), 23U);
    std::memcpy(audio_dest(a, payload), "6d 0000 0000 00", 15);
    EXPECT_EQ(audio_took(a, 15, payload), audio_step::more);
    EXPECT_EQ(audio_want(a), 8U);
    std::memcpy(audio_dest(a, payload), "00 0005 ", 8);
    EXPECT_EQ(audio_took(a, 8, payload), audio_step::more);
    EXPECT_EQ(audio_want(a), 5U);
    EXPECT_EQ(audio_dest(a, payload), payload);
}

}   // namespace

namespace {

TEST(AudioFrame, OnlyWholeFramesAreWritten)
{
    frame_carry carry;
    char out[k_audio_frame_bytes + 16];
    EXPECT_EQ(join_frames(carry, "abcdefgh", 8, out), 8U);
    EXPECT_EQ(std::string(out, 8), "abcdefgh");
    EXPECT_EQ(carry.count, 0U);

    EXPECT_EQ(join_frames(carry, "ABCDEF", 6, out), 4U);
    EXPECT_EQ(std::string(out, 4), "ABCD");
    EXPECT_EQ(carry.count, 2U);

    EXPECT_EQ(join_frames(carry, "", 0, out), 0U);
    EXPECT_EQ(carry.count, 2U) << "an empty block keeps what was carried";

    EXPECT_EQ(join_frames(carry, "G", 1, out), 0U);
    EXPECT_EQ(carry.count, 3U);

    EXPECT_EQ(join_frames(carry, "HIJKL", 5, out), 8U);
    EXPECT_EQ(std::string(out, 8), "EFGHIJKL");
    EXPECT_EQ(carry.count, 0U);
}

}   // namespace
