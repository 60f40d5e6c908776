#include "protocol_fixture.hpp"
#include "server/player.hpp"
#include "server/wav.hpp"
#include "proto/wire.hpp"

#include <cstring>

#include <random>

namespace {

// Random bytes, with the characters the formats give meaning to more often than chance.
std::string random_text(std::mt19937 &rng)
{
    constexpr char special[] = {'/', '.', '~', '\n', ' ', '\0', '0', '1', ':'};
    std::string s(rng() % 120, '\0');
    for (char &c : s)
        c = rng() % 3 == 0 ? special[rng() % sizeof special] : static_cast<char>(rng() % 256);
    return s;
}

std::int64_t random_field(std::mt19937 &rng)
{
    constexpr std::int64_t useful[] = {0, 1, 2, 3, 5, 6, 58, 99, 100, 3000, 3001, 9000, 9019, 9020, 0x8000, 0xFFFE, 0xFFFF};
    return rng() % 2 == 0 ? useful[rng() % std::size(useful)] : static_cast<std::int64_t>(rng() % 0x10000);
}

TEST_F(Protocol, AnyRequestGetsExactlyOneReplyOfItsOwn)
{
    add_album(1, simple_album("One", 3));
    add_album(2, simple_album("Two", 5));
    write_media(st, 1, 1, 1);
    root.write("PlayLists/party", "00000000 0001/01 One - Song 1 [00:03]\n");
    std::mt19937 rng(20240307);
    session *who[] = {&a, &b};
    for (int i = 0; i < 20000; ++i) {
        const std::int64_t type = rng() % 4 == 0 ? static_cast<std::int64_t>(rng() % 256)
                                                 : static_cast<std::int64_t>(0x10 + rng() % 0xAC);
        const std::int64_t sequence = 0x0100 | (i & 0xFF);
        const frame_fields r = send(*who[rng() % 2], type, random_field(rng), random_field(rng), random_text(rng), sequence);
        int replies = 0;
        for (const sent &s : out)
            replies += s.to == target::requester;
        ASSERT_EQ(replies, 1) << "request " << i << " type " << type;
        EXPECT_EQ(r.type, type);
        EXPECT_EQ(r.sequence, type == CLIENT_OPEN ? 0x0100 : sequence);
        for (const sent &s : out)
            EXPECT_LE(s.m.text.size(), k_text_max);
        if (i % 50 == 0) {
            now_ns += 700'000'000;
            outbox box;
            player_tick(st, now_ns, box, nullptr);
        }
    }
    st.stop_requested = false;
    EXPECT_EQ(send(a, GET_MODE).type, GET_MODE);
}

TEST(WavLayout, AnyHeaderGivesSamplesInsideTheFile)
{
    std::mt19937 rng(7);
    for (int i = 0; i < 20000; ++i) {
        unsigned char head[256];
        const std::size_t len = rng() % sizeof head;
        for (std::size_t k = 0; k < len; ++k)
            head[k] = static_cast<unsigned char>(rng());
        if (len >= 12 && rng() % 2 == 0) {
            std::memcpy(head, "RIFF", 4);
            std::memcpy(head + 8, "WAVE", 4);
        }
        const std::int64_t size = static_cast<std::int64_t>(rng() % 100000);
        wav_layout l{};
        if (wav_parse_layout(head, len, size, l)) {
            EXPECT_GE(l.data_offset, 0);
            EXPECT_GT(l.data_bytes, 0);
            EXPECT_EQ(l.data_bytes % 4, 0);
            EXPECT_LE(l.data_offset + l.data_bytes, size);
        }
    }
}

TEST(WavLayout, AChunkOfNearly4GiBEndsTheWalk)
{
    // A chunk size that wrapped a 32-bit step to 0 kept the walk on the same
    // chunk for ever: a media file that hung the server.
    unsigned char head[64] = {};
    std::memcpy(head, "RIFF", 4);
    std::memcpy(head + 8, "WAVE", 4);
    std::memcpy(head + 12, "JUNK\xf8\xff\xff\xff", 8);
    wav_layout l{};
    ASSERT_TRUE(wav_parse_layout(head, sizeof head, 100000, l));
    EXPECT_EQ(l.data_offset, 44);   // no data chunk in the head: the fixed header
}

TEST(WavLayout, TheCanonicalHeaderIsFound)
{
    unsigned char head[k_wav_header_len];
    wav_header(head, 176400);
    wav_layout l{};
    ASSERT_TRUE(wav_parse_layout(head, sizeof head, 44 + 176400, l));
    EXPECT_EQ(l.data_offset, 44);
    EXPECT_EQ(l.data_bytes, 176400);
    EXPECT_FALSE(wav_parse_layout(head, sizeof head, 44, l));   // no samples at all
}

}   // namespace
