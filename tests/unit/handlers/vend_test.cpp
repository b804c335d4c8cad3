// The reaction of a device to vendor messages: its answers, its actions, and what it stores.
#include <chrono>
#include <fstream>
#include <sstream>

#include "base/state.h"
#include "db/database.h"
#include "handlers/message_log.h"
#include "handlers/result_file.h"
#include "orders/control_lists.h"
#include "orders/pending_requests.h"
#include "support/device.h"
#include "support/log_capture.h"

namespace {

class Vendor : public Device {
  protected:
    const Frame kOwn = bytesOf(kOwnAl);

    void SetUp() override {
        Device::SetUp();
        startWithPeer();
    }
    static int tell(unsigned type, const Frame& payload) {
        return Device::tell(kPeer, ++id_, type, payload);
    }
    // The answers to a message, without the blank at the end: "7:01ff 9:00".
    static std::string ask(unsigned type, const Frame& payload) {
        drop();
        fakePlatform().calls.clear();
        (void)tell(type, payload);
        const std::string answers = orders(id_);
        return answers.substr(0, answers.rfind(' '));
    }
    static std::string read(const std::string& path) {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    inline static unsigned id_ = 77;  // of the last message
};

TEST_F(Vendor, OrdersToGoDownAreAnsweredAndObeyed) {
    const auto done = [](unsigned type, const Frame& addressee) {
        const std::string answer = ask(type, addressee);
        return answer + " " + calls();
    };
    EXPECT_EQ(done(4, bytesOf(kPeer.al)), "5:07 ");
    EXPECT_EQ(done(4, kOwn), "5:00 reboot; ");
    EXPECT_EQ(done(22, bytesOf(kPeer.al)), "23:07 ");
    EXPECT_EQ(done(22, kOwn), "23:00 resetToDefault; ");
    // If the answer cannot be sent, the order is not obeyed.
    fakeNet().find("eth0")->up = false;
    for (const unsigned type : {4U, 22U}) EXPECT_EQ(done(type, kOwn), " ");
}

// The same message arrives by every link and for every interface address.
TEST_F(Vendor, ACopyIsAnsweredAsBeforeAndNotObeyed) {
    const Peer again{kPeer.al, peer(3).intf};
    (void)receive("eth0", discovery(again, 2));
    const auto count = [](const Peer& from, unsigned id, unsigned type, const Frame& payload) {
        drop();
        fakePlatform().calls.clear();
        (void)Device::tell(from, id, type, payload);
        std::string all;
        for (const auto& s : sentVend()) all += s.dst == from.intf && s.id == id ? s.text() : "";
        return std::pair{all, std::to_string(fakePlatform().calls.size())};
    };
    using Effects = std::pair<std::string, std::string>;
    for (const auto& [type, payload] : std::initializer_list<std::pair<unsigned, Frame>>{
             {4, kOwn},
             {14, kOwn + textBytes("x")},
             {15, kOwn + textBytes("success")},
             {25, be16(1) + textBytes("8 02:19:05:00:00:01 4")},
             {29, kOwn + textBytes("a") + textBytes("b")},
             {30, kOwn + Frame{0}},
             {34, kOwn + hex("09")},
             {44, kOwn + hex("0002 01 aabb")}}) {
        SCOPED_TRACE(type);
        fakePlatform().wps.deviceType = 1;
        fakePlatform().results.clear();
        const unsigned id = ++id_;
        const Effects first = count(kPeer, id, type, payload);
        for (const char* busy : {"parseWIFIStateSyncdata", "setAPSteering", "DownloadLogFileAs"})
            fakePlatform().results[busy] = 16;
        const Effects copy{first.first, "0"};
        EXPECT_EQ(count(again, id, type, payload), copy);
        advance(5);
        EXPECT_EQ(count(kPeer, id, type, payload), copy);
        EXPECT_NE(count({peer(9).al, kPeer.intf}, id, 33, kOwn + hex("09")).second, "0");
        advance(1);
        EXPECT_EQ(count(kPeer, id, type, payload).second, first.second) << "too old";
    }
    const unsigned oldest = id_ + 1;
    const auto led = [&](unsigned id) { return count(kPeer, id, 33, kOwn + hex("01")).second; };
    while (id_ < oldest + 255) {
        if (id_ % 55 == 0) advance(1);  // no more orders a second are obeyed
        (void)led(++id_);
    }
    EXPECT_EQ(led(oldest), "0");
    (void)led(++id_);
    EXPECT_NE(led(oldest), "0") << "the oldest gives way";
    // If the order could not be answered, it was not obeyed, and a copy gets a second chance.
    fakeNet().find("eth0")->up = false;
    EXPECT_EQ(count(kPeer, ++id_, 22, kOwn), Effects("", "0"));
    fakeNet().find("eth0")->up = true;
    EXPECT_EQ(count(kPeer, id_, 22, kOwn), Effects("23:00 ", "1"));
}

TEST_F(Vendor, InterfacePowerControl) {
    // MAC and media type; in an answer the result follows.
    const std::string own = "021905000101 0001", other = "0257a0000001 0001";
    const std::string any = "000000000000 0001", nothing = "000000000000 0000";
    const std::string setOwn = "setIntfPwrStateById 02:19:05:00:01:01 1 ";
    const auto request = [&](const std::string& entries, const Frame& target) {
        return ask(6, target + hex(entries));
    };
    const auto answer = [](const std::string& entries) { return "7:" + print(hex(entries)); };
    fakePlatform().results = {{"setIntfPwrStateByType", 1}};
    EXPECT_EQ(request("02" + own + other + "02", kOwn), answer("02" + own + "00" + other + "00"));
    EXPECT_EQ(calls(), setOwn + "2; ");
    EXPECT_EQ(request("01 021905000101 0105 02", kOwn), answer("01 021905000101 0105 00"));
    EXPECT_EQ(request("01" + own + "03", kOwn), answer("01" + own + "02"));
    EXPECT_EQ(calls(), "");
    // A wildcard ends the list.
    EXPECT_EQ(request("03" + own + any + own + "00", kOwn),
              answer("03" + own + "00" + any + "01" + nothing + "00"));
    EXPECT_EQ(calls(), setOwn + "0; setIntfPwrStateByType 1 0; ");
    EXPECT_EQ(request("02" + own + any + "00", bytesOf(kPeer.al)),
              answer("02" + own + "07" + any + "07"));
    EXPECT_EQ(request("0000", kOwn), "7:00");
}

TEST_F(Vendor, RequestsReachThePlatformAndTheirResultIsAnswered) {
    const Frame mac = bytesOf(kStation), steering = kOwn + mac + mac + hex("51 06 01 0064");
    const std::string own = print(kOwn);
    fakePlatform().wifiStateSync = "state";
    fakePlatform().wifiChannelSync = "channels";
    fakePlatform().results = {{"setSystemvalue", 5}, {"DownloadLogFileAs", 16}};
    stateOf<ResultFiles>().folder = folder() + "/vm1905";
    fakePlatform().beaconReports = {{kStation, {1, 2, 3}}};
    dev().role = PLATFORM_REGISTRAR;
    const std::string success = print(textBytes("success"));
    const struct {
        unsigned type;
        Frame payload;
        uint8_t role;              // of this device: 0 Registrar, 1 Enrollee
        std::string answer, call;  // the call is part of what the platform is told
    } cases[] = {
        {8, kOwn, 0, "9:00", ""},
        {10, hex("01 02") + textBytes("u") + hex("00000001 00000002") + mac, 0, "26:" + own + "00",
         "setSpeedTestStartStop"},
        {13, mac, 0, "14:" + own + "00057374617465", ""},
        {13, mac, 1, "", ""},
        {14, mac + textBytes("x"), 0, "", ""},
        {14, mac + textBytes("x"), 1, "15:" + own + success, "parseWIFIStateSyncdata"},
        {16, kOwn + hex("05"), 1, "17:00", "setWPSConfig 1 0 1; setAPautoconfig 1"},
        {18, kOwn + hex("03"), 0, "19:00", "setAPSteering 3"},
        {20, hex("06 0004 01") + Frame{'u', 'r', 'l'}, 0, "", ""},
        {20, hex("06 0004 01") + Frame{'u', 'r', 'l'}, 1, "21:00", "FWCtrl 6 1 url"},
        {46, hex("04") + item(0, "\6") + item(1, "\1") + item(2, "url") + item(3, "f"), 1, "21:00",
         "FWCtrl 6 1 url f"},
        {28, kOwn, 0, "29:" + own + "00076c6f672e74677a0010" + "6674703a2f2f3139322e302e322e312f",
         "getResponseLogFile"},
        {29, mac + textBytes("a") + textBytes("b"), 0, "30:" + own + "10",
         "DownloadLogFileAs a b vm1905Log_02ee00000001"},
        {33, kOwn + hex("09"), 0, "35:00",
         "outputlogData [LEDCtrl] get LED (9) from (02:ee:00:00:00:01); setLEDvalue 9"},
        {34, kOwn + hex("09"), 0, "35:00", "setLEDvalue 9"},
        {37, mac, 0, "38:" + own + "01", ""},
        {39, mac, 0, "40:" + own + "00086368616e6e656c73", ""},
        {40, mac + textBytes("x"), 1, "41:" + own + success, "parseWIFIChannelSyncData"},
        {49, kOwn + hex("0007") + textBytes("do it"), 0, "50:000700",
         "outputlogData [NetworkCtrl] get Network control (7,\"do it\") from (02:ee:00:00:00:01); "
         "setNetworkCtrl 7 do it"},
        {56, mac + textBytes("conf"), 0, "", "setExtenderConfig 02:ee:00:00:00:01 conf"},
        {53, kOwn + textBytes("DE"), 0, "54:00", "setWIFICountryCode DE"},
        {64, steering + textBytes(""), 0, "65:0000" + print(mac) + "0000", "sendBcnRptReq"},
        {66, steering + textBytes(""), 0, "67:0100" + print(mac) + "0003010203", ""},
        {68, steering, 0, "69:00", "sendBTMReq"},
        {70, kOwn + hex("00") + mac, 0, "71:0000", "addToBlacklist 02:57:a0"},
        {72, kOwn + hex("01") + mac, 0, "71:0100", "delFromBlacklist 02:57:a0"},
        {74, kOwn + hex("02"), 0, "76:05",
         "outputlogData [SystemCtrl] get System (2) from (02:ee:00:00:00:01); setSystemvalue 2"},
        {75, kOwn + hex("02"), 0, "76:05", "setSystemvalue 2"},
        {44, mac + hex("0002 01 aabb"), 0, "", "SecurityCtrl_parseM1"},
        {44, mac + hex("0002 02 aabb"), 0, "", "SecurityCtrl_parseM2"},
    };
    for (const auto& c : cases) {
        fakePlatform().wps.deviceType = c.role;
        EXPECT_EQ(ask(c.type, c.payload), c.answer) << c.type;
        const std::string told = calls();
        EXPECT_TRUE(c.call.empty() ? told.empty() : told.find(c.call) != told.npos)
            << c.type << " " << told;
    }
    fakePlatform().wps.deviceType = 0;
    (void)receive("eth0", discovery(kOther, 5));
    (void)Device::tell({kPeer.al, kOther.intf}, ++id_, 39, mac);
    EXPECT_EQ(orders(id_), "") << "to the address of another device";
    fakePlatform().notApproved = {kPeer.al};
    for (const unsigned search : {13U, 39U}) EXPECT_EQ(ask(search, mac), "");
}

TEST_F(Vendor, FirmwareOrdersOfOthersThanTheRegistrarAreRefused) {
    fakePlatform().wps.deviceType = PLATFORM_ENROLLEE;
    const auto orders = [] {
        std::string all;
        for (const auto& [type, payload] : std::initializer_list<std::pair<unsigned, Frame>>{
                 {20, hex("06 0004 01") + Frame{'u', 'r', 'l'}},
                 {46, hex("02") + item(0, "\6") + item(2, "url")},
                 {25, be16(1) + textBytes("9 02:19:05:00:00:01 6 1 url")}}) {
            all += ask(type, payload) + " ";
            all += calls();
        }
        return all;
    };
    const std::string refused = "21:10 21:10 32:10 ";
    for (const uint8_t role : {uint8_t{255}, uint8_t{PLATFORM_ENROLLEE}}) {
        dev().role = role;
        EXPECT_EQ(orders(), refused) << int(role);
    }
    dev().role = PLATFORM_REGISTRAR;
    EXPECT_TRUE(orders().starts_with("21:00 FWCtrl 6 1 url"));
    (void)removeIeee1905DevTable(kPeer.al);
    EXPECT_EQ(orders(), refused) << "a stranger";
}

TEST_F(Vendor, RefusedOnArrival) {
    LogCapture log(3);
    for (const unsigned type : {42U, 43U, 47U, 48U, 55U})
        EXPECT_EQ(tell(type, kOwn + hex("0000")), kFailure) << type;
    EXPECT_EQ(occurrences(log.text(), ": vendor specific message type ("), 5U);
    // A discovery with the own AL MAC is a loop or forged.
    EXPECT_EQ(tell(45, kOwn + bytesOf(kStation)), kFailure);
    // A device that was lost meanwhile may answer, but must not fill the list of reset orders.
    (void)setResetToDefaultCtrlList(&kPeer.al, 7, 1);
    (void)registerServReq(1, 149, 7);
    (void)removeIeee1905DevTable(kPeer.al);
    EXPECT_EQ(tell(23, {0}), kOk);
    EXPECT_EQ(searchServReqRespPid(150, 7), kNoClient) << "its client was answered";
    stateOf<ControlLists>() = {};
    EXPECT_EQ(tell(23, {0}), kFailure);
}

TEST_F(Vendor, RemoteCommands) {
    const std::string al = "02:19:05:00:00:01 ";
    const std::tuple<std::string, std::string, std::string> lineAnswerDone[] = {
        {"2 " + al, "32:00", "reboot; "},
        {"2 02:ee:00:00:00:01", "32:07", ""},
        {"2", "32:07", ""},
        {"3 " + al + "02:19:05:00:01:01 1 0", "32:00",
         "setIntfPwrStateById 02:19:05:00:01:01 1 0; "},
        {"3 " + al + "02:19:05:00:01:01 1 7", "32:10", ""},
        {"3 " + al + "0", "32:00", ""},
        {"7 " + al + "1", "32:00", "setWPSConfig 1 0 0; setAPautoconfig 1; "},
        {"8 " + al + "4", "32:00", "setAPSteering 4; "},
        {"9 " + al + "6 1 http://x/$(reboot)", "32:00", "FWCtrl 6 1 http://x/$(reboot) ; "},
        {"10 " + al, "32:00", "resetToDefault; "},
        {"5 " + al, "", ""},
        {"", "", ""},
    };
    fakePlatform().wps.deviceType = 1;
    dev().role = PLATFORM_REGISTRAR;
    for (const auto& [line, answer, done] : lineAnswerDone) {
        EXPECT_EQ(ask(25, be16(1) + textBytes(line)), answer) << line;
        EXPECT_EQ(calls(), done) << line;
    }
    // More interfaces than a message may have, and a token that is cut.
    std::string many = "3 " + al;
    for (int i = 0; i < 31; i++) many += "02:00:00:00:00:01 1 ";
    EXPECT_EQ(tell(25, be16(1) + textBytes(many + "0")), kFailure);
    EXPECT_EQ(ask(25, be16(1) + textBytes("8 " + al + std::string(1100, '1'))).substr(0, 3), "32:");
}

// Each order under the key that forbids it, with the answer that then says so.
TEST_F(Vendor, OrdersMustBePermitted) {
    const std::string own = print(kOwn), station = print(bytesOf(kStation));
    const std::string failed = own + print(textBytes("fail"));
    using Answers = std::vector<std::pair<unsigned, std::string>>;
    const std::pair<std::string, Answers> keys[] = {
        {"ENABLE_REBOOT_FROM_NBR", {{4, "5:10"}}},
        {"ENABLE_INTF_PWR_CTRL_FROM_NBR", {{6, "7:02" + station + "000110" + station + "010510"}}},
        {"ENABLE_RESET_FROM_NBR", {{22, "23:10"}}},
        {"ENABLE_FIRMWARE_FROM_NBR", {{20, "21:10"}, {46, "21:10"}}},
        {"ENABLE_NETWORK_FROM_NBR",
         {{10, "26:" + own + "10"}, {12, "26:" + own + "10"}, {49, "50:010210"}}},
        {"ENABLE_SYSTEM_FROM_NBR",
         {{28, ""}, {33, "35:10"}, {34, "35:10"}, {56, ""}, {74, "76:10"}, {75, "76:10"}}},
        {"ENABLE_WIFI_FROM_NBR",
         {{14, "15:" + failed},
          {16, "17:10"},
          {18, "19:10"},
          {40, "41:" + failed},
          {53, "54:10"},
          {64, "65:0010" + station + "0000"},
          {66, "67:0110" + station + "0000"},
          {68, "69:10"},
          {70, "71:0110"},
          {72, "71:0110"}}}};
    const auto configure = [&](const std::string& line) {
        std::ofstream(folder() + "/vm1905.conf") << "DATA_MODEL_FOLDER=" + folder() + "\n" + line;
        setConfFolder(folder());
        EXPECT_EQ(initSysConfig(), kOk);
        DEBUGLEVEL = 0;
    };
    fakePlatform().wps.deviceType = 1;
    std::map<unsigned, Frame> payloads{{25, be16(1) + textBytes("10 02:19:05:00:00:01")}};
    for (const auto& sample : vendSamples(kOwnAl)) payloads.insert({sample.type, sample.payload});
    const std::string every =
        "4 6 10 12 14 16 18 20 22 25 28 33 34 40 46 49 53 56 64 66 68 70 72 74 75 ";
    // The orders that have an effect, if they are sent to this address.
    const auto obeyed = [&](const MacAddr& dst) {
        std::string all;
        unsigned type = 0;
        advance(1);
        for (std::istringstream types(every); types >> type;) {
            (void)(drop(), calls());
            (void)receive("eth0",
                          vendFrame(dst, kPeer.intf, kPeer.al, ++id_, type, payloads[type]));
            if (!(orders(id_) + calls()).empty()) all += std::to_string(type) + " ";
        }
        return all;
    };
    EXPECT_EQ(obeyed(kEth0), every);
    EXPECT_EQ(obeyed(k1905Multicast), "10 12 14 28 34 56 75 ");
    for (const auto& [key, answers] : keys) {
        configure(key + "=0\n");
        advance(1);
        for (const auto& [type, answer] : answers) {
            EXPECT_EQ(ask(type, payloads[type]), answer) << type;
            EXPECT_EQ(calls(), "") << type;
        }
        EXPECT_EQ(ask(25, payloads[25]), key == "ENABLE_RESET_FROM_NBR" ? "32:10" : "32:00") << key;
        EXPECT_EQ(ask(22, bytesOf(kPeer.al)), "23:07") << "the addressee comes first";
    }
    for (const auto& [from, role, expected] :
         std::initializer_list<std::tuple<std::string, uint8_t, std::string>>{
             {"registrar", 1, ""},
             {"registrar", 0, every},
             {"registrer", 0, ""},
             {macText(kOther.al) + "," + macText(kPeer.al), 255, every},
             {macText(kOther.al) + ",02:ee:00:00:00:01x", 0, ""}}) {
        configure("ORDERS_FROM = " + from + "\n");
        dev().role = role;
        EXPECT_EQ(obeyed(kEth0), expected) << from << " " << +role;
    }
    // One line a second and sender, however many there are.
    LogCapture log(2);
    advance(1);
    for (int i = 0; i < 3; i++) (void)tell(33, payloads[33]);
    EXPECT_EQ(occurrences(log.text(),
                          "order 33 [VEND_MSG_TYPE_LED_CTRL_REQ] from (02:ee:00:00:00:"
                          "01/02:ee:00:01:00:01) is refused: ORDERS_FROM\r\n"),
              1U);
    for (unsigned n = 1; n <= 200; n++) (void)Device::tell(peer(n), n, 33, payloads[33]);
    EXPECT_EQ(occurrences(log.text(), "is refused: ORDERS_FROM\r\n"), 63U);
}

TEST_F(Vendor, AnswersFillTheRecordOfTheirSender) {
    advance(3);
    EXPECT_EQ(ask(1, bytesOf(kPeer.al) + hex("05") + item(0, "\1") + item(7, "na\"me\x01") +
                         item(42, "ignored") + item(120, "ignored") + item(26, "1],\"x\":[2")),
              "");
    EXPECT_EQ(dev().hostname, "name");
    EXPECT_EQ(dev().enableReboot, 1);
    EXPECT_TRUE(dev().info.ethernetPortState.empty()) << "it would break the data model";
    (void)ask(1, bytesOf(kPeer.al) + hex("01") + item(26, "\"a:1\",2"));
    EXPECT_EQ(dev().info.ethernetPortState, "\"a:1\",2");
    EXPECT_TRUE(dev().hostname.empty()) << "the sender no longer has one";
    (void)ask(38, bytesOf(kPeer.al) + hex("05"));
    EXPECT_EQ(dev().firmwareState, 5);
    (void)ask(31, bytesOf(kPeer.al) + hex("20"));
    EXPECT_EQ(dev().apAutoConf.syncFlags, (std::array<uint8_t, 5>{0, 0, 1, 0, 0}));
    // Nothing is stored of a device whose topology is still unknown.
    (void)Device::tell({peer(9).al, kPeer.intf}, 5, 1, bytesOf(kPeer.al) + Frame(1));
    EXPECT_EQ(getNetTopolTable()->ieee1905DevNum(), 1);
}

TEST_F(Vendor, StationsComeAndGo) {
    const auto record = [](const std::string& mac, const std::string& tx) {
        const std::string text = "{0=" + mac + ",1=0105,2=866,3=-40,4=55,5=" + tx +
                                 ",6=r,7=Main_5GH,8=00:00:00:00:00:00}";
        return "0" + std::to_string(text.size()) + text;
    };
    const auto report = [&](const std::string& records) {
        (void)ask(36, bytesOf(kPeer.al) + textBytes(records));
    };
    report(record("02:57:a0:00:00:01", "a,b") + record("02:57:a0:00:00:02", ""));
    ASSERT_EQ(dev().wifiClients.size(), 2U);
    EXPECT_EQ(dev().wifiClients[0].tx, "a,b");
    EXPECT_EQ(dev().wifiClients[0].mediaType, 0x105U);
    EXPECT_EQ(dev().wifiClients[0].connType, "Main_5GH");
    (void)ask(9, hex("01") + bytesOf(kStation) + hex("0103 0064 0028 37"));
    EXPECT_EQ(dev().wifiClients[0].rate, 100);
    EXPECT_EQ(dev().wifiClients[0].tx, "a,b") << "not part of the message, so it stays";
    advance(40);
    report(record("02:57:a0:00:00:02", "x"));
    EXPECT_EQ(dev().wifiClients.size(), 1U);
    for (const char* odd : {"", "0", "005{0=", "999{}", "004{0=}", "-01x", "003{}}"}) report(odd);
    EXPECT_EQ(dev().wifiClients.size(), 1U);
}

TEST_F(Vendor, ResultTextsAreLeftInAFolderOfOurs) {
    const std::string results = folder() + "/vm1905/", precious = folder() + "/precious";
    stateOf<ResultFiles>().folder = folder() + "/vm1905";
    const Frame al = bytesOf(kPeer.al);
    const std::string text = "a \"b\" `c` $(d)\ne";
    // The attacker's folder, and a link to a file that only root may write.
    std::filesystem::create_directory(precious);
    std::filesystem::create_directory_symlink(precious, folder() + "/vm1905");
    EXPECT_EQ(tell(41, al + textBytes(text)), kFailure);
    EXPECT_TRUE(std::filesystem::is_empty(precious));
    std::filesystem::remove(folder() + "/vm1905");

    EXPECT_EQ(tell(41, al + textBytes(text)), kOk);
    EXPECT_EQ(read(results + "vm1905WIFIChannel_02ee00000001"), text + "\n");
    EXPECT_EQ(std::filesystem::status(results).permissions(), std::filesystem::perms{0755});
    for (const auto& [retCode, result] : {std::pair{"00", "success\n"}, {"10", "fail\n"}}) {
        (void)ask(50, hex(std::string("0102") + retCode));
        EXPECT_EQ(read(results + "vm1905NetworkCtrl_02ee00000001"), result);
    }
    for (const char* refused : {"back\\slash", "-n"}) {
        EXPECT_EQ(tell(15, al + textBytes(refused)), kFailure) << refused;
    }
    EXPECT_TRUE(fakePlatform().commands.empty()) << "a shell would follow links";
    // Strangers leave none, and known devices at most 256.
    EXPECT_EQ(Device::tell(peer(400), ++id_, 50, hex("010200")), kFailure);
    for (unsigned n = 2; n <= 257; n++) {
        auto& devs = getIeee1905DevTables();
        devs.edit(devs.add({})).alMac = peer(n).al;
        EXPECT_EQ(Device::tell(peer(n), ++id_, 50, hex("010200")), n <= 256 ? kOk : kFailure) << n;
    }
}

TEST_F(Vendor, OrdersAreLoggedInTwoAlternatingFiles) {
    const std::string zero = folder() + "/vm1905.log0", one = folder() + "/vm1905.log1";
    // The number of the line, and where it is written.
    const auto logged = [&] {
        const std::string before[] = {read(zero), read(one)};
        advance(1);
        (void)ask(22, kOwn);
        const bool inOne = read(zero) == before[0];
        std::string line = read(inOne ? one : zero);
        if (line == before[inOne]) return std::string();
        const bool isAdded = !before[inOne].empty() && line.starts_with(before[inOne]);
        if (isAdded) line.erase(0, before[inOne].size());
        const size_t type = line.find(": type=0x0016, from: 02:ee:00:00:00:01/02:ee:00:01:00:01 ");
        return line.substr(0, type) + (isAdded ? " >> " : " > ") + (inOne ? one : zero);
    };
    EXPECT_EQ(logged(), "");
    (void)setEnableLogOption(1);
    stateOf<MessageLog>().folder = folder();
    stateOf<MessageLog>().resumed = true;
    for (const std::string& file : {zero, one}) std::ofstream(file) << "before\n";
    for (const auto& [index, next] : {std::pair{0, "0 >> " + zero},
                                      {1, "1 > " + zero},
                                      {10, "10 >> " + zero},
                                      {11, "11 > " + one},
                                      {20, "20 >> " + one},
                                      {-1, "1 > " + zero}}) {
        if (index >= 0) (void)setLogIndexOption(static_cast<uint8_t>(index));
        EXPECT_EQ(logged(), next);
    }
    // In a storm the files are written once a second. In the end they have the last lines.
    const auto numbers = [&](std::string all = "") {
        std::istringstream lines(read(zero) + read(one));
        for (std::string line; std::getline(lines, line); all += ':') {
            all += line.substr(0, line.find(':'));
        }
        return all;
    };
    for (int i = 0; i < 44; i++) (void)ask(22, kOwn);
    EXPECT_EQ(numbers(), "1:11:20:");
    const std::string full = "11:12:13:14:15:16:17:18:19:20:";
    for (const std::string& next :
         {std::string("1:6:7:8:9:10:11:20:"), "1:6:7:8:9:10:" + full, "1:2:3:4:5:" + full}) {
        advance(1);
        for (int i = 0; i < 2; i++) writeDueMsgLog();
        EXPECT_EQ(numbers(), next);
    }
    // A reboot waits for nothing.
    for (const unsigned type : {22U, 4U}) (void)ask(type, kOwn);
    EXPECT_EQ(numbers(), "1:2:3:4:5:6:7:" + full);
    // After a start with these files, of which the first is the newer one.
    const auto lines = [](int from, int to, std::string all = "") {
        for (; from <= to; from++) all += std::to_string(from) + ": type=0x0004\n";
        return all;
    };
    const std::tuple<std::string, std::string, std::string> kept[] = {
        {zero, lines(1, 7), "8 >> " + zero},
        {zero, lines(0, 0), "1 > " + zero},
        {one, lines(11, 20), "1 > " + zero},
        {zero, lines(1, 40), "11 > " + one},  // it grew when every start began with 0
        {zero, lines(1, 6) + "7: ty", "11 > " + one},
        {zero, lines(1, 6) + "7777777777777777777: type=\n", "11 > " + one},
        {one, "\n", "1 > " + zero},
        {one, "", "11 > " + one}};
    for (const auto& [newer, text, next] : kept) {
        stateOf<MessageLog>().resumed = false;
        const std::string& older = newer == zero ? one : zero;
        std::ofstream(older) << lines(1, 20);
        std::ofstream(newer) << text;
        last_write_time(std::filesystem::path(older),
                        std::filesystem::last_write_time(newer) - std::chrono::hours(1));
        EXPECT_EQ(logged(), next) << text;
    }
}

}  // namespace
