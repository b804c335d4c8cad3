// Settings in memory, reports that wait for runNetCtrl, auto-configuration and security messages.
#include <array>
#include <sstream>

#include "common/hook.h"
#include "common/text.h"
#include "platform/exports.h"
#include "platform/integrity.h"
#include "support.h"

namespace {

// The AL MACs that getUnsyncedEnrollees returns, by band.
std::map<uint8_t, std::vector<MacAddr>> unsynced;

// The messages that the library asked the daemon to send, one per line.
std::string sent;

void sendMessage(uint32_t servId, void* info, uint32_t* retCode) {
    std::ostringstream text;
    text << servId;
    if (servId == SERV_REQ_AP_AUTOCONF_SEARCH) {
        text << " band " << +static_cast<ApAutoConfSrch*>(info)->freqBand;
    } else if (servId == SERV_REQ_AP_AUTOCONF_RESP) {
        const auto& r = *static_cast<ApAutoConfRespReq*>(info);
        text << " to " << macText(r.dstMac) << " id " << r.msgId << " band " << +r.freqBand;
    } else if (servId == SERV_REQ_AP_AUTOCONF_WSC) {
        const auto& r = *static_cast<ApAutoConfWscReq*>(info);
        text << " to " << macText(r.dstMac) << " " << hexText({r.frame, r.frameLen});
    } else if (servId == SERV_REQ_AP_AUTOCONF_RENEW) {
        const auto& r = *static_cast<ApAutoConfRenewReq*>(info);
        text << " band " << +r.freqBand << " to " << (r.unicast ? macText(r.dstMac) : "all");
        (void)start_and_stop_Renew(1);
    }
    sent += text.str() + "\n";
    *retCode = servId == SERV_REQ_PB_EVENT ? 19 : 0;
}

}  // namespace

int sendSecurityCtrlMsg(const uint8_t* alMac, uint8_t type, uint16_t len, const uint8_t* data) {
    sent +=
        "M" + std::to_string(type) + " to " + macText(alMac) + " " + hexText({data, len}) + "\n";
    return 0;
}

int loadState(const char* name, char* text, uint32_t size) {
    const auto found = stored().find(name);
    if (found == stored().end()) return 16;
    copyText(text, size, found->second);
    return 0;
}

int saveState(const char* name, const char* text) {
    stored()[name] = text;
    return 0;
}

uint32_t getUnsyncedEnrollees(uint8_t band, uint8_t* macs, uint32_t max) {
    const auto& all = unsynced[band];
    for (uint32_t i = 0; i < all.size() && i < max; i++) all[i].copyTo(macs + size_t{6} * i);
    return static_cast<uint32_t>(all.size());
}

NETWORK_TEST(Settings, AreReturnedAndChangesReportedOnce) {
    Listener daemon;
    const auto values = [] {
        WpsConfig config{};
        EXPECT_EQ(getWPSConfig(&config), 0);
        return std::vector<int>{config.deviceType, config.sendSearch, config.sendResponse};
    };
    const std::vector<int> lowBytes{1, 300 & 0xFF, 0xFF};
    const auto ofBand = [](uint8_t band) {
        WpsBandConfig config{};
        EXPECT_EQ(getWPSConfByBand(band, &config), 0);
        return std::vector<int>{config.sendSearch, config.sendResponse};
    };
    for (const char* events : {"wps", ""}) {
        EXPECT_EQ(setWPSConfig(1, 300, -1), 0);
        EXPECT_EQ(daemon.next(), events);
    }
    EXPECT_EQ(ofBand(33), std::vector<int>({300 & 0xFF, 0xFF}))
        << "new values are those of all bands";
    EXPECT_EQ(setWPSConfig(2, 0, 0), 16);
    EXPECT_EQ(values(), lowBytes);
    EXPECT_EQ(setWPSConfByBand("All", 1, 2), 0);
    EXPECT_EQ(setWPSConfByBand("3", 4, 5), 0);
    EXPECT_EQ(setWPSConfig(1, 300, -1), 0);
    const std::vector<int> sixGHz{4, 5};
    EXPECT_EQ(ofBand(3), sixGHz) << "nothing has changed";
    for (const char* bad : {"2", "all", "0 "}) {
        EXPECT_EQ(setWPSConfByBand(bad, 0, 0), 16) << bad;
    }

    // The former device mode returns after a trial unless the new one is confirmed.
    EXPECT_EQ(setWPSConfigChangetimeout(0, 0, 0, 1), 0);
    EXPECT_EQ(ofBand(3), std::vector<int>({0, 0}));
    EXPECT_TRUE(becomes([] {
        EXPECT_EQ(check_ChangeDeviceMode_timeout(), 0);
        return getChangetomeout_flag() == 0;
    }));
    EXPECT_EQ(values(), lowBytes);
    EXPECT_EQ(ofBand(3), sixGHz);
    EXPECT_EQ(setWPSConfigChangetimeout(0, 0, 0, 1000), 0);
    EXPECT_EQ(check_ChangeDeviceMode_timeout(), 0);
    EXPECT_EQ(getChangetomeout_flag(), 1);
    EXPECT_EQ(setWPSConfig(0, 0, 0), 0);
    EXPECT_EQ(getChangetomeout_flag(), 0);
}

TEST(Settings, AdmissionFollowsTheListUnlessAllAreApproved) {
    const ScratchFolder folder;
    const uint8_t known[] = {2, 0, 0, 0, 0, 1}, stranger[] = {2, 0, 0, 0, 0, 2};
    EXPECT_EQ(checkMACisApprove(stranger, "attic"), 0);
    folder.platformConf("APPROVED = 02:00:00:00:00:09 02:00:00:00:00:01\n");
    EXPECT_EQ(checkMACisApprove(known, ""), 0);
    for (const int approve : {1, 0}) {
        EXPECT_EQ(setApproveFlag_flag(approve), 0);
        EXPECT_EQ(checkMACisApprove(stranger, "attic"), approve == 1 ? 0 : 16);
    }
}

NETWORK_TEST(Settings, FirmwareAndLedAreReported) {
    const ScratchFolder folder;
    Listener daemon;
    EXPECT_EQ(setFWState("Upgrade_EX\r\n"), 0);
    for (const char* bad : {"6", ""}) EXPECT_EQ(setFWState(bad), 16) << bad;
    EXPECT_EQ(setFWresult(1), 0);
    folder.hook("led", "echo dimmed to $1 percent of what it can do at most");
    EXPECT_EQ(setLEDvalue(40), 0);
    EXPECT_EQ(daemon.next(), "firmware 1, upgrade 4, led dimmed to 40 percent of what it ");
    EXPECT_EQ(setFWState("4"), 0);
    EXPECT_EQ(daemon.next(), "");
}

NETWORK_TEST(AutoConfiguration, SendsThroughTheDaemon) {
    const ScratchFolder folder;
    Listener daemon;
    EXPECT_EQ(sendWPSSearch(1), 16) << "no callback yet";
    EXPECT_EQ(setServReqCallbackFunc(sendMessage), 0);
    EXPECT_EQ(sendWPSSearch(1), 0);
    EXPECT_EQ(sendPBEvent(), 19) << "the result of the daemon";
    EXPECT_EQ(std::exchange(sent, {}), "0 band 1\n4\n");

    // Only a Registrar with "send response" answers a search.
    const ApAutoConfSrch search{0, 1, {2, 0, 0, 0, 0, 7}, 99};
    EXPECT_EQ(notifyApAutoConfSrchMsgReceived(&search), 0);
    EXPECT_EQ(setWPSConfByBand("1", 0, 1), 0);
    EXPECT_EQ(notifyApAutoConfSrchMsgReceived(&search), 0);
    EXPECT_EQ(setWPSConfig(1, 1, 1), 0);
    EXPECT_EQ(notifyApAutoConfSrchMsgReceived(&search), 0);
    EXPECT_EQ(std::exchange(sent, {}), "1 to 02:00:00:00:00:07 id 99 band 1\n");

    // The output of the hook is sent to the source of the frame.
    const uint8_t frame[] = {0x10, 0x4A, 0x00};
    const ApAutoConfWsc wsc{{2, 0, 0, 0, 0, 7}, {2, 0, 0, 0, 0, 8}, 3, frame, "12"};
    folder.hook("autoconf-wsc", "[ \"$3$4\" = 104a0012 ] && echo beef");
    EXPECT_EQ(notifyApAutoConfWscMsgReceived(&wsc), 0);
    folder.hook("autoconf-wsc", "echo no frame");
    EXPECT_EQ(notifyApAutoConfWscMsgReceived(&wsc), 16);
    EXPECT_EQ(std::exchange(sent, {}), "2 to 02:00:00:00:00:08 beef\n");
}

TEST(SecurityExchange, IsStartedAndContinuedByHooks) {
    const ScratchFolder folder;
    const uint8_t peer[] = {2, 0, 0, 0, 0, 7}, data[] = {0xab, 0xcd};
    folder.hook("security-start", "echo 02:00:00:00:00:07 01 02; echo; echo nobody 03");
    EXPECT_EQ(SecurityCtrl_cleanDataToList(), 0);
    EXPECT_TRUE(becomes([] { return (collectJobs(), !sent.empty()); }));
    folder.hook("security-m1", "[ \"$*\" = \"02:00:00:00:00:07 abcd\" ] && echo 0304");
    EXPECT_EQ(SecurityCtrl_parseM1(peer, 2, data), 0);
    folder.hook("security-m2", "echo 05");
    EXPECT_EQ(SecurityCtrl_parseM2(peer, 0, nullptr), 0);
    EXPECT_EQ(std::exchange(sent, {}),
              "M1 to 02:00:00:00:00:07 0102\n"
              "M2 to 02:00:00:00:00:07 0304\n"
              "M1 to 02:00:00:00:00:07 05\n");
    for (const char* body : {"true", "echo 0304; exit 3", "echo no bytes"}) {
        folder.hook("security-m2", body);
        (void)SecurityCtrl_parseM2(peer, 2, data);
        EXPECT_EQ(sent, "") << body;
    }
}

NETWORK_TEST(AutoConfiguration, RenewsAreRepeatedUntilAcknowledged) {
    Listener daemon;
    EXPECT_EQ(setServReqCallbackFunc(sendMessage), 0);
    const auto wait = [](int seconds) {
        while (seconds-- > 0) EXPECT_EQ(reSendRenewbySynclist(), 0);
        return std::exchange(sent, {});
    };
    const MacAddr enrollee{2, 0, 0, 0, 0, 7};
    unsynced = {{1, {enrollee}}, {33, {enrollee}}};
    EXPECT_EQ(sendWPSRenew(33), 0);
    EXPECT_EQ(wait(9), "3 band 33 to all\n");
    EXPECT_EQ(wait(1), "3 band 33 to 02:00:00:00:00:07\n");
    EXPECT_EQ(sendWPSRenew(1), 0);
    EXPECT_EQ(wait(10),
              "3 band 1 to all\n3 band 1 to 02:00:00:00:00:07\n3 band 33 to 02:00:00:00:00:07\n");
    unsynced.erase(33);
    EXPECT_EQ(wait(10), "3 band 1 to 02:00:00:00:00:07\n");
    EXPECT_EQ(wifi_flag_init(), 0);
    EXPECT_EQ(wait(30), "") << "it no longer waits";
}

TEST(Integrity, IsHmacSha256) {
    const std::string key = "Jefe", data = "what do ya want for nothing?";
    std::array<uint8_t, PLATFORM_HMAC_LEN> hmac{};
    const auto bytes = [](const std::string& text) {
        return reinterpret_cast<const uint8_t*>(text.data());
    };
    for (int i = 0; i < 2; i++) {
        ASSERT_EQ(computeHmacSha256(bytes(key), 4, bytes(data), 28, hmac.data()), 0);
        EXPECT_EQ(hexText(hmac),
                  "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
    }
}

TEST(Log, IsTheNamedFileAndKeepsLinesWhole) {
    const ScratchFolder folder;
    folder.platformConf("LOG_FILE = " + folder.path("log") + "\n");
    EXPECT_EQ(outputlogData("first\r\n"), 0);
    EXPECT_EQ(outputlogData("second\nforged \x1b[31m"), 0);
    const std::string log = folder.read("log");
    EXPECT_NE(log.find(" first\n"), log.npos) << log;
    EXPECT_NE(log.find(" secondforged [31m\n"), log.npos) << log;
    // The file of another user that somebody has given this name.
    std::filesystem::create_hard_link(folder.path("log"), folder.path("precious"));
    EXPECT_NE(outputlogData("third"), 0);
    EXPECT_EQ(folder.read("precious"), log);
}
