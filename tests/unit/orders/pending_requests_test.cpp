#include "orders/pending_requests.h"

#include "support/device.h"

namespace {

class Pending : public Device {
  protected:
    // The clients with these pids ask for service 134, each under its pid as identifier.
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
    EXPECT_FALSE(waits(0)) << "of the same age, the first is replaced";
    EXPECT_TRUE(waits(7));
    enter(201, 202);
    EXPECT_FALSE(waits(200)) << "an answered request is not replaced sooner";

    initPendingRequests();
    enter(0, 1);
    advance(1);
    enter(1, 128);
    advance(4);
    enter(200, 201);
    EXPECT_FALSE(waits(0)) << "the oldest";
    advance(2);
    EXPECT_TRUE(waits(1)) << "expired, but not yet replaced";
    enter(201, 202);
    EXPECT_FALSE(waits(2)) << "a new request removes all expired ones";
    EXPECT_TRUE(waits(200));
    EXPECT_TRUE(waits(201));
}

}  // namespace
