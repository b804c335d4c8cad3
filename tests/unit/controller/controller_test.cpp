#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "base/state.h"
#include "controller/controller_loop.h"
#include "controller/root_ap.h"
#include "controller/wifi_client_report.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/sys_ctrl.h"
#include "orders/control_lists.h"
#include "orders/firmware_upgrade_list.h"
#include "orders/pending_requests.h"
#include "orders/schedule.h"
#include "support/device.h"
#include "support/log_capture.h"

namespace {

class Controller : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        start();
    }

    // Passes once a second; the seconds in which vendor messages left: "2: 4 5: 4 ".
    static std::string run(int from, int to) {
        std::string all;
        for (int second = from; second < to; second++) {
            MessageTransmitterLoop(now(), 0);
            if (const auto types = vendTypes(); !types.empty()) {
                all += std::to_string(second) + ": " + types;
            }
            advance(1);
        }
        return all;
    }
    // A neighbor that is not queried.
    static void meetSilently(const Peer& who, unsigned id) {
        meet(who, id);
        drop();
        const MsgCheckConfig record{1, now() + 1000, now()};
        (void)setMessageTransmitterCheck(who.al, "flag_powerstate", &record);
        (void)setMessageTransmitterCheck(who.al, "flag_deviceinfo", &record);
        EXPECT_EQ(run(0, 1), "");
    }
};

TEST_F(Controller, DevicesAreAskedAtOnceAgainAndEveryHalfMinute) {
    EXPECT_EQ(run(0, 10), "");
    meet(kPeer, 1);
    EXPECT_EQ(vendTypes(), "0 51 2 0 51 ") << "each of the two flags forces a pass";
    EXPECT_EQ(run(0, 8), "3: 0 51 2 6: 0 51 2 ") << "unanswered";
    (void)setMessageTransmitterCheckFlag(kPeer.al, "flag_powerstate", 1);
    EXPECT_EQ(run(8, 13), "9: 2 12: 2 ") << "only the configuration was answered";
    (void)setMessageTransmitterCheckFlag(kPeer.al, "flag_deviceinfo", 1);
    EXPECT_EQ(run(13, 75), "36: 0 51 42: 2 66: 0 51 72: 2 ");
    scheduleSettings().Time_DEVICEINFO = 5;
    EXPECT_EQ(run(75, 87), "78: 2 84: 2 ") << "looked at every 3 seconds";
    scheduleSettings() = {};
    (void)removeIeee1905DevTable(kPeer.al);
    MessageTransmitterLoop(now(), 1);
    EXPECT_EQ(vendTypes(), "");
}

TEST_F(Controller, CheckFlagsAreSetByName) {
    meet(kPeer, 1);
    const auto& set = setMessageTransmitterCheckFlag;
    EXPECT_EQ(set(kPeer.al, "flag_powerstate", 1), kOk);
    EXPECT_EQ(set(kPeer.al, "flag_deviceinfo", 0), kOk);
    EXPECT_EQ(set(kPeer.al, "flag_powerstate", 2), kFailure);
    EXPECT_EQ(set(kPeer.al, "flag", 1), kFailure);
    EXPECT_EQ(set(kPeer.al, nullptr, 1), kFailure);
    EXPECT_EQ(set(kOther.al, "flag_powerstate", 1), kFailure);
    MsgCheckConfig record;
    EXPECT_EQ(getMessageTransmitterCheck(kPeer.al, "flag_powerstate", &record), kOk);
    EXPECT_EQ(record.timeout, now());
    EXPECT_EQ(getMessageTransmitterCheck(kPeer.al, "flag_deviceinfo", &record), kOk);
    EXPECT_EQ(record.checkFlag, 0);
}

TEST_F(Controller, ChecksKeepTheirPeriods) {
    using Calls = std::map<std::string, int>;
    const auto callsIn13Seconds = [] {
        fakePlatform().calls.clear();
        for (int i = 0; i < 26; i++) {
            MessageTransmitterLoop(now(), 0);
            advance(i % 2);
        }
        Calls calls;
        for (const auto& call : fakePlatform().calls) calls[call]++;
        return calls;
    };
    fakePlatform().sendRenewFlag = 1;
    EXPECT_EQ(callsIn13Seconds(), (Calls{{"reSendRenewbySynclist", 13},
                                         {"check_Renew_timeout", 26},
                                         {"SecurityCtrl_cleanDataToList", 5},
                                         {"checkLocalFW", 1}}));
    scheduleSettings().Time_CHECKLOCALFWEXIST = 0;
    fakePlatform().sendRenewFlag = 0;
    fakePlatform().fail.insert("reSendRenewbySynclist");
    EXPECT_EQ(callsIn13Seconds(),
              (Calls{{"reSendRenewbySynclist", 13}, {"SecurityCtrl_cleanDataToList", 4}}));
    scheduleSettings() = {};
    fakePlatform().changeTimeoutFlag = 1;
    setDeviceModelType("other");
    EXPECT_EQ(callsIn13Seconds(),
              (Calls{{"reSendRenewbySynclist", 13}, {"check_ChangeDeviceMode_timeout", 26}}));
}

// The own record follows the platform, and only a change is written.
TEST_F(Controller, OwnRecordFollowsThePlatform) {
    FakePlatform& platform = fakePlatform();
    platform.led = {"on\"\\\n", "80"};
    platform.ipv6 = {2, {"2001:db8::1", "fe80::1"}};
    platform.ethernetPortState = "\"eth0:1000\",\"eth1:down\"";
    const auto written = [&](Seconds after) {
        std::filesystem::remove(folder() + "/vm1905.json");
        advance(after);
        MessageTransmitterLoop(now(), 0);
        advance(2);
        (void)checkDataModelStatus();
        return std::filesystem::exists(folder() + "/vm1905.json");
    };
    const auto shown = [] {
        const DeviceInfo& info = getAlTable()->info;
        return std::string(info.ledStatus.view()) + " " + info.ipv6.at(1) + " " +
               std::string(info.ethernetPortState.view());
    };
    const std::string expected = "on fe80::1 \"eth0:1000\",\"eth1:down\"";
    EXPECT_TRUE(written(0));
    EXPECT_EQ(shown(), expected);
    EXPECT_FALSE(written(60)) << "unchanged";

    platform.led = {};
    platform.ethernetPortState = "], [";
    platform.fail = {"getLEDState",         "getNetworkState",     "getIPv6Info",
                     "getSecurityState",    "getCountryCode",      "getWIFICountryCode",
                     "getWIFIChannelInfo",  "getDaisychainOption", "getBackhaulType",
                     "getAPautoconfigTimes"};
    EXPECT_FALSE(written(60)) << "failures";
    EXPECT_EQ(shown(), expected);
    platform.fail.clear();
    EXPECT_FALSE(written(15)) << "the LED is checked every 20 seconds";
    EXPECT_TRUE(written(5));
}

TEST_F(Controller, RootApIsPublished) {
    stateOf<RootAp>().folder = folder();
    const std::string macs = folder() + "/ROOTAP_MESH_MAC", ip = folder() + "/rootap_ip";
    // The content of the files after another pass. The files are removed.
    const auto published = [&] {
        advance(11);
        MessageTransmitterLoop(now(), 0);
        std::string text;
        for (const std::string& path : {macs, ip}) {
            std::ifstream file(path);
            text.append(std::istreambuf_iterator<char>(file), {});
            std::filesystem::remove(path);
        }
        return text;
    };
    meet(kPeer, 1);
    Ieee1905DevTable& dev = Device::dev();
    dev.intfs.clear();
    for (const auto* name : {"wlan2-msh0", "wlan0-msh0", "wlan0-msh0", "eth0"}) {
        DevIntf& intf = dev.intfs.add();
        intf.name = std::string_view(name);
        intf.mac = {2, 0, 0, 0, 0, static_cast<uint8_t>(dev.intfs.size())};
    }
    dev.role = 0;
    dev.deviceIP = "192.0.2.1";
    EXPECT_EQ(published(), "") << "one interface is missing, and this device is no Enrollee";
    dev.intfs[3].name = "wlan1-msh0";
    dev.role = 1;
    EXPECT_EQ(published(), "") << "the device is not the Registrar";
    dev.role = 0;
    EXPECT_EQ(published(),
              "wlan0-msh0=02:00:00:00:00:02\nwlan1-msh0=02:00:00:00:00:04\n"
              "wlan2-msh0=02:00:00:00:00:01\n");
    EXPECT_EQ(published(), "") << "once only";

    getAlTable()->wpsConfig[0] = 1;
    std::string addresses;
    for (const std::string_view address :
         {"192.0.2.1", "192.0.2.1", "192.0.2.1; echo 1", "$(id)", "", "2001:db8::1"}) {
        dev.deviceIP = address;
        addresses += published();
    }
    EXPECT_EQ(addresses, "192.0.2.1\n2001:db8::1\n");
    EXPECT_TRUE(fakePlatform().commands.empty()) << "a shell would follow links";
}

TEST_F(Controller, OrdersAreRepeatedUntilAnswered) {
    constexpr uint16_t kMsgId = 7;
    constexpr int32_t kPid = 77;
    meetSilently(kPeer, 1);
    const struct {
        int (*set)(const MacAddr*, uint16_t, int, int);
        uint16_t answerId;
        std::string repeats;
        int freedAfter;
    } lists[] = {
        {setRebootCtrlList, 135, "2: 4 4: 4 6: 4 8: 4 ", 10},
        {setResetToDefaultCtrlList, 150,
         "2: 22 4: 22 6: 22 8: 22 10: 22 12: 22 14: 22 16: 22 18: 22 20: 22 ", 22},
    };
    for (const auto& list : lists) {
        SCOPED_TRACE(list.answerId);
        const auto waits = [&] { return searchServReqRespPid(list.answerId, kMsgId) == kPid; };
        const auto order = [&] {
            (void)registerServReq(kPid, list.answerId - 1U, kMsgId);
            EXPECT_EQ(list.set(&kPeer.al, kMsgId, 1, 0), kOk);
        };
        const auto answer = [&] { EXPECT_EQ(list.set(&kPeer.al, 1, 0, 0), kOk); };
        order();
        EXPECT_EQ(run(0, list.freedAfter), list.repeats);
        answer();
        EXPECT_FALSE(waits()) << "a late answer still reaches the client";

        order();
        EXPECT_EQ(run(0, list.freedAfter + 1), list.repeats);
        answer();
        EXPECT_TRUE(waits()) << "the order is forgotten";
        EXPECT_EQ(run(0, 5), "") << "the entry of such an answer is not sent";

        order();
        (void)run(0, 5);
        answer();
        EXPECT_FALSE(waits());
        EXPECT_EQ(run(5, 15), "");
        order();
        (void)registerServReq(kPid, list.answerId - 1U, kMsgId + 1);
        EXPECT_EQ(list.set(&kPeer.al, kMsgId + 1, 1, 0), kOk);
        answer();
        EXPECT_FALSE(waits());
        EXPECT_EQ(searchServReqRespPid(list.answerId, kMsgId + 1), kNoClient);
        EXPECT_EQ(run(0, 10), "") << "one answer ends all orders";
        EXPECT_EQ(list.set(nullptr, kMsgId, 1, 0), kFailure);
    }
}

TEST_F(Controller, TheNewestValueIsRepeated) {
    meetSilently(kPeer, 1);
    meetSilently(kOther, 2);
    const std::string first = print(bytesOf(kPeer.al)), second = print(bytesOf(kOther.al));
    const auto payloads = [](int seconds) {
        std::string all;
        for (int i = 0; i < seconds; i++) {
            MessageTransmitterLoop(now(), 0);
            for (const auto& s : sentVend()) all += print(s.payload) + " ";
            advance(1);
        }
        return all;
    };
    const MacAddr all{};
    for (const auto& [name, set, clear] : {std::tuple{"LED", &setLEDCtrlList, &clearLEDCtrlList},
                                           {"system", &setSystemCtrlList, &clearSystemCtrlList}}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(set(&all, 3, 1, 0), kOk);
        EXPECT_EQ(payloads(6), first + "03 " + second + "03 ");
        EXPECT_EQ(set(&kPeer.al, 4, 1, 7), kOk);
        EXPECT_EQ(payloads(6), first + "04 " + second + "03 ");
        EXPECT_EQ(clear(kPeer.al), 7U) << "its client waits under the first identifier";
        clear(all);
        clear(peer(9).al);
        EXPECT_EQ(payloads(6), second + "03 ");
        clear(kOther.al);
        EXPECT_EQ(payloads(12), "");
    }
    EXPECT_EQ(setLogFileList(&kPeer.al), kOk);
    EXPECT_EQ(payloads(11), first + " " + first + " ");
    clearLogFileList(kPeer.al);
    EXPECT_EQ(payloads(12), "");
    const std::string network = first + "0102000372756e ";
    EXPECT_EQ(setNetworkCtrlList(&kPeer.al, 0x102, "run", 1), kOk);
    EXPECT_EQ(payloads(16), network);
    clearNetworkCtrlList(kPeer.al, 0x101);
    EXPECT_EQ(payloads(16), network) << "the answer to another order";
    clearNetworkCtrlList(kPeer.al, 0x102);
    EXPECT_EQ(payloads(31), "");
}

TEST_F(Controller, ListsAreBounded) {
    for (unsigned n = 0; n < 4096; n++) {
        const MacAddr alMac = peer(n).al;
        ASSERT_EQ(setRebootCtrlList(&alMac, 1, 1), kOk);
        ASSERT_EQ(addFWupgradelist(alMac, 0, 0), kOk);
    }
    const MacAddr more = peer(4096).al;
    EXPECT_EQ(setRebootCtrlList(&more, 1, 1), kFailure);
    (void)setRebootCtrlList(&kPeer.al, 1, 0);
    EXPECT_EQ(setRebootCtrlList(&more, 1, 1), kOk) << "in place of an answered one";
    EXPECT_EQ(addFWupgradelist(more, 0, 0), kFailure);
}

TEST_F(Controller, UpgradesAreKeptByDevice) {
    const auto kept = [](const Peer& of) {
        const FWupgradeEntry& entry = *findFWupgradelist(of.al);
        return std::to_string(entry.state) + " " + std::to_string(entry.sent);
    };
    // Meant: the first call sets the state to ordered, but not the sent flag.
    const std::tuple<int, long, const char*> optionValueKept[] = {
        {1, 7, "1 0"}, {1, 7, "1 7"}, {0, 0, "0 7"}, {0, 2, "2 7"}, {0, 0, "2 7"}};
    for (const auto& [option, value, expected] : optionValueKept) {
        (void)addFWupgradelist(kPeer.al, option, value);
        EXPECT_EQ(kept(kPeer), expected) << option << " " << value;
    }
    (void)addFWupgradelist(kOther.al, 0, 1);
    (void)removeFWupgradelist(findFWupgradelist(kPeer.al)->alMac);
    EXPECT_EQ(findFWupgradelist(kPeer.al), nullptr);
    EXPECT_EQ(kept(kOther), "1 0");
    (void)removeallFWupgradelist();
    EXPECT_EQ(findFWupgradelist(kOther.al), nullptr);
}

// 30 stations of about 100 characters each, and one that is too long, give three messages.
TEST_F(Controller, StationsAreReportedInChunks) {
    EXPECT_EQ(sendWIFIClientInfo(), kFailure) << "no station";
    meetSilently(kPeer, 1);
    const WifiStation station{nullptr,        {2},        0x0105,     866, 0, 0,
                              "TTTTTTTTTTTT", "RRRRRRRR", "CCCCCCCCC"};
    auto& stations = fakePlatform().stations;
    stations.assign(31, station);
    // Full text fields make a record of 151 characters or more.
    std::memset(stations[3].tx, 'T', sizeof stations[3].tx);
    std::memset(stations[3].rx, 'R', sizeof stations[3].rx);
    std::memset(stations[3].connType, 'C', sizeof stations[3].connType);
    kPeer.intf.copyTo(stations[7].mac);  // an interface of a known device
    EXPECT_EQ(sendWIFIClientInfo(), kOk);
    std::string all;
    for (const auto& s : sent("eth0")) {
        ASSERT_EQ(s.dst, k1905Multicast);
        const std::string chunk(s.frame.begin() + 48, s.frame.end() - 3);
        EXPECT_LT(chunk.size(), 1300U);
        all += chunk + "\n";
    }
    EXPECT_EQ(occurrences(all, "\n"), 3U);
    EXPECT_EQ(occurrences(all, "100{0=02:00:00:00:00:00,"), 29U);
    EXPECT_EQ(occurrences(all, ",1=0105,2=866,3=0,4=0,5=TTTTTTTTTTTT,6=RRRRRRRR,7=CCCCCCCCC,8="),
              30U);
    EXPECT_EQ(occurrences(all, ",8=02:ee:00:00:00:01}"), 1U);
    setSendWIFIClientInfo_flag(0);
    EXPECT_EQ(sendWIFIClientInfo(), kFailure);
}

}  // namespace
