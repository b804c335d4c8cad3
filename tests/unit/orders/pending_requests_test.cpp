#include "orders/pending_requests.h"

#include <gtest/gtest.h>

#include "base/log.h"
#include "support/test_clock.h"
#include "support/test_device.h"

namespace {

class Pending : public testing::Test {
  protected:
    void SetUp() override {
        DEBUGLEVEL = 0;
        setTestTime(1'700'000'000);
        freshDevice();
    }
    void TearDown() override { useSystemClock(); }

    // Registers requests of the service 134 by clients of these numbers, each under its number.
    static void enter(int from, int to) {
        for (int pid = from; pid < to; pid++) {
            (void)registerServReq(pid, 134, static_cast<uint16_t>(pid));
        }
    }
    static bool waits(int pid) {
        return searchServReqRespPid(135, static_cast<uint16_t>(pid)) == pid;
    }
};

TEST_F(Pending, AnswersFindTheirClientOnce) {
    enter(1, 3);
    (void)registerServReq(9, 0x100 + 136, 1);
    EXPECT_EQ(searchServReqRespPid(134, 1), kNoClient) << "the answer is request + 1";
    EXPECT_EQ(searchServReqRespPid(135, 3), kNoClient);
    EXPECT_EQ(searchServReqRespPid(0x200 + 137, 1), 9) << "only the low byte counts";
    EXPECT_TRUE(waits(2));
    EXPECT_FALSE(waits(2));
    (void)registerServReq(5, 255, 4);
    EXPECT_EQ(searchServReqRespPid(0, 4), kNoClient) << "255 has no successor";
    initPendingRequests();
    EXPECT_FALSE(waits(1));
}

TEST_F(Pending, ExpiredGiveWayBeforeTheOldest) {
    enter(0, 128);
    enter(200, 201);
    EXPECT_FALSE(waits(0)) << "all of the same age: the first gives way";
    EXPECT_TRUE(waits(7));
    enter(201, 202);
    EXPECT_FALSE(waits(200)) << "the place of the answered one is taken no sooner";

    initPendingRequests();
    enter(0, 1);
    advance(1);
    enter(1, 128);
    advance(4);
    enter(200, 201);
    EXPECT_FALSE(waits(0)) << "the oldest";
    advance(2);
    EXPECT_TRUE(waits(1)) << "expired, but nobody took its place";
    enter(201, 202);
    EXPECT_FALSE(waits(2)) << "one newcomer ends all that have expired";
    EXPECT_TRUE(waits(200));
    EXPECT_TRUE(waits(201));
}

}  // namespace
