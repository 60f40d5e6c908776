// A server state on a temporary root and helpers that send requests to the
// handlers and read back what they answer and announce.
#pragma once

#include "proto/msg_types.hpp"
#include "server/handlers.hpp"
#include "server/outbox.hpp"
#include "server/state.hpp"
#include "test_root.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

inline std::int64_t fixed_clock() { return 0x65000000; }

// One frame as sent, with its destination.
struct sent {
    target to;
    frame_fields m;
    std::string plist;
};

struct Protocol : ::testing::Test {
    temp_root root;
    server_state st;
    session a;   // two clients
    session b;
    std::int64_t now_ns = 1'000'000'000;
    std::vector<sent> out;   // what the last request sent

    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(state_open(st, root.dir, error)) << error;
        st.wall_clock = fixed_clock;
        st.rng.seed(1);
        a.id = 1;
        b.id = 2;
    }

    // Sends one request from a session; returns its reply (the frame to the requester).
    frame_fields send(session &s, std::int64_t type, std::int64_t album = 1, std::int64_t track = 0,
                      const std::string &text = {}, std::int64_t sequence = 0x0105)
    {
        outbox box;
        const request req = {.type = type, .sequence = sequence, .album = album, .track = track, .text = text};
        handle_request(st, s, req, now_ns, box);
        return collect(box);
    }

    frame_fields collect(const outbox &box)
    {
        out.clear();
        frame_fields reply{-1, -1, -1, -1, {}};
        for (const out_msg &m : box.items) {
            frame_fields f;
            EXPECT_TRUE(read_frame(*m.frame, f));
            if (m.to == target::requester)
                reply = f;
            out.push_back({m.to, f, m.plist});
        }
        return reply;
    }

    // The notices (not the reply) of the last request.
    std::vector<sent> notices() const
    {
        std::vector<sent> v;
        for (const sent &s : out)
            if (s.to != target::requester)
                v.push_back(s);
        return v;
    }

    void add_album(int n, const std::string &text) { ASSERT_TRUE(store_write_text(st.store, n, text)); }
};
