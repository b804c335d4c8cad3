// The service channel through its real slots: a client posts a request, the monitor runs, the
// client reads what came of it.
#include <fstream>
#include <random>

#include "base/state.h"
#include "db/change_log.h"
#include "db/data_manager.h"
#include "db/database.h"
#include "orders/control_lists.h"
#include "service/service_monitor.h"
#include "service/wake_fifo.h"
#include "support/device.h"
#include "support/log_capture.h"
#include "support/slot_client.h"
#include "support/vendor.h"

namespace {

const Peer kPeer = peer(1);

class Service : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        ASSERT_EQ(initServiceMonitor(), kOk);
        ASSERT_EQ(startServiceMonitor(), kOk);
    }
    void TearDown() override {
        (void)destroyServiceMonitor();
        Device::TearDown();
    }

    static std::string ask(unsigned servId, const Frame& payload = {}) {
        postRequest(servId, payload);
        EXPECT_EQ(runServiceMonitor(), kOk);
        EXPECT_EQ(flagOf(getServReqShm()), 1);
        return takeAnswer();
    }
    // A vendor message: "4:payload ".
    static std::string order(const SentVend& s) {
        return std::to_string(s.type) + ":" + print(s.payload) + " ";
    }
    // Those that left by eth0.
    static std::string orders() {
        std::string all;
        for (const auto& s : sentVend()) all += order(s);
        return all;
    }
    void startWithPeer() {
        start();
        meet(kPeer, 1);
        drop();
        (void)calls();
    }

    struct Case {
        unsigned servId;
        Frame payload;
        std::string answer, sent{}, calls{};  // what leaves, and what the platform is told
    };
    static void check(const std::vector<Case>& cases) {
        for (const auto& c : cases) {
            EXPECT_EQ(ask(c.servId, c.payload), c.answer) << c.servId;
            EXPECT_EQ(orders(), c.sent) << c.servId;
            EXPECT_EQ(calls(), c.calls) << c.servId;
        }
    }
};

TEST_F(Service, Records) {
    const Frame al = bytesOf(kPeer.al);
    fakePlatform().intfs[0].oui = {0xAA, 0xBB, 0xCC};
    fakePlatform().intfs[0].vendInfo.assign(700, 0x77);
    LinkDesc link{nullptr, {}, 1, 2, 3, 4, 1000, 90, 800, 7};
    kPeer.intf.copyTo(link.nbrIntfMac);
    fakePlatform().intfs[0].links = {link};
    fakePlatform().security = {1, 2, 3};
    fakePlatform().securityMode = 1;
    start();
    TopolTable& topol = *getNetTopolTable();
    topol.status = 1;
    topol.maxChangeLogEntries = 100;
    auto& dev = topol.devs.emplace_back();
    dev.alMac = kPeer.al;
    dev.status = 9;
    dev.intfs = {{kEth0, 1, {}, 0, {}}, {kEth1, 0x0105, {5, 6}, 2, {}}};
    dev.non1905Lists = {{kEth1, {kStation, kEth0}}};
    dev.ieee1905Lists = {{kEth1, {{kOwnAl, 1}}}};
    dev.brdgTuples = {{{kEth0, kEth1}}};
    dev.enableReboot = 1;
    (void)updateChangeLogTable(kLostNeighbor, kPeer.al, kEth1, kNon1905Nbr, kStation);
    getAlTable()->fwdRules = {{7}, {8}};
    advance(5);

    const Frame own0 = bytesOf(kEth0) + zeros(1) + num16(1);
    const Frame nobody = bytesOf(kStation);
    check({
        // clang-format off
        {0, {}, answer(1, bytesOf(kOwnAl) + zeros(3) + num32(5) + Frame{2})},
        {4, own0, answer(5, hex("aabbcc") + Frame(626, 0x77))}, {4, nobody, code(4, 82)},
        {6, own0, answer(7, {})}, {10, own0, answer(11, zeros(1) + num16(1))},
        {12, own0, answer(13, bytesOf(kPeer.intf) + bytesOf(kEth0) + zeros(1) + num32(1) + num32(2) + num32(3) + num32(4) + num16(1000) + num16(90) + num16(800) + Frame{7})},
        {12, own0 + Frame{1}, code(12, 80)}, {18, {}, code(18, 2)}, {20, {1}, answer(21, zeros(1) + num16(8))}, {20, {2}, code(20, 80)},
        {28, {}, answer(29, zeros(1) + num32(1) + Frame{1, 100, 1, 1})},
        {30, {0}, answer(31, zeros(1) + num32(1'700'000'000) + Frame{1} + al + bytesOf(kEth1) + Frame{1} + nobody)},
        {30, {1}, code(30, 80)}, {34, {0}, answer(35, al + Frame{9, 2, 2, 1, 1})},
        {34, {255}, code(34, 80)}, {36, nobody, code(36, 87)}, {36, al + Frame{2}, code(36, 80)},
        {36, al + Frame{1}, answer(37, bytesOf(kEth1) + Frame{5, 2, 5, 6} + zeros(630 - 17) + Frame{2})},
        {38, al, answer(39, bytesOf(kEth1) + Frame{2} + nobody + bytesOf(kEth0))},
        {40, al, answer(41, bytesOf(kEth1) + Frame{1} + bytesOf(kOwnAl) + Frame{1})},
        {42, al, answer(43, Frame{2} + bytesOf(kEth0) + bytesOf(kEth1))},
        {44, {}, answer(45, Frame{1} + num16(3) + Frame{1, 2, 3})}, {128, {1}, answer(129, {1})},
        {128, {2}, code(128, 32)}, {132, al, answer(133, {1})}, {132, al + Frame{9}, code(132, 32)},
        {1, {}, ""}, {217, {}, ""}, {65535, {}, ""},
        // clang-format on
    });

    // Far more than fits: the entries that do.
    dev.non1905Lists[0].nbrs.assign(1000, kStation);
    EXPECT_EQ(ask(38, al).substr(15, 4), "6702");

    topol.devs.clear();
    topol.changeLogNum = 0;
    check({{34, {}, code(34, 81)}, {30, {}, code(30, 81)}});
    (void)destroyDataManager();
    for (const uint8_t id : hex("00 04 0a 1c 1e 22 24 2c")) EXPECT_EQ(ask(id), code(id, 17));
}

TEST_F(Service, SlotsAndStates) {
    postRequest(28, {});
    flagOf(getServReqShm()) = 1;
    EXPECT_EQ(runServiceMonitor(), kOk);
    EXPECT_EQ(takeAnswer(), "") << "an idle slot holds no request";
    postRequest(28, {});
    EXPECT_EQ(runServiceMonitor(), kOk);
    EXPECT_EQ(ask(30), code(30, 17)) << "an answer that nobody reads gives way";
    postRequest(28, {});
    (void)takeRequest();
    markRequestIdle();
    postRequest(28, {});
    markRequestIdle();
    EXPECT_EQ(flagOf(getServReqShm()), 0) << "the next request is there already";
    EXPECT_EQ(runServiceMonitor(), kOk);
    EXPECT_EQ(takeAnswer().substr(0, 4), "254:");
    EXPECT_EQ(initServiceMonitor(), kInvalidState) << "it is under way";
    EXPECT_EQ(getServiceMonitorState(), 2U);
}

TEST_F(Service, APokeEndsTheWait) {
    const std::string path = folder() + "/wake";
    stateOf<WakeFifo>().path = path;
    ASSERT_EQ(destroyServiceMonitor(), kOk);
    std::ofstream(path) << "mine";
    ASSERT_EQ(initServiceMonitor(), kOk);
    ASSERT_EQ(destroyServiceMonitor(), kOk);
    EXPECT_EQ(std::filesystem::file_size(path), 4U) << "of somebody else's";

    std::filesystem::remove(path);
    ASSERT_EQ(initServiceMonitor(), kOk);
    ASSERT_EQ(startServiceMonitor(), kOk);
    start();
    std::ofstream(path) << "x" << std::flush;
    for (const int ready : {1, 0}) {  // one poke, one pass
        (void)runMessageMonitor();
        EXPECT_EQ(fakeNet().lastReady, ready);
        EXPECT_EQ(runServiceMonitor(), kOk);
    }
    ASSERT_EQ(destroyServiceMonitor(), kOk);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(Service, ActionsAndMessages) {
    startWithPeer();
    fakePlatform().wifiStateSync = "sync";
    const Frame al = bytesOf(kPeer.al);
    const std::string to = print(al), own = print(bytesOf(kOwnAl));
    (void)getAlTable()->fwdRules.emplace_back(FwdRule{7});
    check({
        // clang-format off
        {8, bytesOf(kEth1) + zeros(1) + num16(1) + Frame{2}, answer(9, {}), "", "setIntfPwrStateById 02:19:05:00:01:01 1 2; "},
        {22, {}, code(22, 16)}, {26, zeros(1) + num16(7), answer(27, {})},
        {26, zeros(1) + num16(7), answer(27, {16})}, {32, {0}, answer(33, {34})},
        {32, {50}, answer(33, {})}, {130, {2, 1}, answer(131, {32})}, {130, {0, 200}, answer(131, {})}, {128, {0}, answer(129, {200})},
        {138, zeros(1) + num32(1) + num32(0) + num32(1), code(139, 0), "", "setWPSConfig 1 0 1; "},
        {163, zeros(1) + num32(60), code(164, 0), "", "setWPSConfigChangetimeout 1 0 1 60; "}, {140, {}, ""},
        {141, zeros(6) + Frame{33}, code(142, 0), "", "sendWPSRenew 33; "},
        {169, zeros(6) + Frame{1}, code(170, 0), "", "sendWPSSearch 1; "},
        {151, zeros(1) + num32(1), code(152, 0), "", "setFWresult 1; "},
        {153, {}, code(154, 0), "", "sendPBEvent; "}, {155, {}, code(156, 0)}, {157, {}, code(158, 0)},
        {165, zeros(1) + num32(1), code(166, 0), "", "setApproveFlag_flag 1; "},
        {171, zeros(1) + num32(1) + num32(1), code(172, 0), "", "setWiFiReloadFlag 1 1; "},
        {177, zeros(9) + hex("42757379"), code(178, 0), "", "setFWState Busy; "},
        {189, hex("416c6c") + zeros(14) + num32(1) + num32(0), code(190, 0), "", "setWPSConfByBand All 1 0; "},
        {191, {}, code(192, 16)},
        {161, zeros(9) + num32(0x102), "", "34:00000000000002 ", "outputlogData [LEDCtrl] send LED (258) to multicast; "},
        {214, zeros(9) + num32(3), "", "75:00000000000003 ", "outputlogData [SystemCtrl] send System (3) to multicast; "},
        {179, al + hex("0102 00") + num32(1) + num32(60) + bytesOf(kStation) + hex("75"), code(180, 0), "10:0102000175000000010000003c0257a0000001 ", "setSpeedTestSendCtrlflag 0; "},
        {179, zeros(6), code(180, 0), "12:000000000000000000000000000000000000 ", "setSpeedTestSendCtrlflag 0; "},
        {181, al, code(182, 0), "13:" + own + " ", ""}, {183, {}, code(184, 0), "14:" + own + "000473796e63 ", ""},
        {187, al, code(188, 0), "28:" + to + " ", ""}, {187, bytesOf(kStation), code(188, 16)},
        {197, zeros(7) + num16(0x0102) + hex("6c73"), code(198, 0), "49:" + to + "010200026c73 ", ""},
        {185, {}, code(186, 0), "45:" + own + print(bytesOf(kEth0)) + " ", ""}, {216, {}, code(217, 0), "56:" + own + "0000 ", ""},
        {212, {}, code(213, 0), "", "wifi_flag_init; sendWPSSearch 0; sendWPSSearch 1; sendWPSSearch 32; sendWPSSearch 33; "},
        // clang-format on
    });
    (void)checkLEDCtrlList();
    EXPECT_EQ(orders(), "33:" + to + "02 ") << "to be repeated";
    (void)calls();
    EXPECT_TRUE(std::filesystem::exists(folder() + "/vm1905_log.json"));
    fakePlatform().fail = {"sendWPSRenew", "sendPBEvent"};
    check({{141, {}, code(142, 16), "", "sendWPSRenew 0; "},
           {153, {}, code(154, 0), "", "sendPBEvent; "},
           {167, zeros(1) + num32(2), code(168, 0), "", "setNetCtrlDebugLevel 2; "}});
    EXPECT_EQ(DEBUGLEVEL, 2);
    LogCapture shown(2);
    EXPECT_EQ(ask(167, zeros(1) + num32(6)), code(168, 0));
    EXPECT_NE(shown.finish().find("ports:"), std::string::npos);
    EXPECT_EQ(DEBUGLEVEL, 2);
}

TEST_F(Service, OrdersToOtherDevices) {
    startWithPeer();
    const Frame al = bytesOf(kPeer.al);
    const std::string to = print(al);
    const Frame five = zeros(3) + num32(5);
    const Frame station = bytesOf(kStation) + bytesOf(kEth0) + hex("51 06 01") + num16(100);
    const std::string stationOut = to + "0257a0000001" + print(bytesOf(kEth0)) + "5106010064";
    const struct {
        unsigned servId;
        Frame payload;      // behind the address
        std::string order;  // that leaves
        Frame response;     // to it: message type and payload
        std::string answer;
    } cases[] = {
        // clang-format off
        {134, {}, "4:" + to, hex("05 07"), answer(135, {7})},
        {136, hex("01") + bytesOf(kEth0) + num16(0x0105) + zeros(232) + Frame{2}, "6:" + to + "01" + print(bytesOf(kEth0)) + "010502", hex("07 01 021905000100 0105 10"), answer(137, Frame{1} + bytesOf(kEth0) + num16(0x0105) + Frame{16})},
        {143, five, "16:" + to + "05", hex("11 03"), answer(144, {3})}, {145, five, "18:" + to + "05", hex("13 03"), answer(146, {3})},
        {147, hex("06 01 00 752f"), "20:06000301752f", hex("15 03"), answer(148, {3})},
        {149, {}, "22:" + to, hex("17 03"), answer(150, {3})},
        {159, hex("000000 3220"), "25:000200023220", hex("20 03"), answer(160, {3})},
        {161, five, "33:" + to + "05", hex("23 03"), answer(162, {3})},
        {202, station + hex("41"), "64:" + stationOut + "000141", hex("41 00 03 000000000000 0000"), answer(203, {3})},
        {204, station, "66:" + stationOut + "0000", hex("43 01 00 0257a0000001 0002 0a0b"), answer(205, Frame{0} + bytesOf(kStation) + num16(2) + hex("0a0b"))},
        {206, station, "68:" + stationOut, hex("45 03"), answer(207, {3})},
        {208, bytesOf(kStation), "70:" + to + "000257a0000001", hex("47 00 03"), answer(209, {3})},
        {210, bytesOf(kStation), "70:" + to + "010257a0000001", hex("47 01 03"), answer(211, {3})},
        {214, five, "74:" + to + "05", hex("4c 03"), answer(215, {3})},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.servId);
        const auto id = static_cast<uint8_t>(c.servId);
        getNetTopolTable()->status = 0;
        EXPECT_EQ(ask(c.servId, al + c.payload), code(id, 98));
        getNetTopolTable()->status = 1;
        EXPECT_EQ(ask(c.servId, bytesOf(kStation) + c.payload), code(id == 136 ? 137 : id, 7));
        EXPECT_EQ(orders(), "");

        EXPECT_EQ(ask(c.servId, al + c.payload), "");
        const SentVend given = sentVend().at(0);
        EXPECT_EQ(order(given), c.order + " ");
        (void)receive("eth0", vendFrame(kEth0, kPeer.intf, kPeer.al, given.id, c.response[0],
                                        {c.response.begin() + 1, c.response.end()}));
        EXPECT_EQ(takeAnswer(), c.answer);
    }
    stateOf<ControlLists>() = {};
    EXPECT_EQ(ask(134, al), "");
    drop();
    (void)checkRebootCtrlList();
    EXPECT_EQ(orders(), "4:" + to + " ") << "to be repeated";
    EXPECT_EQ(ask(136, al + Frame(249 - 6, 0xFF)), "");
    EXPECT_EQ(orders().substr(0, 16), "6:" + to + "1e") << "no more than 30 interfaces";
}

// Messages of the clients' and of the platform library's making.
TEST_F(Service, StandardMessages) {
    startWithPeer();
    const auto raw = [](unsigned type, const Frame& tlvs) {
        std::string all = ask(200, bytesOf(kPeer.al) + zeros(1) + num16(type) + tlvs);
        for (const auto& s : sent("eth0")) all += " " + std::to_string(s.type) + ": " + s.tlvs;
        return all;
    };
    const std::string done = code(200, 0);
    EXPECT_EQ(raw(0, macTlv(1, kStation) + macTlv(2, kStation)), done + " 0: 1 2");
    EXPECT_EQ(raw(4, vendTlv(kOwnAl, 13, bytesOf(kOwnAl))), done + " 4: 11");
    EXPECT_EQ(raw(5, tlvBytes(8, {0, 0, 0, 0, 0, 0, 0, 2})), done + " 5: 8");
    EXPECT_EQ(raw(7, tlvBytes(200, {9}) + tlvBytes(14, {1})), done + " 7: 200 14");
    EXPECT_EQ(raw(4, {}), code(200, 16)) << "nothing to send";
    EXPECT_EQ(raw(10, hex("0d ffff")), code(200, 16));
    EXPECT_EQ(raw(3, {}), code(200, 64));
    EXPECT_EQ(raw(13, {}), code(200, 64));

    const auto raise = [](uint32_t servId, void* info) {
        EXPECT_EQ(fakePlatform().raiseServReq(servId, info), 0U);
        return sent("eth0").at(0);
    };
    ApAutoConfRenewReq renew{};
    kPeer.al.copyTo(renew.dstMac);
    EXPECT_EQ(raise(SERV_REQ_AP_AUTOCONF_RENEW, &renew).dst, k1905Multicast);
    EXPECT_TRUE(fakePlatform().called("start_and_stop_Renew 1"));
    renew.unicast = 1;
    EXPECT_EQ(raise(SERV_REQ_AP_AUTOCONF_RENEW, &renew).dst, kPeer.intf);
    ApAutoConfRespReq resp{{}, {}, 0x1234, 0, 0};
    kPeer.al.copyTo(resp.dstMac);
    EXPECT_EQ(raise(SERV_REQ_AP_AUTOCONF_RESP, &resp).id, 0x1234U);
    PbEventReq event{};
    const unsigned eventId = raise(SERV_REQ_PB_EVENT, &event).id;
    EXPECT_EQ(eventId, event.msgId);
    EXPECT_EQ(fakePlatform().raiseServReq(SERV_REQ_PB_JOIN, nullptr), 16U);
    EXPECT_EQ(fakePlatform().raiseServReq(6, &event), 16U);
}

// The slots are open to every process of the device.
TEST_F(Service, AnyIdAndAnyBytes) {
    startWithPeer();
    LogCapture quiet(0);
    std::mt19937 random(1905);
    const auto post = [](unsigned servId, const Frame& payload, int pid) {
        postRequest(servId, payload, pid);
        ASSERT_EQ(runServiceMonitor(), kOk);
        ASSERT_EQ(flagOf(getServReqShm()), 1) << servId;
        flagOf(getServRespShm()) = 1;
        drop();
    };
    for (unsigned servId = 0; servId < 65536; servId++) post(servId, {}, 0);
    for (int i = 0; i < 100'000; i++) {
        Frame payload(random() % 250);
        for (auto& byte : payload) byte = static_cast<uint8_t>(random());
        // Every other one means a device that is there.
        if (i % 2 == 0) payload = bytesOf(kPeer.al) + payload;
        payload.resize(std::min<size_t>(payload.size(), 249));
        const int pid = static_cast<int>(random() | 0x80000000);
        post(static_cast<unsigned>(random() % 220), payload, pid);
    }
    EXPECT_EQ(ask(0).substr(0, 2), "1:");
}

}  // namespace
