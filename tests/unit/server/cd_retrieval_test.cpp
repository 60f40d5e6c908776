// The retrieval as pure logic: what is ripped when, which disc is asked for,
// and the notices every client gets.
#include "server/cd_retrieval.hpp"

#include "proto/msg_types.hpp"

#include <gtest/gtest.h>

#include <map>
#include <vector>

namespace {

using notices = std::vector<ret_notice>;

struct Retrieval : ::testing::Test {
    retrieval_state s;
    std::map<int, std::uint32_t> idents = {{1, 0xAAAA0001}, {2, 0xBBBB0002}, {3, 0xAAAA0001}};
    ret_disc disc;
    ret_effects fx;

    ident_lookup ident()
    {
        return [this](int a) {
            const auto it = idents.find(a);
            return it == idents.end() ? 0u : it->second;
        };
    }

    // One step: the effects of advancing now.
    ret_effects step()
    {
        fx = {};
        ret_advance(s, disc, ident(), fx);
        return fx;
    }

    ret_effects finish(ret_outcome o)
    {
        fx = {};
        ret_finished(s, o, fx);
        ret_advance(s, disc, ident(), fx);
        return fx;
    }

    void insert(int album) { disc = {.present = true, .id = idents.at(album)}; }
};

TEST_F(Retrieval, AsksOnceForADiscThatIsNotThere)
{
    ASSERT_TRUE(ret_request(s, {1, 2}));
    EXPECT_EQ(step().notices, (notices{{RET_REQ, 1, 2}}));
    EXPECT_FALSE(fx.start);
    ASSERT_TRUE(ret_request(s, {1, 3}));
    EXPECT_EQ(step().notices, notices{});   // asked already
    // The disc comes: loaded, then its tracks in request order, then the end of the batch.
    insert(1);
    EXPECT_EQ(step().notices, (notices{{CD_LOADED, 1, 2}, {RET_PROG, 1, 2}}));
    EXPECT_EQ(fx.start, (ret_job{1, 2}));
    EXPECT_EQ(s.asked, 0);
    EXPECT_TRUE(ret_busy(s));
    EXPECT_EQ(step().notices, notices{});   // the drive is busy
    EXPECT_EQ(finish(ret_outcome::done).notices, (notices{{RET_DONE, 1, 2}, {RET_PROG, 1, 3}}));
    EXPECT_EQ(fx.start, (ret_job{1, 3}));
    EXPECT_EQ(finish(ret_outcome::done).notices, (notices{{RET_DONE, 1, 3}, {RET_FINAL, 1, 0}}));
    EXPECT_FALSE(ret_busy(s));
    EXPECT_EQ(step().notices, notices{});
}

TEST_F(Retrieval, ADiscInTheDriveIsServedAtOnce)
{
    insert(2);
    ret_request(s, {2, 1});
    EXPECT_EQ(step().notices, (notices{{CD_LOADED, 2, 1}, {RET_PROG, 2, 1}}));
}

TEST_F(Retrieval, TheDiscInTheDriveGoesFirstThenTheOthersAreAskedFor)
{
    ret_request(s, {2, 4});
    ret_request(s, {1, 1});
    insert(1);
    EXPECT_EQ(step().notices, (notices{{CD_LOADED, 1, 1}, {RET_PROG, 1, 1}}));
    disc = {};
    EXPECT_EQ(finish(ret_outcome::done).notices, (notices{{RET_DONE, 1, 1}, {RET_FINAL, 1, 0}, {RET_REQ, 2, 4}}));
}

TEST_F(Retrieval, AlbumsSharingADiscShareIt)
{
    ret_request(s, {1, 1});
    ret_request(s, {3, 1});
    insert(1);
    step();
    EXPECT_EQ(finish(ret_outcome::done).notices,
              (notices{{RET_DONE, 1, 1}, {RET_FINAL, 1, 0}, {CD_LOADED, 3, 1}, {RET_PROG, 3, 1}}));
}

TEST_F(Retrieval, AFailedTrackAndTheDiscTakenOut)
{
    insert(1);
    ret_request(s, {1, 1});
    ret_request(s, {1, 2});
    step();
    disc = {};
    EXPECT_EQ(finish(ret_outcome::failed).notices,
              (notices{{RET_FAILED, 1, 1}, {RET_FINAL, 1, 0}, {RET_REQ, 1, 2}}));
    insert(1);
    EXPECT_EQ(step().notices, (notices{{CD_LOADED, 1, 2}, {RET_PROG, 1, 2}}));
}

TEST_F(Retrieval, AFailedReadGoesOnWithTheNextTrack)
{
    insert(1);
    ret_request(s, {1, 1});
    ret_request(s, {1, 2});
    step();
    EXPECT_EQ(finish(ret_outcome::failed).notices, (notices{{RET_FAILED, 1, 1}, {RET_PROG, 1, 2}}));
}

TEST_F(Retrieval, UnknownAlbumsFailAtOnce)
{
    idents[2] = 0;
    ret_request(s, {2, 1});
    ret_request(s, {9, 5});
    ret_request(s, {1, 1});
    EXPECT_EQ(step().notices, (notices{{RET_FAILED, 2, 1}, {RET_FAILED, 9, 5}, {RET_REQ, 1, 1}}));
    ASSERT_EQ(fx.log.size(), 2u);
    EXPECT_EQ(fx.log[1], "Cannot retrieve album 0009 track 05: the album has no CD ident here");
}

TEST_F(Retrieval, DuplicatesAndAFullQueue)
{
    EXPECT_TRUE(ret_request(s, {1, 1}));
    EXPECT_TRUE(ret_request(s, {1, 1}));
    EXPECT_EQ(s.queue.size(), 1u);
    insert(1);
    step();
    EXPECT_TRUE(ret_request(s, {1, 1}));   // being ripped: not queued again
    EXPECT_TRUE(s.queue.empty());
    for (int i = 0; i < static_cast<int>(k_max_ret_queue); ++i)
        ASSERT_TRUE(ret_request(s, {2, i + 1}));
    EXPECT_FALSE(ret_request(s, {2, 5000}));
}

TEST_F(Retrieval, CancelWhileAskingForTheDisc)
{
    ret_request(s, {1, 1});
    ret_request(s, {1, 2});
    ret_request(s, {2, 1});
    step();
    fx = {};
    EXPECT_EQ(ret_cancel(s, 1, fx), 2);
    EXPECT_EQ(fx.notices, (notices{{CANCELLED, 1, 0}}));
    EXPECT_FALSE(fx.abort);
    EXPECT_EQ(step().notices, (notices{{RET_REQ, 2, 1}}));
    // A cancel of an album with nothing queued still tells the clients, whose reminder may be stale.
    fx = {};
    EXPECT_EQ(ret_cancel(s, 7, fx), 0);
    EXPECT_EQ(fx.notices, (notices{{CANCELLED, 7, 0}}));
}

TEST_F(Retrieval, CancelARipInProgress)
{
    insert(1);
    ret_request(s, {1, 1});
    ret_request(s, {1, 2});
    ret_request(s, {2, 1});
    step();
    fx = {};
    EXPECT_EQ(ret_cancel(s, 1, fx), 2);
    EXPECT_TRUE(fx.abort);
    EXPECT_EQ(fx.notices, (notices{{CANCELLED, 1, 0}}));
    // A cancelled rip reports nothing more; the batch ends and the next disc is asked for.
    EXPECT_EQ(finish(ret_outcome::cancelled).notices, (notices{{RET_FINAL, 1, 0}, {RET_REQ, 2, 1}}));
}

TEST_F(Retrieval, CancelEverything)
{
    ret_request(s, {1, 1});
    ret_request(s, {2, 1});
    ret_request(s, {2, 2});
    step();
    fx = {};
    EXPECT_EQ(ret_cancel(s, 0, fx), 3);
    EXPECT_EQ(fx.notices, (notices{{CANCELLED, 1, 0}, {CANCELLED, 2, 0}}));
    EXPECT_EQ(step().notices, notices{});
    EXPECT_EQ(s.asked, 0);
}

TEST_F(Retrieval, AnEjectWaitsForTheBatch)
{
    EXPECT_TRUE(ret_eject_request(s));
    insert(1);
    ret_request(s, {1, 1});
    ret_request(s, {1, 2});
    step();
    EXPECT_FALSE(ret_eject_request(s));
    EXPECT_EQ(finish(ret_outcome::done).notices, (notices{{RET_DONE, 1, 1}, {RET_PROG, 1, 2}}));
    EXPECT_FALSE(fx.eject);
    EXPECT_EQ(finish(ret_outcome::done).notices, (notices{{RET_DONE, 1, 2}, {RET_FINAL, 1, 0}}));
    EXPECT_TRUE(fx.eject);
    EXPECT_FALSE(s.eject_pending);
}

TEST_F(Retrieval, AnEjectedDiscIsAskedForAgainForWhatIsLeft)
{
    insert(1);
    ret_request(s, {1, 1});
    step();
    ret_eject_request(s);
    ret_request(s, {1, 2});
    // Track 2 joins the batch before the disc goes out.
    EXPECT_EQ(finish(ret_outcome::done).notices, (notices{{RET_DONE, 1, 1}, {RET_PROG, 1, 2}}));
    finish(ret_outcome::done);
    EXPECT_TRUE(fx.eject);
    disc = {};
    ret_request(s, {1, 3});
    EXPECT_EQ(step().notices, (notices{{RET_REQ, 1, 3}}));
}

}   // namespace
