// Features of the mesh: the settings that a Registrar sends to its Enrollees, the speed test, and
// the acknowledgement of a renew.
#include "controller/controller_loop.h"
#include "db/database.h"
#include "orders/speed_test.h"
#include "orders/wifi_sync.h"
#include "platform/exports.h"
#include "platform/lifecycle.h"
#include "service/service_callback.h"
#include "support/device.h"

namespace {

constexpr unsigned kStart = 10, kData = 11, kAck = 26, kRenewAck = 31, kRenew = 40,
                   kRenewResult = 41, kCountry = 53, kCountryResult = 54;

class Features : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        startWithPeer();
        meet(kOther, 2);
        dev(kPeer).role = dev(kOther).role = 1;
        drop();
    }
    // Passes once a second; the vendor messages of this type, each as its second and the last byte
    // of its destination: "0>1 0>2 30>1 ". Keeps the identifier of the last one.
    std::string run(int seconds, unsigned type) {
        std::string all;
        for (int second = 0; second < seconds; second++) {
            MessageTransmitterLoop(now(), 0);
            for (const auto& s : sentVend()) {
                if (s.type != type) continue;
                all += std::to_string(second) + ">" + std::to_string(s.dst.b[5]) + " ";
                lastId_ = s.id;
            }
            advance(1);
        }
        return all;
    }
    void acknowledge(std::string_view result, unsigned id) {
        (void)tell(kPeer, id, kRenewResult, bytesOf(kPeer.al) + textBytes(result));
    }
    unsigned lastId_ = 0;
};

TEST_F(Features, SettingsAreHandedOutUntilAcknowledged) {
    EXPECT_EQ(run(31, kRenew), "") << "no text";
    fakePlatform().wifiChannelSync = "6 36";
    fakePlatform().notApproved.insert(kOther.al);
    EXPECT_EQ(run(30, kRenew), "29>1 ");
    acknowledge("fail", lastId_);
    EXPECT_EQ(run(30, kRenew), "29>1 ");
    acknowledge("success", lastId_ + 1);
    EXPECT_EQ(run(30, kRenew), "29>1 ") << "another message was acknowledged";
    acknowledge("success", lastId_);
    advance(6);
    fakePlatform().calls.clear();
    acknowledge("fail", lastId_);
    EXPECT_FALSE(fakePlatform().called("setWIFIChannelSyncList"));
    EXPECT_EQ(run(54, kRenew), "") << "a late failure of the same message";

    fakePlatform().wifiChannelSync = "11 36";
    fakePlatform().notApproved.clear();
    EXPECT_EQ(run(200, kRenew), "29>1 29>2 59>1 59>2 89>1 89>2 119>1 119>2 149>1 149>2 ");
    EXPECT_EQ(run(7200, kRenew), "3549>1 3549>2 7149>1 7149>2 ") << "once an hour";
    (void)removeIeee1905DevTable(kOther.al);
    EXPECT_EQ(run(30, kRenew), "");
    meet(kOther, 3);
    dev(kOther).role = 1;
    EXPECT_EQ(run(30, kRenew), "9>2 ") << "it may have forgotten";
    fakePlatform().wifiChannelSync.assign(1375, '6');
    EXPECT_EQ(run(60, kRenew), "") << "too long for a message, so it is not sent at all";
    getAlTable()->wpsConfig[0] = 1;
    EXPECT_EQ(run(90, kRenew), "") << "an Enrollee sends no settings";
}

TEST_F(Features, ARestartedEnrolleeGetsTheSettingsAgain) {
    unsigned id = 1000;
    const Frame al = bytesOf(kPeer.al);
    const auto uptime = [&](const char* seconds) {
        (void)tell(kPeer, ++id, 1, al + hex("01") + item(15, seconds));
    };
    const auto announce = [&](unsigned msgId) {
        (void)tell(kPeer, msgId, 45, al + bytesOf(kPeer.intf));
    };
    const auto reset = [&](uint8_t code) { (void)tell(kPeer, ++id, 23, {code}); };
    const std::pair<std::function<void()>, bool> eventAgain[] = {
        {[&] { reset(16); }, false},
        {[&] { reset(0); }, true},
        {[&] { uptime("100"), uptime("200"), uptime("195"), uptime(""); }, false},
        {[&] { uptime("200"), uptime("50"); }, true},
        {[&] { announce(3), announce(65000), announce(500), announce(600); }, false},
        // Its identifiers begin anew.
        {[&] { announce(4); }, true},
        {[&] { announce(4), announce(5); }, false},
        {[&] { announce(65500), announce(10); }, false}};
    fakePlatform().wifiChannelSync = "6 36";
    fakePlatform().notApproved.insert(kOther.al);
    (void)run(31, kRenew);
    for (const auto& [event, again] : eventAgain) {
        acknowledge("success", lastId_);
        dev(kPeer).apAutoConf.syncFlags = {1, 1, 1, 1};
        event();
        EXPECT_EQ(run(30, kRenew).empty(), !again) << id;
        // A reset also makes it forget what it has taken over of renews, a restart does not.
        EXPECT_EQ(dev(kPeer).apAutoConf.syncFlags[3], id == 1002 ? 0 : 1) << id;
    }
}

TEST_F(Features, EnrolleesFollowTheCountryCodeOfTheRegistrar) {
    dev(kOther).info.wifiCountryCode = "DE";
    EXPECT_EQ(run(120, kCountry), "") << "the Registrar has none";
    fakePlatform().wifiCountryCode = "DE";
    EXPECT_EQ(run(240, kCountry), "30>1 60>1 90>1 120>1 150>1 ") << "the other one has it already";
    EXPECT_EQ(run(3600, kCountry), "3510>1 ");
    fakePlatform().wifiCountryCode = "AT";
    EXPECT_EQ(run(60, kCountry), "30>1 30>2 ");
    for (const Peer& who : {kPeer, kOther}) (void)tell(who, lastId_, kCountryResult, {0});
    EXPECT_EQ(run(30, kCountry), "0>1 ") << "it has acknowledged another message";
    (void)tell(kPeer, lastId_, kCountryResult, {0});
    EXPECT_EQ(run(90, kCountry), "") << "what they report may be old";
    dev(kPeer).info.wifiCountryCode = dev(kOther).info.wifiCountryCode = "AT";
    EXPECT_EQ(run(30, kCountry), "");
    dev(kOther).info.wifiCountryCode = "US";
    EXPECT_EQ(run(30, kCountry), "0>2 ") << "changed at the device";
    (void)tell(kOther, lastId_, kCountryResult, {0});
    EXPECT_EQ(run(3600, kCountry), "3570>2 ") << "but it did not take effect";
}

TEST_F(Features, SpeedTestOrdersAreRepeatedUntilAcknowledged) {
    SpeedTestCtrlReq order;
    order.enable = 1;
    const MacAddr all{};
    (void)run(1, kStart);
    const auto acknowledges = [](const Peer& who, unsigned id, uint8_t result) {
        fakePlatform().calls.clear();
        (void)tell(who, id, kAck, bytesOf(who.al) + Frame{result});
        return fakePlatform().called("initSpeedTestData");
    };
    EXPECT_EQ(noteSpeedTestOrder(all, 9, order), kOk);
    EXPECT_EQ(run(2, kStart), "0>1 0>2 1>1 1>2 ");
    EXPECT_TRUE(acknowledges(kOther, lastId_, 0));
    EXPECT_FALSE(acknowledges(kOther, 9, 0)) << "a late one must not end a test";
    EXPECT_EQ(run(1, kStart), "0>1 ");
    EXPECT_EQ(getSpeedTestSendCtrlflag(), 0);
    order.enable = 0;
    EXPECT_EQ(noteSpeedTestOrder(kPeer.al, 10, order), kOk);
    EXPECT_FALSE(acknowledges(kPeer, lastId_, 0)) << "of the start";
    EXPECT_EQ(run(1, kStart + 2), "0>1 ");
    EXPECT_TRUE(acknowledges(kPeer, 10, 16));
    EXPECT_EQ(run(5, kStart), "");
    order.enable = 1;
    EXPECT_EQ(getSpeedTestSendCtrlflag(), 1);
    EXPECT_EQ(noteSpeedTestOrder(kPeer.al, 11, order), kOk);
    EXPECT_EQ(run(20, kStart), "0>1 1>1 2>1 3>1 4>1 5>1 6>1 7>1 8>1 9>1 ") << "it is given up";
    EXPECT_EQ(getSpeedTestSendCtrlflag(), 1);
}

TEST_F(Features, FiguresGoToTheDeviceThatStartedTheTestUntilItsTimeIsOver) {
    fakePlatform().speedTestTimeout = 4;
    fakePlatform().speedTestData = "94 Mb/s";
    (void)tell(kOther, 9, kStart, hex("01 00") + textBytes("") + Frame(8) + bytesOf(kStation));
    EXPECT_EQ(run(10, kData), "1>2 2>2 3>2 4>2 5>2 ");
    EXPECT_TRUE(fakePlatform().called("setSpeedTestState 0"));
}

TEST_F(Features, ARenewIsAcknowledgedAnew) {
    const auto& flags = dev(kPeer).apAutoConf.syncFlags;
    const auto& others = dev(kOther).apAutoConf.syncFlags;
    for (const Peer& who : {kPeer, kOther})
        for (const uint8_t band : Frame{1, 3, 33})
            (void)tell(who, band, kRenewAck, bytesOf(who.al) + Frame{band});
    using Flags = std::array<uint8_t, 5>;
    EXPECT_EQ(flags, (Flags{0, 1, 0, 1, 1})) << "the last one is 6 GHz";
    ApAutoConfRenewReq renew{};
    renew.freqBand = 33;
    uint32_t result = 1;
    servReqCallback(SERV_REQ_AP_AUTOCONF_RENEW, &renew, &result);
    EXPECT_EQ(result, 0U);
    EXPECT_EQ(flags, (Flags{0, 1, 0, 0, 1}));
    EXPECT_EQ(others, (Flags{0, 1, 0, 0, 1}));
    renew.freqBand = 1;
    renew.unicast = 1;
    kOther.intf.copyTo(renew.dstMac);
    servReqCallback(SERV_REQ_AP_AUTOCONF_RENEW, &renew, &result);
    EXPECT_EQ(flags, (Flags{0, 1, 0, 0, 1}));
    EXPECT_EQ(others, (Flags{0, 0, 0, 0, 1}));
    std::array<uint8_t, 12> macs{};
    EXPECT_EQ(getUnsyncedEnrollees(33, macs.data(), 1), 1U) << "of two";
    EXPECT_EQ(getUnsyncedEnrollees(1, macs.data(), 2), 1U);
    EXPECT_EQ(MacAddr(macs.data()), kOther.al);
    dev(kOther).role = 0;
    EXPECT_EQ(getUnsyncedEnrollees(33, macs.data(), 2), 1U) << "one is a Registrar";
}

TEST_F(Features, AnEnrolleeAcknowledgesARenew) {
    const auto answerToRenew = [](unsigned id) {
        const Frame tlvs = macTlv(1, kPeer.al) + tlvBytes(15, {0}) + tlvBytes(16, {33});
        (void)receive("eth0", frame1905(k1905Multicast, kPeer.intf, kMsgApAutoConfRenew, id,
                                        tlvs + endOfMsg()));
        return orders();
    };
    EXPECT_EQ(answerToRenew(91), "") << "a Registrar";
    getAlTable()->wpsConfig[0] = 1;
    EXPECT_EQ(answerToRenew(92), "31:02190500000121 ");
    fakePlatform().results["notifyApAutoConfRenewMsgReceived"] = PLATFORM_RENEW_STARTED;
    EXPECT_EQ(answerToRenew(94), "") << "the settings have not arrived";
    ApAutoConfAckReq arrived{};
    kPeer.al.copyTo(arrived.alMac);
    arrived.freqBand = 3;
    servReqCallback(SERV_REQ_AP_AUTOCONF_ACK, &arrived, nullptr);
    EXPECT_EQ(orders(), "31:02190500000103 ");
    fakePlatform().fail.insert("notifyApAutoConfRenewMsgReceived");
    EXPECT_EQ(answerToRenew(93), "") << "the platform refuses";
}

}  // namespace
