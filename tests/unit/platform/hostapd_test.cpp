// hostapd gets the networks of this device.
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <array>
#include <atomic>
#include <mutex>
#include <thread>

#include "base/fd.h"
#include "common/helper.h"
#include "common/job.h"
#include "hostapd/bss.h"
#include "hostapd/channel.h"
#include "hostapd/orders.h"
#include "hostapd/radios.h"
#include "hostapd/stations.h"
#include "netctrl/autoconfig_networks.h"
#include "netctrl/lifecycle.h"
#include "support.h"
#include "wsc/wifi_conf.h"

namespace {

WifiNetwork network(std::string_view ssid, uint16_t auth, std::string_view key = "") {
    WifiNetwork made;
    made.auth = auth;
    EXPECT_TRUE(made.ssid.assign(wscBytes(ssid)) && made.key.assign(wscBytes(key)));
    return made;
}

void configure(const ScratchFolder& folder, const std::string& bands) {
    folder.platformConf("HOSTAPD_FOLDER = " + folder.path() +
                        "\nWIFI_SETTINGS_FILE = " + folder.path("received.conf") + "\n" + bands);
}

// One BSS of hostapd.
class Bss {
  public:
    Bss(const ScratchFolder& folder, const std::string& ifname) : path_(folder.path(ifname)) {
        sockaddr_un address{AF_UNIX, {}};
        copyText(address.sun_path, path_);
        socket_ = Fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(bind(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        thread_ = std::thread([this] {
            while (!ended_) serve();
        });
    }
    ~Bss() {
        ended_ = true;
        thread_.join();
        unlink(path_.c_str());
    }
    Bss(const Bss&) = delete;
    Bss& operator=(const Bss&) = delete;

    // The commands since the last call.
    std::string heard() {
        const std::lock_guard lock(mutex_);
        return std::exchange(heard_, "");
    }
    // The answer to a command, without the value of a SET, or to all that begin with this word;
    // none: silence. Without it "OK". STATUS is answered with the other text afterwards.
    void answer(const std::string& command, const std::optional<std::string>& text,
                const std::string& status = "") {
        const std::lock_guard lock(mutex_);
        answers_[command] = text;
        if (!status.empty()) statuses_[command] = status;
    }

  private:
    void serve() {
        pollfd waitFor{socket_.get(), POLLIN, 0};
        if (poll(&waitFor, 1, 10) <= 0) return;
        char bytes[512] = {};
        sockaddr_un from{};
        socklen_t size = sizeof from;
        auto* const peer = reinterpret_cast<sockaddr*>(&from);
        EXPECT_GT(recvfrom(socket_.get(), bytes, sizeof bytes - 1, 0, peer, &size), 0);
        std::string command = bytes;
        const std::lock_guard lock(mutex_);
        heard_ += command + ";";
        if (command.starts_with("SET ")) command.resize(command.find(' ', 4));
        const std::string word = command.substr(0, command.find(' '));
        const std::string& key = answers_.contains(command) ? command : word;
        const auto found = answers_.find(key);
        const auto text = found != answers_.end() ? found->second : "OK\n";
        if (statuses_.contains(key)) answers_["STATUS"] = statuses_[key];
        if (text) sendto(socket_.get(), text->data(), text->size(), 0, peer, size);
    }

    const std::string path_;
    Fd socket_;
    std::mutex mutex_;
    std::string heard_;
    std::map<std::string, std::optional<std::string>> answers_{
        {"STATUS", "state=ENABLED\nchannel=6\nbss[0]=w\n"}, {"GET_CONFIG", "ssid=a\n"}};
    std::map<std::string, std::string> statuses_;
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

// A device whose hostapd has its sockets in this folder.
struct HostapdTest : testing::Test {
    HostapdTest() {
        mkdir(folder.path("run").c_str(), 0755);
        configure(folder, "");
    }
    bool set(const WifiNetwork& given) {
        HostapdControl control("w", note);
        return control.isOpen() && setBss(control, given);
    }

    const ScratchFolder folder;
    std::string lines;  // "1 line;"
    const HostapdLog note = [this](int level, const std::string& line) {
        lines += std::to_string(level) + " " + line + ";";
    };
};

}  // namespace

TEST_F(HostapdTest, ABssGetsEveryKindOfNetwork) {
    Bss bss(folder, "w");
    const auto given = [&](const WifiNetwork& what, const std::string& shown) {
        bss.answer("GET_CONFIG", shown);
        EXPECT_TRUE(set(what)) << lines;
        return bss.heard();
    };
    using Text = const std::string;
    const auto shown = [](Text& ssid, Text& suites) {
        return "ssid=" + ssid + "\nwpa=2\nkey_mgmt=" + suites + "\nrsn_pairwise_cipher=CCMP\n";
    };
    const auto sets = [](Text& key, Text& suites, Text& protection, Text& ssid) {
        return key + ";SET wpa 2;SET wpa_key_mgmt " + suites +
               ";SET rsn_pairwise CCMP;SET ieee80211w " + protection + ";SET ssid2 " + ssid +
               ";STATUS;RELOAD;GET_CONFIG;";
    };
    const std::string psk(64, 'a');
    EXPECT_EQ(given(network("a\xff\"", kAuthWpa2Psk | kAuthSae, " key of 9"),
                    shown("a\\xff\\\"", "WPA-PSK SAE") + "passphrase= key of 9\n"),
              sets("SET wpa_passphrase  key of 9;SET sae_password  key of 9", "WPA-PSK SAE", "1",
                   "61ff22"));
    EXPECT_EQ(given(network("b", kAuthSae, "12345678"), shown("b", "SAE")),
              sets("SET wpa_passphrase 12345678;SET sae_password 12345678", "SAE", "2", "62"));
    EXPECT_EQ(given(network("c", kAuthWpa2Psk, psk), shown("c", "WPA-PSK")),
              sets("SET wpa_psk " + psk, "WPA-PSK", "0", "63"));
    bss.answer("STATUS", "state=DISABLED\n");
    EXPECT_EQ(given(network("d", kAuthOpen), "ssid=d\n"),
              "SET wpa 0;SET ieee80211w 0;SET ssid2 64;STATUS;ENABLE;GET_CONFIG;");
    EXPECT_EQ(lines, "");
    EXPECT_TRUE(is_empty(std::filesystem::path(folder.path("run")))) << "nothing is left behind";
}

TEST_F(HostapdTest, WhatFailsIsLoggedWithoutTheKey) {
    const WifiNetwork given = network("a", kAuthWpa2Psk | kAuthSae, "secret key");
    EXPECT_FALSE(set(given));
    Bss bss(folder, "w");
    const std::string good = "ssid=a\nwpa=2\nkey_mgmt=WPA-PSK SAE\nrsn_pairwise_cipher=CCMP\n";
    const auto fails = [&](const std::string& command, const std::optional<std::string>& answer) {
        bss.answer(command, answer);
        EXPECT_FALSE(set(given));
        bss.answer(command, command == "GET_CONFIG" ? good : "OK\n");
        return command.starts_with("SET ") == (bss.heard().find("RELOAD") == std::string::npos);
    };
    EXPECT_TRUE(fails("GET_CONFIG", good + "passphrase=other\n"));
    EXPECT_TRUE(fails("GET_CONFIG", "ssid=b" + good.substr(6)));
    EXPECT_TRUE(fails("SET wpa_passphrase", "FAIL\n"));
    EXPECT_TRUE(fails("SET sae_password", "UNKNOWN COMMAND\n"));
    EXPECT_TRUE(fails("SET ssid2", std::nullopt));
    EXPECT_TRUE(fails("RELOAD", "FAIL\x01\n"));
    EXPECT_EQ(lines,
              "1 hostapd: w: connection failed: No such file or directory;"
              "1 hostapd: w: GET_CONFIG failed: it shows other settings than were set;"
              "1 hostapd: w: GET_CONFIG failed: it shows other settings than were set;"
              "1 hostapd: w: SET wpa_passphrase failed: FAIL;"
              "1 hostapd: w: SET sae_password failed: UNKNOWN COMMAND;"
              "1 hostapd: w: SET ssid2 failed: no answer within 1000 ms;"
              "1 hostapd: w: RELOAD failed: FAIL;");
}

TEST_F(HostapdTest, NetworksOfABandGoToItsBss) {
    const auto plan = [this](const std::vector<HostapdBss>& all, const BandNetworks& bands) {
        std::string text;
        for (const auto& [bss, given, band] : planBss(all, bands, note)) {
            text +=
                bss->ifname + "=" + (given != nullptr ? std::string(given->ssid.text()) : "") + " ";
        }
        return text;
    };
    const WifiNetwork a = network("a", kAuthOpen), b = network("b", kAuthOpen),
                      c = network("c", kAuthOpen);
    const std::vector<HostapdBss> mixed{{"w0", "", "", 1},
                                        {"w1", "", "", 2},
                                        {"w2", "", "", 1},
                                        {"w3", "", "none", 1},
                                        {"w4", "", "", 0}};
    EXPECT_EQ(plan(mixed, {{0, {a}}, {32, {b}}, {1, {c}}}), "w0=a w1=c w2=b ");
    EXPECT_EQ(plan(mixed, {{0, {a}}}), "w0=a ") << "the guest network may still come";
    EXPECT_EQ(plan(mixed, {{0, {}}, {32, {b}}}), "w0=b w2= ");
    EXPECT_EQ(lines, "");
    EXPECT_EQ(plan(mixed, {{0, {a, b}}, {3, {a}}, {32, {c}}}), "w0=a w2=b ");
    EXPECT_EQ(lines,
              "3 hostapd: no BSS is left for network a of band 6;"
              "1 hostapd: no BSS is left for network c of band guest-2.4;");
    const std::vector<HostapdBss> named{{"w0", "", "guest-5"}, {"w1", "", "5"}};
    EXPECT_EQ(plan(named, {{1, {a}}, {33, {b}}}), "w1=a w0=b ");
    EXPECT_EQ(plan(named, {{1, {a}}, {33, {}}}), "w1=a w0= ");
}

TEST_F(HostapdTest, AChannelKeepsItsWidthIfItCan) {
    const auto is = [](std::string_view band, uint32_t number, unsigned width) {
        const auto to = wifiChannel(band, number, width).value_or(WifiChannel{});
        return std::to_string(to.frequency) + "/" + std::to_string(to.width) + " " +
               std::to_string(to.secondary) + " " + std::to_string(to.center);
    };
    EXPECT_EQ(is("2.4", 1, 20) + is("2.4", 11, 80) + is("2.4", 14, 40),
              "2412/20 0 12462/40 -1 92484/20 0 14");
    EXPECT_EQ(is("5", 48, 160) + is("5", 161, 160) + is("5", 144, 160) + is("5", 165, 80),
              "5240/160 -1 505805/80 -1 1555720/80 -1 1385825/20 0 165");
    EXPECT_EQ(is("6", 37, 160) + is("6", 233, 40), "6135/160 -1 477115/20 0 233");
    EXPECT_FALSE(wifiChannel("5", 38, 20) || wifiChannel("2.4", 0, 20) || wifiChannel("", 1, 20));
}

TEST_F(HostapdTest, OrdersBecomeCommands) {
    Bss bss(folder, "w");
    const std::string width =
        "secondary_channel=1\nieee80211n=1\nieee80211ac=1\nvht_oper_chwidth=1\n"
        "vht_oper_centr_freq_seg0_idx=42\nbss[0]=w\n";
    const std::string off = "state=DISABLED\nchannel=36\nfreq=5180\n" + width;
    const auto on = [&](const std::string& channel) {
        return "state=ENABLED\n" + channel + "\n" + width;
    };
    // The status, the output and the commands of a program.
    const auto does = [&](const std::string& program, const Arguments& args) {
        std::string text;
        const JobId id = startJob(program, args, {}, [&](int status, const std::string& output) {
            text = std::to_string(status) + " " + output;
        });
        EXPECT_TRUE(waitJob(id, std::chrono::seconds(20)));
        return text + bss.heard();
    };
    const auto orders = [&](const std::string& what, const std::string& settings) {
        return does("hostapd orders", {what, settings});
    };
    bss.answer("STATUS", on("channel=36\nfreq=5180"));
    EXPECT_EQ(orders("", ""), "0 STATUS;");
    const std::string to44 =
        "STATUS;STATUS;CHAN_SWITCH 5 5220 sec_channel_offset=1 center_freq1=5210 bandwidth=80 ht "
        "vht;";
    bss.answer("CHAN_SWITCH", "OK\n", on("channel=44\nfreq=5220"));
    EXPECT_EQ(orders("channels", "channels 2.4=1 5=44"), "0 " + to44 + "STATUS;");
    EXPECT_EQ(orders("channels", "channels 5=44"), "0 STATUS;STATUS;") << "it has it";
    // Refused: the radio is restarted with it, or with the former one if that fails.
    const auto restarted = [](const std::string& channel, const std::string& center) {
        return "SET channel " + channel +
               ";SET vht_oper_chwidth 1;SET vht_oper_centr_freq_seg0_idx " + center + ";";
    };
    const std::string to149 =
        "STATUS;STATUS;CHAN_SWITCH 5 5745 sec_channel_offset=1 center_freq1=5775 bandwidth=80 ht "
        "vht;" +
        restarted("149", "155") + "DISABLE;ENABLE;";
    bss.answer("CHAN_SWITCH", "FAIL\n");
    bss.answer("STATUS", on("channel=36\nfreq=5180"));
    bss.answer("CHAN_SWITCH", "FAIL\n", on("channel=36\nfreq=5180"));
    bss.answer("ENABLE", "OK\n", on("channel=149\nfreq=5745"));
    EXPECT_EQ(orders("channels", "channels 5=149"), "0 " + to149 + "STATUS;");
    bss.answer("STATUS", on("channel=36\nfreq=5180"));
    bss.answer("ENABLE", "FAIL\n", off);
    EXPECT_EQ(orders("channels", "channels 5=149"),
              "16 1 hostapd: w: ENABLE failed: FAIL\n1 hostapd: w: ENABLE failed: FAIL\n" + to149 +
                  restarted("36", "42") + "STATUS;ENABLE;");
    EXPECT_EQ(orders("country", "country US"), "0 STATUS;SET country_code US;") << "it is off";
    bss.answer("STATUS", on("channel=36\nfreq=5180\ncountry_code=US"));
    bss.answer("ENABLE", "OK\n", on("channel=36\nfreq=5180\ncountry_code=US"));
    EXPECT_EQ(orders("country", "country DE"),
              "16 1 hostapd: w: STATUS failed: it shows another country code than was set\n"
              "STATUS;SET country_code DE;DISABLE;ENABLE;STATUS;");
    bss.answer("ENABLE", "OK\n", off);
    EXPECT_EQ(
        orders("country", "country DE"),
        "16 1 hostapd: w: ENABLE failed: the radio has not started\n"
        "STATUS;SET country_code DE;DISABLE;ENABLE;STATUS;SET country_code US;STATUS;ENABLE;");
    bss.answer("STATUS", on("channel=36\nfreq=5180\ncountry_code=US"));
    bss.answer("SET country_code", "FAIL\n");
    EXPECT_EQ(orders("country", "country DE"),
              "16 1 hostapd: w: SET country_code failed: FAIL\nSTATUS;SET country_code DE;");
    EXPECT_EQ(orders("state", "state 5=off"), "0 STATUS;STATUS;DISABLE;");
    bss.answer("STATUS", off);
    EXPECT_EQ(orders("state", "state 5=on 2.4=off"), "0 STATUS;STATUS;ENABLE;");

    const std::string sta = "02:00:00:00:00:05";
    EXPECT_EQ(orders("bar " + sta, "barred " + sta),
              "0 STATUS;DENY_ACL ADD_MAC " + sta + ";STA " + sta + ";DEAUTHENTICATE " + sta + ";");
    bss.answer("STA", "FAIL\n");
    EXPECT_EQ(orders("bar " + sta, ""), "0 STATUS;DENY_ACL ADD_MAC " + sta + ";STA " + sta + ";");
    const Arguments transition{sta, "02:00:00:00:00:09", "115", "40", "1", "30"};
    EXPECT_EQ(does("hostapd btm", transition), "16 1 hostapd: BSS_TM_REQ " + sta +
                                                   " failed: the station is at no access point\n"
                                                   "STA " +
                                                   sta + ";");
    bss.answer("STA", "x\nflags=[AUTH][ASSOC]\next_capab=0400f7\n");
    EXPECT_EQ(does("hostapd btm", transition),
              "16 1 hostapd: w: BSS_TM_REQ " + sta +
                  " failed: the station does not know BSS transitions\nSTA " + sta + ";");
    bss.answer("STA", "x\nflags=[AUTH][ASSOC]\next_capab=040008\n");
    EXPECT_EQ(does("hostapd btm", transition),
              "0 STA " + sta + ";BSS_TM_REQ " + sta +
                  " pref=1 abridged=1 disassoc_imminent=1 disassoc_timer=30 "
                  "neighbor=02:00:00:00:00:09,0x0000,115,40,9;");
    bss.answer("DENY_ACL", "FAIL\n");
    EXPECT_EQ(orders("admit " + sta, ""), "16 1 hostapd: w: DENY_ACL DEL_MAC " + sta +
                                              " failed: FAIL\nSTATUS;DENY_ACL DEL_MAC " + sta +
                                              ";");

    HostapdControl control("w", note);
    EXPECT_EQ(control.event(), "") << "hostapd has not ended";
}

// Programs run in processes of their own.
NETWORK_TEST(Hostapd, DoesWhatThereIsNoHookFor) {
    const ScratchFolder folder;
    mkdir(folder.path("run").c_str(), 0755);
    configure(folder, "WIFI_BAND.w = 5\n");
    const Listener daemon;
    stored().clear();
    std::optional<Bss> w(std::in_place, folder, "w");
    const auto heard = [&](int looks = 0) {
        while (looks-- > 0) EXPECT_EQ(runNetCtrl(), 0);
        EXPECT_TRUE(becomes([] {
            tickSecond();
            return !isJobRunning("hostapd orders") && !isJobRunning("hostapd radios");
        }));
        return w->heard();
    };
    const std::string status = "state=ENABLED\nchannel=36\nfreq=5180\n";
    w->answer("STATUS", status);
    w->answer("STA", "FAIL\n");
    const uint8_t al[6] = {2, 0, 0, 0, 0, 1}, station[6] = {2, 0, 0, 0, 0, 5};
    const std::string sta = "02:00:00:00:00:05";
    const auto shows = [](int (*get)(char*), const std::string& text) {
        char data[PLATFORM_SYNC_DATA_LEN] = {};
        return becomes([&] { return get(data) == 0 && data == text; });
    };
    EXPECT_TRUE(shows(getWIFIStateSync, "5=on") && shows(getWIFIChannelSync, "5=36"));
    (void)heard();
    EXPECT_EQ(parseWIFIStateSyncdata(al, "2.4=off 5=on"), 0);
    EXPECT_EQ(parseWIFIChannelSyncData(al, "{\"channel\":1}"), 16) << "a product's text";
    EXPECT_EQ(setWIFICountryCode("de"), 16);
    EXPECT_EQ(setWIFICountryCode("DE"), 0);
    EXPECT_EQ(addToBlacklist(station), 0);
    EXPECT_EQ(heard(),
              "STATUS;STATUS;STATUS;SET country_code DE;DISABLE;ENABLE;STATUS;STATUS;"
              "DENY_ACL ADD_MAC " +
                  sta + ";STA " + sta + ";");
    EXPECT_EQ(stored()["wifi_orders"],
              "country DE\nstate 2.4=off 5=on\nchannels \nbarred " + sta + "\n");
    EXPECT_EQ(textOf<16>(getWIFICountryCode), "DE");
    EXPECT_EQ(heard(2), "") << "a restart of neither";
    w.emplace(folder, "w");
    w->answer("STATUS", status);
    EXPECT_EQ(heard(1),
              "STATUS;SET country_code DE;DISABLE;ENABLE;STATUS;STATUS;DENY_ACL ADD_MAC " + sta +
                  ";STA " + sta + ";DEAUTHENTICATE " + sta + ";");
    w->answer("DENY_ACL", "FAIL\n");
    (void)delFromBlacklist(station);
    EXPECT_EQ(heard(), "STATUS;DENY_ACL DEL_MAC " + sta + ";");
    EXPECT_NE(stored()["wifi_orders"].find(sta), std::string::npos) << "it is still barred";
    for (const char* hook : {"blacklist-add", "wifi-channel-get", "btm-request"}) {
        folder.hook(hook, "touch $0.seen; echo text");
    }
    const BtmReq move{};
    EXPECT_EQ(addToBlacklist(station) + sendBTMReq(&move), 0);
    EXPECT_TRUE(shows(getWIFIChannelSync, "text") && becomes([&] {
                    return std::filesystem::exists(folder.path("blacklist-add.seen")) &&
                           std::filesystem::exists(folder.path("btm-request.seen"));
                }));
    EXPECT_EQ(heard(), "") << "the hooks win";
}

NETWORK_TEST(Hostapd, OnlyWhatHasChangedIsSetAgain) {
    const ScratchFolder folder;
    mkdir(folder.path("run").c_str(), 0755);
    configure(folder, "WIFI_BAND.w = 2.4\nWIFI_BAND.x = 5\n");
    std::optional<Bss> w(std::in_place, folder, "w"), x(std::in_place, folder, "x");
    const Listener daemon;
    EXPECT_EQ(setWPSConfig(PLATFORM_ENROLLEE, 0, 0), 0);
    // What both hear until all programs have ended.
    const auto heard = [&](int looks = 0) {
        while (looks-- > 0) EXPECT_EQ(runNetCtrl(), 0);
        EXPECT_TRUE(becomes([] { return tickSecond(), !isJobRunning("hostapd"); }));
        return w->heard() + "/" + x->heard();
    };
    const std::string set = "SET wpa 0;SET ieee80211w 0;SET ssid2 61;STATUS;RELOAD;GET_CONFIG;";
    for (const uint8_t band : std::to_array<uint8_t>({0, 1})) {
        applyNetworks({wifiBandOf(band), "", {network("a", kAuthOpen)}});
        EXPECT_EQ(heard(), band == 0 ? set + "STATUS;/" : "GET_CONFIG;/" + set + "STATUS;");
    }
    EXPECT_EQ(heard(5), "/");
    x.emplace(folder, "x");
    EXPECT_EQ(heard(1), "GET_CONFIG;/" + set + "STATUS;");
    w->answer("GET_CONFIG", "ssid=other\n");
    EXPECT_EQ(heard(12), "GET_CONFIG;" + set + "/GET_CONFIG;") << "it is asked once a minute";

    // The stations of both.
    w->answer("STA-FIRST",
              "02:00:00:00:00:05\nflags=[AUTH][ASSOC]\nsignal=-45\n"
              "tx_rate_info=8667 vhtmcs 9\nrx_rate_info=540\n");
    w->answer("STA-NEXT 02:00:00:00:00:05", "02:00:00:00:00:06\nflags=[AUTH]\n");
    w->answer("STA-NEXT 02:00:00:00:00:06", "");
    x->answer("STA-FIRST", "");
    const auto stations = [](const Arguments& except) {
        std::string text;
        for (const auto& [ifname, lines] : stationsOfHostapd(except)) {
            if (!lines.empty()) text += ifname + ": " + lines;
        }
        return text;
    };
    EXPECT_EQ(stations({}), "");
    EXPECT_TRUE(becomes([] { return tickSecond(), !isJobRunning("hostapd stations"); }));
    {
        const Fd dead(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{AF_UNIX, {}};
        copyText(address.sun_path, folder.path("a"));
        (void)bind(dead.get(), reinterpret_cast<sockaddr*>(&address), sizeof address);
    }
    const std::string station =
        "w: 02:00:00:00:00:05,259,866,50,100,866.7 Mb/s,54.0 Mb/s,Main_2G\n";
    EXPECT_EQ(stations({"x"}), station);
    EXPECT_TRUE(becomes([] { return tickSecond(), !isJobRunning("hostapd stations"); }));
    EXPECT_EQ(stations({"x"}), station) << "although another socket is dead";
    unlink(folder.path("a").c_str());
    EXPECT_TRUE(becomes([] { return tickSecond(), !isJobRunning("hostapd stations"); }));
    (void)heard();

    w->answer("DISABLE", "OK\n", "state=DISABLED\n");
    const uint8_t al[6] = {2, 0, 0, 0, 0, 1};
    EXPECT_EQ(parseWIFIStateSyncdata(al, "2.4=off"), 0);
    EXPECT_TRUE(becomes([] { return tickSecond(), !isJobRunning("hostapd orders"); }));
    (void)heard();
    w->answer("GET_CONFIG", "ssid=b\n");
    applyNetworks({wifiBandOf(0), "", {network("b", kAuthOpen)}});
    EXPECT_EQ(heard(),
              "SET wpa 0;SET ieee80211w 0;SET ssid2 62;STATUS;GET_CONFIG;STATUS;/GET_CONFIG;")
        << "it stays off";

    folder.hook("autoconf-networks", "touch " + folder.path("seen"));
    applyNetworks({wifiBandOf(0), "", {}});
    x.emplace(folder, "x");
    EXPECT_EQ(heard(2).find("SET"), std::string::npos) << "the hook wins";
    EXPECT_TRUE(becomes([&] { return std::filesystem::exists(folder.path("seen")); }));
}

NETWORK_TEST(Hostapd, SaysWhichBandHasFailed) {
    const ScratchFolder folder;
    mkdir(folder.path("run").c_str(), 0755);
    const std::string bands = "WIFI_BAND.w = 2.4\nWIFI_BAND.x = 5\n";
    configure(folder, bands);
    std::optional<Bss> w(std::in_place, folder, "w"), x(std::in_place, folder, "x");
    const Listener daemon;
    EXPECT_EQ(setWPSConfig(PLATFORM_ENROLLEE, 0, 0), 0);
    std::string tried;
    const auto give = [&](uint8_t band) {
        applyNetworks({wifiBandOf(band), "", {network("a", kAuthOpen)}},
                      [&tried, band](const std::string& trouble) {
                          tried += std::to_string(band) + " " + trouble + ";";
                      });
    };
    const auto result = [&tried] {
        EXPECT_TRUE(becomes([] { return tickSecond(), !isJobRunning("hostapd"); }));
        return std::exchange(tried, "");
    };
    x->answer("RELOAD", "FAIL\n");
    give(0);
    give(1);
    EXPECT_EQ(result(), "0 ;1 hostapd: x: RELOAD failed: FAIL;");
    x->answer("RELOAD", "OK\n");
    EXPECT_TRUE(becomes([&] { return runNetCtrl() == 0 && !tried.empty(); }));
    EXPECT_EQ(result(), "1 ;");
    w.reset();
    x.reset();
    give(0);
    EXPECT_EQ(result(), "0 ;") << "a device without a radio";
    const std::string closed = folder.path("closed");
    mkdir(closed.c_str(), 0);
    folder.platformConf("HOSTAPD_FOLDER = " + closed +
                        "\nWIFI_SETTINGS_FILE = " + folder.path("received.conf") + "\n" + bands);
    for (const std::string& path : {folder.path(), folder.path("run"), closed}) {
        (void)!chown(path.c_str(), 65534, 65534);
    }
    ASSERT_TRUE(dropRights());
    give(0);
    EXPECT_EQ(result(), "0 hostapd: " + closed +
                            " cannot be read: set ctrl_interface_group=vm1905 in hostapd.conf;");
    chmod(closed.c_str(), 0700);
}

TEST_F(HostapdTest, TheHookForOpenWrtSetsItsAccessPoints) {
    folder.write("uci", R"(#!/bin/sh
printf '%s;' "${*#set wireless.}" >> $0.calls
[ $1 != show ] || echo "wireless.radio0.band='5g'
wireless.radio1.band='2g'
wireless.vm1905_1_1=wifi-iface
wireless.vm1905_0_1=wifi-iface
wireless.own=wifi-iface")",
                 0755);
    folder.write("wifi", "#!/bin/sh\nuci wifi $*\n", 0755);
    const auto calls = [this](std::string_view ssid, uint16_t auth, std::string_view key) {
        folder.write("run/wifi-0.conf", writeWifiConf({{"a", {0}, network(ssid, auth, key)}}));
        folder.write("uci.calls", "");
        const std::string path = "PATH=" + folder.path() + ":$PATH ";
        const int status = system(
            (path + "busybox sh " HOOKS "/autoconf-networks.openwrt 0 2> /dev/null").c_str());
        return folder.read("uci.calls") + std::to_string(WEXITSTATUS(status));
    };
    EXPECT_EQ(calls("a$'\xff\\ b ", kAuthWpa2Psk | kAuthSae, "\"$(key)\" 1"),
              "show wireless;delete wireless.vm1905_0_1;vm1905_0_1=wifi-iface;"
              "vm1905_0_1.device=radio1;vm1905_0_1.mode=ap;vm1905_0_1.network=lan;"
              "vm1905_0_1.ssid=a$'\xff\\ b ;vm1905_0_1.encryption=sae-mixed;"
              "vm1905_0_1.ieee80211w=1;vm1905_0_1.key=\"$(key)\" 1;radio1.disabled=0;"
              "commit wireless;wifi reload;0");
    EXPECT_EQ(calls("a\n", kAuthOpen, ""),
              "show wireless;delete wireless.vm1905_0_1;revert wireless;1");
}
