// Vendor queries that wait for an answer.
#include "orders/query_tracking.h"
#include "support/device.h"

namespace {

class Queries : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        start();
        (void)receive("eth0", discovery(kPeer, 1));
        drop();
    }
    // The seconds in which queries are sent, and their types: "6:0 2 12:2 ".
    static std::string run(Seconds seconds) {
        std::string all;
        for (Seconds t = 1; t <= seconds; t++) {
            advance(1);
            (void)checkVendRespMsgReceived();
            if (const std::string now = vendTypes(); !now.empty())
                all += std::to_string(t) + ":" + now;
        }
        return all;
    }
};

TEST_F(Queries, AreRepeatedUntilAnswered) {
    EXPECT_EQ(requestSendConfQueryMsg(kPeer.al, 0), kOk);
    EXPECT_EQ(requestSendIntfPwrStateQueryMsg(kPeer.al, 0), kOk);
    EXPECT_EQ(requestSendWIFIstateQueryMsg(kPeer.al, 0), kOk);
    EXPECT_EQ(requestSendConfQueryMsg2(kPeer.al, 0), kOk);
    EXPECT_EQ(vendTypes(), "0 2 8 51 ");
    EXPECT_EQ(run(40), "6:0 2 12:2 0 ") << "types 0 and 2 three times, the others once";

    EXPECT_EQ(requestSendConfQueryMsg(kPeer.al, 0), kOk);
    (void)sentVend();
    ReportVendRespMsg(kPeer.al, static_cast<uint16_t>(lastVendId + 1), 0);
    ReportVendRespMsg(peer(2).al, static_cast<uint16_t>(lastVendId), 0);
    ReportVendRespMsg(kPeer.al, static_cast<uint16_t>(lastVendId), 2);
    EXPECT_EQ(run(6), "6:0 ") << "answers to another query";
    ReportVendRespMsg(kPeer.al, static_cast<uint16_t>(lastVendId), 0);
    EXPECT_EQ(run(20), "");

    EXPECT_EQ(requestSendConfQueryMsg(peer(9).al, 0), kFailure);
    EXPECT_EQ(run(20), "") << "an unsent query is not remembered";
}

TEST_F(Queries, OddIdentifiersAndAFullTable) {
    registerVendQueryMsg(kPeer.al, 40000, 0, 0);
    EXPECT_EQ(run(20), "") << "identifiers from 32768 on are not sent again";
    (void)initVendQueries();

    // A new query replaces the oldest entry, but the type and the count of that entry stay.
    for (uint16_t i = 0; i < 64; i++) registerVendQueryMsg(peer(2).al, i, i == 0 ? 2 : 8, 0);
    advance(1);
    registerVendQueryMsg(kPeer.al, 100, 0, 0);
    ReportVendRespMsg(kPeer.al, 100, 0);
    (void)checkVendRespMsgReceived();
    EXPECT_EQ(run(6), "6:2 ");
    // The query that is sent again is the oldest, so it replaces its own entry.
    (void)initVendQueries();
    for (uint16_t i = 0; i < 64; i++) {
        registerVendQueryMsg(i == 0 ? kPeer.al : peer(2).al, i, i == 0 ? 2 : 8, 0);
        if (i == 0) advance(1);
    }
    EXPECT_EQ(run(12), "5:2 11:2 ");
}

}  // namespace
