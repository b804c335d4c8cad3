// The service channel through its real slots: a client posts a request, the monitor runs, the
// client reads the answer. In the tables, payloads are hexadecimal, and numbers of the slots
// have =.
#include <signal.h>
#include <sys/wait.h>

#include <fstream>
#include <random>

#include "base/state.h"
#include "db/change_log.h"
#include "db/data_manager.h"
#include "db/database.h"
#include "orders/control_lists.h"
#include "platform/exports.h"
#include "service/service_monitor.h"
#include "service/wake_fifo.h"
#include "support/device.h"
#include "support/log_capture.h"
#include "support/slot_client.h"

namespace {

using Text = std::string;

const Frame kAl = bytesOf(kPeer.al);
const Text kTo = print(kAl), kOwn = print(bytesOf(kOwnAl)), kNobody = print(bytesOf(kStation));
const Text kE0 = print(bytesOf(kEth0)), kE1 = print(bytesOf(kEth1)), kAll = "000000000000";

// The data answer to a service.
Text data(unsigned service, const Text& payload) {
    return answer(service + 1, hex(payload));
}

class Service : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        ASSERT_EQ(initServiceMonitor(), kOk);
        ASSERT_EQ(startServiceMonitor(), kOk);
    }

    static Text ask(unsigned service, const Frame& payload = {}) {
        postRequest(service, payload);
        EXPECT_EQ(runServiceMonitor(), kOk);
        EXPECT_EQ(flagOf(getServReqShm()), 1);
        return takeAnswer();
    }
    static Text ask(unsigned service, const Text& payload) { return ask(service, hex(payload)); }
};

TEST_F(Service, Records) {
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
    auto& dev = topol.devs.edit(topol.devs.add({}));
    dev.alMac = kPeer.al;
    dev.status = 9;
    dev.intfs = {{kEth0, 1, {}, 0, {}}, {kEth1, 0x0105, {5, 6}, 2, {}}};
    dev.non1905Lists = {{kEth1, {kStation, kEth0}}};
    dev.ieee1905Lists = {{kEth1, {{kOwnAl, 1}}}};
    dev.brdgTuples = {{{kEth0, kEth1}}};
    dev.enableReboot = 1;
    (void)updateChangeLogTable(kLostNeighbor, kPeer.al, kEth1, kNon1905Nbr, kStation);
    getAlTable()->fwdRules = {{.ruleId = 7}, {.ruleId = 8}};
    advance(5);

    const Text lan = print(zeros(6)) + "30303a30303a30303a30303a30303a3030";
    const Text eth0 = kE0 + "00 =0001 ", linkTo = print(bytesOf(kPeer.intf)) + kE0;
    const struct {
        unsigned service;
        Text request, record;
    } records[] = {
        // clang-format off
        {0, "", kOwn + "000000 =00000005 02 00" + lan},
        {4, eth0, "aabbcc" + print(Frame(626, 0x77))},
        {6, eth0, ""},
        {10, eth0, "00 =0001"},
        {12, eth0, linkTo + "00 =00000001 =00000002 =00000003 =00000004 =03e8 =005a =0320 07"},
        {20, "01", "00 =0008"},
        {28, "", "00 =00000001 01 64 01 01"},
        {30, "00", "00 =6553f100 01" + kTo + kE1 + "01" + kNobody},
        {34, "00", kTo + "09 02 02 01 01"},
        {36, kTo + "01", kE1 + "05 02 0506" + print(zeros(613)) + "02"},
        {38, kTo, kE1 + "02" + kNobody + kE0},
        {40, kTo, kE1 + "01" + kOwn + "01"},
        {42, kTo, "02" + kE0 + kE1},
        {44, "", "01 =0003 010203"},
        {128, "01", "01"},
        {132, kTo, "01"},
        // clang-format on
    };
    for (const auto& [service, request, record] : records)
        EXPECT_EQ(ask(service, request), data(service, record)) << service;
    const std::tuple<uint8_t, Text, uint8_t> serviceRequestCode[] = {
        {4, kNobody, 82},     {12, eth0 + "01", 80}, {18, "", 2},  // the number of rules
        {20, "02", 80},       {30, "01", 80},        {34, "ff", 80},       {36, kNobody, 87},
        {36, kTo + "02", 80}, {128, "02", 32},       {132, kTo + "09", 32}};
    for (const auto& [service, request, refusal] : serviceRequestCode)
        EXPECT_EQ(ask(service, request), code(service, refusal)) << +service;
    for (const unsigned unknown : {1U, 217U, 65535U}) EXPECT_EQ(ask(unknown), "") << unknown;

    dev.non1905Lists[0].nbrs.assign(1000, kStation);
    EXPECT_EQ(ask(38, kTo).substr(15, 4), "6702") << "as many as fit";
    topol.devs.clear();
    topol.changeLogNum = 0;
    for (const uint8_t id : hex("1e 22")) EXPECT_EQ(ask(id), code(id, 81));
    EXPECT_EQ(orders() + calls(), "");
    (void)destroyIntfPorts();
    EXPECT_EQ(ask(0), data(0, kOwn + "000000 =00000005 02 01" + lan)) << "no port is open";
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
    EXPECT_EQ(ask(30), code(30, 17)) << "an unread answer is overwritten";
    postRequest(28, {});
    (void)takeRequest();
    markRequestIdle();
    postRequest(28, {});
    markRequestIdle();
    EXPECT_EQ(flagOf(getServReqShm()), 0) << "the slot already holds the next request";
    EXPECT_EQ(runServiceMonitor(), kOk);
    EXPECT_EQ(takeAnswer().substr(0, 4), "254:");
    EXPECT_EQ(initServiceMonitor(), kInvalidState) << "it runs already";
    EXPECT_EQ(getServiceMonitorState(), 2U);
}

// Service 2 is answered once its client has freed the request slot.
TEST_F(Service, AnInterfaceWaitsForItsClient) {
    start();
    const auto look = [] {
        EXPECT_EQ(runServiceMonitor(), kOk);
        return +flagOf(getServReqShm());
    };
    postRequest(2, {1});
    flagOf(getServRespShm()) = 0;
    EXPECT_EQ(look(), 0);
    EXPECT_EQ(flagOf(getServRespShm()), 0);
    (void)runMessageMonitor();
    EXPECT_LE(fakeNet().lastWait, 5) << "the next look is soon";
    advance(1);
    EXPECT_EQ(look(), 0);
    EXPECT_EQ(flagOf(getServRespShm()), 1) << "shows that the daemon waits";
    flagOf(getServReqShm()) = 1;
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(takeAnswer().substr(0, 14), "3:" + kE1);

    const pid_t client = fork();
    if (client == 0) pause();
    postRequest(2, {}, client);
    EXPECT_EQ(look(), 0);
    kill(client, SIGKILL);
    EXPECT_EQ(waitpid(client, nullptr, 0), client);
    EXPECT_EQ(look(), 1) << "nobody would free it";
    postRequest(2, {});
    EXPECT_EQ(look(), 0);
    advance(60);
    EXPECT_EQ(look(), 1) << "other clients wait too";
    EXPECT_EQ(takeAnswer(), "");
    postRequest(2, {});
    EXPECT_EQ(look(), 0);
    postRequest(0, {});
    EXPECT_EQ(look(), 1) << "freed and used by another client meanwhile";
    EXPECT_EQ(takeAnswer().substr(0, 2), "1:");
}

TEST_F(Service, APokeEndsTheWait) {
    const std::string path = folder() + "/wake";
    stateOf<WakeFifo>().path = path;
    ASSERT_EQ(destroyServiceMonitor(), kOk);
    std::ofstream(path) << "mine";
    ASSERT_EQ(initServiceMonitor(), kOk);
    ASSERT_EQ(destroyServiceMonitor(), kOk);
    EXPECT_EQ(std::filesystem::file_size(path), 4U) << "a file of somebody else";

    std::filesystem::remove(path);
    if (geteuid() == 0) {
        ASSERT_EQ(mkfifo(path.c_str(), 0666) + chown(path.c_str(), 12345, 0), 0);
        ASSERT_EQ(initServiceMonitor(), kOk);
        EXPECT_EQ(wakeFifoFd(), -1) << "another user could read what wakes the daemon";
        ASSERT_EQ(destroyServiceMonitor(), kOk);
        std::filesystem::remove(path);
    }
    ASSERT_EQ(initServiceMonitor(), kOk);
    ASSERT_EQ(startServiceMonitor(), kOk);
    start();
    std::ofstream(path) << "x" << std::flush;
    for (const int ready : {1, 0}) {  // one byte ends one wait
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
    const Text done = "done";  // a code answer of 0 that names the data answer
    const struct {
        unsigned service;
        Text request, answer, sent{}, calls{};
    } rows[] = {
        // clang-format off
        {8, kE1 + "00 =0001 02", "9:", "", "setIntfPwrStateById 02:19:05:00:01:01 1 2; "},
        {32, "00", "33:22"},
        {32, "32", "33:"},
        {130, "02 01", "131:20"},
        {130, "00 c8", "131:"},
        {128, "00", "129:c8"},
        {138, "00 =00000001 =00000000 =00000001", done, "", "setWPSConfig 1 0 1; "},
        {163, "00 =0000003c", done, "", "setWPSConfigChangetimeout 1 0 1 60; "},
        {140, "", ""},
        {141, kAll + "21", done, "", "sendWPSRenew 33; "},
        {169, kAll + "01", done, "", "sendWPSSearch 1; "},
        {151, "00 =00000001", done, "", "setFWresult 1; "},
        {153, "", done, "", "sendPBEvent; "},
        {155, "", done},
        {157, "", done},
        {165, "00 =00000001", done, "", "setApproveFlag_flag 1; "},
        {167, "00 =00000002", done, "", "setNetCtrlDebugLevel 2; "},
        {171, "00 =00000001 =00000001", done, "", "setWiFiReloadFlag 1 1; "},
        {177, "00" + print(zeros(8)) + "42757379", done, "", "setFWState Busy; "},
        {189, "416c6c" + print(zeros(14)) + "=00000001", done, "", "setWPSConfByBand All 1 0; "},
        {191, "", code(192, 16)},
        {212, "", done, "", "wifi_flag_init; sendWPSSearch 0; sendWPSSearch 1; "
                            "sendWPSSearch 32; sendWPSSearch 33; "},
        {161, kAll + "000000 =00000102", "", "34:00000000000002 ",
         "outputlogData [LEDCtrl] send LED (258) to multicast; "},
        {214, kAll + "000000 =00000003", "", "75:00000000000003 ",
         "outputlogData [SystemCtrl] send System (3) to multicast; "},
        {179, kTo + "01 02 00 =00000001 =0000003c " + kNobody + "75", done,
         "10:0102000175000000010000003c" + kNobody + " ", "setSpeedTestSendCtrlflag 0; "},
        {179, kAll, done, "12:" + print(zeros(18)) + " ", "setSpeedTestSendCtrlflag 0; "},
        {181, kTo, done, "13:" + kOwn + " "},
        {183, kAll, done, "14:" + kOwn + "000473796e63 "},
        {187, kTo, done, "28:" + kTo + " "},
        {187, kNobody, code(188, 16)},
        {197, kTo + "00 =0102 6c73", done, "49:" + kTo + "010200026c73 "},
        {185, "", done, "45:" + kOwn + kE0 + " "},
        {216, "", done, "56:" + kOwn + "0000 "},
        // clang-format on
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.service) + " " + row.request);
        const auto answerId = static_cast<uint8_t>(row.service + 1);
        EXPECT_EQ(ask(row.service, row.request),
                  row.answer == done ? code(answerId, 0) : row.answer);
        EXPECT_EQ(orders(), row.sent);
        EXPECT_EQ(calls(), row.calls);
    }
    EXPECT_EQ(DEBUGLEVEL, 2);
    (void)checkLEDCtrlList();
    EXPECT_EQ(orders(), "33:" + kTo + "02 ") << "repeated to each device";
    EXPECT_TRUE(std::filesystem::exists(folder() + "/vm1905_log.json"));
    fakePlatform().fail = {"sendWPSRenew", "sendPBEvent"};
    EXPECT_EQ(ask(141), code(142, 16));
    EXPECT_EQ(ask(153), code(154, 0));
    fakePlatform().results = {{"sendWPSSearch", 0x1F4}, {"setFWState", -1}};
    EXPECT_EQ(ask(169), code(170, 0xF4)) << "the low 8 bits";
    EXPECT_EQ(ask(177), code(178, 0xFF));
    LogCapture shown(2);
    EXPECT_EQ(ask(167, "00 =00000006"), code(168, 0));
    EXPECT_NE(shown.finish().find("ports:"), Text::npos);
    EXPECT_EQ(DEBUGLEVEL, 2);
}

TEST_F(Service, ForwardingRules) {
    start();
    const Text match = kE0 + "01" + kE1 + "01 =0800 01 =0002 01 =0003 00 =0004 01";
    const auto rule = [&](const Text& id, const Frame& macs) {
        Frame all = hex("00 =" + id) + Frame{static_cast<uint8_t>(macs.size() / 6)} + macs;
        all.resize(191 - 7);
        return all + hex(match);
    };
    const Frame e0 = bytesOf(kEth0), both = e0 + bytesOf(kEth1);
    for (const Text id : {"0000", "0009", "0000"}) EXPECT_EQ(ask(22, rule(id, both)), code(22, 0));
    EXPECT_EQ(ask(22, rule("0009", both)), code(22, 16)) << "there is one";
    EXPECT_EQ(ask(22, rule("0000", Frame(size_t{31} * 6))), code(22, 16))
        << "more than the answer holds";
    EXPECT_EQ(ask(24, rule("0009", e0)), "25:");
    EXPECT_EQ(ask(24, rule("0007", e0)), "25:10");
    EXPECT_EQ(ask(26, "00 =0007"), "27:10");
    EXPECT_EQ(ask(20, "00"), answer(21, rule("0001", both))) << "the daemon chose the identifier";
    EXPECT_EQ(ask(20, "01"), answer(21, rule("0009", e0)));
    EXPECT_EQ(ask(26, "00 =0001"), "27:");
    EXPECT_EQ(ask(20, "01"), answer(21, rule("0002", both)));
    while (ask(22, rule("0000", {})) == code(22, 0)) {
    }
    EXPECT_EQ(ask(18), code(18, 255)) << "as many as the answers can count";
}

TEST_F(Service, OrdersToOtherDevices) {
    startWithPeer();
    for (unsigned n = 0; n < 255; n++)  // a flood does not cut it off
        getNbrDevTable().push_back({.alMac = peer(1000 + n).al, .lastSeen = now()});
    const Text bss = kNobody + kE0 + "51 06 01 =0064 ",
               bssSent = kTo + kNobody + kE0 + "5106010064";
    const struct {
        uint8_t service;
        Text request;   // after the address
        Text order;     // that leaves: message type and payload
        Text response;  // to it, likewise
        Text answer = "03";
    } rows[] = {
        // clang-format off
        {134, "", "4:" + kTo, "05 03"},
        {136, "01" + kE0 + "=0105 " + print(zeros(232)) + "02", "6:" + kTo + "01" + kE0 + "010502",
         "07 01" + kE0 + "0105 10", "01" + kE0 + "=0105 10"},
        {143, "000000 =00000005", "16:" + kTo + "05", "11 03"},
        {145, "000000 =00000005", "18:" + kTo + "05", "13 03"},
        {147, "06 01 00 752f", "20:06000301752f", "15 03"},
        {149, "", "22:" + kTo, "17 03"},
        {159, "000000 3220", "25:000200023220", "20 03"},
        {161, "000000 =00000005", "33:" + kTo + "05", "23 03"},
        {202, bss + "41", "64:" + bssSent + "000141", "41 00 03" + kAll + "0000"},
        {204, bss, "66:" + bssSent + "0000", "43 01 00" + kNobody + "0002 0a0b",
         "00" + kNobody + "=0002 0a0b"},
        {206, bss, "68:" + bssSent, "45 03"},
        {208, kNobody, "70:" + kTo + "00" + kNobody, "47 00 03"},
        {210, kNobody, "70:" + kTo + "01" + kNobody, "47 01 03"},
        {214, "000000 =00000005", "74:" + kTo + "05", "4c 03"},
        // clang-format on
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(+row.service);
        getNetTopolTable()->status = 0;
        EXPECT_EQ(ask(row.service, kTo + row.request), code(row.service, 98));
        getNetTopolTable()->status = 1;
        EXPECT_EQ(ask(row.service, kNobody + row.request),
                  code(row.service == 136 ? 137 : row.service, 7));
        EXPECT_EQ(orders(), "");

        EXPECT_EQ(ask(row.service, kTo + row.request), "");
        const SentVend given = sentVend().at(0);
        EXPECT_EQ(given.text(), row.order + " ");
        const Frame response = hex(row.response);
        (void)tell(kPeer, given.id, response[0], {response.begin() + 1, response.end()});
        EXPECT_EQ(takeAnswer(), data(row.service, row.answer));
    }
    stateOf<ControlLists>() = {};
    EXPECT_EQ(ask(134, kTo), "");
    drop();
    (void)checkRebootCtrlList();
    EXPECT_EQ(orders(), "4:" + kTo + " ") << "repeated";
    EXPECT_EQ(ask(136, kAl + Frame(249 - 6, 0xFF)), "");
    EXPECT_EQ(orders().substr(0, 16), "6:" + kTo + "1e") << "at most 30 interfaces";
}

TEST_F(Service, PingIsAnsweredByTheTopologyResponse) {
    startWithPeer();
    getNetTopolTable()->status = 1;
    EXPECT_EQ(ask(218, kNobody), code(218, 7));
    EXPECT_EQ(ask(218, kTo), "");
    const Sent query = sent("eth0").at(0);
    EXPECT_EQ(query.type, kMsgTopolQuery);
    EXPECT_EQ(receive("eth0", response(kPeer, query.id + 1)), kFailure);
    EXPECT_EQ(takeAnswer(), "");
    EXPECT_EQ(receive("eth0", response(kPeer, query.id)), kOk);
    EXPECT_EQ(takeAnswer(), data(218, ""));
    advance(7);
    EXPECT_EQ(ask(34, "00").substr(0, 48),
              data(34, kTo + "00 01 00 00 00 00 00 =00000008").substr(0, 48));
}

// Messages that clients have built, and those that the platform library requests.
TEST_F(Service, StandardMessages) {
    startWithPeer();
    const auto raw = [](unsigned type, const Frame& tlvs) {
        std::string all = ask(200, kAl + zeros(1) + num16(type) + tlvs);
        for (const auto& s : sent("eth0")) all += " " + std::to_string(s.type) + ": " + s.tlvs;
        return all;
    };
    const std::string done = code(200, 0);
    EXPECT_EQ(raw(0, macTlv(1, kStation) + macTlv(2, kStation)), done + " 0: 1 2");
    EXPECT_EQ(raw(4, vendTlv(kOwnAl, 13, bytesOf(kOwnAl))), done + " 4: 11");
    EXPECT_EQ(raw(5, tlvBytes(8, {0, 0, 0, 0, 0, 0, 0, 2})), done + " 5: 8");
    EXPECT_EQ(raw(7, tlvBytes(200, {9}) + tlvBytes(14, {1})), done + " 7: 200 14");
    EXPECT_EQ(raw(0, {}), done + " 0: 1 2") << "the daemon adds the TLVs";
    EXPECT_EQ(raw(1, {}), done + " 1: 1 2");
    EXPECT_EQ(raw(2, {}), done + " 2: 1");
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
    kStation.copyTo(resp.dstMac);
    kPeer.al.copyTo(resp.dstAlMac);
    EXPECT_EQ(raise(SERV_REQ_AP_AUTOCONF_RESP, &resp).dst, kPeer.intf) << "by its other address";
    PbEventReq event{};
    const unsigned eventId = raise(SERV_REQ_PB_EVENT, &event).id;
    EXPECT_EQ(eventId, event.msgId);
    EXPECT_EQ(fakePlatform().raiseServReq(SERV_REQ_PB_JOIN, nullptr), 16U);
    const Frame security(1374, 0xAB);
    EXPECT_EQ(sendSecurityCtrlMsg(kPeer.al.data(), 1, 2, security.data()), kOk);
    EXPECT_EQ(orders(), "44:" + kTo + "000201abab ");
    EXPECT_EQ(sendSecurityCtrlMsg(kPeer.al.data(), 2, 1373, security.data()), kOk);
    EXPECT_EQ(sendSecurityCtrlMsg(kPeer.al.data(), 2, 1374, security.data()), kFailure);
    EXPECT_EQ(sendSecurityCtrlMsg(kStation.data(), 1, 2, security.data()), kFailure);
    EXPECT_EQ(fakePlatform().raiseServReq(7, &event), 16U);
}

// The slots are open to every process of the device.
TEST_F(Service, AnyIdAndAnyBytes) {
    startWithPeer();
    LogCapture quiet(0);
    std::mt19937 random(1905);
    for (unsigned i = 0; i < 2 * 65536; i++) {
        Frame payload(i < 65536 ? 0 : random() % 240);
        for (auto& byte : payload) byte = static_cast<uint8_t>(random());
        if (i % 2 == 0 && !payload.empty()) payload = kAl + payload;  // a device that exists
        postRequest(i < 65536 ? i : static_cast<unsigned>(random() % 220), payload,
                    static_cast<int>(random()));
        ASSERT_EQ(runServiceMonitor(), kOk);
        ASSERT_EQ(flagOf(getServReqShm()), 1) << i;
        flagOf(getServRespShm()) = 1;
        drop();
    }
    EXPECT_EQ(ask(0).substr(0, 2), "1:");
}

}  // namespace
